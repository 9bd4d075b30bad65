#pragma once

#include <QString>
#include <QStringList>

#include <array>
#include <stdexcept>

namespace kestra {

// One queued results page: a line of bracketed fields and nothing else, as
// the results window's queue shows it. Fields are numbered from 1.

// The text behind the n-th "[" up to the first "]" after it; empty when the
// line has fewer than n opening brackets.
QString QueueField(const QString &line, int n);

// A queue line that cannot be built: a field holds no number where one is
// needed, or the line is not a page at all.
class PageLineError : public std::runtime_error {
public:
    explicit PageLineError(const QString &message) : std::runtime_error(message.toStdString()), m_message(message) {}
    const QString &message() const { return m_message; }

private:
    QString m_message;
};

// An event or all-around page: 27 fields.
struct EventPageLine {
    static constexpr int kFields = 27;

    QString channel = QStringLiteral("1"); // "1", "2" or "3"
    QString title;
    QString eventName;     // an apparatus title, or "AA"
    int eventNumber = 1;   // 1..6, -1 for the all-around
    int eventGroup = 0;
    QString levels;        // 'L1','L2'
    QString gyms;          // 3,7
    QString sessions;      // '1','2B'
    QString upperDates;    // yyyy-mm-dd,yyyy-mm-dd
    QString lowerDates;
    QString places = QStringLiteral("0");
    bool foreignNoPlace = false;
    bool ncaa = false;
    std::array<int, 4> meets{0, -1, -1, -1};
    std::array<QString, 4> multipliers{QStringLiteral("1.00"), QStringLiteral("0.00"), QStringLiteral("0.00"),
                                       QStringLiteral("0.00")};
    bool twoAttempts = false;
    int twoScore = 0;
    bool method1 = false;
    bool international = false;
    bool incExhib = true;

    QString compose() const;
    // Reads a line as the page builds read it: "1" is true, numbers are
    // strict (PageLineError naming the field otherwise), the channel reads 1
    // when it is not a number.
    static EventPageLine read(const QString &line);
    // The multiplier text of a percentage, "0.00": 100 gives "1.00".
    static QString multiplierOf(int percent);
};

// A team page: 23 fields.
struct TeamPageLine {
    static constexpr int kFields = 23;

    QString channel = QStringLiteral("1"); // "4" for the NCAA matrix
    QString title;
    int eventGroup = 0;
    QString levels;
    QString sessions;
    QString upperDates;
    QString lowerDates;
    QString scoreCount = QStringLiteral("0");
    int teamField = -1; // 1, 2, 3; -1 for none
    QString places = QStringLiteral("0");
    bool ncaa = false;
    QString teamIds;     // 'A','B'
    int designation = 0; // 0 by Gym, 1 by ID, 2 by AA
    QString aaCount = QStringLiteral("0");
    bool grid = false;
    int meet = 0;
    int twoScore = 0;
    int numEvents = 0;
    bool method1 = false;
    bool international = false;

    QString compose() const;
    static TeamPageLine read(const QString &line);
    // The matrix takes a team page that is both NCAA and grid.
    bool isMatrix() const { return ncaa && grid; }
};

namespace ResultsPage {
// Field 1 as a number, 1 when it is not one.
int channelOf(const QString &line);
// Field 3 reads "Team".
bool isTeam(const QString &line);
// Why a line cannot be built: the number of its fields for its kind, a field
// that holds no number where one is needed; empty for a good line. The
// message names the field.
QString problemOf(const QString &line);
} // namespace ResultsPage

} // namespace kestra
