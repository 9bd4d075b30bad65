#include "outputs/TextFile.h"

#include <QFileInfo>
#include <QSaveFile>

namespace kestra {

bool replaceFile(const QString &path, const QByteArray &bytes, QString *error)
{
    auto fail = [&](const QString &why) {
        if (error)
            *error = why;
        return false;
    };
    if (path.trimmed().isEmpty())
        return fail(QStringLiteral("no output file name is set"));
    if (QFileInfo(path).isDir())
        return fail(QStringLiteral("\"%1\" is a folder").arg(path));
    QSaveFile file(path);
    file.setDirectWriteFallback(true);
    if (!file.open(QIODevice::WriteOnly))
        return fail(QStringLiteral("cannot open \"%1\": %2").arg(path, file.errorString()));
    if (file.write(bytes) != bytes.size()) {
        const QString why = file.errorString();
        file.cancelWriting();
        return fail(QStringLiteral("cannot write \"%1\": %2").arg(path, why));
    }
    if (!file.commit())
        return fail(QStringLiteral("cannot write \"%1\": %2").arg(path, file.errorString()));
    return true;
}

TextFileWriter::TextFileWriter(const DisplayRecord &record, std::function<QString()> fileName,
                               std::function<bool()> stxEtx)
    : m_record(record), m_fileName(std::move(fileName)), m_stxEtx(std::move(stxEtx))
{
}

QByteArray TextFileWriter::content() const
{
    const bool framed = m_stxEtx && m_stxEtx();
    QByteArray text;
    text.reserve(DisplayRecord::size() + 4);
    if (framed)
        text += '\x02';
    text.append(m_record.data(), DisplayRecord::size());
    if (framed)
        text += '\x03';
    text += "\r\n";
    return text;
}

DeviceError TextFileWriter::WriteOutputFile()
{
    QString error;
    if (!replaceFile(m_fileName ? m_fileName() : QString(), content(), &error))
        throw OutputFileError(QStringLiteral("The output file was not written: %1.").arg(error).toStdString());
    return DeviceErrors::Success;
}

} // namespace kestra
