#include "stationengine.h"

#include "corvaneprocessrunner.h"
#include "corvanereplies.h"
#include "runreport.h"

#include <QTimer>

namespace {

const QString listTaskId = QStringLiteral("__list__");
const QString infoTaskPrefix = QStringLiteral("info:");
// A poll that hangs must not stop the bench for long; the next cycle asks again.
constexpr int pollTimeoutMs = 15000;

QString reasonOf(const JobDeviceRun& run)
{
    if (run.state == JobDeviceState::Aborted)
        return StationEngine::tr("ended on request");
    QString reason = JobExecution::failureLine(run.output, run.errorOutput);
    if (run.state == JobDeviceState::Crashed) {
        const QString how = run.timedOut ? StationEngine::tr("the process hit its time limit")
                                         : StationEngine::tr("the process was ended by a signal");
        return reason.isEmpty() ? how : StationEngine::tr("%1; last line: %2").arg(how, reason);
    }
    return reason.isEmpty() ? StationEngine::tr("exit code %1").arg(run.exitCode) : reason;
}

} // namespace

StationEngine::StationEngine(QObject* parent) : QObject(parent)
{
    qRegisterMetaType<StationUnit>();
    m_clock.start();
    m_pollRunner = new CorvaneProcessRunner(this);
    // Polls of all slots go out together; the number only bounds a fixture of many adapters.
    m_pollRunner->overrideMaxConcurrentProcesses(32);
    connect(m_pollRunner, &CorvaneProcessRunner::taskFinished, this, &StationEngine::onPollFinished);
    m_pollTimer = new QTimer(this);
    m_pollTimer->setSingleShot(true);
    connect(m_pollTimer, &QTimer::timeout, this, &StationEngine::poll);
    m_pollWatchdog = new QTimer(this);
    m_pollWatchdog->setSingleShot(true);
    m_pollWatchdog->setInterval(2 * pollTimeoutMs);
    connect(m_pollWatchdog, &QTimer::timeout, this, &StationEngine::abandonPoll);
}

StationEngine::~StationEngine() = default;

void StationEngine::setOptions(const StationOptions& options)
{
    m_options = options;
    setJob(m_job);
}

void StationEngine::setJob(const JobRunRequest& job)
{
    m_job = job;
    m_actionNumbers.clear();
    for (int i = 0; i < job.steps.size(); ++i) {
        if (job.steps.at(i).value(QStringLiteral("enabled")).toBool())
            m_actionNumbers.insert(i + 1, m_actionNumbers.size() + 1);
    }
    QStringList serials;
    for (const BatchUtil::DeviceEntry& entry : job.bundleDevices) {
        if (entry.selected)
            serials << JobExecution::jobDeviceFromEntry(entry).serialNumber;
    }
    m_allow = StationAllowList(m_options.allowPatterns, serials);
    for (StationSlot& slot : m_slots) {
        slot.tracker.disarm();
        slot.allowed = m_allow.allows(slot.id, slot.device.nickname);
        if (slot.engine)
            continue;
        if (!slot.allowed)
            setState(slot, StationSlot::State::NotAllowed);
        else if (slot.state == StationSlot::State::NotAllowed)
            setState(slot, StationSlot::State::Ready);
    }
}

void StationEngine::start()
{
    m_polling = true;
    m_held = false;
    if (m_pendingPolls == 0)
        poll();
}

void StationEngine::holdStarts(bool hold)
{
    m_held = hold;
}

void StationEngine::stopPolling()
{
    m_polling = false;
    m_pollTimer->stop();
}

void StationEngine::killRunning()
{
    for (StationSlot& slot : m_slots) {
        if (slot.engine)
            slot.engine->killRunningDevices();
    }
}

void StationEngine::rearm(const QString& slotId)
{
    const auto it = m_slots.find(slotId);
    if (it == m_slots.end() || it->engine)
        return;
    it->tracker.rearm();
    if (it->allowed)
        setState(*it, StationSlot::State::Ready);
}

void StationEngine::markInterrupted(const QString& slotId, const QString& nickname, const QString& what)
{
    StationSlot& slot = slotFor(slotId, nickname);
    slot.tracker.disarm();
    setState(slot, StationSlot::State::Interrupted, what);
}

const StationSlot* StationEngine::slot(const QString& id) const
{
    const auto it = m_slots.constFind(id);
    return it == m_slots.cend() ? nullptr : &*it;
}

int StationEngine::runningCount() const
{
    int count = 0;
    for (const StationSlot& slot : m_slots)
        count += slot.engine ? 1 : 0;
    return count;
}

