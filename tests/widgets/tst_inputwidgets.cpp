#include "droppablelineedit.h"
#include "dynamiccombobox.h"
#include "hexspinbox.h"
#include "historylineedit.h"
#include "selectallonclickfilter.h"
#include "testregistry.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QClipboard>
#include <QDropEvent>
#include <QFocusEvent>
#include <QMimeData>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QUrl>
#include <QVBoxLayout>
#include <QWheelEvent>

class TestInputWidgets : public QObject
{
    Q_OBJECT

private slots:
    void hexSpinBoxFormatsAndParses();
    void hexSpinBoxValidates_data();
    void hexSpinBoxValidates();
    void historyNavigation();
    void historyStorage();
    void historyKeys();
    void controlCharacters_data();
    void controlCharacters();
    void droppableExtensions();
    void droppableDrop();
    void comboBoxAnnouncesPopupBeforeShowing();
    void comboBoxIgnoresWheel();
    void selectAllOnFocus();
};

void TestInputWidgets::hexSpinBoxFormatsAndParses()
{
    HexSpinBox spin;
    spin.setRange(0, 0x20000000);
    spin.show();
    QCOMPARE(spin.text(), QStringLiteral("00000000"));
    spin.setValue(255);
    QCOMPARE(spin.text(), QStringLiteral("000000ff"));
    QCOMPARE(spin.minimumWidth(), 80);

    QCOMPARE(spin.valueFromText(QStringLiteral("DeadBee")), 0xDEADBEE);
    QCOMPARE(spin.valueFromText(QStringLiteral("xyz")), 0);

    // Typing into the field goes through the same parsing.
    spin.selectAll();
    QTest::keyClicks(&spin, QStringLiteral("400"));
    QTest::keyClick(&spin, Qt::Key_Enter);
    QCOMPARE(spin.value(), 0x400);
    QCOMPARE(spin.text(), QStringLiteral("00000400"));
}

void TestInputWidgets::hexSpinBoxValidates_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("acceptable");
    QTest::newRow("zeros") << "00000000" << true;
    QTest::newRow("lower") << "000000ff" << true;
    QTest::newRow("upper") << "ABCDEF" << true;
    QTest::newRow("empty") << "" << false;
    QTest::newRow("not hex") << "12g4" << false;
    QTest::newRow("space inside") << "12 34" << false;
    QTest::newRow("too large for int") << "ffffffff" << false;
}

void TestInputWidgets::hexSpinBoxValidates()
{
    QFETCH(QString, text);
    QFETCH(bool, acceptable);
    HexSpinBox spin;
    int pos = text.size();
    QCOMPARE(spin.validate(text, pos), acceptable ? QValidator::Acceptable : QValidator::Invalid);
}

void TestInputWidgets::historyNavigation()
{
    HistoryLineEdit edit;
    // Empty history: both directions stay on the empty line.
    QCOMPARE(edit.getOlderEntry(), QString());
    QCOMPARE(edit.getNewerEntry(), QString());

    edit.storeCommandInHistory(QStringLiteral("A"));
    edit.storeCommandInHistory(QStringLiteral("B"));
    QCOMPARE(edit.getOlderEntry(), QStringLiteral("B"));
    QCOMPARE(edit.getOlderEntry(), QStringLiteral("A"));
    QCOMPARE(edit.getOlderEntry(), QStringLiteral("A"));
    QCOMPARE(edit.getNewerEntry(), QStringLiteral("B"));
    QCOMPARE(edit.getNewerEntry(), QString());
    QCOMPARE(edit.getNewerEntry(), QString());

    // Storing moves back to the line being typed; clearing empties the history.
    QCOMPARE(edit.getOlderEntry(), QStringLiteral("B"));
    edit.storeCommandInHistory(QStringLiteral("C"));
    QCOMPARE(edit.getNewerEntry(), QString());
    QCOMPARE(edit.getOlderEntry(), QStringLiteral("C"));
    edit.clearHistory();
    QCOMPARE(edit.getOlderEntry(), QString());
}

void TestInputWidgets::historyStorage()
{
    // Newest first. Stored commands are never blank, so the trailing empty entry
    // marks the end when walking back down from the oldest.
    const auto olderEntries = [](HistoryLineEdit& edit) {
        QString oldest;
        for (int i = 0; i < 20; ++i)
            oldest = edit.getOlderEntry();
        QStringList entries;
        if (oldest.isEmpty())
            return entries;
        entries.prepend(oldest);
        for (QString entry = edit.getNewerEntry(); !entry.isEmpty(); entry = edit.getNewerEntry())
            entries.prepend(entry);
        return entries;
    };

    HistoryLineEdit twice;
    twice.storeCommandInHistory(QStringLiteral("A"));
    twice.storeCommandInHistory(QStringLiteral("A"));
    QCOMPARE(olderEntries(twice), QStringList{QStringLiteral("A")});

    HistoryLineEdit alternating;
    for (const char* command : {"A", "B", "A"})
        alternating.storeCommandInHistory(QString::fromLatin1(command));
    QCOMPARE(olderEntries(alternating), (QStringList{"A", "B", "A"}));

    HistoryLineEdit blanks;
    blanks.storeCommandInHistory(QStringLiteral("A"));
    blanks.storeCommandInHistory(QStringLiteral("   "));
    blanks.storeCommandInHistory(QString());
    QCOMPARE(olderEntries(blanks), QStringList{QStringLiteral("A")});
    // The command is kept as typed, surrounding spaces included.
    blanks.storeCommandInHistory(QStringLiteral(" reset "));
    QCOMPARE(olderEntries(blanks), (QStringList{" reset ", "A"}));
}

