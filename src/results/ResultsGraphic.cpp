#include "results/ResultsGraphic.h"

#include "meetdb/MeetStore.h"
#include "meetdb/SqlDialect.h"
#include "outputs/DisplayRecord.h"
#include "results/LocalCopies.h"
#include "results/PageBuilds.h"
#include "results/ResultsContext.h"
#include "results/ResultsPage.h"
#include "setup/ProductSettings.h"
#include "setup/SettingsStore.h"
#include "support/OperatorPrompt.h"

#include <QDate>

#include <algorithm>

namespace kestra {

namespace {

QString S(const char *text)
{
    return QString::fromUtf8(text);
}

void fill(DataRows &rows, const QueryResult &result)
{
    rows.reset(result.fieldNames(), result.rowSet().rows);
}

QString sqlNumber(const QVariant &value)
{
    return value.isNull() ? QStringLiteral("-1") : QString::number(value.toLongLong());
}

} // namespace

ResultsGraphic::ResultsGraphic(ResultsContext &context, QObject *parent)
    : QObject(parent), m_context(context), m_copies(std::make_unique<LocalCopies>(context.store()))
{
    buildControls();
    for (const char *name : {"chkcboSession", "chkcboLevels", "chkcboAges", "chkcboGyms", "chkcboTeamID"})
        m_lists.emplace(S(name), std::make_unique<OzkcxCheckedCombo>(S(name)));
    checkedList(S("chkcboSession")).setDataSource(&m_sessions);
    checkedList(S("chkcboSession")).setDataField(S("Session"));
    checkedList(S("chkcboLevels")).setDataSource(&m_levels);
    checkedList(S("chkcboLevels")).setDataField(S("Level"));
    checkedList(S("chkcboAges")).setDataSource(&m_ages);
    checkedList(S("chkcboAges")).setDataField(S("Name"));
    checkedList(S("chkcboGyms")).setDataSource(&m_gymAttend);
    checkedList(S("chkcboGyms")).setDataField(S("Short_Name"));
    checkedList(S("chkcboTeamID")).setDataSource(&m_teamIds);

    // A source that changes reloads its list, unless the window is loading.
    const std::pair<DataRows *, const char *> sources[] = {{&m_sessions, "chkcboSession"},
                                                           {&m_levels, "chkcboLevels"},
                                                           {&m_ages, "chkcboAges"},
                                                           {&m_gymAttend, "chkcboGyms"},
                                                           {&m_teamIds, "chkcboTeamID"}};
    for (const auto &[rows, list] : sources) {
        OzkcxCheckedCombo *combo = &checkedList(S(list));
        rows->setChangeListener([this, combo] {
            if (!m_loading)
                combo->LoadItems(true);
        });
    }

    PageBuildContext build;
    build.remote = &context.store();
    build.copies = m_copies.get();
    build.hostTieBreak = [this] { return hostTieBreak(); };
    build.nameFormat = [this] { return nameFormat(); };
    build.heads = [this](int eventGroup) { return headsOf(eventGroup); };
    build.currentTwoScore = [this] { return currentEvents(S("TwoScore")).toInt(); };
    m_builds = std::make_unique<PageBuilds>(build);

    PageCycle::Hooks hooks;
    hooks.lines = [this] { return queue(); };
    hooks.select = [this](int line, bool selected) {
        if (selected)
            m_selected.insert(line);
        else
            m_selected.remove(line);
        c(S("lstQueue")).setProperty(S("selected"), QVariant::fromValue(QList<int>(m_selected.begin(), m_selected.end())));
    };
    hooks.build = [this](const QString &line) {
        return ResultsPage::isTeam(line) ? m_builds->BuildTeamRows(line) : m_builds->BuildEventRows(line);
    };
    hooks.heads = [this](int eventGroup) { return headsOf(eventGroup); };
    hooks.leaderLines = [this] { return c(S("spinLeaderLines")).property(S("value")).toInt(); };
    hooks.writer = [this] { return m_context.checkedWriter(); };
    hooks.failure = [this](std::exception_ptr error) { m_context.handleException(error); };
    m_cycle = std::make_unique<PageCycle>(context.record(), context.prompt(), hooks);
    wireHandlers();
}

ResultsGraphic::~ResultsGraphic()
{
    m_cycle->stop();
}

OzkcxCheckedCombo &ResultsGraphic::checkedList(const QString &name) const
{
    return *m_lists.at(name);
}

QStringList ResultsGraphic::checkedListNames() const
{
    return {S("chkcboSession"), S("chkcboLevels"), S("chkcboAges"), S("chkcboGyms"), S("chkcboTeamID")};
}

void ResultsGraphic::setBuilds(std::unique_ptr<PageBuilds> builds)
{
    if (builds)
        m_builds = std::move(builds);
}

// ---------------------------------------------------------------- controls

void ResultsGraphic::buildControls()
{
    auto add = [this](const char *name, const char *text, const char *kind) -> LogicalControl & {
        LogicalControl &control = m_controls.add(S(name), S(text));
        control.setProperty(S("kind"), S(kind));
        return control;
    };
    auto spin = [&](const char *name, int minimum, int maximum, int value) {
        LogicalControl &control = add(name, "", "spin");
        control.setProperty(S("minimum"), minimum);
        control.setProperty(S("maximum"), maximum);
        control.setProperty(S("value"), value);
        control.setText(QString::number(value));
    };
    for (int m = 1; m <= 4; ++m) {
        const QByteArray n = QByteArray::number(m);
        add(("dblcboMeet" + n).constData(), "", "lookup").setProperty(S("caption"), S("Meet %1").arg(m));
        spin(("EditPct" + n).constData(), 1, 100, 100);
        if (m > 1)
            add(("chkMeet" + n).constData(), ("Meet " + n).constData(), "check");
    }
    add("dblcboEvents", "", "lookup").setProperty(S("caption"), S("Event Group"));
    for (const char *list : {"chkcboSession", "chkcboLevels", "chkcboAges", "chkcboGyms", "chkcboTeamID"})
        add(list, "", "checkedlist");
    add("cboEvents", "", "lookup");
    add("lblLevel", "Level:", "label");
    add("lblSession", "Session:", "label");
    add("lblAges", "Ages:", "label");
    add("lblGym", "Gym:", "label");
    add("lblSpecific", "Specific", "label");
    add("lblTeamID", "Team ID:", "label");
    LogicalControl &designate = add("rgrpDesignate", "Designate Teams", "radiogroup");
    designate.setItems({S("by Gym"), S("by ID"), S("by AA")});
    LogicalControl &team = add("rgrpTeam", "Team", "radiogroup");
    team.setItems({S("Team1"), S("Team2"), S("Team3"), S("None")});
    add("lblAA", "AA per gym (0 = all)", "label");
    add("EditAA", "0", "edit").setProperty(S("maxLength"), 2);
    add("lblCount", "Scores to count", "label");
    add("lblCountAll", "(0 for all)", "label");
    add("EditCount", "0", "edit").setProperty(S("maxLength"), 3);
    add("lblPlaces", "Places to show (0 for all)", "label");
    add("EditPlaces", "0", "edit").setProperty(S("maxLength"), 3);
    add("lblTitle", "Title:", "label");
    add("EditTitle", "", "edit").setProperty(S("maxLength"), 18);
    LogicalControl &names = add("rgrpNameFormat", "Name Format", "radiogroup");
    names.setItems({S("First Last"), S("Last, First"), S("F Last"), S("Last")});
    names.setCurrentIndex(0);
    for (int k = 1; k <= 3; ++k)
        add(QByteArray("rdoLeader" + QByteArray::number(k)).constData(),
            QByteArray("Leader " + QByteArray::number(k)).constData(), "radio");
    c(S("rdoLeader1")).setChecked(true);
    spin("spinLeaderLines", 4, 8, 8);
    spin("spinTime", 5, 99, 5);
    add("chkNCAA", "NCAA Mode", "check")
        .setProperty(S("hint"), S("NCAA Mode only counts scores for gymnasts whose event flags are checked"));
    add("chkNCAAGrid", "NCAA Grid", "check");
    add("chkFACannot", "FA's can't take a place", "check");
    add("chk2Attempt", "Only 2 attempts", "check");
    add("chkIncExhib", "Inc exhib athletes?", "check").setChecked(true);

    add("lstQueue", "", "list");
    add("btnAdd", "Add", "button");
    add("btnAddEvent", "Add Each Event", "button");
    add("btnRemove", "Remove", "button");
    add("sbtnUp", "Up", "button").setEnabled(false);
    add("sbtnDown", "Down", "button").setEnabled(false);
    add("btnStart", "Start", "button");
    add("btnStop", "Stop", "button").setEnabled(false);
    add("btnClear", "Clear", "button");
    add("btnClose", "Close", "button");
}

void ResultsGraphic::guard(const std::function<void()> &handler)
{
    try {
        handler();
    } catch (...) {
        m_context.handleException(std::current_exception());
    }
}

void ResultsGraphic::wireHandlers()
{
    const auto on = [this](const char *name, std::function<void()> handler) {
        c(S(name)).setClickHandler([this, handler = std::move(handler)] { guard(handler); });
    };
    on("btnAdd", [this] { btnAddClick(); });
    on("btnAddEvent", [this] { btnAddEventClick(); });
    on("btnRemove", [this] { btnRemoveClick(); });
    on("sbtnUp", [this] { sbtnUpClick(); });
    on("sbtnDown", [this] { sbtnDownClick(); });
    on("btnStart", [this] { btnStartClick(); });
    on("btnStop", [this] { btnStopClick(); });
    on("btnClear", [this] { btnClearClick(); });
    on("btnClose", [this] { btnCloseClick(); });
    on("dblcboMeet1", [this] { dblcboMeet1Change(); });
    for (const char *lookup : {"dblcboMeet2", "dblcboMeet3", "dblcboMeet4"})
        on(lookup, [this, name = S(lookup)] { selectLookupKey(c(name), c(name).property(S("keys")).toList().value(c(name).currentIndex())); });
    on("dblcboEvents", [this] { dblcboEventsChange(); });
    for (int k = 1; k <= 3; ++k) {
        on(QByteArray("rdoLeader" + QByteArray::number(k)).constData(), [this, k] {
            // One channel of three.
            if (checked(S("rdoLeader%1").arg(k))) {
                for (int other = 1; other <= 3; ++other)
                    c(S("rdoLeader%1").arg(other)).setChecked(other == k);
            }
        });
    }
    on("cboEvents", [this] { cboEventsChange(); });
    on("rgrpDesignate", [this] { rgrpDesignateClick(); });
    on("rgrpTeam", [this] { rgrpTeamClick(); });
    for (const char *check : {"chkMeet2", "chkMeet3", "chkMeet4", "chkNCAA", "chkNCAAGrid"})
        on(check, [this] { chkMeetClick(); });
    for (const char *name : {"EditPct1", "EditPct2", "EditPct3", "EditPct4", "spinLeaderLines", "spinTime"})
        on(name, [this, name] { spinChanged(c(S(name))); });
    on("EditPlaces", [this] { digitsChanged(c(S("EditPlaces")), 3); });
    on("EditCount", [this] {
        digitsChanged(c(S("EditCount")), 3);
        SettingsStore key = m_context.productKey();
        TeamResultsSettings::writeTeamScoresCount(key, c(S("EditCount")).text());
    });
    on("EditAA", [this] {
        digitsChanged(c(S("EditAA")), 2);
        SettingsStore key = m_context.productKey();
        TeamResultsSettings::writeTeamScoresAA(key, c(S("EditAA")).text());
    });
    on("EditTitle", [this] {
        LogicalControl &title = c(S("EditTitle"));
        if (title.text().size() > 18)
            title.setText(title.text().left(18));
    });
    on("lstQueue", [this] {
        const int row = c(S("lstQueue")).currentIndex();
        setSelectedLines(row >= 0 ? QSet<int>{row} : QSet<int>{});
    });
    checkedList(S("chkcboSession")).setOnSelectChange([this] {
        if (!m_loading)
            guard([this] { sessionsChanged(); });
    });
    checkedList(S("chkcboLevels")).setOnSelectChange([this] {
        if (!m_loading)
            guard([this] { levelsChanged(); });
    });
}

void ResultsGraphic::spinChanged(LogicalControl &spin)
{
    bool ok = false;
    const int typed = spin.text().trimmed().toInt(&ok);
    const int value = std::clamp(ok ? typed : spin.property(S("value")).toInt(), spin.property(S("minimum")).toInt(),
                                 spin.property(S("maximum")).toInt());
    spin.setProperty(S("value"), value);
    spin.setText(QString::number(value));
}

void ResultsGraphic::digitsChanged(LogicalControl &edit, int maxDigits)
{
    // A masked edit: digits only, at most its width; anything else keeps the
    // last good text.
    const QString text = edit.text().trimmed();
    const bool good = text.size() <= maxDigits && std::all_of(text.begin(), text.end(), [](QChar ch) { return ch.isDigit(); });
    if (good)
        edit.setProperty(S("accepted"), text);
    edit.setText(good ? text : edit.property(S("accepted")).toString());
}

// ---------------------------------------------------------------- creation

void ResultsGraphic::FormCreate()
{
    m_loading = true;
    TeamResultsSettings team;
    team.readAtCreate(m_context.productKey());
    c(S("EditCount")).setText(QString::number(team.TeamScoresCount));
    c(S("EditAA")).setText(QString::number(team.TeamScoresAA));
    for (const char *edit : {"EditCount", "EditAA", "EditPlaces"})
        c(S(edit)).setProperty(S("accepted"), c(S(edit)).text());
    c(S("rgrpDesignate")).setCurrentIndex(team.TeamDesignate);
    c(S("rgrpTeam")).setCurrentIndex(team.TeamID);
    c(S("chkNCAA")).setChecked(m_context.mainMeetNcaaMode());

    // The working copies are a snapshot of this moment.
    for (const char *table : {"AgeGrp", "SessAgeGrp", "AgeDate", "Gyms"})
        m_copies->copy(S(table), S(table));
    loadMeets();
    loadEvents();
    const QVariant meet = m_context.mainMeetId();
    for (int m = 1; m <= 4; ++m)
        selectLookupKey(c(S("dblcboMeet%1").arg(m)), meet);
    loadMeetDetails();
    selectLookupKey(c(S("dblcboEvents")), meetValue(1, S("Def_EventID")));
    for (int m = 1; m <= 4; ++m)
        c(S("EditPct%1").arg(m)).setText(S("100"));
    m_loading = false;
    fill(m_host, m_context.store().query(S("select TieBreak, AverageAll from Host")));

    dblcboEventsChange();
    for (const QString &name : checkedListNames())
        checkedList(name).LoadItems(true);
    chkMeetClick();
}

void ResultsGraphic::loadMeets()
{
    fill(m_meets, m_context.store().query(
                      S("select MeetID, Name, Def_EventID, ScoreMethod, InternationalStyle, UseAgeDiv, NCAAMode "
                        "from Meets order by MeetID")));
    for (int m = 1; m <= 4; ++m)
        fillLookup(c(S("dblcboMeet%1").arg(m)), m_meets, S("MeetID"), S("Name"));
}

void ResultsGraphic::loadEvents()
{
    QStringList fields = {S("EventID"), S("\"Group\""), S("Level_Name"), S("NumEvents"), S("TwoScore")};
    for (int i = 1; i <= 6; ++i)
        fields << S("Event%1").arg(i) << S("Ev%1Short").arg(i);
    fill(m_events,
         m_context.store().query(S("select %1 from Events order by EventID").arg(fields.join(QStringLiteral(", ")))));
    fillLookup(c(S("dblcboEvents")), m_events, S("EventID"), S("Group"));
}

void ResultsGraphic::loadMeetDetails()
{
    // Sessions and the attending gyms follow meet 1.
    const QString meet = QString::number(meetId(1));
    const bool loading = m_loading;
    m_loading = true;
    fill(m_sessions, m_context.store().query(
                         S("select Session, \"Desc\" from Sessions where MeetID = %1 order by Session").arg(meet)));
    fill(m_gymAttend, m_context.store().query(
                          S("select GymID, Short_Name from Attend where MeetID = %1 order by Short_Name").arg(meet)));
    m_loading = loading;
    if (!m_loading) {
        checkedList(S("chkcboSession")).LoadItems(true);
        checkedList(S("chkcboGyms")).LoadItems(true);
    }
}

void ResultsGraphic::fillLookup(LogicalControl &lookup, const DataRows &rows, const QString &key, const QString &shown)
{
    QStringList items;
    QVariantList keys;
    for (int row = 0; row < rows.rowCount(); ++row) {
        items << rows.text(row, shown);
        keys << rows.value(row, key);
    }
    lookup.setItems(items);
    lookup.setProperty(S("keys"), keys);
    selectLookupKey(lookup, lookup.property(S("key")));
}

void ResultsGraphic::selectLookupKey(LogicalControl &lookup, const QVariant &key)
{
    const QVariantList keys = lookup.property(S("keys")).toList();
    int index = -1;
    for (int i = 0; i < keys.size() && !key.isNull(); ++i) {
        if (keys[i].toLongLong() == key.toLongLong())
            index = i;
    }
    lookup.setProperty(S("key"), index >= 0 ? keys[index] : QVariant());
    lookup.setCurrentIndex(index);
}

int ResultsGraphic::meetId(int which) const
{
    const QVariant key = c(S("dblcboMeet%1").arg(which)).property(S("key"));
    return key.isNull() ? -1 : key.toInt();
}

QVariant ResultsGraphic::meetValue(int which, const QString &field) const
{
    const int id = meetId(which);
    for (int row = 0; row < m_meets.rowCount(); ++row) {
        if (m_meets.value(row, S("MeetID")).toInt() == id)
            return m_meets.value(row, field);
    }
    return QVariant();
}

QVariant ResultsGraphic::currentEvents(const QString &field) const
{
    const QVariant key = c(S("dblcboEvents")).property(S("key"));
    for (int row = 0; row < m_events.rowCount() && !key.isNull(); ++row) {
        if (m_events.value(row, S("EventID")).toLongLong() == key.toLongLong())
            return m_events.value(row, field);
    }
    return QVariant();
}

EventGroupHeads ResultsGraphic::headsOf(int eventGroup) const
{
    EventGroupHeads heads;
    for (int row = 0; row < m_events.rowCount(); ++row) {
        if (m_events.value(row, S("EventID")).toInt() != eventGroup)
            continue;
        heads.numEvents = std::clamp(m_events.value(row, S("NumEvents")).toInt(), 0, 6);
        for (int i = 1; i <= 6; ++i) {
            heads.titles[std::size_t(i - 1)] = m_events.text(row, S("Event%1").arg(i));
            heads.shortTitles[std::size_t(i - 1)] = m_events.text(row, S("Ev%1Short").arg(i));
        }
    }
    return heads;
}

QString ResultsGraphic::hostTieBreak() const
{
    return m_host.text(0, S("TieBreak"));
}

int ResultsGraphic::nameFormat() const
{
    return c(S("rgrpNameFormat")).currentIndex();
}

void ResultsGraphic::ApplyMeet(int meetID)
{
    guard([&] {
        c(S("chkNCAA")).setChecked(m_context.mainMeetNcaaMode());
        selectLookupKey(c(S("dblcboMeet1")), meetID);
        dblcboMeet1Change();
    });
}

// ---------------------------------------------------------------- handlers

void ResultsGraphic::dblcboMeet1Change()
{
    LogicalControl &meet1 = c(S("dblcboMeet1"));
    selectLookupKey(meet1, meet1.property(S("keys")).toList().value(meet1.currentIndex(), meet1.property(S("key"))));
    if (m_loading)
        return;
    loadMeetDetails();
    selectLookupKey(c(S("dblcboEvents")), meetValue(1, S("Def_EventID")));
    dblcboEventsChange();
}

void ResultsGraphic::dblcboEventsChange()
{
    LogicalControl &events = c(S("dblcboEvents"));
    if (events.currentIndex() >= 0)
        selectLookupKey(events, events.property(S("keys")).toList().value(events.currentIndex()));
    QStringList items;
    const int count = std::clamp(currentEvents(S("NumEvents")).toInt(), 0, 6);
    for (int i = 1; i <= count; ++i)
        items << currentEvents(S("Event%1").arg(i)).toString();
    items << S("AA") << S("Team");
    LogicalControl &list = c(S("cboEvents"));
    list.setItems(items);
    list.setCurrentIndex(0);
    list.setText(items.first());
    const QVariant levelName = currentEvents(S("Level_Name"));
    c(S("lblLevel")).setText(currentEvents(S("EventID")).isNull() ? S("Level:") : levelName.toString() + S(":"));
    ReloadLevels();
    cboEventsChange();
}

void ResultsGraphic::cboEventsChange()
{
    LogicalControl &list = c(S("cboEvents"));
    list.setText(list.items().value(list.currentIndex()));
    applyEnablement();
    if (c(S("rgrpTeam")).currentIndex() != 3)
        ReloadTeamIDs();
}

void ResultsGraphic::sessionsChanged()
{
    ReloadLevels();
    if (c(S("cboEvents")).text() == QLatin1String("Team"))
        ReloadTeamIDs();
    loadAges();
}

void ResultsGraphic::levelsChanged()
{
    if (c(S("cboEvents")).text() == QLatin1String("Team"))
        ReloadTeamIDs();
    loadAges();
}

void ResultsGraphic::rgrpDesignateClick()
{
    const int designation = c(S("rgrpDesignate")).currentIndex();
    SettingsStore key = m_context.productKey();
    TeamResultsSettings::writeTeamDesignate(key, designation);
    if (designation == 2) {
        c(S("rgrpTeam")).setCurrentIndex(3);
        TeamResultsSettings::writeTeamID(key, 3);
    }
    applyEnablement();
}

void ResultsGraphic::rgrpTeamClick()
{
    SettingsStore key = m_context.productKey();
    TeamResultsSettings::writeTeamID(key, c(S("rgrpTeam")).currentIndex());
    applyEnablement();
    ReloadTeamIDs();
}

void ResultsGraphic::chkMeetClick()
{
    // Each further meet needs the one before it.
    if (!checked(S("chkMeet2")))
        c(S("chkMeet3")).setChecked(false);
    if (!checked(S("chkMeet3")))
        c(S("chkMeet4")).setChecked(false);
    for (int m = 2; m <= 4; ++m) {
        const bool on = checked(S("chkMeet%1").arg(m));
        c(S("dblcboMeet%1").arg(m)).setEnabled(on);
        c(S("EditPct%1").arg(m)).setEnabled(on);
        if (m < 4)
            c(S("chkMeet%1").arg(m + 1)).setEnabled(on);
    }
    applyEnablement();
}

void ResultsGraphic::applyEnablement()
{
    const QString event = c(S("cboEvents")).text();
    const bool team = event == QLatin1String("Team");
    const bool apparatus = !team && event != QLatin1String("AA");
    const int designation = c(S("rgrpDesignate")).currentIndex();
    const bool ncaa = checked(S("chkNCAA"));
    for (const char *name : {"lblCount", "lblCountAll", "EditCount", "rgrpDesignate"})
        c(S(name)).setEnabled(team);
    c(S("rgrpTeam")).setEnabled(team && designation != 2);
    c(S("EditAA")).setEnabled(team && designation == 2);
    c(S("lblAA")).setEnabled(team && designation == 2);
    for (const char *name : {"chkFACannot", "lblGym"})
        c(S(name)).setEnabled(!team);
    const bool teamIds = team && c(S("rgrpTeam")).currentIndex() != 3;
    for (const char *name : {"lblSpecific", "lblTeamID"})
        c(S(name)).setEnabled(teamIds);
    c(S("chkcboTeamID")).setEnabled(teamIds);
    c(S("chkcboGyms")).setEnabled(!team);
    c(S("chk2Attempt")).setEnabled(c(S("cboEvents")).currentIndex() + 1 == currentEvents(S("TwoScore")).toInt());
    c(S("chkIncExhib")).setEnabled(apparatus && ncaa);
    c(S("chkNCAAGrid")).setEnabled(team && ncaa);

    const bool ages = checkedList(S("chkcboLevels")).SelectState() == OzkcxCheckedCombo::One &&
                      meetValue(1, S("UseAgeDiv")).toBool();
    c(S("chkcboAges")).setEnabled(ages);
    checkedList(S("chkcboAges")).SetAllSelected(!ages);
}

QString ResultsGraphic::selectionOf(const QString &list, const QString &field, int quoteMode) const
{
    OzkcxCheckedCombo &combo = checkedList(list);
    const int state = combo.SelectState();
    if (state != OzkcxCheckedCombo::One && state != OzkcxCheckedCombo::Multiple)
        return QString();
    return combo.GetSelection(field, quoteMode);
}

void ResultsGraphic::ReloadLevels()
{
    QStringList sql = {S("select distinct Events, Gymnasts.Level, LevelSort from Gymnasts, Levels"),
                       S("where MeetID = ") + QString::number(meetId(1)),
                       S("and Events = ") + sqlNumber(c(S("dblcboEvents")).property(S("key"))),
                       S("and gymnasts.level = levels.level and gymnasts.events = levels.eventid")};
    if (const QString sessions = selectionOf(S("chkcboSession"), S("Session"), 1); !sessions.isEmpty())
        sql << S("and Session in (") + sessions + S(")");
    sql << S("order by LevelSort");
    for (const char *name : {"chkcboSession", "chkcboLevels"})
        c(S(name)).setEnabled(false);
    fill(m_levels, m_context.store().query(sql.join(QStringLiteral("\r\n"))));
    c(S("chkcboSession")).setEnabled(true);
    c(S("chkcboLevels")).setEnabled(true);
    loadAges();
}

void ResultsGraphic::ReloadTeamIDs()
{
    const int team = c(S("rgrpTeam")).currentIndex();
    if (team < 0 || team > 2) {
        applyEnablement();
        return;
    }
    const QString field = S("Team%1").arg(team + 1);
    QStringList sql = {S("select distinct ") + field + S(" from Gymnasts"),
                       S("where MeetID = ") + QString::number(meetId(1)),
                       S("and Events = ") + sqlNumber(c(S("dblcboEvents")).property(S("key")))};
    if (const QString sessions = selectionOf(S("chkcboSession"), S("Session"), 1); !sessions.isEmpty())
        sql << S("and Session in (") + sessions + S(")");
    if (const QString levels = selectionOf(S("chkcboLevels"), S("Level"), 1); !levels.isEmpty())
        sql << S("and Gymnasts.\"Level\" in (") + levels + S(")");
    sql << S("and ") + field + S(" is not null") << S("order by ") + field;
    checkedList(S("chkcboTeamID")).setDataField(field);
    fill(m_teamIds, m_context.store().query(sql.join(QStringLiteral("\r\n"))));
    applyEnablement();
}

void ResultsGraphic::loadAges()
{
    // The ages of the level the level list stands on, in meet 1; per session
    // when exactly one session is chosen and it has its own divisions.
    const QString level = m_levels.current(S("Level")).toString();
    const QString where = S("EventID = %1 and Level = %2 and MeetID = %3")
                              .arg(sqlNumber(c(S("dblcboEvents")).property(S("key"))), SqlDialect::quoteString(level))
                              .arg(meetId(1));
    MeetStore &local = m_copies->local();
    QueryResult ages;
    m_agesFromSessions = false;
    if (checkedList(S("chkcboSession")).SelectState() == OzkcxCheckedCombo::One) {
        const QString session = m_sessions.current(S("Session")).toString();
        ages = local.queryNative(S("select * from SessAgeGrp where %1 and Session = %2 order by Low_Age")
                                     .arg(where, SqlDialect::quoteString(session)));
        m_agesFromSessions = !ages.isEmpty();
    }
    if (!m_agesFromSessions)
        ages = local.queryNative(S("select * from AgeGrp where %1 order by Low_Age").arg(where));
    fill(m_ages, ages);
    applyEnablement();
}

std::pair<QString, QString> ResultsGraphic::AgeRangeDates()
{
    OzkcxCheckedCombo &ages = checkedList(S("chkcboAges"));
    if (!c(S("chkcboAges")).isEnabled() || ages.SelectState() == OzkcxCheckedCombo::All ||
        ages.SelectState() == OzkcxCheckedCombo::None)
        return {};
    QStringList upper;
    QStringList lower;
    const auto date = [](const QDate &d) { return d.toString(QStringLiteral("yyyy-MM-dd")); };
    for (int i = 0; i < ages.itemCount(); ++i) {
        if (!ages.IsChecked(i))
            continue;
        ages.MoveToItem(i);
        if (m_ages.current(S("Use_Dates")).toBool()) {
            lower << date(m_ages.current(S("Start_Date")).toDate());
            upper << date(m_ages.current(S("End_Date")).toDate());
            continue;
        }
        const QueryResult found = m_copies->local().queryNative(
            S("select Age_Date from AgeDate where EventID = ? and Level = ? and MeetID = ?"),
            {c(S("dblcboEvents")).property(S("key")), m_levels.current(S("Level")), meetId(1)});
        if (found.isEmpty()) {
            PromptMessage message;
            message.caption = S("Record Not Found");
            message.text = S("Unable to find an Age Determination record for this event group and level");
            message.icon = PromptIcon::Error;
            m_context.prompt().tell(message);
            continue;
        }
        const QDate ageDate = found.rowSet().rows.front().value(0).toDate();
        const int low = m_ages.current(S("Low_Age")).toInt();
        const int high = m_ages.current(S("High_Age")).toInt();
        // 99 is open-ended: it takes 99 years, not 100.
        upper << date(ageDate.addYears(-low));
        lower << date(ageDate.addYears(-(high == 99 ? 99 : high + 1)).addDays(1));
    }
    return {upper.join(QLatin1Char(',')), lower.join(QLatin1Char(','))};
}

// ---------------------------------------------------------------- the queue

const QStringList &ResultsGraphic::queue() const
{
    return c(S("lstQueue")).items();
}

void ResultsGraphic::setQueue(const QStringList &lines)
{
    c(S("lstQueue")).setItems(lines);
    emit queueChanged();
}

void ResultsGraphic::setSelectedLines(const QSet<int> &lines)
{
    m_selected.clear();
    for (int line : lines) {
        if (line >= 0 && line < queue().size())
            m_selected.insert(line);
    }
    c(S("lstQueue")).setProperty(S("selected"), QVariant::fromValue(QList<int>(m_selected.begin(), m_selected.end())));
    updateUpDown();
}

void ResultsGraphic::appendLines(const QStringList &lines)
{
    setQueue(queue() + lines);
    updateUpDown();
}

void ResultsGraphic::updateUpDown()
{
    const bool one = m_selected.size() == 1 && !m_cycle->isRunning();
    c(S("sbtnUp")).setEnabled(one);
    c(S("sbtnDown")).setEnabled(one);
}

bool ResultsGraphic::ValidatePage()
{
    for (const char *name : {"EditPlaces", "EditCount", "EditAA"}) {
        if (c(S(name)).text().trimmed().isEmpty())
            c(S(name)).setText(S("0"));
    }
    const auto used = [this](int m) { return m == 1 || checked(S("chkMeet%1").arg(m)); };
    bool duplicate = false;
    for (int m = 2; m <= 4; ++m) {
        for (int earlier = 1; earlier < m && used(m); ++earlier)
            duplicate = duplicate || meetId(m) == meetId(earlier);
    }
    if (duplicate) {
        PromptMessage message;
        message.caption = S("Validation Error");
        message.text = S("Please choose different meets");
        message.icon = PromptIcon::Warning;
        m_context.prompt().ask(message);
        return false;
    }
    return true;
}

QString ResultsGraphic::composeLine()
{
    return c(S("cboEvents")).text() == QLatin1String("Team") ? composeTeamLine() : composeEventLine();
}

QString ResultsGraphic::composeEventLine()
{
    EventPageLine p;
    p.channel = checked(S("rdoLeader1")) ? S("1") : checked(S("rdoLeader2")) ? S("2") : S("3");
    p.title = c(S("EditTitle")).text().left(18);
    const LogicalControl &events = c(S("cboEvents"));
    const bool aa = events.text() == QLatin1String("AA");
    p.eventName = aa ? S("AA") : events.text();
    p.eventNumber = aa ? -1 : events.currentIndex() + 1;
    p.eventGroup = c(S("dblcboEvents")).property(S("key")).toInt();
    p.levels = selectionOf(S("chkcboLevels"), S("Level"), 1);
    p.gyms = selectionOf(S("chkcboGyms"), S("GymID"), 0);
    p.sessions = selectionOf(S("chkcboSession"), S("Session"), 1);
    std::tie(p.upperDates, p.lowerDates) = AgeRangeDates();
    p.places = c(S("EditPlaces")).text();
    p.foreignNoPlace = checked(S("chkFACannot"));
    p.ncaa = checked(S("chkNCAA"));
    for (int m = 1; m <= 4; ++m) {
        const bool used = m == 1 || checked(S("chkMeet%1").arg(m));
        p.meets[std::size_t(m - 1)] = used ? meetId(m) : -1;
        p.multipliers[std::size_t(m - 1)] =
            used ? EventPageLine::multiplierOf(c(S("EditPct%1").arg(m)).property(S("value")).toInt()) : S("0.00");
    }
    p.twoScore = currentEvents(S("TwoScore")).toInt();
    p.twoAttempts = checked(S("chk2Attempt")) && p.eventNumber == p.twoScore;
    p.method1 = meetValue(1, S("ScoreMethod")).toInt() == 1;
    p.international = meetValue(1, S("InternationalStyle")).toBool();
    p.incExhib = checked(S("chkIncExhib"));
    return p.compose();
}

QString ResultsGraphic::composeTeamLine()
{
    TeamPageLine p;
    p.channel = checked(S("rdoLeader1")) ? S("1") : checked(S("rdoLeader2")) ? S("2") : S("3");
    p.title = c(S("EditTitle")).text().left(18);
    p.eventGroup = c(S("dblcboEvents")).property(S("key")).toInt();
    p.levels = selectionOf(S("chkcboLevels"), S("Level"), 1);
    p.sessions = selectionOf(S("chkcboSession"), S("Session"), 1);
    std::tie(p.upperDates, p.lowerDates) = AgeRangeDates();
    p.scoreCount = c(S("EditCount")).text();
    const int team = c(S("rgrpTeam")).currentIndex();
    p.teamField = team >= 0 && team <= 2 ? team + 1 : -1;
    p.places = c(S("EditPlaces")).text();
    p.ncaa = checked(S("chkNCAA"));
    if (p.teamField != -1)
        p.teamIds = selectionOf(S("chkcboTeamID"), S("Team%1").arg(p.teamField), 1);
    p.designation = std::max(0, c(S("rgrpDesignate")).currentIndex());
    p.aaCount = c(S("EditAA")).text();
    p.grid = checked(S("chkNCAAGrid"));
    p.meet = meetId(1);
    p.twoScore = currentEvents(S("TwoScore")).toInt();
    p.numEvents = currentEvents(S("NumEvents")).toInt();
    p.method1 = meetValue(1, S("ScoreMethod")).toInt() == 1;
    p.international = meetValue(1, S("InternationalStyle")).toBool();
    return p.compose();
}

void ResultsGraphic::addCurrentLine()
{
    const QString line = composeLine();
    QStringList lines = queue();
    lines << line;
    setQueue(lines);
    m_selected.insert(int(lines.size()) - 1); // without deselecting others
    c(S("lstQueue")).setProperty(S("selected"), QVariant::fromValue(QList<int>(m_selected.begin(), m_selected.end())));
}

void ResultsGraphic::btnAddClick()
{
    if (!ValidatePage())
        return;
    addCurrentLine();
    updateUpDown();
}

void ResultsGraphic::btnAddEventClick()
{
    if (!ValidatePage())
        return;
    LogicalControl &events = c(S("cboEvents"));
    const int was = events.currentIndex();
    for (int i = 0; i < events.items().size(); ++i) {
        events.setCurrentIndex(i);
        events.setText(events.items()[i]);
        applyEnablement();
        addCurrentLine();
    }
    events.setCurrentIndex(was);
    events.setText(events.items().value(was));
    applyEnablement();
    updateUpDown();
}

void ResultsGraphic::btnRemoveClick()
{
    QStringList lines = queue();
    for (int i = int(lines.size()) - 1; i >= 0; --i) {
        if (m_selected.contains(i))
            lines.removeAt(i);
    }
    m_selected.clear();
    setQueue(lines);
    setSelectedLines({});
}

void ResultsGraphic::sbtnUpClick()
{
    if (m_selected.size() != 1)
        return;
    const int line = *m_selected.begin();
    if (line <= 0)
        return;
    QStringList lines = queue();
    lines.swapItemsAt(line, line - 1);
    setQueue(lines);
    setSelectedLines({line - 1});
}

void ResultsGraphic::sbtnDownClick()
{
    if (m_selected.size() != 1)
        return;
    const int line = *m_selected.begin();
    QStringList lines = queue();
    if (line >= lines.size() - 1)
        return;
    lines.swapItemsAt(line, line + 1);
    setQueue(lines);
    setSelectedLines({line + 1});
}

void ResultsGraphic::btnStartClick()
{
    if (queue().isEmpty())
        return;
    for (const char *name :
         {"spinTime", "btnStart", "btnAdd", "btnRemove", "btnClear", "btnClose", "lstQueue", "sbtnUp", "sbtnDown"})
        c(S(name)).setEnabled(false);
    c(S("btnStop")).setEnabled(true);
    fill(m_host, m_context.store().query(S("select TieBreak, AverageAll from Host")));
    setSelectedLines({});
    m_cycle->start(c(S("spinTime")).property(S("value")).toInt());
}

void ResultsGraphic::btnStopClick()
{
    m_cycle->stop();
    for (const char *name : {"spinTime", "btnStart", "btnAdd", "btnRemove", "btnClear", "btnClose", "lstQueue"})
        c(S(name)).setEnabled(true);
    c(S("btnStop")).setEnabled(false);
    updateUpDown();
}

void ResultsGraphic::btnClearClick()
{
    m_cycle->clear();
}

bool ResultsGraphic::btnCloseClick()
{
    if (m_cycle->isRunning() || m_closed)
        return m_closed;
    btnClearClick();
    m_loading = true;
    m_closed = true;
    emit closeRequested();
    return true;
}

} // namespace kestra
