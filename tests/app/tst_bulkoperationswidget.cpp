#include "bulkoperationswidget.h"
#include "corvaneprocessrunner.h"
#include "qprogressindicator.h"
#include "settingsutil.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSplitter>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <QTest>

namespace {
const QString invalidPathMessage = QStringLiteral("ERROR: The provided Lumenar Corvane path is not valid. "
                                                  "Please provide a valid path in the settings.");
}

class TestBulkOperationsWidget : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;

    QString validExecutable()
    {
        // Succeeds only for exactly "batch -h", as the real check expects.
        return TestEnvironment::writeScript(dir.path(), QStringLiteral("corvane-ok"),
                                            QStringLiteral("[ \"$1\" = batch ] && [ \"$2\" = -h ] && exit 0\n"
                                                           "exit 3\n"));
    }

    static QLabel* errorLabel(BulkOperationsWidget& page)
    {
        return page.findChild<QLabel*>(QStringLiteral("errorLabel"));
    }

private slots:
    void init() { TestEnvironment::clearSettings(); }

    void executableValidation()
    {
        BulkOperationsWidget page;
        QVERIFY(!page.validateCorvaneExecutable(dir.filePath(QStringLiteral("missing"))));
        QVERIFY(page.validateCorvaneExecutable(validExecutable()));
        QVERIFY(!page.validateCorvaneExecutable(
            TestEnvironment::writeScript(dir.path(), QStringLiteral("fails"), QStringLiteral("exit 1\n"))));
        // A directory exists but does not run.
        QVERIFY(!page.validateCorvaneExecutable(dir.path()));

        // An executable that never answers is given up after the bounded wait.
        const QString hang = TestEnvironment::writeScript(dir.path(), QStringLiteral("hangs"),
                                                          QStringLiteral("exec sleep 60\n"));
        QElapsedTimer clock;
        clock.start();
        QVERIFY(!page.validateCorvaneExecutable(hang));
        QVERIFY(clock.elapsed() < 20000);

        // An empty path checks what the settings name, else the file next to the program.
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey, validExecutable());
        QVERIFY(page.validateCorvaneExecutable(QString()));
        SettingsUtil::clearSetting(Settings::corvaneGroup, Settings::executableKey);
        QVERIFY(!page.validateCorvaneExecutable(QString()));
        QCOMPARE(page.processRunner()->getExecutablePath(),
                 QCoreApplication::applicationDirPath() + QStringLiteral("/corvane"));
    }

    void errorLineFollowsThePath()
    {
        BulkOperationsWidget page;
        // No executable configured at start: the error line says so.
        QVERIFY(!page.corvaneExecutableIsValid());
        QVERIFY(!errorLabel(page)->isHidden());
        QCOMPARE(errorLabel(page)->text(), invalidPathMessage);

        page.newCorvaneExecutablePathSet(validExecutable());
        QVERIFY(page.corvaneExecutableIsValid());
        QVERIFY(errorLabel(page)->isHidden());
        QCOMPARE(errorLabel(page)->text(), QString());

        page.newCorvaneExecutablePathSet(dir.filePath(QStringLiteral("gone")));
        QVERIFY(!page.corvaneExecutableIsValid());
        QCOMPARE(errorLabel(page)->text(), invalidPathMessage);

        // A new error replaces the old one; clearing hides the line.
        emit page.errorEncountered(QStringLiteral("Something else."));
        QCOMPARE(errorLabel(page)->text(), QStringLiteral("ERROR: Something else."));
        page.clearErrorMessage();
        QVERIFY(errorLabel(page)->isHidden());
    }

    void validExecutableAtStartShowsNoError()
    {
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey, validExecutable());
        BulkOperationsWidget page;
        QVERIFY(page.corvaneExecutableIsValid());
        QVERIFY(errorLabel(page)->isHidden());
    }

    void frameLayout()
    {
        BulkOperationsWidget page;
        QCOMPARE(page.windowTitle(), QStringLiteral("Perform Bulk Operations"));
        auto* grid = qobject_cast<QGridLayout*>(page.layout());
        QVERIFY(grid);

        auto position = [grid](QWidget* widget) {
            int row = -1, column = -1, rowSpan = 0, columnSpan = 0;
            grid->getItemPosition(grid->indexOf(widget), &row, &column, &rowSpan, &columnSpan);
            return QList<int>{row, column, rowSpan, columnSpan};
        };
        QSplitter* vertical = nullptr;
        for (QSplitter* splitter : page.findChildren<QSplitter*>())
            if (splitter->orientation() == Qt::Vertical)
                vertical = splitter;
        QVERIFY(vertical);
        QVERIFY(!vertical->childrenCollapsible());
        QCOMPARE(position(vertical), QList<int>({0, 0, 1, 4}));
        QCOMPARE(qobject_cast<QGroupBox*>(vertical->widget(0))->title(), QStringLiteral("Devices"));
        auto* horizontal = qobject_cast<QSplitter*>(vertical->widget(1));
        QVERIFY(horizontal && horizontal->orientation() == Qt::Horizontal &&
                !horizontal->childrenCollapsible());
        QCOMPARE(qobject_cast<QGroupBox*>(horizontal->widget(0))->title(), QStringLiteral("Actions"));
        QCOMPARE(horizontal->widget(1), page.findChild<QStackedWidget*>(QStringLiteral("actionEditorStack")));

        QGroupBox* debugBox = nullptr;
        for (QGroupBox* box : page.findChildren<QGroupBox*>())
            if (box->title() == QStringLiteral("Add Debug Connection Options"))
                debugBox = box;
        QVERIFY(debugBox);
        QCOMPARE(position(debugBox), QList<int>({1, 0, 1, 4}));
        QCOMPARE(position(errorLabel(page)), QList<int>({2, 0, 1, 4}));

        auto* version = page.findChild<QLabel*>(QStringLiteral("versionLabel"));
        QCOMPARE(version->text(), QStringLiteral("0v1p1b1957"));
        QCOMPARE(position(version), QList<int>({3, 0, 1, 1}));
        QCOMPARE(grid->itemAt(grid->indexOf(version))->alignment(), Qt::AlignLeft);

        auto* progress = page.findChild<QProgressBar*>(QStringLiteral("progressBar"));
        QCOMPARE(position(progress), QList<int>({3, 1, 1, 1}));
        QVERIFY(progress->isHidden());
        QVERIFY(!progress->isTextVisible());
        QCOMPARE(grid->columnStretch(1), 1);

        auto* busy = page.findChild<QProgressIndicator*>(QStringLiteral("busyIndicator"));
        QCOMPARE(position(busy), QList<int>({3, 2, 1, 1}));
        QCOMPARE(grid->itemAt(grid->indexOf(busy))->alignment(), Qt::AlignRight);
        QCOMPARE(busy->color(), QColor(217, 30, 42));
        QCOMPARE(busy->focusPolicy(), Qt::NoFocus);

        auto* run = page.findChild<QPushButton*>(QStringLiteral("runButton"));
        QCOMPARE(position(run), QList<int>({3, 3, 1, 1}));
        QCOMPARE(run->text(), QStringLiteral("Run"));
        QCOMPARE(run->toolTip(), QStringLiteral("Run batch job on selected devices"));
        QVERIFY(!run->isEnabled());
        QVERIFY(run->isDefault());
        QCOMPARE(run->minimumWidth(), 100);
        QCOMPARE(run->maximumWidth(), 200);
    }

    void enablingTheInputs()
    {
        BulkOperationsWidget page;
        auto* stack = page.findChild<QStackedWidget*>(QStringLiteral("actionEditorStack"));
        page.enableGuiElements(false);
        QVERIFY(!stack->isEnabled());
        for (QGroupBox* box : page.findChildren<QGroupBox*>())
            if (box->title() != QStringLiteral("Devices"))
                QVERIFY2(!box->isEnabled(), qPrintable(box->title()));
        page.enableGuiElements(true);
        QVERIFY(stack->isEnabled());
        for (QGroupBox* box : page.findChildren<QGroupBox*>())
            QVERIFY2(box->isEnabled(), qPrintable(box->title()));
    }

    void commandLineSplitting_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("plain") << "device info --json" << QStringList{"device", "info", "--json"};
        QTest::newRow("quoted") << "flash \"my file.hex\" 0x0" << QStringList{"flash", "my file.hex", "0x0"};
        QTest::newRow("extra spaces") << "  a   b  " << QStringList{"a", "b"};
        QTest::newRow("empty") << "" << QStringList{};
    }

    void commandLineSplitting()
    {
        QFETCH(QString, command);
        QFETCH(QStringList, arguments);
        QCOMPARE(BulkOperationsWidget::parseCommandLineArguments(command), arguments);
    }

    void iconThemeFollowsWindowLightness()
    {
        QPalette palette;
        palette.setColor(QPalette::Window, QColor(240, 240, 240));
        QCOMPARE(BulkOperationsWidget::themedIconSuffix(palette), QStringLiteral("-light"));
        palette.setColor(QPalette::Window, QColor(30, 30, 30));
        QCOMPARE(BulkOperationsWidget::themedIconSuffix(palette), QStringLiteral("-dark"));
        // Lightness 127 is still dark, 128 light.
        palette.setColor(QPalette::Window, QColor::fromHsl(0, 0, 127));
        QCOMPARE(BulkOperationsWidget::themedIconSuffix(palette), QStringLiteral("-dark"));
        palette.setColor(QPalette::Window, QColor::fromHsl(0, 0, 128));
        QCOMPARE(BulkOperationsWidget::themedIconSuffix(palette), QStringLiteral("-light"));
    }
};

HARNWICK_TEST(TestBulkOperationsWidget)
#include "tst_bulkoperationswidget.moc"
