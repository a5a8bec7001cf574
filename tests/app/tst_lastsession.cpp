#include "../actions/actionpagehelpers.h"
#include "../batch/batchtestfiles.h"
#include "../devices/devicepagehelpers.h"
#include "corvaneprocessrunner.h"
#include "hexspinbox.h"
#include "mainwindow.h"
#include "settingsutil.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QTest>

// The job on screen outlives the window: closed, even mid-run, and opened again.
class TestLastSession : public QObject, private DevicePage
{
    Q_OBJECT

private slots:
    void cleanupTestCase()
    {
        QFile::remove(MainWindow::lastSessionPath());
        TestEnvironment::clearSettings();
    }

    void jobSurvivesClosingDuringARun()
    {
        // The run must still be going when the window closes; other test classes share the environment.
        const auto speed = BatchTestFiles::scopedEnvironment("CORVANE_SIM_SPEED", "1");
        TestEnvironment::clearSettings();
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                                 TestEnvironment::simulatorPath());
        SettingsUtil::setSetting(Settings::loggingGroup, Settings::loggingEnabledKey, false);
        // Closing makes the session folder when there is none.
        QDir(MainWindow::lastSessionDirectory()).removeRecursively();

        QStringList job;
        {
            MainWindow window;
            BulkOperationsWidget& page = *window.page();
            page.addDeviceToTable(QStringLiteral("801020001"), QStringLiteral("192.0.2.20"),
                                  QStringLiteral("KX12B016A128"), QStringLiteral("bench-dual"), true, true,
                                  true, true);
            DevicePage::combo(page, 0)->setCurrentText(QStringLiteral("IP"));
            page.debugConnectionOptionsRestore(true, QStringLiteral("JTAG"), 4000);
            using namespace ActionPage;
            QGroupBox* wait = addTyped(page, BulkAction::Wait);
            field<QLineEdit>(wait, BulkAction::Wait, "durationLineEdit")->setText(QStringLiteral("5000"));
            QGroupBox* flash = addTyped(page, BulkAction::FlashTargetDevice, false);
            field<QLineEdit>(flash, BulkAction::FlashTargetDevice, "appFileLineEdit")
                ->setText(QStringLiteral("/images/bench.bin"));
            field<HexSpinBox>(flash, BulkAction::FlashTargetDevice, "startAddressSpinBox")->setValue(0x8000);
            field<QCheckBox>(flash, BulkAction::FlashTargetDevice, "verifyAfterFlashCheckBox")
                ->setChecked(true);
            job = jobOf(page);
            QVERIFY(job.last().contains(QLatin1String("\"start_address\":\"0x00008000\"")));

            window.show();
            runButton(page)->click();
            QCOMPARE(page.processRunner()->runningTaskCount(), 1);
            QVERIFY(window.close());
            QVERIFY(!window.isVisible());
            QVERIFY(QFile::exists(MainWindow::lastSessionPath()));
        }

        MainWindow again;
        const QStringList restored = jobOf(*again.page());
        QCOMPARE(restored.size(), job.size());
        QCOMPARE(restored.mid(0, 4), job.mid(0, 4));
        // A run disables every editor; the flash address must survive a save made then.
        QCOMPARE(restored.last(), job.last());
    }
};

HARNWICK_TEST(TestLastSession)
#include "tst_lastsession.moc"
