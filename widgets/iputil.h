#pragma once

#include <QObject>
#include <QString>

// Conversions between IPv4 addresses as 32-bit numbers in host order (first
// octet in the most significant byte), their dotted text, prefix lengths and
// net masks, and the normalisation of an address typed by the user.
class IpUtil : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    static uint prefixToNetMask(uchar prefix);
    static uchar netMaskToPrefix(uint mask);
    static QString ipToString(uint address);
    static uint netToHost(uint value);
    // 0 for text that is not four decimal octets (and, unavoidably, for 0.0.0.0).
    static uint ipFromString(const QString& text);
    // The address in canonical form, else the first address the name resolves
    // to, else the text unchanged. May block for a name lookup.
    static QString convertToValidIP(const QString& text);
};
