#pragma once

#include "corvaneprocessresult.h"
#include "corvaneprocesstask.h"

#include <QList>
#include <QObject>

#include <deque>
#include <memory>
#include <utility>
#include <vector>

class QTimer;
class SpawnedProcess;

// Runs queued Corvane invocations with bounded concurrency, all on the GUI
// thread and driven by the processes' signals. Only a process start is ever
// waited for.
class CorvaneProcessRunner : public QObject
{
    Q_OBJECT

public:
    explicit CorvaneProcessRunner(QObject* parent = nullptr);
    ~CorvaneProcessRunner() override;

    void enqueueTask(const CorvaneProcessTask& task);
    void setExecutablePath(const QString& path);
    void setMaxConcurrentProcesses(int count);
    void refreshMaxConcurrentProcesses();
    // A limit that wins over the setting until set back to 0 (headless runs
    // take it from their command line).
    void overrideMaxConcurrentProcesses(int count);
    // An executable that wins over the setting until set back to empty (headless runs
    // may name one on their command line).
    void overrideExecutablePath(const QString& path);
    QString getExecutablePath() const;

    int queuedTaskCount() const { return queue.size(); }
    int runningTaskCount() const { return int(running.size()); }

signals:
    void processStarted(const QString& id);
    void taskFinished(const CorvaneProcessResult& result);
    void taskAborted(const QString& id);
    void allTasksFinished();
    void processFeedback(const QString& id, const QByteArray& stdoutData);

public slots:
    void start();
    void clearQueue();
    void abortTasksNotYetStarted();
    void refreshExecutablePath();
    // Emits allTasksFinished when nothing is queued or running: after a start
    // failure dropped a task, no finish would ever report the end.
    void finishIfIdle();
    // Ends every running process: asked to terminate, killed a few seconds later if
    // still running. Queued tasks stay queued.
    void killRunningProcesses();

private:
    QString executableOverride;
    struct ProcessState
    {
        SpawnedProcess* process = nullptr;
        QString id;
        QStringList arguments;
        int timeout = 0;
        QByteArray stdoutData;
        QByteArray stderrData;
        QTimer* timer = nullptr;
        // Output beyond a bound is left out between the head and the tail of
        // stdoutData; headEnd is where the gap lies (-1: nothing left out).
        int headEnd = -1;
        qint64 omittedBytes = 0;
        QByteArray lastOmittedActionLine;
        bool timedOut = false;
    };

    void startRemainingProcesses();
    ProcessState* stateOf(const SpawnedProcess* process) const;
    void onStandardOutput(SpawnedProcess* process);
    void onStandardError(SpawnedProcess* process);
    void onTimeout(SpawnedProcess* process);
    void onFinished(SpawnedProcess* process, int exitCode, bool crashed);
    void emitLines(const QString& id, const QByteArray& chunk);
    // Emits the lines of waiting chunks in arrival order; with a budget, stops
    // after the chunk that used it up.
    void emitPendingLines(qint64 budgetNs = -1);
    static void boundOutput(ProcessState& state);
    static QByteArray collectedOutput(const ProcessState& state);

    QString executablePath;
    int maxConcurrentProcesses = 1;
    int concurrencyOverride = 0;
    QList<CorvaneProcessTask> queue;
    std::vector<std::unique_ptr<ProcessState>> running;
    // Large chunks whose lines are still to be reported (task id, chunk): when
    // many processes fill their pipes at once, their lines go out over several
    // turns of the event loop instead of all in one.
    std::deque<std::pair<QString, QByteArray>> pendingChunks;
    qint64 pendingBytes = 0;
    QTimer* pendingTimer = nullptr;
    // Goes on with the starts in the next turn of the event loop once a turn's time is used up.
    QTimer* resumeTimer = nullptr;
};
