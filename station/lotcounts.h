#pragma once

#include <QList>
#include <QString>

// One unit of a lot as the store keeps it: which adapter it ran on, when, and whether it passed.
struct LotAttempt
{
    QString deviceId;
    qint64 startedMs = 0;
    bool passed = false;
};

// A lot's counters, computed from its units. The tool tells adapters apart, not boards, so a board
// is what one device id sees from one pass to the next: a unit after a failure on the same device
// id is that board's retry (the re-seated board), a unit after a pass is a new board.
struct LotCounts
{
    int units = 0;     // every run
    int boards = 0;    // passed + failed
    int passed = 0;    // boards that passed, at the first try or later
    int failed = 0;    // boards whose every try so far failed
    int firstPass = 0; // boards that passed at their first try

    // Percentages of boards; 0 when there are none.
    double firstPassYield() const { return boards > 0 ? 100.0 * firstPass / boards : 0.0; }
    double finalYield() const { return boards > 0 ? 100.0 * passed / boards : 0.0; }

    static LotCounts of(QList<LotAttempt> attempts);
};
