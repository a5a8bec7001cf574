#include "jobexecution.h"

#include "batchutil.h"
#include "jobvariables.h"

#include <QVariant>

#include <QCoreApplication>
#include <QRegularExpression>

#include <algorithm>

namespace JobExecution {

QMap<QString, QString> builtInVariableDescriptions()
{
    // Descriptions are shown as they are, untranslated, like the names.
    return {
        {VARIABLE_NAME_SERIAL_NUMBER, QStringLiteral("J-Link serial number (device specific)")},
        {VARIABLE_NAME_IP_ADDRESS, QStringLiteral("Adapter IP address (device specific)")},
        {VARIABLE_NAME_TARGET_PART, QStringLiteral("Target part number (device specific)")},
        {VARIABLE_NAME_NICKNAME, QStringLiteral("Device nickname (device specific)")},
        {VARIABLE_NAME_DEBUG_INTERFACE, QStringLiteral("Debug interface (currently selected value)")},
        {VARIABLE_NAME_DEBUG_SPEED, QStringLiteral("Debug speed in kHz (currently selected value)")},
    };
}

QString variableValue(const QString& name, const JobDevice& device, const JobContext& context)
{
    const QString key = name.toLower();
    if (key == VARIABLE_NAME_SERIAL_NUMBER)
        return device.serialNumber;
    if (key == VARIABLE_NAME_IP_ADDRESS)
        return device.ipAddress;
    if (key == VARIABLE_NAME_TARGET_PART)
        return device.targetPart;
    if (key == VARIABLE_NAME_NICKNAME)
        return device.nickname;
    if (key == VARIABLE_NAME_DEBUG_INTERFACE)
        return context.debugInterface;
    if (key == VARIABLE_NAME_DEBUG_SPEED)
        return QString::number(context.debugSpeed);
    return QString();
}

DeviceArguments deviceSpecificArguments(const JobDevice& device, const QStringList& variableNames,
                                        const JobContext& context)
{
    QStringList arguments;
    if (device.connectionType == BatchUtil::Usb) {
        if (device.serialNumber.isEmpty())
            return {};
        arguments << QStringLiteral("--serialno") << device.serialNumber;
    } else if (device.connectionType == BatchUtil::Ip) {
        if (device.ipAddress.isEmpty())
            return {};
        arguments << QStringLiteral("--ip") << device.ipAddress;
    } else {
        return {};
    }
    if (!device.targetPart.isEmpty())
        arguments << QStringLiteral("--device") << device.targetPart;
    for (const QString& name : variableNames) {
        const QString value = variableValue(name, device, context);
        if (!value.isEmpty())
            arguments << QStringLiteral("--parameter") << QStringLiteral("%1:%2").arg(name, value);
    }
    const QString key = device.serialNumber.isEmpty() ? device.ipAddress : device.serialNumber;
    return {key, arguments};
}

QString elapsedText(qint64 milliseconds)
{
    if (milliseconds < 1000)
        return QCoreApplication::translate("BulkOperationsWidget", "%1 ms").arg(milliseconds);
    const double seconds = milliseconds / 1000.0;
    if (seconds < 60)
        return QCoreApplication::translate("BulkOperationsWidget", "%1 s").arg(seconds, 0, 'f', 2);
    const qint64 whole = qint64(seconds);
    return QCoreApplication::translate("BulkOperationsWidget", "%1 m %2 s").arg(whole / 60).arg(whole % 60);
}

int lastRunningAction(const QByteArray& output)
{
    static const QRegularExpression pattern(QStringLiteral("^Running action\\s+(\\d+)"),
                                            QRegularExpression::MultilineOption);
    int action = -1;
    auto matches = pattern.globalMatch(QString::fromUtf8(output));
    while (matches.hasNext())
        action = matches.next().captured(1).toInt();
    return action;
}

int linePercent(const QByteArray& line)
{
    const int sign = line.lastIndexOf('%');
    if (sign <= 0)
        return -1;
    int start = sign;
    while (start > 0 && start > sign - 3 && line.at(start - 1) >= '0' && line.at(start - 1) <= '9')
        --start;
    bool ok = false;
    const int value = line.mid(start, sign - start).toInt(&ok);
    return ok && value <= 100 && (start == 0 || line.at(start - 1) < '0' || line.at(start - 1) > '9') ? value
                                                                                                      : -1;
}

JobDevice jobDeviceFromEntry(const BatchUtil::DeviceEntry& entry)
{
    JobDevice device;
    device.serialNumber = entry.serialNumber == 0 ? QString() : QString::number(entry.serialNumber);
    device.ipAddress = entry.ip.trimmed();
    device.connectionType =
        entry.connectionType == BatchUtil::Unknown ? BatchUtil::Usb : entry.connectionType;
    device.targetPart = entry.targetDevice.trimmed();
    device.nickname = entry.nickname;
    return device;
}

QString deviceId(const JobDevice& device)
{
    return device.serialNumber.isEmpty() ? device.ipAddress : device.serialNumber;
}

QStringList variableNamesOfSteps(const QList<QMap<QString, QVariant>>& steps)
{
    QStringList names;
    for (const auto& step : steps)
        if (step.value(QStringLiteral("enabled")).toBool())
            JobVariables::collectVariableNames(step, names);
    return names;
}

namespace {

QString lastLine(const QByteArray& text, bool errorsOnly)
{
    const QList<QByteArray> lines = text.split('\n');
    for (auto it = lines.crbegin(); it != lines.crend(); ++it) {
        const QByteArray line = it->trimmed();
        if (!line.isEmpty() && (!errorsOnly || line.startsWith("ERROR")))
            return QString::fromUtf8(line);
    }
    return QString();
}

} // namespace

QString failureLine(const QByteArray& output, const QByteArray& errorOutput)
{
    for (const QString& line : {lastLine(output, true), lastLine(errorOutput, true),
                                lastLine(errorOutput, false), lastLine(output, false)})
        if (!line.isEmpty())
            return line;
    return QString();
}

namespace {

QString elided(const QString& line, int maxWidth)
{
    return line.size() <= maxWidth ? line : line.left(maxWidth - 1) + QChar(0x2026);
}

} // namespace

QString outcomeToolTip(const QByteArray& output, const QByteArray& errorOutput, const ProcessEnd& end,
                       bool failed, int maxLines, int maxWidth)
{
    QStringList head;
    if (failed) {
        if (end.timedOut)
            head << QCoreApplication::translate("JobExecution",
                                                "The process hit its time limit and was ended.");
        else if (end.crashed)
            head << QCoreApplication::translate("JobExecution", "The process was ended by signal %1.")
                        .arg(end.exitCode);
        else
            head << QCoreApplication::translate("JobExecution", "The process ended with exit code %1.")
                        .arg(end.exitCode);
        QStringList errors;
        for (const QByteArray& text : {output, errorOutput})
            for (const QByteArray& line : text.split('\n'))
                if (line.trimmed().startsWith("ERROR"))
                    errors << elided(QString::fromUtf8(line.trimmed()), maxWidth);
        // The last few say most: they come right before the end.
        head << errors.mid(qMax(0, int(errors.size()) - 5));
        head << QString();
    }

    const QString text = QString::fromUtf8(output);
    QStringList lines = text.split(QLatin1Char('\n'));
    if (!lines.isEmpty() && lines.constLast().isEmpty())
        lines.removeLast();
    const bool fits = lines.size() <= maxLines &&
                      std::all_of(lines.cbegin(), lines.cend(),
                                  [maxWidth](const QString& line) { return line.size() <= maxWidth; });
    QString tip = head.join(QLatin1Char('\n'));
    if (!head.isEmpty())
        tip += QLatin1Char('\n');
    tip += QCoreApplication::translate("BulkOperationsWidget", "Process output:\n\n%1")
               .arg(fits ? text : QString());
    if (fits)
        return tip;
    // What is left of the lines after the heading, its blank line and the note.
    const int kept = qMax(1, maxLines - int(head.size()) - 3);
    tip += QCoreApplication::translate(
               "JobExecution",
               "[%1 earlier lines left out; \"Show Output...\" in the device's menu shows them all]")
               .arg(lines.size() - kept) +
           QLatin1Char('\n');
    for (const QString& line : lines.mid(lines.size() - kept))
        tip += elided(line, maxWidth) + QLatin1Char('\n');
    return tip;
}

} // namespace JobExecution
