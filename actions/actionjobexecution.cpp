// Running the job on the checked devices: one Corvane "batch" process per
// device, with live status lines and a final outcome per row. The same
// runner wiring serves discovery, probing and detection, whose results are
// handed to the device selector first.
#include "bulkoperationswidget.h"
#include "corporatecolors.h"
#include "corvaneprocessrunner.h"
#include "deviceselectorcolumns.h"
#include "deviceselectortreeview.h"
#include "dynamiccombobox.h"
#include "jobchecks.h"
#include "jobexecution.h"
#include "jobrunengine.h"
#include "latestlines.h"
#include "qprogressindicator.h"
#include "runrecorder.h"
#include "runreport.h"
#include "settingsutil.h"
#include "storesettings.h"

#include <QComboBox>
#include <QDateTime>
#include <QDir>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QStandardItemModel>
#include <QTimer>

namespace {
// Output lines arrive far faster than anyone can read them; the latest one per
// device is shown at this pace so the event loop never floods.
constexpr int statusRefreshMs = 40;
// The totals change with every outcome; a few times a second is all anyone can read.
constexpr int totalsRefreshMs = 250;
} // namespace

QList<int> BulkOperationsWidget::checkedDeviceRows() const
{
    QList<int> rows;
    for (int row = 0; row < deviceSelectorModel->rowCount(); ++row)
        if (deviceSelectorModel->index(row, DeviceSelectColumn).data(Qt::CheckStateRole).toInt() ==
            Qt::Checked)
            rows << row;
    return rows;
}

void BulkOperationsWidget::onRunButtonPressed()
{
    runJob(checkedDeviceRows());
}

QStringList BulkOperationsWidget::problemsBeforeRun(const QList<JobCheckAction>& actions,
                                                    const JobRunRequest& request) const
{
    // Only devices that can be run are checked.
    const JobContext context{request.debugInterface, request.debugSpeed};
    QList<JobDevice> runnable;
    for (const JobDevice& device : request.devices)
        if (!JobExecution::deviceSpecificArguments(device, {}, context).first.isEmpty())
            runnable << device;
    return JobChecks::problems(actions, runnable, context);
}

void BulkOperationsWidget::recheckProblemsShown()
{
    if (!problemsShown)
        return;
    const QList<JobCheckAction> actions = actionSelectorRows();
    JobRunRequest request = jobOnPage(actions);
    request.devices = deviceSelectorJobDevices(checkedDeviceRows());
    const QStringList problems = problemsBeforeRun(actions, request);
    // Fixed: the line goes; partly fixed: it names what is left.
    if (problems.isEmpty()) {
        clearErrorMessage();
    } else {
        emit errorEncountered(JobChecks::summary(problems));
        problemsShown = true;
    }
}

void BulkOperationsWidget::deviceSelectorRunJobOnHighlightedDevices()
{
    const QModelIndexList selected = deviceSelectorTreeView->selectionModel()->selectedRows(0);
    if (selected.isEmpty()) {
        emit errorEncountered(tr("No devices selected to run job on."));
        return;
    }
    QList<int> rows;
    for (const QModelIndex& index : selected)
        rows << index.row();
    runJob(rows);
}

void BulkOperationsWidget::runJob(const QList<int>& rows)
{
    // The editor pages are read once: for the steps and for the checks.
    const QList<JobCheckAction> actions = actionSelectorRows();
    JobRunRequest request = jobOnPage(actions);
    request.devices = deviceSelectorJobDevices(rows);
    // What can be known before anything starts is said once, here, not after minutes of flashing on
    // every board: every problem at once, and the line goes when they are fixed.
    const QStringList problems = problemsBeforeRun(actions, request);
    if (!problems.isEmpty()) {
        emit errorEncountered(JobChecks::summary(problems));
        problemsShown = true;
        return;
    }
    // What goes onto the boards must be what was chosen: a file changed on disk since is named,
    // and a second Run takes it as it is now.
    const QString changed = jobFileGuard.firstChanged(RunReport::filesOfSteps(request.steps));
    if (!changed.isEmpty()) {
        jobFileGuard.remember({changed});
        emit errorEncountered(
            tr("The file \"%1\" has changed since the job was loaded or edited. Press Run again "
               "to use it as it is now.")
                .arg(QDir::toNativeSeparators(changed)));
        return;
    }
    // The guard has just read every file: the report takes those hashes rather than reading them again.
    request.fileHashes = jobFileGuard.hashes();
    // The report names the job file only while the job is still what was loaded or saved.
    if (!jobOrigin.path.isEmpty() && JobHash::sha256(request) == jobOrigin.jobSha256) {
        request.jobFile = jobOrigin.path;
        request.jobFileSha256 = jobOrigin.fileSha256;
    }
    request.logging = loggingIsEnabled();
    request.logDirectory = Settings::logFileDirectory();
    request.timeoutSeconds = Settings::processTimeoutSeconds();
    request.executableValid = corvaneExecutableValid;
    if (request.logging)
        request.reportPaths
            << QDir(request.logDirectory).absoluteFilePath(RunReport::fileName(QDateTime::currentDateTime()));
    if (!jobRunEngine->start(request))
        return;

    disconnect(runButton, &QPushButton::clicked, this, &BulkOperationsWidget::onRunButtonPressed);
    runButton->setText(tr("Abort"));
    runButton->setToolTip(tr("Abort not yet started jobs"));
    connect(runButton, &QPushButton::clicked, this, &BulkOperationsWidget::onAbortButtonPressed,
            Qt::UniqueConnection);
}

