#pragma once

#include <QCoreApplication>
#include <QString>

// MAC addresses as 48-bit numbers, so a block of them can be counted through,
// and the notation they are written in ("02:1A:00:00:00:00").
class MacAddress
{
    Q_DECLARE_TR_FUNCTIONS(MacAddress)

public:
    static constexpr quint64 Largest = 0xFFFFFFFFFFFFULL;

    // Six pairs of hexadecimal digits separated by colons (either case).
    static bool parse(const QString& text, quint64* value, QString* error);

    // Upper-case hexadecimal, colon separated.
    static QString format(quint64 value);

    // value + step, refused when it would pass FF:FF:FF:FF:FF:FF.
    static bool add(quint64 value, quint64 step, quint64* result);
};
