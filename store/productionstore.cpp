#include "productionstore.h"

#include "storemigrations.h"

#include <QAtomicInteger>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QSqlError>
#include <QSqlQuery>
#include <QSysInfo>
#include <QThread>
#include <QVariant>

#include <algorithm>

namespace {

QString newConnectionName()
{
    static QAtomicInteger<quint64> counter;
    return QStringLiteral("harnwick-store-%1").arg(++counter);
}

} // namespace

ProductionStore::ProductionStore() : connectionName(newConnectionName()) {}

ProductionStore::~ProductionStore()
{
    close();
}

QString ProductionStore::stationName() const
{
    return station.isEmpty() ? QSysInfo::machineHostName() : station;
}

QSqlDatabase ProductionStore::database() const
{
    return QSqlDatabase::database(connectionName, false);
}

bool ProductionStore::isOpen() const
{
    return QSqlDatabase::contains(connectionName) && database().isOpen();
}

void ProductionStore::close()
{
    if (!QSqlDatabase::contains(connectionName))
        return;
    {
        QSqlDatabase db = QSqlDatabase::database(connectionName, false);
        db.close();
    }
    QSqlDatabase::removeDatabase(connectionName);
    version = 0;
    station_id = 0;
}

bool ProductionStore::fail(QString* error, const QString& message)
{
    if (error)
        *error = message;
    return false;
}

bool ProductionStore::open(const StoreLocation& location, QString* error)
{
    return open(location, StoreMigrations::list(), error);
}

bool ProductionStore::open(const StoreLocation& location, const QVector<StoreMigration>& migrations,
                           QString* error)
{
    close();
    where = location;
    QString reason;
    if (openAndMigrate(migrations, &reason))
        return true;
    // Closed only here, once no query of the failed attempt is left.
    close();
    return fail(error, reason);
}

bool ProductionStore::openAndMigrate(const QVector<StoreMigration>& migrations, QString* error)
{
    const StoreLocation& location = where;
    const QString name = location.displayName();
    if (!location.isValid())
        return fail(error, tr("No production database is set."));

    const bool postgres = location.isPostgres();
    if (!QSqlDatabase::isDriverAvailable(postgres ? QStringLiteral("QPSQL") : QStringLiteral("QSQLITE")))
        return fail(error,
                    tr("The Qt driver for %1 is not installed, so the production database %2 cannot "
                       "be opened.")
                        .arg(postgres ? QStringLiteral("PostgreSQL") : QStringLiteral("SQLite"), name));
    QSqlDatabase db = QSqlDatabase::addDatabase(
        postgres ? QStringLiteral("QPSQL") : QStringLiteral("QSQLITE"), connectionName);
    if (postgres) {
        db.setHostName(location.host());
        if (location.port() > 0)
            db.setPort(location.port());
        db.setUserName(location.userName());
        db.setDatabaseName(location.databaseName());
        QStringList options{QStringLiteral("connect_timeout=%1").arg(connectTimeoutSeconds),
                            QStringLiteral("application_name=harnwick")};
        if (!location.sslMode().isEmpty())
            options << QStringLiteral("sslmode=") + location.sslMode();
        db.setConnectOptions(options.join(QLatin1Char(';')));
    } else {
        const QFileInfo file(location.sqlitePath());
        if (!QDir().mkpath(file.absolutePath()))
            return fail(error, tr("The folder of the production database %1 cannot be made.").arg(name));
        db.setDatabaseName(file.absoluteFilePath());
        db.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(busyTimeoutMs));
    }
    if (!db.open())
        return fail(error,
                    tr("The production database %1 cannot be opened: %2").arg(name, db.lastError().text()));

    // Read the schema version before anything writes: a store of a newer program stays as it is.
    QList<int> applied;
    QString reason;
    if (!StoreMigrations::appliedVersions(db, postgres, &applied, &reason))
        return fail(error, tr("The production database %1 cannot be used: %2").arg(name, reason));
    const int known = StoreMigrations::latestVersion(migrations);
    const int found = applied.isEmpty() ? 0 : *std::max_element(applied.begin(), applied.end());
    if (found > known)
        return fail(error,
                    tr("The production database %1 has schema version %2, newer than this Harnwick knows "
                       "(%3). It was left as it is; use a newer Harnwick with it.")
                        .arg(name)
                        .arg(found)
                        .arg(known));

    if (!postgres) {
        // WAL lets the history read while a run writes. FULL syncs each commit: a result the store
        // took survives a power loss too, and commits are few since results come in batches.
        // The mode stays with the file. Switching it needs the file to itself and SQLite does not wait
        // for that, so programs opening a new store at once try again for a while.
        QSqlQuery query(db);
        QElapsedTimer waited;
        waited.start();
        while (!(query.exec(QStringLiteral("PRAGMA journal_mode")) && query.next() &&
                 query.value(0).toString() == QLatin1String("wal"))) {
            if (query.exec(QStringLiteral("PRAGMA journal_mode=WAL")) && query.next() &&
                query.value(0).toString() == QLatin1String("wal"))
                break;
            if (waited.elapsed() > busyTimeoutMs)
                return fail(error, tr("The production database %1 cannot be set up: %2")
                                       .arg(name, query.lastError().text()));
            QThread::msleep(20);
        }
        for (const QString& pragma :
             {QStringLiteral("PRAGMA synchronous=FULL"), QStringLiteral("PRAGMA foreign_keys=ON")}) {
            if (!query.exec(pragma))
                return fail(error, tr("The production database %1 cannot be set up: %2")
                                       .arg(name, query.lastError().text()));
        }
        query.finish();
    }

    if (!StoreMigrations::apply(db, postgres, migrations, &reason))
        return fail(error,
                    tr("The production database %1 cannot be brought up to date: %2").arg(name, reason));
    if (!StoreMigrations::appliedVersions(db, postgres, &applied, &reason))
        return fail(error, tr("The production database %1 cannot be used: %2").arg(name, reason));
    const int reached = applied.isEmpty() ? 0 : *std::max_element(applied.begin(), applied.end());
    if (!ensureStation(error))
        return false;
    version = reached;
    return true;
}

