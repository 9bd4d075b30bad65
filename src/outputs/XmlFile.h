#pragma once

#include "outputs/DisplayRecord.h"
#include "outputs/DisplayWriter.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QString>

#include <functional>

namespace kestra {

class MeetFlags;

// The line makers of the XML document. Lines are put together by hand, not
// through a document model: values are neither escaped nor re-encoded, and
// every attribute is followed by a blank, the last one too.
//   XmlOpen:  indent blanks, "<", name, a blank and the attributes if any, ">"
//   XmlEmpty: the same, ended by "/>"
//   XmlClose: indent blanks, "</", name, ">"
QByteArray XmlOpen(QByteArrayView name, QByteArrayView attributes, int indent);
QByteArray XmlEmpty(QByteArrayView name, QByteArrayView attributes, int indent);
QByteArray XmlClose(QByteArrayView name, int indent);
// Appends name="value" and a blank.
void XmlAttr(QByteArray &attributes, QByteArrayView name, QByteArrayView value);

// The XML File target: the whole block as one document that replaces the file
// OutputFileName on every call, ISO-8859-1, CR LF line ends. Values are the
// fields trimmed of blanks and control characters at both ends.
class XmlFileWriter final : public DisplayWriter {
public:
    static constexpr int kSaveAttempts = 5;

    // `fileName` is OutputFileName and `rotation` the selected button of
    // rgrpRotation counted from 1, both read afresh on every call.
    XmlFileWriter(const DisplayRecord &record, const MeetFlags &meet, std::function<QString()> fileName,
                  std::function<int()> rotation);

    QString targetName() const override { return QStringLiteral("rdoXML"); }
    TargetKind kind() const override { return TargetKind::Record; }

    // 0 when the file was written, 2 when all five attempts failed.
    DeviceError WriteXmlFile();
    DeviceError sendRecord() override { return WriteXmlFile(); }

    // Builds the document from the block as it stands into lines().
    void buildDocument();
    const QByteArrayList &lines() const { return m_lines; }
    // The reason of the last failed save, for the log.
    const QString &lastFailure() const { return m_lastFailure; }

private:
    QByteArray value(const Field &field) const;

    const DisplayRecord &m_record;
    const MeetFlags &m_meet;
    std::function<QString()> m_fileName;
    std::function<int()> m_rotation;
    QByteArrayList m_lines;
    QString m_lastFailure;
    bool m_failing = false;
};

} // namespace kestra
