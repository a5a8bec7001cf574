#include "jobrunengine.h"

#include "adapterlock.h"
#include "corvaneprocessrunner.h"
#include "devicelogfiles.h"
#include "jobhash.h"
#include "poolrunsession.h"
#include "runreport.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>

// The run's messages are the page's own: they keep its translation context.
namespace {

const QByteArray actionLineStart = QByteArrayLiteral("Running action");
constexpr int toolTimeoutExitCode = 4;

} // namespace

JobRunEngine::JobRunEngine(CorvaneProcessRunner* runner, QObject* parent) : QObject(parent), runner(runner)
{
    qRegisterMetaType<JobDeviceRun>();
    connect(&batchUtil, &BatchUtil::errorEncountered, this, &JobRunEngine::errorEncountered);
    stallCheck = new QTimer(this);
    stallCheck->setSingleShot(true);
    stallCheck->setInterval(0);
    connect(stallCheck, &QTimer::timeout, this, &JobRunEngine::endIfStalled);
    poolSession = new PoolRunSession(this);
    connect(poolSession, &PoolRunSession::errorEncountered, this, &JobRunEngine::errorEncountered);
}

// The run folder goes with the engine: a page closed mid-run leaves nothing behind.
JobRunEngine::~JobRunEngine() = default;

QString JobRunEngine::bundleFileName(const QDateTime& moment)
{
    return QStringLiteral("bulk_operation_%1.%2")
        .arg(moment.toString(QStringLiteral("yyyyMMdd_HHmmss")), QStringLiteral("hwj"));
}

