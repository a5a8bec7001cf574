#pragma once

#include "simfault.h"
#include "simoutput.h"

#include <QList>
#include <QMap>
#include <QString>
#include <QVariant>

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
};
