#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <array>
#include <stdexcept>

namespace kestra {

// A run of bytes of the display block: where it starts and how long it is.
struct Field {
    int offset = 0;
    int length = 0;
    constexpr int end() const { return offset + length; }
    constexpr bool operator==(const Field &) const = default;
};

// The byte layout of the display block. Offsets are part of the board
// protocols (they travel in the Daktronics frames, and the whole block goes out
// as it stands to other targets), so nothing here may move.
namespace layout {

constexpr int kRecordSize = 5699;

// Slot, page, line, group, event and row numbers count from 1; a number out of
// range throws rather than lands in a neighbouring field.
constexpr int in(int value, int last)
{
    if (value < 1 || value > last)
        throw std::out_of_range("display block index out of range");
    return value;
}

// The eleven regions, each cleared on its own.
constexpr Field kEventLines{0, 486};
constexpr Field kLeaderPages{486, 1413};
constexpr Field kNcaaGroup1{1899, 362};
constexpr Field kEventGyms{2261, 120};
constexpr Field kLeaderGyms{2381, 480};
constexpr Field kNcaaMatrix{2861, 568};
constexpr Field kEventDBonus{3429, 36};
constexpr Field kNcaaGroups2To6{3465, 1580};
constexpr Field kNcaaEventScores{5045, 216};
constexpr Field kNowUpLines{5261, 420};
constexpr Field kEventEBonus{5681, 18};
constexpr std::array<Field, 11> kRegions{kEventLines,    kLeaderPages,      kNcaaGroup1,
                                         kEventGyms,     kLeaderGyms,       kNcaaMatrix,
                                         kEventDBonus,   kNcaaGroups2To6,   kNcaaEventScores,
                                         kNowUpLines,    kEventEBonus};

constexpr int kSlots = 6;
constexpr int kLeaderPageCount = 3;
constexpr int kLeaderLinesShown = 8;
constexpr int kNcaaGroupCount = 6;
constexpr int kNcaaLineupLines = 6;
constexpr int kMatrixEvents = 6;
constexpr int kMatrixRows = 8;

// Event line of display slot 1..6: 81 bytes, of which the last 10 are never
// written but travel with the line.
constexpr int kEventLineLength = 81;
constexpr Field eventLine(int slot) { return {81 * (in(slot, 6) - 1), kEventLineLength}; }
constexpr Field eventTitle(int slot) { return {81 * (in(slot, 6) - 1) + 0, 6}; }
constexpr Field eventNum(int slot) { return {81 * (in(slot, 6) - 1) + 6, 4}; }
constexpr Field eventName(int slot) { return {81 * (in(slot, 6) - 1) + 10, 40}; }
constexpr Field eventScore(int slot) { return {81 * (in(slot, 6) - 1) + 50, 6}; }
constexpr Field eventDScore(int slot) { return {81 * (in(slot, 6) - 1) + 56, 5}; }
constexpr Field eventEScore(int slot) { return {81 * (in(slot, 6) - 1) + 61, 6}; }
constexpr Field eventND(int slot) { return {81 * (in(slot, 6) - 1) + 67, 4}; }
// Fields of a slot that live outside its line.
constexpr Field eventGym(int slot) { return {2241 + 20 * in(slot, 6), 20}; }
constexpr Field eventDBonus(int slot) { return {3423 + 6 * in(slot, 6), 6}; }
constexpr Field eventEBonus(int slot) { return {5678 + 3 * in(slot, 6), 3}; }

// Now-up line of display slot 1..6.
constexpr int kNowUpLineLength = 70;
constexpr Field nowUpLine(int slot) { return {5191 + 70 * in(slot, 6), kNowUpLineLength}; }
constexpr Field nowUpTitle(int slot) { return {5191 + 70 * in(slot, 6) + 0, 6}; }
constexpr Field nowUpNum(int slot) { return {5191 + 70 * in(slot, 6) + 6, 4}; }
constexpr Field nowUpName(int slot) { return {5191 + 70 * in(slot, 6) + 10, 40}; }
constexpr Field nowUpGym(int slot) { return {5191 + 70 * in(slot, 6) + 50, 20}; }

// Leader page 1..3: two titles and nine lines of 49, of which the ninth is
// never written but travels with the page. Lines are 1..8.
constexpr int kLeaderPageLength = 471;
constexpr Field leaderPage(int page) { return {15 + 471 * in(page, 3), kLeaderPageLength}; }
constexpr Field leaderTitle1(int page) { return {15 + 471 * in(page, 3) + 0, 20}; }
constexpr Field leaderTitle2(int page) { return {15 + 471 * in(page, 3) + 20, 10}; }
constexpr int leaderLineBase(int page, int line) { return 15 + 471 * in(page, 3) + 30 + 49 * (in(line, 8) - 1); }
constexpr Field leaderRank(int page, int line) { return {leaderLineBase(page, line) + 0, 2}; }
constexpr Field leaderName(int page, int line) { return {leaderLineBase(page, line) + 2, 40}; }
constexpr Field leaderScore(int page, int line) { return {leaderLineBase(page, line) + 42, 7}; }
constexpr Field leaderGyms(int page) { return {2221 + 160 * in(page, 3), 160}; }
constexpr Field leaderGym(int page, int line) { return {2221 + 160 * in(page, 3) + 20 * (in(line, 8) - 1), 20}; }

// NCAA group 1..6: group 1 sits apart from the other five.
constexpr int kNcaaGroupLength = 316;
constexpr int ncaaGroupBase(int group) { return in(group, 6) == 1 ? 1899 : 3465 + 316 * (group - 2); }
constexpr Field ncaaGroup(int group) { return {ncaaGroupBase(group), kNcaaGroupLength}; }
constexpr Field ncaaTeam(int group) { return {ncaaGroupBase(group) + 0, 20}; }
constexpr Field ncaaEvent(int group) { return {ncaaGroupBase(group) + 20, 6}; }
constexpr Field ncaaLineupName(int group, int line) { return {ncaaGroupBase(group) + 26 + 46 * (in(line, 6) - 1), 40}; }
constexpr Field ncaaLineupScore(int group, int line) { return {ncaaGroupBase(group) + 66 + 46 * (in(line, 6) - 1), 6}; }
constexpr Field ncaaEventTotal(int group) { return {ncaaGroupBase(group) + 302, 7}; }
constexpr Field ncaaTeamTotal(int group) { return {ncaaGroupBase(group) + 309, 7}; }
// The six event scores of a group, event 1..6, in a region of their own.
constexpr Field ncaaEventScore(int group, int event) { return {5045 + 36 * (in(group, 6) - 1) + 6 * (in(event, 6) - 1), 6}; }

// NCAA matrix: six event heads, then eight rows of 65.
constexpr Field matrixTitle(int event) { return {2861 + 8 * (in(event, 6) - 1), 6}; }
constexpr Field matrixShortTitle(int event) { return {2861 + 8 * (in(event, 6) - 1) + 6, 2}; }
constexpr int matrixRowBase(int row) { return 2909 + 65 * (in(row, 8) - 1); }
constexpr Field matrixRank(int row) { return {matrixRowBase(row) + 0, 2}; }
constexpr Field matrixTeam(int row) { return {matrixRowBase(row) + 2, 20}; }
constexpr Field matrixTeamScore(int row) { return {matrixRowBase(row) + 22, 7}; }
constexpr Field matrixEventScore(int row, int event) { return {matrixRowBase(row) + 29 + 6 * (in(event, 6) - 1), 6}; }

} // namespace layout

// Writes exactly lastIndex + 1 bytes at dest: the text cut to that width, or
// the text followed by spaces. An empty text blanks the field. Every field of
// the display block is written through this. A QString is taken to Latin-1,
// the block's single-byte character set; other characters become '?'.
void PackField(char *dest, int lastIndex, QByteArrayView text);
void PackField(char *dest, int lastIndex, const QString &text);

// The display block: 5,699 single-byte characters, all spaces at start. The
// program keeps one (DisplayRecord::instance()); tests make their own.
class DisplayRecord {
public:
    DisplayRecord();

    static DisplayRecord &instance();

    static constexpr int size() { return layout::kRecordSize; }
    const char *data() const { return m_bytes.data(); }
    QByteArray bytes() const { return QByteArray(m_bytes.data(), size()); }

    // The start of a field, for PackField. Throws std::out_of_range when the
    // field does not lie inside the block.
    char *at(const Field &field);

    // PackField into a field of the block.
    void pack(const Field &field, QByteArrayView text);
    void pack(const Field &field, const QString &text);
    void blank(const Field &field);

    // The bytes of a field as they stand, padding included. Throws
    // std::out_of_range when the field does not lie inside the block.
    QByteArrayView view(const Field &field) const;
    QByteArray read(const Field &field) const { return view(field).toByteArray(); }
    // The same as Latin-1 text, untrimmed.
    QString text(const Field &field) const;

    // All eleven regions, in offset order.
    void clearAll();
    // The three NCAA regions, cleared together before every NCAA update.
    void clearNcaa();

private:
    static void check(const Field &field);
    std::array<char, layout::kRecordSize> m_bytes;
};

} // namespace kestra
