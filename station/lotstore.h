#pragma once

#include "lotcounts.h"

#include <QCoreApplication>
#include <QList>
#include <QSqlDatabase>
#include <QString>
#include <QStringList>

#include <functional>

// A station's lots and units in the production store, so a lot's counters survive a crash or a
// kill of the program: each unit is written as it starts and again as it ends, and the counters
// are computed from those rows. Works on a connection of the calling thread.
class LotStore
{
    Q_DECLARE_TR_FUNCTIONS(LotStore)

public:
    // A unit a process of this station started and never ended.
    struct Interrupted
    {
        QString slot;
        QString deviceId;
    };

    LotStore(const QSqlDatabase& database, bool postgres, qint64 stationId);

    // The lot's id, made when it is new; a lot kept before takes the quantity given now. A lot
    // made or changed is entered in the audit.
    qint64 openLot(const QString& name, int quantity, const QString& jobFile, const QString& jobSha256,
                   QString* error);
    // The unit's row id, or 0 with the reason in *error.
    qint64 unitStarted(qint64 lot, const QString& slot, const QString& deviceId, qint64 pid, QString* error);
    bool unitEnded(qint64 unit, const QString& outcome, QString* error);
    bool counts(qint64 lot, LotCounts* counts, QString* error);
    // Marks this station's units left running by processes that have ended as "interrupted" and
    // returns them; a unit of a process still alive is left alone.
    QList<Interrupted> settleInterrupted(const std::function<bool(qint64 pid)>& processAlive, QString* error);
    // One line of the store's audit (lock, unlock, a failed try, a lot change).
    bool audit(const QString& what, const QString& oldValue, const QString& newValue, QString* error);

    static QStringList sqliteSchema();
    static QStringList postgresSchema();

private:
    bool fail(const class QSqlQuery& query, QString* error) const;
    qint64 failed(const class QSqlQuery& query, QString* error) const;

    QSqlDatabase db;
    bool postgres;
    qint64 station;
};
