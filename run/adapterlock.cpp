#include "adapterlock.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QRegularExpression>
#include <QStandardPaths>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString lockSuffix = QStringLiteral(".lock");

// The process id written in a lock file; 0 when there is none yet.
qint64 pidInFile(int fd)
{
    char buffer[32] = {};
    const ssize_t size = ::pread(fd, buffer, sizeof buffer - 1, 0);
    return size > 0 ? QByteArray(buffer, int(size)).trimmed().toLongLong() : 0;
}

int openLockFile(const QString& path)
{
    return ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
}

} // namespace

AdapterLock::~AdapterLock()
{
    release();
}

QString AdapterLock::lockFolder()
{
    // Without the variable Qt would make a folder of its own and warn on the error stream,
    // which a headless run's output should not carry.
    QString base = qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR")
                       ? QString()
                       : QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (base.isEmpty() || !QFileInfo(base).isDir()) {
        // A folder of this user's own: another user must not be able to hold our adapters' locks.
        base = QDir::tempPath() + QStringLiteral("/harnwick-runtime-%1").arg(::getuid());
        ::mkdir(QFile::encodeName(base).constData(), 0700);
        struct stat info = {};
        if (::lstat(QFile::encodeName(base).constData(), &info) != 0 || !S_ISDIR(info.st_mode) ||
            info.st_uid != ::getuid())
            return QString();
    }
    const QString folder = base + QStringLiteral("/harnwick-adapters");
    QDir().mkpath(folder);
    return folder;
}

QString AdapterLock::lockFilePath(const QString& deviceId)
{
    const QString folder = lockFolder();
    if (folder.isEmpty())
        return QString();
    // Serial numbers and IP addresses; anything else cannot reach outside the folder.
    QString name = deviceId;
    name.replace(QRegularExpression(QStringLiteral("[^A-Za-z0-9._-]")), QStringLiteral("_"));
    return folder + QLatin1Char('/') + name + lockSuffix;
}

bool AdapterLock::tryLock(const QString& deviceId)
{
    release();
    holder = 0;
    busy = false;
    const QString path = lockFilePath(deviceId);
    const int file = path.isEmpty() ? -1 : openLockFile(path);
    if (file < 0)
        return false;
    if (::flock(file, LOCK_EX | LOCK_NB) != 0) {
        busy = errno == EWOULDBLOCK;
        // The holder writes its id just after locking: a moment's grace for one just begun.
        for (int attempt = 0; busy && attempt < 10 && (holder = pidInFile(file)) == 0; ++attempt)
            ::usleep(2000);
        ::close(file);
        return false;
    }
    const QByteArray pid = QByteArray::number(qint64(::getpid())) + '\n';
    if (::ftruncate(file, 0) == 0) {
        const ssize_t written = ::pwrite(file, pid.constData(), size_t(pid.size()), 0);
        Q_UNUSED(written)
    }
    fd = file;
    return true;
}

void AdapterLock::release()
{
    if (fd < 0)
        return;
    // The file stays: removing it could let two processes lock two different files of one name.
    ::close(fd);
    fd = -1;
}

QList<QPair<QString, qint64>> AdapterLock::heldElsewhere()
{
    QList<QPair<QString, qint64>> held;
    const QString folder = lockFolder();
    if (folder.isEmpty())
        return held;
    const QStringList names =
        QDir(folder).entryList({QLatin1Char('*') + lockSuffix}, QDir::Files, QDir::Name);
    for (const QString& name : names) {
        const int file = openLockFile(QDir(folder).filePath(name));
        if (file < 0)
            continue;
        if (::flock(file, LOCK_SH | LOCK_NB) == 0)
            ::flock(file, LOCK_UN);
        else
            held.append({name.chopped(lockSuffix.size()), pidInFile(file)});
        ::close(file);
    }
    return held;
}

QString AdapterLock::heldElsewhereText(const QList<QPair<QString, qint64>>& held)
{
    QMap<qint64, int> perProcess;
    for (const auto& device : held)
        ++perProcess[device.second];
    QStringList parts;
    for (auto it = perProcess.cbegin(); it != perProcess.cend(); ++it)
        parts << (it.value() == 1
                      ? QCoreApplication::translate("AdapterLock", "process %1 is running 1 adapter")
                      : QCoreApplication::translate("AdapterLock", "process %1 is running %n adapters",
                                                    nullptr, it.value()))
                     .arg(it.key());
    if (parts.isEmpty())
        return QString();
    return QCoreApplication::translate("AdapterLock",
                                       "Another Harnwick is still at work: %1. Those adapters are not run "
                                       "here until it has finished with them.")
        .arg(parts.join(QStringLiteral("; ")));
}
