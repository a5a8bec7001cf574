#include "batchutil.h"
#include "fuzzsupport.h"

#include <QStringList>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString path = FuzzSupport::writeInputFile(data, size, QStringLiteral("devices.yaml"));
    BatchUtil batchUtil;
    QStringList errors;
    QObject::connect(&batchUtil, &BatchUtil::errorEncountered, [&errors](const QString& e) { errors << e; });

    QList<BatchUtil::DeviceEntry> devices;
    bool applied = true;
    QString debugInterface;
    int speed = 0;
    const bool ok = batchUtil.parseDevicesFile(path, devices, applied, debugInterface, speed);
    // A failed read says why; a good one says nothing.
    if (ok != errors.isEmpty())
        FuzzSupport::fail("the result disagrees with the error messages");
    return 0;
}
