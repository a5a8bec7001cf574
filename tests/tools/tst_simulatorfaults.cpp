#include "simulatorprocess.h"
#include "testregistry.h"

#include <QJsonArray>
#include <QTemporaryDir>
#include <QtTest>

namespace {

// Two adapters; the faults under test go to the fleet's list and to the first adapter's.
QString fleet(const char* fleetFaults, const char* adapterFaults)
{
    return QStringLiteral(
               "faults: [%1]\n"
               "adapters:\n"
               "  - {serial: 801002345, nickname: bench-left, part: KM32G101F512, faults: [%2]}\n"
               "  - {serial: 801020001, nickname: bench-dual, ip: 192.0.2.20, part: KX12B016A128}\n")
        .arg(QLatin1String(fleetFaults), QLatin1String(adapterFaults));
}

const char* const ProbeLeft = "adapter probe --json --serialno 801002345";
const char* const InfoLeft = "device info --json --serialno 801002345";
const char* const ListUsb = "adapter list --noconnect --json";
const char* const ListNet = "adapter list --noconnect --json --net";
const char* const Listopns = "completion listopns --json";

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
    void failCrashHangAndSlowStartStrikeOnlyTheirCommand();
    void replyShapeFaults();
    void nonUtf8AndFloodOutput();
};

void TestSimulatorFaults::failCrashHangAndSlowStartStrikeOnlyTheirCommand()
{
    QTemporaryDir dir;
    SimulatorProcess simulator(dir.path());
    simulator.setFleet(fleet("{command: list-usb, effect: fail, exit_code: 3}, "
                             "{command: listopns, effect: slow_start, delay_ms: 700}",
                             "{command: probe, effect: crash}, {command: info, effect: hang}"));

    const auto failed = simulator.runLine(ListUsb);
    QCOMPARE(failed.exitStatus, QProcess::NormalExit);
    QCOMPARE(failed.exitCode, 3);
    QVERIFY(failed.stdoutData.startsWith("ERROR: "));
    QCOMPARE(simulator.runLine(ListNet).exitCode, 0);

    QCOMPARE(simulator.runLine(ProbeLeft).exitStatus, QProcess::CrashExit);
    QCOMPARE(simulator.runLine("adapter probe --json --serialno 801020001").exitCode, 0);
    // A crashing invocation has been recorded all the same.
    QCOMPARE(simulator.records().size(), 4);

    const auto hung = simulator.runLine(InfoLeft, 1500);
    QVERIFY(!hung.finished);
    QVERIFY(hung.stdoutData.isEmpty());
    // Slow start holds the reply back in real time, even at speed 0; the reply itself is whole.
    const auto slow = simulator.runLine(Listopns);
    QVERIFY(slow.elapsedMs >= 700);
    QVERIFY(!slow.json().value("info").toArray().isEmpty());
}

void TestSimulatorFaults::replyShapeFaults()
{
    QTemporaryDir dir;
    SimulatorProcess simulator(dir.path());
    simulator.setFleet(fleet("{command: list, effect: missing, members: [device_count]}, "
                             "{command: probe, effect: unknown_ip, text: Unknown}",
                             "{command: probe, effect: garbage}, {command: info, effect: success_false}, "
                             "{command: list, effect: missing, members: [serial_number]}"));
    const auto garbage = simulator.runLine(ProbeLeft);
    QCOMPARE(garbage.exitCode, 0);
    QVERIFY(!garbage.stdoutData.isEmpty() && !isJson(garbage.stdoutData));
    const auto unknownIp = simulator.runLine("adapter probe --json --ip 192.0.2.20");
    QCOMPARE(unknownIp.json()["result"]["kit_info"]["ip_address"].toString(), QString("Unknown"));

    const auto unsuccessful = simulator.runLine(InfoLeft);
    QCOMPARE(unsuccessful.json().value("success"), QJsonValue(false));
    QVERIFY(unsuccessful.json()["result"].toObject().contains("device_info"));

    for (const char* list : {ListUsb, ListNet}) {
        const QJsonObject result = simulator.runLine(list).json().value("result").toObject();
        QVERIFY(!result.contains("device_count"));
        QVERIFY(result.value("devices").isArray());
    }
    // The adapter's own fault touches only its own entry.
    const QJsonArray devices = simulator.runLine(ListUsb).json()["result"]["devices"].toArray();
    QCOMPARE(devices.size(), 2);
    QVERIFY(!devices.at(0).toObject().contains("serial_number"));
    QVERIFY(devices.at(1).toObject().contains("serial_number"));

    simulator.setFleet(fleet("", "{command: probe, effect: missing, members: [kit_info]}"));
    const auto noKit = simulator.runLine(ProbeLeft);
    QCOMPARE(noKit.json().value("success"), QJsonValue(true));
    QVERIFY(noKit.json().value("result").isObject());
    QVERIFY(!noKit.json()["result"].toObject().contains("kit_info"));
}

void TestSimulatorFaults::nonUtf8AndFloodOutput()
{
    QTemporaryDir dir;
    SimulatorProcess simulator(dir.path());
    simulator.setFleet(
        fleet("{command: listopns, effect: flood, lines: 5000}", "{command: list-usb, effect: non_utf8}"));
    const auto list = simulator.runLine(ListUsb);
    QCOMPARE(list.exitCode, 0);
    QVERIFY(list.stdoutData.contains("\"bench-left\xff\xfe\""));
    QVERIFY(list.stdoutData.contains("\"bench-dual\""));

    const auto flood = simulator.runLine(Listopns);
    QCOMPARE(flood.exitCode, 0);
    QCOMPARE(flood.lines().filter(QRegularExpression("^Simulated output line \\d+ of 5000$")).size(), 5000);
    QVERIFY(isJson(flood.stdoutData.mid(flood.stdoutData.indexOf('{'))));
}

HARNWICK_TEST(TestSimulatorFaults)
#include "tst_simulatorfaults.moc"
