#include "lotcounts.h"

#include <QHash>

#include <algorithm>

LotCounts LotCounts::of(QList<LotAttempt> attempts)
{
    std::stable_sort(attempts.begin(), attempts.end(),
                     [](const LotAttempt& a, const LotAttempt& b) { return a.startedMs < b.startedMs; });
    // Per device id: how many tries the board now on it has had (0: none open).
    QHash<QString, int> openTries;
    LotCounts counts;
    for (const LotAttempt& attempt : qAsConst(attempts)) {
        ++counts.units;
        int& tries = openTries[attempt.deviceId];
        ++tries;
        if (!attempt.passed)
            continue;
        ++counts.passed;
        if (tries == 1)
            ++counts.firstPass;
        tries = 0;
    }
    for (const int tries : qAsConst(openTries))
        counts.failed += tries > 0 ? 1 : 0;
    counts.boards = counts.passed + counts.failed;
    return counts;
}
