#include "corvaneprocessrunner.h"
#include "jobrunengine.h"
#include "settingsutil.h"
#include "simulatorsession.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QFileInfo>
#include <QSignalSpy>
#include <QTest>

namespace {

JobDevice usb(const char* serial, const char* nickname = "")
{
    return JobDevice{QString::fromLatin1(serial), QString(), BatchUtil::Usb, QString(),
                     QString::fromLatin1(nickname)};
}

QMap<QString, QVariant> step(const char* task, const QMap<QString, QVariant>& values = {})
{
    QMap<QString, QVariant> map = values;
    map.insert(QStringLiteral("task"), QString::fromLatin1(task));
    map.insert(QStringLiteral("enabled"), true);
    return map;
}

// Three actions: device info, a wait of `waitMs` and a mass erase.
JobRunRequest request(const QList<JobDevice>& devices, int waitMs = 10)
{
    JobRunRequest request;
    request.steps = {step("log_device_info"), step("wait", {{QStringLiteral("duration_ms"), waitMs}}),
                     step("mass_erase_target_device")};
    request.devices = devices;
    request.logging = false;
    request.timeoutSeconds = 33;
    return request;
}

} // namespace

// The job run engine without any window: the runner, the simulator and the engine's signals.
class TestJobRunEngine : public QObject
{
    Q_OBJECT

    SimulatorSession session{SimulatorSession::faultyFleet()};

    static void waitForEnd(QSignalSpy& finished) { QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 1, 60000); }

