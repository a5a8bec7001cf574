// Drives the real page, offscreen, against the device simulator (time scale 0) and prints one
// figure per line as "name<TAB>value<TAB>unit"; bench/run repeats it and tabulates. Every mode
// that can be compared with a plain shell run measures that baseline in the same process, so the
// ratio survives a loaded machine.
//
//   page_bench overhead   job of 500 devices at concurrency 16 against xargs -P 16
//   page_bench stream     100 devices streaming 5,000 lines each: longest event-loop gap
//   page_bench start      MainWindow constructed to first paint
//   page_bench scale      1,000-adapter discovery, resident memory, save and load of a large job
//   page_bench trivial [D [C]]  D devices (1,000) at concurrency C (16) with a tool that prints one
//                         line: against xargs -P C, Run click, event-loop gaps, CPU per device
//   page_bench paint      1,000 rows showing a running job's progress: cost of setting and painting it
//   page_bench soak [N]   N jobs (default 300) of 32 devices in one page: memory, descriptors,
//                         threads and temporary files after the first job and after the last

#include "../../tests/support/simulatorrecord.h"
#include "../../tests/support/usersandbox.h"
#include "../benchreplies.h"
#include "bulkaction.h"
#include "bulkoperationswidget.h"
#include "corvaneprocessrunner.h"
#include "corvanereplies.h"
#include "flashingrowstyledelegate.h"
#include "jobrunengine.h"
#include "mainwindow.h"
#include "settingsutil.h"
#include "spawnedprocess.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QGroupBox>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QSettings>
#include <QStackedWidget>
#include <QStandardItemModel>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>
#include <QTreeView>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <sys/resource.h>

namespace {

QString sandboxPath;
constexpr int statusColumn = 6;

void figure(const QByteArray& name, double value, const char* unit)
{
    std::printf("%s\t%.3f\t%s\n", name.constData(), value, unit);
    std::fflush(stdout);
}

void fail(const QString& message)
{
    std::fprintf(stderr, "page_bench: %s\n", qPrintable(message));
    std::exit(1);
}

// CPU time (user and system, or only system) of this process alone, or of its ended children.
double cpuMs(int who = RUSAGE_SELF, bool systemOnly = false)
{
    rusage usage{};
    getrusage(who, &usage);
    const auto ms = [](const timeval& t) {
        return t.tv_sec * 1000.0 + t.tv_usec / 1000.0;
    };
    return (systemOnly ? 0.0 : ms(usage.ru_utime)) + ms(usage.ru_stime);
}

QString sandboxFile(const QString& name)
{
    return QDir(sandboxPath).filePath(name);
}

void writeFile(const QString& path, const QByteArray& contents)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(contents) != contents.size())
        fail(QStringLiteral("cannot write %1").arg(path));
}

// A fleet of USB adapters whose batch runs carry the given faults.
QString writeFleet(int count, const QByteArray& batchFaults)
{
    QByteArray yaml = "adapters:\n";
    for (int i = 0; i < count; ++i) {
        yaml += "  - serial: " + QByteArray::number(801100000 + i) + "\n    part: KM32G101F512\n";
        if (!batchFaults.isEmpty())
            yaml += "    faults: " + batchFaults + "\n";
    }
    const QString path = sandboxFile(QStringLiteral("fleet.yaml"));
    writeFile(path, yaml);
    qputenv("CORVANE_SIM_FLEET", QFile::encodeName(path));
    return path;
}

void setConcurrency(int processes)
{
    SettingsUtil::setSetting(Settings::corvaneGroup, Settings::maxConcurrentProcessesKey, processes);
}

QStandardItemModel* deviceModel(const BulkOperationsWidget& page)
{
    return page.findChild<QStandardItemModel*>(QStringLiteral("deviceSelectorModel"));
}

QPushButton* runButton(const BulkOperationsWidget& page)
{
    return page.findChild<QPushButton*>(QStringLiteral("runButton"));
}

