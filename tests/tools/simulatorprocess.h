#pragma once

#include "forkedprocess.h"
#include "testenvironment.h"

#include <QByteArray>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QList>
#include <QProcess>
#include <QStringList>

// Runs the device simulator in a folder of its own, with no waiting (speed 0) unless told otherwise
// and every invocation recorded, and hands back what it printed.
class SimulatorProcess
{
public:
    struct Outcome
    {
        bool finished = false;
        QProcess::ExitStatus exitStatus = QProcess::NormalExit;
        int exitCode = -1;
        QByteArray stdoutData;
        QByteArray stderrData;
        qint64 elapsedMs = 0;

        // Const, so that reply["result"]["devices"] reads members without creating them.
        const QJsonObject json() const { return QJsonDocument::fromJson(stdoutData).object(); }
        QStringList lines() const { return QString::fromUtf8(stdoutData).split('\n', Qt::SkipEmptyParts); }
    };

    explicit SimulatorProcess(const QString& directory) : m_directory(directory) {}

    // Writes a fleet file and makes the simulator use it.
    void setFleet(const QString& yaml)
    {
        m_fleetPath = QDir(m_directory).filePath(QStringLiteral("fleet.yaml"));
        QFile file(m_fleetPath);
        if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            file.write(yaml.toUtf8());
    }

    void setSpeed(const QString& speed) { m_speed = speed; }

    QProcessEnvironment environment() const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("CORVANE_SIM_SPEED"), m_speed);
        environment.insert(QStringLiteral("CORVANE_SIM_RECORD"), QDir(m_directory).filePath("record.jsonl"));
        environment.remove(QStringLiteral("CORVANE_SIM_FLEET"));
        if (!m_fleetPath.isEmpty())
            environment.insert(QStringLiteral("CORVANE_SIM_FLEET"), m_fleetPath);
        return environment;
    }

    // Starts the simulator, waits up to timeoutMs for it and kills it when it has not finished.
    Outcome run(const QStringList& arguments, int timeoutMs = 30000) const
    {
        ForkedProcess process;
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

    // The same for a command line whose arguments hold no spaces.
    Outcome runLine(const QString& commandLine, int timeoutMs = 30000) const
    {
        return run(commandLine.split(' ', Qt::SkipEmptyParts), timeoutMs);
    }

    // The invocations recorded so far, one object per line.
    QList<QJsonObject> records() const
    {
        QList<QJsonObject> records;
        QFile file(QDir(m_directory).filePath("record.jsonl"));
        if (file.open(QIODevice::ReadOnly)) {
            for (const QByteArray& line : file.readAll().split('\n'))
                records.append(QJsonDocument::fromJson(line).object());
        }
        records.removeAll(QJsonObject()); // the empty tail after the last line
        return records;
    }

private:
    QString m_directory;
    QString m_fleetPath;
    QString m_speed = QStringLiteral("0");
};
