#pragma once

#include "simfault.h"
#include "simoutput.h"

#include <QList>
#include <QMap>
#include <QString>
#include <QVariant>

#include <functional>

class SimArguments;
class SimClock;
struct SimAdapter;

// Runs the steps of a job bundle on one simulated adapter: each enabled step prints "Running action
// N" (N its position in the job file) and then its progress, taking simulated time by step type.
class SimBatchRun
{
public:
    SimBatchRun(SimClock& clock, const SimAdapter* adapter, const QString& address,
                const SimArguments& arguments, const QList<SimFault>& faults);

    // The fleet's hot-plug clock; without one the adapter and its board stay as they were.
    void setFleetClock(std::function<qint64()> nowMs) { m_nowMs = std::move(nowMs); }

    int run(const QString& bundlePath);

private:
    using Step = QMap<QString, QVariant>;

    bool readOptions(QString& error);
    bool substitute(Step& step);
    bool strike(int action);
    bool runStep(const Step& step);

    bool installAdapterFirmware(const Step& step);
    bool setAdapterDebugMode(const Step& step);
    bool logDeviceInfo();
    bool flashTargetDevice(const Step& step);
    bool massEraseTargetDevice();
    bool lockUnlockTargetDevice(const Step& step);
    bool recoverTargetDevice();
    bool waitStep(const Step& step);
    bool runCustomCommand(const Step& step);

    bool requireTarget();
    // False (and the run failed) when the adapter or its board went away: hot-plug only.
    bool stillConnected();
    bool hasTarget() const;
    bool pause(qint64 ms);
    bool timedOut();
    bool progress(const QString& label, qint64 totalMs, int parts);
    bool fail(const QString& message, int exitCode = 1);
    void say(const QString& text) { m_output.line(text); }

    SimClock& m_clock;
    const SimAdapter* m_adapter;
    QString m_address;
    const SimArguments& m_arguments;
    QList<SimFault> m_faults;
    SimOutput m_output;
    QMap<QString, QString> m_parameters;
    qint64 m_timeoutSeconds = 0;
    QString m_targetPart;
    QByteArray m_runSuffix;
    int m_action = 0;
    int m_exitCode = 0;
    std::function<qint64()> m_nowMs;
    bool m_boardAtStart = false;
};
