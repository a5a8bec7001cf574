#include "../devices/devicepagehelpers.h"
#include "actionpagehelpers.h"
#include "commandlinerun.h"
#include "corporatecolors.h"
#include "corvaneprocessrunner.h"
#include "deviceselectorcolumns.h"
#include "flashingrowstyledelegate.h"
#include "settingsutil.h"
#include "simulatorsession.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>
#include <QTextStream>

namespace {

const QString elapsed = QStringLiteral("(\\d+ ms|\\d+\\.\\d\\d s|\\d+ m \\d+ s)");

struct Device
{
    QString serial, ip, part, nickname;
    bool viaIp = false;
    bool checked = true;
};

} // namespace

// Job runs end to end: the page, the runner and the device simulator with its invocation record.
class TestJobRun : public QObject, private DevicePage
{
    Q_OBJECT

    SimulatorSession session{SimulatorSession::faultyFleet()};
    const QString logDirectory = session.filePath(QStringLiteral("logs"));

    static void addDevices(BulkOperationsWidget& page, const QList<Device>& devices)
    {
        for (const Device& device : devices) {
            page.addDeviceToTable(device.serial, device.ip, device.part, device.nickname, true,
                                  !device.ip.isEmpty(), device.checked, true);
            if (device.viaIp)
                combo(page, model(page)->rowCount() - 1)->setCurrentText(QStringLiteral("IP"));
        }
    }

    static QGroupBox* addAction(BulkOperationsWidget& page, BulkAction type, const char* field = nullptr,
                                const QString& text = QString(), bool enabled = true)
    {
        QGroupBox* box = ActionPage::addTyped(page, type, enabled);
        if (field)
            ActionPage::field<QLineEdit>(box, type, field)->setText(text);
        return box;
    }

    // Presses Run and waits for the runner to report the end of the run.
    static void runToEnd(BulkOperationsWidget& page)
    {
        QSignalSpy finished(page.processRunner(), &CorvaneProcessRunner::allTasksFinished);
        ActionPage::runButton(page)->click();
        QCOMPARE(ActionPage::runButton(page)->text(), QStringLiteral("Abort"));
        QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 1, 60000);
        QCOMPARE(ActionPage::runButton(page)->text(), QStringLiteral("Run"));
    }

