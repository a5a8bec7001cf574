#include "teststores.h"

#include <QDir>
#include <QTest>

void TestStores::addBackendRows()
{
    QTest::addColumn<QString>("backend");
    QTest::newRow("sqlite") << QStringLiteral("sqlite");
    QTest::newRow("postgres") << QStringLiteral("postgres");
}

QString TestStores::freshUrl()
{
    QFETCH(QString, backend);
    return freshUrl(backend);
}

QString TestStores::freshUrl(const QString& backend)
{
    if (backend == QLatin1String("sqlite"))
        return QStringLiteral("sqlite:") +
               QDir(folder.path()).filePath(QStringLiteral("store%1.sqlite").arg(++files));
    if (PostgresServer::binaryFolder().isEmpty()) {
        QTest::qSkip("No PostgreSQL server programs on this machine (Debian: postgresql-15)", __FILE__,
                     __LINE__);
        return QString();
    }
    QString error;
    const QString url = server.createDatabase(&error);
    if (url.isEmpty())
        QTest::qFail(qPrintable(QStringLiteral("The test's PostgreSQL server: %1").arg(error)), __FILE__,
                     __LINE__);
    return url;
}
