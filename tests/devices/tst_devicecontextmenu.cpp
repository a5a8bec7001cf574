#include "devicelogfiles.h"
#include "devicepagehelpers.h"
#include "settingsutil.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QAbstractItemModelTester>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include <memory>

// Stands in for the desktop's handler of file URLs.
class UrlRecorder : public QObject
{
    Q_OBJECT

public:
    QList<QUrl> opened;

public slots:
    void openUrl(const QUrl& url) { opened << url; }
};

class TestDeviceContextMenu : public QObject, DevicePage
{
    Q_OBJECT

    QTemporaryDir dir;
    QString logDirectory;
    UrlRecorder urls;

    static QAction* entry(const std::unique_ptr<QMenu>& menu, const QString& text)
    {
        for (QAction* action : menu->actions())
            if (action->text() == text)
                return action;
        return nullptr;
    }

    static std::unique_ptr<QMenu> menuFor(BulkOperationsWidget& page, const QList<int>& rows)
    {
        highlight(page, rows);
        return std::unique_ptr<QMenu>(page.deviceSelectorCreateContextMenu(nullptr));
    }

    static void fillPage(BulkOperationsWidget& page)
    {
        page.addDeviceToTable("801002345", "", "", "bench-left", true, false, false, true);
        page.addDeviceToTable("801002346", "192.0.2.20", "", "bench-dual", true, true, false, true);
        page.addDeviceToTable("", "192.0.2.21", "", "lab-net-1", false, true, false, true);
    }

    QUrl logUrl(const QString& name) const { return QUrl::fromLocalFile(QDir(logDirectory).filePath(name)); }

    void writeLog(const QString& path)
    {
        QFile file(QDir(logDirectory).filePath(path));
        QVERIFY(file.open(QIODevice::WriteOnly));
    }

private slots:
    void initTestCase()
    {
        logDirectory = dir.filePath(QStringLiteral("logs"));
        QVERIFY(QDir().mkpath(logDirectory));
        QDesktopServices::setUrlHandler(QStringLiteral("file"), &urls, "openUrl");
    }

    void cleanupTestCase() { QDesktopServices::unsetUrlHandler(QStringLiteral("file")); }

    void init()
    {
        TestEnvironment::clearSettings();
        SettingsUtil::setSetting(Settings::loggingGroup, Settings::logFileDirectoryKey, logDirectory);
        urls.opened.clear();
    }

    void entriesAndSuffixes()
    {
        BulkOperationsWidget page;
        fillPage(page);
        QCOMPARE(menuTexts(menuFor(page, {1}).get()),
                 QStringList({"Show Output...", "Open Output Log", "-", "Open Corvane With Device", "-",
                              "Run Job on Device", "-", "Probe Adapter", "Detect Target Part", "-",
                              "Select All", "Select", "Deselect", "Deselect All",
                              "Check Only Unsuccessful Devices", "-", "Clear Target Part", "Remove"}));
        QCOMPARE(menuTexts(menuFor(page, {0, 2}).get()),
                 QStringList({"Show Output...", "Open Output Logs", "-", "Open Corvane With Devices", "-",
                              "Run Job on Devices", "-", "Probe Adapters", "Detect Target Parts", "-",
                              "Select All", "Select", "Deselect", "Deselect All",
                              "Check Only Unsuccessful Devices", "-", "Clear Target Parts", "Remove"}));
        SettingsUtil::setSetting(Settings::loggingGroup, Settings::loggingEnabledKey, false);
        const std::unique_ptr<QMenu> menu = menuFor(page, {0, 2});
        QCOMPARE(menuTexts(menu.get()).mid(0, 3),
                 QStringList({"Show Output...", "-", "Open Corvane With Devices"}));
        QCOMPARE(menu->actions().size(), 17);
    }

    void entriesDoTheirWork()
    {
        BulkOperationsWidget page;
        QAbstractItemModelTester tester(model(page), QAbstractItemModelTester::FailureReportingMode::QtTest);
        for (const char* serial : {"801002340", "801002341", "801002342", "801002343", "801002344"})
            page.addDeviceToTable(serial, "", "KM32G101F512", "", true, false, false, true);
        const auto checks = [&page] {
            QString marks;
            for (int row = 0; row < model(page)->rowCount(); ++row)
                marks += isChecked(page, row) ? 'x' : '-';
            return marks;
        };
        const std::unique_ptr<QMenu> menu = menuFor(page, {4, 0, 2});
        const QList<QPair<const char*, const char*>> steps = {
            {"Select", "x-x-x"}, {"Select All", "xxxxx"}, {"Deselect", "-x-x-"}, {"Deselect All", "-----"}};
        for (const auto& [name, marks] : steps) {
            entry(menu, name)->trigger();
            QCOMPARE(checks(), QString::fromLatin1(marks));
        }
        entry(menu, "Clear Target Parts")->trigger();
        QCOMPARE(column(page, DeviceTargetPartColumn),
                 QStringList({"", "KM32G101F512", "", "KM32G101F512", ""}));
        // Non-contiguous rows go, and exactly those.
        entry(menu, "Remove")->trigger();
        QCOMPARE(column(page, DeviceSerialNumberColumn), QStringList({"801002341", "801002343"}));
        QVERIFY(combo(page, 0) && combo(page, 1));
    }

    void iconsFollowTheTheme()
    {
        BulkOperationsWidget page;
        fillPage(page);
        const auto iconIs = [&page](const QColor& window, const QString& text, const char* path) {
            QPalette palette = page.palette();
            palette.setColor(QPalette::Window, window);
            page.setPalette(palette);
            return sameIcon(entry(menuFor(page, {0}), text)->icon(), QString::fromLatin1(path));
        };
        const QColor light(239, 239, 239), dark(40, 40, 40);
        QVERIFY(iconIs(light, "Open Output Log", ":/graphics/logs-light.png"));
        QVERIFY(iconIs(dark, "Open Corvane With Device", ":/graphics/corvane-dark.png"));
        QVERIFY(iconIs(dark, "Remove", ":/graphics/remove.png"));
        QVERIFY(!iconIs(dark, "Run Job on Device", ":/graphics/run-light.png"));
    }

