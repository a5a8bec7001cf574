#include "simfleet.h"

#include <QDateTime>
#include <QFileInfo>
#include <QSet>

#include <yaml-cpp/yaml.h>

#include <limits>

namespace {

QStringList builtInPartNumbers()
{
    return {
        QStringLiteral("KM32G101F512"),  QStringLiteral("KM32G101F256"), QStringLiteral("KM32G101F128"),
        QStringLiteral("KM24L052C128"),  QStringLiteral("KM24L052C064"), QStringLiteral("KM40H330F1024"),
        QStringLiteral("KM40H330F2048"), QStringLiteral("KX12B008A064"), QStringLiteral("KX12B016A128"),
        QStringLiteral("TR7A220M0512"),
    };
}

SimAdapter adapter(quint32 serial, const QString& nickname, const QString& part, double speed)
{
    SimAdapter a;
    a.serial = serial;
    a.nickname = nickname;
    a.part = part;
    a.flashKiBPerSecond = speed;
    return a;
}

// Reading errors travel as exceptions inside this file only; load() turns them into a sentence.
struct FleetError
{
    QString message;
};

QString text(const YAML::Node& node)
{
    return QString::fromStdString(node.as<std::string>());
}

QString where(const YAML::Node& node)
{
    return QStringLiteral("line %1").arg(node.Mark().line + 1);
}

[[noreturn]] void fail(const YAML::Node& node, const QString& message)
{
    throw FleetError{QStringLiteral("%1 (%2)").arg(message, where(node))};
}

void checkKeys(const YAML::Node& map, const QStringList& known, const QString& what)
{
    if (!map.IsMap())
        fail(map, QStringLiteral("%1 must be a mapping").arg(what));
    for (const auto& entry : map) {
        const QString key = text(entry.first);
        if (!known.contains(key))
            fail(entry.first, QStringLiteral("unknown key '%1' in %2").arg(key, what));
    }
}

bool boolean(const YAML::Node& node)
{
    const QString value = text(node).toLower();
    if (value == QLatin1String("true") || value == QLatin1String("yes"))
        return true;
    if (value == QLatin1String("false") || value == QLatin1String("no"))
        return false;
    fail(node, QStringLiteral("'%1' is not true or false").arg(text(node)));
}

qint64 integer(const YAML::Node& node, qint64 minimum, qint64 maximum)
{
    bool ok = false;
    const qint64 value = text(node).toLongLong(&ok, 10);
    if (!ok || value < minimum || value > maximum)
        fail(node, QStringLiteral("'%1' is not a whole number from %2 to %3")
                       .arg(text(node))
                       .arg(minimum)
                       .arg(maximum));
    return value;
}

QStringList stringList(const YAML::Node& node)
{
    if (!node.IsSequence())
        fail(node, QStringLiteral("expected a list"));
    QStringList list;
    for (const auto& element : node)
        list.append(text(element));
    return list;
}

SimFault readFault(const YAML::Node& node)
{
    checkKeys(node,
              {QStringLiteral("command"), QStringLiteral("effect"), QStringLiteral("exit_code"),
               QStringLiteral("step"), QStringLiteral("delay_ms"), QStringLiteral("lines"),
               QStringLiteral("members"), QStringLiteral("text")},
              QStringLiteral("a fault"));
    SimFault fault;
    if (!node["effect"])
        fail(node, QStringLiteral("a fault needs an 'effect'"));
    if (!SimFault::effectFromName(text(node["effect"]), fault.effect))
        fail(node["effect"], QStringLiteral("unknown effect '%1'").arg(text(node["effect"])));
    if (node["command"]) {
        fault.command = text(node["command"]);
        if (!SimFault::isCommandName(fault.command))
            fail(node["command"], QStringLiteral("unknown command '%1'").arg(fault.command));
    }
    if (node["exit_code"])
        fault.exitCode = int(integer(node["exit_code"], 1, 255));
    if (node["step"])
        fault.step = int(integer(node["step"], 0, 100000));
    if (node["delay_ms"])
        fault.delayMs = int(integer(node["delay_ms"], 0, 3600000));
    if (node["lines"])
        fault.lines = int(integer(node["lines"], 0, 10000000));
    if (node["members"])
        fault.members = stringList(node["members"]);
    if (node["text"])
        fault.text = text(node["text"]);
    if (fault.effect == SimFault::Effect::Missing && fault.members.isEmpty())
        fail(node, QStringLiteral("a 'missing' fault needs 'members'"));
    return fault;
}

QList<SimFault> readFaults(const YAML::Node& node)
{
    if (!node.IsSequence())
        fail(node, QStringLiteral("'faults' must be a list"));
    QList<SimFault> faults;
    for (const auto& element : node)
        faults.append(readFault(element));
    return faults;
}

// A time in milliseconds from the epoch; null (or absent, where allowed) means for good: -1.
qint64 moment(const YAML::Node& node)
{
    if (!node || node.IsNull())
        return -1;
    return integer(node, 0, std::numeric_limits<qint64>::max() / 2);
}

SimWindow window(const YAML::Node& node, qint64 fromMs, qint64 untilMs)
{
    if (untilMs >= 0 && untilMs <= fromMs)
        fail(node, QStringLiteral("a time window must end after it begins"));
    return SimWindow{fromMs, untilMs};
}

QList<SimWindow> readAttached(const YAML::Node& node)
{
    if (!node.IsSequence())
        fail(node, QStringLiteral("'attached' must be a list of [FROM_MS, UNTIL_MS] pairs"));
    QList<SimWindow> windows;
    for (const auto& pair : node) {
        if (!pair.IsSequence() || pair.size() != 2 || pair[0].IsNull())
            fail(pair, QStringLiteral("'attached' must be a list of [FROM_MS, UNTIL_MS] pairs"));
        windows.append(window(pair, moment(pair[0]), moment(pair[1])));
    }
    return windows;
}

QList<SimTarget> readTargets(const YAML::Node& node)
{
    if (!node.IsSequence())
        fail(node, QStringLiteral("'targets' must be a list"));
    QList<SimTarget> targets;
    for (const auto& element : node) {
        checkKeys(element,
                  {QStringLiteral("from_ms"), QStringLiteral("until_ms"), QStringLiteral("unique_id")},
                  QStringLiteral("a target"));
        if (!element["from_ms"] || element["from_ms"].IsNull())
            fail(element, QStringLiteral("a target needs 'from_ms'"));
        SimTarget target;
        target.window = window(element, moment(element["from_ms"]), moment(element["until_ms"]));
        if (element["unique_id"])
            target.uniqueId = text(element["unique_id"]);
        targets.append(target);
    }
    return targets;
}

SimAdapter readAdapter(const YAML::Node& node)
{
    checkKeys(node,
              {QStringLiteral("serial"), QStringLiteral("ip"), QStringLiteral("nickname"),
               QStringLiteral("usb"), QStringLiteral("network"), QStringLiteral("part"),
               QStringLiteral("part_detectable"), QStringLiteral("flash_kib_per_s"), QStringLiteral("faults"),
               QStringLiteral("attached"), QStringLiteral("targets")},
              QStringLiteral("an adapter"));
    SimAdapter a;
    if (!node["serial"])
        fail(node, QStringLiteral("an adapter needs a 'serial'"));
    a.serial = quint32(integer(node["serial"], 1, std::numeric_limits<quint32>::max()));
    if (node["ip"])
        a.ip = text(node["ip"]);
    if (node["nickname"])
        a.nickname = text(node["nickname"]);
    if (node["usb"])
        a.usb = boolean(node["usb"]);
    a.network = node["network"] ? boolean(node["network"]) : !a.ip.isEmpty();
    if (a.network && a.ip.isEmpty())
        fail(node, QStringLiteral("a network adapter needs an 'ip'"));
    if (!a.usb && !a.network)
        fail(node, QStringLiteral("an adapter must be reachable over USB or the network"));
    if (node["part"])
        a.part = text(node["part"]);
    if (node["part_detectable"])
        a.partDetectable = boolean(node["part_detectable"]);
    if (node["flash_kib_per_s"]) {
        bool ok = false;
        a.flashKiBPerSecond = text(node["flash_kib_per_s"]).toDouble(&ok);
        if (!ok || a.flashKiBPerSecond <= 0)
            fail(node["flash_kib_per_s"], QStringLiteral("'flash_kib_per_s' must be a positive number"));
    }
    if (node["faults"])
        a.faults = readFaults(node["faults"]);
    if (node["attached"]) {
        a.timed = true;
        a.attached = readAttached(node["attached"]);
    }
    if (node["targets"]) {
        if (a.part.isEmpty())
            fail(node, QStringLiteral("an adapter with 'targets' needs the boards' 'part'"));
        a.boardsTimed = true;
        a.targets = readTargets(node["targets"]);
    }
    return a;
}

} // namespace

