// Prints what the station engine's polling costs with idle adapters (CPU time of the program and
// of the tool processes it starts, per minute of wall time) and how soon a board starts after it
// has settled (p50 and p95 from the simulator's record), for both triggers, on the simulator's
// hot-plug timelines. Figures are given against a baseline measured in the same run: one tool
// process started per second.
//
// Usage: station_bench [SECONDS_IDLE [INSERTIONS_PER_SLOT]]   (defaults 20 and 5)

#include "settingsutil.h"
#include "stationengine.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRandomGenerator>
#include <QSettings>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>

#include <sys/resource.h>

#include <algorithm>

namespace {

constexpr int slotCount = 8;
constexpr qint64 settleMs = 1500;
constexpr qint64 startAtMs = 1000;

QTemporaryDir* folder = nullptr;

double cpuSeconds()
{
    double total = 0;
    for (const int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage{};
        getrusage(who, &usage);
        total += double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
                 double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
    }
    return total;
}

void wait(qint64 ms)
{
    QEventLoop loop;
    QTimer::singleShot(int(ms), &loop, &QEventLoop::quit);
    loop.exec();
}

qint64 startEpoch(const QByteArray& fleet)
{
    QFile file(folder->filePath(QStringLiteral("fleet.yaml")));
    file.open(QIODevice::WriteOnly | QIODevice::Truncate);
    file.write(fleet);
    file.close();
    QFile::remove(folder->filePath(QStringLiteral("record.jsonl")));
    const qint64 epoch = QDateTime::currentMSecsSinceEpoch();
    qputenv("CORVANE_SIM_EPOCH_MS", QByteArray::number(epoch));
    return epoch;
}

JobRunRequest job(const QStringList& serials)
{
    JobRunRequest request;
    request.steps = {{{QStringLiteral("task"), QStringLiteral("wait")},
                      {QStringLiteral("enabled"), true},
                      {QStringLiteral("duration_ms"), 300}}};
    for (const QString& serial : serials) {
        BatchUtil::DeviceEntry entry;
        entry.serialNumber = serial.toUInt();
        entry.connectionType = BatchUtil::Usb;
        entry.selected = true;
        request.bundleDevices << entry;
    }
    request.logging = false;
    return request;
}

// CPU seconds per minute of wall time while `seconds` pass.
double cpuPerMinute(int seconds)
{
    const double before = cpuSeconds();
    wait(qint64(seconds) * 1000);
    return (cpuSeconds() - before) * 60.0 / seconds;
}

double percentile(QList<qint64> values, double p)
{
    if (values.isEmpty())
        return 0;
    std::sort(values.begin(), values.end());
    return double(values.at(qMin(values.size() - 1, int(p * (values.size() - 1) + 0.5))));
}

void idleCost(QTextStream& out, int seconds)
{
    // Baseline: the tool started once a second, doing the cheapest thing it can.
    startEpoch("adapters: []\n");
    double baseline = 0;
    {
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, [] {
            QProcess::execute(QStringLiteral(HARNWICK_SIMULATOR_PATH),
                              {QStringLiteral("batch"), QStringLiteral("-h")});
        });
        timer.start(1000);
        baseline = cpuPerMinute(seconds);
    }
    out << "baseline, one tool process a second: " << QString::number(baseline, 'f', 3) << " CPU s/min\n";

    QByteArray fleet = "adapters:\n";
    QStringList serials;
    for (int i = 0; i < 16; ++i) {
        serials << QString::number(801050001 + i);
        fleet += "  - {serial: " + serials.last().toUtf8() +
                 ", part: KM32G101F512, targets: [{from_ms: 99999999}]}\n";
    }
    for (const auto trigger : {StationOptions::Trigger::Adapter, StationOptions::Trigger::Target}) {
        startEpoch(fleet);
        StationEngine engine;
        StationOptions options;
        options.trigger = trigger;
        engine.setOptions(options);
        JobRunRequest request = job(serials);
        engine.setJob(request);
        engine.start();
        // Adapter trigger: each adapter's board is programmed once at first; then all are idle.
        // Long enough for the idle target adapters to rest, as they do on a quiet bench.
        wait(options.restAfterMs + 3000);
        while (engine.runningCount() > 0)
            wait(100);
        const int cyclesBefore = engine.pollCycles();
        const double cost = cpuPerMinute(seconds);
        const int cycles = engine.pollCycles() - cyclesBefore;
        engine.stopPolling();
        out << (trigger == StationOptions::Trigger::Adapter ? "adapter" : "target ")
            << " trigger, 16 idle adapters, poll " << options.pollMs
            << " ms: " << QString::number(cost, 'f', 3)
            << " CPU s/min = " << QString::number(cost / 60.0 * 100.0, 'f', 2)
            << "% of one core = " << QString::number(baseline > 0 ? cost / baseline : 0, 'f', 2)
            << " x baseline; " << QString::number(cycles * 60.0 / seconds, 'f', 0) << " polls/min\n";
        wait(500);
    }
}