void TestInputWidgets::historyKeys()
{
    HistoryLineEdit edit;
    edit.storeCommandInHistory(QStringLiteral("device info"));
    edit.storeCommandInHistory(QStringLiteral("reset"));
    QTest::keyClicks(&edit, QStringLiteral("half"));

    QTest::keyClick(&edit, Qt::Key_Up);
    QCOMPARE(edit.text(), QStringLiteral("reset"));
    QCOMPARE(edit.cursorPosition(), 5);
    QTest::keyClick(&edit, Qt::Key_Up);
    QCOMPARE(edit.text(), QStringLiteral("device info"));
    QTest::keyClick(&edit, Qt::Key_Down);
    QCOMPARE(edit.text(), QStringLiteral("reset"));
    QTest::keyClick(&edit, Qt::Key_Down);
    QCOMPARE(edit.text(), QString());

    // Ordinary keys, with or without Control outside the control range, edit as usual.
    QSignalSpy spy(&edit, &HistoryLineEdit::controlCharacter);
    QTest::keyClicks(&edit, QStringLiteral("ab"));
    QTest::keyClick(&edit, Qt::Key_Left, Qt::ControlModifier);
    QTest::keyClick(&edit, Qt::Key_X);
    QCOMPARE(edit.text(), QStringLiteral("xab"));
    QCOMPARE(spy.count(), 0);
}

void TestInputWidgets::controlCharacters_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("text");
    QTest::newRow("at") << int(Qt::Key_At) << 0 << "^@";
    QTest::newRow("C") << int(Qt::Key_C) << 3 << "^C";
    QTest::newRow("Z") << int(Qt::Key_Z) << 26 << "^Z";
    QTest::newRow("bracket") << int(Qt::Key_BracketLeft) << 27 << "^[";
    QTest::newRow("underscore") << int(Qt::Key_Underscore) << 31 << "^_";
}

void TestInputWidgets::controlCharacters()
{
    QFETCH(int, key);
    QFETCH(int, code);
    QFETCH(QString, text);

    HistoryLineEdit edit;
    edit.setText(QStringLiteral("abc"));
    edit.selectAll();
    QApplication::clipboard()->setText(QStringLiteral("untouched"));
    QSignalSpy spy(&edit, &HistoryLineEdit::controlCharacter);

    QTest::keyClick(&edit, Qt::Key(key), Qt::ControlModifier);

    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0).at(0).value<uint8_t>(), uint8_t(code));
    QCOMPARE(spy.at(0).at(1).toString(), text);
    // Not handled as an editing shortcut: no copy, no select, no typing.
    QCOMPARE(edit.text(), QStringLiteral("abc"));
    QCOMPARE(edit.selectedText(), QStringLiteral("abc"));
    QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("untouched"));
}

void TestInputWidgets::droppableExtensions()
{
    DroppableLineEdit edit;
    QVERIFY(edit.acceptDrops());
    QVERIFY(edit.getSupportedExtensions().isEmpty());
    QVERIFY(!edit.isFileSupported(QStringLiteral("/tmp/job.hwj")));

    edit.setSupportedExtensions({QStringLiteral(".bin"), QStringLiteral(".s37")});
    QCOMPARE(edit.getSupportedExtensions(), (QStringList{".bin", ".s37"}));
    QVERIFY(edit.isFileSupported(QStringLiteral("/tmp/app.bin")));
    QVERIFY(edit.isFileSupported(QStringLiteral("/tmp/APP.S37")));
    QVERIFY(!edit.isFileSupported(QStringLiteral("/tmp/app.bin.bak")));
    QVERIFY(!edit.isFileSupported(QStringLiteral("/tmp/app.hex")));
}

static bool sendDrop(QWidget* target, const QList<QUrl>& urls, const QString& text = QString())
{
    QMimeData mimeData;
    if (!urls.isEmpty())
        mimeData.setUrls(urls);
    if (!text.isEmpty())
        mimeData.setText(text);
    // The application delivers a drop only to the widget that took the drag's
    // entry, so enter first as a real drag would.
    QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &mimeData, Qt::LeftButton, Qt::NoModifier);
    enter.setAccepted(false);
    QApplication::sendEvent(target, &enter);
    if (!enter.isAccepted())
        return false;
    QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &mimeData, Qt::LeftButton, Qt::NoModifier);
    drop.setAccepted(false);
    QApplication::sendEvent(target, &drop);
    return drop.isAccepted();
}

