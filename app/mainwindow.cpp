#include "mainwindow.h"

#include "aboutbox.h"
#include "adapterlock.h"
#include "bulkoperationswidget.h"
#include "datapoolsdialog.h"
#include "historywindow.h"
#include "jobrunengine.h"
#include "outputviewerdialog.h"
#include "productiondatabasedialog.h"
#include "settingsutil.h"
#include "stationmode.h"

#include <QCloseEvent>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QInputDialog>
#include <QMenuBar>
#include <QMessageBox>
#include <QScreen>
#include <QSplitter>
#include <QStandardPaths>
#include <QThread>
#include <QUrl>

namespace {

const QString jobFileExtension = QStringLiteral("hwj");

// The first start's size: room for every column of the device table.
constexpr QSize firstStartSize(1280, 800);

QSplitter* childSplitter(QWidget* parent, Qt::Orientation orientation)
{
    if (!parent)
        return nullptr;
    const auto splitters = parent->findChildren<QSplitter*>(QString(), Qt::FindDirectChildrenOnly);
    for (QSplitter* splitter : splitters) {
        if (splitter->orientation() == orientation)
            return splitter;
    }
    return nullptr;
}

} // namespace

MainWindow::MainWindow(QWidget* parent) : QMainWindow(parent)
{
    setWindowTitle(tr("Harnwick"));
    bulkOperationsWidget = new BulkOperationsWidget(this);
    setCentralWidget(bulkOperationsWidget);
    setupMenuBar();

    const QString session = lastSessionPath();
    if (QFile::exists(session))
        bulkOperationsWidget->loadBatchJob(session);
    // A window closed mid-run may still be finishing its devices in the background.
    const QString busy = AdapterLock::heldElsewhereText(AdapterLock::heldElsewhere());
    if (!busy.isEmpty())
        emit bulkOperationsWidget->errorEncountered(busy);

    bulkOperationsWidget->show();
    adjustSize();
    restoreLayout();
}

QString MainWindow::lastSessionDirectory()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) + QStringLiteral("/session/");
}

QString MainWindow::lastSessionPath()
{
    return lastSessionDirectory() + QStringLiteral("last_session.%1").arg(jobFileExtension);
}

// The page's splitters have no names, so they are found by their place: the vertical one between the device
// table and the actions, and inside it the horizontal one between the action list and the editor.
QList<QPair<QString, QSplitter*>> MainWindow::pageSplitters() const
{
    QSplitter* page = childSplitter(bulkOperationsWidget, Qt::Vertical);
    return {{Settings::pageSplitterKey, page},
            {Settings::actionSplitterKey, childSplitter(page, Qt::Horizontal)}};
}

void MainWindow::saveLayout()
{
    SettingsUtil::setSetting(Settings::windowGroup, Settings::geometryKey, saveGeometry());
    SettingsUtil::setSetting(Settings::windowGroup, Settings::stateKey, saveState());
    for (const auto& [key, splitter] : pageSplitters()) {
        if (splitter)
            SettingsUtil::setSetting(Settings::windowGroup, key, splitter->saveState());
    }
}

void MainWindow::restoreLayout()
{
    const auto stored = [](const QString& key) {
        return SettingsUtil::getSetting(Settings::windowGroup, key, QByteArray()).toByteArray();
    };
    if (!restoreGeometry(stored(Settings::geometryKey))) {
        QSize size = this->size().expandedTo(firstStartSize);
        if (const QScreen* shown = screen())
            size = size.boundedTo(shown->availableGeometry().size());
        resize(size);
    }
    restoreState(stored(Settings::stateKey));
    for (const auto& [key, splitter] : pageSplitters()) {
        if (splitter)
            splitter->restoreState(stored(key));
    }
}

QString MainWindow::jobFileFilter() const
{
    return tr("Harnwick Job Files (*.%1);;All Files (*)").arg(jobFileExtension);
}

