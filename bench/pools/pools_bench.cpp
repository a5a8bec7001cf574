// Prints how long a run's data pool work takes for many devices: the reservation
// at Run (one counter and one list pool, one value each per device) and the
// settlement of every outcome, as times and as ratios to a baseline of the same
// store: importing a list of as many values as the reservation hands out, which
// is one transaction of as many row writes.
// Usage: pools_bench [DEVICES] [STORE_URL]; the default is a fresh SQLite file.

#include "poolstoreconnection.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTextStream>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    const int count = argc > 1 ? QString::fromLocal8Bit(argv[1]).toInt() : 1000;
    QTemporaryDir folder;
    const QString url = argc > 2
                            ? QString::fromLocal8Bit(argv[2])
                            : QStringLiteral("sqlite:") + folder.filePath(QStringLiteral("bench.sqlite"));

    PoolStoreConnection connection;
    QString error;
    if (!connection.open(url, &error)) {
        out << error << "\n";
        return 1;
    }
    PoolStore pools = connection.pools();
    const QString suffix = QString::number(QCoreApplication::applicationPid());
    PoolDefinition serials;
    serials.name = QStringLiteral("bench_sn_") + suffix;
    serials.range.first = 1;
    serials.range.last = 100000000;
    serials.format = QStringLiteral("BN") + suffix + QStringLiteral("-%08d");
    PoolDefinition keys;
    keys.name = QStringLiteral("bench_keys_") + suffix;
    keys.kind = PoolDefinition::List;
    PoolDefinition baseline = keys;
    baseline.name = QStringLiteral("bench_base_") + suffix;
    for (int i = 0; i < count; ++i) {
        keys.values << QStringLiteral("BK-%1-%2").arg(suffix).arg(i);
        baseline.values << QStringLiteral("BB-%1-%2").arg(suffix).arg(i);
        baseline.values << QStringLiteral("BC-%1-%2").arg(suffix).arg(i);
    }
    if (!pools.define(serials, &error) || !pools.define(keys, &error)) {
        out << error << "\n";
        return 1;
    }
    QElapsedTimer clock;
    clock.start();
    if (!pools.define(baseline, &error)) {
        out << error << "\n";
        return 1;
    }
    const double baseMs = qMax<qint64>(1, clock.nsecsElapsed() / 1000) / 1000.0;

    QStringList devices;
    for (int i = 0; i < count; ++i)
        devices << QString::number(802000000 + i);
    const QString run = QStringLiteral("bench-run");
    QHash<QString, QHash<QString, QString>> values;
    clock.start();
    if (!pools.reserve(run, devices, {serials.name, keys.name}, &values, &error)) {
        out << error << "\n";
        return 1;
    }
    const double reserveMs = clock.nsecsElapsed() / 1e6;
    QList<PoolOutcome> outcomes;
    for (int i = 0; i < count; ++i)
        outcomes.append(
            {run, devices.at(i), i % 10 == 3 ? QStringLiteral("failed") : QStringLiteral("done")});
    clock.start();
    if (!pools.settle(outcomes, &error)) {
        out << error << "\n";
        return 1;
    }
    const double settleMs = clock.nsecsElapsed() / 1e6;
    out << "baseline: import " << 2 * count << " list values: " << baseMs << " ms\n";
    out << "reserve " << count << " devices x 2 pools: " << reserveMs << " ms (" << reserveMs / baseMs
        << " x baseline)\n";
    out << "settle " << count << " outcomes: " << settleMs << " ms (" << settleMs / baseMs
        << " x baseline)\n";
    return 0;
}
