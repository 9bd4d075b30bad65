#include "outputs/OutputStatus.h"

namespace kestra {

namespace {

using namespace layout;

// Builds one group's cells row by row.
class GroupBuilder {
public:
    explicit GroupBuilder(StatusGroup &group) : m_group(group) {}

    void data(const QString &name, const Field &field, const QString &placeholder, int row, int column,
              int span = 1)
    {
        m_group.cells.push_back({name, true, field, placeholder, row, column, span});
    }
    void caption(const QString &text, int row, int column, int span = 1)
    {
        const QString name = m_group.name + QStringLiteral("Caption") + QString::number(++m_captions);
        m_group.cells.push_back({name, false, Field{}, text, row, column, span});
    }

private:
    StatusGroup &m_group;
    int m_captions = 0;
};

QString n(int value)
{
    return QString::number(value);
}

} // namespace

OutputStatus::OutputStatus(const DisplayRecord &record, QObject *parent)
    : QObject(parent), m_record(record)
{
    build();
    for (const StatusGroup &group : m_groups) {
        for (const StatusCell &cell : group.cells) {
            m_controls.add(cell.name, cell.placeholder);
            (cell.isData ? m_dataCount : m_captionCount) += 1;
        }
    }
    m_timer.setInterval(1000);
    connect(&m_timer, &QTimer::timeout, this, &OutputStatus::Timer1Timer);
    m_timer.start();
}

void OutputStatus::Timer1Timer()
{
    if (m_shown)
        refresh();
}

void OutputStatus::refresh()
{
    for (const StatusGroup &group : m_groups) {
        for (const StatusCell &cell : group.cells) {
            if (cell.isData)
                m_controls(cell.name).setText(m_record.text(cell.field));
        }
    }
}

void OutputStatus::build()
{
    for (int s = 1; s <= kSlots; ++s) {
        StatusGroup &group = m_groups.emplace_back();
        group.name = QStringLiteral("grpEvent") + n(s);
        group.caption = QStringLiteral("Event #") + n(s);
        const QString p = QStringLiteral("lblEvent") + n(s);
        GroupBuilder b(group);
        b.data(p + QStringLiteral("Title"), eventTitle(s), QStringLiteral("Event"), 0, 0, 2);
        b.data(p + QStringLiteral("Num"), eventNum(s), QStringLiteral("Num"), 0, 2);
        b.data(p + QStringLiteral("Name"), eventName(s), QStringLiteral("Name"), 0, 3, 4);
        b.data(p + QStringLiteral("Gym"), eventGym(s), QStringLiteral("Gym"), 1, 3, 4);
        b.data(p + QStringLiteral("Score"), eventScore(s), QStringLiteral("19.999"), 1, 0, 2);
        b.caption(QStringLiteral("D:"), 2, 0);
        b.data(p + QStringLiteral("DScore"), eventDScore(s), QStringLiteral("00.00"), 2, 1);
        b.caption(QStringLiteral("E:"), 2, 2);
        b.data(p + QStringLiteral("EScore"), eventEScore(s), QStringLiteral("00.000"), 2, 3);
        b.caption(QStringLiteral("ND:"), 2, 4);
        b.data(p + QStringLiteral("ND"), eventND(s), QStringLiteral("-0.0"), 2, 5);
        b.caption(QStringLiteral("D+:"), 3, 0);
        b.data(p + QStringLiteral("DBonus"), eventDBonus(s), QStringLiteral("0.000"), 3, 1);
        b.caption(QStringLiteral("E+:"), 3, 2);
        b.data(p + QStringLiteral("EBonus"), eventEBonus(s), QStringLiteral("0.0"), 3, 3);
    }

    for (int page = 1; page <= kLeaderPageCount; ++page) {
        StatusGroup &group = m_groups.emplace_back();
        group.name = QStringLiteral("grpLeader") + n(page);
        group.caption = QStringLiteral("Leader ") + n(page);
        const QString p = QStringLiteral("lblLeader") + n(page);
        GroupBuilder b(group);
        b.data(p + QStringLiteral("Title1"), leaderTitle1(page), QStringLiteral("Title1"), 0, 0, 2);
        b.data(p + QStringLiteral("Title2"), leaderTitle2(page), QStringLiteral("Title2"), 0, 2, 2);
        b.caption(QStringLiteral("PL"), 1, 0);
        b.caption(QStringLiteral("Name"), 1, 1);
        b.caption(QStringLiteral("Score"), 1, 2);
        b.caption(QStringLiteral("Gym"), 1, 3);
        for (int k = 1; k <= kLeaderLinesShown; ++k) {
            b.data(p + QStringLiteral("Rank") + n(k), leaderRank(page, k), QStringLiteral("99"), k + 1, 0);
            b.data(p + QStringLiteral("Name") + n(k), leaderName(page, k), QStringLiteral("Name"), k + 1, 1);
            b.data(p + QStringLiteral("Score") + n(k), leaderScore(page, k), QStringLiteral("000.000"), k + 1, 2);
            b.data(p + QStringLiteral("Gym") + n(k), leaderGym(page, k), QStringLiteral("Gym"), k + 1, 3);
        }
    }

    for (int g = 1; g <= kNcaaGroupCount; ++g) {
        StatusGroup &group = m_groups.emplace_back();
        group.name = QStringLiteral("grpNCAA") + n(g);
        group.caption = QStringLiteral("NCAA ") + n(g);
        const QString p = QStringLiteral("lblNCAA") + n(g);
        GroupBuilder b(group);
        b.data(p + QStringLiteral("Team"), ncaaTeam(g), QStringLiteral("Team"), 0, 0, 4);
        b.data(p + QStringLiteral("Event"), ncaaEvent(g), QStringLiteral("Event"), 0, 4, 2);
        for (int line = 1; line <= kNcaaLineupLines; ++line) {
            b.data(p + QStringLiteral("Name") + n(line), ncaaLineupName(g, line), QStringLiteral("Name"), line, 0, 4);
            b.data(p + QStringLiteral("Score") + n(line), ncaaLineupScore(g, line), QStringLiteral("19.999"), line, 4, 2);
        }
        b.caption(QStringLiteral("EVENT TOTAL:"), 7, 0, 4);
        b.data(p + QStringLiteral("EventTotal"), ncaaEventTotal(g), QStringLiteral("000.000"), 7, 4, 2);
        b.caption(QStringLiteral("TEAM TOTAL:"), 8, 0, 4);
        b.data(p + QStringLiteral("TeamTotal"), ncaaTeamTotal(g), QStringLiteral("000.000"), 8, 4, 2);
        for (int e = 1; e <= 6; ++e) {
            const int row = e <= 3 ? 9 : 10;
            const int column = 2 * ((e - 1) % 3);
            b.caption(QStringLiteral("E") + n(e) + QStringLiteral(":"), row, column);
            b.data(p + QStringLiteral("E") + n(e), ncaaEventScore(g, e), QStringLiteral("00.000"), row, column + 1);
        }
    }

    {
        StatusGroup &group = m_groups.emplace_back();
        group.name = QStringLiteral("grpNCAAMatrix");
        group.caption = QStringLiteral("NCAA Matrix");
        const QString p = QStringLiteral("lblMatrix");
        GroupBuilder b(group);
        b.caption(QStringLiteral("PL"), 0, 0);
        b.caption(QStringLiteral("Gym"), 0, 1);
        b.caption(QStringLiteral("Total"), 0, 2);
        for (int e = 1; e <= kMatrixEvents; ++e)
            b.data(p + QStringLiteral("Title") + n(e), matrixTitle(e), QStringLiteral("EVENT") + n(e), 0, 2 + e);
        for (int r = 1; r <= kMatrixRows; ++r) {
            b.data(p + QStringLiteral("Rank") + n(r), matrixRank(r), QStringLiteral("99"), r, 0);
            b.data(p + QStringLiteral("Team") + n(r), matrixTeam(r), QStringLiteral("Team"), r, 1);
            b.data(p + QStringLiteral("Score") + n(r), matrixTeamScore(r), QStringLiteral("000.000"), r, 2);
            for (int e = 1; e <= kMatrixEvents; ++e) {
                b.data(p + QStringLiteral("Row") + n(r) + QStringLiteral("E") + n(e), matrixEventScore(r, e),
                       QStringLiteral("00.000"), r, 2 + e);
            }
        }
    }

    {
        StatusGroup &group = m_groups.emplace_back();
        group.name = QStringLiteral("grpNowUp");
        group.caption = QStringLiteral("Now Up");
        GroupBuilder b(group);
        for (int s = 1; s <= kSlots; ++s) {
            const QString p = QStringLiteral("lblNowUp") + n(s);
            b.caption(QStringLiteral("#") + n(s) + QStringLiteral(":"), s - 1, 0);
            b.data(p + QStringLiteral("Title"), nowUpTitle(s), QStringLiteral("Event"), s - 1, 1);
            b.data(p + QStringLiteral("Num"), nowUpNum(s), QStringLiteral("Num"), s - 1, 2);
            b.data(p + QStringLiteral("Name"), nowUpName(s), QStringLiteral("Name"), s - 1, 3);
            b.data(p + QStringLiteral("Gym"), nowUpGym(s), QStringLiteral("Gym"), s - 1, 4);
        }
    }
}

} // namespace kestra
