#pragma once

#include "storelocation.h"

#include <QCoreApplication>
#include <QSqlDatabase>
#include <QString>

struct StoreMigration;

// One connection to the production store, on the thread that opens it: a
// QSqlDatabase connection belongs to one thread, so each thread (or object
// working on one) makes its own ProductionStore. Opening creates an SQLite
// file with its folder, sets WAL mode and a busy timeout, brings the schema up
// to date and makes sure this station has its row. A store written by a newer
// program is refused before anything in it is changed.
class ProductionStore
{
    Q_DECLARE_TR_FUNCTIONS(ProductionStore)

public:
    ProductionStore();
    ~ProductionStore();
    ProductionStore(const ProductionStore&) = delete;
    ProductionStore& operator=(const ProductionStore&) = delete;

    // The station's name in the store; the host name unless set before open.
    void setStationName(const QString& name) { station = name; }
    QString stationName() const;

    bool open(const StoreLocation& location, QString* error);
    // The same with another list of migrations (tests of the upgrade rules).
    bool open(const StoreLocation& location, const QVector<StoreMigration>& migrations, QString* error);
    void close();
    bool isOpen() const;

    QSqlDatabase database() const;
    const StoreLocation& location() const { return where; }
    bool isPostgres() const { return where.isPostgres(); }
    // The highest schema version applied to the open store.
    int schemaVersion() const { return version; }
    // This station's row in `stations`, made when the store was first opened here; 0 when closed.
    qint64 stationId() { return station_id; }

    // Whether a store can be used, without changing anything in it (the settings' "Test connection"):
    // true with what was found in *message (its schema version, or that it is new), false with the
    // reason. Blocks for up to the connect timeout: call it off the GUI thread.
    static bool check(const StoreLocation& location, QString* message);

    // How long SQLite waits for another writer before giving up.
    static constexpr int busyTimeoutMs = 5000;
    // How long the first contact with a PostgreSQL server may take.
    static constexpr int connectTimeoutSeconds = 5;

private:
    bool openAndMigrate(const QVector<StoreMigration>& migrations, QString* error);
    static bool fail(QString* error, const QString& message);
    bool ensureStation(QString* error);

    QString connectionName;
    StoreLocation where;
    QString station;
    int version = 0;
    qint64 station_id = 0;
};
