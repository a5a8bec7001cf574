// Discovery of adapters, and the runner plumbing that discovery, probing and
// part detection share: they queue their tasks through
// deviceSelectorRunInParallel and their results come back by operation and
// task id through deviceSelectorRouteTaskResult.

#include "bulkoperationswidget.h"
#include "corvaneprocessrunner.h"
#include "corvanereplies.h"
#include "deviceselectorcolumns.h"
#include "deviceselectortreeview.h"
#include "qprogressindicator.h"
#include "reloadbutton.h"
#include "settingsutil.h"

#include <QCheckBox>
#include <QProgressBar>
#include <QPushButton>
#include <QStandardItemModel>

void BulkOperationsWidget::deviceSelectorDiscoverDevices()
{
    if (!corvaneExecutableValid) {
        emit errorEncountered(
            tr("Cannot discover devices because the Lumenar Corvane executable is not valid. "
               "Please provide a valid path in the settings."));
        return;
    }
    if (deviceSelectorOperationRunning())
        return;

    QList<QPair<QString, QStringList>> searches;
    if (deviceSelectorDiscoverUsbCheckBox->isChecked())
        searches.append({CorvaneReplies::usbDiscoveryTaskId, QStringList()});
    if (deviceSelectorDiscoverIpCheckBox->isChecked())
        searches.append({CorvaneReplies::ipDiscoveryTaskId, CorvaneReplies::ipDiscoveryExtraArguments()});

    // Checked rows, typed-in ones too, survive a new discovery; any state that
    // is not a readable non-zero number does not.
    for (int row = deviceSelectorModel->rowCount() - 1; row >= 0; --row) {
        bool readable = false;
        const int state =
            deviceSelectorModel->index(row, DeviceSelectColumn).data(Qt::CheckStateRole).toInt(&readable);
        if (!readable || state == 0)
            deviceSelectorModel->removeRow(row);
    }

    setOperation(PageOperation::Discovering);
    deviceSelectorRunInParallel(CorvaneReplies::discoveryArguments(), searches);
}

void BulkOperationsWidget::deviceSelectorParseDiscoveredDevices(const CorvaneProcessResult& result)
{
    const CorvaneReplies::DiscoveryReply reply =
        CorvaneReplies::readDiscoveryReply(result.exitCode, result.stdoutData);
    if (!reply.ok) {
        emit errorEncountered(reply.errorMessage);
        return;
    }
    if (reply.adapters.isEmpty())
        return;

    const bool usb = result.id == CorvaneReplies::usbDiscoveryTaskId;
    const bool ip = result.id == CorvaneReplies::ipDiscoveryTaskId;
    // One batch for the whole reply: with hundreds of adapters, laying out the
    // view and sizing the columns once per adapter is what the user would
    // wait for.
    deviceSelectorBeginRowBatch();
    for (const CorvaneReplies::DiscoveredAdapter& adapter : reply.adapters)
        addDeviceToTable(adapter.serialNumber, adapter.ipAddress, QString(), adapter.nickname, usb, ip, false,
                         true);
    deviceSelectorEndRowBatch();
}

bool BulkOperationsWidget::deviceSelectorOperationRunning() const
{
    return operation == PageOperation::Discovering || operation == PageOperation::ProbingAdapters ||
           operation == PageOperation::DetectingParts;
}

bool BulkOperationsWidget::deviceSelectorRunInParallel(const QStringList& baseArguments,
                                                       const QList<QPair<QString, QStringList>>& entries)
{
    // Unlike a job, a device operation has no limit of its own: a process that
    // never answers would keep the page busy for good.
    if (!runCorvaneInParallel(baseArguments, entries, Settings::processTimeoutSeconds() * 1000)) {
        setOperation(PageOperation::Idle);
        return false;
    }
    // Only one operation at a time: keep the inputs and Run closed until the
    // runner reports the end, even when no task belongs to a row.
    enableGuiElements(false);
    runButton->setEnabled(false);
    return true;
}

bool BulkOperationsWidget::deviceSelectorRouteTaskResult(const CorvaneProcessResult& result)
{
    if (operation == PageOperation::Discovering) {
        if (result.id == CorvaneReplies::usbDiscoveryTaskId || result.id == CorvaneReplies::ipDiscoveryTaskId)
            deviceSelectorParseDiscoveredDevices(result);
        return true;
    }
    if (operation == PageOperation::ProbingAdapters || operation == PageOperation::DetectingParts) {
        // A device removed from the table meanwhile has no row to report to.
        const int row = getDeviceIndexInModel(result.id);
        if (row < 0)
            return true;
        if (operation == PageOperation::ProbingAdapters)
            deviceSelectorProbeAdapterParseResult(row, result);
        else
            deviceSelectorParseDetectedOpn(row, result);
        return true;
    }
    return false;
}
