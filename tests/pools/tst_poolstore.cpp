#include "poolstore.h"
#include "poolteststore.h"
#include "testregistry.h"
#include "teststores.h"

#include <QSet>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <csignal>

namespace {

PoolDefinition counter(const QString& name, quint64 first, quint64 last, const QString& format,
                       bool voids = false)
{
    PoolDefinition definition;
    definition.name = name;
    definition.kind = PoolDefinition::Counter;
    definition.range.first = first;
    definition.range.last = last;
    definition.format = format;
    definition.voidOnFailure = voids;
    return definition;
}

PoolDefinition list(const QString& name, const QStringList& values)
{
    PoolDefinition definition;
    definition.name = name;
    definition.kind = PoolDefinition::List;
    definition.values = values;
    definition.voidOnFailure = true;
    return definition;
}

PoolCounts countsOf(PoolStore& pools, const QString& name)
{
    QList<PoolCounts> all;
    QString error;
    if (!pools.counts(&all, &error))
        qWarning() << error;
    for (const PoolCounts& counts : all)
        if (counts.name == name)
            return counts;
    return {};
}

void verifyAddsUp(const PoolCounts& c)
{
    QCOMPARE(c.left + c.committed + c.voided + c.reserved, c.size);
}

} // namespace

class TestPoolStore : public QObject
{
    Q_OBJECT

    // Each test runs on a fresh SQLite file and on a fresh PostgreSQL database.
    static void backends() { TestStores::addBackendRows(); }

private slots:
    void init()
    {
        folder = std::make_unique<QTemporaryDir>();
        HARNWICK_FRESH_STORE(stores, url);
        QVERIFY(store.open(url));
    }

    void cleanup()
    {
        store.close();
        folder.reset();
    }

    void lifeOfValues_data() { backends(); }

