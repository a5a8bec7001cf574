#include "corvanereplies.h"
#include "testregistry.h"

#include <QTest>

using namespace CorvaneReplies;

// Each reader's outcome as one text: its error sentence, or its values
// joined with "|" (adapters separated by ";").
class TestCorvaneReplies : public QObject
{
    Q_OBJECT

private slots:
    void perDeviceArgumentsAreTrimmed()
    {
        QCOMPARE(probeDeviceArguments(true, " 801002345 ", "10.0.0.5"),
                 QStringList({"--serialno", "801002345"}));
        // A blank part is no hint.
        QCOMPARE(detectionDeviceArguments(false, "", " 10.0.0.5\t", "  "), QStringList({"--ip", "10.0.0.5"}));
    }

    void discovery_data()
    {
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char* name, int exitCode, const QByteArray& output,
                            const QString& expected) {
            QTest::newRow(name) << exitCode << output << expected;
        };
        const QString unparsed =
            QStringLiteral("Could not parse device discovery output. Process output:\n\n");
        const QString noList =
            QStringLiteral("Could not find list of devices in discovery output. Process output:\n\n");

        const QByteArray adapters = R"({"result":{"device_count":2,"devices":[
                {"serial_number":801002345,"adapter_nickname":"bench-left"}, 7,
                {"serial_number":4294967295,"adapter_ip":"10.0.0.5","adapter_nickname":"rack-3"},
                {"adapter_ip":"10.0.0.6"}]}})";
        row("adapters, non-objects skipped", 0, adapters,
            "801002345||bench-left;4294967295|10.0.0.5|rack-3;|10.0.0.6|");
        row("exit code", 3, "no adapter driver",
            "Device discovery process failed with exit code 3. Process output:\n\nno adapter driver");
        // The JSON of a failed run is not even looked at.
        row("exit code with valid reply", -1, adapters,
            "Device discovery process failed with exit code -1. Process output:\n\n" + adapters);
        row("not JSON", 0, "Searching...", unparsed + "Searching...");
        row("array", 0, "[1,2]", unparsed + "[1,2]");
        for (const char* output :
             {R"({"devices":[]})", R"({"result":null})", R"({"result":[{"device_count":1}]})",
              R"({"result":{"devices":[{"serial_number":1}]}})", R"({"result":{"device_count":1}})",
              R"({"result":{"device_count":1,"devices":{"serial_number":1}}})"})
            row(output, 0, output, noList + output);
        row("count 0 with entries", 0, R"({"result":{"device_count":0,"devices":[{"serial_number":1}]}})",
            "");
        row("count as text", 0, R"({"result":{"device_count":"1","devices":[{"serial_number":1}]}})", "");
        row("empty list", 0, R"({"result":{"device_count":4,"devices":[]}})", "");
    }

    void discovery()
    {
        QFETCH(int, exitCode);
        QFETCH(QByteArray, output);
        QFETCH(QString, expected);
        const DiscoveryReply reply = readDiscoveryReply(exitCode, output);
        QStringList found;
        for (const DiscoveredAdapter& adapter : reply.adapters)
            found << adapter.serialNumber + "|" + adapter.ipAddress + "|" + adapter.nickname;
        QCOMPARE(reply.ok, reply.errorMessage.isEmpty());
        QCOMPARE(reply.ok ? found.join(';') : reply.errorMessage, expected);
    }

    void probe_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QString>("expected");
        const auto kit = [](const char* name, const char* kitJson, const char* expected) {
            QTest::newRow(name) << QByteArray(R"({"success":true,"result":{"kit_info":)") + kitJson + "}}"
                                << QString::fromLatin1(expected);
        };
        const auto bad = [](const char* name, const char* output, const char* error) {
            QTest::newRow(name) << QByteArray(output) << QString::fromLatin1(error);
        };
        kit("full kit",
            R"({"j_link_serial":801002345,"ip_address":"10.0.0.5","debug_part":"KM32G101F512","nickname":"a"})",
            "801002345|10.0.0.5|KM32G101F512|a");
        kit("serial above the signed range, unknown address",
            R"({"j_link_serial":2147483648,"ip_address":"Unknown"})", "2147483648|||");
        kit("serial out of range", R"({"j_link_serial":4294967296})", "0|||");
        kit("UNKNOWN address", R"({"ip_address":"UNKNOWN","debug_part":""})", "|||");
        kit("empty kit", "{}", "|||");

        const char* unparsed = "Could not parse adapter probe output.";
        const char* failed = "Adapter probe command failed.";
        const char* noKit = "Could not find kit info in adapter probe output.";
        bad("not JSON", "Segmentation fault", unparsed);
        bad("JSON array", "[]", unparsed);
        bad("success missing", R"({"result":{"kit_info":{}}})", failed);
        bad("success false", R"({"success":false,"result":{"kit_info":{}}})", failed);
        bad("success as text", R"({"success":"true","result":{"kit_info":{}}})", failed);
        bad("result missing", R"({"success":true})", noKit);
        bad("result not object", R"({"success":true,"result":"kit"})", noKit);
        bad("kit missing", R"({"success":true,"result":{}})", noKit);
        bad("kit null", R"({"success":true,"result":{"kit_info":null}})", noKit);
    }

    void probe()
    {
        QFETCH(QByteArray, output);
        QFETCH(QString, expected);
        const ProbeReply reply = readProbeReply(output);
        QCOMPARE(reply.ok, reply.errorMessage.isEmpty());
        QCOMPARE(reply.toolTip, reply.ok ? QString() : "Process output:\n\n" + QString::fromUtf8(output));
        const QStringList values = {reply.serialNumber, reply.ipAddress, reply.targetPart, reply.nickname};
        QCOMPARE(reply.ok ? values.join('|') : reply.errorMessage, expected);
    }

    void detection_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char* name, const char* output, const char* expected) {
            QTest::newRow(name) << QByteArray(output) << QString::fromLatin1(expected);
        };
        const char* failed = "Command 'device info' failed. Provide a hint in the 'Target Part' column.";
        const char* noPart = "Could not detect target part.";
        const char* unavailable = "Could not detect target part - part number is not available.";
        row("detected", R"({"success":true,"result":{"device_info":{"part_number":"KM32G101F512"}}})",
            "KM32G101F512");
        row("not JSON", "ERROR: no target", "Could not parse 'device info' output.");
        row("success missing", R"({"result":{"device_info":{"part_number":"X"}}})", failed);
        row("success false", R"({"success":false,"result":{"device_info":{"part_number":"X"}}})", failed);
        row("success as text", R"({"success":"true","result":{"device_info":{"part_number":"X"}}})", failed);
        row("result missing", R"({"success":true})", noPart);
        row("device info missing", R"({"success":true,"result":{}})", noPart);
        row("device info array", R"({"success":true,"result":{"device_info":[]}})", noPart);
        row("part number missing", R"({"success":true,"result":{"device_info":{"core":"M4"}}})", unavailable);
        row("part number null", R"({"success":true,"result":{"device_info":{"part_number":null}}})",
            unavailable);
    }

    void detection()
    {
        QFETCH(QByteArray, output);
        QFETCH(QString, expected);
        const DetectionReply reply = readDetectionReply(output);
        QCOMPARE(reply.ok, reply.errorMessage.isEmpty());
        QCOMPARE(reply.ok ? reply.partNumber : reply.errorMessage, expected);
    }

    void completion_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QStringList>("partNumbers");
        QTest::newRow("in order") << QByteArray(R"({"info":["KM32G101F512","KM32G101F256","AX7L2"]})")
                                  << QStringList({"KM32G101F512", "KM32G101F256", "AX7L2"});
        QTest::newRow("non-text entries dropped") << QByteArray(R"({"info":["KM32G101F512",3,null,"AX7L2"]})")
                                                  << QStringList({"KM32G101F512", "AX7L2"});
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
