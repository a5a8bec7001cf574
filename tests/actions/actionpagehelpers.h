#pragma once

#include "bulkaction.h"
#include "bulkoperationswidget.h"

#include <QComboBox>
#include <QGroupBox>
#include <QItemSelectionModel>
#include <QPushButton>
#include <QStackedWidget>
#include <QStandardItemModel>
#include <QStringList>
#include <QTreeView>

#include <algorithm>

// Reaches the action list and editor pages of a page the way a user sees
// them: through the widgets' object names.
namespace ActionPage {

constexpr int actionIdRole = Qt::UserRole + 1;

inline QTreeView* view(const BulkOperationsWidget& page)
{
    return page.findChild<QTreeView*>(QStringLiteral("actionTreeView"));
}

inline QStandardItemModel* model(const BulkOperationsWidget& page)
{
    return qobject_cast<QStandardItemModel*>(view(page)->model());
}

inline QStackedWidget* stack(const BulkOperationsWidget& page)
{
    return page.findChild<QStackedWidget*>(QStringLiteral("actionEditorStack"));
}

inline QPushButton* runButton(const BulkOperationsWidget& page)
{
    return page.findChild<QPushButton*>(QStringLiteral("runButton"));
}

inline QStringList rowTexts(const BulkOperationsWidget& page, int column, int role = Qt::DisplayRole)
{
    QStringList result;
    for (int row = 0; row < model(page)->rowCount(); ++row)
        result.append(model(page)->index(row, column).data(role).toString());
    return result;
}

inline QList<int> ids(const BulkOperationsWidget& page)
{
    QList<int> result;
    for (const QString& id : rowTexts(page, 1, actionIdRole))
        result.append(id.toInt());
    return result;
}

// Empty when the numbering is 1..n and the editor pages follow the rows.
inline QString inconsistency(const BulkOperationsWidget& page)
{
    const QList<int> rowIds = ids(page);
    if (stack(page)->count() != rowIds.size() + 1)
        return QStringLiteral("%1 editor pages for %2 rows").arg(stack(page)->count() - 1).arg(rowIds.size());
    const QStringList numbers = rowTexts(page, 0);
    for (int row = 0; row < rowIds.size(); ++row) {
        const QVariant pageId = stack(page)->widget(row + 1)->property("actionId");
        if (numbers.at(row) != QString::number(row + 1) || !pageId.isValid() ||
            pageId.toInt() != rowIds.at(row))
            return QStringLiteral("row %1 (number %2, action %3) has page of action %4")
                .arg(row)
                .arg(numbers.at(row))
                .arg(rowIds.at(row))
                .arg(pageId.toString());
    }
    return QString();
}

inline void select(const BulkOperationsWidget& page, const QList<int>& rows)
{
    QItemSelectionModel* selection = view(page)->selectionModel();
    selection->clearSelection();
    for (int row : rows)
        selection->select(model(page)->index(row, 0),
                          QItemSelectionModel::Select | QItemSelectionModel::Rows);
}

inline QList<int> selectedRows(const BulkOperationsWidget& page)
{
    QList<int> rows;
    for (const QModelIndex& index : view(page)->selectionModel()->selectedRows(0))
        rows.append(index.row());
    std::sort(rows.begin(), rows.end());
    return rows;
}

inline QGroupBox* editBox(const BulkOperationsWidget& page, int actionId)
{
    for (int index = 1; index < stack(page)->count(); ++index) {
        if (stack(page)->widget(index)->property("actionId").toInt() == actionId)
            return qobject_cast<QGroupBox*>(stack(page)->widget(index));
    }
    return nullptr;
}

inline QStackedWidget* pageStack(QGroupBox* box)
{
    return box->findChild<QStackedWidget*>(QStringLiteral("pageStack"));
}

inline QComboBox* selector(QGroupBox* box)
{
    return box->findChild<QComboBox*>(QStringLiteral("selector"));
}

// The settings page of one type inside an "Edit Action" box.
inline QWidget* settingsPage(QGroupBox* box, int actionType)
{
    QStackedWidget* pages = pageStack(box);
    for (int index = 0; index < pages->count(); ++index) {
        if (pages->widget(index)->property("actionType").toInt() == actionType)
            return pages->widget(index);
    }
    return nullptr;
}

inline void chooseType(QGroupBox* box, int actionType)
{
    selector(box)->setCurrentIndex(selector(box)->findData(actionType));
}

template<typename T> inline T* field(QGroupBox* box, BulkAction type, const char* name)
{
    return settingsPage(box, static_cast<int>(type))->findChild<T*>(QString::fromLatin1(name));
}

// Adds an action of the given type and returns its editor box.
inline QGroupBox* addTyped(BulkOperationsWidget& page, BulkAction type, bool enabled = true)
{
    QGroupBox* box = editBox(page, page.actionSelectorAddAction(enabled));
    chooseType(box, static_cast<int>(type));
    return box;
}

} // namespace ActionPage
