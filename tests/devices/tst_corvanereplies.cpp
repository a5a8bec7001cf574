#include "corvanereplies.h"
#include "testregistry.h"

#include <QJsonValue>
#include <QTest>

using namespace CorvaneReplies;

namespace {
const QString outputPrefix = QStringLiteral("Process output:\n\n");
const QString noList =
    QStringLiteral("Could not find list of devices in discovery output. Process output:\n\n");
const QString probeFailed = QStringLiteral("Adapter probe command failed.");
const QString noKit = QStringLiteral("Could not find kit info in adapter probe output.");
const QString infoFailed =
    QStringLiteral("Command 'device info' failed. Provide a hint in the 'Target Part' column.");
const QString noPart = QStringLiteral("Could not detect target part.");
const QString partUnavailable =
    QStringLiteral("Could not detect target part - part number is not available.");
} // namespace

class TestCorvaneReplies : public QObject
{
    Q_OBJECT

private slots:
    void argumentLists()
    {
        QCOMPARE(discoveryArguments(), QStringList({"adapter", "list", "--noconnect", "--json"}));
        QCOMPARE(ipDiscoveryExtraArguments(), QStringList({"--net"}));
        QCOMPARE(probeArguments(), QStringList({"adapter", "probe", "--json"}));
        QCOMPARE(detectionArguments(), QStringList({"device", "info", "--json"}));
        QCOMPARE(completionArguments(), QStringList({"completion", "listopns", "--json"}));

        QCOMPARE(probeDeviceArguments(true, " 801002345 ", "10.0.0.5"),
                 QStringList({"--serialno", "801002345"}));
        QCOMPARE(probeDeviceArguments(false, "801002345", " 10.0.0.5\t"), QStringList({"--ip", "10.0.0.5"}));

        // The part number comes first, as a hint, and only when there is one.
        QCOMPARE(detectionDeviceArguments(true, "801002345", "", "  "),
                 QStringList({"--serialno", "801002345"}));
        QCOMPARE(detectionDeviceArguments(false, "", "10.0.0.5", " KM32G101F512 "),
                 QStringList({"--device", "KM32G101F512", "--ip", "10.0.0.5"}));
        QCOMPARE(detectionDeviceArguments(true, "801002345", "10.0.0.5", "KM32G101F512"),
                 QStringList({"--device", "KM32G101F512", "--serialno", "801002345"}));
    }

    void serialNumbers_data()
    {
        QTest::addColumn<QJsonValue>("value");
        QTest::addColumn<QString>("expected");
        QTest::newRow("plain") << QJsonValue(801002345) << "801002345";
        QTest::newRow("zero") << QJsonValue(0) << "0";
        QTest::newRow("signed maximum") << QJsonValue(2147483647) << "2147483647";
        QTest::newRow("just above signed") << QJsonValue(2147483648.0) << "2147483648";
        QTest::newRow("unsigned maximum") << QJsonValue(4294967295.0) << "4294967295";
        QTest::newRow("above unsigned") << QJsonValue(4294967296.0) << "0";
        QTest::newRow("negative") << QJsonValue(-5) << "0";
        QTest::newRow("fraction") << QJsonValue(801.5) << "0";
        QTest::newRow("text") << QJsonValue(QStringLiteral("801002345")) << "0";
        QTest::newRow("null") << QJsonValue(QJsonValue::Null) << "0";
        QTest::newRow("missing") << QJsonValue(QJsonValue::Undefined) << QString();
    }

    void serialNumbers()
    {
        QFETCH(QJsonValue, value);
        QFETCH(QString, expected);
        QCOMPARE(serialNumberText(value), expected);
    }

