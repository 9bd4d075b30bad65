// Several writers at once on one key, as Kestra and the scoring product share
// the Marlowen key. The lock is taken on a file of its own per writer, so
// threads with a store each exclude one another as processes do.
#include "setup/SettingsStore.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>

#include <atomic>
#include <thread>
#include <vector>

using namespace kestra;
using kestra::test::TempDir;

namespace {

constexpr int Writers = 4;
constexpr int WritesPerWriter = 80;

// Writer w puts value i into a section of its own for even i and into one
// all writers share for odd i.
QString sectionOf(int w, int i)
{
    return i % 2 ? QStringLiteral("Shared") : QStringLiteral("Writers\\W%1").arg(w);
}

// Values that hold what their writer wrote where it wrote them; -1 for any other.
int countValues(const SettingsDocument &doc)
{
    int values = 0;
    for (const QString &section : doc.sections()) {
        for (const QString &name : doc.names(section)) {
            const int w = name.section(QLatin1Char('_'), 0, 0).toInt(), i = name.section(QLatin1Char('_'), 1).toInt();
            if (doc.ReadInteger(section, name, -1) != w * 1000 + i || section.compare(sectionOf(w, i), Qt::CaseInsensitive))
                return -1;
            ++values;
        }
    }
    return values;
}

} // namespace

TEST(SettingsConcurrency, WritersAtOnceLoseNoValueAndAReaderSeesOnlyWholeFiles)
{
    TempDir dir;
    const QString path = dir.file(QStringLiteral("Marlowen.ini"));
    std::atomic<bool> stop{false};
    int reads = 0, faults = 0;
    std::thread reader([&] {
        int last = 0;
        while (!stop.load()) {
            QFile file(path);
            if (!file.open(QIODevice::ReadOnly))
                continue;
            const QByteArray bytes = file.readAll();
            const SettingsDocument doc = SettingsDocument::parse(bytes);
            const int values = countValues(doc);
            faults += (!bytes.isEmpty() && !bytes.endsWith('\n')) + doc.unreadableLines() + (values < last);
            last = values;
            ++reads;
        }
    });
    std::atomic<int> failed{0};
    std::vector<std::thread> writers;
    for (int w = 0; w < Writers; ++w) {
        writers.emplace_back([&, w] {
            SettingsStore key(path);
            for (int i = 0; i < WritesPerWriter; ++i)
                failed += !key.WriteInteger(sectionOf(w, i), QStringLiteral("%1_%2").arg(w).arg(i), w * 1000 + i);
        });
    }
    for (std::thread &t : writers)
        t.join();
    stop = true;
    reader.join();

    EXPECT_EQ(failed.load(), 0);
    EXPECT_GT(reads, 0);
    EXPECT_EQ(faults, 0);
    const SettingsDocument final = SettingsStore(path).read();
    EXPECT_EQ(countValues(final), Writers * WritesPerWriter) << "every value, each where its writer put it";
    EXPECT_EQ(final.sections().size(), Writers + 1) << "Shared and one section a writer, each once";
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden),
              (QStringList{QStringLiteral("Marlowen.ini"), QStringLiteral("Marlowen.ini.lock")}));
}
