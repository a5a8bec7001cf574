#include "devicetable.h"

#include "deviceselectorcolumns.h"
#include "deviceselectortreeview.h"
#include "dynamiccombobox.h"

#include <QHeaderView>
#include <QStandardItemModel>

#include <algorithm>
#include <functional>

namespace {

const QString usbText = QStringLiteral("USB");
const QString ipText = QStringLiteral("IP");

// What a merge takes over from the row it replaces.
struct ReplacedRow
{
    bool checked = false;
    QString connection;
    QString ipAddress;
    QString targetPart;
    QString nickname;
};

QString itemText(const QStandardItem* item)
{
    return item ? item->text() : QString();
}

QList<QStandardItem*> createRowItems(const QString& serialNumber, const QString& ipAddress,
                                     const QString& targetPart, const QString& nickname, bool checked,
                                     bool editable)
{
    auto* selectItem = new QStandardItem();
    selectItem->setCheckable(true);
    selectItem->setEditable(false);
    selectItem->setCheckState(checked ? Qt::Checked : Qt::Unchecked);

    auto* connectionItem = new QStandardItem();
    connectionItem->setEditable(false);

    auto* serialItem = new QStandardItem(serialNumber);
    serialItem->setEditable(editable);
    auto* ipItem = new QStandardItem(ipAddress);
    ipItem->setEditable(editable);
    auto* partItem = new QStandardItem();
    if (!targetPart.isEmpty())
        partItem->setText(targetPart);
    partItem->setEditable(editable);

    auto* nicknameItem = new QStandardItem(nickname);
    nicknameItem->setEditable(false);
    auto* statusItem = new QStandardItem();
    statusItem->setEditable(false);
    return {selectItem, connectionItem, serialItem, ipItem, partItem, nicknameItem, statusItem};
}

} // namespace

DeviceTable::DeviceTable(QStandardItemModel* model, DeviceSelectorTreeView* view, QObject* parent)
    : QObject(parent), model(model), view(view)
{
    // Looking a device up by id is frequent during runs (every start, line and end), so the
    // rows are indexed by id; any change that could move an id or a row drops the index.
    // Likewise the rows' enabled state is known until rows or their flags change.
    const auto dropRowIndex = [this] {
        rowIndexValid = false;
        rowsEnabled = -1;
    };
    connect(model, &QAbstractItemModel::rowsAboutToBeInserted, this, dropRowIndex);
    connect(model, &QAbstractItemModel::rowsInserted, this, dropRowIndex);
    connect(model, &QAbstractItemModel::rowsAboutToBeRemoved, this, dropRowIndex);
    connect(model, &QAbstractItemModel::rowsRemoved, this, dropRowIndex);
    connect(model, &QAbstractItemModel::rowsMoved, this, dropRowIndex);
    connect(model, &QAbstractItemModel::layoutChanged, this, dropRowIndex);
    connect(model, &QAbstractItemModel::modelReset, this, dropRowIndex);
    connect(model, &QAbstractItemModel::dataChanged, this,
            [this](const QModelIndex& topLeft, const QModelIndex& bottomRight, const QVector<int>& roles) {
                // Row flashes and check marks change other roles of every column many times a run.
                const bool text =
                    roles.isEmpty() || roles.contains(Qt::DisplayRole) || roles.contains(Qt::EditRole);
                if (text && topLeft.column() <= DeviceIpAddressColumn &&
                    bottomRight.column() >= DeviceSerialNumberColumn)
                    rowIndexValid = false;
                // Flag changes and replaced items name no role.
                if (roles.isEmpty())
                    rowsEnabled = -1;
            });
}

QString DeviceTable::connectionText(BatchUtil::ConnectionType type)
{
    switch (type) {
    case BatchUtil::Usb:
        return usbText;
    case BatchUtil::Ip:
        return ipText;
    default:
        return QStringLiteral("Unknown");
    }
}

BatchUtil::ConnectionType DeviceTable::connectionType(const QString& text)
{
    const QString upper = text.toUpper();
    if (upper == usbText)
        return BatchUtil::Usb;
    if (upper == ipText)
        return BatchUtil::Ip;
    return BatchUtil::Unknown;
}

