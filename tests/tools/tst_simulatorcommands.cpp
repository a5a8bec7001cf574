#include "simulatorprocess.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QJsonArray>
#include <QTemporaryDir>
#include <QtTest>

#include <limits>
#include <memory>
#include <vector>

namespace {

QJsonObject member(const QJsonObject& object, const char* path1, const char* path2 = nullptr)
{
    QJsonObject inner = object.value(QLatin1String(path1)).toObject();
    return path2 ? inner.value(QLatin1String(path2)).toObject() : inner;
}

} // namespace

class TestSimulatorCommands : public QObject
{
    Q_OBJECT

private slots:
    void usageTextAndUsageErrors_data();
    void usageTextAndUsageErrors();
    void adapterListsOfTheBuiltInFleet();
    void probeAndDeviceInfo();
    void completionAndGui();
    void fleetFileReplacesTheBuiltInFleet();
    void fleetFileErrors_data();
    void fleetFileErrors();
    void everyInvocationIsRecorded();
};

void TestSimulatorCommands::usageTextAndUsageErrors_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::newRow("help") << QStringList{"batch", "-h"} << 0;
    QTest::newRow("nothing") << QStringList{} << 2;
    QTest::newRow("unknown command") << QStringList{"adapter", "reset", "--json"} << 2;
    QTest::newRow("list without --json") << QStringList{"adapter", "list", "--noconnect"} << 2;
    QTest::newRow("list without --noconnect") << QStringList{"adapter", "list", "--json"} << 2;
    QTest::newRow("unknown option") << QStringList{"adapter",    "probe",     "--json",
                                                   "--serialno", "801002345", "--x"}
                                    << 2;
    QTest::newRow("no adapter named") << QStringList{"adapter", "probe", "--json"} << 2;
    QTest::newRow("serial and ip") << QStringList{"gui", "--serialno", "801002345", "--ip", "192.0.2.20"}
                                   << 2;
    QTest::newRow("serial not a number")
        << QStringList{"device", "info", "--json", "--serialno", "bench"} << 2;
    QTest::newRow("option without value") << QStringList{"gui", "--serialno"} << 2;
    QTest::newRow("batch without bundle") << QStringList{"batch"} << 2;
    QTest::newRow("parameter without colon")
        << QStringList{"batch", "job.hwj", "--serialno", "801002345", "--parameter", "port"} << 2;
    QTest::newRow("bad timeout") << QStringList{"batch",     "job.hwj",   "--serialno",
                                                "801002345", "--timeout", "soon"}
                                 << 2;
}

void TestSimulatorCommands::usageTextAndUsageErrors()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, exitCode);
    QTemporaryDir dir;
    const auto outcome = SimulatorProcess(dir.path()).run(arguments);
    QVERIFY(outcome.finished);
    QCOMPARE(outcome.exitCode, exitCode);
    if (exitCode == 0) {
        QVERIFY(outcome.stdoutData.contains("adapter probe --json"));
        QVERIFY(outcome.stderrData.isEmpty());
    } else {
        // Usage errors go to standard error only, so they never pass for a reply.
        QVERIFY(outcome.stdoutData.isEmpty());
        QVERIFY(outcome.stderrData.startsWith("corvane-sim: "));
    }
}

void TestSimulatorCommands::adapterListsOfTheBuiltInFleet()
{
    QTemporaryDir dir;
    const SimulatorProcess simulator(dir.path());
    const auto usb = simulator.run({"adapter", "list", "--noconnect", "--json"});
    QCOMPARE(usb.exitCode, 0);
    const QJsonObject usbResult = member(usb.json(), "result");
    QVERIFY(usbResult.value("device_count").isDouble());
    const QJsonArray usbDevices = usbResult.value("devices").toArray();
    QCOMPARE(usbDevices.size(), 6);
    QCOMPARE(usbResult.value("device_count").toInt(), 6);
    QSet<qint64> usbSerials;
    for (const QJsonValue& value : usbDevices) {
        const QJsonObject device = value.toObject();
        QVERIFY(device.value("serial_number").isDouble());
        QVERIFY(device.value("adapter_ip").isString());
        QVERIFY(device.value("adapter_nickname").isString());
        usbSerials.insert(qint64(device.value("serial_number").toDouble()));
    }
    QCOMPARE(usbSerials.size(), 6);
    QVERIFY(std::any_of(usbSerials.begin(), usbSerials.end(),
                        [](qint64 serial) { return serial > std::numeric_limits<qint32>::max(); }));

    const auto net = simulator.run({"adapter", "list", "--noconnect", "--json", "--net"});
    QCOMPARE(net.exitCode, 0);
    const QJsonArray netDevices = member(net.json(), "result").value("devices").toArray();
    QCOMPARE(netDevices.size(), 3);
    int reachableBothWays = 0;
    for (const QJsonValue& value : netDevices) {
        QVERIFY(!value.toObject().value("adapter_ip").toString().isEmpty());
        reachableBothWays += usbSerials.contains(qint64(value.toObject().value("serial_number").toDouble()));
    }
    QCOMPARE(reachableBothWays, 1);

    // The same invocation always gives the same bytes.
    QCOMPARE(simulator.run({"adapter", "list", "--noconnect", "--json"}).stdoutData, usb.stdoutData);
}

