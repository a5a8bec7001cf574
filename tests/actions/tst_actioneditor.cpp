#include "actionpagehelpers.h"
#include "bulkaction.h"
#include "bulkoperationswidget.h"
#include "droppablelineedit.h"
#include "hexspinbox.h"
#include "imageplaceholderwidget.h"
#include "testregistry.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

using namespace ActionPage;

namespace {

enum Type
{
    None = 0,
    RunCustomCommand = 1,
    InstallAdapterFirmware = 2,
    SetAdapterDebugMode = 3,
    LogDeviceInfo = 4,
    FlashTargetDevice = 5,
    MassEraseTargetDevice = 6,
    LockUnlockTargetDevice = 7,
    RecoverTargetDevice = 8,
    Wait = 9
};

template<typename T> T* child(QWidget* parent, const char* name)
{
    T* found = parent->findChild<T*>(QString::fromLatin1(name));
    if (!found)
        qWarning("no %s named %s", T::staticMetaObject.className(), name);
    return found;
}

struct DialogSeen
{
    QString title;
    QStringList filters;
    QString directory;
};

// Answers the next file dialog with the given file, or cancels it when empty.
void answerNextFileDialog(const QString& file, DialogSeen& seen)
{
    auto* poll = new QTimer;
    poll->setInterval(20);
    QObject::connect(poll, &QTimer::timeout, [poll, file, &seen] {
        auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
        if (!dialog)
            return;
        poll->stop();
        poll->deleteLater();
        seen.title = dialog->windowTitle();
        seen.filters = dialog->nameFilters();
        seen.directory = dialog->directory().path();
        if (file.isEmpty()) {
            dialog->reject();
        } else {
            // The dialog leaves a focused name field alone; typing a path there
            // and pressing OK is what selectFile() then stands for.
            if (QWidget* focused = dialog->focusWidget())
                focused->clearFocus();
            dialog->selectFile(file);
            QMetaObject::invokeMethod(dialog, "accept");
        }
    });
    poll->start();
}

} // namespace

class TestActionEditor : public QObject
{
    Q_OBJECT

private slots:
    void placeholderAndPageFrame();
    void choosingATypeTouchesOnlyThatAction();
    void firmwareInstallPage();
    void debugModeAndNoSettingsPages();
    void flashPage();
    void lockUnlockWaitAndCustomCommandPages();
    void browseDialogs();
    void debugConnectionOptions();
};

