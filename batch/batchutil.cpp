#include "batchutil.h"

#include "yamlemitter.h"
#include "yamlparser.h"
#include "ziputil.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <yaml-cpp/depthguard.h>

namespace {

const QString DevicesFileName = QStringLiteral("devices.yaml");
const QString JobCommonFileName = QStringLiteral("job-common.yaml");

QString native(const QString& path)
{
    return QDir::toNativeSeparators(path);
}

QString fromYaml(const std::string& text)
{
    return QString::fromStdString(text);
}

std::string toYaml(const QString& text)
{
    return text.toStdString();
}

std::string yamlBool(bool value)
{
    return value ? "true" : "false";
}

bool isTrueText(const QString& text)
{
    const QString lower = text.toLower();
    return lower == QLatin1String("true") || lower == QLatin1String("1");
}

} // namespace

BatchUtil::BatchUtil(QObject* parent) : QObject(parent), m_zipUtil(new ZipUtil(this))
{
    connect(m_zipUtil, &ZipUtil::errorEncountered, this, &BatchUtil::errorEncountered);
}

bool BatchUtil::createJobFile(QString path, const QList<QMap<QString, QVariant>>& steps,
                              const QStringList& parameters)
{
    YamlEmitter::Emitter emitter;
    if (!parameters.isEmpty()) {
        emitter.addKey("parameters");
        emitter.startSequence();
        for (const QString& name : parameters) {
            emitter.startMap();
            emitter.addKeyValue("name", toYaml(name));
            emitter.endMap();
        }
        emitter.endSequence();
    }

    emitter.addKey("steps");
    emitter.startSequence();
    for (const QMap<QString, QVariant>& step : steps) {
        QMap<QString, QVariant> rest = step;
        emitter.startMap();
        emitter.addKeyValue("task", toYaml(rest.take(QStringLiteral("task")).toString()));
        emitter.addKeyValue("enabled", yamlBool(rest.take(QStringLiteral("enabled")).toBool()));
        for (const QString& listKey : {QStringLiteral("arguments"), QStringLiteral("flags")}) {
            if (!rest.contains(listKey))
                continue;
            emitter.addKey(toYaml(listKey));
            emitter.startSequence();
            const QStringList items = rest.take(listKey).toStringList();
            for (const QString& item : items)
                emitter.addValue(toYaml(item));
            emitter.endSequence();
        }
        for (auto it = rest.cbegin(); it != rest.cend(); ++it)
            emitter.addKeyValue(toYaml(it.key()), toYaml(it.value().toString()));
        emitter.endMap();
    }
    emitter.endSequence();

    return writeText(path, FileKind::Job, emitter.emitYaml());
}

bool BatchUtil::parseJobFile(QString path, QList<QMap<QString, QVariant>>& steps, QStringList& parameters)
{
    return parseJobFileAs(path, path, steps, parameters);
}

bool BatchUtil::parseJobFileAs(const QString& path, const QString& shownPath,
                               QList<QMap<QString, QVariant>>& steps, QStringList& parameters)
{
    steps.clear();
    parameters.clear();
    if (!QFile::exists(path)) {
        emit errorEncountered(tr("Job file '%1' does not exist.").arg(native(shownPath)));
        return false;
    }
    if (!checkReadable(path, shownPath, FileKind::Job))
        return false;
    try {
        return readJob(YamlParser::loadFile(QFile::encodeName(path).toStdString()), steps, parameters);
    } catch (const std::exception& exception) {
        reportUnreadable(shownPath, FileKind::Job, exception);
    }
    return false;
}

bool BatchUtil::readJob(const YamlParser::Node& document, QList<QMap<QString, QVariant>>& steps,
                        QStringList& parameters)
{
    if (!document.contains("steps")) {
        emit errorEncountered(tr("Job file is missing required 'steps' array."));
        return false;
    }
    const YamlParser::Node stepNodes = document["steps"];
    for (std::size_t i = 0; i < stepNodes.size(); ++i) {
        const YamlParser::Node element = stepNodes[static_cast<unsigned int>(i)];
        if (!element.contains("task")) {
            emit errorEncountered(tr("Job step is missing required 'task' field."));
            return false;
        }
        QMap<QString, QVariant> step;
        for (const std::string& key : element.keys()) {
            const YamlParser::Node value = element[key];
            if (key == "flags" || key == "arguments") {
                if (!value.IsSequence()) {
                    emit errorEncountered(key == "flags"
                                              ? tr("Job step 'flags' field is not a sequence.")
                                              : tr("Job step 'arguments' field is not a sequence."));
                    return false;
                }
                QStringList items;
                for (std::size_t j = 0; j < value.size(); ++j)
                    items << fromYaml(value[static_cast<unsigned int>(j)].as_str());
                step.insert(fromYaml(key), items);
            } else {
                step.insert(fromYaml(key), fromYaml(value.as_str()));
            }
        }
        steps.append(step);
    }

    if (document.contains("parameters")) {
        const YamlParser::Node parameterNodes = document["parameters"];
        for (std::size_t i = 0; i < parameterNodes.size(); ++i) {
            const YamlParser::Node element = parameterNodes[static_cast<unsigned int>(i)];
            if (!element.contains("name")) {
                emit errorEncountered(tr("Job parameter is missing required 'name' field."));
                return false;
            }
            parameters << fromYaml(element["name"].as_str());
        }
    }
    return true;
}

