#include "generator/MeetSelection.h"

#include "meetdb/MeetStore.h"
#include "support/LogicalControl.h"

#include <QLoggingCategory>

#include <algorithm>

namespace kestra {

Q_LOGGING_CATEGORY(lcSelection, "kestra.selection")

namespace {

QString cell(const char *stem, int eventNumber, int side)
{
    return QStringLiteral("%1%2%3").arg(QLatin1String(stem)).arg(eventNumber).arg(side);
}

const char *const kRowStems[] = {"lblEvent", "EditNum", "EditScore", "EditWait", "chkEvent", "chkPause"};

// Moves a cursor to the row the operator chose in a lookup; true when that
// changed the lookup's key.
bool followLookup(LogicalControl &lookup, TableCursor *cursor, const QString &keyField)
{
    const QVariantList keys = lookup.property(QStringLiteral("keys")).toList();
    const int index = lookup.currentIndex();
    if (index < 0 || index >= keys.size() || !cursor)
        return false;
    const QVariant before = lookup.property(QStringLiteral("key"));
    lookup.setProperty(QStringLiteral("key"), keys[index]);
    cursor->locate(keyField, {keys[index]});
    return before.isNull() || before.toLongLong() != keys[index].toLongLong();
}

} // namespace

QStringList MeetSelection::sessionBoxes(int side)
{
    const QString stem = QStringLiteral("cboSession%1").arg(side);
    return {stem, stem + QLatin1Char('x'), stem + QLatin1Char('y'), stem + QLatin1Char('z')};
}

QStringList MeetSelection::secondColumnControls()
{
    QStringList names = {QStringLiteral("grpStatus2"), QStringLiteral("lblMust2"), QStringLiteral("lblOptional"),
                         QStringLiteral("lblAdditional2"), QStringLiteral("dblcboEvent2")};
    names << sessionBoxes(2);
    for (int i = 1; i <= 6; ++i) {
        for (const char *stem : kRowStems)
            names << cell(stem, i, 2);
    }
    return names;
}

MeetSelection::MeetSelection(ControlSet &controls, std::function<MeetStore &()> store,
                             std::function<void(const std::function<void()> &)> guard)
    : m_controls(controls), m_store(std::move(store)), m_guard(std::move(guard))
{
    buildControls();
    wireHandlers();
}

MeetSelection::~MeetSelection()
{
    closeGymnasts();
    closeTables();
}

LogicalControl &MeetSelection::c(const QString &name) const
{
    return m_controls(name);
}

bool MeetSelection::checked(const QString &name) const
{
    return m_controls(name).isChecked();
}

// ---------------------------------------------------------------- controls

void MeetSelection::buildControls()
{
    auto add = [this](const QString &name, const QString &text, const char *kind, const char *group, int row,
                      int column) -> LogicalControl & { return m_controls.addPlaced(name, text, kind, group, row, column); };
    const auto s = [](const char *text) { return QString::fromUtf8(text); };

    add(s("dblcboMeets"), QString(), "lookup", "ribbon", 0, 4).setProperty(s("caption"), s("Select a Meet"));
    add(s("chkDual"), s("Enable dual-session display"), "check", "options", 0, 0);
    add(s("chkNCAA"), s("NCAA Mode"), "check", "options", 1, 0);
    LogicalControl &rotation = add(s("rgrpRotation"), QString(), "radiogroup", "options", 2, 0);
    rotation.setProperty(s("caption"), s("NCAA Rotation"));
    rotation.setProperty(s("columns"), 0);

    for (int side = 1; side <= 2; ++side) {
        const QByteArray selection = "column" + QByteArray::number(side);
        const QByteArray events = "events" + QByteArray::number(side);
        add(QStringLiteral("dblcboEvent%1").arg(side), QString(), "lookup", selection.constData(), 0, 0)
            .setProperty(s("tag"), side);
        const QStringList boxes = sessionBoxes(side);
        add(boxes[0], QString(), "combo", selection.constData(), 1, 0);
        add(QStringLiteral("lblMust%1").arg(side), s(side == 1 ? "(Optional)" : "(Required)"), "label",
            selection.constData(), 1, 1);
        add(QStringLiteral("lblAdditional%1").arg(side), s("-------- Additional --------"), "label",
            selection.constData(), 2, 0);
        for (int k = 1; k < 4; ++k)
            add(boxes[k], QString(), "combo", selection.constData(), 2 + k, 0);
        add(s(side == 1 ? "Label11" : "lblOptional"), s("-------- (Optional) --------"), "label",
            selection.constData(), 3, 1);

        add(QStringLiteral("grpStatus%1").arg(side), s("Generator Status"), "group", events.constData(), 0, 0)
            .setProperty(s("bevelRows"), 6);
        for (int i = 1; i <= 6; ++i) {
            add(cell("lblEvent", i, side), QString(), "label", events.constData(), i, 0);
            LogicalControl &tick = add(cell("chkEvent", i, side), QString(), "check", events.constData(), i, 1);
            tick.setChecked(true);
            tick.setProperty(s("heading"), s("Display"));
            LogicalControl &pause = add(cell("chkPause", i, side), QString(), "check", events.constData(), i, 2);
            pause.setProperty(s("heading"), s("Pause"));
            pause.setVisible(false);
            if (i == 1)
                pause.setProperty(s("hint"), s("Check the box to pause display of scores for this event"));
            const char *stems[] = {"EditNum", "EditScore", "EditWait"};
            const char *headings[] = {"Num", "Score", "Waiting"};
            for (int k = 0; k < 3; ++k) {
                LogicalControl &edit = add(cell(stems[k], i, side), QString(), "edit", events.constData(), i, 3 + k);
                edit.setProperty(s("heading"), s(headings[k]));
                edit.setProperty(s("readOnly"), true);
            }
        }
    }
}

void MeetSelection::wireHandlers()
{
    const auto on = [this](const QString &name, std::function<void()> handler) {
        c(name).setClickHandler([this, handler = std::move(handler)] { m_guard(handler); });
    };
    on(QStringLiteral("dblcboMeets"), [this] { meetSelectorClicked(); });
    on(QStringLiteral("dblcboEvent1"), [this] { eventSelectorClicked(1); });
    on(QStringLiteral("dblcboEvent2"), [this] { eventSelectorClicked(2); });
    on(QStringLiteral("chkDual"), [this] { chkDualClick(); });
    on(QStringLiteral("chkNCAA"), [this] { chkDualClick(); });
    for (int side = 1; side <= 2; ++side) {
        const QStringList boxes = sessionBoxes(side);
        on(boxes[0], [this, box = boxes[0]] {
            syncSessionBox(box);
            cboSession1PropertiesChange();
        });
        // The additional boxes have no change handler of their own.
        for (int k = 1; k < 4; ++k)
            c(boxes[k]).setClickHandler([this, box = boxes[k]] { syncSessionBox(box); });
    }
}

// ---------------------------------------------------------------- tables

void MeetSelection::openTables()
{
    MeetStore &db = store();
    const QString events = QStringLiteral("Events");
    m_eventDisp1 = db.openTable(events, CursorOptions().orderBy(QStringLiteral("EventID")));
    m_eventDisp2 = db.openTable(events, CursorOptions().orderBy(QStringLiteral("EventID")));
    // A detail needs its master open first: Meets comes before Sessions, and
    // Sessions before Rotations.
    m_meets = db.openTable(QStringLiteral("Meets"), CursorOptions().orderBy(QStringLiteral("MeetID")));
    m_sessions = db.openTable(QStringLiteral("Sessions"), CursorOptions()
                                                              .orderBy(QStringLiteral("MeetID;Session"))
                                                              .detailOf(m_meets.get(), QStringLiteral("MeetID")));
    m_gyms = db.openTable(QStringLiteral("Gyms"));
    m_levelChk = db.openTable(QStringLiteral("Levels"), CursorOptions().orderBy(QStringLiteral("EventID;Level")));
    m_rotations = db.openTable(QStringLiteral("Rotations"),
                               CursorOptions()
                                   .orderBy(QStringLiteral("RotationID"))
                                   .detailOf(m_sessions.get(), QStringLiteral("RotationID")));
    m_host = db.openTable(QStringLiteral("Host"));
    fillLookups();
}

void MeetSelection::closeTables()
{
    // Details before their masters: Rotations follows Sessions, Sessions Meets.
    m_rotations.reset();
    m_sessions.reset();
    m_meets.reset();
    m_host.reset();
    m_gyms.reset();
    m_levelChk.reset();
    m_eventDisp1.reset();
    m_eventDisp2.reset();
}

void MeetSelection::refreshForRun()
{
    for (TableCursor *cursor : {m_meets.get(), m_sessions.get(), m_eventDisp1.get(), m_eventDisp2.get()}) {
        if (cursor)
            cursor->refresh();
    }
    fillLookups();
}

void MeetSelection::openGymnasts()
{
    m_gymnasts = store().openTable(QStringLiteral("Gymnasts"), CursorOptions().orderBy(QStringLiteral("MeetID;Num")));
}

void MeetSelection::closeGymnasts()
{
    m_gymnasts.reset();
}

bool MeetSelection::hasHostRow() const
{
    return m_host && m_host->hasRow();
}

TableCursor *MeetSelection::table(const QString &name) const
{
    const std::pair<const char *, TableCursor *> tables[] = {
        {"Meets", m_meets.get()},       {"EventDisp1", m_eventDisp1.get()}, {"EventDisp2", m_eventDisp2.get()},
        {"Sessions", m_sessions.get()}, {"Rotations", m_rotations.get()},   {"Host", m_host.get()},
        {"Gyms", m_gyms.get()},         {"LevelChk", m_levelChk.get()},     {"Gymnasts", m_gymnasts.get()},
    };
    for (const auto &[tableName, cursor] : tables) {
        if (name == QLatin1String(tableName))
            return cursor && cursor->isOpen() ? cursor : nullptr;
    }
    return nullptr;
}

TableCursor *MeetSelection::eventDisp(int side) const
{
    TableCursor *cursor = side == 1 ? m_eventDisp1.get() : side == 2 ? m_eventDisp2.get() : nullptr;
    return cursor && cursor->isOpen() && cursor->hasRow() ? cursor : nullptr;
}

void MeetSelection::fillLookups()
{
    const auto fill = [this](const QString &lookupName, const QString &table, const QString &key,
                             const QString &shown) {
        std::unique_ptr<TableCursor> cursor = store().openTable(table, CursorOptions().orderBy(key));
        QStringList items;
        QVariantList keys;
        for (cursor->first(); !cursor->eof() && cursor->hasRow(); cursor->next()) {
            items << cursor->value(shown).toString();
            keys << cursor->value(key);
        }
        LogicalControl &lookup = c(lookupName);
        lookup.setItems(items);
        lookup.setProperty(QStringLiteral("keys"), keys);
        setLookupKey(lookup, lookup.property(QStringLiteral("key")));
    };
    fill(QStringLiteral("dblcboMeets"), QStringLiteral("Meets"), QStringLiteral("MeetID"), QStringLiteral("Name"));
    fill(QStringLiteral("dblcboEvent1"), QStringLiteral("Events"), QStringLiteral("EventID"), QStringLiteral("Group"));
    fill(QStringLiteral("dblcboEvent2"), QStringLiteral("Events"), QStringLiteral("EventID"), QStringLiteral("Group"));
}

void MeetSelection::setLookupKey(LogicalControl &lookup, const QVariant &key)
{
    lookup.setProperty(QStringLiteral("key"), key);
    const QVariantList keys = lookup.property(QStringLiteral("keys")).toList();
    int index = -1;
    if (!key.isNull()) {
        for (int i = 0; i < keys.size(); ++i) {
            if (keys[i].toLongLong() == key.toLongLong()) {
                index = i;
                break;
            }
        }
    }
    lookup.setCurrentIndex(index);
}

// ---------------------------------------------------------------- handlers

void MeetSelection::selectLastMeet()
{
    if (!hasHostRow() || !m_meets)
        return;
    m_meets->locate(QStringLiteral("MeetID"), {m_host->value(QStringLiteral("LastMeet"))});
    setLookupKey(c(QStringLiteral("dblcboMeets")),
                 m_meets->hasRow() ? m_meets->value(QStringLiteral("MeetID")) : QVariant());
    dblcboMeetsChange();
}

void MeetSelection::meetSelectorClicked()
{
    if (followLookup(c(QStringLiteral("dblcboMeets")), m_meets.get(), QStringLiteral("MeetID")))
        dblcboMeetsChange();
}

void MeetSelection::eventSelectorClicked(int side)
{
    TableCursor *cursor = side == 1 ? m_eventDisp1.get() : m_eventDisp2.get();
    if (followLookup(c(QStringLiteral("dblcboEvent%1").arg(side)), cursor, QStringLiteral("EventID")))
        dblcboEvent1Change(side);
}

void MeetSelection::dblcboMeetsChange()
{
    if (m_meets && m_meets->hasRow()) {
        const QVariant defaultEvent = m_meets->value(QStringLiteral("Def_EventID"));
        for (int side = 1; side <= 2; ++side) {
            TableCursor *cursor = side == 1 ? m_eventDisp1.get() : m_eventDisp2.get();
            if (!cursor || defaultEvent.isNull())
                continue;
            cursor->locate(QStringLiteral("EventID"), {defaultEvent});
            LogicalControl &lookup = c(QStringLiteral("dblcboEvent%1").arg(side));
            const QVariant before = lookup.property(QStringLiteral("key"));
            setLookupKey(lookup, defaultEvent);
            if (before.isNull() || before.toLongLong() != defaultEvent.toLongLong())
                dblcboEvent1Change(side);
        }
        if (m_meetChanged)
            m_meetChanged(m_meets->value(QStringLiteral("MeetID")).toInt());
    }
    RebuildSessionList();
}

void MeetSelection::RebuildSessionList()
{
    const QStringList boxes = sessionBoxes(1) + sessionBoxes(2);
    for (const QString &box : boxes) {
        c(box).setText(QString());
        c(box).setCurrentIndex(-1);
        m_sessionBoxIndex.insert(box, -1);
    }
    m_memSessions.clear();
    if (m_sessions) {
        for (m_sessions->first(); !m_sessions->eof() && m_sessions->hasRow(); m_sessions->next()) {
            m_memSessions.append({m_sessions->value(QStringLiteral("Session")).toString(),
                                  m_sessions->value(QStringLiteral("Desc")).toString(),
                                  m_sessions->value(QStringLiteral("RotationID")).toInt()});
        }
    }
    QStringList keys;
    QStringList descriptions;
    for (const SessionRow &row : std::as_const(m_memSessions)) {
        keys << row.Session;
        descriptions << row.Desc;
    }
    for (const QString &box : boxes) {
        c(box).setItems(keys);
        c(box).setProperty(QStringLiteral("descriptions"), descriptions);
    }
    cboSession1PropertiesChange();
}

void MeetSelection::syncSessionBox(const QString &name)
{
    LogicalControl &box = c(name);
    const int seen = m_sessionBoxIndex.value(name, -1);
    const int index = box.currentIndex();
    if (index >= 0 && index != seen && index < box.items().size())
        box.setText(box.items()[index]); // chosen from the list
    else
        box.setCurrentIndex(box.items().indexOf(box.text())); // typed or emptied
    m_sessionBoxIndex.insert(name, box.currentIndex());
}

void MeetSelection::cboSession1PropertiesChange()
{
    if (!m_sessions)
        return;
    // A session not found leaves the cursor where it was; Rotations follows.
    const auto byesFor = [this](const QString &session) {
        if (session.isEmpty())
            m_sessions->first();
        else if (m_meets && m_meets->hasRow())
            m_sessions->locate(QStringLiteral("MeetID;Session"), {m_meets->value(QStringLiteral("MeetID")), session});
        return m_rotations && m_rotations->hasRow() ? m_rotations->value(QStringLiteral("NumByes")).toInt() : 0;
    };
    int rotations = numEvents(1) + byesFor(primarySession(1));
    if (isDual())
        rotations = std::max(rotations, numEvents(2) + byesFor(primarySession(2)));
    // A rotation has at most nine squads; a broken Events or Rotations row
    // must not ask for thousands of buttons, nor for fewer than none.
    if (rotations < 0 || rotations > MaxRotations) {
        qCWarning(lcSelection) << "rotation count" << rotations << "out of range; using"
                               << std::clamp(rotations, 0, MaxRotations);
        rotations = std::clamp(rotations, 0, MaxRotations);
    }
    LogicalControl &group = c(QStringLiteral("rgrpRotation"));
    if (rotations == group.property(QStringLiteral("columns")).toInt())
        return;
    QStringList items;
    for (int i = 1; i <= rotations; ++i)
        items << QString::number(i);
    group.setItems({});
    group.setProperty(QStringLiteral("columns"), rotations);
    group.setItems(items);
    group.setCurrentIndex(items.isEmpty() ? -1 : 0);
}

void MeetSelection::dblcboEvent1Change(int side)
{
    const int count = numEvents(side);
    int lastRow = 0;
    for (int i = 1; i <= 6; ++i) {
        const bool present = i <= count;
        if (present) {
            c(cell("lblEvent", i, side)).setText(eventTitle(side, i));
            lastRow = i;
        }
        for (const char *stem : kRowStems)
            c(cell(stem, i, side)).setVisible(present);
    }
    if (lastRow > 0)
        c(QStringLiteral("grpStatus%1").arg(side)).setProperty(QStringLiteral("bevelRows"), lastRow);
}

void MeetSelection::chkDualClick()
{
    const bool dual = isDual();
    for (const QString &name : secondColumnControls())
        c(name).setEnabled(dual);
    const bool ncaa = isNcaa();
    c(QStringLiteral("rgrpRotation")).setEnabled(ncaa);
    c(QStringLiteral("lblMust1")).setText(dual || ncaa ? QStringLiteral("(Required)") : QStringLiteral("(Optional)"));
    if (m_sessions && m_sessions->isOpen())
        cboSession1PropertiesChange();
}

// ---------------------------------------------------------------- operator API

bool MeetSelection::operate(const QString &name, const std::function<void(LogicalControl &)> &action)
{
    LogicalControl *control = m_controls.find(name);
    if (!control) {
        m_lastError = QStringLiteral("There is no control named %1.").arg(name);
        return false;
    }
    if (!control->isEnabled()) {
        m_lastError = !isDual() && secondColumnControls().contains(name)
                          ? QStringLiteral("Session column 2 is followed in dual-session display only.")
                          : QStringLiteral("The selection cannot be changed while the generator runs.");
        return false;
    }
    action(*control);
    return true;
}

bool MeetSelection::checkSide(int side)
{
    if (side == 1 || side == 2)
        return true;
    m_lastError = QStringLiteral("The session column must be 1 or 2, not %1.").arg(side);
    return false;
}

bool MeetSelection::selectMeet(int meetId)
{
    LogicalControl &lookup = c(QStringLiteral("dblcboMeets"));
    const int index = lookup.property(QStringLiteral("keys")).toList().indexOf(QVariant(meetId));
    if (index < 0) {
        m_lastError = QStringLiteral("There is no meet with MeetID %1.").arg(meetId);
        return false;
    }
    return operate(lookup.name(), [index](LogicalControl &control) { control.operatorSelect(index); });
}

bool MeetSelection::selectEventGroup(int side, int eventId)
{
    if (!checkSide(side))
        return false;
    LogicalControl &lookup = c(QStringLiteral("dblcboEvent%1").arg(side));
    const QVariantList keys = lookup.property(QStringLiteral("keys")).toList();
    const auto found = std::find_if(keys.begin(), keys.end(), [eventId](const QVariant &k) { return k.toLongLong() == eventId; });
    if (found == keys.end()) {
        m_lastError = QStringLiteral("There is no event group with EventID %1.").arg(eventId);
        return false;
    }
    const int index = int(found - keys.begin());
    return operate(lookup.name(), [index](LogicalControl &control) { control.operatorSelect(index); });
}

bool MeetSelection::setSessions(int side, const QStringList &sessions)
{
    if (!checkSide(side))
        return false;
    if (sessions.size() > 4) {
        m_lastError = QStringLiteral("At most four sessions can be followed in one column, not %1.")
                          .arg(sessions.size());
        return false;
    }
    const QStringList boxes = sessionBoxes(side);
    for (const QString &session : sessions) {
        if (!c(boxes[0]).items().contains(session)) {
            m_lastError = QStringLiteral("Session \"%1\" is not a session of the selected meet.").arg(session);
            return false;
        }
    }
    for (const QString &box : boxes) {
        if (!operate(box, [](LogicalControl &) {}))
            return false;
    }
    // The additional boxes first, so the primary box's change sees them.
    for (int k = 3; k >= 0; --k)
        c(boxes[k]).operatorSetText(sessions.value(k));
    return true;
}

bool MeetSelection::setTickedEvents(int side, const QList<int> &events)
{
    if (!checkSide(side))
        return false;
    // Only the events the selected group has can be shown.
    const int count = numEvents(side);
    for (int event : events) {
        if (event < 1 || event > std::min(count, 6)) {
            m_lastError = count <= 0
                              ? QStringLiteral("No event group is selected, so event %1 cannot be shown.").arg(event)
                              : QStringLiteral("Event %1 is not in the selected event group, which has %2 events.")
                                    .arg(event)
                                    .arg(count);
            return false;
        }
    }
    for (int i = 1; i <= 6; ++i) {
        if (!operate(cell("chkEvent", i, side), [](LogicalControl &) {}))
            return false;
    }
    for (int i = 1; i <= 6; ++i) {
        LogicalControl &box = c(cell("chkEvent", i, side));
        if (box.isChecked() != events.contains(i))
            box.operatorSetChecked(events.contains(i));
    }
    return true;
}

bool MeetSelection::setEventPaused(int eventNumber, int side, bool paused)
{
    if (eventNumber < 1 || eventNumber > 6 || (side != 1 && side != 2)) {
        m_lastError = QStringLiteral("There is no event %1 in session column %2.").arg(eventNumber).arg(side);
        return false;
    }
    return operate(cell("chkPause", eventNumber, side),
                   [paused](LogicalControl &box) { box.operatorSetChecked(paused); });
}

bool MeetSelection::setDual(bool dual)
{
    if (isDual() == dual)
        return true;
    return operate(QStringLiteral("chkDual"), [dual](LogicalControl &box) { box.operatorSetChecked(dual); });
}

bool MeetSelection::setNcaa(bool ncaa)
{
    if (isNcaa() == ncaa)
        return true;
    return operate(QStringLiteral("chkNCAA"), [ncaa](LogicalControl &box) { box.operatorSetChecked(ncaa); });
}

bool MeetSelection::setRotation(int rotation)
{
    LogicalControl &group = c(QStringLiteral("rgrpRotation"));
    if (!isNcaa()) {
        m_lastError = QStringLiteral("The rotation is followed in NCAA mode only.");
        return false;
    }
    if (rotation < 1 || rotation > group.items().size()) {
        m_lastError =
            QStringLiteral("Rotation %1 is not offered; there are %2.").arg(rotation).arg(group.items().size());
        return false;
    }
    return operate(group.name(), [rotation](LogicalControl &control) { control.operatorSelect(rotation - 1); });
}

// ---------------------------------------------------------------- reading

int MeetSelection::numEvents(int side) const
{
    const TableCursor *cursor = eventDisp(side);
    return cursor ? cursor->value(QStringLiteral("NumEvents")).toInt() : 0;
}

QString MeetSelection::eventTitle(int side, int eventNumber) const
{
    const TableCursor *cursor = eventDisp(side);
    if (!cursor || eventNumber < 1 || eventNumber > 6)
        return QString();
    return cursor->value(QStringLiteral("Event%1").arg(eventNumber)).toString();
}

bool MeetSelection::isEventTicked(int eventNumber, int side) const
{
    const LogicalControl *box = m_controls.find(cell("chkEvent", eventNumber, side));
    return box && box->isChecked();
}

bool MeetSelection::isDual() const
{
    return checked(QStringLiteral("chkDual"));
}

bool MeetSelection::isNcaa() const
{
    return checked(QStringLiteral("chkNCAA"));
}

QString MeetSelection::primarySession(int side) const
{
    return c(sessionBoxes(side).first()).text();
}

QVariant MeetSelection::eventGroupId(int side) const
{
    const TableCursor *cursor = eventDisp(side);
    return cursor ? cursor->value(QStringLiteral("EventID")) : QVariant();
}

namespace {
QVariant meetField(const TableCursor *meets, const char *field)
{
    if (!meets || !meets->isOpen() || !meets->hasRow())
        return QVariant();
    return meets->value(QString::fromLatin1(field));
}
} // namespace

bool MeetSelection::MeetsUseDBonus() const
{
    return meetField(m_meets.get(), "UseDBonus").toBool();
}

bool MeetSelection::MeetsUseJNBonus() const
{
    return meetField(m_meets.get(), "UseJNBonus").toBool();
}

bool MeetSelection::MeetsScoreMethod() const
{
    return meetField(m_meets.get(), "ScoreMethod").toInt() == 1;
}

} // namespace kestra
