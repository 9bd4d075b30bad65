#include "meetdb/RegisteredServersForm.h"
#include "meetdb/ServerConnection.h"
#include "ui/frmRegisteredServers.h"

#include "gui/Operator.h"
#include "support/MainRig.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QTimer>

using namespace kestra;
using kestra::test::RecordingPrompt;
using kestra::test::TempDir;
using kestra::test::waitUntil;
using namespace kestra::test;

namespace {

const QList<ServerEntry> Stored = {{"Summit", "10.0.0.7", "", "Remote"}, {"Arena", "10.0.0.5", "", "LAN / WAN"}};

} // namespace

TEST(ServerListWidget, DrawsTheListLoadsAfterShowingAndForwardsTheOperator)
{
    TempDir dir;
    SettingsStore key = SettingsStore::marlowenKey(dir.path());
    ASSERT_TRUE(RegisteredServers(key).rewrite(Stored));
    ASSERT_TRUE(RegisteredServers(key).setCurrentServerName(QStringLiteral("Summit")));
    RecordingPrompt prompt;
    RegisteredServersForm logic(key, prompt);
    frmRegisteredServers window(logic);

    EXPECT_EQ(window.windowTitle(), QStringLiteral("Manage Servers"));
    EXPECT_FALSE(window.windowFlags() & Qt::WindowCloseButtonHint);
    EXPECT_FALSE(logic.isLoaded()) << "the list loads once the window stands";
    window.show();
    ASSERT_TRUE(waitUntil([&] { return logic.isLoaded(); }));

    auto *grid = window.findChild<QTableWidget *>(QStringLiteral("grdServers"));
    ASSERT_TRUE(grid);
    EXPECT_EQ(grid->horizontalHeaderItem(0)->text(), QStringLiteral("Server Name"));
    EXPECT_EQ(grid->horizontalHeaderItem(1)->text(), QStringLiteral("Location"));
    ASSERT_EQ(grid->rowCount(), 2);
    EXPECT_EQ(grid->item(0, 0)->text(), QStringLiteral("Arena"));
    EXPECT_EQ(grid->item(1, 1)->text(), QStringLiteral("Remote"));
    EXPECT_EQ(grid->currentRow(), 1);
    auto *name = window.findChild<QLineEdit *>(QStringLiteral("EditName"));
    auto *ip = window.findChild<QLineEdit *>(QStringLiteral("EditIP"));
    auto *host = window.findChild<QLineEdit *>(QStringLiteral("EditHost"));
    auto *ok = window.findChild<QPushButton *>(QStringLiteral("btnOK"));
    ASSERT_TRUE(name && ip && host && ok);
    EXPECT_EQ(name->text(), QStringLiteral("Summit"));
    EXPECT_TRUE(ok->isDefault());
    EXPECT_EQ(ok->text(), QStringLiteral("&Connect to Selected Server"));

    // Picking a row shows it; typing starts an edit through the address mask;
    // Ctrl+Return saves, Insert starts a row, Escape is Cancel.
    grid->setCurrentCell(0, 0);
    EXPECT_EQ(name->text(), QStringLiteral("Arena"));
    retype(host, QStringLiteral("arena.local"));
    EXPECT_EQ(logic.state(), RegisteredServersForm::State::Edit);
    retype(ip, QStringLiteral("10.0.0.999"));
    EXPECT_EQ(ip->text(), QStringLiteral("10.0.0.99"));
    press(ip, Qt::Key_Return, Qt::ControlModifier);
    EXPECT_EQ(logic.state(), RegisteredServersForm::State::Browse);
    EXPECT_EQ(RegisteredServers(key).entries().front(), (ServerEntry{"Arena", "10.0.0.99", "arena.local", "LAN / WAN"}));
    press(grid, Qt::Key_Insert);
    EXPECT_EQ(logic.state(), RegisteredServersForm::State::Insert);
    press(&window, Qt::Key_Escape);
    EXPECT_FALSE(window.isVisible());
    EXPECT_EQ(logic.result(), RegisteredServersForm::Result::Cancel);
}

TEST(ServerListWidget, IsTheServerListOfTheConnectSequence)
{
    TempDir meet;
    seedMeet(meet.path());
    TempDir dir;
    SettingsStore key = SettingsStore::marlowenKey(dir.path());
    ASSERT_TRUE(RegisteredServers(key).rewrite({{"Laptop", "", meet.path(), "Local PC"}}));
    ASSERT_TRUE(RegisteredServers(key).setCurrentServerName(QStringLiteral("Gone")));

    RecordingPrompt prompt;
    prompt.queueAnswer(PromptAnswer::Yes); // dialog A: pick another server
    prompt.queueAnswer(PromptAnswer::Yes); // the change warning
    ServerConnection connection(key, prompt);
    connection.setChooser([&](SettingsStore &k) { return frmRegisteredServers::execute(k, prompt, nullptr); });
    QTimer::singleShot(0, [] {
        waitUntil([] {
            auto *w = qobject_cast<frmRegisteredServers *>(QApplication::activeModalWidget());
            return w && w->findChild<QTableWidget *>(QStringLiteral("grdServers"))->rowCount() == 1;
        });
        if (QWidget *w = QApplication::activeModalWidget())
            w->findChild<QPushButton *>(QStringLiteral("btnOK"))->click();
    });
    ASSERT_TRUE(connection.connectAtStartup());
    EXPECT_EQ(connection.currentServerName(), QStringLiteral("Laptop"));
    EXPECT_EQ(RegisteredServers(key).currentServerName(), QStringLiteral("Laptop"));
    ASSERT_EQ(prompt.messages.size(), 2u);
    EXPECT_EQ(prompt.messages[1].caption, QStringLiteral("Change Database Warning"));
    EXPECT_TRUE(connection.isConnected());
}
