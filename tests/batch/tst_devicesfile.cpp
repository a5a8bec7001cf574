#include "batchtestfiles.h"
#include "batchutil.h"
#include "testregistry.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

using Device = BatchUtil::DeviceEntry;
Q_DECLARE_METATYPE(BatchUtil::DeviceEntry)

class TestDevicesFile : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;

    struct Options
    {
        bool applied = false;
        QString debugInterface;
        int speed = 0;
    };

    // Writes the list and options, reads them back; fails the test when either step fails.
    bool roundTrip(const QList<Device>& devices, const Options& written, QList<Device>& read, Options& back,
                   QByteArray* text = nullptr)
    {
        const QString path = m_folder.filePath(QStringLiteral("devices.yaml"));
        BatchUtil util;
        if (!util.createDevicesFile(path, devices, written.applied, written.debugInterface, written.speed))
            return false;
        if (text)
            *text = BatchTestFiles::readFile(path);
        return util.parseDevicesFile(path, read, back.applied, back.debugInterface, back.speed);
    }

private slots:
    void roundTrip()
    {
        const QList<Device> devices{{801002345, "KM32G101F512", BatchUtil::Usb, "", "bench-left", true},
                                    {4294967295u, "KM32G101F512", BatchUtil::Usb, "10.0.4.17", "", false},
                                    {0, QString::fromUtf8("KM32G2µ"), BatchUtil::Ip, "192.168.7.20",
                                     QString::fromUtf8("Prüfplatz 2"), true}};
        QList<Device> read;
        Options back;
        QByteArray text;
        QVERIFY(roundTrip(devices, {true, "SWD", 4000}, read, back, &text));
        QCOMPARE(read, devices);
        QCOMPARE(back.applied, true);
        QCOMPARE(back.debugInterface, QStringLiteral("SWD"));
        QCOMPARE(back.speed, 4000);
        QVERIFY(text.startsWith("devices:\n  - serial_number: 801002345\n    target_device: KM32G101F512\n"
                                "    connection_type: usb\n    nickname: bench-left\n    selected: true\n"
                                "  - serial_number: 4294967295\n"));
        QVERIFY(text.endsWith("debug_connection_options:\n  applied: true\n  tif: SWD\n  speed: 4000"));
    }

    void connectionOptions()
    {
        QList<Device> read;
        Options back;
        QByteArray text;
        // Nothing set: the mapping is left out, so "applied" does not survive.
        QVERIFY(roundTrip({}, {true, "", 0}, read, back, &text));
        QCOMPARE(text, QByteArray("devices:\n  []"));
        QVERIFY(!back.applied);
        QCOMPARE(back.debugInterface, QString());
        QCOMPARE(back.speed, -1);

        QVERIFY(roundTrip({}, {true, "JTAG", -1}, read, back, &text));
        QVERIFY(text.endsWith("debug_connection_options:\n  applied: true\n  tif: JTAG"));
        QCOMPARE(back.speed, -1);
        QCOMPARE(back.debugInterface, QStringLiteral("JTAG"));

        QVERIFY(roundTrip({}, {false, "", 12000}, read, back, &text));
        QVERIFY(text.endsWith("debug_connection_options:\n  applied: false\n  speed: 12000"));
        QCOMPARE(back.speed, 12000);
        QCOMPARE(back.debugInterface, QString());
    }

    void unknownConnectionTypeIsWrittenAsIp()
    {
        QList<Device> read;
        Options back;
        QVERIFY(roundTrip({{801002345, "KM32G101F512", BatchUtil::Unknown, "10.0.0.9", "", false}}, {}, read,
                          back));
        QCOMPARE(read.at(0).connectionType, BatchUtil::Ip);

        QVERIFY(!roundTrip({{801002345, "KM32G101F512", BatchUtil::Unknown, "", "", false}}, {}, read, back));
    }

    void reading_data()
    {
        QTest::addColumn<QByteArray>("entry");
        QTest::addColumn<QString>("error");
        QTest::addColumn<Device>("expected");

        const QByteArray base = "serial_number: 801002345, target_device: KM32G101F512";
        QTest::newRow("USB in capitals") << "{" + base + ", connection_type: USB}" << QString()
                                         << Device{801002345, "KM32G101F512", BatchUtil::Usb, "", "", false};
        QTest::newRow("Ip mixed case, selected 1")
            << "{" + base + ", connection_type: Ip, ip: 10.1.1.1, selected: 1}" << QString()
            << Device{801002345, "KM32G101F512", BatchUtil::Ip, "10.1.1.1", "", true};
        QTest::newRow("selected TRUE")
            << "{" + base + ", connection_type: usb, selected: TRUE, nickname: n1}" << QString()
            << Device{801002345, "KM32G101F512", BatchUtil::Usb, "", "n1", true};
        QTest::newRow("selected yes") << "{" + base + ", connection_type: usb, selected: yes}" << QString()
                                      << Device{801002345, "KM32G101F512", BatchUtil::Usb, "", "", false};
        QTest::newRow("serial not a number")
            << QByteArray("{serial_number: ABC123, target_device: X, connection_type: usb}") << QString()
            << Device{0, "X", BatchUtil::Usb, "", "", false};
        QTest::newRow("no serial") << QByteArray("{target_device: X, connection_type: usb}")
                                   << "Device entry is missing required 'serial_number' field." << Device{};
        QTest::newRow("no target") << QByteArray("{serial_number: 1, connection_type: usb}")
                                   << "Device entry is missing required 'target_device' field." << Device{};
        QTest::newRow("no type") << "{" + base + "}"
                                 << "Device entry is missing required 'connection_type' field." << Device{};
        QTest::newRow("unknown type")
            << "{" + base + ", connection_type: Serial}"
            << "Device entry has unknown 'connection_type' value: Serial" << Device{};
        QTest::newRow("IP without address")
            << "{" + base + ", connection_type: ip}"
            << "Device entry with IP connection type is missing required 'ip' field." << Device{};
    }

    void reading()
    {
        QFETCH(QByteArray, entry);
        QFETCH(QString, error);
        QFETCH(Device, expected);
        // A good entry first: entries read before a fault stay in the list.
        const QByteArray document =
            "devices:\n  - {serial_number: 7, target_device: A, connection_type: usb}\n  - " + entry +
            "\ndebug_connection_options: {applied: True, speed: fast}\n";
        const QString path = m_folder.filePath(QStringLiteral("reading.yaml"));
        QVERIFY(BatchTestFiles::writeFile(path, document));

        BatchUtil util;
        QSignalSpy errors(&util, &BatchUtil::errorEncountered);
        QList<Device> devices;
        bool applied = false;
        QString debugInterface = "stale";
        int speed = 5;
        QCOMPARE(util.parseDevicesFile(path, devices, applied, debugInterface, speed), error.isEmpty());
        QCOMPARE(debugInterface, QString());
        if (!error.isEmpty()) {
            QCOMPARE(errors.size(), 1);
            QCOMPARE(errors.at(0).at(0).toString(), error);
            QCOMPARE(devices.size(), 1);
            QVERIFY(!applied);
            QCOMPARE(speed, -1);
            return;
        }
        QCOMPARE(devices.size(), 2);
        QCOMPARE(devices.at(1), expected);
        QVERIFY(applied);
        QCOMPARE(speed, 0);
    }

    void missingDevicesKey()
    {
        const QString path = m_folder.filePath(QStringLiteral("nodevices.yaml"));
        QVERIFY(BatchTestFiles::writeFile(path, "Devices: []\n"));
        BatchUtil util;
        QSignalSpy errors(&util, &BatchUtil::errorEncountered);
        QList<Device> devices;
        bool applied;
        QString debugInterface;
        int speed;
        QVERIFY(!util.parseDevicesFile(path, devices, applied, debugInterface, speed));
        QCOMPARE(errors.at(0).at(0).toString(),
                 QStringLiteral("Devices file is missing required 'devices' array."));
    }

    void writeFailures()
    {
        BatchUtil util;
        QSignalSpy errors(&util, &BatchUtil::errorEncountered);
        QSignalSpy infos(&util, &BatchUtil::infoMessage);
        const QString missingFolder = m_folder.filePath(QStringLiteral("no/such/folder/devices.yaml"));
        QVERIFY(!util.createDevicesFile(missingFolder, {}, false, {}, 0));
        QCOMPARE(errors.takeLast().at(0).toString(),
                 QStringLiteral("Could not open devices file '%1' for writing.").arg(missingFolder));
        QVERIFY(!util.createDevicesFile(QStringLiteral("/dev/full"), {}, false, {}, 0));
        QCOMPARE(errors.takeLast().at(0).toString(),
                 QStringLiteral("Could not write devices file '/dev/full'."));
        QVERIFY(infos.isEmpty());
        const QString path = m_folder.filePath(QStringLiteral("fine.yaml"));
        QVERIFY(util.createDevicesFile(path, {}, false, {}, 0));
        QCOMPARE(infos.at(0).at(0).toString(),
                 QStringLiteral("Devices file '%1' written successfully.").arg(path));
    }
};

HARNWICK_TEST(TestDevicesFile)
#include "tst_devicesfile.moc"
