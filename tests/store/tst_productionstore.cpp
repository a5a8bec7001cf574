#include "productionstore.h"
#include "storemigrations.h"
#include "testregistry.h"
#include "teststores.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QSysInfo>
#include <QTest>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

namespace {

StoreLocation locationOf(const QString& url)
{
    QString error;
    const StoreLocation location = StoreLocation::fromUrl(url, &error);
    if (!location.isValid())
        qWarning("%s", qPrintable(error));
    return location;
}

bool tableExists(ProductionStore& store, const QString& table)
{
    QSqlQuery query(store.database());
    // The name comes from the test itself.
    return query.exec(QStringLiteral("SELECT count(*) FROM %1").arg(table));
}

QList<int> appliedVersions(ProductionStore& store)
{
    QList<int> versions;
    QString error;
    StoreMigrations::appliedVersions(store.database(), store.isPostgres(), &versions, &error);
    return versions;
}

QByteArray fileHash(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QByteArray();
    return QCryptographicHash::hash(file.readAll(), QCryptographicHash::Sha256);
}

QVector<StoreMigration> withExtra(const QVector<StoreMigration>& extra)
{
    QVector<StoreMigration> list = StoreMigrations::list();
    list += extra;
    return list;
}

// The versions a store opened with a list ends with, in order.
QList<int> versionsOf(const QVector<StoreMigration>& migrations)
{
    QList<int> versions;
    for (const StoreMigration& migration : migrations)
        versions << migration.version;
    std::sort(versions.begin(), versions.end());
    return versions;
}

} // namespace

class TestProductionStore : public QObject
{
    Q_OBJECT

private slots:
    void opensAndCreatesSchema_data() { TestStores::addBackendRows(); }
    void opensAndCreatesSchema()
    {
        HARNWICK_FRESH_STORE(stores, url);
        ProductionStore store;
        QString error;
        QVERIFY2(store.open(locationOf(url), &error), qPrintable(error));
        QCOMPARE(store.schemaVersion(), StoreMigrations::latestVersion());
        QVERIFY(store.schemaVersion() >= 1);

        // Every table of version 1 with its columns.
        const QList<QPair<QString, QStringList>> tables = {
            {"stations", {"id", "name", "host", "created_ms"}},
            {"runs",
             {"id", "station_id", "started_ms", "ended_ms", "utc_offset_s", "job_file", "job_file_sha256",
              "job_sha256", "steps", "operator", "devices", "done", "failed", "crashed", "timed_out",
              "aborted", "not_started"}},
            {"run_files", {"run_id", "path", "sha256"}},
            {"device_results",
             {"id", "run_id", "device_id", "serial", "ip", "nickname", "part", "connection", "outcome",
              "failed_action", "failed_type", "exit_code", "signal", "started_ms", "ended_ms", "utc_offset_s",
              "elapsed_ms", "log_file"}},
            {"audit", {"id", "at_ms", "station_id", "actor", "what", "old_value", "new_value"}},
            {"schema_migrations", {"version", "applied_ms"}},
        };
        for (const auto& [table, columns] : tables) {
            const QSqlRecord record = store.database().record(table);
            QStringList found;
            for (int i = 0; i < record.count(); ++i)
                found << record.fieldName(i);
            QCOMPARE(found, columns);
        }

        // This station has its row, named after the host, and keeps it.
        const qint64 station = store.stationId();
        QVERIFY(station > 0);
        QSqlQuery query(store.database());
        QVERIFY(query.exec(QStringLiteral("SELECT name FROM stations")));
        QVERIFY(query.next());
        QCOMPARE(query.value(0).toString(), QSysInfo::machineHostName());
        QVERIFY(!query.next());

        // Result rows are unique per run and device, and need their run.
        QSqlQuery insert(store.database());
        insert.prepare(
            QStringLiteral("INSERT INTO runs(id, station_id, started_ms, utc_offset_s) VALUES(?, ?, ?, ?)"));
        insert.addBindValue(QStringLiteral("6f1c0a52-run"));
        insert.addBindValue(station);
        insert.addBindValue(1764000000000LL);
        insert.addBindValue(3600);
        QVERIFY2(insert.exec(), qPrintable(insert.lastError().text()));
        auto addResult = [&](const QString& run) {
            QSqlQuery result(store.database());
            result.prepare(
                QStringLiteral("INSERT INTO device_results(run_id, device_id, outcome) VALUES(?, ?, ?)"));
            result.addBindValue(run);
            result.addBindValue(QStringLiteral("801002345"));
            result.addBindValue(QStringLiteral("done"));
            return result.exec();
        };
        QVERIFY(addResult(QStringLiteral("6f1c0a52-run")));
        QVERIFY(!addResult(QStringLiteral("6f1c0a52-run")));
        QVERIFY(!addResult(QStringLiteral("no-such-run")));

        if (!store.isPostgres()) {
            QVERIFY(query.exec(QStringLiteral("PRAGMA journal_mode")) && query.next());
            QCOMPARE(query.value(0).toString(), QStringLiteral("wal"));
        }
        query.finish();
        insert.finish();

        // Opened again: nothing is applied twice, the station is the same; another station gets its own row.
        ProductionStore again;
        QVERIFY2(again.open(locationOf(url), &error), qPrintable(error));
        QCOMPARE(again.stationId(), station);
        QCOMPARE(appliedVersions(again).size(), StoreMigrations::list().size());
        ProductionStore other;
        other.setStationName(QStringLiteral("line3-station-b"));
        QVERIFY2(other.open(locationOf(url), &error), qPrintable(error));
        QVERIFY(other.stationId() != station && other.stationId() > 0);
    }

