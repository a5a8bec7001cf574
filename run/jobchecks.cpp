#include "jobchecks.h"

#include "batchutil.h"
#include "jobvariables.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>

namespace {

// More ids make the sentence unreadable; the rest is counted.
constexpr int maxNamedDevices = 5;

QString actionNumber(int index)
{
    return QString::number(index + 1);
}

// The text values of a step in key order: plain texts and the items of text lists.
QStringList textsOf(const QMap<QString, QVariant>& step)
{
    QStringList texts;
    for (auto it = step.cbegin(); it != step.cend(); ++it) {
        if (it.value().userType() == QMetaType::QString)
            texts << it.value().toString();
        else if (it.value().userType() == QMetaType::QStringList)
            texts << it.value().toStringList();
    }
    return texts;
}

// Every placeholder of the text, as written.
QStringList placeholderNames(const QString& text)
{
    QStringList names;
    auto matches = JobVariables::jobParameterRegex().globalMatch(text);
    while (matches.hasNext())
        names << matches.next().captured(1);
    return names;
}

// A disabled row is not run whatever it holds, so only enabled rows count.
QString untypedActionProblem(const QList<JobCheckAction>& actions)
{
    for (int i = 0; i < actions.size(); ++i)
        // Disabled too: a row without a type is left out of the job, which would shift the numbers
        // of the tool's "Running action N" against the list the user sees.
        if (!actions.at(i).typed)
            return QCoreApplication::translate("JobChecks", "Action %1 has no type: choose one or remove it.")
                .arg(i + 1);
    return QString();
}

bool runs(const JobCheckAction& action)
{
    return action.typed && action.enabled;
}

QString emptyVariableProblem(const QList<JobCheckAction>& actions, const QList<JobDevice>& devices,
                             const JobContext& context, const QMap<QString, QString>& builtIns)
{
    for (int i = 0; i < actions.size(); ++i) {
        if (!runs(actions.at(i)))
            continue;
        QSet<QString> checked;
        for (const QString& text : textsOf(actions.at(i).step)) {
            for (const QString& name : placeholderNames(text)) {
                const QString key = name.toLower();
                if (!builtIns.contains(key) || checked.contains(key))
                    continue;
                checked.insert(key);
                QStringList ids;
                int count = 0;
                for (const JobDevice& device : devices) {
                    if (!JobExecution::variableValue(key, device, context).isEmpty())
                        continue;
                    if (count < maxNamedDevices)
                        ids << JobExecution::deviceId(device);
                    ++count;
                }
                if (count == 0)
                    continue;
                QString named = ids.join(QStringLiteral(", "));
                if (count > maxNamedDevices)
                    named = QCoreApplication::translate("JobChecks", "%1 and %n more", nullptr,
                                                        count - maxNamedDevices)
                                .arg(named);
                // A discovered adapter's nickname is the adapter's own: the table cannot change it.
                if (name.compare(QLatin1String("nickname"), Qt::CaseInsensitive) == 0)
                    return QCoreApplication::translate(
                               "JobChecks", "Action %1 uses {{%2}}, which is empty for %3: give the "
                                            "adapter a nickname with the tool, or uncheck those "
                                            "devices.")
                        .arg(actionNumber(i), name, named);
                return QCoreApplication::translate("JobChecks", "Action %1 uses {{%2}}, which is empty for "
                                                                "%3: fill it in or uncheck those devices.")
                    .arg(actionNumber(i), name, named);
            }
        }
    }
    return QString();
}

} // namespace

QStringList JobChecks::filesOfStep(const QMap<QString, QVariant>& step)
{
    QStringList files;
    const QString image = QStringLiteral("image_file");
    const QString firmware = QStringLiteral("emz_file");
    if (step.contains(image))
        files << step.value(image).toString();
    // Steps read back from a job file hold "true"/"false" as text, which toBool() reads too.
    if (step.contains(firmware) && !step.value(QStringLiteral("use_default")).toBool())
        files << step.value(firmware).toString();
    return files;
}

namespace {

// The path with the built-in variables filled in for the device in one pass, so
// that a value holding braces is not expanded again; empty when a placeholder
// is left that only the tool can resolve.
QString resolvedPath(const QString& path, const JobDevice& device, const JobContext& context,
                     const QMap<QString, QString>& builtIns)
{
    QString result;
    int from = 0;
    auto matches = JobVariables::jobParameterRegex().globalMatch(path);
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        const QString key = match.captured(1).toLower();
        if (!builtIns.contains(key))
            return QString();
        result +=
            path.mid(from, match.capturedStart() - from) + JobExecution::variableValue(key, device, context);
        from = match.capturedEnd();
    }
    return result + path.mid(from);
}

