#pragma once

// The two datagram formats that tell who is up next on an apparatus, read
// without any socket: bytes in, at most one now-up change out.

#include <QByteArrayView>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <optional>

namespace kestra {

// One change of a now-up line of session column 1. Empty texts clear the line.
struct NowUpAction {
    int eventNumber = 0;
    QString num;
    QString name;
    QString gym;

    bool clears() const { return num.isEmpty() && name.isEmpty() && gym.isEmpty(); }
    bool operator==(const NowUpAction &) const = default;
};

// Why a datagram changed nothing. Malformed faults are the sender's mistakes
// worth telling; ignored ones are datagrams meant for somebody else or with
// nothing to do, which the formats allow.
enum class NowUpFault {
    None,
    // Malformed: the XML datagram did not go through.
    XmlNotWellFormed,
    XmlMissingEventNumber,
    XmlBadEventNumber,
    XmlMissingItem,
    // Ignored.
    XmlOtherRoot,
    LineOtherWord,
    LineNoEventNumber,
    LineBadEventNumber,
};

bool isMalformed(NowUpFault fault);
// A short stable name of the fault, for log lines and their rate limit.
QString faultName(NowUpFault fault);

struct NowUpParse {
    std::optional<NowUpAction> action;
    NowUpFault fault = NowUpFault::None;
    // What was wrong, in words, when there is a fault.
    QString detail;

    bool malformed() const { return isMalformed(fault); }
};

// The ports of the two formats.
inline constexpr quint16 kNowUpXmlPort = 51521;
inline constexpr quint16 kNowUpLinePort = 23467;

// A decimal integer with an optional sign; blanks around it are allowed.
// Empty for anything else, including values beyond 32 bits.
std::optional<int> parseEventNumber(QStringView text);

// An XML document whose root element decides: NewScore (attribute Ev_Num)
// clears the line of that event; NowUp (attributes Ev_Num, Num, FName, LName
// and a child element Gym) fills it. Any other root is ignored. Names match
// exactly, and texts are taken as they stand. A document that is not well
// formed, or a NewScore or NowUp that lacks an item or has an event number that
// is not an integer, is malformed and gives no action. Trailing NUL bytes, as
// some senders end their buffers, are dropped before parsing.
NowUpParse parseNowUpXml(QByteArrayView datagram, int nameFormat);

// Splits comma text: items are separated by a comma or by a run of blanks and
// control characters; an item that begins with a double quote runs to the
// matching quote (or to the end when there is none), and a doubled quote in it
// stands for one. A comma at the very end adds an empty item.
QStringList splitCommaText(QStringView text);

// A comma line: "SCOREGEN,<any>,<event>,<number>,<name>" fills the line of the
// event with the number and the name trimmed of blanks, gym empty;
// "SCOREGEN-LAST,<any>,<event>" clears it. The word is compared case-
// sensitively. An event number that is missing, not an integer, or not above
// 0 does nothing. The text is UTF-8 when the bytes are valid UTF-8 and
// Latin-1 otherwise, and ends at the first NUL byte.
NowUpParse parseScoreGenLine(QByteArrayView datagram);

// The datagram as the line reader sees it, by the rule above.
QString commaLineText(QByteArrayView datagram);

} // namespace kestra