SimFleet SimFleet::builtIn()
{
    SimFleet fleet;
    fleet.m_partNumbers = builtInPartNumbers();

    fleet.m_adapters.append(
        adapter(801002345, QStringLiteral("bench-left"), QStringLiteral("KM32G101F512"), 64));
    fleet.m_adapters.append(
        adapter(801002346, QStringLiteral("bench-right"), QStringLiteral("KM32G101F256"), 48));
    fleet.m_adapters.append(
        adapter(801017733, QStringLiteral("rack-a1"), QStringLiteral("KM24L052C128"), 32));
    fleet.m_adapters.append(adapter(801017734, QString(), QStringLiteral("KM24L052C128"), 40));
    // A serial beyond the signed 32-bit range, as newer adapters have.
    SimAdapter wide = adapter(3000123456u, QStringLiteral("line-3"), QStringLiteral("KM40H330F1024"), 96);
    wide.partDetectable = false;
    fleet.m_adapters.append(wide);

    SimAdapter dual = adapter(801020001, QStringLiteral("bench-dual"), QStringLiteral("KX12B016A128"), 56);
    dual.ip = QStringLiteral("192.0.2.20");
    dual.network = true;
    fleet.m_adapters.append(dual);

    for (const auto& [serial, name, ip, part] : {std::tuple<quint32, const char*, const char*, const char*>{
                                                     803110042, "lab-net-1", "192.0.2.21", "KM40H330F2048"},
                                                 {803110043, "lab-net-2", "192.0.2.22", "TR7A220M0512"}}) {
        SimAdapter a = adapter(serial, QString::fromLatin1(name), QString::fromLatin1(part), 24);
        a.ip = QString::fromLatin1(ip);
        a.usb = false;
        a.network = true;
        fleet.m_adapters.append(a);
    }
    return fleet;
}

