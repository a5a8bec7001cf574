#include "deviceselectorfavorites.h"
#include "settingsutil.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QDir>
#include <QSettings>
#include <QTest>

class TestSettingsUtil : public QObject
{
    Q_OBJECT

private slots:
    void init() { TestEnvironment::clearSettings(); }

    // The other first-run values are what the main window's dialogs and menus show at first.
    void defaultsOnFirstRun()
    {
        QCOMPARE(Settings::executable(), QString());
        QCOMPARE(Settings::logFileDirectory(), QDir::homePath() + QStringLiteral("/.kelmara/harnwick/logs"));
        // The default log directory is not created by merely reading it.
        QVERIFY(!QDir(Settings::logFileDirectory()).exists());
    }

    void writeReadAndRemove()
    {
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::processTimeoutSecondsKey, 45);
        SettingsUtil::setSetting(Settings::loggingGroup, Settings::loggingEnabledKey, false);
        QCOMPARE(Settings::processTimeoutSeconds(), 45);
        QCOMPARE(Settings::loggingEnabled(), false);

        // Values land in the INI file under their group, visible to any new reader.
        QSettings raw(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Kelmara"),
                      QStringLiteral("Harnwick"));
        QCOMPARE(raw.value(QStringLiteral("Corvane/process_timeout_seconds")).toInt(), 45);
        QVERIFY(raw.fileName().startsWith(TestEnvironment::homePath()));

        // Removing a key brings back the caller's default.
        SettingsUtil::clearSetting(Settings::corvaneGroup, Settings::processTimeoutSecondsKey);
        QCOMPARE(Settings::processTimeoutSeconds(), 120);
        QCOMPARE(
            SettingsUtil::getSetting(Settings::corvaneGroup, Settings::processTimeoutSecondsKey, 7).toInt(),
            7);
        // Same key name in the other group is untouched.
        QCOMPARE(Settings::loggingEnabled(), false);
    }

    void favoritesStreamRoundTrip()
    {
        QByteArray bytes;
        QDataStream out(&bytes, QIODevice::WriteOnly);
        out << DeviceSelectorFavorites{QStringLiteral("KM32G101F512"), QStringLiteral("bench-left"), true};
        QDataStream in(bytes);
        DeviceSelectorFavorites back;
        in >> back;
        QCOMPARE(QStringList({back.first, back.second}), QStringList({"KM32G101F512", "bench-left"}));
        QVERIFY(back.enabled && in.atEnd());
    }
};

HARNWICK_TEST(TestSettingsUtil)
#include "tst_settingsutil.moc"
