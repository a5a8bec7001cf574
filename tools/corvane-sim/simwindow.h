#pragma once

#include <QtGlobal>

// A stretch of the fleet's time, in milliseconds from its epoch: from `fromMs` (inclusive) until
// `untilMs` (exclusive), or for good when `untilMs` is negative.
struct SimWindow
{
    qint64 fromMs = 0;
    qint64 untilMs = -1;

    bool contains(qint64 ms) const { return ms >= fromMs && (untilMs < 0 || ms < untilMs); }
};
