#pragma once

#include "meetdb/MeetStore.h"

#include <QDateTime>
#include <QList>
#include <QString>

#include <memory>

namespace kestra::DevStore {

// Opens the store of an address for development use, making the folder or
// the server database of the alias when it is missing.
std::unique_ptr<MeetStore> openOrCreate(const QString &address,
                                        const QString &alias = MeetSchema::defaultAlias());

// Creates the whole schema. Returns false, touching nothing, when the
// database already holds tables and `force` is not set; with `force` every
// table is dropped first.
bool createSchema(MeetStore &store, bool force);

// Fills an empty schema with a deterministic sample: three meets ("Spring
// Classic 2024", bonuses and ScoreMethod 1; "Winter Quad 2024", a college
// meet without bonus; "Collegiate Six 2024", six college teams rotating with
// two byes), women's, men's and college event groups, 16 gyms with Attend
// rows and some neutral deductions, 332 gymnasts over 5 sessions,
// rotations with byes, age groups by ages and by dates, age dates, one Host
// row pointing at meet 1, and reference lists. Throws StoreError.
void seed(MeetStore &store);

// Counts of what seed() writes, for tests and the tool's summary.
struct SeedSummary {
    int meets = 0;
    int gyms = 0;
    int gymnasts = 0;
    int sessions = 0;
    int rotations = 0;
};
SeedSummary seedSummary(MeetStore &store);

// One score as the scoring product publishes it.
struct FeedScore {
    int dataId = 0;
    int meetId = 0;
    int eventId = 0;
    int event = 0;
    QString session;
    int num = 0;
    QString firstName, lastName, level, apparatus;
    QDateTime dt;
    int judges = 0;
    double judge[7] = {};
    double start = 0, bscore = 0, adjust = 0, dbonus = -99, ebonus = -99, score = 0;
};

struct FeedOptions {
    int meetId = 0;  // 0: the Host row's LastMeet
    QString session; // empty: every session of the meet, in order
};

// Publishes scores for the gymnasts of a meet who have none yet, in rotation
// order: rotation by rotation, each squad on the apparatus its squad string
// names (0 is a bye), competitors by their apparatus order, squads taking
// turns. Each score appends a ScoreQueue row and writes the gymnast's score
// fields in one transaction.
//
// The rule: the panel has Meets.Num_Judges judges (1 to 7, 4 when unset);
// each judge's E score is near the gymnast's form, in steps of 0.05; BScore
// is their average, the highest and lowest dropped when there are four or
// more; Start is the difficulty; Adjust a neutral deduction (0 mostly);
// DBonus and EBonus are 0.0 to 0.3 where the meet uses them and -99 where it
// does not; Score = Start + BScore - Adjust + the bonuses used. Unused judge
// fields are -99 in the queue and null on the gymnast; AA is the sum of the
// gymnast's finals. Scores are a fixed function of meet, number and
// apparatus, so a feed repeats exactly.
class ScoreFeed {
public:
    ScoreFeed(MeetStore &store, const FeedOptions &options);

    int meetId() const { return m_meetId; }
    // Scores still to publish.
    int remaining() const { return int(m_plan.size()) - m_next; }
    // Publishes the next score; false when there is none left.
    bool publish(FeedScore *published = nullptr);

private:
    struct Entry {
        int num;
        int event;
    };
    void plan(const QString &onlySession);

    MeetStore &m_store;
    int m_meetId = 0;
    int m_judges = 4;
    bool m_useDBonus = false;
    bool m_useEBonus = false;
    QList<Entry> m_plan;
    int m_next = 0;
    QDateTime m_lastDt;
};

} // namespace kestra::DevStore
