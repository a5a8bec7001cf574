#include "jobsteps.h"
#include "jobvariables.h"
#include "testregistry.h"

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

        // The page test covers the single-match rule and lists; these are the finer points.
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

    void formats()
    {
        QCOMPARE(JobSteps::formatStartAddress(0xABCDE0), QStringLiteral("0x00abcde0"));
        QCOMPARE(JobSteps::durationFromText(QStringLiteral("soon")), 0);
        QCOMPARE(JobSteps::durationFromText(QStringLiteral("-5")), 0);
    }
};

HARNWICK_TEST(TestJobSteps)
#include "tst_jobsteps.moc"
