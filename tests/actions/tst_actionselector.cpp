#include "../devices/devicepagehelpers.h"
#include "actionpagehelpers.h"
#include "bulkoperationswidget.h"
#include "testregistry.h"

#include <QAbstractItemModelTester>
#include <QPointer>
#include <QTest>

using namespace ActionPage;

namespace {

using Tester = QAbstractItemModelTester;

// Letters name the actions in the order they were added.
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

int shownId(const BulkOperationsWidget& page)
{
    return stack(page)->currentWidget()->property("actionId").toInt();
}

void clickCell(const BulkOperationsWidget& page, int row, int column, Qt::KeyboardModifiers modifiers = {})
{
    const QRect rect = view(page)->visualRect(model(page)->index(row, column));
    QTest::mouseClick(view(page)->viewport(), Qt::LeftButton, modifiers, rect.center());
}

} // namespace

class TestActionSelector : public QObject
{
    Q_OBJECT

private slots:

    void addRemoveAndIdsFromOneCounter()
    {
        int next = -1;
        {
            BulkOperationsWidget page;
            Tester tester(model(page), Tester::FailureReportingMode::QtTest);
            QCOMPARE(stack(page)->count(), 1);
            QVERIFY(!runButton(page)->isEnabled());

            const int first = page.actionSelectorAddAction(false);
            QVERIFY(first >= 0);
            QCOMPARE(model(page)->item(0, 0)->checkState(), Qt::Unchecked);
            QCOMPARE(view(page)->currentIndex(), model(page)->index(0, 0));
            QCOMPARE(stack(page)->currentIndex(), 1);
            QVERIFY(runButton(page)->isEnabled());
            // The button adds enabled actions, whatever clicked() carries.
            QTest::mouseClick(page.findChild<QPushButton*>(QStringLiteral("actionSelectorAddButton")),
                              Qt::LeftButton);
            QCOMPARE(model(page)->item(1, 0)->checkState(), Qt::Checked);
            QCOMPARE(stack(page)->currentIndex(), 2);
            page.actionSelectorAddAction();
            QCOMPARE(ids(page), (QList<int>{first, first + 1, first + 2}));

            QPointer<QWidget> middlePage = editBox(page, first + 1);
            select(page, {1});
            page.actionSelectorRemoveHighlightedActions();
            QCOMPARE(rowTexts(page, 0), (QStringList{QStringLiteral("1"), QStringLiteral("2")}));
            QCOMPARE(ids(page), (QList<int>{first, first + 2}));
            QCOMPARE(stack(page)->widget(2)->property("actionId").toInt(), first + 2);
            QCOMPARE(stack(page)->currentIndex(), 0);
            QVERIFY(runButton(page)->isEnabled());
            // The page goes once control returns to the event loop.
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            QVERIFY(middlePage.isNull());

            // Rows apart from each other, removed in one go.
            addActions(page, 3);
            const QList<int> before = ids(page);
            select(page, {0, 2, 4});
            page.actionSelectorRemoveHighlightedActions();
            QCOMPARE(ids(page), (QList<int>{before[1], before[3]}));
            QVERIFY2(inconsistency(page).isEmpty(), qPrintable(inconsistency(page)));

            select(page, {0, 1});
            page.actionSelectorRemoveHighlightedActions();
            QVERIFY(!runButton(page)->isEnabled());
            // Removing everything does not hand out old ids again.
            next = page.actionSelectorAddAction();
            QCOMPARE(next, first + 6);
            page.actionEditorOpenAction(first); // a removed action's id shows the placeholder
            QCOMPARE(stack(page)->currentIndex(), 0);
        }
        // The counter belongs to the process, not to one page.
        BulkOperationsWidget other;
        QCOMPARE(other.actionSelectorAddAction(), next + 1);
    }

    void singleMovesAndArrowClicks()
    {
        BulkOperationsWidget page;
        page.resize(1200, 900);
        page.show();
        QVERIFY(QTest::qWaitForWindowExposed(&page));
        const QList<int> added = addActions(page, 3);
        page.actionEditorOpenAction(added[0]);
        page.actionSelectorMoveActionDown(2);
        page.actionSelectorMoveActionUp(-1);
        page.actionSelectorMoveActionDown(-1);
        QCOMPARE(order(page, added), QStringLiteral("abc"));
        QCOMPARE(stack(page)->currentIndex(), 1); // refused moves leave the editor alone

        // The up arrow of the top row moves nothing but still selects that row.
        select(page, {2});
        clickCell(page, 0, 2);
        QCOMPARE(order(page, added), QStringLiteral("abc"));
        QCOMPARE(selectedRows(page), QList<int>{0});

        clickCell(page, 2, 2);
        QCOMPARE(order(page, added), QStringLiteral("acb"));
        QCOMPARE(selectedRows(page), QList<int>{1});
        QCOMPARE(view(page)->currentIndex(), model(page)->index(1, 0));
        QCOMPARE(shownId(page), added[2]);
        clickCell(page, 2, 3);
        QCOMPARE(selectedRows(page), QList<int>{2});
        clickCell(page, 0, 3);
        QCOMPARE(order(page, added), QStringLiteral("cab"));
        QCOMPARE(selectedRows(page), QList<int>{1});
        QCOMPARE(shownId(page), added[0]);
        QVERIFY2(inconsistency(page).isEmpty(), qPrintable(inconsistency(page)));

        // The name opens that action's page.
        clickCell(page, 2, 1);
        QCOMPARE(shownId(page), added[1]);

        // With two rows highlighted a click shows the placeholder and moves nothing.
        clickCell(page, 0, 3, Qt::ControlModifier);
        QCOMPARE(selectedRows(page), (QList<int>{0, 2}));
        QCOMPARE(order(page, added), QStringLiteral("cab"));
        QCOMPARE(stack(page)->currentIndex(), 0);
    }

