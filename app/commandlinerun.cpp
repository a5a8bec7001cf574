#include "commandlinerun.h"

#include "batchutil.h"
#include "bundlearchive.h"
#include "corvaneexecutable.h"
#include "corvaneprocessrunner.h"
#include "jobchecks.h"
#include "jobexecution.h"
#include "jobrunengine.h"
#include "runrecorder.h"
#include "runreport.h"
#include "settingsutil.h"
#include "storesettings.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QTextStream>
#include <QTimer>

namespace {

constexpr int progressRefreshMs = 250;
constexpr int maxConcurrency = 100;
constexpr int maxTimeoutSeconds = 24 * 60 * 60;
// How long the end of a run waits for the production store to take its last results.
constexpr int storeSettleMs = 15000;

const QString runOption = QStringLiteral("run");
const QString concurrencyOption = QStringLiteral("concurrency");
const QString timeoutOption = QStringLiteral("timeout");
const QString logDirOption = QStringLiteral("log-dir");
const QString noLogsOption = QStringLiteral("no-logs");
const QString devicesOption = QStringLiteral("devices");
const QString reportOption = QStringLiteral("report");
const QString corvaneOption = QStringLiteral("corvane");
const QString databaseOption = QStringLiteral("database");
const QString helpOption = QStringLiteral("help");
const QString versionOption = QStringLiteral("version");

// A whole number within [low, high], else -1.
int boundedNumber(const QString& text, int low, int high)
{
    bool ok = false;
    const int value = text.toInt(&ok);
    return ok && value >= low && value <= high ? value : -1;
}

} // namespace

CommandLineRun::CommandLineRun(QTextStream& out, QTextStream& err, bool interactive, QObject* parent)
    : QObject(parent), out(out), err(err), interactive(interactive)
{}

CommandLineRun::~CommandLineRun() = default;

bool CommandLineRun::isCommandLine(const QStringList& arguments)
{
    for (const QString& argument : arguments.mid(1)) {
        const QString name = argument.section(QLatin1Char('='), 0, 0);
        if (name == QLatin1String("--run") || name == QLatin1String("--help") ||
            name == QLatin1String("--version"))
            return true;
    }
    return false;
}

QString CommandLineRun::noDisplayMessage(const QStringList& arguments)
{
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        if (!qEnvironmentVariableIsEmpty(name))
            return QString();
    QString job;
    for (const QString& argument : arguments.mid(1)) {
        if (argument == QLatin1String("-platform") || argument.startsWith(QLatin1String("-platform=")))
            return QString();
        if (job.isEmpty() && !argument.startsWith(QLatin1Char('-')))
            job = argument;
    }
    return tr("harnwick: no display: use harnwick --run %1 to run it without a window")
        .arg(job.isEmpty() ? QStringLiteral("JOB.hwj") : job);
}

int CommandLineRun::usageError(const QString& message)
{
    err << tr("harnwick: %1").arg(message) << '\n'
        << tr("Try \"harnwick --help\" for the options.") << Qt::endl;
    return CannotRun;
}

void CommandLineRun::printHelp()
{
    out << tr("Usage: harnwick --run BUNDLE.hwj [options]\n"
              "\n"
              "Runs the job of a job bundle on the bundle's checked devices without a window:\n"
              "one Corvane process per device, with the same invocations as the window's Run.\n"
              "Defaults come from the window's settings (Corvane executable, concurrency,\n"
              "timeout, logging and log folder).\n"
              "\n"
              "Options:\n"
              "  --run BUNDLE.hwj     the job bundle to run\n"
              "  --concurrency N      run at most N devices at once (1 to 100)\n"
              "  --timeout SECONDS    time limit passed to Corvane for each device\n"
              "  --log-dir DIR        write one log file per device into DIR\n"
              "  --no-logs            write no log files\n"
              "  --devices ID[,ID...] run only these devices of the bundle (serial number,\n"
              "                       or IP address for devices without one), checked or not\n"
              "  --corvane PATH       the Corvane executable for this run (instead of the\n"
              "                       one set in the window's settings)\n"
              "  --report FILE        write the run's report (CSV) to FILE as well (its folder\n"
              "                       must exist); with logging on it is always written to\n"
              "                       the log folder\n"
              "  --database URL       keep the run in this production database instead of\n"
              "                       the one in the settings: sqlite:PATH or\n"
              "                       postgresql://user@host:port/dbname (?host=/socket/dir)\n"
              "  --help               show this help\n"
              "  --version            show the version\n"
              "\n"
              "Ctrl+C aborts the devices not yet started and lets running ones finish;\n"
              "a second Ctrl+C ends the running ones too.\n"
              "\n"
              "Exit status: 0 when every device ran its job successfully, 1 when a device\n"
              "failed, crashed, was aborted or never started, 2 when the run could not start\n"
              "(bad options, an unreadable bundle, a job that would fail on every device, such\n"
              "as a missing image file, or a Corvane executable that cannot run).")
        << Qt::endl;
}