bool JobRunEngine::start(const JobRunRequest& request)
{
    if (running)
        return false;
    // Until the run starts the folder goes with this object; every early way out removes it.
    auto directory = std::make_unique<QTemporaryDir>();
    if (!directory->isValid()) {
        emit errorEncountered(
            QCoreApplication::translate(
                "BulkOperationsWidget",
                "Cannot start job; could not create a temporary folder for the job bundle: %1")
                .arg(directory->errorString()));
        return false;
    }
    const QString path = directory->filePath(bundleFileName(QDateTime::currentDateTime()));
    if (!batchUtil.bundleWrite(path, request.steps, request.bundleDevices, request.debugOptionsApplied,
                               request.debugInterface, request.debugSpeed, request.variableNames))
        return false;

    const JobContext context{request.debugInterface, request.debugSpeed};
    QVector<JobDeviceRun> queued;
    for (const JobDevice& device : request.devices) {
        const auto entry = JobExecution::deviceSpecificArguments(device, request.variableNames, context);
        if (entry.first.isEmpty())
            continue;
        JobDeviceRun run;
        run.id = entry.first;
        run.device = device;
        run.arguments = entry.second;
        queued.append(run);
    }
    if (queued.isEmpty()) {
        emit errorEncountered(QCoreApplication::translate("BulkOperationsWidget", "No devices selected."));
        return false;
    }

    const QDir logDirectory(request.logDirectory);
    if (request.logging && !logDirectory.exists() && !logDirectory.mkpath(QStringLiteral("."))) {
        // Every device would fail at once on its log file; say why instead.
        emit errorEncountered(QCoreApplication::translate(
                                  "BulkOperationsWidget",
                                  "Cannot start job; the log file directory \"%1\" could not be created. "
                                  "Please choose another log file directory or switch logging off.")
                                  .arg(QDir::toNativeSeparators(logDirectory.absolutePath())));
        return false;
    }
    for (auto it = queued.begin(); it != queued.end();) {
        if (request.logging) {
            // An edited serial number must never name a file outside the log folder.
            if (!DeviceLogFiles::isUsableDeviceId(it->id)) {
                emit deviceRefused(it->id, DeviceLogFiles::unusableDeviceIdMessage(it->id));
                it = queued.erase(it);
                continue;
            }
            it->logFile = logDirectory.absoluteFilePath(QStringLiteral("%1.txt").arg(it->id));
            it->arguments << QStringLiteral("--logfile") << it->logFile;
        }
        it->arguments << QStringLiteral("--timeout") << QString::number(request.timeoutSeconds);
        ++it;
    }
    if (queued.isEmpty())
        return false;
    if (!request.executableValid) {
        emit errorEncountered(QCoreApplication::translate(
            "BulkOperationsWidget", "Cannot start job; the configured path does not point to a valid "
                                    "Corvane executable. Please provide a valid path in the settings."));
        return false;
    }
    // Values from data pools, reserved for all devices at once; a run they cannot serve never starts.
    QStringList queuedIds;
    for (const JobDeviceRun& run : qAsConst(queued))
        queuedIds << run.id;
    QHash<QString, QStringList> poolArguments;
    QString poolProblem;
    if (!poolSession->reserve(request.storeUrl, request.variableNames, queuedIds, &poolArguments,
                              &poolProblem)) {
        emit errorEncountered(poolProblem);
        return false;
    }
    for (JobDeviceRun& run : queued)
        run.arguments << poolArguments.value(run.id);

    // Every adapter is taken now, also those waiting for a slot: another Harnwick must not
    // start one of them meanwhile.
    adapterLocks.clear();
    for (JobDeviceRun& run : queued) {
        auto lock = std::make_unique<AdapterLock>();
        if (lock->tryLock(run.id) || !lock->isBusy()) {
            adapterLocks[run.id] = std::move(lock);
            continue;
        }
        run.state = JobDeviceState::NotStarted;
        run.refusal =
            QCoreApplication::translate("BulkOperationsWidget", "Busy: run by another Harnwick, process %1")
                .arg(lock->holderPid());
    }

    runs = queued;
    indexOf.clear();
    QStringList ids;
    for (int index = 0; index < runs.size(); ++index) {
        indexOf.insert(runs.at(index).id, index);
        if (runs.at(index).refusal.isEmpty())
            ids << runs.at(index).id;
    }
    folder = std::move(directory);
    bundle = path;
    running = true;
    killing = false;
    finishedElapsedMs = 0;
    runTimer.start();
    utcOffsetSeconds = QDateTime::currentDateTime().offsetFromUtc();
    steps = request.steps;
    report.reset();
    reportPaths.clear();
    // Hashed as the run starts: what the devices get is what the report and the store name.
    bundleHash = RunReport::sha256OfFile(bundle);
    files.clear();
    for (const QString& file : RunReport::filesOfSteps(steps)) {
        const auto known = request.fileHashes.constFind(file);
        files.append({file, known != request.fileHashes.cend() ? *known : RunReport::sha256OfFile(file)});
    }
    if (!request.reportPaths.isEmpty()) {
        const RunReport::Header header{QCoreApplication::applicationVersion(),
                                       runner->getExecutablePath(),
                                       steps,
                                       request.jobFile,
                                       request.jobFileSha256,
                                       JobHash::sha256(request),
                                       files,
                                       PoolRunSession::poolVariables(request.variableNames),
                                       poolSession->values()};
        report = std::make_unique<RunReport>();
        if (report->open(request.reportPaths, header))
            reportPaths = report->paths();
        else
            report.reset();
    }
    emit runStarting(ids);
    for (const JobDeviceRun& run : qAsConst(runs)) {
        if (run.refusal.isEmpty())
            continue;
        if (report)
            report->addDevice(run, steps);
        emit deviceRefused(run.id, run.refusal);
    }

    runner->clearQueue();
    const QStringList base{QStringLiteral("batch"), bundle};
    // The tool ends itself at "--timeout"; the runner sets no timer of its own for jobs.
    for (const JobDeviceRun& run : qAsConst(runs))
        if (run.refusal.isEmpty())
            runner->enqueueTask(CorvaneProcessTask{run.id, base + run.arguments, 0});
    connectRunner(true);
    if (ids.isEmpty()) {
        // Every adapter is busy elsewhere: the run ends as soon as the caller has seen it start.
        QMetaObject::invokeMethod(this, &JobRunEngine::onAllTasksFinished, Qt::QueuedConnection);
        return true;
    }
    runner->start();
    // A start failure leaves the queue waiting for a finish that never comes.
    stallCheck->start();
    return true;
}