void addDevices(BulkOperationsWidget& page, int count)
{
    // In one batch, as a discovery or a loaded job adds them: the set-up is not what is measured.
    page.deviceSelectorBeginRowBatch();
    for (int i = 0; i < count; ++i)
        page.addDeviceToTable(QString::number(801100000 + i), QString(), QStringLiteral("KM32G101F512"),
                              QStringLiteral("bench-%1").arg(i), true, false, true, true);
    page.deviceSelectorEndRowBatch();
}

// Adds an action through the list and picks its type in the editor, the way a user does.
QGroupBox* addAction(BulkOperationsWidget& page, BulkAction type)
{
    const int id = page.actionSelectorAddAction(true);
    auto* stack = page.findChild<QStackedWidget*>(QStringLiteral("actionEditorStack"));
    for (int index = 1; index < stack->count(); ++index) {
        auto* box = qobject_cast<QGroupBox*>(stack->widget(index));
        if (box && box->property("actionId").toInt() == id) {
            auto* selector = box->findChild<QComboBox*>(QStringLiteral("selector"));
            selector->setCurrentIndex(selector->findData(static_cast<int>(type)));
            return box;
        }
    }
    fail(QStringLiteral("no editor for action %1").arg(id));
    return nullptr;
}

void setWait(QGroupBox* box, const QString& milliseconds)
{
    for (auto* edit : box->findChildren<QLineEdit*>(QStringLiteral("durationLineEdit")))
        edit->setText(milliseconds);
}

void copyTree(const QString& from, const QString& to)
{
    QDirIterator it(from, QDir::Files | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString source = it.next();
        const QString target = to + source.mid(from.size());
        QDir().mkpath(QFileInfo(target).path());
        QFile::copy(source, target);
    }
}

QString shellQuoted(const QString& text)
{
    QString quoted = text;
    quoted.replace(QLatin1Char('\''), QLatin1String("'\\''"));
    return QLatin1Char('\'') + quoted + QLatin1Char('\'');
}

// The shell user's way: the same command lines through xargs, output into a file.
double runXargs(const QList<QStringList>& commands, int parallel,
                const QString& program = QStringLiteral(HARNWICK_SIMULATOR_PATH))
{
    QByteArray lines;
    for (const QStringList& arguments : commands) {
        QStringList words;
        for (const QString& argument : arguments)
            words << shellQuoted(argument);
        lines += words.join(QLatin1Char(' ')).toUtf8() + '\n';
    }
    const QString listPath = sandboxFile(QStringLiteral("commands.txt"));
    writeFile(listPath, lines);
    QProcess xargs;
    xargs.setStandardInputFile(listPath);
    xargs.setStandardOutputFile(sandboxFile(QStringLiteral("xargs-output.txt")));
    xargs.setStandardErrorFile(sandboxFile(QStringLiteral("xargs-errors.txt")));
    QElapsedTimer clock;
    clock.start();
    xargs.start(QStringLiteral("xargs"), {QStringLiteral("-P"), QString::number(parallel),
                                          QStringLiteral("-L"), QStringLiteral("1"), program});
    if (!xargs.waitForFinished(600000) || xargs.exitCode() != 0)
        fail(QStringLiteral("xargs failed with %1").arg(xargs.exitCode()));
    return clock.nsecsElapsed() / 1e6;
}

// A folder of the sandbox where the page's run folders go (TMPDIR).
QString runFolder(const QString& name)
{
    const QString folder = sandboxFile(name);
    QDir().mkpath(folder);
    qputenv("TMPDIR", QFile::encodeName(folder));
    return folder;
}

// The page on screen with `devices` checked rows and a device info action.
void showWithDevices(BulkOperationsWidget& page, int devices)
{
    page.resize(1400, 900);
    page.show();
    addDevices(page, devices);
    addAction(page, BulkAction::LogDeviceInfo);
}

