#include "poolstoreconnection.h"

#include <cerrno>
#include <csignal>

#if __has_include("productionstore.h")
#include "productionstore.h"
#include "storelocation.h"
#define HARNWICK_HAVE_PRODUCTION_STORE 1
#else
// Until the production store lands: a SQLite file of the pool tables alone.
#include <QDir>
#include <QFileInfo>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QStandardPaths>
#include <QUuid>
#include <QVariant>
class ProductionStore
{
public:
    ~ProductionStore()
    {
        if (!name.isEmpty()) {
            QSqlDatabase::database(name, false).close();
            QSqlDatabase::removeDatabase(name);
        }
    }
    bool open(const QString& path, QString* error)
    {
        name = QUuid::createUuid().toString();
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        QDir().mkpath(QFileInfo(path).absolutePath());
        db.setDatabaseName(path);
        db.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=20000"));
        if (!db.open()) {
            *error = db.lastError().text();
            return false;
        }
        QSqlQuery query(db);
        query.exec(QStringLiteral("PRAGMA journal_mode=WAL"));
        query.exec(QStringLiteral("BEGIN IMMEDIATE"));
        query.exec(QStringLiteral("SELECT COUNT(*) FROM sqlite_master WHERE name = 'pools'"));
        if (!(query.next() && query.value(0).toInt() > 0))
            for (const QString& statement : PoolStore::sqliteSchema())
                query.exec(statement);
        query.exec(QStringLiteral("COMMIT"));
        return true;
    }
    QSqlDatabase database() const { return QSqlDatabase::database(name, false); }
    bool isPostgres() const { return false; }
    qint64 stationId() const { return 1; }

private:
    QString name;
};
#endif

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
#ifdef HARNWICK_HAVE_PRODUCTION_STORE
    StoreLocation location = StoreLocation::defaultLocation();
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
#else
    QString path = QDir(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation))
                       .filePath(QStringLiteral("production.sqlite"));
    if (!url.isEmpty()) {
        if (!url.startsWith(QLatin1String("sqlite:"))) {
            *error = tr("\"%1\" is not a store this program can open.").arg(url);
            if (badLocation)
                *badLocation = true;
            return false;
        }
        path = url.mid(7);
    }
    if (!opened->open(path, error))
        return false;
#endif
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
