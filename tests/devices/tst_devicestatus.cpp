#include "corporatecolors.h"
#include "devicepagehelpers.h"
#include "flashingrowstyledelegate.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QDateTime>
#include <QIcon>
#include <QImage>
#include <QTest>

using namespace DevicePage;

namespace {

QImage iconImage(const QIcon& icon)
{
    return icon.pixmap(16, 16).toImage().convertToFormat(QImage::Format_ARGB32);
}

bool sameIcon(const QIcon& icon, const char* path)
{
    return !icon.isNull() && iconImage(icon) == iconImage(QIcon(QString::fromLatin1(path)));
}

bool closeTo(const QColor& actual, const QColor& expected, int tolerance)
{
    return qAbs(actual.red() - expected.red()) <= tolerance &&
           qAbs(actual.green() - expected.green()) <= tolerance &&
           qAbs(actual.blue() - expected.blue()) <= tolerance;
}

} // namespace

class TestDeviceStatus : public QObject
{
    Q_OBJECT

    static QStandardItem* status(const BulkOperationsWidget& page, int row)
    {
        return model(page)->item(row, DeviceStatusColumn);
    }

    static bool flashing(const BulkOperationsWidget& page, int row)
    {
        for (int column = 0; column < DeviceColumnCount; ++column)
            for (int role = FlashingRowStyleDelegate::FlashStartRole;
                 role <= FlashingRowStyleDelegate::FlashFadeRole; ++role)
                if (!model(page)->index(row, column).data(role).isValid())
                    return false;
        return true;
    }

    // The colour painted in the middle of an empty cell of `row`.
    static QColor paintedColor(BulkOperationsWidget& page, int row)
    {
        DeviceSelectorTreeView* tree = view(page);
        const QRect cell = tree->visualRect(model(page)->index(row, DeviceStatusColumn));
        const QImage image = tree->viewport()->grab().toImage();
        return image.pixelColor(cell.center());
    }

private slots:
    void init() { TestEnvironment::clearSettings(); }

    void statusTexts()
    {
        BulkOperationsWidget page;
        page.addDeviceToTable("801002345", "", "", "", true, false, false, true);
        page.addDeviceToTable("801002346", "", "", "", true, false, false, true);

        const qint64 before = QDateTime::currentMSecsSinceEpoch();
        page.setDeviceStatusError(0, QStringLiteral("Adapter probe command failed."),
                                  QStringLiteral("details"));
        const qint64 after = QDateTime::currentMSecsSinceEpoch();
        QCOMPARE(status(page, 0)->text(), QStringLiteral("ERROR: Adapter probe command failed."));
        QCOMPARE(status(page, 0)->toolTip(), QStringLiteral("details"));
        QVERIFY(sameIcon(status(page, 0)->icon(), ":/graphics/dot-red.png"));
        // The whole row flashes red for 5000 ms, then fades for 2000 ms.
        QVERIFY(flashing(page, 0));
        for (int column = 0; column < DeviceColumnCount; ++column) {
            const QModelIndex index = model(page)->index(0, column);
            const qint64 start = index.data(FlashingRowStyleDelegate::FlashStartRole).toLongLong();
            QVERIFY(start >= before && start <= after);
            QCOMPARE(index.data(FlashingRowStyleDelegate::FlashColorRole).value<QColor>(), CORPORATE_RED);
            QCOMPARE(index.data(FlashingRowStyleDelegate::FlashHoldRole).toInt(), 5000);
            QCOMPARE(index.data(FlashingRowStyleDelegate::FlashFadeRole).toInt(), 2000);
        }
        QVERIFY(!flashing(page, 1));

        page.setDeviceStatusInfo(1, QStringLiteral("DONE (elapsed: 1.50 s)"), QString(), CORPORATE_GREEN);
        QVERIFY(sameIcon(status(page, 1)->icon(), ":/graphics/dot-green.png"));
        QVERIFY(flashing(page, 1));
        page.setDeviceStatusInfo(1, QStringLiteral("ABORTED"), QStringLiteral("Job was aborted by user"),
                                 CORPORATE_YELLOW);
        QVERIFY(sameIcon(status(page, 1)->icon(), ":/graphics/dot-yellow.png"));
        QCOMPARE(status(page, 1)->toolTip(), QStringLiteral("Job was aborted by user"));

        // Another colour keeps the dot and flashes in that colour.
        page.setDeviceStatusInfo(1, QStringLiteral("Programming 40%"), QString(), QColor(Qt::blue));
        QVERIFY(sameIcon(status(page, 1)->icon(), ":/graphics/dot-yellow.png"));
        QCOMPARE(model(page)->index(1, 3).data(FlashingRowStyleDelegate::FlashColorRole).value<QColor>(),
                 QColor(Qt::blue));

        // No colour: no dot, and no new flash.
        page.clearDeviceStatus(0);
        page.clearRowColor(0);
        for (int column = 0; column < DeviceColumnCount; ++column)
            model(page)->item(0, column)->setData(QVariant(), FlashingRowStyleDelegate::FlashStartRole);
        page.setDeviceStatusInfo(0, QStringLiteral("Running action 2"), QString(), QColor());
        QCOMPARE(status(page, 0)->text(), QStringLiteral("Running action 2"));
        QVERIFY(status(page, 0)->icon().isNull());
        QVERIFY(!flashing(page, 0));

        // Rows that do not exist are left alone.
        page.setDeviceStatusError(5, QStringLiteral("x"), QString());
        page.setDeviceStatusInfo(-1, QStringLiteral("x"), QString(), CORPORATE_GREEN);
        page.clearDeviceStatus(5);
        QCOMPARE(model(page)->rowCount(), 2);
    }

