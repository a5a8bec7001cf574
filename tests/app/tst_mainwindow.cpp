#include "bulkoperationswidget.h"
#include "mainwindow.h"
#include "settingsutil.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QInputDialog>
#include <QMenuBar>
#include <QSplitter>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <functional>

class TestMainWindow : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;

    static QMenu* menu(MainWindow& window, const QString& title)
    {
        for (QAction* action : window.menuBar()->actions())
            if (action->text() == title)
                return action->menu();
        return nullptr;
    }

    static QAction* entry(QMenu* menu, const QString& text)
    {
        for (QAction* action : menu->actions())
            if (action->text() == text)
                return action;
        return nullptr;
    }

    // Runs `inspect` on the modal dialog that `trigger` opens.
    template<typename Dialog> static void whenModal(const std::function<void(Dialog*)>& inspect)
    {
        QTimer::singleShot(0, [inspect] {
            QTRY_VERIFY(qobject_cast<Dialog*>(QApplication::activeModalWidget()));
            auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
            inspect(dialog);
            // A failed check returns early: never leave the dialog blocking the test.
            if (dialog->isVisible())
                dialog->reject();
        });
    }

private slots:
    void init() { TestEnvironment::clearSettings(); }

    void loggingToggle()
    {
        {
            MainWindow window;
            QAction* enable = entry(menu(window, "&Logging"), "&Enable Logging");
            QVERIFY(enable->isChecked()); // first start: logging on
            enable->toggle();
            QCOMPARE(Settings::loggingEnabled(), false);
            QVERIFY(!window.page()->loggingIsEnabled());
        }
        MainWindow again;
        QVERIFY(!entry(menu(again, "&Logging"), "&Enable Logging")->isChecked());
    }

    void numberDialogs_data()
    {
        QTest::addColumn<bool>("concurrency");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("label");
        QTest::addColumn<QList<int>>("range"); // shown value, minimum, maximum
        QTest::addColumn<int>("typed");
        QTest::addColumn<int>("stored");
        const int cores = QThread::idealThreadCount();
        QTest::newRow("concurrency, clamped to the maximum")
            << true << "Set Max Concurrent Processes"
            << QString("Enter the maximum number of concurrent Corvane processes to run \n(default on your "
                       "system is %1):")
                   .arg(cores)
            << QList<int>{cores, 1, 100} << 500 << 100;
        QTest::newRow("timeout, clamped to the minimum")
            << false << "Set Process Timeout"
            << "Enter the timeout in seconds for each Corvane process \n(default is 120 seconds):"
            << QList<int>{120, 10, 3600} << 3 << 10;
    }

    void numberDialogs()
    {
        QFETCH(bool, concurrency);
        QFETCH(int, typed);
        QFETCH(int, stored);
        MainWindow window;
        const auto open = [&] {
            concurrency ? window.editMaxConcurrentProcesses() : window.editProcessTimeout();
        };
        const auto setting = [&] {
            return concurrency ? Settings::maxConcurrentProcessesSetting()
                               : Settings::processTimeoutSeconds();
        };
        whenModal<QInputDialog>([typed](QInputDialog* dialog) {
            QTEST(dialog->windowTitle(), "title");
            QTEST(dialog->labelText(), "label");
            QTEST((QList<int>{dialog->intValue(), dialog->intMinimum(), dialog->intMaximum()}), "range");
            dialog->setIntValue(typed);
            dialog->accept();
        });
        open();
        QCOMPARE(setting(), stored);

        // Cancelling keeps the stored value, which the dialog offers next time.
        whenModal<QInputDialog>([stored](QInputDialog* dialog) {
            QCOMPARE(dialog->intValue(), stored);
            dialog->setIntValue(50);
            dialog->reject();
        });
        open();
        QCOMPARE(setting(), stored);
    }

    void logDirectoryEntries()
    {
        MainWindow window;
        const QString chosen = dir.filePath(QStringLiteral("chosen logs"));
        QDir().mkpath(chosen);
        whenModal<QFileDialog>([chosen](QFileDialog* dialog) {
            QCOMPARE(dialog->windowTitle(), QStringLiteral("Select Log File Directory"));
            QVERIFY(dialog->testOption(QFileDialog::ShowDirsOnly));
            dialog->setDirectory(chosen);
            dialog->selectFile(chosen);
            QMetaObject::invokeMethod(dialog, "accept");
        });
        window.setLogFileDirectory();
        QCOMPARE(QDir(Settings::logFileDirectory()).canonicalPath(), QDir(chosen).canonicalPath());

        window.revertLogFileDirectory();
        QCOMPARE(Settings::logFileDirectory(), SettingsUtil::defaultLogFileDirectory());

        // Opening the default directory creates it first.
        QVERIFY(!QDir(SettingsUtil::defaultLogFileDirectory()).exists());
        window.openLogFileDirectory();
        QVERIFY(QDir(SettingsUtil::defaultLogFileDirectory()).exists());
        QDir(SettingsUtil::defaultLogFileDirectory()).removeRecursively();
    }

    void corvanePathEntries()
    {
        MainWindow window;
        const QString executable =
            TestEnvironment::writeScript(dir.path(), QStringLiteral("corvane"), QStringLiteral("exit 0\n"));
        whenModal<QFileDialog>([executable](QFileDialog* dialog) {
            QCOMPARE(dialog->windowTitle(), QStringLiteral("Select Corvane Executable"));
            dialog->selectFile(executable);
            QMetaObject::invokeMethod(dialog, "accept");
        });
        window.setCorvanePath();
        QCOMPARE(Settings::executable(), executable);
        QVERIFY(window.page()->corvaneExecutableIsValid());

        // Reverting removes the key and checks the file next to the program, which is absent here.
        window.revertCorvanePath();
        QCOMPARE(
            SettingsUtil::getSetting(Settings::corvaneGroup, Settings::executableKey, QStringLiteral("none")),
            QVariant(QStringLiteral("none")));
        QVERIFY(!window.page()->corvaneExecutableIsValid());

        // Cancelling the dialog changes nothing.
        whenModal<QFileDialog>([](QFileDialog* dialog) { dialog->reject(); });
        window.setCorvanePath();
        QCOMPARE(Settings::executable(), QString());
    }

    void shortcutsAndLayout()
    {
        const auto splitter = [](MainWindow& window, Qt::Orientation orientation) -> QSplitter* {
            for (QSplitter* splitter : window.page()->findChildren<QSplitter*>())
                if (splitter->orientation() == orientation)
                    return splitter;
            return nullptr;
        };
        QSize size;
        QList<int> pageSizes, actionSizes;
        {
            MainWindow window;
            QMenu* file = menu(window, "&File");
            QCOMPARE(entry(file, "&Load Job...")->shortcut(), QKeySequence(QKeySequence::Open));
            QCOMPARE(entry(file, "&Save Job...")->shortcut(), QKeySequence(QKeySequence::Save));
            QCOMPARE(entry(file, "E&xit")->shortcut(), QKeySequence(QKeySequence::Quit));

            window.show();
            QVERIFY(QTest::qWaitForWindowExposed(&window));
            QSplitter* page = splitter(window, Qt::Vertical);
            QSplitter* actions = splitter(window, Qt::Horizontal);
            QVERIFY(page && actions);
            const int pageHeight = page->height();
            size = window.size() + QSize(200, 150);
            window.resize(size);
            QTRY_VERIFY(page->height() > pageHeight);
            // Each moves by 100 pixels towards the part that is not at its minimum.
            page->setSizes({page->sizes()[0] + 100, page->sizes()[1] - 100});
            actions->setSizes({actions->sizes()[0] - 100, actions->sizes()[1] + 100});
            pageSizes = page->sizes();
            actionSizes = actions->sizes();
            QVERIFY(window.close());
        }
        MainWindow again;
        QCOMPARE(again.size(), size);
        again.show();
        QVERIFY(QTest::qWaitForWindowExposed(&again));
        QCOMPARE(splitter(again, Qt::Vertical)->sizes(), pageSizes);
        QCOMPARE(splitter(again, Qt::Horizontal)->sizes(), actionSizes);
    }
};

HARNWICK_TEST(TestMainWindow)
#include "tst_mainwindow.moc"