bool BatchUtil::createDevicesFile(QString path, const QList<BatchUtil::DeviceEntry>& devices, bool applied,
                                  QString debugInterface, int speed)
{
    YamlEmitter::Emitter emitter;
    emitter.addKey("devices");
    emitter.startSequence();
    for (const DeviceEntry& device : devices) {
        emitter.startMap();
        emitter.addKeyValue("serial_number", toYaml(QString::number(device.serialNumber)));
        emitter.addKeyValue("target_device", toYaml(device.targetDevice));
        // An entry of unknown type is written as "ip" on purpose.
        emitter.addKeyValue("connection_type", device.connectionType == Usb ? "usb" : "ip");
        if (!device.ip.isEmpty())
            emitter.addKeyValue("ip", toYaml(device.ip));
        emitter.addKeyValue("nickname", toYaml(device.nickname));
        emitter.addKeyValue("selected", yamlBool(device.selected));
        emitter.endMap();
    }
    emitter.endSequence();

    if (speed > 0 || !debugInterface.isEmpty()) {
        emitter.addKey("debug_connection_options");
        emitter.startMap();
        emitter.addKeyValue("applied", yamlBool(applied));
        if (!debugInterface.isEmpty())
            emitter.addKeyValue("tif", toYaml(debugInterface));
        if (speed > 0)
            emitter.addKeyValue("speed", toYaml(QString::number(speed)));
        emitter.endMap();
    }

    return writeText(path, FileKind::Devices, emitter.emitYaml());
}

bool BatchUtil::parseDevicesFile(QString path, QList<BatchUtil::DeviceEntry>& devices, bool& applied,
                                 QString& debugInterface, int& speed)
{
    return parseDevicesFileAs(path, path, devices, applied, debugInterface, speed);
}

bool BatchUtil::parseDevicesFileAs(const QString& path, const QString& shownPath,
                                   QList<BatchUtil::DeviceEntry>& devices, bool& applied,
                                   QString& debugInterface, int& speed)
{
    devices.clear();
    debugInterface = QString();
    speed = -1;
    applied = false;
    if (!QFile::exists(path)) {
        emit errorEncountered(tr("Devices file '%1' does not exist.").arg(native(shownPath)));
        return false;
    }
    if (!checkReadable(path, shownPath, FileKind::Devices))
        return false;
    try {
        return readDevices(YamlParser::loadFile(QFile::encodeName(path).toStdString()), devices, applied,
                           debugInterface, speed);
    } catch (const std::exception& exception) {
        reportUnreadable(shownPath, FileKind::Devices, exception);
    }
    return false;
}

