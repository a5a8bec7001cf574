#include "poolstore.h"

#include "jobexecution.h"
#include "macaddress.h"
#include "poolpattern.h"

#include <QDateTime>
#include <QRegularExpression>
#include <QSet>
#include <QSqlError>
#include <QSqlQuery>

#include <limits>

namespace {

const QString StateFree = QStringLiteral("free");
const QString StateReserved = QStringLiteral("reserved");
const QString StateCommitted = QStringLiteral("committed");
const QString StateReleased = QStringLiteral("released");
const QString StateVoided = QStringLiteral("voided");

qint64 nowMs()
{
    return QDateTime::currentMSecsSinceEpoch();
}

PoolDefinition::Kind kindOf(const QString& text)
{
    if (text == QLatin1String("mac"))
        return PoolDefinition::Mac;
    if (text == QLatin1String("list"))
        return PoolDefinition::List;
    return PoolDefinition::Counter;
}

// The text of a counter or MAC block value at a given index.
QString valueText(PoolDefinition::Kind kind, const PoolRange& range, const PoolPattern& pattern, qint64 index)
{
    const quint64 value = range.valueAt(quint64(index));
    return kind == PoolDefinition::Mac ? MacAddress::format(value) : pattern.format(value);
}

QString schemaPoolsTable(const QString& key)
{
    return QStringLiteral(
               "CREATE TABLE pools (id %1, name TEXT NOT NULL UNIQUE, kind TEXT NOT NULL, "
               "first_value BIGINT, last_value BIGINT, step BIGINT, format TEXT, "
               "on_failure TEXT NOT NULL, size BIGINT NOT NULL, next_index BIGINT NOT NULL DEFAULT 0, "
               "created_ms BIGINT NOT NULL)")
        .arg(key);
}

QString schemaValuesTable(const QString& key, const QString& reference)
{
    // A value's text is unique in its pool: the database itself refuses to hand one out twice.
    return QStringLiteral("CREATE TABLE pool_values (id %1, pool_id %2 NOT NULL REFERENCES pools(id), "
                          "seq BIGINT NOT NULL, value TEXT NOT NULL, state TEXT NOT NULL, run_id TEXT, "
                          "device_id TEXT, station_id %2, holder_pid BIGINT, lease_ms BIGINT, reason TEXT, "
                          "changed_ms BIGINT, UNIQUE(pool_id, value))")
        .arg(key, reference);
}

QString schemaEventsTable(const QString& key, const QString& reference)
{
    return QStringLiteral("CREATE TABLE pool_events (id %1, value_id %2 NOT NULL REFERENCES pool_values(id), "
                          "at_ms BIGINT NOT NULL, state TEXT NOT NULL, run_id TEXT, device_id TEXT, "
                          "station_id %2, reason TEXT)")
        .arg(key, reference);
}

QStringList schemaIndexes()
{
    return {QStringLiteral("CREATE INDEX pool_values_pick ON pool_values(pool_id, state, seq)"),
            QStringLiteral("CREATE INDEX pool_values_run ON pool_values(run_id, device_id)"),
            QStringLiteral("CREATE INDEX pool_values_value ON pool_values(value)"),
            QStringLiteral("CREATE INDEX pool_events_value ON pool_events(value_id)")};
}

// A PostgreSQL array literal of the values, for one bound parameter: the server
// then takes a whole run's rows in one statement instead of one round trip each.
QString postgresArray(const QVariantList& values)
{
    QStringList items;
    for (const QVariant& value : values) {
        QString text = value.toString();
        text.replace(QLatin1Char('\\'), QStringLiteral("\\\\"))
            .replace(QLatin1Char('"'), QStringLiteral("\\\""));
        items << QLatin1Char('"') + text + QLatin1Char('"');
    }
    return QLatin1Char('{') + items.join(QLatin1Char(',')) + QLatin1Char('}');
}

} // namespace

QString PoolDefinition::kindName(Kind kind)
{
    switch (kind) {
    case Mac:
        return QStringLiteral("mac");
    case List:
        return QStringLiteral("list");
    case Counter:
        break;
    }
    return QStringLiteral("counter");
}

PoolStore::PoolStore(const QSqlDatabase& database, bool postgres, qint64 stationId)
    : db(database), postgres(postgres), stationId(stationId)
{}

