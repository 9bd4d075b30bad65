#include "outputs/DisplayRecord.h"
#include "outputs/OutputStatus.h"
#include "support/LogicalControl.h"
#include "ui/ControlBinder.h"
#include "ui/frmKestraMain.h"
#include "ui/frmOutputStatus.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>

#include <memory>

using namespace kestra;

namespace {

QString S(const char *text)
{
    return QString::fromUtf8(text);
}

LogicalControl &add(ControlSet &c, const QString &name, const char *kind, const QString &text = QString())
{
    LogicalControl &control = c.add(name, text);
    control.setProperty(S("kind"), S(kind));
    return control;
}

// The main window's controls as its logic names them, with a little of the
// logic's behaviour: Start and Stop swap, the dual box gives column 2.
void fillMainControls(ControlSet &c)
{
    add(c, S("dblcboMeets"), "lookup");
    for (int col = 1; col <= 2; ++col) {
        const QString k = QString::number(col);
        add(c, S("dblcboEvent") + k, "lookup");
        add(c, S("cboSession") + k, "combo");
        for (const char *x : {"x", "y", "z"})
            add(c, S("cboSession") + k + S(x), "combo");
        add(c, S("lblMust") + k, "label", col == 1 ? S("(Optional)") : S("(Required)"));
        add(c, S("grpStatus") + k, "label", S("Generator Status"));
        for (int e = 1; e <= 6; ++e) {
            const QString ek = QString::number(e) + k;
            add(c, S("lblEvent") + ek, "label");
            add(c, S("EditNum") + ek, "edit");
            add(c, S("EditScore") + ek, "edit");
            add(c, S("EditWait") + ek, "edit");
            add(c, S("chkEvent") + ek, "check").setChecked(true);
            add(c, S("chkPause") + ek, "check").setVisible(false);
        }
    }
    add(c, S("Label11"), "label", S("-------- (Optional) --------"));
    add(c, S("lblOptional"), "label", S("-------- (Optional) --------"));
    add(c, S("btnScoreStart"), "button", S("Start"));
    add(c, S("btnScoreStop"), "button", S("Stop")).setVisible(false);
    add(c, S("grpStatus"), "status", S("Stopped")).setColor(255);
    add(c, S("chkPause"), "check", S("Pause Scoreboard Display"));
    add(c, S("chkDual"), "check", S("Enable dual-session display"));
    add(c, S("chkNCAA"), "check", S("NCAA Mode"));
    add(c, S("chkEventTest"), "check", S("Event Display Test Mode"));
    add(c, S("chkDebugIO"), "check", S("Debug IO Output?"));
    add(c, S("chkSTXETX"), "check", S("Include STX/ETX characters?")).setVisible(false);
    const char *targets[][2] = {{"rdoDaktronics", "Daktronics"}, {"rdoBarco", "Barco"},
                                {"rdoWhiteWay", "White Way"},    {"rdoFile", "File Output"},
                                {"rdoXML", "XML File"},          {"rdoXpression", "Xpression"}};
    for (const auto &t : targets)
        add(c, S(t[0]), "radio", S(t[1]));
    c(S("rdoDaktronics")).setChecked(true);
    add(c, S("btnSelectFile"), "button", S("Select File")).setVisible(false);
    add(c, S("lblFileName"), "label").setVisible(false);
    add(c, S("lblStatus"), "label").setVisible(false);
    add(c, S("btnClear"), "button", S("Clear Events"));
    add(c, S("btnShowTest"), "button", S("Show Sample"));
    add(c, S("rgrpRotation"), "radiogroup", S("NCAA Rotation"));
    add(c, S("dxbtnSetupUnits"), "button", S("Setup"));
    add(c, S("dxbtnLocateServer"), "button", S("Manage Servers"));
    add(c, S("dxbtnDisplayResults"), "button", S("Results"));
    add(c, S("dxbtnAbout"), "button", S("About Kestra"));
    add(c, S("Button1"), "button", S("Output Status"));
    add(c, S("Timer1"), "timer");

    c(S("btnScoreStart")).setClickHandler([&c] {
        c(S("btnScoreStart")).setVisible(false);
        c(S("btnScoreStop")).setVisible(true);
        c(S("grpStatus")).setText(S("Running"));
        c(S("grpStatus")).setColor(65280);
        c(S("chkDual")).setEnabled(false);
    });
    c(S("btnScoreStop")).setClickHandler([&c] {
        c(S("btnScoreStop")).setVisible(false);
        c(S("btnScoreStart")).setVisible(true);
        c(S("grpStatus")).setText(S("Stopped"));
        c(S("grpStatus")).setColor(255);
        c(S("chkDual")).setEnabled(true);
    });
    auto dual = [&c] {
        const bool on = c(S("chkDual")).isChecked();
        for (LogicalControl *control : c.all()) {
            const QString &n = control->name();
            if (n.endsWith(QLatin1Char('2')) && n != S("grpStatus") && !n.startsWith(S("Timer")))
                control->setEnabled(on);
        }
        c(S("lblMust1")).setText(on ? S("(Required)") : S("(Optional)"));
    };
    c(S("chkDual")).setClickHandler(dual);
    dual();
}

class MainWindowTest : public testing::Test {
protected:
    ControlSet controls;
    DisplayRecord record;
    std::unique_ptr<frmKestraMain> window;

