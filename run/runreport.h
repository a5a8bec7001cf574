#pragma once

#include <QHash>
#include <QList>
#include <QMap>
#include <QPair>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>
#include <vector>

class QFile;
struct JobDeviceRun;

// The record of one job run as CSV that spreadsheets open as they are: which
// program and tool ran, the job's steps, the job file and the job's SHA-256, the SHA-256 of every
// file the job uses, then one row per device. Rows are written as devices end
// and flushed at once, so a crash or a power loss keeps those already written.
class RunReport
{
public:
    struct Header
    {
        QString version;
        QString executable;
        QList<QMap<QString, QVariant>> steps;
        // The job file the job came from and its SHA-256 as read; empty when the job is not that file's.
        QString jobFile;
        QString jobFileSha256;
        // The job's own fingerprint (JobHash), the same for the same job from any file.
        QString jobSha256;
        // Files the job uses, with their SHA-256 (empty when they could not be read).
        QList<QPair<QString, QString>> files;
        // The data pools the job names, one column each after the fixed ones, and the value
        // each device received, by device id and pool.
        QStringList pools;
        QHash<QString, QHash<QString, QString>> poolValues;
    };

    RunReport();
    ~RunReport();

    // Creates each file (folders included) and writes the header; false when none could be made.
    bool open(const QStringList& paths, const Header& header);
    void addDevice(const JobDeviceRun& run, const QList<QMap<QString, QVariant>>& steps);
    QStringList paths() const;

    // One CSV field: quoted as RFC 4180 asks, and a text a spreadsheet would take for a
    // formula (starting with =, +, -, @, tab or carriage return) kept as text.
    static QString field(const QString& text);
    // How a device's run ended, as the report, the store and the station name it: "done", "failed",
    // "crashed", "timed out", "aborted" or "not started".
    static QString outcomeWord(const JobDeviceRun& run);
    static QString line(const QStringList& fields);
    // "1 log_device_info; 2 wait (disabled); 3 flash_target_device app.hex".
    static QString stepsInShort(const QList<QMap<QString, QVariant>>& steps);
    // The files the enabled steps name (flash images, adapter firmware not the default),
    // without those whose path holds a variable the tool fills in.
    static QStringList filesOfSteps(const QList<QMap<QString, QVariant>>& steps);
    static QString sha256OfFile(const QString& path);
    // Why a report cannot be written to `path` (a folder, a missing folder, a place that
    // cannot be written); empty when it can. The file itself is left as it was.
    static QString pathProblem(const QString& path);
    // The file name of a run's report in the log folder for a given moment.
    static QString fileName(const QDateTime& moment);

private:
    void write(const QString& text);

    std::vector<std::unique_ptr<QFile>> files;
    QStringList pools;
    QHash<QString, QHash<QString, QString>> poolValues;
};