QStringList PoolStore::sqliteSchema()
{
    const QString key = QStringLiteral("INTEGER PRIMARY KEY");
    const QString reference = QStringLiteral("INTEGER");
    return QStringList{schemaPoolsTable(key), schemaValuesTable(key, reference),
                       schemaEventsTable(key, reference)} +
           schemaIndexes();
}

QStringList PoolStore::postgresSchema()
{
    const QString key = QStringLiteral("BIGSERIAL PRIMARY KEY");
    const QString reference = QStringLiteral("BIGINT");
    return QStringList{schemaPoolsTable(key), schemaValuesTable(key, reference),
                       schemaEventsTable(key, reference)} +
           schemaIndexes();
}

bool PoolStore::validName(const QString& name, QString* error)
{
    static const QRegularExpression pattern(QStringLiteral("^[A-Za-z][A-Za-z0-9_]*$"));
    if (!pattern.match(name).hasMatch()) {
        *error = tr("\"%1\" cannot name a data pool; use letters, digits and underscores, starting with a "
                    "letter.")
                     .arg(name);
        return false;
    }
    if (JobExecution::builtInVariableDescriptions().contains(name.toLower())) {
        *error = tr("\"%1\" is a built-in variable and cannot name a data pool.").arg(name);
        return false;
    }
    return true;
}

bool PoolStore::fail(const QSqlQuery& query, QString* error)
{
    *error = tr("The production store refused a data pool change: %1").arg(query.lastError().text());
    rollback();
    return false;
}

bool PoolStore::begin(QString* error)
{
    if (postgres) {
        if (db.transaction())
            return true;
        *error = tr("Cannot start a transaction in the production store: %1").arg(db.lastError().text());
        return false;
    }
    // The write lock is taken at once, so two processes never both read the same free values.
    QSqlQuery query(db);
    if (query.exec(QStringLiteral("BEGIN IMMEDIATE")))
        return true;
    *error = tr("Cannot start a transaction in the production store: %1").arg(query.lastError().text());
    return false;
}

bool PoolStore::commit(QString* error)
{
    bool ok = false;
    QString reason;
    if (postgres) {
        ok = db.commit();
        reason = db.lastError().text();
    } else {
        QSqlQuery query(db);
        ok = query.exec(QStringLiteral("COMMIT"));
        reason = query.lastError().text();
    }
    if (!ok) {
        *error = tr("The production store did not take the data pool change: %1").arg(reason);
        rollback();
    }
    return ok;
}

void PoolStore::rollback()
{
    if (postgres) {
        db.rollback();
    } else {
        QSqlQuery query(db);
        query.exec(QStringLiteral("ROLLBACK"));
    }
}

