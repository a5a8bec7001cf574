#include "../batch/batchtestfiles.h"
#include "batchutil.h"
#include "commandlinerun.h"
#include "forkedprocess.h"
#include "interruptwatcher.h"
#include "settingsutil.h"
#include "simulatorsession.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QDateTime>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>
#include <QTextStream>
#include <QTimer>

#include <csignal>

namespace {

BatchUtil::DeviceEntry device(quint32 serial, const char* nickname = "", bool selected = true,
                              BatchUtil::ConnectionType type = BatchUtil::Usb, const char* ip = "")
{
    BatchUtil::DeviceEntry entry;
    entry.serialNumber = serial;
    entry.nickname = QString::fromLatin1(nickname);
    entry.selected = selected;
    entry.connectionType = type;
    entry.ip = QString::fromLatin1(ip);
    return entry;
}

QMap<QString, QVariant> step(const char* task, const QMap<QString, QVariant>& values = {})
{
    QMap<QString, QVariant> map = values;
    map.insert(QStringLiteral("task"), QString::fromLatin1(task));
    map.insert(QStringLiteral("enabled"), true);
    return map;
}

struct Outcome
{
    int exitCode = -1;
    QString out, err;
};

} // namespace

// "harnwick --run" in process: the same class main() uses, with its output captured.
class TestCommandLineRun : public QObject
{
    Q_OBJECT

    SimulatorSession session{SimulatorSession::faultyFleet()};
    QString sixDevices, unchecked;

    static Outcome run(const QStringList& arguments, const std::function<void(CommandLineRun&)>& during = {})
    {
        Outcome outcome;
        QTextStream out(&outcome.out), err(&outcome.err);
        CommandLineRun run(out, err, false);
        if (during)
            during(run);
        outcome.exitCode = run.exec(QStringList{QStringLiteral("harnwick")} + arguments);
        return outcome;
    }

    // The job is device info, a wait of `waitMs`, a custom command, a mass erase and a flash.
    QString writeBundle(const QString& name, const QList<BatchUtil::DeviceEntry>& devices, int waitMs = 10,
                        const QString& imagePath = QString())
    {
        const QString path = session.filePath(name);
        QFile image(session.filePath(QStringLiteral("app.hex")));
        if (!image.open(QIODevice::WriteOnly) || image.write(QByteArray(4096, '\x3c')) != 4096)
            return QString();
        image.close();
        BatchUtil util;
        const bool written = util.bundleWrite(
            path,
            {step("log_device_info"), step("wait", {{QStringLiteral("duration_ms"), waitMs}}),
             step("run_custom_command", {{QStringLiteral("arguments"),
                                          QStringList({"device", "info", "--label", "{{nickname}}"})}}),
             step("mass_erase_target_device"),
             step("flash_target_device",
                  {{QStringLiteral("image_file"), imagePath.isEmpty() ? image.fileName() : imagePath}})},
            devices, true, QStringLiteral("SWD"), 4000, {});
        return written ? path : QString();
    }

    static QString sha256sum(const QString& path)
    {
        ForkedProcess process;
        process.start(QStringLiteral("sha256sum"), {path});
        return process.waitForFinished(10000) ? QString::fromLatin1(process.readAllStandardOutput().left(64))
                                              : QString();
    }

    // The report's header line that starts with `name`, without the name.
    static QString headerValue(const QString& reportPath, const QString& name)
    {
        const QString text = QString::fromUtf8(BatchTestFiles::readFile(reportPath));
        for (const QString& line : text.split(QStringLiteral("\r\n")))
            if (line.startsWith(name + QLatin1Char(',')))
                return line.mid(name.size() + 1);
        return QStringLiteral("(no %1)").arg(name);
    }

