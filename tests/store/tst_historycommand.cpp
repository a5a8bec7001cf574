#include "historycommand.h"
#include "poolrange.h"
#include "poolstore.h"
#include "productionstore.h"
#include "runrecords.h"
#include "storewriter.h"
#include "testregistry.h"
#include "teststores.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QTextStream>

namespace {

struct Outcome
{
    int status = -1;
    QString out, err;
};

Outcome history(const QStringList& arguments)
{
    Outcome outcome;
    QTextStream out(&outcome.out), err(&outcome.err);
    HistoryCommand command(out, err);
    outcome.status =
        command.exec(QStringList{QStringLiteral("harnwick"), QStringLiteral("--history")} + arguments);
    return outcome;
}

// A local moment of November 2026 as Unix milliseconds.
qint64 at(int day, int hour, int minute = 0)
{
    return QDateTime(QDate(2026, 11, day), QTime(hour, minute)).toMSecsSinceEpoch();
}

QVariantMap result(const QString& run, const QString& device, const QString& outcome, qint64 started,
                   const QString& nickname = QString())
{
    return {{RunRecords::kindKey, RunRecords::resultKind},
            {"run_id", run},
            {"device_id", device},
            {"serial", device},
            {"nickname", nickname},
            {"part", "KM32G101F512"},
            {"connection", "USB"},
            {"outcome", outcome},
            {"started_ms", started},
            {"ended_ms", started + 1500},
            {"utc_offset_s", QDateTime::fromMSecsSinceEpoch(started).offsetFromUtc()},
            {"elapsed_ms", 1500},
            {"exit_code", outcome == "done" ? 0 : 5}};
}

QVariantMap failedAt(QVariantMap record, int action, const QString& type)
{
    record.insert(QStringLiteral("failed_action"), action);
    record.insert(QStringLiteral("failed_type"), type);
    return record;
}

QVariantMap run(const QString& id, qint64 started)
{
    return {{RunRecords::kindKey, RunRecords::runKind},
            {"id", id},
            {RunRecords::stationKey, "line3-station-a"},
            {"started_ms", started},
            {"utc_offset_s", 0},
            {"job_sha256", QString(64, QLatin1Char('a'))}};
}

} // namespace

class TestHistoryCommand : public QObject
{
    Q_OBJECT

