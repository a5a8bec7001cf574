#include "actionpagehelpers.h"
#include "bulkaction.h"
#include "bulkoperationswidget.h"
#include "droppablelineedit.h"
#include "hexspinbox.h"
#include "testregistry.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QRadioButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

using namespace ActionPage;

namespace {

// Answers the next file dialog with the given file (cancels it when empty) and
// returns, through the argument, the folder it started in.
void answerNextFileDialog(const QString& file, QString& directory)
{
    auto* poll = new QTimer;
    poll->setInterval(20);
    QObject::connect(poll, &QTimer::timeout, [poll, file, &directory] {
        auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
        if (!dialog)
            return;
        poll->deleteLater();
        poll->stop();
        directory = dialog->directory().path();
        if (file.isEmpty())
            return dialog->reject();
        // A focused name field would ignore selectFile(); it stands for typing the path and pressing OK.
        if (QWidget* focused = dialog->focusWidget())
            focused->clearFocus();
        dialog->selectFile(file);
        QMetaObject::invokeMethod(dialog, "accept");
    });
    poll->start();
}

} // namespace

class TestActionEditor : public QObject
{
    Q_OBJECT

private slots:

    void choosingATypeTouchesOnlyThatAction()
    {
        BulkOperationsWidget page;
        QGroupBox* firstBox = editBox(page, page.actionSelectorAddAction());
        QGroupBox* secondBox = editBox(page, page.actionSelectorAddAction());

        chooseType(secondBox, int(BulkAction::Wait));
        QCOMPARE(rowTexts(page, 1),
                 (QStringList{QStringLiteral("Select Action..."), QStringLiteral("Wait")}));
        QCOMPARE(pageStack(secondBox)->currentWidget(), settingsPage(secondBox, int(BulkAction::Wait)));
        QCOMPARE(pageStack(firstBox)->currentIndex(), 0);

        // The text follows the action, not the row it once had.
        select(page, {1});
        page.actionSelectorMoveHighlightedActionsToTop();
        chooseType(secondBox, int(BulkAction::FlashTargetDevice));
        QCOMPARE(rowTexts(page, 1).first(), QStringLiteral("Flash Target Device"));

        // Settings typed for one type survive a switch to another and back.
        auto* duration = field<QLineEdit>(secondBox, BulkAction::Wait, "durationLineEdit");
        duration->setText(QStringLiteral("250"));
        chooseType(secondBox, int(BulkAction::Wait));
        QCOMPARE(duration->text(), QStringLiteral("250"));
        // Each action has its own copy of every settings widget.
        QVERIFY(field<QLineEdit>(firstBox, BulkAction::Wait, "durationLineEdit")->text().isEmpty());

        chooseType(secondBox, int(BulkAction::None));
        QCOMPARE(rowTexts(page, 1).first(), QStringLiteral("Select Action..."));
        QCOMPARE(pageStack(secondBox)->currentIndex(), 0);
    }

    void enablingRules()
    {
        BulkOperationsWidget page;
        page.show();
        QGroupBox* box = editBox(page, page.actionSelectorAddAction());
        QGroupBox* other = editBox(page, page.actionSelectorAddAction());

        // Default firmware: only the newer-only choice applies; from file: only the path.
        const auto firmware = [box](const char* name) {
            return field<QWidget>(box, BulkAction::InstallAdapterFirmware, name);
        };
        const auto firmwareState = [&firmware] {
            return QString::number(firmware("installIfNewerCheckBox")->isEnabled()) +
                   QString::number(firmware("emzFileLineEdit")->isEnabled()) +
                   QString::number(firmware("browseButton")->isEnabled());
        };
        QCOMPARE(firmwareState(), QStringLiteral("100"));
        qobject_cast<QRadioButton*>(firmware("installFromFileRadioButton"))->click();
        QCOMPARE(firmwareState(), QStringLiteral("011"));
        // Neither the other action's page nor its radio buttons follow.
        QVERIFY(!field<QWidget>(other, BulkAction::InstallAdapterFirmware, "emzFileLineEdit")->isEnabled());
        field<QRadioButton>(box, BulkAction::LockUnlockTargetDevice, "unlockDebugRadioButton")->click();
        QVERIFY(field<QRadioButton>(other, BulkAction::LockUnlockTargetDevice, "lockDebugRadioButton")
                    ->isChecked());
        qobject_cast<QRadioButton*>(firmware("installDefaultRadioButton"))->click();
        QCOMPARE(firmwareState(), QStringLiteral("100"));

        // The start address applies to raw binaries only; a fresh page offers it.
        auto* appFile = field<QLineEdit>(box, BulkAction::FlashTargetDevice, "appFileLineEdit");
        auto* address = field<HexSpinBox>(box, BulkAction::FlashTargetDevice, "startAddressSpinBox");
        QVERIFY(address->isEnabled());
        for (const char* text : {"image.BIN", "image.hex", "/data/fw/raw.Binary", "bin", ""}) {
            appFile->setText(QString::fromLatin1(text));
            const QString path = QString::fromLatin1(text).toLower();
            QCOMPARE(address->isEnabled(), path.endsWith(".bin") || path.endsWith(".binary"));
        }

        // The wait duration takes digits only, up to ten minutes.
        auto* duration = field<QLineEdit>(box, BulkAction::Wait, "durationLineEdit");
        QTest::keyClicks(duration, QStringLiteral("-12a3x4"));
        QCOMPARE(duration->text(), QStringLiteral("1234"));
        duration->setText(QStringLiteral("600001"));
        QVERIFY(!duration->hasAcceptableInput());
        duration->setText(QStringLiteral("600000"));
        QVERIFY(duration->hasAcceptableInput());
    }

    void browseForFirmware()
    {
        QTemporaryDir dir;
        QVERIFY(QDir(dir.path()).mkpath(QStringLiteral("old")));
        const QString newFirmware = dir.filePath(QStringLiteral("adapter-7.emz"));
        QFile file(newFirmware);
        QVERIFY(file.open(QIODevice::WriteOnly));
        BulkOperationsWidget page;
        page.show();
        QGroupBox* box = editBox(page, page.actionSelectorAddAction());
        field<QRadioButton>(box, BulkAction::InstallAdapterFirmware, "installFromFileRadioButton")->click();
        auto* emzFile = field<QLineEdit>(box, BulkAction::InstallAdapterFirmware, "emzFileLineEdit");
        emzFile->setText(dir.filePath(QStringLiteral("old/adapter-6.emz")));

        // The dialog starts in the folder of the current file.
        QString directory;
        answerNextFileDialog(newFirmware, directory);
        field<QPushButton>(box, BulkAction::InstallAdapterFirmware, "browseButton")->click();
        QCOMPARE(QDir(directory).canonicalPath(), QDir(dir.filePath(QStringLiteral("old"))).canonicalPath());
        QCOMPARE(emzFile->text(), newFirmware);
        answerNextFileDialog(QString(), directory); // cancelling keeps the path
        field<QPushButton>(box, BulkAction::InstallAdapterFirmware, "browseButton")->click();
        QCOMPARE(emzFile->text(), newFirmware);
    }
};

HARNWICK_TEST(TestActionEditor)
#include "tst_actioneditor.moc"
