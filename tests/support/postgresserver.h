#pragma once

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

// A real PostgreSQL server of the test's own: initdb and pg_ctl in a
// temporary folder, listening only on a Unix socket in that folder, trusting
// local connections. When the tests run as root, the server runs as `nobody`
// (PostgreSQL refuses root) and the folder belongs to it. The binaries are
// taken from PATH or /usr/lib/postgresql/*/bin. Stopped and removed when the
// object goes.
class PostgresServer
{
public:
    PostgresServer();
    ~PostgresServer();
    PostgresServer(const PostgresServer&) = delete;
    PostgresServer& operator=(const PostgresServer&) = delete;

    // The folder holding initdb, pg_ctl and postgres; empty when none is installed.
    static QString binaryFolder();

    // Makes the cluster on first use, then starts the server and waits until it accepts
    // connections. False with the reason (and the server's log) in *error.
    bool start(QString* error);
    // Stops it at once (fast shutdown: open connections are cut); start() brings it back.
    bool stop(QString* error = nullptr);
    bool isRunning() const { return running; }

    // The folder of the server's socket, and the URL of one of its databases.
    QString socketFolder() const;
    QString url(const QString& database) const;
    // Creates a new empty database and returns its URL; empty on failure.
    QString createDatabase(QString* error);
    // The role every connection uses.
    static QString userName() { return QStringLiteral("harnwick"); }

private:
    bool runTool(const QString& tool, const QStringList& arguments, QString* error, int timeoutMs = 120000);
    QString logTail() const;

    std::unique_ptr<QTemporaryDir> folder;
    bool initialised = false;
    bool running = false;
    int databases = 0;
};
