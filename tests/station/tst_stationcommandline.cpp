#include "batchutil.h"
#include "forkedprocess.h"
#include "settingsutil.h"
#include "simulatorrecord.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>

// "harnwick --station" as a process, against the simulator's hot-plug timelines.
class TestStationCommandLine : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;
    qint64 epochMs = 0;

    QString bundle(int waitMs)
    {
        const QMap<QString, QVariant> wait{{"task", "wait"}, {"enabled", true}, {"duration_ms", waitMs}};
        const QString path = dir.filePath(QStringLiteral("job-%1.hwj").arg(waitMs));
        return BatchUtil().bundleWrite(path, {wait}, {}, false, QString(), 0, {}) ? path : QString();
    }

    // Starts the station on a fleet; the windows count from a moment just ahead.
    std::unique_ptr<ForkedProcess> start(const QByteArray& fleet, const QStringList& arguments)
    {
        QFile file(dir.filePath("fleet.yaml"));
        if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            file.write(fleet);
        file.close();
        QFile::remove(dir.filePath("record.jsonl"));
        epochMs = QDateTime::currentMSecsSinceEpoch() + 500;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("CORVANE_SIM_FLEET", file.fileName());
        environment.insert("CORVANE_SIM_RECORD", dir.filePath("record.jsonl"));
        environment.insert("CORVANE_SIM_SPEED", "1");
        environment.insert("CORVANE_SIM_EPOCH_MS", QString::number(epochMs));
        auto process = std::make_unique<ForkedProcess>();
        process->setProcessEnvironment(environment);
        process->start(TestEnvironment::programPath(QStringLiteral(HARNWICK_PROGRAM_PATH)), arguments);
        return process;
    }

    // Batch runs per adapter serial.
    QMap<QString, int> batchRuns() const
    {
        QMap<QString, int> runs;
        for (const QStringList& arguments : recordedBatchArguments(dir.filePath("record.jsonl")))
            ++runs[arguments.value(arguments.indexOf("--serialno") + 1)];
        return runs;
    }

    static QStringList linesStartingWith(const QByteArray& output, const QString& word)
    {
        QStringList lines;
        for (const QString& line : QString::fromUtf8(output).split('\n')) {
            if (line.startsWith(word))
                lines << line;
        }
        return lines;
    }