int overhead()
{
    const int devices = 500, parallel = 16;
    writeFleet(devices, "[{command: batch, effect: flood, lines: 20, step: 1}]");
    setConcurrency(parallel);
    const QString recordPath = sandboxFile(QStringLiteral("record.jsonl"));
    qputenv("CORVANE_SIM_RECORD", QFile::encodeName(recordPath));
    const QString runTemp = runFolder(QStringLiteral("tmp"));

    BulkOperationsWidget page;
    showWithDevices(page, devices);
    setWait(addAction(page, BulkAction::Wait), QStringLiteral("0"));
    QApplication::processEvents();

    // The run folder goes when the run ends; keep a copy so the shell run reads the same bundle.
    const QString keptTemp = sandboxFile(QStringLiteral("kept"));
    bool copied = false;
    QObject::connect(page.processRunner(), &CorvaneProcessRunner::processStarted, &page, [&] {
        if (!copied) {
            copied = true;
            copyTree(runTemp, keptTemp);
        }
    });
    QEventLoop loop;
    QObject::connect(page.processRunner(), &CorvaneProcessRunner::allTasksFinished, &loop, &QEventLoop::quit);
    QElapsedTimer clock;
    const double cpuBefore = cpuMs(), childrenBefore = cpuMs(RUSAGE_CHILDREN);
    clock.start();
    runButton(page)->click();
    loop.exec();
    const double harnwickMs = clock.nsecsElapsed() / 1e6;
    // On a machine whose cores the devices' processes keep busy, every millisecond the page
    // spends is one the processes do not get: this is the figure the ratio follows.
    const double pageCpuMs = cpuMs() - cpuBefore;
    const double harnwickProcessesCpuMs = cpuMs(RUSAGE_CHILDREN) - childrenBefore;

    QList<QStringList> commands = recordedBatchArguments(recordPath);
    if (commands.size() != devices)
        fail(QStringLiteral("%1 batch runs recorded, expected %2").arg(commands.size()).arg(devices));
    for (QStringList& arguments : commands) {
        for (QString& argument : arguments)
            argument.replace(runTemp, keptTemp);
    }
    int done = 0;
    for (int row = 0; row < devices; ++row)
        done +=
            deviceModel(page)->index(row, statusColumn).data().toString().startsWith(QLatin1String("DONE"));
    if (done != devices)
        fail(QStringLiteral("%1 of %2 devices DONE").arg(done).arg(devices));
    const double shellChildrenBefore = cpuMs(RUSAGE_CHILDREN);
    const double shellMs = runXargs(commands, parallel);
    const double shellProcessesCpuMs = cpuMs(RUSAGE_CHILDREN) - shellChildrenBefore;
    figure("overhead_harnwick_ms", harnwickMs, "ms");
    figure("overhead_xargs_ms", shellMs, "ms");
    figure("overhead_ratio", harnwickMs / shellMs, "x");
    figure("overhead_page_cpu_ms", pageCpuMs, "ms");
    // The same command lines, timed twice: how much the machine itself varied between the runs.
    figure("overhead_processes_cpu_harnwick_ms", harnwickProcessesCpuMs, "ms");
    figure("overhead_processes_cpu_xargs_ms", shellProcessesCpuMs, "ms");
    return 0;
}

// The longest stretch between two turns of the event loop while `loop` runs, watched with a
// 5 ms timer; the first gap (the click itself) is left out.
class GapWatch : public QObject
{
public:
    qint64 longestNs = 0;
    explicit GapWatch(QObject* parent = nullptr) : QObject(parent)
    {
        ticker.setTimerType(Qt::PreciseTimer);
        ticker.setInterval(5);
        connect(&ticker, &QTimer::timeout, this, [this] {
            const qint64 gap = tick.nsecsElapsed();
            tick.restart();
            if (ticks++ > 0)
                longestNs = std::max(longestNs, gap);
        });
    }
    void start()
    {
        tick.start();
        ticker.start();
    }
    void stop() { ticker.stop(); }

private:
    QTimer ticker;
    QElapsedTimer tick;
    int ticks = 0;
};