    void rowColours()
    {
        BulkOperationsWidget page;
        page.addDeviceToTable("801002345", "", "", "", true, false, false, true);
        page.setDeviceStatusError(0, QStringLiteral("failed"), QStringLiteral("output"));
        page.setRowColor(0, CORPORATE_GREEN);
        for (int column = 0; column < DeviceColumnCount; ++column)
            QCOMPARE(model(page)->index(0, column).data(Qt::BackgroundRole).value<QBrush>(),
                     QBrush(CORPORATE_GREEN));

        page.clearDeviceStatus(0);
        QCOMPARE(status(page, 0)->text(), QString());
        QCOMPARE(status(page, 0)->toolTip(), QString());
        QVERIFY(status(page, 0)->icon().isNull());
        for (int column = 0; column < DeviceColumnCount; ++column)
            QVERIFY(!model(page)->index(0, column).data(Qt::BackgroundRole).isValid());
    }

    void fillWeights_data()
    {
        QTest::addColumn<qint64>("elapsed");
        QTest::addColumn<int>("fade");
        QTest::addColumn<double>("weight");
        QTest::newRow("start") << qint64(0) << 2000 << 0.5;
        QTest::newRow("clock stepped back") << qint64(-300) << 2000 << 0.5;
        QTest::newRow("end of hold") << qint64(5000) << 2000 << 0.5;
        QTest::newRow("half faded") << qint64(6000) << 2000 << 0.125;
        QTest::newRow("three quarters") << qint64(6500) << 2000 << 0.03125;
        QTest::newRow("end of fade") << qint64(7000) << 2000 << 0.0;
        QTest::newRow("over") << qint64(7001) << 2000 << -1.0;
        QTest::newRow("no fade") << qint64(5001) << 0 << -1.0;
    }

    void fillWeights()
    {
        QFETCH(qint64, elapsed);
        QFETCH(int, fade);
        QFETCH(double, weight);
        QCOMPARE(FlashingRowStyleDelegate::fillWeight(elapsed, 5000, fade), weight);
    }

    void blending()
    {
        const QColor a(200, 100, 0);
        const QColor b(0, 100, 200, 40);
        QCOMPARE(BulkOperationsWidget::over(a, b, 2.0).rgba(), a.rgba());
        QCOMPARE(BulkOperationsWidget::over(a, b, -1.0).rgba(), QColor(0, 100, 200).rgba());
        const QColor half = BulkOperationsWidget::over(a, b, 0.5);
        QVERIFY(closeTo(half, QColor(100, 100, 100), 1));
        // Always opaque, whatever the inputs.
        QCOMPARE(half.alpha(), 255);
        QVERIFY(
            closeTo(BulkOperationsWidget::over(CORPORATE_RED, Qt::white, 0.125), QColor(250, 227, 228), 1));
    }

    void flashIsPaintedAndItsTimerStops()
    {
        BulkOperationsWidget page;
        page.resize(1200, 800);
        page.show();
        QVERIFY(QTest::qWaitForWindowExposed(&page));
        page.addDeviceToTable("801002345", "", "", "", true, false, false, true);
        page.addDeviceToTable("801002346", "", "", "", true, false, false, true);
        auto* delegate = qobject_cast<FlashingRowStyleDelegate*>(view(page)->itemDelegate());
        const QColor base = view(page)->palette().color(QPalette::Base);
        QVERIFY(closeTo(paintedColor(page, 0), base, 2));
        QVERIFY(!delegate->isRepainting());

        page.deviceSelectorFlashRow(0, CORPORATE_RED);
        QVERIFY(closeTo(paintedColor(page, 0), BulkOperationsWidget::over(CORPORATE_RED, base, 0.5), 2));
        QVERIFY(delegate->isRepainting());

        // 6000 ms in, the fill is an eighth of the flash colour.
        const qint64 now = QDateTime::currentMSecsSinceEpoch();
        auto setStart = [&page](int row, qint64 start) {
            for (int column = 0; column < DeviceColumnCount; ++column)
                model(page)->item(row, column)->setData(start, FlashingRowStyleDelegate::FlashStartRole);
        };
        setStart(0, now - 6000);
        QVERIFY(closeTo(paintedColor(page, 0), BulkOperationsWidget::over(CORPORATE_RED, base, 0.125), 8));

        // A highlighted row shows the selection, not the flash.
        setStart(0, now);
        highlight(page, {0});
        const QColor selected = paintedColor(page, 0);
        QVERIFY(!closeTo(selected, BulkOperationsWidget::over(CORPORATE_RED, base, 0.5), 10));
        highlight(page, {});

        // Once no flash is left to paint the timer stops by itself.
        setStart(0, now - 60000);
        QVERIFY(closeTo(paintedColor(page, 0), base, 2));
        QTRY_VERIFY(!delegate->isRepainting());
    }

    void flashDataIsRemovedAfterTheFlash()
    {
        BulkOperationsWidget page;
        page.addDeviceToTable("801002345", "", "", "", true, false, false, true);
        page.deviceSelectorFlashRow(0, CORPORATE_GREEN);
        QTest::qWait(6500);
        QVERIFY(flashing(page, 0));
        QTRY_VERIFY_WITH_TIMEOUT(!flashing(page, 0), 2000);
        for (int role = FlashingRowStyleDelegate::FlashStartRole;
             role <= FlashingRowStyleDelegate::FlashFadeRole; ++role)
            QVERIFY(!model(page)->index(0, DeviceNicknameColumn).data(role).isValid());
    }
};

HARNWICK_TEST(TestDeviceStatus)
#include "tst_devicestatus.moc"
