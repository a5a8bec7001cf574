#pragma once

#include <QCoreApplication>
#include <QString>

// The values first, first + step, ... up to last (inclusive) of a counter or MAC
// block pool, as numbers; index 0 is the first value.
class PoolRange
{
    Q_DECLARE_TR_FUNCTIONS(PoolRange)

public:
    quint64 first = 0;
    quint64 last = 0;
    quint64 step = 1;

    // "FIRST..LAST" of decimal numbers (0 up to 2^63 - 1).
    static bool parseCounter(const QString& text, quint64 step, PoolRange* range, QString* error);
    // "FIRST..LAST" of MAC addresses.
    static bool parseMac(const QString& text, quint64 step, PoolRange* range, QString* error);

    quint64 count() const { return (last - first) / step + 1; }
    // The value at index, which must be below count(): never past last, so never overflows.
    quint64 valueAt(quint64 index) const { return first + index * step; }
    // Whether two ranges hand out a value in common.
    bool overlaps(const PoolRange& other) const;

private:
    static bool check(PoolRange* range, QString* error);
};
