#pragma once

#include "batchutil.h"
#include "corvaneprocessresult.h"
#include "fileguard.h"
#include "jobexecution.h"
#include "jobhash.h"
#include "pageoperation.h"
#include "ziputil.h"

#include <QDeadlineTimer>
#include <QHash>
#include <QIcon>
#include <QMap>
#include <QPair>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QWidget>

enum class BulkAction : int;
class CorvaneProcessRunner;
class DeviceSelectorTreeView;
class DeviceTable;
class JobRunEngine;
class LatestLines;
struct JobCheckAction;
struct JobDeviceRun;
struct JobRunRequest;
class DynamicComboBox;
class FlashingRowStyleDelegate;
class QCheckBox;
class QColor;
class QCompleter;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QMenu;
class QModelIndex;
class QPoint;
class QProgressBar;
class QProgressIndicator;
class QPushButton;
class QSplitter;
class QStackedWidget;
class QStandardItem;
class QStandardItemModel;
class QTimer;
class VariableExplorerWidget;
class QTreeView;
template<typename Button> class ReloadButton;

// The page that owns everything that does work: the device selector, the
// action list and editor pages, the debug connection options, the process
// runner and the job-file helpers. Its members are implemented in the file
// of the subsystem they belong to; this file's .cpp holds only the frame.
class BulkOperationsWidget : public QWidget
{
    Q_OBJECT

public:
    explicit BulkOperationsWidget(QWidget* parent = nullptr);
    ~BulkOperationsWidget() override;

    void enableGuiElements(bool enable);
    bool validateCorvaneExecutable(const QString& path);
    bool loggingIsEnabled() const;
    static QStringList parseCommandLineArguments(const QString& command);
    // "-light" on light window backgrounds, "-dark" on dark ones.
    static QString themedIconSuffix(const QPalette& palette);

    CorvaneProcessRunner* processRunner() const { return corvaneProcessRunner; }
    JobRunEngine* jobRun() const { return jobRunEngine; }
    PageOperation currentOperation() const { return operation; }
    // When a job runs: its waiting devices are aborted and the running ones go on
    // to their end without the window. False when no job runs.
    bool finishJobInBackground();
    bool corvaneExecutableIsValid() const { return corvaneExecutableValid; }

signals:
    void errorEncountered(const QString& message);

public slots:
    void newCorvaneExecutablePathSet(const QString& newPath);
    void loadBatchJob(const QString& path);
    void saveBatchJob(const QString& path);
    void closeVariableExplorer();

    void onErrorEncountered(const QString& message);
    void clearErrorMessage();

    // --- Device selector slots (devices/) ---
    void clearDeviceStatus(int deviceIndex);
    void setDeviceStatusInfo(int deviceIndex, const QString& status, const QString& tooltip,
                             const QColor& color);
    void setDeviceStatusError(int deviceIndex, const QString& status, const QString& tooltip);
    void deviceSelectorAddManualDeviceRow();
    void deviceSelectorDiscoverDevices();
    void deviceSelectorDiscoverUsbDevicesToggled(bool checked);
    void deviceSelectorDiscoverIpDevicesToggled(bool checked);
    void deviceSelectorParseDiscoveredDevices(const CorvaneProcessResult& result);
    void deviceSelectorProbeAdapterSelectedDevices();
    void deviceSelectorProbeAdapterParseResult(int deviceIndex, const CorvaneProcessResult& result);
    void deviceSelectorDetectTargetDeviceHighlightedDevices();
    void deviceSelectorParseDetectedOpn(int deviceIndex, const CorvaneProcessResult& result);
    void deviceSelectorRemoveHighlightedDevices();
    void deviceSelectorSelectAllDevices();
    void deviceSelectorDeselectAllDevices();
    void deviceSelectorSelectHighlightedDevices();
    void deviceSelectorDeselectHighlightedDevices();
    void deviceSelectorClearTargetPartHighlightedDevices();
    void deviceSelectorRunJobOnHighlightedDevices();
    void deviceSelectorOpenCorvaneForHighlightedDevices();
    void deviceSelectorOpenCorvaneForDevice(const QModelIndex& index);
    void deviceSelectorShowContextMenu(const QPoint& pos);
    void deviceSelectorOpnTextChanged();
    void deviceSelectorOnConnectionTypeComboBoxOpened();
    void deviceSelectorFlashRow(int deviceIndex, const QColor& color);
    void deviceSelectorOpenLogForHighlightedDevices();
    // The output the runner kept of each highlighted device's last run, in a viewer of its own.
    void deviceSelectorShowOutputOfHighlightedDevices();
    // Checks exactly the rows whose last job run did not end well, so Run repeats only those.
    void deviceSelectorCheckOnlyUnsuccessfulDevices();
    void deviceSelectorOnClicked(const QModelIndex& index);
    void deviceSelectorOnCommitData(const QModelIndex& index);
    void deviceSelectorDoubleClicked(const QModelIndex& index);
    void deviceSelectorOnProcessFeedbackReceived(const QString& key, const QByteArray& line);

