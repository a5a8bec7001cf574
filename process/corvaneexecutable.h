#pragma once

#include <QString>

// Whether a Corvane executable can be used at all: it must exist and answer
// "batch" "-h" with exit code 0 within the given time.
namespace CorvaneExecutable {

bool answersBatchHelp(const QString& path, int timeoutMs = 5000);

} // namespace CorvaneExecutable
