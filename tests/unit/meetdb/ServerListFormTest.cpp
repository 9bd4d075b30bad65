// The Manage Servers window's logic over the scoring product's key: the list,
// its edit states and buttons, validation, delete and connect, and the words
// of each refusal.
#include "meetdb/RegisteredServersForm.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>

using namespace kestra;
using namespace kestra::test;
using State = RegisteredServersForm::State;
using Result = RegisteredServersForm::Result;
using Key = RegisteredServersForm::Key;

namespace {

struct ServerListWindow {
    explicit ServerListWindow(const QList<ServerEntry> &stored = {}, const QString &current = {})
        : key(SettingsStore::marlowenKey(dir.path()))
    {
        EXPECT_TRUE(RegisteredServers(key).rewrite(stored) && RegisteredServers(key).setCurrentServerName(current));
        form = std::make_unique<RegisteredServersForm>(key, prompt);
        QObject::connect(form.get(), &RegisteredServersForm::closeRequested, [this] { ++closes; });
        form->loadList();
    }
    LogicalControl &operator()(const char *name) { return (*form)(S(name)); }
    void type(const char *edit, const QString &text) { (*this)(edit).operatorSetText(text); }
    QList<ServerEntry> stored() const { return RegisteredServers(key).entries(); }
    QString lastText() const { return prompt.messages.empty() ? QString() : prompt.messages.back().text; }

    TempDir dir;
    SettingsStore key;
    RecordingPrompt prompt;
    std::unique_ptr<RegisteredServersForm> form;
    int closes = 0;
};

const QList<ServerEntry> ThreeServers = {
    {"summit", "10.0.0.7", "", "Remote"}, {"Arena", "10.0.0.5", "", "LAN / WAN"}, {"Backup", "", "backup.local", "Local PC"}};

} // namespace

TEST(ServerListWindow, OpensSortedOnTheServerInUseWithoutNamelessEntries)
{
    ServerListWindow w({{"summit", "10.0.0.7", "", "Remote"}, {"", "10.0.0.9", "", ""}, {"Arena", "10.0.0.5", "", "LAN / WAN"}},
                       S("SUMMIT"));
    EXPECT_EQ(w("grdServers").items(), (QStringList{"Arena", "summit"}));
    EXPECT_EQ(w.form->currentRow(), 1) << "the server in use, found without regard to case";
    EXPECT_EQ(w("EditName").text() + w("EditIP").text(), S("summit10.0.0.7"));
    EXPECT_EQ(w("dbcboLocation").currentIndex(), 2);
    EXPECT_EQ(w.stored().size(), 3) << "opening writes nothing; the nameless entry goes at the next save";
    ASSERT_TRUE(w.form->selectRow(0));
    w.type("EditHost", S("arena.local"));
    ASSERT_TRUE(w.form->sbtnSaveClick());
    EXPECT_EQ(w.stored(), (QList<ServerEntry>{{"Arena", "10.0.0.5", "arena.local", "LAN / WAN"}, {"summit", "10.0.0.7", "", "Remote"}}));
}

TEST(ServerListWindow, ButtonsAndKeysFollowTheListAndTheEditState)
{
    const struct {
        QList<ServerEntry> stored;
        bool typeSomething;
        bool deleteEnabled, saveEnabled, okEnabled;
    } cases[] = {
        {{}, false, false, false, false},
        {{}, true, false, true, false}, // typing into an empty list starts a new row
        {ThreeServers, false, true, false, true},
        {ThreeServers, true, true, true, true},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.stored.size() * 10 + c.typeSomething);
        ServerListWindow w(c.stored);
        if (c.typeSomething)
            w.type("EditName", S("New"));
        EXPECT_TRUE(w("sbtnNew").isEnabled() && w("btnCancel").isEnabled());
        EXPECT_EQ(w("sbtnDelete").isEnabled(), c.deleteEnabled);
        EXPECT_EQ(w("sbtnSave").isEnabled() && w("sbtnCancel").isEnabled(), c.saveEnabled);
        EXPECT_EQ(w("btnOK").isEnabled(), c.okEnabled);
        EXPECT_EQ(w.form->keyPress(Key::CtrlEnter), c.saveEnabled) << "a key acts only through an enabled button";
        EXPECT_EQ(w.form->keyPress(Key::CtrlDelete), c.deleteEnabled);
    }
}

