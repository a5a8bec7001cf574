#include "imageplaceholderwidget.h"

#include <QPainter>

ImagePlaceholderWidget::ImagePlaceholderWidget(QWidget* parent) : QWidget(parent) {}

ImagePlaceholderWidget::ImagePlaceholderWidget(const QPixmap& pixmap, QWidget* parent)
    : QWidget(parent), m_pixmap(pixmap)
{}

void ImagePlaceholderWidget::setPixmap(const QPixmap& pixmap)
{
    m_pixmap = pixmap;
    update();
}

QSize ImagePlaceholderWidget::minimumSizeHint() const
{
    // Layouts may squeeze the placeholder away entirely.
    return QSize(0, 0);
}

void ImagePlaceholderWidget::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setOpacity(0.6);
    if (m_pixmap.isNull())
        return;
    const double factor = double(width()) / double(m_pixmap.width());
    const int scaledHeight = int(m_pixmap.height() * factor);
    const int top = ((height() - scaledHeight) * 2) / 3;
    painter.drawPixmap(QRect(0, top, width(), scaledHeight), m_pixmap);
}
