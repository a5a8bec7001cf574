#pragma once

#include <QByteArray>
#include <QMetaType>
#include <QString>

// The outcome of one finished invocation. The exit code is what callers judge
// success by; the two flags only explain a failure.
struct CorvaneProcessResult
{
    QString id;
    int exitCode = 0;
    QByteArray stdoutData;
    QByteArray stderrData;
    // Ended by a signal (a crash, a kill, or the runner's own time limit).
    bool crashed = false;
    // Killed by the runner because the task's time limit ran out.
    bool timedOut = false;
};

Q_DECLARE_METATYPE(CorvaneProcessResult)
