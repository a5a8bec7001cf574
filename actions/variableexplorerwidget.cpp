#include "variableexplorerwidget.h"

#include <QApplication>
#include <QClipboard>
#include <QGridLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QStandardItemModel>
#include <QTableView>

namespace {
constexpr int maxVisibleRows = 20;
// Marks the rows of data pools, which are replaced as a whole when the pools are read again.
constexpr int poolRowRole = Qt::UserRole + 1;
} // namespace

VariableExplorerWidget::VariableExplorerWidget(QWidget* parent) : QDialog(parent)
{
    setWindowTitle(tr("Variable Explorer"));
    setModal(false);
    setWindowFlag(Qt::Window);

    model = new QStandardItemModel(0, 3, this);
    model->setHeaderData(0, Qt::Horizontal, tr("Name"), Qt::EditRole);
    model->setHeaderData(1, Qt::Horizontal, tr("Value"), Qt::EditRole);
    model->setHeaderData(2, Qt::Horizontal, tr("Description"), Qt::EditRole);

    table = new QTableView(this);
    table->setModel(model);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setSelectionMode(QAbstractItemView::SingleSelection);
    table->setAlternatingRowColors(true);
    table->horizontalHeader()->setStretchLastSection(true);
    table->verticalHeader()->hide();
    table->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    table->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    table->setMinimumWidth(800);
    table->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(table, &QTableView::customContextMenuRequested, this, &VariableExplorerWidget::showContextMenu);

    hint = new QLabel(tr("Click a specific device to see its applicable variable values.\n"
                         "Right-click a variable to copy its name or value to the clipboard."),
                      this);

    auto* layout = new QGridLayout(this);
    layout->addWidget(hint, 0, 0);
    layout->addWidget(table, 1, 0);
    layout->setRowStretch(1, 1);

    fitTableHeightToContents();
    adjustSize();
}

void VariableExplorerWidget::addBuiltInVariables(const QMap<QString, QString>& variables)
{
    for (auto it = variables.cbegin(); it != variables.cend(); ++it) {
        model->appendRow({new QStandardItem(QStringLiteral("{{%1}}").arg(it.key())), new QStandardItem(),
                          new QStandardItem(it.value())});
    }
    table->resizeColumnsToContents();
    fitTableHeightToContents();
    adjustSize();
}

void VariableExplorerWidget::setDataPools(const QList<PoolCounts>& pools)
{
    for (int row = model->rowCount() - 1; row >= 0; --row)
        if (model->item(row, 0)->data(poolRowRole).toBool())
            model->removeRow(row);
    for (const PoolCounts& pool : pools) {
        const QString kind = pool.kind == PoolDefinition::Mac
                                 ? tr("MAC block")
                                 : (pool.kind == PoolDefinition::List ? tr("list") : tr("counter"));
        auto* name = new QStandardItem(QStringLiteral("{{%1}}").arg(pool.name));
        name->setData(true, poolRowRole);
        model->appendRow({name, new QStandardItem(pool.nextValue),
                          new QStandardItem(tr("Data pool (%1), %2 values left (each device gets its own)")
                                                .arg(kind, QString::number(pool.left)))});
    }
    table->resizeColumnsToContents();
    fitTableHeightToContents();
    adjustSize();
}

void VariableExplorerWidget::updateVariableValues(const QMap<QString, QString>& variables)
{
    for (int row = 0; row < model->rowCount(); ++row) {
        QString name = model->item(row, 0)->text();
        name.remove(QStringLiteral("{{")).remove(QStringLiteral("}}"));
        const auto found = variables.constFind(name);
        if (found != variables.cend())
            model->item(row, 1)->setText(found.value());
    }
    table->resizeColumnToContents(1);
}

void VariableExplorerWidget::fitTableHeightToContents()
{
    int height = table->horizontalHeader()->height() + 2 * table->frameWidth();
    const int rows = qMin(model->rowCount(), maxVisibleRows);
    for (int row = 0; row < rows; ++row)
        height += table->rowHeight(row);
    table->setMinimumHeight(height);
}

void VariableExplorerWidget::showContextMenu(const QPoint& point)
{
    if (!table->indexAt(point).isValid())
        return;
    QMenu menu(this);
    menu.addAction(tr("Copy Name"), this, &VariableExplorerWidget::copySelectedVariableNameToClipboard);
    menu.addAction(tr("Copy Value"), this, &VariableExplorerWidget::copySelectedVariableValueToClipboard);
    menu.exec(table->viewport()->mapToGlobal(point));
}

void VariableExplorerWidget::copySelectedVariableNameToClipboard()
{
    copySelectedColumn(0);
}

void VariableExplorerWidget::copySelectedVariableValueToClipboard()
{
    copySelectedColumn(1);
}

void VariableExplorerWidget::copySelectedColumn(int column)
{
    const QModelIndexList rows = table->selectionModel()->selectedRows();
    if (rows.isEmpty())
        return;
    QApplication::clipboard()->setText(model->item(rows.first().row(), column)->text(),
                                       QClipboard::Clipboard);
}