int CommandLineRun::exec(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    parser.addOptions({{runOption, QString(), QStringLiteral("bundle")},
                       {concurrencyOption, QString(), QStringLiteral("n")},
                       {timeoutOption, QString(), QStringLiteral("seconds")},
                       {logDirOption, QString(), QStringLiteral("dir")},
                       {noLogsOption, QString()},
                       {devicesOption, QString(), QStringLiteral("ids")},
                       {reportOption, QString(), QStringLiteral("file")},
                       {corvaneOption, QString(), QStringLiteral("path")},
                       {databaseOption, QString(), QStringLiteral("url")},
                       {helpOption, QString()},
                       {versionOption, QString()}});
    if (!parser.parse(arguments))
        return usageError(parser.errorText());
    if (parser.isSet(helpOption)) {
        printHelp();
        return AllDone;
    }
    if (parser.isSet(versionOption)) {
        out << QStringLiteral("Harnwick %1").arg(QCoreApplication::applicationVersion()) << Qt::endl;
        return AllDone;
    }
    if (!parser.positionalArguments().isEmpty())
        return usageError(tr("Unexpected argument \"%1\".").arg(parser.positionalArguments().constFirst()));
    const QString bundlePath = parser.value(runOption);
    if (bundlePath.isEmpty())
        return usageError(tr("No job bundle given: name one with --run BUNDLE.hwj."));
    if (parser.isSet(logDirOption) && parser.isSet(noLogsOption))
        return usageError(tr("--log-dir and --no-logs cannot be used together."));
    // A number option within [1, high], else the given default; -1 when the value is not one.
    const auto number = [&parser](const QString& option, int high, int absent) {
        return parser.isSet(option) ? boundedNumber(parser.value(option), 1, high) : absent;
    };
    const int concurrency = number(concurrencyOption, maxConcurrency, 0);
    if (concurrency < 0)
        return usageError(tr("--concurrency takes a whole number from 1 to %1, not \"%2\".")
                              .arg(maxConcurrency)
                              .arg(parser.value(concurrencyOption)));
    const int timeoutSeconds = number(timeoutOption, maxTimeoutSeconds, Settings::processTimeoutSeconds());
    if (timeoutSeconds < 0)
        return usageError(tr("--timeout takes a whole number of seconds from 1 to %1, not \"%2\".")
                              .arg(maxTimeoutSeconds)
                              .arg(parser.value(timeoutOption)));

    if (parser.isSet(reportOption)) {
        const QString problem = RunReport::pathProblem(parser.value(reportOption));
        if (!problem.isEmpty()) {
            err << tr("harnwick: %1").arg(problem) << Qt::endl;
            return CannotRun;
        }
    }

    // A production database that cannot be named stops the run before it starts; one away does not.
    QString storeError;
    const StoreLocation storeLocation =
        parser.isSet(databaseOption) ? StoreLocation::fromUrl(parser.value(databaseOption), &storeError)
                                     : StoreSettings::location(&storeError);
    if (!storeLocation.isValid()) {
        err << tr("harnwick: %1").arg(storeError) << Qt::endl;
        return CannotRun;
    }

    // The bundle, read as the window loads it.
    const QString shownPath = QDir::toNativeSeparators(bundlePath);
    if (!QFileInfo(bundlePath).isFile()) {
        err << tr("harnwick: The job bundle \"%1\" does not exist or is not a file.").arg(shownPath)
            << Qt::endl;
        return CannotRun;
    }
    const QString notArchive = BundleArchive::notArchiveReason(bundlePath);
    if (!notArchive.isEmpty()) {
        err << tr("harnwick: %1 is not a valid job bundle (not a zip archive): %2").arg(shownPath, notArchive)
            << Qt::endl;
        return CannotRun;
    }
    // Hashed before reading: the report names the file as it was when the job was taken from it.
    const QString fileSha256 = RunReport::sha256OfFile(bundlePath);
    BatchUtil batchUtil;
    QStringList readErrors;
    connect(&batchUtil, &BatchUtil::errorEncountered, this,
            [&readErrors](const QString& message) { readErrors << message; });
    JobRunRequest request;
    QStringList storedVariables;
    if (!batchUtil.bundleRead(bundlePath, request.steps, request.bundleDevices, request.debugOptionsApplied,
                              request.debugInterface, request.debugSpeed, storedVariables)) {
        // An archive the reader cannot unpack is not a bundle either; its own commands stay out.
        const QStringList details = BundleArchive::userFacingMessages(readErrors);
        err << tr("harnwick: %1 is not a valid job bundle: %2")
                   .arg(shownPath,
                        details.isEmpty() ? tr("it cannot be unpacked.") : details.join(QLatin1Char(' ')))
            << Qt::endl;
        return CannotRun;
    }
    request.jobFile = QFileInfo(bundlePath).absoluteFilePath();
    request.jobFileSha256 = fileSha256;
    request.storeUrl = storeLocation.url();
    // The variables come from the steps as the window finds them, not from the stored list.
    request.variableNames = JobExecution::variableNamesOfSteps(request.steps);

    QStringList wanted;
    for (const QString& id : parser.value(devicesOption).split(QLatin1Char(','), Qt::SkipEmptyParts))
        if (!id.trimmed().isEmpty())
            wanted << id.trimmed();
    if (parser.isSet(devicesOption) && wanted.isEmpty())
        return usageError(tr("--devices takes a list of device ids separated by commas."));
    QStringList found;
    for (const BatchUtil::DeviceEntry& entry : qAsConst(request.bundleDevices)) {
        const JobDevice device = JobExecution::jobDeviceFromEntry(entry);
        const QString id = JobExecution::deviceId(device);
        if (wanted.isEmpty() ? entry.selected : wanted.contains(id)) {
            request.devices << device;
            found << id;
        }
    }
    for (const QString& id : qAsConst(wanted))
        if (!found.contains(id))
            return usageError(tr("Device \"%1\" is not in the job bundle \"%2\".").arg(id, shownPath));
    if (request.devices.isEmpty()) {
        err << tr("harnwick: The job bundle \"%1\" has no checked devices; name the devices to run with "
                  "--devices.")
                   .arg(shownPath)
            << Qt::endl;
        return CannotRun;
    }

    // The window's checks before Run, so a headless run fails at once on what can be known.
    QList<JobCheckAction> actions;
    for (const auto& step : qAsConst(request.steps))
        actions.append({true, step.value(QStringLiteral("enabled")).toBool(), step});
    const QStringList problems =
        JobChecks::problems(actions, request.devices, {request.debugInterface, request.debugSpeed});
    for (const QString& problem : problems)
        err << tr("harnwick: %1").arg(problem) << Qt::endl;
    if (!problems.isEmpty())
        return CannotRun;

    runner = new CorvaneProcessRunner(this);
    if (concurrency > 0)
        runner->overrideMaxConcurrentProcesses(concurrency);
    if (parser.isSet(corvaneOption))
        runner->overrideExecutablePath(parser.value(corvaneOption));
    const QString executable = runner->getExecutablePath();
    if (!CorvaneExecutable::answersBatchHelp(executable)) {
        err << tr("harnwick: The Corvane executable \"%1\" cannot be run (it must answer \"batch -h\"). Set "
                  "its path with --corvane PATH or in the window's Settings menu.")
                   .arg(QDir::toNativeSeparators(executable))
            << Qt::endl;
        return CannotRun;
    }

    request.logging =
        parser.isSet(logDirOption) || (!parser.isSet(noLogsOption) && Settings::loggingEnabled());
    request.logDirectory =
        parser.isSet(logDirOption) ? parser.value(logDirOption) : Settings::logFileDirectory();
    request.timeoutSeconds = timeoutSeconds;
    if (parser.isSet(reportOption))
        request.reportPaths << parser.value(reportOption);
    if (request.logging)
        request.reportPaths
            << QDir(request.logDirectory).absoluteFilePath(RunReport::fileName(QDateTime::currentDateTime()));

    engine = new JobRunEngine(runner, this);
    // Watching first: a device's result is in the journal before its line is printed.
    RunRecorder recorder(storeLocation);
    recorder.setJobFile(QFileInfo(bundlePath).absoluteFilePath());
    recorder.watch(engine);
    int refused = 0;
    connect(engine, &JobRunEngine::errorEncountered, this,
            [this](const QString& message) { printLine(tr("harnwick: %1").arg(message), err); });
    connect(engine, &JobRunEngine::deviceRefused, this,
            [this, &refused](const QString& id, const QString& why) {
                // A busy device stays among the run's devices as not started; others leave it.
                if (!engine->device(id))
                    ++refused;
                printLine(outcomeLine(tr("NOT STARTED"), id, nicknameOf(id), why), out);
            });
    connect(engine, &JobRunEngine::deviceFinished, this, &CommandLineRun::printOutcome);
    connect(engine, &JobRunEngine::deviceAborted, this, &CommandLineRun::printAborted);
    QEventLoop loop;
    connect(engine, &JobRunEngine::runFinished, &loop, &QEventLoop::quit);
    if (!engine->start(request))
        return CannotRun;
    if (interactive) {
        progressTimer = new QTimer(this);
        connect(progressTimer, &QTimer::timeout, this, &CommandLineRun::drawProgress);
        progressTimer->start(progressRefreshMs);
        drawProgress();
    }
    if (interrupts > 0)
        engine->abortWaitingDevices();
    if (interrupts > 1)
        engine->killRunningDevices();
    if (engine->isRunning())
        loop.exec();
    if (progressTimer)
        progressTimer->stop();

    for (const JobDeviceRun& run : engine->devices())
        if (run.state == JobDeviceState::NotStarted && run.refusal.isEmpty())
            printLine(outcomeLine(tr("NOT STARTED"), run.id, nicknameOf(run.id)), out);
    const JobRunCounts counts = engine->counts();
    const int devices = counts.total() + refused;
    printLine((devices == 1
                   ? tr("%1 device: %2 done, %3 failed, %4 crashed, %5 aborted, %6 not started, in %7")
                   : tr("%1 devices: %2 done, %3 failed, %4 crashed, %5 aborted, %6 not started, in %7"))
                  .arg(devices)
                  .arg(counts.done)
                  .arg(counts.failed)
                  .arg(counts.crashed)
                  .arg(counts.aborted)
                  .arg(counts.notStarted + refused)
                  .arg(JobExecution::elapsedText(engine->elapsedMs())),
              out);
    // A store away keeps the results in the journal; the exit status stays the devices'.
    if (!recorder.settle(storeSettleMs))
        printLine(tr("harnwick: %1").arg(RunRecorder::unreachableText(recorder.waitingResults())), err);
    return counts.unsuccessful() + refused == 0 ? AllDone : SomeUnsuccessful;
}

