#include "simclock.h"

#include <QThread>

#include <cmath>

double SimClock::speedFromEnvironment()
{
    const QByteArray value = qgetenv("CORVANE_SIM_SPEED");
    if (value.isEmpty())
        return 1.0;
    bool ok = false;
    const double speed = value.toDouble(&ok);
    return ok && std::isfinite(speed) && speed >= 0 ? speed : 1.0;
}

bool SimClock::advance(qint64 ms)
{
    if (ms < 0)
        ms = 0;
    bool withinLimit = true;
    if (m_limitMs > 0 && m_elapsedMs + ms > m_limitMs) {
        ms = m_limitMs - m_elapsedMs;
        withinLimit = false;
    }
    sleepRealMs(qint64(std::llround(double(ms) * m_speed)));
    m_elapsedMs += ms;
    return withinLimit;
}

bool SimClock::advanceForever()
{
    if (m_limitMs <= 0)
        hangForever();
    return advance(m_limitMs - m_elapsedMs + 1);
}

void SimClock::sleepRealMs(qint64 ms)
{
    if (ms > 0)
        QThread::msleep(static_cast<unsigned long>(ms));
}

void SimClock::hangForever()
{
    for (;;)
        QThread::sleep(3600);
}
