// Adapter probing and target part detection for the highlighted rows.

#include "bulkoperationswidget.h"
#include "corvanereplies.h"
#include "deviceselectorcolumns.h"
#include "dynamiccombobox.h"

#include <QStandardItemModel>

bool BulkOperationsWidget::deviceSelectorHighlightedRowTasks(bool probe,
                                                             QList<QPair<QString, QStringList>>& entries)
{
    const QList<int> rows = deviceSelectorHighlightedRows();
    if (rows.isEmpty()) {
        emit errorEncountered(probe ? tr("No devices selected for adapter probing.")
                                    : tr("No devices selected for target device detection."));
        return false;
    }
    if (deviceSelectorOperationRunning())
        return false;

    for (int row : rows) {
        const DynamicComboBox* combo = deviceSelectorConnectionComboBox(row);
        const BatchUtil::ConnectionType type =
            connectionTypeFromString(combo ? combo->currentText() : QString());
        const auto text = [this, row](int column) {
            return deviceSelectorModel->item(row, column)->text().trimmed();
        };
        const QString serialNumber = text(DeviceSerialNumberColumn);
        const QString ipAddress = text(DeviceIpAddressColumn);
        if (type == BatchUtil::Unknown && probe) {
            // One unusable row stops the whole probe, rows examined before it
            // included.
            setDeviceStatusError(row, tr("Unknown connection type. Please select one in the dropdown menu."),
                                 QString());
            return false;
        }
        if (type == BatchUtil::Unknown) {
            // Unlike probing, the other rows still go ahead.
            setDeviceStatusError(
                row, tr("Unknown connection type for this device. Please select one in the dropdown menu."),
                QString());
            continue;
        }
        const bool usb = type == BatchUtil::Usb;
        entries.append({usb ? serialNumber : ipAddress,
                        probe ? CorvaneReplies::probeDeviceArguments(usb, serialNumber, ipAddress)
                              : CorvaneReplies::detectionDeviceArguments(usb, serialNumber, ipAddress,
                                                                         text(DeviceTargetPartColumn))});
    }
    return true;
}

void BulkOperationsWidget::deviceSelectorProbeAdapterSelectedDevices()
{
    QList<QPair<QString, QStringList>> entries;
    if (!deviceSelectorHighlightedRowTasks(true, entries))
        return;
    setOperation(PageOperation::ProbingAdapters);
    deviceSelectorRunInParallel(CorvaneReplies::probeArguments(), entries);
}

void BulkOperationsWidget::deviceSelectorProbeAdapterParseResult(int deviceIndex,
                                                                 const CorvaneProcessResult& result)
{
    const CorvaneReplies::ProbeReply reply = CorvaneReplies::readProbeReply(result.stdoutData);
    if (!reply.ok) {
        setDeviceStatusError(deviceIndex, reply.errorMessage, reply.toolTip);
        return;
    }
    const QList<QPair<int, QString>> values = {{DeviceSerialNumberColumn, reply.serialNumber},
                                               {DeviceIpAddressColumn, reply.ipAddress},
                                               {DeviceTargetPartColumn, reply.targetPart},
                                               {DeviceNicknameColumn, reply.nickname}};
    for (const auto& value : values) {
        if (value.second.isEmpty())
            continue;
        QStandardItem* item = deviceSelectorModel->item(deviceIndex, value.first);
        if (!item)
            continue;
        item->setText(value.second);
        deviceSelectorResizeColumn(value.first);
    }
}

void BulkOperationsWidget::deviceSelectorDetectTargetDeviceHighlightedDevices()
{
    QList<QPair<QString, QStringList>> entries;
    if (!deviceSelectorHighlightedRowTasks(false, entries))
        return;
    setOperation(PageOperation::DetectingParts);
    deviceSelectorRunInParallel(CorvaneReplies::detectionArguments(), entries);
}

void BulkOperationsWidget::deviceSelectorParseDetectedOpn(int deviceIndex, const CorvaneProcessResult& result)
{
    const CorvaneReplies::DetectionReply reply = CorvaneReplies::readDetectionReply(result.stdoutData);
    if (!reply.ok) {
        setDeviceStatusError(deviceIndex, reply.errorMessage, QString());
        return;
    }
    if (QStandardItem* item = deviceSelectorModel->item(deviceIndex, DeviceTargetPartColumn)) {
        item->setText(reply.partNumber);
        deviceSelectorResizeColumn(DeviceTargetPartColumn);
    }
}
