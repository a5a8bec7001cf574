#pragma once

#include <QObject>

class QSocketNotifier;

// Turns SIGINT and SIGTERM into a Qt signal on the event loop: the handler only
// writes a byte into a pipe, which a socket notifier reads. One watcher per
// process; the previous handlers come back when it is destroyed.
class InterruptWatcher : public QObject
{
    Q_OBJECT

public:
    explicit InterruptWatcher(QObject* parent = nullptr);
    ~InterruptWatcher() override;

    bool isWatching() const { return notifier != nullptr; }

signals:
    void interrupted();

private:
    void onReadable();

    QSocketNotifier* notifier = nullptr;
};