bool PoolStore::define(const PoolDefinition& definition, QString* error)
{
    if (!validName(definition.name, error))
        return false;
    PoolPattern pattern;
    if (definition.kind == PoolDefinition::Counter && !definition.format.isEmpty() &&
        !PoolPattern::parse(definition.format, &pattern, error))
        return false;
    const bool ranged = definition.kind != PoolDefinition::List;
    if (ranged && (definition.range.count() > quint64(std::numeric_limits<qint64>::max()) ||
                   definition.range.last > quint64(std::numeric_limits<qint64>::max()) ||
                   definition.range.step > quint64(std::numeric_limits<qint64>::max()))) {
        *error = tr("The data pool \"%1\" would be too large.").arg(definition.name);
        return false;
    }
    if (!begin(error))
        return false;
    const qint64 now = nowMs();
    QSqlQuery query(db);
    query.prepare(
        QStringLiteral("SELECT id, name, kind, first_value, last_value, step, format, size FROM pools"));
    if (!query.exec())
        return fail(query, error);
    qint64 existingId = -1;
    qint64 existingSize = 0;
    while (query.next()) {
        const QString name = query.value(1).toString();
        const PoolDefinition::Kind kind = kindOf(query.value(2).toString());
        PoolRange range;
        range.first = quint64(query.value(3).toLongLong());
        range.last = quint64(query.value(4).toLongLong());
        range.step = quint64(query.value(5).toLongLong());
        const QString format = query.value(6).toString();
        if (name == definition.name) {
            const bool grows =
                kind == definition.kind &&
                (kind == PoolDefinition::List ||
                 (range.first == definition.range.first && range.step == definition.range.step &&
                  format == definition.format && definition.range.last >= range.last));
            if (!grows) {
                *error = tr("A data pool named \"%1\" already exists and the new definition overlaps it; "
                            "only a later last value (same first value, step and format) or more list "
                            "values can be added.")
                             .arg(name);
                rollback();
                return false;
            }
            existingId = query.value(0).toLongLong();
            existingSize = query.value(7).toLongLong();
            continue;
        }
        // Two pools that can give the same text would put one value on two boards.
        const auto written = [](const QString& pattern) {
            return pattern.isEmpty() ? QStringLiteral("%d") : pattern;
        };
        if (ranged && kind == definition.kind && written(format) == written(definition.format) &&
            range.overlaps(definition.range)) {
            *error =
                tr("The values of \"%1\" overlap those of the data pool \"%2\".").arg(definition.name, name);
            rollback();
            return false;
        }
    }
    const QString rule = definition.voidOnFailure ? QStringLiteral("void") : QStringLiteral("reuse");
    if (existingId < 0) {
        query.prepare(
            QStringLiteral("INSERT INTO pools (name, kind, first_value, last_value, step, format, "
                           "on_failure, size, next_index, created_ms) VALUES (:name, :kind, :first, "
                           ":last, :step, :format, :rule, :size, 0, :now)"));
        query.bindValue(QStringLiteral(":name"), definition.name);
        query.bindValue(QStringLiteral(":kind"), PoolDefinition::kindName(definition.kind));
        query.bindValue(QStringLiteral(":first"),
                        ranged ? QVariant(qint64(definition.range.first)) : QVariant());
        query.bindValue(QStringLiteral(":last"),
                        ranged ? QVariant(qint64(definition.range.last)) : QVariant());
        query.bindValue(QStringLiteral(":step"),
                        ranged ? QVariant(qint64(definition.range.step)) : QVariant());
        query.bindValue(QStringLiteral(":format"), definition.format);
        query.bindValue(QStringLiteral(":rule"), rule);
        query.bindValue(QStringLiteral(":size"), ranged ? qint64(definition.range.count()) : qint64(0));
        query.bindValue(QStringLiteral(":now"), now);
        if (!query.exec())
            return fail(query, error);
        query.prepare(QStringLiteral("SELECT id FROM pools WHERE name = :name"));
        query.bindValue(QStringLiteral(":name"), definition.name);
        if (!query.exec() || !query.next())
            return fail(query, error);
        existingId = query.value(0).toLongLong();
    } else {
        query.prepare(QStringLiteral("UPDATE pools SET last_value = :last, size = :size, on_failure = :rule "
                                     "WHERE id = :id"));
        query.bindValue(QStringLiteral(":last"),
                        ranged ? QVariant(qint64(definition.range.last)) : QVariant());
        query.bindValue(QStringLiteral(":size"), ranged ? qint64(definition.range.count()) : existingSize);
        query.bindValue(QStringLiteral(":rule"), rule);
        query.bindValue(QStringLiteral(":id"), existingId);
        if (!query.exec())
            return fail(query, error);
    }
    if (definition.kind == PoolDefinition::List) {
        QSet<QString> present;
        query.prepare(QStringLiteral("SELECT value FROM pool_values WHERE pool_id = :id"));
        query.bindValue(QStringLiteral(":id"), existingId);
        if (!query.exec())
            return fail(query, error);
        while (query.next())
            present.insert(query.value(0).toString());
        QVariantList poolIds, seqs, values, states, times;
        for (int i = 0; i < definition.values.size(); ++i) {
            const QString& value = definition.values.at(i);
            if (present.contains(value)) {
                *error =
                    tr("The value \"%1\" is already in the data pool \"%2\".").arg(value, definition.name);
                rollback();
                return false;
            }
            poolIds << existingId;
            seqs << existingSize + i;
            values << value;
            states << StateFree;
            times << now;
        }
        if (postgres) {
            query.prepare(
                QStringLiteral("INSERT INTO pool_values (pool_id, seq, value, state, changed_ms) "
                               "SELECT :pool, t.seq, t.value, 'free', :now FROM "
                               "unnest(CAST(:seqs AS bigint[]), CAST(:values AS text[])) AS t(seq, value)"));
            query.bindValue(QStringLiteral(":pool"), existingId);
            query.bindValue(QStringLiteral(":now"), now);
            query.bindValue(QStringLiteral(":seqs"), postgresArray(seqs));
            query.bindValue(QStringLiteral(":values"), postgresArray(values));
            if (!query.exec())
                return fail(query, error);
        } else {
            query.prepare(QStringLiteral("INSERT INTO pool_values (pool_id, seq, value, state, changed_ms) "
                                         "VALUES (?, ?, ?, ?, ?)"));
            for (const QVariantList& column : {poolIds, seqs, values, states, times})
                query.addBindValue(column);
            if (!query.execBatch())
                return fail(query, error);
        }
        query.prepare(QStringLiteral("UPDATE pools SET size = :size WHERE id = :id"));
        query.bindValue(QStringLiteral(":size"), existingSize + definition.values.size());
        query.bindValue(QStringLiteral(":id"), existingId);
        if (!query.exec())
            return fail(query, error);
    }
    return commit(error);
}