void TestSimulatorCommands::probeAndDeviceInfo()
{
    QTemporaryDir dir;
    const SimulatorProcess simulator(dir.path());

    const auto usbProbe = simulator.run({"adapter", "probe", "--json", "--serialno", "801002345"});
    QCOMPARE(usbProbe.exitCode, 0);
    QCOMPARE(usbProbe.json().value("success"), QJsonValue(true));
    const QJsonObject kit = member(usbProbe.json(), "result", "kit_info");
    QCOMPARE(kit.value("j_link_serial").toDouble(), 801002345.0);
    QCOMPARE(kit.value("ip_address").toString(), QString("unknown"));
    QCOMPARE(kit.value("debug_part").toString(), QString("KM32G101F512"));
    QCOMPARE(kit.value("nickname").toString(), QString("bench-left"));

    const auto ipProbe = simulator.run({"adapter", "probe", "--json", "--ip", "192.0.2.20"});
    QCOMPARE(member(ipProbe.json(), "result", "kit_info").value("ip_address").toString(),
             QString("192.0.2.20"));
    QCOMPARE(member(ipProbe.json(), "result", "kit_info").value("nickname").toString(),
             QString("bench-dual"));

    // A network-only adapter is not found over USB, nor an unknown address anywhere.
    for (const QStringList& address :
         {QStringList{"--serialno", "803110042"}, QStringList{"--ip", "192.0.2.99"}}) {
        const auto missing = simulator.run(QStringList{"adapter", "probe", "--json"} + address);
        QCOMPARE(missing.exitCode, 1);
        QCOMPARE(missing.json().value("success"), QJsonValue(false));
        QVERIFY(missing.json().value("error").toString().contains(address.at(1)));
    }

    const auto info = simulator.run({"device", "info", "--json", "--ip", "192.0.2.22"});
    QCOMPARE(info.exitCode, 0);
    QCOMPARE(info.json().value("success"), QJsonValue(true));
    QCOMPARE(member(info.json(), "result", "device_info").value("part_number").toString(),
             QString("TR7A220M0512"));

    // The wide-serial adapter's target needs a hint; the hint then becomes the answer.
    const auto unhinted = simulator.run({"device", "info", "--json", "--serialno", "3000123456"});
    QCOMPARE(unhinted.json().value("success"), QJsonValue(false));
    QVERIFY(!unhinted.json().contains("result"));
    const auto hinted =
        simulator.run({"device", "info", "--json", "--device", "KM40H330F1024", "--serialno", "3000123456"});
    QCOMPARE(hinted.json().value("success"), QJsonValue(true));
    QCOMPARE(member(hinted.json(), "result", "device_info").value("part_number").toString(),
             QString("KM40H330F1024"));
}

void TestSimulatorCommands::completionAndGui()
{
    QTemporaryDir dir;
    const SimulatorProcess simulator(dir.path());
    const auto completion = simulator.run({"completion", "listopns", "--json"});
    QCOMPARE(completion.exitCode, 0);
    const QJsonArray parts = completion.json().value("info").toArray();
    QVERIFY(parts.size() >= 5);
    for (const QJsonValue& part : parts)
        QVERIFY(part.isString() && !part.toString().isEmpty());

    const auto gui = simulator.run({"gui", "--ip", "192.0.2.21"});
    QCOMPARE(gui.exitCode, 0);
    QCOMPARE(simulator.run({"gui", "--serialno", "123456789"}).exitCode, 1);
    const QList<QJsonObject> records = simulator.records();
    QCOMPARE(records.size(), 3);
    QCOMPARE(records.at(1).value("command").toString(), QString("gui"));
    QCOMPARE(records.at(1).value("arguments").toArray(), QJsonArray({"gui", "--ip", "192.0.2.21"}));
}

