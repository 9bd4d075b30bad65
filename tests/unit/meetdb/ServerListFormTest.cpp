#include "meetdb/RegisteredServersForm.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>

using namespace kestra;
using kestra::test::RecordingPrompt;
using kestra::test::TempDir;
using State = RegisteredServersForm::State;
using Result = RegisteredServersForm::Result;
using Key = RegisteredServersForm::Key;

namespace {

// The scoring product's key with a list, and the window's logic over it.
struct ServerListWindow {
    explicit ServerListWindow(const QList<ServerEntry> &stored = {}, const QString &current = {})
        : key(SettingsStore::marlowenKey(dir.path()))
    {
        RegisteredServers servers(key);
        EXPECT_TRUE(servers.rewrite(stored));
        EXPECT_TRUE(servers.setCurrentServerName(current));
        form = std::make_unique<RegisteredServersForm>(key, prompt);
        QObject::connect(form.get(), &RegisteredServersForm::closeRequested, [this] { ++closes; });
        form->loadList();
    }
    LogicalControl &operator()(const char *name) { return (*form)(QString::fromLatin1(name)); }
    void type(const char *edit, const QString &text) { (*this)(edit).operatorSetText(text); }
    QList<ServerEntry> stored() const { return RegisteredServers(key).entries(); }
    QStringList gridNames() { return (*this)("grdServers").items(); }
    QString lastText() const { return prompt.messages.empty() ? QString() : prompt.messages.back().text; }

    TempDir dir;
    SettingsStore key;
    RecordingPrompt prompt;
    std::unique_ptr<RegisteredServersForm> form;
    int closes = 0;
};

const QList<ServerEntry> ThreeServers = {
    {"summit", "10.0.0.7", "", "Remote"},
    {"Arena", "10.0.0.5", "", "LAN / WAN"},
    {"Backup", "", "backup.local", "Local PC"},
};

} // namespace

TEST(ServerListWindow, OpensSortedOnTheServerInUseWithoutNamelessEntries)
{
    ServerListWindow w({{"summit", "10.0.0.7", "", "Remote"}, {"", "10.0.0.9", "", ""}, {"Arena", "10.0.0.5", "", "LAN / WAN"}},
                       QStringLiteral("SUMMIT"));
    EXPECT_EQ(w.gridNames(), (QStringList{"Arena", "summit"}));
    EXPECT_EQ(w("grdServers").property(QStringLiteral("locations")).toStringList(), (QStringList{"LAN / WAN", "Remote"}));
    EXPECT_EQ(w.form->currentRow(), 1) << "the server in use, found without regard to case";
    EXPECT_EQ(w("EditName").text(), QStringLiteral("summit"));
    EXPECT_EQ(w("EditIP").text(), QStringLiteral("10.0.0.7"));
    EXPECT_EQ(w("dbcboLocation").currentIndex(), 2);
    EXPECT_EQ(w.stored().size(), 3) << "opening writes nothing; the nameless entry goes at the next save";

    ASSERT_TRUE(w.form->selectRow(0));
    w.type("EditHost", QStringLiteral("arena.local"));
    ASSERT_TRUE(w.form->sbtnSaveClick());
    EXPECT_EQ(w.stored(), (QList<ServerEntry>{{"Arena", "10.0.0.5", "arena.local", "LAN / WAN"},
                                              {"summit", "10.0.0.7", "", "Remote"}}));
}

TEST(ServerListWindow, ButtonsFollowTheListAndTheEditState)
{
    const struct {
        const char *label;
        QList<ServerEntry> stored;
        bool typeSomething;
        bool newEnabled, deleteEnabled, saveEnabled, okEnabled;
    } cases[] = {
        {"empty list", {}, false, true, false, false, false},
        {"empty list, typing starts a new row", {}, true, true, false, true, false},
        {"a list", ThreeServers, false, true, true, false, true},
        {"a list, a row in edit", ThreeServers, true, true, true, true, true},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.label);
        ServerListWindow w(c.stored);
        if (c.typeSomething)
            w.type("EditName", QStringLiteral("New"));
        EXPECT_EQ(w("sbtnNew").isEnabled(), c.newEnabled);
        EXPECT_EQ(w("sbtnDelete").isEnabled(), c.deleteEnabled);
        EXPECT_EQ(w("sbtnSave").isEnabled(), c.saveEnabled);
        EXPECT_EQ(w("sbtnCancel").isEnabled(), c.saveEnabled);
        EXPECT_EQ(w("btnOK").isEnabled(), c.okEnabled);
        EXPECT_TRUE(w("btnCancel").isEnabled());
        EXPECT_EQ(w.form->keyPress(Key::CtrlEnter), c.saveEnabled) << "a key acts only through an enabled button";
        EXPECT_EQ(w.form->keyPress(Key::CtrlDelete), c.deleteEnabled);
    }
}

