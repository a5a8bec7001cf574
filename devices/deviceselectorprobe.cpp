// Adapter probing and target part detection for the highlighted rows.

#include "bulkoperationswidget.h"
#include "corvanereplies.h"
#include "deviceselectorcolumns.h"
#include "dynamiccombobox.h"

#include <QStandardItemModel>

void BulkOperationsWidget::deviceSelectorProbeAdapterSelectedDevices()
{
    const QList<int> rows = deviceSelectorHighlightedRows();
    if (rows.isEmpty()) {
        emit errorEncountered(tr("No devices selected for adapter probing."));
        return;
    }
    if (deviceSelectorOperationRunning())
        return;

    QList<QPair<QString, QStringList>> entries;
    for (int row : rows) {
        const DynamicComboBox* combo = deviceSelectorConnectionComboBox(row);
        const BatchUtil::ConnectionType type =
            connectionTypeFromString(combo ? combo->currentText() : QString());
        const QString serialNumber =
            deviceSelectorModel->item(row, DeviceSerialNumberColumn)->text().trimmed();
        const QString ipAddress = deviceSelectorModel->item(row, DeviceIpAddressColumn)->text().trimmed();
        if (type == BatchUtil::Unknown) {
            // One unusable row stops the whole probe, rows examined before it
            // included.
            setDeviceStatusError(row, tr("Unknown connection type. Please select one in the dropdown menu."),
                                 QString());
            return;
        }
        const bool usb = type == BatchUtil::Usb;
        entries.append({usb ? serialNumber : ipAddress,
                        CorvaneReplies::probeDeviceArguments(usb, serialNumber, ipAddress)});
    }

    adapterProbeRunning = true;
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
    const QList<int> rows = deviceSelectorHighlightedRows();
    if (rows.isEmpty()) {
        emit errorEncountered(tr("No devices selected for target device detection."));
        return;
    }
    if (deviceSelectorOperationRunning())
        return;

    QList<QPair<QString, QStringList>> entries;
    for (int row : rows) {
        const DynamicComboBox* combo = deviceSelectorConnectionComboBox(row);
        const BatchUtil::ConnectionType type =
            connectionTypeFromString(combo ? combo->currentText() : QString());
        const QString serialNumber =
            deviceSelectorModel->item(row, DeviceSerialNumberColumn)->text().trimmed();
        const QString ipAddress = deviceSelectorModel->item(row, DeviceIpAddressColumn)->text().trimmed();
        const QString targetPart = deviceSelectorModel->item(row, DeviceTargetPartColumn)->text().trimmed();
        if (type == BatchUtil::Unknown) {
            // Unlike probing, the other rows still go ahead.
            setDeviceStatusError(
                row, tr("Unknown connection type for this device. Please select one in the dropdown menu."),
                QString());
            continue;
        }
        const bool usb = type == BatchUtil::Usb;
        entries.append({usb ? serialNumber : ipAddress,
                        CorvaneReplies::detectionDeviceArguments(usb, serialNumber, ipAddress, targetPart)});
    }

    partDetectionRunning = true;
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
