#pragma once

#include "batchutil.h"
#include "corvaneprocessresult.h"
#include "jobexecution.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QStringList>
#include <QVector>

#include <map>
#include <memory>

class AdapterLock;
class CorvaneProcessRunner;
class PoolRunSession;
class QTemporaryDir;
class QTimer;
class RunReport;

// Everything a job run needs, whoever starts it: the job as it is saved in a
// bundle, the devices to run it on and the run's settings.
struct JobRunRequest
{
    // The bundle's content.
    QList<QMap<QString, QVariant>> steps;
    QStringList variableNames;
    QList<BatchUtil::DeviceEntry> bundleDevices;
    bool debugOptionsApplied = false;
    QString debugInterface;
    int debugSpeed = 0;

    // The devices to run, in order; those without the value their connection
    // needs are left out.
    QList<JobDevice> devices;

    bool logging = true;
    QString logDirectory;
    int timeoutSeconds = 120;
    // A run with an executable known to be unusable is refused.
    bool executableValid = true;
    // Where the run's report is written as devices end; none when empty.
    QStringList reportPaths;
    // SHA-256 of job files already read by the caller; others are read for the report.
    QHash<QString, QString> fileHashes;
    // The job file the job came from, with its SHA-256 as it was read; both empty when
    // the job is not (or no longer) what that file holds.
    QString jobFile;
    QString jobFileSha256;
    // The production store holding the data pools the job's variables name; empty for the default.
    QString storeUrl;
};

// Where a device of a run stands.
enum class JobDeviceState
{
    Waiting,
    Running,
    Done,
    Failed,
    Crashed,
    Aborted,
    NotStarted
};

// One device of a run, as the engine knows it.
struct JobDeviceRun
{
    QString id;
    JobDevice device;
    QStringList arguments; // the device's own arguments, after "batch" and the bundle
    QString logFile;       // empty without logging
    QString refusal;       // why it was not started, when refused as the run started
    JobDeviceState state = JobDeviceState::Waiting;
    // The action the device runs (or ran last); -1 before the first one.
    int action = -1;
    QByteArray lastLine;
    qint64 elapsedMs = 0;
    int exitCode = 0;
    bool timedOut = false;
    QDateTime startedAt;
    QDateTime finishedAt;
    QByteArray output;      // standard output, as far as the runner keeps it
    QByteArray errorOutput; // standard error
    QElapsedTimer timer;
};

// How many devices of a run are in each state.
struct JobRunCounts
{
    int waiting = 0, running = 0, done = 0, failed = 0, crashed = 0, aborted = 0, notStarted = 0;
    int total() const { return waiting + running + done + failed + crashed + aborted + notStarted; }
    int unsuccessful() const { return failed + crashed + aborted + notStarted; }
};

// The totals of a run as one line: while it runs, every state and the time so far
// ("3 done, 1 failed, 0 aborted, 2 running, 10 waiting, 12.50 s"); once it ended, its
// result ("Last run: 95 done, 3 failed, 2 aborted of 100 in 3 m 12 s"). Crashed and
// never started devices are counted apart from failed ones, named only when present.
QString jobRunTotalsText(const JobRunCounts& counts, qint64 elapsedMs, bool finished);

// Runs a job on many devices: writes the job bundle into a run folder of its
// own, builds each device's "batch" invocation, runs them through the process
// runner and follows every device from waiting to its outcome. It knows
// nothing of windows; the page and the headless run both listen to its
// signals.
class JobRunEngine : public QObject
{
    Q_OBJECT

public:
    explicit JobRunEngine(CorvaneProcessRunner* runner, QObject* parent = nullptr);
    ~JobRunEngine() override;

    // Starts the run; false when it was refused (the reason went out through
    // errorEncountered, or through deviceRefused for every device).
    bool start(const JobRunRequest& request);
    bool isRunning() const { return running; }

    // The devices of the current or last run, in the order they were queued.
    const QVector<JobDeviceRun>& devices() const { return runs; }
    const JobDeviceRun* device(const QString& id) const;
    JobRunCounts counts() const;
    // How many of the job's steps are enabled: the n of "action k of n".
    int enabledStepCount() const;
    // Milliseconds since the current or last run started, until it ended.
    qint64 elapsedMs() const;
    // The folder holding the run's job bundle; empty when no run is on.
    QString runFolder() const;
    QString bundlePath() const { return bundle; }
    // The data pool values of the current or last run.
    const PoolRunSession* pools() const { return poolSession; }
    // The report files of the current or last run.
    QStringList reportFiles() const { return reportPaths; }
    // The current or last run's steps, the SHA-256 of its bundle and the files its steps use with theirs.
    const QList<QMap<QString, QVariant>>& jobSteps() const { return steps; }
    QString bundleSha256() const { return bundleHash; }
    const QList<QPair<QString, QString>>& jobFiles() const { return files; }

    // The file name of the run's job bundle for a given moment.
    static QString bundleFileName(const QDateTime& moment);

public slots:
    // Devices not yet started are aborted; running ones go on to their end.
    void abortWaitingDevices();
    // Running devices are ended at once as well.
    void killRunningDevices();

signals:
    void errorEncountered(const QString& message);
    // A device left out before the start, with the reason for its row.
    void deviceRefused(const QString& id, const QString& message);
    // The devices are queued and about to start.
    void runStarting(const QStringList& ids);
    void deviceStarted(const QString& id);
    // One line of a device's output, as the tool printed it.
    void deviceOutput(const QString& id, const QByteArray& line);
    // Done, failed, crashed, or aborted while running (killRunningDevices).
    void deviceFinished(const JobDeviceRun& run);
    void deviceAborted(const QString& id);
    // The last device has ended and the run folder is gone.
    void runFinished();

private:
    void onProcessStarted(const QString& id);
    void onProcessFeedback(const QString& id, const QByteArray& line);
    void onTaskFinished(const CorvaneProcessResult& result);
    void onTaskAborted(const QString& id);
    void onAllTasksFinished();
    void endIfStalled();
    QDateTime now() const;
    JobDeviceRun* find(const QString& id);
    void releaseAdapter(const QString& id);
    void connectRunner(bool connect);

    CorvaneProcessRunner* runner;
    BatchUtil batchUtil;
    bool running = false;
    bool killing = false;
    QVector<JobDeviceRun> runs;
    QHash<QString, int> indexOf;
    std::unique_ptr<QTemporaryDir> folder;
    std::unique_ptr<RunReport> report;
    QList<QMap<QString, QVariant>> steps;
    QStringList reportPaths;
    QString bundle;
    QString bundleHash;
    QList<QPair<QString, QString>> files;
    QElapsedTimer runTimer;
    qint64 finishedElapsedMs = 0;
    // The local time's offset from UTC as the run starts: devices' times carry it, since
    // reading the local time zone for every start and end costs more than the device itself
    // when the tool is quick. The moments stay exact across a change of daylight saving.
    int utcOffsetSeconds = 0;
    QTimer* stallCheck = nullptr;
    // The adapters this run holds, each until its device has ended.
    std::map<QString, std::unique_ptr<AdapterLock>> adapterLocks;
    PoolRunSession* poolSession = nullptr;
};

Q_DECLARE_METATYPE(JobDeviceRun)