bool ProductionStore::ensureStation(QString* error)
{
    QSqlDatabase db = database();
    const QString name = stationName();
    // Two programs of one station may open the store at once: the insert yields to the other's row.
    QSqlQuery insert(db);
    insert.prepare(QStringLiteral(
        "INSERT INTO stations(name, host, created_ms) VALUES(?, ?, ?) ON CONFLICT(name) DO NOTHING"));
    insert.addBindValue(name);
    insert.addBindValue(QSysInfo::machineHostName());
    insert.addBindValue(QDateTime::currentMSecsSinceEpoch());
    if (!insert.exec())
        return fail(error, tr("This station cannot be entered in the production database %1: %2")
                               .arg(where.displayName(), insert.lastError().text()));
    QSqlQuery select(db);
    select.prepare(QStringLiteral("SELECT id FROM stations WHERE name = ?"));
    select.addBindValue(name);
    if (!select.exec() || !select.next())
        return fail(error, tr("This station cannot be found in the production database %1: %2")
                               .arg(where.displayName(), select.lastError().text()));
    station_id = select.value(0).toLongLong();
    return true;
}

bool ProductionStore::check(const StoreLocation& location, QString* message)
{
    auto say = [message](const QString& text) {
        if (message)
            *message = text;
    };
    const QString name = location.displayName();
    if (!location.isValid()) {
        say(tr("No production database is set."));
        return false;
    }
    if (!location.isPostgres() && !QFileInfo::exists(location.sqlitePath())) {
        // The nearest folder that exists must let us make the rest.
        QFileInfo folder(QFileInfo(location.sqlitePath()).absolutePath());
        while (!folder.exists() && folder.absoluteFilePath() != QDir::rootPath())
            folder.setFile(folder.absolutePath());
        if (!folder.isDir() || !folder.isWritable()) {
            say(tr("The file %1 cannot be made: %2 is not a writable folder.")
                    .arg(name, QDir::toNativeSeparators(folder.absoluteFilePath())));
            return false;
        }
        say(tr("The file %1 does not exist yet; it is made at the first run.").arg(name));
        return true;
    }
    const QString connection = newConnectionName();
    bool ok = false;
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(
            location.isPostgres() ? QStringLiteral("QPSQL") : QStringLiteral("QSQLITE"), connection);
        if (location.isPostgres()) {
            db.setHostName(location.host());
            if (location.port() > 0)
                db.setPort(location.port());
            db.setUserName(location.userName());
            db.setDatabaseName(location.databaseName());
            QString options = QStringLiteral("connect_timeout=%1").arg(connectTimeoutSeconds);
            if (!location.sslMode().isEmpty())
                options += QStringLiteral(";sslmode=") + location.sslMode();
            db.setConnectOptions(options);
        } else {
            db.setDatabaseName(location.sqlitePath());
            db.setConnectOptions(
                QStringLiteral("QSQLITE_OPEN_READONLY;QSQLITE_BUSY_TIMEOUT=%1").arg(busyTimeoutMs));
        }
        QList<int> applied;
        QString reason;
        if (!db.open()) {
            say(tr("The production database %1 cannot be opened: %2").arg(name, db.lastError().text()));
        } else if (!StoreMigrations::appliedVersions(db, location.isPostgres(), &applied, &reason)) {
            say(tr("The production database %1 cannot be used: %2").arg(name, reason));
        } else {
            const int found = applied.isEmpty() ? 0 : *std::max_element(applied.begin(), applied.end());
            const int known = StoreMigrations::latestVersion();
            ok = found <= known;
            if (!ok)
                say(tr("The production database %1 has schema version %2, newer than this Harnwick knows "
                       "(%3).")
                        .arg(name)
                        .arg(found)
                        .arg(known));
            else if (found == 0)
                say(tr("Connected to %1: a new database; its tables are made at the first run.").arg(name));
            else
                say(tr("Connected to %1: schema version %2.").arg(name).arg(found));
        }
        db.close();
    }
    QSqlDatabase::removeDatabase(connection);
    return ok;
}
