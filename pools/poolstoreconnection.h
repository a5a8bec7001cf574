#pragma once

#include "poolstore.h"

#include <QCoreApplication>
#include <QString>

#include <memory>

class ProductionStore;

// The production store opened for data pool work on the calling thread. Opening it
// settles what an earlier, ended process of this station left reserved, and what
// any station left once its lease ran out.
class PoolStoreConnection
{
    Q_DECLARE_TR_FUNCTIONS(PoolStoreConnection)

public:
    PoolStoreConnection();
    ~PoolStoreConnection();

    // url as the command line takes it; empty for the default store. badLocation
    // tells a location that cannot be read from a store that cannot be opened.
    bool open(const QString& url, QString* error, bool* badLocation = nullptr);
    bool isOpen() const;
    PoolStore pools() const;

    // Whether a process of this machine still runs.
    static bool processAlive(qint64 pid);

private:
    std::unique_ptr<ProductionStore> store;
};
