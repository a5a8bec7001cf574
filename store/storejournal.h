#pragma once

#include <QCoreApplication>
#include <QFile>
#include <QList>
#include <QMutex>
#include <QString>
#include <QVariantMap>

#include <memory>
#include <vector>

class QLockFile;

// The records a program has handed to the store but the store has not yet
// taken, kept in a file of their own beside the settings: one file per
// running program (two stations' programs, or a window and a --run, never
// write into one file), one JSON line per record, written and flushed before
// the record goes to the database thread. A kill at any moment thus leaves
// every record either in the store or here. The file starts with the store's
// URL, so whoever replays it writes to the right store. Once the store has
// everything the file is emptied; it is removed when the program ends with
// nothing waiting. A lock file beside it tells others the program still runs.
class StoreJournal
{
    Q_DECLARE_TR_FUNCTIONS(StoreJournal)

public:
    // `folder` holds the journals; the file itself is made with the first record.
    StoreJournal(const QString& folder, const QString& storeUrl);
    ~StoreJournal();
    StoreJournal(const StoreJournal&) = delete;
    StoreJournal& operator=(const StoreJournal&) = delete;

    // Appends a record with the next sequence number ("seq") and returns the number; 0 when the
    // file cannot be written (the reason is in errorString()). Any thread.
    qint64 append(QVariantMap record);
    // Every record up to `sequence` is in the store: the file is emptied when nothing newer was added.
    void committed(qint64 sequence);
    QString filePath() const { return path; }
    QString errorString() const;

    // The folder beside the settings file.
    static QString defaultFolder();

    // A journal left by a program that no longer runs, claimed by this one (others leave it alone).
    struct Orphan
    {
        QString path;
        QString storeUrl;
        QList<QVariantMap> records;
        std::shared_ptr<QLockFile> lock;
    };
    // Claims and reads the journals in `folder` that no running program holds, except `ownPath`.
    static std::vector<Orphan> claimOrphans(const QString& folder, const QString& ownPath);
    // Removes a replayed journal and its lock.
    static void remove(Orphan& orphan);
    // Reads a journal: the store's URL and the records; a line cut short by a kill is left out.
    static bool read(const QString& path, QString* storeUrl, QList<QVariantMap>* records);

    static QByteArray line(const QVariantMap& record);

private:
    bool openFile();

    mutable QMutex mutex;
    QString folder;
    QString url;
    QString path;
    QFile file;
    std::unique_ptr<QLockFile> lock;
    bool headerWritten = false;
    qint64 lastSequence = 0;
    qint64 lastCommitted = 0;
    QString error;
};