    // The report as a spreadsheet reads it: the run, the image's hash, one row per device.
    void checkReport(const QString& path)
    {
        const QByteArray bytes = BatchTestFiles::readFile(path);
        QVERIFY(bytes.startsWith("\xef\xbb\xbf"));
        const QStringList lines = QString::fromUtf8(bytes.mid(3)).split(QStringLiteral("\r\n"));
        const QString image = session.filePath(QStringLiteral("app.hex"));
        const QString imageHash = sha256sum(image);
        QVERIFY2(lines.contains(QStringLiteral("File SHA-256,%1,%2").arg(imageHash, image)),
                 qPrintable(lines.join('\n')));
        QVERIFY(lines.contains(QStringLiteral("Job file,%1").arg(sixDevices)));
        QCOMPARE(lines.filter(QRegularExpression(QStringLiteral("^Job SHA-256,[0-9a-f]{64}$"))).size(), 1);
        QVERIFY(lines.contains(
            QStringLiteral("Steps,1 log_device_info; 2 wait 10; 3 run_custom_command device info "
                           "--label {{nickname}}; 4 mass_erase_target_device; 5 "
                           "flash_target_device %1")
                .arg(image)));
        const int header = lines.indexOf(QRegularExpression(QStringLiteral("^Device id,Serial number,.*")));
        QVERIFY(header > 0);
        QStringList rows = lines.mid(header + 1);
        rows.removeAll(QString());
        QCOMPARE(rows.size(), 6);
        const auto rowOf = [&rows](const QString& id) {
            return rows.filter(QRegularExpression("^" + id + ",")).value(0).split(QLatin1Char(','));
        };
        QCOMPARE(rowOf("801030007").mid(0, 10),
                 QStringList({"801030007", "801030007", "", "fails", "", "USB", "failed", "2", "wait", "5"}));
        // A crash has a signal and no exit code.
        QCOMPARE(rowOf("801030008").mid(6, 5),
                 QStringList({"crashed", "3", "run_custom_command", "", QString::number(SIGABRT)}));
        // A nickname a spreadsheet would compute stays text.
        QCOMPARE(rowOf("801017733").value(3), QStringLiteral("'=1+2"));
        const QStringList done = rowOf("801020001");
        QCOMPARE(done.mid(1, 8),
                 QStringList({"801020001", "192.0.2.20", "bench-dual", "", "IP", "done", "", ""}));
        QCOMPARE(done.mid(9, 2), QStringList({"0", ""}));
        QVERIFY(QDateTime::fromString(done.value(11), Qt::ISODateWithMs).isValid());
        QVERIFY2(done.value(11).contains(QRegularExpression(QStringLiteral("(Z|[+-]\\d\\d:\\d\\d)$"))),
                 qPrintable(done.value(11)));
        QVERIFY(done.value(14).endsWith(QStringLiteral("801020001.txt")));
    }

private slots:
    void initTestCase()
    {
        sixDevices = writeBundle(QStringLiteral("six.hwj"),
                                 {device(801002345, "bench-left"), device(801002346, "bench-right"),
                                  device(801017733, "=1+2"),
                                  device(801020001, "bench-dual", true, BatchUtil::Ip, "192.0.2.20"),
                                  device(801030007, "fails"), device(801030008, "crashes")});
        unchecked = writeBundle(QStringLiteral("unchecked.hwj"), {device(801002345, "bench-left", false)});
        const QString noImage = writeBundle(QStringLiteral("no-image.hwj"), {device(801002345, "bench-left")},
                                            10, session.filePath(QStringLiteral("absent.hex")));
        QVERIFY(!noImage.isEmpty());
        QVERIFY(!sixDevices.isEmpty() && !unchecked.isEmpty());
    }