bool PoolStore::counts(QList<PoolCounts>* result, QString* error)
{
    QSqlQuery query(db);
    query.prepare(QStringLiteral(
        "SELECT p.name, p.kind, p.on_failure, p.size, p.next_index, p.first_value, p.last_value, p.step, "
        "p.format, "
        "SUM(CASE WHEN v.state = 'free' THEN 1 ELSE 0 END), SUM(CASE WHEN v.state = 'reserved' THEN 1 ELSE 0 "
        "END), "
        "SUM(CASE WHEN v.state = 'committed' THEN 1 ELSE 0 END), "
        "SUM(CASE WHEN v.state = 'released' THEN 1 ELSE 0 END), "
        "SUM(CASE WHEN v.state = 'voided' THEN 1 ELSE 0 END), "
        "(SELECT MIN(w.seq) FROM pool_values w WHERE w.pool_id = p.id AND w.state IN ('free', 'released')) "
        "FROM pools p LEFT JOIN pool_values v ON v.pool_id = p.id "
        "GROUP BY p.id, p.name, p.kind, p.on_failure, p.size, p.next_index, p.first_value, p.last_value, "
        "p.step, p.format ORDER BY p.name"));
    if (!query.exec()) {
        *error = tr("Cannot read the data pools: %1").arg(query.lastError().text());
        return false;
    }
    QList<PoolCounts> list;
    QList<qint64> nextSeq;
    while (query.next()) {
        PoolCounts counts;
        counts.name = query.value(0).toString();
        counts.kind = kindOf(query.value(1).toString());
        counts.voidOnFailure = query.value(2).toString() == QLatin1String("void");
        counts.size = query.value(3).toLongLong();
        const qint64 nextIndex = query.value(4).toLongLong();
        const qint64 untouched = counts.kind == PoolDefinition::List ? 0 : counts.size - nextIndex;
        counts.reserved = query.value(10).toLongLong();
        counts.committed = query.value(11).toLongLong();
        counts.released = query.value(12).toLongLong();
        counts.voided = query.value(13).toLongLong();
        counts.left = untouched + query.value(9).toLongLong() + counts.released;
        if (counts.kind != PoolDefinition::List && (query.value(14).isNull() && untouched > 0)) {
            PoolRange range;
            range.first = quint64(query.value(5).toLongLong());
            range.last = quint64(query.value(6).toLongLong());
            range.step = quint64(query.value(7).toLongLong());
            PoolPattern pattern;
            QString ignored;
            if (!query.value(8).toString().isEmpty())
                PoolPattern::parse(query.value(8).toString(), &pattern, &ignored);
            counts.nextValue = valueText(counts.kind, range, pattern, nextIndex);
        }
        nextSeq << (query.value(14).isNull() ? -1 : query.value(14).toLongLong());
        list << counts;
    }
    // The next value of a pool with values given back or listed is the lowest of them.
    for (int i = 0; i < list.size(); ++i) {
        if (nextSeq.at(i) < 0)
            continue;
        query.prepare(QStringLiteral("SELECT v.value FROM pool_values v JOIN pools p ON p.id = v.pool_id "
                                     "WHERE p.name = :name AND v.seq = :seq"));
        query.bindValue(QStringLiteral(":name"), list.at(i).name);
        query.bindValue(QStringLiteral(":seq"), nextSeq.at(i));
        if (query.exec() && query.next())
            list[i].nextValue = query.value(0).toString();
    }
    *result = list;
    return true;
}

