// The virtual board's side: frames decoded from datagrams and streams, and
// what a spectator sees of them.
#include "outputs/BoardDecoder.h"
#include "outputs/BoardMirror.h"
#include "outputs/DebugTrace.h"
#include "outputs/DeviceTransport.h"
#include "outputs/MeetFlags.h"
#include "outputs/WhiteWay.h"

#include <vector>

#include <gtest/gtest.h>

using namespace kestra;

namespace {

// Frames spelled out by hand, checksums worked out for their bytes.
const QByteArray kDBonusFrame("\x16" "00000000" "\x01" "00401" "03429" "\x02" "0.100 " "\x04" "8D" "\x17");
const QByteArray kEBonusFrame = QByteArray("\x16" "00000000" "\x01" "00401" "05696" "\x02" "0.1" "\x04" "15" "\x17");

QByteArray withByte(QByteArray frame, int index, char value)
{
    frame[index] = value;
    return frame;
}

} // namespace

TEST(DaktronicsDecoder, DatagramsAreTakenOrRejectedWithAReason)
{
    const struct {
        const char *what;
        QByteArray datagram;
        const char *reason; // null: taken
        int address = 0;
    } cases[] = {
        {"good", kDBonusFrame, nullptr, 3429},
        {"an address inside the block no field starts at",
         QByteArray("\x16" "00000000" "\x01" "00401" "00100" "\x02" "AB" "\x04" "F0" "\x17"), nullptr, 100},
        {"start byte", withByte(kDBonusFrame, 0, '\x15'), "start byte"},
        {"00401", withByte(kDBonusFrame, 13, '1'), "header"},
        {"address digit", withByte(kDBonusFrame, 17, 'x'), "five digits"},
        {"data byte", withByte(kDBonusFrame, 23, '2'), "checksum"},
        {"end byte", withByte(kDBonusFrame, 30, '\x03'), "end byte"},
        {"0x04", withByte(kDBonusFrame, 27, '\x05'), "0x04"},
        {"truncated", kDBonusFrame.left(20), "too short"},
        {"two frames in one datagram", kDBonusFrame + kDBonusFrame, "checksum"},
        // A good checksum over the wrong length for the address.
        {"length", QByteArray("\x16" "00000000" "\x01" "00401" "03429" "\x02" "0.100" "\x04" "6D" "\x17"), "where 6 belong"},
        // A good checksum, data past the end of the block.
        {"past the end", QByteArray("\x16" "00000000" "\x01" "00401" "05698" "\x02" "ab" "\x04" "4B" "\x17"), "past the end"},
    };
    DaktronicsDecoder decoder;
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        const DecodeResult result = decoder.decodeDatagram(c.datagram);
        if (!c.reason) {
            ASSERT_EQ(result.frames.size(), 1u) << result.errors.join(QLatin1Char(' ')).toStdString();
            EXPECT_EQ(result.frames[0].address, c.address);
            continue;
        }
        EXPECT_TRUE(result.frames.empty());
        ASSERT_EQ(result.errors.size(), 1);
        EXPECT_TRUE(result.errors[0].contains(QLatin1String(c.reason))) << result.errors[0].toStdString();
    }
    EXPECT_EQ(decoder.decodeDatagram(kDBonusFrame).frames.at(0).data, QByteArray("0.100 "));
}

TEST(DaktronicsDecoder, AStreamFindsFramesSplitJoinedAndAmidNoiseAndDropsABadOne)
{
    DaktronicsDecoder decoder;
    const QByteArray stream = QByteArray("noise") + kDBonusFrame + kEBonusFrame + QByteArray("\x16junk-junk-junk-junk-junk")
                              + withByte(kDBonusFrame, 23, '9') + kDBonusFrame;
    std::vector<BoardFrame> frames;
    QStringList errors;
    // One byte at a time, the worst a serial line can do.
    for (char byte : stream) {
        DecodeResult r = decoder.feed(QByteArrayView(&byte, 1));
        frames.insert(frames.end(), r.frames.begin(), r.frames.end());
        errors += r.errors;
    }
    ASSERT_EQ(frames.size(), 3u) << errors.join(QLatin1Char('\n')).toStdString();
    EXPECT_EQ(frames[0].address, 3429);
    EXPECT_EQ(frames[1].address, 5696);
    EXPECT_EQ(frames[1].data, QByteArray("0.1"));
    EXPECT_EQ(frames[2].address, 3429);
    EXPECT_TRUE(errors.join(QLatin1Char(' ')).contains(QLatin1String("checksum")));

    // Joined in one read.
    DaktronicsDecoder joined;
    const DecodeResult r = joined.feed(kDBonusFrame + kEBonusFrame);
    EXPECT_EQ(r.frames.size(), 2u);
    EXPECT_TRUE(r.errors.isEmpty());
}

