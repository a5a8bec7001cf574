#include "simulatorprocess.h"
#include "testregistry.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QtTest>

namespace {

// Two adapters; the faults under test are appended to the first one's or to the fleet's list.
QString fleet(const QString& fleetFaults, const QString& adapterFaults)
{
    return QStringLiteral("faults:\n%1"
                          "adapters:\n"
                          "  - serial: 801002345\n"
                          "    nickname: bench-left\n"
                          "    part: KM32G101F512\n"
                          "    faults:\n%2"
                          "  - serial: 801020001\n"
                          "    nickname: bench-dual\n"
                          "    ip: 192.0.2.20\n"
                          "    part: KX12B016A128\n")
        .arg(fleetFaults.isEmpty() ? QStringLiteral("  []\n") : fleetFaults,
             adapterFaults.isEmpty() ? QStringLiteral("      []\n") : adapterFaults);
}

const QStringList ProbeLeft{"adapter", "probe", "--json", "--serialno", "801002345"};
const QStringList InfoLeft{"device", "info", "--json", "--serialno", "801002345"};
const QStringList ListUsb{"adapter", "list", "--noconnect", "--json"};
const QStringList ListNet{"adapter", "list", "--noconnect", "--json", "--net"};

bool isJson(const QByteArray& bytes)
{
    QJsonParseError error;
    QJsonDocument::fromJson(bytes, &error);
    return error.error == QJsonParseError::NoError;
}

} // namespace

class TestSimulatorFaults : public QObject
{
    Q_OBJECT

private slots:
    void failAndCrashStrikeOnlyTheirCommand();
    void hangAndSlowStart();
    void replyShapeFaults();
    void nonUtf8AndFloodOutput();
};

void TestSimulatorFaults::failAndCrashStrikeOnlyTheirCommand()
{
    QTemporaryDir dir;
    SimulatorProcess simulator(dir.path());
    simulator.setFleet(fleet("  - command: list-usb\n    effect: fail\n    exit_code: 3\n",
                             "      - command: probe\n        effect: crash\n"));

    const auto failed = simulator.run(ListUsb);
    QCOMPARE(failed.exitStatus, QProcess::NormalExit);
    QCOMPARE(failed.exitCode, 3);
    QVERIFY(failed.stdoutData.startsWith("ERROR: "));
    QCOMPARE(simulator.run(ListNet).exitCode, 0);

    QCOMPARE(simulator.run(ProbeLeft).exitStatus, QProcess::CrashExit);
    QCOMPARE(simulator.run(InfoLeft).exitCode, 0);
    QCOMPARE(simulator.run({"adapter", "probe", "--json", "--serialno", "801020001"}).exitCode, 0);
    // A crashing invocation has been recorded all the same.
    QCOMPARE(simulator.records().size(), 5);
}

void TestSimulatorFaults::hangAndSlowStart()
{
    QTemporaryDir dir;
    SimulatorProcess simulator(dir.path());
    simulator.setFleet(fleet("  - command: listopns\n    effect: slow_start\n    delay_ms: 700\n",
                             "      - command: probe\n        effect: hang\n"));

    const auto hung = simulator.run(ProbeLeft, 1500);
    QVERIFY(!hung.finished);
    QVERIFY(hung.stdoutData.isEmpty());
    QCOMPARE(simulator.run(InfoLeft).exitCode, 0);

    // Slow start holds the reply back in real time, even at speed 0; the reply itself is whole.
    const auto slow = simulator.run({"completion", "listopns", "--json"});
    QVERIFY(slow.elapsedMs >= 700);
    QVERIFY(!slow.json().value("info").toArray().isEmpty());
}

void TestSimulatorFaults::replyShapeFaults()
{
    QTemporaryDir dir;
    SimulatorProcess simulator(dir.path());

    simulator.setFleet(fleet("", "      - command: probe\n        effect: garbage\n"));
    const auto garbage = simulator.run(ProbeLeft);
    QCOMPARE(garbage.exitCode, 0);
    QVERIFY(!garbage.stdoutData.isEmpty());
    QVERIFY(!isJson(garbage.stdoutData));
    QVERIFY(isJson(simulator.run(InfoLeft).stdoutData));

    simulator.setFleet(fleet("", "      - command: info\n        effect: success_false\n"));
    const auto unsuccessful = simulator.run(InfoLeft);
    QCOMPARE(unsuccessful.json().value("success"), QJsonValue(false));
    QVERIFY(unsuccessful.json().value("result").toObject().contains("device_info"));

    simulator.setFleet(
        fleet("", "      - command: probe\n        effect: missing\n        members: [kit_info]\n"));
    const auto noKit = simulator.run(ProbeLeft);
    QCOMPARE(noKit.json().value("success"), QJsonValue(true));
    QVERIFY(noKit.json().value("result").isObject());
    QVERIFY(!noKit.json().value("result").toObject().contains("kit_info"));

    simulator.setFleet(
        fleet("  - command: list\n    effect: missing\n    members: [device_count]\n",
              "      - command: list\n        effect: missing\n        members: [serial_number]\n"));
    for (const QStringList& list : {ListUsb, ListNet}) {
        const QJsonObject result = simulator.run(list).json().value("result").toObject();
        QVERIFY(!result.contains("device_count"));
        QVERIFY(result.value("devices").isArray());
    }
    // The adapter's own fault touches only its own entry.
    const QJsonArray devices =
        simulator.run(ListUsb).json().value("result").toObject().value("devices").toArray();
    QCOMPARE(devices.size(), 2);
    QVERIFY(!devices.at(0).toObject().contains("serial_number"));
    QVERIFY(devices.at(1).toObject().contains("serial_number"));

    simulator.setFleet(fleet("  - command: probe\n    effect: unknown_ip\n    text: Unknown\n", ""));
    const auto unknownIp = simulator.run({"adapter", "probe", "--json", "--ip", "192.0.2.20"});
    QCOMPARE(unknownIp.json()
                 .value("result")
                 .toObject()
                 .value("kit_info")
                 .toObject()
                 .value("ip_address")
                 .toString(),
             QString("Unknown"));
}

void TestSimulatorFaults::nonUtf8AndFloodOutput()
{
    QTemporaryDir dir;
    SimulatorProcess simulator(dir.path());
    simulator.setFleet(fleet("  - command: listopns\n    effect: flood\n    lines: 5000\n",
                             "      - command: list-usb\n        effect: non_utf8\n"));

    const auto list = simulator.run(ListUsb);
    QCOMPARE(list.exitCode, 0);
    QVERIFY(list.stdoutData.contains("\"bench-left\xff\xfe\""));
    QVERIFY(list.stdoutData.contains("\"bench-dual\""));
    QVERIFY(!list.stdoutData.contains("\"bench-dual\xff"));
    QVERIFY(QString::fromUtf8(list.stdoutData).toUtf8() != list.stdoutData);

    const auto flood = simulator.run({"completion", "listopns", "--json"});
    QCOMPARE(flood.exitCode, 0);
    QCOMPARE(flood.lines().filter(QRegularExpression("^Simulated output line \\d+ of 5000$")).size(), 5000);
    QVERIFY(isJson(flood.stdoutData.mid(flood.stdoutData.indexOf('{'))));
}

HARNWICK_TEST(TestSimulatorFaults)
#include "tst_simulatorfaults.moc"
