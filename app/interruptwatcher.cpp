#include "interruptwatcher.h"

#include <QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

int pipeEnds[2] = {-1, -1};
struct sigaction previousInt;
struct sigaction previousTerm;

void onSignal(int)
{
    const char byte = 1;
    // Only async-signal-safe calls here; a full pipe just loses a repeated press.
    [[maybe_unused]] const ssize_t written = ::write(pipeEnds[1], &byte, 1);
}

} // namespace

InterruptWatcher::InterruptWatcher(QObject* parent) : QObject(parent)
{
    if (pipeEnds[0] >= 0 || ::pipe(pipeEnds) != 0)
        return;
    for (int end : pipeEnds) {
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
        ::fcntl(end, F_SETFL, ::fcntl(end, F_GETFL) | O_NONBLOCK);
    }
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGINT, &action, &previousInt);
    ::sigaction(SIGTERM, &action, &previousTerm);
    notifier = new QSocketNotifier(pipeEnds[0], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &InterruptWatcher::onReadable);
}

InterruptWatcher::~InterruptWatcher()
{
    if (!notifier)
        return;
    ::sigaction(SIGINT, &previousInt, nullptr);
    ::sigaction(SIGTERM, &previousTerm, nullptr);
    delete notifier;
    ::close(pipeEnds[0]);
    ::close(pipeEnds[1]);
    pipeEnds[0] = pipeEnds[1] = -1;
}

void InterruptWatcher::onReadable()
{
    // One press, one byte: two quick presses are still two.
    char bytes[16];
    ssize_t count = 0;
    while ((count = ::read(pipeEnds[0], bytes, sizeof bytes)) > 0)
        for (ssize_t i = 0; i < count; ++i)
            emit interrupted();
}
