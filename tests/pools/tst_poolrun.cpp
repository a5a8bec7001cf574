#include "corvaneprocessrunner.h"
#include "jobrunengine.h"
#include "poolrunsession.h"
#include "poolstoreconnection.h"
#include "settingsutil.h"
#include "simulatorsession.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QFile>
#include <QSet>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {

JobDevice usb(const char* serial)
{
    return JobDevice{QString::fromLatin1(serial), QString(), BatchUtil::Usb, QString(), QString()};
}

QMap<QString, QVariant> step(const char* task)
{
    return {{QStringLiteral("task"), QString::fromLatin1(task)}, {QStringLiteral("enabled"), true}};
}

// device id → (variable → value) as the simulator received them.
QHash<QString, QHash<QString, QString>> receivedParameters(const SimulatorSession& session)
{
    QHash<QString, QHash<QString, QString>> result;
    for (const QStringList& arguments : session.batchInvocations()) {
        const QString device = arguments.value(arguments.indexOf("--serialno") + 1);
        for (int i = 0; i + 1 < arguments.size(); ++i)
            if (arguments.at(i) == "--parameter") {
                const QString parameter = arguments.at(i + 1);
                const int colon = parameter.indexOf(':');
                result[device].insert(parameter.left(colon), parameter.mid(colon + 1));
            }
    }
    return result;
}

} // namespace

// Runs that draw from data pools, with the simulator in place of the tool.
class TestPoolRun : public QObject
{
    Q_OBJECT

    SimulatorSession session{SimulatorSession::faultyFleet()};
    QTemporaryDir folder;
    QString storeUrl;

    PoolCounts countsOf(const QString& name)
    {
        PoolStoreConnection connection;
        QString error;
        QList<PoolCounts> all;
        if (connection.open(storeUrl, &error))
            connection.pools().counts(&all, &error);
        for (const PoolCounts& counts : all)
            if (counts.name == name)
                return counts;
        return {};
    }

    JobRunRequest job(const QList<JobDevice>& devices, const QStringList& variables)
    {
        JobRunRequest request;
        QMap<QString, QVariant> wait = step("wait");
        wait.insert(QStringLiteral("duration_ms"), 10);
        // 801030007 fails in the second action, 801030008 crashes in the third.
        request.steps = {step("log_device_info"), wait, step("mass_erase_target_device")};
        request.devices = devices;
        request.variableNames = variables;
        request.logging = false;
        request.storeUrl = storeUrl;
        return request;
    }

    static bool runToEnd(JobRunEngine& engine, const JobRunRequest& request)
    {
        QSignalSpy ended(&engine, &JobRunEngine::runFinished);
        if (!engine.start(request))
            return false;
        return ended.wait(60000) || ended.count() == 1;
    }

private slots:
    void initTestCase()
    {
        storeUrl = "sqlite:" + folder.filePath("production.sqlite");
        PoolStoreConnection connection;
        QString error;
        QVERIFY2(connection.open(storeUrl, &error), qPrintable(error));
        PoolDefinition serials;
        serials.name = "unit_sn";
        QVERIFY(PoolRange::parseCounter("1..9", 1, &serials.range, &error));
        serials.format = "HW-%04d";
        QVERIFY(connection.pools().define(serials, &error));
        PoolDefinition keys;
        keys.name = "keys";
        keys.kind = PoolDefinition::List;
        keys.values =
            QStringList{"K-A", "K-B", "K-C", "K-D", "K-E", "K-F", "K-G", "K-H", "K-I", "K-J", "K-K", "K-L"};
        keys.voidOnFailure = true;
        QVERIFY2(connection.pools().define(keys, &error), qPrintable(error));
    }

