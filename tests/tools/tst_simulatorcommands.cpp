#include "batchutil.h"
#include "forkedprocess.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>
#include <vector>

// The device and job tests read the simulator's replies, faults and batch runs through the program;
// what they cannot see is whether the simulator itself stays strict, records every call and keeps a
// job's time limit. A simulator broken in those ways would let them pass for the wrong reason.
class TestSimulatorCommands : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;
    // Set for hot-plug: the moment from which the fleet's windows count.
    QByteArray epochMs;
    QByteArray speed = "0";

    // Starts the simulator with a fleet file (its built-in fleet when empty), no simulated waiting
    // and every call recorded in dir.
    std::unique_ptr<ForkedProcess> start(const QStringList& arguments, const QByteArray& fleet = {})
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("CORVANE_SIM_SPEED", speed);
        if (epochMs.isEmpty())
            environment.remove("CORVANE_SIM_EPOCH_MS");
        else
            environment.insert("CORVANE_SIM_EPOCH_MS", epochMs);
        environment.insert("CORVANE_SIM_RECORD", dir.filePath("record.jsonl"));
        environment.remove("CORVANE_SIM_FLEET");
        if (!fleet.isEmpty()) {
            QFile file(dir.filePath("fleet.yaml"));
            if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
                file.write(fleet);
            environment.insert("CORVANE_SIM_FLEET", file.fileName());
        }
        auto process = std::make_unique<ForkedProcess>();
        process->setProcessEnvironment(environment);
        process->start(TestEnvironment::simulatorPath(), arguments);
        return process;
    }

    std::unique_ptr<ForkedProcess> run(const QStringList& arguments, const QByteArray& fleet = {})
    {
        auto process = start(arguments, fleet);
        if (!process->waitForFinished(30000))
            process->kill();
        return process;
    }

    // A one-device job bundle written with the program's own writer.
    QString writeBundle(const QList<QMap<QString, QVariant>>& steps)
    {
        BatchUtil::DeviceEntry device;
        device.serialNumber = 801002345;
        device.connectionType = BatchUtil::Usb;
        const QString path = dir.filePath("job.hwj");
        return BatchUtil().bundleWrite(path, steps, {device}, true, "SWD", 4000, {}) ? path : QString();
    }

