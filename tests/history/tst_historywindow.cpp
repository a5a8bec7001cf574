#include "historymodel.h"
#include "historywindow.h"
#include "productionstore.h"
#include "storesettings.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QBarCategoryAxis>
#include <QChart>
#include <QChartView>
#include <QLineEdit>
#include <QSqlError>
#include <QSqlQuery>
#include <QTableView>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QtTest>

// The history window offscreen over a store with a few units: typing narrows the table, a chosen
// unit shows all its runs, and the charts follow the filter.
class TestHistoryWindow : public QObject
{
    Q_OBJECT

private slots:
    void filtersUnitsAndCharts()
    {
        TestEnvironment::clearSettings();
        QTemporaryDir folder;
        const QString path = folder.filePath("line.sqlite");
        StoreSettings::setUrl(QStringLiteral("sqlite:") + path);
        {
            ProductionStore store;
            QString error;
            QVERIFY2(store.open(StoreLocation::sqliteFile(path), &error), qPrintable(error));
            QSqlQuery query(store.database());
            query.prepare(
                "INSERT INTO runs(id, station_id, started_ms, utc_offset_s) VALUES ('run-1', ?, 0, 0), "
                "('run-2', ?, 0, 0)");
            query.addBindValue(store.stationId());
            query.addBindValue(store.stationId());
            QVERIFY(query.exec());
            // Unit ...123 fails its wait, then passes; ...200 passes at once; ...300 fails a flash.
            const QVariant none(QVariant::String);
            const QList<QVariantList> rows{{"810000123", "failed", 2, "wait", 1000},
                                           {"810000200", "done", none, none, 2000},
                                           {"810000123", "done", none, none, 3000, "run-2"},
                                           {"810000300", "failed", 3, "flash_target_device", 4000}};
            QVERIFY(
                query.prepare("INSERT INTO device_results(device_id, outcome, failed_action, "
                              "failed_type, started_ms, run_id, utc_offset_s) VALUES (?, ?, ?, ?, ?, ?, 0)"));
            for (const QVariantList& row : rows) {
                for (const QVariant& value : row)
                    query.addBindValue(value);
                if (row.size() == 5)
                    query.addBindValue("run-1");
                QVERIFY2(query.exec(), qPrintable(query.lastError().text()));
            }
        }

        HistoryWindow window;
        window.reload();
        window.show();
        auto* results = window.findChild<QTableView*>("historyResults");
        auto* unit = window.findChild<QTableView*>("historyUnitRuns");
        QVERIFY(results && unit);
        QTRY_COMPARE(results->model()->rowCount(), 4);

        auto* device = window.findChild<QLineEdit*>();
        QTest::keyClicks(device, "0001");
        QTRY_COMPARE(results->model()->rowCount(), 2);
        QCOMPARE(results->model()->index(0, HistoryModel::DeviceId).data().toString(),
                 QStringLiteral("810000123"));

        results->selectRow(0);
        QTRY_COMPARE(unit->model()->rowCount(), 2);

        // Failures by action type, for the filtered unit only.
        auto* tabs = window.findChild<QTabWidget*>();
        tabs->setCurrentIndex(2);
        auto* pareto = qobject_cast<QtCharts::QChartView*>(tabs->currentWidget());
        QVERIFY(pareto && pareto->chart());
        QCOMPARE(pareto->chart()->series().size(), 2);
        auto* axis =
            qobject_cast<QtCharts::QBarCategoryAxis*>(pareto->chart()->axes(Qt::Horizontal).value(0));
        QVERIFY(axis);
        QCOMPARE(axis->categories(), QStringList{"wait"});
        device->clear();
        QTRY_COMPARE(results->model()->rowCount(), 4);
        QTRY_COMPARE(qobject_cast<QtCharts::QBarCategoryAxis*>(
                         qobject_cast<QtCharts::QChartView*>(tabs->currentWidget())
                             ->chart()
                             ->axes(Qt::Horizontal)
                             .value(0))
                         ->categories(),
                     (QStringList{"flash_target_device", "wait"}));
    }
};

HARNWICK_TEST(TestHistoryWindow)
#include "tst_historywindow.moc"
