#include "../devices/devicepagehelpers.h"
#include "jobexecution.h"
#include "testregistry.h"
#include "variableexplorerwidget.h"

#include <QApplication>
#include <QClipboard>
#include <QStandardItemModel>
#include <QTableView>
#include <QTest>

class TestVariableExplorerWidget : public QObject
{
    Q_OBJECT

    static QString cell(VariableExplorerWidget& explorer, int row, int column)
    {
        return explorer.tableView()->model()->index(row, column).data().toString();
    }

private slots:
    void rowsValuesAndCopy()
    {
        VariableExplorerWidget explorer;
        explorer.addBuiltInVariables(JobExecution::builtInVariableDescriptions());
        QCOMPARE(explorer.tableView()->model()->rowCount(), 6);
        QCOMPARE(cell(explorer, 0, 0), QStringLiteral("{{debug_interface}}"));
        QCOMPARE(cell(explorer, 5, 0), QStringLiteral("{{target_part}}"));
        QCOMPARE(cell(explorer, 5, 2), QStringLiteral("Target part number (device specific)"));
        for (int row = 0; row < 6; ++row)
            QCOMPARE(cell(explorer, row, 1), QString());

        explorer.updateVariableValues({{"serial_number", "801002345"}, {"nickname", "bench-left"}});
        explorer.updateVariableValues({{"nickname", ""}, {"debug_speed", "4000"}, {"unknown", "x"}});
        QCOMPARE(cell(explorer, 4, 1), QStringLiteral("801002345")); // absent names keep their value
        QCOMPARE(cell(explorer, 3, 1), QString());
        QCOMPARE(cell(explorer, 1, 1), QStringLiteral("4000"));

        QApplication::clipboard()->setText(QStringLiteral("untouched"));
        explorer.copySelectedVariableNameToClipboard(); // nothing selected
        QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("untouched"));
        explorer.tableView()->selectRow(5);
        explorer.copySelectedVariableNameToClipboard();
        QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("{{target_part}}"));
        explorer.tableView()->selectRow(4);
        explorer.copySelectedVariableValueToClipboard();
        QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("801002345"));
    }

    void heightFitsAtMostTwentyRows()
    {
        VariableExplorerWidget explorer;
        QTableView* table = explorer.tableView();
        const int empty = table->minimumHeight();
        QMap<QString, QString> many;
        for (int i = 0; i < 25; ++i)
            many.insert(QStringLiteral("v%1").arg(i, 2, 10, QLatin1Char('0')), QStringLiteral("d"));
        explorer.addBuiltInVariables(many);
        QCOMPARE(table->minimumHeight(), empty + 20 * table->rowHeight(0));
    }

    void contextMenuOnlyOnRows()
    {
        VariableExplorerWidget explorer;
        explorer.addBuiltInVariables(JobExecution::builtInVariableDescriptions());
        explorer.resize(900, 600); // leaves room below the last row
        explorer.show();
        QVERIFY(QTest::qWaitForWindowExposed(&explorer));
        QTableView* table = explorer.tableView();

        // Below the last row: no menu.
        QCOMPARE(DevicePage::poppedUpMenu(
                     [&] { explorer.showContextMenu(QPoint(5, table->viewport()->height() - 2)); }),
                 QStringList());
        QCOMPARE(DevicePage::poppedUpMenu([&] {
                     explorer.showContextMenu(table->visualRect(table->model()->index(2, 0)).center());
                 }),
                 QStringList({"Copy Name", "Copy Value"}));
    }
};

HARNWICK_TEST(TestVariableExplorerWidget)
#include "tst_variableexplorerwidget.moc"