// 8 slots, one not allowed; a tenth of the insertions bounce first (there for less than the
// settle time, then away, then for real).
void latency(QTextStream& out, int perSlot)
{
    for (const auto trigger : {StationOptions::Trigger::Adapter, StationOptions::Trigger::Target}) {
        QRandomGenerator random(42);
        QByteArray fleet = "adapters:\n";
        QStringList allowed;
        QMap<QString, QList<qint64>> settledAt; // serial → settle moments of real insertions
        for (int slot = 0; slot < slotCount; ++slot) {
            const QString serial = QString::number(801060001 + slot);
            if (slot != slotCount - 1)
                allowed << serial;
            QList<QPair<qint64, qint64>> windows;
            qint64 t = startAtMs + slot * 170;
            for (int i = 0; i < perSlot; ++i) {
                if (random.bounded(10) == 0) {
                    windows.append({t, t + 400});
                    t += 700;
                }
                windows.append({t, t + settleMs + 2000});
                settledAt[serial] << t + settleMs;
                // Away long enough to be seen away for the settle time between two polls.
                t += settleMs + 2000 + settleMs + 1500;
            }
            QStringList texts;
            for (const auto& window : windows) {
                texts << (trigger == StationOptions::Trigger::Adapter
                              ? QStringLiteral("[%1, %2]").arg(window.first).arg(window.second)
                              : QStringLiteral("{from_ms: %1, until_ms: %2}")
                                    .arg(window.first)
                                    .arg(window.second));
            }
            fleet += "  - {serial: " + serial.toUtf8() + ", part: KM32G101F512, " +
                     (trigger == StationOptions::Trigger::Adapter ? "attached: [" : "targets: [") +
                     texts.join(QStringLiteral(", ")).toUtf8() + "]}\n";
        }
        const qint64 epoch = startEpoch(fleet);
        StationEngine engine;
        StationOptions options;
        options.trigger = trigger;
        options.settleMs = settleMs;
        engine.setOptions(options);
        engine.setJob(job(allowed));
        engine.start();
        qint64 end = 0;
        for (const auto& moments : settledAt)
            end = qMax(end, moments.last() + 3000);
        wait(end);
        engine.stopPolling();
        while (engine.runningCount() > 0)
            wait(100);

        QMap<QString, QList<qint64>> starts;
        QFile record(folder->filePath(QStringLiteral("record.jsonl")));
        record.open(QIODevice::ReadOnly);
        for (const QByteArray& line : record.readAll().split('\n')) {
            const QJsonObject call = QJsonDocument::fromJson(line).object();
            if (call.value(QStringLiteral("command")).toString() != QLatin1String("batch"))
                continue;
            const QStringList arguments = call.value(QStringLiteral("arguments")).toVariant().toStringList();
            starts[arguments.value(arguments.indexOf(QStringLiteral("--serialno")) + 1)]
                << qint64(call.value(QStringLiteral("t_ms")).toDouble()) - epoch;
        }
        QList<qint64> latencies;
        int missed = 0, doubled = 0;
        for (const QString& serial : allowed) {
            const QList<qint64> settled = settledAt.value(serial);
            const QList<qint64> started = starts.value(serial);
            for (int i = 0; i < settled.size(); ++i) {
                const qint64 until =
                    i + 1 < settled.size() ? settled.at(i + 1) - settleMs : settled.at(i) + 100000;
                int count = 0;
                for (const qint64 s : started) {
                    if (s >= settled.at(i) - settleMs && s < until) {
                        if (count++ == 0)
                            latencies << s - settled.at(i);
                    }
                }
                missed += count == 0 ? 1 : 0;
                doubled += count > 1 ? 1 : 0;
            }
        }
        const int notAllowedRuns = starts.value(QString::number(801060001 + slotCount - 1)).size();
        out << (trigger == StationOptions::Trigger::Adapter ? "adapter" : "target ") << " trigger, "
            << slotCount << " slots, " << latencies.size() + missed << " insertions: settle to start p50 "
            << percentile(latencies, 0.5) << " ms, p95 " << percentile(latencies, 0.95)
            << " ms (= " << QString::number(percentile(latencies, 0.95) / double(settleMs), 'f', 2)
            << " x settle time); missed " << missed << ", run twice " << doubled
            << ", runs on the adapter not allowed " << notAllowedRuns << "\n";
    }
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Kelmara"));
    QCoreApplication::setApplicationName(QStringLiteral("Harnwick"));
    QTemporaryDir dir;
    folder = &dir;
    // The bench's own settings: the user's are never touched.
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, dir.filePath(QStringLiteral("settings")));
    SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                             QStringLiteral(HARNWICK_SIMULATOR_PATH));
    qputenv("CORVANE_SIM_FLEET", QFile::encodeName(dir.filePath(QStringLiteral("fleet.yaml"))));
    qputenv("CORVANE_SIM_RECORD", QFile::encodeName(dir.filePath(QStringLiteral("record.jsonl"))));
    qputenv("CORVANE_SIM_SPEED", "1");

    QTextStream out(stdout);
    const int seconds = argc > 1 ? qMax(5, QString::fromLocal8Bit(argv[1]).toInt()) : 20;
    const int perSlot = argc > 2 ? qMax(1, QString::fromLocal8Bit(argv[2]).toInt()) : 5;
    idleCost(out, seconds);
    out.flush();
    latency(out, perSlot);
    return 0;
}
