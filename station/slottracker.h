#pragma once

#include <QtGlobal>

// When a station slot starts a unit, from what the polls see of its board (or adapter) over time.
// A slot starts only when it is armed and its board has been seen present without a break for the
// settle time; starting disarms it. It re-arms only after its board was seen absent without a
// break for the settle time, or by hand. So a board left in place is programmed once, a bouncing
// contact gives one start, and a board re-seated after its run is tried again.
//
// Pure: it is told the times of the observations and knows no clock or process of its own.
class SlotTracker
{
public:
    static constexpr qint64 defaultSettleMs = 1500;

    explicit SlotTracker(qint64 settleMs = defaultSettleMs, bool armed = true);

    // A poll saw the board present or absent at `nowMs`. Returns true when the slot should start
    // now: it then counts as running until runEnded(). `mayStart` false (the slot is not allowed,
    // the station is stopped or the lot is complete) keeps track of presence without starting.
    // Observations while running are ignored: the slot's own run uses the adapter.
    bool observe(bool present, qint64 nowMs, bool mayStart = true);

    // The slot's run has ended.
    void runEnded();
    // The operator asks for another try of the board in place.
    void rearm() { m_armed = true; }
    // The job changed, or the slot's run was cut short by a crash: nothing starts until the board
    // is taken away or the operator re-arms the slot.
    void disarm() { m_armed = false; }

    bool isArmed() const { return m_armed; }
    bool isRunning() const { return m_running; }
    // What the last observation saw; false before any.
    bool isPresent() const { return m_known && m_present; }
    // How long the board has been seen present without a break; 0 when absent or unknown.
    qint64 presentForMs(qint64 nowMs) const;
    // How long the board has been seen absent without a break; 0 when present or unknown.
    qint64 absentForMs(qint64 nowMs) const;
    qint64 settleMs() const { return m_settleMs; }

private:
    qint64 m_settleMs;
    bool m_armed;
    bool m_running = false;
    bool m_known = false;
    bool m_present = false;
    // When the current unbroken stretch of presence or absence was first seen.
    qint64 m_sinceMs = 0;
};