QList<QPair<QString, QStringList>>
BulkOperationsWidget::getDeviceSpecificArguments(const QList<int>& rows, const QStringList& variableNames)
{
    const JobContext context{debugInterfaceComboBox->currentText(),
                             debugSpeedComboBox->currentData(Qt::UserRole).toInt()};
    QList<QPair<QString, QStringList>> result;
    for (const JobDevice& device : deviceSelectorJobDevices(rows)) {
        const auto entry = JobExecution::deviceSpecificArguments(device, variableNames, context);
        if (!entry.first.isEmpty())
            result.append(entry);
    }
    return result;
}

void BulkOperationsWidget::setupJobRunEngine()
{
    latestLines = new LatestLines(statusRefreshMs, this);
    connect(latestLines, &LatestLines::refresh, this, &BulkOperationsWidget::showPendingStatusLines);
    jobRunEngine = new JobRunEngine(corvaneProcessRunner, this);
    connect(jobRunEngine, &JobRunEngine::errorEncountered, this, &BulkOperationsWidget::errorEncountered);
    // Every run goes into the production store as well, off this thread; a store away shows here.
    auto* recorder = new RunRecorder(StoreSettings::location(), QString(), this);
    recorder->watch(jobRunEngine);
    recorder->followSettings();
    connect(recorder, &RunRecorder::errorEncountered, this, &BulkOperationsWidget::errorEncountered);
    connect(jobRunEngine, &JobRunEngine::deviceRefused, this,
            [this](const QString& id, const QString& message) {
                const int row = getDeviceIndexInModel(id);
                if (row >= 0)
                    setDeviceStatusError(row, message, QString());
            });
    totalsTimer = new QTimer(this);
    totalsTimer->setInterval(totalsRefreshMs);
    connect(totalsTimer, &QTimer::timeout, this, &BulkOperationsWidget::showRunTotals);
    connect(jobRunEngine, &JobRunEngine::runStarting, this, [this](const QStringList& ids) {
        setOperation(PageOperation::RunningJob);
        clearErrorMessage();
        clearProcessStatuses(ids);
        // Queued devices say so until they start; the status itself stays empty.
        for (const QString& id : ids)
            deviceSelectorShowPlaceholder(getDeviceIndexInModel(id), tr("Waiting"));
        showRunProgress(int(ids.size()));
        totalsTimer->start();
        showRunTotals();
    });
    const auto noLongerWaiting = [this](const QString& id) {
        deviceSelectorShowPlaceholder(getDeviceIndexInModel(id), QString());
    };
    connect(jobRunEngine, &JobRunEngine::deviceStarted, this, noLongerWaiting);
    connect(jobRunEngine, &JobRunEngine::deviceAborted, this, noLongerWaiting);
    connect(jobRunEngine, &JobRunEngine::runFinished, this, [this] {
        totalsTimer->stop();
        showRunTotals();
        // A device whose process never started keeps its empty status, but not a blank row.
        for (const JobDeviceRun& run : jobRunEngine->devices())
            if (run.state == JobDeviceState::NotStarted)
                deviceSelectorShowPlaceholder(getDeviceIndexInModel(run.id), tr("Not started"));
    });
    connect(jobRunEngine, &JobRunEngine::deviceStarted, this, &BulkOperationsWidget::onMultiProcessStarted);
    connect(jobRunEngine, &JobRunEngine::deviceOutput, this,
            &BulkOperationsWidget::deviceSelectorOnProcessFeedbackReceived);
    connect(jobRunEngine, &JobRunEngine::deviceFinished, this, &BulkOperationsWidget::showJobDeviceOutcome);
    connect(jobRunEngine, &JobRunEngine::deviceAborted, this, &BulkOperationsWidget::onMultiProcessAborted);
    connect(jobRunEngine, &JobRunEngine::runFinished, this,
            &BulkOperationsWidget::onAllMultiProcessesFinished);
}

