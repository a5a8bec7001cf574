#pragma once

#include <QByteArray>
#include <QJsonValue>
#include <QList>
#include <QString>
#include <QStringList>

// The device-work half of the contract with the Corvane executable: the
// argument lists of the device commands and the readers of their JSON
// replies. Everything here is pure; each reader returns either its values or
// the exact sentence the page shows for the failure.
namespace CorvaneReplies {

// Task ids of the two discovery searches. A device id is a serial number or an
// IP address, so these can never collide with one.
inline const QString usbDiscoveryTaskId = QStringLiteral("__usb__");
inline const QString ipDiscoveryTaskId = QStringLiteral("__ip__");

QStringList discoveryArguments();        // common to both searches
QStringList ipDiscoveryExtraArguments(); // appended for the network search
QStringList probeArguments();
QStringList detectionArguments();
QStringList completionArguments();

// The per-device tail of a probe: "--serialno" serial or "--ip" address.
QStringList probeDeviceArguments(bool usb, const QString& serialNumber, const QString& ipAddress);
// The per-device tail of a detection: the target part first, as a hint, when
// there is one.
QStringList detectionDeviceArguments(bool usb, const QString& serialNumber, const QString& ipAddress,
                                     const QString& targetPart);

// A serial number as decimal text. Real adapters carry serial numbers above
// the signed 32-bit range, so the whole unsigned 32-bit range is kept; a
// value that is not a whole number in that range reads as "0", and a missing
// one as the empty string.
QString serialNumberText(const QJsonValue& value);

struct DiscoveredAdapter
{
    QString serialNumber;
    QString ipAddress;
    QString nickname;
};

struct DiscoveryReply
{
    bool ok = false;
    QString errorMessage; // set when !ok
    QList<DiscoveredAdapter> adapters;
};

// Reads the reply of one "adapter list" search.
DiscoveryReply readDiscoveryReply(int exitCode, const QByteArray& standardOutput);

struct ProbeReply
{
    bool ok = false;
    QString errorMessage; // set when !ok
    QString toolTip;      // set when !ok: the process output
    // Empty values mean "not reported": the row keeps what it has.
    QString serialNumber;
    QString ipAddress;
    QString targetPart;
    QString nickname;
};

// Reads the reply of "adapter probe". The exit code is not part of the verdict.
ProbeReply readProbeReply(const QByteArray& standardOutput);

struct DetectionReply
{
    bool ok = false;
    QString errorMessage; // set when !ok
    QString partNumber;
};

// Reads the reply of "device info". The exit code is not part of the verdict.
DetectionReply readDetectionReply(const QByteArray& standardOutput);

// Reads the reply of "completion listopns": the known part numbers in order,
// or nothing for any other shape.
QStringList readCompletionReply(const QByteArray& standardOutput);

} // namespace CorvaneReplies
