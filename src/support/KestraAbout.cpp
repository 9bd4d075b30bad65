#include "support/KestraAbout.h"

#include <algorithm>

namespace kestra {

const QString KestraAbout::Caption = QStringLiteral("About Kestra");

KestraAbout::KestraAbout(const ExeInfo &info, QObject *parent) : QObject(parent)
{
    m_controls.add(QStringLiteral("lblHeading"), Caption);
    m_controls.add(QStringLiteral("lblProduct"), QStringLiteral("Kestra")).setProperty(QStringLiteral("bold"), true);
    m_controls.add(QStringLiteral("lblDescription"), QStringLiteral("Jumbotron Display Generator"))
        .setProperty(QStringLiteral("bold"), true);
    m_controls.add(QStringLiteral("lblVersion"), QStringLiteral("Version ") + info.ProductVersion);
    m_controls.add(QStringLiteral("lblCopyright"), copyrightLine(info.LegalCopyright));
    m_controls.add(QStringLiteral("btnOK"), QStringLiteral("&OK")).setClickHandler([this] { emit closeRequested(); });
}

QString KestraAbout::copyrightLine(const QString &legalCopyright)
{
    const qsizetype at = legalCopyright.indexOf(QLatin1String("All rights reserved"));
    if (at < 0)
        return legalCopyright;
    return legalCopyright.left(std::max<qsizetype>(at + 1 - 4, 0));
}

} // namespace kestra
