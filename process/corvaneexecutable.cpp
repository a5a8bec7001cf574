#include "corvaneexecutable.h"

#include "forkedprocess.h"

#include <QFile>

namespace CorvaneExecutable {

bool answersBatchHelp(const QString& path, int timeoutMs)
{
    if (!QFile::exists(path))
        return false;
    // A bounded wait on purpose: the check must answer before anything uses the tool.
    ForkedProcess process;
    process.start(path, {QStringLiteral("batch"), QStringLiteral("-h")}, QIODevice::ReadWrite);
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished(1000);
        return false;
    }
    return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

} // namespace CorvaneExecutable
