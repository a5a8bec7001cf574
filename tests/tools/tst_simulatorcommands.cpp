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
    void adapterListsOfTheBuiltInFleet();
    void probeAndDeviceInfo();
    void fleetFileReplacesTheBuiltInFleet();
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

void TestSimulatorCommands::adapterListsOfTheBuiltInFleet()
{
    QTemporaryDir dir;
    const SimulatorProcess simulator(dir.path());
    QSet<qint64> usbSerials;
    for (const QString& net : {QString(), QStringLiteral(" --net")}) {
        const auto list = simulator.runLine(ListUsb + net);
        QCOMPARE(list.exitCode, 0);
        const QJsonObject result = list.json()["result"].toObject();
        const QJsonArray devices = result.value("devices").toArray();
        QCOMPARE(devices.size(), net.isEmpty() ? 6 : 3);
        QCOMPARE(result.value("device_count"), QJsonValue(devices.size()));
        int reachableBothWays = 0;
        for (const QJsonValue& value : devices) {
            const QJsonObject device = value.toObject();
            const qint64 serial = qint64(device.value("serial_number").toDouble());
            QVERIFY(device.value("adapter_ip").isString() && device.value("adapter_nickname").isString());
            QVERIFY(net.isEmpty() || !device.value("adapter_ip").toString().isEmpty());
            reachableBothWays += usbSerials.contains(serial);
            if (net.isEmpty())
                usbSerials.insert(serial);
        }
        QCOMPARE(reachableBothWays, net.isEmpty() ? 0 : 1);
    }
    QVERIFY(usbSerials.contains(3000123456)); // beyond the signed 32-bit range
    // The same invocation always gives the same bytes.
    QCOMPARE(simulator.runLine(ListUsb).stdoutData, simulator.runLine(ListUsb).stdoutData);
}

void TestSimulatorCommands::probeAndDeviceInfo()
{
    QTemporaryDir dir;
    const SimulatorProcess simulator(dir.path());
    const auto usbProbe = simulator.runLine("adapter probe --json --serialno 801002345");
    QCOMPARE(usbProbe.exitCode, 0);
    QCOMPARE(usbProbe.json().value("success"), QJsonValue(true));
    const QJsonObject kit = usbProbe.json()["result"]["kit_info"].toObject();
    QCOMPARE(kit.value("j_link_serial").toDouble(), 801002345.0);
    QCOMPARE(QStringList({kit.value("ip_address").toString(), kit.value("debug_part").toString(),
                          kit.value("nickname").toString()}),
             QStringList({"unknown", "KM32G101F512", "bench-left"}));
    const auto ipProbe = simulator.runLine("adapter probe --json --ip 192.0.2.20");
    QCOMPARE(ipProbe.json()["result"]["kit_info"]["ip_address"].toString(), QString("192.0.2.20"));

    // A network-only adapter is not found over USB, nor an unknown address anywhere.
    for (const QStringList& address :
         {QStringList{"--serialno", "803110042"}, QStringList{"--ip", "192.0.2.99"}}) {
        const auto missing = simulator.run(QStringList{"adapter", "probe", "--json"} + address);
        QCOMPARE(missing.exitCode, 1);
        QCOMPARE(missing.json().value("success"), QJsonValue(false));
        QVERIFY(missing.json().value("error").toString().contains(address.at(1)));
    }

    const auto info = simulator.runLine("device info --json --ip 192.0.2.22");
    QCOMPARE(info.exitCode, 0);
    QCOMPARE(info.json()["result"]["device_info"]["part_number"].toString(), QString("TR7A220M0512"));
    // The wide-serial adapter's target needs a hint; the hint then becomes the answer.
    const auto unhinted = simulator.runLine("device info --json --serialno 3000123456");
    QCOMPARE(unhinted.json().value("success"), QJsonValue(false));
    QCOMPARE(unhinted.exitCode, 1);
    const auto hinted = simulator.runLine("device info --json --device KM40H330F1024 --serialno 3000123456");
    QCOMPARE(hinted.json()["result"]["device_info"]["part_number"].toString(), QString("KM40H330F1024"));

    QCOMPARE(simulator.runLine("gui --ip 192.0.2.21").exitCode, 0);
    QCOMPARE(simulator.runLine("gui --serialno 123456789").exitCode, 1);
    const QJsonArray parts = simulator.runLine("completion listopns --json").json().value("info").toArray();
    QVERIFY(parts.size() >= 5 && parts.first().isString());
}

void TestSimulatorCommands::fleetFileReplacesTheBuiltInFleet()
{
    QTemporaryDir dir;
    SimulatorProcess simulator(dir.path());
    simulator.setFleet("part_numbers: [KX12B008A064]\n"
                       "adapters: [{serial: 4000000001, nickname: only-one, part: KX12B008A064}]\n");
    const QJsonArray devices = simulator.runLine(ListUsb).json()["result"]["devices"].toArray();
    QCOMPARE(devices.size(), 1);
    QCOMPARE(devices.at(0).toObject().value("serial_number").toDouble(), 4000000001.0);
    QCOMPARE(devices.at(0).toObject().value("adapter_nickname").toString(), QString("only-one"));
    const auto net = simulator.runLine(ListUsb + " --net");
    QCOMPARE(net.json()["result"]["device_count"].toInt(), 0);
    QVERIFY(net.json()["result"]["devices"].isArray());
    QCOMPARE(simulator.runLine("completion listopns --json").json().value("info").toArray(),
             QJsonArray({"KX12B008A064"}));
    QCOMPARE(simulator.runLine("adapter probe --json --serialno 801002345").exitCode, 1);
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
