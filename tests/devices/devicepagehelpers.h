#pragma once

#include "bulkoperationswidget.h"
#include "deviceselectorcolumns.h"
#include "deviceselectortreeview.h"
#include "dynamiccombobox.h"

#include <QApplication>
#include <QItemSelectionModel>
#include <QMenu>
#include <QPointer>
#include <QStandardItemModel>
#include <QStringList>
#include <QTest>
#include <QTimer>

// Reaching into the device part of a page the way a user sees it: the model,
// the view, the connection boxes.
namespace DevicePage {

inline QStandardItemModel* model(const BulkOperationsWidget& page)
{
    return page.findChild<QStandardItemModel*>(QStringLiteral("deviceSelectorModel"));
}

inline DeviceSelectorTreeView* view(const BulkOperationsWidget& page)
{
    return page.findChild<DeviceSelectorTreeView*>(QStringLiteral("deviceSelectorTreeView"));
}

inline QString text(const BulkOperationsWidget& page, int row, int column)
{
    return model(page)->index(row, column).data().toString();
}

inline DynamicComboBox* combo(const BulkOperationsWidget& page, int row)
{
    return qobject_cast<DynamicComboBox*>(
        view(page)->indexWidget(model(page)->index(row, DeviceConnectionColumn)));
}

inline QStringList comboItems(const BulkOperationsWidget& page, int row)
{
    QStringList items;
    if (DynamicComboBox* box = combo(page, row))
        for (int i = 0; i < box->count(); ++i)
            items << box->itemText(i);
    return items;
}

inline QString connection(const BulkOperationsWidget& page, int row)
{
    DynamicComboBox* box = combo(page, row);
    return box ? box->currentText() : QString();
}

inline bool isChecked(const BulkOperationsWidget& page, int row)
{
    return model(page)->index(row, DeviceSelectColumn).data(Qt::CheckStateRole).toInt() == Qt::Checked;
}

inline QStringList column(const BulkOperationsWidget& page, int column)
{
    QStringList values;
    for (int row = 0; row < model(page)->rowCount(); ++row)
        values << text(page, row, column);
    return values;
}

inline void highlight(const BulkOperationsWidget& page, const QList<int>& rows)
{
    QItemSelectionModel* selection = view(page)->selectionModel();
    selection->clearSelection();
    for (int row : rows)
        selection->select(model(page)->index(row, 0),
                          QItemSelectionModel::Select | QItemSelectionModel::Rows);
}

// Runs `trigger`, which may open a modal menu; returns the texts of the menu
// that popped up (separators as "-"), or an empty list when none did.
template<typename Trigger> QStringList poppedUpMenu(Trigger trigger)
{
    QStringList entries;
    QTimer::singleShot(100, [&entries] {
        if (auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget())) {
            for (QAction* action : menu->actions())
                entries << (action->isSeparator() ? QStringLiteral("-") : action->text());
            menu->close();
        }
    });
    trigger();
    QTest::qWait(200);
    return entries;
}

} // namespace DevicePage