void TestActionEditor::placeholderAndPageFrame()
{
    BulkOperationsWidget page;
    auto* placeholder = qobject_cast<ImagePlaceholderWidget*>(stack(page)->widget(0));
    QVERIFY(placeholder);
    QVERIFY(!placeholder->pixmap().isNull());
    QCOMPARE(placeholder->minimumWidth(), 600);
    QCOMPARE(placeholder->sizePolicy().horizontalPolicy(), QSizePolicy::Ignored);
    QCOMPARE(placeholder->sizePolicy().verticalPolicy(), QSizePolicy::Ignored);
    QVERIFY(!placeholder->property("actionId").isValid());

    const int id = page.actionSelectorAddAction();
    QGroupBox* box = editBox(page, id);
    QVERIFY(box);
    QCOMPARE(box->title(), QStringLiteral("Edit Action"));
    QCOMPARE(stack(page)->currentWidget(), box);

    QComboBox* combo = selector(box);
    QVERIFY(combo);
    QStringList texts;
    QList<QVariant> data;
    for (int i = 0; i < combo->count(); ++i) {
        texts.append(combo->itemText(i));
        data.append(combo->itemData(i, Qt::UserRole));
    }
    QCOMPARE(
        texts,
        (QStringList{QStringLiteral("Select Action..."), QString(), QStringLiteral("Log Device Information"),
                     QStringLiteral("Flash Target Device"), QStringLiteral("Mass Erase Target Device"),
                     QStringLiteral("Lock/Unlock Target Debug Access"),
                     QStringLiteral("Recover Target Device"), QString(), QStringLiteral("Wait"), QString(),
                     QStringLiteral("Run Custom Command"), QString(),
                     QStringLiteral("Install Adapter Firmware"), QStringLiteral("Set Adapter Debug Mode")}));
    QCOMPARE(data,
             (QList<QVariant>{0, QVariant(), 4, 5, 6, 7, 8, QVariant(), 9, QVariant(), 1, QVariant(), 2, 3}));
    QCOMPARE(combo->currentIndex(), 0);

    auto* explorer = box->findChild<QPushButton*>(QStringLiteral("variableExplorerButton"));
    QVERIFY(explorer);
    // No explorer window exists in this build of the page; the click must be harmless.
    explorer->click();

    QStackedWidget* pages = pageStack(box);
    QVERIFY(pages);
    QList<int> types;
    for (int i = 0; i < pages->count(); ++i)
        types.append(pages->widget(i)->property("actionType").toInt());
    QCOMPARE(types, (QList<int>{0, 2, 3, 4, 5, 6, 7, 8, 9, 1}));
    QCOMPARE(pages->currentIndex(), 0);
    for (int i = 1; i < pages->count(); ++i) {
        auto* settings = qobject_cast<QGroupBox*>(pages->widget(i));
        QVERIFY(settings);
        QVERIFY(settings->title().isEmpty());
    }
    QCOMPARE(page.getActionEditorStackIndexFromActionId(id), 1);
    QCOMPARE(page.getActionEditorStackIndexFromActionId(id + 1), -1);
    QCOMPARE(BulkOperationsWidget::getActionEditorPageIndexFromActionType(pages, BulkAction::Wait), 8);
    QCOMPARE(
        BulkOperationsWidget::getActionEditorPageIndexFromActionType(pages, BulkAction::RunCustomCommand), 9);
    QCOMPARE(BulkOperationsWidget::getActionEditorPageIndexFromActionType(pages, static_cast<BulkAction>(12)),
             -1);
    QCOMPARE(BulkOperationsWidget::getActionEditorPageIndexFromActionType(nullptr, BulkAction::Wait), -1);
}

void TestActionEditor::choosingATypeTouchesOnlyThatAction()
{
    BulkOperationsWidget page;
    const int first = page.actionSelectorAddAction();
    const int second = page.actionSelectorAddAction();
    QGroupBox* firstBox = editBox(page, first);
    QGroupBox* secondBox = editBox(page, second);

    chooseType(secondBox, Wait);
    QCOMPARE(rowTexts(page, 1), (QStringList{QStringLiteral("Select Action..."), QStringLiteral("Wait")}));
    QCOMPARE(pageStack(secondBox)->currentWidget()->property("actionType").toInt(), int(Wait));
    QCOMPARE(pageStack(firstBox)->currentIndex(), 0);

    // The text follows the action, not the row it once had.
    select(page, {1});
    page.actionSelectorMoveHighlightedActionsToTop();
    chooseType(secondBox, FlashTargetDevice);
    QCOMPARE(rowTexts(page, 1),
             (QStringList{QStringLiteral("Flash Target Device"), QStringLiteral("Select Action...")}));

    // Settings typed for one type survive a switch to another and back.
    auto* duration = child<QLineEdit>(settingsPage(secondBox, Wait), "durationLineEdit");
    duration->setText(QStringLiteral("250"));
    chooseType(secondBox, RunCustomCommand);
    chooseType(secondBox, Wait);
    QCOMPARE(duration->text(), QStringLiteral("250"));

    chooseType(secondBox, None);
    QCOMPARE(rowTexts(page, 1).first(), QStringLiteral("Select Action..."));
    QCOMPARE(pageStack(secondBox)->currentIndex(), 0);

    // Each action has its own copy of every settings widget.
    QVERIFY(settingsPage(firstBox, Wait)
                ->findChild<QLineEdit*>(QStringLiteral("durationLineEdit"))
                ->text()
                .isEmpty());
}

