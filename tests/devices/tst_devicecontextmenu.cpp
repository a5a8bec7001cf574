#include "devicelogfiles.h"
#include "devicepagehelpers.h"
#include "settingsutil.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QIcon>
#include <QLabel>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include <memory>

using namespace DevicePage;

// Stands in for the desktop's handler of file URLs.
class UrlRecorder : public QObject
{
    Q_OBJECT

public:
    QList<QUrl> opened;

public slots:
    void openUrl(const QUrl& url) { opened << url; }
};

class TestDeviceContextMenu : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;
    QString logDirectory;
    UrlRecorder urls;

    static QStringList entries(QMenu* menu)
    {
        QStringList texts;
        for (QAction* action : menu->actions())
            texts << (action->isSeparator() ? QStringLiteral("-") : action->text());
        return texts;
    }

    static QAction* entry(QMenu* menu, const QString& text)
    {
        for (QAction* action : menu->actions())
            if (action->text() == text)
                return action;
        return nullptr;
    }

    static bool iconIs(QAction* action, const QString& path)
    {
        auto image = [](const QIcon& icon) {
            return icon.pixmap(16, 16).toImage().convertToFormat(QImage::Format_ARGB32);
        };
        return action && !action->icon().isNull() && image(action->icon()) == image(QIcon(path));
    }

    static void fillPage(BulkOperationsWidget& page)
    {
        page.addDeviceToTable("801002345", "", "", "bench-left", true, false, false, true);
        page.addDeviceToTable("801002346", "192.0.2.20", "", "bench-dual", true, true, false, true);
        page.addDeviceToTable("", "192.0.2.21", "", "lab-net-1", false, true, false, true);
    }

    void writeLog(const QString& name)
    {
        QFile file(QDir(logDirectory).filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("Running action 1: flash\n");
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

        highlight(page, {1});
        std::unique_ptr<QMenu> menu(page.deviceSelectorCreateContextMenu(nullptr));
        QCOMPARE(entries(menu.get()),
                 QStringList({"Open Output Log", "-", "Open Corvane With Device", "-", "Run Job on Device",
                              "-", "Probe Adapter", "Detect Target Part", "-", "Select All", "Select",
                              "Deselect", "Deselect All", "-", "Clear Target Part", "Remove"}));

        highlight(page, {0, 2});
        menu.reset(page.deviceSelectorCreateContextMenu(nullptr));
        QCOMPARE(entries(menu.get()),
                 QStringList({"Open Output Logs", "-", "Open Corvane With Devices", "-", "Run Job on Devices",
                              "-", "Probe Adapters", "Detect Target Parts", "-", "Select All", "Select",
                              "Deselect", "Deselect All", "-", "Clear Target Parts", "Remove"}));

        SettingsUtil::setSetting(Settings::loggingGroup, Settings::loggingEnabledKey, false);
        menu.reset(page.deviceSelectorCreateContextMenu(nullptr));
        QCOMPARE(entries(menu.get()).mid(0, 3),
                 QStringList({"Open Corvane With Devices", "-", "Run Job on Devices"}));
        QCOMPARE(menu->actions().size(), 14);
    }

    void iconsFollowTheTheme()
    {
        BulkOperationsWidget page;
        fillPage(page);
        highlight(page, {0});
        QPalette light = page.palette();
        light.setColor(QPalette::Window, QColor(239, 239, 239));
        page.setPalette(light);
        std::unique_ptr<QMenu> menu(page.deviceSelectorCreateContextMenu(nullptr));
        QVERIFY(iconIs(entry(menu.get(), "Open Output Log"), ":/graphics/logs-light.png"));
        QVERIFY(iconIs(entry(menu.get(), "Deselect All"), ":/graphics/checkbox-unchecked-light.png"));
        QVERIFY(iconIs(entry(menu.get(), "Remove"), ":/graphics/remove.png"));

        QPalette dark = page.palette();
        dark.setColor(QPalette::Window, QColor(40, 40, 40));
        page.setPalette(dark);
        menu.reset(page.deviceSelectorCreateContextMenu(nullptr));
        QVERIFY(iconIs(entry(menu.get(), "Open Corvane With Device"), ":/graphics/corvane-dark.png"));
        QVERIFY(iconIs(entry(menu.get(), "Run Job on Device"), ":/graphics/run-dark.png"));
        QVERIFY(iconIs(entry(menu.get(), "Remove"), ":/graphics/remove.png"));
        QVERIFY(!iconIs(entry(menu.get(), "Run Job on Device"), ":/graphics/run-light.png"));
    }

    void entriesDoTheirWork()
    {
        BulkOperationsWidget page;
        fillPage(page);
        highlight(page, {0, 2});
        std::unique_ptr<QMenu> menu(page.deviceSelectorCreateContextMenu(nullptr));
        entry(menu.get(), "Select")->trigger();
        QVERIFY(isChecked(page, 0) && !isChecked(page, 1) && isChecked(page, 2));
        entry(menu.get(), "Deselect All")->trigger();
        QVERIFY(!isChecked(page, 0) && !isChecked(page, 2));
        entry(menu.get(), "Remove")->trigger();
        QCOMPARE(column(page, DeviceNicknameColumn), QStringList({"bench-dual"}));

        // The highlighted rows are gone: nothing to run on.
        entry(menu.get(), "Run Job on Devices")->trigger();
        QCOMPARE(page.findChild<QLabel*>(QStringLiteral("errorLabel"))->text(),
                 QStringLiteral("ERROR: No devices selected to run job on."));
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
        const QStringList shown = poppedUpMenu([&] { emit tree->customContextMenuRequested(onRow); });
        QCOMPARE(shown.value(2), QStringLiteral("Open Corvane With Device"));
    }

    void logFilePaths_data()
    {
        QTest::addColumn<QString>("directory");
        QTest::addColumn<QString>("id");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<bool>("usable");
        const QString logs = QStringLiteral("/var/logs");
        QTest::newRow("serial") << logs << "801002345"
                                << "/var/logs/801002345.txt" << true;
        QTest::newRow("address") << "/var/logs/"
                                 << "192.0.2.20"
                                 << "/var/logs/192.0.2.20.txt" << true;
        QTest::newRow("no directory") << ""
                                      << "801002345"
                                      << "" << true;
        QTest::newRow("no id") << logs << ""
                               << "" << false;
        QTest::newRow("parent") << logs << "../801002345"
                                << "" << false;
        QTest::newRow("dots only") << logs << ".."
                                   << "" << false;
        QTest::newRow("dots inside") << logs << "80..1"
                                     << "" << false;
        QTest::newRow("subfolder") << logs << "bench/801002345"
                                   << "" << false;
        QTest::newRow("absolute") << logs << "/etc/passwd"
                                  << "" << false;
        QTest::newRow("backslash") << logs << "..\\801002345"
                                   << "" << false;
        QTest::newRow("nul") << logs << QString::fromLatin1("801\0002345", 8) << "" << false;
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

    void logFilesOfThePage()
    {
        BulkOperationsWidget page;
        QCOMPARE(page.deviceSelectorGetLogFilePath("801002345"),
                 QDir(logDirectory).filePath("801002345.txt"));
        // A relative directory is made absolute.
        SettingsUtil::setSetting(Settings::loggingGroup, Settings::logFileDirectoryKey,
                                 QStringLiteral("rel"));
        QCOMPARE(page.deviceSelectorGetLogFilePath("801002345"),
                 QDir::current().absoluteFilePath("rel/801002345.txt"));
        SettingsUtil::clearSetting(Settings::loggingGroup, Settings::logFileDirectoryKey);
        QCOMPARE(page.deviceSelectorGetLogFilePath("801002345"),
                 QDir(SettingsUtil::defaultLogFileDirectory()).filePath("801002345.txt"));
        SettingsUtil::setSetting(Settings::loggingGroup, Settings::logFileDirectoryKey, QString());
        QCOMPARE(page.deviceSelectorGetLogFilePath("801002345"), QString());
        QVERIFY(!page.deviceSelectorLogFileExists("801002345"));

        SettingsUtil::setSetting(Settings::loggingGroup, Settings::logFileDirectoryKey, logDirectory);
        QVERIFY(!page.deviceSelectorLogFileExists("801002399"));
        writeLog("801002399.txt");
        QVERIFY(page.deviceSelectorLogFileExists("801002399"));
        // A folder of that name is no log file.
        QVERIFY(QDir(logDirectory).mkdir("801002398.txt"));
        QVERIFY(!page.deviceSelectorLogFileExists("801002398"));
    }

    void openingLogs()
    {
        BulkOperationsWidget page;
        fillPage(page);
        writeLog("801002345.txt");
        writeLog("192.0.2.21.txt");
        QFile::remove(QDir(logDirectory).filePath("801002346.txt"));

        // The log entry is usable only when a highlighted device has a log.
        highlight(page, {1});
        std::unique_ptr<QMenu> menu(page.deviceSelectorCreateContextMenu(nullptr));
        QVERIFY(!entry(menu.get(), "Open Output Log")->isEnabled());
        highlight(page, {1, 2});
        menu.reset(page.deviceSelectorCreateContextMenu(nullptr));
        QVERIFY(entry(menu.get(), "Open Output Logs")->isEnabled());

        highlight(page, {});
        page.deviceSelectorOpenLogForHighlightedDevices();
        QCOMPARE(page.findChild<QLabel*>(QStringLiteral("errorLabel"))->text(),
                 QStringLiteral("ERROR: No devices selected to open logs for."));
        QVERIFY(urls.opened.isEmpty());

        highlight(page, {2, 1, 0});
        entry(menu.get(), "Open Output Logs")->trigger();
        QCOMPARE(urls.opened,
                 QList<QUrl>({QUrl::fromLocalFile(QDir(logDirectory).filePath("192.0.2.21.txt")),
                              QUrl::fromLocalFile(QDir(logDirectory).filePath("801002345.txt"))}));

        // A double click on a status opens the logs as well.
        urls.opened.clear();
        highlight(page, {0});
        page.deviceSelectorDoubleClicked(model(page)->index(1, DeviceStatusColumn));
        QCOMPARE(urls.opened,
                 QList<QUrl>({QUrl::fromLocalFile(QDir(logDirectory).filePath("801002345.txt"))}));
    }

    void editedIdCannotReachOutsideTheLogDirectory()
    {
        BulkOperationsWidget page;
        page.addDeviceToTable("../801002345", "", "", "", true, false, false, true);
        page.addDeviceToTable("801002345", "", "", "", true, false, false, true);
        writeLog("801002345.txt");
        // A file where the edited id points to, just outside the log directory.
        QFile outside(QDir(logDirectory).filePath("../801002345.txt"));
        QVERIFY(outside.open(QIODevice::WriteOnly));
        outside.close();

        QCOMPARE(page.deviceSelectorGetLogFilePath("../801002345"), QString());
        QVERIFY(!page.deviceSelectorLogFileExists("../801002345"));
        highlight(page, {0});
        std::unique_ptr<QMenu> menu(page.deviceSelectorCreateContextMenu(nullptr));
        QVERIFY(!entry(menu.get(), "Open Output Log")->isEnabled());

        highlight(page, {0, 1});
        page.deviceSelectorOpenLogForHighlightedDevices();
        QCOMPARE(urls.opened,
                 QList<QUrl>({QUrl::fromLocalFile(QDir(logDirectory).filePath("801002345.txt"))}));
        QCOMPARE(
            text(page, 0, DeviceStatusColumn),
            QStringLiteral("ERROR: The device id '../801002345' cannot name a log file because it contains a "
                           "path separator or '..'. Please correct the serial number or IP address."));
        QCOMPARE(text(page, 1, DeviceStatusColumn), QString());
        QVERIFY(!page.deviceSelectorCheckLogFileName(0));
        QVERIFY(page.deviceSelectorCheckLogFileName(1));
    }

    void corvaneWindowArguments()
    {
        BulkOperationsWidget page;
        fillPage(page);
        QCOMPARE(page.deviceSelectorCorvaneWindowArguments(0),
                 QStringList({"gui", "--serialno", "801002345"}));
        QCOMPARE(page.deviceSelectorCorvaneWindowArguments(1),
                 QStringList({"gui", "--serialno", "801002346"}));
        combo(page, 1)->setCurrentText(QStringLiteral("IP"));
        QCOMPARE(page.deviceSelectorCorvaneWindowArguments(1), QStringList({"gui", "--ip", "192.0.2.20"}));
        QCOMPARE(page.deviceSelectorCorvaneWindowArguments(2), QStringList({"gui", "--ip", "192.0.2.21"}));

        // An "N/A" connection opens nothing, even with addresses at hand.
        combo(page, 1)->clear();
        combo(page, 1)->addItem(QStringLiteral("N/A"));
        QCOMPARE(page.deviceSelectorCorvaneWindowArguments(1), QStringList());
        // Nor does a row without any address.
        model(page)->item(0, DeviceSerialNumberColumn)->setText(QStringLiteral(" "));
        QCOMPARE(page.deviceSelectorCorvaneWindowArguments(0), QStringList());
    }
};

HARNWICK_TEST(TestDeviceContextMenu)
#include "tst_devicecontextmenu.moc"