    TestStores stores;

private slots:
    void parseMoment_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("endOfDay");
        QTest::addColumn<QDateTime>("expected"); // invalid: refused
        const QDate day(2026, 11, 20);
        QTest::newRow("date") << "2026-11-20" << false << QDateTime(day, QTime(0, 0));
        QTest::newRow("date, to its end") << "2026-11-20" << true << QDateTime(day, QTime(23, 59, 59, 999));
        QTest::newRow("date and time") << "2026-11-20T14:05" << true << QDateTime(day, QTime(14, 5));
        QTest::newRow("with a blank") << "2026-11-20 14:05:30" << false << QDateTime(day, QTime(14, 5, 30));
        QTest::newRow("UTC") << "2026-11-20T14:05Z" << false << QDateTime(day, QTime(14, 5), Qt::UTC);
        QTest::newRow("own zone") << "2026-11-20T14:05+02:00" << false
                                  << QDateTime(day, QTime(14, 5), Qt::OffsetFromUTC, 7200);
        QTest::newRow("today") << "today" << false << QDateTime(QDate::currentDate(), QTime(0, 0));
        QTest::newRow("yesterday, to its end")
            << "Yesterday" << true << QDateTime(QDate::currentDate(), QTime(0, 0)).addMSecs(-1);
        QTest::newRow("day first") << "20.11.2026" << false << QDateTime();
        QTest::newRow("month 13") << "2026-13-01" << false << QDateTime();
        QTest::newRow("hour 25") << "2026-11-20T25:00" << false << QDateTime();
        QTest::newRow("empty") << "" << false << QDateTime();
    }

    void parseMoment()
    {
        QFETCH(QString, text);
        QFETCH(bool, endOfDay);
        QFETCH(QDateTime, expected);
        qint64 ms = 0;
        QString error;
        QCOMPARE(HistoryCommand::parseMoment(text, endOfDay, &ms, &error), expected.isValid());
        if (expected.isValid())
            QCOMPARE(ms, expected.toMSecsSinceEpoch());
        else
            QVERIFY2(error.contains(QStringLiteral("\"%1\"").arg(text)), qPrintable(error));
    }

    void printsAndWritesResults_data() { TestStores::addBackendRows(); }
    void printsAndWritesResults()
    {
        HARNWICK_FRESH_STORE(stores, url);
        {
            ProductionStore store;
            QString error;
            QVERIFY2(store.open(StoreLocation::fromUrl(url, &error), &error), qPrintable(error));
            // Unit 810000123 failed on the 18th and passed on the 20th; another unit ran in between.
            const QList<QVariantMap> records = {
                run("run-a", at(18, 9)),
                failedAt(
                    result("run-a", "810000123", "failed", at(18, 9, 1), "=HYPERLINK(\"http://x.example\")"),
                    2, "wait"),
                run("run-b", at(19, 9)),
                result("run-b", "810000200", "done", at(19, 9, 1), "rack, left"),
                run("run-c", at(20, 9)),
                result("run-c", "810000123", "done", at(20, 9, 2)),
                {{RunRecords::kindKey, RunRecords::resultKind},
                 {"run_id", "run-c"},
                 {"device_id", "192.0.2.7"},
                 {"ip", "192.0.2.7"},
                 {"outcome", "not started"}},
            };
            QVERIFY2(StoreWriter::writeRecords(store, records, &error), qPrintable(error));
            // The passing unit received a MAC address from a data pool.
            PoolStore pools(store.database(), store.isPostgres(), store.stationId());
            PoolDefinition macs;
            macs.name = QStringLiteral("eth_mac");
            macs.kind = PoolDefinition::Mac;
            QVERIFY(PoolRange::parseMac("02:1A:00:00:01:0F..02:1A:00:00:01:FF", 1, &macs.range, &error));
            QVERIFY2(pools.define(macs, &error), qPrintable(error));
            QHash<QString, QHash<QString, QString>> received;
            QVERIFY2(pools.reserve("run-c", {"810000123"}, {"eth_mac"}, &received, &error),
                     qPrintable(error));
            QVERIFY2(pools.settle({{"run-c", "810000123", "done"}}, &error), qPrintable(error));
        }

        Outcome all = history({QStringLiteral("--database"), url});
        QCOMPARE(all.status, int(HistoryCommand::Found));
        QStringList lines = all.out.split('\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 5);
        QVERIFY2(lines.at(0).contains(QLatin1String("FAILED       810000123")), qPrintable(all.out));
        QVERIFY(lines.at(0).contains(QLatin1String("during action 2 (wait)  exit code 5")));
        QVERIFY(lines.at(0).startsWith(QLatin1String("2026-11-18 09:01:00")));
        QVERIFY(lines.at(1).contains(
            QLatin1String("810000200  rack, left  KM32G101F512  line3-station-a  1.50 s")));
        // A result that never started sorts at its run's start.
        QVERIFY2(lines.at(2).contains(QLatin1String("NOT STARTED  192.0.2.7")), qPrintable(all.out));
        QVERIFY(lines.at(3).contains(QLatin1String("DONE         810000123")));
        QCOMPARE(lines.at(4), QStringLiteral("4 result(s)"));

        Outcome unit = history({QStringLiteral("--database"), url, QStringLiteral("--device"), "810000123",
                                QStringLiteral("--since"), "2026-11-19"});
        QCOMPARE(unit.status, int(HistoryCommand::Found));
        lines = unit.out.split('\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 2);
        QVERIFY(lines.at(0).contains(QLatin1String("DONE         810000123")));
        QVERIFY2(lines.at(0).contains(QLatin1String("eth_mac=02:1A:00:00:01:0F")), qPrintable(unit.out));
        // Found by the value it received.
        Outcome byMac =
            history({QStringLiteral("--database"), url, QStringLiteral("--device"), "02:1A:00:00:01:0F"});
        QCOMPARE(byMac.out.count('\n'), 2);
        QVERIFY2(byMac.out.contains(QLatin1String("DONE         810000123")), qPrintable(byMac.out));
        Outcome byIp = history({QStringLiteral("--database"), url, QStringLiteral("--device"), "192.0.2.7"});
        QCOMPARE(byIp.out.count('\n'), 2);
        Outcome none = history({QStringLiteral("--database"), url, QStringLiteral("--until"), "2026-11-17"});
        QCOMPARE(none.status, int(HistoryCommand::NoneFound));

        // CSV as the run report writes it: quoted, formulas kept as text.
        QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("unit.csv"));
        Outcome csv = history({QStringLiteral("--database"), url, QStringLiteral("--until"), "2026-11-19",
                               QStringLiteral("--csv"), path});
        QCOMPARE(csv.status, int(HistoryCommand::Found));
        QVERIFY(csv.out.isEmpty());
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray bytes = file.readAll();
        // The byte order mark first, as in the run report, for spreadsheets.
        QVERIFY(bytes.startsWith("\xEF\xBB\xBF"));
        const QStringList rows =
            QString::fromUtf8(bytes.mid(3)).split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
        QCOMPARE(rows.size(), 3);
        QVERIFY(rows.at(0).startsWith(QStringLiteral("Start,End,Station,Device id")));
        QVERIFY2(rows.at(1).contains(QLatin1String(",\"'=HYPERLINK(\"\"http://x.example\"\")\",")),
                 qPrintable(rows.at(1)));
        QVERIFY(rows.at(1).contains(QLatin1String(",failed,2,wait,5,,1500,,run-a,,")));
        QVERIFY(rows.at(2).contains(QLatin1String(",\"rack, left\",")));
    }

    void refusesWhatItCannotRead()
    {
        QTemporaryDir folder;
        const QString missing = folder.filePath(QStringLiteral("nowhere.sqlite"));
        Outcome outcome = history({QStringLiteral("--database"), QStringLiteral("sqlite:") + missing});
        QCOMPARE(outcome.status, int(HistoryCommand::CannotRead));
        QVERIFY2(outcome.err.contains(QLatin1String("does not exist")), qPrintable(outcome.err));
        QVERIFY(!QFile::exists(missing));

        outcome =
            history({QStringLiteral("--database"), QStringLiteral("postgresql://ops:Hunter2x@db/prod")});
        QCOMPARE(outcome.status, int(HistoryCommand::CannotRead));
        QVERIFY(outcome.err.contains(QLatin1String("PGPASSWORD")) && !outcome.err.contains("Hunter2x"));

        outcome = history({QStringLiteral("--database"), QStringLiteral("postgresql://harnwick@/prod?host=") +
                                                             folder.filePath("no-server")});
        QCOMPARE(outcome.status, int(HistoryCommand::CannotRead));
        QVERIFY2(outcome.err.contains(QLatin1String("cannot be opened")), qPrintable(outcome.err));

        outcome = history({QStringLiteral("--since"), QStringLiteral("2026-11-20"), QStringLiteral("--until"),
                           QStringLiteral("2026-11-19")});
        QCOMPARE(outcome.status, int(HistoryCommand::CannotRead));
        outcome = history({QStringLiteral("--since"), QStringLiteral("last week")});
        QCOMPARE(outcome.status, int(HistoryCommand::CannotRead));
        QVERIFY(outcome.err.contains(QLatin1String("\"last week\"")));
    }
};

HARNWICK_TEST(TestHistoryCommand)
#include "tst_historycommand.moc"