void TestActionEditor::firmwareInstallPage()
{
    BulkOperationsWidget page;
    QWidget* settings = settingsPage(editBox(page, page.actionSelectorAddAction()), InstallAdapterFirmware);
    QWidget* otherSettings =
        settingsPage(editBox(page, page.actionSelectorAddAction()), InstallAdapterFirmware);

    auto* installDefault = child<QRadioButton>(settings, "installDefaultRadioButton");
    auto* ifNewer = child<QCheckBox>(settings, "installIfNewerCheckBox");
    auto* fromFile = child<QRadioButton>(settings, "installFromFileRadioButton");
    auto* emzFile = child<DroppableLineEdit>(settings, "emzFileLineEdit");
    auto* browse = child<QPushButton>(settings, "browseButton");
    QVERIFY(installDefault && ifNewer && fromFile && emzFile && browse);

    QVERIFY(installDefault->isChecked());
    QVERIFY(!fromFile->isChecked());
    QVERIFY(ifNewer->isChecked());
    QVERIFY(ifNewer->isEnabled());
    QVERIFY(!emzFile->isEnabled());
    QVERIFY(!browse->isEnabled());
    QCOMPARE(emzFile->getSupportedExtensions(), QStringList{QStringLiteral(".emz")});

    fromFile->click();
    QVERIFY(!installDefault->isChecked());
    QVERIFY(!ifNewer->isEnabled());
    QVERIFY(emzFile->isEnabled());
    QVERIFY(browse->isEnabled());
    // The other action's page did not follow.
    QVERIFY(child<QRadioButton>(otherSettings, "installDefaultRadioButton")->isChecked());
    QVERIFY(!child<DroppableLineEdit>(otherSettings, "emzFileLineEdit")->isEnabled());

    installDefault->click();
    QVERIFY(ifNewer->isEnabled());
    QVERIFY(!emzFile->isEnabled());
    QVERIFY(!browse->isEnabled());
}

void TestActionEditor::debugModeAndNoSettingsPages()
{
    BulkOperationsWidget page;
    QGroupBox* box = editBox(page, page.actionSelectorAddAction());

    auto* mode = child<QComboBox>(settingsPage(box, SetAdapterDebugMode), "debugModeComboBox");
    QVERIFY(mode);
    QStringList modes;
    for (int i = 0; i < mode->count(); ++i) {
        modes.append(mode->itemText(i));
        QVERIFY(!mode->itemData(i).isValid());
    }
    QCOMPARE(modes, (QStringList{QStringLiteral("MCU"), QStringLiteral("IN"), QStringLiteral("OUT"),
                                 QStringLiteral("MINI"), QStringLiteral("OFF")}));
    QCOMPARE(mode->currentText(), QStringLiteral("MCU"));

    QWidget* info = settingsPage(box, LogDeviceInfo);
    QWidget* erase = settingsPage(box, MassEraseTargetDevice);
    QWidget* recover = settingsPage(box, RecoverTargetDevice);
    QVERIFY(info != erase && erase != recover && info != recover);
    for (QWidget* settings : {info, erase, recover}) {
        const QList<QLabel*> labels = settings->findChildren<QLabel*>();
        QCOMPARE(labels.size(), 1);
        QCOMPARE(labels.first()->text(), QStringLiteral("No settings available."));
    }
}

void TestActionEditor::flashPage()
{
    BulkOperationsWidget page;
    QWidget* settings = settingsPage(editBox(page, page.actionSelectorAddAction()), FlashTargetDevice);

    auto* appFile = child<DroppableLineEdit>(settings, "appFileLineEdit");
    auto* address = child<HexSpinBox>(settings, "startAddressSpinBox");
    QVERIFY(appFile && address);
    QCOMPARE(appFile->getSupportedExtensions(),
             (QStringList{QStringLiteral(".bin"), QStringLiteral(".binary"), QStringLiteral(".s37"),
                          QStringLiteral(".hex"), QStringLiteral(".srec"), QStringLiteral(".mot"),
                          QStringLiteral(".ebl"), QStringLiteral(".gbl"), QStringLiteral(".rps"),
                          QStringLiteral(".axf"), QStringLiteral(".out"), QStringLiteral(".elf")}));
    QCOMPARE(address->minimum(), 0);
    QCOMPARE(address->maximum(), 0x20000000);
    QCOMPARE(address->singleStep(), 0x200);
    QCOMPARE(address->value(), 0);

    QVERIFY(!child<QCheckBox>(settings, "forceCheckBox")->isChecked());
    QVERIFY(child<QCheckBox>(settings, "resetAfterFlashCheckBox")->isChecked());
    QVERIFY(child<QCheckBox>(settings, "verifyAfterFlashCheckBox")->isChecked());
    QVERIFY(!child<QCheckBox>(settings, "haltAfterFlashCheckBox")->isChecked());

    // A fresh page offers the address although its path is empty.
    QVERIFY(address->isEnabled());
    QTest::keyClicks(appFile, QStringLiteral("image.BIN"));
    QVERIFY(address->isEnabled());
    appFile->setText(QStringLiteral("image.hex"));
    QVERIFY(!address->isEnabled());
    appFile->setText(QStringLiteral("/data/fw/raw.Binary"));
    QVERIFY(address->isEnabled());
    appFile->setText(QStringLiteral("bin"));
    QVERIFY(!address->isEnabled());
    appFile->setText(QStringLiteral("image.bin"));
    appFile->clear();
    QVERIFY(!address->isEnabled());
}

