#pragma once

#include <QHash>
#include <QList>
#include <QObject>
#include <QStringList>

#include <memory>

class JobRunEngine;
class PoolStoreConnection;
class QTimer;
struct JobDeviceRun;
struct PoolOutcome;

// The data pool side of a job run: before the start it reserves one value of each
// pool the job names for every device, in one transaction, and gives each device
// its "--parameter name:value" arguments; as devices end it commits, releases or
// voids their values, and while the run lives it keeps the reservations' lease fresh.
// A job without pool variables never opens the store.
class PoolRunSession : public QObject
{
    Q_OBJECT

public:
    explicit PoolRunSession(JobRunEngine* engine);
    ~PoolRunSession() override;

    // The variables that are neither built in nor empty, in job order.
    static QStringList poolVariables(const QStringList& variableNames);

    // Reserves the values; false with a sentence in error when the run must not start
    // (a variable that is no pool, too few values left, the store unusable).
    bool reserve(const QString& storeUrl, const QStringList& variableNames, const QStringList& deviceIds,
                 QHash<QString, QStringList>* arguments, QString* error);

    // The values each device received, by pool: for the report and the history.
    const QHash<QString, QHash<QString, QString>>& values() const { return reserved; }
    QString runId() const { return run; }

signals:
    void errorEncountered(const QString& message);

private:
    void deviceEnded(const QString& id, const QString& outcome);
    void flush();
    void runEnded();

    JobRunEngine* engine;
    std::unique_ptr<PoolStoreConnection> connection;
    QString run;
    QHash<QString, QHash<QString, QString>> reserved;
    QStringList pending; // device ids, with their outcomes below
    QStringList pendingOutcomes;
    QHash<QString, bool> settled;
    QTimer* flushTimer = nullptr;
    QTimer* leaseTimer = nullptr;
};
