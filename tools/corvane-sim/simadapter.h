#pragma once

#include "simfault.h"

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
};
