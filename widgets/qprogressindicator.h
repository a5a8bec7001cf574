#pragma once

#include <QBasicTimer>
#include <QColor>
#include <QWidget>

// A small busy indicator: a ring of twelve dots whose opacity falls off around
// the circle and which turns by one dot per timer tick.
class QProgressIndicator : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(int delay READ animationDelay WRITE setDelay)
    Q_PROPERTY(bool displayedWhenStopped READ isDisplayedWhenStopped WRITE setDisplayedWhenStopped)
    Q_PROPERTY(QColor color READ color WRITE setColor)

public:
    explicit QProgressIndicator(QWidget* parent = nullptr);

    int animationDelay() const { return m_delay; }
    bool isAnimated() const;
    bool isDisplayedWhenStopped() const { return m_displayedWhenStopped; }
    const QColor& color() const { return m_color; }

    Q_INVOKABLE QSize sizeHint() const override;
    Q_INVOKABLE QSize minimumSizeHint() const override;

public slots:
    void start();
    void stop();
    void setDisplayedWhenStopped(bool state);
    void setDelay(int delay);
    void setColor(const QColor& color);

protected:
    void timerEvent(QTimerEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QBasicTimer m_timer;
    int m_angle = 0;
    int m_delay = 40;
    bool m_displayedWhenStopped = false;
    QColor m_color = Qt::black;
};
