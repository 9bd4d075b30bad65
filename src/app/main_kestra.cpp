// kestra: the operator program. The main window's logic comes up first and
// alone (the connect sequence may end the program before any window shows),
// then its window, the status view and the dialogs around it.
#include "generator/KestraMain.h"
#include "meetdb/LostConnection.h"
#include "meetdb/ServerConnection.h"
#include "outputs/DeviceTransport.h"
#include "outputs/DisplayRecord.h"
#include "setup/SettingsStore.h"
#include "support/ExeInfo.h"
#include "support/Formatting.h"
#include "support/StopSignals.h"
#include "support/TickSource.h"
#include "ui/MainWindowHooks.h"
#include "ui/MessageBoxPrompt.h"
#include "ui/frmKestraMain.h"
#include "ui/frmRegisteredServers.h"

#include <QApplication>
#include <QPointer>

#include <cstdio>
#include <cstring>

using namespace kestra;

int main(int argc, char **argv)
{
    // Answered before the application needs a screen.
    if (argc == 2 && std::strcmp(argv[1], "--version") == 0) {
        std::fputs(ExeInfo::ofThisBuild().versionText(QStringLiteral("kestra")).toLocal8Bit().constData(), stdout);
        return 0;
    }
    QApplication app(argc, argv);
    useCNumberConventions();
    QApplication::setApplicationName(QStringLiteral("Kestra"));
    QApplication::setApplicationVersion(ExeInfo::ofThisBuild().ProductVersion);

    // SIGINT and SIGTERM (a session ending, a service stop) close the window
    // as the operator would, so the close writes what it writes.
    StopSignals stopSignals;
    QPointer<frmKestraMain> window;
    QObject::connect(&stopSignals, &StopSignals::stopRequested, &app, [&window] {
        if (window)
            window->close();
        else
            QApplication::exit(1); // still connecting: nothing to close
    });

    MessageBoxPrompt prompt;
    SettingsStore kestraKey = SettingsStore::kestraKey();
    SettingsStore marlowenKey = SettingsStore::marlowenKey();
    ServerConnection connection(marlowenKey, prompt);
    connection.setChooser(
        [&window, &prompt](SettingsStore &key) { return frmRegisteredServers::execute(key, prompt, window); });

    SystemTickSource ticks;
    DisplayRecord &record = DisplayRecord::instance();
    DeviceTransport &transport = DeviceTransport::instance();
    KestraMain main(connection, kestraKey, marlowenKey, prompt, ticks, record, transport,
                    [] { LostConnectionHandler::restartProgram(); });
    connection.setTitleUpdater([&main] { main.UpdateTitle(); });

    if (!main.create())
        return 1; // the connection was given up: no window at all

    frmKestraMain mainWindow(main.controls(), record);
    window = &mainWindow;
    prompt.setOwner(&mainWindow);
    mainWindow.setWindowTitle(main.title());
    QObject::connect(&main, &KestraMain::titleChanged, &mainWindow, &QWidget::setWindowTitle);
    QObject::connect(&main, &KestraMain::quitRequested, &app, &QApplication::quit, Qt::QueuedConnection);
    mainWindow.setCloseHandler([&main] { main.close(); });

    attachWindowHooks(main, mainWindow);

    main.show();
    mainWindow.show();
    return QApplication::exec();
}
