#include "ui/MainWindowHooks.h"

#include "outputs/DeviceTransport.h"
#include "ui/frmAbout.h"
#include "ui/frmKestraMain.h"
#include "ui/frmResultsGraphic.h"
#include "ui/frmSetupUnits.h"

#include <QFileDialog>
#include <QPointer>

#include <memory>

namespace kestra {

QString fileDialogFilter(const QString &filter)
{
    const QStringList parts = filter.split(QLatin1Char('|'));
    if (parts.size() != 2 || parts.at(1).trimmed().isEmpty())
        return QString();
    QStringList patterns;
    for (const QString &pattern : parts.at(1).split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
        const QString p = pattern.trimmed();
        patterns << p;
        if (p.toLower() != p)
            patterns << p.toLower();
    }
    return parts.at(0).trimmed() + QStringLiteral(" (") + patterns.join(QLatin1Char(' ')) + QLatin1Char(')');
}

QString askSaveFile(const KestraMain::FileRequest &request, QWidget *owner)
{
    QFileDialog dialog(owner, QStringLiteral("Select File"));
    dialog.setObjectName(QStringLiteral("dlgSelectFile"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setDefaultSuffix(request.defaultSuffix);
    if (const QString filter = fileDialogFilter(request.filter); !filter.isEmpty())
        dialog.setNameFilter(filter);
    if (!request.current.isEmpty())
        dialog.selectFile(request.current);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return QString();
    return dialog.selectedFiles().first();
}

void attachWindowHooks(KestraMain &main, frmKestraMain &window)
{
    KestraMain::Hooks &hooks = main.hooks();
    hooks.showSetup = [&main, &window] {
        DeviceTransport &transport = main.transport();
        frmSetupUnits::execute(main.workingSettings(), main.kestraKey(), [&transport] { transport.ClosePort(); },
                               &window);
    };
    hooks.selectFile = [&window](const KestraMain::FileRequest &request) { return askSaveFile(request, &window); };
    hooks.showOutputStatus = [&window] { window.showOutputStatus(); };
    hooks.showAbout = [&window] { frmAbout::execute(&window); };

    // One results window at a time; a second press brings it up again.
    auto results = std::make_shared<QPointer<frmResultsGraphic>>();
    hooks.showResults = [results, &window](ResultsGraphic &logic) {
        if (!*results)
            *results = new frmResultsGraphic(logic, &window);
        frmResultsGraphic *shown = *results;
        shown->setWindowState(shown->windowState() & ~Qt::WindowMinimized);
        shown->show();
        shown->raise();
        shown->activateWindow();
    };
    hooks.hideResults = [results] { delete results->data(); };
}

} // namespace kestra
