// Several writers at once on one key, as Kestra and the scoring product share
// the Marlowen key: threads of this process and copies of this test program
// started as writer processes.
#include "setup/SettingsStore.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSet>

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

QString S(const char *text)
{
    return QString::fromUtf8(text);
}

// Writer <prefix> puts value i under its own section for even i and into a
// section all writers share for odd i, so both a new section and a crowded
// one are written at the same time by several writers.
QString sectionOf(const QString &prefix, int i)
{
    return i % 2 ? S("Shared") : S("Writers\\") + prefix;
}
QString nameOf(const QString &prefix, int i)
{
    return prefix + S("_") + QString::number(i);
}
QString valueOf(const QString &prefix, int i)
{
    return prefix + S(" value ") + QString::number(i * 7919);
}

bool writeMany(const QString &path, const QString &prefix, int count)
{
    SettingsStore key(path);
    bool ok = true;
    for (int i = 0; i < count; ++i)
        ok = key.WriteString(sectionOf(prefix, i), nameOf(prefix, i), valueOf(prefix, i)) && ok;
    return ok;
}

// The writer process: this program started with KESTRA_SETTINGS_WRITER set to
// "<file>\n<prefix>\n<count>" writes and ends before any test runs.
const int writerProcessMode = [] {
    const QByteArray spec = qgetenv(WriterEnv);
    if (spec.isEmpty())
        return 0;
    const QList<QByteArray> parts = spec.split('\n');
    const bool ok = parts.size() == 3
        && writeMany(QString::fromLocal8Bit(parts[0]), QString::fromLocal8Bit(parts[1]), parts[2].toInt());
    std::fflush(nullptr);
    std::_Exit(ok ? 0 : 3);
    return 0;
}();

std::unique_ptr<QProcess> startWriterProcess(const QString &path, const QString &prefix)
{
    auto process = std::make_unique<QProcess>();
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QString::fromLatin1(WriterEnv), path + S("\n") + prefix + S("\n") + QString::number(WritesPerWriter));
    process->setProcessEnvironment(env);
    process->setProcessChannelMode(QProcess::ForwardedChannels);
    process->start(QCoreApplication::applicationFilePath(), {S("--gtest_filter=-*")});
    return process;
}

// What a reader may see while the writers run: a whole file, every line of
// which reads, holding nothing that was not written and never fewer values
// than it held before.
struct ReaderFindings {
    int reads = 0;
    int unfinished = 0;
    int unreadableLines = 0;
    int shrank = 0;
    int foreign = 0;
};

int countValues(const SettingsDocument &doc, int &foreign)
{
    int values = 0;
    for (const QString &section : doc.sections()) {
        for (const QString &name : doc.names(section)) {
            ++values;
            const QString prefix = name.section(QLatin1Char('_'), 0, 0);
            const int i = name.section(QLatin1Char('_'), 1).toInt();
            if (doc.ReadString(section, name, QString()) != valueOf(prefix, i)
                || section.compare(sectionOf(prefix, i), Qt::CaseInsensitive) != 0)
                ++foreign;
        }
    }
    return values;
}

} // namespace

TEST(SettingsConcurrency, ThreadsAndProcessesWritingAtOnceLoseNoValue)
{
    ASSERT_EQ(writerProcessMode, 0);
    TempDir dir;
    const QString path = dir.file(S("Marlowen.ini"));

    std::vector<std::unique_ptr<QProcess>> processes;
    for (const char *prefix : {"procA", "procB"})
        processes.push_back(startWriterProcess(path, S(prefix)));

    std::atomic<bool> stop{false};
    ReaderFindings findings;
    std::thread reader([&] {
        int last = 0;
        while (!stop.load()) {
            QFile file(path);
            if (!file.open(QIODevice::ReadOnly))
                continue;
            const QByteArray bytes = file.readAll();
            ++findings.reads;
            if (!bytes.isEmpty() && !bytes.endsWith('\n'))
                ++findings.unfinished;
            const SettingsDocument doc = SettingsDocument::parse(bytes);
            findings.unreadableLines += doc.unreadableLines();
            const int values = countValues(doc, findings.foreign);
            if (values < last)
                ++findings.shrank;
            last = values;
        }
    });

    std::vector<std::thread> writers;
    std::atomic<int> failedThreads{0};
    for (const char *prefix : {"thrA", "thrB", "thrC"}) {
        writers.emplace_back([&, prefix] {
            if (!writeMany(path, S(prefix), WritesPerWriter))
                ++failedThreads;
        });
    }
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
    EXPECT_GT(findings.reads, 0);
    EXPECT_EQ(findings.unfinished, 0);
    EXPECT_EQ(findings.unreadableLines, 0);
    EXPECT_EQ(findings.shrank, 0);
    EXPECT_EQ(findings.foreign, 0);

    const SettingsDocument final = SettingsStore(path).read();
    EXPECT_EQ(final.unreadableLines(), 0);
    int missing = 0;
    for (const char *p : {"procA", "procB", "thrA", "thrB", "thrC"}) {
        for (int i = 0; i < WritesPerWriter; ++i) {
            if (final.ReadString(sectionOf(S(p), i), nameOf(S(p), i), QString()) != valueOf(S(p), i))
                ++missing;
        }
    }
    EXPECT_EQ(missing, 0);
    int foreign = 0;
    EXPECT_EQ(countValues(final, foreign), 5 * WritesPerWriter);
    EXPECT_EQ(foreign, 0);
    EXPECT_EQ(final.sections().size(), 6) << "Shared and one section a writer, each once";
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden),
              (QStringList{S("Marlowen.ini"), S("Marlowen.ini.lock")}));
}

TEST(SettingsConcurrency, ReadsThroughTheStoreDuringHeavyWritingSeeWholeFiles)
{
    TempDir dir;
    SettingsStore key(dir.file(S("Kestra.ini")));
    ASSERT_TRUE(key.WriteString(S("Options"), S("COMPort"), S("UDP")));

    std::atomic<bool> done{false};
    std::thread writer([&] {
        // Values that change the file's length and content on every write.
        for (int i = 0; i < 150; ++i) {
            key.WriteInteger(S("Options"), S("Interval"), i % 2 ? 7 : 12345);
            key.WriteString(S("Options"), S("OutputFileName"), QString(i % 40, QLatin1Char('x')));
        }
        done = true;
    });
    int reads = 0;
    int wrong = 0;
    QSet<int> seen;
    while (!done.load()) {
        ++reads;
        const SettingsDocument doc = key.read();
        if (doc.ReadString(S("Options"), S("ComPort"), S("gone")) != S("UDP") || doc.unreadableLines() != 0)
            ++wrong;
        const int interval = doc.ReadInteger(S("Options"), S("Interval"), 7);
        if (interval != 7 && interval != 12345)
            ++wrong;
        seen.insert(interval);
    }
    writer.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(reads, 10);
    EXPECT_EQ(seen.size(), 2) << "the reads saw the writes go on";
}
