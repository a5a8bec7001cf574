#pragma once

#include "poolstore.h"

#include <QCoreApplication>
#include <QStringList>

class QTextStream;

// The data pool commands of the command line: "--pool-define NAME" with "--counter",
// "--mac" or "--list", and "--pools", each with an optional "--database URL".
// Exit codes: 0 done, 1 the store could not be used, 2 bad input.
class PoolCommandLine
{
    Q_DECLARE_TR_FUNCTIONS(PoolCommandLine)

public:
    enum ExitCode
    {
        Success = 0,
        StoreFailed = 1,
        BadInput = 2
    };

    // What the command line asks for, read without touching the store.
    struct Request
    {
        bool list = false; // "--pools"
        PoolDefinition definition;
        QString listFile;
        QString column;
        QString database;
    };

    PoolCommandLine(QTextStream& out, QTextStream& err);

    static bool handles(const QStringList& arguments);
    // Reads the arguments (the program name first); list values are not read yet.
    static bool parse(const QStringList& arguments, Request* request, QString* error);
    // One line of "--pools": name, kind, left, committed, released, voided, reserved, tab separated.
    static QString countsLine(const PoolCounts& counts);

    int exec(const QStringList& arguments);

private:
    int fail(ExitCode code, const QString& message);

    QTextStream& out;
    QTextStream& err;
};
