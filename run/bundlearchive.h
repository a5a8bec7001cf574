#pragma once

#include <QString>
#include <QStringList>

// What can be told of a job bundle file before reading it as a job, in words for
// the person who named it rather than for the one who wrote the reader.
namespace BundleArchive {

// Why the file is not a zip archive at all ("the file is empty", "it has no zip
// directory"); empty when it has an archive's directory record.
QString notArchiveReason(const QString& path);

// The reader's messages without those naming its own temporary folders and commands,
// which mean nothing to the user and are gone by the time they are read.
QStringList userFacingMessages(const QStringList& messages);

} // namespace BundleArchive
