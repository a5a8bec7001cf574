#pragma once

#include "postgresserver.h"

#include <QString>
#include <QTemporaryDir>

// Fresh production stores for tests that run once per back-end: a data
// table with the column "backend" ("sqlite", "postgres") and an empty store
// of the row's kind for each test function. The PostgreSQL server starts on
// first use and lives as long as the object (keep one per test class).
class TestStores
{
public:
    // Adds the column "backend" and one row per back-end.
    static void addBackendRows();

    // The URL of a new empty store of the current data row's back-end. Skips the test when the
    // machine has no PostgreSQL server programs; fails it when the server does not start.
    QString freshUrl();
    QString freshUrl(const QString& backend);

    PostgresServer& postgres() { return server; }

private:
    QTemporaryDir folder;
    PostgresServer server;
    int files = 0;
};

// Inside a test function: the URL of a fresh store for the current row, or return.
#define HARNWICK_FRESH_STORE(stores, variable)                                                               \
    const QString variable = (stores).freshUrl();                                                            \
    if (variable.isEmpty())                                                                                  \
        return;
