#include "historywindow.h"

#include "historymodel.h"
#include "historystatistics.h"
#include "outputviewerdialog.h"
#include "productionstore.h"
#include "runreport.h"
#include "storesettings.h"

#include <QApplication>
#include <QBarCategoryAxis>
#include <QBarSeries>
#include <QBarSet>
#include <QChart>
#include <QChartView>
#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QLineSeries>
#include <QPushButton>
#include <QSaveFile>
#include <QSplitter>
#include <QSqlQuery>
#include <QTableView>
#include <QTabWidget>
#include <QTextStream>
#include <QTimer>
#include <QUrl>
#include <QValueAxis>
#include <QVBoxLayout>

using namespace QtCharts;

namespace {

// Enough for months of a busy bench; beyond it the yield chart says it shows the newest ones.
constexpr int yieldRunLimit = 200000;

QTableView* resultTable(HistoryModel* model, QWidget* parent)
{
    auto* view = new QTableView(parent);
    view->setModel(model);
    view->setSelectionBehavior(QAbstractItemView::SelectRows);
    view->setSelectionMode(QAbstractItemView::SingleSelection);
    view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    view->verticalHeader()->hide();
    view->horizontalHeader()->setStretchLastSection(true);
    view->verticalHeader()->setDefaultSectionSize(view->fontMetrics().height() + 6);
    // Sized to the first page of each filter; measuring every row fetched would cost as the store grows.
    QObject::connect(model, &HistoryModel::pageRead, view, [view, model] {
        if (model->rowCount() <= HistoryModel::pageSize)
            view->resizeColumnsToContents();
    });
    return view;
}

} // namespace

