#include "batchutil.h"
#include "commandlinerun.h"
#include "corvaneprocessrunner.h"
#include "forkedprocess.h"
#include "jobrunengine.h"
#include "productionstore.h"
#include "runrecorder.h"
#include "runrecords.h"
#include "runreport.h"
#include "settingsutil.h"
#include "simulatorsession.h"
#include "storejournal.h"
#include "storesettings.h"
#include "testenvironment.h"
#include "testregistry.h"
#include "teststores.h"

#include <QDir>
#include <QElapsedTimer>
#include <QLockFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QSet>
#include <QSignalSpy>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTest>
#include <QTextStream>

#include <csignal>
#include <memory>

namespace {

const QString injection = QStringLiteral("x'); DROP TABLE runs; --");

QByteArray tenAdapters()
{
    QByteArray fleet = "adapters:\n";
    for (int i = 1; i <= 10; ++i)
        fleet += "  - {serial: " + QByteArray::number(810000100 + i) + ", part: KM32G101F512}\n";
    return fleet;
}

JobDevice usb(const QString& serial, const QString& nickname = QString())
{
    return JobDevice{serial, QString(), BatchUtil::Usb, QStringLiteral("KM32G101F512"), nickname};
}

QMap<QString, QVariant> step(const char* task, const QMap<QString, QVariant>& values = {})
{
    QMap<QString, QVariant> map = values;
    map.insert(QStringLiteral("task"), QString::fromLatin1(task));
    map.insert(QStringLiteral("enabled"), true);
    return map;
}

StoreLocation locationOf(const QString& url)
{
    QString error;
    return StoreLocation::fromUrl(url, &error);
}

// Runs a job to its end with a recorder watching.
bool runJob(JobRunEngine& engine, const JobRunRequest& request)
{
    QSignalSpy ended(&engine, &JobRunEngine::runFinished);
    if (!engine.start(request))
        return false;
    return ended.wait(60000) || ended.count() == 1;
}

int count(ProductionStore& store, const QString& sql)
{
    QSqlQuery query(store.database());
    if (!query.exec(sql) || !query.next()) {
        qWarning("%s: %s", qPrintable(sql), qPrintable(query.lastError().text()));
        return -1;
    }
    return query.value(0).toInt();
}

// Device id → outcome of every result of a run in a store.
QMap<QString, QVariantMap> resultsOf(ProductionStore& store, const QString& runId)
{
    QMap<QString, QVariantMap> results;
    QSqlQuery query(store.database());
    query.prepare(QStringLiteral("SELECT * FROM device_results WHERE run_id = ?"));
    query.addBindValue(runId);
    if (!query.exec())
        return results;
    while (query.next()) {
        QVariantMap row;
        const QSqlRecord record = query.record();
        for (int i = 0; i < record.count(); ++i)
            row.insert(record.fieldName(i), record.value(i));
        results.insert(row.value(QStringLiteral("device_id")).toString(), row);
    }
    return results;
}

QStringList runIds(ProductionStore& store)
{
    QStringList ids;
    QSqlQuery query(store.database());
    query.exec(QStringLiteral("SELECT id FROM runs ORDER BY started_ms"));
    while (query.next())
        ids << query.value(0).toString();
    return ids;
}

// (run id, device id) of every result in the journals of a folder; with `runs`, the ids of the runs too.
QSet<QPair<QString, QString>> journalResults(const QString& folder, QSet<QString>* runs = nullptr)
{
    QSet<QPair<QString, QString>> results;
    const QDir dir(folder);
    for (const QString& name : dir.entryList({QStringLiteral("*.journal")}, QDir::Files)) {
        QString url;
        QList<QVariantMap> records;
        StoreJournal::read(dir.filePath(name), &url, &records);
        for (const QVariantMap& record : records) {
            if (runs && record.value(RunRecords::kindKey) == RunRecords::runKind)
                runs->insert(record.value(QStringLiteral("id")).toString());
            if (record.value(RunRecords::kindKey) == RunRecords::resultKind)
                results.insert({record.value(QStringLiteral("run_id")).toString(),
                                record.value(QStringLiteral("device_id")).toString()});
        }
    }
    return results;
}

} // namespace

