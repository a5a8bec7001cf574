#include "runrecords.h"

#include "jobrunengine.h"
#include "runreport.h"

#include <QUuid>

namespace RunRecords {

QString outcome(const JobDeviceRun& run)
{
    return RunReport::outcomeWord(run);
}

QVariantMap auditRecord(const QString& station, const QString& actor, const QString& what,
                        const QString& oldValue, const QString& newValue)
{
    QString who = actor;
    if (who.isEmpty())
        who = qEnvironmentVariable("USER", qEnvironmentVariable("LOGNAME"));
    return {{kindKey, auditKind},
            {stationKey, station},
            {QStringLiteral("at_ms"), QDateTime::currentMSecsSinceEpoch()},
            {QStringLiteral("actor"), who},
            {QStringLiteral("what"), what},
            {QStringLiteral("old_value"), oldValue},
            {QStringLiteral("new_value"), newValue}};
}

QString newRunId()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces);
}

QVariantMap runRecord(const RunStart& start)
{
    QVariantList files;
    for (const auto& file : start.files)
        files << QVariantMap{{QStringLiteral("path"), file.first}, {QStringLiteral("sha256"), file.second}};
    return {{kindKey, runKind},
            {QStringLiteral("id"), start.id},
            {stationKey, start.station},
            {QStringLiteral("started_ms"), start.started.toMSecsSinceEpoch()},
            {QStringLiteral("utc_offset_s"), start.started.offsetFromUtc()},
            {QStringLiteral("job_file"), start.jobFile},
            {QStringLiteral("job_file_sha256"), start.jobFileSha256},
            {QStringLiteral("job_sha256"), start.jobSha256},
            {QStringLiteral("steps"), start.steps},
            {QStringLiteral("operator"), start.operatorName},
            {QStringLiteral("devices"), start.devices},
            {filesKey, files}};
}

QVariantMap resultRecord(const QString& runId, const JobDeviceRun& run,
                         const QList<QMap<QString, QVariant>>& steps)
{
    QVariantMap record{{kindKey, resultKind},
                       {QStringLiteral("run_id"), runId},
                       {QStringLiteral("device_id"), run.id},
                       {QStringLiteral("serial"), run.device.serialNumber},
                       {QStringLiteral("ip"), run.device.ipAddress},
                       {QStringLiteral("nickname"), run.device.nickname},
                       {QStringLiteral("part"), run.device.targetPart},
                       {QStringLiteral("outcome"), outcome(run)},
                       {QStringLiteral("log_file"), run.logFile}};
    const QString connection = run.device.connectionType == BatchUtil::Usb  ? QStringLiteral("USB")
                               : run.device.connectionType == BatchUtil::Ip ? QStringLiteral("IP")
                                                                            : QString();
    record.insert(QStringLiteral("connection"), connection);
    const bool unsuccessful = run.state == JobDeviceState::Failed || run.state == JobDeviceState::Crashed;
    if (unsuccessful && run.action >= 1) {
        record.insert(QStringLiteral("failed_action"), run.action);
        if (run.action <= steps.size())
            record.insert(QStringLiteral("failed_type"),
                          steps.at(run.action - 1).value(QStringLiteral("task")).toString());
    }
    if (run.finishedAt.isValid()) {
        // A process ended by a signal (a crash, or a kill on request) has no exit code; the runner
        // gives the signal in its place.
        const bool signalled = run.state == JobDeviceState::Crashed || run.state == JobDeviceState::Aborted;
        record.insert(signalled ? QStringLiteral("signal") : QStringLiteral("exit_code"), run.exitCode);
        record.insert(QStringLiteral("ended_ms"), run.finishedAt.toMSecsSinceEpoch());
    }
    if (run.startedAt.isValid()) {
        record.insert(QStringLiteral("started_ms"), run.startedAt.toMSecsSinceEpoch());
        record.insert(QStringLiteral("utc_offset_s"), run.startedAt.offsetFromUtc());
        record.insert(QStringLiteral("elapsed_ms"), run.elapsedMs);
    }
    return record;
}

QVariantMap refusedRecord(const QString& runId, const QString& deviceId)
{
    return {{kindKey, resultKind},
            {QStringLiteral("run_id"), runId},
            {QStringLiteral("device_id"), deviceId},
            {QStringLiteral("outcome"), QStringLiteral("not started")}};
}

QVariantMap endRecord(const QString& runId, const QDateTime& ended, const QVector<JobDeviceRun>& runs,
                      int refused)
{
    QMap<QString, int> counts;
    for (const char* word : {"done", "failed", "crashed", "timed out", "aborted", "not started"})
        counts.insert(QString::fromLatin1(word), 0);
    for (const JobDeviceRun& run : runs)
        ++counts[outcome(run)];
    counts[QStringLiteral("not started")] += refused;
    return {{kindKey, endKind},
            {QStringLiteral("id"), runId},
            {QStringLiteral("ended_ms"), ended.toMSecsSinceEpoch()},
            {QStringLiteral("devices"), int(runs.size()) + refused},
            {QStringLiteral("done"), counts.value(QStringLiteral("done"))},
            {QStringLiteral("failed"), counts.value(QStringLiteral("failed"))},
            {QStringLiteral("crashed"), counts.value(QStringLiteral("crashed"))},
            {QStringLiteral("timed_out"), counts.value(QStringLiteral("timed out"))},
            {QStringLiteral("aborted"), counts.value(QStringLiteral("aborted"))},
            {QStringLiteral("not_started"), counts.value(QStringLiteral("not started"))}};
}

} // namespace RunRecords
