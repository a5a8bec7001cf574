#pragma once

#include <QDialog>

class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;

// Settings > Production Database...: the default SQLite file or a URL
// (postgresql://user@host:port/dbname, ?host=/socket/dir, sqlite:PATH), with
// a test of the connection that runs off the GUI thread. Only the URL is
// kept; passwords come from ~/.pgpass or PGPASSWORD.
class ProductionDatabaseDialog : public QDialog
{
    Q_OBJECT

public:
    explicit ProductionDatabaseDialog(QWidget* parent = nullptr);

    // What the dialog names now: empty for the default file.
    QString url() const;

public slots:
    // Keeps a valid choice in the settings; an invalid URL keeps the dialog open with the reason.
    void accept() override;
    void testConnection();

signals:
    // The test's answer arrived (its text is in the result label).
    void connectionTested(bool ok);

private:
    void updateState();
    void showResult(bool ok, const QString& text);

    QRadioButton* defaultButton = nullptr;
    QRadioButton* otherButton = nullptr;
    QLineEdit* urlEdit = nullptr;
    QPushButton* testButton = nullptr;
    QLabel* resultLabel = nullptr;
    int testsRunning = 0;
};
