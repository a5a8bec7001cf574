#include "corvaneprocessrunner.h"
#include "settingsutil.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QCoreApplication>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <cerrno>
#include <sys/resource.h>

// Drives the runner with tiny shell scripts standing in for the executable.
class TestCorvaneProcessRunner : public QObject
{
    Q_OBJECT

    TestEnvironment::ScriptFolder dir;

    struct Run
    {
        QList<QByteArray> lines;
        CorvaneProcessResult result;
    };

    // Runs one task of id "dev" on a script and collects its feedback lines and result.
    Run runOnce(const QString& name, const QString& body)
    {
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey, dir.script(name, body));
        CorvaneProcessRunner runner;
        Run run;
        connect(&runner, &CorvaneProcessRunner::processFeedback, this,
                [&run](const QString&, const QByteArray& line) { run.lines << line; });
        QSignalSpy results(&runner, &CorvaneProcessRunner::taskFinished);
        runner.enqueueTask(task(QStringLiteral("dev")));
        runner.start();
        if (results.wait(10000))
            run.result = results.at(0).at(0).value<CorvaneProcessResult>();
        return run;
    }

    static CorvaneProcessTask task(const QString& id, const QStringList& arguments = {}, int timeout = 0)
    {
        return CorvaneProcessTask{id, arguments, timeout};
    }

