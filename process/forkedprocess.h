#pragma once

#include <QProcess>

// Every child process of the program is started through this class. Qt starts the
// children of QProcess subclasses with a plain fork() instead of its clone()-based
// fast path, which emulators such as qemu-user do not reproduce faithfully: there the
// start can fail and the cleanup afterwards may signal unrelated processes.
class ForkedProcess : public QProcess
{
public:
    using QProcess::QProcess;

    // Puts the started process this many nice steps below the program's own
    // scheduling priority. Done after the start rather than in the child, so the
    // start itself is not slowed down on a busy machine.
    void lowerPriority(int steps);

    // Starts the process in a process group of its own, so a Ctrl+C typed in the
    // program's terminal reaches the program, which decides what becomes of its
    // children, and not the children themselves.
    void setOwnProcessGroup(bool own) { ownProcessGroup = own; }

protected:
    void setupChildProcess() override;

private:
    bool ownProcessGroup = false;
};