    // --- Action selector, editor and job slots (actions/) ---
    int actionSelectorAddAction(bool enabled = true);
    void actionSelectorRemoveHighlightedActions();
    void actionSelectorActionClicked(const QModelIndex& index);
    void actionSelectorShowContextMenu(const QPoint& point);
    void actionSelectorMoveHighlightedActionsToTop();
    void actionSelectorMoveHighlightedActionsUp();
    void actionSelectorMoveActionUp(int currentRowIndex);
    void actionSelectorMoveHighlightedActionsDown();
    void actionSelectorMoveActionDown(int currentRowIndex);
    void actionSelectorMoveHighlightedActionsToBottom();
    void actionSelectorEnableHighlightedActions();
    void actionSelectorDisableHighlightedActions();
    void actionEditorOpenAction(int actionId);
    void actionEditorOnActionSelectorChanged(int newActionSelectorIndex);
    void adapterFwInstallOnInstallDefaultToggled(bool checked);
    void adapterFwInstallBrowseForEmz();
    void targetFlashBrowseForApp();
    void targetFlashOnAppFileChanged(const QString& newString);
    void debugInterfaceComboBoxOnChanged(int index);
    void debugSpeedComboBoxOnChanged(int index);
    // Every editor page's "Variable Explorer..." button lands here.
    void openVariableExplorer();

    // Job runs; the runner slots also serve discovery, probing and detection.
    void onRunButtonPressed();
    void onAbortButtonPressed();
    void onMultiProcessStarted(const QString& key);
    void onMultiProcessAborted(const QString& key);
    void onMultiProcessFinished(const CorvaneProcessResult& result);
    void onAllMultiProcessesFinished();

public:
    int getActionSelectorRowIndexFromActionId(int actionId) const;
    int getActionEditorStackIndexFromActionId(int actionId) const;
    static int getActionEditorPageIndexFromActionType(QStackedWidget* pageStack, BulkAction type);
    static QString getActionTypeString(BulkAction type);
    static BulkAction getActionTypeFromString(const QString& text);
    // The enabled and disabled actions as job steps, in list order; variableNames
    // gains the variables the enabled ones use.
    QList<QMap<QString, QVariant>> getTasksFromActionsList(QStringList& variableNames);
    // Every row of the action list in order, with its step when it has a type.
    QList<JobCheckAction> actionSelectorRows();
    // Writes devices, debug connection options and steps as a job bundle.
    bool prepareBatchJobFile(const QString& path, QStringList& variableNames);
    // The action side of loading a job, in the order a load applies them.
    void debugConnectionOptionsRestore(bool applied, const QString& debugInterface, int speed);
    void actionSelectorRemoveAllActions();
    void actionSelectorRestoreActionsFromSteps(const QList<QMap<QString, QVariant>>& steps);

