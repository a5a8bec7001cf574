// The action list: one row per job step, in the order the steps run. Every row
// has exactly one editor page, kept at stack index row + 1.
#include "bulkaction.h"
#include "bulkoperationswidget.h"

#include <QAction>
#include <QGridLayout>
#include <QGroupBox>
#include <QHeaderView>
#include <QIcon>
#include <QItemSelectionModel>
#include <QMenu>
#include <QPushButton>
#include <QStackedWidget>
#include <QStandardItemModel>
#include <QTreeView>

#include <algorithm>

namespace {

constexpr int actionIdRole = Qt::UserRole + 1;

enum ActionColumn
{
    EnabledColumn = 0,
    NameColumn = 1,
    UpColumn = 2,
    DownColumn = 3
};

} // namespace

int BulkOperationsWidget::actionIdCounter = 0;

void BulkOperationsWidget::setupActionSelector()
{
    if (!actionSelectorGroupBox)
        return;

    actionModel = new QStandardItemModel(this);
    // Three columns first, then four labels: the labels decide the width.
    actionModel->setColumnCount(3);
    actionModel->setHorizontalHeaderLabels({tr("Enabled"), tr("Action"), QString(), QString()});

    actionTreeView = new QTreeView(actionSelectorGroupBox);
    actionTreeView->setObjectName(QStringLiteral("actionTreeView"));
    actionTreeView->setModel(actionModel);
    actionTreeView->setIndentation(0);
    actionTreeView->setContextMenuPolicy(Qt::CustomContextMenu);
    actionTreeView->setSelectionMode(QAbstractItemView::ExtendedSelection);
    actionTreeView->setMinimumWidth(360);
    // Every row is a check box, a name and two arrows: one height for all spares the view
    // measuring each row again whenever a row is added or selected.
    actionTreeView->setUniformRowHeights(true);
    QHeaderView* header = actionTreeView->header();
    header->setStretchLastSection(false);
    header->setSectionResizeMode(EnabledColumn, QHeaderView::ResizeToContents);
    header->setSectionResizeMode(NameColumn, QHeaderView::Stretch);
    header->setSectionResizeMode(UpColumn, QHeaderView::ResizeToContents);
    header->setSectionResizeMode(DownColumn, QHeaderView::ResizeToContents);

    actionSelectorAddButton = new QPushButton(tr("Add"), actionSelectorGroupBox);
    actionSelectorAddButton->setObjectName(QStringLiteral("actionSelectorAddButton"));
    actionSelectorAddButton->setIcon(QIcon(QStringLiteral(":/graphics/add.png")));
    actionSelectorAddButton->setMaximumWidth(100);
    actionSelectorAddButton->setToolTip(tr("Add a new action to the list."));

    auto* layout = new QGridLayout(actionSelectorGroupBox);
    layout->addWidget(actionTreeView, 0, 0, 1, 3);
    layout->addWidget(actionSelectorAddButton, 1, 0);

    // clicked(bool) would otherwise arrive as enabled = false.
    connect(actionSelectorAddButton, &QPushButton::clicked, this, [this] { actionSelectorAddAction(); });
    connect(actionTreeView, &QTreeView::clicked, this, &BulkOperationsWidget::actionSelectorActionClicked);
    connect(actionTreeView, &QTreeView::customContextMenuRequested, this,
            &BulkOperationsWidget::actionSelectorShowContextMenu);
}

int BulkOperationsWidget::actionSelectorAddAction(bool enabled)
{
    const int actionId = actionIdCounter;
    const int row = actionModel->rowCount();
    const QString suffix = themedIconSuffix(palette());

    auto* enabledItem = new QStandardItem(QString::number(row + 1));
    enabledItem->setEditable(false);
    enabledItem->setCheckable(true);
    enabledItem->setCheckState(enabled ? Qt::Checked : Qt::Unchecked);
    enabledItem->setToolTip(tr("Enable/disable this action"));

    auto* nameItem = new QStandardItem(BulkActions::displayText(BulkAction::None));
    nameItem->setEditable(false);
    nameItem->setData(actionId, actionIdRole);

    auto* upItem =
        new QStandardItem(resourceIcon(QStringLiteral(":/graphics/up%1.png").arg(suffix)), QString());
    upItem->setEditable(false);
    upItem->setToolTip(tr("Move action up"));

    auto* downItem =
        new QStandardItem(resourceIcon(QStringLiteral(":/graphics/down%1.png").arg(suffix)), QString());
    downItem->setEditable(false);
    downItem->setToolTip(tr("Move action down"));

    actionModel->insertRow(row, {enabledItem, nameItem, upItem, downItem});
    actionTreeView->setCurrentIndex(actionModel->index(row, EnabledColumn));

    addActionEditorPage(actionId);
    actionEditorOpenAction(actionId);
    runButton->setEnabled(true);

    ++actionIdCounter;
    return actionId;
}

