#pragma once

#include <QtGlobal>

// Simulated time. Every duration the simulator acts out is counted in simulated milliseconds and
// slept for that long times the speed factor, so a time limit gives the same verdict at any speed.
class SimClock
{
public:
    explicit SimClock(double speed) : m_speed(speed < 0 ? 0 : speed) {}

    // CORVANE_SIM_SPEED: a factor on all simulated durations, 0 for no waiting; 1 when unset.
    static double speedFromEnvironment();

    double speed() const { return m_speed; }
    qint64 elapsedMs() const { return m_elapsedMs; }

    // A limit on the simulated time, 0 for none.
    void setLimitMs(qint64 limitMs) { m_limitMs = limitMs; }
    qint64 limitMs() const { return m_limitMs; }

    // Lets ms of simulated time pass. Returns false when the limit is reached first; the clock then
    // stands at the limit.
    bool advance(qint64 ms);

    // Waits for something that never comes: until the limit, or for ever when there is none.
    bool advanceForever();

    static void sleepRealMs(qint64 ms);
    [[noreturn]] static void hangForever();

private:
    double m_speed;
    qint64 m_elapsedMs = 0;
    qint64 m_limitMs = 0;
};
