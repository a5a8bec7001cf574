// The job-wide debug connection options: whether to pass them at all, the
// interface and the speed. They travel with the device list, not with a step.
#include "bulkoperationswidget.h"
#include "jobvariables.h"
#include "variableexplorerwidget.h"

#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QMap>
#include <QMetaObject>

namespace {

constexpr int defaultDebugSpeedKHz = 10000;
constexpr int debugSpeedsKHz[] = {50000, 40000, 30000, 20000, 10000, 8000, 6000,
                                  4000,  2000,  1000,  500,   250,   125,  100};

// The explorer window is optional; when it is there, it shows the page-wide values.
void publishToVariableExplorer(VariableExplorerWidget* explorer, const QString& name, const QString& value)
{
    if (explorer)
        explorer->updateVariableValues({{name, value}});
}

} // namespace

void BulkOperationsWidget::setupDebugConnectionOptionsBox()
{
    if (!debugConnectionGroupBox)
        return;
    debugConnectionGroupBox->setCheckable(true);
    debugConnectionGroupBox->setChecked(false);

    debugInterfaceComboBox = new QComboBox(debugConnectionGroupBox);
    debugInterfaceComboBox->setObjectName(QStringLiteral("debugInterfaceComboBox"));
    debugInterfaceComboBox->addItems({QStringLiteral("SWD"), QStringLiteral("JTAG"), QStringLiteral("C2")});
    debugInterfaceComboBox->setCurrentText(QStringLiteral("SWD"));

    debugSpeedComboBox = new QComboBox(debugConnectionGroupBox);
    debugSpeedComboBox->setObjectName(QStringLiteral("debugSpeedComboBox"));
    for (int speed : debugSpeedsKHz)
        debugSpeedComboBox->addItem(QStringLiteral("%1 kHz").arg(speed), speed);
    debugSpeedComboBox->setCurrentIndex(debugSpeedComboBox->findData(defaultDebugSpeedKHz));

    auto* layout = new QGridLayout(debugConnectionGroupBox);
    layout->addWidget(new QLabel(tr("Debug Interface:"), debugConnectionGroupBox), 0, 0);
    layout->addWidget(debugInterfaceComboBox, 0, 1);
    layout->addWidget(new QLabel(tr("Speed:"), debugConnectionGroupBox), 0, 2);
    layout->addWidget(debugSpeedComboBox, 0, 3);

    connect(debugInterfaceComboBox, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &BulkOperationsWidget::debugInterfaceComboBoxOnChanged);
    connect(debugSpeedComboBox, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &BulkOperationsWidget::debugSpeedComboBoxOnChanged);
}

void BulkOperationsWidget::debugInterfaceComboBoxOnChanged(int index)
{
    publishToVariableExplorer(variableExplorer, VARIABLE_NAME_DEBUG_INTERFACE,
                              debugInterfaceComboBox->itemText(index));
}

void BulkOperationsWidget::debugSpeedComboBoxOnChanged(int index)
{
    publishToVariableExplorer(variableExplorer, VARIABLE_NAME_DEBUG_SPEED,
                              QString::number(debugSpeedComboBox->itemData(index, Qt::UserRole).toInt()));
}