TEST(ServerListWindow, ARowIsValidatedBeforeItIsSaved)
{
    const QString tooLong = QLatin1Char('/') + QString(RegisteredServersForm::HostLength, QLatin1Char('x'));
    const QString deep = S("/srv/meets/") + QString(300, QLatin1Char('d')) + S("/state"); // a store folder, whole
    const struct {
        QString name, ip, host;
        const char *caption; // null: saved
        QString message;
    } cases[] = {
        {"", "", "", "Validation Error",
         "You must enter a name for this server.\rYou must enter an IP Address or Hostname for this server."},
        {"  ", "", "gym.local", "Validation Error", "You must enter a name for this server."},
        {"Gym", "", "", "Validation Error", "You must enter an IP Address or Hostname for this server."},
        {"arena ", "", "gym.local", "Duplicate Warning",
         "A server with that name has already been entered.  Please choose a different name."},
        {"Gym", "10.0.0", "", "Manage Servers", "Invalid IP Address"},
        {"Gym", "", tooLong, "Validation Error", "The Hostname or folder may be at most 4095 characters long."},
        {"Gym", "10.0.0.9", "", nullptr, {}},
        {"Gym", "", deep, nullptr, {}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE((c.name + "/" + c.ip + "/" + c.host.left(20)).toStdString());
        ServerListWindow w(ThreeServers, S("Arena"));
        w.form->sbtnNewClick();
        EXPECT_EQ(w.form->state(), State::Insert);
        EXPECT_EQ(w.form->controls().focused(), S("EditName"));
        w.type("EditName", c.name);
        w.type("EditIP", c.ip);
        w.type("EditHost", c.host);
        EXPECT_EQ(w.form->keyPress(Key::CtrlEnter) && w.form->state() == State::Browse, !c.caption);
        if (!c.caption) {
            EXPECT_TRUE(w.prompt.messages.empty());
            EXPECT_EQ(w.stored().at(2), (ServerEntry{"Gym", c.ip, c.host, ""}));
            EXPECT_EQ(w("grdServers").items(), (QStringList{"Arena", "Backup", "Gym", "summit"}));
            EXPECT_EQ(w.form->currentRow(), 2) << "the saved row stays selected";
            continue;
        }
        EXPECT_EQ(w.form->state(), State::Insert);
        ASSERT_EQ(w.prompt.messages.size(), 1u);
        EXPECT_EQ(w.prompt.messages[0].caption, S(c.caption));
        EXPECT_EQ(w.lastText(), c.message);
        EXPECT_EQ(w("EditHost").text(), c.host) << "nothing typed is lost";
        EXPECT_EQ(w.stored(), ThreeServers) << "nothing written";
    }
}

TEST(ServerListWindow, DuplicatesAreLookedUpInTheStoredListAndARenameInAnotherCaseIsNone)
{
    ServerListWindow w(ThreeServers);
    ASSERT_TRUE(w.form->selectRow(0));
    w.type("EditName", S("ARENA"));
    EXPECT_EQ(w.form->state(), State::Edit);
    ASSERT_TRUE(w.form->sbtnSaveClick());
    EXPECT_EQ(w.stored().front().Name, S("ARENA"));

    // The scoring product registers a server while the window is open.
    QList<ServerEntry> meanwhile = w.stored();
    meanwhile.append({"Field House", "", "fieldhouse", "Remote"});
    ASSERT_TRUE(RegisteredServers(w.key).rewrite(meanwhile));
    w.type("EditName", S("field house"));
    EXPECT_FALSE(w.form->sbtnSaveClick());
    EXPECT_EQ(w.prompt.messages.back().caption, S("Duplicate Warning"));
    // Moving to another row saves first, and a refused save keeps the selection.
    EXPECT_FALSE(w.form->selectRow(2));
    EXPECT_EQ(w.form->currentRow(), 0);
    w.form->keyPress(Key::CtrlBackspace);
    EXPECT_EQ(w("EditName").text(), S("ARENA"));
    EXPECT_EQ(w.form->state(), State::Browse);
}

TEST(ServerListWindow, DeleteAsksFirstWithNoAsTheDefault)
{
    ServerListWindow w(ThreeServers, S("Arena"));
    ASSERT_TRUE(w.form->selectRow(1)); // Backup
    w.form->sbtnDeleteClick();         // the recorder answers with the default
    ASSERT_EQ(w.prompt.messages.size(), 1u);
    const PromptMessage &m = w.prompt.messages.front();
    EXPECT_EQ(m.caption + S("|") + m.text, S("Delete Warning|Are you sure you want to delete this server?"));
    EXPECT_EQ(m.icon, PromptIcon::Question);
    EXPECT_EQ(m.buttons, PromptButtons::YesNoDefaultNo);
    EXPECT_EQ(w.stored().size(), 3);

    w.prompt.queueAnswer(PromptAnswer::Yes);
    EXPECT_TRUE(w.form->keyPress(Key::CtrlDelete));
    EXPECT_EQ(w.stored(), (QList<ServerEntry>{{"Arena", "10.0.0.5", "", "LAN / WAN"}, {"summit", "10.0.0.7", "", "Remote"}}))
        << "rewritten in sort order";
    EXPECT_EQ(w("EditName").text(), S("summit"));

    // Deleting a row that was never saved only drops it.
    w.form->keyPress(Key::Insert);
    w.type("EditName", S("Scratch"));
    w.prompt.queueAnswer(PromptAnswer::Yes);
    w.form->sbtnDeleteClick();
    EXPECT_EQ(w.form->state(), State::Browse);
    EXPECT_EQ(w.stored().size(), 2);
}

TEST(ServerListWindow, ConnectWarnsOnlyWhenTheServerChangesAndSavesAPendingRowFirst)
{
    const struct {
        const char *current;
        int row; // -1: a new row, first without an address
        std::optional<PromptAnswer> answer; // nullopt: no question expected
        Result result;
    } cases[] = {
        {"Arena", 0, std::nullopt, Result::Ok},
        {"", 2, std::nullopt, Result::Ok},
        {"arena", 0, PromptAnswer::No, Result::Open}, // the exact name decides here
        {"Arena", 2, PromptAnswer::Yes, Result::Ok},
        {"Arena", 2, PromptAnswer::No, Result::Open},
        {"Arena", -1, PromptAnswer::Yes, Result::Ok},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.current) + " -> row " + std::to_string(c.row));
        ServerListWindow w(ThreeServers, S(c.current));
        if (c.row < 0) {
            w.form->sbtnNewClick();
            w.type("EditName", S("Gym"));
            w.form->btnOKClick();
            EXPECT_EQ(w.form->result(), Result::Open);
            EXPECT_EQ(w.prompt.messages.size(), 1u) << "the validation message and nothing more";
            w.prompt.messages.clear();
            w.type("EditHost", S("gym.local"));
        } else {
            ASSERT_TRUE(w.form->selectRow(c.row));
        }
        if (c.answer)
            w.prompt.queueAnswer(*c.answer);
        c.row < 0 ? w.form->btnOKClick() : w.form->grdServersDblClick();
        EXPECT_EQ(w.form->result(), c.result);
        EXPECT_EQ(w.closes, c.result == Result::Ok ? 1 : 0);
        ASSERT_EQ(w.prompt.messages.size(), c.answer ? 1u : 0u);
        if (c.answer) {
            const PromptMessage &m = w.prompt.messages.front();
            EXPECT_EQ(m.caption, S("Change Database Warning"));
            EXPECT_EQ(m.icon, PromptIcon::Question);
            EXPECT_EQ(m.buttons, PromptButtons::YesNo);
            EXPECT_EQ(m.text, S("You are currently set to use the Marlowen Database located on server \"%1\" and you have "
                                "chosen to change to the Marlowen Database located on server \"%2\".\r\rAre you sure you "
                                "want to change servers?").arg(S(c.current), w.form->SelectedName()));
        }
        if (c.result == Result::Ok) {
            EXPECT_EQ(w.form->SelectedName(), (QStringList{"Arena", "Backup", "summit", "Gym"}).at(c.row < 0 ? 3 : c.row));
        }
    }
}

