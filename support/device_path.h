// Device paths, the configuration header built from them, and the search for the HII package
// list of a driver by its device path.
#pragma once

#include "uefi/device_path.h"
#include "uefi/hii.h"

// Bytes up to and with the end node; 0 for a null pointer or a malformed node (a node
// shorter than its own header would hold a walk in place).
UINTN DevicePathSize(const EFI_DEVICE_PATH_PROTOCOL *Path);
bool IsDevicePathEnd(const EFI_DEVICE_PATH_PROTOCOL *Node);
UINT16 DevicePathNodeLength(const EFI_DEVICE_PATH_PROTOCOL *Node);

// Writes "GUID=<guid>&NAME=<name>&PATH=<device path of DriverHandle>" into Buffer. Size is in
// bytes, in and out; Name may be null. EFI_BUFFER_TOO_SMALL with the size needed.
EFI_STATUS BuildConfigHdr(CHAR16 *Buffer, UINTN *Size, const EFI_GUID *Guid, const CHAR16 *Name,
                          EFI_HANDLE DriverHandle);

// The HII handle whose package list belongs to the driver handle that bears Path; null when
// there is none.
EFI_HII_HANDLE FindHiiHandleByDevicePath(const EFI_HII_DATABASE_PROTOCOL *HiiDatabase,
                                         const EFI_DEVICE_PATH_PROTOCOL *Path);
