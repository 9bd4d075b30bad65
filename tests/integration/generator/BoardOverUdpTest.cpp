// What a Daktronics board on loopback UDP receives from "Clear Events" and
// from a poll tick: every frame, in order, byte for byte.
#include "generator/DisplayCycle.h"
#include "generator/ScorePoll.h"
#include "outputs/Daktronics.h"

#include "support/GeneratorFixture.h"

#include <QNetworkDatagram>
#include <QUdpSocket>

#include <gtest/gtest.h>

using namespace kestra;
using namespace kestra::test;

namespace {

// Frames are laid out by DaktronicsFrame, pinned byte for byte by its own
// tests and by the one frame written out by hand below.
QByteArray frame(int address, const QByteArray &data)
{
    return DaktronicsFrame(address, data);
}

QByteArray titled(const char *title, int width)
{
    return QByteArray(title).leftJustified(width, ' ');
}

QList<QByteArray> receive(QUdpSocket &socket, int count)
{
    QList<QByteArray> got;
    waitUntil([&] {
        while (socket.hasPendingDatagrams())
            got.append(socket.receiveDatagram().data());
        return got.size() >= count;
    });
    // Anything more would be a fault too: give it a moment to arrive.
    waitUntil([&] { return socket.hasPendingDatagrams(); }, std::chrono::milliseconds(200));
    while (socket.hasPendingDatagrams())
        got.append(socket.receiveDatagram().data());
    return got;
}

class BoardOverUdpTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(board.bind(QHostAddress(QHostAddress::LocalHost), 0));
        f.addSmallMeet();
        f.daktronicsOverUdp(board.localPort());
    }

    QUdpSocket board;
    GeneratorFixture f;
};

} // namespace

TEST_F(BoardOverUdpTest, ClearEventsSendsTheWholeBoardBlankButTheTitles)
{
    f.tickOnly(1, {1, 2, 4});
    f.record().pack(layout::eventName(2), QStringLiteral("left over"));
    f.record().pack(layout::leaderTitle1(1), QStringLiteral("Vault Leaders"));

    DisplayCycle cycle(f);
    cycle.btnClearClick();

    const QByteArray spaces316(316, ' ');
    const QList<QByteArray> expected = {
        // Event lines of the ticked events, each with its gym: slots 1, 2, 3.
        frame(0, titled("VAULT", 81)), frame(2261, QByteArray(20, ' ')),
        frame(81, titled("BARS", 81)), frame(2281, QByteArray(20, ' ')),
        frame(162, titled("FLOOR", 81)), frame(2301, QByteArray(20, ' ')),
        // Now-up lines.
        frame(5261, titled("VAULT", 70)), frame(5331, titled("BARS", 70)), frame(5401, titled("FLOOR", 70)),
        // Leader pages with their gyms.
        frame(486, QByteArray(471, ' ')), frame(2381, QByteArray(160, ' ')),
        frame(957, QByteArray(471, ' ')), frame(2541, QByteArray(160, ' ')),
        frame(1428, QByteArray(471, ' ')), frame(2701, QByteArray(160, ' ')),
        // NCAA groups and event scores.
        frame(1899, QByteArray(362, ' ')), frame(3465, spaces316), frame(3781, spaces316),
        frame(4097, spaces316), frame(4413, spaces316), frame(4729, spaces316), frame(5045, QByteArray(216, ' ')),
        // The matrix in two parts.
        frame(2861, QByteArray(308, ' ')), frame(3169, QByteArray(260, ' ')),
    };
    const QList<QByteArray> got = receive(board, int(expected.size()));
    ASSERT_EQ(got.size(), expected.size());
    for (int i = 0; i < got.size(); ++i)
        EXPECT_EQ(got[i], expected[i]) << "frame " << i;
    // One frame written out by hand, checksum included.
    EXPECT_EQ(got[6], QByteArray("\x16" "00000000" "\x01" "00401" "05261" "\x02" "VAULT ") + QByteArray(64, ' ') +
                          "\x04" "26" "\x17");
    EXPECT_TRUE(f.recorder.messages.empty());
}

TEST_F(BoardOverUdpTest, APolledScoreGoesUpInItsTickWithTheBonusFrames)
{
    f.store().execute(QStringLiteral("update Meets set UseDBonus = TRUE where MeetID = 1"));
    f.openTables();
    f.tickOnly(1, {2});
    f.setSessions(1, {"1"});
    f.addScore(1, 2, "1", 102, 9.25);

    ScorePoll poll(f);
    poll.tick(1);

    QByteArray line = titled("BARS", 81);
    line.replace(6, 4, "102 ");
    line.replace(10, 9, "F102 L102");
    line.replace(50, 21, " 9.2505.20 4.150 0.1 ");
    const QList<QByteArray> got = receive(board, 3);
    ASSERT_EQ(got.size(), 3);
    EXPECT_EQ(got[0], frame(0, line));
    EXPECT_EQ(got[1], frame(2261, titled("Summit", 20)));
    EXPECT_EQ(got[2], frame(3429, QByteArray(6, ' '))) << "D bonus -99: blank, still sent";
}