bool PoolStore::poolNames(QStringList* names, QString* error)
{
    QSqlQuery query(db);
    query.prepare(QStringLiteral("SELECT name FROM pools ORDER BY name"));
    if (!query.exec()) {
        *error = tr("Cannot read the data pools: %1").arg(query.lastError().text());
        return false;
    }
    names->clear();
    while (query.next())
        names->append(query.value(0).toString());
    return true;
}

bool PoolStore::reserve(const QString& runId, const QStringList& deviceIds, const QStringList& pools,
                        QHash<QString, QHash<QString, QString>>* values, QString* error)
{
    values->clear();
    if (deviceIds.isEmpty() || pools.isEmpty())
        return true;
    QStringList ordered = pools;
    ordered.sort(); // the same lock order in every process
    ordered.removeDuplicates();
    if (!begin(error))
        return false;
    const qint64 now = nowMs();
    const qint64 needed = deviceIds.size();
    QSqlQuery query(db);
    for (const QString& pool : qAsConst(ordered)) {
        // The pool's row is locked first (PostgreSQL); its counter moves under that lock.
        query.prepare(postgres
                          ? QStringLiteral("SELECT id, kind, first_value, last_value, step, format, size, "
                                           "next_index FROM pools WHERE name = :name FOR UPDATE")
                          : QStringLiteral("SELECT id, kind, first_value, last_value, step, format, size, "
                                           "next_index FROM pools WHERE name = :name"));
        query.bindValue(QStringLiteral(":name"), pool);
        if (!query.exec())
            return fail(query, error);
        if (!query.next()) {
            *error = tr("{{%1}} is neither a built-in variable nor a data pool").arg(pool);
            rollback();
            return false;
        }
        const qint64 poolId = query.value(0).toLongLong();
        const PoolDefinition::Kind kind = kindOf(query.value(1).toString());
        PoolRange range;
        range.first = quint64(query.value(2).toLongLong());
        range.last = quint64(query.value(3).toLongLong());
        range.step = quint64(query.value(4).toLongLong());
        PoolPattern pattern;
        if (!query.value(5).toString().isEmpty() &&
            !PoolPattern::parse(query.value(5).toString(), &pattern, error)) {
            rollback();
            return false;
        }
        const qint64 size = query.value(6).toLongLong();
        const qint64 nextIndex = query.value(7).toLongLong();

        // Values given back (and a list's values) first, lowest first.
        query.prepare(postgres ? QStringLiteral("SELECT id, value FROM pool_values WHERE pool_id = :pool AND "
                                                "state IN ('free', 'released') ORDER BY seq LIMIT :n "
                                                "FOR UPDATE SKIP LOCKED")
                               : QStringLiteral("SELECT id, value FROM pool_values WHERE pool_id = :pool AND "
                                                "state IN ('free', 'released') ORDER BY seq LIMIT :n"));
        query.bindValue(QStringLiteral(":pool"), poolId);
        query.bindValue(QStringLiteral(":n"), needed);
        if (!query.exec())
            return fail(query, error);
        QVariantList takenIds;
        QStringList taken;
        while (query.next()) {
            takenIds << query.value(0).toLongLong();
            taken << query.value(1).toString();
        }
        const qint64 fresh = needed - taken.size();
        const qint64 untouched = kind == PoolDefinition::List ? 0 : size - nextIndex;
        if (fresh > untouched) {
            *error = tr("The data pool \"%1\" has %2 values left, fewer than the %3 devices of the run.")
                         .arg(pool, QString::number(taken.size() + untouched), QString::number(needed));
            rollback();
            return false;
        }
        QVariantList runs, devices, stations, pids, leases, times, states;
        const qint64 pid = QCoreApplication::applicationPid();
        for (int i = 0; i < deviceIds.size(); ++i) {
            runs << runId;
            devices << deviceIds.at(i);
            stations << stationId;
            pids << pid;
            leases << now + leaseMs;
            times << now;
            states << StateReserved;
        }
        if (!takenIds.isEmpty() && postgres) {
            query.prepare(QStringLiteral(
                "UPDATE pool_values AS v SET state = 'reserved', run_id = :run, device_id = m.device, "
                "station_id = :station, holder_pid = :pid, lease_ms = :lease, changed_ms = :now, reason = "
                "NULL "
                "FROM (SELECT unnest(CAST(:ids AS bigint[])) AS id, unnest(CAST(:devices AS text[])) AS "
                "device) "
                "AS m WHERE v.id = m.id"));
            query.bindValue(QStringLiteral(":run"), runId);
            query.bindValue(QStringLiteral(":station"), stationId);
            query.bindValue(QStringLiteral(":pid"), pid);
            query.bindValue(QStringLiteral(":lease"), now + leaseMs);
            query.bindValue(QStringLiteral(":now"), now);
            query.bindValue(QStringLiteral(":ids"), postgresArray(takenIds));
            query.bindValue(QStringLiteral(":devices"), postgresArray(devices.mid(0, takenIds.size())));
            if (!query.exec())
                return fail(query, error);
        } else if (!takenIds.isEmpty()) {
            const int count = takenIds.size();
            query.prepare(QStringLiteral("UPDATE pool_values SET state = ?, run_id = ?, device_id = ?, "
                                         "station_id = ?, holder_pid = ?, lease_ms = ?, changed_ms = ?, "
                                         "reason = NULL WHERE id = ?"));
            query.addBindValue(states.mid(0, count));
            query.addBindValue(runs.mid(0, count));
            query.addBindValue(devices.mid(0, count));
            query.addBindValue(stations.mid(0, count));
            query.addBindValue(pids.mid(0, count));
            query.addBindValue(leases.mid(0, count));
            query.addBindValue(times.mid(0, count));
            query.addBindValue(takenIds);
            if (!query.execBatch())
                return fail(query, error);
        }
        if (fresh > 0) {
            // The counter moves in the same statement that checks it: no two transactions get one index.
            query.prepare(QStringLiteral("UPDATE pools SET next_index = next_index + :n WHERE id = :id AND "
                                         "next_index = :expected"));
            query.bindValue(QStringLiteral(":n"), fresh);
            query.bindValue(QStringLiteral(":id"), poolId);
            query.bindValue(QStringLiteral(":expected"), nextIndex);
            if (!query.exec())
                return fail(query, error);
            if (query.numRowsAffected() != 1) {
                *error =
                    tr("The data pool \"%1\" changed during the reservation; press Run again.").arg(pool);
                rollback();
                return false;
            }
            const int from = int(taken.size());
            QVariantList poolIds, seqs, texts;
            for (qint64 i = 0; i < fresh; ++i) {
                const QString text = valueText(kind, range, pattern, nextIndex + i);
                taken << text;
                poolIds << poolId;
                seqs << nextIndex + i;
                texts << text;
            }
            if (postgres) {
                query.prepare(QStringLiteral(
                    "INSERT INTO pool_values (pool_id, seq, value, state, run_id, device_id, station_id, "
                    "holder_pid, lease_ms, changed_ms) SELECT :pool, t.seq, t.value, 'reserved', :run, "
                    "t.device, "
                    ":station, :pid, :lease, :now FROM unnest(CAST(:seqs AS bigint[]), CAST(:values AS "
                    "text[]), "
                    "CAST(:devices AS text[])) AS t(seq, value, device)"));
                query.bindValue(QStringLiteral(":pool"), poolId);
                query.bindValue(QStringLiteral(":run"), runId);
                query.bindValue(QStringLiteral(":station"), stationId);
                query.bindValue(QStringLiteral(":pid"), pid);
                query.bindValue(QStringLiteral(":lease"), now + leaseMs);
                query.bindValue(QStringLiteral(":now"), now);
                query.bindValue(QStringLiteral(":seqs"), postgresArray(seqs));
                query.bindValue(QStringLiteral(":values"), postgresArray(texts));
                query.bindValue(QStringLiteral(":devices"), postgresArray(devices.mid(from)));
                if (!query.exec())
                    return fail(query, error);
                for (int i = 0; i < deviceIds.size(); ++i)
                    (*values)[deviceIds.at(i)].insert(pool, taken.at(i));
                continue;
            }
            query.prepare(QStringLiteral("INSERT INTO pool_values (pool_id, seq, value, state, run_id, "
                                         "device_id, station_id, holder_pid, lease_ms, changed_ms) VALUES "
                                         "(?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"));
            query.addBindValue(poolIds);
            query.addBindValue(seqs);
            query.addBindValue(texts);
            query.addBindValue(states.mid(from));
            query.addBindValue(runs.mid(from));
            query.addBindValue(devices.mid(from));
            query.addBindValue(stations.mid(from));
            query.addBindValue(pids.mid(from));
            query.addBindValue(leases.mid(from));
            query.addBindValue(times.mid(from));
            if (!query.execBatch())
                return fail(query, error);
        }
        for (int i = 0; i < deviceIds.size(); ++i)
            (*values)[deviceIds.at(i)].insert(pool, taken.at(i));
    }
    if (!commit(error)) {
        values->clear();
        return false;
    }
    return true;
}

