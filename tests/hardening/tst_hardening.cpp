#include "../actions/actionpagehelpers.h"
#include "../devices/devicepagehelpers.h"
#include "corporatecolors.h"
#include "corvaneprocessrunner.h"
#include "flashingrowstyledelegate.h"
#include "mainwindow.h"
#include "settingsutil.h"
#include "simulatorsession.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QString elapsed = QStringLiteral("\\(elapsed: (\\d+ ms|\\d+\\.\\d\\d s|\\d+ m \\d+ s)\\)");

} // namespace

// The page against a device tool that crashes, hangs, floods, prints nonsense or goes missing, and
// against places it cannot write to: what the user sees, and that nothing is lost.
class TestHardening : public QObject, private DevicePage
{
    Q_OBJECT

    // Puts the environment back when the class is done; TMPDIR is its temporary folder.
    SimulatorSession session{QByteArray()};

    static void addDevices(BulkOperationsWidget& page, const QStringList& serials)
    {
        for (const QString& serial : serials)
            page.addDeviceToTable(serial, QString(), QString(), QString(), true, false, true, true);
    }

    static void addWaits(BulkOperationsWidget& page, int count, const QString& ms = QStringLiteral("0"))
    {
        for (int i = 0; i < count; ++i)
            ActionPage::field<QLineEdit>(ActionPage::addTyped(page, BulkAction::Wait), BulkAction::Wait,
                                         "durationLineEdit")
                ->setText(ms);
    }

    // Idle again: every input open, Run ready, no progress shown.
    static void verifyIdle(const BulkOperationsWidget& page)
    {
        QVERIFY(!page.deviceSelectorOperationRunning());
        QVERIFY(child<QProgressBar>(page, "progressBar")->isHidden());
        QPushButton* run = ActionPage::runButton(page);
        // Run is ready again, unless there is no action to run.
        QCOMPARE(run->isEnabled(), ActionPage::model(page)->rowCount() > 0);
        QCOMPARE(run->text(), QStringLiteral("Run"));
        QVERIFY(child<QPushButton>(page, "deviceSelectorDiscoverButton")->isEnabled());
        QVERIFY(ActionPage::stack(page)->isEnabled());
    }

    static void runToEnd(BulkOperationsWidget& page)
    {
        QSignalSpy finished(page.processRunner(), &CorvaneProcessRunner::allTasksFinished);
        ActionPage::runButton(page)->click();
        // Only a guard against a run that never ends: a flood of output takes many
        // times longer under an emulator than natively.
        QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 1, 120000);
        verifyIdle(page);
    }

    static void fillJob(BulkOperationsWidget& page)
    {
        page.addDeviceToTable(QStringLiteral("801002345"), QString(), QStringLiteral("KM32G101F512"),
                              QStringLiteral("bench-left"), true, false, true, true);
        page.addDeviceToTable(QStringLiteral("801020001"), QStringLiteral("192.0.2.20"), QString(),
                              QStringLiteral("Prüfstand ä"), true, true, false, true);
        addWaits(page, 1, QStringLiteral("250"));
        ActionPage::addTyped(page, BulkAction::MassEraseTargetDevice, false);
    }