void TestActionEditor::lockUnlockWaitAndCustomCommandPages()
{
    BulkOperationsWidget page;
    page.show();
    QGroupBox* box = editBox(page, page.actionSelectorAddAction());
    QGroupBox* otherBox = editBox(page, page.actionSelectorAddAction());

    QWidget* lockPage = settingsPage(box, LockUnlockTargetDevice);
    auto* lock = child<QRadioButton>(lockPage, "lockDebugRadioButton");
    auto* unlock = child<QRadioButton>(lockPage, "unlockDebugRadioButton");
    QVERIFY(lock && unlock);
    QVERIFY(lock->isChecked());
    QVERIFY(!unlock->isChecked());
    unlock->click();
    QVERIFY(!lock->isChecked());
    // Radio buttons of different actions do not exclude each other.
    QVERIFY(child<QRadioButton>(settingsPage(otherBox, LockUnlockTargetDevice), "lockDebugRadioButton")
                ->isChecked());

    auto* duration = child<QLineEdit>(settingsPage(box, Wait), "durationLineEdit");
    QVERIFY(duration->text().isEmpty());
    QTest::keyClicks(duration, QStringLiteral("-12a3x4"));
    QCOMPARE(duration->text(), QStringLiteral("1234"));
    duration->clear();
    QTest::keyClicks(duration, QStringLiteral("6000009"));
    QCOMPARE(duration->text(), QStringLiteral("600000"));
    QVERIFY(duration->hasAcceptableInput());
    duration->clear();
    QTest::keyClicks(duration, QStringLiteral("600001"));
    QVERIFY(!duration->hasAcceptableInput());

    QWidget* custom = settingsPage(box, RunCustomCommand);
    auto* append = child<QCheckBox>(custom, "appendConnectionOptionCheckBox");
    auto* command = child<QLineEdit>(custom, "customCommandLineEdit");
    QVERIFY(append && command);
    QVERIFY(append->isChecked());
    QVERIFY(command->text().isEmpty());
    const QList<QLabel*> labels = custom->findChildren<QLabel*>();
    QCOMPARE(labels.size(), 1);
    QVERIFY(labels.first()->text().endsWith(QStringLiteral("e.g. \"--device {{target_part}}\".")));
}

