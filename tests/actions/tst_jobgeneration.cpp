#include "actionpagehelpers.h"
#include "bulkaction.h"
#include "bulkoperationswidget.h"
#include "hexspinbox.h"
#include "testregistry.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QTest>

using namespace ActionPage;
using Step = QMap<QString, QVariant>;

class TestJobGeneration : public QObject
{
    Q_OBJECT

private slots:

    // Every problem the checks find is named at Run, and the line follows the job as it is fixed.
    void problemsLineFollowsTheJob()
    {
        BulkOperationsWidget page;
        page.addDeviceToTable(QStringLiteral("801002345"), QString(), QStringLiteral("KM32G101F512"),
                              QString(), true, false, true, true);
        page.actionSelectorRemoveAllActions();
        const int untyped = page.actionSelectorAddAction();
        addTyped(page, BulkAction::LogDeviceInfo, false);
        auto* line = page.findChild<QLabel*>(QStringLiteral("errorLabel"));
        page.clearErrorMessage();

        page.onRunButtonPressed();
        QCOMPARE(line->text(),
                 QStringLiteral("ERROR: Action 1 has no type: choose one or remove it.\n"
                                "There is no enabled action to run: add an action or enable one."));
        select(page, {ids(page).indexOf(untyped)});
        page.actionSelectorRemoveHighlightedActions();
        QTRY_COMPARE(
            line->text(),
            QStringLiteral("ERROR: There is no enabled action to run: add an action or enable one."));
        model(page)->item(0, 0)->setCheckState(Qt::Checked);
        QTRY_VERIFY(line->isHidden());

        // Another error is not the checks': edits leave it alone.
        emit page.errorEncountered(QStringLiteral("Discovery failed."));
        page.actionSelectorAddAction();
        QTest::qWait(20);
        QCOMPARE(line->text(), QStringLiteral("ERROR: Discovery failed."));
    }

    void restoringSteps()
    {
        BulkOperationsWidget page;
        const int before = page.actionSelectorAddAction();
        // As the job file hands them back: text values, lists for arguments and flags. The
        // round trip through a bundle covers the rest of every type's settings.
        const QList<Step> steps{
            {{"task", "WAIT"}, {"enabled", "true"}, {"duration_ms", "250"}},
            {{"task", "reboot"}, {"enabled", "true"}},
            {{"task", "run_custom_command"}, {"enabled", "false"}},
            {{"task", "install_adapter_firmware"}},
            {{"task", "set_adapter_debug_mode"}, {"mode", "mini"}},
            {{"task", "set_adapter_debug_mode"}, {"mode", "turbo"}},
            {{"task", "flash_target_device"},
             {"image_file", "fw.hex"},
             {"start_address", "4096"},
             {"flags", QStringList{"force", "Halt_after_flash"}}},
            {{"task", "lock_unlock_target_device"}, {"operation", "lock"}},
            {{"task", "lock_unlock_target_device"}, {"lock", "true"}},
        };
        page.actionSelectorRemoveAllActions();
        QCOMPARE(model(page)->rowCount(), 0);
        QCOMPARE(stack(page)->currentIndex(), 0);
        page.actionSelectorRestoreActionsFromSteps(steps);

        QList<int> types;
        for (int id : ids(page))
            types.append(pageStack(editBox(page, id))->currentWidget()->property("actionType").toInt());
        QCOMPARE(types, (QList<int>{9, 1, 2, 3, 3, 5, 7, 7}));
        QCOMPARE(rowTexts(page, 1).first(), QStringLiteral("Wait"));
        QVERIFY2(inconsistency(page).isEmpty(), qPrintable(inconsistency(page)));
        QVERIFY(ids(page).first() > before); // ids carry on from before the load
        QCOMPARE(model(page)->item(0, 0)->checkState(), Qt::Checked);
        QCOMPARE(model(page)->item(1, 0)->checkState(), Qt::Unchecked);
        QVERIFY(runButton(page)->isEnabled());
        QCOMPARE(stack(page)->currentWidget()->property("actionId").toInt(), ids(page).last());

        const auto box = [&page](int row) {
            return editBox(page, ids(page).at(row));
        };
        const auto isChecked = [&box](int row, BulkAction type, const char* name) {
            return field<QAbstractButton>(box(row), type, name)->isChecked();
        };
        QCOMPARE(field<QLineEdit>(box(0), BulkAction::Wait, "durationLineEdit")->text(),
                 QStringLiteral("250"));
        // Missing keys: not appended, installing from file without the newer-only check.
        QVERIFY(!isChecked(1, BulkAction::RunCustomCommand, "appendConnectionOptionCheckBox"));
        QVERIFY(isChecked(2, BulkAction::InstallAdapterFirmware, "installFromFileRadioButton"));
        QVERIFY(!isChecked(2, BulkAction::InstallAdapterFirmware, "installIfNewerCheckBox"));
        QCOMPARE(
            field<QComboBox>(box(3), BulkAction::SetAdapterDebugMode, "debugModeComboBox")->currentText(),
            QStringLiteral("MINI"));
        QCOMPARE(
            field<QComboBox>(box(4), BulkAction::SetAdapterDebugMode, "debugModeComboBox")->currentText(),
            QStringLiteral("MCU"));

        auto* address = field<HexSpinBox>(box(5), BulkAction::FlashTargetDevice, "startAddressSpinBox");
        QCOMPARE(address->value(), 4096);
        QVERIFY(!address->isEnabled());
        QString flags; // flag words match case-sensitively
        for (const char* name : {"forceCheckBox", "resetAfterFlashCheckBox", "verifyAfterFlashCheckBox",
                                 "haltAfterFlashCheckBox"})
            flags.append(isChecked(5, BulkAction::FlashTargetDevice, name) ? 'x' : '-');
        QCOMPARE(flags, QStringLiteral("x---"));

        // A step saved as "operation: lock" comes back as unlock; only "lock" is read.
        QVERIFY(isChecked(6, BulkAction::LockUnlockTargetDevice, "unlockDebugRadioButton"));
        QVERIFY(isChecked(7, BulkAction::LockUnlockTargetDevice, "lockDebugRadioButton"));
    }

    void debugConnectionOptions()
    {
        BulkOperationsWidget page;
        auto* interface = page.findChild<QComboBox*>(QStringLiteral("debugInterfaceComboBox"));
        auto* speed = page.findChild<QComboBox*>(QStringLiteral("debugSpeedComboBox"));
        auto* box = qobject_cast<QGroupBox*>(interface->parentWidget());
        QVERIFY(box && box->isCheckable() && !box->isChecked());
        QCOMPARE(interface->currentText(), QStringLiteral("SWD"));
        QCOMPARE(speed->currentData().toInt(), 10000);
        // The bundle stores the speed as a number; every item must carry one.
        for (int i = 0; i < speed->count(); ++i) {
            QCOMPARE(speed->itemData(i).userType(), int(QMetaType::Int));
            QCOMPARE(speed->itemText(i), QStringLiteral("%1 kHz").arg(speed->itemData(i).toInt()));
        }

        // Unknown values keep the current choice; the interface is matched exactly. The
        // bundle round trip restores known ones.
        page.debugConnectionOptionsRestore(true, QStringLiteral("jtag"), 4001);
        QVERIFY(box->isChecked());
        QCOMPARE(interface->currentText(), QStringLiteral("SWD"));
        QCOMPARE(speed->currentData().toInt(), 10000);
    }
};

HARNWICK_TEST(TestJobGeneration)
#include "tst_jobgeneration.moc"
