#include "corvanereplies.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>

namespace CorvaneReplies {

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("CorvaneReplies", text);
}

QString outputText(const QByteArray& standardOutput)
{
    return QString::fromUtf8(standardOutput);
}

// The reply as a JSON object; false when it is anything else.
bool parseObject(const QByteArray& standardOutput, QJsonObject& object)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(standardOutput, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return false;
    object = document.object();
    return true;
}

// "success" counts only as a real boolean true; the text "true" does not.
bool succeeded(const QJsonObject& reply)
{
    const QJsonValue success = reply.value(QStringLiteral("success"));
    return success.isBool() && success.toBool();
}

} // namespace

QStringList discoveryArguments()
{
    return {QStringLiteral("adapter"), QStringLiteral("list"), QStringLiteral("--noconnect"),
            QStringLiteral("--json")};
}

QStringList ipDiscoveryExtraArguments()
{
    return {QStringLiteral("--net")};
}

QStringList probeArguments()
{
    return {QStringLiteral("adapter"), QStringLiteral("probe"), QStringLiteral("--json")};
}

QStringList detectionArguments()
{
    return {QStringLiteral("device"), QStringLiteral("info"), QStringLiteral("--json")};
}

QStringList completionArguments()
{
    return {QStringLiteral("completion"), QStringLiteral("listopns"), QStringLiteral("--json")};
}

QStringList probeDeviceArguments(bool usb, const QString& serialNumber, const QString& ipAddress)
{
    if (usb)
        return {QStringLiteral("--serialno"), serialNumber.trimmed()};
    return {QStringLiteral("--ip"), ipAddress.trimmed()};
}

QStringList detectionDeviceArguments(bool usb, const QString& serialNumber, const QString& ipAddress,
                                     const QString& targetPart)
{
    QStringList arguments;
    const QString part = targetPart.trimmed();
    if (!part.isEmpty())
        arguments << QStringLiteral("--device") << part;
    return arguments + probeDeviceArguments(usb, serialNumber, ipAddress);
}

QString serialNumberText(const QJsonValue& value)
{
    if (value.isUndefined())
        return QString();
    if (!value.isDouble())
        return QStringLiteral("0");
    const double number = value.toDouble();
    if (!(number >= 0.0 && number <= 4294967295.0) || std::floor(number) != number)
        return QStringLiteral("0");
    return QString::number(quint32(number));
}

DiscoveryReply readDiscoveryReply(int exitCode, const QByteArray& standardOutput)
{
    DiscoveryReply reply;
    if (exitCode != 0) {
        reply.errorMessage = tr("Device discovery process failed with exit code %1. Process output:\n\n%2")
                                 .arg(exitCode)
                                 .arg(outputText(standardOutput));
        return reply;
    }

    QJsonObject document;
    if (!parseObject(standardOutput, document)) {
        reply.errorMessage = tr("Could not parse device discovery output. Process output:\n\n%1")
                                 .arg(outputText(standardOutput));
        return reply;
    }

    const QJsonValue result = document.value(QStringLiteral("result"));
    const QJsonObject resultObject = result.toObject();
    if (!result.isObject() || !resultObject.contains(QStringLiteral("device_count")) ||
        !resultObject.contains(QStringLiteral("devices")) ||
        !resultObject.value(QStringLiteral("devices")).isArray()) {
        reply.errorMessage = tr("Could not find list of devices in discovery output. Process output:\n\n%1")
                                 .arg(outputText(standardOutput));
        return reply;
    }

    reply.ok = true;
    // The count decides first: a count of 0 adds nothing whatever the list holds.
    const int deviceCount = resultObject.value(QStringLiteral("device_count")).toInt(0);
    const QJsonArray devices = resultObject.value(QStringLiteral("devices")).toArray();
    if (deviceCount == 0 || devices.isEmpty())
        return reply;

    reply.adapters.reserve(devices.size());
    for (const QJsonValue& element : devices) {
        if (!element.isObject())
            continue;
        const QJsonObject device = element.toObject();
        DiscoveredAdapter adapter;
        adapter.serialNumber = serialNumberText(device.value(QStringLiteral("serial_number")));
        adapter.ipAddress = device.value(QStringLiteral("adapter_ip")).toString();
        adapter.nickname = device.value(QStringLiteral("adapter_nickname")).toString();
        reply.adapters.append(adapter);
    }
    return reply;
}

ProbeReply readProbeReply(const QByteArray& standardOutput)
{
    ProbeReply reply;
    const QString toolTip = tr("Process output:\n\n%1").arg(outputText(standardOutput));

    QJsonObject document;
    if (!parseObject(standardOutput, document)) {
        reply.errorMessage = tr("Could not parse adapter probe output.");
        reply.toolTip = toolTip;
        return reply;
    }
    if (!succeeded(document)) {
        reply.errorMessage = tr("Adapter probe command failed.");
        reply.toolTip = toolTip;
        return reply;
    }
    const QJsonValue result = document.value(QStringLiteral("result"));
    const QJsonValue kitInfo = result.toObject().value(QStringLiteral("kit_info"));
    if (!result.isObject() || !kitInfo.isObject()) {
        reply.errorMessage = tr("Could not find kit info in adapter probe output.");
        reply.toolTip = toolTip;
        return reply;
    }

    const QJsonObject kit = kitInfo.toObject();
    reply.ok = true;
    reply.serialNumber = serialNumberText(kit.value(QStringLiteral("j_link_serial")));
    const QString ipAddress = kit.value(QStringLiteral("ip_address")).toString();
    if (ipAddress.toLower() != QStringLiteral("unknown"))
        reply.ipAddress = ipAddress;
    reply.targetPart = kit.value(QStringLiteral("debug_part")).toString();
    reply.nickname = kit.value(QStringLiteral("nickname")).toString();
    return reply;
}

DetectionReply readDetectionReply(const QByteArray& standardOutput)
{
    DetectionReply reply;
    QJsonObject document;
    if (!parseObject(standardOutput, document)) {
        reply.errorMessage = tr("Could not parse 'device info' output.");
        return reply;
    }
    if (!succeeded(document)) {
        reply.errorMessage = tr("Command 'device info' failed. Provide a hint in the 'Target Part' column.");
        return reply;
    }
    const QJsonValue result = document.value(QStringLiteral("result"));
    const QJsonValue deviceInfo = result.toObject().value(QStringLiteral("device_info"));
    if (!result.isObject() || !deviceInfo.isObject()) {
        reply.errorMessage = tr("Could not detect target part.");
        return reply;
    }
    // A part number that is not text (null, a number) is as unavailable as a
    // missing one.
    const QJsonValue partNumber = deviceInfo.toObject().value(QStringLiteral("part_number"));
    if (!partNumber.isString()) {
        reply.errorMessage = tr("Could not detect target part - part number is not available.");
        return reply;
    }
    reply.ok = true;
    reply.partNumber = partNumber.toString();
    return reply;
}

QStringList readCompletionReply(const QByteArray& standardOutput)
{
    QJsonObject document;
    if (!parseObject(standardOutput, document))
        return {};
    const QJsonValue info = document.value(QStringLiteral("info"));
    if (!info.isArray())
        return {};
    QStringList partNumbers;
    const QJsonArray array = info.toArray();
    partNumbers.reserve(array.size());
    for (const QJsonValue& element : array)
        if (element.isString())
            partNumbers.append(element.toString());
    return partNumbers;
}

} // namespace CorvaneReplies