// What starting and following processes costs, with a tool that prints one line and ends:
// the page against xargs -P on the same command lines, the time the Run click holds the
// window and the longest event-loop gap after it, and the page's own CPU time per device.
int trivial(int devices, int parallel)
{
    setConcurrency(parallel);
    runFolder(QStringLiteral("tmp"));
    const QString tool = QStringLiteral(HARNWICK_TRIVIAL_TOOL_PATH);
    SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey, tool);
    const QString recordPath = sandboxFile(QStringLiteral("trivial-record.txt"));
    qputenv("TRIVIAL_TOOL_RECORD", QFile::encodeName(recordPath));

    BulkOperationsWidget page;
    showWithDevices(page, devices);
    QApplication::processEvents();
    QEventLoop loop;
    QObject::connect(page.jobRun(), &JobRunEngine::runFinished, &loop, &QEventLoop::quit);

    // A first run records the command lines (and warms up the page).
    runButton(page)->click();
    if (page.jobRun()->isRunning())
        loop.exec();
    qunsetenv("TRIVIAL_TOOL_RECORD");
    QList<QStringList> commands;
    QFile record(recordPath);
    if (record.open(QIODevice::ReadOnly))
        for (const QByteArray& line : record.readAll().split('\n')) {
            // The job's calls, not the check of the executable ("batch -h") or the part query.
            const QStringList arguments = QString::fromUtf8(line).split(QChar(0x1f));
            if (arguments.size() > 2 && arguments.at(1).endsWith(QLatin1String(".hwj")))
                commands << arguments;
        }
    if (commands.size() != devices)
        fail(QStringLiteral("%1 calls recorded, expected %2").arg(commands.size()).arg(devices));

    // A profiler can attach here and see only the measured run.
    if (qEnvironmentVariableIsSet("HARNWICK_BENCH_PAUSE")) {
        std::fprintf(stderr, "page_bench: measuring in 3 s\n");
        QTimer::singleShot(3000, &loop, &QEventLoop::quit);
        loop.exec();
    }
    GapWatch gaps;
    QElapsedTimer clock;
    const double cpuBefore = cpuMs(), systemBefore = cpuMs(RUSAGE_SELF, true);
    clock.start();
    gaps.start();
    runButton(page)->click();
    const double clickMs = clock.nsecsElapsed() / 1e6;
    if (page.jobRun()->isRunning())
        loop.exec();
    const double harnwickMs = clock.nsecsElapsed() / 1e6;
    const double pageCpuMs = cpuMs() - cpuBefore;
    const double pageSystemMs = cpuMs(RUSAGE_SELF, true) - systemBefore;
    gaps.stop();
    if (page.jobRun()->counts().done != devices)
        fail(QStringLiteral("%1 of %2 devices done").arg(page.jobRun()->counts().done).arg(devices));

    const double shellMs = runXargs(commands, parallel, tool);
    const QByteArray prefix =
        "trivial_" + QByteArray::number(devices) + "x" + QByteArray::number(parallel) + "_";
    figure(prefix + "harnwick_ms", harnwickMs, "ms");
    figure(prefix + "xargs_ms", shellMs, "ms");
    figure(prefix + "ratio", harnwickMs / shellMs, "x");
    figure(prefix + "page_cpu_per_device_ms", pageCpuMs / devices, "ms");
    // The part of it spent in the kernel: starting, watching and reaping the processes.
    figure(prefix + "page_system_cpu_per_device_ms", pageSystemMs / devices, "ms");
    figure(prefix + "run_click_ms", clickMs, "ms");
    figure(prefix + "longest_gap_ms", gaps.longestNs / 1e6, "ms");
    return 0;
}

