#include "actionpagehelpers.h"
#include "bulkoperationswidget.h"
#include "testregistry.h"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QMenu>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

using namespace ActionPage;

namespace {

// Letters name the actions of a five-row list in the order they were added.
QString order(const BulkOperationsWidget& page, const QList<int>& added)
{
    QString letters;
    for (int id : ids(page))
        letters.append(QChar('a' + added.indexOf(id)));
    return letters;
}

QList<int> addActions(BulkOperationsWidget& page, int count)
{
    QList<int> added;
    for (int i = 0; i < count; ++i)
        added.append(page.actionSelectorAddAction());
    return added;
}

void clickCell(const BulkOperationsWidget& page, int row, int column,
               Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    QTreeView* v = view(page);
    const QRect rect = v->visualRect(model(page)->index(row, column));
    QTest::mouseClick(v->viewport(), Qt::LeftButton, modifiers, rect.center());
}

} // namespace

class TestActionSelector : public QObject
{
    Q_OBJECT

private slots:
    void modelLayout();
    void idsComeFromOneCounter();
    void removeRenumbersAndDropsPages();
    void singleMovesStopAtTheEdges();
    void arrowClicks();
    void highlightedMoves_data();
    void highlightedMoves();
    void enableAndDisable();
    void contextMenu();
    void paletteSwitchesArrowIcons();
};

void TestActionSelector::modelLayout()
{
    BulkOperationsWidget page;
    QStandardItemModel* m = model(page);
    QCOMPARE(m->columnCount(), 4);

    QTreeView* v = view(page);
    QCOMPARE(v->selectionMode(), QAbstractItemView::ExtendedSelection);
    QCOMPARE(v->contextMenuPolicy(), Qt::CustomContextMenu);

    // The page starts with the placeholder only and nothing to run.
    QCOMPARE(stack(page)->count(), 1);
    QVERIFY(!runButton(page)->isEnabled());

    const int id = page.actionSelectorAddAction(false);
    QStandardItem* enabled = m->item(0, 0);
    QCOMPARE(enabled->text(), QStringLiteral("1"));
    QVERIFY(enabled->isCheckable());
    QVERIFY(!enabled->isEditable());
    QCOMPARE(enabled->checkState(), Qt::Unchecked);
    QCOMPARE(m->item(0, 1)->text(), QStringLiteral("Select Action..."));
    QCOMPARE(m->item(0, 1)->data(Qt::UserRole + 1).toInt(), id);
    QVERIFY(!m->item(0, 1)->isEditable());
    QVERIFY(m->item(0, 2)->text().isEmpty());
    QVERIFY(!m->item(0, 2)->icon().isNull());
    QVERIFY(!m->item(0, 3)->icon().isNull());

    // The new action is current and its editor page is shown.
    QCOMPARE(v->currentIndex(), m->index(0, 0));
    QCOMPARE(stack(page)->currentIndex(), 1);
    QVERIFY(runButton(page)->isEnabled());

    // The button adds enabled actions, whatever clicked() carries.
    auto* add = page.findChild<QPushButton*>(QStringLiteral("actionSelectorAddButton"));
    QVERIFY(add);
    QTest::mouseClick(add, Qt::LeftButton);
    QCOMPARE(m->rowCount(), 2);
    QCOMPARE(m->item(1, 0)->checkState(), Qt::Checked);
    QCOMPARE(m->item(1, 0)->text(), QStringLiteral("2"));
    QCOMPARE(stack(page)->currentIndex(), 2);
    QVERIFY(inconsistency(page).isEmpty());
}

