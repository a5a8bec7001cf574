#pragma once

#include <QProcess>

// The program's own helpers (zip, unzip, the executable check) are started through this
// class; the tool's job processes go through SpawnedProcess. Qt starts the
// children of QProcess subclasses with a plain fork() instead of its clone()-based
// fast path, which emulators such as qemu-user do not reproduce faithfully: there the
// start can fail and the cleanup afterwards may signal unrelated processes.
class ForkedProcess : public QProcess
{
public:
    using QProcess::QProcess;
};
