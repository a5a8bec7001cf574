#pragma once

#include <QCoreApplication>
#include <QString>

// Where the production store lives: an SQLite file (one station) or a
// PostgreSQL database (a line of stations). Parsed from the text the user
// gives in the settings or with --database:
//   sqlite:PATH
//   postgresql://user@host:port/dbname   (postgres:// too; every part optional)
//   postgresql://user@/dbname?host=/socket/dir
// A password is never part of a location: libpq finds it in ~/.pgpass or
// PGPASSWORD, so it never lands in Harnwick's settings file.
class StoreLocation
{
    Q_DECLARE_TR_FUNCTIONS(StoreLocation)

public:
    enum class Kind
    {
        None,
        Sqlite,
        Postgres
    };

    StoreLocation() = default;

    // The location a URL names; an invalid location and a sentence in *error when it names none.
    static StoreLocation fromUrl(const QString& url, QString* error);
    // production.sqlite in the application's data folder.
    static StoreLocation defaultLocation();
    static StoreLocation sqliteFile(const QString& path);

    bool isValid() const { return kind_ != Kind::None; }
    Kind kind() const { return kind_; }
    bool isPostgres() const { return kind_ == Kind::Postgres; }

    QString sqlitePath() const { return path; }
    // A host name, an address, or a folder holding the server's socket; empty for libpq's default.
    QString host() const { return host_; }
    int port() const { return port_; } // 0 for the default
    QString userName() const { return user; }
    QString databaseName() const { return database; }
    QString sslMode() const { return sslMode_; }

    // The location as a URL that fromUrl reads back to the same location.
    QString url() const;
    // For messages and the window: the URL, which never holds a password.
    QString displayName() const { return url(); }

    bool operator==(const StoreLocation& other) const { return url() == other.url(); }
    bool operator!=(const StoreLocation& other) const { return !(*this == other); }

private:
    Kind kind_ = Kind::None;
    QString path;
    QString host_;
    int port_ = 0;
    QString user;
    QString database;
    QString sslMode_;
};
