// The device table of the bulk operations page: its widgets, rows, merge
// rules, connection boxes and the target part line edit.

#include "bulkoperationswidget.h"
#include "corvaneprocessrunner.h"
#include "corvanereplies.h"
#include "deviceselectorcolumns.h"
#include "deviceselectortreeview.h"
#include "dynamiccombobox.h"
#include "flashingrowstyledelegate.h"
#include "forkedprocess.h"
#include "jobvariables.h"
#include "reloadbutton.h"
#include "rowordering.h"
#include "selectallonclickfilter.h"
#include "variableexplorerwidget.h"

#include <QCheckBox>
#include <QCompleter>
#include <QGridLayout>
#include <QGroupBox>
#include <QHeaderView>
#include <QIcon>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QStandardItemModel>
#include <QStringListModel>

#include <algorithm>
#include <functional>

namespace {
constexpr int completionTimeoutMs = 5000;

const QString usbText = QStringLiteral("USB");
const QString ipText = QStringLiteral("IP");
const QString notAvailableText = QStringLiteral("N/A");
} // namespace

void BulkOperationsWidget::setupDeviceSelectorBox()
{
    if (!deviceSelectorGroupBox)
        return;

    deviceSelectorOpnCompleter = new QCompleter(QStringList(), this);
    deviceSelectorOpnCompleter->setCaseSensitivity(Qt::CaseInsensitive);
    deviceSelectorOpnCompleter->setFilterMode(Qt::MatchContains);

    deviceSelectorDiscoverButton =
        new ReloadButton<QPushButton>(tr("Discover Available Devices"), deviceSelectorGroupBox);
    deviceSelectorDiscoverButton->setObjectName(QStringLiteral("deviceSelectorDiscoverButton"));
    auto* discoverButton = deviceSelectorDiscoverButton;
    connect(discoverButton, &QPushButton::clicked, discoverButton,
            [discoverButton] { discoverButton->animateRotation(); });
    connect(discoverButton, &QPushButton::clicked, this,
            &BulkOperationsWidget::deviceSelectorDiscoverDevices);

    deviceSelectorDiscoverUsbCheckBox = new QCheckBox(tr("Discover USB Devices"), deviceSelectorGroupBox);
    deviceSelectorDiscoverUsbCheckBox->setObjectName(QStringLiteral("deviceSelectorDiscoverUsbCheckBox"));
    deviceSelectorDiscoverUsbCheckBox->setChecked(true);
    connect(deviceSelectorDiscoverUsbCheckBox, &QCheckBox::toggled, this,
            &BulkOperationsWidget::deviceSelectorDiscoverUsbDevicesToggled);
    deviceSelectorDiscoverIpCheckBox = new QCheckBox(tr("Discover IP Devices"), deviceSelectorGroupBox);
    deviceSelectorDiscoverIpCheckBox->setObjectName(QStringLiteral("deviceSelectorDiscoverIpCheckBox"));
    deviceSelectorDiscoverIpCheckBox->setChecked(true);
    connect(deviceSelectorDiscoverIpCheckBox, &QCheckBox::toggled, this,
            &BulkOperationsWidget::deviceSelectorDiscoverIpDevicesToggled);

    deviceSelectorModel = new QStandardItemModel(0, DeviceColumnCount, this);
    deviceSelectorModel->setObjectName(QStringLiteral("deviceSelectorModel"));
    deviceSelectorModel->setHorizontalHeaderLabels(
        {QStringLiteral("Select"), QStringLiteral("Connection"), QStringLiteral("Serial Number"),
         QStringLiteral("IP Address"), QStringLiteral("Target Part"), QStringLiteral("Nickname"),
         QStringLiteral("Status")});
    // Looking a device up by id is frequent during runs (every start, line and end), so the
    // rows are indexed by id; any change that could move an id or a row drops the index.
    // Likewise the rows' enabled state is known until rows or their flags change.
    const auto dropRowIndex = [this] {
        deviceSelectorRowIndexValid = false;
        deviceSelectorRowsEnabled = -1;
    };
    connect(deviceSelectorModel, &QAbstractItemModel::rowsAboutToBeInserted, this, dropRowIndex);
    connect(deviceSelectorModel, &QAbstractItemModel::rowsInserted, this, dropRowIndex);
    connect(deviceSelectorModel, &QAbstractItemModel::rowsAboutToBeRemoved, this, dropRowIndex);
    connect(deviceSelectorModel, &QAbstractItemModel::rowsRemoved, this, dropRowIndex);
    connect(deviceSelectorModel, &QAbstractItemModel::rowsMoved, this, dropRowIndex);
    connect(deviceSelectorModel, &QAbstractItemModel::layoutChanged, this, dropRowIndex);
    connect(deviceSelectorModel, &QAbstractItemModel::modelReset, this, dropRowIndex);
    connect(deviceSelectorModel, &QAbstractItemModel::dataChanged, this,
            [this](const QModelIndex& topLeft, const QModelIndex& bottomRight, const QVector<int>& roles) {
                // Row flashes and check marks change other roles of every column many times a run.
                const bool text =
                    roles.isEmpty() || roles.contains(Qt::DisplayRole) || roles.contains(Qt::EditRole);
                if (text && topLeft.column() <= DeviceIpAddressColumn &&
                    bottomRight.column() >= DeviceSerialNumberColumn)
                    deviceSelectorRowIndexValid = false;
                // Flag changes and replaced items name no role.
                if (roles.isEmpty())
                    deviceSelectorRowsEnabled = -1;
            });

    deviceSelectorTreeView = new DeviceSelectorTreeView(deviceSelectorGroupBox);
    deviceSelectorTreeView->setObjectName(QStringLiteral("deviceSelectorTreeView"));
    deviceSelectorTreeView->setModel(deviceSelectorModel);
    deviceSelectorTreeView->setSortingEnabled(true);
    deviceSelectorTreeView->setAlternatingRowColors(true);
    deviceSelectorRowDelegate = new FlashingRowStyleDelegate(deviceSelectorTreeView);
    deviceSelectorTreeView->setItemDelegate(deviceSelectorRowDelegate);
    deviceSelectorTreeView->setMinimumWidth(900);
    deviceSelectorTreeView->setMinimumHeight(320);
    deviceSelectorTreeView->setIndentation(0);
    // Every row has the same cells, so one row's height serves all: with
    // hundreds of adapters the per-row height queries would dominate.
    deviceSelectorTreeView->setUniformRowHeights(true);
    deviceSelectorTreeView->setContextMenuPolicy(Qt::CustomContextMenu);
    deviceSelectorTreeView->setSelectionMode(QAbstractItemView::ExtendedSelection);
    deviceSelectorTreeView->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    deviceSelectorTreeView->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    deviceSelectorTreeView->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    deviceSelectorTreeView->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);

    deviceSelectorAddButton =
        new QPushButton(QIcon(QStringLiteral(":/graphics/add.png")), tr("Add"), deviceSelectorGroupBox);
    deviceSelectorAddButton->setObjectName(QStringLiteral("deviceSelectorAddButton"));
    deviceSelectorAddButton->setMaximumWidth(100);
    deviceSelectorAddButton->setToolTip(tr("Add a new device to the list manually."));
    connect(deviceSelectorAddButton, &QPushButton::clicked, this,
            &BulkOperationsWidget::deviceSelectorAddManualDeviceRow);

    deviceSelectorOpnLineEdit = new QLineEdit(deviceSelectorGroupBox);
    deviceSelectorOpnLineEdit->setObjectName(QStringLiteral("deviceSelectorOpnLineEdit"));
    deviceSelectorOpnLineEdit->setPlaceholderText(tr("Assign target part number"));
    deviceSelectorOpnLineEdit->setCompleter(deviceSelectorOpnCompleter);
    deviceSelectorOpnLineEdit->setToolTip(tr("Specify the target part number to use. Right click one or more "
                                             "specific devices to detect their target parts."));
    deviceSelectorOpnLineEdit->setMinimumWidth(200);
    deviceSelectorOpnLineEdit->installEventFilter(new SelectAllOnClickFilter(deviceSelectorOpnLineEdit));
    connect(deviceSelectorOpnLineEdit, &QLineEdit::textChanged, this,
            &BulkOperationsWidget::deviceSelectorOpnTextChanged);

    deviceSelectorApplyToAllCheckBox = new QCheckBox(tr("Apply to all"), deviceSelectorGroupBox);
    deviceSelectorApplyToAllCheckBox->setObjectName(QStringLiteral("deviceSelectorApplyToAllCheckBox"));
    deviceSelectorApplyToAllCheckBox->setChecked(true);
    deviceSelectorApplyToAllCheckBox->setToolTip(
        tr("When checked, the specified target part number will be applied to all devices in the list. "
           "\nOtherwise, it will only be applied to the currently highlighted devices."));

    auto* layout = new QGridLayout(deviceSelectorGroupBox);
    layout->addWidget(deviceSelectorDiscoverUsbCheckBox, 0, 0);
    layout->addWidget(deviceSelectorDiscoverIpCheckBox, 0, 1);
    layout->addWidget(deviceSelectorDiscoverButton, 0, 3, 1, 2, Qt::AlignRight);
    layout->addWidget(deviceSelectorTreeView, 1, 0, 1, 5);
    layout->addWidget(deviceSelectorAddButton, 2, 0);
    layout->addWidget(deviceSelectorOpnLineEdit, 2, 3);
    layout->addWidget(deviceSelectorApplyToAllCheckBox, 2, 4);
    layout->setColumnStretch(1, 1);

    connect(deviceSelectorTreeView, &QWidget::customContextMenuRequested, this,
            &BulkOperationsWidget::deviceSelectorShowContextMenu, Qt::UniqueConnection);
    connect(deviceSelectorTreeView, &QAbstractItemView::clicked, this,
            &BulkOperationsWidget::deviceSelectorOnClicked);
    connect(deviceSelectorTreeView, &DeviceSelectorTreeView::dataCommitted, this,
            &BulkOperationsWidget::deviceSelectorOnCommitData);
    connect(deviceSelectorTreeView, &QAbstractItemView::doubleClicked, this,
            &BulkOperationsWidget::deviceSelectorDoubleClicked);
}