void DeviceTable::addDevice(const QString& serialNumber, const QString& ipAddress, const QString& targetPart,
                            const QString& nickname, bool usb, bool ip, bool checked, bool editable,
                            const QString& chosenConnection)
{
    const bool batch = batchDepth > 0;

    // Only the serial number identifies a row here, so two rows with empty
    // serial numbers (IP-only adapters) count as the same device. In a batch
    // the table is not touched until its end: rows to be replaced are only
    // marked, and the batch's own rows, which come after the table's, are
    // searched as well.
    bool merged = false;
    ReplacedRow old;
    const int rowCount = model->rowCount();
    for (int row = 0; row < rowCount && !merged; ++row) {
        if (itemText(model->item(row, DeviceSerialNumberColumn)) != serialNumber ||
            (batch && rowsToRemove.contains(row)))
            continue;
        merged = true;
        const QStandardItem* selectItem = model->item(row, DeviceSelectColumn);
        old.checked = selectItem && selectItem->checkState() != Qt::Unchecked;
        if (DynamicComboBox* combo = connectionBox(row))
            old.connection = combo->currentText();
        old.ipAddress = itemText(model->item(row, DeviceIpAddressColumn));
        old.targetPart = itemText(model->item(row, DeviceTargetPartColumn));
        old.nickname = itemText(model->item(row, DeviceNicknameColumn));
        if (batch)
            rowsToRemove.insert(row);
        else
            model->removeRow(row);
    }
    for (int pending = 0; batch && !merged && pending < pendingRows.size(); ++pending) {
        const QList<QStandardItem*> items = pendingRows.at(pending);
        if (items.at(DeviceSerialNumberColumn)->text() != serialNumber)
            continue;
        merged = true;
        old.checked = items.at(DeviceSelectColumn)->checkState() != Qt::Unchecked;
        old.connection = pendingCurrent.at(pending);
        old.ipAddress = items.at(DeviceIpAddressColumn)->text();
        old.targetPart = items.at(DeviceTargetPartColumn)->text();
        old.nickname = items.at(DeviceNicknameColumn)->text();
        qDeleteAll(items);
        pendingRows.removeAt(pending);
        pendingConnections.removeAt(pending);
        pendingCurrent.removeAt(pending);
    }

    QString mergedIp = ipAddress;
    QString mergedPart = targetPart;
    QString mergedNickname = nickname;
    if (merged) {
        if (mergedIp.isEmpty())
            mergedIp = old.ipAddress;
        if (mergedNickname.isEmpty())
            mergedNickname = old.nickname;
        if (mergedPart.isEmpty())
            mergedPart = old.targetPart;
        if (!usb)
            usb = old.connection == usbText;
        if (!ip)
            ip = old.connection == ipText || !mergedIp.isEmpty();
        checked = checked || old.checked;
    }

    QStringList connections;
    if (merged && !old.connection.isEmpty())
        connections << old.connection;
    if (usb && !connections.contains(usbText))
        connections << usbText;
    if (ip && !connections.contains(ipText))
        connections << ipText;

    const QString current = connections.contains(chosenConnection) ? chosenConnection : connections.value(0);
    const QList<QStandardItem*> items =
        createRowItems(serialNumber, mergedIp, mergedPart, mergedNickname, checked, editable);
    if (batch) {
        pendingRows.append(items);
        pendingConnections.append(connections);
        pendingCurrent.append(current);
        return;
    }
    model->appendRow(items);
    attachConnectionBox(model->rowCount() - 1, connections, current);
    resizeColumns();
    if (view)
        view->header()->setStretchLastSection(true);
}

void DeviceTable::attachConnectionBox(int row, const QStringList& connections, const QString& current)
{
    if (!view)
        return;
    rowsEnabled = -1;
    auto* combo = new DynamicComboBox();
    emit connectionBoxCreated(combo);
    combo->addItems(connections);
    combo->setCurrentIndex(qMax(0, int(connections.indexOf(current))));
    view->setIndexWidget(model->index(row, DeviceConnectionColumn), combo);
}

void DeviceTable::beginBatch()
{
    ++batchDepth;
}