HistoryWindow::HistoryWindow(QWidget* parent) : QWidget(parent, Qt::Window)
{
    setObjectName(QStringLiteral("historyWindow"));
    setWindowTitle(tr("Production History"));
    results = new HistoryModel(this);
    unitRuns = new HistoryModel(this);

    deviceEdit = new QLineEdit(this);
    deviceEdit->setPlaceholderText(tr("Device id or data pool value"));
    deviceEdit->setClearButtonEnabled(true);
    outcomeBox = new QComboBox(this);
    outcomeBox->addItem(tr("Any outcome"), QString());
    for (const char* outcome : {"done", "failed", "crashed", "timed out", "aborted", "not started"})
        outcomeBox->addItem(QString::fromLatin1(outcome), QString::fromLatin1(outcome));
    sinceCheck = new QCheckBox(tr("From"), this);
    sinceEdit = new QDateEdit(QDate::currentDate().addDays(-30), this);
    sinceEdit->setCalendarPopup(true);
    untilCheck = new QCheckBox(tr("To"), this);
    untilEdit = new QDateEdit(QDate::currentDate(), this);
    untilEdit->setCalendarPopup(true);
    stationBox = new QComboBox(this);
    hashEdit = new QLineEdit(this);
    hashEdit->setPlaceholderText(tr("Bundle or image SHA-256"));
    hashEdit->setClearButtonEnabled(true);

    auto* filters = new QHBoxLayout;
    filters->addWidget(deviceEdit, 2);
    filters->addWidget(outcomeBox);
    filters->addWidget(sinceCheck);
    filters->addWidget(sinceEdit);
    filters->addWidget(untilCheck);
    filters->addWidget(untilEdit);
    filters->addWidget(stationBox);
    filters->addWidget(hashEdit, 2);

    resultsView = resultTable(results, this);
    resultsView->setObjectName(QStringLiteral("historyResults"));
    unitView = resultTable(unitRuns, this);
    unitView->setObjectName(QStringLiteral("historyUnitRuns"));
    auto* openLog = new QPushButton(tr("Open &Log File"), this);
    auto* exportButton = new QPushButton(tr("&Export CSV..."), this);
    auto* unitLabel = new QLabel(tr("All runs of the selected unit:"), this);
    auto* unitBox = new QWidget(this);
    auto* unitLayout = new QVBoxLayout(unitBox);
    unitLayout->setContentsMargins(0, 0, 0, 0);
    unitLayout->addWidget(unitLabel);
    unitLayout->addWidget(unitView);
    auto* splitter = new QSplitter(Qt::Vertical, this);
    splitter->addWidget(resultsView);
    splitter->addWidget(unitBox);
    splitter->setStretchFactor(0, 3);
    splitter->setStretchFactor(1, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(openLog);
    buttons->addWidget(exportButton);
    auto* resultsPage = new QWidget(this);
    auto* resultsLayout = new QVBoxLayout(resultsPage);
    resultsLayout->addWidget(splitter);
    resultsLayout->addLayout(buttons);

    yieldView = new QChartView(this);
    yieldView->setRenderHint(QPainter::Antialiasing);
    paretoView = new QChartView(this);
    paretoView->setRenderHint(QPainter::Antialiasing);
    tabs = new QTabWidget(this);
    tabs->addTab(resultsPage, tr("Results"));
    tabs->addTab(yieldView, tr("Yield per Day"));
    tabs->addTab(paretoView, tr("Failures by Action"));

    errorLabel = new QLabel(this);
    errorLabel->setObjectName(QStringLiteral("historyError"));
    errorLabel->setStyleSheet(QStringLiteral("color: #b00020"));
    errorLabel->setWordWrap(true);
    errorLabel->hide();

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(filters);
    layout->addWidget(tabs, 1);
    layout->addWidget(errorLabel);
    resize(1100, 650);

    // Typing waits for a pause before the database is asked.
    filterDelay = new QTimer(this);
    filterDelay->setSingleShot(true);
    filterDelay->setInterval(300);
    connect(filterDelay, &QTimer::timeout, this, &HistoryWindow::applyFilter);
    const auto later = [this] {
        filterDelay->start();
    };
    connect(deviceEdit, &QLineEdit::textChanged, this, later);
    connect(hashEdit, &QLineEdit::textChanged, this, later);
    connect(outcomeBox, QOverload<int>::of(&QComboBox::currentIndexChanged), this, later);
    connect(stationBox, QOverload<int>::of(&QComboBox::currentIndexChanged), this, later);
    connect(sinceCheck, &QCheckBox::toggled, this, later);
    connect(untilCheck, &QCheckBox::toggled, this, later);
    connect(sinceEdit, &QDateEdit::dateChanged, this, later);
    connect(untilEdit, &QDateEdit::dateChanged, this, later);
    connect(resultsView->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            &HistoryWindow::showUnit);
    connect(openLog, &QPushButton::clicked, this, &HistoryWindow::openLogFile);
    connect(exportButton, &QPushButton::clicked, this, &HistoryWindow::exportCsv);
    connect(tabs, &QTabWidget::currentChanged, this, &HistoryWindow::updateCharts);
    for (HistoryModel* model : {results, unitRuns})
        connect(model, &HistoryModel::errorEncountered, this, [this](const QString& message) {
            errorLabel->setText(message);
            errorLabel->show();
            emit errorEncountered(message);
        });
}

void HistoryWindow::reload()
{
    QString error;
    const StoreLocation location = StoreSettings::location(&error);
    errorLabel->hide();
    if (!location.isValid() || !results->open(location, &error) || !unitRuns->open(location, &error)) {
        errorLabel->setText(tr("The production history cannot be shown: %1").arg(error));
        errorLabel->show();
        emit errorEncountered(errorLabel->text());
        return;
    }
    fillStations();
    applyFilter();
}

void HistoryWindow::fillStations()
{
    const QSignalBlocker blocker(stationBox);
    const qint64 chosen = stationBox->currentData().toLongLong();
    stationBox->clear();
    stationBox->addItem(tr("Any station"), 0);
    QSqlQuery query(results->store()->database());
    if (query.exec(QStringLiteral("SELECT id, name FROM stations ORDER BY name")))
        while (query.next())
            stationBox->addItem(query.value(1).toString(), query.value(0).toLongLong());
    stationBox->setCurrentIndex(qMax(0, stationBox->findData(chosen)));
}

HistoryFilter HistoryWindow::filter() const
{
    HistoryFilter filter;
    filter.deviceText = deviceEdit->text();
    filter.outcome = outcomeBox->currentData().toString();
    if (sinceCheck->isChecked())
        filter.since = sinceEdit->date();
    if (untilCheck->isChecked())
        filter.until = untilEdit->date();
    filter.stationId = stationBox->currentData().toLongLong();
    filter.hash = hashEdit->text();
    return filter;
}

void HistoryWindow::applyFilter()
{
    filterDelay->stop();
    if (!results->isOpen())
        return;
    errorLabel->hide();
    results->setFilter(filter());
    unitRuns->clear();
    chartsCurrent = false;
    updateCharts();
}

void HistoryWindow::showUnit()
{
    const int row = resultsView->currentIndex().row();
    if (row < 0)
        return;
    HistoryFilter unit;
    unit.exactDeviceId = results->deviceId(row);
    unitRuns->setFilter(unit);
}

void HistoryWindow::openLogFile()
{
    // The unit's run chosen below, else the result chosen above.
    const bool inUnit = unitView->currentIndex().isValid();
    const QString path = inUnit ? unitRuns->logFile(unitView->currentIndex().row())
                                : results->logFile(resultsView->currentIndex().row());
    if (path.isEmpty()) {
        errorLabel->setText(tr("The chosen result has no log file."));
        errorLabel->show();
        return;
    }
    if (!QFileInfo::exists(path)) {
        errorLabel->setText(
            tr("The log file \"%1\" is no longer there.").arg(QDir::toNativeSeparators(path)));
        errorLabel->show();
        return;
    }
    if (QDesktopServices::openUrl(QUrl::fromLocalFile(path)))
        return;
    // No viewer on this desktop: show it here.
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        errorLabel->setText(tr("The log file \"%1\" cannot be read: %2")
                                .arg(QDir::toNativeSeparators(path), file.errorString()));
        errorLabel->show();
        return;
    }
    auto* viewer =
        new OutputViewerDialog(QFileInfo(path).fileName(), QString::fromUtf8(file.readAll()), this);
    viewer->show();
}

