#pragma once

#include "historyfilter.h"

#include <QWidget>

class HistoryModel;
class QCheckBox;
class QComboBox;
class QDateEdit;
class QLabel;
class QLineEdit;
class QTabWidget;
class QTableView;
class QTimer;

namespace QtCharts {
class QChartView;
}

// Logging > Production History...: the store's device results, newest first, with filters for a
// device id (or a data pool value), outcome, days, station and bundle or image hash; the runs of the
// selected unit with its log files; yield per day and failures by action type as charts; and an
// export of the filtered rows as CSV.
class HistoryWindow : public QWidget
{
    Q_OBJECT

public:
    explicit HistoryWindow(QWidget* parent = nullptr);

    // (Re)opens the store the settings name and shows its newest results.
    void reload();
    HistoryFilter filter() const;

signals:
    void errorEncountered(const QString& message);

private:
    void applyFilter();
    void showUnit();
    void openLogFile();
    void exportCsv();
    void updateCharts();
    void fillStations();

    HistoryModel* results = nullptr;
    HistoryModel* unitRuns = nullptr;
    QLineEdit* deviceEdit = nullptr;
    QComboBox* outcomeBox = nullptr;
    QCheckBox* sinceCheck = nullptr;
    QDateEdit* sinceEdit = nullptr;
    QCheckBox* untilCheck = nullptr;
    QDateEdit* untilEdit = nullptr;
    QComboBox* stationBox = nullptr;
    QLineEdit* hashEdit = nullptr;
    QTableView* resultsView = nullptr;
    QTableView* unitView = nullptr;
    QLabel* errorLabel = nullptr;
    QTabWidget* tabs = nullptr;
    QtCharts::QChartView* yieldView = nullptr;
    QtCharts::QChartView* paretoView = nullptr;
    QTimer* filterDelay = nullptr;
    bool chartsCurrent = false;
};