void JobRunEngine::connectRunner(bool on)
{
    if (!on) {
        runner->disconnect(this);
        return;
    }
    connect(runner, &CorvaneProcessRunner::processStarted, this, &JobRunEngine::onProcessStarted);
    connect(runner, &CorvaneProcessRunner::processFeedback, this, &JobRunEngine::onProcessFeedback);
    connect(runner, &CorvaneProcessRunner::taskFinished, this, &JobRunEngine::onTaskFinished);
    connect(runner, &CorvaneProcessRunner::taskAborted, this, &JobRunEngine::onTaskAborted);
    connect(runner, &CorvaneProcessRunner::allTasksFinished, this, &JobRunEngine::onAllTasksFinished);
}

void JobRunEngine::releaseAdapter(const QString& id)
{
    adapterLocks.erase(id);
}

JobDeviceRun* JobRunEngine::find(const QString& id)
{
    const auto it = indexOf.constFind(id);
    return it == indexOf.cend() ? nullptr : &runs[*it];
}

const JobDeviceRun* JobRunEngine::device(const QString& id) const
{
    const auto it = indexOf.constFind(id);
    return it == indexOf.cend() ? nullptr : &runs.at(*it);
}

void JobRunEngine::onProcessStarted(const QString& id)
{
    JobDeviceRun* run = find(id);
    if (!run)
        return;
    run->state = JobDeviceState::Running;
    run->startedAt = now();
    run->timer.start();
    emit deviceStarted(id);
}

void JobRunEngine::onProcessFeedback(const QString& id, const QByteArray& line)
{
    JobDeviceRun* run = find(id);
    if (!run)
        return;
    run->lastLine = line;
    if (line.startsWith(actionLineStart)) {
        const int action = JobExecution::lastRunningAction(line);
        if (action >= 0)
            run->action = action;
    }
    emit deviceOutput(id, line);
}

void JobRunEngine::onTaskFinished(const CorvaneProcessResult& result)
{
    // The runner starts the next queued process once this returns. A check already due
    // comes after that too: re-arming it for every finished device only cost time.
    if (!stallCheck->isActive())
        stallCheck->start();
    JobDeviceRun* run = find(result.id);
    if (!run)
        return;
    run->elapsedMs = run->timer.isValid() ? run->timer.elapsed() : 0;
    run->finishedAt = now();
    run->exitCode = result.exitCode;
    // The tool ends itself at "--timeout" with an exit code of its own.
    run->timedOut = result.timedOut || (!result.crashed && result.exitCode == toolTimeoutExitCode);
    run->output = result.stdoutData;
    run->errorOutput = result.stderrData;
    if (result.exitCode != 0 || result.crashed) {
        // The output as a whole names the action, also when its line was left out of the live lines.
        run->action = JobExecution::lastRunningAction(result.stdoutData);
        // A device ended on request was aborted, not crashed.
        run->state = result.crashed ? (killing ? JobDeviceState::Aborted : JobDeviceState::Crashed)
                                    : JobDeviceState::Failed;
    } else {
        run->state = JobDeviceState::Done;
    }
    releaseAdapter(run->id);
    if (report)
        report->addDevice(*run, steps);
    emit deviceFinished(*run);
}

void JobRunEngine::onTaskAborted(const QString& id)
{
    JobDeviceRun* run = find(id);
    if (!run)
        return;
    run->state = JobDeviceState::Aborted;
    releaseAdapter(id);
    if (report)
        report->addDevice(*run, steps);
    emit deviceAborted(id);
}

