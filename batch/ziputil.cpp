#include "ziputil.h"

#include "forkedprocess.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// A child that cannot ask anything. Input comes from the null device, so a question read from stdin
// (unzip's "disk full, continue?") sees end of file; setsid() gives it a session without a controlling
// terminal, so a question asked on /dev/tty fails too, even when the program was started from a
// terminal. Output is not needed and is discarded rather than buffered.
class NonInteractiveProcess : public ForkedProcess
{
public:
    NonInteractiveProcess()
    {
        setStandardInputFile(QProcess::nullDevice());
        setStandardOutputFile(QProcess::nullDevice());
        setStandardErrorFile(QProcess::nullDevice());
    }
    ~NonInteractiveProcess() override { stop(); }

    void stop()
    {
        if (state() == QProcess::NotRunning)
            return;
        terminate();
        if (!waitForFinished(1000)) {
            kill();
            waitForFinished(5000);
        }
    }

protected:
    void setupChildProcess() override { ::setsid(); }
};

QString native(const QString& path)
{
    return QDir::toNativeSeparators(path);
}

QString commandLineText(const QString& program, const QStringList& arguments)
{
    QStringList parts{program};
    for (const QString& argument : arguments)
        parts << (argument.isEmpty() ? QStringLiteral("\"\"") : argument);
    return parts.join(QLatin1Char(' '));
}

// unzip reads its archive argument as a wildcard pattern as soon as the file name holds '*', '?' or
// '[' (it would open "job1.zip" for "job[1].zip"). Each special character of the file name is then put
// in brackets so that only the file itself matches; the folder part is always taken literally.
QString literalArchiveArgument(const QString& absolutePath)
{
    const int slash = absolutePath.lastIndexOf(QLatin1Char('/'));
    const QString name = absolutePath.mid(slash + 1);
    const auto isWildcard = [](QChar c) {
        return c == QLatin1Char('*') || c == QLatin1Char('?') || c == QLatin1Char('[');
    };
    if (std::none_of(name.cbegin(), name.cend(), isWildcard))
        return absolutePath;
    QString escaped = absolutePath.left(slash + 1);
    for (const QChar c : name) {
        if (isWildcard(c))
            escaped += QLatin1Char('[') + c + QLatin1Char(']');
        else if (c == QLatin1Char('\\'))
            escaped += QStringLiteral("[\\\\]");
        else
            escaped += c;
    }
    return escaped;
}

// Makes an extracted tree safe to read and to delete: symbolic links are removed (nothing is ever read
// through one), and folders and files get owner access back, because unzip restores the archive's modes
// and a read-only folder would keep its contents from being removed. Returns whether links were found.
bool removeLinksAndUnlock(const QString& directory)
{
    bool hadLinks = false;
    const QFileInfoList entries =
        QDir(directory).entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    for (const QFileInfo& entry : entries) {
        if (entry.isSymLink()) {
            hadLinks = true;
            QFile::remove(entry.filePath());
        } else if (entry.isDir()) {
            QFile::setPermissions(entry.filePath(), entry.permissions() | QFile::ReadOwner |
                                                        QFile::WriteOwner | QFile::ExeOwner);
            hadLinks = removeLinksAndUnlock(entry.filePath()) || hadLinks;
        } else if (entry.isFile()) {
            QFile::setPermissions(entry.filePath(),
                                  entry.permissions() | QFile::ReadOwner | QFile::WriteOwner);
        }
    }
    return hadLinks;
}

const char StagingPrefix[] = ".harnwick-zip-";

// Removes the staging folders that saves killed half-way left in `folder` an hour or more ago; no save
// takes that long. Everything goes through descriptors opened without following links, so a link put in
// place of a folder is never entered, and a folder whose name was swapped meanwhile is at worst left
// behind. A staging folder holds only files, so one level is emptied; anything else fails quietly.
void removeStaleStagingFolders(const QString& folder)
{
    const int parent = ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (parent < 0)
        return;
    DIR* entries = ::fdopendir(parent);
    if (!entries) {
        ::close(parent);
        return;
    }
    const time_t cutoff = std::time(nullptr) - 60 * 60;
    // The 64-bit entry reader: a 32-bit program on a 64-bit kernel (an ARM build under emulation) gets
    // directory offsets the plain one cannot hold, and it stops at the first entry with an error.
    while (const dirent64* entry = ::readdir64(entries)) {
        const char* name = entry->d_name;
        if (std::strncmp(name, StagingPrefix, sizeof StagingPrefix - 1) != 0)
            continue;
        const int stale = ::openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (stale < 0)
            continue;
        struct stat status;
        DIR* contents = nullptr;
        if (::fstat(stale, &status) == 0 && status.st_mtime < cutoff)
            contents = ::fdopendir(stale);
        if (!contents) {
            ::close(stale);
            continue;
        }
        while (const dirent64* file = ::readdir64(contents))
            ::unlinkat(stale, file->d_name, 0);
        ::closedir(contents);
        ::unlinkat(parent, name, AT_REMOVEDIR);
    }
    ::closedir(entries);
}

} // namespace

