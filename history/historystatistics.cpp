#include "historystatistics.h"

#include <QDateTime>
#include <QHash>
#include <QMap>

#include <algorithm>

namespace HistoryStatistics {

QVector<DayYield> yieldPerDay(const QVector<UnitRun>& runs)
{
    struct Unit
    {
        qint64 firstStartMs = 0;
        int firstOffsetS = 0;
        bool firstSucceeded = false;
        bool anySucceeded = false;
    };
    QHash<QString, Unit> units;
    units.reserve(runs.size());
    for (const UnitRun& run : runs) {
        auto found = units.find(run.deviceId);
        if (found == units.end()) {
            units.insert(run.deviceId, {run.startedMs, run.utcOffsetS, run.succeeded, run.succeeded});
            continue;
        }
        Unit& unit = found.value();
        if (run.startedMs < unit.firstStartMs) {
            unit.firstStartMs = run.startedMs;
            unit.firstOffsetS = run.utcOffsetS;
            unit.firstSucceeded = run.succeeded;
        }
        unit.anySucceeded = unit.anySucceeded || run.succeeded;
    }

    QMap<QDate, DayYield> days;
    for (const Unit& unit : qAsConst(units)) {
        const QDate day =
            QDateTime::fromMSecsSinceEpoch(unit.firstStartMs, Qt::OffsetFromUTC, unit.firstOffsetS).date();
        DayYield& entry = days[day];
        entry.day = day;
        ++entry.units;
        entry.firstPass += unit.firstSucceeded ? 1 : 0;
        entry.finalPass += unit.anySucceeded ? 1 : 0;
    }
    return days.values().toVector();
}

QVector<ParetoBar> pareto(const QVector<FailureCount>& failures)
{
    QMap<QString, int> counts;
    qint64 total = 0;
    for (const FailureCount& failure : failures) {
        if (failure.count <= 0)
            continue;
        counts[failure.actionType] += failure.count;
        total += failure.count;
    }
    QVector<ParetoBar> bars;
    for (auto it = counts.cbegin(); it != counts.cend(); ++it)
        bars.append({it.key(), it.value(), 0.0});
    // The map is in name order already, so a stable sort keeps equal counts by name.
    std::stable_sort(bars.begin(), bars.end(),
                     [](const ParetoBar& a, const ParetoBar& b) { return a.count > b.count; });
    qint64 running = 0;
    for (ParetoBar& bar : bars) {
        running += bar.count;
        bar.cumulativeShare = double(running) / double(total);
    }
    return bars;
}

} // namespace HistoryStatistics