int BulkOperationsWidget::getActionSelectorRowIndexFromActionId(int actionId) const
{
    if (!actionModel)
        return -1;
    for (int row = 0; row < actionModel->rowCount(); ++row) {
        const QStandardItem* item = actionModel->item(row, NameColumn);
        if (item && item->data(actionIdRole).toInt() == actionId)
            return row;
    }
    return -1;
}

QList<int> BulkOperationsWidget::actionSelectorHighlightedRows() const
{
    QList<int> rows;
    const QModelIndexList selected = actionTreeView->selectionModel()->selectedRows(EnabledColumn);
    for (const QModelIndex& index : selected)
        rows.append(index.row());
    std::sort(rows.begin(), rows.end());
    return rows;
}

void BulkOperationsWidget::actionSelectorSelectRows(const QList<int>& rows)
{
    QItemSelectionModel* selection = actionTreeView->selectionModel();
    selection->clearSelection();
    for (int row : rows)
        selection->select(actionModel->index(row, EnabledColumn),
                          QItemSelectionModel::Select | QItemSelectionModel::Rows);
}

void BulkOperationsWidget::actionSelectorRenumberRows()
{
    for (int row = 0; row < actionModel->rowCount(); ++row) {
        if (QStandardItem* item = actionModel->item(row, EnabledColumn))
            item->setText(QString::number(row + 1));
    }
}

void BulkOperationsWidget::actionSelectorSetArrowIcons(const QString& suffix)
{
    if (!actionModel)
        return;
    const QIcon up = resourceIcon(QStringLiteral(":/graphics/up%1.png").arg(suffix));
    const QIcon down = resourceIcon(QStringLiteral(":/graphics/down%1.png").arg(suffix));
    for (int row = 0; row < actionModel->rowCount(); ++row) {
        if (QStandardItem* item = actionModel->item(row, UpColumn))
            item->setIcon(up);
        if (QStandardItem* item = actionModel->item(row, DownColumn))
            item->setIcon(down);
    }
}

void BulkOperationsWidget::actionSelectorActionClicked(const QModelIndex& index)
{
    const int row = index.row();
    const int column = index.column();
    const int actionId = actionModel->index(row, NameColumn).data(actionIdRole).toInt();

    if (actionTreeView->selectionModel()->selectedRows(EnabledColumn).size() > 1) {
        actionEditorStack->setCurrentIndex(0);
        return;
    }

    switch (column) {
    case NameColumn:
        actionEditorOpenAction(actionId);
        break;
    case UpColumn:
        actionSelectorMoveActionUp(row);
        actionSelectorSelectRows({std::max(row - 1, 0)});
        break;
    case DownColumn:
        actionSelectorMoveActionDown(row);
        actionSelectorSelectRows({std::min(row + 1, actionModel->rowCount() - 1)});
        break;
    default:
        // Column 0 is the check box, which the view toggles by itself.
        break;
    }
}

void BulkOperationsWidget::actionSelectorMoveActionUp(int currentRowIndex)
{
    const int row = currentRowIndex;
    if (row < 1 || row >= actionModel->rowCount())
        return;

    QWidget* page = actionEditorStack->widget(row + 1);
    actionEditorStack->removeWidget(page);
    actionEditorStack->insertWidget(row, page);

    actionModel->insertRow(row - 1, actionModel->takeRow(row));
    actionTreeView->setCurrentIndex(actionModel->index(row - 1, EnabledColumn));
    actionSelectorRenumberRows();
    actionEditorStack->setCurrentWidget(page);
}

void BulkOperationsWidget::actionSelectorMoveActionDown(int currentRowIndex)
{
    const int row = currentRowIndex;
    if (row < 0 || row >= actionModel->rowCount() - 1)
        return;

    QWidget* page = actionEditorStack->widget(row + 1);
    actionEditorStack->removeWidget(page);
    actionEditorStack->insertWidget(row + 2, page);

    actionModel->insertRow(row + 1, actionModel->takeRow(row));
    actionTreeView->setCurrentIndex(actionModel->index(row + 1, EnabledColumn));
    actionSelectorRenumberRows();
    actionEditorStack->setCurrentWidget(page);
}

void BulkOperationsWidget::actionSelectorMoveHighlightedActionsUp()
{
    const QList<int> rows = actionSelectorHighlightedRows();
    QList<int> reselect;
    for (int row : rows) {
        actionSelectorMoveActionUp(row);
        reselect.append(std::max(row - 1, 0));
    }
    actionSelectorSelectRows(reselect);
    if (rows.size() > 1)
        actionEditorStack->setCurrentIndex(0);
}

void BulkOperationsWidget::actionSelectorMoveHighlightedActionsDown()
{
    QList<int> rows = actionSelectorHighlightedRows();
    std::reverse(rows.begin(), rows.end());
    QList<int> reselect;
    for (int row : rows) {
        actionSelectorMoveActionDown(row);
        reselect.append(std::min(row + 1, actionModel->rowCount() - 1));
    }
    actionSelectorSelectRows(reselect);
    if (rows.size() > 1)
        actionEditorStack->setCurrentIndex(0);
}

