#include "storejournal.h"
#include "testregistry.h"

#include <QDir>
#include <QFile>
#include <QLockFile>
#include <QTemporaryDir>
#include <QTest>

class TestStoreJournal : public QObject
{
    Q_OBJECT

private slots:
    // What goes in comes back the same, however odd the text; a line cut short by a kill is left out.
    void roundTrip()
    {
        QTemporaryDir folder;
        const QVariantMap odd{
            {"kind", "result"},
            {"nickname", QStringLiteral("x'); DROP TABLE runs; --\"\\\n\t\x01 ÄÖ 板")},
            {"ended_ms", Q_INT64_C(1764000123456)},
            {"exit_code", -11},
            {"empty", QString()},
            {"missing", QVariant()},
            {"files", QVariantList{QVariantMap{{"path", "/srv/a b.hex"}, {"sha256", "ab"}}}}};
        QString path;
        {
            StoreJournal journal(folder.path(), QStringLiteral("sqlite:/srv/line3/prod.sqlite"));
            QCOMPARE(journal.append(odd), 1);
            QCOMPARE(journal.append({{"kind", "end"}, {"id", "run-1"}}), 2);
            path = journal.filePath();
            QFile file(path);
            QVERIFY(file.open(QIODevice::Append));
            file.write("{\"kind\":\"result\",\"device_id\":\"8100"); // the kill came here
            file.close();

            QString url;
            QList<QVariantMap> records;
            QVERIFY(StoreJournal::read(path, &url, &records));
            QCOMPARE(url, QStringLiteral("sqlite:/srv/line3/prod.sqlite"));
            QCOMPARE(records.size(), 2);
            const QVariantMap back = records.first();
            QCOMPARE(back.value("nickname").toString(), odd.value("nickname").toString());
            QCOMPARE(back.value("ended_ms").toLongLong(), Q_INT64_C(1764000123456));
            QCOMPARE(back.value("exit_code").toInt(), -11);
            QCOMPARE(back.value("empty").toString(), QString());
            QVERIFY(back.value("missing").isNull());
            QCOMPARE(back.value("files").toList().value(0).toMap().value("path").toString(),
                     QStringLiteral("/srv/a b.hex"));
            QCOMPARE(back.value("seq").toLongLong(), 1);

            // A journal whose program still runs is not taken by another.
            QVERIFY(StoreJournal::claimOrphans(folder.path(), QString()).empty());
            // Once everything is in the store the file is emptied, and it goes with its program.
            journal.committed(2);
            QCOMPARE(QFileInfo(path).size(), 0);
            QCOMPARE(journal.append(odd), 3);
        }
        // Ended with a record not in the store: the journal stays, and the next program claims it.
        QVERIFY(QFileInfo::exists(path));
        auto orphans = StoreJournal::claimOrphans(folder.path(), QString());
        QCOMPARE(orphans.size(), size_t(1));
        QCOMPARE(orphans.front().records.size(), 1);
        QCOMPARE(orphans.front().records.front().value("seq").toLongLong(), 3);
        QVERIFY(StoreJournal::claimOrphans(folder.path(), QString()).empty()); // claimed already
        StoreJournal::remove(orphans.front());
        QVERIFY(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden).isEmpty());

        // A program that ends with everything stored leaves nothing behind.
        {
            StoreJournal journal(folder.path(), QStringLiteral("sqlite:/srv/line3/prod.sqlite"));
            journal.append(odd);
            journal.committed(1);
        }
        QVERIFY(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden).isEmpty());
    }
};

HARNWICK_TEST(TestStoreJournal)
#include "tst_storejournal.moc"
