#pragma once

#include <QObject>
#include <QString>
#include <QVariant>

// The one door to the persistent user settings. Nothing is cached: every
// call opens the store, so a value written anywhere is seen by the next read.
class SettingsUtil : public QObject
{
    Q_OBJECT

public:
    static QVariant getSetting(const QString& group, const QString& key, const QVariant& defaultValue);
    static void setSetting(const QString& group, const QString& key, const QVariant& value);
    static void clearSetting(const QString& group, const QString& key);

    // Per-user default for Logging/"log_file_directory"; not created here.
    static QString defaultLogFileDirectory();

    // Tells of every change made through setSetting and clearSetting (the audit of settings that
    // matter listens); lives on the main thread.
    static SettingsUtil* changes();

signals:
    // A value changed; a cleared setting has an invalid new value.
    void settingChanged(const QString& group, const QString& key, const QVariant& oldValue,
                        const QVariant& newValue);
};

// Group and key names with the one default each reader must use.
namespace Settings {

inline const QString corvaneGroup = QStringLiteral("Corvane");
inline const QString loggingGroup = QStringLiteral("Logging");
inline const QString windowGroup = QStringLiteral("Window");

inline const QString executableKey = QStringLiteral("executable");
inline const QString maxConcurrentProcessesKey = QStringLiteral("max_concurrent_processes");
inline const QString processTimeoutSecondsKey = QStringLiteral("process_timeout_seconds");
inline const QString loggingEnabledKey = QStringLiteral("enabled");
inline const QString logFileDirectoryKey = QStringLiteral("log_file_directory");
// Window group: what saveGeometry()/saveState() of the main window and of the page's splitters return.
inline const QString geometryKey = QStringLiteral("geometry");
inline const QString stateKey = QStringLiteral("state");
inline const QString pageSplitterKey = QStringLiteral("page_splitter");
inline const QString actionSplitterKey = QStringLiteral("action_splitter");

constexpr int defaultProcessTimeoutSeconds = 120;
constexpr int minProcessTimeoutSeconds = 10;
constexpr int maxProcessTimeoutSeconds = 3600;
constexpr int minConcurrentProcesses = 1;
constexpr int maxConcurrentProcesses = 100;
constexpr bool defaultLoggingEnabled = true;

int defaultMaxConcurrentProcesses();

// Typed readers; each applies the default above.
QString executable();
int maxConcurrentProcessesSetting();
int processTimeoutSeconds();
bool loggingEnabled();
QString logFileDirectory();

} // namespace Settings
