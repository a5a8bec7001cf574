#include "jobhash.h"
#include "testregistry.h"

#include <QTest>

namespace {

using Steps = QList<QMap<QString, QVariant>>;

Steps sampleSteps()
{
    return {{{"task", "log_device_info"}, {"enabled", true}},
            {{"task", "wait"}, {"enabled", true}, {"duration_ms", 250}},
            {{"task", "run_custom_command"},
             {"enabled", false},
             {"arguments", QStringList{"device", "info", "--label", "{{nickname}}"}}},
            {{"task", "flash_target_device"}, {"enabled", true}, {"image_file", "/srv/images/app.hex"}}};
}

BatchUtil::DeviceEntry sampleDevice(quint32 serial, const char* nickname)
{
    BatchUtil::DeviceEntry entry;
    entry.serialNumber = serial;
    entry.nickname = QString::fromLatin1(nickname);
    entry.targetDevice = QStringLiteral("KM32G101F512");
    entry.connectionType = BatchUtil::Usb;
    entry.selected = true;
    return entry;
}

} // namespace

class TestJobHash : public QObject
{
    Q_OBJECT

private slots:
    void sameJobSameHash()
    {
        const QList<BatchUtil::DeviceEntry> devices{sampleDevice(801002345, "bench-left"),
                                                    sampleDevice(801002346, "bench-right")};
        const QString hash = JobHash::sha256(sampleSteps(), devices, true, QStringLiteral("SWD"), 4000);
        QCOMPARE(hash.size(), 64);

        // Values as a bundle reads them back (text, a list read as a variant list) hash alike.
        Steps asRead = sampleSteps();
        asRead[1][QStringLiteral("duration_ms")] = QStringLiteral("250");
        asRead[0][QStringLiteral("enabled")] = QStringLiteral("true");
        asRead[2][QStringLiteral("arguments")] =
            QVariantList{QStringLiteral("device"), QStringLiteral("info"), QStringLiteral("--label"),
                         QStringLiteral("{{nickname}}")};
        QCOMPARE(JobHash::sha256(asRead, devices, true, QStringLiteral("SWD"), 4000), hash);

        // Anything the tool gets, or the devices it runs on, makes another job.
        Steps swapped = sampleSteps();
        swapped.swapItemsAt(0, 1);
        Steps edited = sampleSteps();
        edited[3][QStringLiteral("image_file")] = QStringLiteral("/srv/images/app2.hex");
        Steps disabled = sampleSteps();
        disabled[1][QStringLiteral("enabled")] = false;
        QList<BatchUtil::DeviceEntry> renamed = devices;
        renamed[1].nickname = QStringLiteral("bench-east");
        QList<BatchUtil::DeviceEntry> unchecked = devices;
        unchecked[0].selected = false;
        const QStringList others{JobHash::sha256(swapped, devices, true, QStringLiteral("SWD"), 4000),
                                 JobHash::sha256(edited, devices, true, QStringLiteral("SWD"), 4000),
                                 JobHash::sha256(disabled, devices, true, QStringLiteral("SWD"), 4000),
                                 JobHash::sha256(sampleSteps(), renamed, true, QStringLiteral("SWD"), 4000),
                                 JobHash::sha256(sampleSteps(), unchecked, true, QStringLiteral("SWD"), 4000),
                                 JobHash::sha256(sampleSteps(), devices, false, QStringLiteral("SWD"), 4000),
                                 JobHash::sha256(sampleSteps(), devices, true, QStringLiteral("JTAG"), 4000),
                                 JobHash::sha256(sampleSteps(), devices, true, QStringLiteral("SWD"), 1000)};
        for (int index = 0; index < others.size(); ++index)
            QVERIFY2(others.at(index) != hash, qPrintable(QString::number(index)));
    }
};

HARNWICK_TEST(TestJobHash)
#include "tst_jobhash.moc"
