// One press of "Show Sample" on each board and file target of the window, as
// the board's socket or the file receives it: the seeded meet 1 (four events,
// both bonus rules) in NCAA mode.
#include "outputs/Daktronics.h"
#include "support/MainRig.h"

#include <QFile>

#include <gtest/gtest.h>

using namespace kestra;
using namespace kestra::test;

namespace {

QByteArray fileBytes(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

TEST(ShowSampleTest, EachTargetGetsTheWholeSampleOnceInItsOrder)
{
    TempDir out;
    const QString file = out.file(S("sample.out"));
    MainRig rig({}, "OutputFileName=" + file.toUtf8() + "\n");
    ASSERT_TRUE(rig.open());
    ASSERT_TRUE(rig.main().selection().setNcaa(true));

    for (OutputTarget target : {OutputTarget::Daktronics, OutputTarget::WhiteWay, OutputTarget::Barco,
                                OutputTarget::File, OutputTarget::XML}) {
        SCOPED_TRACE(int(target));
        ASSERT_TRUE(rig.main().selectTarget(target));
        QFile::remove(file);
        rig.newFrames();
        ASSERT_TRUE(rig.main().showSample()) << rig.main().lastError().toStdString();
        const QByteArray block = rig.record.bytes();
        EXPECT_EQ(block.mid(1899, 20), QByteArray("Rebel Alliance      ")) << "NCAA mode fills the groups";

        if (target == OutputTarget::Daktronics) {
            // Per event: line, gym, D bonus, E bonus, now-up; then the pages
            // with their gyms, the NCAA groups and the matrix in two.
            QList<std::pair<int, int>> runs;
            for (int s = 1; s <= 4; ++s)
                runs << std::pair{81 * (s - 1), 81} << std::pair{2241 + 20 * s, 20} << std::pair{3423 + 6 * s, 6}
                     << std::pair{5678 + 3 * s, 3} << std::pair{5191 + 70 * s, 70};
            for (int p = 1; p <= 3; ++p)
                runs << std::pair{15 + 471 * p, 471} << std::pair{2221 + 160 * p, 160};
            runs << std::pair{1899, 362};
            for (int g = 2; g <= 6; ++g)
                runs << std::pair{3465 + 316 * (g - 2), 316};
            runs << std::pair{5045, 216} << std::pair{2861, 308} << std::pair{3169, 260};
            QList<QByteArray> expected;
            for (const auto &[offset, length] : runs)
                expected << DaktronicsFrame(offset, block.mid(offset, length));
            EXPECT_EQ(rig.newFrames(int(expected.size())), expected);
        } else if (target == OutputTarget::WhiteWay) {
            QStringList pages;
            for (const QByteArray &frame : rig.newFrames(13))
                pages << QString::fromLatin1(frame.mid(0, 11));
            EXPECT_EQ(pages, (QStringList{"w\\99999\\101", "w\\99999\\501", "w\\99999\\102", "w\\99999\\502",
                                          "w\\99999\\103", "w\\99999\\503", "w\\99999\\104", "w\\99999\\504",
                                          "w\\99999\\201", "w\\99999\\202", "w\\99999\\203", "w\\99999\\301",
                                          "w\\99999\\401"}));
        } else if (target == OutputTarget::Barco) {
            EXPECT_EQ(rig.newFrames(1), QList<QByteArray>{"\x02" + block + "\x03"});
        } else if (target == OutputTarget::File) {
            EXPECT_EQ(fileBytes(file), block + "\r\n");
        } else {
            EXPECT_TRUE(fileBytes(file).contains("<grid num=\"1\" team=\"Rebel Alliance\" ")) << fileBytes(file).left(400).toStdString();
            EXPECT_EQ(rig(S("lblStatus")).text(), S("Success"));
        }
        EXPECT_TRUE(rig.newFrames().isEmpty()) << "nothing more";
    }
    EXPECT_TRUE(rig.prompt.messages.empty());

    ASSERT_TRUE(rig.main().selection().setSessions(1, {S("1")}));
    ASSERT_TRUE(rig.main().start());
    EXPECT_FALSE(rig.main().showSample()) << "while stopped only";
}
