#include "stationcommandline.h"

#include "batchutil.h"
#include "corvaneexecutable.h"
#include "corvaneprocessrunner.h"
#include "jobchecks.h"
#include "jobexecution.h"
#include "settingsutil.h"
#include "stationallowlist.h"
#include "stationengine.h"
#include "stationsession.h"
#include "storesettings.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QTextStream>

namespace {

const QString stationOption = QStringLiteral("station");
const QString lotOption = QStringLiteral("lot");
const QString quantityOption = QStringLiteral("quantity");
const QString triggerOption = QStringLiteral("trigger");
const QString allowOption = QStringLiteral("allow");
const QString settleOption = QStringLiteral("settle");
const QString pollOption = QStringLiteral("poll");
const QString databaseOption = QStringLiteral("database");

constexpr int maxQuantity = 10000000;
constexpr int maxSettleMs = 600000;
constexpr int minPollMs = 50;
constexpr int maxPollMs = 60000;

// A whole number within [low, high], else -1.
int boundedNumber(const QString& text, int low, int high)
{
    bool ok = false;
    const int value = text.trimmed().toInt(&ok);
    return ok && value >= low && value <= high ? value : -1;
}

} // namespace

StationCommandLine::StationCommandLine(QTextStream& out, QTextStream& err, QObject* parent)
    : QObject(parent), out(out), err(err)
{}

StationCommandLine::~StationCommandLine() = default;

bool StationCommandLine::isStation(const QStringList& arguments)
{
    for (const QString& argument : arguments.mid(1)) {
        if (argument.section(QLatin1Char('='), 0, 0) == QLatin1String("--station"))
            return true;
    }
    return false;
}

int StationCommandLine::usageError(const QString& message)
{
    err << tr("harnwick: %1").arg(message) << '\n'
        << tr("Usage: harnwick --station BUNDLE.hwj --lot NAME --quantity N [--trigger adapter|target] "
              "[--allow PATTERN[,PATTERN...]] [--settle MS] [--poll MS] [--database URL]")
        << Qt::endl;
    return BadUsage;
}

int StationCommandLine::exec(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    parser.addOptions({{stationOption, QString(), QStringLiteral("bundle")},
                       {lotOption, QString(), QStringLiteral("name")},
                       {quantityOption, QString(), QStringLiteral("n")},
                       {triggerOption, QString(), QStringLiteral("trigger")},
                       {allowOption, QString(), QStringLiteral("patterns")},
                       {settleOption, QString(), QStringLiteral("ms")},
                       {pollOption, QString(), QStringLiteral("ms")},
                       {databaseOption, QString(), QStringLiteral("url")}});
    if (!parser.parse(arguments))
        return usageError(parser.errorText());
    if (!parser.positionalArguments().isEmpty())
        return usageError(tr("Unexpected argument \"%1\".").arg(parser.positionalArguments().constFirst()));
    const QString bundlePath = parser.value(stationOption);
    if (bundlePath.isEmpty())
        return usageError(tr("No job bundle given: name one with --station BUNDLE.hwj."));
    lot = parser.value(lotOption).trimmed();
    if (lot.isEmpty())
        return usageError(tr("No lot given: name one with --lot NAME."));
    quantity = boundedNumber(parser.value(quantityOption), 1, maxQuantity);
    if (quantity < 0)
        return usageError(tr("--quantity takes a whole number from 1 to %1, not \"%2\".")
                              .arg(maxQuantity)
                              .arg(parser.value(quantityOption)));
    StationOptions options;
    const QString trigger = parser.value(triggerOption);
    if (trigger == QLatin1String("target"))
        options.trigger = StationOptions::Trigger::Target;
    else if (!trigger.isEmpty() && trigger != QLatin1String("adapter"))
        return usageError(tr("--trigger takes \"adapter\" or \"target\", not \"%1\".").arg(trigger));
    if (parser.isSet(allowOption)) {
        options.allowPatterns = StationAllowList::splitPatterns(parser.value(allowOption));
        if (options.allowPatterns.isEmpty())
            return usageError(tr("--allow takes serial number or nickname patterns separated by commas."));
    }
    if (parser.isSet(settleOption)) {
        options.settleMs = boundedNumber(parser.value(settleOption), 0, maxSettleMs);
        if (options.settleMs < 0)
            return usageError(tr("--settle takes a whole number of milliseconds from 0 to %1, not \"%2\".")
                                  .arg(maxSettleMs)
                                  .arg(parser.value(settleOption)));
    }
    if (parser.isSet(pollOption)) {
        options.pollMs = boundedNumber(parser.value(pollOption), minPollMs, maxPollMs);
        if (options.pollMs < 0)
            return usageError(tr("--poll takes a whole number of milliseconds from %1 to %2, not \"%3\".")
                                  .arg(minPollMs)
                                  .arg(maxPollMs)
                                  .arg(parser.value(pollOption)));
    }

    const QString shownPath = QDir::toNativeSeparators(bundlePath);
    if (!QFileInfo(bundlePath).isFile())
        return usageError(tr("The job bundle \"%1\" does not exist or is not a file.").arg(shownPath));
    BatchUtil batchUtil;
    QStringList readErrors;
    connect(&batchUtil, &BatchUtil::errorEncountered, this,
            [&readErrors](const QString& message) { readErrors << message; });
    JobRunRequest job;
    QStringList storedVariables;
    if (!batchUtil.bundleRead(bundlePath, job.steps, job.bundleDevices, job.debugOptionsApplied,
                              job.debugInterface, job.debugSpeed, storedVariables))
        return usageError(
            tr("Cannot read the job bundle \"%1\": %2").arg(shownPath, readErrors.join(QLatin1Char(' '))));
    job.variableNames = JobExecution::variableNamesOfSteps(job.steps);
    QList<JobCheckAction> actions;
    for (const auto& step : qAsConst(job.steps))
        actions.append({true, step.value(QStringLiteral("enabled")).toBool(), step});
    const QString problem = JobChecks::firstProblem(actions, {}, {job.debugInterface, job.debugSpeed});
    if (!problem.isEmpty())
        return usageError(problem);
    const QString executable = Settings::executable();
    if (!CorvaneExecutable::answersBatchHelp(executable))
        return usageError(tr("The Corvane executable \"%1\" cannot be run (it must answer \"batch -h\"). Set "
                             "its path in the window's Settings menu.")
                              .arg(QDir::toNativeSeparators(executable)));
    // The lot lives in the production store: its counters survive the program.
    QString storeError;
    const StoreLocation location = parser.isSet(databaseOption)
                                       ? StoreLocation::fromUrl(parser.value(databaseOption), &storeError)
                                       : StoreSettings::location(&storeError);
    if (!location.isValid())
        return usageError(storeError);
    job.logging = Settings::loggingEnabled();
    job.logDirectory = Settings::logFileDirectory();
    job.timeoutSeconds = Settings::processTimeoutSeconds();
    session = new StationSession(this);
    if (!session->openStore(location, &storeError) ||
        !session->openLot(lot, quantity, QFileInfo(bundlePath).absoluteFilePath(), job, options, &storeError))
        return usageError(storeError);
    engine = session->engine();
    connect(session, &StationSession::unitEnded, this, &StationCommandLine::onUnitFinished);
    connect(engine, &StationEngine::idle, this, &StationCommandLine::finishIfDone);
    connect(session, &StationSession::errorEncountered, this, [this](const QString& message) {
        // A poll that keeps failing says so once, not every poll.
        if (message != lastError)
            err << tr("harnwick: %1").arg(message) << Qt::endl;
        lastError = message;
    });

    out << tr("Station: lot \"%1\", %2 to pass, job \"%3\", %4 trigger")
               .arg(lot)
               .arg(quantity)
               .arg(QFileInfo(bundlePath).fileName(),
                    options.trigger == StationOptions::Trigger::Target ? tr("target") : tr("adapter"))
        << Qt::endl;
    // Units a crash cut short wait for the operator: their boards may be half programmed.
    for (const LotStore::Interrupted& unit : session->interrupted()) {
        out << QStringList{tr("INTERRUPTED"), unit.slot, unit.deviceId,
                           tr("cut short when the program ended; take the board out to try it again")}
                   .join(QStringLiteral("  "))
            << Qt::endl;
    }
    if (session->lotComplete()) {
        out << tr("Lot \"%1\" is complete: %2 of %3 passed. No more units start.")
                   .arg(lot)
                   .arg(session->counts().passed)
                   .arg(quantity)
            << Qt::endl;
        printCounts();
        return Complete;
    }
    QEventLoop eventLoop;
    loop = &eventLoop;
    engine->start();
    if (interrupts == 0)
        eventLoop.exec();
    loop = nullptr;
    engine->stopPolling();
    printCounts();
    return cutShort ? CutShort : Complete;
}

