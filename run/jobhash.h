#pragma once

#include "batchutil.h"

#include <QList>
#include <QMap>
#include <QString>
#include <QVariant>

struct JobRunRequest;

// The job file a page's job was last loaded from or saved to, with the file's SHA-256
// and the job's then: while the job's hash is still the same, the job is that file's.
struct JobFileOrigin
{
    QString path;
    QString fileSha256;
    QString jobSha256;
};

// A job's fingerprint: the SHA-256 of its content (steps, devices, debug options)
// in one fixed form, so the same job gives the same hash whatever file, folder or
// order of keys it came from. Every value is taken as text: a number read back
// from a bundle and the same number typed on the page hash alike.
namespace JobHash {

QByteArray canonicalForm(const QList<QMap<QString, QVariant>>& steps,
                         const QList<BatchUtil::DeviceEntry>& devices, bool debugOptionsApplied,
                         const QString& debugInterface, int debugSpeed);
QString sha256(const QList<QMap<QString, QVariant>>& steps, const QList<BatchUtil::DeviceEntry>& devices,
               bool debugOptionsApplied, const QString& debugInterface, int debugSpeed);
QString sha256(const JobRunRequest& job);

} // namespace JobHash
