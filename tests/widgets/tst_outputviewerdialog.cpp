#include "outputviewerdialog.h"
#include "testregistry.h"

#include <QApplication>
#include <QClipboard>
#include <QDialogButtonBox>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>

class TestOutputViewerDialog : public QObject
{
    Q_OBJECT

private slots:
    void showsReadOnlyCopiesAndGoesAway()
    {
        QString text;
        for (int line = 1; line <= 400; ++line)
            text += QStringLiteral("Running action %1: flash_target_device\tKM32G101F512 Prüfplatz 3\n")
                        .arg(line);
        text += QStringLiteral("ERROR: Adapter 801002345 not found");

        QPointer<OutputViewerDialog> dialog = new OutputViewerDialog(QStringLiteral("801002345"), text);
        dialog->show();
        QVERIFY(QTest::qWaitForWindowExposed(dialog));
        QCOMPARE(dialog->windowTitle(), QStringLiteral("801002345"));

        auto* view = dialog->findChild<QPlainTextEdit*>(QStringLiteral("outputText"));
        QVERIFY(view);
        QCOMPARE(view->toPlainText(), text);
        // The outcome at the end is in sight.
        QVERIFY(view->verticalScrollBar()->maximum() > 0);
        QCOMPARE(view->verticalScrollBar()->value(), view->verticalScrollBar()->maximum());
        QCOMPARE(view->horizontalScrollBar()->value(), 0);
        // Typing and pasting change nothing.
        QApplication::clipboard()->setText(QStringLiteral("pasted"));
        view->setFocus();
        QTest::keyClicks(view, QStringLiteral("abc"));
        QTest::keyClick(view, Qt::Key_V, Qt::ControlModifier);
        QTest::keyClick(view, Qt::Key_Backspace);
        QCOMPARE(view->toPlainText(), text);

        auto* copy = dialog->findChild<QPushButton*>(QStringLiteral("copyButton"));
        QVERIFY(copy);
        QCOMPARE(copy->text(), QStringLiteral("Copy All"));
        QTest::mouseClick(copy, Qt::LeftButton);
        QCOMPARE(QApplication::clipboard()->text(), text);
        QVERIFY(dialog->isVisible());

        // Close removes it: callers keep no pointer to it.
        auto* box = dialog->findChild<QDialogButtonBox*>();
        QVERIFY(box);
        QTest::mouseClick(box->button(QDialogButtonBox::Close), Qt::LeftButton);
        QTRY_VERIFY(dialog.isNull());
    }
};

HARNWICK_TEST(TestOutputViewerDialog)
#include "tst_outputviewerdialog.moc"
