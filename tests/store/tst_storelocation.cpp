#include "storelocation.h"
#include "testregistry.h"

#include <QDir>
#include <QStandardPaths>
#include <QTest>

class TestStoreLocation : public QObject
{
    Q_OBJECT

private slots:
    void fromUrl_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<int>("kind"); // StoreLocation::Kind
        QTest::addColumn<QString>("user");
        QTest::addColumn<QString>("host");
        QTest::addColumn<int>("port");
        QTest::addColumn<QString>("database");
        QTest::addColumn<QString>("errorPart"); // a part of the message for a refused URL

        const int pg = int(StoreLocation::Kind::Postgres);
        const int none = int(StoreLocation::Kind::None);
        QTest::newRow("all parts") << "postgresql://ops@db.line3.example:5433/production" << pg << "ops"
                                   << "db.line3.example" << 5433 << "production"
                                   << "";
        QTest::newRow("short scheme, no user, no port") << "postgres://db.example/prod" << pg << ""
                                                        << "db.example" << 0 << "prod"
                                                        << "";
        QTest::newRow("socket folder") << "postgresql://ops@/production?host=/run/harnwick-db" << pg << "ops"
                                       << "/run/harnwick-db" << 0 << "production"
                                       << "";
        QTest::newRow("socket folder and port") << "postgresql:///prod?host=/tmp/sock&port=6543" << pg << ""
                                                << "/tmp/sock" << 6543 << "prod"
                                                << "";
        QTest::newRow("percent-encoded") << "postgresql://%C3%A9quipe@db/line%203" << pg << "équipe"
                                         << "db" << 0 << "line 3"
                                         << "";
        QTest::newRow("IPv6 address") << "postgresql://[2001:db8::5]:5432/prod" << pg << ""
                                      << "2001:db8::5" << 5432 << "prod"
                                      << "";
        QTest::newRow("all defaults") << "postgresql://" << pg << ""
                                      << "" << 0 << ""
                                      << "";
        QTest::newRow("surrounding blanks") << "  postgresql://db/prod \n"
                                            << pg << ""
                                            << "db" << 0 << "prod"
                                            << "";

        QTest::newRow("password in user part") << "postgresql://ops:Hunter2x@db/prod" << none << ""
                                               << "" << 0 << ""
                                               << "~/.pgpass";
        QTest::newRow("password as option") << "postgresql://db/prod?password=Hunter2x" << none << ""
                                            << "" << 0 << ""
                                            << "PGPASSWORD";
        QTest::newRow("port not a number") << "postgresql://db:54x2/prod" << none << ""
                                           << "" << 0 << ""
                                           << "\"54x2\"";
        QTest::newRow("port out of range") << "postgresql://db:70000/prod" << none << ""
                                           << "" << 0 << ""
                                           << "1 to 65535";
        QTest::newRow("empty port") << "postgresql://db:/prod" << none << ""
                                    << "" << 0 << ""
                                    << "port";
        QTest::newRow("unknown sslmode") << "postgresql://db/prod?sslmode=maybe" << none << ""
                                         << "" << 0 << ""
                                         << "sslmode";
        QTest::newRow("unknown option") << "postgresql://db/prod?colour=red" << none << ""
                                        << "" << 0 << ""
                                        << "\"colour\"";
        QTest::newRow("slash in database name") << "postgresql://db/prod/extra" << none << ""
                                                << "" << 0 << ""
                                                << "?host=";
        QTest::newRow("unclosed bracket") << "postgresql://[2001:db8::5/prod" << none << ""
                                          << "" << 0 << ""
                                          << "bracket";
        QTest::newRow("other scheme") << "mysql://db/prod" << none << ""
                                      << "" << 0 << ""
                                      << "sqlite:PATH";
        QTest::newRow("bare path") << "/srv/production.sqlite" << none << ""
                                   << "" << 0 << ""
                                   << "sqlite:PATH";
        QTest::newRow("empty") << "" << none << ""
                               << "" << 0 << ""
                               << "No database";
        QTest::newRow("sqlite without path") << "sqlite:" << none << ""
                                             << "" << 0 << ""
                                             << "names no file";
    }

    void fromUrl()
    {
        QFETCH(QString, url);
        QFETCH(int, kind);
        QFETCH(QString, user);
        QFETCH(QString, host);
        QFETCH(int, port);
        QFETCH(QString, database);
        QFETCH(QString, errorPart);

        QString error;
        const StoreLocation location = StoreLocation::fromUrl(url, &error);
        QCOMPARE(int(location.kind()), kind);
        if (!location.isValid()) {
            QVERIFY2(error.contains(errorPart), qPrintable(error));
            QVERIFY2(!error.contains(QLatin1String("Hunter2x")), qPrintable(error));
            return;
        }
        QCOMPARE(location.userName(), user);
        QCOMPARE(location.host(), host);
        QCOMPARE(location.port(), port);
        QCOMPARE(location.databaseName(), database);
        // The URL it gives reads back to the same place.
        const StoreLocation again = StoreLocation::fromUrl(location.url(), &error);
        QVERIFY2(again.isValid(), qPrintable(error));
        QCOMPARE(again.userName(), user);
        QCOMPARE(again.host(), host);
        QCOMPARE(again.port(), port);
        QCOMPARE(again.databaseName(), database);
    }

    void sqlitePaths()
    {
        QString error;
        StoreLocation location =
            StoreLocation::fromUrl(QStringLiteral("sqlite:/srv/line3/prod.sqlite"), &error);
        QCOMPARE(int(location.kind()), int(StoreLocation::Kind::Sqlite));
        QCOMPARE(location.sqlitePath(), QStringLiteral("/srv/line3/prod.sqlite"));
        QCOMPARE(location.displayName(), QStringLiteral("sqlite:/srv/line3/prod.sqlite"));

        location = StoreLocation::fromUrl(QStringLiteral("sqlite:///srv/line3/prod.sqlite"), &error);
        QCOMPARE(location.sqlitePath(), QStringLiteral("/srv/line3/prod.sqlite"));

        // A relative path is taken from where the program was started, once and for all.
        location = StoreLocation::fromUrl(QStringLiteral("sqlite:bench2/prod.sqlite"), &error);
        QCOMPARE(location.sqlitePath(), QDir::current().filePath(QStringLiteral("bench2/prod.sqlite")));
        location = StoreLocation::fromUrl(QStringLiteral("sqlite:~/prod.sqlite"), &error);
        QCOMPARE(location.sqlitePath(), QDir::home().filePath(QStringLiteral("prod.sqlite")));

        location = StoreLocation::fromUrl(QStringLiteral("sqlite:") + QDir::tempPath(), &error);
        QVERIFY(!location.isValid());
        QVERIFY2(error.contains(QLatin1String("folder")), qPrintable(error));

        const StoreLocation standard = StoreLocation::defaultLocation();
        QVERIFY(standard.isValid() && !standard.isPostgres());
        QCOMPARE(standard.sqlitePath(),
                 QDir(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation))
                     .filePath(QStringLiteral("production.sqlite")));
    }
};

HARNWICK_TEST(TestStoreLocation)
#include "tst_storelocation.moc"
