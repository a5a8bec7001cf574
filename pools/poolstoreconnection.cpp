#include "poolstoreconnection.h"

#include "productionstore.h"
#include "storelocation.h"
#include "storesettings.h"

#include <cerrno>
#include <csignal>

PoolStoreConnection::PoolStoreConnection() = default;
PoolStoreConnection::~PoolStoreConnection() = default;

bool PoolStoreConnection::processAlive(qint64 pid)
{
    if (pid <= 0)
        return false;
    // A process of another user answers EPERM: it is alive all the same.
    return ::kill(pid_t(pid), 0) == 0 || errno == EPERM;
}

bool PoolStoreConnection::open(const QString& url, QString* error, bool* badLocation)
{
    if (badLocation)
        *badLocation = false;
    auto opened = std::make_unique<ProductionStore>();
    // Empty: the store the settings name, as the run's records go to.
    StoreLocation location = StoreSettings::location();
    if (!url.isEmpty()) {
        QString why;
        location = StoreLocation::fromUrl(url, &why);
        if (!why.isEmpty()) {
            *error = why;
            if (badLocation)
                *badLocation = true;
            return false;
        }
    }
    if (!opened->open(location, error))
        return false;
    store = std::move(opened);
    PoolStore pools = this->pools();
    return pools.settleInterrupted(error, &PoolStoreConnection::processAlive) >= 0;
}

bool PoolStoreConnection::isOpen() const
{
    return store != nullptr;
}

PoolStore PoolStoreConnection::pools() const
{
    return PoolStore(store->database(), store->isPostgres(), store->stationId());
}
