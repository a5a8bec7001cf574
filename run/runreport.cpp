#include "runreport.h"

#include "jobchecks.h"
#include "jobrunengine.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

QString connectionWord(int type)
{
    return type == BatchUtil::Usb  ? QStringLiteral("USB")
           : type == BatchUtil::Ip ? QStringLiteral("IP")
                                   : QString();
}

QString isoTime(const QDateTime& moment)
{
    return moment.isValid() ? moment.toOffsetFromUtc(moment.offsetFromUtc()).toString(Qt::ISODateWithMs)
                            : QString();
}

} // namespace

RunReport::RunReport() = default;
RunReport::~RunReport() = default;

QString RunReport::fileName(const QDateTime& moment)
{
    return QStringLiteral("run_%1.csv").arg(moment.toString(QStringLiteral("yyyyMMdd_HHmmss")));
}

QString RunReport::pathProblem(const QString& path)
{
    const QFileInfo info(path);
    const QString shown = QDir::toNativeSeparators(path);
    if (info.isDir())
        return QCoreApplication::translate("RunReport", "The report \"%1\" is a folder; name a file.")
            .arg(shown);
    if (!info.absoluteDir().exists())
        return QCoreApplication::translate("RunReport", "The folder of the report \"%1\" does not exist.")
            .arg(shown);
    // Tried rather than judged from the permissions, which the file system may overrule.
    const bool existed = info.exists();
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append))
        return QCoreApplication::translate("RunReport", "The report \"%1\" cannot be written: %2")
            .arg(shown, file.errorString());
    file.close();
    if (!existed)
        file.remove();
    return QString();
}

QString RunReport::field(const QString& text)
{
    QString value = text;
    static const QString formulaStarts = QStringLiteral("=+-@\t\r");
    if (!value.isEmpty() && formulaStarts.contains(value.at(0)))
        value.prepend(QLatin1Char('\''));
    if (value.contains(QLatin1Char('"')) || value.contains(QLatin1Char(',')) ||
        value.contains(QLatin1Char('\n')) || value.contains(QLatin1Char('\r')))
        return QLatin1Char('"') + value.replace(QLatin1Char('"'), QLatin1String("\"\"")) + QLatin1Char('"');
    return value;
}

QString RunReport::line(const QStringList& fields)
{
    QStringList quoted;
    for (const QString& text : fields)
        quoted << field(text);
    return quoted.join(QLatin1Char(',')) + QLatin1String("\r\n");
}

QString RunReport::stepsInShort(const QList<QMap<QString, QVariant>>& steps)
{
    QStringList parts;
    for (int index = 0; index < steps.size(); ++index) {
        const auto& step = steps.at(index);
        QString part =
            QStringLiteral("%1 %2").arg(index + 1).arg(step.value(QStringLiteral("task")).toString());
        for (const char* key : {"image_file", "emz_file", "mode", "operation", "duration_ms"})
            if (step.contains(QLatin1String(key)))
                part += QLatin1Char(' ') + step.value(QLatin1String(key)).toString();
        if (step.contains(QStringLiteral("arguments")))
            part += QLatin1Char(' ') +
                    step.value(QStringLiteral("arguments")).toStringList().join(QLatin1Char(' '));
        if (!step.value(QStringLiteral("enabled")).toBool())
            part += QStringLiteral(" (disabled)");
        parts << part;
    }
    return parts.join(QStringLiteral("; "));
}

QStringList RunReport::filesOfSteps(const QList<QMap<QString, QVariant>>& steps)
{
    QStringList paths;
    for (const auto& step : steps) {
        if (!step.value(QStringLiteral("enabled")).toBool())
            continue;
        for (const QString& path : JobChecks::filesOfStep(step))
            if (!path.trimmed().isEmpty() && !path.contains(QStringLiteral("{{")) && !paths.contains(path))
                paths << path;
    }
    return paths;
}

QString RunReport::sha256OfFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    QCryptographicHash hash(QCryptographicHash::Sha256);
    return hash.addData(&file) ? QString::fromLatin1(hash.result().toHex()) : QString();
}

