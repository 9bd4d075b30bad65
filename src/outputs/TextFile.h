#pragma once

#include "outputs/DisplayRecord.h"
#include "outputs/DisplayWriter.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <stdexcept>

namespace kestra {

// The output file could not be written. It reaches the operator as any
// failure that leaves a handler does, once per attempt.
class OutputFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Replaces the whole file with `bytes`: written beside it ("NAME.kestra-new")
// and renamed over it, so a reader never finds it half written; where the
// folder takes no new file, the file itself is rewritten. A file that may not
// be written is refused, not replaced. False with the reason in *error.
bool replaceFile(const QString &path, const QByteArray &bytes, QString *error);

// The File Output target: the whole block, between 0x02 and 0x03 when
// "Include STX/ETX characters?" is ticked, then CR LF, rewritten on every
// call: 5,701 or 5,703 bytes.
class TextFileWriter final : public DisplayWriter {
public:
    // `fileName` is OutputFileName and `stxEtx` chkSTXETX, both read afresh
    // on every call.
    TextFileWriter(const DisplayRecord &record, std::function<QString()> fileName, std::function<bool()> stxEtx);

    QString targetName() const override { return QStringLiteral("rdoFile"); }
    TargetKind kind() const override { return TargetKind::Record; }

    // Always 0; a file that cannot be written throws OutputFileError.
    DeviceError WriteOutputFile();
    DeviceError sendRecord() override { return WriteOutputFile(); }

    QByteArray content() const;

private:
    const DisplayRecord &m_record;
    std::function<QString()> m_fileName;
    std::function<bool()> m_stxEtx;
};

} // namespace kestra
