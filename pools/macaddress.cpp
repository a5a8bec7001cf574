#include "macaddress.h"

bool MacAddress::parse(const QString& text, quint64* value, QString* error)
{
    const QString trimmed = text.trimmed();
    const QStringList parts = trimmed.split(QLatin1Char(':'));
    bool good = parts.size() == 6;
    quint64 result = 0;
    for (const QString& part : parts) {
        if (!good)
            break;
        bool ok = false;
        const uint byte = part.toUInt(&ok, 16);
        good = ok && part.size() == 2 && byte <= 0xFF && !part.startsWith(QLatin1Char('+'));
        result = (result << 8) | byte;
    }
    if (!good) {
        *error = tr("\"%1\" is not a MAC address; write six pairs of hexadecimal digits separated by "
                    "colons, for example 02:1A:00:00:00:00.")
                     .arg(trimmed);
        return false;
    }
    *value = result;
    return true;
}

QString MacAddress::format(quint64 value)
{
    QString text;
    for (int shift = 40; shift >= 0; shift -= 8) {
        if (!text.isEmpty())
            text.append(QLatin1Char(':'));
        text.append(QStringLiteral("%1").arg((value >> shift) & 0xFF, 2, 16, QLatin1Char('0')).toUpper());
    }
    return text;
}

bool MacAddress::add(quint64 value, quint64 step, quint64* result)
{
    if (value > Largest || step > Largest - value)
        return false;
    *result = value + step;
    return true;
}
