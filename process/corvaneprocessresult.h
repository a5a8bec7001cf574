#pragma once

#include <QByteArray>
#include <QMetaType>
#include <QString>

// The outcome of one finished invocation. Whether it crashed is not kept:
// callers judge by the exit code alone.
struct CorvaneProcessResult
{
    QString id;
    int exitCode = 0;
    QByteArray stdoutData;
    QByteArray stderrData;
};

Q_DECLARE_METATYPE(CorvaneProcessResult)
