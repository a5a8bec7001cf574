#include "batchutil.h"
#include "jobexecution.h"
#include "runreport.h"
#include "testregistry.h"

#include <QTest>

class TestJobExecution : public QObject
{
    Q_OBJECT

    static JobDevice usbDevice()
    {
        return JobDevice{QStringLiteral("801002345"), QStringLiteral("10.20.0.7"), BatchUtil::Usb,
                         QStringLiteral("KM32G101F512"), QStringLiteral("bench-left")};
    }

private slots:
    void elapsedTexts_data()
    {
        QTest::addColumn<qint64>("ms");
        QTest::addColumn<QString>("text");
        QTest::newRow("999 ms") << qint64(999) << "999 ms";
        QTest::newRow("one second") << qint64(1000) << "1.00 s";
        QTest::newRow("1500 ms") << qint64(1500) << "1.50 s";
        QTest::newRow("just under a minute") << qint64(59999) << "60.00 s";
        QTest::newRow("a minute") << qint64(60000) << "1 m 0 s";
        QTest::newRow("over an hour") << qint64(3725400) << "62 m 5 s";
    }

    void elapsedTexts()
    {
        QFETCH(qint64, ms);
        QFETCH(QString, text);
        QCOMPARE(JobExecution::elapsedText(ms), text);
    }