bool PoolStore::settleRows(const QList<qint64>& ids, const QList<QString>& states,
                           const QList<QString>& reasons, qint64 now, QString* error)
{
    if (ids.isEmpty())
        return true;
    QVariantList idList, stateList, reasonList, times;
    for (int i = 0; i < ids.size(); ++i) {
        idList << ids.at(i);
        stateList << states.at(i);
        reasonList << reasons.at(i);
        times << now;
    }
    QSqlQuery query(db);
    if (postgres) {
        query.prepare(QStringLiteral(
            "UPDATE pool_values AS v SET state = m.state, reason = NULLIF(m.reason, ''), lease_ms = NULL, "
            "holder_pid = NULL, changed_ms = :now FROM (SELECT unnest(CAST(:ids AS bigint[])) AS id, "
            "unnest(CAST(:states AS text[])) AS state, unnest(CAST(:reasons AS text[])) AS reason) AS m "
            "WHERE v.id = m.id AND v.state = 'reserved'"));
        query.bindValue(QStringLiteral(":now"), now);
        query.bindValue(QStringLiteral(":ids"), postgresArray(idList));
        query.bindValue(QStringLiteral(":states"), postgresArray(stateList));
        query.bindValue(QStringLiteral(":reasons"), postgresArray(reasonList));
        if (!query.exec())
            return fail(query, error);
        query.prepare(
            QStringLiteral("INSERT INTO pool_events (value_id, at_ms, state, run_id, device_id, "
                           "station_id, reason) SELECT id, :now, state, run_id, device_id, station_id, "
                           "reason FROM pool_values WHERE id = ANY(CAST(:ids AS bigint[]))"));
        query.bindValue(QStringLiteral(":now"), now);
        query.bindValue(QStringLiteral(":ids"), postgresArray(idList));
        if (!query.exec())
            return fail(query, error);
        return true;
    }
    // A value is settled once: only while it is still reserved.
    query.prepare(QStringLiteral("UPDATE pool_values SET state = ?, reason = ?, lease_ms = NULL, "
                                 "holder_pid = NULL, changed_ms = ? WHERE id = ? AND state = 'reserved'"));
    query.addBindValue(stateList);
    query.addBindValue(reasonList);
    query.addBindValue(times);
    query.addBindValue(idList);
    if (!query.execBatch())
        return fail(query, error);
    query.prepare(
        QStringLiteral("INSERT INTO pool_events (value_id, at_ms, state, run_id, device_id, "
                       "station_id, reason) SELECT id, ?, state, run_id, device_id, station_id, reason "
                       "FROM pool_values WHERE id = ?"));
    query.addBindValue(times);
    query.addBindValue(idList);
    if (!query.execBatch())
        return fail(query, error);
    return true;
}

