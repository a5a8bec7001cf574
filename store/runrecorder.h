#pragma once

#include "storelocation.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

class JobRunEngine;
class QThread;
class StoreJournal;
class StoreWriter;
struct JobDeviceRun;

// Keeps every run of an engine in the production store: the run as it
// starts, each device's result as the device ends, the counts at the end.
// Each record is first appended to this program's journal (on the calling
// thread, a single small write) and then handed to a StoreWriter on a thread
// of its own, which does all database work. While the store cannot be
// reached the run goes on and the records wait in the journal.
class RunRecorder : public QObject
{
    Q_OBJECT

public:
    // Starts the writer at once; it replays what earlier programs left in `journalFolder`.
    explicit RunRecorder(const StoreLocation& location, const QString& journalFolder = QString(),
                         QObject* parent = nullptr);
    // Gives the writer a moment for what is left (results stay in the journal otherwise).
    ~RunRecorder() override;

    // Call before the first run: the station's name in the store (the host name otherwise).
    void setStationName(const QString& name);
    // Optional: shorter waits between attempts, for tests.
    void setRetryDelays(int firstMs, int longestMs);

    // Follows the engine's runs from now on.
    void watch(JobRunEngine* engine);
    // The window's recorder: records changes of the settings that matter in the store's audit, and
    // moves to another store when the setting names one (after the current run, if any).
    void followSettings();
    // The bundle file the next runs come from (empty: a job only on screen), and who runs them.
    void setJobFile(const QString& path);
    void setOperatorName(const QString& name) { operatorName = name; }

    // Device results handed over but not yet in the store.
    int waitingResults() const;
    QString problem() const { return lastProblem; }
    QString journalPath() const;
    const StoreLocation& location() const { return where; }

    // Waits at most `timeoutMs` until everything handed over has been tried; true when nothing waits.
    bool settle(int timeoutMs);

    // "Production database unreachable: N results waiting".
    static QString unreachableText(int results);

signals:
    // The store is away with results waiting (the text above), or a record was refused.
    void errorEncountered(const QString& message);
    void waitingChanged(int results);

private:
    void startWriter();
    void stopWriter();
    void relocate(const StoreLocation& location);
    void onSettingChanged(const QString& group, const QString& key, const QVariant& oldValue,
                          const QVariant& newValue);
    void hand(const QVariantMap& record);
    QString currentStation() const;
    void onRunStarting(const QStringList& ids);
    void onDeviceFinished(const JobDeviceRun& run);
    void onDeviceAborted(const QString& id);
    void onRunFinished();
    void onWaiting(int results, const QString& problem);

    StoreLocation where;
    QString folder;
    std::unique_ptr<StoreJournal> journal;
    QThread* thread = nullptr;
    StoreWriter* writer = nullptr;
    JobRunEngine* engine = nullptr;
    QString runId;
    QStringList refused;
    QString stationName;
    QString jobFile;
    QString jobFileSha256;
    QString operatorName;
    qint64 handed = 0;
    int handedResults = 0;
    int waitingCount = 0;
    QString lastProblem;
    bool journalBroken = false;
    // A store named in the settings while a run was on: taken when it ends.
    std::unique_ptr<StoreLocation> nextLocation;
    int retryFirstMs = 0;
    int retryLongestMs = 0;
};
