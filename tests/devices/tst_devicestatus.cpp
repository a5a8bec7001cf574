#include "corporatecolors.h"
#include "devicepagehelpers.h"
#include "deviceselectortreeview.h"
#include "flashingrowstyledelegate.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QPaintEvent>
#include <QStandardItemModel>
#include <QTest>

class TestDeviceStatus : public QObject, DevicePage
{
    Q_OBJECT

    static bool closeTo(const QColor& actual, const QColor& expected, int tolerance)
    {
        return qAbs(actual.red() - expected.red()) <= tolerance &&
               qAbs(actual.green() - expected.green()) <= tolerance &&
               qAbs(actual.blue() - expected.blue()) <= tolerance;
    }

    // The flash colour of a row when every item holds all four flash values,
    // else an invalid colour.
    static QColor flashColor(const Page& page, int row)
    {
        for (int column = 0; column < DeviceColumnCount; ++column)
            for (int role = FlashingRowStyleDelegate::FlashStartRole;
                 role <= FlashingRowStyleDelegate::FlashFadeRole; ++role)
                if (!model(page)->index(row, column).data(role).isValid())
                    return QColor();
        return model(page)->index(row, 0).data(FlashingRowStyleDelegate::FlashColorRole).value<QColor>();
    }

private slots:
    void init() { TestEnvironment::clearSettings(); }

    void statusTextsDotsAndColours()
    {
        BulkOperationsWidget page;
        page.addDeviceToTable("801002345", "", "", "", true, false, false, true);
        page.addDeviceToTable("801002346", "", "", "", true, false, false, true);
        const auto status = [&page](int row) {
            return model(page)->item(row, DeviceStatusColumn);
        };

        page.setDeviceStatusError(0, QStringLiteral("Adapter probe command failed."),
                                  QStringLiteral("details"));
        QCOMPARE(status(0)->text(), QStringLiteral("ERROR: Adapter probe command failed."));
        QCOMPARE(status(0)->toolTip(), QStringLiteral("details"));
        QVERIFY(sameIcon(status(0)->icon(), ":/graphics/dot-red.png"));
        // The whole row flashes red; how it holds and fades is seen painted below.
        QCOMPARE(flashColor(page, 0), CORPORATE_RED);
        QVERIFY(!flashColor(page, 1).isValid());

        page.setDeviceStatusInfo(1, QStringLiteral("ABORTED"), QStringLiteral("aborted"), CORPORATE_YELLOW);
        QVERIFY(sameIcon(status(1)->icon(), ":/graphics/dot-yellow.png"));
        QCOMPARE(status(1)->toolTip(), QStringLiteral("aborted"));
        page.setDeviceStatusInfo(1, QStringLiteral("DONE (elapsed: 1.50 s)"), QString(), CORPORATE_GREEN);
        QVERIFY(sameIcon(status(1)->icon(), ":/graphics/dot-green.png"));
        QCOMPARE(flashColor(page, 1), CORPORATE_GREEN);
        // Another colour keeps the dot and flashes in that colour.
        page.setDeviceStatusInfo(1, QStringLiteral("Programming 40%"), QString(), QColor(Qt::blue));
        QVERIFY(sameIcon(status(1)->icon(), ":/graphics/dot-green.png"));
        QCOMPARE(flashColor(page, 1), QColor(Qt::blue));

        page.setRowColor(0, CORPORATE_GREEN);
        for (int column = 0; column < DeviceColumnCount; ++column)
            QCOMPARE(model(page)->index(0, column).data(Qt::BackgroundRole).value<QBrush>(),
                     QBrush(CORPORATE_GREEN));
        page.clearDeviceStatus(0);
        QCOMPARE(status(0)->text() + status(0)->toolTip(), QString());
        QVERIFY(status(0)->icon().isNull());
        for (int column = 0; column < DeviceColumnCount; ++column)
            QVERIFY(!model(page)->index(0, column).data(Qt::BackgroundRole).isValid());

        // No colour: no dot, and no new flash.
        model(page)->item(0, 0)->setData(QVariant(), FlashingRowStyleDelegate::FlashStartRole);
        page.setDeviceStatusInfo(0, QStringLiteral("Running action 2"), QString(), QColor());
        QCOMPARE(status(0)->text(), QStringLiteral("Running action 2"));
        QVERIFY(status(0)->icon().isNull());
        QVERIFY(!flashColor(page, 0).isValid());

        // Rows that do not exist are left alone.
        page.setDeviceStatusError(5, QStringLiteral("x"), QString());
        page.setDeviceStatusInfo(-1, QStringLiteral("x"), QString(), CORPORATE_GREEN);
        page.clearDeviceStatus(5);
        QCOMPARE(model(page)->rowCount(), 2);
    }

