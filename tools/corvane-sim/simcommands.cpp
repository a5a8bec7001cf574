#include "simcommands.h"

#include "simadapter.h"
#include "simarguments.h"
#include "simbatchrun.h"
#include "simclock.h"
#include "simfleet.h"
#include "simoutput.h"
#include "simreply.h"

#include <QJsonArray>

namespace {

const QString SerialOption = QStringLiteral("--serialno");
const QString IpOption = QStringLiteral("--ip");
const QString JsonFlag = QStringLiteral("--json");

struct CommandShape
{
    int wordCount = 0; // arguments that name the command (and, for batch, the bundle)
    QStringList flags;
    QStringList requiredFlags;
    QStringList valued;
    QStringList repeatable;
    bool addressesAdapter = false;
};

CommandShape shapeOf(const QString& id)
{
    CommandShape shape;
    shape.wordCount = 2;
    if (id == QLatin1String("list-usb") || id == QLatin1String("list-net")) {
        shape.flags = QStringList{QStringLiteral("--noconnect"), JsonFlag, QStringLiteral("--net")};
        shape.requiredFlags = QStringList{QStringLiteral("--noconnect"), JsonFlag};
    } else if (id == QLatin1String("probe")) {
        shape.flags = shape.requiredFlags = QStringList{JsonFlag};
        shape.valued = QStringList{SerialOption, IpOption};
        shape.addressesAdapter = true;
    } else if (id == QLatin1String("info")) {
        shape.flags = shape.requiredFlags = QStringList{JsonFlag};
        shape.valued = QStringList{QStringLiteral("--device"), SerialOption, IpOption};
        shape.addressesAdapter = true;
    } else if (id == QLatin1String("listopns")) {
        shape.flags = shape.requiredFlags = QStringList{JsonFlag};
    } else if (id == QLatin1String("gui")) {
        shape.wordCount = 1;
        shape.valued = QStringList{SerialOption, IpOption};
        shape.addressesAdapter = true;
    } else if (id == QLatin1String("batch")) {
        shape.valued = QStringList{SerialOption, IpOption, QStringLiteral("--device"),
                                   QStringLiteral("--logfile"), QStringLiteral("--timeout")};
        shape.repeatable = QStringList{QStringLiteral("--parameter")};
        shape.addressesAdapter = true;
    }
    return shape;
}

QString errorText(const QString& message)
{
    return QStringLiteral("ERROR: %1").arg(message);
}

} // namespace

SimCommands::SimCommands(const SimFleet& fleet, SimClock& clock) : m_fleet(fleet), m_clock(clock) {}

QString SimCommands::commandId(const QStringList& arguments)
{
    const QString first = arguments.value(0);
    const QString second = arguments.value(1);
    if (first == QLatin1String("batch")) {
        if (arguments.size() == 2 && second == QLatin1String("-h"))
            return QStringLiteral("usage");
        return arguments.size() >= 2 ? QStringLiteral("batch") : QStringLiteral("invalid");
    }
    if (first == QLatin1String("adapter") && second == QLatin1String("list"))
        return arguments.contains(QStringLiteral("--net")) ? QStringLiteral("list-net")
                                                           : QStringLiteral("list-usb");
    if (first == QLatin1String("adapter") && second == QLatin1String("probe"))
        return QStringLiteral("probe");
    if (first == QLatin1String("device") && second == QLatin1String("info"))
        return QStringLiteral("info");
    if (first == QLatin1String("completion") && second == QLatin1String("listopns"))
        return QStringLiteral("listopns");
    if (first == QLatin1String("gui"))
        return QStringLiteral("gui");
    return QStringLiteral("invalid");
}

QString SimCommands::usageText()
{
    return QStringLiteral(
        "Usage: corvane-sim COMMAND [OPTIONS]\n"
        "\n"
        "A simulated device tool: it answers on behalf of a simulated fleet of debug adapters.\n"
        "\n"
        "Commands:\n"
        "  adapter list --noconnect --json [--net]\n"
        "  adapter probe --json (--serialno SERIAL | --ip ADDRESS)\n"
        "  device info --json [--device PART] (--serialno SERIAL | --ip ADDRESS)\n"
        "  completion listopns --json\n"
        "  gui (--serialno SERIAL | --ip ADDRESS)\n"
        "  batch BUNDLE (--serialno SERIAL | --ip ADDRESS) [--device PART]\n"
        "        [--parameter NAME:VALUE]... [--logfile FILE] [--timeout SECONDS]\n"
        "  batch -h\n"
        "\n"
        "Environment:\n"
        "  CORVANE_SIM_FLEET   YAML file describing the fleet (default: a built-in fleet)\n"
        "  CORVANE_SIM_SPEED   factor on all simulated durations, 0 for no waiting (default 1)\n"
        "  CORVANE_SIM_RECORD  file to which every invocation is appended as a JSON line\n"
        "  CORVANE_SIM_EPOCH_MS  Unix time in ms from which hot-plug windows count\n"
        "                        (default: the fleet file's modification time)\n");
}

