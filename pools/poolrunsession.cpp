#include "poolrunsession.h"

#include "jobexecution.h"
#include "jobrunengine.h"
#include "poolstoreconnection.h"
#include "runreport.h"

#include <QTimer>
#include <QUuid>

namespace {

// Outcomes are written together: one transaction for the devices that ended meanwhile.
constexpr int FlushDelayMs = 200;

QString outcomeOf(const JobDeviceRun& device)
{
    // Aborted before its process ran: the value never reached the board.
    if (device.state == JobDeviceState::Aborted && !device.startedAt.isValid())
        return QStringLiteral("not started");
    return RunReport::outcomeWord(device);
}

} // namespace

PoolRunSession::PoolRunSession(JobRunEngine* engine) : QObject(engine), engine(engine)
{
    flushTimer = new QTimer(this);
    flushTimer->setSingleShot(true);
    flushTimer->setInterval(FlushDelayMs);
    connect(flushTimer, &QTimer::timeout, this, &PoolRunSession::flush);
    leaseTimer = new QTimer(this);
    leaseTimer->setInterval(int(PoolStore::DefaultLeaseMs / 4));
    connect(leaseTimer, &QTimer::timeout, this, [this] {
        QString error;
        if (connection && !connection->pools().renewLease(run, &error))
            emit errorEncountered(error);
    });
    connect(engine, &JobRunEngine::deviceFinished, this,
            [this](const JobDeviceRun& device) { deviceEnded(device.id, outcomeOf(device)); });
    connect(engine, &JobRunEngine::deviceAborted, this, [this](const QString& id) {
        const JobDeviceRun* device = this->engine->device(id);
        deviceEnded(id, device ? outcomeOf(*device) : QStringLiteral("not started"));
    });
    connect(engine, &JobRunEngine::runFinished, this, &PoolRunSession::runEnded);
}

PoolRunSession::~PoolRunSession() = default;

QStringList PoolRunSession::poolVariables(const QStringList& variableNames)
{
    const QMap<QString, QString> builtIn = JobExecution::builtInVariableDescriptions();
    QStringList result;
    for (const QString& name : variableNames)
        if (!builtIn.contains(name.toLower()) && !result.contains(name))
            result << name;
    return result;
}

bool PoolRunSession::reserve(const QString& storeUrl, const QStringList& variableNames,
                             const QStringList& deviceIds, QHash<QString, QStringList>* arguments,
                             QString* error)
{
    arguments->clear();
    run.clear();
    reserved.clear();
    settled.clear();
    pending.clear();
    pendingOutcomes.clear();
    connection.reset();
    const QStringList pools = poolVariables(variableNames);
    if (pools.isEmpty())
        return true;
    auto opened = std::make_unique<PoolStoreConnection>();
    if (!opened->open(storeUrl, error))
        return false;
    // A variable that names no pool is refused inside the reservation, with the others.
    PoolStore store = opened->pools();
    run = QUuid::createUuid().toString(QUuid::WithoutBraces);
    if (!store.reserve(run, deviceIds, pools, &reserved, error))
        return false;
    for (const QString& id : deviceIds) {
        QStringList& list = (*arguments)[id];
        for (const QString& pool : pools)
            list << QStringLiteral("--parameter")
                 << QStringLiteral("%1:%2").arg(pool, reserved[id].value(pool));
    }
    connection = std::move(opened);
    leaseTimer->start();
    return true;
}

void PoolRunSession::deviceEnded(const QString& id, const QString& outcome)
{
    if (!connection || settled.contains(id) || !reserved.contains(id))
        return;
    settled.insert(id, true);
    pending << id;
    pendingOutcomes << outcome;
    if (!flushTimer->isActive())
        flushTimer->start();
}

void PoolRunSession::flush()
{
    flushTimer->stop();
    if (!connection || pending.isEmpty())
        return;
    QList<PoolOutcome> outcomes;
    for (int i = 0; i < pending.size(); ++i)
        outcomes.append({run, pending.at(i), pendingOutcomes.at(i)});
    pending.clear();
    pendingOutcomes.clear();
    QString error;
    if (!connection->pools().settle(outcomes, &error))
        emit errorEncountered(error);
}

void PoolRunSession::runEnded()
{
    if (!connection)
        return;
    // Devices the run never started give their values back.
    for (const QString& id : reserved.keys()) {
        const JobDeviceRun* device = engine->device(id);
        deviceEnded(id, device ? outcomeOf(*device) : QStringLiteral("not started"));
    }
    flush();
    leaseTimer->stop();
    connection.reset();
}
