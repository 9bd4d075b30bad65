#include "outputs/BoardDecoder.h"
#include "outputs/BoardMirror.h"

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

TEST(DaktronicsDecoder, AGoodDatagramGivesItsAddressAndData)
{
    DaktronicsDecoder decoder;
    const DecodeResult result = decoder.decodeDatagram(kDBonusFrame);
    ASSERT_TRUE(result.errors.isEmpty()) << result.errors.join(QLatin1Char('\n')).toStdString();
    ASSERT_EQ(result.frames.size(), 1u);
    EXPECT_EQ(result.frames[0].address, 3429);
    EXPECT_EQ(result.frames[0].data, QByteArray("0.100 "));
}

TEST(DaktronicsDecoder, CorruptedDatagramsAreRejectedWithAReason)
{
    const struct {
        const char *what;
        QByteArray datagram;
        const char *reason;
    } cases[] = {
        {"start byte", withByte(kDBonusFrame, 0, '\x15'), "start byte"},
        {"header zeros", withByte(kDBonusFrame, 3, '1'), "header"},
        {"0x01", withByte(kDBonusFrame, 9, '\x02'), "header"},
        {"00401", withByte(kDBonusFrame, 13, '1'), "header"},
        {"address digit", withByte(kDBonusFrame, 17, 'x'), "five digits"},
        {"0x02", withByte(kDBonusFrame, 20, '\x03'), "header"},
        {"data byte", withByte(kDBonusFrame, 23, '2'), "checksum"},
        {"checksum", withByte(kDBonusFrame, 29, 'C'), "checksum"},
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
        const DecodeResult result = decoder.decodeDatagram(c.datagram);
        EXPECT_TRUE(result.frames.empty()) << c.what;
        ASSERT_EQ(result.errors.size(), 1) << c.what;
        EXPECT_TRUE(result.errors[0].contains(QLatin1String(c.reason))) << c.what << ": " << result.errors[0].toStdString();
    }
}

TEST(DaktronicsDecoder, UnknownAddressesInsideTheBlockAreTaken)
{
    DaktronicsDecoder decoder;
    const DecodeResult result = decoder.decodeDatagram(
        QByteArray("\x16" "00000000" "\x01" "00401" "00100" "\x02" "AB" "\x04" "F0" "\x17"));
    ASSERT_EQ(result.frames.size(), 1u) << result.errors.join(QLatin1Char(' ')).toStdString();
    EXPECT_EQ(result.frames[0].address, 100);
}

TEST(DaktronicsDecoder, AStreamFindsFramesSplitJoinedAndAmidNoise)
{
    DaktronicsDecoder decoder;
    const QByteArray stream = QByteArray("noise") + kDBonusFrame + kEBonusFrame + QByteArray("\x16junk-junk-junk-junk-junk")
                              + kDBonusFrame;
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
    EXPECT_FALSE(errors.isEmpty());

    // Joined in one read.
    DaktronicsDecoder joined;
    const DecodeResult r = joined.feed(kDBonusFrame + kEBonusFrame);
    EXPECT_EQ(r.frames.size(), 2u);
    EXPECT_TRUE(r.errors.isEmpty());
}

TEST(DaktronicsDecoder, AStreamDropsABadFrameAndKeepsTheNext)
{
    DaktronicsDecoder decoder;
    const DecodeResult r = decoder.feed(withByte(kDBonusFrame, 23, '9') + kEBonusFrame);
    ASSERT_EQ(r.frames.size(), 1u);
    EXPECT_EQ(r.frames[0].address, 5696);
    ASSERT_EQ(r.errors.size(), 1);
    EXPECT_TRUE(r.errors[0].contains(QLatin1String("checksum")));
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
    ASSERT_EQ(shown.size(), 1);
    EXPECT_TRUE(shown[0].endsWith(QStringLiteral("ND 0.3  @ Harbor Gym"))) << shown[0].toStdString();
    shown = board.apply({3429, "0.100 "});
    ASSERT_EQ(shown.size(), 1);
    EXPECT_TRUE(shown[0].contains(QStringLiteral("D+ 0.100  @ Harbor Gym"))) << shown[0].toStdString();
    // The same bytes again change nothing a spectator sees.
    EXPECT_TRUE(board.apply({2261, "Harbor Gym          "}).isEmpty());
    // A blank keeps the title.
    QByteArray blank = "VAULT" + QByteArray(76, ' ');
    board.apply({2261, QByteArray(20, ' ')});
    board.apply({3429, QByteArray(6, ' ')});
    EXPECT_EQ(board.apply({0, blank}), QStringList{QStringLiteral("EVENT 1  VAULT   (blank)")});
}

TEST(BoardMirror, NowUpLeaderNcaaAndMatrixInShortForm)
{
    BoardMirror board;
    EXPECT_EQ(board.apply({5611, QByteArray("RINGS 7   Kira Moss").leftJustified(50) + QByteArray("Valley").leftJustified(20)}),
              QStringList{QStringLiteral("NOW UP 6  RINGS   #7     Kira Moss  @ Valley")});

    QByteArray page(471, ' ');
    page.replace(0, 12, "All-Around  ");
    page.replace(20, 5, "Lvl 9");
    page.replace(30, 49, QByteArray(" 1Ana Bell").leftJustified(42) + " 38.450");
    const QStringList leader = board.apply({1428, page});
    ASSERT_EQ(leader.size(), 2);
    EXPECT_EQ(leader[0], QStringLiteral("LEADER 3  All-Around / Lvl 9"));
    EXPECT_EQ(leader[1], QStringLiteral("     1  Ana Bell                   38.450"));

    QByteArray group(362, ' ');
    group.replace(0, 8, "Michigan");
    group.replace(20, 5, "FLOOR");
    group.replace(26, 8, "Ana Bell");
    group.replace(302, 14, " 49.300197.050");
    EXPECT_EQ(board.apply({1899, group}),
              QStringList{QStringLiteral("NCAA 1  Michigan  FLOOR  lineup 1  event 49.300  team 197.050")});

    QByteArray matrix(308, ' ');
    matrix.replace(0, 5, "VAULT");
    matrix.replace(48, 29, QByteArray(" 1Oklahoma").leftJustified(22) + "198.175");
    EXPECT_EQ(board.apply({2861, matrix}), QStringList{QStringLiteral("MATRIX  [VAULT]  1 Oklahoma 198.175")});
    EXPECT_TRUE(board.apply({3169, QByteArray(260, ' ')}).isEmpty());
}
