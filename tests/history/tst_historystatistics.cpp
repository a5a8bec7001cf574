#include "historystatistics.h"
#include "testregistry.h"

#include <QDateTime>
#include <QTest>

using namespace HistoryStatistics;

Q_DECLARE_METATYPE(QVector<UnitRun>)
Q_DECLARE_METATYPE(QVector<FailureCount>)

namespace {

// Milliseconds of a UTC moment written as "yyyy-MM-dd HH:mm".
qint64 utc(const char* text)
{
    auto moment = QDateTime::fromString(QString::fromLatin1(text), QStringLiteral("yyyy-MM-dd HH:mm"));
    moment.setTimeSpec(Qt::UTC);
    return moment.toMSecsSinceEpoch();
}

UnitRun run(const char* device, const char* startUtc, bool succeeded, int offsetS = 0)
{
    return {QString::fromLatin1(device), utc(startUtc), offsetS, succeeded};
}

// "2026-11-02 3 1 2": day, units, first pass, final pass.
QString describe(const QVector<DayYield>& days)
{
    QStringList lines;
    for (const DayYield& day : days)
        lines << QStringLiteral("%1 %2 %3 %4")
                     .arg(day.day.toString(Qt::ISODate))
                     .arg(day.units)
                     .arg(day.firstPass)
                     .arg(day.finalPass);
    return lines.join(QLatin1Char('|'));
}

} // namespace

class TestHistoryStatistics : public QObject
{
    Q_OBJECT

private slots:
    void yieldPerDay_data()
    {
        QTest::addColumn<QVector<UnitRun>>("runs");
        QTest::addColumn<QString>("days");

        QTest::newRow("nothing") << QVector<UnitRun>{} << QString();
        QTest::newRow("retried next day counts on the first day only")
            << QVector<UnitRun>{run("810000123", "2026-11-02 09:00", false),
                                run("810000123", "2026-11-03 10:00", true)}
            << "2026-11-02 1 0 1";
        QTest::newRow("listed newest first") << QVector<UnitRun>{run("810000123", "2026-11-03 10:00", true),
                                                                 run("810000123", "2026-11-02 09:00", false)}
                                             << "2026-11-02 1 0 1";
        QTest::newRow("passed, then failed a later run")
            << QVector<UnitRun>{run("KM7", "2026-11-02 09:00", true), run("KM7", "2026-11-02 11:00", false)}
            << "2026-11-02 1 1 1";
        QTest::newRow("never passed")
            << QVector<UnitRun>{run("KM7", "2026-11-02 09:00", false), run("KM7", "2026-11-02 11:00", false)}
            << "2026-11-02 1 0 0";
        QTest::newRow("several units and days")
            << QVector<UnitRun>{run("A1", "2026-11-02 08:00", true),  run("B2", "2026-11-02 08:05", false),
                                run("C3", "2026-11-04 08:10", false), run("B2", "2026-11-04 09:00", true),
                                run("C3", "2026-11-04 09:00", false), run("D4", "2026-11-04 12:00", true)}
            << "2026-11-02 2 1 2|2026-11-04 2 1 1";
        // 23:30 UTC is already the next day on a bench one hour east, the previous one five hours west.
        QTest::newRow("local day of the bench")
            << QVector<UnitRun>{run("E5", "2026-11-02 23:30", true, 3600),
                                run("F6", "2026-11-02 02:30", true, -5 * 3600)}
            << "2026-11-01 1 1 1|2026-11-03 1 1 1";
        QTest::newRow("first run's offset decides, not a later one's")
            << QVector<UnitRun>{run("G7", "2026-11-02 23:50", true, 0),
                                run("G7", "2026-11-02 23:30", false, 3600)}
            << "2026-11-03 1 0 1";
    }

    void yieldPerDay()
    {
        QFETCH(QVector<UnitRun>, runs);
        QFETCH(QString, days);
        QCOMPARE(describe(HistoryStatistics::yieldPerDay(runs)), days);
    }

    void pareto_data()
    {
        QTest::addColumn<QVector<FailureCount>>("failures");
        QTest::addColumn<QString>("bars");

        QTest::newRow("nothing failed") << QVector<FailureCount>{} << QString();
        QTest::newRow("descending, shares add up")
            << QVector<FailureCount>{{"erase", 1}, {"flash", 6}, {"verify", 3}}
            << "flash 6 0.60|verify 3 0.90|erase 1 1.00";
        QTest::newRow("equal counts by name")
            << QVector<FailureCount>{{"verify", 2}, {"erase", 2}, {"flash", 4}}
            << "flash 4 0.50|erase 2 0.75|verify 2 1.00";
        QTest::newRow("one type twice is added up")
            << QVector<FailureCount>{{"flash", 1}, {"erase", 2}, {"flash", 2}} << "flash 3 0.60|erase 2 1.00";
        QTest::newRow("empty counts left out")
            << QVector<FailureCount>{{"flash", 0}, {"", 3}, {"erase", 1}} << " 3 0.75|erase 1 1.00";
    }

    void pareto()
    {
        QFETCH(QVector<FailureCount>, failures);
        QFETCH(QString, bars);
        QStringList shown;
        for (const ParetoBar& bar : HistoryStatistics::pareto(failures))
            shown << QStringLiteral("%1 %2 %3")
                         .arg(bar.actionType)
                         .arg(bar.count)
                         .arg(bar.cumulativeShare, 0, 'f', 2);
        QCOMPARE(shown.join(QLatin1Char('|')), bars);
    }
};

HARNWICK_TEST(TestHistoryStatistics)
#include "tst_historystatistics.moc"
