#include "slottracker.h"
#include "stationallowlist.h"
#include "testregistry.h"

#include <QtTest>

// The slot's start rule alone, on a fake clock: a script of polls and operator actions, and the
// moments at which the slot starts.
class TestSlotTracker : public QObject
{
    Q_OBJECT

    // Runs a script: "+A..B" present polls every 250 ms from A to B ms, "-A..B" absent polls, "+T"
    // or "-T" one poll, "+T!" a present poll that may not start (not allowed, held), "end" the
    // running unit ends, "rearm" / "disarm" the operator's and the job's actions.
    static QString run(SlotTracker& tracker, const QString& script)
    {
        QStringList starts;
        for (const QString& token : script.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
            if (token == QLatin1String("end")) {
                tracker.runEnded();
                continue;
            }
            if (token == QLatin1String("rearm")) {
                tracker.rearm();
                continue;
            }
            if (token == QLatin1String("disarm")) {
                tracker.disarm();
                continue;
            }
            const bool present = token.startsWith(QLatin1Char('+'));
            const bool mayStart = !token.endsWith(QLatin1Char('!'));
            const QString times = token.mid(1).remove(QLatin1Char('!'));
            const qint64 from = times.section(QStringLiteral(".."), 0, 0).toLongLong();
            const qint64 until = times.contains(QStringLiteral(".."))
                                     ? times.section(QStringLiteral(".."), 1).toLongLong()
                                     : from;
            for (qint64 t = from; t <= until; t += 250) {
                if (tracker.observe(present, t, mayStart))
                    starts << QString::number(t);
            }
        }
        return starts.join(QLatin1Char(','));
    }

private slots:
    void startsOncePerBoard_data()
    {
        QTest::addColumn<bool>("armed");
        QTest::addColumn<QString>("script");
        QTest::addColumn<QString>("starts");

        QTest::newRow("starts after the settle time") << true << "-0..500 +750..2500"
                                                      << "2250";
        QTest::newRow("left in place: exactly once") << true << "+0..2000 end +2250..60000"
                                                     << "1500";
        QTest::newRow("no second start while running") << true << "+0..1500 -1750..4000 +4250..8000"
                                                       << "1500";
        QTest::newRow("bounce at insertion") << true << "+0..500 -750 +1000..3000"
                                             << "2500";
        QTest::newRow("bouncing contact never settles") << true << "+0 -250 +500 -750 +1000 -1250..3000"
                                                        << "";
        QTest::newRow("re-seated board tried again") << true << "+0..2000 end -2250..3750 +4000..6000"
                                                     << "1500,5500";
        QTest::newRow("taken away too briefly: no new try") << true << "+0..2000 end -2250..3500 +3750..8000"
                                                            << "1500";
        QTest::newRow("removed while running counts only after the run")
            << true << "+0..1500 -1750..4000 end -4250..5500 +5750..7250"
            << "1500";
        QTest::newRow("re-armed by hand") << true << "+0..2000 end +2250..3000 rearm +3250..4000"
                                          << "1500,3250";
        QTest::newRow("interrupted: waits for the operator") << false << "+0..5000 rearm +5250"
                                                             << "5250";
        QTest::newRow("interrupted: a new board after removal") << false << "+0..1000 -1250..3000 +3250..5000"
                                                                << "4750";
        QTest::newRow("job changed: board in place waits") << true << "+0..1250 disarm +1500..6000"
                                                           << "";
        QTest::newRow("held, then free: starts if still armed") << true << "+0..3000! +3250"
                                                                << "3250";
        QTest::newRow("absent from the start, then a board") << true << "-0..3000 +3250..5000"
                                                             << "4750";
    }

    void startsOncePerBoard()
    {
        QFETCH(bool, armed);
        QFETCH(QString, script);
        QFETCH(QString, starts);
        SlotTracker tracker(1500, armed);
        QCOMPARE(run(tracker, script), starts);
    }

    void presenceIsTracked()
    {
        SlotTracker tracker(1000);
        QVERIFY(!tracker.isPresent());
        QVERIFY(!tracker.observe(true, 100));
        QCOMPARE(tracker.presentForMs(600), qint64(500));
        QVERIFY(tracker.observe(true, 1100));
        QVERIFY(tracker.isRunning());
        QVERIFY(!tracker.isArmed());
        tracker.runEnded();
        QVERIFY(!tracker.observe(false, 1200));
        QVERIFY(!tracker.isPresent());
        QCOMPARE(tracker.presentForMs(5000), qint64(0));
    }

    void allowList_data()
    {
        QTest::addColumn<QString>("patterns");
        QTest::addColumn<QString>("serial");
        QTest::addColumn<QString>("nickname");
        QTest::addColumn<bool>("allowed");
        // Without patterns, the bundle's checked devices (801002345, 801002346).
        QTest::newRow("bundle device") << ""
                                       << "801002345"
                                       << "" << true;
        QTest::newRow("not in the bundle") << ""
                                           << "801017733"
                                           << "bench-left" << false;
        QTest::newRow("serial wildcard") << "80100234?"
                                         << "801002349"
                                         << "" << true;
        QTest::newRow("patterns replace the bundle") << "line-*"
                                                     << "801002345"
                                                     << "rack" << false;
        QTest::newRow("nickname wildcard") << "rack-*, line-*"
                                           << "801017733"
                                           << "line-3" << true;
        QTest::newRow("anchored") << "8010"
                                  << "801017733"
                                  << "" << false;
        QTest::newRow("prefix is not enough") << "rack"
                                              << "801017733"
                                              << "rack-a1" << false;
        QTest::newRow("empty nickname never matches *") << "*x"
                                                        << "801017733"
                                                        << "" << false;
    }

    void allowList()
    {
        QFETCH(QString, patterns);
        QFETCH(QString, serial);
        QFETCH(QString, nickname);
        QFETCH(bool, allowed);
        const StationAllowList list(StationAllowList::splitPatterns(patterns), {"801002345", " 801002346 "});
        QCOMPARE(list.allows(serial, nickname), allowed);
    }
};

HARNWICK_TEST(TestSlotTracker)
#include "tst_slottracker.moc"
