#pragma once

#include <QList>
#include <QMap>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <stdexcept>

class ZipUtil;

namespace YamlParser {
class Node;
}

// Reads and writes the job file ("job-common.yaml"), the devices file ("devices.yaml") and the job
// bundle that zips both. Every operation returns whether it succeeded and reports one sentence per
// failure through errorEncountered; nothing throws.
//
// Bundles arrive by mail and on USB sticks, so reading treats them as hostile: YAML files must be
// regular files of bounded size, yaml-cpp's exceptions become messages, and the walk over aliases is
// bounded (see YamlParser::Node).
class BatchUtil : public QObject
{
    Q_OBJECT

public:
    enum ConnectionType
    {
        Unknown = 0,
        Usb = 1,
        Ip = 2
    };
    Q_ENUM(ConnectionType)

    struct DeviceEntry
    {
        quint32 serialNumber = 0;
        QString targetDevice;
        ConnectionType connectionType = Unknown;
        QString ip;
        QString nickname;
        bool selected = false;

        bool operator==(const DeviceEntry& other) const
        {
            return serialNumber == other.serialNumber && targetDevice == other.targetDevice &&
                   connectionType == other.connectionType && ip == other.ip && nickname == other.nickname &&
                   selected == other.selected;
        }
    };

    // A job or devices file is a few kilobytes; anything beyond this is refused before parsing.
    static constexpr qint64 MaxYamlFileSize = 512 * 1024;

    explicit BatchUtil(QObject* parent = nullptr);

    ZipUtil* zipUtil() const { return m_zipUtil; }

    bool createJobFile(QString path, const QList<QMap<QString, QVariant>>& steps,
                       const QStringList& parameters);
    bool parseJobFile(QString path, QList<QMap<QString, QVariant>>& steps, QStringList& parameters);

    bool createDevicesFile(QString path, const QList<BatchUtil::DeviceEntry>& devices, bool applied,
                           QString debugInterface, int speed);
    bool parseDevicesFile(QString path, QList<BatchUtil::DeviceEntry>& devices, bool& applied,
                          QString& debugInterface, int& speed);

    bool bundleWrite(QString bundlePath, const QList<QMap<QString, QVariant>>& steps,
                     const QList<BatchUtil::DeviceEntry>& devices, bool applied, QString debugInterface,
                     int speed, const QStringList& parameters);
    bool bundleRead(QString bundlePath, QList<QMap<QString, QVariant>>& steps,
                    QList<BatchUtil::DeviceEntry>& devices, bool& applied, QString& debugInterface,
                    int& speed, QStringList& parameters);
    bool bundleExtractDevicesFile(QString bundlePath, QString targetDirectory, QString& extractedPath);
    bool bundleExtractJobCommonFile(QString bundlePath, QString targetDirectory, QString& extractedPath);

signals:
    void errorEncountered(QString errorMessage);
    void infoMessage(QString message);

private:
    enum class FileKind
    {
        Job,
        Devices
    };

    bool readJob(const YamlParser::Node& document, QList<QMap<QString, QVariant>>& steps,
                 QStringList& parameters);
    bool readDevices(const YamlParser::Node& document, QList<BatchUtil::DeviceEntry>& devices, bool& applied,
                     QString& debugInterface, int& speed);
    bool checkReadable(const QString& path, FileKind kind);
    void reportUnreadable(const QString& path, FileKind kind, const std::exception& exception);
    bool writeText(const QString& path, FileKind kind, const std::string& text);
    bool bundleExtractFile(const QString& bundlePath, const QString& targetDirectory, const QString& fileName,
                           QString& extractedPath);

    ZipUtil* m_zipUtil;
};
