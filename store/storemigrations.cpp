#include "storemigrations.h"

#include "lotstore.h"
#include "poolstore.h"

#include <QDateTime>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

#include <algorithm>

namespace {

// Taken by every migration on PostgreSQL, so stations opening a new database at once take turns.
constexpr qint64 migrationLockKey = 0x48726e7753746f72; // "HrnwStor"

QVector<StoreMigration> sortedMigrations()
{
    QVector<StoreMigration> migrations = {
        {1,
         {
             QStringLiteral(
                 "CREATE TABLE stations(id INTEGER PRIMARY KEY, name TEXT NOT NULL UNIQUE, host TEXT, "
                 "created_ms BIGINT)"),
             QStringLiteral(
                 "CREATE TABLE runs(id TEXT PRIMARY KEY, station_id INTEGER NOT NULL REFERENCES "
                 "stations(id), started_ms BIGINT NOT NULL, ended_ms BIGINT, utc_offset_s INTEGER NOT "
                 "NULL, job_file TEXT, job_file_sha256 TEXT, job_sha256 TEXT, steps TEXT, operator TEXT, "
                 "devices INTEGER, done INTEGER, failed INTEGER, crashed INTEGER, timed_out INTEGER, "
                 "aborted INTEGER, not_started INTEGER)"),
             QStringLiteral(
                 "CREATE TABLE run_files(run_id TEXT NOT NULL REFERENCES runs(id), path TEXT NOT NULL, "
                 "sha256 TEXT NOT NULL)"),
             QStringLiteral("CREATE INDEX run_files_sha256 ON run_files(sha256)"),
             QStringLiteral(
                 "CREATE TABLE device_results(id INTEGER PRIMARY KEY, run_id TEXT NOT NULL REFERENCES "
                 "runs(id), device_id TEXT NOT NULL, serial TEXT, ip TEXT, nickname TEXT, part TEXT, "
                 "connection TEXT, outcome TEXT NOT NULL, failed_action INTEGER, failed_type TEXT, "
                 "exit_code INTEGER, signal INTEGER, started_ms BIGINT, ended_ms BIGINT, utc_offset_s "
                 "INTEGER, elapsed_ms BIGINT, log_file TEXT, UNIQUE(run_id, device_id))"),
             QStringLiteral("CREATE INDEX device_results_device_id ON device_results(device_id)"),
             QStringLiteral("CREATE INDEX device_results_started_ms ON device_results(started_ms)"),
             QStringLiteral("CREATE INDEX device_results_outcome ON device_results(outcome)"),
             QStringLiteral(
                 "CREATE TABLE audit(id INTEGER PRIMARY KEY, at_ms BIGINT NOT NULL, station_id INTEGER, "
                 "actor TEXT, what TEXT NOT NULL, old_value TEXT, new_value TEXT)"),
         },
         {
             QStringLiteral(
                 "CREATE TABLE stations(id BIGSERIAL PRIMARY KEY, name TEXT NOT NULL UNIQUE, host TEXT, "
                 "created_ms BIGINT)"),
             QStringLiteral(
                 "CREATE TABLE runs(id TEXT PRIMARY KEY, station_id BIGINT NOT NULL REFERENCES "
                 "stations(id), started_ms BIGINT NOT NULL, ended_ms BIGINT, utc_offset_s INTEGER NOT "
                 "NULL, job_file TEXT, job_file_sha256 TEXT, job_sha256 TEXT, steps TEXT, operator TEXT, "
                 "devices INTEGER, done INTEGER, failed INTEGER, crashed INTEGER, timed_out INTEGER, "
                 "aborted INTEGER, not_started INTEGER)"),
             QStringLiteral(
                 "CREATE TABLE run_files(run_id TEXT NOT NULL REFERENCES runs(id), path TEXT NOT NULL, "
                 "sha256 TEXT NOT NULL)"),
             QStringLiteral("CREATE INDEX run_files_sha256 ON run_files(sha256)"),
             QStringLiteral(
                 "CREATE TABLE device_results(id BIGSERIAL PRIMARY KEY, run_id TEXT NOT NULL REFERENCES "
                 "runs(id), device_id TEXT NOT NULL, serial TEXT, ip TEXT, nickname TEXT, part TEXT, "
                 "connection TEXT, outcome TEXT NOT NULL, failed_action INTEGER, failed_type TEXT, "
                 "exit_code INTEGER, signal INTEGER, started_ms BIGINT, ended_ms BIGINT, utc_offset_s "
                 "INTEGER, elapsed_ms BIGINT, log_file TEXT, UNIQUE(run_id, device_id))"),
             QStringLiteral("CREATE INDEX device_results_device_id ON device_results(device_id)"),
             QStringLiteral("CREATE INDEX device_results_started_ms ON device_results(started_ms)"),
             QStringLiteral("CREATE INDEX device_results_outcome ON device_results(outcome)"),
             QStringLiteral(
                 "CREATE TABLE audit(id BIGSERIAL PRIMARY KEY, at_ms BIGINT NOT NULL, station_id BIGINT, "
                 "actor TEXT, what TEXT NOT NULL, old_value TEXT, new_value TEXT)"),
         }},
        {10, PoolStore::sqliteSchema(), PoolStore::postgresSchema()},
        // The history finds a unit by its pool values and shows them with each result.
        {11,
         {QStringLiteral("CREATE INDEX pool_values_unit ON pool_values(run_id, device_id)")},
         {QStringLiteral("CREATE INDEX pool_values_unit ON pool_values(run_id, device_id)")}},
        {20, LotStore::sqliteSchema(), LotStore::postgresSchema()},
    };
    std::sort(migrations.begin(), migrations.end(),
              [](const StoreMigration& a, const StoreMigration& b) { return a.version < b.version; });
    return migrations;
}

bool fail(QString* error, const QString& message)
{
    if (error)
        *error = message;
    return false;
}

bool exec(QSqlDatabase db, const QString& statement, QString* error)
{
    QSqlQuery query(db);
    if (query.exec(statement))
        return true;
    return fail(error, StoreMigrations::tr("The production database refused \"%1\": %2")
                           .arg(statement.left(80), query.lastError().text()));
}

} // namespace

