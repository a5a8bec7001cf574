#pragma once

// Columns of the device table.
enum DeviceSelectorColumn
{
    DeviceSelectColumn = 0,
    DeviceConnectionColumn = 1,
    DeviceSerialNumberColumn = 2,
    DeviceIpAddressColumn = 3,
    DeviceTargetPartColumn = 4,
    DeviceNicknameColumn = 5,
    DeviceStatusColumn = 6,
    DeviceColumnCount = 7
};
