#include "batchutil.h"
#include "devicepagehelpers.h"
#include "flashingrowstyledelegate.h"
#include "settingsutil.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QAbstractItemModelTester>
#include <QCheckBox>
#include <QCompleter>
#include <QHeaderView>
#include <QLineEdit>
#include <QPushButton>
#include <QStringListModel>
#include <QTemporaryDir>
#include <QTest>

using namespace DevicePage;

class TestDeviceTable : public QObject
{
    Q_OBJECT

    static QCheckBox* checkBox(const BulkOperationsWidget& page, const char* name)
    {
        return page.findChild<QCheckBox*>(QString::fromLatin1(name));
    }

    // Types `value` into a cell as a user would and commits it with Return.
    static void typeIntoCell(BulkOperationsWidget& page, int row, int column, const QString& value)
    {
        DeviceSelectorTreeView* tree = view(page);
        const QModelIndex index = model(page)->index(row, column);
        tree->setCurrentIndex(index);
        tree->edit(index);
        auto* editor = qobject_cast<QLineEdit*>(tree->indexWidget(index));
        QVERIFY(editor);
        editor->setText(value);
        QTest::keyClick(editor, Qt::Key_Return);
        // The delegate commits on the next pass of the event loop.
        QTRY_VERIFY(!tree->indexWidget(index));
    }

private slots:
    void init() { TestEnvironment::clearSettings(); }

    void initialState()
    {
        BulkOperationsWidget page;
        QStandardItemModel* devices = model(page);
        QCOMPARE(devices->rowCount(), 0);
        QStringList headers;
        for (int column = 0; column < devices->columnCount(); ++column)
            headers << devices->headerData(column, Qt::Horizontal).toString();
        QCOMPARE(headers, QStringList({"Select", "Connection", "Serial Number", "IP Address", "Target Part",
                                       "Nickname", "Status"}));
        QVERIFY(qobject_cast<FlashingRowStyleDelegate*>(view(page)->itemDelegate()));
    }

    void discoverButtonFollowsTheSearchBoxes()
    {
        BulkOperationsWidget page;
        auto* usb = checkBox(page, "deviceSelectorDiscoverUsbCheckBox");
        auto* ip = checkBox(page, "deviceSelectorDiscoverIpCheckBox");
        auto* discover = page.findChild<QPushButton*>(QStringLiteral("deviceSelectorDiscoverButton"));
        QVERIFY(usb->isChecked() && ip->isChecked() && discover->isEnabled());
        usb->setChecked(false);
        QVERIFY(discover->isEnabled());
        ip->setChecked(false);
        QVERIFY(!discover->isEnabled());
        ip->setChecked(true);
        QVERIFY(discover->isEnabled());
    }

    void manualRow()
    {
        BulkOperationsWidget page;
        page.findChild<QPushButton*>(QStringLiteral("deviceSelectorAddButton"))->click();
        QCOMPARE(model(page)->rowCount(), 1);
        QCOMPARE(comboItems(page, 0), QStringList({"USB", "IP"}));
        QCOMPARE(connection(page, 0), QStringLiteral("USB"));
        QVERIFY(!isChecked(page, 0));
        QStandardItemModel* devices = model(page);
        QVERIFY(devices->item(0, DeviceSelectColumn)->isCheckable());
        for (int column : {DeviceSerialNumberColumn, DeviceIpAddressColumn, DeviceTargetPartColumn})
            QVERIFY(devices->item(0, column)->isEditable());
        for (int column :
             {DeviceSelectColumn, DeviceConnectionColumn, DeviceNicknameColumn, DeviceStatusColumn})
            QVERIFY(!devices->item(0, column)->isEditable());
        // An empty target part is no text at all, not an empty one.
        QVERIFY(!devices->item(0, DeviceTargetPartColumn)->data(Qt::DisplayRole).isValid());
    }