void TestActionSelector::idsComeFromOneCounter()
{
    int next = -1;
    {
        BulkOperationsWidget page;
        QAbstractItemModelTester tester(model(page), QAbstractItemModelTester::FailureReportingMode::QtTest);
        const int first = page.actionSelectorAddAction();
        const int second = page.actionSelectorAddAction();
        QVERIFY(first >= 0);
        QCOMPARE(second, first + 1);

        select(page, {0, 1});
        page.actionSelectorRemoveHighlightedActions();
        QCOMPARE(model(page)->rowCount(), 0);
        QVERIFY(!runButton(page)->isEnabled());
        QCOMPARE(stack(page)->currentIndex(), 0);

        // Removing everything does not hand out old ids again.
        next = page.actionSelectorAddAction();
        QCOMPARE(next, second + 1);
        QCOMPARE(ids(page), QList<int>{next});
    }
    // The counter belongs to the process, not to one page.
    BulkOperationsWidget other;
    QCOMPARE(other.actionSelectorAddAction(), next + 1);
}

void TestActionSelector::removeRenumbersAndDropsPages()
{
    BulkOperationsWidget page;
    QAbstractItemModelTester tester(model(page), QAbstractItemModelTester::FailureReportingMode::QtTest);
    const QList<int> added = addActions(page, 3);

    QPointer<QWidget> middlePage = editBox(page, added[1]);
    QVERIFY(middlePage);
    select(page, {1});
    page.actionSelectorRemoveHighlightedActions();
    QCOMPARE(rowTexts(page, 0), (QStringList{QStringLiteral("1"), QStringLiteral("2")}));
    QCOMPARE(ids(page), (QList<int>{added[0], added[2]}));
    QCOMPARE(stack(page)->widget(2)->property("actionId").toInt(), added[2]);
    QCOMPARE(stack(page)->currentIndex(), 0);
    QVERIFY(runButton(page)->isEnabled());
    QVERIFY(inconsistency(page).isEmpty());
    // The page goes once control returns to the event loop.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(middlePage.isNull());

    // Rows apart from each other, removed in one go.
    const QList<int> more = addActions(page, 3);
    const QList<int> before = ids(page);
    select(page, {0, 2, 4});
    page.actionSelectorRemoveHighlightedActions();
    QCOMPARE(ids(page), (QList<int>{before[1], before[3]}));
    QVERIFY2(inconsistency(page).isEmpty(), qPrintable(inconsistency(page)));

    // Nothing highlighted: nothing removed.
    select(page, {});
    page.actionSelectorRemoveHighlightedActions();
    QCOMPARE(model(page)->rowCount(), 2);
}

void TestActionSelector::singleMovesStopAtTheEdges()
{
    BulkOperationsWidget page;
    QAbstractItemModelTester tester(model(page), QAbstractItemModelTester::FailureReportingMode::QtTest);
    const QList<int> added = addActions(page, 3);
    page.actionEditorOpenAction(added[0]);

    page.actionSelectorMoveActionUp(0);
    page.actionSelectorMoveActionDown(2);
    page.actionSelectorMoveActionUp(-1);
    page.actionSelectorMoveActionDown(-1);
    page.actionSelectorMoveActionDown(7);
    QCOMPARE(order(page, added), QStringLiteral("abc"));
    // Refused moves leave the editor where it was.
    QCOMPARE(stack(page)->currentIndex(), 1);

    page.actionSelectorMoveActionUp(2);
    QCOMPARE(order(page, added), QStringLiteral("acb"));
    QVERIFY2(inconsistency(page).isEmpty(), qPrintable(inconsistency(page)));
    QCOMPARE(stack(page)->currentWidget()->property("actionId").toInt(), added[2]);
    QCOMPARE(view(page)->currentIndex(), model(page)->index(1, 0));

    page.actionSelectorMoveActionDown(0);
    QCOMPARE(order(page, added), QStringLiteral("cab"));
    QVERIFY2(inconsistency(page).isEmpty(), qPrintable(inconsistency(page)));
    QCOMPARE(stack(page)->currentWidget()->property("actionId").toInt(), added[0]);
    QCOMPARE(view(page)->currentIndex(), model(page)->index(1, 0));

    // Opening an id that no longer exists shows the placeholder.
    page.actionEditorOpenAction(added[2] + 1000);
    QCOMPARE(stack(page)->currentIndex(), 0);
}