private slots:
    void init() { TestEnvironment::clearSettings(); }

    void emptyQueueFinishesAtOnce()
    {
        CorvaneProcessRunner runner;
        QSignalSpy finished(&runner, &CorvaneProcessRunner::allTasksFinished);
        runner.start();
        QCOMPARE(finished.count(), 1);
    }

    void settingsArePickedUpAtStart()
    {
        const QString first = dir.script(QStringLiteral("first"), QStringLiteral("echo first\n"));
        const QString second = dir.script(QStringLiteral("second"), QStringLiteral("echo second\n"));
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey, first);
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::maxConcurrentProcessesKey, 3);

        CorvaneProcessRunner runner;
        QCOMPARE(runner.getExecutablePath(), first);

        // A change after construction only counts from the next start().
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey, second);
        QCOMPARE(runner.getExecutablePath(), first);

        QSignalSpy results(&runner, &CorvaneProcessRunner::taskFinished);
        QSignalSpy done(&runner, &CorvaneProcessRunner::allTasksFinished);
        runner.enqueueTask(task(QStringLiteral("a")));
        runner.start();
        QTRY_COMPARE(done.count(), 1);
        QCOMPARE(results.at(0).at(0).value<CorvaneProcessResult>().stdoutData, QByteArray("second\n"));

        // An empty stored path behaves like none: the file next to the program.
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey, QString());
        runner.refreshExecutablePath();
        QCOMPARE(runner.getExecutablePath(),
                 QCoreApplication::applicationDirPath() + QStringLiteral("/corvane"));
    }

    void defaultExecutableNextToProgram()
    {
        const QString path = QCoreApplication::applicationDirPath() + QStringLiteral("/corvane");
        QFile::remove(path);
        CorvaneProcessRunner runner;
        QSignalSpy started(&runner, &CorvaneProcessRunner::processStarted);
        QSignalSpy results(&runner, &CorvaneProcessRunner::taskFinished);
        QSignalSpy done(&runner, &CorvaneProcessRunner::allTasksFinished);

        // Missing executable: the task is dropped without any signal.
        runner.enqueueTask(task(QStringLiteral("lost")));
        runner.start();
        QTest::qWait(100);
        QCOMPARE(started.count(), 0);
        QCOMPARE(results.count(), 0);
        QCOMPARE(done.count(), 0);
        QCOMPARE(runner.runningTaskCount(), 0);

        QVERIFY(!TestEnvironment::writeScript(QCoreApplication::applicationDirPath(),
                                              QStringLiteral("corvane"), QStringLiteral("echo \"$@\"\n"))
                     .isEmpty());
        runner.enqueueTask(task(QStringLiteral("found"), {QStringLiteral("batch"), QStringLiteral("-h")}));
        runner.start();
        QTRY_COMPARE(done.count(), 1);
        QFile::remove(path);
        QCOMPARE(results.count(), 1);
        const auto result = results.at(0).at(0).value<CorvaneProcessResult>();
        QCOMPARE(result.id, QStringLiteral("found"));
        QCOMPARE(result.stdoutData, QByteArray("batch -h\n"));
    }

    void startFailureStallsTheQueueUntilAnotherFinishes()
    {
        CorvaneProcessRunner runner;
        runner.setMaxConcurrentProcesses(4);
        QSignalSpy started(&runner, &CorvaneProcessRunner::processStarted);
        QSignalSpy done(&runner, &CorvaneProcessRunner::allTasksFinished);
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                                 dir.filePath(QStringLiteral("absent")));
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::maxConcurrentProcessesKey, 4);
        runner.enqueueTask(task(QStringLiteral("x")));
        runner.enqueueTask(task(QStringLiteral("y")));
        runner.start();
        // The first start fails and ends the pass; "y" keeps waiting.
        QTest::qWait(50);
        QCOMPARE(started.count(), 0);
        QCOMPARE(runner.queuedTaskCount(), 1);
        QCOMPARE(done.count(), 0);
    }

    void queueOrderAndLimit_data()
    {
        QTest::addColumn<int>("limit");
        QTest::newRow("one at a time") << 1;
        QTest::newRow("three at a time") << 3;
    }

    // Tasks start in queue order, as many as the limit allows right away, never more at once.
    void queueOrderAndLimit()
    {
        QFETCH(int, limit);
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                                 dir.script(QStringLiteral("nap"), QStringLiteral("sleep 0.1\n")));
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::maxConcurrentProcessesKey, limit);
        CorvaneProcessRunner runner;
        QStringList started;
        int running = 0;
        int peak = 0;
        connect(&runner, &CorvaneProcessRunner::processStarted, this, [&](const QString& id) {
            started << id;
            peak = qMax(peak, ++running);
        });
        connect(&runner, &CorvaneProcessRunner::taskFinished, this, [&] { --running; });
        QSignalSpy done(&runner, &CorvaneProcessRunner::allTasksFinished);
        const QStringList ids = {"1", "2", "3", "4", "5", "6", "7"};
        for (const QString& id : ids)
            runner.enqueueTask(task(id));
        runner.start();
        QCOMPARE(started.size(), limit);
        QTRY_COMPARE_WITH_TIMEOUT(done.count(), 1, 20000);
        QCOMPARE(started, ids);
        QCOMPARE(peak, limit);
        QCOMPARE(running, 0);
    }

    // A hundred at once: the starts go on over several turns of the event loop, still in queue
    // order and within the limit, and the run ends once.
    void manyStartsAtOnce()
    {
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                                 dir.script(QStringLiteral("quick"), QStringLiteral("echo \"$1\"\n")));
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::maxConcurrentProcessesKey, 100);
        CorvaneProcessRunner runner;
        QStringList started, finished;
        connect(&runner, &CorvaneProcessRunner::processStarted, this,
                [&](const QString& id) { started << id; });
        connect(&runner, &CorvaneProcessRunner::taskFinished, this, [&](const CorvaneProcessResult& result) {
            QCOMPARE(result.stdoutData, result.id.toUtf8() + '\n');
            finished << result.id;
        });
        QSignalSpy done(&runner, &CorvaneProcessRunner::allTasksFinished);
        QStringList ids;
        for (int i = 0; i < 120; ++i) {
            ids << QString::number(801100000 + i);
            runner.enqueueTask(task(ids.last(), {ids.last()}));
        }
        runner.start();
        QVERIFY(runner.runningTaskCount() >= 8 && runner.runningTaskCount() <= 100);
        QTRY_COMPARE_WITH_TIMEOUT(done.count(), 1, 60000);
        QCOMPARE(started, ids);
        finished.sort();
        QCOMPARE(finished, ids);
        QTest::qWait(50);
        QCOMPARE(done.count(), 1);
    }

    void feedbackLinesAndResults()
    {
        // One chunk with an empty line in the middle gives exactly two lines;
        // stderr is collected but never reported as feedback.
        auto run = runOnce(QStringLiteral("talk"), QStringLiteral("printf '  a \\n\\nb\\n'\n"
                                                                  "printf 'oops\\n' >&2\n"
                                                                  "exit 7\n"));
        QCOMPARE(run.lines, QList<QByteArray>({"a", "b"}));
        QCOMPARE(run.result.id, QStringLiteral("dev"));
        QCOMPARE(run.result.exitCode, 7);
        QCOMPARE(run.result.stdoutData, QByteArray("  a \n\nb\n"));
        QCOMPARE(run.result.stderrData, QByteArray("oops\n"));

        // Blank lines are reported empty and carriage returns trimmed, in plain ASCII output as in
        // UTF-8 output, where a byte that is not UTF-8 becomes the replacement character.
        run = runOnce(QStringLiteral("blank"), QStringLiteral("printf ' \\t \\nx\\r\\n'\n"));
        QCOMPARE(run.lines, QList<QByteArray>({"", "x"}));
        run = runOnce(QStringLiteral("utf8"), QStringLiteral("printf ' \\t \\n\\303\\244\\r\\n\\377\\n'\n"));
        QCOMPARE(run.lines, QList<QByteArray>({"", "\xc3\xa4", "\xef\xbf\xbd"}));

        // A line cut across two chunks is reported as two lines.
        run = runOnce(QStringLiteral("split"), QStringLiteral("printf 'hal'\nsleep 0.3\nprintf 'f\\n'\n"));
        QCOMPARE(run.lines, QList<QByteArray>({"hal", "f"}));
    }

    void floodsReportEveryLineBeforeTheEnd()
    {
        // Two processes each write a large block and end while the event loop stands still, so
        // each block arrives in one large read; every line of each comes in order, all before
        // that process's end.
        QHash<QString, QByteArray> expected;
        for (const char* id : {"a", "b"}) {
            QByteArray text;
            for (int i = 1; i <= 6000; ++i)
                text += id + QByteArray::number(i) + '\n';
            QFile file(dir.filePath(QLatin1String(id)));
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(text) == text.size());
            expected[QLatin1String(id)] = text.replace('\n', QByteArray());
        }
        const QString exe = dir.script(QStringLiteral("flood"), QStringLiteral("cat \"$1\"\n"));
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey, exe);
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::maxConcurrentProcessesKey, 2);
        CorvaneProcessRunner runner;
        QHash<QString, QByteArray> printed, atEnd;
        connect(&runner, &CorvaneProcessRunner::processFeedback, this,
                [&printed](const QString& id, const QByteArray& line) { printed[id] += line; });
        connect(&runner, &CorvaneProcessRunner::taskFinished, this,
                [&](const CorvaneProcessResult& result) { atEnd[result.id] = printed.value(result.id); });
        QSignalSpy done(&runner, &CorvaneProcessRunner::allTasksFinished);
        for (const char* id : {"a", "b"})
            runner.enqueueTask(task(QLatin1String(id), {dir.filePath(QLatin1String(id))}));
        runner.start();
        QThread::msleep(500);
        QVERIFY(done.wait(30000));
        // A line cut between two reads comes as two pieces, so line ends are left out.
        for (const char* id : {"a", "b"}) {
            QCOMPARE(atEnd.value(QLatin1String(id)).size(), expected.value(QLatin1String(id)).size());
            QVERIFY(atEnd.value(QLatin1String(id)) == expected.value(QLatin1String(id)));
        }
    }

    void processesRunBelowTheProgramsPriority()
    {
        // The script waits until its nice value has been lowered and reports it.
        const QString exe =
            dir.script(QStringLiteral("nicety"), QStringLiteral("for i in $(seq 50); do\n"
                                                                "  n=$(cut -d' ' -f19 /proc/$$/stat)\n"
                                                                "  [ \"$n\" != \"$2\" ] && break\n"
                                                                "  sleep 0.1\n"
                                                                "done\n"
                                                                "echo \"$n\"\n"));
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey, exe);
        errno = 0;
        const int own = getpriority(PRIO_PROCESS, 0);
        QVERIFY(errno == 0);
        CorvaneProcessRunner runner;
        QSignalSpy results(&runner, &CorvaneProcessRunner::taskFinished);
        runner.enqueueTask(task(QStringLiteral("dev"), {QStringLiteral("x"), QString::number(own)}));
        runner.start();
        QVERIFY(results.wait(10000));
        const auto result = results.at(0).at(0).value<CorvaneProcessResult>();
        QCOMPARE(result.stdoutData.trimmed().toInt(), qMin(own + 10, 19));
    }

    void timeoutKillsAndZeroTimeoutDoesNot()
    {
        const QString exe =
            dir.script(QStringLiteral("sleeper"), QStringLiteral("sleep \"$1\"\necho woke\n"));
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey, exe);
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::maxConcurrentProcessesKey, 2);
        CorvaneProcessRunner runner;
        QSignalSpy results(&runner, &CorvaneProcessRunner::taskFinished);
        QSignalSpy done(&runner, &CorvaneProcessRunner::allTasksFinished);
        runner.enqueueTask(task(QStringLiteral("slow"), {QStringLiteral("30")}, 200));
        runner.enqueueTask(task(QStringLiteral("patient"), {QStringLiteral("0.5")}, 0));
        QElapsedTimer clock;
        clock.start();
        runner.start();
        QTRY_COMPARE_WITH_TIMEOUT(done.count(), 1, 10000);
        QVERIFY(clock.elapsed() < 10000);
        QCOMPARE(results.count(), 2);
        for (const QVariantList& args : results) {
            const auto result = args.at(0).value<CorvaneProcessResult>();
            if (result.id == QStringLiteral("slow"))
                QVERIFY(!result.stdoutData.contains("woke"));
            else
                QCOMPARE(result.stdoutData, QByteArray("woke\n"));
        }
    }

    void abortLeavesRunningTasksAlone()
    {
        const QString exe = dir.script(QStringLiteral("work"), QStringLiteral("sleep 0.3\n"));
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey, exe);
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::maxConcurrentProcessesKey, 2);
        CorvaneProcessRunner runner;
        QStringList events;
        connect(&runner, &CorvaneProcessRunner::taskAborted, this,
                [&](const QString& id) { events << QStringLiteral("aborted ") + id; });
        connect(&runner, &CorvaneProcessRunner::taskFinished, this,
                [&](const CorvaneProcessResult& r) { events << QStringLiteral("finished ") + r.id; });
        connect(&runner, &CorvaneProcessRunner::allTasksFinished, this,
                [&] { events << QStringLiteral("all"); });
        for (int i = 1; i <= 5; ++i)
            runner.enqueueTask(task(QString::number(i)));
        runner.start();
        QCOMPARE(runner.runningTaskCount(), 2);
        runner.abortTasksNotYetStarted();
        QCOMPARE(events, QStringList({QStringLiteral("aborted 3"), QStringLiteral("aborted 4"),
                                      QStringLiteral("aborted 5")}));
        QTRY_COMPARE(events.size(), 6);
        QVERIFY(events.at(3).startsWith(QStringLiteral("finished ")));
        QVERIFY(events.at(4).startsWith(QStringLiteral("finished ")));
        QCOMPARE(events.at(5), QStringLiteral("all"));

        // clearQueue discards silently.
        runner.enqueueTask(task(QStringLiteral("gone")));
        runner.clearQueue();
        QCOMPARE(runner.queuedTaskCount(), 0);
        QCOMPARE(events.size(), 6);
    }
};

HARNWICK_TEST(TestCorvaneProcessRunner)
#include "tst_corvaneprocessrunner.moc"
