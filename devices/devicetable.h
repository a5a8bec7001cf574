#pragma once

#include "batchutil.h"
#include "jobexecution.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>
#include <QStringList>

class DeviceSelectorTreeView;
class DynamicComboBox;
class QStandardItem;
class QStandardItemModel;

// The bookkeeping of the device table: adding rows with the merge rules,
// batches of rows that reach the table together, the rows' connection boxes,
// finding a row by device id and reading a row back as a device. The page's
// device selector members forward to it; it owns no widgets beyond the
// connection boxes it puts into the view.
class DeviceTable : public QObject
{
    Q_OBJECT

public:
    DeviceTable(QStandardItemModel* model, DeviceSelectorTreeView* view, QObject* parent = nullptr);

    static QString connectionText(BatchUtil::ConnectionType type);
    static BatchUtil::ConnectionType connectionType(const QString& text);

    // Adds a row, or merges it into the row with the same serial number. A chosen
    // connection ("USB" or "IP", when offered) becomes the row's current one at once,
    // so a later merge takes it over as adding the rows one by one would.
    void addDevice(const QString& serialNumber, const QString& ipAddress, const QString& targetPart,
                   const QString& nickname, bool usb, bool ip, bool checked, bool editable,
                   const QString& chosenConnection = QString());
    // Rows added between these two calls reach the table together at the end,
    // with the same merge results as if added one by one.
    void beginBatch();
    void endBatch();
    // While held, column fits wait until the hold ends (the caller fits what it changed).
    void holdColumnFits(bool hold);
    void resizeColumn(int column);
    void resizeColumns();

    // The row's serial number, else its IP address, trimmed.
    QString idOf(int row) const;
    // The first row whose serial number, else IP address, is the id; -1 when none.
    int rowOf(const QString& id) const;
    DynamicComboBox* connectionBox(int row) const;
    // The row as a job run and a saved bundle see it.
    JobDevice jobDevice(int row) const;
    BatchUtil::DeviceEntry deviceEntry(int row) const;

    // Check boxes, connection boxes and editable cells of every row.
    void setRowsEnabled(bool enable);

signals:
    void connectionBoxCreated(DynamicComboBox* box);

private:
    void attachConnectionBox(int row, const QStringList& connections, const QString& current);
    QString text(int row, int column) const;

    QStandardItemModel* model;
    DeviceSelectorTreeView* view;
    int batchDepth = 0;
    int fitHolds = 0;
    QList<QList<QStandardItem*>> pendingRows;
    QList<QStringList> pendingConnections;
    QStringList pendingCurrent;
    QSet<int> rowsToRemove;
    // Row of each serial number and IP address, built on demand and dropped on
    // any change that could move an id or a row.
    mutable QHash<QString, int> rowIndex;
    mutable bool rowIndexValid = false;
    // 1 or 0 while every row is known to be enabled or disabled for editing, else -1.
    int rowsEnabled = -1;
};
