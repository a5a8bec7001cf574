#pragma once

#include <QString>

// Where a device's log file lives. A device id comes from an editable cell,
// so it is checked before it becomes part of a path: an id that could name a
// file outside the log directory gets no log path at all.
namespace DeviceLogFiles {

// True when "<id>.txt" is a plain file name: not empty, no path separator, no
// "..", no NUL.
bool isUsableDeviceId(const QString& deviceId);

// The absolute path of the id's log file in `logDirectory`; empty when the
// directory is empty or the id is not usable.
QString logFilePath(const QString& logDirectory, const QString& deviceId);

// True exactly when `path` is not empty and names an existing regular file.
bool logFileExists(const QString& path);

// The row error for a device whose id cannot name a log file.
QString unusableDeviceIdMessage(const QString& deviceId);

} // namespace DeviceLogFiles
