#include "../actions/actionpagehelpers.h"
#include "../batch/batchtestfiles.h"
#include "../devices/devicepagehelpers.h"
#include "adapterlock.h"
#include "bulkoperationswidget.h"
#include "jobrunengine.h"
#include "settingsutil.h"
#include "simulatorsession.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QCryptographicHash>
#include <QSignalSpy>
#include <QTest>

// What the page's run has to do with what is outside it: the job file its report names
// (only while the job is what that file holds), and adapters another Harnwick runs.
class TestJobFileOrigin : public QObject
{
    Q_OBJECT

    SimulatorSession session{
        "adapters:\n  - {serial: 801002345, nickname: bench-left, part: KM32G101F512}\n"};

    // Runs the page's job and returns the report's "Job file" and "Job file SHA-256" values.
    static QStringList runAndReadOrigin(BulkOperationsWidget& page)
    {
        QSignalSpy finished(page.jobRun(), &JobRunEngine::runFinished);
        ActionPage::runButton(page)->click();
        if (!finished.wait(20000))
            return {QStringLiteral("(no end)")};
        const QString text =
            QString::fromUtf8(BatchTestFiles::readFile(page.jobRun()->reportFiles().value(0)));
        QStringList origin;
        for (const QString& name : {QStringLiteral("Job file,"), QStringLiteral("Job file SHA-256,")})
            for (const QString& line : text.split(QStringLiteral("\r\n")))
                if (line.startsWith(name))
                    origin << line.mid(name.size());
        return origin;
    }

private slots:
    void namedWhileUnchanged()
    {
        TestEnvironment::clearSettings();
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                                 TestEnvironment::simulatorPath());
        SettingsUtil::setSetting(Settings::loggingGroup, Settings::logFileDirectoryKey,
                                 session.filePath(QStringLiteral("logs")));
        BulkOperationsWidget page;
        page.addDeviceToTable(QStringLiteral("801002345"), QString(), QString(), QString(), true, false, true,
                              true);
        ActionPage::addTyped(page, BulkAction::LogDeviceInfo);
        const QString saved = session.filePath(QStringLiteral("line3.hwj"));
        page.saveBatchJob(saved);
        const QString savedHash = QString::fromLatin1(
            QCryptographicHash::hash(BatchTestFiles::readFile(saved), QCryptographicHash::Sha256).toHex());
        QCOMPARE(runAndReadOrigin(page), QStringList({saved, savedHash}));

        // Loaded, it is that file's job again; changed, it is no file's.
        BulkOperationsWidget loaded;
        loaded.loadBatchJob(saved);
        QCOMPARE(runAndReadOrigin(loaded), QStringList({saved, savedHash}));
        ActionPage::addTyped(loaded, BulkAction::LogDeviceInfo);
        QCOMPARE(runAndReadOrigin(loaded), QStringList({QString(), QString()}));
        TestEnvironment::clearSettings();
    }

    // Every checked adapter busy elsewhere: the rows say who has them, the run ends at once
    // and the page is ready for the next.
    void busyAdaptersAreNotStarted()
    {
        TestEnvironment::clearSettings();
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                                 TestEnvironment::simulatorPath());
        SettingsUtil::setSetting(Settings::loggingGroup, Settings::loggingEnabledKey, false);
        session.clearRecord();
        BulkOperationsWidget page;
        page.addDeviceToTable(QStringLiteral("801002345"), QString(), QString(), QString(), true, false, true,
                              true);
        ActionPage::addTyped(page, BulkAction::LogDeviceInfo);
        AdapterLock elsewhere; // another open file of the lock: as another process holds it
        QVERIFY(elsewhere.tryLock(QStringLiteral("801002345")));
        QSignalSpy finished(page.jobRun(), &JobRunEngine::runFinished);
        ActionPage::runButton(page)->click();
        QVERIFY(finished.wait(10000));
        QCOMPARE(DevicePage::text(page, 0, DeviceStatusColumn),
                 QStringLiteral("ERROR: Busy: run by another Harnwick, process %1")
                     .arg(QCoreApplication::applicationPid()));
        QCOMPARE(page.jobRun()->counts().notStarted, 1);
        QCOMPARE(ActionPage::runButton(page)->text(), QStringLiteral("Run"));
        QVERIFY(session.batchInvocations().isEmpty());
        TestEnvironment::clearSettings();
    }
};

HARNWICK_TEST(TestJobFileOrigin)
#include "tst_jobfileorigin.moc"
