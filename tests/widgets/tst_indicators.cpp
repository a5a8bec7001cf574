#include "imageplaceholderwidget.h"
#include "qprogressindicator.h"
#include "reloadbutton.h"
#include "testregistry.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QPalette>
#include <QPushButton>
#include <QTest>
#include <QThread>

namespace {

// Renders only what the widget paints itself, onto a transparent image.
QImage renderWidget(QWidget& widget)
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

QImage iconImage(const QIcon& icon, const QSize& size)
{
    return icon.pixmap(size).toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

QImage resourceImage(const QString& path, const QSize& size)
{
    return iconImage(QIcon(QIcon(path).pixmap(size)), size);
}

QPalette paletteWithButton(const QColor& color)
{
    QPalette palette = QApplication::palette();
    palette.setColor(QPalette::Button, color);
    palette.setColor(QPalette::Window, color);
    return palette;
}

} // namespace

class TestIndicators : public QObject
{
    Q_OBJECT

private slots:
    void reloadEasing_data();
    void reloadEasing();
    void reloadSpinsOncePerPress();
    void reloadIconFollowsPalette();
    void progressIndicatorHints();
    void progressIndicatorRingGeometry_data();
    void progressIndicatorRingGeometry();
    void progressIndicatorStopped();
    void progressIndicatorDelay();
    void placeholderWithoutPixmap();
    void placeholderPlacement();
};

void TestIndicators::reloadEasing_data()
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

void TestIndicators::reloadEasing()
{
    QFETCH(qint64, elapsed);
    QFETCH(double, angle);
    QVERIFY2(qAbs(ReloadButton<QPushButton>::rotationAngleAt(elapsed) - angle) < 1e-6,
             qPrintable(QString::number(ReloadButton<QPushButton>::rotationAngleAt(elapsed))));
}

void TestIndicators::reloadSpinsOncePerPress()
{
    ReloadButton<QPushButton> button(QStringLiteral("Discover Available Devices"));
    button.resize(32, 32);
    button.setDarkMode(false);
    const QSize iconSize(32, 32);
    const QImage still = iconImage(button.icon(), iconSize);
    QVERIFY(!still.isNull());
    QVERIFY(!button.isAnimating());
    QCOMPARE(button.rotationAngle(), 0.0);

    QObject::connect(&button, &QPushButton::clicked, &button, [&button] { button.animateRotation(); });
    QTest::mouseClick(&button, Qt::LeftButton);
    QVERIFY(button.isAnimating());
    QTRY_VERIFY_WITH_TIMEOUT(button.rotationAngle() > 5.0, 400);
    const double before = button.rotationAngle();

    // A second press during the spin neither restarts nor doubles it: the angle
    // keeps growing from where it was.
    if (!button.isAnimating())
        QSKIP("The machine was too slow to press again during the spin");
    QTest::mouseClick(&button, Qt::LeftButton);
    button.updateAnimation();
    if (button.isAnimating())
        QVERIFY2(button.rotationAngle() >= before,
                 qPrintable(QStringLiteral("%1 < %2").arg(button.rotationAngle()).arg(before)));

    QTRY_VERIFY_WITH_TIMEOUT(!button.isAnimating(), 2000);
    QCOMPARE(button.rotationAngle(), 0.0);
    QCOMPARE(iconImage(button.icon(), iconSize), still);

    // The timer is stopped after the spin: the angle stays at rest.
    QTest::qWait(60);
    QCOMPARE(button.rotationAngle(), 0.0);

    // A press after the spin starts a new one.
    button.animateRotation();
    QVERIFY(button.isAnimating());
    QTRY_VERIFY_WITH_TIMEOUT(!button.isAnimating(), 2000);
}

void TestIndicators::reloadIconFollowsPalette()
{
    ReloadButton<QPushButton> button;
    button.resize(32, 32);
    const QSize size(32, 32);
    const QImage light = resourceImage(QStringLiteral(":/graphics/refresh_light.png"), size);
    const QImage dark = resourceImage(QStringLiteral(":/graphics/refresh_dark.png"), size);
    QVERIFY(!light.isNull());
    QVERIFY(!dark.isNull());
    const bool distinguishable = light != dark;

    button.setPalette(paletteWithButton(QColor(40, 40, 40)));
    QCOMPARE(iconImage(button.icon(), size), dark);
    if (distinguishable)
        QVERIFY(iconImage(button.icon(), size) != light);

    // The same through the application palette, as when the desktop switches theme.
    ReloadButton<QPushButton> follower;
    follower.resize(32, 32);
    const QPalette original = QApplication::palette();
    QApplication::setPalette(paletteWithButton(QColor(20, 20, 30)));
    const QImage afterDarkTheme = iconImage(follower.icon(), size);
    QApplication::setPalette(paletteWithButton(QColor(250, 250, 250)));
    const QImage afterLightTheme = iconImage(follower.icon(), size);
    QApplication::setPalette(original);
    QCOMPARE(afterDarkTheme, dark);
    QCOMPARE(afterLightTheme, light);
    if (!distinguishable)
        qWarning("The light and dark refresh images are identical; the icon swap could not be told apart");
}

void TestIndicators::progressIndicatorHints()
{
    // Layout code may ask through the meta-object.
    QProgressIndicator indicator;
    QSize hint;
    QVERIFY(QMetaObject::invokeMethod(&indicator, "sizeHint", Q_RETURN_ARG(QSize, hint)));
    QCOMPARE(hint, QSize(20, 20));
    QVERIFY(QMetaObject::invokeMethod(&indicator, "minimumSizeHint", Q_RETURN_ARG(QSize, hint)));
    QCOMPARE(hint, QSize(10, 10));
}

void TestIndicators::progressIndicatorRingGeometry_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<int>("outer");
    QTest::addColumn<int>("inner");
    // outer = (side - 1) / 2 truncated, inner = 40 % of outer truncated
    QTest::newRow("tall 10x40") << QSize(10, 40) << 4 << 1;
    QTest::newRow("wide 60x25") << QSize(60, 25) << 12 << 4;
    QTest::newRow("square 41") << QSize(41, 41) << 20 << 8;
}

