#pragma once

#include "poolstore.h"

#include <QDialog>
#include <QList>
#include <QStringList>

#include <functional>

class PoolCountsReader;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QSpinBox;
class QStandardItemModel;
class QTableView;

// Settings > Data Pools...: the pools of the production store with their counts,
// a form to create a pool (or grow one) and the export of the values that reached
// boards. The store is only used off the window's thread.
class DataPoolsDialog : public QDialog
{
    Q_OBJECT

public:
    explicit DataPoolsDialog(QWidget* parent = nullptr, const QString& storeUrl = QString());
    ~DataPoolsDialog() override;

    // The command line equivalent of the form, read by the same rules as "--pool-define".
    QStringList definitionArguments() const;

    QTableView* poolTable() const { return table; }
    QLabel* messageLabel() const { return message; }

public slots:
    void refresh();
    void createPool();
    void exportUsedValues();

signals:
    void poolsShown();

private:
    void showPools(const QList<PoolCounts>& pools, const QString& error);
    void kindChanged();
    void browseForList();
    void runInBackground(const std::function<QString()>& work, const QString& done);
    void showMessage(const QString& text, bool error);

    QString storeUrl;
    PoolCountsReader* reader = nullptr;
    QStandardItemModel* model = nullptr;
    QTableView* table = nullptr;
    QLineEdit* nameEdit = nullptr;
    QComboBox* kindBox = nullptr;
    QLineEdit* rangeEdit = nullptr;
    QSpinBox* stepBox = nullptr;
    QLineEdit* formatEdit = nullptr;
    QLineEdit* fileEdit = nullptr;
    QPushButton* browseButton = nullptr;
    QLineEdit* columnEdit = nullptr;
    QComboBox* ruleBox = nullptr;
    QPushButton* createButton = nullptr;
    QPushButton* exportButton = nullptr;
    QLabel* message = nullptr;
    class QThread* worker = nullptr;
};