void TestSimulatorCommands::fleetFileReplacesTheBuiltInFleet()
{
    QTemporaryDir dir;
    SimulatorProcess simulator(dir.path());
    simulator.setFleet("part_numbers: [KX12B008A064]\n"
                       "adapters:\n"
                       "  - serial: 4000000001\n"
                       "    nickname: only-one\n"
                       "    part: KX12B008A064\n");
    const auto usb = simulator.run({"adapter", "list", "--noconnect", "--json"});
    const QJsonArray devices = member(usb.json(), "result").value("devices").toArray();
    QCOMPARE(devices.size(), 1);
    QCOMPARE(devices.at(0).toObject().value("serial_number").toDouble(), 4000000001.0);
    QCOMPARE(devices.at(0).toObject().value("adapter_nickname").toString(), QString("only-one"));

    const auto net = simulator.run({"adapter", "list", "--noconnect", "--json", "--net"});
    QCOMPARE(member(net.json(), "result").value("device_count").toInt(), 0);
    QVERIFY(member(net.json(), "result").value("devices").isArray());

    QCOMPARE(simulator.run({"completion", "listopns", "--json"}).json().value("info").toArray(),
             QJsonArray({"KX12B008A064"}));
    QCOMPARE(simulator.run({"adapter", "probe", "--json", "--serialno", "801002345"}).exitCode, 1);
}

void TestSimulatorCommands::fleetFileErrors_data()
{
    QTest::addColumn<QString>("yaml");
    QTest::addColumn<QString>("complaint");
    QTest::newRow("unknown key") << "adapters:\n  - serial: 801002345\n    nick: a\n"
                                 << "unknown key 'nick'";
    QTest::newRow("no serial") << "adapters:\n  - nickname: a\n"
                               << "needs a 'serial'";
    QTest::newRow("serial too wide") << "adapters:\n  - serial: 4294967296\n"
                                     << "4294967296";
    QTest::newRow("network without ip") << "adapters:\n  - serial: 801002345\n    network: true\n"
                                        << "needs an 'ip'";
    QTest::newRow("duplicate serial") << "adapters:\n  - serial: 801002345\n  - serial: 801002345\n"
                                      << "appears twice";
    QTest::newRow("unknown effect") << "faults:\n  - effect: explode\n"
                                    << "unknown effect 'explode'";
    QTest::newRow("unknown command") << "faults:\n  - effect: hang\n    command: reboot\n"
                                     << "unknown command 'reboot'";
    QTest::newRow("missing without members") << "faults:\n  - effect: missing\n"
                                             << "needs 'members'";
    QTest::newRow("not yaml") << "adapters: [\n"
                              << "fleet file";
}

void TestSimulatorCommands::fleetFileErrors()
{
    QFETCH(QString, yaml);
    QFETCH(QString, complaint);
    QTemporaryDir dir;
    SimulatorProcess simulator(dir.path());
    simulator.setFleet(yaml);
    // A broken fleet fails every command, the executable check included.
    const auto outcome = simulator.run({"batch", "-h"});
    QCOMPARE(outcome.exitCode, 2);
    QVERIFY(outcome.stdoutData.isEmpty());
    QVERIFY2(outcome.stderrData.contains(complaint.toUtf8()), outcome.stderrData.constData());
}

void TestSimulatorCommands::everyInvocationIsRecorded()
{
    QTemporaryDir dir;
    const SimulatorProcess simulator(dir.path());
    simulator.run({"batch", "-h"});
    simulator.run({"adapter", "list", "--noconnect", "--json", "--net"});
    simulator.run({"device", "info", "--json", "--device", "KM32G101F512", "--serialno", "801002345"});
    simulator.run({"frobnicate", "a b"});

    // Processes running side by side each leave one whole line.
    std::vector<std::unique_ptr<QProcess>> processes;
    for (int i = 0; i < 8; ++i) {
        processes.push_back(std::make_unique<QProcess>());
        processes.back()->setProcessEnvironment(simulator.environment());
        processes.back()->start(TestEnvironment::simulatorPath(),
                                {"adapter", "probe", "--json", "--serialno", QString::number(801002345 + i)});
    }
    for (auto& process : processes)
        QVERIFY(process->waitForFinished(30000));

    const QList<QJsonObject> records = simulator.records();
    QCOMPARE(records.size(), 12);
    QCOMPARE(records.at(0).value("command").toString(), QString("usage"));
    QCOMPARE(records.at(1).value("command").toString(), QString("list-net"));
    QCOMPARE(records.at(2).value("command").toString(), QString("info"));
    QCOMPARE(records.at(2).value("arguments").toArray(),
             QJsonArray({"device", "info", "--json", "--device", "KM32G101F512", "--serialno", "801002345"}));
    QCOMPARE(records.at(3).value("command").toString(), QString("invalid"));
    QCOMPARE(records.at(3).value("arguments").toArray(), QJsonArray({"frobnicate", "a b"}));
    QSet<QString> probed;
    for (int i = 4; i < 12; ++i) {
        QCOMPARE(records.at(i).value("command").toString(), QString("probe"));
        probed.insert(records.at(i).value("arguments").toArray().last().toString());
    }
    QCOMPARE(probed.size(), 8);
}

HARNWICK_TEST(TestSimulatorCommands)
#include "tst_simulatorcommands.moc"
