#include "datapoolsdialog.h"
#include "testregistry.h"

#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>

// The dialog's own part: the form becomes a definition, the store work happens and the table follows.
class TestDataPoolsDialog : public QObject
{
    Q_OBJECT

private slots:
    void createFromTheForm()
    {
        QTemporaryDir folder;
        DataPoolsDialog dialog(nullptr, "sqlite:" + folder.filePath("store.sqlite"));
        QSignalSpy shown(&dialog, &DataPoolsDialog::poolsShown);
        QVERIFY(shown.wait(10000));
        QCOMPARE(dialog.poolTable()->model()->rowCount(), 0);

        auto* name = dialog.findChild<QLineEdit*>("poolNameLineEdit");
        auto* range = dialog.findChild<QLineEdit*>("poolRangeLineEdit");
        auto* format = dialog.findChild<QLineEdit*>("poolFormatLineEdit");
        name->setText("unit_sn");
        range->setText("1..250");
        format->setText("HW-%s");
        dialog.createPool();
        QVERIFY2(dialog.messageLabel()->text().contains("HW-%s"), qPrintable(dialog.messageLabel()->text()));

        format->setText("HW-%06d");
        shown.clear();
        dialog.createPool();
        QTRY_VERIFY_WITH_TIMEOUT(dialog.poolTable()->model()->rowCount() == 1, 10000);
        const QAbstractItemModel* model = dialog.poolTable()->model();
        QCOMPARE(model->index(0, 0).data().toString(), QStringLiteral("unit_sn"));
        QCOMPARE(model->index(0, 2).data().toString(), QStringLiteral("HW-000001"));
        QCOMPARE(model->index(0, 3).data().toString(), QStringLiteral("250"));

        // A list takes the void rule unless told otherwise.
        auto* kind = dialog.findChild<QComboBox*>("poolKindComboBox");
        kind->setCurrentIndex(2);
        QVERIFY(dialog.definitionArguments().endsWith("void"));
        QFile csv(folder.filePath("keys.csv"));
        QVERIFY(csv.open(QIODevice::WriteOnly));
        csv.write("K-1\nK-2\n");
        csv.close();
        dialog.findChild<QLineEdit*>("poolFileLineEdit")->setText(csv.fileName());
        name->setText("keys");
        dialog.createPool();
        QTRY_VERIFY_WITH_TIMEOUT(dialog.poolTable()->model()->rowCount() == 2, 10000);
        QCOMPARE(model->index(0, 0).data().toString(), QStringLiteral("keys"));
        QCOMPARE(model->index(0, 3).data().toString(), QStringLiteral("2"));
    }
};

HARNWICK_TEST(TestDataPoolsDialog)
#include "tst_datapoolsdialog.moc"
