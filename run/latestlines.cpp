#include "latestlines.h"

#include <QTimer>

LatestLines::LatestLines(int intervalMs, QObject* parent) : QObject(parent), timer(new QTimer(this))
{
    timer->setSingleShot(true);
    timer->setInterval(intervalMs);
    connect(timer, &QTimer::timeout, this, &LatestLines::emitRefresh);
}

void LatestLines::add(const QString& id, const QByteArray& line)
{
    pending.insert(id, line);
    schedule();
}

void LatestLines::schedule()
{
    if (!timer->isActive())
        timer->start();
}

void LatestLines::emitRefresh()
{
    emit refresh(std::exchange(pending, {}));
}
