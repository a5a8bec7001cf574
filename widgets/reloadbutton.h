#pragma once

#include <QElapsedTimer>
#include <QEvent>
#include <QIcon>
#include <QPainter>
#include <QPalette>
#include <QPixmap>
#include <QString>
#include <QTimer>

// A button whose refresh icon turns once, slow at both ends, when
// animateRotation() is called (usually from its clicked() signal).
//
// A class template cannot carry Q_OBJECT, so there are no slots here: the
// animation timer is connected through a lambda and the owner connects
// clicked() to animateRotation() the same way.
template<typename Button> class ReloadButton : public Button
{
public:
    static constexpr int AnimationIntervalMs = 16;
    static constexpr qint64 SpinDurationMs = 500;

    explicit ReloadButton(QWidget* parent = nullptr) : Button(parent) { init(); }

    // Only instantiated for buttons that take a text, such as QPushButton.
    explicit ReloadButton(const QString& text, QWidget* parent = nullptr) : Button(text, parent) { init(); }

    void setDarkMode(bool dark)
    {
        const QString path = QStringLiteral(":/graphics/refresh_%1.png")
                                 .arg(dark ? QStringLiteral("dark") : QStringLiteral("light"));
        QPixmap pixmap = QIcon(path).pixmap(this->width(), this->height());
        // The rotation paints in device pixels of the base pixmap, so keep it 1:1.
        pixmap.setDevicePixelRatio(1.0);
        m_basePixmap = pixmap;
        this->setIcon(QIcon(m_basePixmap));
    }

    void animateRotation()
    {
        if (m_animating)
            return;
        m_animating = true;
        m_elapsedTimer.start();
        m_animationTimer->start();
    }

    void updateAnimation()
    {
        const qint64 elapsed = m_elapsedTimer.elapsed();
        if (elapsed >= SpinDurationMs) {
            m_animationTimer->stop();
            m_animating = false;
            setRotationAngle(0.0);
            return;
        }
        setRotationAngle(rotationAngleAt(elapsed));
    }

    void setRotationAngle(double angle)
    {
        m_rotationAngle = angle;
        if (m_basePixmap.isNull())
            return;
        QPixmap rotated(m_basePixmap.size());
        rotated.fill(Qt::transparent);
        {
            QPainter painter(&rotated);
            painter.setRenderHint(QPainter::SmoothPixmapTransform);
            const int halfWidth = m_basePixmap.width() / 2;
            const int halfHeight = m_basePixmap.height() / 2;
            painter.translate(halfWidth, halfHeight);
            painter.rotate(angle);
            painter.translate(-halfWidth, -halfHeight);
            painter.drawPixmap(0, 0, m_basePixmap);
        }
        this->setIcon(QIcon(rotated));
    }

    double rotationAngle() const { return m_rotationAngle; }
    bool isAnimating() const { return m_animating; }

    // The angle in degrees after `elapsedMs` of a spin: a cubic ease-in-out over
    // one full turn, and 0 once the spin is over.
    static double rotationAngleAt(qint64 elapsedMs)
    {
        if (elapsedMs < 0 || elapsedMs >= SpinDurationMs)
            return 0.0;
        const double t = double(elapsedMs) / double(SpinDurationMs);
        double fraction;
        if (t < 0.5) {
            fraction = 4.0 * t * t * t;
        } else {
            const double rest = 2.0 - 2.0 * t;
            fraction = 1.0 - (rest * rest * rest) / 2.0;
        }
        return fraction * 360.0;
    }

protected:
    void changeEvent(QEvent* event) override
    {
        if (event->type() == QEvent::PaletteChange)
            setDarkMode(this->palette().color(QPalette::Button).lightness() < 128);
        Button::changeEvent(event);
    }

private:
    void init()
    {
        m_animationTimer = new QTimer(this);
        m_animationTimer->setInterval(AnimationIntervalMs);
        QObject::connect(m_animationTimer, &QTimer::timeout, this, [this] { updateAnimation(); });
        setDarkMode(false);
    }

    double m_rotationAngle = 0.0;
    QPixmap m_basePixmap;
    QTimer* m_animationTimer = nullptr;
    QElapsedTimer m_elapsedTimer;
    bool m_animating = false;
};
