#include "slottracker.h"

SlotTracker::SlotTracker(qint64 settleMs, bool armed) : m_settleMs(qMax<qint64>(0, settleMs)), m_armed(armed)
{}

bool SlotTracker::observe(bool present, qint64 nowMs, bool mayStart)
{
    if (m_running)
        return false;
    if (!m_known || present != m_present) {
        m_known = true;
        m_present = present;
        m_sinceMs = nowMs;
    }
    const bool settled = nowMs - m_sinceMs >= m_settleMs;
    if (!present) {
        if (settled)
            m_armed = true;
        return false;
    }
    if (!m_armed || !settled || !mayStart)
        return false;
    m_armed = false;
    m_running = true;
    return true;
}

void SlotTracker::runEnded()
{
    // The board is taken to be where it was before the run: re-arming by hand starts it at the next
    // poll, and only an absence seen after the run re-arms the slot by itself.
    m_running = false;
}

qint64 SlotTracker::presentForMs(qint64 nowMs) const
{
    return isPresent() ? nowMs - m_sinceMs : 0;
}

qint64 SlotTracker::absentForMs(qint64 nowMs) const
{
    return m_known && !m_present ? nowMs - m_sinceMs : 0;
}