void TestActionSelector::arrowClicks()
{
    BulkOperationsWidget page;
    page.resize(1200, 900);
    page.show();
    QVERIFY(QTest::qWaitForWindowExposed(&page));
    const QList<int> added = addActions(page, 3);

    // The up arrow of the top row moves nothing but still selects that row.
    select(page, {2});
    clickCell(page, 0, 2);
    QCOMPARE(order(page, added), QStringLiteral("abc"));
    QCOMPARE(selectedRows(page), QList<int>{0});

    clickCell(page, 2, 2);
    QCOMPARE(order(page, added), QStringLiteral("acb"));
    QCOMPARE(selectedRows(page), QList<int>{1});
    QCOMPARE(stack(page)->currentWidget()->property("actionId").toInt(), added[2]);

    clickCell(page, 2, 3);
    QCOMPARE(order(page, added), QStringLiteral("acb"));
    QCOMPARE(selectedRows(page), QList<int>{2});

    clickCell(page, 0, 3);
    QCOMPARE(order(page, added), QStringLiteral("cab"));
    QCOMPARE(selectedRows(page), QList<int>{1});
    QVERIFY2(inconsistency(page).isEmpty(), qPrintable(inconsistency(page)));

    // The name opens that action's page.
    clickCell(page, 2, 1);
    QCOMPARE(stack(page)->currentWidget()->property("actionId").toInt(), added[1]);

    // With two rows highlighted a click shows the placeholder and moves nothing.
    clickCell(page, 0, 3, Qt::ControlModifier);
    QCOMPARE(selectedRows(page), (QList<int>{0, 2}));
    QCOMPARE(order(page, added), QStringLiteral("cab"));
    QCOMPARE(stack(page)->currentIndex(), 0);

    // The check box cell toggles the action and leaves the order alone.
    select(page, {1});
    const QRect checkRect = view(page)->visualRect(model(page)->index(1, 0));
    QTest::mouseClick(view(page)->viewport(), Qt::LeftButton, Qt::NoModifier,
                      QPoint(checkRect.left() + 10, checkRect.center().y()));
    QCOMPARE(model(page)->item(1, 0)->checkState(), Qt::Unchecked);
    QCOMPARE(order(page, added), QStringLiteral("cab"));
}

void TestActionSelector::highlightedMoves_data()
{
    QTest::addColumn<QString>("operation");
    QTest::addColumn<QList<int>>("highlighted");
    QTest::addColumn<QString>("expectedOrder");
    QTest::addColumn<QList<int>>("expectedSelection");

    QTest::newRow("up, apart") << "up" << QList<int>{1, 3} << "badce" << QList<int>{0, 2};
    // The top row stays; the row below it moves past it and the selection collapses.
    QTest::newRow("up, top included") << "up" << QList<int>{0, 1} << "bacde" << QList<int>{0};
    QTest::newRow("up, block") << "up" << QList<int>{2, 3} << "acdbe" << QList<int>{1, 2};
    QTest::newRow("down, last only") << "down" << QList<int>{4} << "abcde" << QList<int>{4};
    QTest::newRow("down, bottom included") << "down" << QList<int>{3, 4} << "abced" << QList<int>{4};
    QTest::newRow("down, apart") << "down" << QList<int>{0, 2} << "badce" << QList<int>{1, 3};
    QTest::newRow("top") << "top" << QList<int>{2, 4} << "ceabd" << QList<int>{0, 1};
    QTest::newRow("top, already there") << "top" << QList<int>{0, 1} << "abcde" << QList<int>{0, 1};
    QTest::newRow("top, single") << "top" << QList<int>{3} << "dabce" << QList<int>{0};
    QTest::newRow("bottom") << "bottom" << QList<int>{0, 2} << "bdeac" << QList<int>{3, 4};
    QTest::newRow("bottom, three") << "bottom" << QList<int>{0, 1, 4} << "cdabe" << QList<int>{2, 3, 4};
}