    void lifeOfValues()
    {
        PoolStore pools = store.pools();
        // A device id with what array and CSV syntax quote goes through as it is.
        const QString odd = QStringLiteral("80\"10,00\\03 {x}");
        QString error;
        QVERIFY2(pools.define(counter("unit_sn", 1, 10, "HW-%04d"), &error), qPrintable(error));
        QVERIFY2(pools.define(list("keys", {"K1", "K2", "K3", "K4", "K5"}), &error), qPrintable(error));
        QCOMPARE(countsOf(pools, "unit_sn").nextValue, QStringLiteral("HW-0001"));

        QHash<QString, QHash<QString, QString>> values;
        QVERIFY2(
            pools.reserve("run-1", {"801000001", "801000002", odd}, {"unit_sn", "keys"}, &values, &error),
            qPrintable(error));
        QCOMPARE(values.value("801000002").value("unit_sn"), QStringLiteral("HW-0002"));
        QCOMPARE(values.value(odd).value("keys"), QStringLiteral("K3"));
        QCOMPARE(countsOf(pools, "unit_sn").reserved, 3);

        QVERIFY2(pools.settle({{"run-1", "801000001", "done"},
                               {"run-1", "801000002", "failed"},
                               {"run-1", odd, "not started"}},
                              &error),
                 qPrintable(error));
        PoolCounts sn = countsOf(pools, "unit_sn");
        QCOMPARE(sn.committed, 1);
        QCOMPARE(sn.released, 2);
        QCOMPARE(sn.voided, 0);
        QCOMPARE(sn.left, 9);
        QCOMPARE(sn.nextValue, QStringLiteral("HW-0002")); // reused first
        verifyAddsUp(sn);
        PoolCounts keys = countsOf(pools, "keys");
        QCOMPARE(keys.committed, 1);
        QCOMPARE(keys.voided, 1);   // failed: the list's rule voids
        QCOMPARE(keys.released, 1); // never started: back in any case
        verifyAddsUp(keys);

        // A second settlement of the same device changes nothing.
        QVERIFY(pools.settle({{"run-1", "801000001", "failed"}}, &error));
        QCOMPARE(countsOf(pools, "unit_sn").committed, 1);

        // The voided key is never seen again; the reused serial goes to the next board.
        QVERIFY2(pools.reserve("run-2", {"801000004", "801000005", "801000006"}, {"unit_sn", "keys"}, &values,
                               &error),
                 qPrintable(error));
        QStringList keysNow;
        for (const auto& device : qAsConst(values))
            keysNow << device.value("keys");
        keysNow.sort();
        QCOMPARE(keysNow, (QStringList{"K3", "K4", "K5"}));
        QCOMPARE(values.value("801000004").value("unit_sn"), QStringLiteral("HW-0002"));
        QCOMPARE(values.value("801000006").value("unit_sn"), QStringLiteral("HW-0004"));

        // Too few left: nothing is reserved and the message says how many are left.
        QVERIFY(pools.settle({{"run-2", "801000004", "done"}}, &error));
        const PoolCounts before = countsOf(pools, "unit_sn");
        QVERIFY(!pools.reserve("run-3", {"a1", "a2", "a3", "a4", "a5", "a6", "a7"}, {"unit_sn"}, &values,
                               &error));
        QVERIFY2(error.contains("has 6 values left"), qPrintable(error));
        QCOMPARE(countsOf(pools, "unit_sn").reserved, before.reserved);
        QVERIFY(values.isEmpty());

        // What reached boards, for the export: value, device and run, in handing-out order.
        QList<QStringList> used;
        QVERIFY(pools.committedValues("unit_sn", &used, &error));
        QCOMPARE(used,
                 (QList<QStringList>{{"HW-0001", "801000001", "run-1"}, {"HW-0002", "801000004", "run-2"}}));

        // Each change is recorded with its reason.
        QSqlQuery query(store.database());
        QVERIFY(
            query.exec("SELECT e.state, e.reason, v.value FROM pool_events e JOIN pool_values v ON v.id = "
                       "e.value_id WHERE e.device_id = '801000002' ORDER BY v.value"));
        QVERIFY(query.next());
        QCOMPARE(query.value(0).toString() + "/" + query.value(1).toString(),
                 QStringLiteral("released/failed"));
        QVERIFY(query.next());
        QCOMPARE(query.value(0).toString() + "/" + query.value(1).toString(),
                 QStringLiteral("voided/failed"));
        QCOMPARE(query.value(2).toString(), QStringLiteral("K2"));
    }

    void definitions_data() { backends(); }

