#include "../actions/actionpagehelpers.h"
#include "../batch/batchtestfiles.h"
#include "bulkoperationswidget.h"
#include "jobrunengine.h"
#include "settingsutil.h"
#include "simulatorsession.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QCryptographicHash>
#include <QSignalSpy>
#include <QTest>

// The page's run report names the job file only while the job is what that file holds.
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
};

HARNWICK_TEST(TestJobFileOrigin)
#include "tst_jobfileorigin.moc"
