#pragma once

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QString>

class QTimer;

// Output lines arrive far faster than anyone can read them: this keeps the
// latest line per device and hands them out together at a readable pace, so
// a flood of output never floods the event loop with repaints.
class LatestLines : public QObject
{
    Q_OBJECT

public:
    explicit LatestLines(int intervalMs, QObject* parent = nullptr);

    void add(const QString& id, const QByteArray& line);
    // A line still waiting must not overwrite what comes after it (an outcome).
    void drop(const QString& id) { pending.remove(id); }
    // Asks for a refresh even without new lines (outcomes set meanwhile want it too).
    void schedule();

signals:
    // Every id's latest line since the last refresh; may be empty.
    void refresh(const QHash<QString, QByteArray>& lines);

private:
    void emitRefresh();

    QHash<QString, QByteArray> pending;
    QTimer* timer;
};
