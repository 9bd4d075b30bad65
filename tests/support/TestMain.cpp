// main() of every test program: a Qt application object for the event loop,
// the offscreen platform, and private XDG folders so that no test touches the
// settings or state of the person running it.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>
#ifdef KESTRA_TEST_WITH_WIDGETS
#include <QApplication>
#endif

#include <cstdlib>

int main(int argc, char **argv)
{
    if (!std::getenv("QT_QPA_PLATFORM") && !std::getenv("DISPLAY"))
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
    QTemporaryDir home(QDir::tempPath() + QStringLiteral("/kestra-test-XXXXXX"));
    const QByteArray root = home.path().toLocal8Bit();
    for (const char *sub : {"runtime", "config", "state"})
        QDir(home.path()).mkpath(QString::fromLatin1(sub));
    QFile::setPermissions(home.path() + QStringLiteral("/runtime"),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    setenv("XDG_RUNTIME_DIR", (root + "/runtime").constData(), 1);
    setenv("XDG_CONFIG_HOME", (root + "/config").constData(), 1);
    setenv("XDG_STATE_HOME", (root + "/state").constData(), 1);

#ifdef KESTRA_TEST_WITH_WIDGETS
    QApplication app(argc, argv);
#else
    QCoreApplication app(argc, argv);
#endif
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