private slots:
    void init()
    {
        TestEnvironment::clearSettings();
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                                 TestEnvironment::simulatorPath());
        SettingsUtil::setSetting(Settings::loggingGroup, Settings::logFileDirectoryKey, logDirectory);
        SimulatorSession::setSpeed("0");
        session.clearRecord();
        QDir(logDirectory).removeRecursively();
    }

    void batchArgumentsFromTheRecord()
    {
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::processTimeoutSecondsKey, 45);
        BulkOperationsWidget page;
        addDevices(page, {{"801002345", "", "KM32G101F512", "bench-left"},
                          {"801017734", "", "", ""},
                          {"801020001", "192.0.2.20", "KX12B016A128", "bench-dual", true},
                          {"801017733", "", "", "rack-a1", false, false},
                          {"", "", "", "no-serial"}});
        addAction(page, BulkAction::RunCustomCommand, "customCommandLineEdit",
                  QStringLiteral("device info --serialno {{serial_number}} --name {{nickname}}"));
        addAction(page, BulkAction::RunCustomCommand, "customCommandLineEdit",
                  QStringLiteral("device info --device {{target_part}}"), false);

        // A variable with nothing to fill in is caught before anything starts.
        ActionPage::runButton(page)->click();
        QCOMPARE(errorText(page),
                 QStringLiteral("ERROR: Action 1 uses {{nickname}}, which is empty for 801017734: "
                                "give the adapter a nickname with the tool, or uncheck those devices."));
        QCOMPARE(ActionPage::runButton(page)->text(), QStringLiteral("Run"));
        QVERIFY(session.batchInvocations().isEmpty());
        model(page)->item(1, DeviceNicknameColumn)->setText(QStringLiteral("rack-b2"));

        const QDateTime before = QDateTime::currentDateTime();
        runToEnd(page);
        const QList<QStringList> runs = session.batchInvocations();
        QCOMPARE(runs.size(), 3);
        const QFileInfo bundle(runs[0].value(1));
        QVERIFY2(matches(QStringLiteral("bulk_operation_\\d{8}_\\d{6}\\.hwj"), bundle.fileName()),
                 qPrintable(bundle.fileName()));
        const QDateTime stamp =
            QDateTime::fromString(bundle.completeBaseName().mid(15), QStringLiteral("yyyyMMdd_HHmmss"));
        QVERIFY(stamp.secsTo(before) <= 0 && stamp <= QDateTime::currentDateTime());
        QCOMPARE(QFileInfo(bundle.absolutePath()).absolutePath(), session.temporaryFolder());
        const QString path = bundle.filePath(), timeout = QStringLiteral("45");
        const QDir logs(logDirectory);
        QCOMPARE(runs, (QList<QStringList>{
                           {"batch", path, "--ip", "192.0.2.20", "--device", "KX12B016A128", "--parameter",
                            "serial_number:801020001", "--parameter", "nickname:bench-dual", "--logfile",
                            logs.absoluteFilePath("801020001.txt"), "--timeout", timeout},
                           {"batch", path, "--serialno", "801002345", "--device", "KM32G101F512",
                            "--parameter", "serial_number:801002345", "--parameter", "nickname:bench-left",
                            "--logfile", logs.absoluteFilePath("801002345.txt"), "--timeout", timeout},
                           {"batch", path, "--serialno", "801017734", "--parameter",
                            "serial_number:801017734", "--parameter", "nickname:rack-b2", "--logfile",
                            logs.absoluteFilePath("801017734.txt"), "--timeout", timeout}}));
        // The run's folder went with the run; each device wrote its own log.
        QVERIFY(!bundle.dir().exists());
        QCOMPARE(logs.entryList({QStringLiteral("*.txt")}, QDir::Files),
                 QStringList({"801002345.txt", "801017734.txt", "801020001.txt"}));
        QFile log(logs.filePath(QStringLiteral("801002345.txt")));
        QVERIFY(log.open(QIODevice::ReadOnly));
        QVERIFY(log.readAll().contains("Running custom command: corvane device info --serialno 801002345"));

        // Without logging: no log argument, no files; the time limit is always passed.
        QDir(logDirectory).removeRecursively();
        session.clearRecord();
        SettingsUtil::setSetting(Settings::loggingGroup, Settings::loggingEnabledKey, false);
        runToEnd(page);
        const QList<QStringList> quiet = session.batchInvocations();
        QCOMPARE(quiet.size(), 3);
        for (const QStringList& arguments : quiet) {
            QVERIFY(!arguments.contains(QStringLiteral("--logfile")));
            QCOMPARE(arguments.mid(arguments.size() - 2), QStringList({"--timeout", timeout}));
        }
        QVERIFY(quiet[0].value(1) != path && !QFileInfo(quiet[0].value(1)).dir().exists());
        QVERIFY(!QDir(logDirectory).exists() || QDir(logDirectory).entryList(QDir::Files).isEmpty());
    }

    void failureAtAnAction()
    {
        BulkOperationsWidget page;
        addDevices(page, {{"801030007", "", "", ""}, {"801002345", "", "", ""}, {"801030008", "", "", ""}});
        addAction(page, BulkAction::LogDeviceInfo);
        addAction(page, BulkAction::Wait, "durationLineEdit", QStringLiteral("10"));
        addAction(page, BulkAction::MassEraseTargetDevice);
        runToEnd(page);

        const QString failed = QStringLiteral("ERROR: Job failed during action %1 \\(elapsed: %2\\)");
        QVERIFY2(matches(failed.arg(2).arg(elapsed), status(page, 0)), qPrintable(status(page, 0)));
        // The tool tip leads with how the process ended and the tool's error line.
        QVERIFY2(toolTip(page, 0).startsWith(
                     QStringLiteral("The process ended with exit code 5.\nERROR: Simulated failure.\n\n"
                                    "Process output:\n\nJob bundle: bulk_operation_")),
                 qPrintable(toolTip(page, 0)));
        QVERIFY(toolTip(page, 0).contains(QStringLiteral("\nRunning action 2: wait\n")));
        QVERIFY(toolTip(page, 0).endsWith(QStringLiteral("\nERROR: Simulated failure.\n")));
        QCOMPARE(flashColor(page, 0), CORPORATE_RED);
        QVERIFY(status(page, 1).startsWith(QStringLiteral("DONE (elapsed: ")));
        // A process that dies from a signal failed too.
        QVERIFY2(matches(failed.arg(3).arg(elapsed), status(page, 2)), qPrintable(status(page, 2)));
        QVERIFY2(toolTip(page, 2).startsWith(QStringLiteral("The process was ended by signal ")),
                 qPrintable(toolTip(page, 2)));
        // The last run's result stays beside Run, a crash counted apart; the failures can be picked again.
        QVERIFY2(
            matches(QStringLiteral("Last run: 1 done, 1 failed, 1 crashed, 0 aborted of 3 in ") + elapsed,
                    child<QLabel>(page, "totalsLabel")->text()),
            qPrintable(child<QLabel>(page, "totalsLabel")->text()));
        page.deviceSelectorCheckOnlyUnsuccessfulDevices();
        QCOMPARE(QList<bool>({isChecked(page, 0), isChecked(page, 1), isChecked(page, 2)}),
                 QList<bool>({true, false, true}));
        // The run's report stands in the log folder, one row per device.
        const QStringList reports = QDir(logDirectory).entryList({QStringLiteral("run_*.csv")});
        QCOMPARE(reports.size(), 1);
        QFile report(QDir(logDirectory).filePath(reports.constFirst()));
        QVERIFY(report.open(QIODevice::ReadOnly));
        QCOMPARE(report.readAll().count("\r\n80103000"), 2);
        QCOMPARE(flashColor(page, 2), CORPORATE_RED);
    }

    // An image changed on disk after it was chosen is named before it goes onto a board.
    void changedImageBlocksRun()
    {
        QFile image(session.filePath(QStringLiteral("guarded.hex")));
        QVERIFY(image.open(QIODevice::WriteOnly) && image.write(":00000001FF\n") > 0);
        image.close();
        BulkOperationsWidget page;
        addDevices(page, {{"801002345", "", "", "bench-left"}});
        addAction(page, BulkAction::FlashTargetDevice, "appFileLineEdit", image.fileName());
        QVERIFY(image.open(QIODevice::Append) && image.write(":00000001FF\n") > 0);
        image.close();
        ActionPage::runButton(page)->click();
        QCOMPARE(errorText(page),
                 QStringLiteral("ERROR: The file \"%1\" has changed since the job was loaded or "
                                "edited. Press Run again to use it as it is now.")
                     .arg(image.fileName()));
        QVERIFY(session.batchInvocations().isEmpty());
        runToEnd(page);
        QCOMPARE(session.batchInvocations().size(), 1);
        QVERIFY2(status(page, 0).startsWith(QStringLiteral("DONE")), qPrintable(status(page, 0)));
    }

    void abortKeepsTheRunningDevice()
    {
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::maxConcurrentProcessesKey, 1);
        qputenv("CORVANE_SIM_SPEED", "1");
        BulkOperationsWidget page;
        addDevices(page, {{"801002345", "", "", ""}, {"801002346", "", "", ""}, {"801017733", "", "", ""}});
        QGroupBox* wait = addAction(page, BulkAction::Wait, "durationLineEdit", QStringLiteral("1500"));
        QPushButton* button = ActionPage::runButton(page);
        QSignalSpy finished(page.processRunner(), &CorvaneProcessRunner::allTasksFinished);

        button->click();
        QCOMPARE(button->text(), QStringLiteral("Abort"));
        QCOMPARE(button->toolTip(), QStringLiteral("Abort not yet started jobs"));
        QVERIFY(button->isEnabled() && !ActionPage::stack(page)->isEnabled());
        // Queued devices read "Waiting" while their status stays empty; the started one does not.
        const auto placeholder = [&](int row) {
            return model(page)
                ->item(row, DeviceStatusColumn)
                ->data(FlashingRowStyleDelegate::PlaceholderRole)
                .toString();
        };
        QCOMPARE(QStringList({placeholder(0), placeholder(1), placeholder(2)}),
                 QStringList({QString(), QStringLiteral("Waiting"), QStringLiteral("Waiting")}));
        QCOMPARE(status(page, 1), QString());
        button->click();
        for (int row : {1, 2}) {
            QCOMPARE(status(page, row), QStringLiteral("ABORTED"));
            QCOMPARE(toolTip(page, row), QStringLiteral("Job was aborted by user"));
            QCOMPARE(flashColor(page, row), CORPORATE_YELLOW);
        }
        QCOMPARE(page.processRunner()->runningTaskCount(), 1);
        // The running device's cell shows which of the job's actions it runs.
        const QStandardItem* running = model(page)->item(0, DeviceStatusColumn);
        QTRY_COMPARE_WITH_TIMEOUT(running->data(FlashingRowStyleDelegate::ProgressActionRole).toInt(), 1,
                                  30000);
        QCOMPARE(running->data(FlashingRowStyleDelegate::ProgressActionCountRole).toInt(), 1);
        QTest::qWait(300);
        QVERIFY(!button->isEnabled());
        QCOMPARE(button->text(), QStringLiteral("Abort"));

        QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 1, 60000);
        // Measured on the real process, which waited 1.5 s.
        QVERIFY2(matches(QStringLiteral("DONE \\(elapsed: \\d+\\.\\d\\d s\\)"), status(page, 0)),
                 qPrintable(status(page, 0)));
        QVERIFY(!running->data(FlashingRowStyleDelegate::ProgressActionCountRole).isValid());
        QCOMPARE(session.batchInvocations().size(), 1);
        QCOMPARE(button->text(), QStringLiteral("Run"));
        QCOMPARE(button->toolTip(), QStringLiteral("Run batch job on selected devices"));
        QVERIFY(button->isEnabled() && ActionPage::stack(page)->isEnabled());

        // The button runs again and no longer aborts.
        qputenv("CORVANE_SIM_SPEED", "0");
        ActionPage::field<QLineEdit>(wait, BulkAction::Wait, "durationLineEdit")
            ->setText(QStringLiteral("0"));
        runToEnd(page);
        QCOMPARE(session.batchInvocations().size(), 4);
        for (int row = 0; row < 3; ++row)
            QVERIFY2(status(page, row).startsWith(QStringLiteral("DONE (elapsed: ")),
                     qPrintable(status(page, row)));
    }

    void refusedRuns()
    {
        // The simulator keeps a folder of its own there while it runs; only the page's count.
        const QStringList foldersBefore = session.runFolders();
        BulkOperationsWidget page;
        addDevices(page, {{"801002345", "", "", "", false, false}, {"", "", "", "no-serial"}});
        addAction(page, BulkAction::LogDeviceInfo);
        ActionPage::runButton(page)->click();
        QCOMPARE(errorText(page), QStringLiteral("ERROR: No devices selected."));
        page.deviceSelectorRunJobOnHighlightedDevices();
        QCOMPARE(errorText(page), QStringLiteral("ERROR: No devices selected to run job on."));

        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                                 session.filePath(QStringLiteral("no-such-corvane")));
        BulkOperationsWidget broken;
        addDevices(broken, {{"801002345", "", "", ""}});
        addAction(broken, BulkAction::LogDeviceInfo);
        ActionPage::runButton(broken)->click();
        QCOMPARE(
            errorText(broken),
            QStringLiteral("ERROR: Cannot start job; the configured path does not point to a valid Corvane "
                           "executable. Please provide a valid path in the settings."));
        QCOMPARE(ActionPage::runButton(broken)->text(), QStringLiteral("Run"));
        QVERIFY(session.batchInvocations().isEmpty());
        // A refused run leaves no job bundle behind, and neither does a page closed mid-run.
        QCOMPARE(session.runFolders(), foldersBefore);
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                                 TestEnvironment::simulatorPath());
        qputenv("CORVANE_SIM_SPEED", "1");
        {
            BulkOperationsWidget closing;
            addDevices(closing, {{"801002345", "", "", ""}});
            addAction(closing, BulkAction::Wait, "durationLineEdit", QStringLiteral("5000"));
            ActionPage::runButton(closing)->click();
            QCOMPARE(ActionPage::runButton(closing)->text(), QStringLiteral("Abort"));
            QCOMPARE(session.runFolders().size(), foldersBefore.size() + 1);
        }
        QCOMPARE(session.runFolders(), foldersBefore);
    }

    // The same bundle run from the window and from the command line gives the same invocations,
    // but for the run's own bundle path.
    void headlessRunMatchesTheWindow()
    {
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::processTimeoutSecondsKey, 45);
        BulkOperationsWidget page;
        addDevices(page, {{"801002345", "", "KM32G101F512", "bench-left"},
                          {"801017734", "", "", "rack-b2"},
                          {"801020001", "192.0.2.20", "KX12B016A128", "bench-dual", true},
                          {"801017733", "", "", "rack-a1", false, false},
                          {"", "192.0.2.22", "", "lab-net-2", true}});
        page.debugConnectionOptionsRestore(true, QStringLiteral("JTAG"), 4000);
        addAction(page, BulkAction::RunCustomCommand, "customCommandLineEdit",
                  QStringLiteral("device info --name {{nickname}} --speed {{Debug_Speed}}"));
        addAction(page, BulkAction::Wait, "durationLineEdit", QStringLiteral("5"));
        addAction(page, BulkAction::RunCustomCommand, "customCommandLineEdit",
                  QStringLiteral("device info --part {{target_part}}"), false);
        const QString bundle = session.filePath(QStringLiteral("same.hwj"));
        page.saveBatchJob(bundle);

        runToEnd(page);
        const QList<QStringList> window = session.batchInvocations();
        session.clearRecord();
        QString out, err;
        QTextStream outStream(&out), errStream(&err);
        CommandLineRun headless(outStream, errStream, false);
        // The adapter at 192.0.2.22 is not in the fleet: it fails before any action in both runs.
        QCOMPARE(headless.exec({QStringLiteral("harnwick"), QStringLiteral("--run"), bundle}), 1);
        QVERIFY2(out.contains(QStringLiteral("FAILED       192.0.2.22  lab-net-2  ")), qPrintable(out));
        QVERIFY2(status(page, 4).startsWith(QStringLiteral("ERROR: Job failed during action -1 ")),
                 qPrintable(status(page, 4)));
        const QList<QStringList> commandLine = session.batchInvocations();

        QCOMPARE(window.size(), 4);
        QCOMPARE(commandLine.size(), window.size());
        for (int run = 0; run < window.size(); ++run) {
            QVERIFY(window[run].value(1) != commandLine[run].value(1));
            QStringList windowArguments = window[run], commandLineArguments = commandLine[run];
            windowArguments.removeAt(1);
            commandLineArguments.removeAt(1);
            QCOMPARE(commandLineArguments, windowArguments);
        }
        QVERIFY(window[0].contains(QStringLiteral("Debug_Speed:4000")));
        QCOMPARE(session.runFolders(), QStringList());
    }
};

HARNWICK_TEST(TestJobRun)
#include "tst_jobrun.moc"
