#pragma once

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
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
    QStringList runFolders() const
    {
        return QDir(temporaryFolder()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden);
    }

    static void setSpeed(const char* factor) { qputenv("CORVANE_SIM_SPEED", factor); }
    void clearRecord() const { QFile::remove(recordPath()); }

    // The argument lists of the recorded batch runs; processes may finish in
    // any order, so they are sorted from the connection on.
    QList<QStringList> batchInvocations() const
    {
        QList<QStringList> lists;
        QFile record(recordPath());
        if (!record.open(QIODevice::ReadOnly))
            return lists;
        for (const QByteArray& line : record.readAll().split('\n')) {
            const QJsonObject object = QJsonDocument::fromJson(line).object();
            if (object.value(QStringLiteral("command")).toString() == QLatin1String("batch"))
                lists << object.value(QStringLiteral("arguments")).toVariant().toStringList();
        }
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
