#pragma once

#include <QString>

#include <cstdint>

namespace kestra {

// One event of one session column: the last score row taken from the queue
// and the two deadlines that decide how long it stays up. Only HoldUntil and
// WaitUntil are ever reset; the rest keeps the last row until overwritten.
struct EventSlot {
    std::int32_t Num = 0;
    QString FName;
    QString LName;
    QString Level;
    QString Session;
    QString ShortName; // the gym, Gyms."Short Name"
    std::int32_t EventID = 0;
    std::int32_t Event = 0; // the event number 1..6 within the Events row
    double Score = 0;
    double Judge1 = 0;
    double Judge2 = 0;
    double Judge3 = 0;
    double Judge4 = 0;
    double Judge5 = 0;
    double Judge6 = 0;
    double Judge7 = 0;
    double Adjust = 0; // neutral deduction; -99 for none
    double Start = 0;  // D score
    double BScore = 0; // E score
    double DBonus = 0; // -99 for none
    double EBonus = 0; // -99 for none
    bool Changed = false;
    // 0: nothing held; negative: taken this tick, not yet sent (the magnitude
    // is the deadline); positive: sent and held until this tick count.
    std::int64_t HoldUntil = 0;
    // 0: nothing up; positive: the tick count at which the line is blanked.
    std::int64_t WaitUntil = 0;
};

} // namespace kestra
