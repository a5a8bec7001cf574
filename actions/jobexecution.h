#pragma once

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

} // namespace JobExecution
