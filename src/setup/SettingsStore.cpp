#include "setup/SettingsStore.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QThread>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

Q_LOGGING_CATEGORY(lcSettings, "kestra.settings")

namespace kestra {

namespace {

QString systemError(int code)
{
    return QString::fromLocal8Bit(std::strerror(code));
}

// The writers' lock: flock on a file that is never removed, so that it cannot
// go stale when a writer dies, and two opens in one process exclude each
// other as two processes do.
class WriteLock {
public:
    WriteLock() = default;
    WriteLock(const WriteLock &) = delete;
    WriteLock &operator=(const WriteLock &) = delete;
    ~WriteLock()
    {
        if (m_fd >= 0)
            ::close(m_fd); // releases the lock
    }

    bool acquire(const QString &path, std::chrono::milliseconds timeout, QString &error)
    {
        m_fd = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        if (m_fd < 0) {
            error = QStringLiteral("cannot open the lock file %1: %2").arg(path, systemError(errno));
            return false;
        }
        QDeadlineTimer deadline(timeout);
        unsigned long pause = 1;
        for (;;) {
            if (::flock(m_fd, LOCK_EX | LOCK_NB) == 0)
                return true;
            if (errno == EINTR)
                continue;
            if (errno != EWOULDBLOCK) {
                error = QStringLiteral("cannot lock %1: %2").arg(path, systemError(errno));
                return false;
            }
            if (deadline.hasExpired()) {
                error = QStringLiteral("%1 stayed locked by another writer for %2 ms")
                            .arg(path)
                            .arg(timeout.count());
                return false;
            }
            QThread::msleep(pause);
            pause = std::min<unsigned long>(pause * 2, 8);
        }
    }

private:
    int m_fd = -1;
};

bool writeAll(int fd, const QByteArray &bytes)
{
    const char *data = bytes.constData();
    qsizetype left = bytes.size();
    while (left > 0) {
        const ssize_t n = ::write(fd, data, std::size_t(left));
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        data += n;
        left -= n;
    }
    return true;
}

// The file that a write replaces: a symbolic link (a shared dotfile) is
// followed, so that the link stays a link.
QString writeTarget(const QString &path)
{
    const QFileInfo info(path);
    if (!info.isSymLink())
        return path;
    const QString canonical = info.canonicalFilePath();
    return canonical.isEmpty() ? info.symLinkTarget() : canonical;
}

enum class ReadResult { Ok, Missing, Failed };

ReadResult readBytes(const QString &path, QByteArray &bytes, QString &error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        if (!QFileInfo::exists(path) && !QFileInfo(path).isSymLink())
            return ReadResult::Missing;
        error = QStringLiteral("cannot read %1: %2").arg(path, file.errorString());
        return ReadResult::Failed;
    }
    bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        error = QStringLiteral("cannot read %1: %2").arg(path, file.errorString());
        return ReadResult::Failed;
    }
    return ReadResult::Ok;
}

} // namespace

SettingsStore::SettingsStore(const QString &filePath) : m_path(filePath) {}

QString SettingsStore::defaultFolder()
{
    // A relative path in the variable is to be ignored, as an unset one.
    QString root = qEnvironmentVariable("XDG_CONFIG_HOME");
    if (root.isEmpty() || QDir::isRelativePath(root))
        root = QDir::homePath() + QStringLiteral("/.config");
    return root + QStringLiteral("/Corvane");
}

SettingsStore SettingsStore::openKey(const QString &keyPath, const QString &folder)
{
    const QStringList parts = SettingsDocument::normalizeSection(keyPath).split(QLatin1Char('\\'));
    const QString dir = folder.isEmpty() ? defaultFolder() : folder;
    return SettingsStore(QDir(dir).filePath(parts.back() + QStringLiteral(".ini")));
}

SettingsDocument SettingsStore::read() const
{
    QByteArray bytes;
    QString error;
    if (readBytes(m_path, bytes, error) == ReadResult::Failed) {
        qCWarning(lcSettings).noquote() << error << "- using the defaults";
        return {};
    }
    return SettingsDocument::parse(bytes);
}

QString SettingsStore::ReadString(const QString &section, const QString &name,
                                  const QString &defaultValue) const
{
    return read().ReadString(section, name, defaultValue);
}

