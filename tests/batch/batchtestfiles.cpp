#include "batchtestfiles.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

namespace BatchTestFiles {

bool writeFile(const QString& path, const QByteArray& data)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(data) == data.size();
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QStringList tree(const QString& directory)
{
    QStringList entries;
    QDirIterator it(directory, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    const QDir root(directory);
    while (it.hasNext()) {
        it.next();
        const QFileInfo info = it.fileInfo();
        entries << root.relativeFilePath(info.filePath()) +
                       (info.isDir() && !info.isSymLink() ? QStringLiteral("/") : QString());
    }
    entries.sort();
    return entries;
}

bool linkPrograms(const QString& directory, const QStringList& programs)
{
    if (!QDir().mkpath(directory))
        return false;
    for (const QString& program : programs) {
        if (!QFile::link(QStringLiteral("/usr/bin/") + program, QDir(directory).filePath(program)))
            return false;
    }
    return true;
}

QStringList archiveMembers(const QString& archivePath)
{
    // unzip reads its archive argument as a pattern; a copy under a plain name avoids that here.
    QTemporaryDir folder;
    const QString copy = folder.filePath(QStringLiteral("listed.zip"));
    if (!QFile::copy(archivePath, copy))
        return {QStringLiteral("<no archive>")};
    QProcess process;
    process.start(QStringLiteral("/usr/bin/unzip"), {QStringLiteral("-Z1"), copy});
    if (!process.waitForFinished(10000) || process.exitCode() != 0)
        return {QStringLiteral("<unzip failed>")};
    QStringList members = QString::fromUtf8(process.readAllStandardOutput()).split(QLatin1Char('\n'));
    members.removeAll(QString());
    return members;
}

} // namespace BatchTestFiles
