#pragma once

#include <QCoreApplication>
#include <QString>
#include <QStringList>

// Reads the values of a list pool from CSV text: either a file of one column
// (every non-empty line a value, no header) or, when a column is named, a file
// whose first line holds the column names. Fields may be quoted ("a,b", "say ""x""").
// Values are trimmed; a duplicate value is refused, naming both lines.
class CsvListImport
{
    Q_DECLARE_TR_FUNCTIONS(CsvListImport)

public:
    static bool read(const QString& text, const QString& column, QStringList* values, QString* error);
    static bool readFile(const QString& path, const QString& column, QStringList* values, QString* error);

    // One CSV record per value with the quoting read() understands, for exporting.
    static QString quoted(const QString& field);

private:
    struct Record
    {
        QStringList fields;
        int line = 0;
    };
    static bool records(const QString& text, QList<Record>* result, QString* error);
};
