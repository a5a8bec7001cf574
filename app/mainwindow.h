#pragma once

#include <QMainWindow>

class BulkOperationsWidget;
class QCloseEvent;
class QSplitter;

// The one top-level window: a thin shell around the bulk operations page
// that adds the menus, the small settings dialogs and the last session.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(QWidget* parent = nullptr);

    BulkOperationsWidget* page() const { return bulkOperationsWidget; }

    // Where the job on screen is kept between runs of the program.
    static QString lastSessionDirectory();
    static QString lastSessionPath();

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
    void setLogFileDirectory();
    void revertLogFileDirectory();
    void setCorvanePath();
    void revertCorvanePath();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void setupMenuBar();
    QString jobFileFilter() const;
    QList<QPair<QString, QSplitter*>> pageSplitters() const;
    void saveLayout();
    void restoreLayout();

    BulkOperationsWidget* bulkOperationsWidget = nullptr;
};
