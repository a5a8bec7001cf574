#pragma once

#include "historyfilter.h"
#include "historystatistics.h"

#include <QAbstractTableModel>
#include <QVector>

#include <functional>
#include <memory>

class HistoryPageReader;
class ProductionStore;
class QThread;
class StoreLocation;

// Device results of the production store, newest first, as the history window shows them. Rows are
// fetched on demand a page at a time (keyed by the result's row id, which the primary key indexes),
// and the filter is the database's work. Pages are read on a thread of their own: a filter the
// database must scan a million rows for (a fragment of a device id) never holds the window; the
// rows appear when the page is read, and pageRead() tells.
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
    // Whether a page is being read.
    bool isReading() const { return pending; }
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
    // Whether more pages may follow; false while one is being read.
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
    // A page was read (its rows are in); also when it was empty.
    void pageRead();

private:
    friend class HistoryPageReader;
    struct Row
    {
        qint64 id = 0;
        QStringList fields;
        QString logFile;
    };

    static QString selectSql(const HistoryFilter::Condition& condition, bool postgres, bool paged);
    static Row rowOf(const class QSqlQuery& query);
    void requestPage();
    void onPage(quint64 generation, const QVector<Row>& page, const QString& error);

    std::unique_ptr<ProductionStore> productionStore;
    QThread* readerThread = nullptr;
    HistoryPageReader* reader = nullptr;
    HistoryFilter current;
    QVector<Row> rows;
    // Pages of an older filter that arrive late are dropped.
    quint64 generation = 0;
    bool more = false;
    bool pending = false;
};
