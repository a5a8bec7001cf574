#pragma once

#include <QElapsedTimer>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QWidget>

class CorvaneProcessRunner;
class QGroupBox;
class QLabel;
class QProgressBar;
class QProgressIndicator;
class QPushButton;
class QSplitter;
class QStackedWidget;

// The page that owns everything that does work: the device selector, the
// action list and editor pages, the debug connection options, the process
// runner and the job-file helpers. Its members are implemented in the file
// of the subsystem they belong to; this file's .cpp holds only the frame.
class BulkOperationsWidget : public QWidget
{
    Q_OBJECT

public:
    explicit BulkOperationsWidget(QWidget* parent = nullptr);
    ~BulkOperationsWidget() override;

    void enableGuiElements(bool enable);
    bool validateCorvaneExecutable(const QString& path);
    bool loggingIsEnabled() const;
    static QStringList parseCommandLineArguments(const QString& command);
    // "-light" on light window backgrounds, "-dark" on dark ones.
    static QString themedIconSuffix(const QPalette& palette);

    CorvaneProcessRunner* processRunner() const { return corvaneProcessRunner; }
    bool corvaneExecutableIsValid() const { return corvaneExecutableValid; }

signals:
    void errorEncountered(const QString& message);

public slots:
    void newCorvaneExecutablePathSet(const QString& newPath);
    void loadBatchJob(const QString& path);
    void saveBatchJob(const QString& path);
    void closeVariableExplorer();

    void onErrorEncountered(const QString& message);
    void clearErrorMessage();

    // --- Device selector slots (devices/) ---

    // --- Action selector, editor and job slots (actions/) ---

protected:
    void changeEvent(QEvent* event) override;

private:
    // --- Device selector members and helpers (devices/) ---

    // --- Action selector, editor and job members and helpers (actions/) ---

    CorvaneProcessRunner* corvaneProcessRunner = nullptr;

    QGroupBox* deviceSelectorGroupBox = nullptr;
    QGroupBox* actionSelectorGroupBox = nullptr;
    QStackedWidget* actionEditorStack = nullptr;
    QGroupBox* debugConnectionGroupBox = nullptr;

    QLabel* errorLabel = nullptr;
    QProgressBar* progressBar = nullptr;
    QPushButton* runButton = nullptr;
    QProgressIndicator* busyIndicator = nullptr;
    QLabel* versionLabel = nullptr;
    QSplitter* actionSplitter = nullptr;
    QSplitter* pageSplitter = nullptr;

    bool corvaneExecutableValid = false;
    bool discoveryRunning = false;
    bool adapterProbeRunning = false;
    bool partDetectionRunning = false;
    QMap<QString, QElapsedTimer> deviceElapsedTimers;

    QWidget* variableExplorer = nullptr;
};
