#pragma once

#include <QMetaType>
#include <QString>
#include <QStringList>

// One queued invocation of the Corvane executable.
struct CorvaneProcessTask
{
    QString id;            // the caller's key, echoed in every signal about the task
    QStringList arguments; // passed as they are, no shell
    int timeout = 0;       // milliseconds; 0 or less means none
};

Q_DECLARE_METATYPE(CorvaneProcessTask)