int stream()
{
    const int devices = 100, lines = 5000;
    // Each run floods its lines and then pauses in real time, so the last line stays on screen
    // long enough to be checked; the pauses are cut short afterwards.
    writeFleet(devices, "[{command: batch, effect: flood, lines: " + QByteArray::number(lines) +
                            ", step: 1}, {command: batch, effect: slow_start, delay_ms: 60000, step: 1}]");
    setConcurrency(devices);
    BulkOperationsWidget page;
    showWithDevices(page, devices);
    QApplication::processEvents();

    const QString lastLine = QStringLiteral("Transfer detail %1 of %1").arg(lines);
    QStandardItemModel* model = deviceModel(page);
    auto allShowLastLine = [&] {
        for (int row = 0; row < devices; ++row) {
            if (model->index(row, statusColumn).data().toString() != lastLine)
                return false;
        }
        return true;
    };

    QElapsedTimer clock;
    QEventLoop loop;
    QTimer check;
    check.setInterval(5);
    QObject::connect(&check, &QTimer::timeout, &loop, [&] {
        if (allShowLastLine() || clock.elapsed() > 55000)
            loop.quit();
    });
    // The click itself is reported on its own, the longest gap after it separately.
    GapWatch gaps;
    clock.start();
    gaps.start();
    check.start();
    runButton(page)->click();
    const double runPressedMs = clock.nsecsElapsed() / 1e6;
    loop.exec();
    const double streamedMs = clock.nsecsElapsed() / 1e6;
    const bool complete = allShowLastLine();
    check.stop();
    gaps.stop();

    // Abort leaves running processes alone; the pausing runs are this benchmark's own children.
    QObject::connect(page.processRunner(), &CorvaneProcessRunner::allTasksFinished, &loop, &QEventLoop::quit);
    for (SpawnedProcess* process : page.processRunner()->findChildren<SpawnedProcess*>())
        process->kill();
    loop.exec();
    figure("stream_longest_gap_ms", std::max(runPressedMs, gaps.longestNs / 1e6), "ms");
    figure("stream_run_pressed_ms", runPressedMs, "ms");
    figure("stream_longest_gap_after_starts_ms", gaps.longestNs / 1e6, "ms");
    figure("stream_duration_ms", streamedMs, "ms");
    figure("stream_rows_show_last_line", complete ? 1 : 0, "bool");
    return complete ? 0 : 1;
}

// The running job's progress in every row of a 1,000-row table: what setting it costs per
// refresh, and what a paint of the view costs with and without it. A paint draws only the
// rows on screen, so neither should grow with the table.
int paint()
{
    const int devices = 1000, paints = 50;
    writeFleet(8, QByteArray());
    BulkOperationsWidget page;
    showWithDevices(page, devices);
    QApplication::processEvents();
    auto* view = page.findChild<QTreeView*>(QStringLiteral("deviceSelectorTreeView"));
    QStandardItemModel* model = deviceModel(page);
    const auto paintMs = [&] {
        QElapsedTimer clock;
        clock.start();
        for (int i = 0; i < paints; ++i)
            view->viewport()->repaint();
        return clock.nsecsElapsed() / 1e6 / paints;
    };
    for (int row = 0; row < devices; ++row)
        model->item(row, statusColumn)->setText(QStringLiteral("Programming: 45%"));
    QApplication::processEvents();
    figure("paint_1000_rows_text_ms", paintMs(), "ms");
    QElapsedTimer clock;
    clock.start();
    for (int row = 0; row < devices; ++row) {
        QStandardItem* item = model->item(row, statusColumn);
        item->setData(2, FlashingRowStyleDelegate::ProgressActionRole);
        item->setData(3, FlashingRowStyleDelegate::ProgressActionCountRole);
        item->setData(45, FlashingRowStyleDelegate::ProgressPercentRole);
    }
    figure("progress_set_1000_rows_ms", clock.nsecsElapsed() / 1e6, "ms");
    QApplication::processEvents();
    figure("paint_1000_rows_progress_ms", paintMs(), "ms");
    return 0;
}

