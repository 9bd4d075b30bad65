// The main window over its real logic and a seeded embedded meet database:
// what the operator sees and does in the widgets reaches the handlers, and
// what the handlers decide shows in the widgets.
#include "outputs/OutputStatus.h"
#include "support/LogicalControl.h"
#include "ui/MainWindowHooks.h"
#include "ui/frmAbout.h"
#include "ui/frmKestraMain.h"
#include "ui/frmOutputStatus.h"

#include "kestra/Version.h"

#include "gui/Operator.h"
#include "support/MainRig.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>

#include <cstdlib>

using namespace kestra;
using namespace kestra::test;

namespace {

class LiveMainWindowTest : public testing::Test {
protected:
    MainRig rig;
    KestraMain *main = &rig.main();
    std::unique_ptr<frmKestraMain> window;
    int closes = 0;

    void SetUp() override
    {
        ASSERT_TRUE(main->create());
        window = std::make_unique<frmKestraMain>(main->controls(), rig.record);
        attachWindowHooks(*main, *window);
        window->setCloseHandler([this] {
            ++closes;
            main->close();
        });
        main->show();
        window->show();
    }
    void TearDown() override
    {
        if (window)
            window->close();
    }
    template <typename T> T *get(const char *name)
    {
        T *widget = window->findChild<T *>(S(name));
        EXPECT_NE(widget, nullptr) << name;
        return widget;
    }
    void pick(QComboBox *box, const QString &text)
    {
        const int index = box->findText(text);
        ASSERT_GE(index, 0) << text.toStdString();
        box->setCurrentIndex(index);
        emit box->activated(index);
    }
};

TEST_F(LiveMainWindowTest, everyControlOfTheLogicIsDrawnByItsName)
{
    int drawn = 0;
    for (LogicalControl *control : main->controls().all()) {
        const QString kind = control->property(S("kind")).toString();
        if (control->name().startsWith(S("Timer")) || kind == S("timer") || kind == S("table"))
            continue;
        const auto found = window->findChildren<QWidget *>(control->name());
        ASSERT_EQ(found.size(), 1) << control->name().toStdString();
        EXPECT_EQ(window->widgetFor(control->name()), found.first());
        ++drawn;
    }
    EXPECT_GT(drawn, 100);
    // The layout has a planned place for each of them.
    EXPECT_TRUE(window->unplacedControls().isEmpty()) << window->unplacedControls().join(S(", ")).toStdString();
    EXPECT_TRUE(get<QGroupBox>("grpMore")->isHidden());

    // Each column's event rows sit in its status group; the poll writes the
    // competitor and queue boxes, the operator only reads them.
    for (int col = 1; col <= 2; ++col) {
        auto *group = window->findChild<QGroupBox *>(S("grpStatus") + QString::number(col));
        ASSERT_NE(group, nullptr) << col;
        for (int e = 1; e <= 6; ++e) {
            const QString ek = QString::number(e) + QString::number(col);
            for (const char *stem : {"lblEvent", "EditNum", "EditScore", "EditWait", "chkEvent", "chkPause"})
                EXPECT_NE(group->findChild<QWidget *>(S(stem) + ek), nullptr) << stem << ek.toStdString();
            EXPECT_TRUE(group->findChild<QLineEdit *>(S("EditNum") + ek)->isReadOnly());
            EXPECT_TRUE(group->findChild<QLineEdit *>(S("EditWait") + ek)->isReadOnly());
        }
    }
    auto *targets = get<QGroupBox>("grpJumbotronType");
    EXPECT_EQ(targets->title(), S("Jumbotron Type"));
    EXPECT_EQ(targets->findChildren<QRadioButton *>().size(), 6);
    // What the logic held before the window was made is what the widgets show.
    EXPECT_EQ(get<QComboBox>("dblcboMeets")->currentText(), S("Spring Classic 2024"));
    EXPECT_TRUE(get<QLabel>("lblEvent51")->isHidden());

    if (const char *folder = std::getenv("KESTRA_SCREENSHOT_DIR")) {
        window->resize(window->sizeHint());
        window->grab().save(QDir(QString::fromLocal8Bit(folder)).filePath(S("frmKestraMain.png")));
    }
}

TEST_F(LiveMainWindowTest, operatorPicksInTheWidgetsReachTheLogic)
{
    // A meet of six apparatus: the rows follow the new meet's event group.
    pick(get<QComboBox>("dblcboMeets"), S("Winter Quad 2024"));
    EXPECT_EQ(main->controls()(S("dblcboMeets")).currentIndex(), get<QComboBox>("dblcboMeets")->currentIndex());

    // A session picked from the list, shown with its description, is the
    // box's text.
    auto *session = get<QComboBox>("cboSession1");
    ASSERT_GT(session->count(), 0);
    ASSERT_FALSE(main->selection().memSessions().isEmpty());
    const MeetSelection::SessionRow &first = main->selection().memSessions().first();
    EXPECT_EQ(session->itemText(0), first.Session + S(" - ") + first.Desc);
    pick(session, session->itemText(0));
    EXPECT_EQ(main->controls()(S("cboSession1")).text(), first.Session);
    EXPECT_EQ(session->currentText(), first.Session);

    // The target buttons are one group.
    get<QRadioButton>("rdoFile")->click();
    EXPECT_EQ(main->checkedTarget(), OutputTarget::File);
    EXPECT_FALSE(get<QRadioButton>("rdoDaktronics")->isChecked());
    EXPECT_FALSE(get<QPushButton>("btnSelectFile")->isHidden());
    get<QRadioButton>("rdoDaktronics")->click();
    EXPECT_TRUE(get<QPushButton>("btnSelectFile")->isHidden());
}

TEST_F(LiveMainWindowTest, theMenuCommandsFollowTheirButtonsThroughARun)
{
    get<QPushButton>("btnScoreStart")->click();
    EXPECT_EQ(main->runState(), KestraMain::RunState::Running);
    EXPECT_FALSE(get<QAction>("actdxbtnSetupUnits")->isEnabled());
    get<QPushButton>("btnScoreStop")->click();
    EXPECT_TRUE(get<QAction>("actdxbtnSetupUnits")->isEnabled());
}

TEST_F(LiveMainWindowTest, aRefusedStartMovesTheFocusToTheSessionBox)
{
    QApplication::setActiveWindow(window.get());
    ASSERT_TRUE(kestra::test::waitUntil([&] { return window->isActiveWindow(); }));
    get<QCheckBox>("chkNCAA")->click();
    get<QPushButton>("btnScoreStart")->click();
    EXPECT_EQ(main->runState(), KestraMain::RunState::Stopped);
    ASSERT_FALSE(rig.prompt.messages.empty());
    EXPECT_TRUE(kestra::test::waitUntil([&] { return get<QComboBox>("cboSession1")->hasFocus(); }));
}

TEST_F(LiveMainWindowTest, theOutputStatusOpensOnceShowsTheBlockAndClosesWithTheWindow)
{
    rig.record.pack(layout::eventTitle(1), S("VAULT"));
    get<QPushButton>("Button1")->click();
    auto *status = window->findChild<frmOutputStatus *>();
    ASSERT_NE(status, nullptr);
    EXPECT_TRUE(status->isVisible());
    status->hide();
    get<QAction>("actButton1")->trigger();
    EXPECT_EQ(window->findChildren<frmOutputStatus *>().size(), 1);
    EXPECT_TRUE(status->isVisible());
    window->outputStatus().Timer1Timer();
    EXPECT_EQ(status->findChild<QLabel *>(S("lblEvent1Title"))->text(), S("VAULT "));
    status->hide();
    rig.record.pack(layout::eventTitle(1), S("FLOOR"));
    window->outputStatus().Timer1Timer();
    EXPECT_EQ(status->findChild<QLabel *>(S("lblEvent1Title"))->text(), S("VAULT ")) << "hidden: not refreshed";
    status->show();

    // Closing runs the logic's close once and takes the status window along.
    window->close();
    window->close();
    EXPECT_EQ(closes, 1);
    EXPECT_FALSE(status->isVisible());
}

TEST_F(LiveMainWindowTest, theFileTargetsSaveDialogSetsTheOutputFile)
{
    get<QRadioButton>("rdoFile")->click();
    const QString chosen = rig.dir.file(S("scores"));
    answerNext<QFileDialog>([&chosen](QFileDialog &dialog) {
        EXPECT_EQ(dialog.defaultSuffix(), S("txt"));
        EXPECT_EQ(dialog.nameFilters(), QStringList({S("Text Files (*.TXT *.txt)")}));
        dialog.selectFile(chosen);
        static_cast<QDialog &>(dialog).accept();
    });
    get<QPushButton>("btnSelectFile")->click();
    EXPECT_EQ(main->settings().OutputFileName, chosen + S(".txt"));
    EXPECT_EQ(get<QLabel>("lblFileName")->text(), chosen + S(".txt"));

    // Cancel keeps the file; the dialog opens on it.
    get<QRadioButton>("rdoXML")->click();
    answerNext<QFileDialog>([&chosen](QFileDialog &dialog) {
        EXPECT_EQ(dialog.defaultSuffix(), S("xml"));
        EXPECT_EQ(dialog.selectedFiles().value(0), chosen + S(".txt"));
        dialog.reject();
    });
    get<QPushButton>("btnSelectFile")->click();
    EXPECT_EQ(main->settings().OutputFileName, chosen + S(".txt"));
}

TEST_F(LiveMainWindowTest, theAboutWindowNamesTheVersionAndTheMaker)
{
    QStringList shown;
    answerNext<frmAbout>([this, &shown](frmAbout &about) {
        EXPECT_EQ(about.parentWidget(), window.get());
        EXPECT_EQ(about.windowTitle(), S("About Kestra"));
        for (const char *name : {"lblHeading", "lblProduct", "lblDescription", "lblVersion", "lblCopyright"})
            shown << about.findChild<QLabel *>(S(name))->text();
        EXPECT_TRUE(about.findChild<QLabel *>(S("lblProduct"))->font().bold());
        about.findChild<QPushButton *>(S("btnOK"))->click();
    });
    get<QAction>("actdxbtnAbout")->trigger(); // the menu command runs the button's handler
    EXPECT_EQ(shown, (QStringList{S("About Kestra"), S("Kestra"), S("Jumbotron Display Generator"),
                                  S("Version ") + S(version::productVersion), S("Copyright (c) 2026 Corvane")}));
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

} // namespace
