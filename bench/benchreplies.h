#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

// An "adapter list" reply with `count` adapters, serial numbers counting up
// from `firstSerial`; network adapters get addresses of their own.
inline QByteArray benchListReply(int count, quint32 firstSerial, bool network)
{
    QJsonArray devices;
    for (int i = 0; i < count; ++i) {
        QJsonObject device;
        device.insert(QStringLiteral("serial_number"), double(firstSerial + quint32(i)));
        device.insert(QStringLiteral("adapter_ip"),
                      network ? QStringLiteral("10.%1.%2.%3").arg(i / 65536).arg((i / 256) % 256).arg(i % 256)
                              : QString());
        device.insert(QStringLiteral("adapter_nickname"), QStringLiteral("bench-%1").arg(i));
        devices.append(device);
    }
    QJsonObject result;
    result.insert(QStringLiteral("device_count"), devices.size());
    result.insert(QStringLiteral("devices"), devices);
    QJsonObject reply;
    reply.insert(QStringLiteral("result"), result);
    return QJsonDocument(reply).toJson(QJsonDocument::Compact);
}
