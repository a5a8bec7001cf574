#include "corvaneprocessrunner.h"
#include "devicepagehelpers.h"
#include "qprogressindicator.h"
#include "settingsutil.h"
#include "simulatorsession.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QAbstractItemModelTester>
#include <QCheckBox>
#include <QCompleter>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QStringListModel>
#include <QTest>

namespace {

const QStringList listUsb = {"adapter", "list", "--noconnect", "--json"};
const QStringList listNet = listUsb + QStringList({"--net"});

// Four adapters on USB, two on the network, one of them both ways.
const QByteArray smallFleet =
    "adapters:\n"
    "  - serial: 801002345\n    nickname: bench-left\n"
    "  - serial: 801002346\n    nickname: bench-right\n"
    "  - serial: 801017733\n    nickname: rack-a1\n"
    "  - serial: 801020001\n    nickname: bench-dual\n    ip: 192.0.2.20\n"
    "  - serial: 803110042\n    nickname: lab-net-1\n    usb: false\n    ip: 192.0.2.21\n";

// Targets that can or cannot be named, and replies that fail in each way.
const QByteArray probedFleet =
    "adapters:\n"
    "  - serial: 801002345\n    nickname: bench-left\n    part: KM32G101F512\n"
    "  - serial: 803110042\n    nickname: lab-net-1\n    usb: false\n    ip: 192.0.2.21\n    part: "
    "KM40H330F2048\n"
    "  - serial: 3000123456\n    nickname: line-3\n    part: KM40H330F1024\n    part_detectable: false\n"
    "  - serial: 801017733\n    part: KM24L052C128\n    faults:\n"
    "      - {command: probe, effect: success_false}\n"
    "      - {command: info, effect: missing, members: [part_number]}\n"
    "  - serial: 801017734\n    ip: 192.0.2.40\n    part: KM24L052C128\n    faults:\n"
    "      - {command: probe, effect: unknown_ip, text: UNKNOWN}\n"
    "      - {command: info, effect: garbage}\n";

} // namespace

// Discovery, probing, detection and the Corvane window, end to end against
// the device simulator and its invocation record.
class TestDeviceOperations : public QObject, DevicePage
{
    Q_OBJECT

    // Records every invocation and puts the environment back when the class is done.
    SimulatorSession session{QByteArray()};

    // The sorted argument lists of the recorded calls of `command` (all when empty).
    QList<QStringList> calls(const QString& command = QString()) const
    {
        QList<QStringList> lists;
        QFile record(session.recordPath());
        if (record.open(QIODevice::ReadOnly))
            for (const QByteArray& line : record.readAll().split('\n')) {
                const QJsonObject call = QJsonDocument::fromJson(line).object();
                if (call.isEmpty() || !(command.isEmpty() || call.value("command").toString() == command))
                    continue;
                lists << QStringList();
                for (const QJsonValue& argument : call.value("arguments").toArray())
                    lists.last() << argument.toString();
            }
        std::sort(lists.begin(), lists.end());
        return lists;
    }

    static void wait(const BulkOperationsWidget& page)
    {
        QTRY_VERIFY_WITH_TIMEOUT(!page.deviceSelectorOperationRunning(), 20000);
    }

    static void discover(BulkOperationsWidget& page, bool usb = true, bool ip = true)
    {
        child<QCheckBox>(page, "deviceSelectorDiscoverUsbCheckBox")->setChecked(usb);
        child<QCheckBox>(page, "deviceSelectorDiscoverIpCheckBox")->setChecked(ip);
        child<QPushButton>(page, "deviceSelectorDiscoverButton")->click();
        wait(page);
    }

