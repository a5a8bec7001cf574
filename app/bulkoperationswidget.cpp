#include "bulkoperationswidget.h"

#include "corporatecolors.h"
#include "corvaneexecutable.h"
#include "corvaneprocessrunner.h"
#include "qprogressindicator.h"
#include "settingsutil.h"
#include "variableexplorerwidget.h"

#include <QColor>
#include <QCoreApplication>
#include <QEvent>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QProcess>
#include <QProgressBar>
#include <QPushButton>
#include <QSplitter>
#include <QStackedWidget>
#include <QStandardItemModel>
#include <QTimer>

namespace {
constexpr int executableCheckTimeoutMs = 5000;
} // namespace

BulkOperationsWidget::BulkOperationsWidget(QWidget* parent) : QWidget(parent)
{
    setWindowTitle(tr("Perform Bulk Operations"));

    corvaneProcessRunner = new CorvaneProcessRunner(this);
    setupJobRunEngine();

    deviceSelectorGroupBox = new QGroupBox(tr("Devices"), this);
    actionSelectorGroupBox = new QGroupBox(tr("Actions"), this);
    actionEditorStack = new QStackedWidget(this);
    actionEditorStack->setObjectName(QStringLiteral("actionEditorStack"));
    debugConnectionGroupBox = new QGroupBox(tr("Add Debug Connection Options"), this);
    // Filling of the device selector box (devices/):
    setupDeviceSelectorBox();
    // Filling of the action box, the editor stack and the debug box (actions/):
    setupActionSelector();
    setupActionEditorStackedWidget();
    setupDebugConnectionOptionsBox();

    errorLabel = new QLabel(this);
    errorLabel->setObjectName(QStringLiteral("errorLabel"));
    errorLabel->setStyleSheet(QStringLiteral("QLabel { color: red; }"));
    errorLabel->setWordWrap(true);
    errorLabel->hide();
    connect(this, &BulkOperationsWidget::errorEncountered, this, &BulkOperationsWidget::onErrorEncountered);
    // Problems found before Run stay on the line only while they are there: an edit of the actions
    // or the devices checks again, once per turn of the event loop however many cells changed.
    recheckTimer = new QTimer(this);
    recheckTimer->setSingleShot(true);
    recheckTimer->setInterval(0);
    connect(recheckTimer, &QTimer::timeout, this, &BulkOperationsWidget::recheckProblemsShown);
    for (QAbstractItemModel* model : {static_cast<QAbstractItemModel*>(actionModel),
                                      static_cast<QAbstractItemModel*>(deviceSelectorModel)}) {
        const auto edited = [this] {
            if (problemsShown)
                recheckTimer->start();
        };
        connect(model, &QAbstractItemModel::rowsInserted, this, edited);
        connect(model, &QAbstractItemModel::rowsRemoved, this, edited);
        connect(model, &QAbstractItemModel::dataChanged, this, edited);
        connect(model, &QAbstractItemModel::modelReset, this, edited);
    }

    progressBar = new QProgressBar(this);
    progressBar->setObjectName(QStringLiteral("progressBar"));
    progressBar->setTextVisible(false);
    progressBar->hide();

    busyIndicator = new QProgressIndicator(this);
    busyIndicator->setObjectName(QStringLiteral("busyIndicator"));
    busyIndicator->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    busyIndicator->setFocusPolicy(Qt::NoFocus);
    busyIndicator->setColor(CORPORATE_RED);

    runButton = new QPushButton(tr("Run"), this);
    runButton->setObjectName(QStringLiteral("runButton"));
    runButton->setToolTip(tr("Run batch job on selected devices"));
    runButton->setEnabled(false);
    runButton->setDefault(true);
    runButton->setMinimumWidth(100);
    runButton->setMaximumWidth(200);
    connect(runButton, &QPushButton::clicked, this, &BulkOperationsWidget::onRunButtonPressed);

    versionLabel = new QLabel(QStringLiteral("0v1p1b1957"), this);
    versionLabel->setObjectName(QStringLiteral("versionLabel"));
    versionLabel->setStyleSheet(QStringLiteral("QLabel { color: darkgrey; }"));

    actionSplitter = new QSplitter(Qt::Horizontal, this);
    actionSplitter->setChildrenCollapsible(false);
    actionSplitter->addWidget(actionSelectorGroupBox);
    actionSplitter->addWidget(actionEditorStack);
    pageSplitter = new QSplitter(Qt::Vertical, this);
    pageSplitter->setChildrenCollapsible(false);
    pageSplitter->addWidget(deviceSelectorGroupBox);
    pageSplitter->addWidget(actionSplitter);

    auto* layout = new QGridLayout(this);
    layout->addWidget(pageSplitter, 0, 0, 1, 4);
    layout->addWidget(debugConnectionGroupBox, 1, 0, 1, 4);
    layout->addWidget(errorLabel, 2, 0, 1, 4);
    layout->addWidget(versionLabel, 3, 0, Qt::AlignLeft);
    // The run's totals stand between the progress bar and the Run button; after a run
    // they stay as its result until the next one starts.
    totalsLabel = new QLabel(this);
    totalsLabel->setObjectName(QStringLiteral("totalsLabel"));
    auto* progressRow = new QHBoxLayout;
    progressRow->addWidget(progressBar, 1);
    progressRow->addWidget(totalsLabel);
    layout->addLayout(progressRow, 3, 1);
    layout->setColumnStretch(1, 1);
    layout->addWidget(busyIndicator, 3, 2, Qt::AlignRight);
    layout->addWidget(runButton, 3, 3, Qt::AlignRight);

    connect(&batchUtil, &BatchUtil::errorEncountered, this, &BulkOperationsWidget::onErrorEncountered);
    connect(&zipUtil, &ZipUtil::errorEncountered, this, &BulkOperationsWidget::onErrorEncountered);

    setupVariableExplorer();

    corvaneExecutableValid = validateCorvaneExecutable(QString());
    if (!corvaneExecutableValid)
        reportInvalidExecutable();

    if (corvaneExecutableValid)
        deviceSelectorOpnCompleterFetchSuggestions();
}