    void mergeKeepsWhatTheNewRowLacks()
    {
        BulkOperationsWidget page;
        QAbstractItemModelTester tester(model(page), QAbstractItemModelTester::FailureReportingMode::QtTest);

        page.addDeviceToTable("801002345", "", "KM32G101F512", "bench-left", true, false, true, true);
        page.addDeviceToTable("801002346", "", "", "bench-right", true, false, false, true);
        QCOMPARE(column(page, DeviceSerialNumberColumn), QStringList({"801002345", "801002346"}));

        // The same adapter seen again over the network: one row, moved to the
        // bottom, that keeps check mark, part and nickname and offers both ways.
        page.addDeviceToTable("801002345", "10.0.0.5", "", "", false, true, false, true);
        QCOMPARE(model(page)->rowCount(), 2);
        QCOMPARE(column(page, DeviceSerialNumberColumn), QStringList({"801002346", "801002345"}));
        QCOMPARE(text(page, 1, DeviceIpAddressColumn), QStringLiteral("10.0.0.5"));
        QCOMPARE(text(page, 1, DeviceTargetPartColumn), QStringLiteral("KM32G101F512"));
        QCOMPARE(text(page, 1, DeviceNicknameColumn), QStringLiteral("bench-left"));
        QVERIFY(isChecked(page, 1));
        QCOMPARE(comboItems(page, 1), QStringList({"USB", "IP"}));
        QCOMPARE(connection(page, 1), QStringLiteral("USB"));

        // New values win over old ones; the old connection stays first.
        combo(page, 1)->setCurrentText(QStringLiteral("IP"));
        page.addDeviceToTable("801002345", "10.0.0.9", "KM32G101F256", "rack-3", true, false, false, true);
        QCOMPARE(model(page)->rowCount(), 2);
        QCOMPARE(text(page, 1, DeviceIpAddressColumn), QStringLiteral("10.0.0.9"));
        QCOMPARE(text(page, 1, DeviceTargetPartColumn), QStringLiteral("KM32G101F256"));
        QCOMPARE(text(page, 1, DeviceNicknameColumn), QStringLiteral("rack-3"));
        QCOMPARE(comboItems(page, 1), QStringList({"IP", "USB"}));
        QCOMPARE(connection(page, 1), QStringLiteral("IP"));

        // An old USB row that already knew an address gains "IP" from it.
        page.addDeviceToTable("801002347", "10.0.0.7", "", "", true, false, false, true);
        QCOMPARE(comboItems(page, 2), QStringList({"USB"}));
        page.addDeviceToTable("801002347", "", "", "", true, false, false, true);
        QCOMPARE(comboItems(page, 2), QStringList({"USB", "IP"}));
        QCOMPARE(text(page, 2, DeviceIpAddressColumn), QStringLiteral("10.0.0.7"));

        // Only the serial number is compared: IP-only adapters with empty
        // serial numbers collapse into one row.
        page.addDeviceToTable("", "10.0.1.1", "", "lab-a", false, true, false, true);
        page.addDeviceToTable("", "10.0.1.2", "", "", false, true, false, true);
        QCOMPARE(model(page)->rowCount(), 4);
        QCOMPARE(text(page, 3, DeviceIpAddressColumn), QStringLiteral("10.0.1.2"));
        QCOMPARE(text(page, 3, DeviceNicknameColumn), QStringLiteral("lab-a"));
        QCOMPARE(comboItems(page, 3), QStringList({"IP"}));

        // Every row has its own box.
        for (int row = 0; row < model(page)->rowCount(); ++row)
            QVERIFY(combo(page, row));
        QVERIFY(view(page)->header()->stretchLastSection());
    }