    static int rowOf(const BulkOperationsWidget& page, const QString& nickname)
    {
        return column(page, DeviceNicknameColumn).indexOf(nickname);
    }

private slots:
    void init()
    {
        TestEnvironment::clearSettings();
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                                 TestEnvironment::simulatorPath());
        qunsetenv("CORVANE_SIM_FLEET"); // the simulator's own fleet
        session.clearRecord();
    }

    void discoveryOfBothKinds()
    {
        BulkOperationsWidget page;
        QAbstractItemModelTester tester(model(page), QAbstractItemModelTester::FailureReportingMode::QtTest);
        session.clearRecord();

        discover(page);
        QCOMPARE(calls(), QList<QStringList>({listUsb, listNet}));
        QCOMPARE(errorText(page), QString());
        // Six adapters on USB, three on the network, one of them both ways;
        // none checked, no target part.
        QStringList rows;
        for (int row = 0; row < model(page)->rowCount(); ++row) {
            QStringList connections = comboItems(page, row);
            connections.sort();
            rows << QStringList({text(page, row, DeviceSerialNumberColumn),
                                 text(page, row, DeviceIpAddressColumn), connections.join('+'),
                                 isChecked(page, row) ? "x" : "-", text(page, row, DeviceTargetPartColumn)})
                        .join('|');
        }
        rows.sort();
        QCOMPARE(rows,
                 QStringList({"3000123456||USB|-|", "801002345||USB|-|", "801002346||USB|-|",
                              "801017733||USB|-|", "801017734||USB|-|", "801020001|192.0.2.20|IP+USB|-|",
                              "803110042|192.0.2.21|IP|-|", "803110043|192.0.2.22|IP|-|"}));
    }

    void discoveryOfOneKindKeepsCheckedRows()
    {
        BulkOperationsWidget page;
        session.clearRecord();
        discover(page, true, false);
        QCOMPARE(calls(), QList<QStringList>({listUsb}));
        QCOMPARE(model(page)->rowCount(), 6);
        for (int row = 0; row < 6; ++row)
            QCOMPARE(comboItems(page, row), QStringList({"USB"}));

        // A new search replaces the unchecked rows; checked ones, typed-in or
        // partly checked, stay.
        session.clearRecord();
        page.addDeviceToTable("", "198.51.100.7", "AX7L2", "typed", false, true, true, true);
        model(page)->item(rowOf(page, "bench-left"), DeviceSelectColumn)->setCheckState(Qt::PartiallyChecked);
        discover(page, false, true);
        QCOMPARE(calls(), QList<QStringList>({listNet}));
        QCOMPARE(column(page, DeviceNicknameColumn),
                 QStringList({"bench-left", "typed", "bench-dual", "lab-net-1", "lab-net-2"}));
        QCOMPARE(text(page, 1, DeviceTargetPartColumn), QStringLiteral("AX7L2"));
        for (int row = 2; row < 5; ++row)
            QCOMPARE(comboItems(page, row), QStringList({"IP"}));
    }

    void partNumberSuggestions()
    {
        const auto suggestions = [this](const QByteArray& fleet) {
            useFleet(session, "part_numbers: [KM32G101F512, AX7L2]\n" + fleet);
            session.clearRecord();
            BulkOperationsWidget page;
            const QCompleter* completer = child<QLineEdit>(page, "deviceSelectorOpnLineEdit")->completer();
            return qobject_cast<QStringListModel*>(completer->model())->stringList();
        };
        QCOMPARE(suggestions(""), QStringList({"KM32G101F512", "AX7L2"}));
        QCOMPARE(calls("listopns"), QList<QStringList>({{"completion", "listopns", "--json"}}));
        QCOMPARE(suggestions("faults:\n  - command: listopns\n    effect: fail\n"), QStringList());
        // No query at all when the executable does not pass its check.
        QCOMPARE(suggestions("faults:\n  - command: usage\n    effect: fail\n"), QStringList());
        QCOMPARE(calls(), QList<QStringList>({{"batch", "-h"}}));
        // A reply that comes with a failing exit code is not read.
        SettingsUtil::setSetting(
            Settings::corvaneGroup, Settings::executableKey,
            TestEnvironment::writeScript(session.filePath("."), "failing",
                                         "[ \"$1\" = batch ] && exit 0\n"
                                         "echo '{\"info\":[\"KM32G101F512\"]}'\nexit 2\n"));
        QCOMPARE(suggestions(""), QStringList());
    }

    void discoveryFailures_data()
    {
        QTest::addColumn<QByteArray>("fleet");
        QTest::addColumn<QString>("error");
        QTest::addColumn<int>("rows");
        const auto row = [](const char* name, const char* fault, const char* error, int rows) {
            QTest::newRow(name) << QByteArray("faults:\n  - ") + fault << QString::fromLatin1(error) << rows;
        };
        // The reply readers' own test covers every way a reply can be wrong; here the other search
        // still adds its rows.
        row("network search fails", "command: list-net\n    effect: fail\n    exit_code: 3\n",
            "ERROR: Device discovery process failed with exit code 3. Process output:\n\n"
            "ERROR: simulated failure (exit code 3)\n",
            4);
        row("USB search prints garbage", "command: list-usb\n    effect: garbage\n",
            "ERROR: Could not parse device discovery output. Process output:\n\n", 2);
        // Nothing is started, and nothing dropped.
        row("executable not valid", "command: usage\n    effect: fail\n",
            "ERROR: Cannot discover devices because the Lumenar Corvane executable is not valid. Please "
            "provide a "
            "valid path in the settings.",
            1);
    }

    void discoveryFailures()
    {
        QFETCH(QByteArray, fleet);
        QFETCH(QString, error);
        QFETCH(int, rows);
        useFleet(session, smallFleet + fleet);
        BulkOperationsWidget page;
        page.addDeviceToTable("801009999", "", "", "", true, false, false, true);
        discover(page);
        QVERIFY2(errorText(page).startsWith(error), qPrintable(errorText(page)));
        QCOMPARE(model(page)->rowCount(), rows);
    }

    void progressWhileDiscovering()
    {
        useFleet(session, "faults:\n  - command: list\n    effect: slow_start\n    delay_ms: 1500\n");
        BulkOperationsWidget page;
        page.show();
        page.addDeviceToTable("801009999", "", "", "kept", true, false, true, true);
        auto* progress = child<QProgressBar>(page, "progressBar");
        auto* busy = child<QProgressIndicator>(page, "busyIndicator");
        const QList<QWidget*> controls = {child<QPushButton>(page, "deviceSelectorDiscoverButton"),
                                          child<QPushButton>(page, "deviceSelectorAddButton"),
                                          child<QCheckBox>(page, "deviceSelectorDiscoverUsbCheckBox"),
                                          combo(page, 0)};
        const auto menu = [&page] {
            const QPoint onRow = view(page)->visualRect(model(page)->index(0, DeviceNicknameColumn)).center();
            return poppedUpMenu([&] { emit view(page)->customContextMenuRequested(onRow); });
        };
        session.clearRecord();
        child<QPushButton>(page, "deviceSelectorDiscoverButton")->click();
        QVERIFY(page.deviceSelectorOperationRunning() && busy->isAnimated() && !progress->isHidden());
        QCOMPARE(progress->maximum(), 2);
        QCOMPARE(progress->value(), 0);
        for (QWidget* control : controls)
            QVERIFY(!control->isEnabled());
        QVERIFY(!model(page)->item(0, DeviceTargetPartColumn)->isEditable());
        QVERIFY(!model(page)->item(0, DeviceSelectColumn)->isEnabled());
        QCOMPARE(menu(), QStringList());
        page.deviceSelectorDiscoverDevices(); // a second click while busy starts nothing more
        wait(page);
        QCOMPARE(calls().size(), 2);
        QCOMPARE(progress->value(), 2);
        QVERIFY(progress->isHidden() && !busy->isAnimated());
        for (QWidget* control : controls)
            QVERIFY(control->isEnabled());
        QVERIFY(model(page)->item(0, DeviceTargetPartColumn)->isEditable());
        QVERIFY(model(page)->item(0, DeviceSelectColumn)->isEnabled());
        page.enableGuiElements(true);
        QCOMPARE(menu().size(), 18); // one menu, however often the controls came back

        // Outside a device operation no result is taken for the device part.
        CorvaneProcessResult stray;
        stray.id = QStringLiteral("__usb__");
        QVERIFY(!page.deviceSelectorRouteTaskResult(stray));
    }

    // Both act on the highlighted rows; a row without a connection stops the
    // whole probe but only itself in a detection.
    void probingAndDetection()
    {
        useFleet(session, probedFleet);
        BulkOperationsWidget page;
        page.addDeviceToTable("801002345", "", "", "", true, false, false, true);
        page.addDeviceToTable("", "192.0.2.21", "KM40H330F2048", "", false, true, false, true);
        page.addDeviceToTable("801002399", "", "", "", true, false, false, true);
        page.addDeviceToTable("3000123456", "", "", "old-name", true, false, false, true);
        page.addDeviceToTable("801017733", "", "", "", true, false, false, true);
        page.addDeviceToTable("801017734", "198.51.100.1", "", "", true, true, false, true);
        setNotAvailable(page, 2);
        const auto run = [this, &page](void (BulkOperationsWidget::*operation)(), const QList<int>& rows) {
            session.clearRecord();
            highlight(page, rows);
            (page.*operation)();
            wait(page);
        };
        const auto probe = &BulkOperationsWidget::deviceSelectorProbeAdapterSelectedDevices;
        const auto detect = &BulkOperationsWidget::deviceSelectorDetectTargetDeviceHighlightedDevices;

        run(probe, {});
        QCOMPARE(errorText(page), QStringLiteral("ERROR: No devices selected for adapter probing."));
        run(detect, {});
        QCOMPARE(errorText(page), QStringLiteral("ERROR: No devices selected for target device detection."));
        run(probe, {0, 2, 1});
        QCOMPARE(
            column(page, DeviceStatusColumn),
            QStringList({"", "", "ERROR: Unknown connection type. Please select one in the dropdown menu.",
                         "", "", ""}));
        QTest::qWait(300);
        QVERIFY(calls().isEmpty());

        run(detect, {0, 1, 2, 3, 4, 5});
        const QStringList info = {"device", "info", "--json"};
        QCOMPARE(calls(),
                 QList<QStringList>({info + QStringList({"--device", "KM40H330F2048", "--ip", "192.0.2.21"}),
                                     info + QStringList({"--serialno", "3000123456"}),
                                     info + QStringList({"--serialno", "801002345"}),
                                     info + QStringList({"--serialno", "801017733"}),
                                     info + QStringList({"--serialno", "801017734"})}));
        QCOMPARE(column(page, DeviceTargetPartColumn),
                 QStringList({"KM32G101F512", "KM40H330F2048", "", "", "", ""}));
        QCOMPARE(
            column(page, DeviceStatusColumn),
            QStringList(
                {"", "",
                 "ERROR: Unknown connection type for this device. Please select one in the dropdown menu.",
                 "ERROR: Command 'device info' failed. Provide a hint in the 'Target Part' column.",
                 "ERROR: Could not detect target part - part number is not available.",
                 "ERROR: Could not parse 'device info' output."}));
        QCOMPARE(model(page)->item(3, DeviceStatusColumn)->toolTip(), QString());

        // Filled in where the adapter knows; "unknown" addresses change nothing,
        // nor does an adapter that cannot name its target.
        model(page)->item(3, DeviceTargetPartColumn)->setText(QStringLiteral("AX7L2"));
        run(probe, {0, 1, 3, 4, 5});
        const QStringList adapter = {"adapter", "probe", "--json"};
        QCOMPARE(calls(), QList<QStringList>({adapter + QStringList({"--ip", "192.0.2.21"}),
                                              adapter + QStringList({"--serialno", "3000123456"}),
                                              adapter + QStringList({"--serialno", "801002345"}),
                                              adapter + QStringList({"--serialno", "801017733"}),
                                              adapter + QStringList({"--serialno", "801017734"})}));
        QCOMPARE(errorText(page), QString());
        QCOMPARE(
            column(page, DeviceSerialNumberColumn),
            QStringList({"801002345", "803110042", "801002399", "3000123456", "801017733", "801017734"}));
        QCOMPARE(column(page, DeviceIpAddressColumn),
                 QStringList({"", "192.0.2.21", "", "", "", "198.51.100.1"}));
        QCOMPARE(column(page, DeviceTargetPartColumn),
                 QStringList({"KM32G101F512", "KM40H330F2048", "", "AX7L2", "", "KM24L052C128"}));
        QCOMPARE(column(page, DeviceNicknameColumn),
                 QStringList({"bench-left", "lab-net-1", "", "line-3", "", ""}));
        QCOMPARE(column(page, DeviceStatusColumn).value(3), QString()); // success leaves the status alone
        QCOMPARE(text(page, 4, DeviceStatusColumn), QStringLiteral("ERROR: Adapter probe command failed."));
        const QString toolTip = model(page)->item(4, DeviceStatusColumn)->toolTip();
        QVERIFY(toolTip.startsWith(QStringLiteral("Process output:\n\n{")) &&
                toolTip.contains("\"success\""));

        // With a hint the undetectable target is named.
        model(page)->item(3, DeviceTargetPartColumn)->setText(QStringLiteral("KM40H330F1024"));
        run(detect, {3});
        QCOMPARE(calls(), QList<QStringList>({info + QStringList({"--device", "KM40H330F1024", "--serialno",
                                                                  "3000123456"})}));
        QCOMPARE(text(page, 3, DeviceTargetPartColumn), QStringLiteral("KM40H330F1024"));
        QCOMPARE(column(page, DeviceStatusColumn).value(3), QString());
    }

    void resultForARemovedDeviceIsDropped()
    {
        useFleet(session,
                 "adapters:\n"
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
        wait(page);
        QCOMPARE(column(page, DeviceTargetPartColumn), QStringList({"KM32G101F256"}));
        QCOMPARE(column(page, DeviceStatusColumn), QStringList({""}));
    }

    void corvaneWindowLaunches()
    {
        BulkOperationsWidget page;
        page.addDeviceToTable("801002345", "", "", "bench-left", true, false, false, true);
        page.addDeviceToTable("", "192.0.2.21", "", "lab-net-1", false, true, false, true);
        page.addDeviceToTable("801020001", "192.0.2.20", "", "bench-dual", true, true, false, true);
        session.clearRecord();

        // Double clicks: an editable cell edits, others open the window.
        for (int column : {DeviceSerialNumberColumn, DeviceTargetPartColumn, DeviceNicknameColumn})
            page.deviceSelectorDoubleClicked(model(page)->index(0, column));
        QTRY_COMPARE(calls("gui").size(), 1);
        QCOMPARE(calls("gui"), QList<QStringList>({{"gui", "--serialno", "801002345"}}));

        session.clearRecord();
        combo(page, 2)->setCurrentText(QStringLiteral("IP"));
        highlight(page, {2, 1});
        page.deviceSelectorOpenCorvaneForHighlightedDevices();
        QTRY_COMPARE(calls("gui").size(), 2);
        QCOMPARE(calls("gui"),
                 QList<QStringList>({{"gui", "--ip", "192.0.2.20"}, {"gui", "--ip", "192.0.2.21"}}));

        // An "N/A" connection opens nothing, even with an address at hand, nor
        // does a row without any address.
        session.clearRecord();
        setNotAvailable(page, 2);
        model(page)->item(0, DeviceSerialNumberColumn)->setText(QStringLiteral(" "));
        for (int row : {0, 2})
            page.deviceSelectorDoubleClicked(model(page)->index(row, DeviceNicknameColumn));
        page.deviceSelectorDoubleClicked(model(page)->index(2, DeviceConnectionColumn));
        QTest::qWait(500);
        QVERIFY(calls().isEmpty());
    }
};

HARNWICK_TEST(TestDeviceOperations)
#include "tst_deviceoperations.moc"