class PaintWatcher : public QObject
{
public:
    bool painted = false;
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Paint)
            painted = true;
        return false;
    }
};

int start()
{
    writeFleet(8, QByteArray());
    QElapsedTimer clock;
    clock.start();
    MainWindow window;
    PaintWatcher watcher;
    window.installEventFilter(&watcher);
    window.show();
    while (!watcher.painted)
        QApplication::processEvents(QEventLoop::AllEvents, 5);
    // Let the paint that was just delivered finish and reach the backing store.
    QApplication::processEvents();
    figure("start_ms", clock.nsecsElapsed() / 1e6, "ms");
    return 0;
}

double residentMiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toDouble() / 1024.0;
    }
    return -1;
}

int scale()
{
    const int devices = 1000, actions = 100;
    writeFleet(8, QByteArray());
    {
        BulkOperationsWidget page;
        page.resize(1400, 900);
        page.show();
        QApplication::processEvents();
        CorvaneProcessResult result;
        result.id = CorvaneReplies::usbDiscoveryTaskId;
        result.exitCode = 0;
        result.stdoutData = benchListReply(devices, 801100000, false);
        QElapsedTimer clock;
        clock.start();
        page.deviceSelectorParseDiscoveredDevices(result);
        QApplication::processEvents();
        figure("discovery_1000_ms", clock.nsecsElapsed() / 1e6, "ms");
        if (deviceModel(page)->rowCount() != devices)
            fail(QStringLiteral("%1 rows after discovery").arg(deviceModel(page)->rowCount()));
        figure("resident_1000_rows_mib", residentMiB(), "MiB");
    }

    const QString job = sandboxFile(QStringLiteral("large.hwj"));
    {
        BulkOperationsWidget page;
        page.resize(1400, 900);
        page.show();
        addDevices(page, devices);
        for (int i = 0; i < actions; ++i) {
            if (i % 2)
                addAction(page, BulkAction::LogDeviceInfo);
            else
                setWait(addAction(page, BulkAction::Wait), QString::number(10 + i));
        }
        QApplication::processEvents();
        QElapsedTimer clock;
        clock.start();
        page.saveBatchJob(job);
        figure("save_large_job_ms", clock.nsecsElapsed() / 1e6, "ms");
    }
    {
        BulkOperationsWidget page;
        page.resize(1400, 900);
        page.show();
        QApplication::processEvents();
        QElapsedTimer clock;
        clock.start();
        page.loadBatchJob(job);
        QApplication::processEvents();
        figure("load_large_job_ms", clock.nsecsElapsed() / 1e6, "ms");
        auto* actionView = page.findChild<QTreeView*>(QStringLiteral("actionTreeView"));
        if (deviceModel(page)->rowCount() != devices || actionView->model()->rowCount() != actions)
            fail(QStringLiteral("loaded %1 devices and %2 actions")
                     .arg(deviceModel(page)->rowCount())
                     .arg(actionView->model()->rowCount()));
    }
    return 0;
}

} // namespace

// A number from /proc/self/status ("VmRSS", "Threads"), or -1.
double processStatus(const char* key)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray prefix = QByteArray(key) + ':';
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith(prefix))
            return line.mid(prefix.size()).simplified().split(' ').value(0).toDouble();
    return -1;
}

double entriesIn(const QString& folder)
{
    return QDir(folder)
        .entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System)
        .size();
}

