// The results window's drawing: the checked lists forward clicks with their
// modifiers, the window has no close box, and the queue shows the logic's.
#include "results/ResultsGraphic.h"
#include "support/MainRig.h"
#include "ui/CheckedComboBox.h"
#include "ui/frmResultsGraphic.h"

#include <gtest/gtest.h>

#include <QListWidget>
#include <QTest>

using namespace kestra;
using kestra::test::S;

namespace {

TEST(ResultsWindowWidget, ChecksFollowTheLogicAndTheQueueIsTheLogics)
{
    test::MainRig rig;
    ASSERT_TRUE(rig.open());
    ResultsGraphic &logic = rig.main().openResults();
    frmResultsGraphic window(logic);
    window.show();
    EXPECT_FALSE(window.windowFlags().testFlag(Qt::WindowCloseButtonHint));

    auto *sessions = qobject_cast<CheckedComboBox *>(window.widgetFor(S("chkcboSession")));
    ASSERT_NE(sessions, nullptr);
    sessions->showItems();
    QListWidget *items = sessions->itemList();
    ASSERT_EQ(items->count(), 3);
    const auto press = [items](int row, Qt::KeyboardModifiers keys) {
        QTest::mousePress(items->viewport(), Qt::LeftButton, keys, items->visualItemRect(items->item(row)).center());
        QTest::mouseRelease(items->viewport(), Qt::LeftButton, keys, items->visualItemRect(items->item(row)).center());
    };
    press(1, Qt::NoModifier);
    EXPECT_EQ(logic.checkedList(S("chkcboSession")).text(), S("2"));
    press(2, Qt::ControlModifier);
    EXPECT_EQ(logic.checkedList(S("chkcboSession")).text(), S("Multiple"));
    EXPECT_EQ(items->item(0)->checkState(), Qt::Unchecked);
    EXPECT_EQ(items->item(2)->checkState(), Qt::Checked);

    logic(S("btnAddEvent")).click();
    auto *queue = qobject_cast<QListWidget *>(window.widgetFor(S("lstQueue")));
    ASSERT_EQ(queue->count(), 6);
    EXPECT_EQ(queue->item(4)->text(), logic.queue()[4]);
    queue->clearSelection();
    queue->item(2)->setSelected(true);
    EXPECT_EQ(logic.selectedLines(), QSet<int>{2});
    EXPECT_TRUE(logic(S("sbtnUp")).isEnabled());
}

} // namespace
