#pragma once

#include <QString>
#include <QStringList>

// Appends one JSON line per invocation to the file named by CORVANE_SIM_RECORD, so tests can see
// exactly what the caller ran.
class SimRecorder
{
public:
    static void record(const QString& commandId, const QStringList& arguments);
};
