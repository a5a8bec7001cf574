#include "imageplaceholderwidget.h"
#include "qprogressindicator.h"
#include "reloadbutton.h"
#include "repeatedlabel.h"
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

    // The page shows the indicator only while it runs, in the colour it sets.
    void progressIndicatorRuns()
    {
        QProgressIndicator indicator;
        indicator.resize(41, 41);
        indicator.setColor(QColor(217, 30, 42));
        QVERIFY(opaqueBounds(render(indicator)).isEmpty());
        indicator.start();
        QVERIFY(indicator.isAnimated());
        const QImage first = render(indicator);
        QVERIFY(!opaqueBounds(first).isEmpty());
        const QRgb dot = first.pixel(first.width() * 3 / 4, first.height() / 2);
        QVERIFY(qAlpha(dot) > 200);
        QCOMPARE(qRed(dot) * 255 / qAlpha(dot), 217);
        QTRY_VERIFY(render(indicator) != first);
        indicator.stop();
        QVERIFY(!indicator.isAnimated());
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

    // Labels sharing a text share its measures, and any label measures exactly as a plain
    // one with the same text, font and wrapping would, also after one of them changes.
    void repeatedLabelMeasuresLikeALabel()
    {
        const QString text =
            QStringLiteral("Run a <b>custom</b> command.<br><br>It may wrap over several lines "
                           "when the page is narrow.");
        const auto sameAsPlain = [](const RepeatedLabel& label) {
            QLabel plain(label.text());
            plain.setFont(label.font());
            plain.setWordWrap(label.wordWrap());
            QCOMPARE(label.sizeHint(), plain.sizeHint());
            QCOMPARE(label.minimumSizeHint(), plain.minimumSizeHint());
            for (int width : {60, 150, 400})
                QCOMPARE(label.heightForWidth(width), plain.heightForWidth(width));
        };
        RepeatedLabel first(text);
        RepeatedLabel second(text);
        first.setWordWrap(true);
        second.setWordWrap(true);
        sameAsPlain(first);
        sameAsPlain(second);
        QVERIFY(first.heightForWidth(60) > first.heightForWidth(400));

        QFont larger = second.font();
        larger.setPointSize(larger.pointSize() * 2);
        second.setFont(larger);
        sameAsPlain(second);
        QVERIFY(second.sizeHint() != first.sizeHint());
        second.setText(text + QStringLiteral(" And a little more."));
        sameAsPlain(second);
        second.setWordWrap(false);
        sameAsPlain(second);
        sameAsPlain(first);
    }
};

HARNWICK_TEST(TestIndicators)
#include "tst_indicators.moc"
