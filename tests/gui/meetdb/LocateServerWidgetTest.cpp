#include "ui/frmFindNXServer.h"

#include "support/FakeDiscovery.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <QLabel>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>

using namespace kestra;
using kestra::test::FakeDiscovery;
using kestra::test::waitUntil;

TEST(LocateServerWidget, ScansOnceShownStaysUsableWhileScanningAndHandsBackTheDoubleClickedServer)
{
    FakeDiscovery discovery;
    FindNXServerForm logic(discovery);
    frmFindNXServer window(logic);
    EXPECT_EQ(window.windowTitle(), QStringLiteral("Locate Server"));
    auto *list = window.findChild<QListWidget *>(QStringLiteral("lstServers"));
    auto *bar = window.findChild<QProgressBar *>(QStringLiteral("barScanning"));
    auto *scan = window.findChild<QPushButton *>(QStringLiteral("btnScan"));
    auto *ok = window.findChild<QPushButton *>(QStringLiteral("btnOK"));
    ASSERT_TRUE(list && bar && scan && ok);
    EXPECT_TRUE(ok->isDefault());
    EXPECT_EQ(discovery.starts, 0) << "the scan starts once the window stands";

    window.show();
    ASSERT_TRUE(waitUntil([&] { return discovery.starts == 1; }));
    EXPECT_EQ(window.cursor().shape(), Qt::BusyCursor);
    EXPECT_TRUE(bar->isVisible());
    EXPECT_FALSE(scan->isEnabled());
    EXPECT_EQ(window.findChild<QLabel *>(QStringLiteral("lblScanStatus"))->text(),
              QStringLiteral("Searching for servers\u2026"));

    discovery.answer({QStringLiteral("PostgreSQL@127.0.0.1"), QStringLiteral("PostgreSQL@10.0.0.5:5433")});
    EXPECT_EQ(window.cursor().shape(), Qt::ArrowCursor);
    EXPECT_FALSE(bar->isVisible());
    ASSERT_EQ(list->count(), 2);
    EXPECT_EQ(list->currentRow(), 0);
    EXPECT_TRUE(ok->isEnabled());

    list->setCurrentRow(1);
    emit list->itemDoubleClicked(list->item(1));
    EXPECT_FALSE(window.isVisible());
    EXPECT_EQ(window.result(), QDialog::Accepted);
    EXPECT_EQ(logic.GetSelectedServer(), QStringLiteral("10.0.0.5:5433"));
}
