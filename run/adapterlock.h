#pragma once

#include <QList>
#include <QPair>
#include <QString>

// Keeps a debug adapter to one Harnwick on this machine: a lock file per device
// id in the user's runtime folder, locked with flock() while a process runs the
// device. The kernel lets go of the lock when the process ends in any way, so a
// crashed or killed Harnwick never leaves an adapter locked. The holder writes
// its process id into the file so that a refused process can name it.
class AdapterLock
{
public:
    AdapterLock() = default;
    ~AdapterLock();
    AdapterLock(const AdapterLock&) = delete;
    AdapterLock& operator=(const AdapterLock&) = delete;

    // Takes the device's lock; false when another process holds it (holderPid() names
    // it) or the lock file cannot be made (then the device is not kept from running).
    bool tryLock(const QString& deviceId);
    void release();
    bool isLocked() const { return fd >= 0; }
    // After tryLock() failed: another process holds the lock (rather than no lock file could be made).
    bool isBusy() const { return busy; }
    // The process holding the lock after tryLock() failed; 0 when unknown.
    qint64 holderPid() const { return holder; }

    // The folder holding the lock files: the runtime folder, or a private one in the
    // temporary folder where there is none.
    static QString lockFolder();
    static QString lockFilePath(const QString& deviceId);
    // Devices whose lock another process holds now, with that process's id.
    static QList<QPair<QString, qint64>> heldElsewhere();
    // What a window starting beside them says of those devices; empty when there are none.
    static QString heldElsewhereText(const QList<QPair<QString, qint64>>& held);

private:
    int fd = -1;
    qint64 holder = 0;
    bool busy = false;
};