int SettingsStore::ReadInteger(const QString &section, const QString &name, int defaultValue) const
{
    return read().ReadInteger(section, name, defaultValue);
}

bool SettingsStore::ReadBool(const QString &section, const QString &name, bool defaultValue) const
{
    return read().ReadBool(section, name, defaultValue);
}

bool SettingsStore::ValueExists(const QString &section, const QString &name) const
{
    return read().value(section, name).has_value();
}

bool SettingsStore::KeyExists(const QString &section) const
{
    return read().hasSection(section);
}

bool SettingsStore::WriteString(const QString &section, const QString &name, const QString &value)
{
    return update([&](SettingsDocument &doc) { return doc.WriteString(section, name, value); });
}

bool SettingsStore::WriteInteger(const QString &section, const QString &name, int value)
{
    return update([&](SettingsDocument &doc) { return doc.WriteInteger(section, name, value); });
}

bool SettingsStore::WriteBool(const QString &section, const QString &name, bool value)
{
    return update([&](SettingsDocument &doc) { return doc.WriteBool(section, name, value); });
}

bool SettingsStore::DeleteKey(const QString &section)
{
    return update([&](SettingsDocument &doc) { return doc.removeSection(section); });
}

bool SettingsStore::update(const std::function<bool(SettingsDocument &)> &change)
{
    const QString target = writeTarget(m_path);
    const QString folder = QFileInfo(target).absolutePath();
    if (!QDir().mkpath(folder)) {
        qCWarning(lcSettings).noquote() << "cannot write" << m_path << "- cannot make the folder" << folder;
        return false;
    }

    QString error;
    WriteLock lock;
    if (!lock.acquire(target + QStringLiteral(".lock"), m_lockTimeout, error)) {
        qCWarning(lcSettings).noquote() << "cannot write" << m_path << "-" << error;
        return false;
    }
    // Under the lock, from the file as it is now: another writer's values are
    // kept. A file that exists but cannot be read is not overwritten.
    QByteArray bytes;
    if (readBytes(target, bytes, error) == ReadResult::Failed) {
        qCWarning(lcSettings).noquote() << "cannot write" << m_path << "-" << error;
        return false;
    }
    SettingsDocument doc = SettingsDocument::parse(bytes);
    if (!change(doc)) {
        qCWarning(lcSettings).noquote() << "cannot write" << m_path << "- invalid section or value name";
        return false;
    }
    if (!doc.isModified())
        return true;
    return writeFile(target, doc.serialize());
}

bool SettingsStore::writeFile(const QString &target, const QByteArray &bytes) const
{
    QByteArray temp = QFile::encodeName(target) + ".XXXXXX";
    const int fd = ::mkostemp(temp.data(), O_CLOEXEC);
    if (fd < 0) {
        qCWarning(lcSettings).noquote() << "cannot write" << m_path << "- cannot make a temporary file:"
                                        << systemError(errno);
        return false;
    }
    // The shared file keeps the permissions it was given; a new one is
    // private, as it holds a password.
    struct stat old {};
    const mode_t mode = ::stat(QFile::encodeName(target).constData(), &old) == 0 ? (old.st_mode & 07777) : 0600;

    const char *step = nullptr;
    int code = 0;
    auto check = [&](bool done, const char *what) {
        if (!done && !step) {
            step = what;
            code = errno;
        }
    };
    check(writeAll(fd, bytes), "write");
    if (!step)
        check(::fchmod(fd, mode) == 0, "set the permissions of");
    if (!step)
        check(::fsync(fd) == 0, "flush");
    check(::close(fd) == 0, "close");
    if (!step)
        check(::rename(temp.constData(), QFile::encodeName(target).constData()) == 0, "replace");
    if (step) {
        ::unlink(temp.constData());
        qCWarning(lcSettings).noquote() << "cannot" << step << m_path << "-" << systemError(code);
        return false;
    }
    // The rename itself must reach the disk before the change counts as made.
    const QByteArray folder = QFile::encodeName(QFileInfo(target).absolutePath());
    const int dirFd = ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dirFd >= 0) {
        ::fsync(dirFd);
        ::close(dirFd);
    }
    return true;
}

} // namespace kestra
