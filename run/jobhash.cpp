#include "jobhash.h"

#include "jobrunengine.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

QJsonValue canonicalValue(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::QVariantMap: {
        QJsonObject object; // keeps its keys sorted
        const QVariantMap map = value.toMap();
        for (auto it = map.cbegin(); it != map.cend(); ++it)
            object.insert(it.key(), canonicalValue(it.value()));
        return object;
    }
    case QMetaType::QVariantList:
    case QMetaType::QStringList: {
        QJsonArray array;
        for (const QVariant& item : value.toList())
            array.append(canonicalValue(item));
        return array;
    }
    default:
        return value.toString();
    }
}

} // namespace

namespace JobHash {

QByteArray canonicalForm(const QList<QMap<QString, QVariant>>& steps,
                         const QList<BatchUtil::DeviceEntry>& devices, bool debugOptionsApplied,
                         const QString& debugInterface, int debugSpeed)
{
    QJsonArray stepArray;
    for (const auto& step : steps)
        stepArray.append(canonicalValue(QVariantMap(step)));
    QJsonArray deviceArray;
    for (const BatchUtil::DeviceEntry& device : devices)
        deviceArray.append(QJsonObject{{QStringLiteral("serial"), QString::number(device.serialNumber)},
                                       {QStringLiteral("target"), device.targetDevice},
                                       {QStringLiteral("connection"), QString::number(device.connectionType)},
                                       {QStringLiteral("ip"), device.ip},
                                       {QStringLiteral("nickname"), device.nickname},
                                       {QStringLiteral("selected"), device.selected}});
    const QJsonObject job{{QStringLiteral("steps"), stepArray},
                          {QStringLiteral("devices"), deviceArray},
                          {QStringLiteral("debug_options_applied"), debugOptionsApplied},
                          {QStringLiteral("debug_interface"), debugInterface},
                          {QStringLiteral("debug_speed"), QString::number(debugSpeed)}};
    return QJsonDocument(job).toJson(QJsonDocument::Compact);
}

QString sha256(const QList<QMap<QString, QVariant>>& steps, const QList<BatchUtil::DeviceEntry>& devices,
               bool debugOptionsApplied, const QString& debugInterface, int debugSpeed)
{
    return QString::fromLatin1(QCryptographicHash::hash(canonicalForm(steps, devices, debugOptionsApplied,
                                                                      debugInterface, debugSpeed),
                                                        QCryptographicHash::Sha256)
                                   .toHex());
}

QString sha256(const JobRunRequest& job)
{
    return sha256(job.steps, job.bundleDevices, job.debugOptionsApplied, job.debugInterface, job.debugSpeed);
}

} // namespace JobHash
