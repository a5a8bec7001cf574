#include "poolcommandline.h"
#include "testregistry.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QTextStream>

class TestPoolCommandLine : public QObject
{
    Q_OBJECT

    QTemporaryDir folder;

    int run(const QStringList& arguments, QString* output, QString* errors = nullptr)
    {
        QString out;
        QString err;
        QTextStream outStream(&out);
        QTextStream errStream(&err);
        const int code = PoolCommandLine(outStream, errStream)
                             .exec(QStringList{"harnwick"} + arguments +
                                   QStringList{"--database", "sqlite:" + folder.filePath("store.sqlite")});
        *output = out;
        if (errors)
            *errors = err;
        return code;
    }

    QString csv(const QString& name, const QByteArray& content)
    {
        QFile file(folder.filePath(name));
        if (file.open(QIODevice::WriteOnly))
            file.write(content);
        return file.fileName();
    }

private slots:
    void parse_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("result"); // kind/count/rule, or the start of the error

        QTest::newRow("counter, defaults")
            << QStringList{"--pool-define", "unit_sn", "--counter", "1..500"} << "counter/500/reuse";
        QTest::newRow("counter with step, format, void")
            << QStringList{"--pool-define", "unit_sn", "--counter",    "0..99", "--step", "10",
                           "--format",      "HW-%04X", "--on-failure", "void"}
            << "counter/10/void";
        QTest::newRow("mac") << QStringList{"--pool-define", "eth", "--mac",
                                            "02:1A:00:00:00:00..02:1A:00:00:00:0F"}
                             << "mac/16/reuse";
        QTest::newRow("list voids by default")
            << QStringList{"--pool-define", "keys", "--list", "k.csv"} << "list/0/void";
        QTest::newRow("list reuse") << QStringList{"--pool-define", "keys",         "--list",
                                                   "k.csv",         "--on-failure", "reuse"}
                                    << "list/0/reuse";
        QTest::newRow("pools") << QStringList{"--pools"} << "pools";

        QTest::newRow("no kind") << QStringList{"--pool-define", "unit_sn"}
                                 << "--pool-define needs exactly one";
        QTest::newRow("two kinds") << QStringList{"--pool-define", "unit_sn",
                                                  "--counter",     "1..2",
                                                  "--mac",         "02:1A:00:00:00:00..02:1A:00:00:00:0F"}
                                   << "--pool-define needs exactly one";
        QTest::newRow("empty range") << QStringList{"--pool-define", "unit_sn", "--counter", "9..1"}
                                     << "The range is empty";
        QTest::newRow("step 0") << QStringList{"--pool-define", "unit_sn", "--counter", "1..9", "--step", "0"}
                                << "The step \"0\"";
        QTest::newRow("step not a number")
            << QStringList{"--pool-define", "unit_sn", "--counter", "1..9", "--step", "two"}
            << "The step \"two\"";
        QTest::newRow("bad pattern") << QStringList{"--pool-define", "unit_sn",  "--counter",
                                                    "1..9",          "--format", "HW-%s"}
                                     << "The format \"HW-%s\"";
        QTest::newRow("format on a list")
            << QStringList{"--pool-define", "keys", "--list", "k.csv", "--format", "%d"}
            << "--format is for counters";
        QTest::newRow("column on a counter")
            << QStringList{"--pool-define", "unit_sn", "--counter", "1..9", "--column", "key"}
            << "--column is for lists";
        QTest::newRow("bad rule") << QStringList{"--pool-define", "unit_sn",      "--counter",
                                                 "1..9",          "--on-failure", "keep"}
                                  << "--on-failure takes";
        QTest::newRow("built-in name") << QStringList{"--pool-define", "nickname", "--counter", "1..9"}
                                       << "\"nickname\" is a built-in variable";
        QTest::newRow("bad name") << QStringList{"--pool-define", "unit-sn", "--counter", "1..9"}
                                  << "\"unit-sn\" cannot name";
        QTest::newRow("pools with a definition option")
            << QStringList{"--pools", "--step", "2"} << "--step belongs";
        QTest::newRow("unknown option") << QStringList{"--pools", "--fast"} << "Unknown option";
    }

    void parse()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, result);
        PoolCommandLine::Request request;
        QString error;
        const bool ok = PoolCommandLine::parse(QStringList{"harnwick"} + arguments, &request, &error);
        if (!ok) {
            QVERIFY2(error.startsWith(result), qPrintable(error));
            return;
        }
        const PoolDefinition& definition = request.definition;
        const QString shown =
            request.list ? QStringLiteral("pools")
                         : QStringLiteral("%1/%2/%3")
                               .arg(PoolDefinition::kindName(definition.kind))
                               .arg(definition.kind == PoolDefinition::List ? 0 : definition.range.count())
                               .arg(definition.voidOnFailure ? "void" : "reuse");
        QCOMPARE(shown, result);
    }

    // Defining pools and listing them against a real store file.
    void defineAndList()
    {
        QString out;
        QString err;
        QCOMPARE(run({"--pool-define", "unit_sn", "--counter", "1..500", "--format", "HW-%06d"}, &out, &err),
                 0);
        QVERIFY2(err.isEmpty(), qPrintable(err));
        const QString keys = csv("keys.csv", "serial,key\nA1,KEY-1\nA2,\"KEY,2\"\nA3,KEY-3\n");
        QCOMPARE(run({"--pool-define", "keys", "--list", keys, "--column", "key"}, &out, &err), 0);

        const QString duplicates = csv("dup.csv", "KEY-7\nKEY-8\nKEY-7\n");
        QCOMPARE(run({"--pool-define", "more_keys", "--list", duplicates}, &out, &err), 2);
        QVERIFY2(err.contains("\"KEY-7\" on line 3 is a duplicate of line 1"), qPrintable(err));
        // Adding a key the pool already holds is refused, and nothing of that file is added.
        const QString again = csv("again.csv", "KEY-4\nKEY-3\n");
        QCOMPARE(run({"--pool-define", "keys", "--list", again}, &out, &err), 2);
        QVERIFY2(err.contains("\"KEY-3\""), qPrintable(err));
        QCOMPARE(
            run({"--pool-define", "unit_sn", "--counter", "100..900", "--format", "HW-%06d"}, &out, &err), 2);
        QVERIFY2(err.contains("overlaps"), qPrintable(err));
        QCOMPARE(run({"--pool-define", "unit_sn", "--counter", "1..800", "--format", "HW-%06d"}, &out, &err),
                 0);
        QCOMPARE(run({"--pool-define", "missing", "--list", folder.filePath("none.csv")}, &out, &err), 2);

        QCOMPARE(run({"--pools"}, &out, &err), 0);
        QCOMPARE(out, QStringLiteral("keys\tlist\t3\t0\t0\t0\t0\nunit_sn\tcounter\t800\t0\t0\t0\t0\n"));

        QStringList arguments{"harnwick", "--pools", "--database", "nowhere://x"};
        QTextStream outStream(&out);
        QTextStream errStream(&err);
        err.clear();
        QCOMPARE(PoolCommandLine(outStream, errStream).exec(arguments), 2);
        QVERIFY(!err.isEmpty());
    }
};

HARNWICK_TEST(TestPoolCommandLine)
#include "tst_poolcommandline.moc"