private slots:
    void init()
    {
        TestEnvironment::clearSettings();
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                                 TestEnvironment::simulatorPath());
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::maxConcurrentProcessesKey, 2);
        SimulatorSession::setSpeed("0");
        session.clearRecord();
    }

    void outcomesOfAMixedRun()
    {
        CorvaneProcessRunner runner;
        JobRunEngine engine(&runner);
        JobDevice dual{QStringLiteral("801020001"), QStringLiteral("192.0.2.20"), BatchUtil::Ip,
                       QStringLiteral("KX12B016A128"), QStringLiteral("bench-dual")};
        JobDevice unknown = usb("801017733");
        unknown.connectionType = BatchUtil::Unknown;
        JobRunRequest job = request(
            {usb("801002345", "bench-left"), usb("801030007"), usb("801030008"), dual, unknown, usb("")});
        job.logging = true;
        job.logDirectory = session.filePath(QStringLiteral("logs"));
        job.variableNames = QStringList{QStringLiteral("nickname")};

        QSignalSpy starting(&engine, &JobRunEngine::runStarting);
        QSignalSpy started(&engine, &JobRunEngine::deviceStarted);
        QSignalSpy finished(&engine, &JobRunEngine::deviceFinished);
        QSignalSpy ended(&engine, &JobRunEngine::runFinished);
        QStringList order;
        connect(&engine, &JobRunEngine::deviceStarted, this, [&](const QString& id) { order << "+" + id; });
        connect(&engine, &JobRunEngine::deviceFinished, this,
                [&](const JobDeviceRun& run) { order << "-" + run.id; });
        QVERIFY(engine.start(job));
        QVERIFY(engine.isRunning());
        const QString folder = engine.runFolder();
        QVERIFY(QFileInfo(engine.bundlePath()).isFile());
        QCOMPARE(QFileInfo(engine.bundlePath()).path(), folder);
        // Devices without the value their connection needs are not run.
        QCOMPARE(starting.value(0).value(0).toStringList(),
                 QStringList({"801002345", "801030007", "801030008", "801020001"}));
        QCOMPARE(engine.counts().waiting + engine.counts().running, 4);
        waitForEnd(ended);

        QCOMPARE(started.count(), 4);
        QCOMPARE(finished.count(), 4);
        for (const QString id : {"801002345", "801030007", "801030008", "801020001"})
            QVERIFY2(order.indexOf("+" + id) < order.indexOf("-" + id), qPrintable(order.join(' ')));
        const JobDeviceRun* done = engine.device(QStringLiteral("801002345"));
        const JobDeviceRun* failed = engine.device(QStringLiteral("801030007"));
        const JobDeviceRun* crashed = engine.device(QStringLiteral("801030008"));
        QVERIFY(done && failed && crashed);
        QCOMPARE(done->state, JobDeviceState::Done);
        QCOMPARE(done->action, 3);
        QVERIFY(done->startedAt.isValid() && done->startedAt <= done->finishedAt);
        QCOMPARE(done->arguments,
                 QStringList({"--serialno", "801002345", "--parameter", "nickname:bench-left", "--logfile",
                              QDir(job.logDirectory).absoluteFilePath("801002345.txt"), "--timeout", "33"}));
        QVERIFY(QFileInfo(done->logFile).isFile());
        QCOMPARE(failed->state, JobDeviceState::Failed);
        QCOMPARE(failed->action, 2);
        QCOMPARE(failed->exitCode, 5);
        QCOMPARE(JobExecution::failureLine(failed->output, failed->errorOutput),
                 QStringLiteral("ERROR: Simulated failure."));
        QCOMPARE(crashed->state, JobDeviceState::Crashed);
        QCOMPARE(crashed->action, 3);
        QCOMPARE(engine.device(QStringLiteral("801020001"))->arguments.mid(0, 2),
                 QStringList({"--ip", "192.0.2.20"}));
        const JobRunCounts counts = engine.counts();
        QCOMPARE(counts.done, 2);
        QCOMPARE(counts.failed, 1);
        QCOMPARE(counts.crashed, 1);
        QCOMPARE(counts.unsuccessful(), 2);

        // Every invocation named the run's bundle, whose folder went with the run.
        const QList<QStringList> runs = session.batchInvocations();
        QCOMPARE(runs.size(), 4);
        for (const QStringList& arguments : runs)
            QCOMPARE(QFileInfo(arguments.value(1)).path(), folder);
        QVERIFY(!engine.isRunning());
        QVERIFY(engine.runFolder().isEmpty());
        QVERIFY(!QFileInfo::exists(folder));
    }

    void refusedRuns()
    {
        CorvaneProcessRunner runner;
        JobRunEngine engine(&runner);
        QSignalSpy errors(&engine, &JobRunEngine::errorEncountered);
        QSignalSpy refused(&engine, &JobRunEngine::deviceRefused);

        QVERIFY(!engine.start(request({usb("")})));
        QCOMPARE(errors.takeLast().value(0).toString(), QStringLiteral("No devices selected."));

        JobRunRequest job = request({usb("801002345")});
        job.executableValid = false;
        QVERIFY(!engine.start(job));
        QVERIFY(errors.takeLast().value(0).toString().startsWith(
            QStringLiteral("Cannot start job; the configured path does not point to a valid Corvane")));

        // A log folder that cannot be made: a regular file stands where it should be.
        QFile blocker(session.filePath(QStringLiteral("plain-file")));
        QVERIFY(blocker.open(QIODevice::WriteOnly) && blocker.write("x") == 1);
        blocker.close();
        job = request({usb("801002345")});
        job.logging = true;
        job.logDirectory = blocker.fileName() + QStringLiteral("/logs");
        QVERIFY(!engine.start(job));
        QVERIFY(errors.takeLast().value(0).toString().contains(QStringLiteral("could not be created")));

        // An id that would name a file outside the log folder is refused on its own.
        job.logDirectory = session.filePath(QStringLiteral("logs"));
        job.devices = {usb("80/../1")};
        QVERIFY(!engine.start(job));
        QCOMPARE(refused.count(), 1);
        QCOMPARE(refused.at(0).value(0).toString(), QStringLiteral("80/../1"));

        QVERIFY(!engine.isRunning());
        QVERIFY(session.batchInvocations().isEmpty());
        QCOMPARE(session.runFolders(), QStringList());
    }

    void abortKillAndStall()
    {
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::maxConcurrentProcessesKey, 1);
        SimulatorSession::setSpeed("1");
        CorvaneProcessRunner runner;
        JobRunEngine engine(&runner);
        QSignalSpy aborted(&engine, &JobRunEngine::deviceAborted);
        QSignalSpy ended(&engine, &JobRunEngine::runFinished);
        QSignalSpy output(&engine, &JobRunEngine::deviceOutput);
        QVERIFY(engine.start(request({usb("801002345"), usb("801002346"), usb("801017733")}, 5000)));
        QCOMPARE(engine.counts().running, 1);
        // The tool is under way before anything is stopped.
        QTRY_VERIFY_WITH_TIMEOUT(!output.isEmpty(), 20000);
        engine.abortWaitingDevices();
        QCOMPARE(aborted.count(), 2);
        QVERIFY(engine.isRunning());
        engine.killRunningDevices();
        waitForEnd(ended);
        // Ended on request: aborted, not crashed.
        QCOMPARE(engine.device(QStringLiteral("801002345"))->state, JobDeviceState::Aborted);
        QCOMPARE(engine.counts().aborted, 3);
        QCOMPARE(session.batchInvocations().size(), 1);

        // The tool gone after it was found usable: the first device never starts, the rest are
        // aborted, and the run still ends.
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                                 session.filePath(QStringLiteral("no-such-corvane")));
        QSignalSpy errors(&engine, &JobRunEngine::errorEncountered);
        QSignalSpy stalledEnd(&engine, &JobRunEngine::runFinished);
        QVERIFY(engine.start(request({usb("801002345"), usb("801002346")})));
        waitForEnd(stalledEnd);
        QVERIFY(errors.last().value(0).toString().contains(QStringLiteral("could not be started")));
        QCOMPARE(engine.device(QStringLiteral("801002345"))->state, JobDeviceState::NotStarted);
        QCOMPARE(engine.device(QStringLiteral("801002346"))->state, JobDeviceState::Aborted);
        QCOMPARE(session.runFolders(), QStringList());
    }

    // Crashed and never started devices stay out of "failed" and are named only when present.
    void totalsText_data()
    {
        QTest::addColumn<int>("failed");
        QTest::addColumn<int>("crashed");
        QTest::addColumn<int>("notStarted");
        QTest::addColumn<bool>("finished");
        QTest::addColumn<QString>("expected");
        QTest::newRow("only failures")
            << 2 << 0 << 0 << true << "Last run: 3 done, 2 failed, 1 aborted of 6 in ";
        QTest::newRow("crash apart") << 1 << 1 << 0 << true
                                     << "Last run: 3 done, 1 failed, 1 crashed, 1 aborted of 6 in ";
        QTest::newRow("never started apart")
            << 0 << 0 << 2 << true << "Last run: 3 done, 0 failed, 2 not started, 1 aborted of 6 in ";
        QTest::newRow("running, all kinds")
            << 1 << 1 << 1 << false
            << "3 done, 1 failed, 1 crashed, 1 not started, 1 aborted, 0 running, 0 waiting, ";
    }

    void totalsText()
    {
        QFETCH(int, failed);
        QFETCH(int, crashed);
        QFETCH(int, notStarted);
        QFETCH(bool, finished);
        QFETCH(QString, expected);
        JobRunCounts counts;
        counts.done = 3;
        counts.aborted = 1;
        counts.failed = failed;
        counts.crashed = crashed;
        counts.notStarted = notStarted;
        const QString text = jobRunTotalsText(counts, 1500, finished);
        QVERIFY2(text.startsWith(expected), qPrintable(text));
    }
};

HARNWICK_TEST(TestJobRunEngine)
#include "tst_jobrunengine.moc"