bool RunReport::open(const QStringList& paths, const Header& header)
{
    for (const QString& path : paths) {
        QDir().mkpath(QFileInfo(path).absolutePath());
        auto file = std::make_unique<QFile>(path);
        if (file->open(QIODevice::WriteOnly | QIODevice::Truncate))
            files.push_back(std::move(file));
    }
    if (files.empty())
        return false;
    pools = header.pools;
    poolValues = header.poolValues;
    // The byte order mark tells spreadsheets the file is UTF-8.
    QString text = QChar(0xfeff);
    text += line({QStringLiteral("Harnwick"), header.version});
    text += line({QStringLiteral("Corvane executable"), header.executable});
    text += line({QStringLiteral("Steps"), stepsInShort(header.steps)});
    text += line({QStringLiteral("Job file"), header.jobFile});
    text += line({QStringLiteral("Job file SHA-256"), header.jobFileSha256});
    text += line({QStringLiteral("Job SHA-256"), header.jobSha256});
    for (const auto& file : header.files)
        text += line({QStringLiteral("File SHA-256"), file.second, file.first});
    text += QLatin1String("\r\n");
    text += line(QStringList{QStringLiteral("Device id"), QStringLiteral("Serial number"),
                             QStringLiteral("IP address"), QStringLiteral("Nickname"),
                             QStringLiteral("Target part"), QStringLiteral("Connection"),
                             QStringLiteral("Outcome"), QStringLiteral("Failed action"),
                             QStringLiteral("Failed action type"), QStringLiteral("Exit code"),
                             QStringLiteral("Signal"), QStringLiteral("Start"), QStringLiteral("End"),
                             QStringLiteral("Elapsed ms"), QStringLiteral("Log file")} +
                 header.pools);
    write(text);
    return true;
}

void RunReport::addDevice(const JobDeviceRun& run, const QList<QMap<QString, QVariant>>& steps)
{
    const bool ended = run.state == JobDeviceState::Done || run.state == JobDeviceState::Failed ||
                       run.state == JobDeviceState::Crashed || run.finishedAt.isValid();
    // A process ended by a signal has no exit code; the runner hands on the signal's number in its place.
    // A running device aborted on request was ended by one as well.
    const bool signalled = run.state == JobDeviceState::Crashed ||
                           (run.state == JobDeviceState::Aborted && run.finishedAt.isValid());
    const bool unsuccessful = run.state == JobDeviceState::Failed || run.state == JobDeviceState::Crashed;
    const bool action = unsuccessful && run.action >= 1;
    // The values the device received; a device that never started received none for good.
    QStringList poolFields;
    for (const QString& pool : qAsConst(pools))
        poolFields << (run.startedAt.isValid() ? poolValues.value(run.id).value(pool) : QString());
    const QString type = action && run.action <= steps.size()
                             ? steps.at(run.action - 1).value(QStringLiteral("task")).toString()
                             : QString();
    write(line(QStringList{run.id, run.device.serialNumber, run.device.ipAddress, run.device.nickname,
                           run.device.targetPart, connectionWord(run.device.connectionType), outcomeWord(run),
                           action ? QString::number(run.action) : QString(), type,
                           ended && !signalled ? QString::number(run.exitCode) : QString(),
                           signalled ? QString::number(run.exitCode) : QString(), isoTime(run.startedAt),
                           isoTime(run.finishedAt),
                           run.startedAt.isValid() ? QString::number(run.elapsedMs) : QString(),
                           // A device that never started wrote nothing: the file there is an older run's.
                           run.startedAt.isValid() ? run.logFile : QString()} +
               poolFields));
}

QString RunReport::outcomeWord(const JobDeviceRun& run)
{
    if (run.timedOut && (run.state == JobDeviceState::Failed || run.state == JobDeviceState::Crashed))
        return QStringLiteral("timed out");
    switch (run.state) {
    case JobDeviceState::Done:
        return QStringLiteral("done");
    case JobDeviceState::Failed:
        return QStringLiteral("failed");
    case JobDeviceState::Crashed:
        return QStringLiteral("crashed");
    case JobDeviceState::Aborted:
        return QStringLiteral("aborted");
    case JobDeviceState::NotStarted:
    case JobDeviceState::Waiting:
    case JobDeviceState::Running:
        break;
    }
    return QStringLiteral("not started");
}

QStringList RunReport::paths() const
{
    QStringList list;
    for (const auto& file : files)
        list << file->fileName();
    return list;
}

void RunReport::write(const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    for (const auto& file : files) {
        file->write(bytes);
        file->flush();
    }
}
