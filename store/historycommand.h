#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

class QTextStream;

// "harnwick --history": the device results kept in the production store,
// printed or written as CSV, without a window or a display:
//   harnwick --history [--device ID] [--since DATE] [--until DATE] [--csv FILE] [--database URL]
// Oldest first, one line per result. Exit status 0 when results were found,
// 1 when none match, 2 for bad options, a bad URL or a store that cannot be read.
class HistoryCommand : public QObject
{
    Q_OBJECT

public:
    enum ExitCode
    {
        Found = 0,
        NoneFound = 1,
        CannotRead = 2
    };

    HistoryCommand(QTextStream& out, QTextStream& err, QObject* parent = nullptr);

    // True when the arguments (program name first) ask for the history.
    static bool isHistoryCommand(const QStringList& arguments);

    int exec(const QStringList& arguments);

    // A moment given on the command line, as Unix milliseconds: an ISO 8601 date or date and time
    // (local time unless it names its zone), "today" or "yesterday". A date alone is its first
    // millisecond, or with `endOfDay` its last. False with a sentence in *error otherwise.
    static bool parseMoment(const QString& text, bool endOfDay, qint64* ms, QString* error);

    // A column of the data pool values a unit received ("unit_sn=HW-000123; eth_mac=02:1A:00:00:01:0F"),
    // for a query over device_results under the given alias.
    static QString poolValuesColumn(const QString& resultAlias, bool postgres);

private:
    int fail(const QString& message);
    void printHelp();

    QTextStream& out;
    QTextStream& err;
};
