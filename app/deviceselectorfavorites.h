#pragma once

#include <QDataStream>
#include <QString>

// Two texts and a flag, streamable so that the record fits in a QVariant setting.
struct DeviceSelectorFavorites
{
    QString first;
    QString second;
    bool enabled = false;
};

inline QDataStream& operator<<(QDataStream& stream, const DeviceSelectorFavorites& favorites)
{
    return stream << favorites.first << favorites.second << favorites.enabled;
}

inline QDataStream& operator>>(QDataStream& stream, DeviceSelectorFavorites& favorites)
{
    return stream >> favorites.first >> favorites.second >> favorites.enabled;
}
