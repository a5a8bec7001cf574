#include "droppablelineedit.h"
#include "dynamiccombobox.h"
#include "hexspinbox.h"
#include "historylineedit.h"
#include "selectallonclickfilter.h"
#include "testregistry.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QClipboard>
#include <QMimeData>
#include <QSignalSpy>
#include <QTest>
#include <QUrl>
#include <QVBoxLayout>

namespace {

// Newest first: walks to the oldest entry, then back down to the empty line being typed.
QStringList historyOf(HistoryLineEdit& edit)
{
    for (int i = 0; i < 20; ++i)
        edit.getOlderEntry();
    QStringList entries;
    for (QString entry = edit.getOlderEntry(); !entry.isEmpty(); entry = edit.getNewerEntry())
        entries.prepend(entry);
    return entries;
}

// The application delivers a drop only to the widget that took the drag's entry, so this enters first
// as a real drag would. Returns whether the drop was taken.
bool sendDrop(QWidget* target, const QList<QUrl>& urls, const QString& text = QString())
{
    QMimeData mimeData;
    if (!urls.isEmpty())
        mimeData.setUrls(urls);
    if (!text.isEmpty())
        mimeData.setText(text);
    QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &mimeData, Qt::LeftButton, Qt::NoModifier);
    enter.setAccepted(false);
    QApplication::sendEvent(target, &enter);
    QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &mimeData, Qt::LeftButton, Qt::NoModifier);
    drop.setAccepted(false);
    QApplication::sendEvent(target, &drop);
    return enter.isAccepted() && drop.isAccepted();
}

} // namespace

class TestInputWidgets : public QObject
{
    Q_OBJECT

private slots:
    void hexSpinBoxFormatsAndParses()
    {
        HexSpinBox spin;
        spin.setRange(0, 0x20000000);
        spin.show();
        QCOMPARE(spin.text(), QString("00000000"));
        spin.setValue(255);
        QCOMPARE(spin.text(), QString("000000ff"));
        // Typing into the field goes through the same parsing.
        spin.selectAll();
        QTest::keyClicks(&spin, "400");
        QTest::keyClick(&spin, Qt::Key_Enter);
        QCOMPARE(spin.value(), 0x400);
        QCOMPARE(spin.text(), QString("00000400"));
    }