    void runJob(const QList<int>& rows);
    QList<int> checkedDeviceRows() const;
    // The error line's word on an executable that does not answer; it stays until the path is fixed.
    void reportInvalidExecutable();
    // After a good load (a new job) or save: what the line said before no longer holds.
    void clearErrorAfterSuccess(bool newJob);
    // What the checks before Run find in the job on the page.
    QStringList problemsBeforeRun(const QList<JobCheckAction>& actions, const JobRunRequest& request) const;
    // The checks again after an edit, while their problems are on the error line.
    void recheckProblemsShown();
    // One (device key, own arguments) pair per row that can run; rows missing
    // the value their connection needs are left out.
    QList<QPair<QString, QStringList>> getDeviceSpecificArguments(const QList<int>& rows,
                                                                  const QStringList& variableNames);
    // timeoutMs bounds each process (0: none; a job's limit is passed to Corvane itself).
    bool runCorvaneInParallel(const QStringList& baseArguments,
                              const QList<QPair<QString, QStringList>>& entries, int timeoutMs = 0);
    void clearProcessStatuses(const QStringList& keys);
    VariableExplorerWidget* variableExplorerWindow() const { return variableExplorer; }

protected:
    void changeEvent(QEvent* event) override;

private:
    // --- Device selector members and helpers (devices/) ---
public:
    void addDeviceToTable(const QString& serialNumber, const QString& ipAddress, const QString& targetPart,
                          const QString& nickname, bool usb, bool ip, bool checked, bool editable);
    QString getDeviceIdInModel(int row) const;
    int getDeviceIndexInModel(const QString& id) const;
    static QString connectionTypeToString(BatchUtil::ConnectionType type);
    static BatchUtil::ConnectionType connectionTypeFromString(const QString& text);
    void setRowColor(int deviceIndex, const QColor& color);
    void clearRowColor(int deviceIndex);
    static QColor over(const QColor& a, const QColor& b, double t);
    QString deviceSelectorGetLogFilePath(const QString& deviceId) const;
    bool deviceSelectorLogFileExists(const QString& deviceId) const;
    // Writes the row error and returns false when the row's device id cannot
    // name a log file (it holds a path separator or "..").
    bool deviceSelectorCheckLogFileName(int deviceIndex);
    void deviceSelectorOpnCompleterFetchSuggestions();
    // Hands a finished task to discovery, probe or detection by the current
    // operation and the task id. Returns false when no device operation is
    // current, i.e. the result belongs to a job run.
    bool deviceSelectorRouteTaskResult(const CorvaneProcessResult& result);
    bool deviceSelectorOperationRunning() const;
    // The device context menu for the current highlight, not yet shown.
    QMenu* deviceSelectorCreateContextMenu(QWidget* parent);
    // "gui" with the row's connection arguments; empty when the row cannot
    // be reached.
    QStringList deviceSelectorCorvaneWindowArguments(int row) const;
    // Rows added between these two calls reach the table together at the end,
    // with the same merge results as if added one by one (discovery, job
    // loading).
    void deviceSelectorBeginRowBatch();
    void deviceSelectorEndRowBatch();
    // The job on the page as a bundle holds it: steps, variables, every row, debug options.
    JobRunRequest jobOnPage();
    JobRunRequest jobOnPage(const QList<JobCheckAction>& actions);
    JobFileOrigin jobFileOrigin() const { return jobOrigin; }

private:
    void setupDeviceSelectorBox();
    void deviceSelectorEnableGuiElements(bool enable);
    // Queues one task per entry (id, own arguments after the common ones) and
    // wires the runner to the device part until all have finished.
    bool deviceSelectorRunInParallel(const QStringList& baseArguments,
                                     const QList<QPair<QString, QStringList>>& entries);
    DynamicComboBox* deviceSelectorConnectionComboBox(int row) const;
    QList<int> deviceSelectorHighlightedRows() const;
    // The (task id, own arguments) pairs of a probe (`probe` true) or a part
    // detection of the highlighted rows; false when nothing is to be started.
    bool deviceSelectorHighlightedRowTasks(bool probe, QList<QPair<QString, QStringList>>& entries);
    void deviceSelectorSetCheckState(const QList<int>& rows, Qt::CheckState state);
    void deviceSelectorResizeColumns();
    void deviceSelectorResizeColumn(int column);
    void deviceSelectorHoldColumnFits(bool hold);
    // The thin progress indication in a running device's status cell; hidden when action is 0.
    void deviceSelectorShowProgress(int deviceIndex, int action, int actionCount, int percent);
    // The muted word an empty status cell shows ("Waiting", "Not started"); empty for none.
    void deviceSelectorShowPlaceholder(int deviceIndex, const QString& placeholder);
    // Sets the roles on every item of the row, telling the views once per item.
    void deviceSelectorSetRowData(int deviceIndex, const QVector<QPair<int, QVariant>>& values);
    // Icons from the resources, read once: building an icon from its file decodes the image
    // each time, for every outcome dot and every action row's arrows.
    const QIcon& resourceIcon(const QString& resource);
    QList<JobDevice> deviceSelectorJobDevices(const QList<int>& rows) const;

    // Takes the flash data off rows whose flash is over. Every flash lasts as long, so the
    // rows wait in flashing order for one timer instead of a timer each.
    void deviceSelectorClearFinishedFlashes();

