// The targets that take the whole block: Barco frames, the text file and the
// XML file, byte for byte.
#include "ScriptedLines.h"

#include "outputs/Barco.h"
#include "outputs/DebugTrace.h"
#include "outputs/DisplayRecord.h"
#include "outputs/MeetFlags.h"
#include "outputs/TextFile.h"
#include "outputs/XmlFile.h"
#include "support/TestSupport.h"

#include <QFile>

#include <algorithm>

#include <gtest/gtest.h>

using namespace kestra;
using namespace kestra::test;

namespace {

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
}

} // namespace

TEST(Barco, TheWholeBlockBetweenStxAndEtxAgainAndAgain)
{
    DisplayRecord record;
    record.pack(layout::eventTitle(1), QStringLiteral("VAULT"));
    record.pack(layout::eventEBonus(6), QStringLiteral("0.2"));
    ScriptedLineLog log;
    auto transport = scriptedTransport(log);
    DebugTrace trace;
    BarcoWriter writer(record, *transport, trace);
    const QByteArray expected = "\x02VAULT" + QByteArray(5694 - 3, ' ') + "0.2\x03";
    ASSERT_EQ(expected.size(), 5701);
    EXPECT_EQ(writer.sendRecord(), DeviceErrors::Success);
    EXPECT_EQ(writer.SendBarcoRecord(), DeviceErrors::Success);
    EXPECT_EQ(log.written, (QList<QByteArray>{expected, expected}));
    EXPECT_EQ(log.kinds, (QList<FrameKind>{FrameKind::Record, FrameKind::Record}));
}

TEST(TextFile, BlockAndLineEndWithStxEtxAsTheBoxSaysAtEachTick)
{
    TempDir dir;
    DisplayRecord record;
    record.pack(layout::nowUpName(6), QStringLiteral("Zoë"));
    bool stxEtx = false;
    const QString path = dir.file(QStringLiteral("board.txt"));
    TextFileWriter writer(record, [&] { return path; }, [&] { return stxEtx; });
    const QByteArray block = QByteArray(5611 + 10, ' ') + "Zo\xEB" + QByteArray(5699 - 5611 - 13, ' ');
    ASSERT_EQ(block.size(), 5699);

    EXPECT_EQ(writer.WriteOutputFile(), DeviceErrors::Success);
    EXPECT_EQ(readFile(path), block + "\r\n");
    stxEtx = true;
    EXPECT_EQ(writer.sendRecord(), DeviceErrors::Success);
    EXPECT_EQ(readFile(path), "\x02" + block + "\x03\r\n");
    EXPECT_EQ(readFile(path).size(), 5703);
}

TEST(TextFile, APathThatCannotBeWrittenIsAnErrorThatNamesIt)
{
    TempDir dir;
    DisplayRecord record;
    for (const QString &path : {QString(), dir.path(), dir.file(QStringLiteral("missing/board.txt"))}) {
        TextFileWriter writer(record, [&] { return path; }, [] { return false; });
        try {
            writer.WriteOutputFile();
            ADD_FAILURE() << "written: " << path.toStdString();
        } catch (const OutputFileError &error) {
            EXPECT_TRUE(QString::fromStdString(error.what()).startsWith(QStringLiteral("The output file was not written: ")));
            EXPECT_TRUE(QString::fromStdString(error.what()).contains(path.isEmpty() ? QStringLiteral("no output file") : path));
        }
    }
}

