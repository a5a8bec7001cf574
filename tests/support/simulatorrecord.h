#pragma once

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QList>
#include <QStringList>

// The argument lists of the batch runs in a device simulator's invocation
// record (one JSON object a line), in the order they were recorded.
inline QList<QStringList> recordedBatchArguments(const QString& recordPath)
{
    QList<QStringList> lists;
    QFile record(recordPath);
    if (!record.open(QIODevice::ReadOnly))
        return lists;
    for (const QByteArray& line : record.readAll().split('\n')) {
        const QJsonObject object = QJsonDocument::fromJson(line).object();
        if (object.value(QStringLiteral("command")).toString() == QLatin1String("batch"))
            lists << object.value(QStringLiteral("arguments")).toVariant().toStringList();
    }
    return lists;
}
