#include "historymodel.h"

#include "historycommand.h"
#include "jobexecution.h"
#include "productionstore.h"

#include <QDateTime>
#include <QScopedValueRollback>
#include <QSqlError>
#include <QSqlQuery>

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

HistoryModel::HistoryModel(QObject* parent) : QAbstractTableModel(parent) {}

HistoryModel::~HistoryModel() = default;

bool HistoryModel::open(const StoreLocation& location, QString* error)
{
    auto opened = std::make_unique<ProductionStore>();
    if (!opened->open(location, error))
        return false;
    beginResetModel();
    productionStore = std::move(opened);
    rows.clear();
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
    more = isOpen();
    endResetModel();
    if (more)
        fetchMore(QModelIndex());
}

void HistoryModel::clear()
{
    beginResetModel();
    rows.clear();
    more = false;
    endResetModel();
}

QString HistoryModel::selectSql(const HistoryFilter::Condition& condition, bool paged) const
{
    return QStringLiteral("SELECT r.id, COALESCE(r.started_ms, u.started_ms), COALESCE(r.utc_offset_s, "
                          "u.utc_offset_s), r.device_id, r.nickname, r.part, r.outcome, r.failed_action, "
                          "r.failed_type, r.exit_code, r.signal, s.name, r.elapsed_ms, %1, r.log_file "
                          "FROM device_results r JOIN runs u ON u.id = r.run_id LEFT JOIN stations s ON "
                          "s.id = u.station_id %2 ORDER BY r.id DESC%3")
        .arg(HistoryCommand::poolValuesColumn(QStringLiteral("r"), productionStore->isPostgres()),
             condition.sql, paged ? QStringLiteral(" LIMIT %1").arg(pageSize) : QString());
}

HistoryModel::Row HistoryModel::rowOf(const QSqlQuery& query)
{
    Row row;
    row.id = query.value(Id).toLongLong();
    row.outcome = query.value(OutcomeField).toString();
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
                             row.outcome,
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
    return !parent.isValid() && more;
}

void HistoryModel::fetchMore(const QModelIndex& parent)
{
    // Views may ask again while the rows of this page go in.
    if (parent.isValid() || !more || !isOpen() || fetching)
        return;
    const QScopedValueRollback<bool> busy(fetching, true);
    // The next page starts below the last row shown: an index lookup however far down it is.
    const HistoryFilter::Condition condition =
        rows.isEmpty() ? current.condition()
                       : current.condition({QStringLiteral("r.id < ?")}, {rows.constLast().id});
    QSqlQuery query(productionStore->database());
    query.setForwardOnly(true);
    query.prepare(selectSql(condition, true));
    for (const QVariant& value : condition.values)
        query.addBindValue(value);
    if (!query.exec()) {
        more = false;
        emit errorEncountered(tr("The production history cannot be read: %1").arg(query.lastError().text()));
        return;
    }
    QVector<Row> page;
    while (query.next())
        page.append(rowOf(query));
    more = page.size() == pageSize;
    if (page.isEmpty())
        return;
    beginInsertRows(QModelIndex(), rows.size(), rows.size() + page.size() - 1);
    rows += page;
    endInsertRows();
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
    query.prepare(selectSql(condition, false));
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
