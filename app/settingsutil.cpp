#include "settingsutil.h"

#include <QCoreApplication>
#include <QDir>
#include <QSettings>
#include <QThread>

namespace {

// A fresh store per operation, destroyed at its end.
class Store : public QSettings
{
public:
    explicit Store(const QString& group)
        : QSettings(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Kelmara"),
                    QStringLiteral("Harnwick"))
    {
        beginGroup(group);
    }
    ~Store() override { endGroup(); }
};

} // namespace

QVariant SettingsUtil::getSetting(const QString& group, const QString& key, const QVariant& defaultValue)
{
    Store settings(group);
    const QVariant value = settings.value(key, defaultValue);
    return value;
}

void SettingsUtil::setSetting(const QString& group, const QString& key, const QVariant& value)
{
    Store settings(group);
    const QVariant old = settings.value(key);
    settings.setValue(key, value);
    if (old.toString() != value.toString() || old.isValid() != value.isValid())
        emit changes()->settingChanged(group, key, old, value);
}

void SettingsUtil::clearSetting(const QString& group, const QString& key)
{
    Store settings(group);
    const QVariant old = settings.value(key);
    settings.remove(key);
    if (old.isValid())
        emit changes()->settingChanged(group, key, old, QVariant());
}

SettingsUtil* SettingsUtil::changes()
{
    static SettingsUtil* notifier = [] {
        auto* object = new SettingsUtil;
        if (QCoreApplication::instance())
            object->moveToThread(QCoreApplication::instance()->thread());
        return object;
    }();
    return notifier;
}

QString SettingsUtil::defaultLogFileDirectory()
{
    // Computed once: the home folder does not move while the program runs.
    static const QString path = QDir::homePath() + QDir::separator() + QStringLiteral(".kelmara") +
                                QDir::separator() + QStringLiteral("harnwick") + QDir::separator() +
                                QStringLiteral("logs");
    return path;
}

namespace Settings {

int defaultMaxConcurrentProcesses()
{
    return QThread::idealThreadCount();
}

QString executable()
{
    return SettingsUtil::getSetting(corvaneGroup, executableKey, QString()).toString();
}

int maxConcurrentProcessesSetting()
{
    return SettingsUtil::getSetting(corvaneGroup, maxConcurrentProcessesKey, defaultMaxConcurrentProcesses())
        .toInt();
}

int processTimeoutSeconds()
{
    return SettingsUtil::getSetting(corvaneGroup, processTimeoutSecondsKey, defaultProcessTimeoutSeconds)
        .toInt();
}

bool loggingEnabled()
{
    return SettingsUtil::getSetting(loggingGroup, loggingEnabledKey, defaultLoggingEnabled).toBool();
}

QString logFileDirectory()
{
    return SettingsUtil::getSetting(loggingGroup, logFileDirectoryKey,
                                    SettingsUtil::defaultLogFileDirectory())
        .toString();
}

} // namespace Settings
