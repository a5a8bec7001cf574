#include "corvaneprocessrunner.h"

#include "settingsutil.h"
#include "spawnedprocess.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <algorithm>

namespace {
// A process may print without end (a flood of progress lines); only its
// beginning and its latest output are kept for the result, which is what a
// reader of the outcome needs.
constexpr int keptHeadBytes = 64 * 1024;
constexpr int keptTailBytes = 1024 * 1024;
// The line a job run prints as it begins an action; the job's outcome names
// the last one, so the last such line of a left-out stretch is kept too.
const QByteArray actionLineStart = QByteArrayLiteral("\nRunning action");

// Chunks up to this size are reported at once; larger ones wait their turn.
constexpr int immediateChunkBytes = 16 * 1024;
// Beyond this much waiting output, everything waiting is reported at once, so
// memory stays bounded when processes print faster than lines are handled.
constexpr qint64 maxPendingBytes = 16 * 1024 * 1024;
// Nice steps the tool's processes run below the program.
constexpr int childPriorityDecrease = 10;
// How long a process asked to end may take before it is killed.
constexpr int killGraceMs = 3000;
// Time spent on waiting lines per turn of the event loop.
constexpr qint64 pendingBudgetNs = 4 * 1000 * 1000;
// Time spent starting processes per turn of the event loop: a Run with a hundred devices
// at once would otherwise hold the window until the last one has started. The first few
// start at once however slow the machine, as they always have.
constexpr qint64 startBudgetNs = 8 * 1000 * 1000;
constexpr int startsBeforeBudget = 8;

bool isAscii(const QByteArray& bytes)
{
    return std::all_of(bytes.cbegin(), bytes.cend(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}
} // namespace

CorvaneProcessRunner::CorvaneProcessRunner(QObject* parent) : QObject(parent)
{
    qRegisterMetaType<CorvaneProcessResult>();
    qRegisterMetaType<CorvaneProcessTask>();
    refreshExecutablePath();
    refreshMaxConcurrentProcesses();
    pendingTimer = new QTimer(this);
    pendingTimer->setInterval(0);
    connect(pendingTimer, &QTimer::timeout, this, [this] { emitPendingLines(pendingBudgetNs); });
    resumeTimer = new QTimer(this);
    resumeTimer->setSingleShot(true);
    resumeTimer->setInterval(0);
    connect(resumeTimer, &QTimer::timeout, this, [this] {
        // Only what is still queued; the end of the run is reported where it happens.
        if (!queue.isEmpty())
            startRemainingProcesses();
    });
}

CorvaneProcessRunner::~CorvaneProcessRunner()
{
    // The processes are children and die with the runner; make sure none of
    // them reports back into a half-destroyed object.
    for (const auto& state : running)
        state->process->disconnect(this);
}

void CorvaneProcessRunner::enqueueTask(const CorvaneProcessTask& task)
{
    queue.append(task);
}

void CorvaneProcessRunner::setExecutablePath(const QString& path)
{
    executablePath = path;
}

void CorvaneProcessRunner::setMaxConcurrentProcesses(int count)
{
    maxConcurrentProcesses = count;
}

void CorvaneProcessRunner::refreshExecutablePath()
{
    setExecutablePath(executableOverride.isEmpty() ? Settings::executable() : executableOverride);
}

void CorvaneProcessRunner::overrideExecutablePath(const QString& path)
{
    executableOverride = path;
    refreshExecutablePath();
}

void CorvaneProcessRunner::refreshMaxConcurrentProcesses()
{
    setMaxConcurrentProcesses(concurrencyOverride > 0 ? concurrencyOverride
                                                      : Settings::maxConcurrentProcessesSetting());
}

void CorvaneProcessRunner::overrideMaxConcurrentProcesses(int count)
{
    concurrencyOverride = count;
    refreshMaxConcurrentProcesses();
}

QString CorvaneProcessRunner::getExecutablePath() const
{
    if (!executablePath.isEmpty())
        return executablePath;
    return QCoreApplication::applicationDirPath() + QStringLiteral("/corvane");
}

void CorvaneProcessRunner::start()
{
    refreshExecutablePath();
    refreshMaxConcurrentProcesses();
    startRemainingProcesses();
}

void CorvaneProcessRunner::clearQueue()
{
    queue.clear();
}

void CorvaneProcessRunner::abortTasksNotYetStarted()
{
    while (!queue.isEmpty())
        emit taskAborted(queue.takeFirst().id);
}

void CorvaneProcessRunner::finishIfIdle()
{
    if (queue.isEmpty() && running.empty())
        emit allTasksFinished();
}

void CorvaneProcessRunner::killRunningProcesses()
{
    // Asked first, so the tool can leave its adapter in order; whatever still runs after
    // the grace period is killed. Each process reports its end through its own finish handler.
    for (const auto& state : running)
        state->process->terminate();
    QTimer::singleShot(killGraceMs, this, [this] {
        for (const auto& state : running)
            state->process->kill();
    });
}

void CorvaneProcessRunner::startRemainingProcesses()
{
    if (queue.isEmpty()) {
        if (running.empty())
            emit allTasksFinished();
        return;
    }
    if (int(running.size()) >= maxConcurrentProcesses)
        return;
    // Starts already put off to the next turn wait for it, however many processes end meanwhile.
    if (resumeTimer->isActive())
        return;

    QElapsedTimer clock;
    clock.start();
    int starts = 0;
    while (true) {
        const CorvaneProcessTask task = queue.takeFirst();

        auto state = std::make_unique<ProcessState>();
        auto* process = new SpawnedProcess(this);
        process->setOwnProcessGroup(true);
        state->process = process;
        state->id = task.id;
        state->arguments = task.arguments;
        state->timeout = task.timeout;
        connect(process, &SpawnedProcess::readyReadStandardOutput, this,
                [this, process] { onStandardOutput(process); });
        connect(process, &SpawnedProcess::readyReadStandardError, this,
                [this, process] { onStandardError(process); });
        connect(process, &SpawnedProcess::finished, this,
                [this, process](int exitCode, bool crashed) { onFinished(process, exitCode, crashed); });

        // The timer runs from before the start, so a slow start counts too.
        if (task.timeout > 0) {
            state->timer = new QTimer(this);
            state->timer->setSingleShot(true);
            connect(state->timer, &QTimer::timeout, this, [this, process] { onTimeout(process); });
            state->timer->start(task.timeout);
        }

        // The start returns once the tool runs or has failed to: the wait is the kernel's
        // own, well within the bound a start may take.
        if (!process->start(getExecutablePath(), task.arguments)) {
            // The task is dropped without a signal; what is left in the queue
            // waits until another process finishes.
            process->disconnect(this);
            process->deleteLater();
            if (state->timer) {
                state->timer->stop();
                state->timer->deleteLater();
            }
            return;
        }

        // The tool waits on its adapter most of the time; when many instances
        // print as fast as they can, the window must still get its turn.
        process->lowerPriority(childPriorityDecrease);
        running.push_back(std::move(state));
        emit processStarted(task.id);

        if (queue.isEmpty()) {
            if (running.empty())
                emit allTasksFinished();
            return;
        }
        if (int(running.size()) >= maxConcurrentProcesses)
            return;
        if (++starts >= startsBeforeBudget && clock.nsecsElapsed() > startBudgetNs) {
            resumeTimer->start();
            return;
        }
    }
}

CorvaneProcessRunner::ProcessState* CorvaneProcessRunner::stateOf(const SpawnedProcess* process) const
{
    for (const auto& state : running)
        if (state->process == process)
            return state.get();
    return nullptr;
}

void CorvaneProcessRunner::onStandardOutput(SpawnedProcess* process)
{
    ProcessState* state = stateOf(process);
    const QByteArray chunk = process->readAllStandardOutput();
    if (!state)
        return;
    state->stdoutData.append(chunk);
    boundOutput(*state);
    if (pendingChunks.empty() && chunk.size() <= immediateChunkBytes) {
        emitLines(state->id, chunk);
        return;
    }
    if (pendingBytes + chunk.size() > maxPendingBytes) {
        emitPendingLines();
        emitLines(state->id, chunk);
        return;
    }
    pendingChunks.emplace_back(state->id, chunk);
    pendingBytes += chunk.size();
    pendingTimer->start();
}

void CorvaneProcessRunner::emitPendingLines(qint64 budgetNs)
{
    QElapsedTimer clock;
    clock.start();
    while (!pendingChunks.empty() && (budgetNs < 0 || clock.nsecsElapsed() < budgetNs)) {
        const std::pair<QString, QByteArray> chunk = std::move(pendingChunks.front());
        pendingChunks.pop_front();
        pendingBytes -= chunk.second.size();
        emitLines(chunk.first, chunk.second);
    }
    if (pendingChunks.empty())
        pendingTimer->stop();
}

void CorvaneProcessRunner::emitLines(const QString& id, const QByteArray& chunk)
{
    // Each chunk is split on its own: a line cut across two chunks is
    // reported as two lines.
    if (isAscii(chunk)) {
        // The same lines as through text below, without decoding and encoding
        // every line: streaming output is almost always plain ASCII.
        int start = 0;
        while (start < chunk.size()) {
            int end = chunk.indexOf('\n', start);
            if (end < 0)
                end = chunk.size();
            if (end > start)
                emit processFeedback(id, chunk.mid(start, end - start).trimmed());
            start = end + 1;
        }
        return;
    }
    const QStringList lines = QString::fromUtf8(chunk).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (const QString& line : lines)
        emit processFeedback(id, line.trimmed().toUtf8());
}

void CorvaneProcessRunner::onStandardError(SpawnedProcess* process)
{
    ProcessState* state = stateOf(process);
    const QByteArray chunk = process->readAllStandardError();
    if (state)
        state->stderrData.append(chunk);
}

void CorvaneProcessRunner::onTimeout(SpawnedProcess* process)
{
    if (ProcessState* state = stateOf(process))
        state->timedOut = true;
    process->terminate();
    process->kill();
}

void CorvaneProcessRunner::onFinished(SpawnedProcess* process, int exitCode, bool crashed)
{
    // Every line reported so far comes before the end of any task.
    emitPendingLines();
    auto it = std::find_if(running.begin(), running.end(),
                           [process](const auto& state) { return state->process == process; });
    if (it == running.end())
        return;
    std::unique_ptr<ProcessState> state = std::move(*it);
    running.erase(it);

    if (state->timer)
        state->timer->stop();

    // Output that arrived together with the end is still part of the result.
    state->stdoutData.append(process->readAllStandardOutput());
    boundOutput(*state);
    state->stderrData.append(process->readAllStandardError());

    CorvaneProcessResult result;
    result.id = state->id;
    result.exitCode = exitCode;
    result.crashed = crashed || state->timedOut;
    result.timedOut = state->timedOut;
    result.stdoutData = collectedOutput(*state);
    result.stderrData = state->stderrData;

    process->disconnect(this);
    process->deleteLater();
    if (state->timer)
        state->timer->deleteLater();
    state.reset();

    emit taskFinished(result);
    startRemainingProcesses();
}

void CorvaneProcessRunner::boundOutput(ProcessState& state)
{
    QByteArray& data = state.stdoutData;
    if (data.size() <= keptHeadBytes + 2 * keptTailBytes)
        return;
    if (state.headEnd < 0) {
        const int lineEnd = data.lastIndexOf('\n', keptHeadBytes - 1);
        state.headEnd = lineEnd >= 0 ? lineEnd + 1 : keptHeadBytes;
    }
    const int from = state.headEnd;
    // The tail starts with a whole line where there is one.
    int to = data.size() - keptTailBytes;
    const int lineEnd = data.indexOf('\n', to);
    if (lineEnd >= 0 && lineEnd + 1 < data.size())
        to = lineEnd + 1;

    const int found = data.lastIndexOf(actionLineStart, to - 2);
    if (found >= from - 1 && found >= 0) {
        const int start = found + 1;
        const int end = data.indexOf('\n', start);
        state.lastOmittedActionLine = data.mid(start, (end < 0 || end > to ? to : end) - start);
    }
    state.omittedBytes += to - from;
    data.remove(from, to - from);
}

QByteArray CorvaneProcessRunner::collectedOutput(const ProcessState& state)
{
    if (state.headEnd < 0)
        return state.stdoutData;
    QByteArray output = state.stdoutData.left(state.headEnd);
    if (!output.isEmpty() && !output.endsWith('\n'))
        output.append('\n');
    output.append(tr("[%1 bytes of output left out]").arg(state.omittedBytes).toUtf8());
    output.append('\n');
    if (!state.lastOmittedActionLine.isEmpty())
        output.append(state.lastOmittedActionLine).append('\n');
    output.append(state.stdoutData.mid(state.headEnd));
    return output;
}