namespace {

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

void BulkOperationsWidget::addDeviceToTable(const QString& serialNumber, const QString& ipAddress,
                                            const QString& targetPart, const QString& nickname, bool usb,
                                            bool ip, bool checked, bool editable)
{
    if (!deviceSelectorModel)
        return;
    const bool batch = deviceSelectorBatchDepth > 0;

    // Only the serial number identifies a row here, so two rows with empty
    // serial numbers (IP-only adapters) count as the same device. In a batch
    // the table is not touched until its end: rows to be replaced are only
    // marked, and the batch's own rows, which come after the table's, are
    // searched as well.
    bool merged = false;
    ReplacedRow old;
    const int rowCount = deviceSelectorModel->rowCount();
    for (int row = 0; row < rowCount && !merged; ++row) {
        if (itemText(deviceSelectorModel->item(row, DeviceSerialNumberColumn)) != serialNumber ||
            (batch && deviceSelectorRowsToRemove.contains(row)))
            continue;
        merged = true;
        const QStandardItem* selectItem = deviceSelectorModel->item(row, DeviceSelectColumn);
        old.checked = selectItem && selectItem->checkState() != Qt::Unchecked;
        if (DynamicComboBox* combo = deviceSelectorConnectionComboBox(row))
            old.connection = combo->currentText();
        old.ipAddress = itemText(deviceSelectorModel->item(row, DeviceIpAddressColumn));
        old.targetPart = itemText(deviceSelectorModel->item(row, DeviceTargetPartColumn));
        old.nickname = itemText(deviceSelectorModel->item(row, DeviceNicknameColumn));
        if (batch)
            deviceSelectorRowsToRemove.insert(row);
        else
            deviceSelectorModel->removeRow(row);
    }
    for (int pending = 0; batch && !merged && pending < deviceSelectorPendingRows.size(); ++pending) {
        const QList<QStandardItem*> items = deviceSelectorPendingRows.at(pending);
        if (items.at(DeviceSerialNumberColumn)->text() != serialNumber)
            continue;
        merged = true;
        old.checked = items.at(DeviceSelectColumn)->checkState() != Qt::Unchecked;
        old.connection = deviceSelectorPendingConnections.at(pending).value(0);
        old.ipAddress = items.at(DeviceIpAddressColumn)->text();
        old.targetPart = items.at(DeviceTargetPartColumn)->text();
        old.nickname = items.at(DeviceNicknameColumn)->text();
        qDeleteAll(items);
        deviceSelectorPendingRows.removeAt(pending);
        deviceSelectorPendingConnections.removeAt(pending);
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

    const QList<QStandardItem*> items =
        createRowItems(serialNumber, mergedIp, mergedPart, mergedNickname, checked, editable);
    if (batch) {
        deviceSelectorPendingRows.append(items);
        deviceSelectorPendingConnections.append(connections);
        return;
    }
    deviceSelectorModel->appendRow(items);
    deviceSelectorAttachConnectionBox(deviceSelectorModel->rowCount() - 1, connections);
    deviceSelectorResizeColumns();
    if (deviceSelectorTreeView)
        deviceSelectorTreeView->header()->setStretchLastSection(true);
}

void BulkOperationsWidget::deviceSelectorAttachConnectionBox(int row, const QStringList& connections)
{
    if (!deviceSelectorTreeView)
        return;
    deviceSelectorRowsEnabled = -1;
    auto* combo = new DynamicComboBox();
    connect(combo, &DynamicComboBox::showingPopup, this,
            &BulkOperationsWidget::deviceSelectorOnConnectionTypeComboBoxOpened);
    combo->addItems(connections);
    combo->setCurrentIndex(0);
    deviceSelectorTreeView->setIndexWidget(deviceSelectorModel->index(row, DeviceConnectionColumn), combo);
}

void BulkOperationsWidget::deviceSelectorBeginRowBatch()
{
    ++deviceSelectorBatchDepth;
}

void BulkOperationsWidget::deviceSelectorEndRowBatch()
{
    if (deviceSelectorBatchDepth == 0 || --deviceSelectorBatchDepth > 0)
        return;

    // Replaced rows go in runs from the bottom up, then the new rows arrive in
    // one insertion: the view lays itself out once instead of once per row.
    QList<int> removals = deviceSelectorRowsToRemove.values();
    deviceSelectorRowsToRemove.clear();
    std::sort(removals.begin(), removals.end(), std::greater<int>());
    for (int index = 0; index < removals.size();) {
        int first = removals.at(index);
        int count = 1;
        while (index + count < removals.size() && removals.at(index + count) == first - 1) {
            --first;
            ++count;
        }
        deviceSelectorModel->removeRows(first, count);
        index += count;
    }

    const QList<QList<QStandardItem*>> rows = deviceSelectorPendingRows;
    const QList<QStringList> connections = deviceSelectorPendingConnections;
    deviceSelectorPendingRows.clear();
    deviceSelectorPendingConnections.clear();
    if (!rows.isEmpty()) {
        const int first = deviceSelectorModel->rowCount();
        deviceSelectorModel->insertRows(first, int(rows.size()));
        for (int row = 0; row < rows.size(); ++row)
            for (int column = 0; column < rows.at(row).size(); ++column)
                deviceSelectorModel->setItem(first + row, column, rows.at(row).at(column));
        for (int row = 0; row < rows.size(); ++row)
            deviceSelectorAttachConnectionBox(first + row, connections.at(row));
    }
    deviceSelectorResizeColumns();
    if (deviceSelectorTreeView)
        deviceSelectorTreeView->header()->setStretchLastSection(true);
}

void BulkOperationsWidget::deviceSelectorAddManualDeviceRow()
{
    addDeviceToTable(QString(), QString(), QString(), QString(), true, true, false, true);
}

QString BulkOperationsWidget::getDeviceIdInModel(int row) const
{
    if (!deviceSelectorModel)
        return QString();
    auto text = [this, row](int column) {
        const QStandardItem* item = deviceSelectorModel->item(row, column);
        return item ? item->text().trimmed() : QString();
    };
    const QString serialNumber = text(DeviceSerialNumberColumn);
    if (!serialNumber.isEmpty())
        return serialNumber;
    return text(DeviceIpAddressColumn);
}

int BulkOperationsWidget::getDeviceIndexInModel(const QString& id) const
{
    if (!deviceSelectorModel)
        return -1;
    if (!deviceSelectorRowIndexValid) {
        // The first row whose serial number, or else IP address, is the id wins, as in a scan.
        deviceSelectorRowIndex.clear();
        const int rowCount = deviceSelectorModel->rowCount();
        for (int row = 0; row < rowCount; ++row) {
            for (int column : {DeviceSerialNumberColumn, DeviceIpAddressColumn}) {
                if (const QStandardItem* item = deviceSelectorModel->item(row, column)) {
                    const QString text = item->text();
                    if (!deviceSelectorRowIndex.contains(text))
                        deviceSelectorRowIndex.insert(text, row);
                }
            }
        }
        deviceSelectorRowIndexValid = true;
    }
    return deviceSelectorRowIndex.value(id, -1);
}

QString BulkOperationsWidget::connectionTypeToString(BatchUtil::ConnectionType type)
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

BatchUtil::ConnectionType BulkOperationsWidget::connectionTypeFromString(const QString& text)
{
    const QString upper = text.toUpper();
    if (upper == usbText)
        return BatchUtil::Usb;
    if (upper == ipText)
        return BatchUtil::Ip;
    return BatchUtil::Unknown;
}

DynamicComboBox* BulkOperationsWidget::deviceSelectorConnectionComboBox(int row) const
{
    if (!deviceSelectorModel || !deviceSelectorTreeView)
        return nullptr;
    return qobject_cast<DynamicComboBox*>(
        deviceSelectorTreeView->indexWidget(deviceSelectorModel->index(row, DeviceConnectionColumn)));
}

QList<int> BulkOperationsWidget::deviceSelectorHighlightedRows() const
{
    QList<int> rows;
    if (!deviceSelectorTreeView || !deviceSelectorTreeView->selectionModel())
        return rows;
    const QModelIndexList selected =
        deviceSelectorTreeView->selectionModel()->selectedRows(DeviceSelectColumn);
    for (const QModelIndex& index : selected)
        rows << index.row();
    return rows;
}

void BulkOperationsWidget::deviceSelectorSetCheckState(const QList<int>& rows, Qt::CheckState state)
{
    for (int row : rows)
        deviceSelectorModel->setData(deviceSelectorModel->index(row, DeviceSelectColumn), state,
                                     Qt::CheckStateRole);
}

void BulkOperationsWidget::deviceSelectorSelectAllDevices()
{
    QList<int> rows;
    for (int row = 0; row < deviceSelectorModel->rowCount(); ++row)
        rows << row;
    deviceSelectorSetCheckState(rows, Qt::Checked);
}

void BulkOperationsWidget::deviceSelectorDeselectAllDevices()
{
    QList<int> rows;
    for (int row = 0; row < deviceSelectorModel->rowCount(); ++row)
        rows << row;
    deviceSelectorSetCheckState(rows, Qt::Unchecked);
}

void BulkOperationsWidget::deviceSelectorSelectHighlightedDevices()
{
    deviceSelectorSetCheckState(deviceSelectorHighlightedRows(), Qt::Checked);
}

void BulkOperationsWidget::deviceSelectorDeselectHighlightedDevices()
{
    deviceSelectorSetCheckState(deviceSelectorHighlightedRows(), Qt::Unchecked);
}

void BulkOperationsWidget::deviceSelectorClearTargetPartHighlightedDevices()
{
    for (int row : deviceSelectorHighlightedRows())
        deviceSelectorModel->setData(deviceSelectorModel->index(row, DeviceTargetPartColumn), QString());
}

void BulkOperationsWidget::deviceSelectorRemoveHighlightedDevices()
{
    if (!deviceSelectorTreeView || !deviceSelectorTreeView->selectionModel())
        return;
    QModelIndexList selected = deviceSelectorTreeView->selectionModel()->selectedRows(DeviceSelectColumn);
    std::sort(selected.begin(), selected.end(), sortRowsHighToLow);
    // Row numbers first: removing a row changes the selection model's indexes.
    QList<int> rows;
    for (const QModelIndex& index : selected)
        rows << index.row();
    for (int row : rows)
        deviceSelectorModel->removeRow(row);
}

void BulkOperationsWidget::deviceSelectorOpnTextChanged()
{
    if (!deviceSelectorModel || !deviceSelectorOpnLineEdit)
        return;
    const QString text = deviceSelectorOpnLineEdit->text();
    const bool applyToAll = deviceSelectorApplyToAllCheckBox && deviceSelectorApplyToAllCheckBox->isChecked();
    const QItemSelectionModel* selection = deviceSelectorTreeView->selectionModel();
    for (int row = 0; row < deviceSelectorModel->rowCount(); ++row) {
        if (applyToAll || (selection && selection->isRowSelected(row, QModelIndex())))
            deviceSelectorModel->setData(deviceSelectorModel->index(row, DeviceTargetPartColumn), text);
    }
    if (!text.isEmpty())
        deviceSelectorResizeColumn(DeviceTargetPartColumn);
}

void BulkOperationsWidget::deviceSelectorOnConnectionTypeComboBoxOpened()
{
    auto* combo = qobject_cast<DynamicComboBox*>(sender());
    if (!combo || !deviceSelectorModel)
        return;
    // The box sits in the connection cell of its row; find that row.
    int row = -1;
    for (int candidate = 0; candidate < deviceSelectorModel->rowCount(); ++candidate) {
        if (deviceSelectorConnectionComboBox(candidate) == combo) {
            row = candidate;
            break;
        }
    }
    if (row < 0)
        return;

    const QString current = combo->currentText();
    const QString serialNumber = deviceSelectorModel->item(row, DeviceSerialNumberColumn)->text().trimmed();
    const QString ipAddress = deviceSelectorModel->item(row, DeviceIpAddressColumn)->text().trimmed();
    combo->clear();
    if (!serialNumber.isEmpty())
        combo->addItem(usbText);
    if (!ipAddress.isEmpty())
        combo->addItem(ipText);
    if (combo->count() == 0)
        combo->addItem(notAvailableText);
    const int index = combo->findText(current, Qt::MatchFixedString);
    combo->setCurrentIndex(index >= 0 ? index : 0);
}

void BulkOperationsWidget::deviceSelectorOnCommitData(const QModelIndex& index)
{
    if (!index.isValid() ||
        (index.column() != DeviceSerialNumberColumn && index.column() != DeviceIpAddressColumn))
        return;
    DynamicComboBox* combo = deviceSelectorConnectionComboBox(index.row());
    if (!combo)
        return;

    // A device typed in with only one of its two addresses is reached through
    // that one.
    const int otherColumn =
        index.column() == DeviceIpAddressColumn ? DeviceSerialNumberColumn : DeviceIpAddressColumn;
    const QStandardItem* otherItem = deviceSelectorModel->item(index.row(), otherColumn);
    if (otherItem && !otherItem->text().trimmed().isEmpty())
        return;
    const QString type = index.column() == DeviceIpAddressColumn ? ipText : usbText;
    int position = combo->findText(type, Qt::MatchFixedString);
    if (position < 0) {
        combo->insertItem(0, type);
        position = 0;
    }
    combo->setCurrentIndex(position);
}

void BulkOperationsWidget::deviceSelectorOnClicked(const QModelIndex& index)
{
    if (!variableExplorer || !index.isValid())
        return;
    auto text = [this, &index](int column) {
        const QStandardItem* item = deviceSelectorModel->item(index.row(), column);
        return item ? item->text() : QString();
    };
    QMap<QString, QString> values;
    values.insert(VARIABLE_NAME_SERIAL_NUMBER, text(DeviceSerialNumberColumn).trimmed());
    values.insert(VARIABLE_NAME_IP_ADDRESS, text(DeviceIpAddressColumn).trimmed());
    values.insert(VARIABLE_NAME_TARGET_PART, text(DeviceTargetPartColumn).trimmed());
    values.insert(VARIABLE_NAME_NICKNAME, text(DeviceNicknameColumn));
    variableExplorer->updateVariableValues(values);
}

void BulkOperationsWidget::deviceSelectorOpnCompleterFetchSuggestions()
{
    if (!deviceSelectorOpnCompleter)
        return;
    // A bounded wait on purpose: the list is wanted before the page is used.
    ForkedProcess process;
    process.start(corvaneProcessRunner->getExecutablePath(), CorvaneReplies::completionArguments(),
                  QIODevice::ReadWrite);
    if (!process.waitForFinished(completionTimeoutMs)) {
        process.kill();
        process.waitForFinished(1000);
        return;
    }
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return;
    const QStringList partNumbers = CorvaneReplies::readCompletionReply(process.readAllStandardOutput());
    if (partNumbers.isEmpty())
        return;
    if (auto* model = qobject_cast<QStringListModel*>(deviceSelectorOpnCompleter->model()))
        model->setStringList(partNumbers);
}

void BulkOperationsWidget::deviceSelectorDiscoverUsbDevicesToggled(bool checked)
{
    deviceSelectorDiscoverButton->setEnabled(checked || deviceSelectorDiscoverIpCheckBox->isChecked());
}

void BulkOperationsWidget::deviceSelectorDiscoverIpDevicesToggled(bool checked)
{
    deviceSelectorDiscoverButton->setEnabled(checked || deviceSelectorDiscoverUsbCheckBox->isChecked());
}

void BulkOperationsWidget::deviceSelectorEnableGuiElements(bool enable)
{
    if (!deviceSelectorModel)
        return;
    // A job run asks again at every process start; the rows are walked only when they may differ.
    if (deviceSelectorRowsEnabled != int(enable)) {
        for (int row = 0; row < deviceSelectorModel->rowCount(); ++row) {
            if (QStandardItem* item = deviceSelectorModel->item(row, DeviceSelectColumn))
                item->setEnabled(enable);
            if (QWidget* combo = deviceSelectorConnectionComboBox(row))
                combo->setEnabled(enable);
            for (int column : {DeviceSerialNumberColumn, DeviceIpAddressColumn, DeviceTargetPartColumn})
                if (QStandardItem* item = deviceSelectorModel->item(row, column))
                    item->setEditable(enable);
        }
        deviceSelectorRowsEnabled = int(enable);
    }

    deviceSelectorDiscoverUsbCheckBox->setEnabled(enable);
    deviceSelectorDiscoverIpCheckBox->setEnabled(enable);
    deviceSelectorDiscoverButton->setEnabled(enable && (deviceSelectorDiscoverUsbCheckBox->isChecked() ||
                                                        deviceSelectorDiscoverIpCheckBox->isChecked()));
    deviceSelectorAddButton->setEnabled(enable);
    deviceSelectorApplyToAllCheckBox->setEnabled(enable);
    // Typing a part number would change rows that are being worked on.
    deviceSelectorOpnLineEdit->setEnabled(enable);

    if (enable)
        connect(deviceSelectorTreeView, &QWidget::customContextMenuRequested, this,
                &BulkOperationsWidget::deviceSelectorShowContextMenu, Qt::UniqueConnection);
    else
        disconnect(deviceSelectorTreeView, &QWidget::customContextMenuRequested, this,
                   &BulkOperationsWidget::deviceSelectorShowContextMenu);
}

void BulkOperationsWidget::deviceSelectorResizeColumn(int column)
{
    if (deviceSelectorBatchDepth > 0 || !deviceSelectorTreeView)
        return;
    if (column == DeviceStatusColumn)
        deviceSelectorTreeView->fitTextColumnToContents(column);
    else
        deviceSelectorTreeView->resizeColumnToContents(column);
}

void BulkOperationsWidget::deviceSelectorResizeColumns()
{
    if (deviceSelectorBatchDepth > 0 || !deviceSelectorTreeView)
        return;
    for (int column = 0; column < DeviceColumnCount; ++column)
        deviceSelectorTreeView->resizeColumnToContents(column);
}
