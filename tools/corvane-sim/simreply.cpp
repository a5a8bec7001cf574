#include "simreply.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace {

// Stands in for the raw bytes while the reply is still JSON; swapped for them after serialising.
const QString RawMarker = QStringLiteral("@@corvane-sim-raw@@");
const QByteArray RawBytes = QByteArrayLiteral("\xff\xfe");

QJsonValue removeMembers(const QJsonValue& value, const QStringList& members);

QJsonObject removeMembers(QJsonObject object, const QStringList& members)
{
    for (const QString& member : members)
        object.remove(member);
    for (auto it = object.begin(); it != object.end(); ++it)
        it.value() = removeMembers(it.value(), members);
    return object;
}

QJsonValue removeMembers(const QJsonValue& value, const QStringList& members)
{
    if (value.isObject())
        return removeMembers(value.toObject(), members);
    if (value.isArray()) {
        QJsonArray array;
        for (const QJsonValue& element : value.toArray())
            array.append(removeMembers(element, members));
        return array;
    }
    return value;
}

QJsonValue markStrings(const QJsonValue& value)
{
    if (value.isString())
        return value.toString() + RawMarker;
    if (value.isObject()) {
        QJsonObject object = value.toObject();
        for (auto it = object.begin(); it != object.end(); ++it)
            it.value() = markStrings(it.value());
        return object;
    }
    if (value.isArray()) {
        QJsonArray array;
        for (const QJsonValue& element : value.toArray())
            array.append(markStrings(element));
        return array;
    }
    return value;
}

} // namespace

void SimReply::shapeElement(QJsonObject& element, const QList<SimFault>& faults)
{
    for (const SimFault& fault : faults) {
        if (fault.effect == SimFault::Effect::Missing)
            element = removeMembers(element, fault.members);
        else if (fault.effect == SimFault::Effect::NonUtf8)
            element = markStrings(element).toObject();
    }
}

QByteArray SimReply::render(QJsonObject reply, const QList<SimFault>& faults)
{
    for (const SimFault& fault : faults) {
        if (fault.effect == SimFault::Effect::UnknownIp) {
            QJsonObject result = reply.value(QStringLiteral("result")).toObject();
            QJsonObject kit = result.value(QStringLiteral("kit_info")).toObject();
            if (!kit.isEmpty()) {
                kit.insert(QStringLiteral("ip_address"), fault.text);
                result.insert(QStringLiteral("kit_info"), kit);
                reply.insert(QStringLiteral("result"), result);
            }
        } else if (fault.effect == SimFault::Effect::SuccessFalse &&
                   reply.contains(QStringLiteral("success"))) {
            reply.insert(QStringLiteral("success"), false);
        }
    }
    shapeElement(reply, faults);

    QByteArray bytes = QJsonDocument(reply).toJson(QJsonDocument::Indented);
    bytes.replace(RawMarker.toUtf8(), RawBytes);
    for (const SimFault& fault : faults) {
        if (fault.effect == SimFault::Effect::Garbage)
            bytes = QByteArrayLiteral(
                "Corvane: unexpected answer from the adapter\n<kit status 0x3f> {\"result\": [\n");
    }
    return bytes;
}
