#pragma once

#include "poolrange.h"

#include <QCoreApplication>
#include <QHash>
#include <QList>
#include <QSqlDatabase>
#include <QString>
#include <QStringList>

#include <functional>

// A data pool as it is defined.
struct PoolDefinition
{
    enum Kind
    {
        Counter,
        Mac,
        List
    };
    QString name;
    Kind kind = Counter;
    PoolRange range;            // counter and MAC block
    QString format;             // counter: the pattern; empty for the plain number
    QStringList values;         // list
    bool voidOnFailure = false; // else the value is reused

    static QString kindName(Kind kind);
};

// How many values of a pool are in each state. "left" counts every value that can
// still be handed out, those given back ("released") included, so that
// left + committed + voided + reserved is the pool's size.
struct PoolCounts
{
    QString name;
    PoolDefinition::Kind kind = PoolDefinition::Counter;
    bool voidOnFailure = false;
    qint64 size = 0;
    qint64 left = 0;
    qint64 committed = 0;
    qint64 released = 0;
    qint64 voided = 0;
    qint64 reserved = 0;
    QString nextValue; // empty when none is left
};

// What became of a device of a run, for the values reserved for it.
struct PoolOutcome
{
    QString runId;
    QString deviceId;
    // "done" commits; "not started" releases; anything else ("failed", "crashed",
    // "timed out", "aborted", "interrupted") releases or voids by each pool's rule.
    QString outcome;
};

// The data pools in the production store: defining them, reserving values for the
// devices of a run, and settling each value once the device's outcome is known.
// Works on one connection (of the calling thread) to SQLite or PostgreSQL; every
// change is one transaction.
class PoolStore
{
    Q_DECLARE_TR_FUNCTIONS(PoolStore)

public:
    // A reservation stays the run's while its lease is fresh; a live run renews it.
    static constexpr qint64 DefaultLeaseMs = 120000;

    PoolStore(const QSqlDatabase& database, bool postgres, qint64 stationId);

    // The schema, for the store's migration list.
    static QStringList sqliteSchema();
    static QStringList postgresSchema();

    // Whether name may name a pool (letters, digits, underscores; no built-in variable's name).
    static bool validName(const QString& name, QString* error);

    // Creates the pool, or grows an existing one: a list takes more values, a counter
    // or MAC block a later last value. Anything else that overlaps is refused.
    bool define(const PoolDefinition& definition, QString* error);
    bool counts(QList<PoolCounts>* result, QString* error);
    bool poolNames(QStringList* names, QString* error);

    // Reserves one value of each pool for each device, all in one transaction:
    // values[device][pool]. Nothing is reserved when a pool has too few left.
    bool reserve(const QString& runId, const QStringList& deviceIds, const QStringList& pools,
                 QHash<QString, QHash<QString, QString>>* values, QString* error);
    // Settles the values reserved for the devices, in one transaction.
    bool settle(const QList<PoolOutcome>& outcomes, QString* error);
    // Keeps a live run's reservations its own.
    bool renewLease(const QString& runId, QString* error);
    // Settles, as "interrupted", reservations whose lease ran out, and this station's
    // whose process is gone. Returns how many values were settled, or -1.
    int settleInterrupted(QString* error, const std::function<bool(qint64 pid)>& processAlive = {});

    // Every value that reached a board: (value, device id, run id) per pool.
    bool committedValues(const QString& pool, QList<QStringList>* rows, QString* error);

    void setLeaseMs(qint64 ms) { leaseMs = ms; }

private:
    bool begin(QString* error);
    bool commit(QString* error);
    void rollback();
    bool fail(const class QSqlQuery& query, QString* error);
    bool settleRows(const QList<qint64>& ids, const QList<QString>& states, const QList<QString>& reasons,
                    qint64 now, QString* error);

    QSqlDatabase db;
    bool postgres;
    qint64 stationId;
    qint64 leaseMs = DefaultLeaseMs;
};
