#include "devicepagehelpers.h"
#include "devicetable.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QAbstractItemModelTester>
#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include <tuple>

namespace {

// The device table without a page: its model, its view and the bookkeeping.
struct Table
{
    QStandardItemModel model{0, DeviceColumnCount};
    DeviceSelectorTreeView view;
    DeviceTable table{&model, &view};

    Table() { view.setModel(&model); }

    // Each row as "check mark|offered connections|chosen one|serial|address|part|nickname".
    QStringList rows() const
    {
        QStringList rows;
        for (int row = 0; row < model.rowCount(); ++row) {
            const DynamicComboBox* box = table.connectionBox(row);
            QStringList offered;
            for (int i = 0; i < box->count(); ++i)
                offered << box->itemText(i);
            QStringList cells{model.item(row, DeviceSelectColumn)->checkState() == Qt::Checked ? "x" : "-",
                              offered.join('+'), box->currentText()};
            for (int column = DeviceSerialNumberColumn; column < DeviceStatusColumn; ++column)
                cells << model.item(row, column)->text();
            rows << cells.join('|');
        }
        return rows;
    }
};

} // namespace

class TestDeviceTable : public QObject, DevicePage
{
    Q_OBJECT

    // Types `value` into a cell as a user would and commits it with Return.
    static void typeIntoCell(BulkOperationsWidget& page, int row, int column, const QString& value)
    {
        const QModelIndex index = model(page)->index(row, column);
        view(page)->setCurrentIndex(index);
        view(page)->edit(index);
        auto* editor = qobject_cast<QLineEdit*>(view(page)->indexWidget(index));
        QVERIFY(editor);
        editor->setText(value);
        QTest::keyClick(editor, Qt::Key_Return);
        QTRY_VERIFY(!view(page)->indexWidget(index)); // committed on the next pass of the event loop
    }

private slots:
    void init() { TestEnvironment::clearSettings(); }

    void discoverButtonAndManualRow()
    {
        BulkOperationsWidget page;
        // The discover button needs at least one kind of search, also when the
        // controls come back after a run.
        auto* usb = child<QCheckBox>(page, "deviceSelectorDiscoverUsbCheckBox");
        auto* discover = child<QPushButton>(page, "deviceSelectorDiscoverButton");
        usb->setChecked(false);
        QVERIFY(discover->isEnabled());
        child<QCheckBox>(page, "deviceSelectorDiscoverIpCheckBox")->setChecked(false);
        QVERIFY(!discover->isEnabled());
        page.enableGuiElements(false);
        page.enableGuiElements(true);
        QVERIFY(!discover->isEnabled());
        usb->setChecked(true);
        QVERIFY(discover->isEnabled());

        child<QPushButton>(page, "deviceSelectorAddButton")->click();
        QCOMPARE(comboItems(page, 0), QStringList({"USB", "IP"}));
        QCOMPARE(connection(page, 0), QStringLiteral("USB"));
        QVERIFY(!isChecked(page, 0));
    }

    void mergeRules_data()
    {
        QTest::addColumn<bool>("batched");
        QTest::newRow("one by one") << false;
        QTest::newRow("in one batch") << true;
    }