int SimCommands::run(const QStringList& arguments)
{
    const QString id = commandId(arguments);
    if (id == QLatin1String("invalid"))
        return usageError(arguments.isEmpty()
                              ? QStringLiteral("no command given")
                              : QStringLiteral("unknown command '%1'").arg(arguments.join(' ')));

    const CommandShape shape = shapeOf(id);
    SimArguments options;
    QString error;
    if (id != QLatin1String("usage")) {
        if (!options.parse(arguments.mid(shape.wordCount), shape.flags, shape.valued, shape.repeatable,
                           error))
            return usageError(error);
        for (const QString& flag : shape.requiredFlags) {
            if (!options.hasFlag(flag))
                return usageError(QStringLiteral("this command needs %1").arg(flag));
        }
    }

    const SimAdapter* adapter = nullptr;
    QString address;
    if (shape.addressesAdapter) {
        if (options.has(SerialOption) == options.has(IpOption))
            return usageError(QStringLiteral("give either --serialno or --ip"));
        if (options.has(SerialOption)) {
            bool ok = false;
            const quint32 serial = options.value(SerialOption).toUInt(&ok, 10);
            if (!ok)
                return usageError(
                    QStringLiteral("'%1' is not a serial number").arg(options.value(SerialOption)));
            adapter = m_fleet.findUsb(serial);
            address = QStringLiteral("serial number %1").arg(serial);
        } else {
            adapter = m_fleet.findNetwork(options.value(IpOption));
            address = QStringLiteral("IP address %1").arg(options.value(IpOption));
        }
    }

    QList<SimFault> faults = m_fleet.faultsFor(id, adapter);
    for (const SimFault& fault : faults) {
        if (fault.effect == SimFault::Effect::SlowStart && fault.step == 0)
            SimClock::sleepRealMs(fault.delayMs);
    }

    if (id == QLatin1String("batch")) {
        SimBatchRun batchRun(m_clock, adapter, address, options, faults);
        batchRun.setFleetClock([this] { return m_fleet.nowMs(); });
        return batchRun.run(arguments.at(1));
    }

    int exitCode = 0;
    if (id.startsWith(QLatin1String("list-"))) {
        // A misbehaving adapter disturbs the whole enumeration.
        const bool network = id == QLatin1String("list-net");
        QList<SimFault> processFaults = faults;
        const qint64 now = m_fleet.nowMs();
        for (const SimAdapter& listed : m_fleet.adapters()) {
            if ((network ? listed.network : listed.usb) && listed.attachedAt(now))
                processFaults += SimFleet::ownFaults(id, listed);
        }
        if (strikeBeforeReply(processFaults, exitCode))
            return exitCode;
        return adapterList(id, faults);
    }
    if (strikeBeforeReply(faults, exitCode))
        return exitCode;
    if (id == QLatin1String("usage")) {
        SimOutput::write(usageText().toUtf8());
        return 0;
    }
    if (id == QLatin1String("probe"))
        return adapterProbe(adapter, address, faults);
    if (id == QLatin1String("info"))
        return deviceInfo(adapter, address, options, faults);
    if (id == QLatin1String("listopns"))
        return completion(faults);
    return gui(adapter, address);
}

int SimCommands::usageError(const QString& message) const
{
    SimOutput::errorLine(QStringLiteral("corvane-sim: %1").arg(message));
    SimOutput::errorLine(QStringLiteral("Run 'corvane-sim batch -h' for usage."));
    return 2;
}

bool SimCommands::strikeBeforeReply(const QList<SimFault>& faults, int& exitCode)
{
    for (const SimFault& fault : faults) {
        switch (fault.effect) {
        case SimFault::Effect::Flood:
            for (int i = 1; i <= fault.lines; ++i)
                SimOutput::write(
                    QStringLiteral("Simulated output line %1 of %2\n").arg(i).arg(fault.lines).toUtf8());
            break;
        case SimFault::Effect::Crash:
            SimFault::crashNow();
        case SimFault::Effect::Hang:
            SimClock::hangForever();
        case SimFault::Effect::Fail:
            SimOutput::write(
                errorText(QStringLiteral("simulated failure (exit code %1)").arg(fault.exitCode)).toUtf8() +
                '\n');
            exitCode = fault.exitCode;
            return true;
        default:
            break;
        }
    }
    return false;
}