QString unreadableFileProblem(const QList<JobCheckAction>& actions, const QList<JobDevice>& devices,
                              const JobContext& context, const QMap<QString, QString>& builtIns,
                              const JobChecks::FileProbe& probe)
{
    for (int i = 0; i < actions.size(); ++i) {
        if (!runs(actions.at(i)))
            continue;
        for (const QString& path : JobChecks::filesOfStep(actions.at(i).step)) {
            if (path.trimmed().isEmpty())
                return QCoreApplication::translate("JobChecks", "Action %1 names no file.").arg(i + 1);
            QStringList candidates;
            if (!JobVariables::jobParameterRegex().match(path).hasMatch()) {
                candidates << path;
            } else {
                // Devices often share a path: each distinct one is probed once.
                QSet<QString> seen;
                for (const JobDevice& device : devices) {
                    const QString resolved = resolvedPath(path, device, context, builtIns);
                    if (!resolved.isEmpty() && !seen.contains(resolved)) {
                        seen.insert(resolved);
                        candidates << resolved;
                    }
                }
            }
            for (const QString& candidate : candidates)
                if (!probe(candidate))
                    return QCoreApplication::translate("JobChecks",
                                                       "Action %1: the file \"%2\" does not exist or "
                                                       "cannot be read.")
                        .arg(actionNumber(i), candidate);
        }
    }
    return QString();
}

QString duplicateDeviceProblem(const QList<JobDevice>& devices)
{
    QSet<QString> serials;
    for (const JobDevice& device : devices) {
        if (device.serialNumber.isEmpty())
            continue;
        if (serials.contains(device.serialNumber))
            return QCoreApplication::translate("JobChecks",
                                               "Device %1 is listed twice: remove one of the rows.")
                .arg(device.serialNumber);
        serials.insert(device.serialNumber);
    }
    // Host names are accepted as addresses, and they ignore case.
    QSet<QString> addresses;
    for (const JobDevice& device : devices) {
        if (device.connectionType != BatchUtil::Ip || device.ipAddress.isEmpty())
            continue;
        const QString key = device.ipAddress.toLower();
        if (addresses.contains(key))
            return QCoreApplication::translate("JobChecks",
                                               "The IP address %1 is listed twice: remove one of the rows.")
                .arg(device.ipAddress);
        addresses.insert(key);
    }
    return QString();
}

} // namespace

namespace JobChecks {

bool readableFile(const QString& path)
{
    if (path.isEmpty())
        return false;
    const QFileInfo info(path);
    if (!info.isFile())
        return false;
    // Permission bits do not tell everything (ACLs, network shares): try it.
    QFile file(path);
    return file.open(QIODevice::ReadOnly);
}

QStringList problems(const QList<JobCheckAction>& actions, const QList<JobDevice>& devices,
                     const JobContext& context, const FileProbe& probe)
{
    QStringList found;
    const auto add = [&found](const QString& problem) {
        if (!problem.isEmpty())
            found << problem;
    };
    add(untypedActionProblem(actions));
    if (std::none_of(actions.cbegin(), actions.cend(), runs))
        found << QCoreApplication::translate(
            "JobChecks", "There is no enabled action to run: add an action or enable one.");
    const QMap<QString, QString> builtIns = JobExecution::builtInVariableDescriptions();
    add(emptyVariableProblem(actions, devices, context, builtIns));
    add(unreadableFileProblem(actions, devices, context, builtIns, probe ? probe : FileProbe(readableFile)));
    add(duplicateDeviceProblem(devices));
    return found;
}

QString summary(const QStringList& problems, int shown)
{
    QStringList lines = problems.mid(0, shown);
    if (problems.size() > shown)
        lines << QCoreApplication::translate("JobChecks", "and %n more", nullptr, problems.size() - shown);
    return lines.join(QLatin1Char('\n'));
}

QString firstProblem(const QList<JobCheckAction>& actions, const QList<JobDevice>& devices,
                     const JobContext& context, const FileProbe& probe)
{
    return problems(actions, devices, context, probe).value(0);
}

} // namespace JobChecks

QList<QMap<QString, QVariant>> JobChecks::stepsOf(const QList<JobCheckAction>& actions,
                                                  QStringList& variableNames)
{
    QList<QMap<QString, QVariant>> steps;
    for (const JobCheckAction& action : actions) {
        if (!action.typed)
            continue;
        steps.append(action.step);
        if (action.enabled)
            JobVariables::collectVariableNames(action.step, variableNames);
    }
    return steps;
}