void MainWindow::setupMenuBar()
{
    // The menus keep string-based connections on purpose.
    QMenu* fileMenu = menuBar()->addMenu(tr("&File"));
    QAction* loadAction = fileMenu->addAction(tr("&Load Job..."));
    loadAction->setShortcut(QKeySequence::Open);
    connect(loadAction, SIGNAL(triggered()), this, SLOT(loadBatchJob()));
    QAction* saveAction = fileMenu->addAction(tr("&Save Job..."));
    saveAction->setShortcut(QKeySequence::Save);
    connect(saveAction, SIGNAL(triggered()), this, SLOT(saveBatchJob()));
    fileMenu->addSeparator();
    QAction* exitAction = fileMenu->addAction(tr("E&xit"));
    exitAction->setShortcut(QKeySequence::Quit);
    connect(exitAction, SIGNAL(triggered()), this, SLOT(close()));

    QMenu* loggingMenu = menuBar()->addMenu(tr("&Logging"));
    QAction* enableLogging = loggingMenu->addAction(tr("&Enable Logging"));
    enableLogging->setCheckable(true);
    enableLogging->setChecked(Settings::loggingEnabled());
    connect(enableLogging, SIGNAL(toggled(bool)), this, SLOT(loggingEnabledToggled(bool)));
    loggingMenu->addSeparator();
    QAction* openLogs = loggingMenu->addAction(tr("&Open Log File Directory"));
    connect(openLogs, SIGNAL(triggered()), this, SLOT(openLogFileDirectory()));
    QAction* openReport = loggingMenu->addAction(tr("Open Last &Run Report"));
    connect(openReport, SIGNAL(triggered()), this, SLOT(openLastRunReport()));
    QAction* setLogs = loggingMenu->addAction(tr("Set &Log File Directory..."));
    connect(setLogs, SIGNAL(triggered()), this, SLOT(setLogFileDirectory()));
    QAction* revertLogs = loggingMenu->addAction(tr("&Revert Log File Directory to Default"));
    connect(revertLogs, SIGNAL(triggered()), this, SLOT(revertLogFileDirectory()));
    loggingMenu->addSeparator();
    QAction* history = loggingMenu->addAction(tr("Production &History..."));
    history->setShortcut(QKeySequence(tr("Ctrl+H")));
    connect(history, &QAction::triggered, this, &MainWindow::openProductionHistory);

    QMenu* settingsMenu = menuBar()->addMenu(tr("&Settings"));
    QAction* concurrency = settingsMenu->addAction(tr("Set &Max Concurrent Processes..."));
    connect(concurrency, SIGNAL(triggered()), this, SLOT(editMaxConcurrentProcesses()));
    QAction* timeout = settingsMenu->addAction(tr("Set &Process Timeout..."));
    connect(timeout, SIGNAL(triggered()), this, SLOT(editProcessTimeout()));
    settingsMenu->addSeparator();
    QAction* setPath = settingsMenu->addAction(tr("Set &Path to Corvane Executable..."));
    connect(setPath, SIGNAL(triggered()), this, SLOT(setCorvanePath()));
    QAction* revertPath = settingsMenu->addAction(tr("&Revert Corvane Executable Path to Default"));
    connect(revertPath, SIGNAL(triggered()), this, SLOT(revertCorvanePath()));
    settingsMenu->addSeparator();
    QAction* database = settingsMenu->addAction(tr("Production &Database..."));
    connect(database, SIGNAL(triggered()), this, SLOT(editProductionDatabase()));
    QAction* dataPools = settingsMenu->addAction(tr("&Data Pools..."));
    connect(dataPools, SIGNAL(triggered()), this, SLOT(openDataPools()));

    // Station mode: the operator's view of the job on the page, behind the station password.
    QMenu* viewMenu = menuBar()->addMenu(tr("&View"));
    QAction* stationAction = viewMenu->addAction(tr("&Station Mode"));
    stationAction->setObjectName(QStringLiteral("stationModeAction"));
    stationMode = new StationMode(this);
    connect(stationAction, &QAction::triggered, this, [this] {
        stationMode->enter(bulkOperationsWidget->jobOnPage(), bulkOperationsWidget->jobFileOrigin());
    });
    connect(stationMode, &StationMode::errorEncountered, this,
            [this](const QString& message) { QMessageBox::warning(this, tr("Station Mode"), message); });

    QMenu* helpMenu = menuBar()->addMenu(tr("&Help"));
    QAction* aboutAction = helpMenu->addAction(tr("&About Harnwick"));
    connect(aboutAction, SIGNAL(triggered()), this, SLOT(about()));
    QMenu* guides = helpMenu->addMenu(tr("Online &User Guides"));
    QAction* corvaneGuide = guides->addAction(tr("Lumenar &Corvane User Guide..."));
    connect(corvaneGuide, SIGNAL(triggered()), this, SLOT(openLumenarCorvaneOnlineUserGuide()));
    QAction* adapterGuide = guides->addAction(tr("Lumenar &Link Adapter User Guide..."));
    connect(adapterGuide, SIGNAL(triggered()), this, SLOT(openLumenarLinkAdapterOnlineUserGuide()));
}

void MainWindow::about()
{
    AboutBox box;
    box.exec(QStringLiteral("Harnwick"), QStringLiteral("0v1p1b1957"), 2025,
             QStringLiteral(":/icons/Harnwick256.png"), {box.libQt()});
}

void MainWindow::openLumenarCorvaneOnlineUserGuide()
{
    QDesktopServices::openUrl(QUrl(AboutBox::corvaneUserGuideUrl()));
}

void MainWindow::openLumenarLinkAdapterOnlineUserGuide()
{
    QDesktopServices::openUrl(QUrl(AboutBox::linkAdapterUserGuideUrl()));
}

void MainWindow::loadBatchJob()
{
    if (!bulkOperationsWidget)
        return;
    const QString path =
        QFileDialog::getOpenFileName(this, tr("Load Job"), QDir::homePath(), jobFileFilter());
    if (!path.isEmpty())
        bulkOperationsWidget->loadBatchJob(path);
}

void MainWindow::saveBatchJob()
{
    if (!bulkOperationsWidget)
        return;
    const QString path =
        QFileDialog::getSaveFileName(this, tr("Save Job"), QDir::homePath(), jobFileFilter());
    if (!path.isEmpty())
        bulkOperationsWidget->saveBatchJob(path);
}

