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
#include "jobexecution.h"
#include "qprogressindicator.h"
#include "settingsutil.h"

#include <QComboBox>
#include <QDateTime>
#include <QDir>
#include <QProgressBar>
#include <QPushButton>
#include <QStandardItemModel>
#include <QTemporaryDir>
#include <QTimer>

namespace {
// Output lines arrive far faster than anyone can read them; the latest one per
// device is shown at this pace so the event loop never floods.
constexpr int statusRefreshMs = 40;
} // namespace

void BulkOperationsWidget::onRunButtonPressed()
{
    QList<int> rows;
    for (int row = 0; row < deviceSelectorModel->rowCount(); ++row)
        if (deviceSelectorModel->index(row, DeviceSelectColumn).data(Qt::CheckStateRole).toInt() ==
            Qt::Checked)
            rows << row;
    runJob(rows);
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
    QTemporaryDir temporaryDirectory;
    if (!temporaryDirectory.isValid()) {
        emit errorEncountered(
            tr("Cannot start job; could not create a temporary folder for the job bundle: %1")
                .arg(temporaryDirectory.errorString()));
        return;
    }
    const QString name = QStringLiteral("bulk_operation_%1.%2")
                             .arg(QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd_HHmmss")),
                                  QStringLiteral("hwj"));
    const QString bundlePath = temporaryDirectory.filePath(name);

    QStringList variableNames;
    if (!prepareBatchJobFile(bundlePath, variableNames))
        return;
    QList<QPair<QString, QStringList>> entries = getDeviceSpecificArguments(rows, variableNames);
    if (entries.isEmpty()) {
        emit errorEncountered(tr("No devices selected."));
        return;
    }

    const bool logging = loggingIsEnabled();
    QDir logDirectory(Settings::logFileDirectory());
    if (logging && !logDirectory.exists() && !logDirectory.mkpath(QStringLiteral("."))) {
        // Every device would fail at once on its log file; say why instead.
        emit errorEncountered(tr("Cannot start job; the log file directory \"%1\" could not be created. "
                                 "Please choose another log file directory or switch logging off.")
                                  .arg(QDir::toNativeSeparators(logDirectory.absolutePath())));
        return;
    }

    const int timeoutSeconds = Settings::processTimeoutSeconds();

    for (auto it = entries.begin(); it != entries.end();) {
        if (logging) {
            // An edited serial number must never name a file outside the log folder.
            const int row = getDeviceIndexInModel(it->first);
            if (row >= 0 && !deviceSelectorCheckLogFileName(row)) {
                it = entries.erase(it);
                continue;
            }
            it->second << QStringLiteral("--logfile")
                       << logDirectory.absoluteFilePath(QStringLiteral("%1.txt").arg(it->first));
        }
        it->second << QStringLiteral("--timeout") << QString::number(timeoutSeconds);
        ++it;
    }
    if (entries.isEmpty())
        return;
    // Until here the folder goes with `temporaryDirectory`; from here the run owns it and
    // removes it when it ends.
    temporaryDirectory.setAutoRemove(false);
    jobBundleFolder = temporaryDirectory.path();
    if (!runCorvaneInParallel({QStringLiteral("batch"), bundlePath}, entries)) {
        removeJobBundleFolder();
        return;
    }

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
    for (int row : rows) {
        const auto text = [this, row](int column) {
            return deviceSelectorModel->index(row, column).data().toString();
        };
        const DynamicComboBox* combo = deviceSelectorConnectionComboBox(row);
        JobDevice device;
        device.serialNumber = text(DeviceSerialNumberColumn).trimmed();
        device.ipAddress = text(DeviceIpAddressColumn).trimmed();
        device.connectionType = connectionTypeFromString(combo ? combo->currentText() : QString());
        device.targetPart = text(DeviceTargetPartColumn).trimmed();
        device.nickname = text(DeviceNicknameColumn);
        const auto entry = JobExecution::deviceSpecificArguments(device, variableNames, context);
        if (!entry.first.isEmpty())
            result.append(entry);
    }
    return result;
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

    progressBar->setRange(0, int(entries.size()));
    progressBar->setValue(0);
    progressBar->setVisible(true);
    busyIndicator->start();

    corvaneProcessRunner->start();
    // Checked once the caller has put the page into its running state.
    QTimer::singleShot(0, this, &BulkOperationsWidget::endRunIfStalled);
    return true;
}

void BulkOperationsWidget::endRunIfStalled()
{
    if (!busyIndicator->isAnimated() || corvaneProcessRunner->runningTaskCount() > 0)
        return;
    emit errorEncountered(tr("The Corvane executable \"%1\" could not be started. Please check the path in "
                             "the settings.")
                              .arg(QDir::toNativeSeparators(corvaneProcessRunner->getExecutablePath())));
    // The devices still waiting are marked aborted; the one that failed to
    // start keeps its cleared status.
    corvaneProcessRunner->abortTasksNotYetStarted();
    // The runner is idle now, which is what its end-of-run signal means; the
    // run's own clean-up listens to it too.
    emit corvaneProcessRunner->allTasksFinished();
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
    deviceElapsedTimers[key].start();
    enableGuiElements(false);
    deviceSelectorTreeView->clearSelection();
}

