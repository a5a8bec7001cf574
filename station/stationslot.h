#pragma once

#include "jobexecution.h"
#include "slottracker.h"

#include <QString>

class CorvaneProcessRunner;
class JobRunEngine;

// One place on the bench where boards are programmed: an adapter, its board and its last unit.
struct StationSlot
{
    enum class State
    {
        Ready,
        Running,
        Pass,
        Fail,
        Interrupted,
        NotAllowed
    };

    QString id; // the adapter's serial number
    JobDevice device;
    bool allowed = false;
    SlotTracker tracker;
    State state = State::Ready;
    // FAIL: why; INTERRUPTED: what was cut short.
    QString reason;
    // RUNNING: the action's place among the enabled ones (1-based, 0 before the first), and its percent.
    int action = 0;
    int percent = -1;
    // When the slot's adapter was last asked for its board (target trigger).
    qint64 askedMs = -1;
    // Set for the slot's unit while it runs; owned by the station engine.
    CorvaneProcessRunner* runner = nullptr;
    JobRunEngine* engine = nullptr;
};
