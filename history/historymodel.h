#pragma once

#include "historyfilter.h"
#include "historystatistics.h"

#include <QAbstractTableModel>
#include <QVector>

#include <functional>

#include <memory>

class ProductionStore;
class StoreLocation;

// Device results of the production store, newest first, as the history window shows them. Rows are
// fetched on demand a page at a time (keyed by the result's row id, which the primary key indexes),
// and the filter is the database's work, so a store of a million results costs no more than a page.
class HistoryModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column
    {
        Start,
        DeviceId,
        Nickname,
        Part,
        Outcome,
        FailedAction,
        ExitOrSignal,
        Station,
        Elapsed,
        PoolValues,
        LogFile,
        ColumnCount
    };

    static constexpr int pageSize = 200;

    explicit HistoryModel(QObject* parent = nullptr);
    ~HistoryModel() override;

    // Opens the store on the calling thread; false with the reason in *error.
    bool open(const StoreLocation& location, QString* error);
    bool isOpen() const;
    ProductionStore* store() const { return productionStore.get(); }

    // Shows the results the filter matches, from the first page.
    void setFilter(const HistoryFilter& filter);
    const HistoryFilter& filter() const { return current; }
    // Shows nothing until the next filter.
    void clear();

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    bool canFetchMore(const QModelIndex& parent) const override;
    void fetchMore(const QModelIndex& parent) override;

    QString deviceId(int row) const;
    QString logFile(int row) const;

    // The query behind the model (all matching rows, newest first, in the columns above as text), for
    // an export: runs it forward-only and hands each row's fields to `row`. False with the reason.
    bool forEachMatching(const std::function<void(const QStringList&)>& row, QString* error) const;
    QStringList headers() const;

    // The chart inputs of the filtered results. The runs are the newest `limit` ones (*truncated says
    // whether there were more); the failures are counted by the database over all of them.
    bool unitRunsForYield(int limit, QVector<HistoryStatistics::UnitRun>* runs, bool* truncated,
                          QString* error) const;
    bool failuresByActionType(QVector<HistoryStatistics::FailureCount>* failures, QString* error) const;

signals:
    void errorEncountered(const QString& message);

private:
    struct Row
    {
        qint64 id = 0;
        QStringList fields;
        QString outcome;
        QString logFile;
    };

    QString selectSql(const HistoryFilter::Condition& condition, bool paged) const;
    static Row rowOf(const class QSqlQuery& query);

    std::unique_ptr<ProductionStore> productionStore;
    HistoryFilter current;
    QVector<Row> rows;
    bool more = false;
    bool fetching = false;
};
