#include "testenvironment.h"

#include <QDir>
#include <QFile>
#include <QSettings>

namespace TestEnvironment {

QString homePath()
{
    return QDir::homePath();
}

QString simulatorPath()
{
    // Under an emulator the simulator, a program for the target, cannot be
    // started directly; the cross test run names a wrapper that starts it.
    const QString override = qEnvironmentVariable("HARNWICK_TEST_SIMULATOR");
    return override.isEmpty() ? QStringLiteral(HARNWICK_SIMULATOR_PATH) : override;
}

QString programPath(const QString& built)
{
    const QString override = qEnvironmentVariable("HARNWICK_TEST_PROGRAM");
    return override.isEmpty() ? built : override;
}

bool slowProcesses()
{
    return qEnvironmentVariableIntValue("HARNWICK_TEST_SLOW") == 1;
}

QString writeScript(const QString& directory, const QString& name, const QString& body)
{
    const QString path = QDir(directory).filePath(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return QString();
    file.write("#!/bin/sh\n");
    file.write(body.toUtf8());
    file.close();
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup |
                        QFile::ExeGroup);
    return path;
}

void clearSettings()
{
    QSettings settings(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Kelmara"),
                       QStringLiteral("Harnwick"));
    settings.clear();
    settings.sync();
}

} // namespace TestEnvironment
