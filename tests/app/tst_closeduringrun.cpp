#include "../actions/actionpagehelpers.h"
#include "../batch/batchtestfiles.h"
#include "adapterlock.h"
#include "bulkoperationswidget.h"
#include "corvaneprocessrunner.h"
#include "jobrunengine.h"
#include "mainwindow.h"
#include "settingsutil.h"
#include "simulatorsession.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QGuiApplication>
#include <QLabel>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>

// Closing the window while boards are being flashed: the window goes at once,
// the flashes finish, queued boards never start, and only then the program may end.
class TestCloseDuringRun : public QObject
{
    Q_OBJECT

    SimulatorSession session{"adapters:\n"
                             "  - {serial: 801002345, nickname: bench-left, part: KM32G101F512}\n"
                             "  - {serial: 801002346, nickname: bench-right, part: KM32G101F256}\n"};

    // Two boards one after the other, each flashed with a 60 KiB image.
    void startFlashing(MainWindow& window)
    {
        QFile image(session.filePath(QStringLiteral("app.bin")));
        QVERIFY(image.open(QIODevice::WriteOnly) && image.write(QByteArray(60 * 1024, '\x5a')) > 0);
        image.close();
        BulkOperationsWidget& page = *window.page();
        for (const char* serial : {"801002345", "801002346"})
            page.addDeviceToTable(QString::fromLatin1(serial), QString(), QString(), QString(), true, false,
                                  true, true);
        QGroupBox* flash = ActionPage::addTyped(page, BulkAction::FlashTargetDevice);
        ActionPage::field<QLineEdit>(flash, BulkAction::FlashTargetDevice, "appFileLineEdit")
            ->setText(image.fileName());
        window.show();
        ActionPage::runButton(page)->click();
        QCOMPARE(page.processRunner()->runningTaskCount(), 1);
    }

private slots:
    void init()
    {
        TestEnvironment::clearSettings();
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                                 TestEnvironment::simulatorPath());
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::maxConcurrentProcessesKey, 1);
        SettingsUtil::setSetting(Settings::loggingGroup, Settings::logFileDirectoryKey,
                                 session.filePath(QStringLiteral("logs")));
        SimulatorSession::setSpeed("1");
        session.clearRecord();
        QDir(session.filePath(QStringLiteral("logs"))).removeRecursively();
        QFile::remove(MainWindow::lastSessionPath());
    }

    void cleanupTestCase()
    {
        QFile::remove(MainWindow::lastSessionPath());
        TestEnvironment::clearSettings();
    }

    void flashesFinishAfterTheWindowIsGone()
    {
        MainWindow window;
        QSignalSpy finished(&window, &MainWindow::backgroundWorkFinished);
        startFlashing(window);
        const QString log = session.filePath(QStringLiteral("logs/801002345.txt"));
        QTRY_VERIFY_WITH_TIMEOUT(BatchTestFiles::readFile(log).contains("Erasing"), 20000);

        QVERIFY(window.close());
        QVERIFY(!window.isVisible());
        QVERIFY(QFile::exists(MainWindow::lastSessionPath()));
        // The program is kept alive for the board being flashed.
        QVERIFY(!QGuiApplication::quitOnLastWindowClosed());
        QCOMPARE(window.page()->processRunner()->runningTaskCount(), 1);
        QCOMPARE(window.page()->processRunner()->queuedTaskCount(), 0);

        // A window started meanwhile names the Harnwick still running an adapter (here this very
        // process: flock() holds per open file, as between two programs).
        {
            MainWindow second;
            const auto* error = second.page()->findChild<QLabel*>(QStringLiteral("errorLabel"));
            QVERIFY(error);
            QVERIFY2(error->text().contains(QStringLiteral("process %1 is running 1 adapter")
                                                .arg(QCoreApplication::applicationPid())),
                     qPrintable(error->text()));
        }

        QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 1, 60000);
        // Finished in the background, it has let go of its adapters.
        QCOMPARE(AdapterLock::heldElsewhere().size(), 0);
        const QByteArray written = BatchTestFiles::readFile(log);
        QVERIFY2(written.contains("Flashing complete\n") &&
                     written.endsWith("Job finished: 1 actions run, 0 skipped\n"),
                 written.right(200).constData());
        // The queued board never started.
        QCOMPARE(session.batchInvocations().size(), 1);
        QVERIFY(!QFile::exists(session.filePath(QStringLiteral("logs/801002346.txt"))));
        QVERIFY(QGuiApplication::quitOnLastWindowClosed());
        QCOMPARE(session.runFolders(), QStringList());
    }

    void secondRequestEndsTheFlash()
    {
        MainWindow window;
        QSignalSpy finished(&window, &MainWindow::backgroundWorkFinished);
        startFlashing(window);
        window.requestClose();
        QVERIFY(!window.isVisible());
        QVERIFY(window.isFinishingInBackground());
        QCOMPARE(finished.count(), 0);
        window.requestClose();
        QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 1, 10000);
        QVERIFY(!BatchTestFiles::readFile(session.filePath(QStringLiteral("logs/801002345.txt")))
                     .contains("Flashing complete"));
        QCOMPARE(session.runFolders(), QStringList());
    }
};

HARNWICK_TEST(TestCloseDuringRun)
#include "tst_closeduringrun.moc"
