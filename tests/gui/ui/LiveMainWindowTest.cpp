// The main window over its real logic and a seeded embedded meet database:
// what the operator sees and does in the widgets reaches the handlers, and
// what the handlers decide shows in the widgets.
#include "generator/KestraMain.h"
#include "generator/NowUpListeners.h"
#include "meetdb/DevStore.h"
#include "meetdb/MeetConnection.h"
#include "outputs/DeviceTransport.h"
#include "outputs/DisplayRecord.h"
#include "setup/SettingsStore.h"
#include "support/LogicalControl.h"
#include "support/TickSource.h"
#include "ui/MainWindowHooks.h"
#include "ui/frmKestraMain.h"
#include "ui/frmSetupUnits.h"

#include "kestra/Version.h"
#include "ui/frmOutputStatus.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QMessageBox>
#include <QSpinBox>
#include <QTimer>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>

#include <cstdlib>
#include <functional>
#include <ostream>
#include <memory>

using namespace kestra;
using kestra::test::TempDir;

namespace {

QString S(const char *text)
{
    return QString::fromUtf8(text);
}

class LiveMainWindowTest : public testing::Test {
protected:
    TempDir dir;
    kestra::test::RecordingPrompt prompt;
    FakeTickSource ticks;
    DisplayRecord record;
    DeviceTransport transport;
    std::unique_ptr<MeetConnection> connection;
    std::unique_ptr<KestraMain> main;
    std::unique_ptr<frmKestraMain> window;

    void SetUp() override
    {
        const QString meet = dir.file(S("meet"));
        {
            auto store = DevStore::openOrCreate(meet);
            ASSERT_TRUE(DevStore::createSchema(*store, false));
            DevStore::seed(*store);
        }
        connection = std::make_unique<DirectConnection>(meet, S("Test Hall"));
        main = std::make_unique<KestraMain>(*connection, SettingsStore::kestraKey(dir.file(S("config"))),
                                            SettingsStore::marlowenKey(dir.file(S("config"))), prompt, ticks,
                                            record, transport);
        // Ports of the system's own would clash with another station.
        main->listeners().setPorts(0, 0);
        ASSERT_TRUE(main->create());
        window = std::make_unique<frmKestraMain>(main->controls(), record);
        attachWindowHooks(*main, *window);
        window->setCloseHandler([this] { main->close(); });
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
        QWidget *widget = window->widgetFor(control->name());
        ASSERT_NE(widget, nullptr) << control->name().toStdString();
        EXPECT_EQ(widget->objectName(), control->name());
        ++drawn;
    }
    EXPECT_GT(drawn, 100);
    // The layout has a planned place for each of them.
    EXPECT_TRUE(window->unplacedControls().isEmpty()) << window->unplacedControls().join(S(", ")).toStdString();

