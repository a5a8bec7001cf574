#include "batchutil.h"
#include "jobchecks.h"
#include "testregistry.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

Q_DECLARE_METATYPE(QList<JobCheckAction>)
Q_DECLARE_METATYPE(QList<JobDevice>)

namespace {

using Step = QMap<QString, QVariant>;

JobCheckAction action(const Step& step, bool enabled = true)
{
    return JobCheckAction{true, enabled, step};
}

JobCheckAction untyped(bool enabled = true)
{
    return JobCheckAction{false, enabled, {}};
}

JobCheckAction flash(const QString& image, bool enabled = true)
{
    return action({{"task", "flash_target_device"}, {"image_file", image}, {"flags", QStringList{"verify"}}},
                  enabled);
}

JobCheckAction firmware(const QVariant& useDefault, const QString& file)
{
    return action({{"task", "install_adapter_firmware"}, {"use_default", useDefault}, {"emz_file", file}});
}

JobCheckAction command(const QStringList& arguments, bool enabled = true)
{
    return action({{"task", "run_custom_command"}, {"arguments", arguments}}, enabled);
}

JobCheckAction logInfo()
{
    return action({{"task", "log_device_info"}});
}

JobDevice usb(const QString& serial, const QString& part = QStringLiteral("KM32G101F512"),
              const QString& nickname = QStringLiteral("bench-left"))
{
    return JobDevice{serial, QString(), BatchUtil::Usb, part, nickname};
}

JobDevice ip(const QString& address, const QString& serial = QString())
{
    return JobDevice{serial, address, BatchUtil::Ip, QStringLiteral("KM32G101F512"), QStringLiteral("rack")};
}

const QString okImage = QStringLiteral("/srv/images/app.hex");

} // namespace

