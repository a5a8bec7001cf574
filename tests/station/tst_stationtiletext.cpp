#include "stationtiletext.h"
#include "testregistry.h"

#include <QSet>
#include <QtTest>

Q_DECLARE_METATYPE(StationSlot::State)
Q_DECLARE_METATYPE(StationTileText::Shape)

class TestStationTileText : public QObject
{
    Q_OBJECT

private slots:
    void text_data()
    {
        QTest::addColumn<StationSlot::State>("state");
        QTest::addColumn<int>("action");
        QTest::addColumn<int>("percent");
        QTest::addColumn<QString>("reason");
        QTest::addColumn<QString>("word");
        QTest::addColumn<StationTileText::Shape>("shape");
        QTest::addColumn<QString>("detail");

        using S = StationSlot::State;
        using Sh = StationTileText::Shape;
        QTest::newRow("ready") << S::Ready << 0 << -1 << QString() << "READY" << Sh::Ring
                               << "Waiting for a board";
        QTest::newRow("running, before the first action")
            << S::Running << 0 << -1 << QString() << "RUNNING" << Sh::Triangle << "Starting";
        QTest::newRow("running, no percent yet")
            << S::Running << 2 << -1 << QString() << "RUNNING" << Sh::Triangle << "action 2 of 3";
        QTest::newRow("running with percent")
            << S::Running << 3 << 47 << QString() << "RUNNING" << Sh::Triangle << "action 3 of 3, 47%";
        QTest::newRow("percent and action kept within bounds")
            << S::Running << 5 << 130 << QString() << "RUNNING" << Sh::Triangle << "action 3 of 3, 100%";
        QTest::newRow("pass") << S::Pass << 3 << 100 << QString() << "PASS" << Sh::Disc
                              << "Take the board out";
        QTest::newRow("fail shows the first line of the reason")
            << S::Fail << 2 << 10 << "\n  Verify failed at 0x08001000  \nsecond line"
            << "FAIL" << Sh::Cross << "Verify failed at 0x08001000";
        QTest::newRow("fail without a reason")
            << S::Fail << 1 << -1 << QString() << "FAIL" << Sh::Cross << "No reason given";
        QTest::newRow("interrupted")
            << S::Interrupted << 0 << -1 << "cut short when the program ended"
            << "INTERRUPTED" << Sh::Square
            << "cut short when the program ended; take the board out or re-arm the slot";
        QTest::newRow("not allowed") << S::NotAllowed << 0 << -1 << QString() << "NOT ALLOWED" << Sh::Bar
                                     << "This adapter is not one of the job's";
    }

    void text()
    {
        QFETCH(StationSlot::State, state);
        QFETCH(int, action);
        QFETCH(int, percent);
        QFETCH(QString, reason);
        const StationTileText text = StationTileText::of(state, action, 3, percent, reason);
        QTEST(text.word, "word");
        QTEST(text.shape, "shape");
        QTEST(text.detail, "detail");
    }

    // An operator who cannot tell colours apart still tells every state apart by its shape.
    void everyStateHasItsOwnShape()
    {
        using S = StationSlot::State;
        QSet<int> shapes;
        QSet<QString> words;
        for (S state : {S::Ready, S::Running, S::Pass, S::Fail, S::Interrupted, S::NotAllowed}) {
            const StationTileText text = StationTileText::of(state, 1, 2, 50, QStringLiteral("why"));
            shapes.insert(int(text.shape));
            words.insert(text.word);
        }
        QCOMPARE(shapes.size(), 6);
        QCOMPARE(words.size(), 6);
    }
};

HARNWICK_TEST(TestStationTileText)
#include "tst_stationtiletext.moc"