    void batchedRowsMergeLikeSingleOnes()
    {
        struct Add
        {
            QString serial, ip, part, nickname;
            bool usb, ip_, checked;
        };
        const QList<Add> before = {{"801002345", "", "KM32G101F512", "bench-left", true, false, true},
                                   {"801002346", "10.0.0.6", "", "bench-right", true, true, false},
                                   {"", "10.0.1.1", "", "lab-a", false, true, false},
                                   {"801002347", "", "", "rack-a1", true, false, true}};
        const QList<Add> batch = {{"801002346", "", "", "", true, false, false},
                                  {"801002399", "10.0.0.9", "", "new-1", false, true, false},
                                  {"801002345", "10.0.0.5", "", "", false, true, false},
                                  {"", "10.0.1.2", "", "", false, true, false},
                                  {"801002399", "", "AX7L2", "new-2", true, false, false},
                                  {"801002347", "", "", "", true, false, false},
                                  {"", "10.0.1.3", "", "lab-c", false, true, false}};
        auto snapshot = [](const BulkOperationsWidget& page) {
            QStringList rows;
            for (int row = 0; row < model(page)->rowCount(); ++row) {
                QStringList cells = {isChecked(page, row) ? "x" : "-", comboItems(page, row).join('+'),
                                     connection(page, row)};
                for (int column = DeviceSerialNumberColumn; column < DeviceColumnCount; ++column)
                    cells << text(page, row, column);
                rows << cells.join('|');
            }
            return rows;
        };

        BulkOperationsWidget single;
        BulkOperationsWidget batched;
        QAbstractItemModelTester tester(model(batched),
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        for (BulkOperationsWidget* page : {&single, &batched})
            for (const Add& add : before)
                page->addDeviceToTable(add.serial, add.ip, add.part, add.nickname, add.usb, add.ip_,
                                       add.checked, true);
        combo(single, 1)->setCurrentText(QStringLiteral("IP"));
        combo(batched, 1)->setCurrentText(QStringLiteral("IP"));

        for (const Add& add : batch)
            single.addDeviceToTable(add.serial, add.ip, add.part, add.nickname, add.usb, add.ip_, add.checked,
                                    true);
        batched.deviceSelectorBeginRowBatch();
        for (const Add& add : batch)
            batched.addDeviceToTable(add.serial, add.ip, add.part, add.nickname, add.usb, add.ip_,
                                     add.checked, true);
        // Nothing reaches the table before the batch ends.
        QCOMPARE(model(batched)->rowCount(), 4);
        batched.deviceSelectorEndRowBatch();

        QCOMPARE(snapshot(batched), snapshot(single));
        QCOMPARE(model(batched)->rowCount(), 5);
        QCOMPARE(column(batched, DeviceNicknameColumn),
                 QStringList({"bench-right", "bench-left", "new-2", "rack-a1", "lab-c"}));
    }

    void connectionBoxIsRebuiltWhenOpened()
    {
        BulkOperationsWidget page;
        page.show();
        page.deviceSelectorAddManualDeviceRow();
        auto open = [&page] {
            combo(page, 0)->showPopup();
            combo(page, 0)->hidePopup();
        };

        open();
        QCOMPARE(comboItems(page, 0), QStringList({"N/A"}));
        QCOMPARE(connection(page, 0), QStringLiteral("N/A"));

        model(page)->item(0, DeviceIpAddressColumn)->setText(QStringLiteral(" 10.0.0.5 "));
        open();
        QCOMPARE(comboItems(page, 0), QStringList({"IP"}));

        model(page)->item(0, DeviceSerialNumberColumn)->setText(QStringLiteral("801002345"));
        open();
        QCOMPARE(comboItems(page, 0), QStringList({"USB", "IP"}));
        // The chosen connection survives the rebuild when it is still offered.
        QCOMPARE(connection(page, 0), QStringLiteral("IP"));

        model(page)->item(0, DeviceIpAddressColumn)->setText(QStringLiteral("  "));
        open();
        QCOMPARE(comboItems(page, 0), QStringList({"USB"}));
        QCOMPARE(connection(page, 0), QStringLiteral("USB"));
    }

    void editingAnAddressChoosesTheConnection()
    {
        BulkOperationsWidget page;
        page.show();

        // Rows with empty serial numbers would merge, so there is one at a time.
        page.deviceSelectorAddManualDeviceRow();
        typeIntoCell(page, 0, DeviceIpAddressColumn, QStringLiteral("10.0.0.9"));
        QCOMPARE(text(page, 0, DeviceIpAddressColumn), QStringLiteral("10.0.0.9"));
        QCOMPARE(connection(page, 0), QStringLiteral("IP"));

        page.addDeviceToTable("801002340", "", "", "", true, true, false, true);
        combo(page, 1)->setCurrentText(QStringLiteral("IP"));
        typeIntoCell(page, 1, DeviceSerialNumberColumn, QStringLiteral("801002346"));
        QCOMPARE(connection(page, 1), QStringLiteral("USB"));

        // A box that lacks the type gets it in front.
        page.addDeviceToTable("801002347", "", "", "", false, true, false, true);
        QCOMPARE(comboItems(page, 2), QStringList({"IP"}));
        typeIntoCell(page, 2, DeviceSerialNumberColumn, QStringLiteral("801002348"));
        QCOMPARE(comboItems(page, 2), QStringList({"USB", "IP"}));
        QCOMPARE(connection(page, 2), QStringLiteral("USB"));

        // With both addresses known the user's choice stands; other columns
        // never touch the connection.
        page.addDeviceToTable("801002345", "10.0.0.5", "", "", true, true, false, true);
        typeIntoCell(page, 3, DeviceIpAddressColumn, QStringLiteral("10.0.0.6"));
        QCOMPARE(connection(page, 3), QStringLiteral("USB"));
        typeIntoCell(page, 0, DeviceTargetPartColumn, QStringLiteral("KM32G101F512"));
        QCOMPARE(text(page, 0, DeviceTargetPartColumn), QStringLiteral("KM32G101F512"));
        QCOMPARE(connection(page, 0), QStringLiteral("IP"));
    }

    void targetPartLineEdit()
    {
        BulkOperationsWidget page;
        for (const char* serial : {"801002345", "801002346", "801002347"})
            page.addDeviceToTable(serial, "", "AX7L2", "", true, false, false, true);
        auto* lineEdit = page.findChild<QLineEdit*>(QStringLiteral("deviceSelectorOpnLineEdit"));
        auto* applyToAll = checkBox(page, "deviceSelectorApplyToAllCheckBox");
        QVERIFY(applyToAll->isChecked());

        lineEdit->setText(QStringLiteral("KM32G101F512"));
        QCOMPARE(column(page, DeviceTargetPartColumn),
                 QStringList({"KM32G101F512", "KM32G101F512", "KM32G101F512"}));

        applyToAll->setChecked(false);
        lineEdit->setText(QStringLiteral("KM32G101F256"));
        QCOMPARE(column(page, DeviceTargetPartColumn),
                 QStringList({"KM32G101F512", "KM32G101F512", "KM32G101F512"}));

        highlight(page, {1});
        lineEdit->setText(QStringLiteral("AX7L2"));
        QCOMPARE(column(page, DeviceTargetPartColumn),
                 QStringList({"KM32G101F512", "AX7L2", "KM32G101F512"}));
        lineEdit->clear();
        QCOMPARE(column(page, DeviceTargetPartColumn), QStringList({"KM32G101F512", "", "KM32G101F512"}));
    }

    void selectionOperations()
    {
        BulkOperationsWidget page;
        QAbstractItemModelTester tester(model(page), QAbstractItemModelTester::FailureReportingMode::QtTest);
        const QStringList serials = {"801002340", "801002341", "801002342", "801002343", "801002344"};
        for (const QString& serial : serials)
            page.addDeviceToTable(serial, "", "KM32G101F512", "", true, false, false, true);
        auto checked = [&page] {
            QList<int> rows;
            for (int row = 0; row < model(page)->rowCount(); ++row)
                if (isChecked(page, row))
                    rows << row;
            return rows;
        };

        highlight(page, {4, 0, 2});
        page.deviceSelectorSelectHighlightedDevices();
        QCOMPARE(checked(), QList<int>({0, 2, 4}));
        page.deviceSelectorSelectAllDevices();
        QCOMPARE(checked(), QList<int>({0, 1, 2, 3, 4}));
        page.deviceSelectorDeselectHighlightedDevices();
        QCOMPARE(checked(), QList<int>({1, 3}));
        page.deviceSelectorDeselectAllDevices();
        QCOMPARE(checked(), QList<int>());

        page.deviceSelectorClearTargetPartHighlightedDevices();
        QCOMPARE(column(page, DeviceTargetPartColumn),
                 QStringList({"", "KM32G101F512", "", "KM32G101F512", ""}));

        // Non-contiguous rows go, and exactly those.
        page.deviceSelectorRemoveHighlightedDevices();
        QCOMPARE(column(page, DeviceSerialNumberColumn), QStringList({"801002341", "801002343"}));
        QVERIFY(combo(page, 0) && combo(page, 1));
        page.deviceSelectorRemoveHighlightedDevices(); // nothing highlighted any more
        QCOMPARE(model(page)->rowCount(), 2);
    }

    void deviceIds()
    {
        BulkOperationsWidget page;
        page.addDeviceToTable(" 801002345 ", "10.0.0.5", "", "", true, true, false, true);
        page.addDeviceToTable("", " 10.0.0.6 ", "", "", false, true, false, true);
        page.addDeviceToTable("801002346", "801002345", "", "", true, true, false, true);

        QCOMPARE(page.getDeviceIdInModel(0), QStringLiteral("801002345"));
        QCOMPARE(page.getDeviceIdInModel(1), QStringLiteral("10.0.0.6"));
        QCOMPARE(page.getDeviceIdInModel(17), QString());
        model(page)->item(1, DeviceIpAddressColumn)->setText(QStringLiteral("  "));
        QCOMPARE(page.getDeviceIdInModel(1), QString());
        model(page)->item(1, DeviceIpAddressColumn)->setText(QStringLiteral(" 10.0.0.6 "));

        // Lookup is exact: no trimming, and serial before address on each row.
        QCOMPARE(page.getDeviceIndexInModel(QStringLiteral("801002345")), 2);
        QCOMPARE(page.getDeviceIndexInModel(QStringLiteral(" 801002345 ")), 0);
        QCOMPARE(page.getDeviceIndexInModel(QStringLiteral("10.0.0.5")), 0);
        QCOMPARE(page.getDeviceIndexInModel(QStringLiteral("10.0.0.6")), -1);
        QCOMPARE(page.getDeviceIndexInModel(QStringLiteral(" 10.0.0.6 ")), 1);
        QCOMPARE(page.getDeviceIndexInModel(QStringLiteral("801002346")), 2);
        QCOMPARE(page.getDeviceIndexInModel(QStringLiteral("__usb__")), -1);
    }

    void connectionTypeConversions_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("type");
        QTest::newRow("USB") << "USB" << int(BatchUtil::Usb);
        QTest::newRow("usb") << "usb" << int(BatchUtil::Usb);
        QTest::newRow("ip") << "ip" << int(BatchUtil::Ip);
        QTest::newRow("Ip") << "Ip" << int(BatchUtil::Ip);
        QTest::newRow("N/A") << "N/A" << int(BatchUtil::Unknown);
        QTest::newRow("Unknown") << "Unknown" << int(BatchUtil::Unknown);
        QTest::newRow("padded") << " USB" << int(BatchUtil::Unknown);
        QTest::newRow("empty") << "" << int(BatchUtil::Unknown);
    }