TEST(ServerListWindow, ARowIsValidatedBeforeItIsSaved)
{
    const struct {
        const char *name, *ip, *host;
        const char *caption;
        QString message; // empty: saved
    } cases[] = {
        {"", "", "", "Validation Error",
         "You must enter a name for this server.\rYou must enter an IP Address or Hostname for this server."},
        {"  ", "", "gym.local", "Validation Error", "You must enter a name for this server."},
        {"Gym", "", "", "Validation Error", "You must enter an IP Address or Hostname for this server."},
        {"arena ", "", "gym.local", "Duplicate Warning",
         "A server with that name has already been entered.  Please choose a different name."},
        {"Gym", "10.0.0", "", "Manage Servers", "Invalid IP Address"},
        {"Gym", "10.0.0.9", "", "", ""},
        {"Gym", "", "gym.local", "", ""},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name + std::string("/") + c.ip + "/" + c.host);
        ServerListWindow w(ThreeServers, QStringLiteral("Arena"));
        w.form->sbtnNewClick();
        EXPECT_EQ(w.form->state(), State::Insert);
        EXPECT_EQ(w.form->controls().focused(), QStringLiteral("EditName"));
        w.type("EditName", QString::fromLatin1(c.name));
        w.type("EditIP", QString::fromLatin1(c.ip));
        w.type("EditHost", QString::fromLatin1(c.host));
        const bool saved = w.form->keyPress(Key::CtrlEnter) && w.form->state() == State::Browse;
        if (c.message.isEmpty()) {
            EXPECT_TRUE(saved);
            EXPECT_TRUE(w.prompt.messages.empty());
            EXPECT_EQ(w.stored().size(), 4);
            EXPECT_EQ(w.gridNames(), (QStringList{"Arena", "Backup", "Gym", "summit"}));
            EXPECT_EQ(w.form->currentRow(), 2) << "the saved row stays selected";
        } else {
            EXPECT_FALSE(saved);
            EXPECT_EQ(w.form->state(), State::Insert);
            ASSERT_EQ(w.prompt.messages.size(), 1u);
            EXPECT_EQ(w.prompt.messages[0].caption, QString::fromLatin1(c.caption));
            EXPECT_EQ(w.lastText(), c.message);
            EXPECT_EQ(w.stored(), ThreeServers) << "nothing written";
        }
    }
}

TEST(ServerListWindow, DuplicatesAreLookedUpInTheStoredListAndARenameInAnotherCaseIsNone)
{
    ServerListWindow w(ThreeServers);
    ASSERT_TRUE(w.form->selectRow(0));
    w.type("EditName", QStringLiteral("ARENA"));
    EXPECT_EQ(w.form->state(), State::Edit);
    ASSERT_TRUE(w.form->sbtnSaveClick());
    EXPECT_TRUE(w.prompt.messages.empty());
    EXPECT_EQ(w.stored().front().Name, QStringLiteral("ARENA"));

    // The scoring product registers a server while the window is open.
    QList<ServerEntry> meanwhile = w.stored();
    meanwhile.append({"Field House", "", "fieldhouse", "Remote"});
    ASSERT_TRUE(RegisteredServers(w.key).rewrite(meanwhile));
    w.type("EditName", QStringLiteral("field house"));
    EXPECT_FALSE(w.form->sbtnSaveClick());
    EXPECT_EQ(w.prompt.messages.back().caption, QStringLiteral("Duplicate Warning"));
    EXPECT_EQ(w.form->controls().focused(), QStringLiteral("EditName"));
    // Moving to another row saves first, and a refused save keeps the selection.
    EXPECT_FALSE(w.form->selectRow(2));
    EXPECT_EQ(w.form->currentRow(), 0);
    w.form->keyPress(Key::CtrlBackspace);
    EXPECT_EQ(w("EditName").text(), QStringLiteral("ARENA"));
    EXPECT_EQ(w.form->state(), State::Browse);
}