void BulkOperationsWidget::showRunTotals()
{
    totalsLabel->setText(
        jobRunTotalsText(jobRunEngine->counts(), jobRunEngine->elapsedMs(), !jobRunEngine->isRunning()));
}

void BulkOperationsWidget::showRunProgress(int taskCount)
{
    progressBar->setRange(0, taskCount);
    progressBar->setValue(0);
    progressBar->setVisible(true);
    busyIndicator->start();
}

bool BulkOperationsWidget::runCorvaneInParallel(const QStringList& baseArguments,
                                                const QList<QPair<QString, QStringList>>& entries,
                                                int timeoutMs)
{
    if (!corvaneExecutableValid) {
        emit errorEncountered(tr("Cannot start job; the configured path does not point to a valid Corvane "
                                 "executable. Please provide a valid path in the settings."));
        return false;
    }

    clearErrorMessage();
    QStringList keys;
    for (const auto& entry : entries)
        keys << entry.first;
    clearProcessStatuses(keys);
    corvaneProcessRunner->clearQueue();
    for (const auto& entry : entries)
        corvaneProcessRunner->enqueueTask(
            CorvaneProcessTask{entry.first, baseArguments + entry.second, timeoutMs});

    connect(corvaneProcessRunner, &CorvaneProcessRunner::processStarted, this,
            &BulkOperationsWidget::onMultiProcessStarted, Qt::UniqueConnection);
    connect(corvaneProcessRunner, &CorvaneProcessRunner::taskAborted, this,
            &BulkOperationsWidget::onMultiProcessAborted, Qt::UniqueConnection);
    connect(corvaneProcessRunner, &CorvaneProcessRunner::taskFinished, this,
            &BulkOperationsWidget::onMultiProcessFinished, Qt::UniqueConnection);
    connect(corvaneProcessRunner, &CorvaneProcessRunner::allTasksFinished, this,
            &BulkOperationsWidget::onAllMultiProcessesFinished, Qt::UniqueConnection);
    connect(corvaneProcessRunner, &CorvaneProcessRunner::processFeedback, this,
            &BulkOperationsWidget::deviceSelectorOnProcessFeedbackReceived, Qt::UniqueConnection);

    showRunProgress(int(entries.size()));
    corvaneProcessRunner->start();
    // Checked once the caller has put the page into its running state.
    QTimer::singleShot(0, this, &BulkOperationsWidget::endRunIfStalled);
    return true;
}

void BulkOperationsWidget::endRunIfStalled()
{
    // Job runs watch for this themselves.
    if (!deviceSelectorOperationRunning() || corvaneProcessRunner->runningTaskCount() > 0)
        return;
    emit errorEncountered(tr("The Corvane executable \"%1\" could not be started. Please check the path in "
                             "the settings.")
                              .arg(QDir::toNativeSeparators(corvaneProcessRunner->getExecutablePath())));
    // The devices still waiting are marked aborted; the one that failed to
    // start keeps its cleared status.
    corvaneProcessRunner->abortTasksNotYetStarted();
    corvaneProcessRunner->finishIfIdle();
}

void BulkOperationsWidget::clearProcessStatuses(const QStringList& keys)
{
    if (keys.isEmpty()) {
        for (int row = 0; row < deviceSelectorModel->rowCount(); ++row)
            clearDeviceStatus(row);
        return;
    }
    for (const QString& key : keys) {
        const int row = getDeviceIndexInModel(key);
        if (row >= 0)
            clearDeviceStatus(row);
    }
}

void BulkOperationsWidget::onMultiProcessStarted(const QString& key)
{
    if (getDeviceIndexInModel(key) < 0)
        return;
    enableGuiElements(false);
    deviceSelectorTreeView->clearSelection();
}

void BulkOperationsWidget::deviceSelectorOnProcessFeedbackReceived(const QString& key, const QByteArray& line)
{
    // Probe and detection replies are JSON documents, not progress worth showing.
    if (deviceSelectorOperationRunning())
        return;
    latestLines->add(key, line);
}

