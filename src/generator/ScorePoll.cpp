#include "generator/ScorePoll.h"

#include "generator/GeneratorContext.h"
#include "meetdb/MeetStore.h"
#include "setup/KestraSettings.h"
#include "support/Formatting.h"
#include "support/LogicalControl.h"
#include "support/TickSource.h"

#include <algorithm>

namespace kestra {

namespace {

QString controlName(const char *stem, int event, int side)
{
    return QLatin1String(stem) + QString::number(event) + QString::number(side);
}

QString digit(int side)
{
    return QString::number(side);
}

// A field of the current row of a table component. No table or no row is a
// failure of the selection, told like any other database failure.
QVariant currentValue(GeneratorContext &context, const QString &table, const QString &field)
{
    TableCursor *cursor = context.table(table);
    if (!cursor || !cursor->isOpen() || !cursor->hasRow()) {
        throw StoreError(StoreError::Kind::Database, context.store().backend(),
                         QStringLiteral("The table %1 has no current row, so %2 is not known.").arg(table, field));
    }
    return cursor->value(field);
}

} // namespace

QStringList ScoreQueueSql(int meetId, int eventId, int event, const SessionBoxes &sessions)
{
    QStringList sql;
    sql << QStringLiteral("select ScoreQueue.*, g2.\"Short Name\" from ScoreQueue s, Gymnasts g1, Gyms g2");
    sql << QStringLiteral("where s.MeetID = ") + QString::number(meetId);
    sql << QStringLiteral("and s.EventID = ") + QString::number(eventId);
    sql << QStringLiteral("and s.Event = ") + QString::number(event);
    sql << QStringLiteral("and g1.meetid = s.meetid");
    sql << QStringLiteral("and g1.num = s.num");
    sql << QStringLiteral("and g1.gym = g2.gymid");
    if (!sessions[0].isEmpty()) {
        sql << QStringLiteral("and (s.Session = ") + SqlDialect::quoteString(sessions[0]);
        for (std::size_t i = 1; i < sessions.size(); ++i) {
            if (!sessions[i].isEmpty())
                sql << QStringLiteral("or s.Session = ") + SqlDialect::quoteString(sessions[i]);
        }
        sql << QStringLiteral(")");
    }
    sql << QStringLiteral("and s.DataID not in (select DataId from QueueDone where AppID = ") +
               QString::number(kQueueAppId) + QStringLiteral(")");
    sql << QStringLiteral("order by s.DT");
    return sql;
}

ScorePoll::ScorePoll(GeneratorContext &context)
    : m_context(context), m_lines(context.record(), context)
{
    resetTeams(0, 0);
}

std::int64_t ScorePoll::now() const
{
    return static_cast<std::int64_t>(m_context.ticks().tickCount());
}

SessionBoxes ScorePoll::sessionBoxes(int side) const
{
    const ControlSet &controls = m_context.controls();
    const QString stem = QStringLiteral("cboSession") + digit(side);
    return {controls(stem).text(), controls(stem + QLatin1Char('x')).text(),
            controls(stem + QLatin1Char('y')).text(), controls(stem + QLatin1Char('z')).text()};
}

void ScorePoll::tick(int side)
{
    // Controls and slots exist for six events; a group that claims more is
    // served for its first six.
    const int numEvents = std::min(m_context.numEvents(side), 6);
    if (numEvents <= 0)
        return;
    const QString eventTable = QStringLiteral("EventDisp") + digit(side);
    const int meetId = currentValue(m_context, QStringLiteral("Meets"), QStringLiteral("MeetID")).toInt();
    const int eventId = currentValue(m_context, eventTable, QStringLiteral("EventID")).toInt();
    takeRows(side, meetId, eventId, numEvents);
    showAndExpire(side, numEvents);
}

void ScorePoll::takeRows(int side, int meetId, int eventId, int numEvents)
{
    ControlSet &controls = m_context.controls();
    const KestraSettings &settings = m_context.settings();
    const SessionBoxes sessions = sessionBoxes(side);

    for (int i = 1; i <= numEvents; ++i) {
        const bool ticked = controls(controlName("chkEvent", i, side)).isChecked();
        const bool paused = controls(controlName("chkPause", i, side)).isChecked();
        EventSlot &slot = m_context.eventSlots().at(i - 1).at(side - 1);
        // A held score keeps its event from even asking.
        if (slot.HoldUntil != 0)
            continue;

        QueryResult row = m_context.store().query(
            ScoreQueueSql(meetId, eventId, i, sessions).join(QStringLiteral("\r\n")));
        LogicalControl &editNum = controls(controlName("EditNum", i, side));
        LogicalControl &editScore = controls(controlName("EditScore", i, side));
        LogicalControl &editWait = controls(controlName("EditWait", i, side));

        if (!row.isEmpty() && ticked && !paused) {
            slot.HoldUntil = -(now() + std::int64_t(settings.Interval) * 1000);
            slot.WaitUntil = now() + std::int64_t(settings.IntervalMax) * 1000;

            auto text = [&](const char *field) { return row.value(QLatin1String(field)).toString(); };
            auto number = [&](const char *field) { return row.value(QLatin1String(field)).toDouble(); };
            slot.Num = row.value(QStringLiteral("Num")).toInt();
            slot.FName = text("FName");
            slot.LName = text("LName");
            slot.Level = text("Level");
            slot.Session = text("Session");
            slot.ShortName = text("Short Name");
            slot.Event = row.value(QStringLiteral("Event")).toInt();
            slot.EventID = row.value(QStringLiteral("EventID")).toInt();
            slot.Score = number("Score");
            slot.Changed = row.value(QStringLiteral("Changed")).toBool();
            slot.Judge1 = number("Judge1");
            slot.Judge2 = number("Judge2");
            slot.Judge3 = number("Judge3");
            slot.Judge4 = number("Judge4");
            slot.Judge5 = number("Judge5");
            slot.Judge6 = number("Judge6");
            slot.Judge7 = number("Judge7");
            slot.Adjust = number("Adjust");
            slot.Start = number("Start");
            slot.BScore = number("BScore");
            slot.DBonus = number("DBonus");
            slot.EBonus = number("EBonus");

            // Marked only once the slot holds the row: a failed insert shows the
            // score and leaves the row to be taken again, never lost.
            m_context.store().execute(QStringLiteral("insert into QueueDone (AppID, DataID) values (") +
                                      QString::number(kQueueAppId) + QStringLiteral(", ") +
                                      row.value(QStringLiteral("DataID")).toString() + QStringLiteral(")"));

            editNum.setText(QString::number(slot.Num));
            editScore.setText(formatFloat(slot.Score, QStringLiteral("#0.000")).left(6));
            editWait.setText(QString::number(row.recordCount() - 1));
        } else if (slot.WaitUntil == 0) {
            editNum.setText(QString());
            editScore.setText(QString());
            editWait.setText(QString());
        }
    }
}

void ScorePoll::showAndExpire(int side, int numEvents)
{
    for (int i = 1; i <= numEvents; ++i) {
        EventSlot &slot = m_context.eventSlots().at(i - 1).at(side - 1);
        if (slot.HoldUntil == 0) {
            // An idle slot is blanked again on every tick, on purpose: the
            // board comes back to its titles however it was disturbed.
            if (now() >= slot.WaitUntil) {
                m_lines.BlankEventLine(i, side);
                slot.WaitUntil = 0;
            }
            continue;
        }
        if (slot.HoldUntil < 0) {
            m_lines.FillEventLine(slot, side);
            slot.HoldUntil = -slot.HoldUntil;
            if (m_context.controls()(QStringLiteral("chkNCAA")).isChecked())
                noteTeamOf(slot.Num, i, side);
        }
        if (now() >= slot.HoldUntil)
            slot.HoldUntil = 0;
    }
}

void ScorePoll::noteTeamOf(int num, int event, int side)
{
    TableCursor *gymnasts = m_context.table(QStringLiteral("Gymnasts"));
    if (!gymnasts || !gymnasts->isOpen())
        return;
    const QVariant meetId = currentValue(m_context, QStringLiteral("Meets"), QStringLiteral("MeetID"));
    // The table only remembers where teams were last seen, so a gymnast who is
    // not found leaves whatever row the cursor is on, as it always has.
    gymnasts->locate(QStringLiteral("MeetID;Num"), {meetId, num});
    if (!gymnasts->hasRow())
        return;
    const bool onATeam = !gymnasts->value(QStringLiteral("Team1")).toString().isEmpty() ||
                         !gymnasts->value(QStringLiteral("Team2")).toString().isEmpty() ||
                         !gymnasts->value(QStringLiteral("Team3")).toString().isEmpty();
    if (onATeam)
        NoteTeamOnEvent(gymnasts->value(QStringLiteral("Gym")).toInt(), event, side);
}

void ScorePoll::resetTeams(int eventCount1, int eventCount2)
{
    for (auto &cells : m_teamOnEvent)
        cells = {-1, -1};
    m_eventCount = {eventCount1, eventCount2};
}

void ScorePoll::NoteTeamOnEvent(int team, int event, int session)
{
    std::int32_t &cell = m_teamOnEvent.at(event - 1).at(session - 1);
    if (cell == team)
        return;
    const int count = std::min(m_eventCount.at(session - 1), int(m_teamOnEvent.size()));
    for (int e = 1; e <= count; ++e) {
        std::int32_t &other = m_teamOnEvent[e - 1][session - 1];
        if (other == team)
            other = -1;
    }
    cell = team;
}

int ScorePoll::teamOnEvent(int event, int session) const
{
    return m_teamOnEvent.at(event - 1).at(session - 1);
}

} // namespace kestra
