#pragma once

#include "poolstore.h"

#include <QList>
#include <QObject>
#include <QString>

class QThread;

// Reads the data pools' counts on a thread of its own, so a window never waits
// for the store (which may be a server on the network).
class PoolCountsReader : public QObject
{
    Q_OBJECT

public:
    explicit PoolCountsReader(QObject* parent = nullptr);
    ~PoolCountsReader() override;

    // Starts a read unless one is on; storeUrl empty for the default store.
    void read(const QString& storeUrl = QString());

signals:
    void countsRead(const QList<PoolCounts>& counts, const QString& error);

private:
    QThread* worker = nullptr;
};

Q_DECLARE_METATYPE(QList<PoolCounts>)
