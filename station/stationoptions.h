#pragma once

#include "slottracker.h"

#include <QStringList>

// How a station watches its bench.
struct StationOptions
{
    enum class Trigger
    {
        // A board carries its own adapter: a new adapter in "adapter list" is a new board.
        Adapter,
        // Adapters stay in a fixture: "device info" succeeding on an idle slot's adapter is a new board.
        Target
    };

    Trigger trigger = Trigger::Adapter;
    qint64 settleMs = SlotTracker::defaultSettleMs;
    int pollMs = 500;
    // Target trigger: an adapter without a board for longer than `restAfterMs` is asked only every
    // `restPollMs`, since each question is a process of the tool's and a fixture may hold many.
    qint64 restAfterMs = 20000;
    int restPollMs = 3000;
    // Serial number or nickname wildcards; empty: the job bundle's checked devices.
    QStringList allowPatterns;
};
