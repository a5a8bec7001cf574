#include "simulatorprocess.h"

#include "testenvironment.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>

QJsonObject SimulatorProcess::Outcome::json() const
{
    return QJsonDocument::fromJson(stdoutData).object();
}

QStringList SimulatorProcess::Outcome::lines() const
{
    return QString::fromUtf8(stdoutData).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

SimulatorProcess::SimulatorProcess(const QString& directory) : m_directory(directory) {}

void SimulatorProcess::setFleet(const QString& yaml)
{
    m_fleetPath = QDir(m_directory).filePath(QStringLiteral("fleet.yaml"));
    QFile file(m_fleetPath);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(yaml.toUtf8());
}

QString SimulatorProcess::recordPath() const
{
    return QDir(m_directory).filePath(QStringLiteral("record.jsonl"));
}

QProcessEnvironment SimulatorProcess::environment() const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("CORVANE_SIM_SPEED"), m_speed);
    environment.insert(QStringLiteral("CORVANE_SIM_RECORD"), recordPath());
    if (m_fleetPath.isEmpty())
        environment.remove(QStringLiteral("CORVANE_SIM_FLEET"));
    else
        environment.insert(QStringLiteral("CORVANE_SIM_FLEET"), m_fleetPath);
    return environment;
}

SimulatorProcess::Outcome SimulatorProcess::run(const QStringList& arguments, int timeoutMs) const
{
    QProcess process;
    process.setProcessEnvironment(environment());
    process.setWorkingDirectory(m_directory);
    QElapsedTimer timer;
    timer.start();
    process.start(TestEnvironment::simulatorPath(), arguments);
    Outcome outcome;
    outcome.finished = process.waitForFinished(timeoutMs);
    outcome.elapsedMs = timer.elapsed();
    if (!outcome.finished) {
        process.kill();
        process.waitForFinished(5000);
    }
    outcome.exitStatus = process.exitStatus();
    outcome.exitCode = process.exitCode();
    outcome.stdoutData = process.readAllStandardOutput();
    outcome.stderrData = process.readAllStandardError();
    return outcome;
}

QList<QJsonObject> SimulatorProcess::records() const
{
    QList<QJsonObject> records;
    QFile file(recordPath());
    if (!file.open(QIODevice::ReadOnly))
        return records;
    for (const QByteArray& line : file.readAll().split('\n')) {
        if (!line.isEmpty())
            records.append(QJsonDocument::fromJson(line).object());
    }
    return records;
}