    QHash<QString, QIcon> resourceIcons;
    struct FlashCleanup
    {
        QDeadlineTimer due;
        int deviceIndex = -1;
    };
    QList<FlashCleanup> deviceSelectorFlashCleanups;
    QTimer* deviceSelectorFlashCleanupTimer = nullptr;
    QCheckBox* deviceSelectorDiscoverUsbCheckBox = nullptr;
    QCheckBox* deviceSelectorDiscoverIpCheckBox = nullptr;
    ReloadButton<QPushButton>* deviceSelectorDiscoverButton = nullptr;
    DeviceSelectorTreeView* deviceSelectorTreeView = nullptr;
    QStandardItemModel* deviceSelectorModel = nullptr;
    FlashingRowStyleDelegate* deviceSelectorRowDelegate = nullptr;
    QPushButton* deviceSelectorAddButton = nullptr;
    QLineEdit* deviceSelectorOpnLineEdit = nullptr;
    QCompleter* deviceSelectorOpnCompleter = nullptr;
    QCheckBox* deviceSelectorApplyToAllCheckBox = nullptr;
    // Rows, batches, the row index and the connection boxes.
    DeviceTable* deviceTable = nullptr;

    // --- Action selector, editor and job members and helpers (actions/) ---
    void setupActionSelector();
    void setupActionEditorStackedWidget();
    void setupDebugConnectionOptionsBox();
    void addActionEditorPage(int actionId);
    void removeActionEditorPage(int actionId);
    QGroupBox* setupAdapterFwInstallBox();
    QGroupBox* setupAdapterDebugModeBox();
    QGroupBox* setupLogDeviceInfoBox();
    QGroupBox* setupTargetFlashBox();
    QGroupBox* setupTargetMasseraseBox();
    QGroupBox* setupTargetDebugLockUnlockBox();
    QGroupBox* setupTargetRecoveryBox();
    QGroupBox* setupWaitBox();
    QGroupBox* setupCustomCommandBox();
    QList<int> actionSelectorHighlightedRows() const;
    void actionSelectorSelectRows(const QList<int>& rows);
    void actionSelectorRenumberRows();
    void actionSelectorSetArrowIcons(const QString& suffix);
    void actionSelectorSetHighlightedCheckState(Qt::CheckState state);
    QList<BatchUtil::DeviceEntry> jobDeviceEntriesFromTable() const;
    void setupVariableExplorer();
    void showPendingStatusLines(const QHash<QString, QByteArray>& lines);
    // Ends the current run when the runner has nothing running but has not
    // finished: a process that could not start leaves its queue waiting for
    // a finish that never comes.
    void endRunIfStalled();
    void setupJobRunEngine();
    void setOperation(PageOperation newOperation) { operation = newOperation; }
    void showRunProgress(int taskCount);
    void showJobDeviceOutcome(const JobDeviceRun& run);
    void showRunTotals();

    JobRunEngine* jobRunEngine = nullptr;
    // The content of the job's files as the job was loaded or edited.
    FileGuard jobFileGuard;
    // Where the job was last loaded from or saved to, for the run report.
    JobFileOrigin jobOrigin;
    PageOperation operation = PageOperation::Idle;
    // The newest output line of each running device, shown on the next refresh.
    LatestLines* latestLines = nullptr;

    // Process-wide: ids are never reused, not even after loading a job.
    static int actionIdCounter;
    QStandardItemModel* actionModel = nullptr;
    QTreeView* actionTreeView = nullptr;
    QPushButton* actionSelectorAddButton = nullptr;
    QComboBox* debugInterfaceComboBox = nullptr;
    QComboBox* debugSpeedComboBox = nullptr;

    CorvaneProcessRunner* corvaneProcessRunner = nullptr;
    BatchUtil batchUtil;
    ZipUtil zipUtil;

    QGroupBox* deviceSelectorGroupBox = nullptr;
    QGroupBox* actionSelectorGroupBox = nullptr;
    QStackedWidget* actionEditorStack = nullptr;
    QGroupBox* debugConnectionGroupBox = nullptr;

    QLabel* errorLabel = nullptr;
    QProgressBar* progressBar = nullptr;
    QPushButton* runButton = nullptr;
    QProgressIndicator* busyIndicator = nullptr;
    QLabel* versionLabel = nullptr;
    QLabel* totalsLabel = nullptr;
    // Keeps the totals' elapsed time going while a job runs.
    QTimer* totalsTimer = nullptr;
    QSplitter* actionSplitter = nullptr;
    QSplitter* pageSplitter = nullptr;

    bool corvaneExecutableValid = false;
    // The error line shows the checks' problems: edits that may fix them check again.
    bool problemsShown = false;
    QTimer* recheckTimer = nullptr;

    // Top-level and parentless: it outlives the page until the program ends.
    VariableExplorerWidget* variableExplorer = nullptr;
};