class TestJobChecks : public QObject
{
    Q_OBJECT

private slots:
    void firstProblem_data()
    {
        QTest::addColumn<QList<JobCheckAction>>("actions");
        QTest::addColumn<QList<JobDevice>>("devices");
        QTest::addColumn<QStringList>("existing");
        QTest::addColumn<QString>("problem");

        const QList<JobDevice> two{usb("801002345"), ip("192.0.2.20", "801002346")};
        const QStringList files{okImage, "/srv/images/KM32G101F512.hex"};

        QTest::newRow("job can run") << QList<JobCheckAction>{logInfo(), flash(okImage),
                                                              firmware(true, "/absent.emz"),
                                                              command({"--x", "{{serial_number}}",
                                                                       "{{lot_code}}"})}
                                     << two << files << "";

        // Order of the checks: each row holds the problems of all later checks too.
        QTest::newRow("untyped row before everything")
            << QList<JobCheckAction>{command({"{{nickname}}"}), untyped(), untyped(), flash("/absent.hex")}
            << QList<JobDevice>{usb("801002345", "", ""), usb("801002345")} << files
            << "Action 2 has no type: choose one or remove it.";
        QTest::newRow("nothing enabled before the rest")
            << QList<JobCheckAction>{flash("/absent.hex", false)}
            << QList<JobDevice>{usb("801002345"), usb("801002345")} << files
            << "There is no enabled action to run: add an action or enable one.";
        QTest::newRow("disabled untyped row too")
            << QList<JobCheckAction>{flash(okImage), untyped(false)} << two << files
            << "Action 2 has no type: choose one or remove it.";
        QTest::newRow("empty list") << QList<JobCheckAction>{} << two << files
                                    << "There is no enabled action to run: add an action or enable one.";
        QTest::newRow("variable before file")
            << QList<JobCheckAction>{logInfo(), flash("/absent.hex"), command({"-n", "{{nickname}}"})}
            << QList<JobDevice>{usb("801002345", "KM32G101F512", "")} << files
            << "Action 3 uses {{nickname}}, which is empty for 801002345: give the adapter a nickname with "
               "the tool, or uncheck those devices.";
        QTest::newRow("file before duplicate device")
            << QList<JobCheckAction>{flash(okImage, false), flash("/absent.hex")}
            << QList<JobDevice>{usb("801002345"), usb("801002345")} << files
            << "Action 2: the file \"/absent.hex\" does not exist or cannot be read.";

        // Variables.
        QTest::newRow("variable in capitals, in any key")
            << QList<JobCheckAction>{logInfo(), firmware(false, "/fw/{{Target_Part}}.emz")}
            << QList<JobDevice>{usb("801002345"), ip("192.0.2.20"), usb("801002347", "")} << files
            << "Action 2 uses {{Target_Part}}, which is empty for 801002347: fill it in or uncheck those "
               "devices.";
        QTest::newRow("later occurrence in a text")
            << QList<JobCheckAction>{command({"--a", "{{lot_code}}-{{serial_number}}"})}
            << QList<JobDevice>{usb("801002345"), ip("192.0.2.20")} << files
            << "Action 1 uses {{serial_number}}, which is empty for 192.0.2.20: fill it in or uncheck those "
               "devices.";
        QTest::newRow("page-wide value")
            << QList<JobCheckAction>{action(
                   {{"task", "set_adapter_debug_mode"}, {"mode", "{{debug_interface}}"}})}
            << QList<JobDevice>{usb("801002345")} << files
            << "Action 1 uses {{debug_interface}}, which is empty for 801002345: fill it in or uncheck those "
               "devices.";
        QTest::newRow("disabled actions ignored")
            << QList<JobCheckAction>{command({"{{nickname}}"}, false), flash("/absent.hex", false), logInfo()}
            << QList<JobDevice>{usb("801002345", "", "")} << files << "";
        QTest::newRow("unknown names left to the tool")
            << QList<JobCheckAction>{command({"{{lot_code}}"}), flash("/srv/{{lot_code}}/app.hex")}
            << QList<JobDevice>{usb("801002345")} << files << "";
        QList<JobDevice> many;
        for (int i = 1; i <= 8; ++i)
            many << usb(QStringLiteral("80100000%1").arg(i), "KM32G101F512", i == 2 ? "named" : "");
        many[3] = ip("192.0.2.24");
        many[3].nickname.clear();
        QTest::newRow("five named, the rest counted")
            << QList<JobCheckAction>{command({"{{nickname}}"})} << many << files
            << "Action 1 uses {{nickname}}, which is empty for 801000001, 801000003, 192.0.2.24, 801000005, "
               "801000006 and 2 more: give the adapter a nickname with the tool, or uncheck those devices.";
        QTest::newRow("exactly five named")
            << QList<JobCheckAction>{command({"{{nickname}}"})} << many.mid(0, 6) << files
            << "Action 1 uses {{nickname}}, which is empty for 801000001, 801000003, 192.0.2.24, 801000005, "
               "801000006: give the adapter a nickname with the tool, or uncheck those devices.";

        // Files.
        QTest::newRow("image path per device")
            << QList<JobCheckAction>{flash("/srv/images/{{target_part}}.hex")}
            << QList<JobDevice>{usb("801002345"), usb("801002346", "KM32G202F256"), usb("801002347")} << files
            << "Action 1: the file \"/srv/images/KM32G202F256.hex\" does not exist or cannot be read.";
        QTest::newRow("image path per device, all there")
            << QList<JobCheckAction>{flash("/srv/images/{{TARGET_PART}}.hex")}
            << QList<JobDevice>{usb("801002345"), usb("801002346")} << files << "";
        QTest::newRow("firmware file when not the default")
            << QList<JobCheckAction>{firmware(false, "/fw/adapter.emz")} << two << files
            << "Action 1: the file \"/fw/adapter.emz\" does not exist or cannot be read.";
        QTest::newRow("firmware flag as text from a job file")
            << QList<JobCheckAction>{firmware("false", "/fw/adapter.emz")} << two << files
            << "Action 1: the file \"/fw/adapter.emz\" does not exist or cannot be read.";
        QTest::newRow("default firmware as text")
            << QList<JobCheckAction>{firmware("true", "")} << two << files << "";
        QTest::newRow("no file named")
            << QList<JobCheckAction>{logInfo(), flash(" ")} << two << files << "Action 2 names no file.";

        // Devices.
        QTest::newRow("same serial twice")
            << QList<JobCheckAction>{logInfo()}
            << QList<JobDevice>{usb("801002345"), ip("192.0.2.20", "801002346"),
                                ip("192.0.2.21", "801002346")}
            << files << "Device 801002346 is listed twice: remove one of the rows.";
        QTest::newRow("same address twice")
            << QList<JobCheckAction>{logInfo()}
            << QList<JobDevice>{ip("192.0.2.20"), usb("801002345"), ip("192.0.2.21"), ip("192.0.2.20")}
            << files << "The IP address 192.0.2.20 is listed twice: remove one of the rows.";
        JobDevice usbWithAddress = usb("801002345");
        usbWithAddress.ipAddress = QStringLiteral("192.0.2.20");
        QTest::newRow("address of a USB row and empty serials do not count")
            << QList<JobCheckAction>{logInfo()}
            << QList<JobDevice>{usbWithAddress, ip("192.0.2.20"), ip("192.0.2.21")} << files << "";
    }

