#pragma once

#include "poolstore.h"
#include "productionstore.h"
#include "storelocation.h"

#include <QDebug>
#include <QString>

#include <memory>

// The production store opened on the calling thread for the pool tests.
class PoolTestStore
{
public:
    static QString sqliteLocation(const QString& path) { return QStringLiteral("sqlite:") + path; }

    bool open(const QString& url)
    {
        QString error;
        const StoreLocation location = StoreLocation::fromUrl(url, &error);
        store = std::make_unique<ProductionStore>();
        if (location.isValid() && store->open(location, &error))
            return true;
        qWarning() << error;
        store.reset();
        return false;
    }

    void close() { store.reset(); }

    QSqlDatabase database() const { return store->database(); }
    qint64 stationId() const { return store->stationId(); }
    PoolStore pools() const { return PoolStore(store->database(), store->isPostgres(), store->stationId()); }

private:
    std::unique_ptr<ProductionStore> store;
};