class TestRunRecorder : public QObject
{
    Q_OBJECT

    TestStores stores;

private slots:
    void init()
    {
        TestEnvironment::clearSettings();
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                                 TestEnvironment::simulatorPath());
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::maxConcurrentProcessesKey, 3);
    }

    // A whole run against the simulator, every kind of end, as the store keeps it.
    void recordsARun_data() { TestStores::addBackendRows(); }
    void recordsARun()
    {
        HARNWICK_FRESH_STORE(stores, url);
        SimulatorSession session(SimulatorSession::faultyFleet());
        QFile image(session.filePath(QStringLiteral("app.hex")));
        QVERIFY(image.open(QIODevice::WriteOnly));
        image.write(QByteArray(2048, '\x5a'));
        image.close();
        QTemporaryDir journals;

        CorvaneProcessRunner runner;
        JobRunEngine engine(&runner);
        RunRecorder recorder(locationOf(url), journals.path());
        recorder.watch(&engine);

        JobRunRequest request;
        request.steps = {step("log_device_info"), step("wait", {{QStringLiteral("duration_ms"), 5}}),
                         step("mass_erase_target_device"),
                         step("flash_target_device", {{QStringLiteral("image_file"), image.fileName()}})};
        JobDevice dual{QStringLiteral("801020001"), QStringLiteral("192.0.2.20"), BatchUtil::Ip,
                       QStringLiteral("KX12B016A128"), QStringLiteral("bench-dual")};
        // "bad/id" cannot name a log file: it is refused before the start.
        request.devices = {usb(QStringLiteral("801002345"), injection), usb(QStringLiteral("801030007")),
                           usb(QStringLiteral("801030008")), dual, usb(QStringLiteral("bad/id"))};
        request.logging = true;
        request.logDirectory = session.filePath(QStringLiteral("logs"));
        QVERIFY(runJob(engine, request));
        QVERIFY2(recorder.settle(20000), qPrintable(recorder.problem()));
        QCOMPARE(recorder.waitingResults(), 0);

        ProductionStore store;
        QString error;
        QVERIFY2(store.open(locationOf(url), &error), qPrintable(error));
        const QStringList runs = runIds(store);
        QCOMPARE(runs.size(), 1);
        QSqlQuery run(store.database());
        QVERIFY(
            run.exec(QStringLiteral("SELECT station_id, ended_ms, devices, done, failed, crashed, timed_out, "
                                    "aborted, not_started, steps, job_sha256, started_ms FROM runs")));
        QVERIFY(run.next());
        QCOMPARE(run.value(0).toLongLong(), store.stationId());
        QVERIFY(!run.value(1).isNull() && run.value(1).toLongLong() >= run.value(11).toLongLong());
        QCOMPARE(run.value(2).toInt(), 5);
        QCOMPARE(run.value(3).toInt(), 2);
        QCOMPARE(run.value(4).toInt(), 1);
        QCOMPARE(run.value(5).toInt(), 1);
        QCOMPARE(run.value(6).toInt(), 0);
        QCOMPARE(run.value(7).toInt(), 0);
        QCOMPARE(run.value(8).toInt(), 1);
        QCOMPARE(run.value(9).toString(), RunReport::stepsInShort(request.steps));
        QCOMPARE(run.value(10).toString().size(), 64);
        QSqlQuery files(store.database());
        QVERIFY(files.exec(QStringLiteral("SELECT path, sha256 FROM run_files")));
        QVERIFY(files.next());
        QCOMPARE(files.value(0).toString(), image.fileName());
        QCOMPARE(files.value(1).toString(), RunReport::sha256OfFile(image.fileName()));
        QVERIFY(!files.next());

        const QMap<QString, QVariantMap> results = resultsOf(store, runs.first());
        QCOMPARE(results.keys(), QStringList({"801002345", "801020001", "801030007", "801030008", "bad/id"}));
        const QVariantMap done = results.value(QStringLiteral("801002345"));
        QCOMPARE(done.value("nickname").toString(), injection);
        QCOMPARE(done.value("outcome").toString(), QStringLiteral("done"));
        QCOMPARE(done.value("serial").toString(), QStringLiteral("801002345"));
        QCOMPARE(done.value("part").toString(), QStringLiteral("KM32G101F512"));
        QCOMPARE(done.value("connection").toString(), QStringLiteral("USB"));
        QCOMPARE(done.value("exit_code").toInt(), 0);
        QVERIFY(done.value("signal").isNull() && done.value("failed_action").isNull());
        QVERIFY(done.value("started_ms").toLongLong() <= done.value("ended_ms").toLongLong());
        QCOMPARE(done.value("utc_offset_s").toInt(), QDateTime::currentDateTime().offsetFromUtc());
        QCOMPARE(done.value("log_file").toString(),
                 QDir(request.logDirectory).absoluteFilePath(QStringLiteral("801002345.txt")));
        const QVariantMap dualResult = results.value(QStringLiteral("801020001"));
        QCOMPARE(dualResult.value("ip").toString(), QStringLiteral("192.0.2.20"));
        QCOMPARE(dualResult.value("connection").toString(), QStringLiteral("IP"));
        const QVariantMap failed = results.value(QStringLiteral("801030007"));
        QCOMPARE(failed.value("outcome").toString(), QStringLiteral("failed"));
        QCOMPARE(failed.value("failed_action").toInt(), 2);
        QCOMPARE(failed.value("failed_type").toString(), QStringLiteral("wait"));
        QCOMPARE(failed.value("exit_code").toInt(), 5);
        const QVariantMap crashed = results.value(QStringLiteral("801030008"));
        QCOMPARE(crashed.value("outcome").toString(), QStringLiteral("crashed"));
        QCOMPARE(crashed.value("failed_type").toString(), QStringLiteral("mass_erase_target_device"));
        QVERIFY(crashed.value("exit_code").isNull() && crashed.value("signal").toInt() > 0);
        const QVariantMap refused = results.value(QStringLiteral("bad/id"));
        QCOMPARE(refused.value("outcome").toString(), QStringLiteral("not started"));
        QVERIFY(refused.value("started_ms").isNull());

        // The text was a value, not SQL: the table it named is still there, and found by its value.
        QSqlQuery byNickname(store.database());
        byNickname.prepare(QStringLiteral("SELECT count(*) FROM device_results WHERE nickname = ?"));
        byNickname.addBindValue(injection);
        QVERIFY(byNickname.exec() && byNickname.next());
        QCOMPARE(byNickname.value(0).toInt(), 1);
        // With everything in the store, nothing waits in the journal.
        QVERIFY(journalResults(journals.path()).isEmpty());
    }

    // The server goes away during a run: the run goes on, the results wait in the journal and reach the
    // store once it is back, through the same program's retries and through the next program's start.
    void serverAwayDuringRuns()
    {
        if (PostgresServer::binaryFolder().isEmpty())
            QSKIP("No PostgreSQL server programs on this machine");
        SimulatorSession session(tenAdapters());
        QTemporaryDir journals;
        const QString url = stores.freshUrl(QStringLiteral("postgres"));
        QVERIFY(!url.isEmpty());
        PostgresServer& server = stores.postgres();
        QList<JobDevice> devices;
        for (int i = 1; i <= 10; ++i)
            devices << usb(QString::number(810000100 + i));
        JobRunRequest request;
        request.steps = {step("log_device_info"), step("wait", {{QStringLiteral("duration_ms"), 150}})};
        request.devices = devices;
        request.logging = false;
        SimulatorSession::setSpeed("1");
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::maxConcurrentProcessesKey, 2);

        ProductionStore reader;
        QString error;
        auto storedResults = [&] {
            if (!reader.isOpen() && !reader.open(locationOf(url), &error))
                return -1;
            return count(reader, QStringLiteral("SELECT count(*) FROM device_results"));
        };
        auto stopServerAfterFirstResult = [&](RunRecorder& recorder, JobRunEngine& engine) {
            QSignalSpy ended(&engine, &JobRunEngine::runFinished);
            connect(&engine, &JobRunEngine::deviceFinished, this, [&, done = false]() mutable {
                if (done)
                    return;
                done = true;
                // The first result reaches the store; then the server stops.
                recorder.settle(10000);
                reader.close();
                QString stopError;
                QVERIFY2(server.stop(&stopError), qPrintable(stopError));
            });
            if (!engine.start(request))
                return false;
            return ended.wait(60000) || ended.count() == 1;
        };

        {
            CorvaneProcessRunner runner;
            JobRunEngine engine(&runner);
            RunRecorder recorder(locationOf(url), journals.path());
            recorder.setRetryDelays(50, 400);
            recorder.watch(&engine);
            QSignalSpy errors(&recorder, &RunRecorder::errorEncountered);
            QVERIFY(stopServerAfterFirstResult(recorder, engine));
            QVERIFY(!recorder.settle(2000));
            const int waiting = recorder.waitingResults();
            QVERIFY2(waiting >= 5 && waiting <= 9, qPrintable(QString::number(waiting)));
            QVERIFY(!errors.isEmpty());
            QCOMPARE(errors.last().value(0).toString(), RunRecorder::unreachableText(waiting));
            QCOMPARE(journalResults(journals.path()).size(), waiting);

            // Back again: the same program's next try writes them.
            QVERIFY2(server.start(&error), qPrintable(error));
            QTRY_COMPARE_WITH_TIMEOUT(recorder.waitingResults(), 0, 30000);
            QCOMPARE(storedResults(), 10);
            QVERIFY(journalResults(journals.path()).isEmpty());
        }

        {
            CorvaneProcessRunner runner;
            JobRunEngine engine(&runner);
            auto recorder = std::make_unique<RunRecorder>(locationOf(url), journals.path());
            recorder->setRetryDelays(50, 400);
            recorder->watch(&engine);
            QVERIFY(stopServerAfterFirstResult(*recorder, engine));
            QVERIFY(!recorder->settle(2000));
            QVERIFY(recorder->waitingResults() > 0);
            // The program ends with the server away: its results stay in its journal.
            recorder.reset();
            QVERIFY(!journalResults(journals.path()).isEmpty());
        }
        QVERIFY2(server.start(&error), qPrintable(error));
        {
            // The next program's start replays them.
            RunRecorder next(locationOf(url), journals.path());
            QTRY_COMPARE_WITH_TIMEOUT(storedResults(), 20, 30000);
            QTRY_VERIFY(journalResults(journals.path()).isEmpty());
            QTRY_VERIFY(
                QDir(journals.path()).entryList({QStringLiteral("*.journal")}, QDir::Files).isEmpty());
        }
        // Each result once, for both runs.
        QCOMPARE(count(reader,
                       QStringLiteral("SELECT count(*) FROM runs WHERE ended_ms IS NOT NULL AND done = 10")),
                 2);
        QCOMPARE(
            count(reader, QStringLiteral("SELECT count(DISTINCT run_id || device_id) FROM device_results")),
            20);
        QCOMPARE(count(reader, QStringLiteral("SELECT count(*) FROM run_files")), 0);
        SimulatorSession::setSpeed("0");
    }

    // A headless run with the store away says so on standard error and still exits by the devices.
    void commandLineWithStoreAway()
    {
        SimulatorSession session(SimulatorSession::faultyFleet());
        QTemporaryDir folder;
        StoreSettings::setUrl(QStringLiteral("postgresql://harnwick@/line?host=") +
                              folder.filePath("no-server"));
        const QString bundle = folder.filePath(QStringLiteral("job.hwj"));
        QList<BatchUtil::DeviceEntry> entries;
        for (quint32 serial : {801002345u, 801030007u}) {
            BatchUtil::DeviceEntry entry;
            entry.serialNumber = serial;
            entry.connectionType = BatchUtil::Usb;
            entry.targetDevice = QStringLiteral("KM32G101F512");
            entry.selected = true;
            entries << entry;
        }
        BatchUtil util;
        QVERIFY(util.bundleWrite(bundle, {step("log_device_info"), step("wait", {{"duration_ms", 5}})},
                                 entries, false, QString(), 0, {}));
        QString out, err;
        QTextStream outStream(&out), errStream(&err);
        int status = -1;
        {
            CommandLineRun run(outStream, errStream, false);
            status = run.exec(
                {QStringLiteral("harnwick"), QStringLiteral("--run"), bundle, QStringLiteral("--no-logs")});
        }
        QCOMPARE(status, int(CommandLineRun::SomeUnsuccessful));
        QVERIFY2(out.contains(QLatin1String("2 devices: 1 done, 1 failed")), qPrintable(out));
        QVERIFY2(err.contains(QStringLiteral("harnwick: ") + RunRecorder::unreachableText(2)),
                 qPrintable(err));
        QVERIFY(!out.contains(QLatin1String("unreachable")));
        // Both results wait in the journal for the next start.
        QCOMPARE(journalResults(StoreJournal::defaultFolder()).size(), 2);
        for (const QString& name : QDir(StoreJournal::defaultFolder()).entryList(QDir::Files))
            QFile::remove(QDir(StoreJournal::defaultFolder()).filePath(name));
    }

    // --database names the store of one headless run; a URL that names none stops it before it starts.
    void commandLineDatabaseOption()
    {
        SimulatorSession session(SimulatorSession::faultyFleet());
        QTemporaryDir folder;
        const QString bundle = folder.filePath(QStringLiteral("job.hwj"));
        BatchUtil::DeviceEntry entry;
        entry.serialNumber = 801002345u;
        entry.connectionType = BatchUtil::Usb;
        entry.targetDevice = QStringLiteral("KM32G101F512");
        entry.selected = true;
        BatchUtil util;
        QVERIFY(util.bundleWrite(bundle, {step("log_device_info")}, {entry}, false, QString(), 0, {}));
        const QString settingsStore = stores.freshUrl(QStringLiteral("sqlite"));
        const QString chosen = stores.freshUrl(QStringLiteral("sqlite"));
        StoreSettings::setUrl(settingsStore);

        auto run = [&](const QString& database, QString* err) {
            QString out;
            QTextStream outStream(&out), errStream(err);
            CommandLineRun command(outStream, errStream, false);
            return command.exec({QStringLiteral("harnwick"), QStringLiteral("--run"), bundle,
                                 QStringLiteral("--no-logs"), QStringLiteral("--database"), database});
        };
        QString err;
        QCOMPARE(run(QStringLiteral("postgresql://db.line3.example:99999/production"), &err),
                 int(CommandLineRun::CannotRun));
        QVERIFY2(err.contains(QLatin1String("\"99999\"")), qPrintable(err));
        QVERIFY(session.batchInvocations().isEmpty());

        err.clear();
        QCOMPARE(run(chosen, &err), int(CommandLineRun::AllDone));
        QVERIFY2(err.isEmpty(), qPrintable(err));
        ProductionStore store;
        QString error;
        QVERIFY2(store.open(locationOf(chosen), &error), qPrintable(error));
        QCOMPARE(
            count(store, QStringLiteral("SELECT count(*) FROM device_results WHERE device_id = '801002345'")),
            1);
        QSqlQuery jobFile(store.database());
        QVERIFY(jobFile.exec(QStringLiteral("SELECT job_file, job_file_sha256 FROM runs")) && jobFile.next());
        QCOMPARE(jobFile.value(0).toString(), bundle);
        QCOMPARE(jobFile.value(1).toString(), RunReport::sha256OfFile(bundle));
        QVERIFY(!QFileInfo::exists(locationOf(settingsStore).sqlitePath()));
    }

    // The settings that matter leave a row in the audit; a new database setting moves the window's runs
    // there.
    void auditAndMoveWithTheSettings()
    {
        SimulatorSession session(SimulatorSession::faultyFleet());
        QTemporaryDir journals;
        const QString first = stores.freshUrl(QStringLiteral("sqlite"));
        const QString second = stores.freshUrl(QStringLiteral("sqlite"));
        StoreSettings::setUrl(first);
        CorvaneProcessRunner runner;
        JobRunEngine engine(&runner);
        RunRecorder recorder(StoreSettings::location(), journals.path());
        recorder.setOperatorName(QStringLiteral("m.okafor"));
        recorder.watch(&engine);
        recorder.followSettings();

        const QString simulator = TestEnvironment::simulatorPath();
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                                 QStringLiteral("/opt/kelmara/cv2"));
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey, simulator);
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::processTimeoutSecondsKey, 240);
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::maxConcurrentProcessesKey, 3); // unchanged
        SettingsUtil::setSetting(Settings::loggingGroup, Settings::loggingEnabledKey, false); // not audited
        StoreSettings::setUrl(second);
        QCOMPARE(recorder.location(), locationOf(second));

        JobRunRequest request;
        request.steps = {step("log_device_info")};
        request.devices = {usb(QStringLiteral("801002345"))};
        request.logging = false;
        QVERIFY(runJob(engine, request));
        QVERIFY2(recorder.settle(20000), qPrintable(recorder.problem()));

        auto audit = [&](const QString& url) {
            ProductionStore store;
            QString error;
            QStringList rows;
            if (!store.open(locationOf(url), &error))
                return QStringList{error};
            QSqlQuery query(store.database());
            query.exec(QStringLiteral(
                "SELECT what, old_value, new_value, actor, station_id FROM audit ORDER BY id"));
            while (query.next())
                rows << QStringList{query.value(0).toString(), query.value(1).toString(),
                                    query.value(2).toString(), query.value(3).toString(),
                                    query.value(4).toLongLong() == store.stationId() ? "here" : "elsewhere"}
                            .join(QLatin1Char('|'));
            return rows;
        };
        // Runs recorded before the move went to the old store, which keeps the record of the move.
        QCOMPARE(audit(first),
                 QStringList({"Corvane/executable|" + simulator + "|/opt/kelmara/cv2|m.okafor|here",
                              "Corvane/executable|/opt/kelmara/cv2|" + simulator + "|m.okafor|here",
                              "Corvane/process_timeout_seconds||240|m.okafor|here",
                              "ProductionDatabase/url|" + first + "|" + second + "|m.okafor|here"}));
        QCOMPARE(audit(second),
                 QStringList({"ProductionDatabase/url|" + first + "|" + second + "|m.okafor|here"}));
        ProductionStore store;
        QString error;
        QVERIFY(store.open(locationOf(second), &error));
        QCOMPARE(count(store, QStringLiteral("SELECT count(*) FROM device_results")), 1);
        ProductionStore old;
        QVERIFY(old.open(locationOf(first), &error));
        QCOMPARE(count(old, QStringLiteral("SELECT count(*) FROM runs")), 0);
    }

    // harnwick --run killed at random moments while it writes: the store always opens intact, and every
    // device whose end the program printed is in the store or in a journal.
    // Two programs write their runs into one PostgreSQL store at the same time: every result once.
    void twoProgramsOneServer()
    {
        SimulatorSession session(tenAdapters());
        SimulatorSession::setSpeed("0.1");
        const QString url = stores.freshUrl(QStringLiteral("postgres"));
        if (url.isEmpty())
            return;
        QTemporaryDir folder;
        std::vector<std::unique_ptr<ForkedProcess>> programs;
        for (int half = 0; half < 2; ++half) {
            QList<BatchUtil::DeviceEntry> entries;
            for (int i = 1; i <= 5; ++i) {
                BatchUtil::DeviceEntry entry;
                entry.serialNumber = quint32(810000100 + 5 * half + i);
                entry.connectionType = BatchUtil::Usb;
                entry.targetDevice = QStringLiteral("KM32G101F512");
                entry.selected = true;
                entries << entry;
            }
            const QString bundle = folder.filePath(QStringLiteral("half%1.hwj").arg(half));
            QVERIFY(BatchUtil().bundleWrite(bundle,
                                            {step("log_device_info"), step("wait", {{"duration_ms", 20}})},
                                            entries, false, QString(), 0, {}));
            programs.push_back(std::make_unique<ForkedProcess>());
            programs.back()->start(TestEnvironment::programPath(QStringLiteral(HARNWICK_PROGRAM)),
                                   {QStringLiteral("--run"), bundle, QStringLiteral("--no-logs"),
                                    QStringLiteral("--database"), url});
        }
        for (const auto& program : programs) {
            QVERIFY(program->waitForFinished(120000));
            QVERIFY2(program->exitCode() == 0, program->readAllStandardError().constData());
        }
        SimulatorSession::setSpeed("0");
        ProductionStore store;
        QString error;
        QVERIFY2(store.open(locationOf(url), &error), qPrintable(error));
        QCOMPARE(count(store, QStringLiteral("SELECT count(*) FROM runs")), 2);
        QCOMPARE(count(store, QStringLiteral("SELECT count(*) FROM device_results WHERE outcome = 'done'")),
                 10);
        QCOMPARE(count(store, QStringLiteral("SELECT count(DISTINCT device_id) FROM device_results")), 10);
    }

    void killedWhileWriting()
    {
        SimulatorSession session(tenAdapters());
        QTemporaryDir folder;
        const QString storePath = folder.filePath(QStringLiteral("line.sqlite"));
        StoreSettings::setUrl(QStringLiteral("sqlite:") + storePath);
        const QString journals = StoreJournal::defaultFolder();
        const QString bundle = folder.filePath(QStringLiteral("job.hwj"));
        QList<BatchUtil::DeviceEntry> entries;
        for (int i = 1; i <= 10; ++i) {
            BatchUtil::DeviceEntry entry;
            entry.serialNumber = quint32(810000100 + i);
            entry.connectionType = BatchUtil::Usb;
            entry.targetDevice = QStringLiteral("KM32G101F512");
            entry.nickname = i == 3 ? injection : QString();
            entry.selected = true;
            entries << entry;
        }
        BatchUtil util;
        QVERIFY(util.bundleWrite(bundle, {step("log_device_info"), step("wait", {{"duration_ms", 20}})},
                                 entries, false, QString(), 0, {}));
        // About 70 ms a device, three at once: a run lasts about as long as the kills' range.
        SimulatorSession::setSpeed("0.1");

        const int rounds = qEnvironmentVariableIntValue("HARNWICK_KILL_ROUNDS") > 0
                               ? qEnvironmentVariableIntValue("HARNWICK_KILL_ROUNDS")
                               : 20;
        // The kills fall anywhere in a whole run as long as this machine takes for one (an emulator
        // takes many times longer to start the program than a native run lasts).
        const auto startChild = [&](ForkedProcess& child) {
            child.setProgram(TestEnvironment::programPath(QStringLiteral(HARNWICK_PROGRAM)));
            child.setArguments({QStringLiteral("--run"), bundle, QStringLiteral("--no-logs"),
                                QStringLiteral("--concurrency"), QStringLiteral("3")});
            child.start();
            return child.waitForStarted();
        };
        QElapsedTimer runClock;
        runClock.start();
        {
            ForkedProcess whole;
            QVERIFY(startChild(whole));
            QVERIFY(whole.waitForFinished(60000));
        }
        const int killRange = int(qMax<qint64>(900, runClock.elapsed()));
        int killedWithResults = 0;
        ProductionStore blocker;
        QString error;
        QVERIFY2(blocker.open(StoreLocation::sqliteFile(storePath), &error), qPrintable(error));
        // The whole run is known before the kills begin.
        QSet<QString> calibration;
        journalResults(journals, &calibration);
        QStringList known = runIds(blocker) + calibration.values();
        for (int round = 0; round < rounds; ++round) {
            // Every other round another program holds the store's write lock all along, as a busy
            // line might: what the child hands over then waits in its journal when the kill comes.
            QSqlQuery hold(blocker.database());
            const bool busy = round % 2 == 1;
            if (busy)
                QVERIFY(hold.exec(QStringLiteral("BEGIN IMMEDIATE")));
            ForkedProcess child;
            QVERIFY(startChild(child));
            const int killAfter = QRandomGenerator::global()->bounded(30, killRange);
            QTest::qWait(killAfter);
            // Never kill(0, ...): that is the whole process group, this test included.
            const qint64 pid = child.processId();
            if (child.state() == QProcess::Running && pid > 0)
                ::kill(pid_t(pid), SIGKILL);
            QVERIFY(child.state() == QProcess::NotRunning || child.waitForFinished(10000));
            // Lines of devices that had ended when the program was killed.
            QStringList ended;
            const QByteArray output = child.readAllStandardOutput();
            for (const QByteArray& line : output.split('\n')) {
                const QList<QByteArray> fields = line.simplified().split(' ');
                if (fields.size() >= 2 && fields.first() == "DONE")
                    ended << QString::fromLatin1(fields.at(1));
            }

            if (busy)
                QVERIFY(hold.exec(QStringLiteral("ROLLBACK")));
            ProductionStore store;
            QVERIFY2(store.open(StoreLocation::sqliteFile(storePath), &error), qPrintable(error));
            QSqlQuery check(store.database());
            QVERIFY(check.exec(QStringLiteral("PRAGMA integrity_check")) && check.next());
            QCOMPARE(check.value(0).toString(), QStringLiteral("ok"));
            check.finish();

            QSet<QString> runs;
            QSet<QPair<QString, QString>> kept = journalResults(journals, &runs);
            for (const QString& run : runIds(store)) {
                runs.insert(run);
                for (const QString& device : resultsOf(store, run).keys())
                    kept.insert({run, device});
            }
            for (const QString& run : qAsConst(known))
                runs.remove(run);
            // At most this round's run is new; the devices it printed are kept in it.
            QVERIFY2(runs.size() <= 1, qPrintable(QStringList(runs.values()).join(' ')));
            if (!ended.isEmpty()) {
                ++killedWithResults;
                QCOMPARE(runs.size(), 1);
                for (const QString& device : qAsConst(ended))
                    QVERIFY2(kept.contains({*runs.cbegin(), device}),
                             qPrintable(QStringLiteral("round %1: %2 lost").arg(round).arg(device)));
            }
            known += runs.values();
        }
        // The kills did land mid-run, not only before or after.
        qInfo("%d of %d kills came after devices had ended", killedWithResults, rounds);
        QVERIFY2(killedWithResults > 0, "no kill came while devices were ending");
        SimulatorSession::setSpeed("0");
    }
};

HARNWICK_TEST(TestRunRecorder)
#include "tst_runrecorder.moc"
