#include "outputs/DisplayRecord.h"
#include "outputs/OutputStatus.h"
#include "ui/frmOutputStatus.h"

#include <QFontInfo>
#include <QGroupBox>
#include <QLabel>
#include <QWidget>

#include <gtest/gtest.h>

#include <memory>

using namespace kestra;

namespace {

// Which bytes each label shows is the status logic's; when it refreshes, the
// main window's test.
class OutputStatusWindow : public testing::Test {
protected:
    DisplayRecord record;
    OutputStatus status{record};
};

} // namespace

TEST_F(OutputStatusWindow, ANonModalWindowWithEveryLabelByName)
{
    frmOutputStatus window(status);
    EXPECT_EQ(window.windowTitle(), QStringLiteral("Output Status"));
    EXPECT_EQ(window.objectName(), QStringLiteral("frmOutputStatus"));
    EXPECT_FALSE(window.isModal());
    EXPECT_EQ(window.findChildren<QGroupBox *>().size(), 17);

    int data = 0;
    for (const StatusGroup &group : status.groups()) {
        auto *box = window.findChild<QGroupBox *>(group.name);
        ASSERT_NE(box, nullptr) << group.name.toStdString();
        EXPECT_EQ(box->title(), group.caption);
        for (const StatusCell &cell : group.cells) {
            QLabel *l = box->findChild<QLabel *>(cell.name);
            ASSERT_NE(l, nullptr) << cell.name.toStdString();
            EXPECT_EQ(l->text(), cell.placeholder) << cell.name.toStdString();
            if (cell.isData) {
                ++data;
                EXPECT_TRUE(QFontInfo(l->font()).fixedPitch()) << cell.name.toStdString();
            }
        }
    }
    EXPECT_EQ(data, 396);
}