void HistoryWindow::exportCsv()
{
    const QString path = QFileDialog::getSaveFileName(this, tr("Export CSV"), QDir::homePath(),
                                                      tr("CSV files (*.csv);;All files (*)"));
    if (path.isEmpty())
        return;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        errorLabel->setText(tr("The file \"%1\" cannot be written: %2")
                                .arg(QDir::toNativeSeparators(path), file.errorString()));
        errorLabel->show();
        return;
    }
    QApplication::setOverrideCursor(Qt::WaitCursor);
    QTextStream stream(&file);
    stream.setCodec("UTF-8");
    // The byte order mark tells spreadsheets the file is UTF-8, as in the run report.
    stream << QChar(0xfeff) << RunReport::line(results->headers());
    QString error;
    const bool read = results->forEachMatching(
        [&stream](const QStringList& fields) { stream << RunReport::line(fields); }, &error);
    stream.flush();
    QApplication::restoreOverrideCursor();
    if (!read || !file.commit()) {
        errorLabel->setText(read ? tr("The file \"%1\" cannot be written: %2")
                                       .arg(QDir::toNativeSeparators(path), file.errorString())
                                 : error);
        errorLabel->show();
    }
}

void HistoryWindow::updateCharts()
{
    // Drawn when looked at, once per filter.
    if (chartsCurrent || tabs->currentIndex() == 0 || !results->isOpen())
        return;
    chartsCurrent = true;
    QString error;
    QVector<HistoryStatistics::UnitRun> runs;
    bool truncated = false;
    QVector<HistoryStatistics::FailureCount> failures;
    if (!results->unitRunsForYield(yieldRunLimit, &runs, &truncated, &error) ||
        !results->failuresByActionType(&failures, &error)) {
        errorLabel->setText(error);
        errorLabel->show();
        return;
    }

    auto* yieldChart = new QChart;
    yieldChart->setTitle(
        truncated ? tr("First-pass and final yield per day (the newest %L1 results)").arg(yieldRunLimit)
                  : tr("First-pass and final yield per day"));
    auto* firstPass = new QBarSet(tr("First-pass yield %"));
    auto* finalPass = new QBarSet(tr("Final yield %"));
    QStringList days;
    for (const HistoryStatistics::DayYield& day : HistoryStatistics::yieldPerDay(runs)) {
        days << day.day.toString(QStringLiteral("MM-dd"));
        *firstPass << 100.0 * day.firstPassYield();
        *finalPass << 100.0 * day.finalYield();
    }
    auto* yieldSeries = new QBarSeries;
    yieldSeries->append(firstPass);
    yieldSeries->append(finalPass);
    yieldChart->addSeries(yieldSeries);
    auto* dayAxis = new QBarCategoryAxis;
    dayAxis->append(days);
    yieldChart->addAxis(dayAxis, Qt::AlignBottom);
    yieldSeries->attachAxis(dayAxis);
    auto* percentAxis = new QValueAxis;
    percentAxis->setRange(0, 100);
    percentAxis->setLabelFormat(QStringLiteral("%d%%"));
    yieldChart->addAxis(percentAxis, Qt::AlignLeft);
    yieldSeries->attachAxis(percentAxis);
    QChart* oldYield = yieldView->chart();
    yieldView->setChart(yieldChart);
    delete oldYield;

    // Pareto: bars in descending order, the line their cumulative share.
    const QVector<HistoryStatistics::ParetoBar> bars = HistoryStatistics::pareto(failures);
    auto* paretoChart = new QChart;
    paretoChart->setTitle(tr("Failures by action type"));
    auto* counts = new QBarSet(tr("Failures"));
    auto* cumulative = new QLineSeries;
    cumulative->setName(tr("Cumulative share %"));
    QStringList types;
    int maximum = 0;
    for (int i = 0; i < bars.size(); ++i) {
        types << bars.at(i).actionType;
        *counts << bars.at(i).count;
        maximum = qMax(maximum, bars.at(i).count);
        cumulative->append(i, 100.0 * bars.at(i).cumulativeShare);
    }
    auto* barSeries = new QBarSeries;
    barSeries->append(counts);
    paretoChart->addSeries(barSeries);
    paretoChart->addSeries(cumulative);
    auto* typeAxis = new QBarCategoryAxis;
    typeAxis->append(types);
    paretoChart->addAxis(typeAxis, Qt::AlignBottom);
    barSeries->attachAxis(typeAxis);
    cumulative->attachAxis(typeAxis);
    auto* countAxis = new QValueAxis;
    countAxis->setRange(0, qMax(1, maximum));
    countAxis->applyNiceNumbers();
    countAxis->setLabelFormat(QStringLiteral("%d"));
    paretoChart->addAxis(countAxis, Qt::AlignLeft);
    barSeries->attachAxis(countAxis);
    auto* shareAxis = new QValueAxis;
    shareAxis->setRange(0, 100);
    shareAxis->setLabelFormat(QStringLiteral("%d%%"));
    paretoChart->addAxis(shareAxis, Qt::AlignRight);
    cumulative->attachAxis(shareAxis);
    QChart* oldPareto = paretoView->chart();
    paretoView->setChart(paretoChart);
    delete oldPareto;
}
