#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <array>
#include <memory>
#include <vector>

namespace kestra {

class MeetStore;

// Sorts values[0..high] in descending order in place: for each index the
// greatest of the rest, the first of equals, is exchanged into it.
template <std::size_t N>
void SelectTop(std::array<double, N> &values, int high)
{
    for (int i = 0; i < high; ++i) {
        int best = i;
        for (int j = i + 1; j <= high; ++j) {
            if (values[std::size_t(j)] > values[std::size_t(best)])
                best = j;
        }
        std::swap(values[std::size_t(i)], values[std::size_t(best)]);
    }
}

// The first n values of two arrays are equal.
template <std::size_t N>
bool SameScores(const std::array<double, N> &a, const std::array<double, N> &b, int n)
{
    for (int i = 0; i < n; ++i) {
        if (a[std::size_t(i)] != b[std::size_t(i)])
            return false;
    }
    return true;
}

// The tie state carried from one row to the next in sorted order:
//   0 tied with neither neighbour                          mark " "
//   1 equal to the next row's score, tie-break decides     "T"
//  -1 tie broken with the previous row, not with the next  "T"
//   2 equal to the next row, tie-break cannot separate     "*"
//  -2 unbroken tie with the previous row, nothing further  "*"
//   3 unbroken with the previous, equal to the next        "*"
//  -3 the previous row was 3                               "T"
QString TieMark(int status);
// A step of the walk: a positive state is negated, a negative one goes to 0.
int StepTieStatus(int status);

// Takes the first date of each of two comma lists, leaving the rest.
std::pair<QString, QString> TakeDatePair(QString &lower, QString &upper);
// "and (", one "(<field> between date 'lower' and date 'upper')" a pair with
// "or" between, ")"; nothing for empty lists.
QStringList BirthdayLines(const QString &field, QString lowerDates, QString upperDates);

// What an event or all-around run takes: the page's meet, filters and rules.
struct EventRun {
    QString kind = QStringLiteral("E"); // "A" all-around, "E" an event
    int meet = 0;
    bool incExhib = true;
    bool twoAttempts = false;
    bool method1 = false;
    bool ncaa = false;
    QString upperDates;
    QString lowerDates;
    QString levels;   // ready for an SQL in list
    QString sessions;
    QString gyms;
    int twoScore = 0;
    int eventNumber = 1;
    int eventGroup = 0;
};

struct TieEntry {
    int Num = -1;
    double AA = 0;
    double Final = 0;
    std::array<double, 18> TB{};
    QString Mark = QStringLiteral(" ");
    int Status = 0;
};

// Orders the competitors of one event or of the all-around, on the local
// copy of the meet, and marks each tie as broken ("T") or not ("*"). In an
// event the tie is answered by the all-around, or with method 1 by the
// B score and then the start value (on the two-attempt event by the better
// attempt); in the all-around with method 1 by the best six, five, ... events,
// then the sums of B scores and start values, otherwise by the best single
// event, the second best and so on.
class TEventTieBreak {
public:
    QString TableName = QStringLiteral("KMRGymnasts");
    QString StatusFilter;       // offered, never set by this program
    bool AddStartValue = false; // likewise
    std::vector<TieEntry> Entries;

    QStringList Statement(const EventRun &run) const;
    void Execute(MeetStore &local, const EventRun &run);
};

// What a team run takes.
struct TeamRun {
    int meet = 0;
    int eventGroup = 0;
    bool method1 = false;
    bool ncaa = false;
    int aaCount = 0;     // all-arounders kept a gym, 0 for all
    int designation = 0; // 0 by gym, 1 by ID, 2 by AA
    int scoreCount = 0;  // scores counted a team and event, 0 for all
    QString lowerDates;
    QString upperDates;
    QString levels;
    QString sessions;
    QString gyms;
    QString teamIDs;
    int teamField = -1; // 1, 2, 3; -1 none
    int numEvents = 0;
    int twoScore = 0;
};

struct TeamAthlete {
    int Num = 0;
    int Gym = 0; // -1: cut by the all-around limit
    QString Team1, Team2, Team3;
    double AA = 0;
    std::array<double, 6> Scores{};
    std::array<bool, 6> Flags{};
    std::array<double, 6> TB{};
    QByteArray SortText; // the team text the sorts compare, as UTF-8
};

struct TeamMember {
    int Num = 0;
    std::array<double, 6> Scores{};
};

struct TeamEntry {
    int Id = -1; // GymID; -1 for a team designated by ID
    QString Key; // the team text, "*" with no team field
    double Total = 0;
    std::array<double, 6> EventTotals{};
    std::array<double, 6> TB{};
    std::vector<TeamMember> Members;
    QString Mark = QStringLiteral(" ");
    int Status = 0;
};

// Forms the teams of a page, adds up each team's counted scores (the best
// scoreCount of each event, only scores above 0, under NCAA only flagged
// ones) with its neutral deduction, and orders and marks them.
class TTeamTieBreak {
public:
    QString TableName = QStringLiteral("KMRGymnasts");
    QString AttendTable = QStringLiteral("Attend");
    bool SortByTeam1 = false; // offered, never set by this program
    std::vector<TeamEntry> Teams;
    std::vector<TeamAthlete> Athletes;

    QStringList Statement(const TeamRun &run) const;
    // The athletes from `local`, the neutral deductions from `remote`.
    void Execute(MeetStore &local, MeetStore &remote, const TeamRun &run);

private:
    QString teamText(const TeamAthlete &athlete, int teamField) const;
};

} // namespace kestra