bool PoolStore::settle(const QList<PoolOutcome>& outcomes, QString* error)
{
    if (outcomes.isEmpty())
        return true;
    if (!begin(error))
        return false;
    const qint64 now = nowMs();
    QList<qint64> ids;
    QList<QString> states;
    QList<QString> reasons;
    const auto add = [&](qint64 id, bool voidRule, const QString& outcome) {
        ids << id;
        if (outcome == QLatin1String("done")) {
            states << StateCommitted;
            reasons << QString();
            return;
        }
        // A value that never reached a board goes back whatever the rule.
        const bool neverStarted = outcome == QLatin1String("not started");
        states << (voidRule && !neverStarted ? StateVoided : StateReleased);
        reasons << outcome;
    };
    QSqlQuery query(db);
    if (postgres) {
        // One statement per run, whatever the number of devices.
        QHash<QString, QHash<QString, QString>> byRun;
        for (const PoolOutcome& outcome : outcomes)
            byRun[outcome.runId].insert(outcome.deviceId, outcome.outcome);
        query.prepare(
            QStringLiteral("SELECT v.id, p.on_failure, v.device_id FROM pool_values v JOIN pools p ON "
                           "p.id = v.pool_id WHERE v.run_id = :run AND v.device_id = "
                           "ANY(CAST(:devices AS text[])) AND v.state = 'reserved'"));
        for (auto run = byRun.cbegin(); run != byRun.cend(); ++run) {
            QVariantList devices;
            for (const QString& device : run->keys())
                devices << device;
            query.bindValue(QStringLiteral(":run"), run.key());
            query.bindValue(QStringLiteral(":devices"), postgresArray(devices));
            if (!query.exec())
                return fail(query, error);
            while (query.next())
                add(query.value(0).toLongLong(), query.value(1).toString() == QLatin1String("void"),
                    run->value(query.value(2).toString()));
        }
    } else {
        query.prepare(
            QStringLiteral("SELECT v.id, p.on_failure FROM pool_values v JOIN pools p ON p.id = v.pool_id "
                           "WHERE v.run_id = :run AND v.device_id = :device AND v.state = 'reserved'"));
        for (const PoolOutcome& outcome : outcomes) {
            query.bindValue(QStringLiteral(":run"), outcome.runId);
            query.bindValue(QStringLiteral(":device"), outcome.deviceId);
            if (!query.exec())
                return fail(query, error);
            while (query.next())
                add(query.value(0).toLongLong(), query.value(1).toString() == QLatin1String("void"),
                    outcome.outcome);
        }
    }
    if (!settleRows(ids, states, reasons, now, error))
        return false;
    return commit(error);
}

