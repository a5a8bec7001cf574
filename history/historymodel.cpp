#include "historymodel.h"

#include "historycommand.h"
#include "jobexecution.h"
#include "productionstore.h"

#include <QDateTime>
#include <QSqlError>
#include <QSqlQuery>
#include <QThread>

namespace {

enum Field
{
    Id,
    StartedMs,
    OffsetS,
    DeviceIdField,
    NicknameField,
    PartField,
    OutcomeField,
    FailedActionField,
    FailedTypeField,
    ExitCodeField,
    SignalField,
    StationField,
    ElapsedField,
    PoolValuesField,
    LogFileField
};

} // namespace

// Reads pages on the model's reader thread, with a connection of its own.
class HistoryPageReader : public QObject
{
public:
    std::unique_ptr<ProductionStore> store;

    void read(HistoryModel* model, quint64 generation, const HistoryFilter& filter, qint64 belowId)
    {
        QVector<HistoryModel::Row> page;
        QString error;
        const HistoryFilter::Condition condition =
            belowId > 0 ? filter.condition({QStringLiteral("r.id < ?")}, {belowId}) : filter.condition();
        QSqlQuery query(store->database());
        query.setForwardOnly(true);
        query.prepare(HistoryModel::selectSql(condition, store->isPostgres(), true));
        for (const QVariant& value : condition.values)
            query.addBindValue(value);
        if (query.exec()) {
            while (query.next())
                page.append(HistoryModel::rowOf(query));
        } else {
            error =
                HistoryModel::tr("The production history cannot be read: %1").arg(query.lastError().text());
        }
        // Delivered on the model's thread; dropped with the model if it is gone by then.
        QMetaObject::invokeMethod(
            model, [model, generation, page, error] { model->onPage(generation, page, error); },
            Qt::QueuedConnection);
    }
};

HistoryModel::HistoryModel(QObject* parent) : QAbstractTableModel(parent)
{
    readerThread = new QThread(this);
    reader = new HistoryPageReader;
    reader->moveToThread(readerThread);
    connect(readerThread, &QThread::finished, reader, &QObject::deleteLater);
    readerThread->start();
}

HistoryModel::~HistoryModel()
{
    readerThread->quit();
    readerThread->wait();
}

bool HistoryModel::open(const StoreLocation& location, QString* error)
{
    auto opened = std::make_unique<ProductionStore>();
    if (!opened->open(location, error))
        return false;
    // The reader's own connection, made on its thread; the check above has brought the schema up to date.
    QMetaObject::invokeMethod(
        reader,
        [this, location] {
            QString ignored;
            reader->store = std::make_unique<ProductionStore>();
            if (!reader->store->open(location, &ignored))
                reader->store.reset();
        },
        Qt::BlockingQueuedConnection);
    beginResetModel();
    productionStore = std::move(opened);
    rows.clear();
    ++generation;
    pending = false;
    more = true;
    endResetModel();
    return true;
}

bool HistoryModel::isOpen() const
{
    return productionStore && productionStore->isOpen();
}

void HistoryModel::setFilter(const HistoryFilter& filter)
{
    beginResetModel();
    current = filter;
    rows.clear();
    ++generation;
    pending = false;
    more = isOpen();
    endResetModel();
    requestPage();
}

void HistoryModel::requestPage()
{
    if (!more || pending || !isOpen())
        return;
    pending = true;
    const quint64 asked = generation;
    const HistoryFilter filter = current;
    const qint64 belowId = rows.isEmpty() ? 0 : rows.constLast().id;
    QMetaObject::invokeMethod(
        reader,
        [this, asked, filter, belowId] {
            if (reader->store)
                reader->read(this, asked, filter, belowId);
            else
                QMetaObject::invokeMethod(
                    this, [this, asked] { onPage(asked, {}, tr("The production history cannot be read.")); },
                    Qt::QueuedConnection);
        },
        Qt::QueuedConnection);
}

void HistoryModel::onPage(quint64 pageGeneration, const QVector<Row>& page, const QString& error)
{
    if (pageGeneration != generation)
        return;
    // Still pending while the rows go in: a view asking for more meanwhile must not ask for this page again.
    if (!page.isEmpty()) {
        beginInsertRows(QModelIndex(), rows.size(), rows.size() + page.size() - 1);
        rows += page;
        endInsertRows();
    }
    pending = false;
    more = error.isEmpty() && page.size() == pageSize;
    if (!error.isEmpty())
        emit errorEncountered(error);
    emit pageRead();
}

void HistoryModel::clear()
{
    beginResetModel();
    rows.clear();
    ++generation;
    pending = false;
    more = false;
    endResetModel();
}

QString HistoryModel::selectSql(const HistoryFilter::Condition& condition, bool postgres, bool paged)
{
    return QStringLiteral("SELECT r.id, COALESCE(r.started_ms, u.started_ms), COALESCE(r.utc_offset_s, "
                          "u.utc_offset_s), r.device_id, r.nickname, r.part, r.outcome, r.failed_action, "
                          "r.failed_type, r.exit_code, r.signal, s.name, r.elapsed_ms, %1, r.log_file "
                          "FROM device_results r JOIN runs u ON u.id = r.run_id LEFT JOIN stations s ON "
                          "s.id = u.station_id %2 ORDER BY r.id DESC%3")
        .arg(HistoryCommand::poolValuesColumn(QStringLiteral("r"), postgres), condition.sql,
             paged ? QStringLiteral(" LIMIT %1").arg(pageSize) : QString());
}

