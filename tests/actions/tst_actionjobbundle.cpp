#include "actionpagehelpers.h"
#include "batchutil.h"
#include "bulkaction.h"
#include "bulkoperationswidget.h"
#include "testregistry.h"

#include <QFile>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTest>

using namespace ActionPage;
using Step = QMap<QString, QVariant>;

class TestActionJobBundle : public QObject
{
    Q_OBJECT

private slots:
    void bundleOfThePage();
};

void TestActionJobBundle::bundleOfThePage()
{
    BulkOperationsWidget page;
    page.addDeviceToTable(QStringLiteral("801002345"), QString(), QStringLiteral("KM32G101F512"),
                          QStringLiteral("bench-left"), true, false, true, true);
    page.addDeviceToTable(QString(), QStringLiteral("10.0.4.17"), QString(), QString(), false, true, false,
                          true);
    page.debugConnectionOptionsRestore(true, QStringLiteral("SWD"), 2000);
    QGroupBox* custom = addTyped(page, BulkAction::RunCustomCommand);
    field<QLineEdit>(custom, BulkAction::RunCustomCommand, "customCommandLineEdit")
        ->setText(QStringLiteral("device info --device {{target_part}}"));
    addTyped(page, BulkAction::MassEraseTargetDevice, false);

    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("bench.hwj"));
    QStringList variables;
    QVERIFY(page.prepareBatchJobFile(path, variables));
    QCOMPARE(variables, QStringList{QStringLiteral("target_part")});

    BatchUtil reader;
    QList<Step> steps;
    QList<BatchUtil::DeviceEntry> devices;
    bool applied = false;
    QString debugInterface;
    int speed = 0;
    QStringList parameters;
    QVERIFY(reader.bundleRead(path, steps, devices, applied, debugInterface, speed, parameters));
    QVERIFY(applied);
    QCOMPARE(debugInterface, QStringLiteral("SWD"));
    QCOMPARE(speed, 2000);
    QCOMPARE(parameters, variables);
    QCOMPARE(steps.size(), 2);
    QCOMPARE(steps[0].value(QStringLiteral("arguments")).toStringList(),
             (QStringList{QStringLiteral("device"), QStringLiteral("info"), QStringLiteral("--device"),
                          QStringLiteral("{{target_part}}")}));
    QCOMPARE(steps[1].value(QStringLiteral("task")).toString(), QStringLiteral("mass_erase_target_device"));
    QCOMPARE(steps[1].value(QStringLiteral("enabled")).toBool(), false);

    QCOMPARE(devices.size(), 2);
    BatchUtil::DeviceEntry usb;
    usb.serialNumber = 801002345;
    usb.targetDevice = QStringLiteral("KM32G101F512");
    usb.connectionType = BatchUtil::Usb;
    usb.nickname = QStringLiteral("bench-left");
    usb.selected = true;
    BatchUtil::DeviceEntry ip;
    ip.connectionType = BatchUtil::Ip;
    ip.ip = QStringLiteral("10.0.4.17");
    QVERIFY(devices.contains(usb));
    QVERIFY(devices.contains(ip));

    // A bundle that cannot be written makes the whole preparation fail.
    QFile blocker(dir.filePath(QStringLiteral("not-a-folder")));
    QVERIFY(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    QVERIFY(!page.prepareBatchJobFile(dir.filePath(QStringLiteral("not-a-folder/bench.hwj")), variables));
}

HARNWICK_TEST(TestActionJobBundle)
#include "tst_actionjobbundle.moc"
