// Status cells and row colours of the device table.

#include "bulkoperationswidget.h"
#include "corporatecolors.h"
#include "deviceselectorcolumns.h"
#include "flashingrowstyledelegate.h"

#include <QDateTime>
#include <QIcon>
#include <QSignalBlocker>
#include <QStandardItemModel>
#include <QTimer>

namespace {
// The flash as painted lasts hold plus fade; its data goes a little later.
constexpr int flashCleanupMs = FlashingRowStyleDelegate::HoldMs + FlashingRowStyleDelegate::FadeMs + 50;
} // namespace

void BulkOperationsWidget::setDeviceStatusInfo(int deviceIndex, const QString& status, const QString& tooltip,
                                               const QColor& color)
{
    QStandardItem* item =
        deviceSelectorModel ? deviceSelectorModel->item(deviceIndex, DeviceStatusColumn) : nullptr;
    if (!item)
        return;
    item->setText(status);
    item->setToolTip(tooltip);
    deviceSelectorResizeColumn(DeviceStatusColumn);
    if (!color.isValid()) {
        item->setIcon(QIcon());
        return;
    }
    if (color == CORPORATE_GREEN)
        item->setIcon(resourceIcon(QStringLiteral(":/graphics/dot-green.png")));
    else if (color == CORPORATE_YELLOW)
        item->setIcon(resourceIcon(QStringLiteral(":/graphics/dot-yellow.png")));
    deviceSelectorFlashRow(deviceIndex, color);
}

void BulkOperationsWidget::setDeviceStatusError(int deviceIndex, const QString& status,
                                                const QString& tooltip)
{
    QStandardItem* item =
        deviceSelectorModel ? deviceSelectorModel->item(deviceIndex, DeviceStatusColumn) : nullptr;
    if (!item)
        return;
    item->setText(tr("ERROR: %1").arg(status));
    item->setToolTip(tooltip);
    deviceSelectorResizeColumn(DeviceStatusColumn);
    item->setIcon(resourceIcon(QStringLiteral(":/graphics/dot-red.png")));
    deviceSelectorFlashRow(deviceIndex, CORPORATE_RED);
}

void BulkOperationsWidget::clearDeviceStatus(int deviceIndex)
{
    QStandardItem* item =
        deviceSelectorModel ? deviceSelectorModel->item(deviceIndex, DeviceStatusColumn) : nullptr;
    if (!item)
        return;
    deviceSelectorShowProgress(deviceIndex, 0, 0, -1);
    deviceSelectorShowPlaceholder(deviceIndex, QString());
    item->setText(QString());
    item->setToolTip(QString());
    item->setIcon(QIcon());
    clearRowColor(deviceIndex);
}

void BulkOperationsWidget::deviceSelectorShowProgress(int deviceIndex, int action, int actionCount,
                                                      int percent)
{
    QStandardItem* item =
        deviceSelectorModel ? deviceSelectorModel->item(deviceIndex, DeviceStatusColumn) : nullptr;
    if (!item)
        return;
    const bool shown = action > 0 && actionCount > 0;
    // Set only when it changes: each change repaints the row.
    const auto set = [item](int role, const QVariant& value) {
        if (item->data(role) != value)
            item->setData(value, role);
    };
    set(FlashingRowStyleDelegate::ProgressActionRole, shown ? QVariant(action) : QVariant());
    set(FlashingRowStyleDelegate::ProgressActionCountRole, shown ? QVariant(actionCount) : QVariant());
    set(FlashingRowStyleDelegate::ProgressPercentRole,
        shown && percent >= 0 ? QVariant(percent) : QVariant());
}

void BulkOperationsWidget::deviceSelectorShowPlaceholder(int deviceIndex, const QString& placeholder)
{
    QStandardItem* item =
        deviceSelectorModel ? deviceSelectorModel->item(deviceIndex, DeviceStatusColumn) : nullptr;
    const QVariant value = placeholder.isEmpty() ? QVariant() : QVariant(placeholder);
    if (item && item->data(FlashingRowStyleDelegate::PlaceholderRole) != value)
        item->setData(value, FlashingRowStyleDelegate::PlaceholderRole);
}