TEST(BoardMirror, AnEventLinePrintsWithItsGymAndBonuses)
{
    BoardMirror board;
    const QByteArray line = "VAULT 12  Ana Bell                                14.2005.50 8.700 0.3           ";
    ASSERT_EQ(line.size(), 81);
    QStringList shown = board.apply({0, line});
    ASSERT_EQ(shown.size(), 1);
    EXPECT_EQ(shown[0], QStringLiteral("EVENT 1  VAULT   #12    Ana Bell                   14.200  D 5.50  E 8.700  ND 0.3"));
    shown = board.apply({2261, "Harbor Gym          "});
    EXPECT_TRUE(shown.value(0).endsWith(QStringLiteral("ND 0.3  @ Harbor Gym"))) << "the line again, with its gym";
    // The same bytes again change nothing a spectator sees.
    EXPECT_TRUE(board.apply({2261, "Harbor Gym          "}).isEmpty());
    // A blank keeps the title.
    QByteArray blank = "VAULT" + QByteArray(76, ' ');
    board.apply({2261, QByteArray(20, ' ')});
    board.apply({3429, QByteArray(6, ' ')});
    EXPECT_EQ(board.apply({0, blank}), QStringList{QStringLiteral("EVENT 1  VAULT   (blank)")});
}

TEST(WhiteWayDecoder, EveryPageGoesBackIntoItsFieldsFromDatagramsOrAByteStreamOfUnknownProtocol)
{
    DisplayRecord source;
    for (int i = 0; i < DisplayRecord::size(); ++i)
        source.pack(Field{i, 1}, QByteArrayView(QByteArray(1, char('a' + i % 26))));
    DeviceTransport unused;
    FixedMeetFlags meet;
    meet.useJNBonus = true;
    DebugTrace trace;
    WhiteWayWriter writer(source, unused, meet, trace);
    QByteArray frames;
    for (int s = 1; s <= 6; ++s)
        frames += writer.eventFrame(s) + writer.nowUpFrame(s);
    for (int p = 1; p <= 3; ++p)
        frames += writer.leaderFrame(p);
    frames += writer.ncaaFrame() + writer.matrixFrame();

    // A board holds all but what no page carries: the unused bytes of event
    // lines and group 1, the ninth leader lines, the NCAA event scores.
    QByteArray expected = source.bytes();
    std::vector<Field> unsent{{2215, 46}, layout::kNcaaEventScores};
    for (int i = 1; i <= 6; ++i)
        unsent.push_back({layout::eventLine(i).offset + 71, 10});
    for (int p = 1; p <= 3; ++p)
        unsent.push_back({layout::leaderPage(p).offset + 30 + 8 * 49, 49});
    for (const Field &f : unsent)
        expected.replace(f.offset, f.length, QByteArray(f.length, ' '));

    for (const qsizetype bite : {qsizetype(0), qsizetype(7)}) { // whole datagrams, then a stream in bites
        BoardMirror board;
        AutoDecoder decoder; // as the virtual board reads, recognising the protocol
        QStringList errors;
        for (qsizetype at = 0; at < frames.size();) {
            const qsizetype size = bite ? qMin(bite, frames.size() - at) : frames.indexOf('\n', at) + 1 - at;
            const QByteArrayView piece = QByteArrayView(frames).sliced(at, size);
            const DecodeResult r = bite ? decoder.feed(piece) : decoder.decodeDatagram(piece);
            errors += r.errors;
            for (const BoardFrame &f : r.frames)
                board.apply(f);
            at += size;
        }
        EXPECT_TRUE(errors.isEmpty()) << errors.join(QLatin1Char(' ')).toStdString();
        EXPECT_EQ(board.record().bytes(), expected) << "bite " << bite;
        if (bite) {
            EXPECT_EQ(decoder.protocol(), QStringLiteral("White Way"));
        }
    }
}

TEST(BarcoDecoder, TheWholeBlockFromADatagramOrAStreamThatAnAutoDecoderKeepsTo)
{
    const QByteArray block = QByteArray("VAULT").leftJustified(5699, ' ');
    const QByteArray frame = '\x02' + block + '\x03';
    EXPECT_EQ(BarcoDecoder().decodeDatagram(frame).frames.at(0).data, block);
    EXPECT_TRUE(BarcoDecoder().decodeDatagram(frame.left(5700)).errors.at(0).contains(QLatin1String("5700 bytes")));

    AutoDecoder stream;
    EXPECT_TRUE(stream.feed(frame.left(3000)).frames.empty());
    const DecodeResult r = stream.feed(frame.mid(3000) + QByteArray(frame).replace(5700, 1, "x") + frame);
    EXPECT_EQ(stream.protocol(), QStringLiteral("Barco"));
    ASSERT_EQ(r.frames.size(), 2u); // the one completed, the bad one dropped, the next one
    EXPECT_EQ(r.frames[1].data, block);
    EXPECT_TRUE(r.errors.join(QLatin1Char(' ')).contains(QLatin1String("no end byte 0x03")));
}