bool SimFleet::load(const QString& path, QString& error)
{
    if (!QFileInfo(path).isFile()) {
        error = QStringLiteral("fleet file '%1' does not exist").arg(path);
        return false;
    }
    SimFleet fleet;
    fleet.m_partNumbers = builtInPartNumbers();
    fleet.m_epochMs = QFileInfo(path).lastModified().toMSecsSinceEpoch();
    try {
        const YAML::Node root = YAML::LoadFile(path.toStdString());
        if (root.IsNull()) {
            *this = fleet;
            return true;
        }
        checkKeys(root,
                  {QStringLiteral("adapters"), QStringLiteral("part_numbers"), QStringLiteral("faults")},
                  QStringLiteral("the fleet file"));
        if (root["part_numbers"])
            fleet.m_partNumbers = stringList(root["part_numbers"]);
        if (root["faults"])
            fleet.m_faults = readFaults(root["faults"]);
        if (root["adapters"]) {
            if (!root["adapters"].IsSequence())
                fail(root["adapters"], QStringLiteral("'adapters' must be a list"));
            QSet<quint32> serials;
            for (const auto& element : root["adapters"]) {
                const SimAdapter a = readAdapter(element);
                if (serials.contains(a.serial))
                    fail(element, QStringLiteral("serial %1 appears twice").arg(a.serial));
                serials.insert(a.serial);
                fleet.m_adapters.append(a);
            }
        }
    } catch (const FleetError& e) {
        error = QStringLiteral("fleet file '%1': %2").arg(path, e.message);
        return false;
    } catch (const YAML::Exception& e) {
        error = QStringLiteral("fleet file '%1': %2").arg(path, QString::fromStdString(e.what()));
        return false;
    }
    *this = fleet;
    return true;
}

qint64 SimFleet::nowMs() const
{
    return QDateTime::currentMSecsSinceEpoch() - m_epochMs;
}

void SimFleet::setEpochFromEnvironment()
{
    bool ok = false;
    const qint64 epoch = qEnvironmentVariable("CORVANE_SIM_EPOCH_MS").toLongLong(&ok, 10);
    if (ok)
        m_epochMs = epoch;
}

const SimAdapter* SimFleet::findUsb(quint32 serial) const
{
    const qint64 now = nowMs();
    for (const SimAdapter& a : m_adapters) {
        if (a.usb && a.serial == serial && a.attachedAt(now))
            return &a;
    }
    return nullptr;
}

const SimAdapter* SimFleet::findNetwork(const QString& ip) const
{
    const qint64 now = nowMs();
    for (const SimAdapter& a : m_adapters) {
        if (a.network && a.ip == ip && a.attachedAt(now))
            return &a;
    }
    return nullptr;
}

QList<SimFault> SimFleet::faultsFor(const QString& commandId, const SimAdapter* adapter) const
{
    QList<SimFault> faults;
    for (const SimFault& fault : m_faults) {
        if (fault.appliesTo(commandId))
            faults.append(fault);
    }
    if (adapter)
        faults += ownFaults(commandId, *adapter);
    return faults;
}

QList<SimFault> SimFleet::ownFaults(const QString& commandId, const SimAdapter& adapter)
{
    QList<SimFault> faults;
    for (const SimFault& fault : adapter.faults) {
        if (fault.appliesTo(commandId))
            faults.append(fault);
    }
    return faults;
}