    void connectionTypeConversions()
    {
        QFETCH(QString, text);
        QFETCH(int, type);
        QCOMPARE(int(BulkOperationsWidget::connectionTypeFromString(text)), type);
        QCOMPARE(BulkOperationsWidget::connectionTypeToString(BatchUtil::Usb), QStringLiteral("USB"));
        QCOMPARE(BulkOperationsWidget::connectionTypeToString(BatchUtil::Ip), QStringLiteral("IP"));
        QCOMPARE(BulkOperationsWidget::connectionTypeToString(BatchUtil::Unknown), QStringLiteral("Unknown"));
    }

    void guiElementsDuringARun()
    {
        BulkOperationsWidget page;
        page.show();
        page.addDeviceToTable("801002345", "", "", "", true, false, true, true);
        page.addDeviceToTable("801002346", "", "", "", true, false, false, true);
        auto* usb = checkBox(page, "deviceSelectorDiscoverUsbCheckBox");
        auto* ip = checkBox(page, "deviceSelectorDiscoverIpCheckBox");
        auto* discover = page.findChild<QPushButton*>(QStringLiteral("deviceSelectorDiscoverButton"));
        auto* add = page.findChild<QPushButton*>(QStringLiteral("deviceSelectorAddButton"));
        const QPoint onFirstRow =
            view(page)->visualRect(model(page)->index(0, DeviceNicknameColumn)).center();

        page.enableGuiElements(false);
        for (int row = 0; row < 2; ++row) {
            QVERIFY(!model(page)->item(row, DeviceSelectColumn)->isEnabled());
            QVERIFY(!combo(page, row)->isEnabled());
            for (int column : {DeviceSerialNumberColumn, DeviceIpAddressColumn, DeviceTargetPartColumn})
                QVERIFY(!model(page)->item(row, column)->isEditable());
        }
        QVERIFY(!usb->isEnabled() && !ip->isEnabled() && !discover->isEnabled() && !add->isEnabled());
        QCOMPARE(poppedUpMenu([&] { emit view(page)->customContextMenuRequested(onFirstRow); }),
                 QStringList());

        ip->setChecked(false);
        usb->setChecked(false);
        page.enableGuiElements(true);
        QVERIFY(model(page)->item(1, DeviceSelectColumn)->isEnabled());
        QVERIFY(combo(page, 1)->isEnabled());
        QVERIFY(model(page)->item(1, DeviceTargetPartColumn)->isEditable());
        QVERIFY(usb->isEnabled() && ip->isEnabled() && add->isEnabled());
        QVERIFY(!discover->isEnabled()); // neither search chosen
        usb->setChecked(true);
        QVERIFY(discover->isEnabled());

        // Enabled twice still opens one menu per request.
        page.enableGuiElements(true);
        QVERIFY(!poppedUpMenu([&] { emit view(page)->customContextMenuRequested(onFirstRow); }).isEmpty());
    }

