#include "forkedprocess.h"

#include <cerrno>
#include <sys/resource.h>
#include <unistd.h>

void ForkedProcess::lowerPriority(int steps)
{
    const qint64 pid = processId();
    if (pid <= 0 || steps <= 0)
        return;
    errno = 0;
    const int own = ::getpriority(PRIO_PROCESS, 0);
    if (own == -1 && errno != 0)
        return;
    // Failing leaves the process at its inherited priority, which is harmless.
    ::setpriority(PRIO_PROCESS, id_t(pid), own + steps);
}

void ForkedProcess::setupChildProcess()
{
    // In the child, between fork and exec: only async-signal-safe calls.
    if (ownProcessGroup)
        ::setpgid(0, 0);
}
