#include "simclock.h"
#include "simcommands.h"
#include "simfleet.h"
#include "simoutput.h"
#include "simrecorder.h"

#include <QCoreApplication>

// corvane-sim: answers the device tool's command contract on behalf of a simulated fleet of debug
// adapters (see README.md for the fleet file and the environment variables).
int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("corvane-sim"));
    const QStringList arguments = QCoreApplication::arguments().mid(1);

    // Recorded first, so that even an invocation that then hangs or crashes is seen.
    SimRecorder::record(SimCommands::commandId(arguments), arguments);

    SimFleet fleet = SimFleet::builtIn();
    const QString fleetPath = qEnvironmentVariable("CORVANE_SIM_FLEET");
    if (!fleetPath.isEmpty()) {
        QString error;
        if (!fleet.load(fleetPath, error)) {
            SimOutput::errorLine(QStringLiteral("corvane-sim: %1").arg(error));
            return 2;
        }
    }
    fleet.setEpochFromEnvironment();
    SimClock clock(SimClock::speedFromEnvironment());
    SimCommands commands(fleet, clock);
    return commands.run(arguments);
}
