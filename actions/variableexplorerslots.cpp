// The page's side of the Variable Explorer window.
#include "bulkoperationswidget.h"
#include "jobexecution.h"
#include "poolcountsreader.h"
#include "variableexplorerwidget.h"

#include <QComboBox>

void BulkOperationsWidget::setupVariableExplorer()
{
    variableExplorer = new VariableExplorerWidget();
    variableExplorer->addBuiltInVariables(JobExecution::builtInVariableDescriptions());
    // The data pools are read off this thread each time the window opens.
    auto* pools = new PoolCountsReader(variableExplorer);
    connect(pools, &PoolCountsReader::countsRead, variableExplorer, &VariableExplorerWidget::setDataPools);
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
    if (auto* pools = variableExplorer->findChild<PoolCountsReader*>())
        pools->read();
    // The page-wide values may have changed while the window was hidden.
    debugInterfaceComboBoxOnChanged(debugInterfaceComboBox->currentIndex());
    debugSpeedComboBoxOnChanged(debugSpeedComboBox->currentIndex());
}
