#include "outputs/TextFile.h"

#include <QFile>
#include <QFileInfo>

#include <cstdio>

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
    // A link is followed: the file it names is replaced, the link stays.
    const QFileInfo named(path);
    const QString real = named.isSymLink() ? named.symLinkTarget() : path;
    const QFileInfo target(real);
    if (target.isDir())
        return fail(QStringLiteral("\"%1\" is a folder").arg(path));
    if (target.exists() && !target.isWritable())
        return fail(QStringLiteral("\"%1\" may not be written").arg(path));

    // Written beside it, then renamed over it. No fsync: the file is
    // rewritten every two seconds, and a sync would cost more than the build.
    const QString temporary = real + QStringLiteral(".kestra-new");
    QFile file(temporary);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        if (target.exists())
            file.setPermissions(target.permissions());
        const bool written = file.write(bytes) == bytes.size() && file.flush();
        const QString why = file.errorString();
        file.close();
        if (written && std::rename(QFile::encodeName(temporary).constData(), QFile::encodeName(real).constData()) == 0)
            return true;
        QFile::remove(temporary);
        if (!written)
            return fail(QStringLiteral("cannot write \"%1\": %2").arg(temporary, why));
    }
    // A folder that takes no new file: the file itself is rewritten.
    QFile direct(real);
    if (!direct.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return fail(QStringLiteral("cannot open \"%1\": %2").arg(path, direct.errorString()));
    if (direct.write(bytes) != bytes.size() || !direct.flush())
        return fail(QStringLiteral("cannot write \"%1\": %2").arg(path, direct.errorString()));
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
