#include "bulkoperationswidget.h"
#include "settingsutil.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QElapsedTimer>
#include <QGroupBox>
#include <QLabel>
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

        // A valid executable at start shows no error.
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey, validExecutable());
        BulkOperationsWidget valid;
        QVERIFY(valid.corvaneExecutableIsValid());
        QVERIFY(errorLabel(valid)->isHidden());
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