void BulkOperationsWidget::showPendingStatusLines(const QHash<QString, QByteArray>& lines)
{
    // Fitting the status column measures every row; fit it once for the whole refresh,
    // before control returns to the event loop, rather than once per changed row.
    deviceSelectorHoldColumnFits(true);
    const int actionCount = jobRunEngine->enabledStepCount();
    for (auto it = lines.cbegin(); it != lines.cend(); ++it) {
        const int row = getDeviceIndexInModel(it.key());
        if (row < 0)
            continue;
        setDeviceStatusInfo(row, QString::fromLatin1(it.value()).trimmed(), QString(), QColor());
        const JobDeviceRun* run = jobRunEngine->device(it.key());
        if (run && run->state == JobDeviceState::Running)
            deviceSelectorShowProgress(row, run->action, actionCount, JobExecution::linePercent(it.value()));
    }
    deviceSelectorHoldColumnFits(false);
    deviceSelectorResizeColumn(DeviceStatusColumn);
}

void BulkOperationsWidget::onMultiProcessFinished(const CorvaneProcessResult& result)
{
    progressBar->setValue(progressBar->value() + 1);
    // The runner starts the next queued process once this returns.
    QTimer::singleShot(0, this, &BulkOperationsWidget::endRunIfStalled);
    deviceSelectorRouteTaskResult(result);
}

void BulkOperationsWidget::showJobDeviceOutcome(const JobDeviceRun& run)
{
    progressBar->setValue(progressBar->value() + 1);
    // A line still waiting to be shown must not overwrite the outcome.
    latestLines->drop(run.id);
    const int row = getDeviceIndexInModel(run.id);
    if (row < 0)
        return;
    const QString elapsed = JobExecution::elapsedText(run.elapsedMs);
    const bool failed = run.state != JobDeviceState::Done;
    const QString tooltip = JobExecution::outcomeToolTip(
        run.output, run.errorOutput,
        {run.exitCode, run.state == JobDeviceState::Crashed || run.state == JobDeviceState::Aborted,
         run.timedOut},
        failed);
    // Outcomes, like live lines, fit the status column on the next refresh: with many devices
    // finishing, fitting it for each would measure every row each time.
    deviceSelectorHoldColumnFits(true);
    deviceSelectorShowProgress(row, 0, 0, -1);
    if (failed)
        setDeviceStatusError(
            row, tr("Job failed during action %1 (elapsed: %2)").arg(run.action).arg(elapsed), tooltip);
    else
        setDeviceStatusInfo(row, tr("DONE (elapsed: %1)").arg(elapsed), tooltip, CORPORATE_GREEN);
    deviceSelectorHoldColumnFits(false);
    latestLines->schedule();
}

void BulkOperationsWidget::onMultiProcessAborted(const QString& key)
{
    progressBar->setValue(progressBar->value() + 1);
    const int row = getDeviceIndexInModel(key);
    if (row < 0)
        return;
    deviceSelectorHoldColumnFits(true);
    setDeviceStatusInfo(row, tr("ABORTED"), tr("Job was aborted by user"), CORPORATE_YELLOW);
    deviceSelectorHoldColumnFits(false);
    latestLines->schedule();
}

bool BulkOperationsWidget::finishJobInBackground()
{
    if (operation != PageOperation::RunningJob)
        return false;
    jobRunEngine->abortWaitingDevices();
    return true;
}

void BulkOperationsWidget::onAbortButtonPressed()
{
    jobRunEngine->abortWaitingDevices();
    runButton->setEnabled(false);
}

void BulkOperationsWidget::onAllMultiProcessesFinished()
{
    disconnect(corvaneProcessRunner, &CorvaneProcessRunner::processStarted, this,
               &BulkOperationsWidget::onMultiProcessStarted);
    disconnect(corvaneProcessRunner, &CorvaneProcessRunner::taskAborted, this,
               &BulkOperationsWidget::onMultiProcessAborted);
    disconnect(corvaneProcessRunner, &CorvaneProcessRunner::taskFinished, this,
               &BulkOperationsWidget::onMultiProcessFinished);
    disconnect(corvaneProcessRunner, &CorvaneProcessRunner::allTasksFinished, this,
               &BulkOperationsWidget::onAllMultiProcessesFinished);
    disconnect(corvaneProcessRunner, &CorvaneProcessRunner::processFeedback, this,
               &BulkOperationsWidget::deviceSelectorOnProcessFeedbackReceived);
    enableGuiElements(true);
    progressBar->hide();
    busyIndicator->stop();
    setOperation(PageOperation::Idle);

    disconnect(runButton, &QPushButton::clicked, this, &BulkOperationsWidget::onAbortButtonPressed);
    runButton->setText(tr("Run"));
    runButton->setToolTip(tr("Run batch job on selected devices"));
    // Whatever the page was doing, Run stays closed while there is no action to run.
    runButton->setEnabled(actionModel->rowCount() > 0);
    connect(runButton, &QPushButton::clicked, this, &BulkOperationsWidget::onRunButtonPressed,
            Qt::UniqueConnection);
}
