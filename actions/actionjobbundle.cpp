// The page's whole job (devices, debug connection options and steps) as one
// job bundle: written for saving and for runs, read back when loading.
#include "bulkoperationswidget.h"
#include "deviceselectorcolumns.h"
#include "deviceselectortreeview.h"
#include "dynamiccombobox.h"

#include <QComboBox>
#include <QGroupBox>
#include <QStandardItemModel>

QList<BatchUtil::DeviceEntry> BulkOperationsWidget::jobDeviceEntriesFromTable() const
{
    QList<BatchUtil::DeviceEntry> devices;
    if (!deviceSelectorModel)
        return devices;
    for (int row = 0; row < deviceSelectorModel->rowCount(); ++row) {
        const auto text = [this, row](int column) {
            return deviceSelectorModel->index(row, column).data().toString();
        };
        BatchUtil::DeviceEntry device;
        device.selected =
            deviceSelectorModel->index(row, DeviceSelectColumn).data(Qt::CheckStateRole).toInt() ==
            Qt::Checked;
        device.serialNumber = text(DeviceSerialNumberColumn).toUInt();
        device.ip = text(DeviceIpAddressColumn);
        device.targetDevice = text(DeviceTargetPartColumn);
        device.nickname = text(DeviceNicknameColumn);
        if (deviceSelectorTreeView) {
            const QModelIndex connection = deviceSelectorModel->index(row, DeviceConnectionColumn);
            if (QWidget* widget = deviceSelectorTreeView->indexWidget(connection))
                device.connectionType = connectionTypeFromString(widget->property("currentText").toString());
        }
        devices.append(device);
    }
    return devices;
}

bool BulkOperationsWidget::prepareBatchJobFile(const QString& path, QStringList& variableNames)
{
    const QList<BatchUtil::DeviceEntry> devices = jobDeviceEntriesFromTable();
    const bool applied = debugConnectionGroupBox->isChecked();
    const QString debugInterface = debugInterfaceComboBox->currentText();
    const int speed = debugSpeedComboBox->currentData(Qt::UserRole).toInt();
    const QList<QMap<QString, QVariant>> steps = getTasksFromActionsList(variableNames);
    return batchUtil.bundleWrite(path, steps, devices, applied, debugInterface, speed, variableNames);
}

void BulkOperationsWidget::saveBatchJob(const QString& path)
{
    QStringList variableNames;
    prepareBatchJobFile(path, variableNames);
}

void BulkOperationsWidget::loadBatchJob(const QString& path)
{
    QList<QMap<QString, QVariant>> steps;
    QList<BatchUtil::DeviceEntry> devices;
    bool applied = false;
    QString debugInterface;
    int speed = 0;
    QStringList variableNames;
    // A bundle that cannot be read leaves the page as it was; the reader reports why.
    if (!batchUtil.bundleRead(path, steps, devices, applied, debugInterface, speed, variableNames))
        return;

    debugConnectionOptionsRestore(applied, debugInterface, speed);
    deviceSelectorModel->removeRows(0, deviceSelectorModel->rowCount());
    actionSelectorRemoveAllActions();

    // One batch for all rows; the connection each device was saved with is
    // chosen once the rows exist.
    QList<QPair<QString, BatchUtil::ConnectionType>> connections;
    deviceSelectorBeginRowBatch();
    for (const BatchUtil::DeviceEntry& device : devices) {
        const QString serialNumber =
            device.serialNumber == 0 ? QString() : QString::number(device.serialNumber);
        addDeviceToTable(serialNumber, device.ip, device.targetDevice, device.nickname, true,
                         !device.ip.isEmpty(), device.selected, true);
        const QString id = serialNumber.isEmpty() ? device.ip.trimmed() : serialNumber;
        if (device.connectionType != BatchUtil::Unknown && !id.isEmpty())
            connections.append({id, device.connectionType});
    }
    deviceSelectorEndRowBatch();
    for (const auto& connection : connections) {
        const int row = getDeviceIndexInModel(connection.first);
        if (DynamicComboBox* combo = row >= 0 ? deviceSelectorConnectionComboBox(row) : nullptr)
            combo->setProperty("currentText", connectionTypeToString(connection.second));
    }

    actionSelectorRestoreActionsFromSteps(steps);
}
