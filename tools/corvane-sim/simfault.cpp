#include "simfault.h"

#include <QMap>

#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>

namespace {

const QMap<QString, SimFault::Effect>& effectNames()
{
    static const QMap<QString, SimFault::Effect> names{
        {QStringLiteral("fail"), SimFault::Effect::Fail},
        {QStringLiteral("crash"), SimFault::Effect::Crash},
        {QStringLiteral("hang"), SimFault::Effect::Hang},
        {QStringLiteral("slow_start"), SimFault::Effect::SlowStart},
        {QStringLiteral("garbage"), SimFault::Effect::Garbage},
        {QStringLiteral("success_false"), SimFault::Effect::SuccessFalse},
        {QStringLiteral("missing"), SimFault::Effect::Missing},
        {QStringLiteral("unknown_ip"), SimFault::Effect::UnknownIp},
        {QStringLiteral("non_utf8"), SimFault::Effect::NonUtf8},
        {QStringLiteral("flood"), SimFault::Effect::Flood},
    };
    return names;
}

} // namespace

bool SimFault::appliesTo(const QString& commandId) const
{
    if (command == QLatin1String("any") || command == commandId)
        return true;
    return command == QLatin1String("list") && commandId.startsWith(QLatin1String("list-"));
}

void SimFault::crashNow()
{
    std::fflush(stdout);
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    std::abort();
}

bool SimFault::effectFromName(const QString& name, Effect& effect)
{
    const auto found = effectNames().constFind(name);
    if (found == effectNames().constEnd())
        return false;
    effect = found.value();
    return true;
}

bool SimFault::isCommandName(const QString& name)
{
    static const QStringList names{
        QStringLiteral("any"),      QStringLiteral("list"),  QStringLiteral("list-usb"),
        QStringLiteral("list-net"), QStringLiteral("probe"), QStringLiteral("info"),
        QStringLiteral("listopns"), QStringLiteral("usage"), QStringLiteral("gui"),
        QStringLiteral("batch"),
    };
    return names.contains(name);
}