HistoryModel::Row HistoryModel::rowOf(const QSqlQuery& query)
{
    Row row;
    row.id = query.value(Id).toLongLong();
    row.logFile = query.value(LogFileField).toString();
    const QVariant started = query.value(StartedMs);
    const QString start = started.isNull()
                              ? QString()
                              : QDateTime::fromMSecsSinceEpoch(started.toLongLong(), Qt::OffsetFromUTC,
                                                               query.value(OffsetS).toInt())
                                    .toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    QString failed;
    if (!query.value(FailedActionField).isNull())
        failed = QStringLiteral("%1 (%2)")
                     .arg(query.value(FailedActionField).toInt())
                     .arg(query.value(FailedTypeField).toString());
    QString ending;
    if (!query.value(SignalField).isNull())
        ending = tr("signal %1").arg(query.value(SignalField).toInt());
    else if (!query.value(ExitCodeField).isNull())
        ending = tr("exit code %1").arg(query.value(ExitCodeField).toInt());
    const QVariant elapsed = query.value(ElapsedField);
    row.fields = QStringList{start,
                             query.value(DeviceIdField).toString(),
                             query.value(NicknameField).toString(),
                             query.value(PartField).toString(),
                             query.value(OutcomeField).toString(),
                             failed,
                             ending,
                             query.value(StationField).toString(),
                             elapsed.isNull() ? QString() : JobExecution::elapsedText(elapsed.toLongLong()),
                             query.value(PoolValuesField).toString(),
                             row.logFile};
    return row;
}

int HistoryModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : rows.size();
}

int HistoryModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant HistoryModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= rows.size() || index.column() >= ColumnCount)
        return QVariant();
    if (role == Qt::DisplayRole || role == Qt::ToolTipRole)
        return rows.at(index.row()).fields.value(index.column());
    return QVariant();
}

QStringList HistoryModel::headers() const
{
    return {tr("Start"),   tr("Device id"),        tr("Nickname"), tr("Target part"),
            tr("Outcome"), tr("Failed action"),    tr("Exit"),     tr("Station"),
            tr("Elapsed"), tr("Data pool values"), tr("Log file")};
}

QVariant HistoryModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QAbstractTableModel::headerData(section, orientation, role);
    return headers().value(section);
}

bool HistoryModel::canFetchMore(const QModelIndex& parent) const
{
    return !parent.isValid() && more && !pending;
}

void HistoryModel::fetchMore(const QModelIndex& parent)
{
    if (!parent.isValid())
        requestPage();
}

QString HistoryModel::deviceId(int row) const
{
    return rows.value(row).fields.value(DeviceId);
}

QString HistoryModel::logFile(int row) const
{
    return rows.value(row).logFile;
}

bool HistoryModel::forEachMatching(const std::function<void(const QStringList&)>& row, QString* error) const
{
    if (!isOpen()) {
        *error = tr("The production database is not open.");
        return false;
    }
    const HistoryFilter::Condition condition = current.condition();
    QSqlQuery query(productionStore->database());
    query.setForwardOnly(true);
    query.prepare(selectSql(condition, productionStore->isPostgres(), false));
    for (const QVariant& value : condition.values)
        query.addBindValue(value);
    if (!query.exec()) {
        *error = tr("The production history cannot be read: %1").arg(query.lastError().text());
        return false;
    }
    while (query.next())
        row(rowOf(query).fields);
    return true;
}

bool HistoryModel::unitRunsForYield(int limit, QVector<HistoryStatistics::UnitRun>* runs, bool* truncated,
                                    QString* error) const
{
    runs->clear();
    *truncated = false;
    if (!isOpen()) {
        *error = tr("The production database is not open.");
        return false;
    }
    // Results that never started were no try of their unit.
    const HistoryFilter::Condition condition =
        current.condition({QStringLiteral("r.started_ms IS NOT NULL")}, {});
    QSqlQuery query(productionStore->database());
    query.setForwardOnly(true);
    query.prepare(
        QStringLiteral("SELECT r.device_id, r.started_ms, COALESCE(r.utc_offset_s, u.utc_offset_s), "
                       "r.outcome FROM device_results r JOIN runs u ON u.id = r.run_id %1 ORDER BY "
                       "r.id DESC LIMIT %2")
            .arg(condition.sql)
            .arg(limit + 1));
    for (const QVariant& value : condition.values)
        query.addBindValue(value);
    if (!query.exec()) {
        *error = tr("The production history cannot be read: %1").arg(query.lastError().text());
        return false;
    }
    while (query.next()) {
        if (runs->size() == limit) {
            *truncated = true;
            break;
        }
        runs->append({query.value(0).toString(), query.value(1).toLongLong(), query.value(2).toInt(),
                      query.value(3).toString() == QLatin1String("done")});
    }
    return true;
}

bool HistoryModel::failuresByActionType(QVector<HistoryStatistics::FailureCount>* failures,
                                        QString* error) const
{
    failures->clear();
    if (!isOpen()) {
        *error = tr("The production database is not open.");
        return false;
    }
    const HistoryFilter::Condition condition =
        current.condition({QStringLiteral("r.failed_type IS NOT NULL")}, {});
    QSqlQuery query(productionStore->database());
    query.setForwardOnly(true);
    query.prepare(QStringLiteral("SELECT r.failed_type, COUNT(*) FROM device_results r JOIN runs u ON u.id = "
                                 "r.run_id %1 GROUP BY r.failed_type")
                      .arg(condition.sql));
    for (const QVariant& value : condition.values)
        query.addBindValue(value);
    if (!query.exec()) {
        *error = tr("The production history cannot be read: %1").arg(query.lastError().text());
        return false;
    }
    while (query.next())
        failures->append({query.value(0).toString(), query.value(1).toInt()});
    return true;
}
