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

TEST(TextFile, APathThatCannotBeWrittenIsAnErrorThatNamesItAndLeavesNothingBehind)
{
    TempDir dir;
    DisplayRecord record;
    const QString folder = dir.path();
    const QString inMissingFolder = dir.file(QStringLiteral("missing/board.txt"));
    for (const QString &path : {QString(), folder, inMissingFolder}) {
        TextFileWriter writer(record, [&] { return path; }, [] { return false; });
        try {
            writer.WriteOutputFile();
            ADD_FAILURE() << "written: " << path.toStdString();
        } catch (const OutputFileError &error) {
            const QString text = QString::fromStdString(error.what());
            EXPECT_TRUE(text.startsWith(QStringLiteral("The output file was not written: "))) << error.what();
            if (!path.isEmpty())
                EXPECT_TRUE(text.contains(path)) << error.what();
        }
    }
    EXPECT_FALSE(QFile::exists(inMissingFolder));
}

namespace {

// The block whose document tests/data/outputs/known-block.xml holds.
void fillKnownBlock(DisplayRecord &r)
{
    using namespace layout;
    r.pack(eventTitle(1), QStringLiteral("VAULT"));
    r.pack(eventNum(1), QStringLiteral("12"));
    r.pack(eventName(1), QStringLiteral("Zoë & Bea Bell"));
    r.pack(eventGym(1), QStringLiteral("Harbor Gym\x01")); // control bytes go with the blanks
    r.pack(eventScore(1), QStringLiteral(" 9.650"));
    r.pack(eventDScore(1), QStringLiteral("4.10"));
    r.pack(eventEScore(1), QStringLiteral("5.550"));
    r.pack(eventND(1), QStringLiteral("0.1"));
    r.pack(eventDBonus(1), QStringLiteral("0.100"));
    r.pack(eventEBonus(1), QStringLiteral("0.2"));
    r.pack(eventTitle(6), QStringLiteral("FLOOR"));
    r.pack(nowUpTitle(2), QStringLiteral("BARS"));
    r.pack(nowUpNum(2), QStringLiteral("7"));
    r.pack(nowUpName(2), QStringLiteral("  Kira Moss"));
    r.pack(nowUpGym(2), QStringLiteral("Valley"));
    r.pack(leaderTitle1(1), QStringLiteral("All-Around"));
    r.pack(leaderTitle2(1), QStringLiteral("Lvl 9"));
    r.pack(leaderRank(1, 1), QStringLiteral(" 1"));
    r.pack(leaderName(1, 1), QStringLiteral("Ana Bell"));
    r.pack(leaderGym(1, 1), QStringLiteral("Harbor"));
    r.pack(leaderScore(1, 1), QStringLiteral(" 38.450"));
    r.pack(leaderRank(1, 8), QStringLiteral(" 8"));
    r.pack(leaderName(1, 8), QStringLiteral("Zoe Quinn"));
    r.pack(Field{486 + 30 + 8 * 49, 49}, QByteArrayView("ninth line")); // never written out
    r.pack(ncaaTeam(1), QStringLiteral("Michigan"));
    r.pack(ncaaEvent(1), QStringLiteral("FLOOR"));
    r.pack(ncaaLineupName(1, 1), QStringLiteral("Ana Bell"));
    r.pack(ncaaLineupScore(1, 1), QStringLiteral("9.850"));
    r.pack(ncaaEventTotal(1), QStringLiteral(" 49.300"));
    r.pack(ncaaTeamTotal(1), QStringLiteral("197.050"));
    r.pack(ncaaEventScore(1, 1), QStringLiteral("49.100"));
    r.pack(ncaaEventScore(1, 4), QStringLiteral("49.300"));
    r.pack(ncaaTeam(3), QStringLiteral("Stanford"));
    r.pack(ncaaEvent(3), QStringLiteral("BYE"));
    r.pack(matrixTitle(1), QStringLiteral("VAULT"));
    r.pack(matrixShortTitle(1), QStringLiteral("VT"));
    r.pack(matrixRank(1), QStringLiteral(" 1"));
    r.pack(matrixTeam(1), QStringLiteral("Oklahoma"));
    r.pack(matrixTeamScore(1), QStringLiteral("198.175"));
    r.pack(matrixEventScore(1, 1), QStringLiteral("49.350"));
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

TEST_F(XmlFileTest, AFileThatCannotBeWrittenIsCodeTwoAfterFiveAttempts)
{
    for (const QString &where : {QString(), dir.path(), dir.file(QStringLiteral("missing/scoring.xml"))}) {
        path = where;
        EXPECT_EQ(writer.WriteXmlFile(), DeviceErrors::SendFailed) << where.toStdString();
        EXPECT_FALSE(writer.lastFailure().isEmpty());
    }
    path = dir.file(QStringLiteral("scoring.xml"));
    EXPECT_EQ(writer.sendRecord(), DeviceErrors::Success);
}
