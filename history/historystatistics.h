#pragma once

#include <QDate>
#include <QString>
#include <QVector>

// Yield per day and failures by action type, computed from rows the history
// query returns: pure functions, so the charts only draw.
namespace HistoryStatistics {

// One device result: which unit, when its run started, and whether it succeeded.
struct UnitRun
{
    QString deviceId;
    qint64 startedMs = 0;
    // The bench's offset from UTC at that moment: the day is the bench's local day.
    int utcOffsetS = 0;
    bool succeeded = false;
};

struct DayYield
{
    QDate day;
    // Units whose first run was on this day.
    int units = 0;
    // Of those, succeeded on their first run / on any run.
    int firstPass = 0;
    int finalPass = 0;

    double firstPassYield() const { return units ? double(firstPass) / units : 0.0; }
    double finalYield() const { return units ? double(finalPass) / units : 0.0; }
};

// Days in ascending order, only days on which some unit had its first run.
// A unit counts toward the day of its earliest run; runs of equal start keep list order.
QVector<DayYield> yieldPerDay(const QVector<UnitRun>& runs);

struct FailureCount
{
    QString actionType;
    int count = 0;
};

struct ParetoBar
{
    QString actionType;
    int count = 0;
    // Share of all failures of this bar and every bar before it, 0 to 1.
    double cumulativeShare = 0.0;
};

// Bars in descending count (equal counts by name); counts of one type listed
// twice are added up, and types without failures are left out.
QVector<ParetoBar> pareto(const QVector<FailureCount>& failures);

} // namespace HistoryStatistics
