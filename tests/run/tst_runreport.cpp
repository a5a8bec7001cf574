#include "jobrunengine.h"
#include "runreport.h"
#include "testregistry.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

namespace {

JobDeviceRun deviceRun(const char* id, JobDeviceState state, int exitCode = 0, bool started = true)
{
    JobDeviceRun run;
    run.id = QString::fromLatin1(id);
    run.device.serialNumber = run.id;
    run.state = state;
    run.exitCode = exitCode;
    run.action = 2;
    run.logFile = QStringLiteral("/srv/logs/%1.txt").arg(run.id);
    if (started) {
        run.startedAt = QDateTime::fromSecsSinceEpoch(1790000000, Qt::OffsetFromUTC, 3600);
        run.finishedAt = run.startedAt.addSecs(5);
        run.elapsedMs = 5000;
    }
    return run;
}

} // namespace

class TestRunReport : public QObject
{
    Q_OBJECT

private slots:
    // Outcome, exit code, signal and log file of each kind of end, as a spreadsheet reads them.
    void deviceRows()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("run.csv"));
        const QList<QMap<QString, QVariant>> steps{{{"task", "log_device_info"}, {"enabled", true}},
                                                   {{"task", "wait"}, {"enabled", true}}};
        JobDeviceRun timedOut = deviceRun("801030011", JobDeviceState::Failed, 4);
        timedOut.timedOut = true;
        JobDeviceRun busy = deviceRun("801030015", JobDeviceState::NotStarted, 0, false);
        busy.refusal = QStringLiteral("Busy: run by another Harnwick, process 4711");
        {
            RunReport report;
            QVERIFY(report.open({path}, {}));
            for (const JobDeviceRun& run : {deviceRun("801030010", JobDeviceState::Done),
                                            deviceRun("801030012", JobDeviceState::Failed, 5), timedOut,
                                            deviceRun("801030013", JobDeviceState::Crashed, SIGABRT),
                                            deviceRun("801030014", JobDeviceState::Aborted, SIGTERM),
                                            deviceRun("801030016", JobDeviceState::Aborted, 0, false), busy})
                report.addDevice(run, steps);
        }
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QStringList lines = QString::fromUtf8(file.readAll()).split(QStringLiteral("\r\n"));
        const int header = lines.indexOf(QRegularExpression(QStringLiteral("Device id,.*")));
        QVERIFY(header > 0);
        const QStringList columns = lines.at(header).split(QLatin1Char(','));
        const int outcome = int(columns.indexOf(QStringLiteral("Outcome")));
        const int exitCode = int(columns.indexOf(QStringLiteral("Exit code")));
        const int logFile = int(columns.indexOf(QStringLiteral("Log file")));
        QCOMPARE(columns.value(exitCode + 1), QStringLiteral("Signal"));
        // id -> outcome, exit code, signal, log file
        const QMap<QString, QStringList> expected{
            {"801030010", {"done", "0", "", "/srv/logs/801030010.txt"}},
            {"801030012", {"failed", "5", "", "/srv/logs/801030012.txt"}},
            {"801030011", {"timed out", "4", "", "/srv/logs/801030011.txt"}},
            {"801030013", {"crashed", "", QString::number(SIGABRT), "/srv/logs/801030013.txt"}},
            {"801030014", {"aborted", "", QString::number(SIGTERM), "/srv/logs/801030014.txt"}},
            {"801030016", {"aborted", "", "", ""}},
            {"801030015", {"not started", "", "", ""}}};
        const QStringList rows = lines.mid(header + 1).filter(QRegularExpression(QStringLiteral("^\\d")));
        QCOMPARE(rows.size(), expected.size());
        for (const QString& row : rows) {
            const QStringList fields = row.split(QLatin1Char(','));
            QCOMPARE((QStringList{fields.value(outcome), fields.value(exitCode), fields.value(exitCode + 1),
                                  fields.value(logFile)}),
                     expected.value(fields.value(0)));
        }
    }
};

HARNWICK_TEST(TestRunReport)
#include "tst_runreport.moc"