ZipUtil::ZipUtil(QObject* parent) : QObject(parent) {}

bool ZipUtil::checkSystemZipUtilitiesAvailable()
{
    return checkUtility(QStringLiteral("zip")) && checkUtility(QStringLiteral("unzip"));
}

bool ZipUtil::checkUtility(const QString& program)
{
    NonInteractiveProcess process;
    process.start(program, {QStringLiteral("--help")}, QIODevice::ReadWrite);
    if (process.waitForFinished(m_processTimeoutMs)) {
        if (process.exitStatus() != QProcess::NormalExit) {
            emit errorEncountered(tr("Could not determine the presence of the required system zip/unzip "
                                     "utility: Process (\"%1\") crashed.")
                                      .arg(program));
            return false;
        }
        if (process.exitCode() != 0) {
            emit errorEncountered(
                tr("Process \"%1\" returned exit code %2.").arg(program).arg(process.exitCode()));
            return false;
        }
        return true;
    }
    const QProcess::ProcessError error = process.error();
    process.stop();
    switch (error) {
    case QProcess::Timedout:
        emit errorEncountered(tr("Could not determine the presence of the required system zip/unzip "
                                 "utility: Process (\"%1\") timed out.")
                                  .arg(program));
        break;
    case QProcess::FailedToStart:
        emit errorEncountered(
            tr("The required system utility (\"%1\") is not available on your system.").arg(program));
        break;
    default:
        emit errorEncountered(tr(
            "Could not determine the presence of the required system zip/unzip utility: Unknown failure."));
        break;
    }
    return false;
}

bool ZipUtil::runProcess(QString program, QStringList arguments, QString commandText,
                         QString workingDirectory, int timeoutMs)
{
    NonInteractiveProcess process;
    if (!workingDirectory.isEmpty())
        process.setWorkingDirectory(workingDirectory);
    process.start(program, arguments, QIODevice::ReadWrite);
    if (process.waitForFinished(timeoutMs)) {
        if (process.exitStatus() != QProcess::NormalExit) {
            emit errorEncountered(tr("Process \"%1\" crashed.").arg(commandText));
            return false;
        }
        if (process.exitCode() != 0) {
            emit errorEncountered(
                tr("Process \"%1\" returned exit code %2.").arg(commandText).arg(process.exitCode()));
            return false;
        }
        return true;
    }
    const QProcess::ProcessError error = process.error();
    process.stop();
    switch (error) {
    case QProcess::Timedout:
        emit errorEncountered(tr("Process (\"%1\") timed out.").arg(commandText));
        break;
    case QProcess::FailedToStart:
        emit errorEncountered(tr("Process (\"%1\") could not start.").arg(commandText));
        break;
    default:
        emit errorEncountered(tr("Process (\"%1\") caused unknown failure.").arg(commandText));
        break;
    }
    return false;
}

bool ZipUtil::zip(QString directory, QString zipFilePath)
{
    return createArchive(zipFilePath, {}, {QStringLiteral(".")}, directory);
}

bool ZipUtil::zip(QString zipFilePath, QStringList items, QString workingDirectory)
{
    if (items.isEmpty()) {
        emit errorEncountered(tr("No items to zip were provided."));
        return false;
    }
    // Items are stored relative to the working directory, and taken literally: no wildcards, and a
    // name that starts with a dash is not an option.
    QStringList inputs{QStringLiteral("--")};
    const QString prefix = workingDirectory.isEmpty()
                               ? QString()
                               : QDir::cleanPath(QDir(workingDirectory).absolutePath()) + QLatin1Char('/');
    for (const QString& item : qAsConst(items)) {
        const QString cleaned = QDir::cleanPath(item);
        inputs << native(!prefix.isEmpty() && cleaned.startsWith(prefix) ? cleaned.mid(prefix.size())
                                                                         : cleaned);
    }
    return createArchive(zipFilePath, {QStringLiteral("-nw")}, inputs, workingDirectory);
}

