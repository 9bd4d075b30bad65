#pragma once

namespace kestra {

// The flags of the meet in use that reach the writers: fields of the current
// Meets row. Each is false while the table is closed or has no rows.
class MeetFlags {
public:
    virtual ~MeetFlags() = default;
    virtual bool MeetsUseDBonus() const = 0;
    virtual bool MeetsUseJNBonus() const = 0;
    // ScoreMethod equals 1: the outputs show a score's parts.
    virtual bool MeetsScoreMethod() const = 0;
};

// Flags held as plain values, for tools and for a meet read once.
class FixedMeetFlags final : public MeetFlags {
public:
    bool useDBonus = false;
    bool useJNBonus = false;
    bool scoreMethod1 = false;

    bool MeetsUseDBonus() const override { return useDBonus; }
    bool MeetsUseJNBonus() const override { return useJNBonus; }
    bool MeetsScoreMethod() const override { return scoreMethod1; }
};

} // namespace kestra