BulkOperationsWidget::~BulkOperationsWidget()
{
    // The explorer is a top-level window without a parent; it goes with its page.
    delete variableExplorer;
}

bool BulkOperationsWidget::validateCorvaneExecutable(const QString& path)
{
    QString executable = path;
    if (executable.isEmpty()) {
        corvaneProcessRunner->refreshExecutablePath();
        executable = corvaneProcessRunner->getExecutablePath();
    }
    return CorvaneExecutable::answersBatchHelp(executable, executableCheckTimeoutMs);
}

void BulkOperationsWidget::newCorvaneExecutablePathSet(const QString& newPath)
{
    clearErrorMessage();
    corvaneExecutableValid = validateCorvaneExecutable(newPath);
    if (!corvaneExecutableValid)
        reportInvalidExecutable();
}

void BulkOperationsWidget::reportInvalidExecutable()
{
    emit errorEncountered(
        tr("The provided Lumenar Corvane path is not valid. Please provide a valid path in the settings."));
}

void BulkOperationsWidget::clearErrorAfterSuccess(bool newJob)
{
    // The checks keep their own problems current; only a new job makes them the old job's.
    if (problemsShown && !newJob)
        return;
    clearErrorMessage();
    // An executable that does not answer is still true after any load or save.
    if (!corvaneExecutableValid)
        reportInvalidExecutable();
}

void BulkOperationsWidget::onErrorEncountered(const QString& message)
{
    errorLabel->setText(tr("ERROR: %1").arg(message));
    errorLabel->show();
    // Whoever reports next owns the line; the checks say so right after their own report.
    problemsShown = false;
}

void BulkOperationsWidget::clearErrorMessage()
{
    errorLabel->clear();
    errorLabel->hide();
    problemsShown = false;
}

bool BulkOperationsWidget::loggingIsEnabled() const
{
    return Settings::loggingEnabled();
}

QStringList BulkOperationsWidget::parseCommandLineArguments(const QString& command)
{
    return QProcess::splitCommand(command);
}

QString BulkOperationsWidget::themedIconSuffix(const QPalette& palette)
{
    return palette.color(QPalette::Window).lightness() > 127 ? QStringLiteral("-light")
                                                             : QStringLiteral("-dark");
}

void BulkOperationsWidget::enableGuiElements(bool enable)
{
    deviceSelectorEnableGuiElements(enable);
    actionSelectorGroupBox->setEnabled(enable);
    actionEditorStack->setEnabled(enable);
    debugConnectionGroupBox->setEnabled(enable);
}

void BulkOperationsWidget::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::PaletteChange)
        actionSelectorSetArrowIcons(themedIconSuffix(palette()));
    QWidget::changeEvent(event);
}

const QIcon& BulkOperationsWidget::resourceIcon(const QString& resource)
{
    auto it = resourceIcons.find(resource);
    if (it == resourceIcons.end())
        it = resourceIcons.insert(resource, QIcon(resource));
    return *it;
}