int SimCommands::reply(const QJsonObject& object, const QList<SimFault>& faults, int exitCode)
{
    SimOutput::write(SimReply::render(object, faults));
    return exitCode;
}

int SimCommands::adapterList(const QString& commandId, const QList<SimFault>& faults)
{
    const bool network = commandId == QLatin1String("list-net");
    const qint64 now = m_fleet.nowMs();
    QJsonArray devices;
    for (const SimAdapter& listed : m_fleet.adapters()) {
        if (!(network ? listed.network : listed.usb) || !listed.attachedAt(now))
            continue;
        QJsonObject entry;
        entry.insert(QStringLiteral("serial_number"), double(listed.serial));
        entry.insert(QStringLiteral("adapter_ip"), listed.ip);
        entry.insert(QStringLiteral("adapter_nickname"), listed.nickname);
        SimReply::shapeElement(entry, SimFleet::ownFaults(commandId, listed));
        devices.append(entry);
    }
    QJsonObject result;
    result.insert(QStringLiteral("device_count"), devices.size());
    result.insert(QStringLiteral("devices"), devices);
    QJsonObject object;
    object.insert(QStringLiteral("result"), result);
    return reply(object, faults, 0);
}

int SimCommands::adapterProbe(const SimAdapter* adapter, const QString& address,
                              const QList<SimFault>& faults)
{
    QJsonObject object;
    if (!adapter) {
        object.insert(QStringLiteral("success"), false);
        object.insert(QStringLiteral("error"), QStringLiteral("No adapter found with %1.").arg(address));
        return reply(object, faults, 1);
    }
    QJsonObject kit;
    kit.insert(QStringLiteral("j_link_serial"), double(adapter->serial));
    kit.insert(QStringLiteral("ip_address"), adapter->ip.isEmpty() ? QStringLiteral("unknown") : adapter->ip);
    kit.insert(QStringLiteral("debug_part"), adapter->partDetectable ? adapter->part : QString());
    kit.insert(QStringLiteral("nickname"), adapter->nickname);
    QJsonObject result;
    result.insert(QStringLiteral("kit_info"), kit);
    object.insert(QStringLiteral("success"), true);
    object.insert(QStringLiteral("result"), result);
    return reply(object, faults, 0);
}

int SimCommands::deviceInfo(const SimAdapter* adapter, const QString& address, const SimArguments& arguments,
                            const QList<SimFault>& faults)
{
    QJsonObject object;
    QString failure;
    QString part;
    const qint64 now = m_fleet.nowMs();
    if (!adapter)
        failure = QStringLiteral("No adapter found with %1.").arg(address);
    else if (!adapter->hasTargetAt(now))
        failure = QStringLiteral("No target is attached to the adapter.");
    else if (adapter->partDetectable)
        part = adapter->part;
    else if (arguments.has(QStringLiteral("--device")))
        part = arguments.value(QStringLiteral("--device"));
    else
        failure = QStringLiteral("Could not identify the target; pass its part number with --device.");

    if (!failure.isEmpty()) {
        object.insert(QStringLiteral("success"), false);
        object.insert(QStringLiteral("error"), failure);
        return reply(object, faults, 1);
    }
    QJsonObject info;
    info.insert(QStringLiteral("part_number"), part);
    if (const SimTarget* board = adapter->targetAt(now); board && !board->uniqueId.isEmpty())
        info.insert(QStringLiteral("unique_id"), board->uniqueId);
    QJsonObject result;
    result.insert(QStringLiteral("device_info"), info);
    object.insert(QStringLiteral("success"), true);
    object.insert(QStringLiteral("result"), result);
    return reply(object, faults, 0);
}

int SimCommands::completion(const QList<SimFault>& faults)
{
    QJsonObject object;
    object.insert(QStringLiteral("info"), QJsonArray::fromStringList(m_fleet.partNumbers()));
    return reply(object, faults, 0);
}

int SimCommands::gui(const SimAdapter* adapter, const QString& address)
{
    if (!adapter) {
        SimOutput::write(errorText(QStringLiteral("No adapter found with %1.").arg(address)).toUtf8() + '\n');
        return 1;
    }
    SimOutput::write(
        QStringLiteral("Opening the Corvane window for adapter %1.\n").arg(adapter->serial).toUtf8());
    return 0;
}
