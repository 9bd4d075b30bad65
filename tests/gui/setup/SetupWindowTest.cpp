#include "setup/KestraSettings.h"
#include "setup/SettingsStore.h"
#include "setup/SetupUnits.h"
#include "ui/frmSetupUnits.h"

#include "gui/Operator.h"
#include "support/TestSupport.h"
#include "unit/setup/SettingsFiles.h"

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QToolButton>

#include <functional>
#include <memory>
#include <tuple>

using namespace kestra;
using kestra::test::S;
using kestra::test::TempDir;
using namespace kestra::test;

namespace {

class SetupWindowTest : public testing::Test {
protected:
    TempDir dir;
    SettingsStore key = SettingsStore::kestraKey(dir.path());
    std::unique_ptr<SetupUnits> logic;
    std::unique_ptr<frmSetupUnits> window;
    int portCloses = 0;

    frmSetupUnits &open(const KestraSettings &working = KestraSettings())
    {
        logic = std::make_unique<SetupUnits>(working, key, [this] { ++portCloses; });
        window = std::make_unique<frmSetupUnits>(*logic);
        return *window;
    }
    template <typename T> T *get(const char *name)
    {
        T *widget = window->findChild<T *>(S(name));
        EXPECT_NE(widget, nullptr) << name;
        return widget;
    }
    QStringList labels() const
    {
        QStringList out;
        for (const QLabel *l : window->findChildren<QLabel *>())
            out.append(l->text());
        return out;
    }
};

} // namespace

TEST_F(SetupWindowTest, TheWindowShowsItsGroupsLabelsAndControlsByName)
{
    open();
    EXPECT_EQ(window->windowTitle(), S("Setup"));
    EXPECT_TRUE(window->isModal());
    EXPECT_EQ(get<QLabel>("lblHeading")->text(), S("Setup Units"));
    QStringList groups;
    for (const QGroupBox *box : window->findChildren<QGroupBox *>())
        groups.append(box->title());
    for (const char *title : {"Communications Setup", "Intervals and Settings", "MySQL Settings for Xpression",
                              "I/O Base Address", "NCAA Team ID to use", "Name Display Format"})
        EXPECT_TRUE(groups.contains(S(title))) << title;
    for (const char *text : {"Interface:", "UDP Port:", "IP Addr:", "Display scores for:", "Minimum", "Maximum",
                             "NCAA Cycle Rate:", "secs", "MySQL Server IP:", "MySQL Database:", "Username:",
                             "Password:"})
        EXPECT_TRUE(labels().contains(S(text))) << text;

    EXPECT_EQ(get<QComboBox>("cboCOMPort")->currentText(), S("COM2"));
    EXPECT_EQ(get<QComboBox>("cboCOMPort")->count(), 5);
    EXPECT_TRUE(get<QRadioButton>("rgrpAddrItem1")->isChecked());
    EXPECT_EQ(get<QRadioButton>("rgrpAddrItem3")->text(), S("2E8"));
    EXPECT_EQ(get<QLineEdit>("EditPort")->text(), S("12345"));
    EXPECT_FALSE(get<QLineEdit>("EditPort")->isEnabled());
    EXPECT_FALSE(get<QLineEdit>("EditIP")->isEnabled());
    EXPECT_TRUE(get<QGroupBox>("rgrpAddr")->isEnabled());
    const struct {
        const char *name;
        int minimum, maximum, value;
    } spins[] = {{"EditRefreshMin", 1, 99, 60}, {"EditRefreshMax", 1, 999, 180}, {"EditCycleRate", 1, 99, 20}};
    for (const auto &s : spins) {
        auto *spin = get<QSpinBox>(s.name);
        EXPECT_EQ(spin->minimum(), s.minimum) << s.name;
        EXPECT_EQ(spin->maximum(), s.maximum) << s.name;
        EXPECT_EQ(spin->value(), s.value) << s.name;
    }
    EXPECT_EQ(get<QCheckBox>("chkSingleNCAA")->text(), S("Use single NCAA lineup block?"));
    EXPECT_TRUE(get<QCheckBox>("chkSingleNCAA")->isChecked());
    EXPECT_TRUE(get<QRadioButton>("rgrpTeamItem0")->isChecked());
    EXPECT_EQ(get<QRadioButton>("rgrpNameFormatItem1")->text(), S("Last, First"));
    EXPECT_EQ(get<QToolButton>("sbtnHelp")->toolTip(), S("Help"));
    EXPECT_EQ(get<QToolButton>("sbtnClose")->toolTip(), S("Close Window"));
    EXPECT_EQ(get<QPushButton>("btnClose")->text(), S("&Close"));

    auto *password = get<QLineEdit>("EditPassword");
    retype(password, S("mango"));
    EXPECT_EQ(password->text(), S("mango"));
    EXPECT_EQ(password->displayText(), S("*****"));
}

