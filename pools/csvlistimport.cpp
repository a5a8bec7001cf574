#include "csvlistimport.h"

#include <QFile>
#include <QHash>

bool CsvListImport::records(const QString& text, QList<Record>* result, QString* error)
{
    Record record;
    QString field;
    bool inQuotes = false;
    bool fieldWasQuoted = false;
    int line = 1;
    record.line = 1;
    int quoteLine = 0;
    auto endField = [&] {
        record.fields.append(fieldWasQuoted ? field : field.trimmed());
        field.clear();
        fieldWasQuoted = false;
    };
    auto endRecord = [&] {
        endField();
        const bool blank = record.fields.size() == 1 && record.fields.first().isEmpty();
        if (!blank)
            result->append(record);
        record = Record();
    };
    const int length = text.size();
    for (int i = 0; i < length; ++i) {
        const QChar c = text.at(i);
        if (inQuotes) {
            if (c == QLatin1Char('"')) {
                if (i + 1 < length && text.at(i + 1) == QLatin1Char('"')) {
                    field.append(c);
                    ++i;
                } else {
                    inQuotes = false;
                }
            } else {
                if (c == QLatin1Char('\n'))
                    ++line;
                field.append(c);
            }
            continue;
        }
        if (c == QLatin1Char('"')) {
            if (!field.trimmed().isEmpty() || fieldWasQuoted) {
                *error = tr("Line %1 has a quote inside a field that does not start with one.").arg(line);
                return false;
            }
            field.clear();
            inQuotes = true;
            fieldWasQuoted = true;
            quoteLine = line;
        } else if (c == QLatin1Char(',')) {
            endField();
        } else if (c == QLatin1Char('\r') || c == QLatin1Char('\n')) {
            if (c == QLatin1Char('\r') && i + 1 < length && text.at(i + 1) == QLatin1Char('\n'))
                ++i;
            endRecord();
            ++line;
            record.line = line;
        } else if (fieldWasQuoted) {
            if (!c.isSpace()) {
                *error = tr("Line %1 has text after a closing quote.").arg(line);
                return false;
            }
        } else {
            field.append(c);
        }
    }
    if (inQuotes) {
        *error = tr("The quote opened on line %1 is never closed.").arg(quoteLine);
        return false;
    }
    if (!field.isEmpty() || fieldWasQuoted || !record.fields.isEmpty())
        endRecord();
    return true;
}

bool CsvListImport::read(const QString& text, const QString& column, QStringList* values, QString* error)
{
    QList<Record> all;
    if (!records(text, &all, error))
        return false;
    int index = 0;
    int firstValue = 0;
    if (!column.isEmpty()) {
        if (all.isEmpty()) {
            *error = tr("The file is empty; it has no column \"%1\".").arg(column);
            return false;
        }
        index = all.first().fields.indexOf(column);
        if (index < 0) {
            *error = tr("The first line has no column \"%1\"; it has %2.")
                         .arg(column, all.first().fields.join(QStringLiteral(", ")));
            return false;
        }
        firstValue = 1;
    }
    QStringList result;
    QHash<QString, int> seen;
    for (int i = firstValue; i < all.size(); ++i) {
        const Record& record = all.at(i);
        if (column.isEmpty() && record.fields.size() != 1) {
            *error = tr("Line %1 has %2 columns; name the column to import.")
                         .arg(record.line)
                         .arg(record.fields.size());
            return false;
        }
        const QString value = record.fields.value(index);
        if (value.isEmpty()) {
            *error =
                column.isEmpty()
                    ? tr("Line %1 has an empty value.").arg(record.line)
                    : tr("Line %1 has no value in column \"%2\".").arg(QString::number(record.line), column);
            return false;
        }
        const auto earlier = seen.constFind(value);
        if (earlier != seen.constEnd()) {
            *error = tr("The value \"%1\" on line %2 is a duplicate of line %3.")
                         .arg(value, QString::number(record.line), QString::number(earlier.value()));
            return false;
        }
        seen.insert(value, record.line);
        result.append(value);
    }
    if (result.isEmpty()) {
        *error = tr("The file holds no values.");
        return false;
    }
    *values = result;
    return true;
}

bool CsvListImport::readFile(const QString& path, const QString& column, QStringList* values, QString* error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = tr("Cannot read \"%1\": %2").arg(path, file.errorString());
        return false;
    }
    QString text = QString::fromUtf8(file.readAll());
    if (text.startsWith(QChar(0xFEFF)))
        text.remove(0, 1);
    return read(text, column, values, error);
}

QString CsvListImport::quoted(const QString& field)
{
    static const QString special = QStringLiteral(",\"\r\n");
    bool needs = field != field.trimmed();
    for (const QChar c : field)
        needs = needs || special.contains(c);
    if (!needs)
        return field;
    QString doubled = field;
    doubled.replace(QLatin1Char('"'), QStringLiteral("\"\""));
    return QLatin1Char('"') + doubled + QLatin1Char('"');
}