private slots:
    void init()
    {
        QFile::remove(dir.filePath("record.jsonl"));
        epochMs.clear();
        speed = "0";
    }

    static QJsonObject reply(ForkedProcess& process)
    {
        return QJsonDocument::fromJson(process.readAllStandardOutput()).object();
    }

    void refusesWhatTheToolWouldRefuse_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QByteArray>("fleet");
        QTest::addColumn<QString>("complaint");
        QTest::newRow("unknown option") << "gui --serialno 801002345 --x" << QByteArray() << "--x";
        QTest::newRow("serial and ip")
            << "gui --serialno 801002345 --ip 192.0.2.20" << QByteArray() << "--ip";
        QTest::newRow("bad timeout") << "batch job.hwj --serialno 801002345 --timeout soon" << QByteArray()
                                     << "soon";
        // A mistyped fleet fails every command instead of quietly leaving out a fault.
        QTest::newRow("unknown fleet key")
            << "batch -h" << QByteArray("adapters: [{serial: 801002345, nick: a}]") << "unknown key 'nick'";
        QTest::newRow("unknown effect")
            << "batch -h" << QByteArray("faults: [{effect: explode}]") << "unknown effect 'explode'";
    }

    void refusesWhatTheToolWouldRefuse()
    {
        QFETCH(QString, command);
        QFETCH(QByteArray, fleet);
        QFETCH(QString, complaint);
        const auto process = run(command.split(' '), fleet);
        // Errors go to standard error only, so they never pass for a reply.
        QCOMPARE(process->exitCode(), 2);
        QCOMPARE(process->readAllStandardOutput(), QByteArray());
        const QByteArray error = process->readAllStandardError();
        QVERIFY2(error.startsWith("corvane-sim: ") && error.contains(complaint.toUtf8()), error.constData());
    }

    void everyInvocationIsRecorded()
    {
        run({"batch", "-h"});
        run({"gui", "--ip", "192.0.2.21"});
        run({"frobnicate", "a b"});
        // Processes running side by side, as in a job run, each leave one whole line.
        std::vector<std::unique_ptr<ForkedProcess>> processes;
        for (int i = 0; i < 8; ++i)
            processes.push_back(
                start({"adapter", "probe", "--json", "--serialno", QString::number(801002345 + i)}));
        for (auto& process : processes)
            QVERIFY(process->waitForFinished(30000));

        QFile file(dir.filePath("record.jsonl"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QStringList commands;
        QSet<QString> probed;
        QJsonArray invalid;
        for (const QByteArray& line : file.readAll().split('\n')) {
            const QJsonObject record = QJsonDocument::fromJson(line).object();
            if (line.isEmpty())
                continue;
            QVERIFY2(!record.isEmpty(), line.constData());
            commands << record.value("command").toString();
            if (commands.last() == "probe")
                probed.insert(record.value("arguments").toArray().last().toString());
            if (commands.last() == "invalid")
                invalid = record.value("arguments").toArray();
        }
        QCOMPARE(commands.mid(0, 4), QStringList({"usage", "gui", "invalid", "probe"}));
        QCOMPARE(commands.size(), 11);
        QCOMPARE(probed.size(), 8);
        QCOMPARE(invalid, QJsonArray({"frobnicate", "a b"}));
    }

    // Time is simulated: at speed 0 an hour of waiting costs nothing, and the limit still applies.
    // Actions are numbered by their place in the job, disabled ones included, as the page counts them.
    void timeLimitAndActionNumbers()
    {
        using Step = QMap<QString, QVariant>;
        const Step halfAnHour{{"task", "wait"}, {"enabled", true}, {"duration_ms", 1800000}};
        const QString bundle =
            writeBundle({halfAnHour, {{"task", "log_device_info"}, {"enabled", false}}, halfAnHour});
        const QStringList onSerial{"batch", bundle, "--serialno", "801002345", "--timeout"};
        const auto inTime = run(onSerial + QStringList{"3700"});
        QCOMPARE(inTime->exitCode(), 0);
        const QString output = QString::fromUtf8(inTime->readAllStandardOutput());
        const QRegularExpression running("^Running action (\\d+)", QRegularExpression::MultilineOption);
        QStringList numbers;
        for (auto match = running.globalMatch(output); match.hasNext();)
            numbers << match.next().captured(1);
        QCOMPARE(numbers, QStringList({"1", "3"}));
        QVERIFY(output.contains("\nSkipping disabled action 2\n"));

        const auto timedOut = run(onSerial + QStringList{"3000"});
        QCOMPARE(timedOut->exitCode(), 4);
        QVERIFY(timedOut->readAllStandardOutput().trimmed().endsWith(
            "ERROR: Timed out after 3000 s during action 3."));

        // A hanging action ends at the time limit instead of never.
        const auto hung =
            run(onSerial + QStringList{"30"}, "adapters:\n  - serial: 801002345\n    part: KM32G101F512\n"
                                              "    faults: [{command: batch, effect: hang, step: 1}]\n");
        QCOMPARE(hung->exitCode(), 4);
        QVERIFY(
            hung->readAllStandardOutput().trimmed().endsWith("ERROR: Timed out after 30 s during action 1."));
    }

    // Adapters come and go and boards are placed and removed on the fleet's clock, which every
    // process reads from the same epoch; each recorded call carries the moment it was made.
    void hotPlugFollowsTheClock()
    {
        const QByteArray fleet =
            "adapters:\n"
            "  - {serial: 801002345, part: KM32G101F512, attached: [[0, 5000], [9000, null]],\n"
            "     targets: [{from_ms: 0, until_ms: 5000, unique_id: B1},\n"
            "               {from_ms: 9800, until_ms: 11000, unique_id: B2}]}\n"
            "  - {serial: 801002346, part: KM32G101F256, attached: [[0, 5000]]}\n"
            "  - {serial: 801017733, part: KM24L052C128, attached: [[11000, null]]}\n"
            "  - {serial: 801017734, part: KM24L052C128}\n";
        const QStringList list{"adapter", "list", "--noconnect", "--json"};
        const auto listed = [&] {
            const auto process = run(list, fleet);
            QStringList serials;
            for (const auto& entry : reply(*process).value("result").toObject().value("devices").toArray())
                serials << QString::number(entry.toObject().value("serial_number").toDouble(), 'f', 0);
            return serials;
        };
        const QStringList info{"device", "info", "--json", "--serialno", "801002345"};

        // At 10 s: the first adapter is back with board B2, the second gone, the third not yet there.
        const qint64 before = QDateTime::currentMSecsSinceEpoch();
        epochMs = QByteArray::number(before - 10000);
        QCOMPARE(listed(), QStringList({"801002345", "801017734"}));
        const auto withBoard = run(info, fleet);
        QCOMPARE(withBoard->exitCode(), 0);
        const QJsonObject boardInfo =
            reply(*withBoard).value("result").toObject().value("device_info").toObject();
        QCOMPARE(boardInfo.value("unique_id").toString(), QString("B2"));
        QCOMPARE(run({"adapter", "probe", "--json", "--serialno", "801002346"}, fleet)->exitCode(), 1);

        // At 7 s every timed adapter is away; at 9.1 s the first is back without a board (the
        // margins leave room for a slow start under an emulator).
        epochMs = QByteArray::number(QDateTime::currentMSecsSinceEpoch() - 7000);
        QCOMPARE(listed(), QStringList({"801017734"}));
        epochMs = QByteArray::number(QDateTime::currentMSecsSinceEpoch() - 9100);
        const auto noBoard = run(info, fleet);
        QCOMPARE(noBoard->exitCode(), 1);
        QVERIFY(!reply(*noBoard).value("success").toBool(true));

        // A batch run without a board fails at its first action; one whose board is pulled
        // during an action fails that action.
        const QString bundle = writeBundle({{{"task", "wait"}, {"enabled", true}, {"duration_ms", 3000}},
                                            {{"task", "wait"}, {"enabled", true}, {"duration_ms", 1500}}});
        const QStringList batch{"batch", bundle, "--serialno", "801002345"};
        const auto started = run(batch, fleet);
        const QByteArray startedOutput = started->readAllStandardOutput();
        QCOMPARE(started->exitCode(), 1);
        QVERIFY2(startedOutput.trimmed().endsWith("Running action 1: wait\nERROR: No target is attached to the "
                                                  "adapter."),
                 startedOutput.constData());
        speed = "1";
        epochMs = QByteArray::number(QDateTime::currentMSecsSinceEpoch() - 10000);
        const auto pulled = run(batch, fleet);
        const QByteArray pulledOutput = pulled->readAllStandardOutput();
        QCOMPARE(pulled->exitCode(), 1);
        QVERIFY2(pulledOutput.contains("Target unique ID: B2\n"), pulledOutput.constData());
        QVERIFY2(pulledOutput.trimmed().endsWith("ERROR: The target was removed during action 1."),
                 pulledOutput.constData());

        // Without an epoch the windows count from the fleet file's modification time.
        epochMs.clear();
        QCOMPARE(listed(), QStringList({"801002345", "801002346", "801017734"}));

        const qint64 after = QDateTime::currentMSecsSinceEpoch();
        QFile file(dir.filePath("record.jsonl"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        qint64 last = 0;
        for (const QByteArray& line : file.readAll().split('\n')) {
            if (line.isEmpty())
                continue;
            const qint64 at = qint64(QJsonDocument::fromJson(line).object().value("t_ms").toDouble());
            QVERIFY2(at >= before && at <= after && at >= last, line.constData());
            last = at;
        }

        QCOMPARE(run({"batch", "-h"}, "adapters: [{serial: 801002345, attached: [[500, 100]]}]")->exitCode(),
                 2);
        QCOMPARE(run({"batch", "-h"}, "adapters: [{serial: 801002345, targets: [{from_ms: 0}]}]")->exitCode(),
                 2);
    }
};

HARNWICK_TEST(TestSimulatorCommands)
#include "tst_simulatorcommands.moc"