    void definitions()
    {
        PoolStore pools = store.pools();
        QString error;
        QVERIFY(pools.define(counter("unit_sn", 1, 100, "HW-%06d"), &error));
        // Growing keeps first, step and format.
        QVERIFY2(pools.define(counter("unit_sn", 1, 200, "HW-%06d"), &error), qPrintable(error));
        QCOMPARE(countsOf(pools, "unit_sn").size, 200);
        QVERIFY(!pools.define(counter("unit_sn", 1, 150, "HW-%06d"), &error));
        QVERIFY(error.contains("overlaps"));
        QVERIFY(!pools.define(counter("unit_sn", 50, 300, "HW-%06d"), &error));
        QVERIFY(!pools.define(counter("unit_sn", 1, 300, "SN-%06d"), &error));
        // Another pool giving the same texts is refused, one with other texts is not.
        QVERIFY(!pools.define(counter("other_sn", 150, 400, "HW-%06d"), &error));
        QVERIFY(error.contains("overlap"));
        QVERIFY2(pools.define(counter("board_sn", 150, 400, "BD-%06d"), &error), qPrintable(error));
        QVERIFY(pools.define(counter("plain_a", 1, 10, ""), &error));
        QVERIFY(!pools.define(counter("plain_b", 5, 20, "%d"), &error));
        QVERIFY(!pools.define(counter("Serial_Number", 1, 2, ""), &error));
        QVERIFY2(error.contains("built-in"), qPrintable(error));
        QVERIFY(!pools.define(counter("bad name", 1, 2, ""), &error));
        QVERIFY(!pools.define(counter("fmt", 1, 2, "%s"), &error));

        QVERIFY(pools.define(list("keys", {"K1", "K2"}), &error));
        QVERIFY2(pools.define(list("keys", {"K3"}), &error), qPrintable(error));
        QCOMPARE(countsOf(pools, "keys").size, 3);
        QVERIFY(!pools.define(list("keys", {"K4", "K2"}), &error));
        QVERIFY(error.contains("\"K2\""));
        QCOMPARE(countsOf(pools, "keys").size, 3);
        QVERIFY(!pools.define(counter("keys", 1, 5, ""), &error));

        PoolDefinition mac;
        mac.name = "eth_mac";
        mac.kind = PoolDefinition::Mac;
        QVERIFY(PoolRange::parseMac("02:1A:00:00:00:00..02:1A:00:00:00:FF", 1, &mac.range, &error));
        QVERIFY(pools.define(mac, &error));
        mac.name = "wifi_mac";
        QVERIFY(PoolRange::parseMac("02:1A:00:00:00:F0..02:1A:00:00:01:FF", 1, &mac.range, &error));
        QVERIFY(!pools.define(mac, &error));
        QVERIFY(PoolRange::parseMac("02:1A:00:00:01:00..02:1A:00:00:01:FF", 1, &mac.range, &error));
        QVERIFY2(pools.define(mac, &error), qPrintable(error));
        QHash<QString, QHash<QString, QString>> values;
        QVERIFY(pools.reserve("run-1", {"d1", "d2"}, {"wifi_mac"}, &values, &error));
        QCOMPARE(values.value("d2").value("wifi_mac"), QStringLiteral("02:1A:00:00:01:01"));
        QVERIFY(!pools.reserve("run-1", {"d1"}, {"no_such_pool"}, &values, &error));
        QCOMPARE(error, QStringLiteral("{{no_such_pool}} is neither a built-in variable nor a data pool"));
    }

    void interruptedRuns_data() { backends(); }

    void interruptedRuns()
    {
        PoolStore bench = store.pools();
        QString error;
        QVERIFY(bench.define(counter("unit_sn", 1, 10, "%d"), &error));
        QVERIFY(bench.define(list("keys", {"K1", "K2", "K3"}), &error));
        QHash<QString, QHash<QString, QString>> values;
        QVERIFY(bench.reserve("run-1", {"d1", "d2"}, {"unit_sn", "keys"}, &values, &error));

        // Another station leaves a live run alone.
        PoolStore other(store.database(), QTest::currentDataTag() == QLatin1String("postgres"),
                        store.stationId() + 1);
        QCOMPARE(other.settleInterrupted(&error), 0);
        // This station, too, while the process holding the values lives.
        QCOMPARE(bench.settleInterrupted(&error, [](qint64) { return true; }), 0);

        // Once the lease has run out, anyone settles them.
        bench.setLeaseMs(-1000);
        QVERIFY(bench.renewLease("run-1", &error));
        QCOMPARE(other.settleInterrupted(&error), 4);
        PoolCounts sn = countsOf(bench, "unit_sn");
        QCOMPARE(sn.released, 2);
        QCOMPARE(sn.reserved, 0);
        QCOMPARE(countsOf(bench, "keys").voided, 2);
        QCOMPARE(other.settleInterrupted(&error), 0);
        // The settled values are not committed by a late outcome.
        QVERIFY(bench.settle({{"run-1", "d1", "done"}}, &error));
        QCOMPARE(countsOf(bench, "unit_sn").committed, 0);

        // This station settles its own values of a process that is gone, lease or not.
        bench.setLeaseMs(PoolStore::DefaultLeaseMs);
        QVERIFY(bench.reserve("run-2", {"d3"}, {"unit_sn"}, &values, &error));
        QSqlQuery query(store.database());
        QVERIFY(query.exec("UPDATE pool_values SET holder_pid = 2147480000 WHERE run_id = 'run-2'"));
        QCOMPARE(other.settleInterrupted(&error, [](qint64) { return false; }), 0);
        QCOMPARE(bench.settleInterrupted(&error, [](qint64 pid) { return ::kill(pid_t(pid), 0) == 0; }), 1);
        QVERIFY(query.exec("SELECT reason FROM pool_values WHERE device_id = 'd3'"));
        QVERIFY(query.next());
        QCOMPARE(query.value(0).toString(), QStringLiteral("interrupted"));
    }

