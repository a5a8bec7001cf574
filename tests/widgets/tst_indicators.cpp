#include "imageplaceholderwidget.h"
#include "qprogressindicator.h"
#include "reloadbutton.h"
#include "testregistry.h"

#include <QApplication>
#include <QPushButton>
#include <QTest>

namespace {

// Renders only what the widget paints itself, onto a transparent image.
QImage render(QWidget& widget)
{
    QImage image(widget.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    widget.render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    return image;
}

// The bounding box of all pixels that are not fully transparent.
QRect opaqueBounds(const QImage& image)
{
    QRect bounds;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (qAlpha(image.pixel(x, y)) > 0)
                bounds |= QRect(x, y, 1, 1);
    return bounds;
}

QImage iconImage(const QIcon& icon)
{
    return icon.pixmap(32, 32).toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

} // namespace

class TestIndicators : public QObject
{
    Q_OBJECT

private slots:
    void reloadEasing_data()
    {
        QTest::addColumn<qint64>("elapsed");
        QTest::addColumn<double>("angle");
        QTest::newRow("start") << qint64(0) << 0.0;
        QTest::newRow("quarter") << qint64(125) << 22.5;
        QTest::newRow("half") << qint64(250) << 180.0;
        QTest::newRow("three quarters") << qint64(375) << 337.5;
        QTest::newRow("just before end") << qint64(499) << 359.99998848;
        QTest::newRow("end resets") << qint64(500) << 0.0;
        QTest::newRow("late resets") << qint64(2000) << 0.0;
    }

    void reloadEasing()
    {
        QFETCH(qint64, elapsed);
        QFETCH(double, angle);
        const double actual = ReloadButton<QPushButton>::rotationAngleAt(elapsed);
        QVERIFY2(qAbs(actual - angle) < 1e-6, qPrintable(QString::number(actual)));
    }

    void reloadSpinsOncePerPress()
    {
        ReloadButton<QPushButton> button("Discover Available Devices");
        button.resize(32, 32);
        button.setDarkMode(false);
        const QImage still = iconImage(button.icon());
        QVERIFY(!button.isAnimating());
        QObject::connect(&button, &QPushButton::clicked, &button, [&button] { button.animateRotation(); });
        QTest::mouseClick(&button, Qt::LeftButton);
        QVERIFY(button.isAnimating());
        QTRY_VERIFY_WITH_TIMEOUT(button.rotationAngle() > 5.0, 400);

        // A second press during the spin neither restarts nor doubles it: the angle keeps growing.
        const double before = button.rotationAngle();
        QTest::mouseClick(&button, Qt::LeftButton);
        button.updateAnimation();
        if (button.isAnimating())
            QVERIFY2(button.rotationAngle() >= before,
                     qPrintable(QString("%1 < %2").arg(button.rotationAngle()).arg(before)));
        QTRY_VERIFY_WITH_TIMEOUT(!button.isAnimating(), 2000);
        QCOMPARE(button.rotationAngle(), 0.0);
        QCOMPARE(iconImage(button.icon()), still);
        // The timer is stopped after the spin, and a later press starts a new one.
        QTest::qWait(60);
        QCOMPARE(button.rotationAngle(), 0.0);
        button.animateRotation();
        QVERIFY(button.isAnimating());
    }

    void reloadIconFollowsPalette()
    {
        // The icon follows the button colour, as when the desktop switches theme.
        const QImage light = iconImage(QIcon(QIcon(":/graphics/refresh_light.png").pixmap(32, 32)));
        const QImage dark = iconImage(QIcon(QIcon(":/graphics/refresh_dark.png").pixmap(32, 32)));
        QVERIFY(!light.isNull() && light != dark);
        ReloadButton<QPushButton> button;
        button.resize(32, 32);
        const QPalette original = QApplication::palette();
        QImage icons[2];
        for (const int lightness : {20, 250}) {
            QPalette palette = original;
            palette.setColor(QPalette::Button, QColor(lightness, lightness, lightness));
            QApplication::setPalette(palette);
            icons[lightness > 127] = iconImage(button.icon());
        }
        QApplication::setPalette(original);
        QCOMPARE(icons[0], dark);
        QCOMPARE(icons[1], light);
    }

    void progressIndicatorRingGeometry_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<int>("outer");
        QTest::addColumn<int>("inner");
        // outer = (side - 1) / 2 truncated, inner = 40 % of outer truncated
        QTest::newRow("tall 10x40") << QSize(10, 40) << 4 << 1;
        QTest::newRow("wide 60x25") << QSize(60, 25) << 12 << 4;
        QTest::newRow("square 41") << QSize(41, 41) << 20 << 8;
        QTest::newRow("square 30") << QSize(30, 30) << 14 << 5;
    }

    void progressIndicatorRingGeometry()
    {
        QFETCH(QSize, size);
        QFETCH(int, outer);
        QFETCH(int, inner);
        QProgressIndicator indicator;
        indicator.resize(size);
        indicator.setColor(QColor(217, 30, 42));
        indicator.setDisplayedWhenStopped(true);
        const QImage image = render(indicator);
        const QPoint centre(size.width() / 2, size.height() / 2);

        // The ring spans the outer radius around the centre, one pixel of smoothing allowed.
        const QRect bounds = opaqueBounds(image);
        const QRect allowed(centre.x() - outer - 1, centre.y() - outer - 1, 2 * outer + 3, 2 * outer + 3);
        QCOMPARE(allowed.united(bounds), allowed);
        QVERIFY(bounds.width() >= 2 * outer - 2 && bounds.height() >= 2 * outer - 2);
        // The first dot, the most opaque, lies on the positive x axis from the inner to the outer radius.
        const auto alphaAt = [&](int dx) {
            return qAlpha(image.pixel(centre.x() + dx, centre.y()));
        };
        QVERIFY(alphaAt(inner) > 200 && alphaAt(outer - 1) > 200);
        QCOMPARE(alphaAt(outer), 0);
        if (inner >= 2)
            QCOMPARE(alphaAt(inner - 1), 0);
        const QRgb middle = image.pixel(centre.x() + (inner + outer) / 2, centre.y());
        QCOMPARE(qRed(middle) * 255 / qAlpha(middle), 217);
    }

    void progressIndicatorRuns()
    {
        // Layout code may ask for the hints through the meta-object.
        QProgressIndicator indicator;
        QSize hint, minimum;
        QVERIFY(QMetaObject::invokeMethod(&indicator, "sizeHint", Q_RETURN_ARG(QSize, hint)) &&
                QMetaObject::invokeMethod(&indicator, "minimumSizeHint", Q_RETURN_ARG(QSize, minimum)));
        QCOMPARE((QList<QSize>{hint, minimum}), (QList<QSize>{QSize(20, 20), QSize(10, 10)}));

        indicator.resize(41, 41);
        QVERIFY(opaqueBounds(render(indicator)).isEmpty());
        indicator.setDisplayedWhenStopped(true);
        const QImage atRest = render(indicator);
        QVERIFY(!opaqueBounds(atRest).isEmpty());

        // Changing the delay does not start a stopped indicator. Run until the ring has turned, then stop:
        // the ring stays at its last angle.
        indicator.setDelay(5);
        QVERIFY(!indicator.isAnimated());
        indicator.start();
        QTRY_VERIFY(render(indicator) != atRest);
        indicator.stop();
        QVERIFY(!indicator.isAnimated());
        const QImage frozen = render(indicator);
        QTest::qWait(50);
        QCOMPARE(render(indicator), frozen);

        // A new delay does not stop a running indicator.
        indicator.start();
        indicator.setDelay(4);
        QVERIFY(indicator.isAnimated());
        indicator.setDisplayedWhenStopped(false);
        QVERIFY(!opaqueBounds(render(indicator)).isEmpty());
        indicator.stop();
        QVERIFY(opaqueBounds(render(indicator)).isEmpty());
    }

    void placeholder()
    {
        ImagePlaceholderWidget widget;
        widget.resize(120, 80);
        QCOMPARE(widget.minimumSizeHint(), QSize(0, 0));
        QVERIFY(opaqueBounds(render(widget)).isEmpty());

        // Scaled to the full width, 200 x 100, two thirds down the 200 free pixels, at 60 % opacity.
        QPixmap pixmap(100, 50);
        pixmap.fill(Qt::blue);
        widget.setPixmap(pixmap);
        widget.resize(200, 300);
        QImage image = render(widget);
        QCOMPARE(opaqueBounds(image), QRect(0, 133, 200, 100));
        QVERIFY2(qAbs(qAlpha(image.pixel(100, 180)) - 153) <= 2,
                 qPrintable(QString::number(qAlpha(image.pixel(100, 180)))));
        // Too low a widget: the image keeps its proportions and overflows at the top.
        widget.resize(300, 120);
        QCOMPARE(opaqueBounds(render(widget)), QRect(0, 0, 300, 120));
    }
};

HARNWICK_TEST(TestIndicators)
#include "tst_indicators.moc"