    void init()
    {
        TestEnvironment::clearSettings();
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                                 TestEnvironment::simulatorPath());
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::maxConcurrentProcessesKey, 3);
        session.clearRecord();
    }

    // Two runs: each device gets its own values; failures give serial numbers back and void keys.
    void valuesFollowOutcomes()
    {
        CorvaneProcessRunner runner;
        JobRunEngine engine(&runner);
        QStringList errors;
        connect(&engine, &JobRunEngine::errorEncountered, this, [&](const QString& m) { errors << m; });
        const QList<JobDevice> devices{usb("801002345"), usb("801030007"), usb("801030008"), usb("801017733"),
                                       usb("801002346")};
        QVERIFY(runToEnd(engine, job(devices, {"serial_number", "unit_sn", "keys"})));
        QVERIFY2(errors.isEmpty(), qPrintable(errors.join('\n')));

        const auto first = receivedParameters(session);
        QCOMPARE(first.size(), 5);
        QSet<QString> serials;
        QSet<QString> keys;
        for (auto it = first.cbegin(); it != first.cend(); ++it) {
            QCOMPARE(it->value("serial_number"), it.key());
            QCOMPARE(engine.pools()->values().value(it.key()).value("unit_sn"), it->value("unit_sn"));
            serials.insert(it->value("unit_sn"));
            keys.insert(it->value("keys"));
        }
        QCOMPARE(serials, (QSet<QString>{"HW-0001", "HW-0002", "HW-0003", "HW-0004", "HW-0005"}));
        QCOMPARE(keys.size(), 5);
        PoolCounts sn = countsOf("unit_sn");
        QCOMPARE(sn.committed, 3);
        QCOMPARE(sn.released, 2);
        QCOMPARE(sn.reserved, 0);
        PoolCounts keyCounts = countsOf("keys");
        QCOMPARE(keyCounts.committed, 3);
        QCOMPARE(keyCounts.voided, 2);
        QCOMPARE(keyCounts.left, 7);

        // The next boards get the failed devices' serial numbers; the voided keys are gone.
        const QSet<QString> reused{first.value("801030007").value("unit_sn"),
                                   first.value("801030008").value("unit_sn")};
        const QSet<QString> voidedKeys{first.value("801030007").value("keys"),
                                       first.value("801030008").value("keys")};
        session.clearRecord();
        QTemporaryDir reportFolder;
        JobRunRequest again = job({usb("801017734"), usb("801020001")}, {"unit_sn", "keys"});
        again.reportPaths = QStringList{reportFolder.filePath("run.csv")};
        QVERIFY(runToEnd(engine, again));
        const auto second = receivedParameters(session);
        QCOMPARE(second.size(), 2);
        // The report has a column per pool with the value each unit received.
        QFile report(again.reportPaths.first());
        QVERIFY(report.open(QIODevice::ReadOnly));
        const QStringList lines = QString::fromUtf8(report.readAll()).split("\r\n", Qt::SkipEmptyParts);
        int headerRow = 0;
        while (headerRow < lines.size() && !lines.at(headerRow).startsWith("Device id,"))
            ++headerRow;
        QVERIFY(headerRow + 2 < lines.size());
        QVERIFY2(lines.at(headerRow).endsWith(",Log file,unit_sn,keys"), qPrintable(lines.at(headerRow)));
        for (int row = headerRow + 1; row < lines.size(); ++row) {
            const QStringList fields = lines.at(row).split(',');
            QCOMPARE(fields.mid(fields.size() - 2),
                     (QStringList{second.value(fields.first()).value("unit_sn"),
                                  second.value(fields.first()).value("keys")}));
        }
        QSet<QString> secondSerials;
        for (const auto& values : second) {
            secondSerials.insert(values.value("unit_sn"));
            QVERIFY(!voidedKeys.contains(values.value("keys")));
            QVERIFY(!keys.contains(values.value("keys")));
        }
        QCOMPARE(secondSerials, reused);
        QCOMPARE(countsOf("unit_sn").committed, 5);
    }

    // Devices aborted before they started give every value back, keys included.
    void abortedBeforeStart()
    {
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::maxConcurrentProcessesKey, 1);
        CorvaneProcessRunner runner;
        JobRunEngine engine(&runner);
        const PoolCounts keysBefore = countsOf("keys");
        const PoolCounts serialsBefore = countsOf("unit_sn");
        QSignalSpy ended(&engine, &JobRunEngine::runFinished);
        QVERIFY(
            engine.start(job({usb("801002345"), usb("801002346"), usb("801017733")}, {"unit_sn", "keys"})));
        engine.abortWaitingDevices();
        QVERIFY(ended.count() == 1 || ended.wait(60000));
        const int ran = session.batchInvocations().size();
        QCOMPARE(ran, 1);
        const PoolCounts keys = countsOf("keys");
        QCOMPARE(keys.left, keysBefore.left - 1);
        QCOMPARE(keys.committed, keysBefore.committed + 1);
        QCOMPARE(keys.voided, keysBefore.voided);
        QCOMPARE(keys.reserved, 0);
        QCOMPARE(countsOf("unit_sn").committed, serialsBefore.committed + 1);
    }

    // What the pools cannot serve is refused before any device starts.
    void refusedBeforeStart()
    {
        CorvaneProcessRunner runner;
        JobRunEngine engine(&runner);
        QSignalSpy errors(&engine, &JobRunEngine::errorEncountered);
        const PoolCounts before = countsOf("keys");
        QList<JobDevice> many;
        for (const char* serial :
             {"801002345", "801002346", "801017733", "801017734", "801020001", "801030007", "801030008"})
            many << usb(serial);
        many = many.mid(0, int(before.left) + 1);
        QVERIFY(!engine.start(job(many, {"keys"})));
        QCOMPARE(errors.count(), 1);
        const QString message = errors.takeFirst().value(0).toString();
        QVERIFY2(message.contains(QStringLiteral("has %1 values left").arg(before.left)),
                 qPrintable(message));

        QVERIFY(!engine.start(job({usb("801002345")}, {"unit_sn", "unit_serial"})));
        QCOMPARE(errors.takeFirst().value(0).toString(),
                 QStringLiteral("{{unit_serial}} is neither a built-in variable nor a data pool"));
        QVERIFY(session.batchInvocations().isEmpty());
        QCOMPARE(countsOf("keys").reserved, 0);
        QCOMPARE(countsOf("unit_sn").reserved, 0);
    }
};

HARNWICK_TEST(TestPoolRun)
#include "tst_poolrun.moc"
