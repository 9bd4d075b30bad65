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

QLabel *label(QWidget &window, const char *name)
{
    return window.findChild<QLabel *>(QString::fromLatin1(name));
}

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

// Which bytes each label shows is the status logic's; the window adds when.
TEST_F(OutputStatusWindow, LabelsShowTheBlockRawOnceASecondWhileVisible)
{
    frmOutputStatus window(status);
    record.pack(layout::eventTitle(1), QStringLiteral("VAULT"));
    record.pack(layout::nowUpName(2), QStringLiteral("Ana Bell"));

    status.Timer1Timer(); // not shown yet: placeholders stay
    EXPECT_EQ(label(window, "lblEvent1Title")->text(), QStringLiteral("Event"));

    window.show();
    EXPECT_TRUE(status.isShown());
    status.Timer1Timer();
    EXPECT_EQ(label(window, "lblEvent1Title")->text(), QStringLiteral("VAULT "));
    EXPECT_EQ(label(window, "lblNowUp2Name")->text(), QStringLiteral("Ana Bell") + QString(32, QLatin1Char(' ')));

    window.hide();
    EXPECT_FALSE(status.isShown());
    record.pack(layout::eventTitle(1), QStringLiteral("FLOOR"));
    status.Timer1Timer();
    EXPECT_EQ(label(window, "lblEvent1Title")->text(), QStringLiteral("VAULT "));
}