bool ZipUtil::createArchive(const QString& zipFilePath, const QStringList& options, const QStringList& inputs,
                            const QString& workingDirectory)
{
    const QFileInfo target(zipFilePath);
    QDir folder(target.path());
    if (folder.isRelative() && !folder.makeAbsolute()) {
        emit errorEncountered(tr("Could not create an absolute path from the provided path \"%1\".")
                                  .arg(native(target.path())));
        return false;
    }
    const QString folderPath = QDir::cleanPath(folder.absolutePath());
    if (!QDir(folderPath).exists() && !QDir().mkpath(folderPath)) {
        emit errorEncountered(
            tr("Could not create the target zip file path \"%1\".").arg(native(folderPath)));
        return false;
    }

    removeStaleStagingFolders(folderPath);

    // zip insists on the extension "zip", and it adds to an archive that already exists instead of
    // replacing it. So the archive is made under the zip-named variant of the target's name inside a
    // fresh private folder beside the target, then renamed over the target in one step: the target is
    // either the complete new archive or the untouched old file, and no stale archive is ever merged in.
    QTemporaryDir staging(QDir(folderPath).filePath(QLatin1String(StagingPrefix) + QStringLiteral("XXXXXX")));
    if (!staging.isValid()) {
        emit errorEncountered(tr("Could not create a temporary folder in \"%1\" for writing the zip archive.")
                                  .arg(native(folderPath)));
        return false;
    }
    QString oldSuffix;
    const QString temporaryArchive =
        staging.filePath(QFileInfo(renameToZip(zipFilePath, oldSuffix)).fileName());
    const QString finalPath = QDir(folderPath).filePath(target.fileName());

    const QStringList arguments =
        QStringList{QStringLiteral("-r")} + options + QStringList{native(temporaryArchive)} + inputs;
    const QString program = QStringLiteral("zip");
    if (!runProcess(program, arguments, commandLineText(program, arguments), workingDirectory,
                    m_processTimeoutMs))
        return false;

    if (std::rename(QFile::encodeName(temporaryArchive).constData(),
                    QFile::encodeName(finalPath).constData()) != 0) {
        emit errorEncountered(tr("Could not rename temporary zip file \"%1\" to target file \"%2\".")
                                  .arg(native(temporaryArchive), native(finalPath)));
        return false;
    }
    emit infoMessage(tr("Zip archive created at \"%1\".").arg(native(finalPath)));
    return true;
}

bool ZipUtil::unzip(QString zipFilePath, QString targetDirectory, QStringList& extractedFiles)
{
    extractedFiles.clear();
    if (targetDirectory.isEmpty()) {
        emit errorEncountered(tr("No target directory was provided for extracting the zip archive to."));
        return false;
    }
    const QFileInfo archive(zipFilePath);
    // A folder, a pipe or a device under the archive's name would make the copy or unzip block.
    if (archive.exists() && !archive.isFile()) {
        emit errorEncountered(tr("The zip archive \"%1\" is not a regular file.").arg(native(zipFilePath)));
        return false;
    }

    QString archivePath = archive.absoluteFilePath();
    std::unique_ptr<QTemporaryDir> copyFolder;
    if (archive.suffix().compare(QLatin1String("zip"), Qt::CaseInsensitive) != 0) {
        // unzip only opens archives named *.zip.
        copyFolder = std::make_unique<QTemporaryDir>();
        QString oldSuffix;
        const QString copyPath =
            copyFolder->filePath(QFileInfo(renameToZip(zipFilePath, oldSuffix)).fileName());
        if (!copyFolder->isValid() || !QFile::copy(archivePath, copyPath)) {
            emit errorEncountered(
                tr("Could not create a temporary copy of the zip archive \"%1\" for extraction.")
                    .arg(native(zipFilePath)));
            return false;
        }
        archivePath = copyPath;
    }

    QString target = targetDirectory;
    if (QDir::isRelativePath(target))
        target = archive.absoluteDir().filePath(target);
    target = QDir::cleanPath(target);
    if (!QDir().mkpath(target)) {
        emit errorEncountered(tr("Could not create the directory \"%1\" for extracting the zip archive to.")
                                  .arg(native(target)));
        return false;
    }

    // "-o" overwrites without asking; an explicit (empty) password makes encrypted entries fail
    // instead of prompting for one.
    const QString program = QStringLiteral("unzip");
    const QStringList arguments{
        QStringLiteral("-o"), QStringLiteral("-P"), QString(), literalArchiveArgument(archivePath),
        QStringLiteral("-d"), native(target)};
    const bool extracted =
        runProcess(program, arguments, commandLineText(program, arguments), QString(), m_processTimeoutMs);
    // Also after a failure or a time-out: the caller removes the folder, and that must succeed.
    const bool hadLinks = removeLinksAndUnlock(target);
    if (!extracted)
        return false;
    if (hadLinks) {
        emit errorEncountered(tr("The zip archive \"%1\" contains symbolic links, which are not extracted.")
                                  .arg(native(zipFilePath)));
        return false;
    }

    const QFileInfoList entries =
        QDir(target).entryInfoList(QDir::Files | QDir::NoDotAndDotDot | QDir::NoSymLinks);
    for (const QFileInfo& entry : entries)
        extractedFiles << native(entry.absoluteFilePath());
    return true;
}

QString ZipUtil::renameToZip(QString path, QString& oldSuffix)
{
    const QFileInfo info(path);
    oldSuffix = info.suffix();
    return QDir(info.absolutePath()).absoluteFilePath(info.baseName() + QStringLiteral(".zip"));
}

QString ZipUtil::restoreOriginalExtension(QString path, QString suffix)
{
    const QFileInfo info(path);
    return QDir(info.absolutePath()).absoluteFilePath(info.baseName() + QLatin1Char('.') + suffix);
}