void MainWindow::editMaxConcurrentProcesses()
{
    const int ideal = QThread::idealThreadCount();
    bool ok = false;
    const int value =
        QInputDialog::getInt(this, tr("Set Max Concurrent Processes"),
                             tr("Enter the maximum number of concurrent Corvane processes to run \n(default "
                                "on your system is %1):")
                                 .arg(ideal),
                             Settings::maxConcurrentProcessesSetting(), Settings::minConcurrentProcesses,
                             Settings::maxConcurrentProcesses, 1, &ok);
    if (ok)
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::maxConcurrentProcessesKey, value);
}

void MainWindow::openDataPools()
{
    DataPoolsDialog dialog(this);
    dialog.exec();
}

void MainWindow::editProcessTimeout()
{
    bool ok = false;
    const int value = QInputDialog::getInt(
        this, tr("Set Process Timeout"),
        tr("Enter the timeout in seconds for each Corvane process \n(default is %1 seconds):")
            .arg(Settings::defaultProcessTimeoutSeconds),
        Settings::processTimeoutSeconds(), Settings::minProcessTimeoutSeconds,
        Settings::maxProcessTimeoutSeconds, 1, &ok);
    if (ok)
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::processTimeoutSecondsKey, value);
}

void MainWindow::loggingEnabledToggled(bool enabled)
{
    SettingsUtil::setSetting(Settings::loggingGroup, Settings::loggingEnabledKey, enabled);
}

void MainWindow::openLogFileDirectory()
{
    const QString directory = Settings::logFileDirectory();
    if (!QDir(directory).exists())
        QDir().mkpath(directory);
    QDesktopServices::openUrl(QUrl::fromLocalFile(directory));
}

void MainWindow::openLastRunReport()
{
    const QString report = bulkOperationsWidget->jobRun()->reportFiles().value(0);
    if (report.isEmpty() || !QFileInfo(report).isFile()) {
        emit bulkOperationsWidget->errorEncountered(
            tr("No run report yet: a job run writes one into the log folder while logging is on."));
        return;
    }
    if (QDesktopServices::openUrl(QUrl::fromLocalFile(report)))
        return;
    // No program to open it with: show it here.
    QFile file(report);
    if (file.open(QIODevice::ReadOnly))
        (new OutputViewerDialog(QDir::toNativeSeparators(report), QString::fromUtf8(file.readAll()), this))
            ->show();
}

void MainWindow::setLogFileDirectory()
{
    const QString directory = QFileDialog::getExistingDirectory(
        this, tr("Select Log File Directory"), Settings::logFileDirectory(), QFileDialog::ShowDirsOnly);
    if (!directory.isEmpty())
        SettingsUtil::setSetting(Settings::loggingGroup, Settings::logFileDirectoryKey, directory);
}

void MainWindow::revertLogFileDirectory()
{
    SettingsUtil::clearSetting(Settings::loggingGroup, Settings::logFileDirectoryKey);
}

void MainWindow::setCorvanePath()
{
    const QString path =
        QFileDialog::getOpenFileName(this, tr("Select Corvane Executable"),
                                     QStandardPaths::writableLocation(QStandardPaths::ApplicationsLocation));
    if (path.isEmpty())
        return;
    SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey, path);
    bulkOperationsWidget->newCorvaneExecutablePathSet(path);
}

void MainWindow::revertCorvanePath()
{
    SettingsUtil::clearSetting(Settings::corvaneGroup, Settings::executableKey);
    bulkOperationsWidget->newCorvaneExecutablePathSet(QString());
}

void MainWindow::editProductionDatabase()
{
    ProductionDatabaseDialog dialog(this);
    dialog.exec();
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    saveLayout();
    bulkOperationsWidget->closeVariableExplorer();
    const QString directory = lastSessionDirectory();
    if (!QDir(directory).exists())
        QDir().mkpath(directory);
    bulkOperationsWidget->saveBatchJob(lastSessionPath());
    // A board being flashed must not be cut off: running devices finish without
    // the window, queued ones do not start, and the program ends after them.
    if (!finishingInBackground && bulkOperationsWidget->finishJobInBackground()) {
        finishingInBackground = true;
        QGuiApplication::setQuitOnLastWindowClosed(false);
        connect(bulkOperationsWidget->jobRun(), &JobRunEngine::runFinished, this, [this] {
            finishingInBackground = false;
            QGuiApplication::setQuitOnLastWindowClosed(true);
            emit backgroundWorkFinished();
        });
    }
    QWidget::closeEvent(event);
}

void MainWindow::requestClose()
{
    if (isVisible())
        close();
    else if (finishingInBackground)
        bulkOperationsWidget->jobRun()->killRunningDevices();
    else
        QCoreApplication::quit();
}

void MainWindow::openProductionHistory()
{
    if (!historyWindow)
        historyWindow = new HistoryWindow(this);
    // Read afresh each time: the runs since it was last open, and the database the settings name now.
    historyWindow->reload();
    historyWindow->show();
    historyWindow->raise();
    historyWindow->activateWindow();
}