TEST(ServerListWindow, CancelDropsThePendingEditAndKeepsWhatWasSaved)
{
    ServerListWindow w(ThreeServers, S("Arena"));
    w.form->sbtnNewClick();
    w.type("EditName", S("Gym"));
    w.type("EditIP", S("10.0.0.12"));
    ASSERT_TRUE(w.form->sbtnSaveClick());
    w.type("EditHost", S("never saved"));
    EXPECT_TRUE(w.form->keyPress(Key::Escape));
    EXPECT_EQ(w.form->result(), Result::Cancel);
    EXPECT_EQ(w.closes, 1);
    EXPECT_EQ(w.stored().value(2), (ServerEntry{"Gym", "10.0.0.12", "", ""}));
    EXPECT_EQ(RegisteredServers(w.key).currentServerName(), S("Arena"));
}

TEST(ServerListWindow, LeavingTheAddressFieldTakesOnlyWhatItsMaskAllows)
{
    ServerListWindow w(ThreeServers);
    const struct {
        const char *typed;
        const char *kept;
        bool leaves;
    } cases[] = {
        {"10.0.0.20", "10.0.0.20", true}, {"10.0", "10.0", false}, // incomplete: refused on leaving
        {"10.0.0.256", "10.0", false},                            // no octet above 255: the last accepted text stays
        {"10. 0.0.21", "10.0.0.21", true},                        // blanks are ignored and dropped
        {"", "", true},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.typed);
        const size_t before = w.prompt.messages.size();
        w.type("EditIP", S(c.typed));
        EXPECT_EQ(w.form->EditIPExit(), c.leaves);
        EXPECT_EQ(w("EditIP").text(), S(c.kept));
        EXPECT_EQ(w.prompt.messages.size(), before + !c.leaves);
        if (!c.leaves) {
            EXPECT_EQ(w.lastText(), S("Invalid IP Address"));
            EXPECT_EQ(w.form->controls().focused(), S("EditIP"));
        }
    }
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
        locked(S("EditName")).operatorSetText(S("Gym"));
        locked(S("EditHost")).operatorSetText(S("gym.local"));
        saved = locked.sbtnSaveClick();
        EXPECT_EQ(locked.rows().size(), 4) << "the row stays in the window";
        return false;
    });
    EXPECT_TRUE(saved) << "the row itself is valid";
    ASSERT_EQ(w.prompt.messages.size(), 1u);
    EXPECT_EQ(w.prompt.messages[0].caption, S("Manage Servers"));
    EXPECT_TRUE(w.lastText().startsWith(S("The list of servers could not be saved to"))) << w.lastText().toStdString();
    EXPECT_EQ(w.stored(), ThreeServers);
}