    void failedAction_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<int>("action");
        QTest::newRow("none started") << QByteArray("Connecting...\nerror\n") << -1;
        QTest::newRow("last of two") << QByteArray("Running action 1\nok\nRunning action 2\nfailed\n") << 2;
        QTest::newRow("wide gap") << QByteArray("Running action   12\n") << 12;
        QTest::newRow("not at line start") << QByteArray("Running action 1\n  Running action 7\n") << 1;
        QTest::newRow("no number") << QByteArray("Running action x\n") << -1;
        QTest::newRow("carriage returns") << QByteArray("Running action 3\r\nboom\r\n") << 3;
    }

    void failedAction()
    {
        QFETCH(QByteArray, output);
        QFETCH(int, action);
        QCOMPARE(JobExecution::lastRunningAction(output), action);
    }

    void failureLines_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QByteArray>("errorOutput");
        QTest::addColumn<QString>("line");
        QTest::newRow("last error line of the output")
            << QByteArray("ERROR: first\nRunning action 2\nERROR: second\nJob failed\n")
            << QByteArray("oops\n") << "ERROR: second";
        QTest::newRow("error line on standard error")
            << QByteArray("Running action 1\n") << QByteArray("ERROR: Adapter not found\n")
            << "ERROR: Adapter not found";
        QTest::newRow("plain standard error")
            << QByteArray("Running action 1\n") << QByteArray("segfault near 0x0\n\n") << "segfault near 0x0";
        QTest::newRow("only output") << QByteArray("Running action 1\r\n  Erasing: 50%  \n") << QByteArray()
                                     << "Erasing: 50%";
        QTest::newRow("nothing") << QByteArray("\n\n") << QByteArray() << "";
    }

    void failureLines()
    {
        QFETCH(QByteArray, output);
        QFETCH(QByteArray, errorOutput);
        QFETCH(QString, line);
        QCOMPARE(JobExecution::failureLine(output, errorOutput), line);
    }

    // The tool tip after a run says how the process ended and stays small whatever the output.
    void outcomeToolTips()
    {
        const QByteArray shortRun = "Job bundle: job.hwj\nRunning action 1: wait\nERROR: Adapter not found\n";
        QCOMPARE(JobExecution::outcomeToolTip(shortRun, {}, {0, false, false}, false),
                 "Process output:\n\n" + QString::fromUtf8(shortRun));
        QCOMPARE(JobExecution::outcomeToolTip(shortRun, "ERROR: late\n", {5, false, false}, true),
                 "The process ended with exit code 5.\nERROR: Adapter not found\nERROR: late\n\nProcess "
                 "output:\n\n" +
                     QString::fromUtf8(shortRun));
        // A crash and a timeout read differently from an exit code and from each other.
        QVERIFY(JobExecution::outcomeToolTip({}, {}, {11, true, false}, true)
                    .startsWith(QStringLiteral("The process was ended by signal 11.\n")));
        QVERIFY(JobExecution::outcomeToolTip({}, {}, {9, true, true}, true)
                    .startsWith(QStringLiteral("The process hit its time limit and was ended.\n")));

        QByteArray flood = "Running action 2: flash_target_device\n";
        for (int line = 1; line <= 20000; ++line)
            flood += "Programming block " + QByteArray::number(line) + QByteArray(200, '.') + "\n";
        flood += "ERROR: Verify failed at 0x00008000\n";
        const QString tip = JobExecution::outcomeToolTip(flood, {}, {3, false, false}, true);
        const QStringList lines = tip.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        QVERIFY2(lines.size() <= 20, qPrintable(tip));
        for (const QString& line : lines)
            QVERIFY2(line.size() <= 120, qPrintable(line));
        QCOMPARE(lines.value(0), QStringLiteral("The process ended with exit code 3."));
        QCOMPARE(lines.value(1), QStringLiteral("ERROR: Verify failed at 0x00008000"));
        QVERIFY(tip.contains(QStringLiteral("earlier lines left out")));
        QCOMPARE(lines.constLast(), QStringLiteral("ERROR: Verify failed at 0x00008000"));
    }

    void linePercents_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<int>("percent");
        QTest::newRow("programming") << QByteArray("Programming: 45%") << 45;
        QTest::newRow("full") << QByteArray("Verifying: 100%") << 100;
        QTest::newRow("last of two") << QByteArray("Erasing: 100%, Programming: 7%") << 7;
        QTest::newRow("none") << QByteArray("Resetting target") << -1;
        QTest::newRow("sign alone") << QByteArray("load at % rate") << -1;
        QTest::newRow("beyond a hundred") << QByteArray("Retries: 250%") << -1;
        QTest::newRow("longer number") << QByteArray("Block 12345%") << -1;
    }

    void linePercents()
    {
        QFETCH(QByteArray, line);
        QFETCH(int, percent);
        QCOMPARE(JobExecution::linePercent(line), percent);
    }

    void reportFields_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("field");
        QTest::newRow("plain") << "bench-left"
                               << "bench-left";
        QTest::newRow("comma") << "line 3, left"
                               << "\"line 3, left\"";
        QTest::newRow("quote") << "the \"old\" one"
                               << "\"the \"\"old\"\" one\"";
        QTest::newRow("line break") << "a\nb"
                                    << "\"a\nb\"";
        QTest::newRow("formula") << "=1+2"
                                 << "'=1+2";
        QTest::newRow("plus") << "+49 30"
                              << "'+49 30";
        QTest::newRow("minus") << "-1"
                               << "'-1";
        QTest::newRow("at") << "@SUM(A1)"
                            << "'@SUM(A1)";
        QTest::newRow("formula with comma") << "=HYPERLINK(\"x\",\"y\")"
                                            << "\"'=HYPERLINK(\"\"x\"\",\"\"y\"\")\"";
        QTest::newRow("inner sign") << "KM32-G101"
                                    << "KM32-G101";
        QTest::newRow("empty") << ""
                               << "";
    }

    void reportFields()
    {
        QFETCH(QString, text);
        QFETCH(QString, field);
        QCOMPARE(RunReport::field(text), field);
    }

    // A bundle's device and steps give what the page gives once the bundle is loaded.
    void bundleContentAsTheWindowSeesIt()
    {
        BatchUtil::DeviceEntry entry;
        entry.serialNumber = 4294967295u;
        entry.ip = QStringLiteral(" 192.0.2.7 ");
        entry.targetDevice = QStringLiteral("KM32G101F512 ");
        entry.nickname = QStringLiteral(" line 3");
        JobDevice device = JobExecution::jobDeviceFromEntry(entry);
        QCOMPARE(device.serialNumber, QStringLiteral("4294967295"));
        QCOMPARE(device.ipAddress, QStringLiteral("192.0.2.7"));
        QCOMPARE(device.targetPart, QStringLiteral("KM32G101F512"));
        QCOMPARE(device.nickname, QStringLiteral(" line 3"));
        // No stored connection: the table offers USB first.
        QCOMPARE(device.connectionType, int(BatchUtil::Usb));
        entry.serialNumber = 0;
        entry.connectionType = BatchUtil::Ip;
        device = JobExecution::jobDeviceFromEntry(entry);
        QCOMPARE(JobExecution::deviceId(device), QStringLiteral("192.0.2.7"));
        QCOMPARE(device.connectionType, int(BatchUtil::Ip));

        const auto step = [](bool enabled, const QVariant& value) {
            return QMap<QString, QVariant>{{QStringLiteral("task"), QStringLiteral("run_custom_command")},
                                           {QStringLiteral("enabled"), enabled},
                                           {QStringLiteral("arguments"), value}};
        };
        QCOMPARE(
            JobExecution::variableNamesOfSteps(
                {step(true, QStringList({"--a", "{{nickname}}", "{{Serial_Number}} {{other}}"})),
                 step(false, QStringList({"{{target_part}}"})), step(true, QStringLiteral("{{nickname}}"))}),
            QStringList({"nickname", "Serial_Number"}));
    }

    void argumentsPerConnection()
    {
        const JobContext context{QStringLiteral("SWD"), 4000};
        JobDevice device = usbDevice();
        auto entry = JobExecution::deviceSpecificArguments(device, {}, context);
        QCOMPARE(entry.first, QStringLiteral("801002345"));
        QCOMPARE(entry.second, QStringList({"--serialno", "801002345", "--device", "KM32G101F512"}));

        // An IP row runs by address, yet keeps its serial number as key.
        device.connectionType = BatchUtil::Ip;
        entry = JobExecution::deviceSpecificArguments(device, {}, context);
        QCOMPARE(entry.first, QStringLiteral("801002345"));
        QCOMPARE(entry.second, QStringList({"--ip", "10.20.0.7", "--device", "KM32G101F512"}));

        device.serialNumber.clear();
        device.targetPart.clear();
        entry = JobExecution::deviceSpecificArguments(device, {}, context);
        QCOMPARE(entry.first, QStringLiteral("10.20.0.7"));
        QCOMPARE(entry.second, QStringList({"--ip", "10.20.0.7"}));

        // Rows without the value their connection needs, or with no connection, are not run.
        device.ipAddress.clear();
        QVERIFY(JobExecution::deviceSpecificArguments(device, {}, context).first.isEmpty());
        device = usbDevice();
        device.serialNumber.clear();
        QVERIFY(JobExecution::deviceSpecificArguments(device, {}, context).first.isEmpty());
        device = usbDevice();
        device.connectionType = BatchUtil::Unknown;
        QVERIFY(JobExecution::deviceSpecificArguments(device, {}, context).second.isEmpty());
    }

    void parametersFollowTheVariableList()
    {
        const JobContext context{QStringLiteral("JTAG"), 12000};
        JobDevice device = usbDevice();
        device.nickname.clear();
        const QStringList names{"Serial_Number",   "nickname",   "custom_thing", "debug_speed",
                                "debug_interface", "ip_address", "TARGET_PART"};
        const auto entry = JobExecution::deviceSpecificArguments(device, names, context);
        // Capitals still match; empty and unknown values are not passed; the list order is kept.
        QCOMPARE(entry.second,
                 QStringList({"--serialno", "801002345", "--device", "KM32G101F512", "--parameter",
                              "Serial_Number:801002345", "--parameter", "debug_speed:12000", "--parameter",
                              "debug_interface:JTAG", "--parameter", "ip_address:10.20.0.7", "--parameter",
                              "TARGET_PART:KM32G101F512"}));
    }

    void builtInTable()
    {
        const auto table = JobExecution::builtInVariableDescriptions();
        QCOMPARE(table.keys(), QStringList({"debug_interface", "debug_speed", "ip_address", "nickname",
                                            "serial_number", "target_part"}));
        // Every listed name has a value source.
        const JobDevice device = usbDevice();
        const JobContext context{QStringLiteral("SWD"), 100};
        for (const QString& name : table.keys())
            QVERIFY2(!JobExecution::variableValue(name, device, context).isEmpty(), qPrintable(name));
        QCOMPARE(JobExecution::variableValue(QStringLiteral("other"), device, context), QString());
    }
};

HARNWICK_TEST(TestJobExecution)
#include "tst_jobexecution.moc"
