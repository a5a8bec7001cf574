#pragma once

#include "poolstore.h"

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>
#include <QUuid>
#include <QVariant>

// A store for the pool tests: a connection of the calling thread to a SQLite file
// (or a PostgreSQL database), with the pool tables.
class PoolTestStore
{
public:
    ~PoolTestStore() { close(); }

    static QString sqliteLocation(const QString& path) { return QStringLiteral("sqlite:") + path; }
    // A PostgreSQL server for these tests, as "SOCKET_DIR USER DATABASE" in HARNWICK_POOL_TEST_PG.
    static bool postgresAvailable() { return !postgresLocation().isEmpty(); }
    static QString postgresLocation() { return qEnvironmentVariable("HARNWICK_POOL_TEST_PG"); }

    // A PostgreSQL store opened with reset starts without pools.
    bool open(const QString& location, bool postgres = false, bool reset = false)
    {
        name = QUuid::createUuid().toString();
        postgresStore = postgres;
        if (postgres) {
            const QStringList parts = location.split(QLatin1Char(' '));
            QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), name);
            db.setHostName(parts.value(0));
            db.setUserName(parts.value(1));
            db.setDatabaseName(parts.value(2));
            if (!db.open())
                return false;
            QSqlQuery query(db);
            if (reset) {
                query.exec(QStringLiteral("DROP TABLE IF EXISTS pool_events, pool_values, pools"));
                for (const QString& statement : PoolStore::postgresSchema())
                    if (!query.exec(statement))
                        return false;
            }
            return true;
        }
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        db.setDatabaseName(location.mid(7));
        db.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=20000"));
        if (!db.open())
            return false;
        QSqlQuery query(db);
        query.exec(QStringLiteral("PRAGMA journal_mode=WAL"));
        query.exec(QStringLiteral("BEGIN IMMEDIATE"));
        query.exec(QStringLiteral("SELECT COUNT(*) FROM sqlite_master WHERE name = 'pools'"));
        const bool present = query.next() && query.value(0).toInt() > 0;
        if (!present)
            for (const QString& statement : PoolStore::sqliteSchema())
                if (!query.exec(statement))
                    return false;
        query.exec(QStringLiteral("COMMIT"));
        return true;
    }

    void close()
    {
        if (name.isEmpty())
            return;
        QSqlDatabase::database(name, false).close();
        QSqlDatabase::removeDatabase(name);
        name.clear();
    }

    QSqlDatabase database() const { return QSqlDatabase::database(name, false); }
    qint64 stationId() const { return 1; }
    PoolStore pools() const { return PoolStore(database(), postgresStore, stationId()); }

private:
    QString name;
    bool postgresStore = false;
};
