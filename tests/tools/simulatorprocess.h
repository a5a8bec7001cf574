#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QProcess>
#include <QString>
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

        QJsonObject json() const;
        QStringList lines() const;
    };

    explicit SimulatorProcess(const QString& directory);

    // Writes a fleet file and makes the simulator use it.
    void setFleet(const QString& yaml);
    void setSpeed(const QString& speed) { m_speed = speed; }

    // Starts the simulator, waits up to timeoutMs for it and kills it when it has not finished.
    Outcome run(const QStringList& arguments, int timeoutMs = 30000) const;
    QProcessEnvironment environment() const;

    // The invocations recorded so far, one object per line.
    QList<QJsonObject> records() const;
    QString recordPath() const;

private:
    QString m_directory;
    QString m_fleetPath;
    QString m_speed = QStringLiteral("0");
};