void BulkOperationsWidget::deviceSelectorOnProcessFeedbackReceived(const QString& key, const QByteArray& line)
{
    // Probe and detection replies are JSON documents, not progress worth showing.
    if (deviceSelectorOperationRunning())
        return;
    pendingStatusLines.insert(key, line);
    scheduleStatusRefresh();
}

void BulkOperationsWidget::scheduleStatusRefresh()
{
    if (!statusRefreshTimer) {
        statusRefreshTimer = new QTimer(this);
        statusRefreshTimer->setSingleShot(true);
        connect(statusRefreshTimer, &QTimer::timeout, this, &BulkOperationsWidget::showPendingStatusLines);
    }
    if (!statusRefreshTimer->isActive())
        statusRefreshTimer->start(statusRefreshMs);
}

void BulkOperationsWidget::showPendingStatusLines()
{
    const QHash<QString, QByteArray> lines = std::exchange(pendingStatusLines, {});
    // Fitting the status column measures every row; fit it once for the whole refresh,
    // before control returns to the event loop, rather than once per changed row.
    ++deviceSelectorBatchDepth;
    for (auto it = lines.cbegin(); it != lines.cend(); ++it) {
        const int row = getDeviceIndexInModel(it.key());
        if (row >= 0)
            setDeviceStatusInfo(row, QString::fromLatin1(it.value()).trimmed(), QString(), QColor());
    }
    --deviceSelectorBatchDepth;
    deviceSelectorResizeColumn(DeviceStatusColumn);
}

void BulkOperationsWidget::onMultiProcessFinished(const CorvaneProcessResult& result)
{
    progressBar->setValue(progressBar->value() + 1);
    // The runner starts the next queued process once this returns.
    QTimer::singleShot(0, this, &BulkOperationsWidget::endRunIfStalled);
    // A line still waiting to be shown must not overwrite the outcome.
    pendingStatusLines.remove(result.id);
    if (deviceSelectorRouteTaskResult(result))
        return;

    const int row = getDeviceIndexInModel(result.id);
    if (row < 0)
        return;
    const auto timer = deviceElapsedTimers.constFind(result.id);
    const qint64 elapsedMs = timer != deviceElapsedTimers.cend() && timer->isValid() ? timer->elapsed() : 0;
    const QString elapsed = JobExecution::elapsedText(elapsedMs);
    const QString tooltip = tr("Process output:\n\n%1").arg(QString::fromUtf8(result.stdoutData));
    // Outcomes, like live lines, fit the status column on the next refresh: with many devices
    // finishing, fitting it for each would measure every row each time.
    ++deviceSelectorBatchDepth;
    if (result.exitCode != 0) {
        const int action = JobExecution::lastRunningAction(result.stdoutData);
        setDeviceStatusError(row, tr("Job failed during action %1 (elapsed: %2)").arg(action).arg(elapsed),
                             tooltip);
    } else {
        setDeviceStatusInfo(row, tr("DONE (elapsed: %1)").arg(elapsed), tooltip, CORPORATE_GREEN);
    }
    --deviceSelectorBatchDepth;
    scheduleStatusRefresh();
    deviceElapsedTimers.remove(result.id);
}

void BulkOperationsWidget::onMultiProcessAborted(const QString& key)
{
    progressBar->setValue(progressBar->value() + 1);
    const int row = getDeviceIndexInModel(key);
    if (row < 0)
        return;
    ++deviceSelectorBatchDepth;
    setDeviceStatusInfo(row, tr("ABORTED"), tr("Job was aborted by user"), CORPORATE_YELLOW);
    --deviceSelectorBatchDepth;
    scheduleStatusRefresh();
}

void BulkOperationsWidget::onAbortButtonPressed()
{
    corvaneProcessRunner->abortTasksNotYetStarted();
    runButton->setEnabled(false);
}

void BulkOperationsWidget::removeJobBundleFolder()
{
    if (jobBundleFolder.isEmpty())
        return;
    QDir(jobBundleFolder).removeRecursively();
    jobBundleFolder.clear();
}

void BulkOperationsWidget::onAllMultiProcessesFinished()
{
    removeJobBundleFolder();
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
    discoveryRunning = adapterProbeRunning = partDetectionRunning = false;

    disconnect(runButton, &QPushButton::clicked, this, &BulkOperationsWidget::onAbortButtonPressed);
    runButton->setText(tr("Run"));
    runButton->setToolTip(tr("Run batch job on selected devices"));
    runButton->setEnabled(true);
    connect(runButton, &QPushButton::clicked, this, &BulkOperationsWidget::onRunButtonPressed,
            Qt::UniqueConnection);
}
