#include "batchtestfiles.h"
#include "batchutil.h"
#include "testregistry.h"

#include <QtTest>

using namespace BatchTestFiles;
using Step = QMap<QString, QVariant>;
using Device = BatchUtil::DeviceEntry;
Q_DECLARE_METATYPE(BatchUtil::DeviceEntry)

// The job file and the devices file, written and read back, and the faults their readers report.
class TestBatchFiles : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;

private slots:
    void jobRoundTrip()
    {
        const QString path = m_folder.filePath("job-common.yaml");
        QList<Step> steps{
            {{"task", "run_custom_command"},
             {"enabled", true},
             {"arguments", QStringList{"device", "info", "my file", "{{serial_number}}"}},
             {"append_connection_option", false}},
            {{"task", "flash_target_device"},
             {"enabled", "false"},
             {"image_file", QString::fromUtf8("/srv/Prüfplatz/fw: v2.hex")},
             {"start_address", "0x00008000"},
             {"flags", QStringList{"force", "verify_after_flash"}}},
            {{"task", "wait"}, {"enabled", "true"}, {"duration_ms", 250}, {"flags", QStringList()}},
            {{"nickname", QString()}, {"comment", "null"}, {"note", "~"}}};
        const QStringList parameters{"port", "serial_number", "Nickname"};
        BatchUtil util;
        QSignalSpy infos(&util, &BatchUtil::infoMessage);
        QVERIFY(util.createJobFile(path, steps, parameters));
        QCOMPARE(messages(infos), QStringList{QString("Job file '%1' written successfully.").arg(path)});

        // Parameters come first; in a step, task, enabled, arguments and flags lead, the rest follows sorted.
        const QByteArray text = readFile(path);
        QVERIFY(text.startsWith("parameters:\n  - name: port\n  - name: serial_number\n  - name: Nickname\n"
                                "steps:\n  - task: run_custom_command\n    enabled: true\n    arguments:\n"));
        QVERIFY(text.contains("    enabled: false\n    flags:\n      - force\n      - verify_after_flash\n"
                              "    image_file: "));
        QVERIFY(
            text.endsWith("  - task: \"\"\n    enabled: false\n    comment: \"null\"\n    nickname: \"\"\n"
                          "    note: \"~\""));

        // Everything reads back as text, lists as text lists; a missing task or flag was written empty.
        steps[0]["enabled"] = "true";
        steps[0]["append_connection_option"] = "false";
        steps[2]["duration_ms"] = "250";
        steps[3].insert("task", "");
        steps[3].insert("enabled", "false");
        QList<Step> read;
        QStringList readParameters;
        QVERIFY(util.parseJobFile(path, read, readParameters));
        QCOMPARE(readParameters, parameters);
        QCOMPARE(read, steps);
        for (int i = 0; i < steps.size(); ++i)
            for (const QString& key : steps[i].keys())
                QCOMPARE(read[i][key].userType(), steps[i][key].userType());

        QVERIFY(util.createJobFile(path, {}, {}));
        QCOMPARE(readFile(path), QByteArray("steps:\n  []"));
        QVERIFY(util.parseJobFile(path, read, readParameters));
        QVERIFY(read.isEmpty() && readParameters.isEmpty());
    }

    void jobReading_data()
    {
        QTest::addColumn<QByteArray>("document");
        QTest::addColumn<QString>("error");
        QTest::addColumn<QList<Step>>("stepsRead");
        QTest::addColumn<QStringList>("parametersRead");
        const QList<Step> wait{{{"task", "wait"}}};
        QTest::newRow("empty value, no parameters")
            << QByteArray("steps:\n  - task: wait\n    enabled:\n") << QString()
            << QList<Step>{{{"task", "wait"}, {"enabled", "null"}}} << QStringList();
        QTest::newRow("scalar steps") << QByteArray("steps: none\nparameters: [{name: a}]\n") << QString()
                                      << QList<Step>() << QStringList{"a"};
        QTest::newRow("step without task")
            << QByteArray("steps:\n  - task: wait\n  - Task: wait\n  - task: log_device_info\n")
            << "Job step is missing required 'task' field." << wait << QStringList();
        QTest::newRow("flags not a sequence")
            << QByteArray("steps:\n  - {task: a, flags: force}\n")
            << "Job step 'flags' field is not a sequence." << QList<Step>() << QStringList();
        QTest::newRow("arguments not a sequence")
            << QByteArray("steps:\n  - {task: wait}\n  - {task: b, arguments: {x: y}}\n")
            << "Job step 'arguments' field is not a sequence." << wait << QStringList();
        QTest::newRow("parameter without name")
            << QByteArray("steps: []\nparameters:\n  - name: a\n  - title: b\n")
            << "Job parameter is missing required 'name' field." << QList<Step>() << QStringList{"a"};
    }

    void jobReading()
    {
        QFETCH(QByteArray, document);
        QFETCH(QString, error);
        const QString path = m_folder.filePath("reading.yaml");
        QVERIFY(writeFile(path, document));
        BatchUtil util;
        QSignalSpy errors(&util, &BatchUtil::errorEncountered);
        QList<Step> steps;
        QStringList parameters;
        QCOMPARE(util.parseJobFile(path, steps, parameters), error.isEmpty());
        QCOMPARE(messages(errors), error.isEmpty() ? QStringList() : QStringList{error});
        QTEST(steps, "stepsRead");
        QTEST(parameters, "parametersRead");
    }

    void devicesRoundTrip()
    {
        const QString path = m_folder.filePath("devices.yaml");
        BatchUtil util;
        QSignalSpy infos(&util, &BatchUtil::infoMessage);
        QList<Device> read;
        bool applied = false;
        QString tif;
        int speed = 0;
        const auto roundTrip = [&](const QList<Device>& devices, bool a, const QString& t, int s) {
            return util.createDevicesFile(path, devices, a, t, s) &&
                   util.parseDevicesFile(path, read, applied, tif, speed);
        };
        const auto options = [&] {
            return QStringList{applied ? "applied" : "-", tif, QString::number(speed)};
        };

        const QList<Device> devices{{801002345, "KM32G101F512", BatchUtil::Usb, "", "bench-left", true},
                                    {4294967295u, "KM32G101F512", BatchUtil::Usb, "10.0.4.17", "", false},
                                    {0, QString::fromUtf8("KM32G2µ"), BatchUtil::Ip, "192.168.7.20",
                                     QString::fromUtf8("Prüfplatz 2"), true}};
        QVERIFY(roundTrip(devices, true, "SWD", 4000));
        QCOMPARE(read, devices);
        QCOMPARE(options(), (QStringList{"applied", "SWD", "4000"}));
        QCOMPARE(messages(infos), QStringList{QString("Devices file '%1' written successfully.").arg(path)});
        const QByteArray text = readFile(path);
        QVERIFY(text.startsWith("devices:\n  - serial_number: 801002345\n    target_device: KM32G101F512\n"
                                "    connection_type: usb\n    nickname: bench-left\n    selected: true\n"
                                "  - serial_number: 4294967295\n"));
        QVERIFY(text.endsWith("debug_connection_options:\n  applied: true\n  tif: SWD\n  speed: 4000"));

        // The options mapping holds only what is set; with neither interface nor speed it is left out,
        // and "applied" with it.
        QVERIFY(roundTrip({}, true, "", 0));
        QCOMPARE(readFile(path), QByteArray("devices:\n  []"));
        QCOMPARE(options(), (QStringList{"-", "", "-1"}));
        QVERIFY(roundTrip({}, true, "JTAG", -1));
        QVERIFY(readFile(path).endsWith("debug_connection_options:\n  applied: true\n  tif: JTAG"));
        QCOMPARE(options(), (QStringList{"applied", "JTAG", "-1"}));
        QVERIFY(roundTrip({}, false, "", 12000));
        QVERIFY(readFile(path).endsWith("debug_connection_options:\n  applied: false\n  speed: 12000"));
        QCOMPARE(options(), (QStringList{"-", "", "12000"}));

        // An entry of unknown type is written as "ip": it reads back as one, and fails without an address.
        QVERIFY(roundTrip({{801002345, "KM32G101F512", BatchUtil::Unknown, "10.0.0.9", "", false}}, false, "",
                          0));
        QCOMPARE(read.at(0).connectionType, BatchUtil::Ip);
        QVERIFY(!roundTrip({{801002345, "KM32G101F512", BatchUtil::Unknown, "", "", false}}, false, "", 0));
    }

    void devicesReading_data()
    {
        QTest::addColumn<QByteArray>("entry");
        QTest::addColumn<QString>("error");
        QTest::addColumn<Device>("expected");
        const QByteArray base = "{serial_number: 801002345, target_device: KM32G101F512";
        QTest::newRow("USB in capitals") << base + ", connection_type: USB}" << QString()
                                         << Device{801002345, "KM32G101F512", BatchUtil::Usb, "", "", false};
        QTest::newRow("Ip mixed case, selected 1")
            << base + ", connection_type: Ip, ip: 10.1.1.1, selected: 1}" << QString()
            << Device{801002345, "KM32G101F512", BatchUtil::Ip, "10.1.1.1", "", true};
        QTest::newRow("selected TRUE")
            << base + ", connection_type: usb, selected: TRUE, nickname: n1}" << QString()
            << Device{801002345, "KM32G101F512", BatchUtil::Usb, "", "n1", true};
        QTest::newRow("selected yes") << base + ", connection_type: usb, selected: yes}" << QString()
                                      << Device{801002345, "KM32G101F512", BatchUtil::Usb, "", "", false};
        QTest::newRow("serial not a number")
            << QByteArray("{serial_number: ABC123, target_device: X, connection_type: usb}") << QString()
            << Device{0, "X", BatchUtil::Usb, "", "", false};
        QTest::newRow("no serial") << QByteArray("{target_device: X, connection_type: usb}")
                                   << "Device entry is missing required 'serial_number' field." << Device{};
        QTest::newRow("no target") << QByteArray("{serial_number: 1, connection_type: usb}")
                                   << "Device entry is missing required 'target_device' field." << Device{};
        QTest::newRow("no type") << base + "}"
                                 << "Device entry is missing required 'connection_type' field." << Device{};
        QTest::newRow("unknown type")
            << base + ", connection_type: Serial}"
            << "Device entry has unknown 'connection_type' value: Serial" << Device{};
        QTest::newRow("IP without address")
            << base + ", connection_type: ip}"
            << "Device entry with IP connection type is missing required 'ip' field." << Device{};
    }

    void devicesReading()
    {
        QFETCH(QByteArray, entry);
        QFETCH(QString, error);
        QFETCH(Device, expected);
        // A good entry first: entries read before a fault stay in the list; the options go with a fault.
        const QString path = m_folder.filePath("reading.yaml");
        QVERIFY(
            writeFile(path, "devices:\n  - {serial_number: 7, target_device: A, connection_type: usb}\n  - " +
                                entry + "\ndebug_connection_options: {applied: True, speed: fast}\n"));
        BatchUtil util;
        QSignalSpy errors(&util, &BatchUtil::errorEncountered);
        QList<Device> devices;
        bool applied = false;
        QString tif = "stale";
        int speed = 5;
        QCOMPARE(util.parseDevicesFile(path, devices, applied, tif, speed), error.isEmpty());
        QCOMPARE(messages(errors), error.isEmpty() ? QStringList() : QStringList{error});
        QCOMPARE(devices.size(), error.isEmpty() ? 2 : 1);
        if (error.isEmpty())
            QCOMPARE(devices.at(1), expected);
        QCOMPARE(tif, QString());
        QCOMPARE(applied, error.isEmpty());
        QCOMPARE(speed, error.isEmpty() ? 0 : -1);
    }

    void writeFailures()
    {
        BatchUtil util;
        QSignalSpy errors(&util, &BatchUtil::errorEncountered);
        const QString missing = m_folder.filePath("no/such/folder/file.yaml");
        QVERIFY(!util.createJobFile(missing, {}, {}));
        QVERIFY(!util.createJobFile("/dev/full", {{{"task", "wait"}}}, {}));
        QVERIFY(!util.createDevicesFile(missing, {}, false, {}, 0));
        QVERIFY(!util.createDevicesFile("/dev/full", {}, false, {}, 0));
        QCOMPARE(messages(errors),
                 (QStringList{QString("Could not open job file '%1' for writing.").arg(missing),
                              "Could not write job file '/dev/full'.",
                              QString("Could not open devices file '%1' for writing.").arg(missing),
                              "Could not write devices file '/dev/full'."}));
    }
};

HARNWICK_TEST(TestBatchFiles)
#include "tst_batchfiles.moc"
