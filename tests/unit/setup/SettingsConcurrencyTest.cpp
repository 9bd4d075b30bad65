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
const char *const Writers[] = {"procA", "procB", "thrA", "thrB", "thrC"};

// Writer <w> puts value i into its own section for even i and into a section
// all writers share for odd i.
QString sectionOf(const QString &w, int i)
{
    return i % 2 ? QStringLiteral("Shared") : QStringLiteral("Writers\\") + w;
}
QString nameOf(const QString &w, int i)
{
    return w + QStringLiteral("_") + QString::number(i);
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
        ok = key.WriteString(sectionOf(w, i), nameOf(w, i), valueOf(w, i)) && ok;
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

// Values in the document, each checked against what its writer wrote.
int countValues(const SettingsDocument &doc, int &foreign)
{
    int values = 0;
    for (const QString &section : doc.sections()) {
        for (const QString &name : doc.names(section)) {
            ++values;
            const QString w = name.section(QLatin1Char('_'), 0, 0);
            const int i = name.section(QLatin1Char('_'), 1).toInt();
            foreign += doc.ReadString(section, name, QString()) != valueOf(w, i)
                || section.compare(sectionOf(w, i), Qt::CaseInsensitive) != 0;
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
    for (const char *w : {Writers[0], Writers[1]}) {
        auto process = std::make_unique<QProcess>();
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QString::fromLatin1(WriterEnv), path + QStringLiteral("\n") + QString::fromLatin1(w));
        process->setProcessEnvironment(env);
        process->setProcessChannelMode(QProcess::ForwardedChannels);
        process->start(QCoreApplication::applicationFilePath(), {});
        processes.push_back(std::move(process));
    }

    // What a reader may see meanwhile: a whole file, every line of which
    // reads, holding only what was written and never fewer values than before.
    std::atomic<bool> stop{false};
    int reads = 0, unfinished = 0, unreadable = 0, shrank = 0, foreign = 0;
    std::thread reader([&] {
        int last = 0;
        while (!stop.load()) {
            QFile file(path);
            if (!file.open(QIODevice::ReadOnly))
                continue;
            const QByteArray bytes = file.readAll();
            ++reads;
            unfinished += !bytes.isEmpty() && !bytes.endsWith('\n');
            const SettingsDocument doc = SettingsDocument::parse(bytes);
            unreadable += doc.unreadableLines();
            const int values = countValues(doc, foreign);
            shrank += values < last;
            last = values;
        }
    });

    std::atomic<int> failedThreads{0};
    std::vector<std::thread> writers;
    for (const char *w : {Writers[2], Writers[3], Writers[4]})
        writers.emplace_back([&, w] { failedThreads += !writeMany(path, QString::fromLatin1(w)); });
    for (std::thread &t : writers)
        t.join();
    for (auto &process : processes) {
        ASSERT_TRUE(process->waitForFinished(120000));
        EXPECT_EQ(process->exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(process->exitCode(), 0);
    }
    stop = true;
    reader.join();

    EXPECT_EQ(failedThreads.load(), 0);
    EXPECT_GT(reads, 0);
    EXPECT_EQ(unfinished, 0);
    EXPECT_EQ(unreadable, 0);
    EXPECT_EQ(shrank, 0);
    EXPECT_EQ(foreign, 0);

    const SettingsDocument final = SettingsStore(path).read();
    int missing = 0;
    for (const char *w : Writers) {
        for (int i = 0; i < WritesPerWriter; ++i)
            missing += final.ReadString(sectionOf(QString::fromLatin1(w), i), nameOf(QString::fromLatin1(w), i),
                                        QString()) != valueOf(QString::fromLatin1(w), i);
    }
    EXPECT_EQ(missing, 0);
    EXPECT_EQ(countValues(final, foreign), 5 * WritesPerWriter);
    EXPECT_EQ(final.sections().size(), 6) << "Shared and one section a writer, each once";
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden),
              (QStringList{QStringLiteral("Marlowen.ini"), QStringLiteral("Marlowen.ini.lock")}));
}