    void init()
    {
        TestEnvironment::clearSettings();
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                                 TestEnvironment::simulatorPath());
        SettingsUtil::setSetting(Settings::loggingGroup, Settings::logFileDirectoryKey,
                                 session.filePath(QStringLiteral("logs")));
        SimulatorSession::setSpeed("0");
        session.clearRecord();
    }

    void refusedInvocations_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("message");
        const QString six = session.filePath(QStringLiteral("six.hwj"));
        QTest::newRow("no bundle") << QStringList{"--no-logs", "--run"} << "Missing value after '--run'.";
        QTest::newRow("unknown option") << QStringList{"--run", six, "--fast"} << "Unknown option 'fast'.";
        QTest::newRow("stray argument")
            << QStringList{"--run", six, "extra"} << "Unexpected argument \"extra\".";
        QTest::newRow("concurrency 0") << QStringList{"--run", six, "--concurrency", "0"}
                                       << "--concurrency takes a whole number from 1 to 100, not \"0\".";
        QTest::newRow("timeout text")
            << QStringList{"--run", six, "--timeout", "soon"} << "--timeout takes a whole number of seconds";
        QTest::newRow("logs both ways") << QStringList{"--run", six, "--no-logs", "--log-dir", "/tmp/x"}
                                        << "--log-dir and --no-logs cannot be used together.";
        QTest::newRow("missing bundle")
            << QStringList{"--run", session.filePath("absent.hwj")}
            << QStringLiteral("The job bundle \"%1\" does not exist").arg(session.filePath("absent.hwj"));
        QTest::newRow("unknown device") << QStringList{"--run", six, "--devices", "801002345,801099999"}
                                        << QStringLiteral("Device \"801099999\" is not in the job bundle");
        QTest::newRow("image missing")
            << QStringList{"--run", session.filePath("no-image.hwj")}
            << QStringLiteral("harnwick: Action 5: the file \"%1\" does not exist or cannot be read.")
                   .arg(session.filePath("absent.hex"));
        QTest::newRow("report is a folder") << QStringList{"--run", six, "--report", session.filePath("")}
                                            << QStringLiteral("is a folder; name a file.");
        QTest::newRow("report folder missing")
            << QStringList{"--run", six, "--report", session.filePath("absent/run.csv")}
            << QStringLiteral("The folder of the report \"%1\" does not exist.")
                   .arg(session.filePath("absent/run.csv"));
        QTest::newRow("report unwritable") << QStringList{"--run", six, "--report", "/proc/harnwick-run.csv"}
                                           << "The report \"/proc/harnwick-run.csv\" cannot be written: ";
        QTest::newRow("nothing checked")
            << QStringList{"--run", session.filePath("unchecked.hwj")} << "has no checked devices";
    }

    void refusedInvocations()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, message);
        const Outcome outcome = run(arguments);
        QCOMPARE(outcome.exitCode, 2);
        QVERIFY2(outcome.err.contains(message), qPrintable(outcome.err));
        QCOMPARE(outcome.out, QString());
        QVERIFY(session.batchInvocations().isEmpty());
    }

    void unusableInputs()
    {
        // A corrupt bundle is named with the reader's reason.
        const QString corrupt = session.filePath(QStringLiteral("corrupt.hwj"));
        QFile file(corrupt);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("PK\x03\x04 not an archive") > 0);
        file.close();
        Outcome outcome = run({QStringLiteral("--run"), corrupt});
        QCOMPARE(outcome.exitCode, 2);
        QCOMPARE(outcome.err,
                 QStringLiteral("harnwick: %1 is not a valid job bundle (not a zip archive): it has no zip "
                                "directory\n")
                     .arg(corrupt));
        QFile empty(session.filePath(QStringLiteral("empty.hwj")));
        QVERIFY(empty.open(QIODevice::WriteOnly));
        empty.close();
        outcome = run({QStringLiteral("--run"), empty.fileName()});
        QVERIFY2(outcome.exitCode == 2 &&
                     outcome.err.contains(QStringLiteral("(not a zip archive): the file is empty")),
                 qPrintable(outcome.err));
        // An archive that holds no job: named as such, without the unpacking's command or temporary paths.
        const QString stray = session.filePath(QStringLiteral("stray.hwj"));
        ForkedProcess zip;
        zip.start(QStringLiteral("zip"),
                  {QStringLiteral("-j"), stray, session.filePath(QStringLiteral("fleet.yaml"))});
        QVERIFY(zip.waitForFinished(10000) && QFileInfo(stray).isFile());
        outcome = run({QStringLiteral("--run"), stray});
        QCOMPARE(outcome.exitCode, 2);
        QVERIFY2(
            outcome.err.startsWith(QStringLiteral("harnwick: %1 is not a valid job bundle: ").arg(stray)) &&
                !outcome.err.contains(session.temporaryFolder()) &&
                !outcome.err.contains(QStringLiteral("unzip")),
            qPrintable(outcome.err));
        // An archive's end record and nothing before it: the unpacking itself fails, and is
        // told with the file's name, not the command's.
        QFile endOnly(session.filePath(QStringLiteral("end-only.hwj")));
        QVERIFY(endOnly.open(QIODevice::WriteOnly) &&
                endOnly.write(QByteArray(64, 'x') + QByteArray("PK\x05\x06") + QByteArray(18, '\0')) > 0);
        endOnly.close();
        outcome = run({QStringLiteral("--run"), endOnly.fileName()});
        QCOMPARE(outcome.exitCode, 2);
        QVERIFY2(outcome.err.startsWith(
                     QStringLiteral("harnwick: %1 is not a valid job bundle: ").arg(endOnly.fileName())) &&
                     outcome.err.contains(QStringLiteral("'%1'").arg(endOnly.fileName())) &&
                     !outcome.err.contains(session.temporaryFolder() + QStringLiteral("/Harnwick-")) &&
                     !outcome.err.contains(QStringLiteral("unzip")),
                 qPrintable(outcome.err));

        // An executable that does not answer "batch -h" runs nothing.
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                                 QStringLiteral("/bin/false"));
        outcome = run({QStringLiteral("--run"), sixDevices});
        QCOMPARE(outcome.exitCode, 2);
        QVERIFY2(outcome.err.contains(QStringLiteral("The Corvane executable \"/bin/false\" cannot be run")),
                 qPrintable(outcome.err));
        // --corvane names the executable for the run, over the setting.
        outcome = run({"--run", unchecked, "--devices", "801002345", "--no-logs", "--corvane",
                       TestEnvironment::simulatorPath()});
        QCOMPARE(outcome.exitCode, 0);
        QCOMPARE(session.batchInvocations().size(), 1);
        session.clearRecord();
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                                 TestEnvironment::simulatorPath());
        outcome = run({"--run", sixDevices, "--corvane", "/bin/false"});
        QVERIFY2(outcome.exitCode == 2 && outcome.err.contains(QStringLiteral(
                                              "The Corvane executable \"/bin/false\" cannot be run")),
                 qPrintable(outcome.err));

        outcome = run({QStringLiteral("--help")});
        QCOMPARE(outcome.exitCode, 0);
        QVERIFY(outcome.out.startsWith(QStringLiteral("Usage: harnwick --run BUNDLE.hwj [options]")));
        outcome = run({QStringLiteral("--version")});
        QCOMPARE(outcome.exitCode, 0);
        QCOMPARE(outcome.out, QStringLiteral("Harnwick %1\n").arg(QCoreApplication::applicationVersion()));
        QVERIFY(session.batchInvocations().isEmpty());
    }

    void runsTheCheckedDevices()
    {
        const QString logs = session.filePath(QStringLiteral("cli-logs"));
        const QString reportPath = session.filePath(QStringLiteral("reports/line3.csv"));
        QDir().mkpath(session.filePath(QStringLiteral("reports")));
        Outcome outcome = run({"--run", sixDevices, "--log-dir", logs, "--timeout", "7", "--concurrency", "3",
                               "--report", reportPath});
        QCOMPARE(outcome.exitCode, 1);
        const QStringList lines = outcome.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 7);
        const auto lineOf = [&lines](const QString& id) {
            for (const QString& line : lines)
                if (line.contains(QStringLiteral("  %1  ").arg(id)))
                    return line;
            return QString();
        };
        for (const char* id : {"801002345", "801002346", "801017733", "801020001"})
            QVERIFY2(lineOf(id).startsWith(QStringLiteral("DONE")), qPrintable(outcome.out));
        QVERIFY2(lineOf("801002345").contains(QStringLiteral("  bench-left  ")), qPrintable(outcome.out));
        QVERIFY2(QRegularExpression(QStringLiteral("^FAILED +801030007  fails  .+  during action 2: ERROR: "
                                                   "Simulated failure\\.$"))
                     .match(lineOf("801030007"))
                     .hasMatch(),
                 qPrintable(lineOf("801030007")));
        QVERIFY2(lineOf("801030008").startsWith(QStringLiteral("CRASHED")) &&
                     lineOf("801030008").contains(QStringLiteral("during action 3: ")),
                 qPrintable(lineOf("801030008")));
        QVERIFY2(lines.last().startsWith(
                     QStringLiteral("6 devices: 4 done, 1 failed, 1 crashed, 0 aborted, 0 not started, in ")),
                 qPrintable(lines.last()));

        const QList<QStringList> runs = session.batchInvocations();
        QCOMPARE(runs.size(), 6);
        QStringList logFiles;
        for (const QStringList& arguments : runs) {
            QCOMPARE(arguments.mid(arguments.size() - 2), QStringList({"--timeout", "7"}));
            const QFileInfo logFile(arguments.value(arguments.indexOf(QStringLiteral("--logfile")) + 1));
            QVERIFY2(logFile.isFile() && logFile.path() == QDir(logs).absolutePath(),
                     qPrintable(logFile.filePath()));
            logFiles << logFile.fileName();
        }
        logFiles.sort();
        QCOMPARE(logFiles, QStringList({"801002345.txt", "801002346.txt", "801017733.txt", "801020001.txt",
                                        "801030007.txt", "801030008.txt"}));
        checkReport(reportPath);
        // With logs, the same report stands in the log folder.
        const QStringList logReports = QDir(logs).entryList({QStringLiteral("run_*.csv")});
        QCOMPARE(logReports.size(), 1);
        QCOMPARE(BatchTestFiles::readFile(QDir(logs).filePath(logReports.constFirst())),
                 BatchTestFiles::readFile(reportPath));
        QCOMPARE(session.runFolders(), QStringList());

        // Named devices run whether checked or not; without logs no log file is named.
        session.clearRecord();
        outcome = run({"--run", unchecked, "--devices", "801002345", "--no-logs"});
        QCOMPARE(outcome.exitCode, 0);
        QVERIFY2(outcome.out.startsWith(QStringLiteral("DONE         801002345  bench-left  ")),
                 qPrintable(outcome.out));
        QVERIFY2(
            outcome.out.contains(QStringLiteral("\n1 device: 1 done, 0 failed, 0 crashed, 0 aborted, 0 not "
                                                "started, in ")),
            qPrintable(outcome.out));
        QCOMPARE(session.batchInvocations().size(), 1);
        QVERIFY(!session.batchInvocations().constFirst().contains(QStringLiteral("--logfile")));
    }

    // The report names the job file with the hash sha256sum gives, and a job hash that is the
    // same for every run of the same job and differs for another job.
    void reportTracesTheJobFile()
    {
        QStringList jobHashes;
        for (const char* name : {"first.csv", "second.csv", "other.csv"}) {
            const QString bundle = QLatin1String(name) == QLatin1String("other.csv") ? sixDevices : unchecked;
            const QString report = session.filePath(QString::fromLatin1(name));
            const Outcome outcome =
                run({"--run", bundle, "--devices", "801002345", "--no-logs", "--report", report});
            QCOMPARE(outcome.exitCode, 0);
            // Archives keep times to two seconds: a hash of anything written anew for the run
            // would differ between runs this far apart.
            if (jobHashes.isEmpty())
                QTest::qWait(2100);
            QCOMPARE(headerValue(report, QStringLiteral("Job file")), bundle);
            QCOMPARE(headerValue(report, QStringLiteral("Job file SHA-256")), sha256sum(bundle));
            jobHashes << headerValue(report, QStringLiteral("Job SHA-256"));
            QVERIFY2(QRegularExpression(QStringLiteral("^[0-9a-f]{64}$")).match(jobHashes.last()).hasMatch(),
                     qPrintable(jobHashes.last()));
        }
        QCOMPARE(jobHashes.at(0), jobHashes.at(1));
        QVERIFY(jobHashes.at(2) != jobHashes.at(0));
    }

    // Without any display, a window is not attempted; a platform named in any way lets it be.
    void noDisplay()
    {
        const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
        const QByteArray display = qgetenv("DISPLAY");
        const QByteArray wayland = qgetenv("WAYLAND_DISPLAY");
        for (const char* name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
            qunsetenv(name);
        const QString none = CommandLineRun::noDisplayMessage({"harnwick", "line3.hwj"});
        const QString noJob = CommandLineRun::noDisplayMessage({"harnwick"});
        const QString platformArgument =
            CommandLineRun::noDisplayMessage({"harnwick", "-platform", "offscreen", "line3.hwj"});
        qputenv("WAYLAND_DISPLAY", "wayland-0");
        const QString withWayland = CommandLineRun::noDisplayMessage({"harnwick", "line3.hwj"});
        qunsetenv("WAYLAND_DISPLAY");
        qputenv("DISPLAY", ":0");
        const QString withX = CommandLineRun::noDisplayMessage({"harnwick", "line3.hwj"});
        qputenv("QT_QPA_PLATFORM", platform);
        display.isNull() ? qunsetenv("DISPLAY") : qputenv("DISPLAY", display);
        if (!wayland.isNull())
            qputenv("WAYLAND_DISPLAY", wayland);
        QCOMPARE(none, QStringLiteral(
                           "harnwick: no display: use harnwick --run line3.hwj to run it without a window"));
        QVERIFY(noJob.contains(QStringLiteral("harnwick --run JOB.hwj")));
        QCOMPARE(platformArgument, QString());
        QCOMPARE(withWayland, QString());
        QCOMPARE(withX, QString());
    }

    // Two programs started on one bundle at once: every adapter is run by one of them,
    // the other names it busy with the holder's process id, also for devices waiting for a slot.
    void twoProgramsShareNoAdapter()
    {
        SimulatorSession::setSpeed("1");
        const QString slow = writeBundle(
            QStringLiteral("shared.hwj"),
            {device(801002345, "bench-left"), device(801002346, "bench-right"), device(801017733, "rack-a1")},
            500);
        ForkedProcess first, second;
        for (QProcess* process : {&first, &second})
            process->start(TestEnvironment::programPath(QStringLiteral(HARNWICK_PROGRAM_PATH)),
                           {"--run", slow, "--no-logs", "--concurrency", "1"});
        // Known only while they run.
        const qint64 pids[] = {first.processId(), second.processId()};
        for (QProcess* process : {&first, &second})
            QVERIFY(process->waitForFinished(60000));
        const QString outputs[] = {QString::fromUtf8(first.readAllStandardOutput()),
                                   QString::fromUtf8(second.readAllStandardOutput())};
        const QString both = outputs[0] + QStringLiteral("\n----\n") + outputs[1] +
                             QStringLiteral("\npids %1 %2").arg(pids[0]).arg(pids[1]);
        for (const char* id : {"801002345", "801002346", "801017733"}) {
            int ran = -1;
            for (int index : {0, 1})
                if (QRegularExpression(QStringLiteral("^DONE +%1 ").arg(id),
                                       QRegularExpression::MultilineOption)
                        .match(outputs[index])
                        .hasMatch())
                    ran = ran == -1 ? index : 2;
            QVERIFY2(ran == 0 || ran == 1, qPrintable(both));
            const QRegularExpression busy(
                QStringLiteral("^NOT STARTED  %1  \\S+  Busy: run by another Harnwick, process %2$")
                    .arg(id)
                    .arg(pids[ran]),
                QRegularExpression::MultilineOption);
            QVERIFY2(busy.match(outputs[1 - ran]).hasMatch(), qPrintable(both));
        }
        QVERIFY(first.exitCode() == 1 || second.exitCode() == 1);
        QCOMPARE(session.batchInvocations().size(), 3);
        QStringList devices;
        for (const QStringList& arguments : session.batchInvocations())
            devices << arguments.value(arguments.indexOf(QStringLiteral("--serialno")) + 1);
        devices.sort();
        QCOMPARE(devices, QStringList({"801002345", "801002346", "801017733"}));
    }

    // Ctrl+C, through the real signal path: the first aborts the waiting devices,
    // the second ends the running one.
    void interruptAbortsThenEnds()
    {
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::maxConcurrentProcessesKey, 1);
        SimulatorSession::setSpeed("1");
        const QString slow = writeBundle(
            QStringLiteral("slow.hwj"),
            {device(801002345, "bench-left"), device(801002346, "bench-right"), device(801017733, "rack-a1")},
            20000);
        InterruptWatcher watcher;
        QVERIFY(watcher.isWatching());
        // Once the first device's tool is under way (it has recorded its call), Ctrl+C, then SIGTERM.
        QTimer poll;
        int raised = 0;
        connect(&poll, &QTimer::timeout, this, [this, &raised] {
            if (raised == 0 && !session.batchInvocations().isEmpty())
                std::raise(raised = SIGINT);
            else if (raised == SIGINT)
                std::raise(raised = SIGTERM);
        });
        const Outcome outcome = run({"--run", slow, "--no-logs"}, [&watcher, &poll](CommandLineRun& run) {
            connect(&watcher, &InterruptWatcher::interrupted, &run, &CommandLineRun::interrupt);
            poll.start(200);
        });
        QCOMPARE(outcome.exitCode, 1);
        QVERIFY2(outcome.err.contains(QStringLiteral("Press Ctrl+C again")) &&
                     outcome.err.contains(QStringLiteral("Ending the running devices now.")),
                 qPrintable(outcome.err));
        QVERIFY2(outcome.out.contains(QStringLiteral("ABORTED      801002346  bench-right")) &&
                     outcome.out.contains(QStringLiteral("ABORTED      801017733  rack-a1")) &&
                     outcome.out.contains(QStringLiteral("ABORTED      801002345  bench-left  ")) &&
                     outcome.out.contains(QStringLiteral("ended on request")),
                 qPrintable(outcome.out));
        QCOMPARE(session.batchInvocations().size(), 1);
        QCOMPARE(session.runFolders(), QStringList());
    }
};

HARNWICK_TEST(TestCommandLineRun)
#include "tst_commandlinerun.moc"
