// Several writers at once on one key, as Kestra and the scoring product share
// the Marlowen key: threads of this process and copies of this test program
// started as writer processes, with a reader watching the file throughout.
#include "setup/SettingsStore.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

using namespace kestra;
using kestra::test::TempDir;

namespace {

constexpr const char *WriterEnv = "KESTRA_SETTINGS_WRITER";
constexpr int WritesPerWriter = 80;
const QStringList Writers = {"procA", "procB", "thrA", "thrB", "thrC"};

// Writer w puts value i into its own section for even i and into a section
// all writers share for odd i.
QString sectionOf(const QString &w, int i)
{
    return i % 2 ? QStringLiteral("Shared") : QStringLiteral("Writers\\") + w;
}
QString valueOf(const QString &w, int i)
{
    return w + QStringLiteral(" value ") + QString::number(i * 7919);
}

bool writeMany(const QString &path, const QString &w)
{
    SettingsStore key(path);
    bool ok = true;
    for (int i = 0; i < WritesPerWriter; ++i)
        ok = key.WriteString(sectionOf(w, i), w + QLatin1Char('_') + QString::number(i), valueOf(w, i)) && ok;
    return ok;
}

// Started with KESTRA_SETTINGS_WRITER set to "<file>\n<writer>", this program
// is a writer process: it writes and ends before any test runs.
const int writerProcessMode = [] {
    const QList<QByteArray> args = qgetenv(WriterEnv).split('\n');
    if (args.size() != 2)
        return 0;
    const bool ok = writeMany(QString::fromLocal8Bit(args[0]), QString::fromLocal8Bit(args[1]));
    std::fflush(nullptr);
    std::_Exit(ok ? 0 : 3);
}();

// Values in the document that their writer wrote where it wrote them; -1 for
// any other value.
int countValues(const SettingsDocument &doc)
{
    int values = 0;
    for (const QString &section : doc.sections()) {
        for (const QString &name : doc.names(section)) {
            const QString w = name.section(QLatin1Char('_'), 0, 0);
            const int i = name.section(QLatin1Char('_'), 1).toInt();
            if (doc.ReadString(section, name, QString()) != valueOf(w, i)
                || section.compare(sectionOf(w, i), Qt::CaseInsensitive) != 0)
                return -1;
            ++values;
        }
    }
    return values;
}

} // namespace

TEST(SettingsConcurrency, ThreadsAndProcessesWritingAtOnceLoseNoValueAndReadersSeeWholeFiles)
{
    ASSERT_EQ(writerProcessMode, 0);
    TempDir dir;
    const QString path = dir.file(QStringLiteral("Marlowen.ini"));

    std::vector<std::unique_ptr<QProcess>> processes;
    for (const QString &w : Writers.mid(0, 2)) {
        auto process = std::make_unique<QProcess>();
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QString::fromLatin1(WriterEnv), path + QLatin1Char('\n') + w);
        process->setProcessEnvironment(env);
        process->setProcessChannelMode(QProcess::ForwardedChannels);
        process->start(QCoreApplication::applicationFilePath(), {});
        processes.push_back(std::move(process));
    }

    // What a reader may see meanwhile: a whole file, every line of which
    // reads, holding only what was written and never fewer values than before.
    std::atomic<bool> stop{false};
    int reads = 0, faults = 0;
    std::thread reader([&] {
        int last = 0;
        while (!stop.load()) {
            QFile file(path);
            if (!file.open(QIODevice::ReadOnly))
                continue;
            const QByteArray bytes = file.readAll();
            ++reads;
            const SettingsDocument doc = SettingsDocument::parse(bytes);
            const int values = countValues(doc);
            faults += (!bytes.isEmpty() && !bytes.endsWith('\n')) + doc.unreadableLines() + (values < last);
            last = values;
        }
    });
    std::atomic<int> failedThreads{0};
    std::vector<std::thread> writers;
    for (const QString &w : Writers.mid(2))
        writers.emplace_back([&, w] { failedThreads += !writeMany(path, w); });
    for (std::thread &t : writers)
        t.join();
    for (auto &process : processes) {
        ASSERT_TRUE(process->waitForFinished(120000));
        EXPECT_EQ(process->exitCode(), 0);
    }
    stop = true;
    reader.join();

    EXPECT_EQ(failedThreads.load(), 0);
    EXPECT_GT(reads, 0);
    EXPECT_EQ(faults, 0);
    const SettingsDocument final = SettingsStore(path).read();
    EXPECT_EQ(countValues(final), 5 * WritesPerWriter) << "every value, each where its writer put it";
    EXPECT_EQ(final.sections().size(), 6) << "Shared and one section a writer, each once";
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden),
              (QStringList{QStringLiteral("Marlowen.ini"), QStringLiteral("Marlowen.ini.lock")}));
}