    void firstProblem()
    {
        QFETCH(QList<JobCheckAction>, actions);
        QFETCH(QList<JobDevice>, devices);
        QFETCH(QStringList, existing);
        QFETCH(QString, problem);
        const JobContext context{QString(), 4000};
        const auto probe = [&existing](const QString& path) {
            return existing.contains(path);
        };
        QCOMPARE(JobChecks::firstProblem(actions, devices, context, probe), problem);
    }

    // Every kind of mistake is named at once, in the order of the checks.
    void everyProblemAtOnce()
    {
        const JobContext context{QString(), 4000};
        const QStringList problems =
            JobChecks::problems({command({"-n", "{{nickname}}"}), untyped(), flash("/absent.hex")},
                                {usb("801002345", "KM32G101F512", ""), usb("801002345")}, context,
                                [](const QString&) { return false; });
        QCOMPARE(problems.size(), 4);
        QCOMPARE(problems.first(), QStringLiteral("Action 2 has no type: choose one or remove it."));
        QVERIFY2(problems.at(1).contains(QLatin1String("{{nickname}}")), qPrintable(problems.at(1)));
        QCOMPARE(problems.at(2),
                 QStringLiteral("Action 3: the file \"/absent.hex\" does not exist or cannot be read."));
        QCOMPARE(problems.last(),
                 QStringLiteral("Device 801002345 is listed twice: remove one of the rows."));
        QVERIFY(JobChecks::problems({logInfo()}, {usb("801002345")}, context).isEmpty());

        // The error line shows the first few and counts the rest.
        QCOMPARE(JobChecks::summary(problems, 2),
                 problems.mid(0, 2).join('\n') + QStringLiteral("\nand 2 more"));
        QCOMPARE(JobChecks::summary(problems), problems.join('\n'));
    }

    void realFiles()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString image = dir.filePath(QStringLiteral("KM32G101F512.hex"));
        QFile file(image);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(":00000001FF\n");
        file.close();
        const QString link = dir.filePath(QStringLiteral("current.hex"));
        QVERIFY(QFile::link(image, link));
        const QString folder = dir.filePath(QStringLiteral("images"));
        QVERIFY(QDir().mkpath(folder));

        QVERIFY(JobChecks::readableFile(image));
        QVERIFY(JobChecks::readableFile(link));
        QVERIFY(!JobChecks::readableFile(folder));
        QVERIFY(!JobChecks::readableFile(dir.filePath(QStringLiteral("absent.hex"))));
        QVERIFY(!JobChecks::readableFile(QString()));

        const JobContext context{QStringLiteral("SWD"), 4000};
        const QList<JobDevice> devices{usb("801002345")};
        QCOMPARE(JobChecks::firstProblem({flash(dir.filePath(QStringLiteral("{{target_part}}.hex")))},
                                         devices, context),
                 QString());
        QCOMPARE(JobChecks::firstProblem({flash(folder)}, devices, context),
                 QStringLiteral("Action 1: the file \"%1\" does not exist or cannot be read.").arg(folder));
    }
};

HARNWICK_TEST(TestJobChecks)
#include "tst_jobchecks.moc"