QString StationCommandLine::slotName(const QString& slotId) const
{
    const StationSlot* slot = engine->slot(slotId);
    return slot && !slot->device.nickname.isEmpty() ? slot->device.nickname : slotId;
}

void StationCommandLine::onUnitFinished(const StationUnit& unit)
{
    // Only the second interrupt cuts units short; a unit that failed on its own is the lot's business.
    if (!unit.passed && interrupts > 1)
        cutShort = true;
    QStringList fields{unit.passed ? tr("PASS") : tr("FAIL"), slotName(unit.slotId), unit.deviceId};
    if (!unit.poolValues.isEmpty())
        fields << unit.poolValues.join(QLatin1Char(' '));
    fields << (unit.passed ? tr("done") : unit.outcome) << JobExecution::elapsedText(unit.elapsedMs);
    if (!unit.reason.isEmpty())
        fields << unit.reason;
    out << fields.join(QStringLiteral("  ")) << Qt::endl;

    if (session->lotComplete() && !lotComplete) {
        lotComplete = true;
        out << tr("Lot \"%1\" is complete: %2 of %3 passed. No more units start.")
                   .arg(lot)
                   .arg(session->counts().passed)
                   .arg(quantity)
            << Qt::endl;
    }
    finishIfDone();
}

void StationCommandLine::finishIfDone()
{
    if (!loop || engine->runningCount() > 0)
        return;
    if (lotComplete || interrupts > 0)
        loop->quit();
}

void StationCommandLine::printCounts()
{
    // Failed counts boards whose every try failed; a board re-seated after a failure is tried again.
    const LotCounts& counts = session->counts();
    const int boards = counts.passed + counts.failed;
    QString line = tr("Lot \"%1\": %2 of %3 passed, %4 failed, %5 units")
                       .arg(lot)
                       .arg(counts.passed)
                       .arg(quantity)
                       .arg(counts.failed)
                       .arg(counts.units);
    if (boards > 0)
        line += tr(", first-pass yield %1%, final yield %2%")
                    .arg(counts.firstPassYield(), 0, 'f', 1)
                    .arg(counts.finalYield(), 0, 'f', 1);
    out << line << Qt::endl;
}

void StationCommandLine::interrupt()
{
    ++interrupts;
    if (!engine)
        return;
    if (interrupts == 1) {
        err << tr("harnwick: Stopping: no new units start, running units finish. Press Ctrl+C again to end "
                  "them "
                  "now.")
            << Qt::endl;
        engine->holdStarts(true);
    } else if (interrupts == 2) {
        err << tr("harnwick: Ending the running units now.") << Qt::endl;
        engine->killRunning();
    }
    finishIfDone();
}
