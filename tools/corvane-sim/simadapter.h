#pragma once

#include "simfault.h"
#include "simtarget.h"
#include "simwindow.h"

#include <QList>
#include <QString>

// One simulated debug adapter with the target wired to it.
struct SimAdapter
{
    quint32 serial = 0;
    QString ip;
    QString nickname;
    bool usb = true;
    bool network = false;
    // The part number of the attached target; empty when no target is attached.
    QString part;
    // False for a target the adapter cannot identify by itself: "device info" then needs --device.
    bool partDetectable = true;
    double flashKiBPerSecond = 48.0;
    QList<SimFault> faults;

    // Hot-plug: when `timed` is set the adapter is there only inside its `attached` windows; when
    // `boardsTimed` is set a board is on it only inside its targets' windows (the part is then
    // every board's part). Without them the adapter and its target are there for good.
    bool timed = false;
    QList<SimWindow> attached;
    bool boardsTimed = false;
    QList<SimTarget> targets;

    bool attachedAt(qint64 ms) const
    {
        if (!timed)
            return true;
        for (const SimWindow& window : attached) {
            if (window.contains(ms))
                return true;
        }
        return false;
    }

    // The board on the adapter at that moment; null when there is none or boards are not timed.
    const SimTarget* targetAt(qint64 ms) const
    {
        for (const SimTarget& target : targets) {
            if (target.window.contains(ms))
                return &target;
        }
        return nullptr;
    }

    bool hasTargetAt(qint64 ms) const
    {
        if (part.isEmpty())
            return false;
        return !boardsTimed || targetAt(ms) != nullptr;
    }
};
