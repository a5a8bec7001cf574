#pragma once

#include "simfault.h"

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

class SimArguments;
class SimClock;
class SimFleet;
struct SimAdapter;

// Dispatches one invocation to the command it names and answers as the device tool would.
class SimCommands
{
public:
    SimCommands(const SimFleet& fleet, SimClock& clock);

    // The name under which an invocation is recorded and faults are chosen: "usage", "list-usb",
    // "list-net", "probe", "info", "listopns", "gui", "batch", or "invalid".
    static QString commandId(const QStringList& arguments);

    static QString usageText();

    // Runs the invocation and returns the process exit code.
    int run(const QStringList& arguments);

private:
    int usageError(const QString& message) const;
    int adapterList(const QString& commandId, const QList<SimFault>& faults);
    int adapterProbe(const SimAdapter* adapter, const QString& address, const QList<SimFault>& faults);
    int deviceInfo(const SimAdapter* adapter, const QString& address, const SimArguments& arguments,
                   const QList<SimFault>& faults);
    int completion(const QList<SimFault>& faults);
    int gui(const SimAdapter* adapter, const QString& address);
    int reply(const QJsonObject& reply, const QList<SimFault>& faults, int exitCode);

    // Acts out the faults that stop or stall a command before it answers. Returns true when the
    // command ends there, with exitCode set.
    bool strikeBeforeReply(const QList<SimFault>& faults, int& exitCode);

    const SimFleet& m_fleet;
    SimClock& m_clock;
};