    // The merge rules, applied one row at a time and as one batch (as discovery
    // does), where rows may also merge with rows still waiting in the batch.
    void mergeRules()
    {
        QFETCH(bool, batched);
        Table t;
        QAbstractItemModelTester tester(&t.model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        // serial, ip, part, nickname, usb, ip, checked
        using Add = std::tuple<QString, QString, QString, QString, bool, bool, bool>;
        const auto add = [&t](const QList<Add>& rows) {
            for (const auto& [serial, ip, part, nickname, usb, byIp, checked] : rows)
                t.table.addDevice(serial, ip, part, nickname, usb, byIp, checked, true);
        };
        add({{"801002345", "", "KM32G101F512", "bench-left", true, false, true},
             {"801002346", "10.0.0.6", "", "bench-right", true, true, false},
             {"", "10.0.1.1", "", "lab-a", false, true, false},
             {"801002347", "10.0.0.7", "", "rack-a1", true, false, true}});
        t.table.connectionBox(1)->setCurrentText(QStringLiteral("IP"));

        if (batched)
            t.table.beginBatch();
        add({{"801002346", "", "", "", true, false, false},
             {"801002399", "10.0.0.9", "", "new-1", false, true, true},
             {"801002345", "10.0.0.5", "", "", false, true, false},
             {"", "10.0.1.2", "", "", false, true, false}, // empty serial numbers match each other
             {"801002399", "", "AX7L2", "new-2", true, false, false},
             {"801002347", "", "", "", true, false, false},
             {"", "10.0.1.3", "", "lab-c", false, true, false}});
        if (batched) {
            QCOMPARE(t.model.rowCount(), 4); // nothing reaches the table before the batch ends
            t.table.endBatch();
        }

        // Merged rows move to the bottom, keep check mark, address, part and
        // nickname where the new ones are empty, and offer the old connection
        // first; an old USB row that knew an address gains "IP".
        QCOMPARE(t.rows(),
                 QStringList({"-|IP+USB|IP|801002346|10.0.0.6||bench-right",
                              "x|USB+IP|USB|801002345|10.0.0.5|KM32G101F512|bench-left",
                              "x|IP+USB|IP|801002399|10.0.0.9|AX7L2|new-2",
                              "x|USB+IP|USB|801002347|10.0.0.7||rack-a1", "-|IP|IP||10.0.1.3||lab-c"}));

        // A loaded bundle that lists a device twice: the connection it was saved with comes first.
        Table loaded;
        if (batched)
            loaded.table.beginBatch();
        for (const char* ip : {"192.0.2.22", "192.0.2.23"})
            loaded.table.addDevice(QString(), QString::fromLatin1(ip), QString(), QStringLiteral("lab-net"),
                                   true, true, true, true, QStringLiteral("IP"));
        if (batched)
            loaded.table.endBatch();
        QCOMPARE(loaded.rows(), QStringList({"x|IP+USB|IP||192.0.2.23||lab-net"}));
    }

    void idsLookupsAndConnectionTypes()
    {
        Table t;
        t.table.addDevice(" 801002345 ", "10.0.0.5", "", "", true, true, false, true);
        t.table.addDevice("", " 10.0.0.6 ", "", "", false, true, false, true);
        t.table.addDevice("801002346", "801002345", "", "", true, true, false, true);
        QCOMPARE(QStringList({t.table.idOf(0), t.table.idOf(1), t.table.idOf(17)}),
                 QStringList({"801002345", "10.0.0.6", ""}));
        const auto rowsOf = [&t](const QStringList& ids) {
            QList<int> rows;
            for (const QString& id : ids)
                rows << t.table.rowOf(id);
            return rows;
        };
        // Lookup is exact: no trimming, and serial before address on each row.
        QCOMPARE(rowsOf({"801002345", " 801002345 ", "10.0.0.5", "10.0.0.6", " 10.0.0.6 ", "__usb__"}),
                 QList<int>({2, 0, 0, -1, 1, -1}));

        // Lookups follow edits, sorting and removal of rows.
        t.model.setData(t.model.index(1, DeviceSerialNumberColumn), QStringLiteral("801009999"));
        t.model.setData(t.model.index(0, DeviceIpAddressColumn), QStringLiteral("10.0.0.9"));
        QCOMPARE(rowsOf({"801009999", "10.0.0.5", "10.0.0.9"}), QList<int>({1, -1, 0}));
        t.model.sort(DeviceSerialNumberColumn, Qt::DescendingOrder);
        QCOMPARE(rowsOf({"801009999", "801002346"}), QList<int>({0, 1}));
        t.model.removeRow(0);
        QCOMPARE(rowsOf({"801009999", "801002346"}), QList<int>({-1, 0}));
        t.table.addDevice("801009998", "", "", "", true, false, false, true);
        QCOMPARE(t.table.rowOf(QStringLiteral("801009998")), t.model.rowCount() - 1);

        const QList<QPair<QString, int>> types = {{"USB", BatchUtil::Usb},
                                                  {"usb", BatchUtil::Usb},
                                                  {"Ip", BatchUtil::Ip},
                                                  {"N/A", BatchUtil::Unknown},
                                                  {" USB", BatchUtil::Unknown}};
        for (const auto& [name, type] : types)
            QCOMPARE(int(DeviceTable::connectionType(name)), type);
    }

    void disablingAgainReachesNewRows()
    {
        Table t;
        t.table.addDevice("801002345", "", "", "", true, false, false, true);
        const auto editable = [&t](int row) {
            return t.model.item(row, DeviceSelectColumn)->isEnabled() &&
                   t.model.item(row, DeviceTargetPartColumn)->isEditable() &&
                   t.table.connectionBox(row)->isEnabled();
        };
        t.table.setRowsEnabled(false);
        QVERIFY(!editable(0));
        // A row that arrives while the table is disabled follows the next call, also a repeated one.
        t.table.addDevice("801002346", "192.0.2.7", "", "", true, true, false, true);
        QVERIFY(editable(1));
        t.table.setRowsEnabled(false);
        QVERIFY(!editable(0) && !editable(1));
        t.table.setRowsEnabled(true);
        t.table.setRowsEnabled(true);
        QVERIFY(editable(0) && editable(1));
    }

    void connectionBoxIsRebuiltWhenOpened()
    {
        BulkOperationsWidget page;
        page.show();
        page.deviceSelectorAddManualDeviceRow();
        const auto open = [&page](const QString& serial, const QString& ip) {
            model(page)->item(0, DeviceSerialNumberColumn)->setText(serial);
            model(page)->item(0, DeviceIpAddressColumn)->setText(ip);
            combo(page, 0)->showPopup();
            combo(page, 0)->hidePopup();
            return comboItems(page, 0);
        };
        QCOMPARE(open("", ""), QStringList({"N/A"}));
        QCOMPARE(open("", " 10.0.0.5 "), QStringList({"IP"}));
        QCOMPARE(open("801002345", "10.0.0.5"), QStringList({"USB", "IP"}));
        // The chosen connection survives the rebuild when it is still offered.
        QCOMPARE(connection(page, 0), QStringLiteral("IP"));
        QCOMPARE(open("801002345", "  "), QStringList({"USB"}));
        QCOMPARE(connection(page, 0), QStringLiteral("USB"));
    }

    void editingAnAddressChoosesTheConnection()
    {
        BulkOperationsWidget page;
        page.show();
        page.deviceSelectorAddManualDeviceRow();
        typeIntoCell(page, 0, DeviceIpAddressColumn, QStringLiteral("10.0.0.9"));
        QCOMPARE(text(page, 0, DeviceIpAddressColumn), QStringLiteral("10.0.0.9"));
        QCOMPARE(connection(page, 0), QStringLiteral("IP"));

        // A box that lacks the type gets it in front.
        page.addDeviceToTable("801002347", "", "", "", false, true, false, true);
        typeIntoCell(page, 1, DeviceSerialNumberColumn, QStringLiteral("801002348"));
        QCOMPARE(comboItems(page, 1), QStringList({"USB", "IP"}));
        QCOMPARE(connection(page, 1), QStringLiteral("USB"));

        // With both addresses known the user's choice stands; other columns
        // never touch the connection.
        page.addDeviceToTable("801002345", "10.0.0.5", "", "", true, true, false, true);
        typeIntoCell(page, 2, DeviceIpAddressColumn, QStringLiteral("10.0.0.6"));
        QCOMPARE(connection(page, 2), QStringLiteral("USB"));
        typeIntoCell(page, 0, DeviceTargetPartColumn, QStringLiteral("KM32G101F512"));
        QCOMPARE(connection(page, 0), QStringLiteral("IP"));
    }

    void targetPartLineEdit()
    {
        BulkOperationsWidget page;
        for (const char* serial : {"801002345", "801002346", "801002347"})
            page.addDeviceToTable(serial, "", "AX7L2", "", true, false, false, true);
        auto* lineEdit = child<QLineEdit>(page, "deviceSelectorOpnLineEdit");
        auto* applyToAll = child<QCheckBox>(page, "deviceSelectorApplyToAllCheckBox");
        QVERIFY(applyToAll->isChecked());
        lineEdit->setText(QStringLiteral("KM32G101F512"));
        QCOMPARE(column(page, DeviceTargetPartColumn),
                 QStringList({"KM32G101F512", "KM32G101F512", "KM32G101F512"}));

        // Otherwise only highlighted rows follow, none when none is.
        applyToAll->setChecked(false);
        lineEdit->setText(QStringLiteral("KM32G101F256"));
        highlight(page, {1});
        lineEdit->setText(QStringLiteral("AX7L2"));
        QCOMPARE(column(page, DeviceTargetPartColumn),
                 QStringList({"KM32G101F512", "AX7L2", "KM32G101F512"}));
        lineEdit->clear();
        QCOMPARE(column(page, DeviceTargetPartColumn), QStringList({"KM32G101F512", "", "KM32G101F512"}));
    }
};

HARNWICK_TEST(TestDeviceTable)
#include "tst_devicetable.moc"
