#include "lotcounts.h"
#include "testregistry.h"

#include <QtTest>

// A lot's counters from its units, boards told apart by device id and pass.
class TestLotCounts : public QObject
{
    Q_OBJECT

private slots:
    void counts_data()
    {
        QTest::addColumn<QString>("units");       // device:P or device:F, in order of start
        QTest::addColumn<QList<int>>("expected"); // units, boards, passed, failed, first pass
        QTest::newRow("empty") << "" << QList<int>{0, 0, 0, 0, 0};
        QTest::newRow("all pass") << "a:P b:P c:P" << QList<int>{3, 3, 3, 0, 3};
        QTest::newRow("retry passes") << "a:F a:P" << QList<int>{2, 1, 1, 0, 0};
        QTest::newRow("retry fails again") << "a:F a:F" << QList<int>{2, 1, 0, 1, 0};
        QTest::newRow("new board after a pass") << "a:P a:F" << QList<int>{2, 2, 1, 1, 1};
        QTest::newRow("boards on several adapters")
            << "a:P b:F c:P b:P a:F a:F d:F" << QList<int>{7, 5, 3, 2, 2};
        QTest::newRow("fixture: pass, fail, retry pass, pass")
            << "f:P f:F f:P f:P" << QList<int>{4, 3, 3, 0, 2};
    }

    void counts()
    {
        QFETCH(QString, units);
        QFETCH(QList<int>, expected);
        QList<LotAttempt> attempts;
        qint64 at = 1000;
        for (const QString& unit : units.split(' ', Qt::SkipEmptyParts))
            attempts.append({unit.section(':', 0, 0), at += 10, unit.endsWith("P")});
        // The store gives no order: the counts must not depend on it.
        std::reverse(attempts.begin(), attempts.end());
        const LotCounts counts = LotCounts::of(attempts);
        QCOMPARE((QList<int>{counts.units, counts.boards, counts.passed, counts.failed, counts.firstPass}),
                 expected);
    }

    void yields()
    {
        const LotCounts counts =
            LotCounts::of({{"a", 1, true}, {"b", 2, false}, {"b", 3, true}, {"c", 4, false}});
        QCOMPARE(counts.firstPassYield(), 100.0 / 3);
        QCOMPARE(counts.finalYield(), 200.0 / 3);
        QCOMPARE(LotCounts().finalYield(), 0.0);
    }
};

HARNWICK_TEST(TestLotCounts)
#include "tst_lotcounts.moc"
