#include "ui/frmFindNXServer.h"

#include "support/FakeDiscovery.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <QListWidget>
#include <QProgressBar>

using namespace kestra;

TEST(LocateServerWidget, ScansOnceShownShowsTheScanAndHandsBackTheDoubleClickedServer)
{
    test::FakeDiscovery discovery;
    FindNXServerForm logic(discovery);
    frmFindNXServer window(logic);
    auto *list = window.findChild<QListWidget *>(QStringLiteral("lstServers"));
    auto *bar = window.findChild<QProgressBar *>(QStringLiteral("barScanning"));
    ASSERT_TRUE(list && bar);
    EXPECT_EQ(discovery.starts, 0) << "the scan starts once the window stands";

    window.show();
    ASSERT_TRUE(test::waitUntil([&] { return discovery.starts == 1; }));
    EXPECT_EQ(window.cursor().shape(), Qt::BusyCursor);
    EXPECT_TRUE(bar->isVisible());

    discovery.answer({QStringLiteral("PostgreSQL@127.0.0.1"), QStringLiteral("PostgreSQL@10.0.0.5:5433")});
    EXPECT_EQ(window.cursor().shape(), Qt::ArrowCursor);
    EXPECT_FALSE(bar->isVisible());
    ASSERT_EQ(list->count(), 2);
    EXPECT_EQ(list->currentRow(), 0);

    list->setCurrentRow(1);
    emit list->itemDoubleClicked(list->item(1));
    EXPECT_EQ(window.result(), QDialog::Accepted);
    EXPECT_EQ(logic.GetSelectedServer(), QStringLiteral("10.0.0.5:5433"));
}