    void hexSpinBoxValidates_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("acceptable");
        QTest::addColumn<int>("value");
        QTest::newRow("lower") << "000000ff" << true << 255;
        QTest::newRow("mixed case") << "DeadBee" << true << 0xDEADBEE;
        QTest::newRow("empty") << "" << false << 0;
        QTest::newRow("not hex") << "12g4" << false << 0;
        QTest::newRow("too large for int") << "ffffffff" << false << 0;
    }

    void hexSpinBoxValidates()
    {
        QFETCH(QString, text);
        QFETCH(bool, acceptable);
        HexSpinBox spin;
        int pos = text.size();
        QTEST(spin.valueFromText(text), "value");
        QCOMPARE(spin.validate(text, pos), acceptable ? QValidator::Acceptable : QValidator::Invalid);
    }

    void history()
    {
        HistoryLineEdit edit;
        QTest::keyClick(&edit, Qt::Key_Up);
        QCOMPARE(edit.text(), QString());
        edit.storeCommandInHistory("device info");
        edit.storeCommandInHistory("reset");
        QTest::keyClicks(&edit, "half");
        // Up walks to older entries and stays at the oldest, Down walks back to the empty line and stays
        // there; the cursor goes to the end.
        QStringList seen;
        for (const Qt::Key key :
             {Qt::Key_Up, Qt::Key_Up, Qt::Key_Up, Qt::Key_Down, Qt::Key_Down, Qt::Key_Down}) {
            QTest::keyClick(&edit, key);
            seen << QString("%1@%2").arg(edit.text()).arg(edit.cursorPosition());
        }
        QCOMPARE(seen, (QStringList{"reset@5", "device info@11", "device info@11", "reset@5", "@0", "@0"}));
        // Storing moves back to the line being typed; clearing empties the history.
        QCOMPARE(edit.getOlderEntry(), QString("reset"));
        edit.storeCommandInHistory("C");
        QCOMPARE(edit.getNewerEntry(), QString());
        QCOMPARE(edit.getOlderEntry(), QString("C"));
        edit.clearHistory();
        QCOMPARE(historyOf(edit), QStringList());

        // Only a repeat of the newest command is dropped, blank ones are ignored, and a command is kept as
        // typed, surrounding spaces included.
        for (const char* command : {"A", "A", "B", "A", "   ", "", " reset "})
            edit.storeCommandInHistory(command);
        QCOMPARE(historyOf(edit), (QStringList{" reset ", "A", "B", "A"}));

        // Ordinary keys, with or without Control outside the control range, edit as usual.
        QSignalSpy spy(&edit, &HistoryLineEdit::controlCharacter);
        edit.clear();
        QTest::keyClicks(&edit, "ab");
        QTest::keyClick(&edit, Qt::Key_Left, Qt::ControlModifier);
        QTest::keyClick(&edit, Qt::Key_X);
        QCOMPARE(edit.text(), QString("xab"));
        QCOMPARE(spy.count(), 0);
    }

    void controlCharacters_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("text");
        QTest::newRow("at") << int(Qt::Key_At) << 0 << "^@";
        QTest::newRow("C") << int(Qt::Key_C) << 3 << "^C";
        QTest::newRow("underscore") << int(Qt::Key_Underscore) << 31 << "^_";
    }

    void controlCharacters()
    {
        QFETCH(int, key);
        HistoryLineEdit edit;
        edit.setText("abc");
        edit.selectAll();
        QApplication::clipboard()->setText("untouched");
        QSignalSpy spy(&edit, &HistoryLineEdit::controlCharacter);
        QTest::keyClick(&edit, Qt::Key(key), Qt::ControlModifier);
        QCOMPARE(spy.count(), 1);
        QTEST(int(spy.at(0).at(0).value<uint8_t>()), "code");
        QTEST(spy.at(0).at(1).toString(), "text");
        // Not handled as an editing shortcut: no copy, no select, no typing.
        QCOMPARE(edit.text(), QString("abc"));
        QCOMPARE(edit.selectedText(), QString("abc"));
        QCOMPARE(QApplication::clipboard()->text(), QString("untouched"));
    }

    void droppableLineEdit()
    {
        DroppableLineEdit edit;
        QVERIFY(!edit.isFileSupported("/tmp/job.hwj"));
        edit.setSupportedExtensions({".hwj", ".s37"});
        QVERIFY(edit.isFileSupported("/tmp/APP.S37"));
        QVERIFY(!edit.isFileSupported("/tmp/app.s37.bak"));
        QSignalSpy spy(&edit, &DroppableLineEdit::fileDropped);
        const QString first = "/tmp/bench-left/first.HWJ";
        const QString second = "/tmp/bench-left/second.hwj";

        // Two files at once, an unsupported extension or plain text: nothing happens, but the drop is taken.
        QVERIFY(sendDrop(&edit, {QUrl::fromLocalFile(first), QUrl::fromLocalFile(second)}));
        QVERIFY(sendDrop(&edit, {QUrl::fromLocalFile("/tmp/notes.txt")}));
        QVERIFY(sendDrop(&edit, {}, "/tmp/typed.hwj"));
        QCOMPARE(edit.text(), QString());
        QCOMPARE(spy.count(), 0);

        // One supported file fills the field, and a later one replaces the text rather than inserting into
        // it.
        QVERIFY(sendDrop(&edit, {QUrl::fromLocalFile(first)}));
        QCOMPARE(edit.text(), first);
        QVERIFY(sendDrop(&edit, {QUrl::fromLocalFile(second)}));
        QCOMPARE(edit.text(), second);
        QCOMPARE(spy.count(), 2);
        QCOMPARE(spy.at(0).at(0).toString(), first);
    }

    void dynamicComboBox()
    {
        QWidget window;
        auto* combo = new DynamicComboBox(&window);
        combo->addItem("N/A");
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        bool popupVisibleWhenAnnounced = true;
        connect(combo, &DynamicComboBox::showingPopup, combo, [&] {
            popupVisibleWhenAnnounced = combo->view()->isVisible();
            // The receiver refills the items just before they are shown.
            combo->clear();
            combo->addItems({"USB", "IP"});
        });
        combo->showPopup();
        QVERIFY(!popupVisibleWhenAnnounced);
        QTRY_VERIFY(combo->view()->isVisible());
        QCOMPARE(combo->view()->model()->rowCount(), 2);
        combo->hidePopup();

        // The wheel is ignored, so the scroll area around the box gets to scroll.
        combo->setCurrentIndex(1);
        for (const int delta : {-120, 120, -240}) {
            QWheelEvent wheel(QPointF(5, 5), QPointF(5, 5), QPoint(), QPoint(0, delta), Qt::NoButton,
                              Qt::NoModifier, Qt::NoScrollPhase, false);
            QApplication::sendEvent(combo, &wheel);
            QVERIFY(!wheel.isAccepted());
        }
        QCOMPARE(combo->currentIndex(), 1);
    }

    void selectAllOnFocus()
    {
        QWidget window;
        auto* layout = new QVBoxLayout(&window);
        auto* other = new QLineEdit("other", &window);
        auto* edit = new QLineEdit("KM32G101F512", &window);
        layout->addWidget(other);
        layout->addWidget(edit);
        SelectAllOnClickFilter filter;
        edit->installEventFilter(&filter);
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        other->setFocus();
        QTRY_VERIFY(other->hasFocus());

        // A click gives the focus and places the cursor; the queued select-all wins.
        QTest::mouseClick(edit, Qt::LeftButton, Qt::NoModifier, QPoint(10, edit->height() / 2));
        QVERIFY(edit->hasFocus());
        QTRY_COMPARE(edit->selectedText(), QString("KM32G101F512"));

        // The filter never swallows an event and leaves other events alone: typing replaces the selection.
        QTest::keyClicks(edit, "KM32");
        QCOMPARE(edit->text(), QString("KM32"));
        QVERIFY(!edit->hasSelectedText());
    }
};

HARNWICK_TEST(TestInputWidgets)
#include "tst_inputwidgets.moc"