void JobRunEngine::onAllTasksFinished()
{
    if (!running)
        return;
    // A device whose process could not start was dropped without a word.
    adapterLocks.clear();
    for (JobDeviceRun& run : runs) {
        if (run.state != JobDeviceState::Waiting && run.state != JobDeviceState::Running)
            continue;
        run.state = JobDeviceState::NotStarted;
        if (report)
            report->addDevice(run, steps);
    }
    report.reset();
    connectRunner(false);
    running = false;
    finishedElapsedMs = runTimer.elapsed();
    folder.reset();
    bundle.clear();
    emit runFinished();
}

QDateTime JobRunEngine::now() const
{
    return QDateTime::currentDateTimeUtc().toOffsetFromUtc(utcOffsetSeconds);
}

void JobRunEngine::endIfStalled()
{
    if (!running || runner->runningTaskCount() > 0)
        return;
    emit errorEncountered(
        QCoreApplication::translate("BulkOperationsWidget",
                                    "The Corvane executable \"%1\" could not be started. Please check the "
                                    "path in the settings.")
            .arg(QDir::toNativeSeparators(runner->getExecutablePath())));
    // The devices still waiting are aborted; the one that failed to start was never started.
    runner->abortTasksNotYetStarted();
    runner->finishIfIdle();
}

void JobRunEngine::abortWaitingDevices()
{
    if (running)
        runner->abortTasksNotYetStarted();
}

void JobRunEngine::killRunningDevices()
{
    if (!running)
        return;
    killing = true;
    runner->killRunningProcesses();
}

JobRunCounts JobRunEngine::counts() const
{
    JobRunCounts counts;
    for (const JobDeviceRun& run : runs) {
        switch (run.state) {
        case JobDeviceState::Waiting:
            ++counts.waiting;
            break;
        case JobDeviceState::Running:
            ++counts.running;
            break;
        case JobDeviceState::Done:
            ++counts.done;
            break;
        case JobDeviceState::Failed:
            ++counts.failed;
            break;
        case JobDeviceState::Crashed:
            ++counts.crashed;
            break;
        case JobDeviceState::Aborted:
            ++counts.aborted;
            break;
        case JobDeviceState::NotStarted:
            ++counts.notStarted;
            break;
        }
    }
    return counts;
}

int JobRunEngine::enabledStepCount() const
{
    return int(std::count_if(steps.cbegin(), steps.cend(), [](const QMap<QString, QVariant>& step) {
        return step.value(QStringLiteral("enabled")).toBool();
    }));
}

qint64 JobRunEngine::elapsedMs() const
{
    if (running)
        return runTimer.elapsed();
    return finishedElapsedMs;
}

QString JobRunEngine::runFolder() const
{
    return folder ? folder->path() : QString();
}

// Crashed and never started devices are not "failed": a crash points at the tool or the board,
// a device never started was never tried. They are named only when there are any.
static QString jobRunExtraCounts(const JobRunCounts& counts)
{
    QString extra;
    if (counts.crashed > 0)
        extra += QCoreApplication::translate("JobRunEngine", ", %1 crashed").arg(counts.crashed);
    if (counts.notStarted > 0)
        extra += QCoreApplication::translate("JobRunEngine", ", %1 not started").arg(counts.notStarted);
    return extra;
}

QString jobRunTotalsText(const JobRunCounts& counts, qint64 elapsedMs, bool finished)
{
    const QString elapsed = JobExecution::elapsedText(elapsedMs);
    const QString extra = jobRunExtraCounts(counts);
    if (finished)
        return QCoreApplication::translate("JobRunEngine",
                                           "Last run: %1 done, %2 failed%3, %4 aborted of %5 in %6")
            .arg(counts.done)
            .arg(counts.failed)
            .arg(extra)
            .arg(counts.aborted)
            .arg(counts.total())
            .arg(elapsed);
    return QCoreApplication::translate("JobRunEngine",
                                       "%1 done, %2 failed%3, %4 aborted, %5 running, %6 waiting, %7")
        .arg(counts.done)
        .arg(counts.failed)
        .arg(extra)
        .arg(counts.aborted)
        .arg(counts.running)
        .arg(counts.waiting)
        .arg(elapsed);
}