    if (const char *folder = std::getenv("KESTRA_SCREENSHOT_DIR")) {
        window->resize(window->sizeHint());
        window->grab().save(QDir(QString::fromLocal8Bit(folder)).filePath(S("frmKestraMain.png")));
    }
}

TEST_F(LiveMainWindowTest, theLastMeetOfTheScoringProductIsShownWithItsEvents)
{
    auto *meets = get<QComboBox>("dblcboMeets");
    EXPECT_EQ(meets->currentText(), S("Spring Classic 2024"));
    EXPECT_EQ(get<QLabel>("lblEvent11")->text().toUpper(), S("VAULT"));
    EXPECT_EQ(get<QLabel>("lblEvent41")->text().toUpper(), S("FLOOR"));
    EXPECT_TRUE(get<QLabel>("lblEvent51")->isHidden());
    EXPECT_TRUE(get<QCheckBox>("chkEvent11")->isChecked());
    // Hidden controls stay hidden when their window shows.
    EXPECT_TRUE(get<QCheckBox>("chkEvent11")->isVisible());
    EXPECT_FALSE(get<QPushButton>("btnScoreStop")->isVisible());
    EXPECT_FALSE(get<QPushButton>("btnSelectFile")->isVisible());
    EXPECT_EQ(get<QLabel>("grpStatus")->text(), S("Stopped"));
    EXPECT_EQ(get<QLabel>("lblMust1")->text(), S("(Optional)"));
    EXPECT_TRUE(get<QRadioButton>("rdoDaktronics")->isChecked());
}

TEST_F(LiveMainWindowTest, operatorPicksInTheWidgetsReachTheLogic)
{
    // A meet of six apparatus: the rows follow the new meet's event group.
    pick(get<QComboBox>("dblcboMeets"), S("Winter Quad 2024"));
    EXPECT_EQ(main->controls()(S("dblcboMeets")).currentIndex(), get<QComboBox>("dblcboMeets")->currentIndex());

    // Column 2 comes with the dual box; the primary session becomes required.
    EXPECT_FALSE(get<QComboBox>("cboSession2")->isEnabled());
    get<QCheckBox>("chkDual")->click();
    EXPECT_TRUE(main->isDual());
    EXPECT_TRUE(get<QComboBox>("cboSession2")->isEnabled());
    EXPECT_EQ(get<QLabel>("lblMust1")->text(), S("(Required)"));

    // A session picked from the list, shown with its description, is the
    // box's text.
    auto *session = get<QComboBox>("cboSession1");
    ASSERT_GT(session->count(), 0);
    ASSERT_FALSE(main->memSessions().isEmpty());
    const KestraMain::SessionRow &first = main->memSessions().first();
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

TEST_F(LiveMainWindowTest, startPauseAndStopFromTheButtons)
{
    auto *start = get<QPushButton>("btnScoreStart");
    auto *stop = get<QPushButton>("btnScoreStop");
    start->click();
    EXPECT_EQ(main->runState(), KestraMain::RunState::Running);
    EXPECT_TRUE(start->isHidden());
    EXPECT_FALSE(stop->isHidden());
    EXPECT_EQ(get<QLabel>("grpStatus")->text(), S("Running"));
    // Selection is locked during a run; the Display boxes stay live.
    EXPECT_FALSE(get<QComboBox>("dblcboMeets")->isEnabled());
    EXPECT_FALSE(get<QPushButton>("dxbtnSetupUnits")->isEnabled());
    EXPECT_TRUE(get<QCheckBox>("chkEvent21")->isEnabled());

    get<QCheckBox>("chkPause")->click();
    EXPECT_EQ(main->runState(), KestraMain::RunState::Paused);
    EXPECT_EQ(get<QLabel>("grpStatus")->text(), S("Paused"));

    stop->click();
    EXPECT_EQ(main->runState(), KestraMain::RunState::Stopped);
    EXPECT_EQ(get<QLabel>("grpStatus")->text(), S("Stopped"));
    EXPECT_TRUE(get<QComboBox>("dblcboMeets")->isEnabled());
    EXPECT_TRUE(get<QCheckBox>("chkPause")->isChecked());
}

TEST_F(LiveMainWindowTest, aRefusedStartMovesTheFocusToTheSessionBox)
{
    QApplication::setActiveWindow(window.get());
    ASSERT_TRUE(kestra::test::waitUntil([&] { return window->isActiveWindow(); }));
    get<QCheckBox>("chkNCAA")->click();
    get<QPushButton>("btnScoreStart")->click();
    EXPECT_EQ(main->runState(), KestraMain::RunState::Stopped);
    ASSERT_FALSE(prompt.messages.empty());
    EXPECT_EQ(prompt.messages.back().text, S("A session number must be entered for NCAA Mode"));
    EXPECT_TRUE(kestra::test::waitUntil([&] { return get<QComboBox>("cboSession1")->hasFocus(); }));
}

TEST_F(LiveMainWindowTest, theOutputStatusButtonShowsTheBlock)
{
    get<QPushButton>("Button1")->click();
    auto *status = window->findChild<frmOutputStatus *>();
    ASSERT_NE(status, nullptr);
    EXPECT_TRUE(status->isVisible());
    get<QPushButton>("Button1")->click();
    EXPECT_EQ(window->findChildren<frmOutputStatus *>().size(), 1);
}

// Runs `answer` on the next modal window, from inside its own loop.
template <typename T> void answerNext(std::function<void(T &)> answer)
{
    QTimer::singleShot(0, [answer] {
        auto *modal = qobject_cast<T *>(QApplication::activeModalWidget());
        ASSERT_NE(modal, nullptr) << "no modal " << T::staticMetaObject.className();
        answer(*modal);
    });
}

TEST_F(LiveMainWindowTest, theFileTargetsSaveDialogSetsTheOutputFile)
{
    get<QRadioButton>("rdoFile")->click();
    const QString chosen = dir.file(S("scores"));
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

TEST_F(LiveMainWindowTest, theSetupWindowOpensOverTheMainWindowAndItsValuesAreReadBack)
{
    EXPECT_EQ(main->settings().Interval, 60);
    answerNext<frmSetupUnits>([this](frmSetupUnits &setup) {
        EXPECT_EQ(setup.parentWidget(), window.get());
        setup.findChild<QSpinBox *>(S("EditRefreshMin"))->setValue(7);
        setup.findChild<QPushButton *>(S("btnClose"))->click();
    });
    get<QPushButton>("dxbtnSetupUnits")->click();
    EXPECT_EQ(main->settings().Interval, 7);
    EXPECT_EQ(main->kestraKey().ReadInteger(S("Options"), S("Interval"), -1), 7);
}

TEST_F(LiveMainWindowTest, theAboutBoxNamesTheVersion)
{
    QString text;
    answerNext<QMessageBox>([&text](QMessageBox &box) {
        text = box.text();
        box.accept();
    });
    get<QPushButton>("dxbtnAbout")->click();
    EXPECT_TRUE(text.contains(S("Version ") + QString::fromLatin1(version::productVersion))) << text.toStdString();
    EXPECT_TRUE(text.startsWith(main->title()));
}

struct FilterCase {
    const char *given;
    const char *shown;
};

void PrintTo(const FilterCase &c, std::ostream *os)
{
    *os << '"' << c.given << '"';
}

class FileDialogFilters : public testing::TestWithParam<FilterCase> {};

TEST_P(FileDialogFilters, patternsInBothCases)
{
    EXPECT_EQ(fileDialogFilter(S(GetParam().given)), S(GetParam().shown));
}

INSTANTIATE_TEST_SUITE_P(LiveMainWindowTest, FileDialogFilters,
                         testing::Values(FilterCase{"Text Files|*.TXT", "Text Files (*.TXT *.txt)"},
                                         FilterCase{"XML Files|*.XML", "XML Files (*.XML *.xml)"},
                                         FilterCase{"All Files|*.*", "All Files (*.*)"},
                                         FilterCase{"Logs|*.LOG;*.txt", "Logs (*.LOG *.log *.txt)"},
                                         FilterCase{"", ""}, FilterCase{"no bar", ""},
                                         FilterCase{"Empty|", ""}));

} // namespace
