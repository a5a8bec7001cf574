#include "devicelogfiles.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace DeviceLogFiles {

bool isUsableDeviceId(const QString& deviceId)
{
    return !deviceId.isEmpty() && !deviceId.contains(QLatin1Char('/')) &&
           !deviceId.contains(QLatin1Char('\\')) && !deviceId.contains(QStringLiteral("..")) &&
           !deviceId.contains(QChar(0));
}

QString logFilePath(const QString& logDirectory, const QString& deviceId)
{
    if (logDirectory.isEmpty() || !isUsableDeviceId(deviceId))
        return QString();
    const QDir directory(logDirectory);
    const QString path = directory.absoluteFilePath(QStringLiteral("%1.txt").arg(deviceId));
    // Belt and braces: the file must sit directly in the directory.
    if (QDir::cleanPath(QFileInfo(path).absolutePath()) != QDir::cleanPath(directory.absolutePath()))
        return QString();
    return path;
}

bool logFileExists(const QString& path)
{
    if (path.isEmpty())
        return false;
    const QFileInfo info(path);
    return info.exists() && info.isFile();
}

QString unusableDeviceIdMessage(const QString& deviceId)
{
    return QCoreApplication::translate("DeviceLogFiles",
                                       "The device id '%1' cannot name a log file because it contains a "
                                       "path separator or '..'. Please correct the serial number or IP "
                                       "address.")
        .arg(deviceId);
}

} // namespace DeviceLogFiles
