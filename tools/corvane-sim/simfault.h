#pragma once

#include <QString>
#include <QStringList>

// One misbehaviour of the simulated tool, chosen per adapter (or fleet-wide) in the fleet file, so
// that every failure path of the caller can be provoked on demand.
struct SimFault
{
    enum class Effect
    {
        Fail,         // print an error line and exit with exitCode
        Crash,        // abort: the process dies from a signal
        Hang,         // never finish (a batch run with --timeout times out instead)
        SlowStart,    // wait delayMs real milliseconds before doing anything
        Garbage,      // print text that is not JSON instead of the reply
        SuccessFalse, // the reply's "success" is false
        Missing,      // the reply lacks the named members
        UnknownIp,    // "ip_address" reads text (by default "unknown")
        NonUtf8,      // bytes that are not UTF-8 in the reply's strings or in the printed lines
        Flood         // print `lines` lines as fast as possible
    };

    // A command id (see SimCommands::commandId), "list" for both adapter lists, or "any".
    QString command = QStringLiteral("any");
    Effect effect = Effect::Fail;
    int exitCode = 1;
    // Batch runs only: the 1-based action the fault strikes; 0 strikes before the first action.
    int step = 0;
    int delayMs = 0;
    int lines = 0;
    QStringList members;
    QString text = QStringLiteral("unknown");

    bool appliesTo(const QString& commandId) const;

    // Dies from SIGABRT as a crashing tool would, without leaving a core file behind.
    [[noreturn]] static void crashNow();

    static bool effectFromName(const QString& name, Effect& effect);
    static bool isCommandName(const QString& name);
};