void StationEngine::poll()
{
    if (!m_polling || m_pendingPolls > 0)
        return;
    ++m_cycles;
    m_pendingPolls = 1;
    m_pollRunner->enqueueTask({listTaskId, CorvaneReplies::discoveryArguments(), pollTimeoutMs});
    m_pollWatchdog->start();
    m_pollRunner->start();
    if (m_pollRunner->runningTaskCount() == 0) {
        emit errorEncountered(tr("The Corvane executable \"%1\" could not be started to look for boards.")
                                  .arg(m_pollRunner->getExecutablePath()));
        abandonPoll();
    }
}

void StationEngine::abandonPoll()
{
    m_pollWatchdog->stop();
    m_pollRunner->clearQueue();
    m_pendingPolls = 0;
    if (m_polling)
        m_pollTimer->start(m_options.pollMs);
}

void StationEngine::onPollFinished(const CorvaneProcessResult& result)
{
    if (result.id == listTaskId)
        onListed(result);
    else if (result.id.startsWith(infoTaskPrefix))
        onInfo(result.id.mid(infoTaskPrefix.size()), result);
    endOfPoll();
}

void StationEngine::onListed(const CorvaneProcessResult& result)
{
    const CorvaneReplies::DiscoveryReply reply =
        CorvaneReplies::readDiscoveryReply(result.exitCode, result.stdoutData);
    if (!reply.ok) {
        // Nothing is known this time; the slots keep what they saw.
        emit errorEncountered(reply.errorMessage);
        return;
    }
    QSet<QString> listed;
    for (const CorvaneReplies::DiscoveredAdapter& adapter : reply.adapters) {
        if (adapter.serialNumber.isEmpty() || adapter.serialNumber == QLatin1String("0"))
            continue;
        listed.insert(adapter.serialNumber);
        slotFor(adapter.serialNumber, adapter.nickname);
    }
    const QStringList ids = m_slots.keys();
    for (const QString& id : ids) {
        StationSlot& slot = m_slots[id];
        if (!listed.contains(id)) {
            observe(slot, false);
        } else if (m_options.trigger == StationOptions::Trigger::Adapter) {
            observe(slot, true);
        } else if (slot.allowed && !slot.engine) {
            // The adapter of a running slot is left to its run; one long without a board rests.
            const qint64 now = nowMs();
            if (slot.tracker.absentForMs(now) >= m_options.restAfterMs && slot.askedMs >= 0 &&
                now - slot.askedMs < m_options.restPollMs)
                continue;
            slot.askedMs = now;
            ++m_pendingPolls;
            m_pollRunner->enqueueTask(
                {infoTaskPrefix + id,
                 CorvaneReplies::detectionArguments() +
                     CorvaneReplies::detectionDeviceArguments(true, id, QString(), slot.device.targetPart),
                 pollTimeoutMs});
        }
    }
    m_pollRunner->start();
}

void StationEngine::onInfo(const QString& slotId, const CorvaneProcessResult& result)
{
    const auto it = m_slots.find(slotId);
    if (it == m_slots.end() || it->engine)
        return;
    observe(*it, CorvaneReplies::readDetectionReply(result.stdoutData).ok);
}

void StationEngine::endOfPoll()
{
    if (--m_pendingPolls > 0)
        return;
    m_pendingPolls = 0;
    m_pollWatchdog->stop();
    if (m_polling)
        m_pollTimer->start(m_options.pollMs);
}

void StationEngine::observe(StationSlot& slot, bool present)
{
    if (slot.tracker.observe(present, nowMs(), mayStart(slot))) {
        startUnit(slot);
        return;
    }
    // A board taken away for good clears the slot for the next one.
    if (!present && slot.tracker.isArmed() && slot.allowed && slot.state != StationSlot::State::Running &&
        slot.state != StationSlot::State::Ready)
        setState(slot, StationSlot::State::Ready);
}

bool StationEngine::mayStart(const StationSlot& slot) const
{
    if (!slot.allowed || !m_polling || m_held || m_actionNumbers.isEmpty())
        return false;
    return m_budget < 0 || m_budget - runningCount() > 0;
}

StationSlot& StationEngine::slotFor(const QString& serial, const QString& nickname)
{
    auto it = m_slots.find(serial);
    if (it != m_slots.end())
        return *it;
    StationSlot slot;
    slot.id = serial;
    slot.tracker = SlotTracker(m_options.settleMs);
    slot.device = JobDevice{serial, QString(), BatchUtil::Usb, QString(), nickname};
    for (const BatchUtil::DeviceEntry& entry : qAsConst(m_job.bundleDevices)) {
        const JobDevice device = JobExecution::jobDeviceFromEntry(entry);
        if (device.serialNumber == serial) {
            slot.device = device;
            slot.device.connectionType = BatchUtil::Usb;
            slot.device.ipAddress.clear();
            if (slot.device.nickname.isEmpty())
                slot.device.nickname = nickname;
        }
    }
    slot.allowed = m_allow.allows(serial, slot.device.nickname);
    slot.state = slot.allowed ? StationSlot::State::Ready : StationSlot::State::NotAllowed;
    it = m_slots.insert(serial, slot);
    emit slotChanged(serial);
    return *it;
}