TEST(ServerListWindow, DeleteAsksFirstWithNoAsTheDefault)
{
    ServerListWindow w(ThreeServers, QStringLiteral("Arena"));
    ASSERT_TRUE(w.form->selectRow(1)); // Backup
    w.form->sbtnDeleteClick();         // the recorder answers with the default
    ASSERT_EQ(w.prompt.messages.size(), 1u);
    const PromptMessage &m = w.prompt.messages.front();
    EXPECT_EQ(m.caption, QStringLiteral("Delete Warning"));
    EXPECT_EQ(m.text, QStringLiteral("Are you sure you want to delete this server?"));
    EXPECT_EQ(m.icon, PromptIcon::Question);
    EXPECT_EQ(m.buttons, PromptButtons::YesNoDefaultNo);
    EXPECT_EQ(w.stored().size(), 3);

    w.prompt.queueAnswer(PromptAnswer::Yes);
    EXPECT_TRUE(w.form->keyPress(Key::CtrlDelete));
    EXPECT_EQ(w.stored(), (QList<ServerEntry>{{"Arena", "10.0.0.5", "", "LAN / WAN"}, {"summit", "10.0.0.7", "", "Remote"}}))
        << "rewritten in sort order";
    EXPECT_EQ(w("EditName").text(), QStringLiteral("summit"));

    // Deleting a row that was never saved only drops it.
    w.form->keyPress(Key::Insert);
    w.type("EditName", QStringLiteral("Scratch"));
    w.prompt.queueAnswer(PromptAnswer::Yes);
    w.form->sbtnDeleteClick();
    EXPECT_EQ(w.form->state(), State::Browse);
    EXPECT_EQ(w.stored().size(), 2);
    EXPECT_EQ(w("EditName").text(), QStringLiteral("summit"));
}

TEST(ServerListWindow, ConnectWarnsOnlyWhenTheServerChanges)
{
    const struct {
        const char *current;
        int row;
        std::optional<PromptAnswer> answer; // nullopt: no question expected
        Result result;
    } cases[] = {
        {"Arena", 0, std::nullopt, Result::Ok},
        {"", 2, std::nullopt, Result::Ok},
        {"arena", 0, PromptAnswer::No, Result::Open}, // the exact name decides here
        {"Arena", 2, PromptAnswer::Yes, Result::Ok},
        {"Arena", 2, PromptAnswer::No, Result::Open},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.current) + " -> row " + std::to_string(c.row));
        ServerListWindow w(ThreeServers, QString::fromLatin1(c.current));
        ASSERT_TRUE(w.form->selectRow(c.row));
        if (c.answer)
            w.prompt.queueAnswer(*c.answer);
        w.form->grdServersDblClick();
        EXPECT_EQ(w.form->result(), c.result);
        EXPECT_EQ(w.closes, c.result == Result::Ok ? 1 : 0);
        ASSERT_EQ(w.prompt.messages.size(), c.answer ? 1u : 0u);
        if (c.answer) {
            const PromptMessage &m = w.prompt.messages.front();
            EXPECT_EQ(m.caption, QStringLiteral("Change Database Warning"));
            EXPECT_EQ(m.icon, PromptIcon::Question);
            EXPECT_EQ(m.buttons, PromptButtons::YesNo);
            EXPECT_EQ(m.text, QStringLiteral("You are currently set to use the Marlowen Database located on server \"%1\" "
                                             "and you have chosen to change to the Marlowen Database located on server "
                                             "\"%2\".\r\rAre you sure you want to change servers?")
                                  .arg(QString::fromLatin1(c.current), w.form->SelectedName()));
        }
        if (c.result == Result::Ok) {
            EXPECT_EQ(w.form->SelectedName(), (QStringList{"Arena", "Backup", "summit"}).at(c.row));
        }
    }
}

TEST(ServerListWindow, ConnectSavesAPendingRowAndAnInvalidOneStopsIt)
{
    ServerListWindow w(ThreeServers, QStringLiteral("Arena"));
    w.form->sbtnNewClick();
    w.type("EditName", QStringLiteral("Gym"));
    w.form->btnOKClick();
    EXPECT_EQ(w.form->result(), Result::Open);
    EXPECT_EQ(w.prompt.messages.size(), 1u) << "the validation message and nothing more";

    w.type("EditHost", QStringLiteral("gym.local"));
    w.prompt.queueAnswer(PromptAnswer::Yes);
    w.form->btnOKClick();
    EXPECT_EQ(w.form->result(), Result::Ok);
    EXPECT_EQ(w.form->SelectedName(), QStringLiteral("Gym"));
    EXPECT_EQ(w.stored().size(), 4);
}

