#include "stationsession.h"

#include "jobhash.h"
#include "jobrunengine.h"
#include "poolstoreconnection.h"
#include "productionstore.h"
#include "runreport.h"
#include "stationengine.h"
#include "storelocation.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QFileInfo>

StationSession::StationSession(QObject* parent) : QObject(parent) {}

StationSession::~StationSession() = default;

bool StationSession::openStore(const StoreLocation& location, QString* error)
{
    if (!location.isValid())
        return false;
    auto store = std::make_unique<ProductionStore>();
    if (!store->open(location, error))
        return false;
    m_lots = std::make_unique<LotStore>(store->database(), store->isPostgres(), store->stationId());
    m_store = std::move(store);
    return true;
}

bool StationSession::openLot(const QString& lot, int quantity, const QString& jobFile,
                             const JobRunRequest& job, const StationOptions& options, QString* error)
{
    if (!m_lots)
        return false;
    const qint64 lotId = m_lots->openLot(lot, quantity, jobFile, JobHash::sha256(job), error);
    if (lotId == 0)
        return false;
    QString settleError;
    m_interrupted = m_lots->settleInterrupted(&PoolStoreConnection::processAlive, &settleError);
    if (!settleError.isEmpty()) {
        *error = settleError;
        return false;
    }
    m_lotId = lotId;
    m_lot = lot;
    m_quantity = quantity;
    m_unitRows.clear();
    readCounts();
    m_completeSaid = lotComplete();

    if (!m_engine) {
        m_engine = new StationEngine(this);
        connect(m_engine, &StationEngine::unitStarted, this, &StationSession::onUnitStarted);
        connect(m_engine, &StationEngine::unitFinished, this, &StationSession::onUnitFinished);
        connect(m_engine, &StationEngine::errorEncountered, this, &StationSession::errorEncountered);
    }
    m_engine->setOptions(options);
    m_engine->setJob(job);
    m_engine->setStartBudget(qMax(0, m_quantity - m_counts.passed));
    if (lotComplete())
        m_engine->holdStarts(true);
    // Their boards may be half programmed: they wait for the operator.
    for (const LotStore::Interrupted& unit : qAsConst(m_interrupted))
        m_engine->markInterrupted(unit.slot, QString(), tr("cut short when the program ended"));
    emit countsChanged();
    return true;
}

bool StationSession::audit(const QString& what, const QString& oldValue, const QString& newValue)
{
    QString error;
    if (!m_lots)
        return false;
    if (m_lots->audit(what, oldValue, newValue, &error))
        return true;
    emit errorEncountered(error);
    return false;
}

QString StationSession::shortImageHash(const JobRunRequest& job)
{
    const QStringList files = RunReport::filesOfSteps(job.steps);
    if (files.isEmpty())
        return JobHash::sha256(job).left(12);
    if (files.size() == 1)
        return RunReport::sha256OfFile(files.constFirst()).left(12);
    // Several images: one fingerprint over each file's, in the job's order.
    QCryptographicHash hash(QCryptographicHash::Sha256);
    for (const QString& file : files)
        hash.addData(RunReport::sha256OfFile(file).toLatin1());
    return QString::fromLatin1(hash.result().toHex().left(12));
}

void StationSession::readCounts()
{
    QString error;
    LotCounts counts;
    if (!m_lots->counts(m_lotId, &counts, &error)) {
        emit errorEncountered(error);
        return;
    }
    m_counts = counts;
}

void StationSession::onUnitStarted(const QString& slotId)
{
    const StationSlot* slot = m_engine->slot(slotId);
    QString error;
    const qint64 row = m_lots->unitStarted(m_lotId, slotId, slot ? slot->id : slotId,
                                           QCoreApplication::applicationPid(), &error);
    if (row == 0)
        emit errorEncountered(error);
    m_unitRows.insert(slotId, row);
}

void StationSession::onUnitFinished(const StationUnit& unit)
{
    QString error;
    const qint64 row = m_unitRows.take(unit.slotId);
    if (row != 0 && m_lots->unitEnded(row, unit.outcome, &error)) {
        readCounts();
    } else {
        // The store did not take it: count it here so the station still stops at its quantity.
        if (!error.isEmpty())
            emit errorEncountered(error);
        ++m_counts.units;
        ++m_counts.boards;
        if (unit.passed)
            ++m_counts.passed;
        else
            ++m_counts.failed;
    }
    m_engine->setStartBudget(qMax(0, m_quantity - m_counts.passed));
    emit countsChanged();
    emit unitEnded(unit);
    if (lotComplete() && !m_completeSaid) {
        m_completeSaid = true;
        m_engine->holdStarts(true);
        emit lotCompleted();
    }
}
