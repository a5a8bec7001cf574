#include "bulkaction.h"

#include <array>

namespace {

struct BulkActionName
{
    BulkAction action;
    const char* typeString;
    const char* displayText;
};

// Indexed by the enumeration's value.
constexpr std::array<BulkActionName, 10> names{{
    {BulkAction::None, "", "Select Action..."},
    {BulkAction::RunCustomCommand, "run_custom_command", "Run Custom Command"},
    {BulkAction::InstallAdapterFirmware, "install_adapter_firmware", "Install Adapter Firmware"},
    {BulkAction::SetAdapterDebugMode, "set_adapter_debug_mode", "Set Adapter Debug Mode"},
    {BulkAction::LogDeviceInfo, "log_device_info", "Log Device Information"},
    {BulkAction::FlashTargetDevice, "flash_target_device", "Flash Target Device"},
    {BulkAction::MassEraseTargetDevice, "mass_erase_target_device", "Mass Erase Target Device"},
    {BulkAction::LockUnlockTargetDevice, "lock_unlock_target_device", "Lock/Unlock Target Debug Access"},
    {BulkAction::RecoverTargetDevice, "recover_target_device", "Recover Target Device"},
    {BulkAction::Wait, "wait", "Wait"},
}};

const BulkActionName* entry(BulkAction action)
{
    const int value = static_cast<int>(action);
    if (value < 0 || value >= static_cast<int>(names.size()))
        return nullptr;
    return &names[static_cast<std::size_t>(value)];
}

} // namespace

namespace BulkActions {

QString typeString(BulkAction action)
{
    const BulkActionName* name = entry(action);
    return name ? QString::fromLatin1(name->typeString) : QString();
}

BulkAction fromTypeString(const QString& text)
{
    const QString lower = text.toLower();
    if (lower.isEmpty())
        return BulkAction::None;
    for (const BulkActionName& name : names) {
        if (lower == QLatin1String(name.typeString))
            return name.action;
    }
    return BulkAction::None;
}

QString displayText(BulkAction action)
{
    const BulkActionName* name = entry(action);
    return name ? QString::fromLatin1(name->displayText) : QString();
}

BulkAction fromInt(int value)
{
    const BulkActionName* name = entry(static_cast<BulkAction>(value));
    return name ? name->action : BulkAction::None;
}

} // namespace BulkActions
