// The page's side of the Variable Explorer window.
#include "bulkoperationswidget.h"
#include "jobexecution.h"
#include "variableexplorerwidget.h"

#include <QComboBox>

void BulkOperationsWidget::setupVariableExplorer()
{
    variableExplorer = new VariableExplorerWidget();
    variableExplorer->addBuiltInVariables(JobExecution::builtInVariableDescriptions());
}

void BulkOperationsWidget::closeVariableExplorer()
{
    if (variableExplorer)
        variableExplorer->close();
}

void BulkOperationsWidget::openVariableExplorer()
{
    if (!variableExplorer)
        return;
    variableExplorer->show();
    // The page-wide values may have changed while the window was hidden.
    debugInterfaceComboBoxOnChanged(debugInterfaceComboBox->currentIndex());
    debugSpeedComboBoxOnChanged(debugSpeedComboBox->currentIndex());
}
