#include "stationlock.h"
#include "testregistry.h"

#include <QtTest>

// The station password: what is kept of it, and how wrong tries and idle time lock the station.
class TestStationLock : public QObject
{
    Q_OBJECT

private slots:
    void recordKeepsNoPassword()
    {
        const QString record = StationLock::makeRecord("KL-bench-7");
        QVERIFY(!record.contains("KL-bench-7"));
        QVERIFY(!record.contains(QString::fromLatin1(QByteArray("KL-bench-7").toBase64())));
        const QStringList parts = record.split('$');
        QCOMPARE(parts.size(), 4);
        QCOMPARE(parts.at(0), QString("pbkdf2-sha256"));
        QVERIFY(parts.at(1).toInt() >= 100000);
        // A fresh salt each time: the same password never gives the same record.
        QVERIFY(StationLock::makeRecord("KL-bench-7") != record);

        QVERIFY(StationLock::matches(record, "KL-bench-7"));
        QVERIFY(!StationLock::matches(record, "KL-bench-8"));
        QVERIFY(!StationLock::matches(record, "kl-bench-7"));
        QVERIFY(!StationLock::matches(record, QString()));
        QVERIFY(StationLock::makeRecord("abc").isEmpty());

        // A record weakened or tampered with opens nothing.
        QStringList weak = parts;
        weak[1] = "1000";
        QVERIFY(!StationLock::matches(weak.join('$'), "KL-bench-7"));
        QVERIFY(!StationLock::matches(StationLock::makeRecord("KL-bench-7", 1000), "KL-bench-7"));
        QStringList otherSalt = parts;
        otherSalt[2] = QString::fromLatin1(QByteArray(16, 'x').toBase64());
        QVERIFY(!StationLock::matches(otherSalt.join('$'), "KL-bench-7"));
        QVERIFY(!StationLock::matches("KL-bench-7", "KL-bench-7"));
        QVERIFY(!StationLock::matches(QString(), QString()));
    }

    void noDefaultAndFirstPasswordOnly()
    {
        StationLock lock;
        QCOMPARE(lock.unlock(QString(), 0), StationLock::Result::NoPassword);
        QCOMPARE(lock.unlock("admin", 0), StationLock::Result::NoPassword);
        QVERIFY(!lock.isUnlocked());
        QVERIFY(lock.setPassword("line-three"));
        // Once set, only an unlocked station may change it.
        QVERIFY(!lock.setPassword("taken-over"));
        QCOMPARE(lock.unlock("taken-over", 0), StationLock::Result::Wrong);
        QCOMPARE(lock.unlock("line-three", 0), StationLock::Result::Unlocked);
        QVERIFY(lock.setPassword("line-four"));
        lock.lock();
        QCOMPARE(StationLock(lock.record()).unlock("line-four", 0), StationLock::Result::Unlocked);
    }

    void fiveWrongTriesWait()
    {
        StationLock lock(StationLock::makeRecord("line-three"));
        for (int i = 1; i < StationLock::triesBeforeWait; ++i)
            QCOMPARE(lock.unlock("guess", 1000 * i), StationLock::Result::Wrong);
        // Four wrong, then the right one: no wait, and the count starts again.
        QCOMPARE(lock.unlock("line-three", 5000), StationLock::Result::Unlocked);
        QCOMPARE(lock.wrongTries(), 0);
        lock.lock();

        for (int i = 1; i < StationLock::triesBeforeWait; ++i)
            QCOMPARE(lock.unlock("guess", 10000), StationLock::Result::Wrong);
        QCOMPARE(lock.unlock("guess", 10000), StationLock::Result::MustWait);
        QCOMPARE(lock.waitLeftMs(10000), qint64(60000));
        // Even the right password waits, and tries while waiting do not count.
        QCOMPARE(lock.unlock("line-three", 69999), StationLock::Result::MustWait);
        QVERIFY(!lock.isUnlocked());
        QCOMPARE(lock.unlock("line-three", 70000), StationLock::Result::Unlocked);
    }

    void locksWhenIdle()
    {
        StationLock lock(StationLock::makeRecord("line-three"));
        lock.setIdleLimitMs(120000);
        QVERIFY(!lock.lockIfIdle(500000));
        QCOMPARE(lock.unlock("line-three", 1000), StationLock::Result::Unlocked);
        QVERIFY(!lock.lockIfIdle(120999));
        lock.touch(100000);
        QVERIFY(!lock.lockIfIdle(219999));
        QVERIFY(lock.lockIfIdle(220000));
        QVERIFY(!lock.isUnlocked());
    }
};

HARNWICK_TEST(TestStationLock)
#include "tst_stationlock.moc"
