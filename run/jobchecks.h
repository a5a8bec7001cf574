#pragma once

#include "jobexecution.h"

#include <QList>
#include <QMap>
#include <QString>
#include <QVariant>

#include <functional>

// One row of the action list, in list order. Rows without a type are kept so
// that the numbers in messages match the numbers the user sees.
struct JobCheckAction
{
    bool typed = true;
    bool enabled = true;
    QMap<QString, QVariant> step;
};

// Checks made before a job starts, so that a mistake the page can see is
// reported once instead of failing on every device.
namespace JobChecks {

// Whether a file a job uses can be read.
using FileProbe = std::function<bool(const QString& path)>;

// The files a step makes the tool read, as written: the image to flash, and the
// adapter firmware unless the adapter's own is installed.
QStringList filesOfStep(const QMap<QString, QVariant>& step);

// Steps and the variables of the enabled ones from the rows of the action list:
// rows without a type give no step.
QList<QMap<QString, QVariant>> stepsOf(const QList<JobCheckAction>& actions, QStringList& variableNames);

// The real probe: the path exists, is a regular file (links followed) and
// opens for reading.
bool readableFile(const QString& path);

// The first problem that would make the job fail, as one user-facing sentence
// naming what to fix; empty when the job can run. Disabled rows are skipped
// but keep their numbers. Checked in this order: enabled rows without a type,
// no enabled action, built-in variables empty for some of the
// devices, unreadable files, devices listed twice.
QString firstProblem(const QList<JobCheckAction>& actions, const QList<JobDevice>& devices,
                     const JobContext& context, const FileProbe& probe = readableFile);

// Every problem of those kinds at once, in the same order, one sentence each: a job with three
// mistakes is fixed after one Run press, not three.
QStringList problems(const QList<JobCheckAction>& actions, const QList<JobDevice>& devices,
                     const JobContext& context, const FileProbe& probe = readableFile);

// The problems for the error line: the first `shown` one per line, then "and N more".
QString summary(const QStringList& problems, int shown = 5);

} // namespace JobChecks
