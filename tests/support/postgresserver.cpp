#include "postgresserver.h"
#include "forkedprocess.h"

#include <QCollator>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QStandardPaths>
#include <QVariant>

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

namespace {

// The user a root test runs the server as.
const char* const serverUser = "nobody";

bool fail(QString* error, const QString& message)
{
    if (error)
        *error = message;
    return false;
}

} // namespace

PostgresServer::PostgresServer() = default;

PostgresServer::~PostgresServer()
{
    if (running)
        stop();
}

QString PostgresServer::binaryFolder()
{
    auto complete = [](const QString& dir) {
        for (const char* tool : {"initdb", "pg_ctl", "postgres"}) {
            if (!QFileInfo(QDir(dir).filePath(QString::fromLatin1(tool))).isExecutable())
                return false;
        }
        return true;
    };
    const QString inPath = QStandardPaths::findExecutable(QStringLiteral("initdb"));
    if (!inPath.isEmpty() && complete(QFileInfo(inPath).absolutePath()))
        return QFileInfo(inPath).absolutePath();
    // Debian keeps the server's programs out of PATH, one folder per major version: take the newest.
    QStringList versions =
        QDir(QStringLiteral("/usr/lib/postgresql")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    QCollator numeric;
    numeric.setNumericMode(true);
    std::sort(versions.begin(), versions.end(),
              [&](const QString& a, const QString& b) { return numeric.compare(a, b) > 0; });
    for (const QString& version : versions) {
        const QString dir = QStringLiteral("/usr/lib/postgresql/%1/bin").arg(version);
        if (complete(dir))
            return dir;
    }
    return QString();
}

QString PostgresServer::socketFolder() const
{
    return folder ? folder->path() : QString();
}

QString PostgresServer::url(const QString& database) const
{
    return QStringLiteral("postgresql://%1@/%2?host=%3").arg(userName(), database, socketFolder());
}

bool PostgresServer::runTool(const QString& tool, const QStringList& arguments, QString* error, int timeoutMs)
{
    const QString program = QDir(binaryFolder()).filePath(tool);
    ForkedProcess process;
    process.setWorkingDirectory(folder->path());
    process.setProcessChannelMode(QProcess::MergedChannels);
    if (geteuid() == 0) {
        // PostgreSQL will not run as root.
        process.start(QStringLiteral("runuser"),
                      QStringList{QStringLiteral("-u"), QString::fromLatin1(serverUser), QStringLiteral("--"),
                                  program} +
                          arguments);
    } else {
        process.start(program, arguments);
    }
    if (!process.waitForStarted(10000))
        return fail(error, QStringLiteral("%1 did not start: %2").arg(tool, process.errorString()));
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished();
        return fail(error, QStringLiteral("%1 did not end in time: %2")
                               .arg(tool, QString::fromLocal8Bit(process.readAll())));
    }
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return fail(error, QStringLiteral("%1 %2 failed: %3\n%4")
                               .arg(tool, arguments.join(QLatin1Char(' ')),
                                    QString::fromLocal8Bit(process.readAll()), logTail()));
    return true;
}

QString PostgresServer::logTail() const
{
    QFile log(QDir(folder->path()).filePath(QStringLiteral("server.log")));
    if (!log.open(QIODevice::ReadOnly))
        return QString();
    const QByteArray text = log.readAll();
    return QString::fromLocal8Bit(text.right(2000));
}

bool PostgresServer::start(QString* error)
{
    if (running)
        return true;
    const QString bin = binaryFolder();
    if (bin.isEmpty())
        return fail(error, QStringLiteral("No PostgreSQL server programs (initdb, pg_ctl) in PATH or "
                                          "/usr/lib/postgresql/*/bin"));
    if (!folder) {
        // A root test's server user must reach the folder: the usual temporary folder may sit inside
        // one only root can enter, so a root test takes /tmp itself. The socket path stays short.
        const QString base = geteuid() == 0 ? QStringLiteral("/tmp") : QDir::tempPath();
        folder = std::make_unique<QTemporaryDir>(base + QStringLiteral("/harnwick-pg-XXXXXX"));
        if (!folder->isValid())
            return fail(error,
                        QStringLiteral("No temporary folder for the server: %1").arg(folder->errorString()));
        if (geteuid() == 0) {
            const passwd* user = getpwnam(serverUser);
            if (!user)
                return fail(error, QStringLiteral("No user %1 to run the server as").arg(serverUser));
            if (chown(QFile::encodeName(folder->path()).constData(), user->pw_uid, user->pw_gid) != 0)
                return fail(error,
                            QStringLiteral("The server's folder cannot be handed to %1").arg(serverUser));
        }
    }
    const QString data = QDir(folder->path()).filePath(QStringLiteral("data"));
    if (!initialised) {
        if (!runTool(QStringLiteral("initdb"),
                     {QStringLiteral("-D"), data, QStringLiteral("-U"), userName(),
                      QStringLiteral("--auth=trust"), QStringLiteral("-E"), QStringLiteral("UTF8"),
                      QStringLiteral("--locale=C"), QStringLiteral("--no-sync")},
                     error))
            return false;
        // Socket only, in our own folder; durability is not what these tests are about.
        QFile config(QDir(data).filePath(QStringLiteral("postgresql.conf")));
        if (!config.open(QIODevice::Append))
            return fail(error, QStringLiteral("Cannot write %1").arg(config.fileName()));
        config.write(QStringLiteral("\nlisten_addresses = ''\nunix_socket_directories = '%1'\n"
                                    "fsync = off\nsynchronous_commit = off\nfull_page_writes = off\n"
                                    "max_connections = 60\nshared_buffers = 16MB\n")
                         .arg(folder->path())
                         .toUtf8());
        initialised = true;
    }
    if (!runTool(QStringLiteral("pg_ctl"),
                 {QStringLiteral("-D"), data, QStringLiteral("-l"),
                  QDir(folder->path()).filePath(QStringLiteral("server.log")), QStringLiteral("-w"),
                  QStringLiteral("-t"), QStringLiteral("60"), QStringLiteral("start")},
                 error))
        return false;
    running = true;
    return true;
}

bool PostgresServer::stop(QString* error)
{
    if (!running)
        return true;
    const QString data = QDir(folder->path()).filePath(QStringLiteral("data"));
    if (!runTool(QStringLiteral("pg_ctl"),
                 {QStringLiteral("-D"), data, QStringLiteral("-m"), QStringLiteral("fast"),
                  QStringLiteral("-w"), QStringLiteral("-t"), QStringLiteral("60"), QStringLiteral("stop")},
                 error))
        return false;
    running = false;
    return true;
}

QString PostgresServer::createDatabase(QString* error)
{
    if (!running && !start(error))
        return QString();
    const QString name = QStringLiteral("test_%1").arg(++databases);
    const QString connection = QStringLiteral("postgres-server-admin");
    bool ok = false;
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), connection);
        db.setHostName(socketFolder());
        db.setUserName(userName());
        db.setDatabaseName(QStringLiteral("postgres"));
        if (!db.open()) {
            fail(error, QStringLiteral("Cannot reach the test server: %1").arg(db.lastError().text()));
        } else {
            QSqlQuery query(db);
            // The name is made above, never taken from outside.
            ok = query.exec(QStringLiteral("CREATE DATABASE %1").arg(name));
            if (!ok)
                fail(error, QStringLiteral("CREATE DATABASE failed: %1").arg(query.lastError().text()));
        }
        db.close();
    }
    QSqlDatabase::removeDatabase(connection);
    return ok ? url(name) : QString();
}