    void migrationsInOrderWithGapsAndRollback_data() { TestStores::addBackendRows(); }
    void migrationsInOrderWithGapsAndRollback()
    {
        HARNWICK_FRESH_STORE(stores, url);
        const StoreLocation location = locationOf(url);
        QString error;
        {
            ProductionStore store;
            QVERIFY2(store.open(location, &error), qPrintable(error));
        }

        // Listed out of order and with gaps: 12 needs the table 5 makes. The store already has
        // version 1, whose statements would fail if run again.
        const QVector<StoreMigration> later = withExtra({
            {12,
             {"CREATE TABLE trial_units(id INTEGER PRIMARY KEY, lot_id INTEGER REFERENCES trial_lots(id))"},
             {"CREATE TABLE trial_units(id BIGSERIAL PRIMARY KEY, lot_id BIGINT REFERENCES trial_lots(id))"}},
            {5,
             {"CREATE TABLE trial_lots(id INTEGER PRIMARY KEY)"},
             {"CREATE TABLE trial_lots(id BIGSERIAL PRIMARY KEY)"}},
        });
        {
            ProductionStore store;
            QVERIFY2(store.open(location, later, &error), qPrintable(error));
            QCOMPARE(store.schemaVersion(), StoreMigrations::latestVersion(later));
            QCOMPARE(appliedVersions(store), versionsOf(later));
        }

        // A migration that fails half-way leaves nothing of itself behind and is not recorded.
        QVector<StoreMigration> broken = later;
        broken.append({14,
                       {"CREATE TABLE half_done(id INTEGER)", "CREATE TABLE trial_lots(id INTEGER)"},
                       {"CREATE TABLE half_done(id INTEGER)", "CREATE TABLE trial_lots(id INTEGER)"}});
        {
            ProductionStore store;
            QVERIFY(!store.open(location, broken, &error));
            QVERIFY2(error.contains(location.displayName()), qPrintable(error));
            QVERIFY(!store.isOpen());
        }
        ProductionStore store;
        QVERIFY2(store.open(location, later, &error), qPrintable(error));
        QCOMPARE(appliedVersions(store), versionsOf(later));
        QVERIFY(tableExists(store, QStringLiteral("trial_units")));
        QVERIFY(!tableExists(store, QStringLiteral("half_done")));
    }

    void newerStoreRefusedAndUntouched_data() { TestStores::addBackendRows(); }
    void newerStoreRefusedAndUntouched()
    {
        HARNWICK_FRESH_STORE(stores, url);
        const StoreLocation location = locationOf(url);
        QString error;
        {
            ProductionStore store;
            QVERIFY2(store.open(location, &error), qPrintable(error));
            QSqlQuery query(store.database());
            QVERIFY(query.exec(
                QStringLiteral("INSERT INTO schema_migrations(version, applied_ms) VALUES(997, 0)")));
        }
        const QByteArray before = location.isPostgres() ? QByteArray() : fileHash(location.sqlitePath());

        // This program knows one more version than the store has applied below 997: it must not
        // apply it, nor add its station.
        const QVector<StoreMigration> mine = withExtra(
            {{9, {"CREATE TABLE never_made(id INTEGER)"}, {"CREATE TABLE never_made(id INTEGER)"}}});
        ProductionStore store;
        store.setStationName(QStringLiteral("line9-newcomer"));
        QVERIFY(!store.open(location, mine, &error));
        QVERIFY2(error.contains(QLatin1String("997")) && error.contains(QLatin1String("newer")),
                 qPrintable(error));
        QVERIFY(!store.isOpen());
        QCOMPARE(store.stationId(), 0);

        if (!location.isPostgres()) {
            QCOMPARE(fileHash(location.sqlitePath()), before);
        }
        ProductionStore reader;
        QVERIFY2(reader.open(location, withExtra({{997, {}, {}}}), &error), qPrintable(error));
        QVERIFY(!tableExists(reader, QStringLiteral("never_made")));
        QSqlQuery query(reader.database());
        QVERIFY(query.exec(QStringLiteral("SELECT count(*) FROM stations")) && query.next());
        QCOMPARE(query.value(0).toInt(), 1);
    }