bool BatchUtil::readDevices(const YamlParser::Node& document, QList<BatchUtil::DeviceEntry>& devices,
                            bool& applied, QString& debugInterface, int& speed)
{
    if (!document.contains("devices")) {
        emit errorEncountered(tr("Devices file is missing required 'devices' array."));
        return false;
    }
    const YamlParser::Node deviceNodes = document["devices"];
    for (std::size_t i = 0; i < deviceNodes.size(); ++i) {
        const YamlParser::Node element = deviceNodes[static_cast<unsigned int>(i)];
        DeviceEntry device;

        if (!element.contains("serial_number")) {
            emit errorEncountered(tr("Device entry is missing required 'serial_number' field."));
            return false;
        }
        device.serialNumber = fromYaml(element["serial_number"].as_str()).toUInt(nullptr, 10);

        if (!element.contains("target_device")) {
            emit errorEncountered(tr("Device entry is missing required 'target_device' field."));
            return false;
        }
        device.targetDevice = fromYaml(element["target_device"].as_str());

        if (!element.contains("connection_type")) {
            emit errorEncountered(tr("Device entry is missing required 'connection_type' field."));
            return false;
        }
        const QString connectionType = fromYaml(element["connection_type"].as_str());
        if (connectionType.toLower() == QLatin1String("usb")) {
            device.connectionType = Usb;
        } else if (connectionType.toLower() == QLatin1String("ip")) {
            device.connectionType = Ip;
        } else {
            emit errorEncountered(
                tr("Device entry has unknown 'connection_type' value: %1").arg(connectionType));
            return false;
        }

        if (element.contains("ip")) {
            device.ip = fromYaml(element["ip"].as_str());
        } else if (device.connectionType == Ip) {
            emit errorEncountered(tr("Device entry with IP connection type is missing required 'ip' field."));
            return false;
        }
        if (element.contains("nickname"))
            device.nickname = fromYaml(element["nickname"].as_str());
        if (element.contains("selected"))
            device.selected = isTrueText(fromYaml(element["selected"].as_str()));
        devices.append(device);
    }

    if (document.contains("debug_connection_options")) {
        const YamlParser::Node options = document["debug_connection_options"];
        if (options.contains("applied"))
            applied = isTrueText(fromYaml(options["applied"].as_str()));
        if (options.contains("tif"))
            debugInterface = fromYaml(options["tif"].as_str());
        if (options.contains("speed"))
            speed = fromYaml(options["speed"].as_str()).toInt(nullptr, 10);
    }
    return true;
}

bool BatchUtil::checkReadable(const QString& path, const QString& shownPath, FileKind kind)
{
    const bool job = kind == FileKind::Job;
    // Only a regular file is read: a link may point anywhere, and a pipe or device would block.
    const QFileInfo info(path);
    if (info.isSymLink() || !info.isFile()) {
        emit errorEncountered((job ? tr("Job file '%1' is not a regular file.")
                                   : tr("Devices file '%1' is not a regular file."))
                                  .arg(native(shownPath)));
        return false;
    }
    if (info.size() > MaxYamlFileSize) {
        emit errorEncountered((job ? tr("Job file '%1' is larger than %2 bytes and is not read.")
                                   : tr("Devices file '%1' is larger than %2 bytes and is not read."))
                                  .arg(native(shownPath))
                                  .arg(MaxYamlFileSize));
        return false;
    }
    return true;
}

void BatchUtil::reportUnreadable(const QString& shownPath, FileKind kind, const std::exception& exception)
{
    const bool job = kind == FileKind::Job;
    using Limit = YamlParser::Node::LimitExceeded;
    QString message;
    if (const auto* limit = dynamic_cast<const Limit*>(&exception)) {
        if (limit->kind() == Limit::Depth) {
            message =
                (job ? tr("Job file '%1' is refused: its mappings are nested more than %2 levels deep at "
                          "line %3, column %4 (an alias may refer back to its own anchor).")
                     : tr("Devices file '%1' is refused: its mappings are nested more than %2 levels deep "
                          "at line %3, column %4 (an alias may refer back to its own anchor)."))
                    .arg(native(shownPath))
                    .arg(YamlParser::Node::MaxDepth);
        } else {
            message =
                (job ? tr("Job file '%1' is refused: it expands to more than %2 values at line %3, column "
                          "%4 (aliases may repeat parts of the document).")
                     : tr("Devices file '%1' is refused: it expands to more than %2 values at line %3, "
                          "column %4 (aliases may repeat parts of the document)."))
                    .arg(native(shownPath))
                    .arg(qulonglong(YamlParser::Node::MaxNodes));
        }
        message = message.arg(limit->line()).arg(limit->column());
    } else if (const auto* deep = dynamic_cast<const YAML::DeepRecursion*>(&exception)) {
        // yaml-cpp's own text for this case reads "bad file".
        message = (job ? tr("Job file '%1' is refused: it is nested too deeply at line %2, column %3.")
                       : tr("Devices file '%1' is refused: it is nested too deeply at line %2, column %3."))
                      .arg(native(shownPath))
                      .arg(deep->mark.line + 1)
                      .arg(deep->mark.column + 1);
    } else {
        // yaml-cpp's text carries the line and column of a syntax error.
        message = (job ? tr("Job file '%1' could not be read: %2.")
                       : tr("Devices file '%1' could not be read: %2."))
                      .arg(native(shownPath), QString::fromLocal8Bit(exception.what()));
    }
    emit errorEncountered(message);
}