void BulkOperationsWidget::actionSelectorMoveHighlightedActionsToTop()
{
    const QList<int> rows = actionSelectorHighlightedRows();
    int target = 0;
    for (int row : rows) {
        for (int current = row; current > target; --current)
            actionSelectorMoveActionUp(current);
        ++target;
    }
    QList<int> reselect;
    for (int row = 0; row < rows.size(); ++row)
        reselect.append(row);
    actionSelectorSelectRows(reselect);
    if (rows.size() > 1)
        actionEditorStack->setCurrentIndex(0);
}

void BulkOperationsWidget::actionSelectorMoveHighlightedActionsToBottom()
{
    QList<int> rows = actionSelectorHighlightedRows();
    std::reverse(rows.begin(), rows.end());
    const int rowCount = actionModel->rowCount();
    int target = rowCount - 1;
    for (int row : rows) {
        for (int current = row; current < target; ++current)
            actionSelectorMoveActionDown(current);
        --target;
    }
    QList<int> reselect;
    for (int row = rowCount - 1; row >= rowCount - rows.size(); --row)
        reselect.append(row);
    actionSelectorSelectRows(reselect);
    if (rows.size() > 1)
        actionEditorStack->setCurrentIndex(0);
}

void BulkOperationsWidget::actionSelectorRemoveHighlightedActions()
{
    QList<int> rows = actionSelectorHighlightedRows();
    std::reverse(rows.begin(), rows.end());
    for (int row : rows) {
        const int actionId = actionModel->index(row, NameColumn).data(actionIdRole).toInt();
        removeActionEditorPage(actionId);
        actionModel->removeRow(row);
    }
    actionSelectorRenumberRows();
    if (actionModel->rowCount() == 0) {
        actionEditorStack->setCurrentIndex(0);
        runButton->setEnabled(false);
    }
}

void BulkOperationsWidget::actionSelectorSetHighlightedCheckState(Qt::CheckState state)
{
    const QList<int> rows = actionSelectorHighlightedRows();
    for (int row : rows)
        actionModel->setData(actionModel->index(row, EnabledColumn), state, Qt::CheckStateRole);
}

void BulkOperationsWidget::actionSelectorEnableHighlightedActions()
{
    actionSelectorSetHighlightedCheckState(Qt::Checked);
}

void BulkOperationsWidget::actionSelectorDisableHighlightedActions()
{
    actionSelectorSetHighlightedCheckState(Qt::Unchecked);
}

void BulkOperationsWidget::actionSelectorShowContextMenu(const QPoint& point)
{
    if (!actionTreeView->indexAt(point).isValid())
        return;

    const QString suffix = themedIconSuffix(palette());
    QMenu menu(this);
    menu.addAction(resourceIcon(QStringLiteral(":/graphics/top%1.png").arg(suffix)),
                   QStringLiteral("Move to Top"), this,
                   &BulkOperationsWidget::actionSelectorMoveHighlightedActionsToTop);
    menu.addAction(resourceIcon(QStringLiteral(":/graphics/up%1.png").arg(suffix)), QStringLiteral("Move Up"),
                   this, &BulkOperationsWidget::actionSelectorMoveHighlightedActionsUp);
    menu.addAction(resourceIcon(QStringLiteral(":/graphics/down%1.png").arg(suffix)),
                   QStringLiteral("Move Down"), this,
                   &BulkOperationsWidget::actionSelectorMoveHighlightedActionsDown);
    menu.addAction(resourceIcon(QStringLiteral(":/graphics/bottom%1.png").arg(suffix)),
                   QStringLiteral("Move to Bottom"), this,
                   &BulkOperationsWidget::actionSelectorMoveHighlightedActionsToBottom);
    menu.addSeparator();
    menu.addAction(resourceIcon(QStringLiteral(":/graphics/checkbox-checked%1.png").arg(suffix)),
                   QStringLiteral("Enable"), this,
                   &BulkOperationsWidget::actionSelectorEnableHighlightedActions);
    menu.addAction(resourceIcon(QStringLiteral(":/graphics/checkbox-unchecked%1.png").arg(suffix)),
                   QStringLiteral("Disable"), this,
                   &BulkOperationsWidget::actionSelectorDisableHighlightedActions);
    menu.addSeparator();
    menu.addAction(QIcon(QStringLiteral(":/graphics/remove.png")), QStringLiteral("Remove"), this,
                   &BulkOperationsWidget::actionSelectorRemoveHighlightedActions);
    menu.exec(actionTreeView->viewport()->mapToGlobal(point));
}

QString BulkOperationsWidget::getActionTypeString(BulkAction type)
{
    return BulkActions::typeString(type);
}

BulkAction BulkOperationsWidget::getActionTypeFromString(const QString& text)
{
    return BulkActions::fromTypeString(text);
}
