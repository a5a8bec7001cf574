// What the history window costs on a big store: a fresh SQLite store filled with RESULTS device
// results (a thousand units a day, one in ten failing), then the model's first page unfiltered,
// filtered by a device id fragment, by outcome and day, a filter no result matches (a whole scan),
// and 101 pages, each as the median of ROUNDS tries. Figures as "name<TAB>value<TAB>unit", and as
// ratios to a `SELECT 1` round trip of the same run, since machines differ; and the longest pause of
// the calling (window's) thread while the database scans for a filter nothing matches.
//
//   history_bench [RESULTS [ROUNDS]]      (default 1000000 results, 5 rounds)

#include "historymodel.h"
#include "historystatistics.h"
#include "productionstore.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

void figure(const char* name, double value, const char* unit)
{
    std::printf("%s\t%.3f\t%s\n", name, value, unit);
    std::fflush(stdout);
}

double medianMs(int rounds, const std::function<void()>& work)
{
    std::vector<double> times;
    for (int i = 0; i < rounds; ++i) {
        QElapsedTimer clock;
        clock.start();
        work();
        times.push_back(clock.nsecsElapsed() / 1e6);
    }
    std::sort(times.begin(), times.end());
    return times.at(times.size() / 2);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    const int results = arguments.size() > 1 ? arguments.at(1).toInt() : 1000000;
    const int rounds = arguments.size() > 2 ? qMax(1, arguments.at(2).toInt()) : 5;
    QTemporaryDir folder;
    const StoreLocation location = StoreLocation::sqliteFile(folder.filePath("history.sqlite"));

    QElapsedTimer fillClock;
    fillClock.start();
    {
        ProductionStore store;
        QString error;
        if (!store.open(location, &error)) {
            std::fprintf(stderr, "history_bench: %s\n", qPrintable(error));
            return 2;
        }
        QSqlQuery query(store.database());
        query.exec(QStringLiteral("BEGIN"));
        query.prepare(
            QStringLiteral("INSERT INTO runs(id, station_id, started_ms, utc_offset_s) VALUES (?, ?, ?, 0)"));
        const int runs = qMax(1, results / 100);
        const qint64 start = 1790000000000; // November 2026
        for (int run = 0; run < runs; ++run) {
            query.addBindValue(QStringLiteral("run-%1").arg(run));
            query.addBindValue(store.stationId());
            query.addBindValue(start + qint64(run) * 100 * 86400);
            query.exec();
        }
        query.prepare(
            QStringLiteral("INSERT INTO device_results(run_id, device_id, nickname, part, outcome, "
                           "failed_action, failed_type, started_ms, utc_offset_s, elapsed_ms) VALUES "
                           "(?, ?, '', 'KM32G101F512', ?, ?, ?, ?, 0, 1500)"));
        for (int i = 0; i < results; ++i) {
            const bool failed = i % 10 == 3;
            query.addBindValue(QStringLiteral("run-%1").arg(i / 100));
            query.addBindValue(QString::number(810000000 + i));
            query.addBindValue(failed ? QStringLiteral("failed") : QStringLiteral("done"));
            query.addBindValue(failed ? QVariant(2) : QVariant(QVariant::Int));
            query.addBindValue(failed ? QVariant(QStringLiteral("flash_target_device"))
                                      : QVariant(QVariant::String));
            query.addBindValue(start + qint64(i) * 86400);
            query.exec();
        }
        query.exec(QStringLiteral("COMMIT"));
    }
    figure("fill_s", fillClock.elapsed() / 1000.0, "s");

    HistoryModel model;
    QString error;
    if (!model.open(location, &error)) {
        std::fprintf(stderr, "history_bench: %s\n", qPrintable(error));
        return 2;
    }
    const double baseline = medianMs(rounds, [&] {
        QSqlQuery one(model.store()->database());
        one.exec(QStringLiteral("SELECT 1"));
        one.next();
    });
    figure("select_1_ms", baseline, "ms");
    // The window's thread keeps its turns while a page is read: the longest gap between ticks of a
    // 5 ms timer over every measurement.
    QTimer ticker;
    ticker.setInterval(5);
    QElapsedTimer sinceTick;
    qint64 longestGapNs = 0;
    QObject::connect(&ticker, &QTimer::timeout, [&] {
        longestGapNs = qMax(longestGapNs, sinceTick.nsecsElapsed());
        sinceTick.restart();
    });
    const auto measure = [&](const char* name, const HistoryFilter& filter, int pages) {
        const double ms = medianMs(rounds, [&] {
            // Pages are read on the model's thread: wait for each as a view would.
            QEventLoop loop;
            QObject::connect(&model, &HistoryModel::pageRead, &loop, &QEventLoop::quit);
            model.setFilter(filter);
            loop.exec();
            for (int page = 1; page < pages && model.canFetchMore(QModelIndex()); ++page) {
                model.fetchMore(QModelIndex());
                loop.exec();
            }
        });
        figure(name, ms, "ms");
        std::printf("%s_ratio\t%.1f\tx select_1\n", name, ms / qMax(baseline, 1e-6));
    };
    HistoryFilter all;
    measure("first_page", all, 1);
    measure("first_101_pages", all, 101);
    HistoryFilter fragment;
    fragment.deviceText = QStringLiteral("8100012");
    measure("device_fragment_page", fragment, 1);
    HistoryFilter day;
    day.outcome = QStringLiteral("failed");
    day.since = day.until =
        QDateTime::fromMSecsSinceEpoch(1790000000000 + qint64(results / 2) * 86400).date();
    measure("failed_on_one_day_page", day, 1);
    // One unit's runs, as choosing a result in the window lists them.
    HistoryFilter unit;
    unit.exactDeviceId = QString::number(810000000 + results / 3);
    measure("unit_by_id_page", unit, 1);
    // The yield chart's input over a month, read and reduced as the window does.
    HistoryFilter month;
    month.since = QDateTime::fromMSecsSinceEpoch(1790000000000 + qint64(results / 2) * 86400).date();
    month.until = month.since.addDays(29);
    model.setFilter(month);
    const double yieldMs = medianMs(rounds, [&] {
        QVector<HistoryStatistics::UnitRun> runs;
        bool truncated = false;
        QString ignored;
        model.unitRunsForYield(200000, &runs, &truncated, &ignored);
        HistoryStatistics::yieldPerDay(runs);
    });
    figure("yield_month_ms", yieldMs, "ms");
    std::printf("yield_month_ratio\t%.1f\tx select_1\n", yieldMs / qMax(baseline, 1e-6));
    HistoryFilter missing;
    missing.deviceText = QStringLiteral("no such unit");
    sinceTick.start();
    ticker.start();
    measure("no_match_full_scan", missing, 1);
    ticker.stop();
    figure("longest_gui_gap_during_scan_ms", longestGapNs / 1e6, "ms");
    return 0;
}
