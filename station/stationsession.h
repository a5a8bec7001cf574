#pragma once

#include "lotcounts.h"
#include "lotstore.h"
#include "stationoptions.h"
#include "stationunit.h"

#include <QHash>
#include <QObject>

#include <memory>

class ProductionStore;
class StationEngine;
class StoreLocation;
struct JobRunRequest;

// What the headless station and the station view share: the production store, the lot and its
// counters, the engine, and each unit written to the store as it starts and ends. Units a crash
// cut short are marked INTERRUPTED on the engine and wait for the operator to re-arm them.
class StationSession : public QObject
{
    Q_OBJECT

public:
    explicit StationSession(QObject* parent = nullptr);
    ~StationSession() override;

    // Opens the store; false with the reason in *error.
    bool openStore(const StoreLocation& location, QString* error);
    // Opens (or makes) the lot, settles units earlier processes left running and sets up the engine
    // with the job; false with the reason in *error. The store must be open.
    bool openLot(const QString& lot, int quantity, const QString& jobFile, const JobRunRequest& job,
                 const StationOptions& options, QString* error);
    // One line of the store's audit; false when there is no store or it did not take it.
    bool audit(const QString& what, const QString& oldValue, const QString& newValue);

    StationEngine* engine() const { return m_engine; }
    bool hasStore() const { return m_lots != nullptr; }
    QString lot() const { return m_lot; }
    int quantity() const { return m_quantity; }
    const LotCounts& counts() const { return m_counts; }
    bool lotComplete() const { return m_counts.passed >= m_quantity; }
    // Units cut short by an earlier process, as found when the lot was opened.
    const QList<LotStore::Interrupted>& interrupted() const { return m_interrupted; }

    // The first 12 hex digits of the SHA-256 of the job's image files (of the job itself when it
    // names none), so an operator can tell at a glance which images the station writes.
    static QString shortImageHash(const JobRunRequest& job);

signals:
    void errorEncountered(const QString& message);
    void countsChanged();
    // The lot's passed count has reached its quantity: no more units start.
    void lotCompleted();
    // A unit ended and the counters include it.
    void unitEnded(const StationUnit& unit);

private:
    void readCounts();
    void onUnitStarted(const QString& slotId);
    void onUnitFinished(const StationUnit& unit);

    std::unique_ptr<ProductionStore> m_store;
    std::unique_ptr<LotStore> m_lots;
    StationEngine* m_engine = nullptr;
    qint64 m_lotId = 0;
    QString m_lot;
    int m_quantity = 0;
    LotCounts m_counts;
    QList<LotStore::Interrupted> m_interrupted;
    // The store's row of each running unit, by slot.
    QHash<QString, qint64> m_unitRows;
    bool m_completeSaid = false;
};