    void completerSuggestions()
    {
        QTemporaryDir dir;
        const QString record = dir.filePath(QStringLiteral("calls"));
        // Answers the executable check and the part number query; anything
        // else fails. Every call is written down.
        auto executable = [&](const QString& name, const QString& reply, int exitCode) {
            return TestEnvironment::writeScript(
                dir.path(), name,
                QStringLiteral("echo \"$*\" >> '%1'\n"
                               "[ \"$*\" = 'batch -h' ] && exit 0\n"
                               "if [ \"$*\" = 'completion listopns --json' ]; then echo '%2'; exit %3; fi\n"
                               "exit 9\n")
                    .arg(record, reply)
                    .arg(exitCode));
        };
        auto suggestions = [](const BulkOperationsWidget& page) {
            auto* lineEdit = page.findChild<QLineEdit*>(QStringLiteral("deviceSelectorOpnLineEdit"));
            return qobject_cast<QStringListModel*>(lineEdit->completer()->model())->stringList();
        };

        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                                 executable("good", R"({"info":["KM32G101F512","AX7L2"]})", 0));
        {
            BulkOperationsWidget page;
            QCOMPARE(suggestions(page), QStringList({"KM32G101F512", "AX7L2"}));
        }
        QFile calls(record);
        QVERIFY(calls.open(QIODevice::ReadOnly));
        QCOMPARE(QString::fromUtf8(calls.readAll()),
                 QStringLiteral("batch -h\ncompletion listopns --json\n"));
        calls.close();

        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                                 executable("failing", R"({"info":["KM32G101F512"]})", 2));
        {
            BulkOperationsWidget page;
            QCOMPARE(suggestions(page), QStringList());
        }
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                                 executable("odd", R"({"info":"KM32G101F512"})", 0));
        {
            BulkOperationsWidget page;
            QCOMPARE(suggestions(page), QStringList());
        }

        // No query at all when the executable does not pass its check.
        QFile::remove(record);
        SettingsUtil::setSetting(
            Settings::corvaneGroup, Settings::executableKey,
            TestEnvironment::writeScript(dir.path(), QStringLiteral("broken"),
                                         QStringLiteral("echo \"$*\" >> '%1'\nexit 1\n").arg(record)));
        {
            BulkOperationsWidget page;
            QCOMPARE(suggestions(page), QStringList());
        }
        QVERIFY(calls.open(QIODevice::ReadOnly));
        QCOMPARE(QString::fromUtf8(calls.readAll()), QStringLiteral("batch -h\n"));
    }
};

HARNWICK_TEST(TestDeviceTable)
#include "tst_devicetable.moc"