void TestInputWidgets::droppableDrop()
{
    DroppableLineEdit edit;
    edit.setSupportedExtensions({QStringLiteral(".hwj")});
    QSignalSpy spy(&edit, &DroppableLineEdit::fileDropped);

    const QString first = QStringLiteral("/tmp/bench-left/first.HWJ");
    const QString second = QStringLiteral("/tmp/bench-left/second.hwj");

    // Two files at once: nothing happens, but the drop is still taken.
    QVERIFY(sendDrop(&edit, {QUrl::fromLocalFile(first), QUrl::fromLocalFile(second)}));
    QCOMPARE(edit.text(), QString());
    QCOMPARE(spy.count(), 0);

    // Unsupported extension or plain text: ignored.
    QVERIFY(sendDrop(&edit, {QUrl::fromLocalFile(QStringLiteral("/tmp/notes.txt"))}));
    QVERIFY(sendDrop(&edit, {}, QStringLiteral("/tmp/typed.hwj")));
    QCOMPARE(edit.text(), QString());
    QCOMPARE(spy.count(), 0);

    // One supported file, extension in another case: fills the field.
    QVERIFY(sendDrop(&edit, {QUrl::fromLocalFile(first)}));
    QCOMPARE(edit.text(), first);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0).at(0).toString(), first);

    // A later drop replaces the text rather than inserting into it.
    QVERIFY(sendDrop(&edit, {QUrl::fromLocalFile(second)}));
    QCOMPARE(edit.text(), second);
    QCOMPARE(spy.count(), 2);
}

void TestInputWidgets::comboBoxAnnouncesPopupBeforeShowing()
{
    QWidget window;
    auto* combo = new DynamicComboBox(&window);
    combo->addItem(QStringLiteral("N/A"));
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));

    bool popupVisibleWhenAnnounced = true;
    int announcements = 0;
    connect(combo, &DynamicComboBox::showingPopup, combo, [&] {
        ++announcements;
        popupVisibleWhenAnnounced = combo->view()->isVisible();
        // The receiver refills the items just before they are shown.
        combo->clear();
        combo->addItems({QStringLiteral("USB"), QStringLiteral("IP")});
    });

    combo->showPopup();
    QCOMPARE(announcements, 1);
    QVERIFY(!popupVisibleWhenAnnounced);
    QTRY_VERIFY(combo->view()->isVisible());
    QCOMPARE(combo->view()->model()->rowCount(), 2);
    QCOMPARE(combo->itemText(0), QStringLiteral("USB"));
    combo->hidePopup();
}

void TestInputWidgets::comboBoxIgnoresWheel()
{
    DynamicComboBox combo;
    combo.addItems({QStringLiteral("USB"), QStringLiteral("IP"), QStringLiteral("N/A")});
    combo.setCurrentIndex(1);
    QSignalSpy spy(&combo, QOverload<int>::of(&QComboBox::currentIndexChanged));

    for (const int delta : {-120, 120, -240}) {
        QWheelEvent wheel(QPointF(5, 5), QPointF(5, 5), QPoint(), QPoint(0, delta), Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(&combo, &wheel);
        // Ignored, so the scroll area around the box gets to scroll.
        QVERIFY(!wheel.isAccepted());
    }
    QCOMPARE(combo.currentIndex(), 1);
    QCOMPARE(spy.count(), 0);
}

void TestInputWidgets::selectAllOnFocus()
{
    QWidget window;
    auto* layout = new QVBoxLayout(&window);
    auto* other = new QLineEdit(QStringLiteral("other"), &window);
    auto* edit = new QLineEdit(QStringLiteral("KM32G101F512"), &window);
    auto* button = new QPushButton(QStringLiteral("Add"), &window);
    layout->addWidget(other);
    layout->addWidget(edit);
    layout->addWidget(button);
    SelectAllOnClickFilter filter;
    edit->installEventFilter(&filter);
    button->installEventFilter(&filter);
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));

    other->setFocus();
    QTRY_VERIFY(other->hasFocus());
    QVERIFY(!edit->hasSelectedText());

    // A click gives the focus and places the cursor; the queued select-all wins.
    QTest::mouseClick(edit, Qt::LeftButton, Qt::NoModifier, QPoint(10, edit->height() / 2));
    QVERIFY(edit->hasFocus());
    QTRY_COMPARE(edit->selectedText(), QStringLiteral("KM32G101F512"));

    // The filter never swallows an event and leaves other events alone.
    edit->deselect();
    QEvent keyEvent(QEvent::KeyPress);
    QVERIFY(!filter.eventFilter(edit, &keyEvent));
    QFocusEvent focusIn(QEvent::FocusIn, Qt::MouseFocusReason);
    QVERIFY(!filter.eventFilter(button, &focusIn));
    QCoreApplication::processEvents();
    QVERIFY(!edit->hasSelectedText());
}

HARNWICK_TEST(TestInputWidgets)
#include "tst_inputwidgets.moc"