TEST(ServerListWindow, CancelDropsThePendingEditAndKeepsWhatWasSaved)
{
    ServerListWindow w(ThreeServers, QStringLiteral("Arena"));
    w.form->sbtnNewClick();
    w.type("EditName", QStringLiteral("Gym"));
    w.type("EditIP", QStringLiteral("10.0.0.12"));
    ASSERT_TRUE(w.form->sbtnSaveClick());
    w.type("EditHost", QStringLiteral("never saved"));
    EXPECT_TRUE(w.form->keyPress(Key::Escape));
    EXPECT_EQ(w.form->result(), Result::Cancel);
    EXPECT_EQ(w.closes, 1);
    const QList<ServerEntry> stored = w.stored();
    ASSERT_EQ(stored.size(), 4);
    EXPECT_EQ(stored[2], (ServerEntry{"Gym", "10.0.0.12", "", ""}));
    EXPECT_EQ(RegisteredServers(w.key).currentServerName(), QStringLiteral("Arena"));
}

TEST(ServerListWindow, TheAddressFieldTakesOnlyWhatItsMaskAllows)
{
    ServerListWindow w(ThreeServers);
    const struct {
        const char *typed;
        const char *kept;
        bool leaves; // leaving the field is accepted
    } cases[] = {
        {"10.0.0.20", "10.0.0.20", true},
        {"10.0", "10.0", false},          // incomplete: refused on leaving
        {"10.0.0.256", "10.0", false},    // no octet above 255: the last accepted text stays
        {"10.x", "10.0", false},
        {"10. 0.0.21", "10.0.0.21", true}, // blanks are ignored and dropped
        {"", "", true},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.typed);
        const size_t before = w.prompt.messages.size();
        w.type("EditIP", QString::fromLatin1(c.typed));
        EXPECT_EQ(w.form->EditIPExit(), c.leaves);
        EXPECT_EQ(w("EditIP").text(), QString::fromLatin1(c.kept));
        EXPECT_EQ(w.prompt.messages.size(), before + (c.leaves ? 0 : 1));
        if (!c.leaves) {
            EXPECT_EQ(w.lastText(), QStringLiteral("Invalid IP Address"));
            EXPECT_EQ(w.form->controls().focused(), QStringLiteral("EditIP"));
        }
    }
}

TEST(ServerListWindow, AStoreFolderInHostIsKeptWholeAndOneTooLongIsRefusedInWords)
{
    const QString deep = QStringLiteral("/srv/meets/") + QString(300, QLatin1Char('d')) + QStringLiteral("/state");
    const QString tooLong = QLatin1Char('/') + QString(RegisteredServersForm::HostLength, QLatin1Char('x'));
    ServerListWindow w(ThreeServers);
    w.form->sbtnNewClick();
    w.type("EditName", QStringLiteral("Deep"));
    w.type("EditHost", tooLong);
    EXPECT_FALSE(w.form->sbtnSaveClick());
    EXPECT_EQ(w.lastText(), QStringLiteral("The Hostname or folder may be at most 4095 characters long."));
    EXPECT_EQ(w("EditHost").text(), tooLong) << "nothing typed is lost";
    EXPECT_EQ(w.stored(), ThreeServers);
    w.type("EditHost", deep);
    ASSERT_TRUE(w.form->sbtnSaveClick());
    EXPECT_EQ(w.stored().at(2).Host, deep);
}

TEST(ServerListWindow, ASaveThatCannotBeWrittenIsReportedAndKeptInTheWindow)
{
    ServerListWindow w(ThreeServers);
    SettingsStore holder = w.key;
    holder.setLockTimeout(std::chrono::milliseconds(5000));
    bool saved = true;
    // The lock is held by another writer for longer than the window waits.
    holder.update([&](SettingsDocument &) {
        SettingsStore impatient = w.key;
        impatient.setLockTimeout(std::chrono::milliseconds(100));
        RegisteredServersForm locked(impatient, w.prompt);
        locked.loadList();
        locked.sbtnNewClick();
        locked(QStringLiteral("EditName")).operatorSetText(QStringLiteral("Gym"));
        locked(QStringLiteral("EditHost")).operatorSetText(QStringLiteral("gym.local"));
        saved = locked.sbtnSaveClick();
        EXPECT_EQ(locked.rows().size(), 4) << "the row stays in the window";
        return false;
    });
    EXPECT_TRUE(saved) << "the row itself is valid";
    ASSERT_EQ(w.prompt.messages.size(), 1u);
    EXPECT_EQ(w.prompt.messages[0].caption, QStringLiteral("Manage Servers"));
    EXPECT_TRUE(w.lastText().startsWith(QStringLiteral("The list of servers could not be saved to"))) << w.lastText().toStdString();
    EXPECT_EQ(w.stored(), ThreeServers);
}
