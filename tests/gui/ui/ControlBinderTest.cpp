// Logical controls drawn as widgets: each kind as its widget, state changes
// of the logic redrawn, the operator's actions handed to the logic as the
// operator's, and either end free to go first.
#include "support/LogicalControl.h"
#include "ui/ControlBinder.h"

#include "gui/Operator.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>

using namespace kestra;
using namespace kestra::test;

TEST(ControlBinderTest, eachKindIsItsWidgetNamedAsTheControl)
{
    // Without a kind property the name's prefix tells; a property wins.
    const char *cases[][3] = {
        {"chkOdd", "button", "QPushButton"}, {"dxbtnAbout", "", "QPushButton"}, {"chkPause32", "", "QCheckBox"},
        {"rdoXML", "", "QRadioButton"},      {"EditWait62", "", "QLineEdit"},   {"cboSession2z", "", "QComboBox"},
        {"dblcboEvent2", "", "QComboBox"},   {"lblEvent41", "", "QLabel"},      {"grpStatus", "", "QLabel"},
        {"rgrpAddr", "", "QGroupBox"},       {"grpColumn", "", "QGroupBox"},    {"mysteryThing", "", "QLabel"},
    };
    for (const auto &c : cases) {
        ControlSet controls;
        LogicalControl &control = controls.add(S(c[0]), S("Caption"));
        if (*c[1])
            control.setProperty(S("kind"), S(c[1]));
        QWidget parent;
        QWidget *widget = ControlBinder::create(control, &parent);
        EXPECT_STREQ(widget->metaObject()->className(), c[2]) << c[0];
        EXPECT_EQ(parent.findChild<QWidget *>(S(c[0])), widget) << c[0];
        EXPECT_EQ(ControlBinder::controlOf(widget), &control);
    }
    EXPECT_EQ(ControlBinder::colorName(255), S("#ff0000"));
    EXPECT_EQ(ControlBinder::colorName(0xFF0000), S("#0000ff"));
}

TEST(ControlBinderTest, stateChangesOfTheLogicRedrawTheWidgets)
{
    ControlSet c;
    QWidget window;
    auto *button = ControlBinder::button(c.add(S("btnGo"), S("Start")), &window);
    auto *check = ControlBinder::check(c.add(S("chkDual"), S("Enable")), &window);
    auto *combo = ControlBinder::combo(c.add(S("cboSession1")), &window);
    c(S("btnGo")).setText(S("Stop"));
    c(S("btnGo")).setEnabled(false);
    c(S("btnGo")).setProperty(S("hint"), S("Stops the run"));
    EXPECT_EQ(button->text(), S("Stop"));
    EXPECT_FALSE(button->isEnabled());
    EXPECT_EQ(button->toolTip(), S("Stops the run"));
    c(S("chkDual")).setChecked(true);
    c(S("chkDual")).setVisible(false);
    EXPECT_TRUE(check->isChecked());
    EXPECT_TRUE(check->isHidden());
    c(S("cboSession1")).setItems({S("1"), S("2")});
    c(S("cboSession1")).setText(S("2"));
    EXPECT_EQ(combo->currentText(), S("2"));
    c(S("cboSession1")).setText(QString());
    EXPECT_EQ(combo->currentText(), QString());
}

