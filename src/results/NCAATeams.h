#pragma once

#include <QString>

#include <array>
#include <cstdint>

namespace kestra {

// One entry of a team's lineup on its current apparatus.
struct NCAALineupEntry {
    QString name;
    QString score; // six characters, or empty while not scored
};

// One team block of the NCAA display: who the team is, which apparatus it is
// on in this rotation, its lineup there, and its totals, all as the texts the
// display block takes.
struct NCAATeamRecord {
    std::int32_t GymID = -1; // -1: an empty record
    QString ShortName;       // Gyms."Short Name"
    std::int32_t Panel = -1; // the session column the team belongs to; -1 if empty
    std::int32_t LineupCount = 0;
    std::int32_t RotationEvent = -1; // event number in this rotation; 0 a bye; -1 not known
    QString EventName;               // upper-case event title, or "BYE"
    QString EventScore;              // total on this rotation's event, seven characters
    QString TeamScore;               // team total, seven characters
    std::array<NCAALineupEntry, 6> Lineup;
    std::array<QString, 6> EventTotals; // per event, "#0.000"

    bool isEmpty() const { return GymID == -1; }
};

// The six team blocks, rows 1 to 6. It lives for the whole run of the program
// and keeps its content after Stop until the next Start rebuilds it.
struct NCAATeams {
    static constexpr int kRows = 6;
    std::array<NCAATeamRecord, kRows> records;

    // Row 1..6; throws std::out_of_range for any other.
    NCAATeamRecord &row(int r) { return records.at(std::size_t(r - 1)); }
    const NCAATeamRecord &row(int r) const { return records.at(std::size_t(r - 1)); }
    // Every record empty.
    void clear() { records = {}; }
};

} // namespace kestra
