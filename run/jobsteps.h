#pragma once

#include <QString>
#include <QStringList>

// Conversions between the values of the editor pages and the values a job
// step stores. Steps read back from a job file hold text (and text lists for
// "arguments" and "flags"), so every reader here accepts text.
namespace JobSteps {

// The flash options in the order a step lists them.
const QStringList& flashFlagWords();

// "0x" and eight lower-case hexadecimal digits: 0x00008000.
QString formatStartAddress(int address);

// "0x"/"0X" prefix reads as hexadecimal, anything else as decimal; text that
// is not a number gives 0.
int parseStartAddress(const QString& text);

// The duration field's text in milliseconds: empty, non-numeric and negative
// text give 0.
int durationFromText(const QString& text);

// Rebuilds a command line from its arguments so that QProcess::splitCommand
// gives them back: arguments holding white space are put in double quotes and
// a literal double quote is written as three. An empty argument is written as
// "", which the splitter drops.
QString joinCommandArguments(const QStringList& arguments);

} // namespace JobSteps