    void highlightedMoves_data()
    {
        QTest::addColumn<QString>("operation");
        QTest::addColumn<QList<int>>("highlighted");
        QTest::addColumn<QString>("expectedOrder");
        QTest::addColumn<QList<int>>("expectedSelection");

        QTest::newRow("up, apart") << "up" << QList<int>{1, 3} << "badce" << QList<int>{0, 2};
        // The top row stays; the row below it moves past it and the selection collapses.
        QTest::newRow("up, top included") << "up" << QList<int>{0, 1} << "bacde" << QList<int>{0};
        QTest::newRow("down, last only") << "down" << QList<int>{4} << "abcde" << QList<int>{4};
        QTest::newRow("down, bottom included") << "down" << QList<int>{3, 4} << "abced" << QList<int>{4};
        QTest::newRow("down, apart") << "down" << QList<int>{0, 2} << "badce" << QList<int>{1, 3};
        QTest::newRow("top") << "top" << QList<int>{2, 4} << "ceabd" << QList<int>{0, 1};
        QTest::newRow("top, single") << "top" << QList<int>{3} << "dabce" << QList<int>{0};
        QTest::newRow("bottom") << "bottom" << QList<int>{0, 2} << "bdeac" << QList<int>{3, 4};
        QTest::newRow("bottom, three") << "bottom" << QList<int>{0, 1, 4} << "cdabe" << QList<int>{2, 3, 4};
    }

    void highlightedMoves()
    {
        QFETCH(QString, operation);
        QFETCH(QList<int>, highlighted);
        QFETCH(QString, expectedOrder);
        QFETCH(QList<int>, expectedSelection);

        BulkOperationsWidget page;
        Tester tester(model(page), Tester::FailureReportingMode::QtTest);
        const QList<int> added = addActions(page, 5);
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
        QCOMPARE(stack(page)->currentIndex() == 0, highlighted.size() > 1);
    }

    void contextMenuEnablesMovesAndRemoves()
    {
        BulkOperationsWidget page;
        page.resize(1200, 900);
        page.show();
        QVERIFY(QTest::qWaitForWindowExposed(&page));
        const QList<int> added = addActions(page, 3);
        // Whether a menu came up at the point, its entry `choice` triggered.
        const auto menuAt = [&page](const QPoint& point, const QString& choice) {
            return !DevicePage::poppedUpMenu([&] { page.actionSelectorShowContextMenu(point); }, choice)
                        .isEmpty();
        };
        const auto onRow = [&](const QList<int>& rows, const char* entry) {
            select(page, rows);
            return menuAt(view(page)->visualRect(model(page)->index(rows.first(), 1)).center(), entry);
        };
        const auto states = [&page] {
            QString result; // "x" checked, "-" unchecked
            for (int row = 0; row < model(page)->rowCount(); ++row)
                result.append(model(page)->item(row, 0)->checkState() == Qt::Checked ? 'x' : '-');
            return result;
        };

        // Below the last row there is nothing to act on.
        const QPoint empty(10, view(page)->viewport()->height() - 5);
        QVERIFY(!view(page)->indexAt(empty).isValid());
        QVERIFY(!menuAt(empty, QStringLiteral("Remove")));

        QVERIFY(onRow({0, 2}, "Disable"));
        QCOMPARE(states(), QStringLiteral("-x-"));
        QCOMPARE(ids(page), added); // disabled actions stay, with their pages
        QVERIFY(onRow({0, 1}, "Enable"));
        QCOMPARE(states(), QStringLiteral("xx-"));
        // The check state travels with its row.
        QVERIFY(onRow({2}, "Move to Top"));
        QCOMPARE(order(page, added), QStringLiteral("cab"));
        QCOMPARE(states(), QStringLiteral("-xx"));
        QVERIFY(onRow({0, 1}, "Remove"));
        QCOMPARE(ids(page), QList<int>{added[1]});
        QVERIFY(inconsistency(page).isEmpty());
    }

    void paletteSwitchesArrowIcons()
    {
        BulkOperationsWidget page;
        addActions(page, 2);
        const auto arrowsAre = [&page](const QString& suffix) {
            bool all = true;
            for (int row = 0; row < model(page)->rowCount(); ++row)
                all = all &&
                      DevicePage::sameIcon(model(page)->item(row, 2)->icon(), ":/graphics/up-" + suffix) &&
                      DevicePage::sameIcon(model(page)->item(row, 3)->icon(), ":/graphics/down-" + suffix);
            return all;
        };
        QVERIFY(!DevicePage::sameIcon(QIcon(":/graphics/up-light.png"), ":/graphics/up-dark.png"));
        const auto setWindowColour = [&page](const QColor& colour) {
            QPalette palette = page.palette();
            palette.setColor(QPalette::Window, colour);
            page.setPalette(palette);
        };

        setWindowColour(QColor(40, 40, 40));
        QVERIFY(arrowsAre("dark.png"));
        page.actionSelectorAddAction(); // rows added now start with the dark arrows too
        QVERIFY(arrowsAre("dark.png"));
        setWindowColour(QColor(230, 230, 230));
        QVERIFY(arrowsAre("light.png"));
    }
};

HARNWICK_TEST(TestActionSelector)
#include "tst_actionselector.moc"
