#include "historyfilter.h"
#include "testregistry.h"

#include <QDateTime>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTest>

Q_DECLARE_METATYPE(HistoryFilter)

namespace {

const QString connectionName = QStringLiteral("historyfilter");
const QString runOneBundle = QString(64, QLatin1Char('a'));
const QString runOneImage = QStringLiteral("bb22") + QString(60, QLatin1Char('0'));
const QString runTwoBundle = QStringLiteral("cc33") + QString(60, QLatin1Char('1'));

qint64 local(const char* text)
{
    return QDateTime::fromString(QString::fromLatin1(text), QStringLiteral("yyyy-MM-dd HH:mm"))
        .toMSecsSinceEpoch();
}

void exec(QSqlQuery& query, const QString& sql, const QVariantList& values = {})
{
    QVERIFY2(query.prepare(sql), qPrintable(query.lastError().text()));
    for (const QVariant& value : values)
        query.addBindValue(value);
    QVERIFY2(query.exec(), qPrintable(query.lastError().text()));
}

} // namespace

// The condition is run against a real SQLite database holding awkward ids, so
// the escaping and the date bounds are checked by what the database returns.
class TestHistoryFilter : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connectionName);
        db.setDatabaseName(QStringLiteral(":memory:"));
        QVERIFY(db.open());
        QSqlQuery query(db);
        exec(query, "CREATE TABLE stations(id INTEGER PRIMARY KEY, name TEXT)");
        exec(query, "CREATE TABLE runs(id TEXT PRIMARY KEY, station_id INTEGER, job_sha256 TEXT)");
        exec(query, "CREATE TABLE run_files(run_id TEXT, path TEXT, sha256 TEXT)");
        exec(query, "CREATE TABLE device_results(id INTEGER PRIMARY KEY, run_id TEXT, device_id TEXT, "
                    "outcome TEXT, started_ms BIGINT)");
        exec(query, "CREATE TABLE pool_values(run_id TEXT, device_id TEXT, value TEXT)");
        exec(query,
             "INSERT INTO pool_values VALUES ('r2', 'KMX1', '02:1A:00:00:01:0F'), ('r1', 'KMX1', 'HW-0009')");
        exec(query, "INSERT INTO stations VALUES (1, 'bench-a'), (2, 'bench-b')");
        exec(query, "INSERT INTO runs VALUES ('r1', 1, ?), ('r2', 2, ?)", {runOneBundle, runTwoBundle});
        exec(query, "INSERT INTO run_files VALUES ('r1', 'app.hex', ?)", {runOneImage});
        const QList<QVariantList> rows{
            {1, "r1", "810000123", "done", local("2026-11-02 10:00")},
            {2, "r1", "50%OFF", "failed", local("2026-11-02 23:59")},
            {3, "r2", "50AOFF", "done", local("2026-11-03 00:00")},
            {4, "r2", "KM_1", "crashed", local("2026-11-04 12:00")},
            {5, "r2", "KMX1", "done", local("2026-11-05 08:00")},
            {6, "r1", "x'); DROP TABLE runs; --", "failed", local("2026-11-01 07:00")},
            {7, "r1", "C:\\dev", "done", local("2026-11-01 07:30")},
        };
        for (const QVariantList& row : rows)
            exec(query, "INSERT INTO device_results VALUES (?, ?, ?, ?, ?)", row);
    }

    void cleanupTestCase()
    {
        QSqlDatabase::database(connectionName).close();
        QSqlDatabase::removeDatabase(connectionName);
    }

    void matches_data()
    {
        QTest::addColumn<HistoryFilter>("filter");
        QTest::addColumn<QString>("ids");

        const auto with = [](auto change) {
            HistoryFilter filter;
            change(filter);
            return filter;
        };
        QTest::newRow("no filter") << HistoryFilter() << "1 2 3 4 5 6 7";
        QTest::newRow("percent is literal") << with([](auto& f) { f.deviceText = "50%"; }) << "2";
        QTest::newRow("underscore is literal, case ignored")
            << with([](auto& f) { f.deviceText = "km_"; }) << "4";
        QTest::newRow("backslash is literal") << with([](auto& f) { f.deviceText = "c:\\"; }) << "7";
        QTest::newRow("surrounding blanks ignored") << with([](auto& f) { f.deviceText = " 0001 "; }) << "1";
        QTest::newRow("quote and comment as text")
            << with([](auto& f) { f.deviceText = "'); drop table runs; --"; }) << "6";
        // A unit is found by a value it received from a data pool, in that run only.
        QTest::newRow("pool value") << with([](auto& f) { f.deviceText = "01:0f"; }) << "5";
        QTest::newRow("pool value of another run") << with([](auto& f) { f.deviceText = "HW-0009"; }) << "";
        QTest::newRow("exact id") << with([](auto& f) { f.exactDeviceId = "KM_1"; }) << "4";
        QTest::newRow("exact id keeps case") << with([](auto& f) { f.exactDeviceId = "km_1"; }) << "";
        QTest::newRow("outcome") << with([](auto& f) { f.outcome = "failed"; }) << "2 6";
        QTest::newRow("since a day") << with([](auto& f) { f.since = {2026, 11, 3}; }) << "3 4 5";
        QTest::newRow("until a day, inclusive") << with([](auto& f) {
            f.until = {2026, 11, 2};
        }) << "1 2 6 7";
        QTest::newRow("one day") << with([](auto& f) { f.since = f.until = {2026, 11, 2}; }) << "1 2";
        QTest::newRow("station") << with([](auto& f) { f.stationId = 2; }) << "3 4 5";
        QTest::newRow("whole bundle hash") << with([](auto& f) { f.hash = runOneBundle; }) << "1 2 6 7";
        QTest::newRow("image hash prefix, any case") << with([](auto& f) { f.hash = " BB2"; }) << "1 2 6 7";
        QTest::newRow("bundle hash prefix") << with([](auto& f) { f.hash = "cc3"; }) << "3 4 5";
        QTest::newRow("wildcard as hash") << with([](auto& f) { f.hash = "%"; }) << "";
        QTest::newRow("together") << with([](auto& f) {
            f.stationId = 1;
            f.outcome = "failed";
            f.since = {2026, 11, 2};
        }) << "2";
    }

    void matches()
    {
        QFETCH(HistoryFilter, filter);
        QFETCH(QString, ids);

        const HistoryFilter::Condition condition = filter.condition();
        // No value typed by the user reaches the SQL text.
        for (const QString& typed : {filter.deviceText, filter.exactDeviceId, filter.outcome, filter.hash}) {
            if (!typed.trimmed().isEmpty())
                QVERIFY2(!condition.sql.contains(typed.trimmed(), Qt::CaseInsensitive),
                         qPrintable(condition.sql));
        }
        QSqlQuery query(QSqlDatabase::database(connectionName));
        exec(query,
             "SELECT r.id FROM device_results r JOIN runs u ON u.id = r.run_id " + condition.sql +
                 " ORDER BY r.id",
             condition.values);
        QStringList found;
        while (query.next())
            found << query.value(0).toString();
        QCOMPARE(found.join(QLatin1Char(' ')), ids);
        exec(query, "SELECT COUNT(*) FROM runs");
        QVERIFY(query.next());
        QCOMPARE(query.value(0).toInt(), 2);
    }
};

HARNWICK_TEST(TestHistoryFilter)
#include "tst_historyfilter.moc"