bool PoolStore::renewLease(const QString& runId, QString* error)
{
    QSqlQuery query(db);
    query.prepare(QStringLiteral("UPDATE pool_values SET lease_ms = :lease WHERE run_id = :run AND "
                                 "state = 'reserved'"));
    query.bindValue(QStringLiteral(":lease"), nowMs() + leaseMs);
    query.bindValue(QStringLiteral(":run"), runId);
    if (!query.exec()) {
        *error = tr("Cannot renew the data pool reservations: %1").arg(query.lastError().text());
        return false;
    }
    return true;
}

int PoolStore::settleInterrupted(QString* error, const std::function<bool(qint64 pid)>& processAlive)
{
    if (!begin(error))
        return -1;
    const qint64 now = nowMs();
    QSqlQuery query(db);
    query.prepare(
        QStringLiteral("SELECT v.id, p.on_failure, v.station_id, v.holder_pid, v.lease_ms FROM "
                       "pool_values v JOIN pools p ON p.id = v.pool_id WHERE v.state = 'reserved' AND "
                       "(v.lease_ms < :now OR v.station_id = :station)"));
    query.bindValue(QStringLiteral(":now"), now);
    query.bindValue(QStringLiteral(":station"), stationId);
    if (!query.exec()) {
        fail(query, error);
        return -1;
    }
    QList<qint64> ids;
    QList<QString> states;
    QList<QString> reasons;
    const qint64 ownPid = QCoreApplication::applicationPid();
    while (query.next()) {
        const bool expired = !query.value(4).isNull() && query.value(4).toLongLong() < now;
        const qint64 pid = query.value(3).toLongLong();
        const bool ownStation = query.value(2).toLongLong() == stationId;
        const bool gone = ownStation && pid != ownPid && processAlive && !processAlive(pid);
        if (!expired && !gone)
            continue;
        ids << query.value(0).toLongLong();
        states << (query.value(1).toString() == QLatin1String("void") ? StateVoided : StateReleased);
        reasons << QStringLiteral("interrupted");
    }
    if (!settleRows(ids, states, reasons, now, error))
        return -1;
    if (!commit(error))
        return -1;
    return ids.size();
}

bool PoolStore::committedValues(const QString& pool, QList<QStringList>* rows, QString* error)
{
    QSqlQuery query(db);
    query.prepare(
        QStringLiteral("SELECT v.value, v.device_id, v.run_id FROM pool_values v JOIN pools p ON "
                       "p.id = v.pool_id WHERE p.name = :name AND v.state = 'committed' ORDER BY v.seq"));
    query.bindValue(QStringLiteral(":name"), pool);
    if (!query.exec()) {
        *error = tr("Cannot read the data pool \"%1\": %2").arg(pool, query.lastError().text());
        return false;
    }
    rows->clear();
    while (query.next())
        rows->append({query.value(0).toString(), query.value(1).toString(), query.value(2).toString()});
    return true;
}
