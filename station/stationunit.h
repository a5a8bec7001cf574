#pragma once

#include <QMetaType>
#include <QString>
#include <QStringList>

// One board's run at a station, as it ended.
struct StationUnit
{
    QString slotId;
    QString deviceId;
    bool passed = false;
    // "done", "failed", "crashed", "aborted" or "not started", as the store names outcomes.
    QString outcome;
    qint64 elapsedMs = 0;
    // Why it did not pass; empty when it did.
    QString reason;
    // NAME=VALUE of the data pools the unit drew from, when it used any.
    QStringList poolValues;
};

Q_DECLARE_METATYPE(StationUnit)