    void SetUp() override
    {
        fillMainControls(controls);
        window = std::make_unique<frmKestraMain>(controls, record);
    }
    template <typename T> T *get(const QString &name)
    {
        T *widget = window->findChild<T *>(name);
        EXPECT_NE(widget, nullptr) << name.toStdString();
        return widget;
    }
};

TEST_F(MainWindowTest, everyControlHasOneWidgetOfItsKindByItsName)
{
    for (LogicalControl *control : controls.all()) {
        const QString &name = control->name();
        const QString kind = control->property(S("kind")).toString();
        const auto found = window->findChildren<QWidget *>(name);
        if (kind == S("timer")) {
            EXPECT_TRUE(found.isEmpty()) << name.toStdString();
            continue;
        }
        ASSERT_EQ(found.size(), 1) << name.toStdString();
        QWidget *widget = found.first();
        EXPECT_EQ(window->widgetFor(name), widget) << name.toStdString();
        const char *cls = widget->metaObject()->className();
        if (name == S("grpStatus1") || name == S("grpStatus2"))
            EXPECT_STREQ(cls, "QGroupBox");
        else if (kind == S("button"))
            EXPECT_STREQ(cls, "QPushButton") << name.toStdString();
        else if (kind == S("check"))
            EXPECT_STREQ(cls, "QCheckBox") << name.toStdString();
        else if (kind == S("radio"))
            EXPECT_STREQ(cls, "QRadioButton") << name.toStdString();
        else if (kind == S("edit"))
            EXPECT_STREQ(cls, "QLineEdit") << name.toStdString();
        else if (kind == S("combo") || kind == S("lookup"))
            EXPECT_STREQ(cls, "QComboBox") << name.toStdString();
        else if (kind == S("radiogroup"))
            EXPECT_STREQ(cls, "QGroupBox") << name.toStdString();
        else
            EXPECT_STREQ(cls, "QLabel") << name.toStdString();
    }
    // Every control of the set has its planned place.
    EXPECT_TRUE(window->unplacedControls().isEmpty()) << window->unplacedControls().join(S(",")).toStdString();
    EXPECT_TRUE(get<QGroupBox>(S("grpMore"))->isHidden());
}

TEST_F(MainWindowTest, eventRowsSitInTheirColumnsStatusGroup)
{
    for (int col = 1; col <= 2; ++col) {
        auto *group = get<QGroupBox>(S("grpStatus") + QString::number(col));
        EXPECT_EQ(group->title(), S("Generator Status"));
        for (int e = 1; e <= 6; ++e) {
            const QString ek = QString::number(e) + QString::number(col);
            for (const char *stem : {"lblEvent", "EditNum", "EditScore", "EditWait", "chkEvent", "chkPause"})
                EXPECT_NE(group->findChild<QWidget *>(S(stem) + ek), nullptr) << stem << ek.toStdString();
            // The poll writes these; the operator only reads them.
            EXPECT_TRUE(get<QLineEdit>(S("EditNum") + ek)->isReadOnly());
            EXPECT_TRUE(get<QLineEdit>(S("EditWait") + ek)->isReadOnly());
        }
    }
    auto *targets = get<QGroupBox>(S("grpJumbotronType"));
    EXPECT_EQ(targets->title(), S("Jumbotron Type"));
    EXPECT_EQ(targets->findChildren<QRadioButton *>().size(), 6);
    EXPECT_EQ(get<QCheckBox>(S("chkEvent11"))->isChecked(), true);
    window->show();
    EXPECT_TRUE(get<QCheckBox>(S("chkEvent11"))->isVisible());
    EXPECT_FALSE(get<QCheckBox>(S("chkPause11"))->isVisible());
    EXPECT_FALSE(get<QCheckBox>(S("chkSTXETX"))->isVisible());
}

TEST_F(MainWindowTest, startAndStopRunTheLogicAndTheWindowFollows)
{
    window->show();
    auto *start = get<QPushButton>(S("btnScoreStart"));
    auto *stop = get<QPushButton>(S("btnScoreStop"));
    auto *state = get<QLabel>(S("grpStatus"));
    EXPECT_TRUE(start->isVisible());
    EXPECT_FALSE(stop->isVisible());
    EXPECT_EQ(state->text(), S("Stopped"));

    start->click();
    EXPECT_FALSE(start->isVisible());
    EXPECT_TRUE(stop->isVisible());
    EXPECT_EQ(state->text(), S("Running"));
    EXPECT_TRUE(state->styleSheet().contains(S("#00ff00")));
    EXPECT_FALSE(get<QCheckBox>(S("chkDual"))->isEnabled());

    stop->click();
    EXPECT_TRUE(start->isVisible());
    EXPECT_EQ(state->text(), S("Stopped"));
    EXPECT_TRUE(state->styleSheet().contains(S("#ff0000")));
}

TEST_F(MainWindowTest, dualBoxGivesTheSecondColumn)
{
    EXPECT_FALSE(get<QGroupBox>(S("grpStatus2"))->isEnabled());
    EXPECT_FALSE(get<QComboBox>(S("cboSession2"))->isEnabled());
    EXPECT_EQ(get<QLabel>(S("lblMust1"))->text(), S("(Optional)"));
    get<QCheckBox>(S("chkDual"))->click();
    EXPECT_TRUE(controls(S("chkDual")).isChecked());
    EXPECT_TRUE(get<QGroupBox>(S("grpStatus2"))->isEnabled());
    EXPECT_TRUE(get<QComboBox>(S("cboSession2z"))->isEnabled());
    EXPECT_EQ(get<QLabel>(S("lblMust1"))->text(), S("(Required)"));
}

TEST_F(MainWindowTest, logicWritesReachTheEventRows)
{
    controls(S("EditNum31")).setText(S("142"));
    controls(S("EditScore31")).setText(S("9.450"));
    controls(S("EditWait31")).setText(S("2"));
    controls(S("lblEvent31")).setText(S("Beam"));
    EXPECT_EQ(get<QLineEdit>(S("EditNum31"))->text(), S("142"));
    EXPECT_EQ(get<QLineEdit>(S("EditScore31"))->text(), S("9.450"));
    EXPECT_EQ(get<QLineEdit>(S("EditWait31"))->text(), S("2"));
    EXPECT_EQ(get<QLabel>(S("lblEvent31"))->text(), S("Beam"));
    controls(S("lblEvent61")).setVisible(false);
    EXPECT_TRUE(get<QLabel>(S("lblEvent61"))->isHidden());
}

TEST_F(MainWindowTest, targetButtonsAreOneGroup)
{
    get<QRadioButton>(S("rdoXML"))->click();
    EXPECT_TRUE(controls(S("rdoXML")).isChecked());
    EXPECT_FALSE(controls(S("rdoDaktronics")).isChecked());
    EXPECT_FALSE(get<QRadioButton>(S("rdoDaktronics"))->isChecked());
}

TEST_F(MainWindowTest, focusFollowsTheLogic)
{
    window->show();
    QApplication::setActiveWindow(window.get());
    ASSERT_TRUE(kestra::test::waitUntil([&] { return window->isActiveWindow(); }));
    controls(S("cboSession1")).requestFocus();
    EXPECT_TRUE(kestra::test::waitUntil([&] { return get<QComboBox>(S("cboSession1"))->hasFocus(); }));
}

TEST_F(MainWindowTest, outputStatusOpensOnceAndShowsTheBlock)
{
    record.pack(layout::eventTitle(1), QStringLiteral("VAULT"));
    get<QPushButton>(S("Button1"))->click();
    auto statusWindows = window->findChildren<frmOutputStatus *>();
    ASSERT_EQ(statusWindows.size(), 1);
    EXPECT_TRUE(statusWindows.first()->isVisible());
    statusWindows.first()->hide();
    window->findChild<QAction *>(S("actButton1"))->trigger();
    EXPECT_EQ(window->findChildren<frmOutputStatus *>().size(), 1);
    EXPECT_TRUE(statusWindows.first()->isVisible());
    window->outputStatus().Timer1Timer();
    bool seen = false;
    for (const QLabel *label : statusWindows.first()->findChildren<QLabel *>())
        seen = seen || label->text() == S("VAULT ");
    EXPECT_TRUE(seen);
}

TEST_F(MainWindowTest, menuCommandsFollowTheirControls)
{
    int setups = 0;
    controls(S("dxbtnSetupUnits")).setClickHandler([&] { ++setups; });
    auto *action = window->findChild<QAction *>(S("actdxbtnSetupUnits"));
    ASSERT_NE(action, nullptr);
    action->trigger();
    EXPECT_EQ(setups, 1);
    controls(S("dxbtnSetupUnits")).setEnabled(false);
    EXPECT_FALSE(action->isEnabled());
    EXPECT_FALSE(get<QPushButton>(S("dxbtnSetupUnits"))->isEnabled());
    action->trigger(); // a disabled action does nothing
    EXPECT_EQ(setups, 1);
}

TEST_F(MainWindowTest, closingRunsTheLogicsCloseOnce)
{
    int closes = 0;
    window->setCloseHandler([&] { ++closes; });
    window->show();
    get<QPushButton>(S("Button1"))->click();
    window->close();
    window->close();
    EXPECT_EQ(closes, 1);
    EXPECT_FALSE(window->findChild<frmOutputStatus *>()->isVisible());
}

TEST(MainWindowExtraTest, titlesComeFromTheLogicsHints)
{
    ControlSet controls;
    add(controls, S("dblcboMeets"), "lookup").setProperty(S("caption"), S("Pick a Meet"));
    add(controls, S("grpStatus"), "status").setProperty(S("caption"), S("Generator is:"));
    add(controls, S("EditWait11"), "edit").setProperty(S("heading"), S("Queued"));
    DisplayRecord record;
    frmKestraMain window(controls, record);
    EXPECT_EQ(window.findChild<QGroupBox *>(S("grpSelectMeet"))->title(), S("Pick a Meet"));
    QStringList labels;
    for (const QLabel *label : window.findChildren<QLabel *>())
        labels << label->text();
    EXPECT_TRUE(labels.contains(S("Generator is:")));
    // Column 1 has the hint; column 2 has no such control and keeps its word.
    EXPECT_EQ(labels.count(S("Queued")), 1);
    EXPECT_EQ(labels.count(S("Waiting")), 1);
    // Without hints the window's own words stand.
    EXPECT_TRUE(labels.contains(S("Display")));
    EXPECT_EQ(window.findChild<QGroupBox *>(S("grpJumbotronType"))->title(), S("Jumbotron Type"));
}

TEST(MainWindowExtraTest, controlsOutsideThePlanAreStillDrawn)
{
    ControlSet controls;
    add(controls, S("btnScoreStart"), "button", S("Start"));
    add(controls, S("chkSomethingNew"), "check", S("Something new"));
    add(controls, S("lblNote"), "label", S("A note"));
    DisplayRecord record;
    frmKestraMain window(controls, record);
    EXPECT_EQ(window.unplacedControls(), QStringList({S("chkSomethingNew"), S("lblNote")}));
    auto *more = window.findChild<QGroupBox *>(S("grpMore"));
    ASSERT_NE(more, nullptr);
    EXPECT_FALSE(more->isHidden());
    EXPECT_NE(more->findChild<QCheckBox *>(S("chkSomethingNew")), nullptr);
    // Absent controls leave their places empty; the status view is always there.
    EXPECT_EQ(window.findChild<QComboBox *>(S("dblcboMeets")), nullptr);
    EXPECT_NE(window.findChild<QPushButton *>(S("Button1")), nullptr);
}

} // namespace
