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

    // Larger files are refused before parsing. The bound covers what the program writes for 10,000 devices
    // or 1,000 steps, with margin. A device entry takes at most about 950 bytes: 107 of keys, indentation
    // and fixed values, a 10-digit serial, an IP address or host name of up to 253 bytes, a part name of 64
    // and a nickname of 128 characters at up to three bytes each in UTF-8, and quotes; 10,000 entries stay
    // under 10 MiB. The largest step, a flash step with an image path of PATH_MAX (4096 bytes), takes
    // under 4.5 KiB, so 1,000 steps stay under 4.5 MiB.
    static constexpr qint64 MaxYamlFileSize = 12 * 1024 * 1024;

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
    // shownPath names the file in messages: the bundle the user chose when path was extracted from it.
    bool parseJobFileAs(const QString& path, const QString& shownPath, QList<QMap<QString, QVariant>>& steps,
                        QStringList& parameters);
    bool parseDevicesFileAs(const QString& path, const QString& shownPath,
                            QList<BatchUtil::DeviceEntry>& devices, bool& applied, QString& debugInterface,
                            int& speed);
    bool checkReadable(const QString& path, const QString& shownPath, FileKind kind);
    void reportUnreadable(const QString& shownPath, FileKind kind, const std::exception& exception);
    bool writeText(const QString& path, FileKind kind, const std::string& text);
    bool bundleExtractFile(const QString& bundlePath, const QString& targetDirectory, const QString& fileName,
                           QString& extractedPath);

    ZipUtil* m_zipUtil;
};
