#include "jobsteps.h"
#include "jobvariables.h"
#include "testregistry.h"

#include <QProcess>
#include <QTest>

using Step = QMap<QString, QVariant>;

class TestJobSteps : public QObject
{
    Q_OBJECT

private slots:
    void variableNames_data()
    {
        QTest::addColumn<Step>("step");
        QTest::addColumn<QStringList>("before");
        QTest::addColumn<QStringList>("after");

        // The job execution test covers the single-match rule and lists; these are the finer points.
        QTest::newRow("already listed, case matters")
            << Step{{"emz_file", "{{target_part}}"}, {"mode", "{{Target_Part}}"}}
            << QStringList{"target_part"} << QStringList{"target_part", "Target_Part"};
        QTest::newRow("key order") << Step{{"mode", "{{b}}"}, {"emz_file", "{{a}}"}} << QStringList()
                                   << QStringList{"a", "b"};
        QTest::newRow("numbers and flags are not read")
            << Step{{"duration_ms", 12}, {"enabled", true}} << QStringList() << QStringList();
        QTest::newRow("empty braces") << Step{{"emz_file", "{{}}"}} << QStringList() << QStringList();
    }

    void variableNames()
    {
        QFETCH(Step, step);
        QFETCH(QStringList, before);
        QFETCH(QStringList, after);
        JobVariables::collectVariableNames(step, before);
        QCOMPARE(before, after);
    }

    void startAddress_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("value");
        QTest::newRow("upper prefix") << "0X1F" << 0x1f;
        QTest::newRow("leading zero is decimal") << "010" << 10;
        QTest::newRow("empty") << "" << 0;
        QTest::newRow("prefix only") << "0x" << 0;
        QTest::newRow("hex digits without prefix") << "8000h" << 0;
    }

    void startAddress()
    {
        QFETCH(QString, text);
        QFETCH(int, value);
        QCOMPARE(JobSteps::parseStartAddress(text), value);
    }

    // The custom command page splits its text with QProcess::splitCommand; a loaded job shows the stored
    // arguments joined, and splitting that text must give them back.
    void commandArguments_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("text");
        QTest::newRow("plain and spaced") << QStringList{"device", "--device", "KM32G101F512 rev B"}
                                          << "device --device \"KM32G101F512 rev B\"";
        QTest::newRow("newline alone") << QStringList{"\n"} << "\"\n\"";
        QTest::newRow("tab inside") << QStringList{"x", "y\tz"} << "x \"y\tz\"";
        QTest::newRow("no-break space")
            << QStringList{QString::fromUtf8("bench\u00a0left")} << QString::fromUtf8("\"bench\u00a0left\"");
        QTest::newRow("quote in a word") << QStringList{"a\"b"} << "a\"\"\"b";
        QTest::newRow("quotes in a spaced argument")
            << QStringList{"say \"hi there\""} << "\"say \"\"\"hi there\"\"\"\"";
        QTest::newRow("lone quote") << QStringList{"\""} << "\"\"\"";
        QTest::newRow("empty argument shown") << QStringList{"a", "", "b"} << "a \"\" b";
    }

    void commandArguments()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, text);
        QCOMPARE(JobSteps::joinCommandArguments(arguments), text);
        // The splitter never yields an empty argument: that one alone does not come back.
        arguments.removeAll(QString());
        QCOMPARE(QProcess::splitCommand(text), arguments);
    }

    void formats()
    {
        QCOMPARE(JobSteps::formatStartAddress(0xABCDE0), QStringLiteral("0x00abcde0"));
        QCOMPARE(JobSteps::durationFromText(QStringLiteral("soon")), 0);
        QCOMPARE(JobSteps::durationFromText(QStringLiteral("-5")), 0);
    }
};

HARNWICK_TEST(TestJobSteps)
#include "tst_jobsteps.moc"
