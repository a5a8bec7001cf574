#include "storelocation.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QUrl>

namespace {

QString decoded(const QString& text)
{
    return QUrl::fromPercentEncoding(text.toUtf8());
}

QString encoded(const QString& text, const QByteArray& keep = QByteArray())
{
    return QString::fromLatin1(QUrl::toPercentEncoding(text, keep));
}

bool setError(QString* error, const QString& message)
{
    if (error)
        *error = message;
    return false;
}

} // namespace

StoreLocation StoreLocation::defaultLocation()
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    return sqliteFile(QDir(folder).filePath(QStringLiteral("production.sqlite")));
}

StoreLocation StoreLocation::sqliteFile(const QString& path)
{
    StoreLocation location;
    location.kind_ = Kind::Sqlite;
    location.path = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    return location;
}

StoreLocation StoreLocation::fromUrl(const QString& url, QString* error)
{
    const QString text = url.trimmed();
    if (text.isEmpty()) {
        setError(error, tr("No database named: give sqlite:PATH or postgresql://user@host:port/dbname."));
        return {};
    }

    if (text.startsWith(QLatin1String("sqlite:"), Qt::CaseInsensitive)) {
        QString path = text.mid(7);
        if (path.startsWith(QLatin1String("//")))
            path = path.mid(2);
        if (path == QLatin1String("~") || path.startsWith(QLatin1String("~/")))
            path = QDir::homePath() + path.mid(1);
        if (path.isEmpty()) {
            setError(error, tr("The database URL \"%1\" names no file: write sqlite:PATH.").arg(text));
            return {};
        }
        if (QFileInfo(path).isDir()) {
            setError(error, tr("The database URL \"%1\" names a folder, not a file.").arg(text));
            return {};
        }
        return sqliteFile(path);
    }

    QString rest;
    for (const auto scheme : {QLatin1String("postgresql://"), QLatin1String("postgres://")}) {
        if (text.startsWith(scheme, Qt::CaseInsensitive)) {
            rest = text.mid(scheme.size());
            break;
        }
    }
    if (rest.isNull()) {
        setError(error, tr("\"%1\" is not a database URL Harnwick knows: give sqlite:PATH or "
                           "postgresql://user@host:port/dbname.")
                            .arg(text));
        return {};
    }

    StoreLocation location;
    location.kind_ = Kind::Postgres;
    // The message does not repeat the URL: it holds the password.
    const QString passwordAdvice = tr("Leave the password out of the database URL: Harnwick never stores it; "
                                      "the server's password is read from ~/.pgpass or PGPASSWORD.");

    QString query;
    const int queryStart = rest.indexOf(QLatin1Char('?'));
    if (queryStart >= 0) {
        query = rest.mid(queryStart + 1);
        rest.truncate(queryStart);
    }
    const int slash = rest.indexOf(QLatin1Char('/'));
    QString authority = slash >= 0 ? rest.left(slash) : rest;
    const QString databasePart = slash >= 0 ? rest.mid(slash + 1) : QString();
    if (databasePart.contains(QLatin1Char('/'))) {
        setError(error, tr("The database name in \"%1\" holds a slash: for a socket folder write "
                           "?host=/socket/dir after the name.")
                            .arg(text));
        return {};
    }
    location.database = decoded(databasePart);

    const int at = authority.lastIndexOf(QLatin1Char('@'));
    if (at >= 0) {
        const QString userInfo = authority.left(at);
        if (userInfo.contains(QLatin1Char(':'))) {
            setError(error, passwordAdvice);
            return {};
        }
        location.user = decoded(userInfo);
        authority = authority.mid(at + 1);
    }

    QString portText;
    if (authority.startsWith(QLatin1Char('['))) {
        const int close = authority.indexOf(QLatin1Char(']'));
        if (close < 0) {
            setError(error, tr("The address in \"%1\" lacks its closing bracket.").arg(text));
            return {};
        }
        location.host_ = authority.mid(1, close - 1);
        const QString after = authority.mid(close + 1);
        if (!after.isEmpty() && !after.startsWith(QLatin1Char(':'))) {
            setError(error, tr("The address in \"%1\" is followed by \"%2\".").arg(text, after));
            return {};
        }
        portText = after.mid(1);
    } else {
        const int colon = authority.indexOf(QLatin1Char(':'));
        location.host_ = decoded(colon >= 0 ? authority.left(colon) : authority);
        if (colon >= 0)
            portText = authority.mid(colon + 1);
    }

    auto readPort = [&](const QString& value) {
        bool ok = false;
        const int port = value.toInt(&ok);
        if (!ok || port < 1 || port > 65535)
            return setError(
                error, tr("The port \"%1\" in \"%2\" is not a number from 1 to 65535.").arg(value, text));
        location.port_ = port;
        return true;
    };
    if (authority.contains(QLatin1Char(':')) && !readPort(portText))
        return {};

    if (!query.isEmpty()) {
        for (const QString& pair : query.split(QLatin1Char('&'), Qt::SkipEmptyParts)) {
            const int equals = pair.indexOf(QLatin1Char('='));
            const QString key = decoded(equals >= 0 ? pair.left(equals) : pair).toLower();
            const QString value = equals >= 0 ? decoded(pair.mid(equals + 1)) : QString();
            if (key == QLatin1String("host")) {
                location.host_ = value;
            } else if (key == QLatin1String("port")) {
                if (!readPort(value))
                    return {};
            } else if (key == QLatin1String("user")) {
                location.user = value;
            } else if (key == QLatin1String("dbname")) {
                location.database = value;
            } else if (key == QLatin1String("sslmode")) {
                static const QStringList modes = {QStringLiteral("disable"),   QStringLiteral("allow"),
                                                  QStringLiteral("prefer"),    QStringLiteral("require"),
                                                  QStringLiteral("verify-ca"), QStringLiteral("verify-full")};
                if (!modes.contains(value)) {
                    setError(error, tr("\"%1\" is not an sslmode (use one of %2).")
                                        .arg(value, modes.join(QStringLiteral(", "))));
                    return {};
                }
                location.sslMode_ = value;
            } else if (key == QLatin1String("password")) {
                setError(error, passwordAdvice);
                return {};
            } else {
                setError(error, tr("The database URL \"%1\" has an option Harnwick does not know: \"%2\" "
                                   "(known: host, port, user, dbname, sslmode).")
                                    .arg(text, key));
                return {};
            }
        }
    }
    return location;
}

QString StoreLocation::url() const
{
    switch (kind_) {
    case Kind::None:
        return QString();
    case Kind::Sqlite:
        return QStringLiteral("sqlite:") + path;
    case Kind::Postgres:
        break;
    }
    QString text = QStringLiteral("postgresql://");
    if (!user.isEmpty())
        text += encoded(user) + QLatin1Char('@');
    const bool socketFolder = host_.startsWith(QLatin1Char('/'));
    if (!socketFolder)
        text +=
            host_.contains(QLatin1Char(':')) ? QLatin1Char('[') + host_ + QLatin1Char(']') : encoded(host_);
    if (port_ > 0)
        text += QLatin1Char(':') + QString::number(port_);
    text += QLatin1Char('/') + encoded(database);
    QStringList options;
    if (socketFolder)
        options << QStringLiteral("host=") + encoded(host_, "/");
    if (!sslMode_.isEmpty())
        options << QStringLiteral("sslmode=") + sslMode_;
    if (!options.isEmpty())
        text += QLatin1Char('?') + options.join(QLatin1Char('&'));
    return text;
}