void BulkOperationsWidget::deviceSelectorSetRowData(int deviceIndex,
                                                    const QVector<QPair<int, QVariant>>& values)
{
    if (!deviceSelectorModel || deviceIndex < 0 || deviceIndex >= deviceSelectorModel->rowCount())
        return;
    QVector<int> roles;
    for (const auto& value : values)
        roles << value.first;
    // Each item would tell the views of each role on its own; a run's outcomes do this for
    // every row, so the views hear of each item once. One notice per item, not one for the
    // row: a view repaints all of itself for a notice that spans several items.
    for (int column = 0; column < deviceSelectorModel->columnCount(); ++column) {
        QStandardItem* item = deviceSelectorModel->item(deviceIndex, column);
        if (!item)
            continue;
        {
            const QSignalBlocker blocker(deviceSelectorModel);
            for (const auto& value : values)
                item->setData(value.second, value.first);
        }
        const QModelIndex index = item->index();
        emit deviceSelectorModel->dataChanged(index, index, roles);
    }
}

void BulkOperationsWidget::deviceSelectorFlashRow(int deviceIndex, const QColor& color)
{
    deviceSelectorSetRowData(deviceIndex,
                             {{FlashingRowStyleDelegate::FlashStartRole, QDateTime::currentMSecsSinceEpoch()},
                              {FlashingRowStyleDelegate::FlashColorRole, color},
                              {FlashingRowStyleDelegate::FlashHoldRole, FlashingRowStyleDelegate::HoldMs},
                              {FlashingRowStyleDelegate::FlashFadeRole, FlashingRowStyleDelegate::FadeMs}});
    // The row is addressed by its number at the time of flashing: if rows move
    // meanwhile, whatever row then has that number loses its flash data.
    deviceSelectorFlashCleanups.append({QDeadlineTimer(flashCleanupMs), deviceIndex});
    if (!deviceSelectorFlashCleanupTimer) {
        deviceSelectorFlashCleanupTimer = new QTimer(this);
        deviceSelectorFlashCleanupTimer->setSingleShot(true);
        connect(deviceSelectorFlashCleanupTimer, &QTimer::timeout, this,
                &BulkOperationsWidget::deviceSelectorClearFinishedFlashes);
    }
    if (!deviceSelectorFlashCleanupTimer->isActive())
        deviceSelectorFlashCleanupTimer->start(flashCleanupMs);
}

void BulkOperationsWidget::deviceSelectorClearFinishedFlashes()
{
    while (!deviceSelectorFlashCleanups.isEmpty() && deviceSelectorFlashCleanups.first().due.hasExpired()) {
        const int deviceIndex = deviceSelectorFlashCleanups.takeFirst().deviceIndex;
        deviceSelectorSetRowData(deviceIndex, {{FlashingRowStyleDelegate::FlashStartRole, QVariant()},
                                               {FlashingRowStyleDelegate::FlashColorRole, QVariant()},
                                               {FlashingRowStyleDelegate::FlashHoldRole, QVariant()},
                                               {FlashingRowStyleDelegate::FlashFadeRole, QVariant()}});
    }
    // A timer may wake a little early; the rest wait for their own time.
    if (!deviceSelectorFlashCleanups.isEmpty())
        deviceSelectorFlashCleanupTimer->start(int(deviceSelectorFlashCleanups.first().due.remainingTime()));
}

void BulkOperationsWidget::setRowColor(int deviceIndex, const QColor& color)
{
    if (!deviceSelectorModel)
        return;
    for (int column = 0; column < deviceSelectorModel->columnCount(); ++column)
        if (QStandardItem* item = deviceSelectorModel->item(deviceIndex, column))
            item->setData(QBrush(color), Qt::BackgroundRole);
}

void BulkOperationsWidget::clearRowColor(int deviceIndex)
{
    deviceSelectorSetRowData(deviceIndex, {{Qt::BackgroundRole, QVariant()}});
}

QColor BulkOperationsWidget::over(const QColor& a, const QColor& b, double t)
{
    return FlashingRowStyleDelegate::blend(a, b, t);
}
