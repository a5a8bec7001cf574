#include "../batch/batchtestfiles.h"
#include "actionpagehelpers.h"
#include "batchutil.h"
#include "bulkaction.h"
#include "bulkoperationswidget.h"
#include "hexspinbox.h"
#include "testregistry.h"

#include <QApplication>
#include <QCheckBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeView>

using namespace ActionPage;
using Step = QMap<QString, QVariant>;

namespace {

Step step(const char* task, Step settings = {}, bool enabled = true)
{
    settings.insert(QStringLiteral("task"), QString::fromLatin1(task));
    settings.insert(QStringLiteral("enabled"), enabled);
    return settings;
}

// Equal keys, equal values and equal value types: a bool must not come out as text.
QString stepDifference(const Step& actual, const Step& expected)
{
    if (actual.keys() != expected.keys())
        return QStringLiteral("keys %1").arg(actual.keys().join(QLatin1Char(',')));
    for (auto it = expected.cbegin(); it != expected.cend(); ++it) {
        const QVariant& value = actual.value(it.key());
        if (value.userType() != it.value().userType() || value != it.value())
            return QStringLiteral("%1 is %2 (%3)")
                .arg(it.key(), value.toStringList().join(QLatin1Char(',')) + value.toString(),
                     value.typeName());
    }
    return QString();
}

// One action of every type, settings off their defaults where they have any, two
// devices and the debug connection options.
void fillPage(BulkOperationsWidget& page)
{
    page.addDeviceToTable(QStringLiteral("801002345"), QString(), QStringLiteral("KM32G101F512"),
                          QStringLiteral("bench-left"), true, false, true, true);
    page.addDeviceToTable(QString(), QStringLiteral("10.0.4.17"), QString(), QString(), false, true, false,
                          true);
    page.debugConnectionOptionsRestore(true, QStringLiteral("JTAG"), 2000);

    page.actionSelectorAddAction(); // never given a type: no step
    QGroupBox* box = addTyped(page, BulkAction::RunCustomCommand, false);
    field<QLineEdit>(box, BulkAction::RunCustomCommand, "customCommandLineEdit")
        ->setText(QStringLiteral("device info --device {{target_part}} \"my file\""));
    field<QCheckBox>(box, BulkAction::RunCustomCommand, "appendConnectionOptionCheckBox")->toggle();
    box = addTyped(page, BulkAction::InstallAdapterFirmware);
    field<QLineEdit>(box, BulkAction::InstallAdapterFirmware, "emzFileLineEdit")
        ->setText(QStringLiteral("/fw/{{nickname}}.emz"));
    field<QComboBox>(addTyped(page, BulkAction::SetAdapterDebugMode), BulkAction::SetAdapterDebugMode,
                     "debugModeComboBox")
        ->setCurrentText(QStringLiteral("MINI"));
    addTyped(page, BulkAction::LogDeviceInfo);
    box = addTyped(page, BulkAction::FlashTargetDevice);
    field<QLineEdit>(box, BulkAction::FlashTargetDevice, "appFileLineEdit")
        ->setText(QStringLiteral("fw.hex"));
    for (const char* name : {"resetAfterFlashCheckBox", "verifyAfterFlashCheckBox"})
        field<QCheckBox>(box, BulkAction::FlashTargetDevice, name)->toggle();
    box = addTyped(page, BulkAction::FlashTargetDevice);
    field<QLineEdit>(box, BulkAction::FlashTargetDevice, "appFileLineEdit")
        ->setText(QStringLiteral("fw.bin"));
    field<HexSpinBox>(box, BulkAction::FlashTargetDevice, "startAddressSpinBox")->setValue(0x8000);
    for (const char* name : {"forceCheckBox", "haltAfterFlashCheckBox", "verifyAfterFlashCheckBox"})
        field<QCheckBox>(box, BulkAction::FlashTargetDevice, name)->toggle();
    addTyped(page, BulkAction::MassEraseTargetDevice);
    field<QRadioButton>(addTyped(page, BulkAction::LockUnlockTargetDevice),
                        BulkAction::LockUnlockTargetDevice, "unlockDebugRadioButton")
        ->setChecked(true);
    addTyped(page, BulkAction::LockUnlockTargetDevice);
    addTyped(page, BulkAction::RecoverTargetDevice, false);
    addTyped(page, BulkAction::Wait);
    field<QLineEdit>(addTyped(page, BulkAction::Wait), BulkAction::Wait, "durationLineEdit")
        ->setText(QStringLiteral("1500"));
}

} // namespace

class TestActionJobBundle : public QObject
{
    Q_OBJECT

private slots:

    void stepsFromEveryPage()
    {
        BulkOperationsWidget page;
        fillPage(page);
        const QList<Step> expected{
            step("run_custom_command",
                 {{"arguments", QStringList{"device", "info", "--device", "{{target_part}}", "my file"}},
                  {"append_connection_option", false}},
                 false),
            step("install_adapter_firmware", {{"use_default", true},
                                              {"install_only_if_newer", true},
                                              {"emz_file", "/fw/{{nickname}}.emz"}}),
            step("set_adapter_debug_mode", {{"mode", "MINI"}}),
            step("log_device_info"),
            step("flash_target_device", {{"image_file", "fw.hex"}, {"flags", QStringList()}}),
            step("flash_target_device",
                 {{"image_file", "fw.bin"},
                  {"start_address", "0x00008000"},
                  {"flags", QStringList{"force", "reset_after_flash", "halt_after_flash"}}}),
            step("mass_erase_target_device"),
            step("lock_unlock_target_device", {{"operation", "unlock"}}),
            step("lock_unlock_target_device", {{"operation", "lock"}}),
            step("recover_target_device", {}, false),
            step("wait", {{"duration_ms", 0}}),
            step("wait", {{"duration_ms", 1500}}),
        };
        QStringList variables;
        const QList<Step> steps = page.getTasksFromActionsList(variables);
        QCOMPARE(steps.size(), expected.size());
        for (int i = 0; i < steps.size(); ++i) {
            const QString difference = stepDifference(steps[i], expected[i]);
            QVERIFY2(difference.isEmpty(), qPrintable(QStringLiteral("step %1: %2").arg(i).arg(difference)));
        }
        // The disabled custom command's variable does not count.
        QCOMPARE(variables, QStringList{QStringLiteral("nickname")});

        // Steps follow the rows as they are now, whatever order the pages were made in.
        select(page, {model(page)->rowCount() - 1});
        page.actionSelectorMoveHighlightedActionsToTop();
        QCOMPARE(page.getTasksFromActionsList(variables).first().value(QStringLiteral("duration_ms")),
                 QVariant(1500));
    }

