#include "settingsutil.h"
#include "simulatorsession.h"
#include "stationengine.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QtTest>

namespace {

struct RecordedCall
{
    QString command;
    QStringList arguments;
    qint64 tMs = 0;
    QString serial() const { return arguments.value(arguments.indexOf(QStringLiteral("--serialno")) + 1); }
};

QList<RecordedCall> recordedCalls(const QString& path)
{
    QList<RecordedCall> calls;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return calls;
    for (const QByteArray& line : file.readAll().split('\n')) {
        const QJsonObject object = QJsonDocument::fromJson(line).object();
        if (!object.isEmpty())
            calls.append({object.value(QStringLiteral("command")).toString(),
                          object.value(QStringLiteral("arguments")).toVariant().toStringList(),
                          qint64(object.value(QStringLiteral("t_ms")).toDouble())});
    }
    return calls;
}

BatchUtil::DeviceEntry bundleDevice(quint32 serial)
{
    BatchUtil::DeviceEntry entry;
    entry.serialNumber = serial;
    entry.connectionType = BatchUtil::Usb;
    entry.selected = true;
    return entry;
}

// One wait of 400 ms: with the adapter's connection a unit takes about 0.7 s.
JobRunRequest job(const QList<quint32>& allowed)
{
    JobRunRequest request;
    request.steps = {{{QStringLiteral("task"), QStringLiteral("wait")},
                      {QStringLiteral("enabled"), true},
                      {QStringLiteral("duration_ms"), 400}}};
    for (quint32 serial : allowed)
        request.bundleDevices << bundleDevice(serial);
    request.logging = false;
    request.timeoutSeconds = 30;
    return request;
}

} // namespace

// The hands-free engine against the simulator's hot-plug timelines: adapters and boards come and go
// on a clock shared with the simulator, and the record shows which batch runs were started and when.
class TestStationEngine : public QObject
{
    Q_OBJECT

    SimulatorSession session{QByteArray()};
    qint64 epochMs = 0;

    void useFleet(const QByteArray& fleet)
    {
        QFile file(session.filePath(QStringLiteral("fleet.yaml")));
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(fleet);
        file.close();
        session.clearRecord();
        // A little ahead, so the engine's first poll comes before the first window opens.
        epochMs = QDateTime::currentMSecsSinceEpoch() + 300;
        qputenv("CORVANE_SIM_EPOCH_MS", QByteArray::number(epochMs));
    }

    static void waitUntil(qint64 unixMs)
    {
        while (QDateTime::currentMSecsSinceEpoch() < unixMs)
            QTest::qWait(50);
    }

