#include "bundlearchive.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

namespace {

// The end of central directory record: 22 bytes and a comment of up to 64 KiB, at the end.
constexpr qint64 endRecordReach = 22 + 0xffff;

} // namespace

namespace BundleArchive {

QString notArchiveReason(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QCoreApplication::translate("BundleArchive", "it cannot be read: %1").arg(file.errorString());
    if (file.size() == 0)
        return QCoreApplication::translate("BundleArchive", "the file is empty");
    file.seek(qMax<qint64>(0, file.size() - endRecordReach));
    if (!file.readAll().contains(QByteArrayLiteral("PK\x05\x06")))
        return QCoreApplication::translate("BundleArchive", "it has no zip directory");
    return QString();
}

QStringList userFacingMessages(const QStringList& messages)
{
    // The reader's folders are temporary folders named after the program; the user's own files
    // may well lie in the temporary folder too, and stay named.
    const QString folders =
        QDir::tempPath() + QLatin1Char('/') + QCoreApplication::applicationName() + QLatin1Char('-');
    QStringList kept;
    for (const QString& message : messages)
        if (!message.contains(folders) && !message.contains(QDir::toNativeSeparators(folders)))
            kept << message;
    return kept;
}

} // namespace BundleArchive
