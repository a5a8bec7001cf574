#include "runrecorder.h"

#include "jobrunengine.h"
#include "poolrunsession.h"
#include "runrecords.h"
#include "runreport.h"
#include "settingsutil.h"
#include "storejournal.h"
#include "storesettings.h"
#include "storewriter.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QSysInfo>
#include <QThread>

#include <algorithm>

namespace {

// What the window's or a headless run's end waits for the writer at most.
constexpr int endWaitMs = 5000;

} // namespace

RunRecorder::RunRecorder(const StoreLocation& location, const QString& journalFolder, QObject* parent)
    : QObject(parent), where(location),
      folder(journalFolder.isEmpty() ? StoreJournal::defaultFolder() : journalFolder)
{
    startWriter();
}

RunRecorder::~RunRecorder()
{
    stopWriter();
}

void RunRecorder::startWriter()
{
    journal = std::make_unique<StoreJournal>(folder, where.url());
    thread = new QThread;
    thread->setObjectName(QStringLiteral("production store"));
    writer = new StoreWriter(where, stationName, journal.get(), folder);
    writer->moveToThread(thread);
    connect(thread, &QThread::finished, writer, &QObject::deleteLater);
    connect(writer, &StoreWriter::waiting, this, &RunRecorder::onWaiting);
    thread->start();
    QMetaObject::invokeMethod(writer, &StoreWriter::begin, Qt::QueuedConnection);
    handed = 0;
    handedResults = 0;
    waitingCount = 0;
    journalBroken = false;
    if (retryFirstMs > 0)
        setRetryDelays(retryFirstMs, retryLongestMs);
}

void RunRecorder::stopWriter()
{
    // Ended from inside, so the last attempt runs before the thread's loop stops.
    QMetaObject::invokeMethod(
        writer,
        [writer = writer] {
            writer->end();
            QThread::currentThread()->quit();
        },
        Qt::QueuedConnection);
    if (thread->wait(endWaitMs)) {
        delete thread;
        journal.reset();
    } else {
        // The database does not answer; what waits is in the journal. The thread, the writer and
        // the journal it uses are left to the program's end rather than destroyed while in use.
        disconnect(writer, nullptr, this, nullptr);
        (void)journal.release();
    }
    thread = nullptr;
    writer = nullptr;
}

void RunRecorder::relocate(const StoreLocation& location)
{
    if (location == where)
        return;
    if (!runId.isEmpty()) {
        nextLocation = std::make_unique<StoreLocation>(location);
        return;
    }
    nextLocation.reset();
    // What the old store has not taken yet stays in the old journal, which names the old store.
    stopWriter();
    where = location;
    startWriter();
}

void RunRecorder::followSettings()
{
    connect(SettingsUtil::changes(), &SettingsUtil::settingChanged, this, &RunRecorder::onSettingChanged,
            Qt::UniqueConnection);
}

void RunRecorder::onSettingChanged(const QString& group, const QString& key, const QVariant& oldValue,
                                   const QVariant& newValue)
{
    const bool database = group == StoreSettings::group && key == StoreSettings::urlKey;
    const bool corvane = group == Settings::corvaneGroup &&
                         (key == Settings::executableKey || key == Settings::maxConcurrentProcessesKey ||
                          key == Settings::processTimeoutSecondsKey);
    if (!database && !corvane)
        return;
    const QVariantMap record =
        RunRecords::auditRecord(currentStation(), operatorName, group + QLatin1Char('/') + key,
                                oldValue.toString(), newValue.toString());
    hand(record);
    if (!database)
        return;
    QString error;
    const StoreLocation location = StoreSettings::location(&error);
    if (!location.isValid()) {
        emit errorEncountered(error);
        return;
    }
    const bool moving = location != where;
    relocate(location);
    // The new store learns where its runs came from too.
    if (moving && location == where)
        hand(record);
}

void RunRecorder::setStationName(const QString& name)
{
    stationName = name;
    QMetaObject::invokeMethod(writer, [writer = writer, name] { writer->setStationName(name); });
}

QString RunRecorder::currentStation() const
{
    return stationName.isEmpty() ? QSysInfo::machineHostName() : stationName;
}

void RunRecorder::setRetryDelays(int firstMs, int longestMs)
{
    retryFirstMs = firstMs;
    retryLongestMs = longestMs;
    QMetaObject::invokeMethod(writer, [writer = writer, firstMs, longestMs] {
        writer->setRetryDelays(firstMs, longestMs);
        writer->tryNow();
    });
}

