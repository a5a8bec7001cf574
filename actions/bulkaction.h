#pragma once

#include <QString>

// The kinds of job step. The numbers are stored in combo-box item data and in
// the "actionType" property of the settings pages, so they never change; they
// are not the display order (RunCustomCommand is 1).
enum class BulkAction : int
{
    None = 0,
    RunCustomCommand = 1,
    InstallAdapterFirmware = 2,
    SetAdapterDebugMode = 3,
    LogDeviceInfo = 4,
    FlashTargetDevice = 5,
    MassEraseTargetDevice = 6,
    LockUnlockTargetDevice = 7,
    RecoverTargetDevice = 8,
    Wait = 9
};

namespace BulkActions {

// The job file's "task" string; empty for None and for values outside the enumeration.
QString typeString(BulkAction action);

// Case-insensitive inverse of typeString; unknown or empty text gives None.
BulkAction fromTypeString(const QString& text);

// The name shown in the type selector and in the action list (not translated).
QString displayText(BulkAction action);

// Maps a stored number back to the enumeration; anything unknown is None.
BulkAction fromInt(int value);

} // namespace BulkActions
