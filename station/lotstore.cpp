#include "lotstore.h"

#include <QDateTime>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

namespace {

QStringList schema(const QString& key, const QString& reference)
{
    return {
        QStringLiteral("CREATE TABLE lots(id %1, name TEXT NOT NULL UNIQUE, quantity INTEGER NOT NULL, "
                       "job_file TEXT, job_sha256 TEXT, station_id %2, created_ms BIGINT NOT NULL)")
            .arg(key, reference),
        QStringLiteral("CREATE TABLE lot_units(id %1, lot_id %2 NOT NULL REFERENCES lots(id), station_id %2, "
                       "slot TEXT, device_id TEXT NOT NULL, pid BIGINT, started_ms BIGINT NOT NULL, "
                       "ended_ms BIGINT, outcome TEXT)")
            .arg(key, reference),
        QStringLiteral("CREATE INDEX lot_units_lot ON lot_units(lot_id)"),
        QStringLiteral("CREATE INDEX lot_units_open ON lot_units(station_id, ended_ms)")};
}

qint64 now()
{
    return QDateTime::currentMSecsSinceEpoch();
}

} // namespace

LotStore::LotStore(const QSqlDatabase& database, bool postgres, qint64 stationId)
    : db(database), postgres(postgres), station(stationId)
{}

QStringList LotStore::sqliteSchema()
{
    return schema(QStringLiteral("INTEGER PRIMARY KEY"), QStringLiteral("INTEGER"));
}

QStringList LotStore::postgresSchema()
{
    return schema(QStringLiteral("BIGSERIAL PRIMARY KEY"), QStringLiteral("BIGINT"));
}

bool LotStore::fail(const QSqlQuery& query, QString* error) const
{
    if (error)
        *error = tr("The production database cannot keep the lot: %1").arg(query.lastError().text());
    return false;
}

qint64 LotStore::failed(const QSqlQuery& query, QString* error) const
{
    fail(query, error);
    return 0;
}

qint64 LotStore::openLot(const QString& name, int quantity, const QString& jobFile, const QString& jobSha256,
                         QString* error)
{
    QSqlQuery query(db);
    query.prepare(QStringLiteral("SELECT id, quantity FROM lots WHERE name = ?"));
    query.addBindValue(name);
    if (!query.exec())
        return failed(query, error);
    if (query.next()) {
        const qint64 id = query.value(0).toLongLong();
        const int before = query.value(1).toInt();
        if (before == quantity)
            return id;
        QSqlQuery update(db);
        update.prepare(QStringLiteral("UPDATE lots SET quantity = ? WHERE id = ?"));
        update.addBindValue(quantity);
        update.addBindValue(id);
        if (!update.exec())
            return failed(update, error);
        return audit(QStringLiteral("lot quantity"), name + QLatin1Char(' ') + QString::number(before),
                     name + QLatin1Char(' ') + QString::number(quantity), error)
                   ? id
                   : 0;
    }
    QSqlQuery insert(db);
    insert.prepare(
        QStringLiteral("INSERT INTO lots(name, quantity, job_file, job_sha256, station_id, created_ms) "
                       "VALUES (?, ?, ?, ?, ?, ?)") +
        (postgres ? QStringLiteral(" RETURNING id") : QString()));
    insert.addBindValue(name);
    insert.addBindValue(quantity);
    insert.addBindValue(jobFile);
    insert.addBindValue(jobSha256);
    insert.addBindValue(station);
    insert.addBindValue(now());
    if (!insert.exec())
        return failed(insert, error);
    const qint64 id =
        postgres && insert.next() ? insert.value(0).toLongLong() : insert.lastInsertId().toLongLong();
    return audit(QStringLiteral("lot"), QString(), name + QLatin1Char(' ') + QString::number(quantity), error)
               ? id
               : 0;
}

qint64 LotStore::unitStarted(qint64 lot, const QString& slot, const QString& deviceId, qint64 pid,
                             QString* error)
{
    QSqlQuery query(db);
    query.prepare(
        QStringLiteral("INSERT INTO lot_units(lot_id, station_id, slot, device_id, pid, started_ms) "
                       "VALUES (?, ?, ?, ?, ?, ?)") +
        (postgres ? QStringLiteral(" RETURNING id") : QString()));
    query.addBindValue(lot);
    query.addBindValue(station);
    query.addBindValue(slot);
    query.addBindValue(deviceId);
    query.addBindValue(pid);
    query.addBindValue(now());
    if (!query.exec())
        return failed(query, error);
    return postgres && query.next() ? query.value(0).toLongLong() : query.lastInsertId().toLongLong();
}

bool LotStore::unitEnded(qint64 unit, const QString& outcome, QString* error)
{
    QSqlQuery query(db);
    query.prepare(QStringLiteral("UPDATE lot_units SET ended_ms = ?, outcome = ? WHERE id = ?"));
    query.addBindValue(now());
    query.addBindValue(outcome);
    query.addBindValue(unit);
    return query.exec() || fail(query, error);
}

bool LotStore::counts(qint64 lot, LotCounts* counts, QString* error)
{
    // Units still running count once they end; interrupted ones count as failed tries.
    QSqlQuery query(db);
    query.setForwardOnly(true);
    query.prepare(QStringLiteral("SELECT device_id, started_ms, outcome FROM lot_units WHERE lot_id = ? AND "
                                 "ended_ms IS NOT NULL"));
    query.addBindValue(lot);
    if (!query.exec())
        return fail(query, error);
    QList<LotAttempt> attempts;
    while (query.next())
        attempts.append({query.value(0).toString(), query.value(1).toLongLong(),
                         query.value(2).toString() == QLatin1String("done")});
    *counts = LotCounts::of(attempts);
    return true;
}

QList<LotStore::Interrupted> LotStore::settleInterrupted(const std::function<bool(qint64)>& processAlive,
                                                         QString* error)
{
    QList<Interrupted> settled;
    QSqlQuery query(db);
    query.prepare(QStringLiteral("SELECT id, slot, device_id, pid FROM lot_units WHERE station_id = ? AND "
                                 "ended_ms IS NULL ORDER BY id"));
    query.addBindValue(station);
    if (!query.exec()) {
        fail(query, error);
        return settled;
    }
    QList<qint64> ids;
    while (query.next()) {
        if (processAlive(query.value(3).toLongLong()))
            continue;
        ids << query.value(0).toLongLong();
        settled.append({query.value(1).toString(), query.value(2).toString()});
    }
    for (const qint64 id : qAsConst(ids))
        if (!unitEnded(id, QStringLiteral("interrupted"), error))
            return {};
    return settled;
}

bool LotStore::audit(const QString& what, const QString& oldValue, const QString& newValue, QString* error)
{
    QSqlQuery query(db);
    query.prepare(QStringLiteral("INSERT INTO audit(at_ms, station_id, actor, what, old_value, new_value) "
                                 "VALUES (?, ?, ?, ?, ?, ?)"));
    query.addBindValue(now());
    query.addBindValue(station);
    query.addBindValue(QStringLiteral("station"));
    query.addBindValue(what);
    query.addBindValue(oldValue);
    query.addBindValue(newValue);
    return query.exec() || fail(query, error);
}