QString CommandLineRun::nicknameOf(const QString& id) const
{
    const JobDeviceRun* run = engine ? engine->device(id) : nullptr;
    return run && !run->device.nickname.isEmpty() ? run->device.nickname : QStringLiteral("-");
}

QString CommandLineRun::outcomeLine(const QString& outcome, const QString& id, const QString& nickname,
                                    const QString& details)
{
    // The outcome in a column of its own, so the lines read as a table.
    QString line = outcome.leftJustified(11) + QStringLiteral("  ") + id + QStringLiteral("  ") + nickname;
    if (!details.isEmpty())
        line += QStringLiteral("  ") + details;
    return line;
}

void CommandLineRun::printOutcome(const JobDeviceRun& run)
{
    const QString elapsed = JobExecution::elapsedText(run.elapsedMs);
    const QString nickname = nicknameOf(run.id);
    if (run.state == JobDeviceState::Done) {
        printLine(outcomeLine(tr("DONE"), run.id, nickname, elapsed), out);
        return;
    }
    QString reason = JobExecution::failureLine(run.output, run.errorOutput);
    if (run.state == JobDeviceState::Aborted) {
        reason = tr("ended on request");
    } else if (run.state == JobDeviceState::Crashed) {
        const QString how =
            run.timedOut ? tr("the process hit its time limit") : tr("the process was ended by a signal");
        reason = reason.isEmpty() ? how : tr("%1; last line: %2").arg(how, reason);
    } else if (reason.isEmpty()) {
        reason = tr("exit code %1").arg(run.exitCode);
    }
    const QString where = run.action < 0 ? tr("before any action") : tr("during action %1").arg(run.action);
    const QString word = run.state == JobDeviceState::Crashed   ? tr("CRASHED")
                         : run.state == JobDeviceState::Aborted ? tr("ABORTED")
                                                                : tr("FAILED");
    printLine(outcomeLine(word, run.id, nickname, tr("%1  %2: %3").arg(elapsed, where, reason)), out);
}

void CommandLineRun::printAborted(const QString& id)
{
    printLine(outcomeLine(tr("ABORTED"), id, nicknameOf(id)), out);
}

void CommandLineRun::printLine(const QString& line, QTextStream& stream)
{
    // The progress line is redrawn below whatever is printed.
    if (progressShown) {
        out << "\r\033[K";
        out.flush();
        progressShown = false;
    }
    stream << line << Qt::endl;
    if (progressTimer && progressTimer->isActive())
        drawProgress();
}

void CommandLineRun::drawProgress()
{
    if (!interactive || !engine)
        return;
    out << "\r\033[K" << jobRunTotalsText(engine->counts(), engine->elapsedMs(), false);
    out.flush();
    progressShown = true;
}

void CommandLineRun::interrupt()
{
    ++interrupts;
    if (!engine || !engine->isRunning())
        return;
    if (interrupts == 1) {
        printLine(tr("harnwick: Stopping: devices not yet started are aborted, running devices finish their "
                     "job. Press Ctrl+C again to end them now."),
                  err);
        engine->abortWaitingDevices();
    } else if (interrupts == 2) {
        printLine(tr("harnwick: Ending the running devices now."), err);
        engine->killRunningDevices();
    }
}