namespace {

// The block whose document tests/data/outputs/known-block.xml holds.
void fillKnownBlock(DisplayRecord &r)
{
    using namespace layout;
    const std::pair<Field, const char *> fields[] = {
        {eventTitle(1), "VAULT"}, {eventNum(1), "12"}, {eventName(1), "Zoë & Bea Bell"},
        {eventGym(1), "Harbor Gym\x01"}, // control bytes go with the blanks
        {eventScore(1), " 9.650"}, {eventDScore(1), "4.10"}, {eventEScore(1), "5.550"}, {eventND(1), "0.1"},
        {eventDBonus(1), "0.100"}, {eventEBonus(1), "0.2"}, {eventTitle(6), "FLOOR"},
        {nowUpTitle(2), "BARS"}, {nowUpNum(2), "7"}, {nowUpName(2), "  Kira Moss"}, {nowUpGym(2), "Valley"},
        {leaderTitle1(1), "All-Around"}, {leaderTitle2(1), "Lvl 9"}, {leaderRank(1, 1), " 1"},
        {leaderName(1, 1), "Ana Bell"}, {leaderGym(1, 1), "Harbor"}, {leaderScore(1, 1), " 38.450"},
        {leaderRank(1, 8), " 8"}, {leaderName(1, 8), "Zoe Quinn"},
        {Field{486 + 30 + 8 * 49, 49}, "ninth line"}, // never written out
        {ncaaTeam(1), "Michigan"}, {ncaaEvent(1), "FLOOR"}, {ncaaLineupName(1, 1), "Ana Bell"},
        {ncaaLineupScore(1, 1), "9.850"}, {ncaaEventTotal(1), " 49.300"}, {ncaaTeamTotal(1), "197.050"},
        {ncaaEventScore(1, 1), "49.100"}, {ncaaEventScore(1, 4), "49.300"}, {ncaaTeam(3), "Stanford"},
        {ncaaEvent(3), "BYE"}, {matrixTitle(1), "VAULT"}, {matrixShortTitle(1), "VT"}, {matrixRank(1), " 1"},
        {matrixTeam(1), "Oklahoma"}, {matrixTeamScore(1), "198.175"}, {matrixEventScore(1, 1), "49.350"},
    };
    for (const auto &[field, text] : fields)
        r.pack(field, QString::fromUtf8(text));
}

class XmlFileTest : public ::testing::Test {
protected:
    TempDir dir;
    DisplayRecord record;
    FixedMeetFlags meet;
    QString path = dir.file(QStringLiteral("scoring.xml"));
    int rotation = 2;
    XmlFileWriter writer{record, meet, [this] { return path; }, [this] { return rotation; }};
};

} // namespace

TEST_F(XmlFileTest, TheDocumentOfAKnownBlockLineByLine)
{
    fillKnownBlock(record);
    meet.useJNBonus = true;
    ASSERT_EQ(writer.WriteXmlFile(), DeviceErrors::Success);
    // Kept as UTF-8 with LF in the repository; written in ISO-8859-1 with CR LF.
    QByteArray expected = QString::fromUtf8(readFile(sourceDir() + QStringLiteral("/tests/data/outputs/known-block.xml")))
                              .toLatin1();
    expected.replace("\n", "\r\n");
    const QByteArray written = readFile(path);
    EXPECT_EQ(written, expected);
    EXPECT_TRUE(written.contains("name=\"Zo\xEB & Bea Bell\" "));
}

TEST_F(XmlFileTest, BonusAttributesComeWithTheMeetFlagsAndRotationStandsTwice)
{
    const struct {
        bool useD;
        bool useJN;
        const char *tail; // of event 1, after escore
    } cases[] = {
        {false, false, "escore=\"\" nd=\"\" />"},
        {true, false, "escore=\"\" dbonus=\"\" nd=\"\" />"},
        {false, true, "escore=\"\" dbonus=\"\" ebonus=\"\" nd=\"\" />"},
    };
    for (const auto &c : cases) {
        meet.useDBonus = c.useD;
        meet.useJNBonus = c.useJN;
        writer.buildDocument();
        EXPECT_TRUE(writer.lines().at(3).endsWith(c.tail)) << writer.lines().at(3).toStdString();
    }
    rotation = 5;
    writer.buildDocument();
    EXPECT_EQ(std::count_if(writer.lines().begin(), writer.lines().end(),
                            [](const QByteArray &line) { return line.contains("rotation=\"5\" "); }),
              2);
}