void TestIndicators::progressIndicatorRingGeometry()
{
    QFETCH(QSize, size);
    QFETCH(int, outer);
    QFETCH(int, inner);

    QProgressIndicator indicator;
    indicator.resize(size);
    indicator.setColor(QColor(217, 30, 42));
    indicator.setDisplayedWhenStopped(true);
    const QImage image = renderWidget(indicator);
    const QPoint centre(size.width() / 2, size.height() / 2);

    // The ring spans the outer radius around the centre, one pixel of smoothing allowed.
    const QRect bounds = opaqueBounds(image);
    QVERIFY(!bounds.isEmpty());
    const QRect allowed(centre.x() - outer - 1, centre.y() - outer - 1, 2 * outer + 3, 2 * outer + 3);
    QVERIFY2(allowed.contains(bounds), qPrintable(QStringLiteral("painted %1,%2 %3x%4")
                                                      .arg(bounds.x())
                                                      .arg(bounds.y())
                                                      .arg(bounds.width())
                                                      .arg(bounds.height())));
    QVERIFY(bounds.width() >= 2 * outer - 2);
    QVERIFY(bounds.height() >= 2 * outer - 2);

    // The middle stays empty where the inner radius leaves room for a hole.
    if (inner >= 2)
        QCOMPARE(qAlpha(image.pixel(centre)), 0);

    // The first dot sits on the positive x axis and is the most opaque.
    const QPoint firstDot(centre.x() + (inner + outer) / 2, centre.y());
    QVERIFY(qAlpha(image.pixel(firstDot)) > 200);
    QCOMPARE(qRed(image.pixel(firstDot)) * 255 / qAlpha(image.pixel(firstDot)), 217);
}

void TestIndicators::progressIndicatorStopped()
{
    QProgressIndicator indicator;
    indicator.resize(41, 41);
    QVERIFY(!indicator.isAnimated());
    QVERIFY(opaqueBounds(renderWidget(indicator)).isEmpty());

    indicator.setDisplayedWhenStopped(true);
    const QImage atRest = renderWidget(indicator);
    QVERIFY(!opaqueBounds(atRest).isEmpty());

    // Run until the ring has turned, then stop: the ring stays at its last angle.
    indicator.setDelay(5);
    indicator.start();
    QVERIFY(indicator.isAnimated());
    QTRY_VERIFY(renderWidget(indicator) != atRest);
    indicator.stop();
    QVERIFY(!indicator.isAnimated());
    const QImage frozen = renderWidget(indicator);
    QVERIFY(frozen != atRest);
    QTest::qWait(50);
    QCOMPARE(renderWidget(indicator), frozen);

    // Turning by one dot per tick brings it back round after twelve ticks.
    // One pass of the event loop fires the timer at most once, so no angle is skipped.
    indicator.start();
    QElapsedTimer clock;
    clock.start();
    QImage current = renderWidget(indicator);
    while (current != atRest && clock.elapsed() < 5000) {
        QThread::msleep(2);
        QCoreApplication::processEvents();
        current = renderWidget(indicator);
    }
    QCOMPARE(current, atRest);
    indicator.stop();

    indicator.setDisplayedWhenStopped(false);
    QVERIFY(opaqueBounds(renderWidget(indicator)).isEmpty());
    indicator.start();
    QVERIFY(!opaqueBounds(renderWidget(indicator)).isEmpty());
    indicator.stop();
}

void TestIndicators::progressIndicatorDelay()
{
    QProgressIndicator indicator;
    // Changing the delay neither starts a stopped indicator nor stops a running one.
    indicator.setDelay(25);
    QVERIFY(!indicator.isAnimated());
    indicator.start();
    indicator.setDelay(10);
    QVERIFY(indicator.isAnimated());
    QCOMPARE(indicator.property("delay").toInt(), 10);
}

void TestIndicators::placeholderWithoutPixmap()
{
    ImagePlaceholderWidget widget;
    widget.resize(120, 80);
    QCOMPARE(widget.minimumSizeHint(), QSize(0, 0));
    QVERIFY(opaqueBounds(renderWidget(widget)).isEmpty());
}

void TestIndicators::placeholderPlacement()
{
    QPixmap pixmap(100, 50);
    pixmap.fill(Qt::blue);
    ImagePlaceholderWidget widget(pixmap);

    // Scaled to the full width, 200 x 100, two thirds down the 200 free pixels.
    widget.resize(200, 300);
    QImage image = renderWidget(widget);
    QCOMPARE(opaqueBounds(image), QRect(0, 133, 200, 100));
    const int alpha = qAlpha(image.pixel(100, 180));
    QVERIFY2(qAbs(alpha - 153) <= 2, qPrintable(QString::number(alpha)));

    // Too low a widget: the image keeps its proportions and overflows at the top.
    widget.resize(300, 120);
    image = renderWidget(widget);
    QCOMPARE(opaqueBounds(image), QRect(0, 0, 300, 120));
    QVERIFY(qAlpha(image.pixel(150, 60)) > 0);

    widget.setPixmap(QPixmap());
    QVERIFY(opaqueBounds(renderWidget(widget)).isEmpty());
}

HARNWICK_TEST(TestIndicators)
#include "tst_indicators.moc"
