#include "qprogressindicator.h"

#include <QPainter>
#include <QTimerEvent>

QProgressIndicator::QProgressIndicator(QWidget* parent) : QWidget(parent) {}

bool QProgressIndicator::isAnimated() const
{
    return m_timer.isActive();
}

QSize QProgressIndicator::sizeHint() const
{
    return QSize(20, 20);
}

QSize QProgressIndicator::minimumSizeHint() const
{
    return QSize(10, 10);
}

void QProgressIndicator::start()
{
    if (m_timer.isActive())
        return;
    m_timer.start(m_delay, this);
}

void QProgressIndicator::stop()
{
    if (m_timer.isActive())
        m_timer.stop();
    update();
}

void QProgressIndicator::setDisplayedWhenStopped(bool state)
{
    m_displayedWhenStopped = state;
    update();
}

void QProgressIndicator::setDelay(int delay)
{
    // A stopped indicator stays stopped; a running one picks up the new pace.
    const bool running = m_timer.isActive();
    if (running)
        m_timer.stop();
    m_delay = delay;
    if (running)
        m_timer.start(m_delay, this);
}

void QProgressIndicator::setColor(const QColor& color)
{
    m_color = color;
    update();
}

void QProgressIndicator::timerEvent(QTimerEvent* event)
{
    if (event->timerId() != m_timer.timerId()) {
        QWidget::timerEvent(event);
        return;
    }
    m_angle = (m_angle + 30) % 360;
    update();
}

void QProgressIndicator::paintEvent(QPaintEvent* /*event*/)
{
    if (!m_displayedWhenStopped && !isAnimated())
        return;

    const int side = qMin(width(), height());
    const int outerRadius = int((side - 1) * 0.5);
    const int innerRadius = int(outerRadius * 0.4);
    const int dotSize = outerRadius - innerRadius;

    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(width() / 2, height() / 2);
    painter.rotate(m_angle);
    painter.setPen(Qt::NoPen);
    for (int i = 0; i < 12; ++i) {
        QColor dotColor = m_color;
        dotColor.setAlphaF(1.0 - (i / 12.0));
        painter.setBrush(dotColor);
        painter.drawRoundedRect(QRectF(innerRadius, -dotSize / 2.0, dotSize, dotSize), dotSize / 2.0,
                                dotSize / 2.0);
        painter.rotate(30);
    }
}