    void fillWeights_data()
    {
        QTest::addColumn<qint64>("elapsed");
        QTest::addColumn<int>("fade");
        QTest::addColumn<double>("weight");
        QTest::newRow("clock stepped back") << qint64(-300) << 2000 << 0.5;
        QTest::newRow("half faded") << qint64(6000) << 2000 << 0.125;
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
        QVERIFY(closeTo(BulkOperationsWidget::over(a, b, 0.5), QColor(100, 100, 100), 1));
        QCOMPARE(BulkOperationsWidget::over(a, b, 0.5).alpha(), 255); // always opaque
    }

    // The fit that remembers text widths must leave the column exactly as a full measurement does,
    // whether the last column is stretched or wider than the view, after user resizes and font changes.
    void rememberedFitMatchesAFullMeasurement()
    {
        QStandardItemModel model(0, 2);
        DeviceSelectorTreeView fitted, measured;
        for (DeviceSelectorTreeView* view : {&fitted, &measured}) {
            view->setModel(&model);
            view->setIndentation(0);
            view->setUniformRowHeights(true);
            view->header()->setStretchLastSection(true);
            view->resize(260, 300);
            view->show();
        }
        const auto check = [&](const char* step) {
            fitted.fitTextColumnToContents(1);
            measured.resizeColumnToContents(1);
            if (fitted.header()->sectionSize(1) != measured.header()->sectionSize(1))
                QFAIL(qPrintable(QStringLiteral("%1: %2 against %3")
                                     .arg(QLatin1String(step))
                                     .arg(fitted.header()->sectionSize(1))
                                     .arg(measured.header()->sectionSize(1))));
        };
        check("no rows");
        for (int row = 0; row < 20; ++row)
            model.appendRow({new QStandardItem(QString::number(801002345 + row)), new QStandardItem()});
        check("empty texts");
        const auto status = [&model](int row) {
            return model.item(row, 1);
        };
        status(3)->setText(QStringLiteral("Programming: 10% of a long image for the target"));
        check("wider than the view");
        status(3)->setText(QStringLiteral("DONE"));
        check("narrow again");
        status(4)->setIcon(QIcon(QStringLiteral(":/graphics/dot-green.png")));
        status(4)->setText(QStringLiteral("DONE (elapsed: 1.50 s)"));
        check("with a dot");
        for (DeviceSelectorTreeView* view : {&fitted, &measured})
            view->header()->resizeSection(1, 400);
        check("after a resize by hand");
        for (DeviceSelectorTreeView* view : {&fitted, &measured})
            view->resize(900, 300);
        check("stretched");
        QFont large = fitted.font();
        large.setPointSize(large.pointSize() * 2);
        for (DeviceSelectorTreeView* view : {&fitted, &measured})
            view->setFont(large);
        status(5)->setText(
            QStringLiteral("Running action 1: set_adapter_debug_mode, a line as long as it gets"));
        check("larger font");
        model.removeRows(5, 1);
        check("widest row removed");
        status(2)->setText(QStringLiteral("Running action 2: flash, a line longer than any before it"));
        check("a wider text in one row");
        for (DeviceSelectorTreeView* view : {&fitted, &measured})
            view->setRowHidden(2, QModelIndex(), true);
        check("widest row hidden");
        for (DeviceSelectorTreeView* view : {&fitted, &measured})
            view->setRowHidden(2, QModelIndex(), false);
        check("shown again");
        // The row below the widest one grows, then rows shift with the count unchanged: the
        // remembered widths must not pair the old widest width with the grown row.
        status(3)->setText(QStringLiteral("Running action 3: a text wider than every other one in the list"));
        model.removeRows(0, 1);
        model.appendRow({new QStandardItem(QStringLiteral("801009999")), new QStandardItem()});
        check("a row changed, one removed above it and one added");
        status(9)->setText(
            QStringLiteral("ABORTED, and then a great deal more text than anything shown so far"));
        model.sort(1);
        check("a row changed, then the rows sorted");
        QStandardItemModel other(0, 2);
        for (int row = 0; row < model.rowCount(); ++row)
            other.appendRow({new QStandardItem(QString::number(801000001 + row)), new QStandardItem()});
        other.item(4, 1)->setText(QStringLiteral("DONE"));
        for (DeviceSelectorTreeView* view : {&fitted, &measured})
            view->setModel(&other);
        check("another model as long");
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
        QVERIFY(delegate);
        const QColor base = view(page)->palette().color(QPalette::Base);
        const auto painted = [&page] {
            const QRect cell = view(page)->visualRect(model(page)->index(0, DeviceStatusColumn));
            return view(page)->viewport()->grab().toImage().pixelColor(cell.center());
        };
        const auto startedAgo = [&page](qint64 ms, int row = 0) {
            for (int column = 0; column < DeviceColumnCount; ++column)
                model(page)
                    ->item(row, column)
                    ->setData(QDateTime::currentMSecsSinceEpoch() - ms,
                              FlashingRowStyleDelegate::FlashStartRole);
        };
        QVERIFY(closeTo(painted(), base, 2));
        QVERIFY(!delegate->isRepainting());

        QElapsedTimer flashed;
        flashed.start();
        page.deviceSelectorFlashRow(0, CORPORATE_RED);
        QVERIFY(closeTo(painted(), BulkOperationsWidget::over(CORPORATE_RED, base, 0.5), 2));
        QVERIFY(delegate->isRepainting());
        // 6000 ms in, the fill is an eighth of the flash colour.
        startedAgo(6000);
        QVERIFY(closeTo(painted(), BulkOperationsWidget::over(CORPORATE_RED, base, 0.125), 8));

        // While the flash holds its colour nothing is repainted; while it fades every frame is.
        struct PaintCounter : QObject
        {
            int count = 0;
            QRegion region;
            bool eventFilter(QObject*, QEvent* event) override
            {
                if (event->type() == QEvent::Paint) {
                    ++count;
                    region += static_cast<QPaintEvent*>(event)->region();
                }
                return false;
            }
        } paints;
        view(page)->viewport()->installEventFilter(&paints);
        for (const auto& [ago, fading] : {std::pair<int, bool>{1000, false}, {5200, true}}) {
            startedAgo(ago);
            QTest::qWait(50);
            paints.count = 0;
            QTest::qWait(300);
            QVERIFY(delegate->isRepainting());
            QVERIFY2(fading ? paints.count >= 5 : paints.count == 0,
                     qPrintable(QString::number(paints.count)));
        }
        // A fading row is repainted, a row holding its colour beside it is not.
        for (int column = 0; column < DeviceColumnCount; ++column) {
            QStandardItem* item = model(page)->item(1, column);
            item->setData(CORPORATE_GREEN, FlashingRowStyleDelegate::FlashColorRole);
            item->setData(FlashingRowStyleDelegate::HoldMs, FlashingRowStyleDelegate::FlashHoldRole);
            item->setData(FlashingRowStyleDelegate::FadeMs, FlashingRowStyleDelegate::FlashFadeRole);
        }
        startedAgo(1000, 1);
        QTest::qWait(50);
        paints.region = QRegion();
        QTest::qWait(300);
        const auto rowRect = [&page](int row) {
            return view(page)->visualRect(model(page)->index(row, DeviceStatusColumn));
        };
        QVERIFY(paints.region.contains(rowRect(0)));
        QVERIFY(!paints.region.intersects(rowRect(1)));
        for (int column = 0; column < DeviceColumnCount; ++column)
            model(page)->item(1, column)->setData(QVariant(), FlashingRowStyleDelegate::FlashColorRole);
        view(page)->viewport()->removeEventFilter(&paints);

        // A highlighted row shows the selection, not the flash.
        startedAgo(0);
        highlight(page, {0});
        QVERIFY(!closeTo(painted(), BulkOperationsWidget::over(CORPORATE_RED, base, 0.5), 10));
        highlight(page, {});

        // Once no flash is left to paint the timer stops by itself.
        startedAgo(60000);
        QVERIFY(closeTo(painted(), base, 2));
        QTRY_VERIFY(!delegate->isRepainting());

        // The flash data itself goes 7050 ms after the flash started, each row's on its own
        // time: a row flashed a second later keeps its data a second longer.
        QTest::qWait(qMax<qint64>(0, 1000 - flashed.elapsed()));
        QElapsedTimer flashedLater;
        flashedLater.start();
        page.deviceSelectorFlashRow(1, CORPORATE_GREEN);
        QTest::qWait(qMax<qint64>(0, 6500 - flashed.elapsed()));
        QVERIFY(flashColor(page, 0).isValid());
        QTRY_VERIFY_WITH_TIMEOUT(!flashColor(page, 0).isValid(), 2000);
        QVERIFY(!model(page)
                     ->index(0, DeviceNicknameColumn)
                     .data(FlashingRowStyleDelegate::FlashHoldRole)
                     .isValid());
        if (flashedLater.elapsed() < 6800)
            QCOMPARE(flashColor(page, 1), CORPORATE_GREEN);
        QTRY_VERIFY_WITH_TIMEOUT(!flashColor(page, 1).isValid(), 2000);
    }
};

HARNWICK_TEST(TestDeviceStatus)
#include "tst_devicestatus.moc"
