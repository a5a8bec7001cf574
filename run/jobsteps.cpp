#include "jobsteps.h"

#include <algorithm>

namespace JobSteps {

const QStringList& flashFlagWords()
{
    static const QStringList words{QStringLiteral("force"), QStringLiteral("reset_after_flash"),
                                   QStringLiteral("verify_after_flash"), QStringLiteral("halt_after_flash")};
    return words;
}

QString formatStartAddress(int address)
{
    return QStringLiteral("0x%1").arg(static_cast<uint>(address), 8, 16, QLatin1Char('0'));
}

int parseStartAddress(const QString& text)
{
    const QString trimmed = text.trimmed();
    bool ok = false;
    int value = 0;
    if (trimmed.startsWith(QLatin1String("0x"), Qt::CaseInsensitive))
        value = trimmed.mid(2).toInt(&ok, 16);
    else
        value = trimmed.toInt(&ok, 10);
    return ok ? value : 0;
}

int durationFromText(const QString& text)
{
    bool ok = false;
    const int value = text.toInt(&ok, 10);
    return ok && value > 0 ? value : 0;
}

QString joinCommandArguments(const QStringList& arguments)
{
    // The text is split again by QProcess::splitCommand: any white space (not only a blank) ends an
    // argument outside double quotes, and three consecutive double quotes stand for one literal quote,
    // inside or outside quotes. An empty argument is written as "" so that the text shows it.
    QStringList parts;
    parts.reserve(arguments.size());
    for (const QString& argument : arguments) {
        QString part = argument;
        part.replace(QLatin1Char('"'), QStringLiteral("\"\"\""));
        const bool needsQuotes = argument.isEmpty() || std::any_of(argument.cbegin(), argument.cend(),
                                                                   [](QChar c) { return c.isSpace(); });
        parts.append(needsQuotes ? QLatin1Char('"') + part + QLatin1Char('"') : part);
    }
    return parts.join(QLatin1Char(' '));
}

} // namespace JobSteps
