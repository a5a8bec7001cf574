#pragma once

#include "poolstore.h"

#include <QDialog>
#include <QList>
#include <QMap>
#include <QString>

class QLabel;
class QStandardItemModel;
class QTableView;

// A separate, non-modal window listing the built-in job variables with their
// current values, so the user can see what {{name}} expands to and copy it.
class VariableExplorerWidget : public QDialog
{
    Q_OBJECT

public:
    explicit VariableExplorerWidget(QWidget* parent = nullptr);

    void addBuiltInVariables(const QMap<QString, QString>& variables);
    // The data pools below the built-in variables: name, next value, kind and values left.
    void setDataPools(const QList<PoolCounts>& pools);

    QTableView* tableView() const { return table; }

public slots:
    void updateVariableValues(const QMap<QString, QString>& variables);
    void fitTableHeightToContents();
    void showContextMenu(const QPoint& point);
    void copySelectedVariableNameToClipboard();
    void copySelectedVariableValueToClipboard();

private:
    void copySelectedColumn(int column);

    QStandardItemModel* model = nullptr;
    QTableView* table = nullptr;
    QLabel* hint = nullptr;
};
