// The page's side of the Variable Explorer window.
#include "bulkoperationswidget.h"

#include <QComboBox>

void BulkOperationsWidget::openVariableExplorer()
{
    if (!variableExplorer)
        return;
    variableExplorer->show();
    // The page-wide values may have changed while the window was hidden.
    debugInterfaceComboBoxOnChanged(debugInterfaceComboBox->currentIndex());
    debugSpeedComboBoxOnChanged(debugSpeedComboBox->currentIndex());
}