void TestActionSelector::highlightedMoves()
{
    QFETCH(QString, operation);
    QFETCH(QList<int>, highlighted);
    QFETCH(QString, expectedOrder);
    QFETCH(QList<int>, expectedSelection);

    BulkOperationsWidget page;
    QAbstractItemModelTester tester(model(page), QAbstractItemModelTester::FailureReportingMode::QtTest);
    const QList<int> added = addActions(page, 5);
    page.actionEditorOpenAction(added[4]);
    select(page, highlighted);

    if (operation == QLatin1String("up"))
        page.actionSelectorMoveHighlightedActionsUp();
    else if (operation == QLatin1String("down"))
        page.actionSelectorMoveHighlightedActionsDown();
    else if (operation == QLatin1String("top"))
        page.actionSelectorMoveHighlightedActionsToTop();
    else
        page.actionSelectorMoveHighlightedActionsToBottom();

    QCOMPARE(order(page, added), expectedOrder);
    QCOMPARE(selectedRows(page), expectedSelection);
    QVERIFY2(inconsistency(page).isEmpty(), qPrintable(inconsistency(page)));
    if (highlighted.size() > 1)
        QCOMPARE(stack(page)->currentIndex(), 0);
    else
        QVERIFY(stack(page)->currentIndex() > 0);
}

void TestActionSelector::enableAndDisable()
{
    BulkOperationsWidget page;
    QAbstractItemModelTester tester(model(page), QAbstractItemModelTester::FailureReportingMode::QtTest);
    const QList<int> added = addActions(page, 4);
    const auto states = [&page] {
        QList<Qt::CheckState> result;
        for (int row = 0; row < model(page)->rowCount(); ++row)
            result.append(model(page)->item(row, 0)->checkState());
        return result;
    };

    select(page, {1, 3});
    page.actionSelectorDisableHighlightedActions();
    QCOMPARE(states(), (QList<Qt::CheckState>{Qt::Checked, Qt::Unchecked, Qt::Checked, Qt::Unchecked}));
    // Disabled actions stay, with their pages.
    QCOMPARE(ids(page), added);
    QVERIFY(inconsistency(page).isEmpty());

    select(page, {0, 1});
    page.actionSelectorDisableHighlightedActions();
    page.actionSelectorEnableHighlightedActions();
    QCOMPARE(states(), (QList<Qt::CheckState>{Qt::Checked, Qt::Checked, Qt::Checked, Qt::Unchecked}));

    // The check state travels with its row.
    select(page, {3});
    page.actionSelectorMoveHighlightedActionsToTop();
    QCOMPARE(states(), (QList<Qt::CheckState>{Qt::Unchecked, Qt::Checked, Qt::Checked, Qt::Checked}));
    QCOMPARE(ids(page).first(), added[3]);
}

