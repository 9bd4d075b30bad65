// kestra-headless running the results pages alone from a pages file, as a
// station would; the leader pages arrive on a loopback board.
#include "outputs/BoardDecoder.h"
#include "outputs/BoardMirror.h"

#include "integration/app/ChildProgram.h"
#include "support/MainRig.h"

#include <QFile>
#include <QNetworkDatagram>
#include <QUdpSocket>

using namespace kestra;
using namespace kestra::test;

namespace {

class ResultsPagesProcessTest : public testing::Test {
protected:
    TempDir home;
    TempDir meet;
    void SetUp() override { seedMeet(meet.path())->close(); }

    QString writePages(const QByteArray &text)
    {
        QFile file(home.file(S("pages.txt")));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
        return file.fileName();
    }
    QString composed(const QStringList &picks)
    {
        ChildProgram compose("src/app/kestra-headless", QStringList{S("--store"), meet.path(), S("--compose-page")} + picks,
                             &home);
        EXPECT_EQ(compose.finish(), 0) << compose.errors().toStdString();
        return compose.output().trimmed();
    }
};

TEST_F(ResultsPagesProcessTest, AComposedQueueCyclesItsTitlesOnTheBoard)
{
    const QString vault = composed({S("event=VAULT"), S("channel=2"), S("title=Level 4 Vault")});
    ASSERT_TRUE(vault.startsWith(S("[2][Level 4 Vault][Events][VAULT][1][1]"))) << vault.toStdString();
    const QString teams = composed({S("event=Team"), S("title=Team Race")});
    const QString pages = writePages("# a station's queue\n\n" + vault.toUtf8() + "\n" + teams.toUtf8() + "\n");

    QUdpSocket board;
    ASSERT_TRUE(board.bind(QHostAddress(QHostAddress::LocalHost), 0));
    ChildProgram run("src/app/kestra-headless",
                     {S("--store"), meet.path(), S("--results-only"), S("--pages"), pages, S("--page-seconds"), S("5"),
                      S("--target"), S("daktronics"), S("--set"), S("Options/COMPort=UDP"), S("--set"),
                      S("Options/UDPPort=") + QString::number(board.localPort()), S("--set"),
                      S("Options/IPAddr=127.0.0.1")},
                     &home);
    DaktronicsDecoder decoder;
    BoardMirror mirror;
    const auto titles = [&] {
        while (board.hasPendingDatagrams()) {
            for (const BoardFrame &frame : decoder.decodeDatagram(board.receiveDatagram().data()).frames)
                mirror.apply(frame);
        }
        return mirror.record().text(layout::leaderTitle1(1)).trimmed() + S("|") +
               mirror.record().text(layout::leaderTitle1(2)).trimmed();
    };
    EXPECT_TRUE(waitUntil([&] { return titles() == S("Team Race|Level 4 Vault"); }, std::chrono::seconds(20)))
        << titles().toStdString() << run.errors().toStdString();
    EXPECT_EQ(run.signal(SIGTERM), 0) << run.errors().toStdString();
    EXPECT_TRUE(run.errors().contains(S("running: the results pages alone"))) << run.errors().toStdString();
}

TEST_F(ResultsPagesProcessTest, ABadQueueLineIsRefusedBeforeAnythingRuns)
{
    const QString pages = writePages("[1][x][Events][VAULT][one][1]\n");
    ChildProgram run("src/app/kestra-headless",
                     {S("--store"), meet.path(), S("--results-only"), S("--pages"), pages}, &home);
    EXPECT_EQ(run.finish(), 2);
    EXPECT_EQ(run.errors().trimmed(),
              S("kestra-headless: --pages %1 line 1: an event page has 27 fields, this line has 6").arg(pages));
    ChildProgram one("src/app/kestra-headless",
                     {S("--page"), S("[1][][Team][1][][][][][x][-1][][0][0][0][][0][0][0][1][0][4][1][0]")}, &home);
    EXPECT_EQ(one.finish(), 2);
    EXPECT_EQ(one.errors().trimmed(),
              S("kestra-headless: --page 1: field 9 (scores to count) holds \"x\", not a whole number"));
}

} // namespace