int RunRecorder::waitingResults() const
{
    // The writer's last report, or what it has not yet confirmed when it is still at work.
    return std::max(waitingCount, handedResults - writer->writtenResults());
}

QString RunRecorder::journalPath() const
{
    return journal->filePath();
}

QString RunRecorder::unreachableText(int results)
{
    return tr("Production database unreachable: %1 results waiting").arg(results);
}

void RunRecorder::watch(JobRunEngine* watched)
{
    if (engine)
        disconnect(engine, nullptr, this, nullptr);
    engine = watched;
    connect(engine, &JobRunEngine::deviceRefused, this, [this](const QString& id) { refused << id; });
    connect(engine, &JobRunEngine::runStarting, this, &RunRecorder::onRunStarting);
    connect(engine, &JobRunEngine::deviceFinished, this, &RunRecorder::onDeviceFinished);
    connect(engine, &JobRunEngine::deviceAborted, this, &RunRecorder::onDeviceAborted);
    connect(engine, &JobRunEngine::runFinished, this, &RunRecorder::onRunFinished);
}

void RunRecorder::setJobFile(const QString& path)
{
    jobFile = path;
    jobFileSha256 = path.isEmpty() ? QString() : RunReport::sha256OfFile(path);
}

void RunRecorder::hand(const QVariantMap& record)
{
    const qint64 sequence = journal->append(record);
    if (sequence == 0 && !journalBroken) {
        // The record still goes to the store; only a kill before it is written could lose it.
        journalBroken = true;
        emit errorEncountered(journal->errorString());
    }
    QVariantMap numbered = record;
    numbered.insert(QStringLiteral("seq"), sequence ? sequence : handed + 1);
    handed = numbered.value(QStringLiteral("seq")).toLongLong();
    if (record.value(RunRecords::kindKey).toString() == RunRecords::resultKind)
        ++handedResults;
    writer->post(numbered);
}

void RunRecorder::onRunStarting(const QStringList& ids)
{
    RunRecords::RunStart start;
    // A run that drew values from data pools keeps their run id, so the store ties each unit's
    // result to the values it received.
    const QString poolRun = engine->pools() ? engine->pools()->runId() : QString();
    start.id = runId = poolRun.isEmpty() ? RunRecords::newRunId() : poolRun;
    start.station = currentStation();
    start.started = QDateTime::currentDateTime();
    start.jobFile = jobFile;
    start.jobFileSha256 = jobFileSha256;
    start.jobSha256 = engine->bundleSha256();
    start.steps = RunReport::stepsInShort(engine->jobSteps());
    start.operatorName = operatorName;
    start.devices = int(ids.size() + refused.size());
    start.files = engine->jobFiles();
    hand(RunRecords::runRecord(start));
    for (const QString& id : qAsConst(refused))
        hand(RunRecords::refusedRecord(runId, id));
}

void RunRecorder::onDeviceFinished(const JobDeviceRun& run)
{
    if (!runId.isEmpty())
        hand(RunRecords::resultRecord(runId, run, engine->jobSteps()));
}

void RunRecorder::onDeviceAborted(const QString& id)
{
    const JobDeviceRun* run = engine->device(id);
    if (!runId.isEmpty() && run)
        hand(RunRecords::resultRecord(runId, *run, engine->jobSteps()));
}

void RunRecorder::onRunFinished()
{
    if (runId.isEmpty())
        return;
    for (const JobDeviceRun& run : engine->devices())
        if (run.state == JobDeviceState::NotStarted)
            hand(RunRecords::resultRecord(runId, run, engine->jobSteps()));
    hand(RunRecords::endRecord(runId, QDateTime::currentDateTime(), engine->devices(), int(refused.size())));
    runId.clear();
    refused.clear();
    if (nextLocation)
        relocate(*nextLocation);
}

void RunRecorder::onWaiting(int results, const QString& problem)
{
    const bool changed = results != waitingCount;
    waitingCount = results;
    lastProblem = problem;
    if (changed)
        emit waitingChanged(results);
    if (results > 0 && !problem.isEmpty())
        emit errorEncountered(unreachableText(results));
}

bool RunRecorder::settle(int timeoutMs)
{
    QMetaObject::invokeMethod(writer, &StoreWriter::tryNow, Qt::QueuedConnection);
    QElapsedTimer timer;
    timer.start();
    while (writer->attemptedSequence() < handed && timer.elapsed() < timeoutMs)
        QThread::msleep(5);
    // The writer's last word on what waits arrives as a queued signal.
    QCoreApplication::sendPostedEvents(this);
    return waitingResults() == 0 && writer->attemptedSequence() >= handed;
}