private slots:
    void initTestCase()
    {
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                                 TestEnvironment::simulatorPath());
        SettingsUtil::setSetting(Settings::loggingGroup, Settings::loggingEnabledKey, false);
    }

    void badUsage_data()
    {
        QTest::addColumn<QString>("arguments");
        QTest::addColumn<QString>("complaint");
        QTest::newRow("no lot") << "--quantity 3"
                                << "No lot given";
        QTest::newRow("no quantity") << "--lot L1"
                                     << "--quantity";
        QTest::newRow("quantity zero") << "--lot L1 --quantity 0"
                                       << "--quantity";
        QTest::newRow("unknown trigger") << "--lot L1 --quantity 2 --trigger button"
                                         << "button";
        QTest::newRow("poll too fast") << "--lot L1 --quantity 2 --poll 1"
                                       << "--poll";
        QTest::newRow("empty allow list") << "--lot L1 --quantity 2 --allow ,"
                                          << "--allow";
    }

    void badUsage()
    {
        QFETCH(QString, arguments);
        QFETCH(QString, complaint);
        const auto process =
            start("adapters: []\n", QStringList{"--station", bundle(10)} + arguments.split(' '));
        QVERIFY(process->waitForFinished(30000));
        QCOMPARE(process->exitCode(), 2);
        const QByteArray error = process->readAllStandardError();
        QVERIFY2(error.contains(complaint.toUtf8()), error.constData());
        QVERIFY(batchRuns().isEmpty());
    }

    // Boards with their own adapters: one left in place, one bouncing, one not allowed, one failing
    // and re-seated; the lot stops at its quantity before the last boards come.
    void runsTheLotToItsQuantity()
    {
        if (TestEnvironment::slowProcesses())
            QSKIP("The boards come and go on the wall clock, which slow process starts outrun");
        const auto process =
            start("adapters:\n"
                  "  - {serial: 801040021, nickname: line-1, attached: [[300, null]]}\n"
                  "  - {serial: 801040022, nickname: line-2, attached: [[300, 500], [900, null]]}\n"
                  "  - {serial: 801040023, nickname: spare, attached: [[0, null]]}\n"
                  "  - serial: 801040024\n"
                  "    nickname: line-4\n"
                  "    attached: [[300, 2000], [2800, null]]\n"
                  "    faults: [{command: batch, effect: fail, step: 1, exit_code: 5}]\n"
                  "  - {serial: 801040025, nickname: line-5, attached: [[4500, null]]}\n"
                  "  - {serial: 801040026, nickname: line-6, attached: [[7500, null]]}\n"
                  "  - {serial: 801040027, nickname: line-7, attached: [[4500, null]]}\n",
                  {"--station", bundle(300), "--lot", "KL-0042", "--quantity", "3", "--allow", "line-*",
                   "--settle", "600", "--poll", "100"});
        QVERIFY(process->waitForFinished(60000));
        const QByteArray output = process->readAllStandardOutput();
        QVERIFY2(process->exitCode() == 0, output + process->readAllStandardError());
        // The sixth board would settle after the lot is complete: the station has ended by then.
        QVERIFY(QDateTime::currentMSecsSinceEpoch() < epochMs + 8100);

        // Two boards settle together when one more pass completes the lot: only one of them starts.
        QMap<QString, int> runs = batchRuns();
        QCOMPARE(runs.take("801040025") + runs.take("801040027"), 1);
        const QMap<QString, int> expected{{"801040021", 1}, {"801040022", 1}, {"801040024", 2}};
        QCOMPARE(runs, expected);
        const QStringList passes = linesStartingWith(output, "PASS");
        QCOMPARE(passes.size(), 3);
        QVERIFY2(passes.at(0).startsWith("PASS  line-1  801040021  done  "), qPrintable(passes.at(0)));
        QVERIFY2(passes.at(2).startsWith("PASS  line-5  801040025") ||
                     passes.at(2).startsWith("PASS  line-7  801040027"),
                 qPrintable(passes.at(2)));
        const QStringList failures = linesStartingWith(output, "FAIL");
        QCOMPARE(failures.size(), 2);
        QVERIFY2(failures.at(0).startsWith("FAIL  line-4  801040024  failed  ") &&
                     failures.at(0).endsWith("Simulated failure."),
                 qPrintable(failures.at(0)));
        QVERIFY(output.contains("Lot \"KL-0042\" is complete: 3 of 3 passed."));
        // Line-4's board failed twice: one board, two units.
        QVERIFY2(output.trimmed().endsWith("Lot \"KL-0042\": 3 of 3 passed, 1 failed, 5 units, first-pass "
                                           "yield 75.0%, final yield 75.0%"),
                 output.constData());
    }

    // A kill cuts a unit short: the lot goes on from the store's counts, and the unit's slot waits
    // for its board to be taken out instead of starting again on a half-programmed board.
    void lotSurvivesAKill()
    {
        const QByteArray fleet = "adapters:\n"
                                 "  - {serial: 801040051, nickname: bay-1, attached: [[0, null]]}\n"
                                 "  - {serial: 801040052, nickname: bay-2, attached: [[0, null]]}\n";
        const QString database = QStringLiteral("sqlite:") + dir.filePath("lots.sqlite");
        const QStringList arguments{"--station", bundle(3000), "--lot",      "KL-0051", "--quantity",
                                    "3",         "--settle",   "200",        "--poll",  "100",
                                    "--allow",   "bay-*",      "--database", database};
        {
            const auto process = start(fleet, arguments);
            QTRY_COMPARE_WITH_TIMEOUT(batchRuns().size(), 2, 20000);
            ::kill(pid_t(process->processId()), SIGKILL);
            QVERIFY(process->waitForFinished(10000));
        }
        // Both units were cut short; the boards stay in place, so nothing starts and the lot is not
        // complete: the station runs on until it is stopped.
        const auto process = start(fleet, arguments);
        QByteArray output;
        QTRY_COMPARE_WITH_TIMEOUT(
            linesStartingWith(output += process->readAllStandardOutput(), "INTERRUPTED").size(), 2, 20000);
        QTest::qWait(1500);
        QVERIFY(batchRuns().isEmpty());
        ::kill(pid_t(process->processId()), SIGINT);
        QVERIFY(process->waitForFinished(20000));
        QCOMPARE(process->exitCode(), 0);
        output += process->readAllStandardOutput();
        QVERIFY2(output.contains("Lot \"KL-0051\": 0 of 3 passed, 2 failed, 2 units"), output.constData());
    }

    // The first Ctrl+C lets the running unit finish and starts no other; the second cuts it short.
    void interruptFinishesThenEnds()
    {
        const QByteArray fleet = "adapters:\n"
                                 "  - {serial: 801040031, attached: [[0, null]]}\n"
                                 "  - {serial: 801040032, attached: [[2500, null]]}\n";
        const QStringList arguments{"--station", bundle(2500), "--lot",    "KL-0043", "--quantity", "5",
                                    "--allow",   "80104003*",  "--settle", "300",     "--poll",     "100"};
        for (const int presses : {1, 2}) {
            const auto process = start(fleet, arguments);
            QTRY_COMPARE_WITH_TIMEOUT(batchRuns().value("801040031"), 1, 20000);
            for (int i = 0; i < presses; ++i) {
                ::kill(pid_t(process->processId()), SIGINT);
                QTest::qWait(200);
            }
            QTRY_COMPARE_WITH_TIMEOUT(process->state(), QProcess::NotRunning, 30000);
            const QByteArray output = process->readAllStandardOutput();
            const QByteArray error = process->readAllStandardError();
            QVERIFY2(error.contains("Stopping"), output + error);
            QCOMPARE(batchRuns(), (QMap<QString, int>{{"801040031", 1}}));
            if (presses == 1) {
                QCOMPARE(process->exitCode(), 0);
                QCOMPARE(linesStartingWith(output, "PASS").size(), 1);
            } else {
                QCOMPARE(process->exitCode(), 1);
                QCOMPARE(linesStartingWith(output, "FAIL").size(), 1);
            }
        }
    }
};

HARNWICK_TEST(TestStationCommandLine)
#include "tst_stationcommandline.moc"