bool BatchUtil::writeText(const QString& path, FileKind kind, const std::string& text)
{
    const bool job = kind == FileKind::Job;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text)) {
        emit errorEncountered((job ? tr("Could not open job file '%1' for writing.")
                                   : tr("Could not open devices file '%1' for writing."))
                                  .arg(native(path)));
        return false;
    }
    const QByteArray data = QByteArray::fromStdString(text);
    const bool written = file.write(data) == data.size() && file.flush();
    file.close();
    if (!written) {
        emit errorEncountered(
            (job ? tr("Could not write job file '%1'.") : tr("Could not write devices file '%1'."))
                .arg(native(path)));
        return false;
    }
    emit infoMessage(
        (job ? tr("Job file '%1' written successfully.") : tr("Devices file '%1' written successfully."))
            .arg(native(path)));
    return true;
}

bool BatchUtil::bundleWrite(QString bundlePath, const QList<QMap<QString, QVariant>>& steps,
                            const QList<BatchUtil::DeviceEntry>& devices, bool applied,
                            QString debugInterface, int speed, const QStringList& parameters)
{
    QTemporaryDir staging;
    if (!staging.isValid()) {
        emit errorEncountered(tr("Could not create temporary directory for extracting job bundle contents."));
        return false;
    }
    if (!createDevicesFile(staging.filePath(DevicesFileName), devices, applied, debugInterface, speed)) {
        emit errorEncountered(tr("Could not create devices file for job bundle."));
        return false;
    }
    if (!createJobFile(staging.filePath(JobCommonFileName), steps, parameters)) {
        emit errorEncountered(tr("Could not create job file for job bundle."));
        return false;
    }
    if (!m_zipUtil->checkSystemZipUtilitiesAvailable())
        return false;
    if (!m_zipUtil->zip(staging.path(), bundlePath)) {
        emit errorEncountered(tr("Could not create job bundle file '%1'.").arg(native(bundlePath)));
        return false;
    }
    return true;
}

bool BatchUtil::bundleRead(QString bundlePath, QList<QMap<QString, QVariant>>& steps,
                           QList<BatchUtil::DeviceEntry>& devices, bool& applied, QString& debugInterface,
                           int& speed, QStringList& parameters)
{
    QTemporaryDir staging;
    if (!staging.isValid()) {
        emit errorEncountered(tr("Could not create temporary directory for extracting job bundle contents."));
        return false;
    }
    if (!m_zipUtil->checkSystemZipUtilitiesAvailable())
        return false;
    QStringList files;
    if (!m_zipUtil->unzip(bundlePath, staging.path(), files)) {
        emit errorEncountered(tr("Could not extract job bundle file '%1'.").arg(native(bundlePath)));
        return false;
    }
    // Each extract operation unpacks the bundle again; that keeps them usable on their own. Messages name
    // the bundle: the extracted files are gone by the time the user reads them.
    QString devicesPath;
    if (!bundleExtractDevicesFile(bundlePath, staging.path(), devicesPath) ||
        !parseDevicesFileAs(devicesPath, bundlePath, devices, applied, debugInterface, speed))
        return false;
    QString jobPath;
    if (!bundleExtractJobCommonFile(bundlePath, staging.path(), jobPath) ||
        !parseJobFileAs(jobPath, bundlePath, steps, parameters))
        return false;
    return true;
}

bool BatchUtil::bundleExtractDevicesFile(QString bundlePath, QString targetDirectory, QString& extractedPath)
{
    return bundleExtractFile(bundlePath, targetDirectory, DevicesFileName, extractedPath);
}

bool BatchUtil::bundleExtractJobCommonFile(QString bundlePath, QString targetDirectory,
                                           QString& extractedPath)
{
    return bundleExtractFile(bundlePath, targetDirectory, JobCommonFileName, extractedPath);
}

bool BatchUtil::bundleExtractFile(const QString& bundlePath, const QString& targetDirectory,
                                  const QString& fileName, QString& extractedPath)
{
    if (!m_zipUtil->checkSystemZipUtilitiesAvailable())
        return false;
    QStringList files;
    if (!m_zipUtil->unzip(bundlePath, targetDirectory, files)) {
        emit errorEncountered(tr("Could not extract job bundle file '%1'.").arg(native(bundlePath)));
        return false;
    }
    for (const QString& file : qAsConst(files)) {
        if (QFileInfo(file).fileName().compare(fileName, Qt::CaseInsensitive) == 0) {
            extractedPath = file;
            return true;
        }
    }
    emit errorEncountered(tr("Could not find %1 file in job bundle.").arg(fileName));
    return false;
}