TEST(ControlBinderTest, clicksTypingAndPicksReachTheLogicAsTheOperators)
{
    ControlSet c;
    QWidget window;
    QStringList calls;
    LogicalControl &go = c.add(S("btnGo"), S("Start"));
    go.setClickHandler([&] { calls << S("go"); });
    auto *button = ControlBinder::button(go, &window);
    // The state is set before the handler runs.
    LogicalControl &pause = c.add(S("chkPause"), S("Pause"));
    pause.setClickHandler([&] { calls << (pause.isChecked() ? S("pause on") : S("pause off")); });
    auto *check = ControlBinder::check(pause, &window);
    LogicalControl &name = c.add(S("EditName"));
    name.setClickHandler([&] { calls << name.text(); });
    auto *edit = ControlBinder::edit(name, &window);
    button->click();
    check->click();
    check->click();
    press(edit, Qt::Key_unknown, Qt::NoModifier, S("A"));
    EXPECT_EQ(calls, (QStringList{"go", "pause on", "pause off", "A"}));
    // A handler that refuses the change puts the box back; a disabled widget takes no click.
    pause.setClickHandler([&] { pause.setChecked(false); });
    check->click();
    EXPECT_FALSE(check->isChecked());
    go.setEnabled(false);
    button->click();
    EXPECT_EQ(calls.count(S("go")), 1);

    // A pick from a list: the row for a lookup, the item's key (or the item) for a combo.
    LogicalControl &meets = c.add(S("dblcboMeets"));
    meets.setItems({S("Spring"), S("Winter")});
    int meetChanges = 0;
    meets.setClickHandler([&] { ++meetChanges; });
    auto *meetBox = ControlBinder::lookup(meets, &window);
    emit meetBox->activated(1);
    emit meetBox->activated(1); // the selected row again changes nothing
    EXPECT_EQ(meets.currentIndex(), 1);
    EXPECT_EQ(meetChanges, 1);
    LogicalControl &keyed = c.add(S("cboKeyed"));
    keyed.setItems({S("Morning"), S("Evening")});
    keyed.setProperty(S("keys"), QStringList({S("M"), S("E")}));
    emit ControlBinder::combo(keyed, &window)->activated(1);
    EXPECT_EQ(keyed.text(), S("E"));
    LogicalControl &session = c.add(S("cboSession1"));
    session.setItems({S("1"), S("2")});
    auto *sessionBox = ControlBinder::combo(session, &window);
    emit sessionBox->activated(1);
    EXPECT_EQ(session.text(), S("2"));
    sessionBox->lineEdit()->selectAll();
    press(sessionBox->lineEdit(), Qt::Key_Backspace);
    EXPECT_EQ(session.text(), QString()) << "emptied by typing";
}

TEST(ControlBinderTest, aRadioGroupFollowsItsItemsEvenFromInsideAClick)
{
    ControlSet c;
    QWidget window;
    LogicalControl &rotation = c.add(S("rgrpRotation"));
    rotation.setProperty(S("caption"), S("NCAA Rotation"));
    int clicks = 0;
    rotation.setClickHandler([&] { ++clicks; });
    QGroupBox *box = ControlBinder::radioGroup(rotation, &window);
    EXPECT_EQ(box->title(), S("NCAA Rotation"));
    rotation.setItems({S("1"), S("2"), S("3"), S("4")});
    rotation.setCurrentIndex(0);
    auto item = [box](int i) { return box->findChild<QRadioButton *>(S("rgrpRotationItem") + QString::number(i)); };
    ASSERT_NE(item(3), nullptr);
    EXPECT_TRUE(item(0)->isChecked());
    item(2)->click();
    item(2)->click();
    EXPECT_EQ(rotation.currentIndex(), 2);
    EXPECT_EQ(clicks, 1);
    rotation.setClickHandler([&] { rotation.setItems({S("1"), S("2")}); }); // rebuilt from inside its own click
    item(1)->click();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(box->findChildren<QRadioButton *>().size(), 2);
}

TEST(ControlBinderTest, eitherEndMayGoFirst)
{
    auto controls = std::make_unique<ControlSet>();
    auto window = std::make_unique<QWidget>();
    auto *check = ControlBinder::check(controls->add(S("chkA")), window.get());
    auto *edit = ControlBinder::edit(controls->add(S("EditB")), window.get());
    controls.reset();
    check->click(); // no control any more: nothing runs, nothing breaks
    press(edit, Qt::Key_unknown, Qt::NoModifier, S("x"));

    ControlSet more;
    LogicalControl &late = more.add(S("chkLate"));
    {
        QWidget gone;
        ControlBinder::check(late, &gone);
    }
    late.setChecked(true); // the widget is gone: nothing to redraw
    EXPECT_TRUE(late.isChecked());
}
