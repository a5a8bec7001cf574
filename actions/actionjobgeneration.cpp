// Turning the action list into job steps. The steps are read from the widgets of each action's editor page,
// which are the only place the settings live.
#include "bulkaction.h"
#include "bulkoperationswidget.h"
#include "hexspinbox.h"
#include "jobchecks.h"
#include "jobsteps.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLineEdit>
#include <QRadioButton>
#include <QStackedWidget>
#include <QStandardItemModel>

namespace {

constexpr int actionIdRole = Qt::UserRole + 1;

template<typename T> T* settingsWidget(QWidget* page, const char* name)
{
    return page->findChild<T*>(QString::fromLatin1(name));
}

// Adds the keys of one action type to step; a missing widget leaves its key out.
void addSettings(QWidget* page, BulkAction type, QMap<QString, QVariant>& step)
{
    switch (type) {
    case BulkAction::RunCustomCommand: {
        if (auto* command = settingsWidget<QLineEdit>(page, "customCommandLineEdit"))
            step.insert(QStringLiteral("arguments"),
                        BulkOperationsWidget::parseCommandLineArguments(command->text()));
        auto* append = settingsWidget<QCheckBox>(page, "appendConnectionOptionCheckBox");
        step.insert(QStringLiteral("append_connection_option"), append && append->isChecked());
        break;
    }
    case BulkAction::InstallAdapterFirmware:
        if (auto* useDefault = settingsWidget<QRadioButton>(page, "installDefaultRadioButton"))
            step.insert(QStringLiteral("use_default"), useDefault->isChecked());
        if (auto* ifNewer = settingsWidget<QCheckBox>(page, "installIfNewerCheckBox"))
            step.insert(QStringLiteral("install_only_if_newer"), ifNewer->isChecked());
        if (auto* emzFile = settingsWidget<QLineEdit>(page, "emzFileLineEdit"))
            step.insert(QStringLiteral("emz_file"), emzFile->text());
        break;
    case BulkAction::SetAdapterDebugMode:
        if (auto* mode = settingsWidget<QComboBox>(page, "debugModeComboBox"))
            step.insert(QStringLiteral("mode"), mode->currentText());
        break;
    case BulkAction::FlashTargetDevice: {
        if (auto* appFile = settingsWidget<QLineEdit>(page, "appFileLineEdit"))
            step.insert(QStringLiteral("image_file"), appFile->text());
        auto* address = settingsWidget<HexSpinBox>(page, "startAddressSpinBox");
        // The box's own state, set by the image type: during a run the whole
        // editor is disabled, and a job saved then must keep its address.
        if (address && address->isEnabledTo(page))
            step.insert(QStringLiteral("start_address"), JobSteps::formatStartAddress(address->value()));
        const char* const boxes[] = {"forceCheckBox", "resetAfterFlashCheckBox", "verifyAfterFlashCheckBox",
                                     "haltAfterFlashCheckBox"};
        QStringList flags;
        for (int i = 0; i < JobSteps::flashFlagWords().size(); ++i) {
            auto* box = settingsWidget<QCheckBox>(page, boxes[i]);
            if (box && box->isChecked())
                flags.append(JobSteps::flashFlagWords().at(i));
        }
        step.insert(QStringLiteral("flags"), flags);
        break;
    }
    case BulkAction::LockUnlockTargetDevice:
        if (auto* lock = settingsWidget<QRadioButton>(page, "lockDebugRadioButton"))
            step.insert(QStringLiteral("operation"),
                        lock->isChecked() ? QStringLiteral("lock") : QStringLiteral("unlock"));
        break;
    case BulkAction::Wait:
        if (auto* duration = settingsWidget<QLineEdit>(page, "durationLineEdit"))
            step.insert(QStringLiteral("duration_ms"), JobSteps::durationFromText(duration->text()));
        break;
    case BulkAction::LogDeviceInfo:
    case BulkAction::MassEraseTargetDevice:
    case BulkAction::RecoverTargetDevice:
    case BulkAction::None:
        break;
    }
}

} // namespace

QList<JobCheckAction> BulkOperationsWidget::actionSelectorRows()
{
    QList<JobCheckAction> rows;
    for (int row = 0; row < actionModel->rowCount(); ++row) {
        const QStandardItem* enabledItem = actionModel->item(row, 0);
        const QStandardItem* nameItem = actionModel->item(row, 1);
        if (!enabledItem || !nameItem)
            continue;
        JobCheckAction action;
        action.enabled = enabledItem->checkState() == Qt::Checked;
        const int actionId = nameItem->data(actionIdRole).toInt();
        // By the page's own id, so a list and stack out of step cannot mix settings up.
        QWidget* editBox = actionEditorStack->widget(getActionEditorStackIndexFromActionId(actionId));
        auto* pageStack =
            editBox ? editBox->findChild<QStackedWidget*>(QStringLiteral("pageStack")) : nullptr;
        QWidget* settings = pageStack ? pageStack->currentWidget() : nullptr;
        const BulkAction type =
            settings ? BulkActions::fromInt(settings->property("actionType").toInt()) : BulkAction::None;
        action.typed = type != BulkAction::None;
        if (action.typed) {
            action.step.insert(QStringLiteral("task"), getActionTypeString(type));
            action.step.insert(QStringLiteral("enabled"), action.enabled);
            addSettings(settings, type, action.step);
        }
        rows.append(action);
    }
    return rows;
}

QList<QMap<QString, QVariant>> BulkOperationsWidget::getTasksFromActionsList(QStringList& variableNames)
{
    return JobChecks::stepsOf(actionSelectorRows(), variableNames);
}
