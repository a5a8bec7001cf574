// The device table of the bulk operations page: its widgets, rows, merge
// rules, connection boxes and the target part line edit.

#include "bulkoperationswidget.h"
#include "corvaneprocessrunner.h"
#include "corvanereplies.h"
#include "deviceselectorcolumns.h"
#include "deviceselectortreeview.h"
#include "devicetable.h"
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
    deviceTable = new DeviceTable(deviceSelectorModel, deviceSelectorTreeView, this);
    connect(deviceTable, &DeviceTable::connectionBoxCreated, this, [this](DynamicComboBox* combo) {
        connect(combo, &DynamicComboBox::showingPopup, this,
                &BulkOperationsWidget::deviceSelectorOnConnectionTypeComboBoxOpened);
    });

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

void BulkOperationsWidget::addDeviceToTable(const QString& serialNumber, const QString& ipAddress,
                                            const QString& targetPart, const QString& nickname, bool usb,
                                            bool ip, bool checked, bool editable)
{
    if (deviceTable)
        deviceTable->addDevice(serialNumber, ipAddress, targetPart, nickname, usb, ip, checked, editable);
}

void BulkOperationsWidget::deviceSelectorBeginRowBatch()
{
    deviceTable->beginBatch();
}

void BulkOperationsWidget::deviceSelectorEndRowBatch()
{
    deviceTable->endBatch();
}

void BulkOperationsWidget::deviceSelectorHoldColumnFits(bool hold)
{
    deviceTable->holdColumnFits(hold);
}

void BulkOperationsWidget::deviceSelectorAddManualDeviceRow()
{
    addDeviceToTable(QString(), QString(), QString(), QString(), true, true, false, true);
}

QString BulkOperationsWidget::getDeviceIdInModel(int row) const
{
    return deviceTable ? deviceTable->idOf(row) : QString();
}

int BulkOperationsWidget::getDeviceIndexInModel(const QString& id) const
{
    return deviceTable ? deviceTable->rowOf(id) : -1;
}

QString BulkOperationsWidget::connectionTypeToString(BatchUtil::ConnectionType type)
{
    return DeviceTable::connectionText(type);
}

BatchUtil::ConnectionType BulkOperationsWidget::connectionTypeFromString(const QString& text)
{
    return DeviceTable::connectionType(text);
}

DynamicComboBox* BulkOperationsWidget::deviceSelectorConnectionComboBox(int row) const
{
    return deviceTable ? deviceTable->connectionBox(row) : nullptr;
}

QList<JobDevice> BulkOperationsWidget::deviceSelectorJobDevices(const QList<int>& rows) const
{
    QList<JobDevice> devices;
    for (int row : rows)
        devices << deviceTable->jobDevice(row);
    return devices;
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
    deviceTable->setRowsEnabled(enable);

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
    if (deviceTable)
        deviceTable->resizeColumn(column);
}

void BulkOperationsWidget::deviceSelectorResizeColumns()
{
    if (deviceTable)
        deviceTable->resizeColumns();
}
