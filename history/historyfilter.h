#pragma once

#include <QDate>
#include <QString>
#include <QVariantList>

// What the history shows: every field left empty matches everything. The
// builder turns it into a WHERE condition over device_results (alias r) joined
// with runs (alias u), with every value bound, never pasted into the SQL.
class HistoryFilter
{
public:
    struct Condition
    {
        // Starts with "WHERE " when there is a condition; empty otherwise.
        QString sql;
        // Bound in order to the positional placeholders of sql.
        QVariantList values;
    };

    // A device id or a part of it, as typed, or a data pool value the unit received or a part of it.
    QString deviceText;
    // A whole device id: the runs of one unit.
    QString exactDeviceId;
    // One of the stored outcomes ("done", "failed", ...).
    QString outcome;
    // Local days, both inclusive; a null date leaves that end open.
    QDate since;
    QDate until;
    // A row id of the stations table; 0 for all stations.
    qint64 stationId = 0;
    // The SHA-256 of a bundle or of an image a run used, or its beginning.
    QString hash;

    bool operator==(const HistoryFilter& other) const;
    bool operator!=(const HistoryFilter& other) const { return !(*this == other); }

    Condition condition() const;
    // The same with more terms joined by AND (e.g. a page boundary), values appended.
    Condition condition(const QStringList& extraTerms, const QVariantList& extraValues) const;

    // A LIKE pattern that matches the text literally, for "LIKE ? ESCAPE '\'".
    static QString escapeLike(const QString& text);
    // Unix milliseconds at the start of a local day.
    static qint64 startOfLocalDay(const QDate& day);
};