    void menuOnlyOverRows()
    {
        BulkOperationsWidget page;
        page.resize(1200, 800);
        page.show();
        QVERIFY(QTest::qWaitForWindowExposed(&page));
        fillPage(page);
        highlight(page, {0});
        DeviceSelectorTreeView* tree = view(page);
        const QPoint onRow = tree->visualRect(model(page)->index(2, DeviceNicknameColumn)).center();
        const QPoint belowRows(onRow.x(), tree->viewport()->height() - 4);
        QVERIFY(!tree->indexAt(belowRows).isValid());
        QCOMPARE(poppedUpMenu([&] { emit tree->customContextMenuRequested(belowRows); }), QStringList());
        QCOMPARE(poppedUpMenu([&] { emit tree->customContextMenuRequested(onRow); }).value(3),
                 QStringLiteral("Open Corvane With Device"));
    }

    void logFilePaths_data()
    {
        QTest::addColumn<QString>("directory");
        QTest::addColumn<QString>("id");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<bool>("usable");
        const auto refused = [](const char* name, const QString& id) {
            QTest::newRow(name) << QStringLiteral("/var/logs") << id << QString() << false;
        };
        QTest::newRow("serial") << "/var/logs" << QStringLiteral("801002345") << "/var/logs/801002345.txt"
                                << true;
        QTest::newRow("address") << "/var/logs/" << QStringLiteral("192.0.2.20") << "/var/logs/192.0.2.20.txt"
                                 << true;
        QTest::newRow("no directory") << QString() << QStringLiteral("801002345") << QString() << true;
        refused("no id", "");
        refused("parent", "../801002345");
        refused("dots only", "..");
        refused("dots inside", "80..1");
        refused("subfolder", "bench/801002345");
        refused("absolute", "/etc/passwd");
        refused("backslash", "..\\801002345");
        refused("nul", QString::fromLatin1("801\0002345", 8));
    }

    void logFilePaths()
    {
        QFETCH(QString, directory);
        QFETCH(QString, id);
        QFETCH(QString, expected);
        QFETCH(bool, usable);
        QCOMPARE(DeviceLogFiles::logFilePath(directory, id), expected);
        QCOMPARE(DeviceLogFiles::isUsableDeviceId(id), usable);
    }

    void logFileExistence()
    {
        // No path (no directory set) and a folder of the log's name are no log file.
        QVERIFY(QDir(logDirectory).mkdir("801002398.txt"));
        writeLog("801002399.txt");
        QVERIFY(!DeviceLogFiles::logFileExists(QString()));
        QVERIFY(!DeviceLogFiles::logFileExists(QDir(logDirectory).filePath("801002398.txt")));
        QVERIFY(DeviceLogFiles::logFileExists(QDir(logDirectory).filePath("801002399.txt")));
    }

    void openingLogs()
    {
        BulkOperationsWidget page;
        fillPage(page);
        writeLog("801002345.txt");
        writeLog("192.0.2.21.txt");
        QFile::remove(QDir(logDirectory).filePath("801002346.txt"));

        // The log entry is usable only when a highlighted device has a log.
        QVERIFY(!entry(menuFor(page, {1}), "Open Output Log")->isEnabled());
        const std::unique_ptr<QMenu> menu = menuFor(page, {1, 2});
        QVERIFY(entry(menu, "Open Output Logs")->isEnabled());

        highlight(page, {});
        page.deviceSelectorOpenLogForHighlightedDevices();
        QCOMPARE(errorText(page), QStringLiteral("ERROR: No devices selected to open logs for."));
        QVERIFY(urls.opened.isEmpty());

        highlight(page, {2, 1, 0});
        entry(menu, "Open Output Logs")->trigger();
        QCOMPARE(urls.opened, QList<QUrl>({logUrl("192.0.2.21.txt"), logUrl("801002345.txt")}));
        // A double click on a status opens the logs as well.
        urls.opened.clear();
        highlight(page, {0});
        page.deviceSelectorDoubleClicked(model(page)->index(1, DeviceStatusColumn));
        QCOMPARE(urls.opened, QList<QUrl>({logUrl("801002345.txt")}));
    }

    void editedIdCannotReachOutsideTheLogDirectory()
    {
        BulkOperationsWidget page;
        page.addDeviceToTable("../801002345", "", "", "", true, false, false, true);
        page.addDeviceToTable("801002345", "", "", "", true, false, false, true);
        writeLog("801002345.txt");
        writeLog("../801002345.txt"); // where the edited id points to, just outside

        QVERIFY(!entry(menuFor(page, {0}), "Open Output Log")->isEnabled());
        highlight(page, {0, 1});
        page.deviceSelectorOpenLogForHighlightedDevices();
        QCOMPARE(urls.opened, QList<QUrl>({logUrl("801002345.txt")}));
        QCOMPARE(
            text(page, 0, DeviceStatusColumn),
            QStringLiteral("ERROR: The device id '../801002345' cannot name a log file because it contains a "
                           "path separator or '..'. Please correct the serial number or IP address."));
        QCOMPARE(text(page, 1, DeviceStatusColumn), QString());
        QVERIFY(!page.deviceSelectorCheckLogFileName(0) && page.deviceSelectorCheckLogFileName(1));
    }
};

HARNWICK_TEST(TestDeviceContextMenu)
#include "tst_devicecontextmenu.moc"