    void saveAndLoadRoundTrip()
    {
        BulkOperationsWidget source;
        fillPage(source);
        QTemporaryDir dir;
        const QString first = dir.filePath(QStringLiteral("first.hwj"));
        const QString second = dir.filePath(QStringLiteral("second.hwj"));
        QStringList variables;
        QVERIFY(source.prepareBatchJobFile(first, variables));
        BatchUtil util;
        BatchTestFiles::Bundle saved = BatchTestFiles::readBundle(util, first);
        QVERIFY(saved.ok);
        QCOMPARE(saved.steps.size(), 12);
        QCOMPARE(saved.parameters, variables);
        // An address-only row has no serial number; the check marks and connections are kept.
        QCOMPARE(saved.devices, (QList<BatchUtil::DeviceEntry>{
                                    {801002345, "KM32G101F512", BatchUtil::Usb, "", "bench-left", true},
                                    {0, "", BatchUtil::Ip, "10.0.4.17", "", false}}));
        QCOMPARE((QVariantList{saved.applied, saved.tif, saved.speed}), (QVariantList{true, "JTAG", 2000}));

        // Loading replaces whatever the page held; saving again gives the same job,
        // but for a lock, which is read back as unlock.
        BulkOperationsWidget target;
        target.addDeviceToTable(QStringLiteral("801002346"), QString(), QString(), QString(), true, false,
                                true, true);
        addTyped(target, BulkAction::MassEraseTargetDevice);
        target.loadBatchJob(first);
        QVERIFY(target.prepareBatchJobFile(second, variables));
        const BatchTestFiles::Bundle again = BatchTestFiles::readBundle(util, second);
        for (Step& step : saved.steps)
            if (step.value(QStringLiteral("operation")) == QStringLiteral("lock"))
                step.insert(QStringLiteral("operation"), QStringLiteral("unlock"));
        QCOMPARE(again.steps, saved.steps);
        QCOMPARE(again.devices, saved.devices);
        QCOMPARE((QVariantList{again.applied, again.tif, again.speed}), (QVariantList{true, "JTAG", 2000}));

        // Shown, with more actions than the list can show at once: the list ends with the last
        // action current and in view, its columns fitted as before, the last editor page open.
        target.resize(1000, 500);
        target.show();
        auto* list = target.findChild<QTreeView*>(QStringLiteral("actionTreeView"));
        list->setMaximumHeight(list->sizeHintForRow(0) * 5);
        target.loadBatchJob(first);
        QVERIFY(list->updatesEnabled());
        QVERIFY(list->hasAutoScroll());
        QCOMPARE(list->currentIndex().row(), 11);
        QApplication::processEvents();
        QVERIFY(list->viewport()->rect().contains(list->visualRect(list->currentIndex())));
        QCOMPARE(
            (QList<QHeaderView::ResizeMode>{
                list->header()->sectionResizeMode(0), list->header()->sectionResizeMode(1),
                list->header()->sectionResizeMode(2), list->header()->sectionResizeMode(3)}),
            (QList<QHeaderView::ResizeMode>{QHeaderView::ResizeToContents, QHeaderView::Stretch,
                                            QHeaderView::ResizeToContents, QHeaderView::ResizeToContents}));
        for (int column : {0, 2, 3})
            QCOMPARE(list->header()->sectionSize(column),
                     qMax(static_cast<QAbstractItemView*>(list)->sizeHintForColumn(column),
                          list->header()->sectionSizeHint(column)));
        auto* stack = target.findChild<QStackedWidget*>(QStringLiteral("actionEditorStack"));
        QVERIFY(stack->updatesEnabled());
        QCOMPARE(stack->currentIndex(), 12);
        QVERIFY(stack->currentWidget()->isVisible());

        // A bundle that cannot be read, or is not there, changes nothing on the page.
        const QString broken = dir.filePath(QStringLiteral("broken.hwj"));
        QVERIFY(BatchTestFiles::writeFile(broken, "PK\x03\x04 not an archive"));
        target.loadBatchJob(broken);
        QVERIFY(target.findChild<QLabel*>(QStringLiteral("errorLabel"))
                    ->text()
                    .startsWith(QStringLiteral("ERROR: ")));
        target.loadBatchJob(dir.filePath(QStringLiteral("absent.hwj")));
        QVERIFY(target.prepareBatchJobFile(second, variables));
        const BatchTestFiles::Bundle kept = BatchTestFiles::readBundle(util, second);
        QCOMPARE(kept.steps, again.steps);
        QCOMPARE(kept.devices, again.devices);

        // A bundle that cannot be written makes the whole preparation fail.
        QVERIFY(!target.prepareBatchJobFile(dir.filePath(QStringLiteral("first.hwj/job.hwj")), variables));
    }
};

HARNWICK_TEST(TestActionJobBundle)
#include "tst_actionjobbundle.moc"