    // Stations starting at once against a new store: every one opens it, every migration is applied once.
    void concurrentFirstOpen_data() { TestStores::addBackendRows(); }
    void concurrentFirstOpen()
    {
        HARNWICK_FRESH_STORE(stores, url);
        const StoreLocation location = locationOf(url);
        const QVector<StoreMigration> migrations =
            withExtra({{3, {"CREATE TABLE extra(id INTEGER)"}, {"CREATE TABLE extra(id INTEGER)"}}});
        constexpr int count = 6;
        std::vector<QString> errors(count);
        std::vector<qint64> stations(count);
        std::vector<std::thread> threads;
        std::atomic<int> ready{0};
        for (int i = 0; i < count; ++i) {
            threads.emplace_back([&, i] {
                ProductionStore store;
                store.setStationName(QStringLiteral("station-%1").arg(i % 2));
                ++ready;
                while (ready < count)
                    std::this_thread::yield();
                if (!store.open(location, migrations, &errors[i]) && errors[i].isEmpty())
                    errors[i] = QStringLiteral("failed without a reason");
                stations[i] = store.stationId();
            });
        }
        for (auto& thread : threads)
            thread.join();
        for (int i = 0; i < count; ++i)
            QVERIFY2(errors[i].isEmpty(), qPrintable(errors[i]));
        for (int i = 2; i < count; ++i)
            QCOMPARE(stations[i], stations[i % 2]);
        QVERIFY(stations[0] != stations[1]);

        ProductionStore store;
        QString error;
        QVERIFY2(store.open(location, migrations, &error), qPrintable(error));
        QCOMPARE(appliedVersions(store), versionsOf(migrations));
    }

    void unusableStores()
    {
        QString error;
        // Not a database at all: refused with the file named, and left as it was.
        const QString path = stores.freshUrl(QStringLiteral("sqlite")).mid(7);
        {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write("Serial;Outcome\n801002345;done\n");
        }
        const QByteArray before = fileHash(path);
        ProductionStore store;
        QVERIFY(!store.open(StoreLocation::sqliteFile(path), &error));
        QVERIFY2(error.contains(path), qPrintable(error));
        QCOMPARE(fileHash(path), before);

        // A server that is not there: a prompt and clear refusal.
        QVERIFY(!store.open(locationOf(QStringLiteral("postgresql://nobody@/prod?host=") + QDir::tempPath() +
                                       QStringLiteral("/no-server-here")),
                            &error));
        QVERIFY2(error.contains(QLatin1String("cannot be opened")) &&
                     error.contains(QLatin1String("no-server-here")),
                 qPrintable(error));
        QVERIFY(!store.open(StoreLocation(), &error));
        QVERIFY(!error.isEmpty());
    }

    // The settings' connection test: says what it finds and changes nothing.
    void checkWithoutChanging()
    {
        QString message;
        const QString path =
            stores.freshUrl(QStringLiteral("sqlite")).mid(7) + QStringLiteral(".d/line.sqlite");
        QVERIFY(ProductionStore::check(StoreLocation::sqliteFile(path), &message));
        QVERIFY2(message.contains(QLatin1String("made at the first run")), qPrintable(message));
        QVERIFY(!QFileInfo::exists(path) && !QFileInfo::exists(QFileInfo(path).path()));

        // Below a file, no folder can be made.
        {
            QFile blocker(path.left(path.lastIndexOf('/')) + QStringLiteral("-file"));
            QVERIFY(blocker.open(QIODevice::WriteOnly));
            QVERIFY(!ProductionStore::check(
                StoreLocation::sqliteFile(blocker.fileName() + "/sub/line.sqlite"), &message));
            QVERIFY2(message.contains(QLatin1String("not a writable folder")), qPrintable(message));
        }

        {
            ProductionStore store;
            QVERIFY(store.open(StoreLocation::sqliteFile(path), &message));
        }
        const QByteArray before = fileHash(path);
        QVERIFY(ProductionStore::check(StoreLocation::sqliteFile(path), &message));
        QVERIFY2(message.endsWith(QStringLiteral("schema version %1.").arg(StoreMigrations::latestVersion())),
                 qPrintable(message));
        QCOMPARE(fileHash(path), before);

        if (!PostgresServer::binaryFolder().isEmpty()) {
            const QString url = stores.freshUrl(QStringLiteral("postgres"));
            QVERIFY(ProductionStore::check(locationOf(url), &message));
            QVERIFY2(message.contains(QLatin1String("a new database")), qPrintable(message));
            ProductionStore store;
            QVERIFY(store.open(locationOf(url), &message));
            QVERIFY(!tableExists(store, QStringLiteral("never_there")));
        }
        QVERIFY(!ProductionStore::check(
            locationOf(QStringLiteral("postgresql://nobody@/prod?host=/nonexistent/socket")), &message));
        QVERIFY2(message.contains(QLatin1String("cannot be opened")), qPrintable(message));
    }

private:
    TestStores stores;
};

HARNWICK_TEST(TestProductionStore)
#include "tst_productionstore.moc"
