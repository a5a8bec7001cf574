#pragma once

#include <QSet>
#include <QString>
#include <QStringList>

// Which adapters a station may run its job on: those matching one of the station's patterns
// (wildcards * and ? over the serial number or the nickname) when it has any, else the devices
// checked in the job bundle (by serial number). An adapter matching neither is NOT ALLOWED: no job
// ever starts on it, so a board on the wrong adapter is never programmed.
class StationAllowList
{
public:
    StationAllowList() = default;
    StationAllowList(const QStringList& patterns, const QStringList& bundleSerials);

    // Patterns from a comma-separated option value; empty entries are dropped.
    static QStringList splitPatterns(const QString& text);

    bool allows(const QString& serialNumber, const QString& nickname) const;
    bool usesPatterns() const { return !m_patterns.isEmpty(); }

private:
    QStringList m_patterns;
    QSet<QString> m_serials;
};
