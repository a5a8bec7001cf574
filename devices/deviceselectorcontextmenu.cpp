// The device view's context menu, double clicks, log files and the launch of
// Corvane's own window for a device.

#include "bulkoperationswidget.h"
#include "corvaneprocessrunner.h"
#include "devicelogfiles.h"
#include "deviceselectorcolumns.h"
#include "deviceselectortreeview.h"
#include "dynamiccombobox.h"
#include "jobrunengine.h"
#include "outputviewerdialog.h"
#include "settingsutil.h"

#include <QAction>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QIcon>
#include <QMenu>
#include <QProcess>
#include <QStandardItemModel>
#include <QUrl>

QMenu* BulkOperationsWidget::deviceSelectorCreateContextMenu(QWidget* parent)
{
    const QList<int> rows = deviceSelectorHighlightedRows();
    const QString plural = rows.size() < 2 ? QString() : QStringLiteral("s");
    const QString theme = themedIconSuffix(palette());
    auto themedIcon = [&theme](const char* path) {
        return QIcon(QString::fromLatin1(path).arg(theme));
    };

    auto* menu = new QMenu(parent);
    // The output the program kept of the last run, readable without any other program.
    QAction* showOutput = menu->addAction(themedIcon(":/graphics/logs%1.png"), tr("Show Output..."));
    bool anyOutput = false;
    for (int row : rows)
        anyOutput = anyOutput || jobRunEngine->device(getDeviceIdInModel(row));
    showOutput->setEnabled(anyOutput);
    connect(showOutput, &QAction::triggered, this,
            &BulkOperationsWidget::deviceSelectorShowOutputOfHighlightedDevices);
    if (loggingIsEnabled()) {
        QAction* openLog =
            menu->addAction(themedIcon(":/graphics/logs%1.png"), tr("Open Output Log%1").arg(plural));
        bool anyLog = false;
        for (int row : rows)
            anyLog = anyLog || deviceSelectorLogFileExists(getDeviceIdInModel(row));
        openLog->setEnabled(anyLog);
        connect(openLog, &QAction::triggered, this,
                &BulkOperationsWidget::deviceSelectorOpenLogForHighlightedDevices);
    }
    menu->addSeparator();
    connect(
        menu->addAction(themedIcon(":/graphics/corvane%1.png"), tr("Open Corvane With Device%1").arg(plural)),
        &QAction::triggered, this, &BulkOperationsWidget::deviceSelectorOpenCorvaneForHighlightedDevices);
    menu->addSeparator();
    connect(menu->addAction(themedIcon(":/graphics/run%1.png"), tr("Run Job on Device%1").arg(plural)),
            &QAction::triggered, this, &BulkOperationsWidget::deviceSelectorRunJobOnHighlightedDevices);
    menu->addSeparator();
    connect(
        menu->addAction(themedIcon(":/graphics/magnifying-glass%1.png"), tr("Probe Adapter%1").arg(plural)),
        &QAction::triggered, this, &BulkOperationsWidget::deviceSelectorProbeAdapterSelectedDevices);
    connect(menu->addAction(themedIcon(":/graphics/chip%1.png"), tr("Detect Target Part%1").arg(plural)),
            &QAction::triggered, this,
            &BulkOperationsWidget::deviceSelectorDetectTargetDeviceHighlightedDevices);
    menu->addSeparator();
    connect(menu->addAction(themedIcon(":/graphics/checkbox-checked%1.png"), tr("Select All")),
            &QAction::triggered, this, &BulkOperationsWidget::deviceSelectorSelectAllDevices);
    connect(menu->addAction(themedIcon(":/graphics/checkbox-checked%1.png"), tr("Select")),
            &QAction::triggered, this, &BulkOperationsWidget::deviceSelectorSelectHighlightedDevices);
    connect(menu->addAction(themedIcon(":/graphics/checkbox-unchecked%1.png"), tr("Deselect")),
            &QAction::triggered, this, &BulkOperationsWidget::deviceSelectorDeselectHighlightedDevices);
    connect(menu->addAction(themedIcon(":/graphics/checkbox-unchecked%1.png"), tr("Deselect All")),
            &QAction::triggered, this, &BulkOperationsWidget::deviceSelectorDeselectAllDevices);
    // Run again only the boards that did not make it.
    QAction* unsuccessful = menu->addAction(themedIcon(":/graphics/checkbox-checked%1.png"),
                                            tr("Check Only Unsuccessful Devices"));
    unsuccessful->setEnabled(jobRunEngine->counts().unsuccessful() > 0);
    connect(unsuccessful, &QAction::triggered, this,
            &BulkOperationsWidget::deviceSelectorCheckOnlyUnsuccessfulDevices);
    menu->addSeparator();
    connect(menu->addAction(themedIcon(":/graphics/eraser%1.png"), tr("Clear Target Part%1").arg(plural)),
            &QAction::triggered, this,
            &BulkOperationsWidget::deviceSelectorClearTargetPartHighlightedDevices);
    connect(menu->addAction(QIcon(QStringLiteral(":/graphics/remove.png")), tr("Remove")),
            &QAction::triggered, this, &BulkOperationsWidget::deviceSelectorRemoveHighlightedDevices);
    return menu;
}

void BulkOperationsWidget::deviceSelectorShowContextMenu(const QPoint& pos)
{
    if (!deviceSelectorTreeView || !deviceSelectorTreeView->indexAt(pos).isValid())
        return;
    QMenu* menu = deviceSelectorCreateContextMenu(this);
    menu->exec(deviceSelectorTreeView->viewport()->mapToGlobal(pos));
    menu->deleteLater();
}

