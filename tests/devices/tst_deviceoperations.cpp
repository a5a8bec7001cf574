#include "corvaneprocessrunner.h"
#include "devicepagehelpers.h"
#include "qprogressindicator.h"
#include "settingsutil.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QAbstractItemModelTester>
#include <QCheckBox>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

using namespace DevicePage;

namespace {

struct Invocation
{
    QString command;
    QStringList arguments;
};

const QStringList listUsb = {"adapter", "list", "--noconnect", "--json"};
const QStringList listNet = {"adapter", "list", "--noconnect", "--json", "--net"};

// Four adapters on USB, two on the network, one of them both ways.
const QByteArray smallFleet =
    "adapters:\n"
    "  - serial: 801002345\n    nickname: bench-left\n"
    "  - serial: 801002346\n    nickname: bench-right\n"
    "  - serial: 801017733\n    nickname: rack-a1\n"
    "  - serial: 801020001\n    nickname: bench-dual\n    ip: 192.0.2.20\n"
    "  - serial: 803110042\n    nickname: lab-net-1\n    usb: false\n    ip: 192.0.2.21\n";

} // namespace

// Discovery, probing, detection and the Corvane window, end to end against
// the device simulator and its invocation record.
class TestDeviceOperations : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;
    QString recordPath;

    QList<Invocation> invocations(const QString& command = QString()) const
    {
        QList<Invocation> found;
        QFile record(recordPath);
        if (!record.open(QIODevice::ReadOnly))
            return found;
        for (const QByteArray& line : record.readAll().split('\n')) {
            const QJsonObject object = QJsonDocument::fromJson(line).object();
            if (object.isEmpty())
                continue;
            Invocation invocation;
            invocation.command = object.value("command").toString();
            for (const QJsonValue& argument : object.value("arguments").toArray())
                invocation.arguments << argument.toString();
            if (command.isEmpty() || invocation.command == command)
                found << invocation;
        }
        return found;
    }

    QList<QStringList> argumentsOf(const QString& command) const
    {
        QList<QStringList> lists;
        for (const Invocation& invocation : invocations(command))
            lists << invocation.arguments;
        std::sort(lists.begin(), lists.end());
        return lists;
    }

    void useFleet(const QByteArray& yaml)
    {
        const QString path = dir.filePath(QStringLiteral("fleet.yaml"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(yaml);
        qputenv("CORVANE_SIM_FLEET", QFile::encodeName(path));
    }

    static QString errorText(const BulkOperationsWidget& page)
    {
        auto* label = page.findChild<QLabel*>(QStringLiteral("errorLabel"));
        return label->isHidden() ? QString() : label->text();
    }

    static void discover(BulkOperationsWidget& page)
    {
        page.findChild<QPushButton*>(QStringLiteral("deviceSelectorDiscoverButton"))->click();
        QTRY_VERIFY_WITH_TIMEOUT(!page.deviceSelectorOperationRunning(), 20000);
    }

    static void waitForOperation(const BulkOperationsWidget& page)
    {
        QTRY_VERIFY_WITH_TIMEOUT(!page.deviceSelectorOperationRunning(), 20000);
    }

    static int rowOf(const BulkOperationsWidget& page, const QString& nickname)
    {
        return column(page, DeviceNicknameColumn).indexOf(nickname);
    }

private slots:
    void initTestCase()
    {
        recordPath = dir.filePath(QStringLiteral("record.jsonl"));
        qputenv("CORVANE_SIM_SPEED", "0");
        qputenv("CORVANE_SIM_RECORD", QFile::encodeName(recordPath));
    }

    void cleanupTestCase()
    {
        qunsetenv("CORVANE_SIM_SPEED");
        qunsetenv("CORVANE_SIM_RECORD");
        qunsetenv("CORVANE_SIM_FLEET");
    }

    void init()
    {
        TestEnvironment::clearSettings();
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                                 TestEnvironment::simulatorPath());
        qunsetenv("CORVANE_SIM_FLEET");
        QFile::remove(recordPath);
    }

    void discoveryOfBothKinds()
    {
        BulkOperationsWidget page;
        QVERIFY(page.corvaneExecutableIsValid());
        QAbstractItemModelTester tester(model(page), QAbstractItemModelTester::FailureReportingMode::QtTest);
        // The suggestions were fetched once, at construction.
        QCOMPARE(argumentsOf("listopns"), QList<QStringList>({{"completion", "listopns", "--json"}}));
        QFile::remove(recordPath);

        discover(page);
        QCOMPARE(argumentsOf("list-usb"), QList<QStringList>({listUsb}));
        QCOMPARE(argumentsOf("list-net"), QList<QStringList>({listNet}));
        QCOMPARE(invocations().size(), 2);
        QCOMPARE(errorText(page), QString());

        // Six adapters on USB, three on the network, one of them both ways.
        QCOMPARE(model(page)->rowCount(), 8);
        QStringList serials = column(page, DeviceSerialNumberColumn);
        serials.sort();
        QCOMPARE(serials, QStringList({"3000123456", "801002345", "801002346", "801017733", "801017734",
                                       "801020001", "803110042", "803110043"}));
        const int dual = rowOf(page, "bench-dual");
        QStringList dualConnections = comboItems(page, dual);
        dualConnections.sort();
        QCOMPARE(dualConnections, QStringList({"IP", "USB"}));
        QCOMPARE(text(page, dual, DeviceIpAddressColumn), QStringLiteral("192.0.2.20"));
        QCOMPARE(comboItems(page, rowOf(page, "bench-left")), QStringList({"USB"}));
        QCOMPARE(comboItems(page, rowOf(page, "lab-net-2")), QStringList({"IP"}));
        QCOMPARE(text(page, rowOf(page, "lab-net-2"), DeviceIpAddressColumn), QStringLiteral("192.0.2.22"));
        for (int row = 0; row < model(page)->rowCount(); ++row) {
            QVERIFY(!isChecked(page, row));
            QCOMPARE(text(page, row, DeviceTargetPartColumn), QString());
        }

        // Back to idle: controls usable, no progress shown.
        QVERIFY(page.findChild<QProgressBar*>(QStringLiteral("progressBar"))->isHidden());
        QVERIFY(!page.findChild<QProgressIndicator*>(QStringLiteral("busyIndicator"))->isAnimated());
        QVERIFY(page.findChild<QPushButton*>(QStringLiteral("deviceSelectorDiscoverButton"))->isEnabled());
        QVERIFY(model(page)->item(0, DeviceSerialNumberColumn)->isEditable());
        QVERIFY(combo(page, 0)->isEnabled());
    }

    void discoveryOfOneKind()
    {
        BulkOperationsWidget page;
        QFile::remove(recordPath);
        page.findChild<QCheckBox*>(QStringLiteral("deviceSelectorDiscoverIpCheckBox"))->setChecked(false);
        discover(page);
        QCOMPARE(invocations().size(), 1);
        QCOMPARE(argumentsOf("list-usb"), QList<QStringList>({listUsb}));
        QCOMPARE(model(page)->rowCount(), 6);
        for (int row = 0; row < 6; ++row)
            QCOMPARE(comboItems(page, row), QStringList({"USB"}));

        // A new search replaces the unchecked rows.
        QFile::remove(recordPath);
        page.findChild<QCheckBox*>(QStringLiteral("deviceSelectorDiscoverIpCheckBox"))->setChecked(true);
        page.findChild<QCheckBox*>(QStringLiteral("deviceSelectorDiscoverUsbCheckBox"))->setChecked(false);
        discover(page);
        QCOMPARE(invocations().size(), 1);
        QCOMPARE(argumentsOf("list-net"), QList<QStringList>({listNet}));
        QCOMPARE(column(page, DeviceNicknameColumn), QStringList({"bench-dual", "lab-net-1", "lab-net-2"}));
        QCOMPARE(column(page, DeviceSerialNumberColumn),
                 QStringList({"801020001", "803110042", "803110043"}));
        for (int row = 0; row < 3; ++row)
            QCOMPARE(comboItems(page, row), QStringList({"IP"}));
    }

    void checkedRowsSurviveDiscovery()
    {
        BulkOperationsWidget page;
        page.addDeviceToTable("801002345", "", "KM32G101F512", "", true, false, true, true);
        page.addDeviceToTable("801009999", "", "AX7L2", "gone", true, false, false, true);
        page.addDeviceToTable("", "198.51.100.7", "AX7L2", "typed", false, true, true, true);
        model(page)->item(2, DeviceSelectColumn)->setCheckState(Qt::PartiallyChecked);
        page.findChild<QCheckBox*>(QStringLiteral("deviceSelectorDiscoverIpCheckBox"))->setChecked(false);
        discover(page);

        QCOMPARE(model(page)->rowCount(), 7);
        QCOMPARE(rowOf(page, "gone"), -1);
        QCOMPARE(text(page, 0, DeviceIpAddressColumn), QStringLiteral("198.51.100.7"));
        // The rediscovered adapter moved down with its check mark and part.
        const int left = rowOf(page, "bench-left");
        QVERIFY(left > 0);
        QVERIFY(isChecked(page, left));
        QCOMPARE(text(page, left, DeviceTargetPartColumn), QStringLiteral("KM32G101F512"));
        QCOMPARE(page.getDeviceIndexInModel("801002345"), left);
    }

    void discoveryFailures_data()
    {
        QTest::addColumn<QByteArray>("fleet");
        QTest::addColumn<QString>("error");
        QTest::addColumn<int>("rows");

        QTest::newRow("network search fails")
            << QByteArray("faults:\n  - command: list-net\n    effect: fail\n    exit_code: 3\n")
            << "ERROR: Device discovery process failed with exit code 3. Process output:\n\n"
               "ERROR: simulated failure (exit code 3)\n"
            << 4;
        QTest::newRow("USB search prints garbage")
            << QByteArray("faults:\n  - command: list-usb\n    effect: garbage\n")
            << "ERROR: Could not parse device discovery output. Process output:\n\n"
            << 2;
        QTest::newRow("network reply without devices")
            << QByteArray("faults:\n  - command: list-net\n    effect: missing\n    members: [devices]\n")
            << "ERROR: Could not find list of devices in discovery output. Process output:\n\n"
            << 4;
        QTest::newRow("no count")
            << QByteArray("faults:\n  - command: list\n    effect: missing\n    members: [device_count]\n")
            << "ERROR: Could not find list of devices in discovery output. Process output:\n\n"
            << 0;
        // Without serial numbers all adapters of the search are one row.
        QTest::newRow("entries without serial numbers")
            << QByteArray(
                   "faults:\n  - command: list-usb\n    effect: missing\n    members: [serial_number]\n")
            << QString() << 3;
        QTest::newRow("crash") << QByteArray("faults:\n  - command: list-usb\n    effect: crash\n")
                               << "ERROR: Device discovery process failed with exit code " << 2;
    }

    void discoveryFailures()
    {
        QFETCH(QByteArray, fleet);
        QFETCH(QString, error);
        QFETCH(int, rows);
        useFleet(smallFleet + fleet);

        BulkOperationsWidget page;
        discover(page);
        QVERIFY2(errorText(page).startsWith(error), qPrintable(errorText(page)));
        QCOMPARE(error.isEmpty(), errorText(page).isEmpty());
        QCOMPARE(model(page)->rowCount(), rows);
        QVERIFY(page.findChild<QPushButton*>(QStringLiteral("deviceSelectorDiscoverButton"))->isEnabled());
    }

    void discoveryNeedsAValidExecutable()
    {
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey, dir.filePath("missing"));
        BulkOperationsWidget page;
        page.addDeviceToTable("801002345", "", "", "", true, false, false, true);
        discover(page);
        QCOMPARE(errorText(page),
                 QStringLiteral("ERROR: Cannot discover devices because the Lumenar Corvane "
                                "executable is not valid. Please provide a valid path in the "
                                "settings."));
        // Nothing was started and nothing dropped.
        QCOMPARE(model(page)->rowCount(), 1);
        QVERIFY(invocations().isEmpty());
    }

    void progressWhileDiscovering()
    {
        useFleet("faults:\n  - command: list\n    effect: slow_start\n    delay_ms: 1500\n");
        BulkOperationsWidget page;
        page.addDeviceToTable("801009999", "", "", "kept", true, false, true, true);
        auto* progress = page.findChild<QProgressBar*>(QStringLiteral("progressBar"));
        auto* discoverButton = page.findChild<QPushButton*>(QStringLiteral("deviceSelectorDiscoverButton"));
        discoverButton->click();
        QVERIFY(page.deviceSelectorOperationRunning());
        QVERIFY(!progress->isHidden());
        QCOMPARE(progress->maximum(), 2);
        QCOMPARE(progress->value(), 0);
        QVERIFY(page.findChild<QProgressIndicator*>(QStringLiteral("busyIndicator"))->isAnimated());
        QVERIFY(!discoverButton->isEnabled());
        QVERIFY(!model(page)->item(0, DeviceTargetPartColumn)->isEditable());
        // A second click while busy starts nothing more.
        page.deviceSelectorDiscoverDevices();
        waitForOperation(page);
        QCOMPARE(invocations("list-usb").size() + invocations("list-net").size(), 2);
        QCOMPARE(progress->value(), 2);
        QVERIFY(progress->isHidden());
        QVERIFY(discoverButton->isEnabled());
        QVERIFY(model(page)->item(0, DeviceTargetPartColumn)->isEditable());

        // Outside a device operation no result is taken for the device part.
        CorvaneProcessResult stray;
        stray.id = QStringLiteral("__usb__");
        QVERIFY(!page.deviceSelectorRouteTaskResult(stray));
    }

    void probing()
    {
        useFleet("adapters:\n"
                 "  - serial: 801002345\n    nickname: bench-left\n    part: KM32G101F512\n"
                 "  - serial: 803110042\n    nickname: lab-net-1\n    usb: false\n    ip: 192.0.2.21\n"
                 "    part: KM40H330F2048\n"
                 "  - serial: 3000123456\n    nickname: line-3\n    part: KM40H330F1024\n"
                 "    part_detectable: false\n"
                 "  - serial: 801017733\n    faults:\n      - command: probe\n        effect: success_false\n"
                 "  - serial: 801017734\n    ip: 192.0.2.40\n    faults:\n      - command: probe\n"
                 "        effect: unknown_ip\n        text: UNKNOWN\n");
        BulkOperationsWidget page;
        page.addDeviceToTable("801002345", "", "", "", true, false, false, true);
        page.addDeviceToTable("", "192.0.2.21", "", "", false, true, false, true);
        page.addDeviceToTable("801002399", "", "", "", true, false, false, true);
        page.addDeviceToTable("3000123456", "", "AX7L2", "old-name", true, false, false, true);
        page.addDeviceToTable("801017733", "", "", "", true, false, false, true);
        page.addDeviceToTable("801017734", "198.51.100.1", "", "", true, true, false, true);
        combo(page, 2)->clear();
        combo(page, 2)->addItem(QStringLiteral("N/A"));
        QFile::remove(recordPath);

        // One row without a connection stops the whole probe.
        highlight(page, {0, 2, 1});
        page.deviceSelectorProbeAdapterSelectedDevices();
        QVERIFY(!page.deviceSelectorOperationRunning());
        QCOMPARE(text(page, 2, DeviceStatusColumn),
                 QStringLiteral("ERROR: Unknown connection type. Please select one in the dropdown menu."));
        QCOMPARE(text(page, 0, DeviceStatusColumn), QString());
        QTest::qWait(300);
        QVERIFY(invocations().isEmpty());

        highlight(page, {});
        page.deviceSelectorProbeAdapterSelectedDevices();
        QCOMPARE(errorText(page), QStringLiteral("ERROR: No devices selected for adapter probing."));

        highlight(page, {0, 1, 3, 4, 5});
        page.deviceSelectorProbeAdapterSelectedDevices();
        waitForOperation(page);
        QCOMPARE(argumentsOf("probe"),
                 QList<QStringList>({{"adapter", "probe", "--json", "--ip", "192.0.2.21"},
                                     {"adapter", "probe", "--json", "--serialno", "3000123456"},
                                     {"adapter", "probe", "--json", "--serialno", "801002345"},
                                     {"adapter", "probe", "--json", "--serialno", "801017733"},
                                     {"adapter", "probe", "--json", "--serialno", "801017734"}}));
        QCOMPARE(errorText(page), QString());

        // Filled in where the adapter knows; "unknown" addresses change nothing.
        QCOMPARE(text(page, 0, DeviceNicknameColumn), QStringLiteral("bench-left"));
        QCOMPARE(text(page, 0, DeviceTargetPartColumn), QStringLiteral("KM32G101F512"));
        QCOMPARE(text(page, 0, DeviceIpAddressColumn), QString());
        QCOMPARE(text(page, 1, DeviceSerialNumberColumn), QStringLiteral("803110042"));
        QCOMPARE(text(page, 1, DeviceTargetPartColumn), QStringLiteral("KM40H330F2048"));
        QCOMPARE(text(page, 1, DeviceNicknameColumn), QStringLiteral("lab-net-1"));
        // An adapter that cannot name its target leaves the part as it was.
        QCOMPARE(text(page, 3, DeviceTargetPartColumn), QStringLiteral("AX7L2"));
        QCOMPARE(text(page, 3, DeviceNicknameColumn), QStringLiteral("line-3"));
        QCOMPARE(text(page, 5, DeviceIpAddressColumn), QStringLiteral("198.51.100.1"));
        // Success leaves the status alone; a failure is the row's error.
        QCOMPARE(text(page, 0, DeviceStatusColumn), QString());
        QCOMPARE(text(page, 4, DeviceStatusColumn), QStringLiteral("ERROR: Adapter probe command failed."));
        const QString toolTip = model(page)->item(4, DeviceStatusColumn)->toolTip();
        QVERIFY(toolTip.startsWith(QStringLiteral("Process output:\n\n{")));
        QVERIFY(toolTip.contains(QStringLiteral("\"success\"")));
        // The earlier error of the unusable row stays.
        QVERIFY(
            text(page, 2, DeviceStatusColumn).startsWith(QStringLiteral("ERROR: Unknown connection type.")));
    }

    void detection()
    {
        useFleet("adapters:\n"
                 "  - serial: 801002345\n    part: KM32G101F512\n"
                 "  - serial: 803110042\n    usb: false\n    ip: 192.0.2.21\n    part: KM40H330F2048\n"
                 "  - serial: 3000123456\n    part: KM40H330F1024\n    part_detectable: false\n"
                 "  - serial: 801017733\n    part: KM24L052C128\n    faults:\n      - command: info\n"
                 "        effect: missing\n"
                 "        members: [part_number]\n"
                 "  - serial: 801017734\n    part: KM24L052C128\n    faults:\n      - command: info\n"
                 "        effect: garbage\n");
        BulkOperationsWidget page;
        page.addDeviceToTable("801002345", "", "", "", true, false, false, true);
        page.addDeviceToTable("801002399", "", "", "", true, false, false, true);
        page.addDeviceToTable("", "192.0.2.21", "KM40H330F2048", "", false, true, false, true);
        page.addDeviceToTable("3000123456", "", "", "", true, false, false, true);
        page.addDeviceToTable("801017733", "", "", "", true, false, false, true);
        page.addDeviceToTable("801017734", "", "", "", true, false, false, true);
        combo(page, 1)->clear();
        combo(page, 1)->addItem(QStringLiteral("N/A"));
        QFile::remove(recordPath);

        highlight(page, {});
        page.deviceSelectorDetectTargetDeviceHighlightedDevices();
        QCOMPARE(errorText(page), QStringLiteral("ERROR: No devices selected for target device detection."));

        // Unlike probing, the row without a connection does not stop the others.
        highlight(page, {0, 1, 2, 3, 4, 5});
        page.deviceSelectorDetectTargetDeviceHighlightedDevices();
        waitForOperation(page);
        QCOMPARE(argumentsOf("info"),
                 QList<QStringList>(
                     {{"device", "info", "--json", "--device", "KM40H330F2048", "--ip", "192.0.2.21"},
                      {"device", "info", "--json", "--serialno", "3000123456"},
                      {"device", "info", "--json", "--serialno", "801002345"},
                      {"device", "info", "--json", "--serialno", "801017733"},
                      {"device", "info", "--json", "--serialno", "801017734"}}));
        QCOMPARE(text(page, 1, DeviceStatusColumn),
                 QStringLiteral(
                     "ERROR: Unknown connection type for this device. Please select one in the dropdown "
                     "menu."));
        QCOMPARE(text(page, 0, DeviceTargetPartColumn), QStringLiteral("KM32G101F512"));
        QCOMPARE(text(page, 0, DeviceStatusColumn), QString());
        QCOMPARE(text(page, 2, DeviceTargetPartColumn), QStringLiteral("KM40H330F2048"));
        QCOMPARE(text(page, 3, DeviceStatusColumn),
                 QStringLiteral(
                     "ERROR: Command 'device info' failed. Provide a hint in the 'Target Part' column."));
        QCOMPARE(model(page)->item(3, DeviceStatusColumn)->toolTip(), QString());
        QCOMPARE(text(page, 4, DeviceStatusColumn),
                 QStringLiteral("ERROR: Could not detect target part - part number is not available."));
        QCOMPARE(text(page, 5, DeviceStatusColumn),
                 QStringLiteral("ERROR: Could not parse 'device info' output."));

        // With a hint the undetectable target is named, and the old error goes.
        model(page)->item(3, DeviceTargetPartColumn)->setText(QStringLiteral("KM40H330F1024"));
        highlight(page, {3});
        page.deviceSelectorDetectTargetDeviceHighlightedDevices();
        waitForOperation(page);
        QCOMPARE(text(page, 3, DeviceTargetPartColumn), QStringLiteral("KM40H330F1024"));
        QCOMPARE(text(page, 3, DeviceStatusColumn), QString());
    }

    void resultForARemovedDeviceIsDropped()
    {
        useFleet("adapters:\n"
                 "  - serial: 801002345\n    part: KM32G101F512\n    faults:\n      - command: info\n"
                 "        effect: slow_start\n        delay_ms: 1500\n"
                 "  - serial: 801002346\n    part: KM32G101F256\n");
        BulkOperationsWidget page;
        page.addDeviceToTable("801002345", "", "", "", true, false, false, true);
        page.addDeviceToTable("801002346", "", "", "", true, false, false, true);
        highlight(page, {0, 1});
        page.deviceSelectorDetectTargetDeviceHighlightedDevices();
        QTRY_COMPARE(text(page, 1, DeviceTargetPartColumn), QStringLiteral("KM32G101F256"));
        QVERIFY(page.deviceSelectorOperationRunning());
        model(page)->removeRow(0);
        waitForOperation(page);
        QCOMPARE(model(page)->rowCount(), 1);
        QCOMPARE(text(page, 0, DeviceTargetPartColumn), QStringLiteral("KM32G101F256"));
        QCOMPARE(text(page, 0, DeviceStatusColumn), QString());
    }

    void corvaneWindowLaunches()
    {
        BulkOperationsWidget page;
        page.addDeviceToTable("801002345", "", "", "bench-left", true, false, false, true);
        page.addDeviceToTable("", "192.0.2.21", "", "lab-net-1", false, true, false, true);
        page.addDeviceToTable("801020001", "192.0.2.20", "", "bench-dual", true, true, false, true);
        QFile::remove(recordPath);

        // Double clicks: an editable cell edits, others open the window.
        page.deviceSelectorDoubleClicked(model(page)->index(0, DeviceSerialNumberColumn));
        page.deviceSelectorDoubleClicked(model(page)->index(0, DeviceTargetPartColumn));
        page.deviceSelectorDoubleClicked(model(page)->index(0, DeviceNicknameColumn));
        QTRY_COMPARE(invocations("gui").size(), 1);
        QCOMPARE(argumentsOf("gui"), QList<QStringList>({{"gui", "--serialno", "801002345"}}));

        QFile::remove(recordPath);
        combo(page, 2)->setCurrentText(QStringLiteral("IP"));
        highlight(page, {2, 1});
        page.deviceSelectorOpenCorvaneForHighlightedDevices();
        QTRY_COMPARE(invocations("gui").size(), 2);
        QCOMPARE(argumentsOf("gui"),
                 QList<QStringList>({{"gui", "--ip", "192.0.2.20"}, {"gui", "--ip", "192.0.2.21"}}));

        // A row without a usable connection opens nothing.
        QFile::remove(recordPath);
        combo(page, 1)->clear();
        combo(page, 1)->addItem(QStringLiteral("N/A"));
        page.deviceSelectorDoubleClicked(model(page)->index(1, DeviceConnectionColumn));
        page.deviceSelectorDoubleClicked(model(page)->index(1, DeviceNicknameColumn));
        QTest::qWait(500);
        QVERIFY(invocations().isEmpty());
    }
};

HARNWICK_TEST(TestDeviceOperations)
#include "tst_deviceoperations.moc"
