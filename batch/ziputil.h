#pragma once

#include <QObject>
#include <QStringList>

// Makes and unpacks zip archives with the system's zip and unzip programs, synchronously. Every wait
// for a child process is bounded by the process time limit (30000 ms unless changed).
//
// The child processes never ask anything: their input is the null device and they run in a session of
// their own, without a controlling terminal, so a prompt (password, full disk) ends the run with an
// error instead of waiting for an answer nobody will give.
class ZipUtil : public QObject
{
    Q_OBJECT

public:
    static constexpr int DefaultProcessTimeoutMs = 30000;

    explicit ZipUtil(QObject* parent = nullptr);

    int processTimeout() const { return m_processTimeoutMs; }
    void setProcessTimeout(int milliseconds) { m_processTimeoutMs = milliseconds; }

    bool checkSystemZipUtilitiesAvailable();
    bool runProcess(QString program, QStringList arguments, QString commandText, QString workingDirectory,
                    int timeoutMs);
    bool zip(QString directory, QString zipFilePath);
    bool zip(QString zipFilePath, QStringList items, QString workingDirectory);
    // Extracts into targetDirectory, which is treated as a staging folder: afterwards (also after a
    // failure) symbolic links in it are removed and its folders are made removable again. An archive that
    // held links fails. extractedFiles lists the regular files at the folder's top level.
    bool unzip(QString zipFilePath, QString targetDirectory, QStringList& extractedFiles);

    QString renameToZip(QString path, QString& oldSuffix);
    QString restoreOriginalExtension(QString path, QString suffix);

signals:
    void errorEncountered(QString errorMessage);
    void warning(QString message);
    void infoMessage(QString message);

private:
    bool createArchive(const QString& zipFilePath, const QStringList& options, const QStringList& inputs,
                       const QString& workingDirectory);
    bool checkUtility(const QString& program);

    int m_processTimeoutMs = DefaultProcessTimeoutMs;
};
