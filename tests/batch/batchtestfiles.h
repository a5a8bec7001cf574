#pragma once

#include "batchutil.h"
#include "forkedprocess.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTemporaryDir>

// File helpers shared by the batch tests.
namespace BatchTestFiles {

inline bool writeFile(const QString& path, const QByteArray& data)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(data) == data.size();
}

inline QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Every entry below `directory`, relative, sorted; folders end with "/". Links are listed, not followed.
inline QStringList tree(const QString& directory)
{
    QStringList entries;
    QDirIterator it(directory, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QFileInfo info(it.next());
        entries << QDir(directory).relativeFilePath(info.filePath()) +
                       (info.isDir() && !info.isSymLink() ? "/" : "");
    }
    entries.sort();
    return entries;
}

// A PATH folder holding only links to the named programs from /usr/bin.
inline bool linkPrograms(const QString& directory, const QStringList& programs)
{
    for (const QString& program : programs)
        if (!QFile::link("/usr/bin/" + program, QDir(directory).filePath(program)))
            return false;
    return true;
}

// The member names of an archive as the standard unzip lists them, from a copy under a plain name
// (unzip reads its archive argument as a pattern).
inline QStringList archiveMembers(const QString& archivePath)
{
    QTemporaryDir folder;
    const QString copy = folder.filePath("listed.zip");
    ForkedProcess process;
    if (QFile::copy(archivePath, copy))
        process.start("/usr/bin/unzip", {"-Z1", copy});
    if (!process.waitForFinished(10000) || process.exitCode() != 0)
        return {"<unzip failed>"};
    return QString::fromUtf8(process.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
}

// The first argument of every signal a spy caught, as text: the messages of errorEncountered.
inline QStringList messages(const QSignalSpy& spy)
{
    QStringList texts;
    for (const QList<QVariant>& signal : spy)
        texts << signal.at(0).toString();
    return texts;
}

// A job bundle as BatchUtil reads it, with the error messages of the read.
struct Bundle
{
    bool ok = false;
    QList<QMap<QString, QVariant>> steps;
    QList<BatchUtil::DeviceEntry> devices;
    bool applied = false;
    QString tif;
    int speed = 0;
    QStringList parameters, errors;
};

inline Bundle readBundle(BatchUtil& util, const QString& path)
{
    QSignalSpy spy(&util, &BatchUtil::errorEncountered);
    Bundle b;
    b.ok = util.bundleRead(path, b.steps, b.devices, b.applied, b.tif, b.speed, b.parameters);
    b.errors = messages(spy);
    return b;
}

// Sets an environment variable until the returned guard goes out of scope.
inline auto scopedEnvironment(const char* name, const QByteArray& value)
{
    const bool wasSet = qEnvironmentVariableIsSet(name);
    const QByteArray previous = qgetenv(name);
    qputenv(name, value);
    return qScopeGuard([=] { wasSet ? void(qputenv(name, previous)) : void(qunsetenv(name)); });
}

} // namespace BatchTestFiles
