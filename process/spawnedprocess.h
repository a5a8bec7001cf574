#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QStringList>

class QSocketNotifier;
class QTimer;

// A child process started with posix_spawn: the program's address space is not copied
// for the start, so a start costs the same however large the program has grown. Output
// arrives through non-blocking pipes watched by the event loop; the end is seen through
// a process descriptor, or by polling where the system has none (older kernels,
// emulators).
//
// The child gets a standard input pipe that stays open while it runs, separate standard
// output and error pipes, default signal dispositions, an empty signal mask, and no
// descriptor of the program beyond those three.
class SpawnedProcess : public QObject
{
    Q_OBJECT

public:
    explicit SpawnedProcess(QObject* parent = nullptr);
    // A process still running is killed and reaped: nothing outlives its object.
    ~SpawnedProcess() override;

    // Starts in a process group of its own, so a Ctrl+C in the program's terminal
    // reaches the program, which decides what becomes of its children.
    void setOwnProcessGroup(bool own) { ownProcessGroup = own; }

    // Starts the program (looked up in PATH when it has no slash). On failure returns
    // false, emits nothing and errorString() says why. A program that cannot be
    // executed is refused before anything is started, so an emulator that cannot
    // report a failed exec back still sees it as a failed start.
    bool start(const QString& program, const QStringList& arguments);

    bool isRunning() const { return pid > 0; }
    qint64 processId() const { return pid; }
    QString errorString() const { return error; }

    QByteArray readAllStandardOutput();
    QByteArray readAllStandardError();

    // SIGTERM and SIGKILL to the process itself, as QProcess does.
    void terminate();
    void kill();
    // Puts the running process this many nice steps below the program's own priority.
    void lowerPriority(int steps);

signals:
    void readyReadStandardOutput();
    void readyReadStandardError();
    // exitCode is the signal's number when crashed is true.
    void finished(int exitCode, bool crashed);

private:
    struct Channel
    {
        int fd = -1;
        QSocketNotifier* notifier = nullptr;
        QByteArray buffer;
    };

    void readChannel(Channel& channel, int slices);
    void closeChannel(Channel& channel);
    void closeAll();
    void checkEnded();
    void sendSignal(int signal);

    Channel out;
    Channel err;
    int stdinFd = -1;
    int pidFd = -1;
    QSocketNotifier* pidNotifier = nullptr;
    QTimer* pollTimer = nullptr;
    qint64 pid = 0;
    bool ownProcessGroup = false;
    QString error;
};