QString BulkOperationsWidget::deviceSelectorGetLogFilePath(const QString& deviceId) const
{
    return DeviceLogFiles::logFilePath(Settings::logFileDirectory(), deviceId);
}

bool BulkOperationsWidget::deviceSelectorLogFileExists(const QString& deviceId) const
{
    return DeviceLogFiles::logFileExists(deviceSelectorGetLogFilePath(deviceId));
}

bool BulkOperationsWidget::deviceSelectorCheckLogFileName(int deviceIndex)
{
    const QString deviceId = getDeviceIdInModel(deviceIndex);
    if (deviceId.isEmpty() || DeviceLogFiles::isUsableDeviceId(deviceId))
        return true;
    setDeviceStatusError(deviceIndex, DeviceLogFiles::unusableDeviceIdMessage(deviceId), QString());
    return false;
}

void BulkOperationsWidget::deviceSelectorOpenLogForHighlightedDevices()
{
    const QList<int> rows = deviceSelectorHighlightedRows();
    if (rows.isEmpty()) {
        emit errorEncountered(tr("No devices selected to open logs for."));
        return;
    }
    for (int row : rows) {
        const QString deviceId = getDeviceIdInModel(row);
        if (deviceId.isEmpty() || !deviceSelectorCheckLogFileName(row))
            continue;
        const QString path = deviceSelectorGetLogFilePath(deviceId);
        if (!DeviceLogFiles::logFileExists(path) || QDesktopServices::openUrl(QUrl::fromLocalFile(path)))
            continue;
        // No program to open it with: show it here instead of nothing at all.
        QFile log(path);
        if (!log.open(QIODevice::ReadOnly))
            continue;
        constexpr qint64 shownBytes = 4 * 1024 * 1024;
        if (log.size() > shownBytes)
            log.seek(log.size() - shownBytes);
        (new OutputViewerDialog(QDir::toNativeSeparators(path), QString::fromUtf8(log.readAll()), this))
            ->show();
    }
}

void BulkOperationsWidget::deviceSelectorCheckOnlyUnsuccessfulDevices()
{
    QList<int> unsuccessful, others;
    for (int row = 0; row < deviceSelectorModel->rowCount(); ++row) {
        const JobDeviceRun* run = jobRunEngine->device(getDeviceIdInModel(row));
        (run && run->state != JobDeviceState::Done && run->state != JobDeviceState::Running &&
                 run->state != JobDeviceState::Waiting
             ? unsuccessful
             : others)
            << row;
    }
    deviceSelectorSetCheckState(others, Qt::Unchecked);
    deviceSelectorSetCheckState(unsuccessful, Qt::Checked);
}

void BulkOperationsWidget::deviceSelectorShowOutputOfHighlightedDevices()
{
    for (int row : deviceSelectorHighlightedRows()) {
        const QString deviceId = getDeviceIdInModel(row);
        const JobDeviceRun* run = jobRunEngine->device(deviceId);
        if (!run)
            continue;
        QString text = QString::fromUtf8(run->output);
        if (!run->errorOutput.isEmpty())
            text += tr("\n--- standard error ---\n") + QString::fromUtf8(run->errorOutput);
        (new OutputViewerDialog(tr("Output of %1").arg(deviceId), text, this))->show();
    }
}

QStringList BulkOperationsWidget::deviceSelectorCorvaneWindowArguments(int row) const
{
    const QString serialNumber = deviceSelectorModel->item(row, DeviceSerialNumberColumn)->text().trimmed();
    const QString ipAddress = deviceSelectorModel->item(row, DeviceIpAddressColumn)->text().trimmed();
    if (serialNumber.isEmpty() && ipAddress.isEmpty())
        return {};
    const DynamicComboBox* combo = deviceSelectorConnectionComboBox(row);
    const QString connection = combo ? combo->currentText() : QString();
    if (connection == QStringLiteral("USB"))
        return {QStringLiteral("gui"), QStringLiteral("--serialno"), serialNumber};
    if (connection == QStringLiteral("IP"))
        return {QStringLiteral("gui"), QStringLiteral("--ip"), ipAddress};
    return {};
}

void BulkOperationsWidget::deviceSelectorOpenCorvaneForDevice(const QModelIndex& index)
{
    if (!index.isValid())
        return;
    const QStringList arguments = deviceSelectorCorvaneWindowArguments(index.row());
    if (arguments.isEmpty())
        return;
    // Corvane's window lives on its own; how it ends is none of the page's business.
    QProcess::startDetached(corvaneProcessRunner->getExecutablePath(), arguments);
}

void BulkOperationsWidget::deviceSelectorOpenCorvaneForHighlightedDevices()
{
    for (int row : deviceSelectorHighlightedRows())
        deviceSelectorOpenCorvaneForDevice(deviceSelectorModel->index(row, DeviceSelectColumn));
}

void BulkOperationsWidget::deviceSelectorDoubleClicked(const QModelIndex& index)
{
    if (!index.isValid())
        return;
    switch (index.column()) {
    case DeviceStatusColumn:
        deviceSelectorOpenLogForHighlightedDevices();
        return;
    case DeviceSerialNumberColumn:
    case DeviceIpAddressColumn:
    case DeviceTargetPartColumn:
        // The view starts editing these.
        return;
    default:
        deviceSelectorOpenCorvaneForDevice(index);
    }
}
