#include "iputil.h"

#include <QHostAddress>
#include <QHostInfo>
#include <QStringList>
#include <QtEndian>

uint IpUtil::prefixToNetMask(uchar prefix)
{
    if (prefix == 0)
        return 0;
    if (prefix >= 32)
        return 0xFFFFFFFFu;
    return 0xFFFFFFFFu << (32 - prefix);
}

uchar IpUtil::netMaskToPrefix(uint mask)
{
    // Counts from the lowest set bit, so a mask with holes is not detected.
    return static_cast<uchar>(32 - qCountTrailingZeroBits(mask));
}

QString IpUtil::ipToString(uint address)
{
    return QStringLiteral("%1.%2.%3.%4")
        .arg((address >> 24) & 0xFF)
        .arg((address >> 16) & 0xFF)
        .arg((address >> 8) & 0xFF)
        .arg(address & 0xFF);
}

uint IpUtil::netToHost(uint value)
{
    return qbswap(value);
}

uint IpUtil::ipFromString(const QString& text)
{
    const QStringList parts = text.split(QLatin1Char('.'), Qt::SkipEmptyParts);
    uint address = 0;
    int count = 0;
    for (const QString& part : parts) {
        if (count == 4)
            return 0;
        const uint octet = part.toUInt(nullptr, 10);
        if (octet > 255)
            return 0;
        address |= octet << (8 * (3 - count));
        ++count;
    }
    return count == 4 ? address : 0;
}

QString IpUtil::convertToValidIP(const QString& text)
{
    QHostAddress address;
    if (address.setAddress(text))
        return address.toString();
    const QHostInfo info = QHostInfo::fromName(text);
    const QList<QHostAddress> addresses = info.addresses();
    if (addresses.isEmpty())
        return text;
    return addresses.constFirst().toString();
}
