#include "historymodel.h"
#include "productionstore.h"
#include "testregistry.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

// The history's model over a real store: pages on demand, newest first, filters done by the database.
class TestHistoryModel : public QObject
{
    Q_OBJECT

private slots:
    void pagesAndFilters()
    {
        QTemporaryDir folder;
        const StoreLocation location = StoreLocation::sqliteFile(folder.filePath("line.sqlite"));
        constexpr int results = 1000;
        {
            ProductionStore store;
            QString error;
            QVERIFY2(store.open(location, &error), qPrintable(error));
            QSqlQuery query(store.database());
            QVERIFY(query.exec("BEGIN"));
            query.prepare(
                "INSERT INTO runs(id, station_id, started_ms, utc_offset_s) VALUES ('run-1', ?, 0, 3600)");
            query.addBindValue(store.stationId());
            QVERIFY(query.exec());
            QVERIFY(query.prepare("INSERT INTO device_results(run_id, device_id, nickname, part, outcome, "
                                  "started_ms, utc_offset_s, elapsed_ms, exit_code) VALUES ('run-1', ?, ?, "
                                  "'KM32G101F512', ?, ?, 3600, 1500, ?)"));
            for (int i = 0; i < results; ++i) {
                query.addBindValue(QString::number(810000000 + i));
                query.addBindValue(i == 7 ? QStringLiteral("x'); DROP TABLE runs; --") : QString());
                query.addBindValue(i % 10 == 3 ? QStringLiteral("failed") : QStringLiteral("done"));
                query.addBindValue(qint64(i) * 60000);
                query.addBindValue(i % 10 == 3 ? 5 : 0);
                QVERIFY(query.exec());
            }
            QVERIFY(query.exec("COMMIT"));
        }

        HistoryModel model;
        QString error;
        QVERIFY2(model.open(location, &error), qPrintable(error));
        QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
        QSignalSpy read(&model, &HistoryModel::pageRead);
        model.setFilter(HistoryFilter());
        // Read on the model's own thread: nothing is there until the page arrives.
        QCOMPARE(model.rowCount(), 0);
        QVERIFY(!model.canFetchMore(QModelIndex()));
        QVERIFY(read.wait());
        // One page, newest first; the rest only when asked for.
        QCOMPARE(model.rowCount(), HistoryModel::pageSize);
        QCOMPARE(model.deviceId(0), QStringLiteral("810000999"));
        QCOMPARE(model.index(0, HistoryModel::Start).data().toString(),
                 QStringLiteral("1970-01-01 17:39:00"));
        QVERIFY(model.canFetchMore(QModelIndex()));
        // The tester fetches on its own as it checks: pages must follow one another without gaps or repeats.
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        // As a view scrolling down would: the next page whenever one may follow.
        const auto scrolled = [&model] {
            if (model.canFetchMore(QModelIndex()))
                model.fetchMore(QModelIndex());
            return model.rowCount();
        };
        QTRY_COMPARE(scrolled(), results);
        QCOMPARE(inserted.count(), results / HistoryModel::pageSize);
        QCOMPARE(model.deviceId(results - 1), QStringLiteral("810000000"));
        QCOMPARE(model.deviceId(HistoryModel::pageSize), QStringLiteral("810000799"));
        QCOMPARE(model.index(results - 8, HistoryModel::Nickname).data().toString(),
                 QStringLiteral("x'); DROP TABLE runs; --"));

        // The database filters: a fragment of a device id and an outcome, and the injected text as text.
        HistoryFilter filter;
        filter.deviceText = QStringLiteral("00001");
        filter.outcome = QStringLiteral("failed");
        model.setFilter(filter);
        QVERIFY(read.wait());
        QStringList ids;
        for (int row = 0; row < model.rowCount(); ++row)
            ids << model.deviceId(row);
        QCOMPARE(ids,
                 (QStringList{"810000193", "810000183", "810000173", "810000163", "810000153", "810000143",
                              "810000133", "810000123", "810000113", "810000103", "810000013"}));
        QCOMPARE(model.index(0, HistoryModel::ExitOrSignal).data().toString(), QStringLiteral("exit code 5"));
        QVERIFY(!model.canFetchMore(QModelIndex()));

        // The export sees every match, not only the pages shown.
        filter = HistoryFilter();
        filter.outcome = QStringLiteral("done");
        model.setFilter(filter);
        // A filter changed before its page came: the old page is dropped, the new one shown.
        HistoryFilter other;
        other.outcome = QStringLiteral("failed");
        model.setFilter(other);
        model.setFilter(filter);
        QTRY_COMPARE(model.rowCount(), HistoryModel::pageSize);
        QCOMPARE(model.index(0, HistoryModel::Outcome).data().toString(), QStringLiteral("done"));
        int exported = 0;
        QVERIFY(model.forEachMatching(
            [&](const QStringList& fields) { exported += fields.size() == HistoryModel::ColumnCount; },
            &error));
        QCOMPARE(exported, 900);
    }
};

HARNWICK_TEST(TestHistoryModel)
#include "tst_historymodel.moc"
