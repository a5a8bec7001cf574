#include "stationallowlist.h"

#include <QRegularExpression>

namespace {

bool matches(const QString& pattern, const QString& text)
{
    if (text.isEmpty())
        return false;
    // The wildcard expression is anchored at both ends: "8010*" never matches inside a longer text.
    const QRegularExpression expression(QRegularExpression::wildcardToRegularExpression(pattern));
    return expression.match(text).hasMatch();
}

} // namespace

StationAllowList::StationAllowList(const QStringList& patterns, const QStringList& bundleSerials)
    : m_patterns(patterns)
{
    for (const QString& serial : bundleSerials) {
        if (!serial.trimmed().isEmpty())
            m_serials.insert(serial.trimmed());
    }
}

QStringList StationAllowList::splitPatterns(const QString& text)
{
    QStringList patterns;
    for (const QString& part : text.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        if (!part.trimmed().isEmpty())
            patterns << part.trimmed();
    }
    return patterns;
}

bool StationAllowList::allows(const QString& serialNumber, const QString& nickname) const
{
    if (m_patterns.isEmpty())
        return m_serials.contains(serialNumber);
    for (const QString& pattern : m_patterns) {
        if (matches(pattern, serialNumber) || matches(pattern, nickname))
            return true;
    }
    return false;
}
