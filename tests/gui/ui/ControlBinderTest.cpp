#include "support/LogicalControl.h"
#include "ui/ControlBinder.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <ostream>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QKeyEvent>
#include <QVBoxLayout>

#include <functional>

using namespace kestra;

namespace {

QString S(const char *text)
{
    return QString::fromUtf8(text);
}

void press(QWidget *widget, int key, const QString &text = QString())
{
    QKeyEvent down(QEvent::KeyPress, key, Qt::NoModifier, text);
    QApplication::sendEvent(widget, &down);
    QKeyEvent up(QEvent::KeyRelease, key, Qt::NoModifier, text);
    QApplication::sendEvent(widget, &up);
}

void type(QWidget *widget, const QString &text)
{
    for (QChar ch : text)
        press(widget, Qt::Key_unknown, QString(ch));
}

struct KindCase {
    const char *name;
    const char *kind; // "" : known by the name's prefix
    const char *expectedKind;
    const char *widgetClass;
};

void PrintTo(const KindCase &c, std::ostream *os)
{
    *os << c.name << " as " << c.widgetClass;
}

class ControlBinderKinds : public testing::TestWithParam<KindCase> {};

TEST_P(ControlBinderKinds, drawsEachKindAsItsWidgetNamedAsTheControl)
{
    const KindCase &c = GetParam();
    ControlSet controls;
    LogicalControl &control = controls.add(S(c.name), S("Caption"));
    if (*c.kind)
        control.setProperty(S("kind"), S(c.kind));
    EXPECT_EQ(ControlBinder::kindOf(control), S(c.expectedKind));
    QWidget parent;
    QWidget *widget = ControlBinder::create(control, &parent);
    ASSERT_NE(widget, nullptr);
    EXPECT_EQ(widget->objectName(), S(c.name));
    EXPECT_STREQ(widget->metaObject()->className(), c.widgetClass);
    EXPECT_EQ(ControlBinder::controlOf(widget), &control);
    EXPECT_EQ(parent.findChild<QWidget *>(S(c.name)), widget);
}

INSTANTIATE_TEST_SUITE_P(
    ControlBinderTest, ControlBinderKinds,
    // Without a kind property the name's prefix tells; a property wins.
    testing::Values(KindCase{"chkOdd", "button", "button", "QPushButton"},
                    KindCase{"widget", "gauge", "gauge", "QLabel"},
                    KindCase{"dxbtnAbout", "", "button", "QPushButton"},
                    KindCase{"Button1", "", "button", "QPushButton"},
                    KindCase{"chkPause32", "", "check", "QCheckBox"},
                    KindCase{"rdoXML", "", "radio", "QRadioButton"},
                    KindCase{"EditWait62", "", "edit", "QLineEdit"},
                    KindCase{"cboSession2z", "", "combo", "QComboBox"},
                    KindCase{"dblcboEvent2", "", "lookup", "QComboBox"},
                    KindCase{"lblEvent41", "", "label", "QLabel"},
                    KindCase{"Label11", "", "label", "QLabel"},
                    KindCase{"grpStatus", "", "status", "QLabel"},
                    KindCase{"rgrpAddr", "", "radiogroup", "QGroupBox"},
                    KindCase{"grpColumn", "", "group", "QGroupBox"},
                    KindCase{"mysteryThing", "", "label", "QLabel"}),
    [](const testing::TestParamInfo<KindCase> &info) { return std::string(info.param.name) + "_" + std::to_string(info.index); });

TEST(ControlBinderTest, colourOfTheLogicIsBlueGreenRed)
{
    EXPECT_EQ(ControlBinder::colorName(255), S("#ff0000"));
    EXPECT_EQ(ControlBinder::colorName(65280), S("#00ff00"));
    EXPECT_EQ(ControlBinder::colorName(65535), S("#ffff00"));
    EXPECT_EQ(ControlBinder::colorName(0xFF0000), S("#0000ff"));
}

// Logic changes redraw the widget, whatever its kind; labels, the status
// box and the meet list are seen redrawn in the live window test.
TEST(ControlBinderTest, stateChangesOfTheLogicRedrawTheWidgets)
{
    ControlSet c;
    QWidget window;
    auto *button = ControlBinder::button(c.add(S("btnGo"), S("Start")), &window);
    auto *check = ControlBinder::check(c.add(S("chkDual"), S("Enable")), &window);
    auto *edit = ControlBinder::edit(c.add(S("EditNum11")), &window);
    auto *combo = ControlBinder::combo(c.add(S("cboSession1")), &window);

    c(S("btnGo")).setText(S("Stop"));
    c(S("btnGo")).setEnabled(false);
    c(S("btnGo")).setProperty(S("hint"), S("Stops the run"));
    EXPECT_EQ(button->text(), S("Stop"));
    EXPECT_FALSE(button->isEnabled());
    EXPECT_EQ(button->toolTip(), S("Stops the run"));

    c(S("chkDual")).setChecked(true);
    EXPECT_TRUE(check->isChecked());
    c(S("chkDual")).setVisible(false);
    EXPECT_TRUE(check->isHidden());
    c(S("chkDual")).setVisible(true);
    EXPECT_FALSE(check->isHidden());

    c(S("EditNum11")).setText(S("123"));
    EXPECT_EQ(edit->text(), S("123"));

    c(S("cboSession1")).setItems({S("1"), S("2")});
    c(S("cboSession1")).setText(S("2"));
    EXPECT_EQ(combo->count(), 2);
    EXPECT_EQ(combo->currentText(), S("2"));
    c(S("cboSession1")).setText(QString());
    EXPECT_EQ(combo->currentText(), QString());
}

TEST(ControlBinderTest, clicksAndTypingReachTheLogicAsTheOperators)
{
    ControlSet c;
    QWidget window;
    QStringList calls;
    LogicalControl &go = c.add(S("btnGo"), S("Start"));
    go.setClickHandler([&] { calls << S("go"); });
    auto *button = ControlBinder::button(go, &window);
    button->click();
    EXPECT_EQ(calls, QStringList({S("go")}));

    // The state is set before the handler runs.
    LogicalControl &pause = c.add(S("chkPause"), S("Pause"));
    pause.setClickHandler([&] { calls << (pause.isChecked() ? S("pause on") : S("pause off")); });
    auto *check = ControlBinder::check(pause, &window);
    check->click();
    check->click();
    EXPECT_EQ(calls.mid(1), QStringList({S("pause on"), S("pause off")}));

    // A handler that refuses the change puts the box back.
    LogicalControl &stubborn = c.add(S("chkStubborn"));
    stubborn.setClickHandler([&] { stubborn.setChecked(false); });
    auto *stubbornBox = ControlBinder::check(stubborn, &window);
    stubbornBox->click();
    EXPECT_FALSE(stubbornBox->isChecked());

    LogicalControl &num = c.add(S("EditName"));
    QString seen;
    num.setClickHandler([&] { seen = num.text(); });
    auto *edit = ControlBinder::edit(num, &window);
    type(edit, S("Ab"));
    EXPECT_EQ(num.text(), S("Ab"));
    EXPECT_EQ(seen, S("Ab"));

    // Disabled widgets take no clicks, as the operator cannot press them.
    go.setEnabled(false);
    button->click();
    EXPECT_EQ(calls.count(S("go")), 1);
}

TEST(ControlBinderTest, radioButtonsOfOneBoxUncheckTheOthersBeforeTheHandlerRuns)
{
    ControlSet c;
    QGroupBox box;
    auto *layout = new QVBoxLayout(&box);
    QStringList seen;
    std::vector<QRadioButton *> radios;
    for (const char *name : {"rdoDaktronics", "rdoBarco", "rdoFile"}) {
        LogicalControl &control = c.add(S(name), S(name));
        control.setClickHandler([&c, &seen, name] {
            QStringList checked;
            for (const char *other : {"rdoDaktronics", "rdoBarco", "rdoFile"})
                if (c(S(other)).isChecked())
                    checked << S(other);
            seen << S(name) + S(":") + checked.join(S(","));
        });
        radios.push_back(ControlBinder::radio(control, &box));
        layout->addWidget(radios.back());
    }
    c(S("rdoDaktronics")).setChecked(true);
    EXPECT_TRUE(radios[0]->isChecked());

    radios[1]->click();
    EXPECT_EQ(seen, QStringList({S("rdoBarco:rdoBarco")}));
    EXPECT_FALSE(c(S("rdoDaktronics")).isChecked());
    EXPECT_FALSE(radios[0]->isChecked());
    EXPECT_TRUE(radios[1]->isChecked());

    // The checked one clicked again runs nothing.
    radios[1]->click();
    EXPECT_EQ(seen.size(), 1);

    // The logic may uncheck every button, which a plain radio group refuses.
    c(S("rdoBarco")).setChecked(false);
    EXPECT_FALSE(radios[1]->isChecked());
    for (QRadioButton *radio : radios)
        EXPECT_FALSE(radio->isChecked());
    c(S("rdoFile")).setChecked(true);
    EXPECT_TRUE(radios[2]->isChecked());
}

TEST(ControlBinderTest, listsPickAsTheOperator)
{
    ControlSet c;
    QWidget window;
    LogicalControl &meets = c.add(S("dblcboMeets"));
    meets.setItems({S("Spring"), S("Winter")});
    meets.setCurrentIndex(0);
    int meetChanges = 0;
    meets.setClickHandler([&] { ++meetChanges; });
    auto *meetBox = ControlBinder::lookup(meets, &window);
    emit meetBox->activated(1);
    EXPECT_EQ(meets.currentIndex(), 1);
    EXPECT_EQ(meetChanges, 1);
    // Picking the row that is already selected changes nothing.
    emit meetBox->activated(1);
    EXPECT_EQ(meetChanges, 1);

    LogicalControl &session = c.add(S("cboSession1"));
    session.setItems({S("1"), S("2")});
    QStringList texts;
    session.setClickHandler([&] { texts << session.text(); });
    auto *sessionBox = ControlBinder::combo(session, &window);
    emit sessionBox->activated(1);
    EXPECT_EQ(session.text(), S("2"));
    // Emptying the text by typing is the operator's too.
    sessionBox->lineEdit()->selectAll();
    press(sessionBox->lineEdit(), Qt::Key_Backspace);
    EXPECT_EQ(session.text(), QString());
    EXPECT_EQ(texts, QStringList({S("2"), QString()}));

    // Keys of their own win over the items.
    LogicalControl &keyed = c.add(S("cboKeyed"));
    keyed.setItems({S("Morning"), S("Evening")});
    keyed.setProperty(S("keys"), QStringList({S("M"), S("E")}));
    auto *keyedBox = ControlBinder::combo(keyed, &window);
    emit keyedBox->activated(1);
    EXPECT_EQ(keyed.text(), S("E"));

    // Without keys the item's text is the value.
    LogicalControl &plain = c.add(S("cboPlain"));
    plain.setItems({S("A"), S("B")});
    auto *plainBox = ControlBinder::combo(plain, &window);
    emit plainBox->activated(0);
    EXPECT_EQ(plain.text(), S("A"));
}

TEST(ControlBinderTest, radioGroupFollowsItsItemsAndReportsTheChoice)
{
    ControlSet c;
    QWidget window;
    LogicalControl &rotation = c.add(S("rgrpRotation"));
    rotation.setProperty(S("caption"), S("NCAA Rotation"));
    int clicks = 0;
    rotation.setClickHandler([&] { ++clicks; });
    QGroupBox *box = ControlBinder::radioGroup(rotation, &window);
    EXPECT_EQ(box->title(), S("NCAA Rotation"));
    EXPECT_TRUE(box->findChildren<QRadioButton *>().isEmpty());

    rotation.setItems({S("1"), S("2"), S("3"), S("4")});
    rotation.setCurrentIndex(0);
    auto item = [box](int i) { return box->findChild<QRadioButton *>(S("rgrpRotationItem") + QString::number(i)); };
    ASSERT_NE(item(3), nullptr);
    EXPECT_TRUE(item(0)->isChecked());

    item(2)->click();
    EXPECT_EQ(rotation.currentIndex(), 2);
    EXPECT_EQ(clicks, 1);
    EXPECT_TRUE(item(2)->isChecked());
    EXPECT_FALSE(item(0)->isChecked());
    item(2)->click();
    EXPECT_EQ(clicks, 1);

    // New items replace the buttons, even from within a click.
    rotation.setClickHandler([&] { rotation.setItems({S("1"), S("2")}); });
    item(1)->click();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(box->findChildren<QRadioButton *>().size(), 2);
    EXPECT_EQ(item(2), nullptr);

    rotation.setItems({});
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(box->findChildren<QRadioButton *>().isEmpty());
}

TEST(ControlBinderTest, eitherEndMayGoFirst)
{
    auto controls = std::make_unique<ControlSet>();
    auto window = std::make_unique<QWidget>();
    auto *check = ControlBinder::check(controls->add(S("chkA")), window.get());
    auto *edit = ControlBinder::edit(controls->add(S("EditB")), window.get());
    controls.reset();
    check->click(); // no control any more: nothing runs, nothing breaks
    type(edit, S("x"));

    auto more = std::make_unique<ControlSet>();
    LogicalControl &late = more->add(S("chkLate"));
    {
        QWidget gone;
        ControlBinder::check(late, &gone);
    }
    late.setChecked(true); // the widget is gone: nothing to redraw
    EXPECT_TRUE(late.isChecked());
}

} // namespace
