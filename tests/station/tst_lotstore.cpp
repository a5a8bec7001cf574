#include "lotstore.h"
#include "productionstore.h"
#include "testregistry.h"
#include "teststores.h"

#include <QSqlQuery>
#include <QTest>

// Lots and their units in the store, on SQLite and PostgreSQL.
class TestLotStore : public QObject
{
    Q_OBJECT

    TestStores stores;

private slots:
    void countsAndInterruptions_data() { TestStores::addBackendRows(); }

    void countsAndInterruptions()
    {
        HARNWICK_FRESH_STORE(stores, url);
        ProductionStore store;
        QString error;
        QVERIFY2(store.open(StoreLocation::fromUrl(url, &error), &error), qPrintable(error));
        LotStore lots(store.database(), store.isPostgres(), store.stationId());

        const qint64 lot = lots.openLot("KL-0100", 10, "/jobs/line3.hwj", "ab12", &error);
        QVERIFY2(lot > 0, qPrintable(error));
        // The same name is the same lot; a new quantity is taken and audited.
        QCOMPARE(lots.openLot("KL-0100", 12, "/jobs/line3.hwj", "ab12", &error), lot);
        QVERIFY(lots.openLot("KL-0101", 5, QString(), QString(), &error) != lot);
        QSqlQuery audit(store.database());
        QVERIFY(audit.exec("SELECT what, old_value, new_value FROM audit ORDER BY id"));
        QStringList trail;
        while (audit.next())
            trail << QStringList{audit.value(0).toString(), audit.value(1).toString(),
                                 audit.value(2).toString()}
                         .join('|');
        QCOMPARE(trail,
                 (QStringList{"lot||KL-0100 10", "lot quantity|KL-0100 10|KL-0100 12", "lot||KL-0101 5"}));

        // A board that fails and passes on its retry, one that passes at once, one still running.
        const qint64 a1 = lots.unitStarted(lot, "bay-1", "801040061", 111, &error);
        QVERIFY(lots.unitEnded(a1, "failed", &error));
        const qint64 b1 = lots.unitStarted(lot, "bay-2", "801040062", 111, &error);
        QVERIFY(lots.unitEnded(b1, "done", &error));
        QTest::qWait(2);
        const qint64 a2 = lots.unitStarted(lot, "bay-1", "801040061", 111, &error);
        QVERIFY(lots.unitEnded(a2, "done", &error));
        lots.unitStarted(lot, "bay-3", "801040063", 222, &error);
        LotCounts counts;
        QVERIFY2(lots.counts(lot, &counts, &error), qPrintable(error));
        QCOMPARE(counts.units, 3);
        QCOMPARE(counts.passed, 2);
        QCOMPARE(counts.firstPass, 1);
        QCOMPARE(counts.failed, 0);

        // The running unit's process lives: left alone. Once it is gone: interrupted, a failed try.
        QVERIFY(lots.settleInterrupted([](qint64) { return true; }, &error).isEmpty());
        const QList<LotStore::Interrupted> cut =
            lots.settleInterrupted([](qint64 pid) { return pid != 222; }, &error);
        QCOMPARE(cut.size(), 1);
        QCOMPARE(cut.first().slot, QStringLiteral("bay-3"));
        QCOMPARE(cut.first().deviceId, QStringLiteral("801040063"));
        QVERIFY(lots.settleInterrupted([](qint64) { return false; }, &error).isEmpty());
        QVERIFY(lots.counts(lot, &counts, &error));
        QCOMPARE(counts.units, 4);
        QCOMPARE(counts.failed, 1);
    }
};

HARNWICK_TEST(TestLotStore)
#include "tst_lotstore.moc"
