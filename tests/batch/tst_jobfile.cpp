#include "batchtestfiles.h"
#include "batchutil.h"
#include "testregistry.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

using Step = QMap<QString, QVariant>;

class TestJobFile : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;

private slots:
    void roundTrip()
    {
        const QString path = m_folder.filePath(QStringLiteral("job-common.yaml"));
        const QList<Step> steps{
            {{"task", "run_custom_command"},
             {"enabled", true},
             {"arguments", QStringList{"device", "info", "my file", "{{serial_number}}"}},
             {"append_connection_option", false}},
            {{"task", "flash_target_device"},
             {"enabled", false},
             {"image_file", QString::fromUtf8("/srv/Prüfplatz/fw: v2.hex")},
             {"start_address", "0x00008000"},
             {"flags", QStringList{"force", "verify_after_flash"}}},
            {{"task", "wait"}, {"enabled", true}, {"duration_ms", 250}, {"flags", QStringList()}},
            {{"nickname", QString()}, {"comment", "null"}}};
        const QStringList parameters{"port", "serial_number", "Nickname"};

        BatchUtil util;
        QSignalSpy infos(&util, &BatchUtil::infoMessage);
        QVERIFY(util.createJobFile(path, steps, parameters));
        QCOMPARE(infos.takeLast().at(0).toString(),
                 QStringLiteral("Job file '%1' written successfully.").arg(path));

        // Parameters come first; in a step, task, enabled, arguments and flags lead, the rest follows sorted.
        const QByteArray text = BatchTestFiles::readFile(path);
        QVERIFY(text.startsWith("parameters:\n  - name: port\n  - name: serial_number\n  - name: Nickname\n"
                                "steps:\n  - task: run_custom_command\n    enabled: true\n    arguments:\n"));
        QVERIFY(text.contains("    enabled: false\n    flags:\n      - force\n      - verify_after_flash\n"
                              "    image_file: "));
        QVERIFY(
            text.contains("  - task: \"\"\n    enabled: false\n    comment: \"null\"\n    nickname: \"\""));

        QList<Step> read;
        QStringList readParameters;
        QVERIFY(util.parseJobFile(path, read, readParameters));
        QCOMPARE(readParameters, parameters);
        QCOMPARE(read.size(), 4);
        const QList<Step> expected{
            {{"task", "run_custom_command"},
             {"enabled", "true"},
             {"arguments", QStringList{"device", "info", "my file", "{{serial_number}}"}},
             {"append_connection_option", "false"}},
            {{"task", "flash_target_device"},
             {"enabled", "false"},
             {"image_file", QString::fromUtf8("/srv/Prüfplatz/fw: v2.hex")},
             {"start_address", "0x00008000"},
             {"flags", QStringList{"force", "verify_after_flash"}}},
            {{"task", "wait"}, {"enabled", "true"}, {"duration_ms", "250"}, {"flags", QStringList()}},
            {{"task", ""}, {"enabled", "false"}, {"nickname", ""}, {"comment", "null"}}};
        for (int i = 0; i < expected.size(); ++i) {
            QCOMPARE(read.at(i).keys(), expected.at(i).keys());
            for (const QString& key : expected.at(i).keys()) {
                QCOMPARE(read.at(i).value(key).type(), expected.at(i).value(key).type());
                QCOMPARE(read.at(i).value(key), expected.at(i).value(key));
            }
        }
    }

    void emptyJob()
    {
        const QString path = m_folder.filePath(QStringLiteral("empty.yaml"));
        BatchUtil util;
        QVERIFY(util.createJobFile(path, {}, {}));
        QCOMPARE(BatchTestFiles::readFile(path), QByteArray("steps:\n  []"));
        QList<Step> steps{{{"task", "stale"}}};
        QStringList parameters{"stale"};
        QVERIFY(util.parseJobFile(path, steps, parameters));
        QVERIFY(steps.isEmpty());
        QVERIFY(parameters.isEmpty());
    }

    void reading_data()
    {
        QTest::addColumn<QByteArray>("document");
        QTest::addColumn<QString>("error");
        QTest::addColumn<int>("stepsRead");
        QTest::addColumn<QStringList>("parametersRead");

        QTest::newRow("no parameters")
            << QByteArray("steps:\n  - task: wait\n    enabled:\n") << QString() << 1 << QStringList();
        QTest::newRow("scalar steps")
            << QByteArray("steps: none\nparameters: [{name: a}]\n") << QString() << 0 << QStringList{"a"};
        QTest::newRow("no steps") << QByteArray("parameters: []\n")
                                  << "Job file is missing required 'steps' array." << 0 << QStringList();
        QTest::newRow("empty file") << QByteArray() << "Job file is missing required 'steps' array." << 0
                                    << QStringList();
        QTest::newRow("step without task")
            << QByteArray("steps:\n  - task: wait\n  - Task: wait\n  - task: log_device_info\n")
            << "Job step is missing required 'task' field." << 1 << QStringList();
        QTest::newRow("flags not a sequence")
            << QByteArray("steps:\n  - {task: a, flags: force}\n")
            << "Job step 'flags' field is not a sequence." << 0 << QStringList();
        QTest::newRow("arguments not a sequence")
            << QByteArray("steps:\n  - {task: a}\n  - {task: b, arguments: {x: y}}\n")
            << "Job step 'arguments' field is not a sequence." << 1 << QStringList();
        QTest::newRow("parameter without name")
            << QByteArray("steps: []\nparameters:\n  - name: a\n  - title: b\n")
            << "Job parameter is missing required 'name' field." << 0 << QStringList{"a"};
    }

    void reading()
    {
        QFETCH(QByteArray, document);
        QFETCH(QString, error);
        QFETCH(int, stepsRead);
        QFETCH(QStringList, parametersRead);
        const QString path = m_folder.filePath(QStringLiteral("reading.yaml"));
        QVERIFY(BatchTestFiles::writeFile(path, document));

        BatchUtil util;
        QSignalSpy errors(&util, &BatchUtil::errorEncountered);
        QList<Step> steps;
        QStringList parameters;
        QCOMPARE(util.parseJobFile(path, steps, parameters), error.isEmpty());
        QCOMPARE(errors.size(), error.isEmpty() ? 0 : 1);
        if (!error.isEmpty())
            QCOMPARE(errors.at(0).at(0).toString(), error);
        QCOMPARE(steps.size(), stepsRead);
        QCOMPARE(parameters, parametersRead);
        if (QByteArray(QTest::currentDataTag()) == "no parameters")
            QCOMPARE(steps.at(0).value("enabled"), QVariant(QStringLiteral("null")));
    }

    void writeFailures()
    {
        BatchUtil util;
        QSignalSpy errors(&util, &BatchUtil::errorEncountered);
        const QString missingFolder = m_folder.filePath(QStringLiteral("no/such/folder/job.yaml"));
        QVERIFY(!util.createJobFile(missingFolder, {}, {}));
        QCOMPARE(errors.takeLast().at(0).toString(),
                 QStringLiteral("Could not open job file '%1' for writing.").arg(missingFolder));
        QVERIFY(!util.createJobFile(QStringLiteral("/dev/full"), {{{"task", "wait"}}}, {}));
        QCOMPARE(errors.takeLast().at(0).toString(), QStringLiteral("Could not write job file '/dev/full'."));
    }
};

HARNWICK_TEST(TestJobFile)
#include "tst_jobfile.moc"
