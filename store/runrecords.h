#pragma once

#include <QDateTime>
#include <QList>
#include <QMap>
#include <QPair>
#include <QString>
#include <QVariant>
#include <QVector>

struct JobDeviceRun;

// What the store keeps of a run, as records: plain maps whose keys are the
// store's column names, with "kind" saying which table they go to. The same
// maps go into the journal as JSON lines, so a record reads back the same
// after a crash.
namespace RunRecords {

inline const QString kindKey = QStringLiteral("kind");
inline const QString runKind = QStringLiteral("run");
inline const QString resultKind = QStringLiteral("result");
inline const QString endKind = QStringLiteral("end");
inline const QString auditKind = QStringLiteral("audit");
// The station's name in run records; the writer turns it into the station's id.
inline const QString stationKey = QStringLiteral("station");
// The run's files in run records: a list of maps with "path" and "sha256".
inline const QString filesKey = QStringLiteral("files");

// What a run is, as it starts.
struct RunStart
{
    QString id; // a UUID made here
    QString station;
    QDateTime started;
    QString jobFile; // the bundle the user chose; empty for a job only on screen
    QString jobFileSha256;
    QString jobSha256; // the bundle the devices got
    QString steps;     // the steps in short
    QString operatorName;
    int devices = 0;
    QList<QPair<QString, QString>> files; // path, SHA-256
};

// "done", "failed", "crashed", "timed out", "aborted" or "not started".
QString outcome(const JobDeviceRun& run);

QVariantMap runRecord(const RunStart& start);
// A device's result as it ended; the failed action's type is read from the run's steps.
QVariantMap resultRecord(const QString& runId, const JobDeviceRun& run,
                         const QList<QMap<QString, QVariant>>& steps);
// A device left out before the start: only its id is known.
QVariantMap refusedRecord(const QString& runId, const QString& deviceId);
// The run's end with the count of each outcome; `refused` devices count as not started.
QVariantMap endRecord(const QString& runId, const QDateTime& ended, const QVector<JobDeviceRun>& runs,
                      int refused);

// A change of a setting that matters, now; `actor` is the operator, else the user of the system.
QVariantMap auditRecord(const QString& station, const QString& actor, const QString& what,
                        const QString& oldValue, const QString& newValue);

// A new run id.
QString newRunId();

} // namespace RunRecords
