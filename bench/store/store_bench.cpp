// What keeping runs in the production store costs a run: the job run engine (as the window and
// --run drive it) with a tool that prints one line and ends, once with a RunRecorder watching and
// once without, in turns, and the ratio of the medians. Figures as "name<TAB>value<TAB>unit".
//
//   store_bench [DEVICES [CONCURRENCY [ROUNDS [URL]]]]
//     1,000 devices at concurrency 16, 5 rounds of each, into a fresh SQLite file (or URL)

#include "../../tests/support/usersandbox.h"
#include "corvaneprocessrunner.h"
#include "jobrunengine.h"
#include "productionstore.h"
#include "runrecorder.h"
#include "settingsutil.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QSqlQuery>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sys/resource.h>

namespace {

void figure(const char* name, double value, const char* unit)
{
    std::printf("%s\t%.3f\t%s\n", name, value, unit);
    std::fflush(stdout);
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values.at(values.size() / 2);
}

double cpuMs()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_utime.tv_sec * 1000.0 + usage.ru_utime.tv_usec / 1000.0 + usage.ru_stime.tv_sec * 1000.0 +
           usage.ru_stime.tv_usec / 1000.0;
}

struct Round
{
    double wallMs = 0;
    double cpuMs = 0;
    double settleMs = 0; // after the run's end, until the store has every result
};

Round runOnce(const JobRunRequest& request, const StoreLocation* store, const QString& journals)
{
    CorvaneProcessRunner runner;
    JobRunEngine engine(&runner);
    std::unique_ptr<RunRecorder> recorder;
    if (store) {
        recorder = std::make_unique<RunRecorder>(*store, journals);
        recorder->watch(&engine);
        // Opening the store is the program's start, not the run.
        recorder->settle(10000);
    }
    QEventLoop loop;
    QObject::connect(&engine, &JobRunEngine::runFinished, &loop, &QEventLoop::quit);
    Round round;
    QElapsedTimer clock;
    const double cpuBefore = cpuMs();
    clock.start();
    if (!engine.start(request)) {
        std::fprintf(stderr, "store_bench: the run did not start\n");
        std::exit(1);
    }
    if (engine.isRunning())
        loop.exec();
    round.wallMs = clock.nsecsElapsed() / 1e6;
    if (recorder) {
        if (!recorder->settle(60000))
            std::fprintf(stderr, "store_bench: %d results still waiting: %s\n", recorder->waitingResults(),
                         qPrintable(recorder->problem()));
        round.settleMs = clock.nsecsElapsed() / 1e6 - round.wallMs;
    }
    round.cpuMs = cpuMs() - cpuBefore;
    if (engine.counts().done != request.devices.size()) {
        std::fprintf(stderr, "store_bench: %d of %d devices done\n", engine.counts().done,
                     int(request.devices.size()));
        std::exit(1);
    }
    return round;
}

} // namespace

int main(int argc, char** argv)
{
    QTemporaryDir sandbox(QDir::tempPath() + QStringLiteral("/harnwick-store-bench-XXXXXX"));
    if (!sandbox.isValid())
        return 2;
    isolateUserFolders(sandbox.path());
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Harnwick"));
    QCoreApplication::setOrganizationName(QStringLiteral("Kelmara"));

    const int devices = argc > 1 ? std::max(1, std::atoi(argv[1])) : 1000;
    const int concurrency = argc > 2 ? std::max(1, std::atoi(argv[2])) : 16;
    const int rounds = argc > 3 ? std::max(1, std::atoi(argv[3])) : 5;
    QString error;
    const StoreLocation store =
        argc > 4
            ? StoreLocation::fromUrl(QString::fromLocal8Bit(argv[4]), &error)
            : StoreLocation::sqliteFile(QDir(sandbox.path()).filePath(QStringLiteral("production.sqlite")));
    if (!store.isValid()) {
        std::fprintf(stderr, "store_bench: %s\n", qPrintable(error));
        return 2;
    }
    SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                             QStringLiteral(HARNWICK_TRIVIAL_TOOL_PATH));
    SettingsUtil::setSetting(Settings::corvaneGroup, Settings::maxConcurrentProcessesKey, concurrency);
    QDir(sandbox.path()).mkpath(QStringLiteral("tmp"));
    qputenv("TMPDIR", QFile::encodeName(QDir(sandbox.path()).filePath(QStringLiteral("tmp"))));

    JobRunRequest request;
    request.steps = {
        {{QStringLiteral("task"), QStringLiteral("log_device_info")}, {QStringLiteral("enabled"), true}}};
    for (int i = 0; i < devices; ++i)
        request.devices << JobDevice{QString::number(810000000 + i), QString(), BatchUtil::Usb,
                                     QStringLiteral("KM32G101F512"), QStringLiteral("bench-%1").arg(i)};
    request.logging = false;
    const QString journals = QDir(sandbox.path()).filePath(QStringLiteral("journal"));

    // One of each first, to warm caches and make the store's file.
    runOnce(request, nullptr, journals);
    runOnce(request, &store, journals);
    std::vector<double> off, on, offCpu, onCpu, settle;
    for (int round = 0; round < rounds; ++round) {
        const Round without = runOnce(request, nullptr, journals);
        const Round with = runOnce(request, &store, journals);
        off.push_back(without.wallMs);
        on.push_back(with.wallMs);
        offCpu.push_back(without.cpuMs);
        onCpu.push_back(with.cpuMs);
        settle.push_back(with.settleMs);
    }
    ProductionStore check;
    if (check.open(store, &error)) {
        QSqlQuery query(check.database());
        if (query.exec(QStringLiteral("SELECT count(*) FROM device_results")) && query.next() &&
            query.value(0).toInt() != devices * (rounds + 1))
            std::fprintf(stderr, "store_bench: %d results in the store, expected %d\n",
                         query.value(0).toInt(), devices * (rounds + 1));
    }
    figure("store_off_ms", median(off), "ms");
    figure("store_on_ms", median(on), "ms");
    figure("store_ratio", median(on) / median(off), "x");
    figure("store_settle_after_end_ms", median(settle), "ms");
    figure("store_off_cpu_per_device_ms", median(offCpu) / devices, "ms");
    figure("store_on_cpu_per_device_ms", median(onCpu) / devices, "ms");
    return 0;
}