private slots:
    void cleanupTestCase() { TestEnvironment::clearSettings(); }

    void init()
    {
        TestEnvironment::clearSettings();
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                                 TestEnvironment::simulatorPath());
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::processTimeoutSecondsKey, 1);
        SettingsUtil::setSetting(Settings::loggingGroup, Settings::loggingEnabledKey, false);
        useFleet(session, "adapters: [{serial: 801002345}, {serial: 801002346}, {serial: 801017733}]\n");
    }

    // Probe, detection and discovery end, and say so, whatever the tool does; a process that never
    // answers is stopped after the process timeout.
    void deviceOperationsWithAMisbehavingTool()
    {
        useFleet(
            session,
            "adapters:\n"
            "  - {serial: 801002345, part: KM32G101F512, faults: [{effect: hang}]}\n"
            "  - {serial: 801002346, part: KM32G101F256, faults: [{effect: crash}]}\n"
            "  - {serial: 801017733, part: KM24L052C128, nickname: rack-a1, faults: [{effect: non_utf8}]}\n"
            "  - {serial: 801017734, part: KM24L052C128, faults: [{effect: flood, lines: 20000}]}\n"
            "  - {serial: 801020001, part: KX12B016A128, nickname: bench-dual}\n");
        BulkOperationsWidget page;
        const QStringList serials = {"801002345", "801002346", "801017733", "801017734", "801020001"};
        addDevices(page, serials);
        const auto run = [&page](void (BulkOperationsWidget::*operation)()) {
            highlight(page, {0, 1, 2, 3, 4});
            (page.*operation)();
            QVERIFY(page.deviceSelectorOperationRunning());
            QTRY_VERIFY_WITH_TIMEOUT(!page.deviceSelectorOperationRunning(), 10000);
            verifyIdle(page);
        };

        run(&BulkOperationsWidget::deviceSelectorProbeAdapterSelectedDevices);
        const QString noParse = QStringLiteral("ERROR: Could not parse adapter probe output.");
        QCOMPARE(column(page, DeviceStatusColumn), QStringList({noParse, noParse, noParse, noParse, ""}));
        QCOMPARE(flashColor(page, 0), CORPORATE_RED);
        // A reply that cannot be read writes nothing into the row.
        QCOMPARE(column(page, DeviceNicknameColumn), QStringList({"", "", "", "", "bench-dual"}));

        // A search that hangs is reported like any failed search; the other one still adds its rows.
        useFleet(session, "faults: [{command: list-usb, effect: hang}]\n"
                          "adapters: [{serial: 803110042, usb: false, ip: 192.0.2.21}]\n");
        child<QPushButton>(page, "deviceSelectorDiscoverButton")->click();
        QVERIFY(page.deviceSelectorOperationRunning());
        QTRY_VERIFY_WITH_TIMEOUT(!page.deviceSelectorOperationRunning(), 10000);
        verifyIdle(page);
        QVERIFY2(errorText(page).startsWith(
                     QStringLiteral("ERROR: Device discovery process failed with exit code ")),
                 qPrintable(errorText(page)));
        QCOMPARE(column(page, DeviceSerialNumberColumn), serials + QStringList({"803110042"}));
    }

    // Job runs whose tool hangs (it ends itself at the passed limit), prints bytes that are not
    // UTF-8 or starts slowly.
    void jobRunWithAMisbehavingTool()
    {
        useFleet(session,
                 "adapters:\n"
                 "  - {serial: 801002345, faults: [{command: batch, effect: hang, step: 2}]}\n"
                 "  - {serial: 801002346, faults: [{command: batch, effect: non_utf8}]}\n"
                 "  - {serial: 801017733, faults: [{command: batch, effect: slow_start, delay_ms: 300}]}\n");
        BulkOperationsWidget page;
        addDevices(page, {"801002345", "801002346", "801017733"});
        addWaits(page, 3);
        runToEnd(page);
        QVERIFY2(matches(QStringLiteral("ERROR: Job failed during action 2 ") + elapsed, status(page, 0)),
                 qPrintable(status(page, 0)));
        QCOMPARE(flashColor(page, 0), CORPORATE_RED);
        QVERIFY2(matches(QStringLiteral("DONE ") + elapsed, status(page, 1)), qPrintable(status(page, 1)));
        QVERIFY(toolTip(page, 1).contains(QStringLiteral("Running action 3")));
        QCOMPARE(flashColor(page, 1), CORPORATE_GREEN);
        QVERIFY2(matches(QStringLiteral("DONE ") + elapsed, status(page, 2)), qPrintable(status(page, 2)));
        QCOMPARE(errorText(page), QString());
    }

    // A device that floods its output during a job: the page keeps turning, the outcome is read right
    // and only a bounded part of the output is kept for the tool tip.
    void floodDuringAJob()
    {
        const int lines = qEnvironmentVariableIntValue("HARNWICK_FLOOD_LINES") > 0
                              ? qEnvironmentVariableIntValue("HARNWICK_FLOOD_LINES")
                              : 600000; // about 20 MB; HARNWICK_FLOOD_LINES=3000000 gives 100 MB
        useFleet(session, QStringLiteral(
                              "adapters:\n"
                              "  - serial: 801002345\n    faults: [{command: batch, effect: flood, step: 2, "
                              "lines: %1}, {command: batch, effect: fail, step: 2, exit_code: 5}]\n"
                              "  - serial: 801002346\n    faults: [{command: batch, effect: flood, step: 3, "
                              "lines: 1000}]\n")
                              .arg(lines)
                              .toUtf8());
        BulkOperationsWidget page;
        addDevices(page, {"801002345", "801002346"});
        addWaits(page, 3);

        int ticks = 0;
        QTimer ticker;
        connect(&ticker, &QTimer::timeout, this, [&ticks] { ++ticks; });
        int ticksAtFirstEnd = -1;
        connect(page.processRunner(), &CorvaneProcessRunner::taskFinished, this,
                [&](const CorvaneProcessResult& result) {
                    if (result.id == QLatin1String("801002345"))
                        ticksAtFirstEnd = ticks;
                });
        ticker.start(50);
        runToEnd(page);
        page.processRunner()->disconnect(this);

        // The event loop kept turning while the output poured in.
        QVERIFY2(ticksAtFirstEnd > 0, qPrintable(QString::number(ticksAtFirstEnd)));
        QVERIFY2(matches(QStringLiteral("ERROR: Job failed during action 2 ") + elapsed, status(page, 0)),
                 qPrintable(status(page, 0)));
        const QString tip = toolTip(page, 0);
        QVERIFY2(tip.size() < 4 * 1024 * 1024, qPrintable(QString::number(tip.size())));
        // Bounded to what a tool tip can show, leading with the reason.
        QVERIFY2(tip.count(QLatin1Char('\n')) <= 21, qPrintable(tip));
        QVERIFY2(tip.startsWith(QStringLiteral("The process ended with exit code ")), qPrintable(tip));
        QVERIFY(tip.contains(QStringLiteral("\nERROR: Simulated failure.\n\nProcess output:\n\n")));
        QVERIFY(
            tip.contains(QStringLiteral("Transfer detail %1 of %1\nERROR: Simulated failure.\n").arg(lines)));
        QVERIFY(tip.endsWith(QStringLiteral("ERROR: Simulated failure.\n")));
        QVERIFY2(matches(QStringLiteral("DONE ") + elapsed, status(page, 1)), qPrintable(status(page, 1)));
        QVERIFY(toolTip(page, 1).contains(QStringLiteral("Transfer detail 1000 of 1000\n")));
    }

    // The tool goes away or loses its run bit after the path was checked. The device whose process
    // cannot start never gets an outcome; those still waiting are aborted and the page comes back.
    void executableGoneAfterValidation_data()
    {
        QTest::addColumn<QString>("breakage");
        QTest::addColumn<int>("concurrency");
        QTest::addColumn<QStringList>("statuses");
        QTest::newRow("removed, one at a time") << "rm" << 1 << QStringList({"", "ABORTED", "ABORTED"});
        QTest::newRow("run bit gone, three at once")
            << "chmod" << 3 << QStringList({"", "ABORTED", "ABORTED"});
        // The first job removes the tool: it finishes, the second never starts, the third waits.
        QTest::newRow("removed by the first job") << "self" << 1 << QStringList({"DONE", "", "ABORTED"});
    }

    void executableGoneAfterValidation()
    {
        QFETCH(QString, breakage);
        QFETCH(int, concurrency);
        QFETCH(QStringList, statuses);
        QTemporaryDir tools(session.filePath(QStringLiteral("tools-XXXXXX")));
        const QString self = breakage == QLatin1String("self")
                                 ? QStringLiteral("case \"$2\" in *.hwj) rm -f \"$0\" ;; esac\n")
                                 : QString();
        const QString tool = TestEnvironment::writeScript(
            tools.path(), QStringLiteral("corvane tool"),
            self + QStringLiteral("exec '%1' \"$@\"\n").arg(TestEnvironment::simulatorPath()));
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey, tool);
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::maxConcurrentProcessesKey, concurrency);
        BulkOperationsWidget page;
        QVERIFY(page.corvaneExecutableIsValid());
        addDevices(page, {"801002345", "801002346", "801017733"});
        addWaits(page, 1);
        if (breakage == QLatin1String("rm"))
            QVERIFY(QFile::remove(tool));
        else if (breakage == QLatin1String("chmod"))
            QVERIFY(QFile::setPermissions(tool, QFile::ReadOwner | QFile::WriteOwner));

        runToEnd(page);
        QCOMPARE(
            errorText(page),
            QStringLiteral("ERROR: The Corvane executable \"%1\" could not be started. Please check the path "
                           "in the settings.")
                .arg(tool));
        for (int row = 0; row < 3; ++row) {
            const QString actual = status(page, row);
            QVERIFY2(statuses[row].isEmpty() ? actual.isEmpty() : actual.startsWith(statuses[row]),
                     qPrintable(actual));
            // A device that never started is not left as a blank row.
            const QString placeholder = model(page)
                                            ->item(row, DeviceStatusColumn)
                                            ->data(FlashingRowStyleDelegate::PlaceholderRole)
                                            .toString();
            QCOMPARE(placeholder, actual.isEmpty() ? QStringLiteral("Not started") : QString());
        }
        QCOMPARE(flashColor(page, 2), CORPORATE_YELLOW);

        // A device operation that cannot start ends the same way instead of keeping the page busy.
        page.deviceSelectorDiscoverDevices();
        QTRY_VERIFY(!page.deviceSelectorOperationRunning());
        verifyIdle(page);
        QCOMPARE(model(page)->rowCount(), 3);
        // The run's bundle folder went with the run.
        const QStringList left = session.runFolders();
        QVERIFY2(left.isEmpty(), qPrintable(left.join(' ')));
    }

    // Without zip and unzip nothing is saved, loaded or run, and the job on screen stays.
    void zipToolsMissing()
    {
        BulkOperationsWidget page;
        fillJob(page);
        const QString bundle = session.filePath(QStringLiteral("kept.hwj"));
        page.saveBatchJob(bundle);
        QVERIFY(QFile::exists(bundle));
        const QStringList job = jobOf(page);

        const QByteArray path = qgetenv("PATH");
        auto restorePath = qScopeGuard([&path] { qputenv("PATH", path); });
        qputenv("PATH", QFile::encodeName(session.temporaryFolder()));
        const QString missing =
            QStringLiteral("ERROR: The required system utility (\"%1\") is not available on your system.");
        const QString other = session.filePath(QStringLiteral("other.hwj"));
        page.saveBatchJob(other);
        QCOMPARE(errorText(page), missing.arg("zip"));
        QVERIFY(!QFile::exists(other));
        page.clearErrorMessage();
        page.loadBatchJob(bundle);
        QCOMPARE(errorText(page), missing.arg("zip"));
        page.clearErrorMessage();
        QSignalSpy started(page.processRunner(), &CorvaneProcessRunner::processStarted);
        ActionPage::runButton(page)->click();
        QCOMPARE(errorText(page), missing.arg("zip"));
        QTest::qWait(100);
        QCOMPARE(started.count(), 0);
        verifyIdle(page);
        QCOMPARE(jobOf(page), job);
    }

    // Places that cannot be written, made so for every user: a regular file stands where a folder
    // should be.
    void unwritablePlaces()
    {
        QFile blocker(session.filePath(QStringLiteral("plain-file")));
        QVERIFY(blocker.open(QIODevice::WriteOnly) && blocker.write("x") == 1);
        blocker.close();
        const QString below = blocker.fileName() + QStringLiteral("/inside");

        BulkOperationsWidget page;
        fillJob(page);

        // Logging into a folder that cannot be made starts nothing and says why.
        SettingsUtil::setSetting(Settings::loggingGroup, Settings::loggingEnabledKey, true);
        SettingsUtil::setSetting(Settings::loggingGroup, Settings::logFileDirectoryKey, below);
        QSignalSpy started(page.processRunner(), &CorvaneProcessRunner::processStarted);
        ActionPage::runButton(page)->click();
        QCOMPARE(
            errorText(page),
            QStringLiteral("ERROR: Cannot start job; the log file directory \"%1\" could not be created. "
                           "Please choose another log file directory or switch logging off.")
                .arg(below));
        QTest::qWait(100);
        QCOMPARE(started.count(), 0);
        verifyIdle(page);
        QCOMPARE(status(page, 0), QString());

        // A session folder that cannot be made: the window still closes, and the next one starts empty.
        QDir(MainWindow::lastSessionDirectory()).removeRecursively();
        QVERIFY(QDir().mkpath(QFileInfo(MainWindow::lastSessionDirectory().chopped(1)).absolutePath()));
        QVERIFY(QFile::copy(blocker.fileName(), MainWindow::lastSessionDirectory().chopped(1)));
        {
            MainWindow window;
            fillJob(*window.page());
            window.show();
            QVERIFY(window.close());
            QVERIFY(errorText(*window.page())
                        .startsWith(QStringLiteral("ERROR: Could not create job bundle file")));
        }
        QVERIFY(!QFile::exists(MainWindow::lastSessionPath()));
        MainWindow next;
        QCOMPARE(model(*next.page())->rowCount(), 0);
        QVERIFY(QFile::remove(MainWindow::lastSessionDirectory().chopped(1)));
    }
};

HARNWICK_TEST(TestHardening)
#include "tst_hardening.moc"
