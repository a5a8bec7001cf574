#pragma once

#include <QCoreApplication>
#include <QList>
#include <QSqlDatabase>
#include <QStringList>
#include <QVector>

// One step of the store's schema, with the statements for each back-end.
struct StoreMigration
{
    int version;
    QStringList sqlite;
    QStringList postgres;
};

// The store's schema, version by version. Each migration is applied in a
// transaction of its own and recorded in schema_migrations, so a store is
// either at a version or before it. Versions may leave gaps; each part of the
// program owns a range: store 1–9, data pools 10–19, station/lots 20–29,
// history 30–39.
class StoreMigrations
{
    Q_DECLARE_TR_FUNCTIONS(StoreMigrations)

public:
    // Every migration the program knows, by version.
    static const QVector<StoreMigration>& list();
    // The highest version in a list.
    static int latestVersion(const QVector<StoreMigration>& migrations = list());

    // The versions a store has applied, read without writing anything (none for a new store).
    // False with a sentence in *error when the store cannot be read.
    static bool appliedVersions(QSqlDatabase db, bool postgres, QList<int>* versions, QString* error);

    // Applies the migrations the store lacks, in order. Several programs may open a new store at
    // once: each migration takes the store's write lock (SQLite) or an advisory lock (PostgreSQL)
    // and checks again whether another one applied it meanwhile.
    static bool apply(QSqlDatabase db, bool postgres, const QVector<StoreMigration>& migrations,
                      QString* error);
};