void TestActionSelector::contextMenu()
{
    BulkOperationsWidget page;
    page.resize(1200, 900);
    page.show();
    QVERIFY(QTest::qWaitForWindowExposed(&page));
    const QList<int> added = addActions(page, 3);
    QTreeView* v = view(page);

    QStringList seenTexts;
    QList<QImage> seenIcons;
    QString actionToTrigger;
    int menusShown = 0;
    // The menu runs its own event loop; inspect and drive it from inside.
    QTimer driver;
    driver.setInterval(20);
    connect(&driver, &QTimer::timeout, &page, [&] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        if (!menu)
            return;
        ++menusShown;
        seenTexts.clear();
        seenIcons.clear();
        QAction* chosen = nullptr;
        for (QAction* action : menu->actions()) {
            seenTexts.append(action->isSeparator() ? QStringLiteral("|") : action->text());
            if (!action->isSeparator())
                seenIcons.append(iconImage(action->icon()));
            if (action->text() == actionToTrigger)
                chosen = action;
        }
        menu->close();
        if (chosen)
            chosen->trigger();
    });
    driver.start();

    // Below the last row there is nothing to act on.
    const QPoint empty(10, v->viewport()->height() - 5);
    QVERIFY(!v->indexAt(empty).isValid());
    page.actionSelectorShowContextMenu(empty);
    QTest::qWait(100);
    QCOMPARE(menusShown, 0);

    select(page, {2});
    actionToTrigger = QStringLiteral("Move to Top");
    page.actionSelectorShowContextMenu(v->visualRect(model(page)->index(2, 1)).center());
    QCOMPARE(menusShown, 1);
    QCOMPARE(seenTexts, (QStringList{QStringLiteral("Move to Top"), QStringLiteral("Move Up"),
                                     QStringLiteral("Move Down"), QStringLiteral("Move to Bottom"),
                                     QStringLiteral("|"), QStringLiteral("Enable"), QStringLiteral("Disable"),
                                     QStringLiteral("|"), QStringLiteral("Remove")}));
    const QString suffix = BulkOperationsWidget::themedIconSuffix(page.palette());
    QCOMPARE(seenIcons.at(0), resourceImage(QStringLiteral(":/graphics/top%1.png").arg(suffix)));
    QCOMPARE(seenIcons.at(3), resourceImage(QStringLiteral(":/graphics/bottom%1.png").arg(suffix)));
    QCOMPARE(seenIcons.at(5),
             resourceImage(QStringLiteral(":/graphics/checkbox-unchecked%1.png").arg(suffix)));
    QCOMPARE(seenIcons.at(6), resourceImage(QStringLiteral(":/graphics/remove.png")));
    QCOMPARE(order(page, added), QStringLiteral("cab"));

    select(page, {0, 1});
    actionToTrigger = QStringLiteral("Remove");
    page.actionSelectorShowContextMenu(v->visualRect(model(page)->index(0, 1)).center());
    QCOMPARE(menusShown, 2);
    QCOMPARE(ids(page), QList<int>{added[1]});
    QVERIFY(inconsistency(page).isEmpty());
}

void TestActionSelector::paletteSwitchesArrowIcons()
{
    BulkOperationsWidget page;
    addActions(page, 2);
    const QImage upLight = resourceImage(QStringLiteral(":/graphics/up-light.png"));
    const QImage upDark = resourceImage(QStringLiteral(":/graphics/up-dark.png"));
    const QImage downLight = resourceImage(QStringLiteral(":/graphics/down-light.png"));
    const QImage downDark = resourceImage(QStringLiteral(":/graphics/down-dark.png"));
    QVERIFY(upLight != upDark);
    QVERIFY(downLight != downDark);
    const auto arrowsAre = [&page](const QImage& up, const QImage& down) {
        for (int row = 0; row < model(page)->rowCount(); ++row) {
            if (iconImage(model(page)->item(row, 2)->icon()) != up ||
                iconImage(model(page)->item(row, 3)->icon()) != down)
                return false;
        }
        return true;
    };

    QPalette dark = page.palette();
    dark.setColor(QPalette::Window, QColor(40, 40, 40));
    page.setPalette(dark);
    QVERIFY(arrowsAre(upDark, downDark));
    // Rows added now start with the dark arrows too.
    page.actionSelectorAddAction();
    QVERIFY(arrowsAre(upDark, downDark));

    QPalette light = page.palette();
    light.setColor(QPalette::Window, QColor(230, 230, 230));
    page.setPalette(light);
    QVERIFY(arrowsAre(upLight, downLight));

    // Lightness 127 counts as dark, 128 as light.
    QPalette edge = page.palette();
    edge.setColor(QPalette::Window, QColor::fromHsl(0, 0, 127));
    page.setPalette(edge);
    QVERIFY(arrowsAre(upDark, downDark));

    // Other changes leave the icons alone.
    model(page)->item(0, 2)->setIcon(QIcon(QStringLiteral(":/graphics/add.png")));
    QFont font = page.font();
    font.setPointSize(font.pointSize() + 3);
    page.setFont(font);
    page.setEnabled(false);
    QCOMPARE(iconImage(model(page)->item(0, 2)->icon()), resourceImage(QStringLiteral(":/graphics/add.png")));
}

HARNWICK_TEST(TestActionSelector)
#include "tst_actionselector.moc"
