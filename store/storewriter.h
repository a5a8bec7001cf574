#pragma once

#include "productionstore.h"
#include "storelocation.h"

#include <QCoreApplication>
#include <QHash>
#include <QList>
#include <QMutex>
#include <QObject>
#include <QVariantMap>

#include <atomic>
#include <memory>

class QTimer;
class StoreJournal;

// Writes run records into the store on a thread of its own, so neither the
// window nor a headless run ever waits for the database. Records that arrive
// while it writes are taken together in the next transaction. When the store
// cannot be reached they wait (they are in the journal already) and the
// writer tries again, waiting longer each time up to a limit. On its start it
// replays the journals that ended programs left behind.
class StoreWriter : public QObject
{
    Q_OBJECT

public:
    StoreWriter(const StoreLocation& location, const QString& stationName, StoreJournal* journal,
                const QString& journalFolder, QObject* parent = nullptr);
    ~StoreWriter() override;

    void setRetryDelays(int firstMs, int longestMs);
    // The station's name in the store; the host name when empty.
    void setStationName(const QString& name);

    // The highest sequence number tried so far (written, or found unreachable). Any thread.
    qint64 attemptedSequence() const { return attempted.load(); }
    // Device results of this program written (or refused by the store) so far. Any thread.
    int writtenResults() const { return written.load(); }

    // Writes a batch of records to an open store in one transaction; false with the reason when
    // the database refused or went away (*busy: it is busy or gone, so try again later). Records
    // already there are skipped, so a batch may be written again. Stations are found (or entered)
    // by name.
    static bool writeRecords(ProductionStore& store, const QList<QVariantMap>& records, QString* error,
                             bool* busy = nullptr);

public slots:
    // Opens the store and replays the journals left behind.
    void begin();
    // One record, with its journal sequence number in "seq". Any thread.
    void post(const QVariantMap& record);
    // Tries at once, without waiting for the back-off.
    void tryNow();
    // Last attempt, then closes the store; records still waiting stay in the journal.
    void end();

signals:
    // How many device results wait, and why (empty once all are written).
    void waiting(int results, const QString& problem);

private:
    void takeInbox();
    QList<QVariantMap> drainInbox(bool lookAgainSoon);
    void process();
    void scheduleRetry();
    bool ensureOpen(QString* error);
    void report(const QString& problem);

    StoreLocation location;
    QString stationName;
    StoreJournal* journal;
    QString journalFolder;
    ProductionStore store;
    QList<QVariantMap> pending;
    // Records posted from other threads, not yet taken.
    QMutex inboxMutex;
    QList<QVariantMap> inbox;
    bool lookingSoon = false;
    struct OrphanBatch;
    std::vector<std::unique_ptr<OrphanBatch>> orphans;
    QTimer* retryTimer = nullptr;
    int firstDelayMs = 1000;
    int longestDelayMs = 60000;
    int delayMs = 1000;
    QTimer* batchTimer = nullptr;
    bool ended = false;
    int lastReportedWaiting = -1;
    QString lastProblem;
    std::atomic<qint64> attempted{0};
    std::atomic<int> written{0};
};
