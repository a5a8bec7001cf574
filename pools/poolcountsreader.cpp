#include "poolcountsreader.h"

#include "poolstoreconnection.h"

#include <QThread>

PoolCountsReader::PoolCountsReader(QObject* parent) : QObject(parent)
{
    qRegisterMetaType<QList<PoolCounts>>();
}

PoolCountsReader::~PoolCountsReader()
{
    if (worker)
        worker->wait();
}

void PoolCountsReader::read(const QString& storeUrl)
{
    if (worker)
        return;
    worker = QThread::create([this, storeUrl] {
        QList<PoolCounts> counts;
        QString error;
        {
            PoolStoreConnection connection;
            if (connection.open(storeUrl, &error))
                connection.pools().counts(&counts, &error);
        }
        QMetaObject::invokeMethod(
            this, [this, counts, error] { emit countsRead(counts, error); }, Qt::QueuedConnection);
    });
    connect(worker, &QThread::finished, this, [this] {
        worker->deleteLater();
        worker = nullptr;
    });
    worker->start();
}
