#pragma once

#include "simadapter.h"
#include "simfault.h"

#include <QList>
#include <QString>
#include <QStringList>

// The adapters the simulator pretends to see, the part numbers it knows and the fleet-wide faults.
class SimFleet
{
public:
    // The fleet used when no fleet file is named: enough variety for the demo, no faults.
    static SimFleet builtIn();

    // Replaces this fleet by the one described in a YAML fleet file. On failure the fleet is left
    // as it was and error holds one sentence.
    bool load(const QString& path, QString& error);

    const QList<SimAdapter>& adapters() const { return m_adapters; }
    const QStringList& partNumbers() const { return m_partNumbers; }

    // Only adapters attached at this moment are found.
    const SimAdapter* findUsb(quint32 serial) const;
    const SimAdapter* findNetwork(const QString& ip) const;

    // The fleet's clock for hot-plug windows: milliseconds since its epoch, which is
    // CORVANE_SIM_EPOCH_MS (Unix milliseconds) when set, else the fleet file's modification time.
    // Every simulator process of a test reads the same epoch, so they agree on what is attached.
    qint64 nowMs() const;
    void setEpochMs(qint64 epochMs) { m_epochMs = epochMs; }
    void setEpochFromEnvironment();

    // The fleet-wide faults and, when an adapter is given, its own faults that strike this command.
    QList<SimFault> faultsFor(const QString& commandId, const SimAdapter* adapter) const;
    static QList<SimFault> ownFaults(const QString& commandId, const SimAdapter& adapter);

private:
    QList<SimAdapter> m_adapters;
    QStringList m_partNumbers;
    QList<SimFault> m_faults;
    qint64 m_epochMs = 0;
};