void DeviceTable::endBatch()
{
    if (batchDepth == 0 || --batchDepth > 0)
        return;

    // Replaced rows go in runs from the bottom up, then the new rows arrive in
    // one insertion: the view lays itself out once instead of once per row.
    QList<int> removals = rowsToRemove.values();
    rowsToRemove.clear();
    std::sort(removals.begin(), removals.end(), std::greater<int>());
    for (int index = 0; index < removals.size();) {
        int first = removals.at(index);
        int count = 1;
        while (index + count < removals.size() && removals.at(index + count) == first - 1) {
            --first;
            ++count;
        }
        model->removeRows(first, count);
        index += count;
    }

    const QList<QList<QStandardItem*>> rows = std::exchange(pendingRows, {});
    const QList<QStringList> connections = std::exchange(pendingConnections, {});
    const QStringList current = std::exchange(pendingCurrent, {});
    if (!rows.isEmpty()) {
        const int first = model->rowCount();
        model->insertRows(first, int(rows.size()));
        for (int row = 0; row < rows.size(); ++row)
            for (int column = 0; column < rows.at(row).size(); ++column)
                model->setItem(first + row, column, rows.at(row).at(column));
        for (int row = 0; row < rows.size(); ++row)
            attachConnectionBox(first + row, connections.at(row), current.at(row));
    }
    resizeColumns();
    if (view)
        view->header()->setStretchLastSection(true);
}

void DeviceTable::holdColumnFits(bool hold)
{
    fitHolds += hold ? 1 : -1;
}

void DeviceTable::resizeColumn(int column)
{
    if (batchDepth > 0 || fitHolds > 0 || !view)
        return;
    if (column == DeviceStatusColumn)
        view->fitTextColumnToContents(column);
    else
        view->resizeColumnToContents(column);
}

void DeviceTable::resizeColumns()
{
    if (batchDepth > 0 || fitHolds > 0 || !view)
        return;
    for (int column = 0; column < DeviceColumnCount; ++column)
        view->resizeColumnToContents(column);
}

QString DeviceTable::text(int row, int column) const
{
    return itemText(model->item(row, column));
}

QString DeviceTable::idOf(int row) const
{
    const QString serialNumber = text(row, DeviceSerialNumberColumn).trimmed();
    if (!serialNumber.isEmpty())
        return serialNumber;
    return text(row, DeviceIpAddressColumn).trimmed();
}

int DeviceTable::rowOf(const QString& id) const
{
    if (!rowIndexValid) {
        // The first row whose serial number, or else IP address, is the id wins, as in a scan.
        rowIndex.clear();
        const int rowCount = model->rowCount();
        for (int row = 0; row < rowCount; ++row) {
            for (int column : {DeviceSerialNumberColumn, DeviceIpAddressColumn}) {
                if (const QStandardItem* item = model->item(row, column)) {
                    const QString text = item->text();
                    if (!rowIndex.contains(text))
                        rowIndex.insert(text, row);
                }
            }
        }
        rowIndexValid = true;
    }
    return rowIndex.value(id, -1);
}

DynamicComboBox* DeviceTable::connectionBox(int row) const
{
    if (!view)
        return nullptr;
    return qobject_cast<DynamicComboBox*>(view->indexWidget(model->index(row, DeviceConnectionColumn)));
}

JobDevice DeviceTable::jobDevice(int row) const
{
    const DynamicComboBox* combo = connectionBox(row);
    JobDevice device;
    device.serialNumber = text(row, DeviceSerialNumberColumn).trimmed();
    device.ipAddress = text(row, DeviceIpAddressColumn).trimmed();
    device.connectionType = connectionType(combo ? combo->currentText() : QString());
    device.targetPart = text(row, DeviceTargetPartColumn).trimmed();
    device.nickname = text(row, DeviceNicknameColumn);
    return device;
}

BatchUtil::DeviceEntry DeviceTable::deviceEntry(int row) const
{
    BatchUtil::DeviceEntry device;
    device.selected = model->index(row, DeviceSelectColumn).data(Qt::CheckStateRole).toInt() == Qt::Checked;
    device.serialNumber = text(row, DeviceSerialNumberColumn).toUInt();
    device.ip = text(row, DeviceIpAddressColumn);
    device.targetDevice = text(row, DeviceTargetPartColumn);
    device.nickname = text(row, DeviceNicknameColumn);
    if (const DynamicComboBox* combo = connectionBox(row))
        device.connectionType = connectionType(combo->currentText());
    return device;
}

void DeviceTable::setRowsEnabled(bool enable)
{
    // A job run asks again at every process start; the rows are walked only when they may differ.
    if (rowsEnabled == int(enable))
        return;
    for (int row = 0; row < model->rowCount(); ++row) {
        if (QStandardItem* item = model->item(row, DeviceSelectColumn))
            item->setEnabled(enable);
        if (QWidget* combo = connectionBox(row))
            combo->setEnabled(enable);
        for (int column : {DeviceSerialNumberColumn, DeviceIpAddressColumn, DeviceTargetPartColumn})
            if (QStandardItem* item = model->item(row, column))
                item->setEditable(enable);
    }
    rowsEnabled = int(enable);
}
