#include "spawnedprocess.h"

#include <QFile>
#include <QSocketNotifier>
#include <QStandardPaths>
#include <QTimer>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <vector>

extern char** environ;

namespace {
// Read per turn of the event loop and channel, so one flooding child cannot hold the loop.
constexpr int readSlice = 64 * 1024;
constexpr int slicesPerTurn = 4;
// At the end: as much as the largest pipe the system allows by default can hold.
constexpr int slicesAtEnd = 16;
// Without a process descriptor the end is looked for this often.
constexpr int pollIntervalMs = 10;

void closeFd(int& fd)
{
    if (fd >= 0)
        ::close(fd);
    fd = -1;
}

int openPidFd(qint64 pid)
{
#ifdef SYS_pidfd_open
    const long fd = ::syscall(SYS_pidfd_open, pid_t(pid), 0);
    if (fd >= 0) {
        ::fcntl(int(fd), F_SETFD, FD_CLOEXEC);
        return int(fd);
    }
#else
    Q_UNUSED(pid);
#endif
    return -1;
}

// Owns what posix_spawn needs and releases it on every path out of start().
struct SpawnSetup
{
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    SpawnSetup()
    {
        posix_spawn_file_actions_init(&actions);
        posix_spawnattr_init(&attributes);
    }
    ~SpawnSetup()
    {
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
    }
    SpawnSetup(const SpawnSetup&) = delete;
    SpawnSetup& operator=(const SpawnSetup&) = delete;
};
} // namespace

SpawnedProcess::SpawnedProcess(QObject* parent) : QObject(parent) {}

SpawnedProcess::~SpawnedProcess()
{
    if (pid > 0) {
        ::kill(pid_t(pid), SIGKILL);
        while (::waitpid(pid_t(pid), nullptr, 0) < 0 && errno == EINTR) {
        }
    }
    closeAll();
}

