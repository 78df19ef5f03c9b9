// Device Path Protocol (UEFI specification section 10).
#pragma once

#include "uefi/base.h"

#define EFI_DEVICE_PATH_PROTOCOL_GUID                                                              \
  {                                                                                                \
    0x09576e91, 0x6d3f, 0x11d2, {                                                                  \
      0x8e, 0x39, 0x00, 0xa0, 0xc9, 0x69, 0x72, 0x3b                                               \
    }                                                                                              \
  }
inline constexpr EFI_GUID gEfiDevicePathProtocolGuid = EFI_DEVICE_PATH_PROTOCOL_GUID;

// A node header; Length counts the four header bytes and is unaligned.
typedef struct {
  UINT8 Type;
  UINT8 SubType;
  UINT8 Length[2];
} EFI_DEVICE_PATH_PROTOCOL;
static_assert(sizeof(EFI_DEVICE_PATH_PROTOCOL) == 4);

#define HARDWARE_DEVICE_PATH 0x01
#define HW_PCI_DP 0x01
#define HW_VENDOR_DP 0x04
#define ACPI_DEVICE_PATH 0x02
#define MESSAGING_DEVICE_PATH 0x03
#define MEDIA_DEVICE_PATH 0x04
#define END_DEVICE_PATH_TYPE 0x7F
#define END_ENTIRE_DEVICE_PATH_SUBTYPE 0xFF
#define END_INSTANCE_DEVICE_PATH_SUBTYPE 0x01

#pragma pack(push, 1)
typedef struct {
  EFI_DEVICE_PATH_PROTOCOL Header;
  EFI_GUID Guid;
} VENDOR_DEVICE_PATH;
#pragma pack(pop)
static_assert(sizeof(VENDOR_DEVICE_PATH) == 20);
