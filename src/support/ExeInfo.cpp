#include "support/ExeInfo.h"

#include "kestra/Version.h"

namespace kestra {

ExeInfo ExeInfo::ofThisBuild()
{
    return {QString::fromUtf8(version::productVersion), QString::fromUtf8(version::legalCopyright)};
}

QString ExeInfo::title(const QString &serverName) const
{
    return QStringLiteral("Kestra v") + ProductVersion + QStringLiteral(" - Jumbotron Display Generator") +
           QStringLiteral(", Server: ") + serverName;
}

QString ExeInfo::versionText(const QString &program) const
{
    return program + QLatin1Char(' ') + ProductVersion + QLatin1Char('\n') + LegalCopyright + QLatin1Char('\n');
}

} // namespace kestra