// A bench runs all day: whatever a job run holds on to shows up as growth between the first
// job and the last.
int soak(int jobs)
{
    const int devices = 32;
    writeFleet(devices, QByteArray());
    setConcurrency(8);
    const QString runTemp = runFolder(QStringLiteral("soak-tmp"));

    BulkOperationsWidget page;
    showWithDevices(page, devices);
    QEventLoop loop;
    QObject::connect(page.jobRun(), &JobRunEngine::runFinished, &loop, &QEventLoop::quit);
    const auto runJob = [&] {
        runButton(page)->click();
        if (page.jobRun()->isRunning())
            loop.exec();
        if (page.jobRun()->counts().done != devices)
            fail(QStringLiteral("%1 of %2 devices done").arg(page.jobRun()->counts().done).arg(devices));
    };
    const auto sample = [&](bool end) {
        // Row flashes end a few seconds after a run; let them go, as a bench's pauses would.
        QTimer::singleShot(FlashingRowStyleDelegate::HoldMs + FlashingRowStyleDelegate::FadeMs + 200, &loop,
                           &QEventLoop::quit);
        loop.exec();
        figure(end ? "soak_end_resident" : "soak_start_resident", processStatus("VmRSS"), "KiB");
        // Freed memory the allocator keeps for later is not growth: the same figure after it is given back.
        malloc_trim(0);
        figure(end ? "soak_end_resident_trimmed" : "soak_start_resident_trimmed", processStatus("VmRSS"),
               "KiB");
        figure(end ? "soak_end_descriptors" : "soak_start_descriptors",
               entriesIn(QStringLiteral("/proc/self/fd")), "");
        figure(end ? "soak_end_threads" : "soak_start_threads", processStatus("Threads"), "");
        figure(end ? "soak_end_temporary_files" : "soak_start_temporary_files", entriesIn(runTemp), "");
    };
    runJob();
    sample(false);
    QElapsedTimer clock;
    clock.start();
    for (int job = 1; job < jobs; ++job)
        runJob();
    figure("soak_jobs", jobs, "");
    figure("soak_ms_per_job", clock.elapsed() / double(qMax(1, jobs - 1)), "ms");
    sample(true);
    return 0;
}

int main(int argc, char** argv)
{
    // Settings, HOME and run folders live in a throw-away folder, never the user's.
    QTemporaryDir sandbox(QDir::tempPath() + QStringLiteral("/harnwick-bench-XXXXXX"));
    if (!sandbox.isValid())
        return 2;
    sandboxPath = sandbox.path();
    // For a look at the command lines, outputs and logs afterwards.
    if (qEnvironmentVariableIsSet("HARNWICK_BENCH_KEEP")) {
        sandbox.setAutoRemove(false);
        std::fprintf(stderr, "page_bench: keeping %s\n", qPrintable(sandboxPath));
    }
    isolateUserFolders(sandbox.path());
    qputenv("CORVANE_SIM_SPEED", "0");
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");

    QApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Harnwick"));
    QApplication::setOrganizationName(QStringLiteral("Kelmara"));
    QApplication::setOrganizationDomain(QStringLiteral("kelmara.example"));
    Q_INIT_RESOURCE(resources);

    SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                             QStringLiteral(HARNWICK_SIMULATOR_PATH));
    SettingsUtil::setSetting(Settings::loggingGroup, Settings::logFileDirectoryKey,
                             sandboxFile(QStringLiteral("logs")));

    const QString mode = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString();
    if (mode == QLatin1String("overhead"))
        return overhead();
    if (mode == QLatin1String("stream"))
        return stream();
    if (mode == QLatin1String("start"))
        return start();
    if (mode == QLatin1String("scale"))
        return scale();
    if (mode == QLatin1String("paint"))
        return paint();
    if (mode == QLatin1String("trivial"))
        return trivial(argc > 2 ? std::max(1, std::atoi(argv[2])) : 1000,
                       argc > 3 ? std::max(1, std::atoi(argv[3])) : 16);
    if (mode == QLatin1String("soak"))
        return soak(argc > 2 ? std::max(2, std::atoi(argv[2])) : 300);
    std::fprintf(
        stderr,
        "usage: page_bench overhead|stream|start|scale|paint|soak [jobs]|trivial [devices [concurrency]]\n");
    return 2;
}
