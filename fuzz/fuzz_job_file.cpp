#include "batchutil.h"
#include "fuzzsupport.h"

#include <QStringList>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString path = FuzzSupport::writeInputFile(data, size, QStringLiteral("job-common.yaml"));
    BatchUtil batchUtil;
    QStringList errors;
    QObject::connect(&batchUtil, &BatchUtil::errorEncountered, [&errors](const QString& e) { errors << e; });

    QList<QMap<QString, QVariant>> steps;
    QStringList parameters;
    const bool ok = batchUtil.parseJobFile(path, steps, parameters);
    if (ok != errors.isEmpty())
        FuzzSupport::fail("the result disagrees with the error messages");
    if (ok) {
        // The job pages rely on every step naming its task.
        for (const auto& step : steps)
            if (!step.contains(QStringLiteral("task")))
                FuzzSupport::fail("a step without a task was accepted");
    }
    return 0;
}