void StationEngine::startUnit(StationSlot& slot)
{
    const QString id = slot.id;
    slot.runner = new CorvaneProcessRunner(this);
    slot.runner->overrideMaxConcurrentProcesses(1);
    slot.engine = new JobRunEngine(slot.runner, this);
    QString refusal;
    connect(slot.engine, &JobRunEngine::errorEncountered, this,
            [&refusal](const QString& message) { refusal = message; });
    connect(slot.engine, &JobRunEngine::deviceRefused, this,
            [&refusal](const QString&, const QString& message) { refusal = message; });
    connect(slot.engine, &JobRunEngine::deviceOutput, this,
            [this, id](const QString&, const QByteArray& line) { onUnitOutput(id, line); });
    connect(slot.engine, &JobRunEngine::deviceFinished, this,
            [this, id](const JobDeviceRun& run) { onUnitFinished(id, run); });
    connect(slot.engine, &JobRunEngine::runFinished, this, [this, id] { onUnitEnded(id); });

    JobRunRequest request = m_job;
    request.devices = {slot.device};
    request.reportPaths.clear();
    slot.action = 0;
    slot.percent = -1;
    setState(slot, StationSlot::State::Running);
    emit unitStarted(id);
    if (slot.engine->start(request)) {
        disconnect(slot.engine, &JobRunEngine::errorEncountered, this, nullptr);
        disconnect(slot.engine, &JobRunEngine::deviceRefused, this, nullptr);
        connect(slot.engine, &JobRunEngine::errorEncountered, this, &StationEngine::errorEncountered);
        return;
    }
    // Refused before the tool ran: the unit counts as not started, and the board waits to be
    // taken away or re-armed.
    slot.engine->deleteLater();
    slot.runner->deleteLater();
    slot.engine = nullptr;
    slot.runner = nullptr;
    slot.tracker.runEnded();
    const QString reason = refusal.isEmpty() ? tr("the job could not start") : refusal;
    setState(slot, StationSlot::State::Fail, reason);
    emit unitFinished(StationUnit{
        id, JobExecution::deviceId(slot.device), false, QStringLiteral("not started"), 0, reason, {}});
    if (runningCount() == 0)
        emit idle();
}

void StationEngine::onUnitOutput(const QString& slotId, const QByteArray& line)
{
    const auto it = m_slots.find(slotId);
    if (it == m_slots.end())
        return;
    const int action = JobExecution::lastRunningAction(line);
    const int percent = JobExecution::linePercent(line);
    bool changed = false;
    if (action > 0) {
        it->action = m_actionNumbers.value(action, it->action);
        it->percent = 0;
        changed = true;
    } else if (percent >= 0 && percent != it->percent) {
        it->percent = percent;
        changed = true;
    }
    if (changed)
        emit slotChanged(slotId);
}

void StationEngine::onUnitFinished(const QString& slotId, const JobDeviceRun& run)
{
    const auto it = m_slots.find(slotId);
    if (it == m_slots.end())
        return;
    const bool passed = run.state == JobDeviceState::Done;
    const QString reason = passed ? QString() : reasonOf(run);
    setState(*it, passed ? StationSlot::State::Pass : StationSlot::State::Fail, reason);
    emit unitFinished(
        StationUnit{slotId, run.id, passed, RunReport::outcomeWord(run), run.elapsedMs, reason, {}});
}

void StationEngine::onUnitEnded(const QString& slotId)
{
    const auto it = m_slots.find(slotId);
    if (it == m_slots.end() || !it->engine)
        return;
    if (it->state == StationSlot::State::Running) {
        // Ended before it ran (aborted while queued): no outcome came.
        const QString reason = tr("ended on request");
        setState(*it, StationSlot::State::Fail, reason);
        emit unitFinished(StationUnit{
            slotId, JobExecution::deviceId(it->device), false, QStringLiteral("aborted"), 0, reason, {}});
    }
    it->engine->deleteLater();
    it->runner->deleteLater();
    it->engine = nullptr;
    it->runner = nullptr;
    it->tracker.runEnded();
    if (runningCount() == 0)
        emit idle();
}

void StationEngine::setState(StationSlot& slot, StationSlot::State state, const QString& reason)
{
    slot.state = state;
    slot.reason = reason;
    emit slotChanged(slot.id);
}