    void discovery_data()
    {
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QString>("error");
        // serial|ip|nickname per adapter
        QTest::addColumn<QStringList>("adapters");

        const QByteArray twoAdapters =
            R"({"result":{"device_count":2,"devices":[
                {"serial_number":801002345,"adapter_nickname":"bench-left"},
                7,
                {"serial_number":3000000001,"adapter_ip":"10.0.0.5","adapter_nickname":"rack-3"},
                {"adapter_ip":"10.0.0.6"}]}})";
        QTest::newRow("adapters, non-objects skipped")
            << 0 << twoAdapters << QString()
            << QStringList({"801002345||bench-left", "3000000001|10.0.0.5|rack-3", "|10.0.0.6|"});

        QTest::newRow("exit code") << 3 << QByteArray("no adapter driver")
                                   << "Device discovery process failed with exit code 3. "
                                      "Process output:\n\nno adapter driver"
                                   << QStringList();
        // The JSON of a failed run is not even looked at.
        QTest::newRow("exit code with valid reply")
            << -1 << twoAdapters
            << "Device discovery process failed with exit code -1. Process output:\n\n" +
                   QString::fromUtf8(twoAdapters)
            << QStringList();
        QTest::newRow("not JSON")
            << 0 << QByteArray("Searching...")
            << "Could not parse device discovery output. Process output:\n\nSearching..." << QStringList();
        QTest::newRow("empty output")
            << 0 << QByteArray() << "Could not parse device discovery output. Process output:\n\n"
            << QStringList();
        QTest::newRow("array") << 0 << QByteArray("[1,2]")
                               << "Could not parse device discovery output. Process output:\n\n[1,2]"
                               << QStringList();

        const QList<QByteArray> shapeErrors = {
            R"({"devices":[]})",
            R"({"result":null})",
            R"({"result":[{"device_count":1}]})",
            R"({"result":{"devices":[{"serial_number":1}]}})",
            R"({"result":{"device_count":1}})",
            R"({"result":{"device_count":1,"devices":{"serial_number":1}}})",
        };
        for (const QByteArray& output : shapeErrors)
            QTest::newRow(output.constData())
                << 0 << output << noList + QString::fromUtf8(output) << QStringList();

        QTest::newRow("count 0 with entries")
            << 0 << QByteArray(R"({"result":{"device_count":0,"devices":[{"serial_number":801002345}]}})")
            << QString() << QStringList();
        QTest::newRow("count as text reads as 0")
            << 0 << QByteArray(R"({"result":{"device_count":"1","devices":[{"serial_number":801002345}]}})")
            << QString() << QStringList();
        QTest::newRow("empty list") << 0 << QByteArray(R"({"result":{"device_count":4,"devices":[]}})")
                                    << QString() << QStringList();
    }

    void discovery()
    {
        QFETCH(int, exitCode);
        QFETCH(QByteArray, output);
        QFETCH(QString, error);
        QFETCH(QStringList, adapters);

        const DiscoveryReply reply = readDiscoveryReply(exitCode, output);
        QCOMPARE(reply.ok, error.isEmpty());
        QCOMPARE(reply.errorMessage, error);
        QStringList found;
        for (const DiscoveredAdapter& adapter : reply.adapters)
            found << adapter.serialNumber + "|" + adapter.ipAddress + "|" + adapter.nickname;
        QCOMPARE(found, adapters);
    }

    void probe_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QString>("error");
        QTest::addColumn<QStringList>("values"); // serial, ip, part, nickname

        QTest::newRow("full kit") << QByteArray(R"({"success":true,"result":{"kit_info":{
                "j_link_serial":801002345,"ip_address":"10.0.0.5","debug_part":"KM32G101F512","nickname":"bench-left"}}})")
                                  << QString()
                                  << QStringList({"801002345", "10.0.0.5", "KM32G101F512", "bench-left"});
        QTest::newRow("large serial, unknown address")
            << QByteArray(
                   R"({"success":true,"result":{"kit_info":{"j_link_serial":4000000000,"ip_address":"Unknown"}}})")
            << QString() << QStringList({"4000000000", "", "", ""});
        QTest::newRow("UNKNOWN address")
            << QByteArray(
                   R"({"success":true,"result":{"kit_info":{"ip_address":"UNKNOWN","debug_part":""}}})")
            << QString() << QStringList({"", "", "", ""});
        QTest::newRow("empty kit") << QByteArray(R"({"success":true,"result":{"kit_info":{}}})") << QString()
                                   << QStringList({"", "", "", ""});

        QTest::newRow("not JSON") << QByteArray("Segmentation fault")
                                  << "Could not parse adapter probe output." << QStringList();
        QTest::newRow("JSON array") << QByteArray("[]") << "Could not parse adapter probe output."
                                    << QStringList();
        QTest::newRow("success missing")
            << QByteArray(R"({"result":{"kit_info":{}}})") << probeFailed << QStringList();
        QTest::newRow("success false")
            << QByteArray(R"({"success":false,"result":{"kit_info":{}}})") << probeFailed << QStringList();
        QTest::newRow("success as text")
            << QByteArray(R"({"success":"true","result":{"kit_info":{}}})") << probeFailed << QStringList();
        QTest::newRow("success as number")
            << QByteArray(R"({"success":1,"result":{"kit_info":{}}})") << probeFailed << QStringList();
        QTest::newRow("result missing") << QByteArray(R"({"success":true})") << noKit << QStringList();
        QTest::newRow("result not object")
            << QByteArray(R"({"success":true,"result":"kit"})") << noKit << QStringList();
        QTest::newRow("kit missing") << QByteArray(R"({"success":true,"result":{}})") << noKit
                                     << QStringList();
        QTest::newRow("kit null") << QByteArray(R"({"success":true,"result":{"kit_info":null}})") << noKit
                                  << QStringList();
    }

    void probe()
    {
        QFETCH(QByteArray, output);
        QFETCH(QString, error);
        QFETCH(QStringList, values);

        const ProbeReply reply = readProbeReply(output);
        QCOMPARE(reply.ok, error.isEmpty());
        QCOMPARE(reply.errorMessage, error);
        if (!reply.ok) {
            QCOMPARE(reply.toolTip, outputPrefix + QString::fromUtf8(output));
            return;
        }
        QCOMPARE(reply.toolTip, QString());
        QCOMPARE(QStringList({reply.serialNumber, reply.ipAddress, reply.targetPart, reply.nickname}),
                 values);
    }

    void detection_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QString>("error");
        QTest::addColumn<QString>("partNumber");

        QTest::newRow("detected")
            << QByteArray(R"({"success":true,"result":{"device_info":{"part_number":"KM32G101F512"}}})")
            << QString() << "KM32G101F512";
        QTest::newRow("not JSON") << QByteArray("ERROR: no target") << "Could not parse 'device info' output."
                                  << QString();
        QTest::newRow("success missing")
            << QByteArray(R"({"result":{"device_info":{"part_number":"X"}}})") << infoFailed << QString();
        QTest::newRow("success false")
            << QByteArray(R"({"success":false,"result":{"device_info":{"part_number":"X"}}})") << infoFailed
            << QString();
        QTest::newRow("success as text")
            << QByteArray(R"({"success":"true","result":{"device_info":{"part_number":"X"}}})") << infoFailed
            << QString();
        QTest::newRow("result missing") << QByteArray(R"({"success":true})") << noPart << QString();
        QTest::newRow("device info missing")
            << QByteArray(R"({"success":true,"result":{}})") << noPart << QString();
        QTest::newRow("device info array")
            << QByteArray(R"({"success":true,"result":{"device_info":[]}})") << noPart << QString();
        QTest::newRow("part number missing")
            << QByteArray(R"({"success":true,"result":{"device_info":{"core":"M4"}}})") << partUnavailable
            << QString();
        QTest::newRow("part number null")
            << QByteArray(R"({"success":true,"result":{"device_info":{"part_number":null}}})")
            << partUnavailable << QString();
    }

    void detection()
    {
        QFETCH(QByteArray, output);
        QFETCH(QString, error);
        QFETCH(QString, partNumber);

        const DetectionReply reply = readDetectionReply(output);
        QCOMPARE(reply.ok, error.isEmpty());
        QCOMPARE(reply.errorMessage, error);
        QCOMPARE(reply.partNumber, partNumber);
    }

    void completion_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QStringList>("partNumbers");
        QTest::newRow("in order") << QByteArray(R"({"info":["KM32G101F512","KM32G101F256","AX7L2"]})")
                                  << QStringList({"KM32G101F512", "KM32G101F256", "AX7L2"});
        QTest::newRow("non-text entries dropped") << QByteArray(R"({"info":["KM32G101F512",3,null,"AX7L2"]})")
                                                  << QStringList({"KM32G101F512", "AX7L2"});
        QTest::newRow("empty") << QByteArray(R"({"info":[]})") << QStringList();
        QTest::newRow("info not array") << QByteArray(R"({"info":"KM32G101F512"})") << QStringList();
        QTest::newRow("no info") << QByteArray(R"({"result":["KM32G101F512"]})") << QStringList();
        QTest::newRow("not JSON") << QByteArray("KM32G101F512\nAX7L2\n") << QStringList();
    }

    void completion()
    {
        QFETCH(QByteArray, output);
        QFETCH(QStringList, partNumbers);
        QCOMPARE(readCompletionReply(output), partNumbers);
    }
};

HARNWICK_TEST(TestCorvaneReplies)
#include "tst_corvanereplies.moc"
