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

        const auto text = [](const char* value) {
            return QVariant(QString::fromLatin1(value));
        };
        QTest::newRow("one text") << Step{{"emz_file", text("/fw/{{target_part}}.emz")}} << QStringList()
                                  << QStringList{"target_part"};
        // Only the first placeholder of a text counts.
        QTest::newRow("two in one text") << Step{{"image_file", text("{{nickname}}-{{serial_number}}.hex")}}
                                         << QStringList() << QStringList{"nickname"};
        QTest::newRow("list items") << Step{{"arguments", QStringList{"--device", "{{target_part}}",
                                                                      "{{ip_address}}:{{nickname}}"}}}
                                    << QStringList() << QStringList{"target_part", "ip_address"};
        QTest::newRow("already listed") << Step{{"emz_file", text("{{target_part}}")}}
                                        << QStringList{"target_part"} << QStringList{"target_part"};
        QTest::newRow("case matters")
            << Step{{"emz_file", text("{{Target_Part}}")}} << QStringList{"target_part"}
            << QStringList{"target_part", "Target_Part"};
        QTest::newRow("key order") << Step{{"mode", text("{{b}}")}, {"emz_file", text("{{a}}")}}
                                   << QStringList() << QStringList{"a", "b"};
        QTest::newRow("numbers and flags are not read")
            << Step{{"duration_ms", 12}, {"enabled", true}, {"task", text("wait")}} << QStringList()
            << QStringList();
        QTest::newRow("empty braces") << Step{{"emz_file", text("{{}}")}} << QStringList() << QStringList();
        QTest::newRow("braces inside names")
            << Step{{"emz_file", text("{{a b}}")}} << QStringList() << QStringList{"a b"};
    }

    void variableNames()
    {
        QFETCH(Step, step);
        QFETCH(QStringList, before);
        QFETCH(QStringList, after);
        QStringList names = before;
        JobVariables::collectVariableNames(step, names);
        QCOMPARE(names, after);
    }

    void startAddress_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("value");
        QTest::newRow("hex") << "0x00008000" << 0x8000;
        QTest::newRow("upper prefix") << "0X1F" << 0x1f;
        QTest::newRow("decimal") << "4096" << 4096;
        QTest::newRow("leading zero is decimal") << "010" << 10;
        QTest::newRow("empty") << "" << 0;
        QTest::newRow("prefix only") << "0x" << 0;
        QTest::newRow("not a number") << "start" << 0;
        QTest::newRow("hex digits without prefix") << "8000h" << 0;
    }

    void startAddress()
    {
        QFETCH(QString, text);
        QFETCH(int, value);
        QCOMPARE(JobSteps::parseStartAddress(text), value);
    }

    void formatting()
    {
        QCOMPARE(JobSteps::formatStartAddress(0x8000), QStringLiteral("0x00008000"));
        QCOMPARE(JobSteps::formatStartAddress(0), QStringLiteral("0x00000000"));
        QCOMPARE(JobSteps::formatStartAddress(0x20000000), QStringLiteral("0x20000000"));
        QCOMPARE(JobSteps::formatStartAddress(0xABCDE0), QStringLiteral("0x00abcde0"));
        for (int address : {0, 0x200, 0x8000, 0x1ffffe00})
            QCOMPARE(JobSteps::parseStartAddress(JobSteps::formatStartAddress(address)), address);

        QCOMPARE(JobSteps::durationFromText(QString()), 0);
        QCOMPARE(JobSteps::durationFromText(QStringLiteral("soon")), 0);
        QCOMPARE(JobSteps::durationFromText(QStringLiteral("-5")), 0);
        QCOMPARE(JobSteps::durationFromText(QStringLiteral("600000")), 600000);

        QCOMPARE(JobSteps::flashFlagWords(),
                 (QStringList{QStringLiteral("force"), QStringLiteral("reset_after_flash"),
                              QStringLiteral("verify_after_flash"), QStringLiteral("halt_after_flash")}));
    }

    void commandLines()
    {
        const QStringList arguments{QStringLiteral("device"), QStringLiteral("info"),
                                    QStringLiteral("my file")};
        const QString line = JobSteps::joinCommandArguments(arguments);
        QCOMPARE(line, QStringLiteral("device info \"my file\""));
        QCOMPARE(QProcess::splitCommand(line), arguments);
        QCOMPARE(JobSteps::joinCommandArguments({}), QString());
        // Only spaces trigger quoting; tabs stay as they are.
        QCOMPARE(JobSteps::joinCommandArguments({QStringLiteral("a\tb"), QStringLiteral(" ")}),
                 QStringLiteral("a\tb \" \""));
    }
};

HARNWICK_TEST(TestJobSteps)
#include "tst_jobsteps.moc"
