#include "simulatorprocess.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QJsonArray>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>
#include <vector>

namespace {

const QString ListUsb = QStringLiteral("adapter list --noconnect --json");

} // namespace

class TestSimulatorCommands : public QObject
{
    Q_OBJECT

private slots:
    void usageAndFleetErrors_data();
    void usageAndFleetErrors();
    void adaptersThatAreNotThere();
    void everyInvocationIsRecorded();
};

void TestSimulatorCommands::usageAndFleetErrors_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("fleet");
    QTest::addColumn<QString>("complaint");
    const auto row = [](const char* name, const char* command, const char* fleet, const char* complaint) {
        QTest::newRow(name) << QString(command) << QString(fleet) << QString(complaint);
    };
    row("help", "batch -h", "", "");
    row("nothing", "", "", "usage");
    row("unknown command", "adapter reset --json", "", "adapter reset");
    row("unknown option", "gui --serialno 801002345 --x", "", "--x");
    row("serial and ip", "gui --serialno 801002345 --ip 192.0.2.20", "", "--ip");
    row("parameter without colon", "batch job.hwj --serialno 801002345 --parameter port", "", "port");
    row("bad timeout", "batch job.hwj --serialno 801002345 --timeout soon", "", "soon");
    // A broken fleet fails every command, the executable check included.
    row("unknown key", "batch -h", "adapters: [{serial: 801002345, nick: a}]", "unknown key 'nick'");
    row("serial too wide", "batch -h", "adapters: [{serial: 4294967296}]", "4294967296");
    row("duplicate serial", "batch -h", "adapters: [{serial: 801002345}, {serial: 801002345}]", "twice");
    row("unknown effect", "batch -h", "faults: [{effect: explode}]", "unknown effect 'explode'");
    row("not yaml", "batch -h", "adapters: [\n", "fleet file");
}

void TestSimulatorCommands::usageAndFleetErrors()
{
    QFETCH(QString, command);
    QFETCH(QString, fleet);
    QFETCH(QString, complaint);
    QTemporaryDir dir;
    SimulatorProcess simulator(dir.path());
    if (!fleet.isEmpty())
        simulator.setFleet(fleet);
    const auto outcome = simulator.runLine(command);
    if (complaint.isEmpty()) {
        QCOMPARE(outcome.exitCode, 0);
        QVERIFY(outcome.stdoutData.contains("adapter probe --json"));
    } else {
        // Errors go to standard error only, so they never pass for a reply.
        QCOMPARE(outcome.exitCode, 2);
        QVERIFY(outcome.stdoutData.isEmpty());
        QVERIFY2(outcome.stderrData.startsWith("corvane-sim: ") &&
                     outcome.stderrData.contains(complaint.toUtf8()),
                 outcome.stderrData.constData());
    }
}

// The device page's tests run discovery, probing and detection on the built-in fleet and on fleet
// files; what they never ask for is an adapter that is not there.
void TestSimulatorCommands::adaptersThatAreNotThere()
{
    QTemporaryDir dir;
    const SimulatorProcess simulator(dir.path());
    // A network-only adapter is not found over USB, nor an unknown address anywhere.
    for (const QStringList& address :
         {QStringList{"--serialno", "803110042"}, QStringList{"--ip", "192.0.2.99"}}) {
        const auto missing = simulator.run(QStringList{"adapter", "probe", "--json"} + address);
        QCOMPARE(missing.exitCode, 1);
        QCOMPARE(missing.json().value("success"), QJsonValue(false));
        QVERIFY(missing.json().value("error").toString().contains(address.at(1)));
    }
    QCOMPARE(simulator.runLine("gui --ip 192.0.2.21").exitCode, 0);
    QCOMPARE(simulator.runLine("gui --serialno 123456789").exitCode, 1);
}

void TestSimulatorCommands::everyInvocationIsRecorded()
{
    QTemporaryDir dir;
    const SimulatorProcess simulator(dir.path());
    simulator.runLine("batch -h");
    simulator.runLine(ListUsb + " --net");
    simulator.runLine("gui --ip 192.0.2.21");
    simulator.run({"frobnicate", "a b"});
    // Processes running side by side each leave one whole line.
    std::vector<std::unique_ptr<ForkedProcess>> processes;
    for (int i = 0; i < 8; ++i) {
        processes.push_back(std::make_unique<ForkedProcess>());
        processes.back()->setProcessEnvironment(simulator.environment());
        processes.back()->start(TestEnvironment::simulatorPath(),
                                {"adapter", "probe", "--json", "--serialno", QString::number(801002345 + i)});
    }
    for (auto& process : processes)
        QVERIFY(process->waitForFinished(30000));

    const QList<QJsonObject> records = simulator.records();
    QCOMPARE(records.size(), 12);
    QStringList commands;
    QSet<QString> probed;
    for (const QJsonObject& record : records) {
        commands.append(record.value("command").toString());
        probed.insert(record.value("arguments").toArray().last().toString());
    }
    QCOMPARE(commands.mid(0, 5), QStringList({"usage", "list-net", "gui", "invalid", "probe"}));
    QCOMPARE(commands.count("probe"), 8);
    QCOMPARE(probed.size(), 12);
    QCOMPARE(records.at(3).value("arguments").toArray(), QJsonArray({"frobnicate", "a b"}));
}

HARNWICK_TEST(TestSimulatorCommands)
#include "tst_simulatorcommands.moc"