bool SpawnedProcess::start(const QString& program, const QStringList& arguments)
{
    if (pid > 0) {
        error = tr("The process is already running.");
        return false;
    }
    const QString path =
        program.contains(QLatin1Char('/')) ? program : QStandardPaths::findExecutable(program);
    const QByteArray file = QFile::encodeName(path);
    struct stat info
    {
    };
    if (path.isEmpty() || ::stat(file.constData(), &info) != 0 || S_ISDIR(info.st_mode) ||
        ::access(file.constData(), X_OK) != 0) {
        error = tr("%1 cannot be executed.").arg(program);
        return false;
    }

    std::vector<QByteArray> words;
    words.reserve(size_t(arguments.size()) + 1);
    words.push_back(file);
    for (const QString& argument : arguments)
        words.push_back(argument.toLocal8Bit());
    std::vector<char*> argv;
    argv.reserve(words.size() + 1);
    for (QByteArray& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);

    // Every descriptor made here is close-on-exec; the child's copies on 0, 1 and 2 are not.
    int in[2] = {-1, -1}, outPipe[2] = {-1, -1}, errPipe[2] = {-1, -1};
    const auto closePipes = [&] {
        for (int* fds : {in, outPipe, errPipe}) {
            closeFd(fds[0]);
            closeFd(fds[1]);
        }
    };
    if (::pipe2(in, O_CLOEXEC) != 0 || ::pipe2(outPipe, O_CLOEXEC) != 0 || ::pipe2(errPipe, O_CLOEXEC) != 0) {
        error = tr("No pipe for the process: %1").arg(QString::fromLocal8Bit(std::strerror(errno)));
        closePipes();
        return false;
    }

    SpawnSetup setup;
    posix_spawn_file_actions_adddup2(&setup.actions, in[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&setup.actions, outPipe[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&setup.actions, errPipe[1], STDERR_FILENO);
#if defined(__GLIBC__) && (__GLIBC__ > 2 || (__GLIBC__ == 2 && __GLIBC_MINOR__ >= 34))
    // A descriptor some library opened without close-on-exec must not reach the tool.
    posix_spawn_file_actions_addclosefrom_np(&setup.actions, STDERR_FILENO + 1);
#endif
    // Dispositions and mask as a freshly started program expects them, whatever the
    // program set for itself (an ignored SIGPIPE, interrupt handlers).
    sigset_t all, none;
    sigfillset(&all);
    sigemptyset(&none);
    posix_spawnattr_setsigdefault(&setup.attributes, &all);
    posix_spawnattr_setsigmask(&setup.attributes, &none);
    short flags = POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK;
    if (ownProcessGroup) {
        flags |= POSIX_SPAWN_SETPGROUP;
        posix_spawnattr_setpgroup(&setup.attributes, 0);
    }
    posix_spawnattr_setflags(&setup.attributes, flags);

    pid_t child = 0;
    const int failure =
        ::posix_spawn(&child, file.constData(), &setup.actions, &setup.attributes, argv.data(), environ);
    if (failure != 0) {
        error =
            tr("%1 could not be started: %2").arg(program, QString::fromLocal8Bit(std::strerror(failure)));
        closePipes();
        return false;
    }

    pid = child;
    error.clear();
    closeFd(in[0]);
    closeFd(outPipe[1]);
    closeFd(errPipe[1]);
    stdinFd = in[1];
    out.fd = outPipe[0];
    err.fd = errPipe[0];
    for (Channel* channel : {&out, &err}) {
        ::fcntl(channel->fd, F_SETFL, ::fcntl(channel->fd, F_GETFL) | O_NONBLOCK);
        channel->notifier = new QSocketNotifier(channel->fd, QSocketNotifier::Read, this);
        connect(channel->notifier, &QSocketNotifier::activated, this,
                [this, channel] { readChannel(*channel, slicesPerTurn); });
    }

    pidFd = openPidFd(pid);
    if (pidFd >= 0) {
        pidNotifier = new QSocketNotifier(pidFd, QSocketNotifier::Read, this);
        connect(pidNotifier, &QSocketNotifier::activated, this, &SpawnedProcess::checkEnded);
    } else {
        pollTimer = new QTimer(this);
        pollTimer->setInterval(pollIntervalMs);
        connect(pollTimer, &QTimer::timeout, this, &SpawnedProcess::checkEnded);
        pollTimer->start();
    }
    return true;
}

void SpawnedProcess::readChannel(Channel& channel, int slices)
{
    if (channel.fd < 0)
        return;
    const int before = channel.buffer.size();
    char slice[readSlice];
    for (int turn = 0; turn < slices; ++turn) {
        const ssize_t got = ::read(channel.fd, slice, sizeof slice);
        if (got > 0) {
            channel.buffer.append(slice, int(got));
            continue;
        }
        if (got < 0 && errno == EINTR)
            continue;
        if (got == 0 || errno != EAGAIN)
            closeChannel(channel);
        break;
    }
    if (channel.buffer.size() <= before)
        return;
    if (&channel == &out)
        emit readyReadStandardOutput();
    else
        emit readyReadStandardError();
}

void SpawnedProcess::closeChannel(Channel& channel)
{
    delete channel.notifier;
    channel.notifier = nullptr;
    closeFd(channel.fd);
}

void SpawnedProcess::closeAll()
{
    closeChannel(out);
    closeChannel(err);
    closeFd(stdinFd);
    delete pidNotifier;
    pidNotifier = nullptr;
    closeFd(pidFd);
    delete pollTimer;
    pollTimer = nullptr;
}

void SpawnedProcess::checkEnded()
{
    if (pid <= 0)
        return;
    int status = 0;
    pid_t reaped;
    do
        reaped = ::waitpid(pid_t(pid), &status, WNOHANG);
    while (reaped < 0 && errno == EINTR);
    if (reaped == 0)
        return;
    pid = 0;
    // What the process wrote just before it ended is part of its output; a descendant that
    // keeps the pipes open is not waited for.
    if (pidNotifier)
        pidNotifier->setEnabled(false);
    const bool crashed = reaped > 0 && WIFSIGNALED(status);
    const int exitCode = reaped < 0 ? 255 : crashed ? WTERMSIG(status) : WEXITSTATUS(status);
    readChannel(out, slicesAtEnd);
    readChannel(err, slicesAtEnd);
    closeAll();
    emit finished(exitCode, crashed);
}

QByteArray SpawnedProcess::readAllStandardOutput()
{
    QByteArray data;
    data.swap(out.buffer);
    return data;
}

QByteArray SpawnedProcess::readAllStandardError()
{
    QByteArray data;
    data.swap(err.buffer);
    return data;
}

void SpawnedProcess::sendSignal(int signal)
{
    // The process is only reaped by checkEnded, so its number cannot have been reused.
    if (pid > 0)
        ::kill(pid_t(pid), signal);
}

void SpawnedProcess::terminate()
{
    sendSignal(SIGTERM);
}

void SpawnedProcess::kill()
{
    sendSignal(SIGKILL);
}

void SpawnedProcess::lowerPriority(int steps)
{
    if (pid <= 0 || steps <= 0)
        return;
    errno = 0;
    const int own = ::getpriority(PRIO_PROCESS, 0);
    if (own == -1 && errno != 0)
        return;
    // Failing leaves the process at its inherited priority, which is harmless.
    ::setpriority(PRIO_PROCESS, id_t(pid), own + steps);
}
