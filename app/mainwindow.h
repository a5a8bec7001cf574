#pragma once

#include <QMainWindow>

class BulkOperationsWidget;
class HistoryWindow;
class QCloseEvent;
class QSplitter;
class StationMode;

// The one top-level window: a thin shell around the bulk operations page
// that adds the menus, the small settings dialogs and the last session.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(QWidget* parent = nullptr);

    BulkOperationsWidget* page() const { return bulkOperationsWidget; }
    StationMode* station() const { return stationMode; }

    // Where the job on screen is kept between runs of the program.
    static QString lastSessionDirectory();
    static QString lastSessionPath();

    // A close request from outside the window (Ctrl+C or SIGTERM in the program's
    // terminal): the first closes the window as usual; once the window is gone
    // and a job still runs in the background, the next ends its processes.
    void requestClose();
    bool isFinishingInBackground() const { return finishingInBackground; }

signals:
    // The job that outlived its window has ended: nothing keeps the program any more.
    void backgroundWorkFinished();

public slots:
    void about();
    void openLumenarCorvaneOnlineUserGuide();
    void openLumenarLinkAdapterOnlineUserGuide();
    void loadBatchJob();
    void saveBatchJob();
    void editMaxConcurrentProcesses();
    void editProcessTimeout();
    void loggingEnabledToggled(bool enabled);
    void openLogFileDirectory();
    // The report of the last job run, written into the log folder.
    void openLastRunReport();
    void setLogFileDirectory();
    void revertLogFileDirectory();
    void setCorvanePath();
    void revertCorvanePath();
    void editProductionDatabase();
    void openDataPools();
    void openProductionHistory();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void setupMenuBar();
    QString jobFileFilter() const;
    QList<QPair<QString, QSplitter*>> pageSplitters() const;
    void saveLayout();
    void restoreLayout();

    BulkOperationsWidget* bulkOperationsWidget = nullptr;
    HistoryWindow* historyWindow = nullptr;
    StationMode* stationMode = nullptr;
    bool finishingInBackground = false;
};
