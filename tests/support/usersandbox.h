#pragma once

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QStandardPaths>
#include <QString>

// Points HOME, the XDG folders and the INI settings into `root`, so nothing a
// test or a benchmark does touches the user's own files.
inline void isolateUserFolders(const QString& root)
{
    for (const char* sub : {"config", "data", "cache", "runtime"})
        QDir(root).mkpath(QString::fromLatin1(sub));
    QFile::setPermissions(root + QStringLiteral("/runtime"),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    const QByteArray path = QFile::encodeName(root);
    qputenv("HOME", path);
    qputenv("XDG_CONFIG_HOME", path + "/config");
    qputenv("XDG_DATA_HOME", path + "/data");
    qputenv("XDG_CACHE_HOME", path + "/cache");
    qputenv("XDG_RUNTIME_DIR", path + "/runtime");
    QStandardPaths::setTestModeEnabled(true);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, root + QStringLiteral("/config"));
}
