#pragma once

#include "batchutil.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QPair>
#include <QString>
#include <QStringList>

// What a job run needs to know of one device row, read off the table.
struct JobDevice
{
    QString serialNumber;   // trimmed
    QString ipAddress;      // trimmed
    int connectionType = 0; // BatchUtil::ConnectionType
    QString targetPart;     // trimmed
    QString nickname;       // as typed
};

// The page-wide values that job variables can refer to.
struct JobContext
{
    QString debugInterface;
    int debugSpeed = 0;
};

// The parts of a job run that need no widgets: command lines, variable
// values and the texts a device's row shows.
namespace JobExecution {

using DeviceArguments = QPair<QString, QStringList>; // device key, its own arguments

// Name → description of the variables the program fills in, ascending by name.
QMap<QString, QString> builtInVariableDescriptions();

// The value of a variable for a device; empty when the name (compared in
// lower case) is not built in.
QString variableValue(const QString& name, const JobDevice& device, const JobContext& context);

// The device's key and its connection, part and parameter arguments; an empty
// key means the device cannot be run (no value for its connection type).
DeviceArguments deviceSpecificArguments(const JobDevice& device, const QStringList& variableNames,
                                        const JobContext& context);

// "999 ms", "1.50 s", "1 m 1 s".
QString elapsedText(qint64 milliseconds);

// The number of the last "Running action N" line, or -1 when none started.
int lastRunningAction(const QByteArray& output);

// The percentage a progress line reports ("Programming: 45%" gives 45), the last one
// of the line when there are several; -1 when it reports none or one beyond 0 to 100.
int linePercent(const QByteArray& line);

// A device of a job bundle as a run sees it once the bundle is loaded: with no
// connection stored, the first the table offers, USB.
JobDevice jobDeviceFromEntry(const BatchUtil::DeviceEntry& entry);

// The device's id: its serial number, else its IP address.
QString deviceId(const JobDevice& device);

// The variables the enabled steps use, in the order the page collects them.
QStringList variableNamesOfSteps(const QList<QMap<QString, QVariant>>& steps);

// The line that best says why a device's job failed: the tool's last line
// starting with "ERROR" (standard output first, then standard error), else the
// last line of standard error, else the last line of standard output.
QString failureLine(const QByteArray& output, const QByteArray& errorOutput);

// How a device's process ended, as far as its tool tip tells it.
struct ProcessEnd
{
    int exitCode = 0;
    bool crashed = false;  // ended by a signal; exitCode is then the signal
    bool timedOut = false; // ended by the runner at the time limit
};

// A device's tool tip after its run, bounded so it can always be shown: for a
// failure, how the process ended and the tool's error lines first; then the
// output under "Process output:", whole when it fits in `maxLines` lines of
// `maxWidth` characters, else its last lines with a note of what was left out.
QString outcomeToolTip(const QByteArray& output, const QByteArray& errorOutput, const ProcessEnd& end,
                       bool failed, int maxLines = 20, int maxWidth = 120);

} // namespace JobExecution