    void concurrentReservations_data() { backends(); }

    // Threads with their own connections reserve at once: no value goes to two devices.
    void concurrentReservations()
    {
        HARNWICK_FRESH_STORE(stores, location);
        PoolTestStore shared;
        QVERIFY(shared.open(location));
        QString error;
        PoolStore setup = shared.pools();
        QVERIFY2(setup.define(counter("unit_sn", 1, 1000000, "HW-%07d"), &error), qPrintable(error));
        QStringList keys;
        for (int i = 0; i < 200; ++i)
            keys << QStringLiteral("KEY-%1").arg(i);
        QVERIFY(setup.define(list("keys", keys), &error));

        constexpr int Threads = 4;
        constexpr int Runs = 10;
        constexpr int Devices = 4;
        QVector<QStringList> seen(Threads);
        QVector<QString> errors(Threads);
        QList<QThread*> threads;
        for (int t = 0; t < Threads; ++t) {
            threads << QThread::create([&, t] {
                PoolTestStore own;
                if (!own.open(location)) {
                    errors[t] = QStringLiteral("cannot open");
                    return;
                }
                PoolStore pools = own.pools();
                for (int r = 0; r < Runs; ++r) {
                    const QString run = QStringLiteral("run-%1-%2").arg(t).arg(r);
                    QStringList devices;
                    for (int d = 0; d < Devices; ++d)
                        devices << QStringLiteral("%1-%2").arg(run).arg(d);
                    QHash<QString, QHash<QString, QString>> values;
                    QString why;
                    if (!pools.reserve(run, devices, {"unit_sn", "keys"}, &values, &why)) {
                        errors[t] = why;
                        return;
                    }
                    QList<PoolOutcome> outcomes;
                    for (const QString& device : devices) {
                        seen[t] << values.value(device).value("unit_sn")
                                << values.value(device).value("keys");
                        // One device of four fails: its serial number goes back, its key is voided.
                        outcomes.append({run, device, device.endsWith('1') ? "failed" : "done"});
                    }
                    if (!pools.settle(outcomes, &why)) {
                        errors[t] = why;
                        return;
                    }
                }
            });
        }
        for (QThread* thread : qAsConst(threads))
            thread->start();
        for (QThread* thread : qAsConst(threads)) {
            QVERIFY(thread->wait(120000));
            delete thread;
        }
        for (const QString& message : qAsConst(errors))
            QVERIFY2(message.isEmpty(), qPrintable(message));

        // A reused value reaches a second board only after the first failed: count committed ones.
        QSqlQuery query(shared.database());
        QVERIFY(
            query.exec("SELECT COUNT(*), COUNT(DISTINCT value) FROM pool_values WHERE state = 'committed'"));
        QVERIFY(query.next());
        QCOMPARE(query.value(0).toInt(), query.value(1).toInt());
        QCOMPARE(query.value(0).toInt(), 2 * Threads * Runs * (Devices - 1));
        // Keys are never reused: all of them distinct across threads.
        QSet<QString> keysSeen;
        int keyCount = 0;
        for (const QStringList& values : qAsConst(seen))
            for (const QString& value : values)
                if (value.startsWith("KEY-")) {
                    keysSeen.insert(value);
                    ++keyCount;
                }
        QCOMPARE(keysSeen.size(), keyCount);
        QCOMPARE(keyCount, Threads * Runs * Devices);
        const PoolCounts keyCounts = countsOf(setup, "keys");
        verifyAddsUp(keyCounts);
        QCOMPARE(keyCounts.voided, Threads * Runs);
        QCOMPARE(keyCounts.reserved, 0);
    }

private:
    std::unique_ptr<QTemporaryDir> folder;
    TestStores stores;
    PoolTestStore store;
};

HARNWICK_TEST(TestPoolStore)
#include "tst_poolstore.moc"