const QVector<StoreMigration>& StoreMigrations::list()
{
    static const QVector<StoreMigration> migrations = sortedMigrations();
    return migrations;
}

int StoreMigrations::latestVersion(const QVector<StoreMigration>& migrations)
{
    int latest = 0;
    for (const StoreMigration& migration : migrations)
        latest = std::max(latest, migration.version);
    return latest;
}

bool StoreMigrations::appliedVersions(QSqlDatabase db, bool postgres, QList<int>* versions, QString* error)
{
    versions->clear();
    QSqlQuery query(db);
    const bool ok = postgres
                        ? query.exec(QStringLiteral("SELECT to_regclass('schema_migrations') IS NOT NULL"))
                        : query.exec(QStringLiteral("SELECT count(*) FROM sqlite_master WHERE type = 'table' "
                                                    "AND name = 'schema_migrations'"));
    if (!ok || !query.next())
        return fail(error, tr("The production database cannot be read: %1").arg(query.lastError().text()));
    if (!query.value(0).toBool())
        return true;
    if (!query.exec(QStringLiteral("SELECT version FROM schema_migrations ORDER BY version")))
        return fail(
            error,
            tr("The production database's schema version cannot be read: %1").arg(query.lastError().text()));
    while (query.next())
        versions->append(query.value(0).toInt());
    return true;
}

bool StoreMigrations::apply(QSqlDatabase db, bool postgres, const QVector<StoreMigration>& migrations,
                            QString* error)
{
    QList<int> applied;
    if (!appliedVersions(db, postgres, &applied, error))
        return false;
    QVector<StoreMigration> ordered = migrations;
    std::stable_sort(ordered.begin(), ordered.end(),
                     [](const StoreMigration& a, const StoreMigration& b) { return a.version < b.version; });

    for (const StoreMigration& migration : ordered) {
        if (applied.contains(migration.version))
            continue;
        // Raw BEGIN: SQLite's IMMEDIATE takes the write lock before the check below reads.
        if (!exec(db, postgres ? QStringLiteral("BEGIN") : QStringLiteral("BEGIN IMMEDIATE"), error))
            return false;
        auto rollBack = [&] {
            QSqlQuery(db).exec(QStringLiteral("ROLLBACK"));
            return false;
        };
        if (postgres) {
            // Another station may have made the table in the meantime: no notice about it.
            if (!exec(db, QStringLiteral("SET LOCAL client_min_messages = warning"), error))
                return rollBack();
            QSqlQuery lock(db);
            lock.prepare(QStringLiteral("SELECT pg_advisory_xact_lock(?)"));
            lock.addBindValue(migrationLockKey);
            if (!lock.exec())
                return fail(error, tr("The production database cannot be locked for an upgrade: %1")
                                       .arg(lock.lastError().text())) ||
                       rollBack();
        }
        QList<int> current;
        if (!appliedVersions(db, postgres, &current, error))
            return rollBack();
        if (current.isEmpty() &&
            !exec(db,
                  QStringLiteral("CREATE TABLE IF NOT EXISTS schema_migrations(version INTEGER PRIMARY KEY, "
                                 "applied_ms BIGINT)"),
                  error))
            return rollBack();
        QSqlQuery check(db);
        check.prepare(QStringLiteral("SELECT count(*) FROM schema_migrations WHERE version = ?"));
        check.addBindValue(migration.version);
        if (!check.exec() || !check.next())
            return fail(error, tr("The production database's schema version cannot be read: %1")
                                   .arg(check.lastError().text())) ||
                   rollBack();
        if (check.value(0).toInt() > 0) {
            check.finish();
            if (!exec(db, QStringLiteral("COMMIT"), error))
                return false;
            continue;
        }
        check.finish();
        for (const QString& statement : postgres ? migration.postgres : migration.sqlite) {
            if (!exec(db, statement, error))
                return rollBack();
        }
        QSqlQuery record(db);
        record.prepare(QStringLiteral("INSERT INTO schema_migrations(version, applied_ms) VALUES(?, ?)"));
        record.addBindValue(migration.version);
        record.addBindValue(QDateTime::currentMSecsSinceEpoch());
        if (!record.exec())
            return fail(error, tr("The production database's schema version cannot be recorded: %1")
                                   .arg(record.lastError().text())) ||
                   rollBack();
        record.finish();
        if (!exec(db, QStringLiteral("COMMIT"), error))
            return rollBack();
    }
    return true;
}
