// The action editor stack: a placeholder at index 0, then one "Edit Action"
// page per action row. Each page holds the settings of every action type, so
// switching the type keeps what was typed into the other pages.
#include "bulkaction.h"
#include "bulkoperationswidget.h"
#include "imageplaceholderwidget.h"

#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QPixmap>
#include <QPushButton>
#include <QStackedWidget>
#include <QStandardItemModel>
#include <QVariant>

namespace {

const char* const actionIdProperty = "actionId";
const char* const actionTypeProperty = "actionType";

} // namespace

void BulkOperationsWidget::setupActionEditorStackedWidget()
{
    if (!actionEditorStack)
        return;
    auto* placeholder =
        new ImagePlaceholderWidget(QPixmap(QStringLiteral(":/graphics/smith_chart.png")), actionEditorStack);
    placeholder->setObjectName(QStringLiteral("actionEditorPlaceholder"));
    placeholder->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
    placeholder->setMinimumWidth(600);
    actionEditorStack->addWidget(placeholder);
}

void BulkOperationsWidget::addActionEditorPage(int actionId)
{
    auto* editBox = new QGroupBox(tr("Edit Action"), actionEditorStack);
    editBox->setProperty(actionIdProperty, actionId);
    auto* layout = new QGridLayout(editBox);

    auto* selector = new QComboBox(editBox);
    selector->setObjectName(QStringLiteral("selector"));
    const auto addType = [selector](BulkAction type) {
        selector->addItem(BulkActions::displayText(type), static_cast<int>(type));
    };
    addType(BulkAction::None);
    selector->insertSeparator(selector->count());
    addType(BulkAction::LogDeviceInfo);
    addType(BulkAction::FlashTargetDevice);
    addType(BulkAction::MassEraseTargetDevice);
    addType(BulkAction::LockUnlockTargetDevice);
    addType(BulkAction::RecoverTargetDevice);
    selector->insertSeparator(selector->count());
    addType(BulkAction::Wait);
    selector->insertSeparator(selector->count());
    addType(BulkAction::RunCustomCommand);
    selector->insertSeparator(selector->count());
    addType(BulkAction::InstallAdapterFirmware);
    addType(BulkAction::SetAdapterDebugMode);

    auto* explorerButton = new QPushButton(tr("Variable Explorer..."), editBox);
    explorerButton->setObjectName(QStringLiteral("variableExplorerButton"));
    connect(explorerButton, &QPushButton::clicked, this, &BulkOperationsWidget::openVariableExplorer);

    auto* pageStack = new QStackedWidget(editBox);
    pageStack->setObjectName(QStringLiteral("pageStack"));
    const auto addPage = [pageStack](QWidget* page, BulkAction type) {
        page->setProperty(actionTypeProperty, static_cast<int>(type));
        pageStack->addWidget(page);
    };
    addPage(new QWidget, BulkAction::None);
    addPage(setupAdapterFwInstallBox(), BulkAction::InstallAdapterFirmware);
    addPage(setupAdapterDebugModeBox(), BulkAction::SetAdapterDebugMode);
    addPage(setupLogDeviceInfoBox(), BulkAction::LogDeviceInfo);
    addPage(setupTargetFlashBox(), BulkAction::FlashTargetDevice);
    addPage(setupTargetMasseraseBox(), BulkAction::MassEraseTargetDevice);
    addPage(setupTargetDebugLockUnlockBox(), BulkAction::LockUnlockTargetDevice);
    addPage(setupTargetRecoveryBox(), BulkAction::RecoverTargetDevice);
    addPage(setupWaitBox(), BulkAction::Wait);
    addPage(setupCustomCommandBox(), BulkAction::RunCustomCommand);

    layout->addWidget(selector, 0, 0);
    layout->addWidget(explorerButton, 0, 1, Qt::AlignRight);
    layout->addWidget(pageStack, 1, 0, 1, 2);

    // Connected once the combo box sits in its group box: the slot finds the
    // page through the sender's parent.
    connect(selector, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &BulkOperationsWidget::actionEditorOnActionSelectorChanged);

    actionEditorStack->addWidget(editBox);
}

void BulkOperationsWidget::removeActionEditorPage(int actionId)
{
    QWidget* page = actionEditorStack->widget(getActionSelectorRowIndexFromActionId(actionId) + 1);
    // An unknown id maps to the placeholder, which must stay.
    if (page && actionEditorStack->indexOf(page) > 0) {
        actionEditorStack->removeWidget(page);
        page->deleteLater();
    }
    actionEditorStack->setCurrentIndex(0);
}

int BulkOperationsWidget::getActionEditorStackIndexFromActionId(int actionId) const
{
    if (!actionEditorStack)
        return -1;
    for (int index = 0; index < actionEditorStack->count(); ++index) {
        const QVariant id = actionEditorStack->widget(index)->property(actionIdProperty);
        if (id.isValid() && id.toInt() == actionId)
            return index;
    }
    return -1;
}

int BulkOperationsWidget::getActionEditorPageIndexFromActionType(QStackedWidget* pageStack, BulkAction type)
{
    if (!pageStack)
        return -1;
    for (int index = 0; index < pageStack->count(); ++index) {
        const QVariant pageType = pageStack->widget(index)->property(actionTypeProperty);
        if (pageType.isValid() && pageType.toInt() == static_cast<int>(type))
            return index;
    }
    return -1;
}

void BulkOperationsWidget::actionEditorOpenAction(int actionId)
{
    actionEditorStack->setCurrentIndex(getActionSelectorRowIndexFromActionId(actionId) + 1);
}

void BulkOperationsWidget::actionEditorOnActionSelectorChanged(int newActionSelectorIndex)
{
    if (newActionSelectorIndex < 0)
        return;
    auto* selector = qobject_cast<QComboBox*>(sender());
    if (!selector)
        return;
    QWidget* editBox = selector->parentWidget();
    if (!editBox)
        return;

    const int type = selector->itemData(newActionSelectorIndex, Qt::UserRole).toInt();
    const int actionId = editBox->property(actionIdProperty).toInt();

    const int row = getActionSelectorRowIndexFromActionId(actionId);
    if (QStandardItem* nameItem = actionModel->item(row, 1))
        nameItem->setText(selector->currentText());

    if (auto* pageStack = editBox->findChild<QStackedWidget*>(QStringLiteral("pageStack")))
        pageStack->setCurrentIndex(
            getActionEditorPageIndexFromActionType(pageStack, BulkActions::fromInt(type)));
}
