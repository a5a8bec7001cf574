// The page's whole job (devices, debug connection options and steps) as one
// job bundle: written for saving and for runs, read back when loading.
#include "bulkoperationswidget.h"
#include "deviceselectorcolumns.h"
#include "devicetable.h"
#include "dynamiccombobox.h"
#include "jobchecks.h"
#include "jobrunengine.h"
#include "runreport.h"

#include <QComboBox>
#include <QFileInfo>
#include <QGroupBox>
#include <QStandardItemModel>

QList<BatchUtil::DeviceEntry> BulkOperationsWidget::jobDeviceEntriesFromTable() const
{
    QList<BatchUtil::DeviceEntry> devices;
    for (int row = 0; row < deviceSelectorModel->rowCount(); ++row)
        devices.append(deviceTable->deviceEntry(row));
    return devices;
}

JobRunRequest BulkOperationsWidget::jobOnPage()
{
    return jobOnPage(actionSelectorRows());
}

JobRunRequest BulkOperationsWidget::jobOnPage(const QList<JobCheckAction>& actions)
{
    JobRunRequest job;
    job.bundleDevices = jobDeviceEntriesFromTable();
    job.debugOptionsApplied = debugConnectionGroupBox->isChecked();
    job.debugInterface = debugInterfaceComboBox->currentText();
    job.debugSpeed = debugSpeedComboBox->currentData(Qt::UserRole).toInt();
    job.steps = JobChecks::stepsOf(actions, job.variableNames);
    return job;
}

bool BulkOperationsWidget::prepareBatchJobFile(const QString& path, QStringList& variableNames)
{
    const JobRunRequest job = jobOnPage();
    variableNames << job.variableNames;
    return batchUtil.bundleWrite(path, job.steps, job.bundleDevices, job.debugOptionsApplied,
                                 job.debugInterface, job.debugSpeed, variableNames);
}

void BulkOperationsWidget::saveBatchJob(const QString& path)
{
    QStringList variableNames;
    if (!prepareBatchJobFile(path, variableNames))
        return;
    jobOrigin = {QFileInfo(path).absoluteFilePath(), RunReport::sha256OfFile(path),
                 JobHash::sha256(jobOnPage())};
    clearErrorAfterSuccess(false);
}

void BulkOperationsWidget::loadBatchJob(const QString& path)
{
    QList<QMap<QString, QVariant>> steps;
    QList<BatchUtil::DeviceEntry> devices;
    bool applied = false;
    QString debugInterface;
    int speed = 0;
    QStringList variableNames;
    // The file's hash as it is read: the run report names the file the job came from.
    const QString fileSha256 = RunReport::sha256OfFile(path);
    // A bundle that cannot be read leaves the page as it was; the reader reports why.
    if (!batchUtil.bundleRead(path, steps, devices, applied, debugInterface, speed, variableNames))
        return;

    debugConnectionOptionsRestore(applied, debugInterface, speed);
    deviceSelectorModel->removeRows(0, deviceSelectorModel->rowCount());
    actionSelectorRemoveAllActions();

    // One batch for all rows, each with the connection it was saved with.
    deviceSelectorBeginRowBatch();
    for (const BatchUtil::DeviceEntry& device : devices) {
        const QString serialNumber =
            device.serialNumber == 0 ? QString() : QString::number(device.serialNumber);
        deviceTable->addDevice(serialNumber, device.ip, device.targetDevice, device.nickname, true,
                               !device.ip.isEmpty(), device.selected, true,
                               device.connectionType == BatchUtil::Unknown
                                   ? QString()
                                   : connectionTypeToString(device.connectionType));
    }
    deviceSelectorEndRowBatch();

    actionSelectorRestoreActionsFromSteps(steps);
    jobOrigin = {QFileInfo(path).absoluteFilePath(), fileSha256, JobHash::sha256(jobOnPage())};
    // A good load replaces whatever went wrong before it, an earlier job's checks included.
    clearErrorAfterSuccess(true);
}
