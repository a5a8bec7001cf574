#pragma once

#include "simulatorrecord.h"

#include <QDir>
#include <QFile>
#include <QList>
#include <QStringList>
#include <QTemporaryDir>

#include <algorithm>
#include <tuple>

// The device simulator's surroundings for one test class: its fleet, its
// invocation record, no simulated waiting, and a temporary folder of the
// test's own for run folders. The environment is put back when the session
// ends, since test classes share the process.
class SimulatorSession
{
public:
    // Seven adapters, two of them failing on purpose: 801030007 with exit code 5 at its
    // second action, 801030008 by crashing in its third.
    static QByteArray faultyFleet()
    {
        return "adapters:\n"
               "  - {serial: 801002345, nickname: bench-left, part: KM32G101F512}\n"
               "  - {serial: 801002346, nickname: bench-right, part: KM32G101F256}\n"
               "  - {serial: 801017733, nickname: rack-a1, part: KM24L052C128}\n"
               "  - {serial: 801017734, part: KM24L052C128}\n"
               "  - {serial: 801020001, nickname: bench-dual, ip: 192.0.2.20, part: KX12B016A128}\n"
               "  - serial: 801030007\n    part: KM32G101F512\n"
               "    faults: [{command: batch, effect: fail, step: 2, exit_code: 5}]\n"
               "  - serial: 801030008\n    part: KM32G101F512\n"
               "    faults: [{command: batch, effect: crash, step: 3}]\n";
    }

    explicit SimulatorSession(const QByteArray& fleet)
    {
        QDir(dir.path()).mkpath(QStringLiteral("tmp"));
        QFile file(dir.filePath(QStringLiteral("fleet.yaml")));
        if (file.open(QIODevice::WriteOnly))
            file.write(fleet);
        set("CORVANE_SIM_FLEET", file.fileName());
        set("CORVANE_SIM_RECORD", recordPath());
        set("CORVANE_SIM_SPEED", QStringLiteral("0"));
        set("TMPDIR", temporaryFolder());
    }

    ~SimulatorSession()
    {
        for (const auto& [name, wasSet, value] : saved)
            wasSet ? qputenv(name, value) : qunsetenv(name);
    }

    QString filePath(const QString& name) const { return dir.filePath(name); }
    QString recordPath() const { return dir.filePath(QStringLiteral("record.jsonl")); }
    // Where run folders land; empty again once every run has cleaned up.
    QString temporaryFolder() const { return dir.filePath(QStringLiteral("tmp")); }
    // What the program left in the temporary folder. A simulator ended mid-job cannot remove
    // its own folder ("corvane-sim-..."); that one is the tool's, not the program's.
    QStringList runFolders() const
    {
        QStringList left =
            QDir(temporaryFolder()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden);
        left.erase(std::remove_if(
                       left.begin(), left.end(),
                       [](const QString& name) { return name.startsWith(QLatin1String("corvane-sim-")); }),
                   left.end());
        return left;
    }

    static void setSpeed(const char* factor) { qputenv("CORVANE_SIM_SPEED", factor); }
    void clearRecord() const { QFile::remove(recordPath()); }

    // The argument lists of the recorded batch runs; processes may finish in
    // any order, so they are sorted from the connection on.
    QList<QStringList> batchInvocations() const
    {
        QList<QStringList> lists = recordedBatchArguments(recordPath());
        std::sort(lists.begin(), lists.end(),
                  [](const QStringList& a, const QStringList& b) { return a.mid(2) < b.mid(2); });
        return lists;
    }

private:
    void set(const char* name, const QString& value)
    {
        saved.append({name, qEnvironmentVariableIsSet(name), qgetenv(name)});
        qputenv(name, QFile::encodeName(value));
    }

    QTemporaryDir dir;
    QList<std::tuple<const char*, bool, QByteArray>> saved;
};
