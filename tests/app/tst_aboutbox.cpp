#include "aboutbox.h"
#include "testregistry.h"

#include <QImage>
#include <QMessageBox>
#include <QTest>

class TestAboutBox : public QObject
{
    Q_OBJECT

private slots:
    void seasonalIcon_data()
    {
        QTest::addColumn<QDate>("day");
        QTest::addColumn<QString>("expected");
        const QString normal = QStringLiteral(":/icons/Harnwick256.png");
        const QString pumpkin = QStringLiteral(":/icons/Harnwick256-pumpkin.png");
        QTest::newRow("30 October") << QDate(2025, 10, 30) << normal;
        QTest::newRow("31 October") << QDate(2025, 10, 31) << pumpkin;
        QTest::newRow("1 November") << QDate(2025, 11, 1) << normal;
        QTest::newRow("31 October, other year") << QDate(2031, 10, 31) << pumpkin;
        QTest::newRow("31 December") << QDate(2025, 12, 31) << normal;
    }

    void seasonalIcon()
    {
        QFETCH(QDate, day);
        QFETCH(QString, expected);
        QCOMPARE(AboutBox::iconPathForDate(QStringLiteral(":/icons/Harnwick256.png"), day), expected);
        // Without a seasonal variant the usual icon stays.
        QCOMPARE(AboutBox::iconPathForDate(QStringLiteral(":/icons/nothing.png"), day),
                 QStringLiteral(":/icons/nothing.png"));

        // The dialog shows exactly that image.
        AboutBox about;
        auto box = about.build(QStringLiteral("Harnwick"), QStringLiteral("0v1p1b1957"), 2025,
                               QStringLiteral(":/icons/Harnwick256.png"), {}, day);
        QCOMPARE(box->iconPixmap().toImage(),
                 QImage(expected).convertToFormat(box->iconPixmap().toImage().format()));
    }

    void dialogContent()
    {
        AboutBox about;
        QCOMPARE(about.lib(QStringLiteral("yaml"), QStringLiteral("0.7"), QStringLiteral("MIT")),
                 QStringLiteral("yaml 0.7 (MIT)"));
        QVERIFY(about.libQt().startsWith(QStringLiteral("Qt 5.15.11 (")));
        QVERIFY(about.libQt().contains(QStringLiteral("LGPL")));

        auto box = about.build(QStringLiteral("Harnwick"), QStringLiteral("0v1p1b1957"), 2025,
                               QStringLiteral(":/icons/Harnwick256.png"), {about.libQt()}, QDate(2025, 6, 1));
        QCOMPARE(box->windowTitle(), QStringLiteral("About Harnwick"));
        QCOMPARE(box->text(), QStringLiteral("<h1>Harnwick 0v1p1b1957</h1>"));

        const QString text = box->informativeText();
        const int copyright = text.indexOf(QStringLiteral("2025"));
        const int guides = text.indexOf(QStringLiteral("Online user guides:"));
        const int based = text.indexOf(QStringLiteral("Harnwick is based on:<br>Qt 5.15.11"));
        const int licence = text.indexOf(QStringLiteral("LGPL.txt"));
        QVERIFY(copyright >= 0 && copyright < guides);
        QVERIFY(guides < based);
        QVERIFY(based < licence);
        QVERIFY(text.contains(AboutBox::corvaneUserGuideUrl()));
        QVERIFY(text.contains(AboutBox::linkAdapterUserGuideUrl()));

        // No libraries: no "based on" line at all.
        QVERIFY(!about.informativeText(QStringLiteral("Harnwick"), 2025, {})
                     .contains(QStringLiteral("based on")));
    }
};

HARNWICK_TEST(TestAboutBox)
#include "tst_aboutbox.moc"