// How the choices pair and what closing writes is the logic's test; here the
// widgets hand the operator's edits on through their masks.
TEST_F(SetupWindowTest, TheOperatorsEditsReachTheLogicThroughTheMasks)
{
    open();
    auto *com = get<QComboBox>("cboCOMPort");
    com->setCurrentIndex(2); // COM3
    EXPECT_EQ(portCloses, 1);
    EXPECT_TRUE(get<QRadioButton>("rgrpAddrItem2")->isChecked());
    com->setCurrentIndex(4); // UDP
    EXPECT_FALSE(get<QGroupBox>("rgrpAddr")->isEnabled());

    auto *port = get<QLineEdit>("EditPort");
    retype(port, S("2x0y01"));
    EXPECT_EQ(port->text(), S("2001")) << "the mask takes digits only";
    retype(port, S("99999"));
    EXPECT_EQ(port->text(), S("9999")) << "no more than 65535";
    auto *ip = get<QLineEdit>("EditIP");
    retype(ip, S("10.0. 0.300"));
    EXPECT_EQ(ip->text(), S("10.0. 0.30"));
    press(ip, Qt::Key_Return);
    EXPECT_EQ(ip->text(), S("10.0.0.30")) << "blanks go when the field is left";
    get<QSpinBox>("EditRefreshMax")->setValue(400);
    get<QCheckBox>("chkSingleNCAA")->click();
    get<QRadioButton>("rgrpNameFormatItem3")->click();

    get<QPushButton>("btnClose")->click();
    KestraSettings back;
    back.readAfterSetup(key);
    EXPECT_EQ(back.COMPort + back.UDPPort + back.IPAddr, S("UDP999910.0.0.30"));
    EXPECT_EQ(std::tuple(back.IntervalMax, back.UseSingleNCAA, back.NameFormat), std::tuple(400, false, 3));
}

TEST_F(SetupWindowTest, EveryWayOfClosingWritesOnce)
{
    const struct {
        const char *way;
        std::function<void(frmSetupUnits &)> close;
    } ways[] = {
        {"the window's close button", [](frmSetupUnits &w) { w.close(); }},
        {"Escape", [](frmSetupUnits &w) { press(&w, Qt::Key_Escape); }},
        {"the Close button", [](frmSetupUnits &w) { w.findChild<QPushButton *>(S("btnClose"))->click(); }},
    };
    for (const auto &way : ways) {
        SCOPED_TRACE(way.way);
        QFile::remove(key.filePath());
        KestraSettings working;
        working.CycleRate = 33;
        open(working);
        window->show();
        way.close(*window);
        EXPECT_FALSE(window->isVisible());
        EXPECT_TRUE(logic->isClosed());
        EXPECT_EQ(key.ReadInteger(S("Options"), S("CycleRate"), 0), 33);
        // A second close writes nothing more.
        ASSERT_TRUE(key.WriteInteger(S("Options"), S("CycleRate"), 5));
        window->show();
        window->close();
        EXPECT_EQ(key.ReadInteger(S("Options"), S("CycleRate"), 0), 5);
    }
}
