#include "historyfilter.h"

#include <QDateTime>
#include <QRegularExpression>

namespace {

const QChar likeEscape = QLatin1Char('\\');

} // namespace

bool HistoryFilter::operator==(const HistoryFilter& other) const
{
    return deviceText == other.deviceText && exactDeviceId == other.exactDeviceId &&
           outcome == other.outcome && since == other.since && until == other.until &&
           stationId == other.stationId && hash == other.hash;
}

QString HistoryFilter::escapeLike(const QString& text)
{
    QString escaped;
    escaped.reserve(text.size() + 4);
    for (const QChar c : text) {
        if (c == likeEscape || c == QLatin1Char('%') || c == QLatin1Char('_'))
            escaped += likeEscape;
        escaped += c;
    }
    return escaped;
}

qint64 HistoryFilter::startOfLocalDay(const QDate& day)
{
    return QDateTime(day, QTime(0, 0), Qt::LocalTime).toMSecsSinceEpoch();
}

HistoryFilter::Condition HistoryFilter::condition() const
{
    return condition({}, {});
}

HistoryFilter::Condition HistoryFilter::condition(const QStringList& extraTerms,
                                                  const QVariantList& extraValues) const
{
    QStringList terms;
    QVariantList values;
    const QString device = deviceText.trimmed();
    if (!device.isEmpty()) {
        // Lower on both sides: the same match on SQLite (whose LIKE ignores ASCII case) and PostgreSQL.
        // A unit is also found by a value it received from a data pool (which board has this MAC?).
        terms << QStringLiteral(
            "(LOWER(r.device_id) LIKE ? ESCAPE '\\' OR EXISTS (SELECT 1 FROM pool_values v "
            "WHERE v.run_id = r.run_id AND v.device_id = r.device_id AND LOWER(v.value) "
            "LIKE ? ESCAPE '\\'))");
        const QString pattern = QLatin1Char('%') + escapeLike(device.toLower()) + QLatin1Char('%');
        values << pattern << pattern;
    }
    if (!exactDeviceId.isEmpty()) {
        terms << QStringLiteral("r.device_id = ?");
        values << exactDeviceId;
    }
    if (!outcome.isEmpty()) {
        terms << QStringLiteral("r.outcome = ?");
        values << outcome;
    }
    if (since.isValid()) {
        terms << QStringLiteral("r.started_ms >= ?");
        values << startOfLocalDay(since);
    }
    if (until.isValid()) {
        terms << QStringLiteral("r.started_ms < ?");
        values << startOfLocalDay(until.addDays(1));
    }
    if (stationId > 0) {
        terms << QStringLiteral("u.station_id = ?");
        values << stationId;
    }
    // Hashes are stored as lower-case hex; a whole one is looked up exactly, a beginning by prefix.
    const QString wanted = hash.trimmed().toLower();
    if (!wanted.isEmpty()) {
        static const QRegularExpression wholeHash(QStringLiteral("^[0-9a-f]{64}$"));
        if (wholeHash.match(wanted).hasMatch()) {
            terms << QStringLiteral("(u.job_sha256 = ? OR EXISTS (SELECT 1 FROM run_files f "
                                    "WHERE f.run_id = r.run_id AND f.sha256 = ?))");
            values << wanted << wanted;
        } else {
            const QString prefix = escapeLike(wanted) + QLatin1Char('%');
            terms << QStringLiteral("(u.job_sha256 LIKE ? ESCAPE '\\' OR EXISTS (SELECT 1 FROM run_files f "
                                    "WHERE f.run_id = r.run_id AND f.sha256 LIKE ? ESCAPE '\\'))");
            values << prefix << prefix;
        }
    }
    terms << extraTerms;
    values << extraValues;
    Condition result;
    if (!terms.isEmpty())
        result.sql = QStringLiteral("WHERE ") + terms.join(QStringLiteral(" AND "));
    result.values = values;
    return result;
}