void TestActionEditor::browseDialogs()
{
    QTemporaryDir dir;
    QVERIFY(QDir(dir.path()).mkpath(QStringLiteral("old")));
    QVERIFY(QDir(dir.path()).mkpath(QStringLiteral("new")));
    const QString newFirmware = dir.filePath(QStringLiteral("new/adapter-7.emz"));
    const QString newImage = dir.filePath(QStringLiteral("new/blinky.hex"));
    for (const QString& path : {newFirmware, newImage}) {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
    }

    BulkOperationsWidget page;
    page.show();
    QGroupBox* box = editBox(page, page.actionSelectorAddAction());

    QWidget* firmware = settingsPage(box, InstallAdapterFirmware);
    child<QRadioButton>(firmware, "installFromFileRadioButton")->click();
    auto* emzFile = child<DroppableLineEdit>(firmware, "emzFileLineEdit");
    emzFile->setText(dir.filePath(QStringLiteral("old/adapter-6.emz")));

    DialogSeen seen;
    answerNextFileDialog(newFirmware, seen);
    child<QPushButton>(firmware, "browseButton")->click();
    QCOMPARE(seen.title, QStringLiteral("Select Adapter Firmware"));
    QCOMPARE(seen.filters, QStringList{QStringLiteral("Firmware packages (*.emz)")});
    QCOMPARE(QDir(seen.directory).canonicalPath(), QDir(dir.filePath(QStringLiteral("old"))).canonicalPath());
    QCOMPARE(emzFile->text(), newFirmware);

    // Cancelling keeps the path.
    answerNextFileDialog(QString(), seen);
    child<QPushButton>(firmware, "browseButton")->click();
    QCOMPARE(emzFile->text(), newFirmware);

    QWidget* flash = settingsPage(box, FlashTargetDevice);
    auto* appFile = child<DroppableLineEdit>(flash, "appFileLineEdit");
    QPushButton* flashBrowse = nullptr;
    for (QPushButton* button : flash->findChildren<QPushButton*>())
        flashBrowse = button->text() == QStringLiteral("Browse...") ? button : flashBrowse;
    QVERIFY(flashBrowse);
    appFile->setText(dir.filePath(QStringLiteral("old/app.bin")));
    answerNextFileDialog(newImage, seen);
    flashBrowse->click();
    QCOMPARE(seen.title, QStringLiteral("Select Application Binary"));
    QCOMPARE(seen.filters,
             (QStringList{QStringLiteral("Supported Files (*.bin *.binary *.s37 *.hex *.srec *.mot "
                                         "*.ebl *.gbl *.rps *.axf *.out *.elf)"),
                          QStringLiteral("All Files (*.*)")}));
    QCOMPARE(appFile->text(), newImage);
    // The chosen file is a hex image, so the address no longer applies.
    QVERIFY(!child<HexSpinBox>(flash, "startAddressSpinBox")->isEnabled());
}

void TestActionEditor::debugConnectionOptions()
{
    BulkOperationsWidget page;
    QGroupBox* box = nullptr;
    for (QGroupBox* candidate : page.findChildren<QGroupBox*>())
        box = candidate->title() == QStringLiteral("Add Debug Connection Options") ? candidate : box;
    QVERIFY(box);
    QVERIFY(box->isCheckable());
    QVERIFY(!box->isChecked());

    auto* interface = child<QComboBox>(box, "debugInterfaceComboBox");
    auto* speed = child<QComboBox>(box, "debugSpeedComboBox");
    QVERIFY(interface && speed);
    QStringList interfaces;
    for (int i = 0; i < interface->count(); ++i)
        interfaces.append(interface->itemText(i));
    QCOMPARE(interfaces, (QStringList{QStringLiteral("SWD"), QStringLiteral("JTAG"), QStringLiteral("C2")}));
    QCOMPARE(interface->currentText(), QStringLiteral("SWD"));

    const QList<int> speeds{50000, 40000, 30000, 20000, 10000, 8000, 6000,
                            4000,  2000,  1000,  500,   250,   125,  100};
    QCOMPARE(speed->count(), speeds.size());
    for (int i = 0; i < speeds.size(); ++i) {
        QCOMPARE(speed->itemData(i, Qt::UserRole).userType(), int(QMetaType::Int));
        QCOMPARE(speed->itemData(i, Qt::UserRole).toInt(), speeds[i]);
        QCOMPARE(speed->itemText(i), QStringLiteral("%1 kHz").arg(speeds[i]));
    }
    QCOMPARE(speed->currentText(), QStringLiteral("10000 kHz"));

    // The options are job-wide: adding actions does not touch them, and they
    // stay as set while the list changes.
    box->setChecked(true);
    interface->setCurrentText(QStringLiteral("JTAG"));
    speed->setCurrentIndex(speed->findData(125));
    page.actionSelectorAddAction();
    select(page, {0});
    page.actionSelectorRemoveHighlightedActions();
    QVERIFY(box->isChecked());
    QCOMPARE(interface->currentText(), QStringLiteral("JTAG"));
    QCOMPARE(speed->currentData().toInt(), 125);
}

HARNWICK_TEST(TestActionEditor)
#include "tst_actioneditor.moc"
