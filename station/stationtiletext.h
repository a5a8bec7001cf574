#pragma once

#include "stationslot.h"

#include <QCoreApplication>
#include <QString>

// What a slot's tile says: its state as a word, a shape that tells the states apart without colour,
// and one line of detail (the action and its percent while running, the reason of a failure).
struct StationTileText
{
    Q_DECLARE_TR_FUNCTIONS(StationTileText)

public:
    enum class Shape
    {
        Ring,     // READY: an empty circle, waiting
        Triangle, // RUNNING: pointing forward
        Disc,     // PASS: a full circle
        Cross,    // FAIL
        Square,   // INTERRUPTED: stopped
        Bar       // NOT ALLOWED: a no-entry bar
    };

    QString word;
    Shape shape = Shape::Ring;
    QString detail;

    static StationTileText of(StationSlot::State state, int action, int actionCount, int percent,
                              const QString& reason);
};