    // Batch runs per adapter serial, with their times from the epoch.
    QMap<QString, QList<qint64>> batchStarts() const
    {
        QMap<QString, QList<qint64>> starts;
        for (const RecordedCall& call : recordedCalls(session.recordPath())) {
            if (call.command == QLatin1String("batch"))
                starts[call.serial()] << call.tMs - epochMs;
        }
        return starts;
    }

private slots:
    void initTestCase()
    {
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                                 TestEnvironment::simulatorPath());
        SimulatorSession::setSpeed("1");
    }

    void cleanupTestCase() { qunsetenv("CORVANE_SIM_EPOCH_MS"); }

    // Boards with their own adapters: one left in place, one bouncing as it is plugged in, one not
    // allowed, one that fails and is re-seated.
    void adapterTrigger()
    {
        if (TestEnvironment::slowProcesses())
            QSKIP("The boards come and go on the wall clock, which slow process starts outrun");
        useFleet("adapters:\n"
                 "  - {serial: 801040001, part: KM32G101F512, attached: [[500, null]]}\n"
                 "  - {serial: 801040002, part: KM32G101F512, attached: [[500, 800], [1200, 6000]]}\n"
                 "  - {serial: 801040003, part: KM32G101F512, attached: [[0, null]]}\n"
                 "  - serial: 801040004\n"
                 "    part: KM32G101F512\n"
                 "    attached: [[300, 3000], [4000, null]]\n"
                 "    faults: [{command: batch, effect: fail, step: 1, exit_code: 5}]\n");
        StationEngine engine;
        StationOptions options;
        options.settleMs = 600;
        options.pollMs = 100;
        engine.setOptions(options);
        engine.setJob(job({801040001, 801040002, 801040004}));
        QSignalSpy finished(&engine, &StationEngine::unitFinished);
        engine.start();
        waitUntil(epochMs + 7500);
        QTRY_COMPARE(engine.runningCount(), 0);

        const auto starts = batchStarts();
        QCOMPARE(starts.value("801040001").size(), 1);
        QCOMPARE(starts.value("801040002").size(), 1);
        QVERIFY(!starts.contains("801040003"));
        QCOMPARE(starts.value("801040004").size(), 2);
        // Never before the settle time of the stretch it started in; soon after it.
        const QList<qint64> settled{500 + 600, 1200 + 600, 300 + 600, 4000 + 600};
        const QList<qint64> started{starts.value("801040001").at(0), starts.value("801040002").at(0),
                                    starts.value("801040004").at(0), starts.value("801040004").at(1)};
        for (int i = 0; i < settled.size(); ++i)
            QVERIFY2(started.at(i) >= settled.at(i) && started.at(i) < settled.at(i) + 1500,
                     qPrintable(QStringLiteral("unit %1 started at %2 ms").arg(i).arg(started.at(i))));

        QCOMPARE(finished.count(), 4);
        QStringList outcomes;
        for (const auto& arguments : finished)
            outcomes << arguments.at(0).value<StationUnit>().deviceId + QLatin1Char(' ') +
                            arguments.at(0).value<StationUnit>().outcome;
        outcomes.sort();
        QCOMPARE(outcomes,
                 QStringList({"801040001 done", "801040002 done", "801040004 failed", "801040004 failed"}));
        QCOMPARE(engine.slot("801040001")->state, StationSlot::State::Pass);
        QCOMPARE(engine.slot("801040003")->state, StationSlot::State::NotAllowed);
        QCOMPARE(engine.slot("801040004")->state, StationSlot::State::Fail);
        QVERIFY2(engine.slot("801040004")->reason.contains("Simulated failure"),
                 qPrintable(engine.slot("801040004")->reason));
        // Unplugged for good: ready for the next board.
        QCOMPARE(engine.slot("801040002")->state, StationSlot::State::Ready);

        // A new job disarms the slots: the board left in place is not run again even by hand-free
        // re-arming, only by the operator.
        engine.setJob(job({801040001, 801040002, 801040004}));
        QTest::qWait(1000);
        QCOMPARE(batchStarts().value("801040001").size(), 1);
        engine.rearm("801040001");
        QTRY_COMPARE_WITH_TIMEOUT(batchStarts().value("801040001").size(), 2, 5000);
        engine.stopPolling();
        QTRY_COMPARE(engine.runningCount(), 0);
    }

    // Adapters in a fixture and boards placed on them: the board bounces as it is removed, then a
    // new one comes. An adapter not allowed is never asked for its board, a running one is left
    // alone and one long without a board rests between questions.
    void targetTrigger()
    {
        if (TestEnvironment::slowProcesses())
            QSKIP("The boards come and go on the wall clock, which slow process starts outrun");
        useFleet("adapters:\n"
                 "  - serial: 801040011\n"
                 "    part: KM32G101F512\n"
                 "    targets: [{from_ms: 500, until_ms: 2500}, {from_ms: 2700, until_ms: 2900},\n"
                 "              {from_ms: 4800, until_ms: null}]\n"
                 "  - {serial: 801040012, part: KM32G101F512, targets: [{from_ms: 0}]}\n"
                 "  - {serial: 801040013, part: KM32G101F512, targets: [{from_ms: 99999999}]}\n");
        StationEngine engine;
        StationOptions options;
        options.trigger = StationOptions::Trigger::Target;
        options.settleMs = 600;
        options.pollMs = 100;
        options.restAfterMs = 1000;
        options.restPollMs = 2000;
        engine.setOptions(options);
        engine.setJob(job({801040011, 801040013}));
        QList<QPair<qint64, qint64>> runs; // wall-clock start and end of each unit
        connect(&engine, &StationEngine::unitStarted, this, [&runs] {
            runs.append({QDateTime::currentMSecsSinceEpoch(), 0});
        });
        connect(&engine, &StationEngine::unitFinished, this,
                [&runs] { runs.last().second = QDateTime::currentMSecsSinceEpoch(); });
        engine.start();
        waitUntil(epochMs + 7500);
        engine.stopPolling();
        QTRY_COMPARE(engine.runningCount(), 0);

        const auto starts = batchStarts();
        QCOMPARE(starts.value("801040011").size(), 2);
        QVERIFY(starts.value("801040011").at(0) >= 1100);
        QVERIFY(starts.value("801040011").at(1) >= 5400);
        QVERIFY(!starts.contains("801040012"));
        QCOMPARE(engine.slot("801040012")->state, StationSlot::State::NotAllowed);
        QCOMPARE(runs.size(), 2);
        int infos = 0;
        int restingInfos = 0;
        for (const RecordedCall& call : recordedCalls(session.recordPath())) {
            if (call.command != QLatin1String("info"))
                continue;
            if (call.serial() == QLatin1String("801040013")) {
                ++restingInfos;
                continue;
            }
            QCOMPARE(call.serial(), QString("801040011"));
            ++infos;
            for (const auto& run : runs)
                QVERIFY2(call.tMs < run.first || call.tMs > run.second,
                         "the adapter was polled during its own run");
        }
        QVERIFY(infos > 10);
        // An adapter long without a board is still asked, but seldom.
        QVERIFY2(restingInfos >= 3 && restingInfos < infos / 2,
                 qPrintable(QStringLiteral("%1 and %2 questions").arg(restingInfos).arg(infos)));
    }

    // A tool that cannot be started leaves no result behind: polling goes on and says why.
    void pollsGoOnWhenTheToolWillNotStart()
    {
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                                 session.filePath(QStringLiteral("no-such-tool")));
        StationEngine engine;
        StationOptions options;
        options.pollMs = 100;
        engine.setOptions(options);
        engine.setJob(job({801040001}));
        QSignalSpy errors(&engine, &StationEngine::errorEncountered);
        engine.start();
        QTRY_VERIFY_WITH_TIMEOUT(engine.pollCycles() >= 4, 5000);
        QVERIFY(!errors.isEmpty());
        QVERIFY(errors.constFirst().at(0).toString().contains("no-such-tool"));
        engine.stopPolling();
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                                 TestEnvironment::simulatorPath());
    }
};

HARNWICK_TEST(TestStationEngine)
#include "tst_stationengine.moc"
