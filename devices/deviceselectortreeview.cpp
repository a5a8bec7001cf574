#include "deviceselectortreeview.h"

#include <QEvent>
#include <QHeaderView>
#include <QIcon>
#include <QPalette>

DeviceSelectorTreeView::DeviceSelectorTreeView(QWidget* parent) : QTreeView(parent) {}

void DeviceSelectorTreeView::setModel(QAbstractItemModel* newModel)
{
    if (newModel == model())
        return;
    for (const QMetaObject::Connection& connection : qAsConst(modelConnections))
        disconnect(connection);
    modelConnections.clear();
    QTreeView::setModel(newModel);
    forgetRowWidths();
    if (!newModel)
        return;
    modelConnections << connect(newModel, &QAbstractItemModel::dataChanged, this,
                                &DeviceSelectorTreeView::rowsChanged);
    // Rows that come, go or move shift every row after them: start over.
    const auto forget = [this](auto signal) {
        modelConnections << connect(model(), signal, this, &DeviceSelectorTreeView::forgetRowWidths);
    };
    forget(&QAbstractItemModel::rowsInserted);
    forget(&QAbstractItemModel::rowsRemoved);
    forget(&QAbstractItemModel::rowsMoved);
    forget(&QAbstractItemModel::columnsInserted);
    forget(&QAbstractItemModel::columnsRemoved);
    forget(&QAbstractItemModel::columnsMoved);
    forget(&QAbstractItemModel::modelReset);
    forget(&QAbstractItemModel::layoutChanged);
}

void DeviceSelectorTreeView::forgetRowWidths()
{
    rowWidths.clear();
}

void DeviceSelectorTreeView::rowsChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight)
{
    if (topLeft.parent() != rootIndex()) {
        forgetRowWidths();
        return;
    }
    for (auto it = rowWidths.begin(); it != rowWidths.end(); ++it) {
        if (it.key() < topLeft.column() || it.key() > bottomRight.column())
            continue;
        QVector<int>& widths = it.value();
        for (int row = qMax(0, topLeft.row()); row <= bottomRight.row() && row < widths.size(); ++row)
            widths[row] = -1;
    }
}

void DeviceSelectorTreeView::commitData(QWidget* editor)
{
    QTreeView::commitData(editor);
    const QModelIndex index = currentIndex();
    if (index.isValid())
        emit dataCommitted(index);
}

int DeviceSelectorTreeView::rememberedColumnWidth(int column)
{
    const QModelIndex root = rootIndex();
    const int rows = model() ? model()->rowCount(root) : 0;
    const int precision = header()->resizeContentsPrecision();
    if (precision == 0 || (precision > 0 && rows > precision))
        return -1;
    // Texts come and go with a run's output; an unbounded memory of them is not wanted.
    if (cellWidths.size() > 4 * rows + 1024)
        cellWidths.clear();
    QVector<int>& widths = rowWidths[column];
    if (widths.size() != rows)
        widths.fill(-1, rows);
    int width = header()->isHidden() ? 0 : header()->sectionSizeHint(column);
    for (int row = 0; row < rows; ++row) {
        if (isRowHidden(row, root))
            continue;
        if (widths.at(row) >= 0) {
            width = qMax(width, widths.at(row));
            continue;
        }
        const QModelIndex index = model()->index(row, column, root);
        const QVariant decoration = index.data(Qt::DecorationRole);
        const bool icon = decoration.isValid() && !decoration.value<QIcon>().isNull();
        const QString key =
            (icon ? QLatin1Char('1') : QLatin1Char('0')) + index.data(Qt::DisplayRole).toString();
        auto it = cellWidths.constFind(key);
        if (it == cellWidths.cend())
            it = cellWidths.insert(key, sizeHintForIndex(index).width());
        widths[row] = *it;
        width = qMax(width, *it);
    }
    return width;
}

void DeviceSelectorTreeView::fitTextColumnToContents(int column)
{
    const int width = rememberWidths ? rememberedColumnWidth(column) : -1;
    if (width < 0) {
        resizeColumnToContents(column);
        lastFits.remove(column);
        return;
    }
    const Fit last = lastFits.value(column);
    if (width == last.width && header()->sectionSize(column) == last.sectionSize)
        return;
    if (!widthsChecked) {
        // Once per font and style: the remembered widths must be what the view measures.
        widthsChecked = true;
        const int measured =
            qMax(sizeHintForColumn(column), header()->isHidden() ? 0 : header()->sectionSizeHint(column));
        if (measured != width) {
            rememberWidths = false;
            cellWidths.clear();
            rowWidths.clear();
        }
    }
    resizeColumnToContents(column);
    if (rememberWidths)
        lastFits.insert(column, Fit{width, header()->sectionSize(column)});
}

void DeviceSelectorTreeView::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        cellWidths.clear();
        rowWidths.clear();
        lastFits.clear();
        widthsChecked = false;
    }
    if (event->type() == QEvent::PaletteChange) {
        QPalette adjusted = palette();
        const bool dark = adjusted.color(QPalette::Window).lightness() < 128;
        const QColor base = dark ? QColor(30, 30, 30) : QColor(255, 255, 255);
        const QColor alternateBase = dark ? QColor(45, 45, 45) : QColor(240, 240, 240);
        // Setting the palette sends another palette change; once the colours
        // are in place that one changes nothing.
        if (adjusted.color(QPalette::Base) != base ||
            adjusted.color(QPalette::AlternateBase) != alternateBase) {
            adjusted.setBrush(QPalette::All, QPalette::Base, QBrush(base));
            adjusted.setBrush(QPalette::All, QPalette::AlternateBase, QBrush(alternateBase));
            setPalette(adjusted);
            viewport()->update();
        }
    }
    QTreeView::changeEvent(event);
}
