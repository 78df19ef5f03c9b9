// Routing of configuration strings to the drivers that own them: a driver is the handle whose
// device path bytes equal a configuration's PATH and that carries the configuration access
// protocol. Everything goes through the boot services, as it would in firmware.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "uefi/hii.h"
#include "uefi/system_table.h"

namespace morvane::host {

// Bytes of a device path up to and including its end node; 0 for a malformed path.
size_t ConfigPathSize(const EFI_DEVICE_PATH_PROTOCOL *Path);

// The configuration access protocol of the driver whose device path is Path; EFI_NOT_FOUND
// when none.
EFI_STATUS FindConfigAccess(EFI_BOOT_SERVICES *Boot, const std::vector<uint8_t> &Path,
                            EFI_HII_CONFIG_ACCESS_PROTOCOL **Access);

// Sends each configuration of Text (joined by "&GUID=") to its driver's ExtractConfig
// (Extract) or RouteConfig, joins the extracted results with '&' into a pool string, and
// sets Progress as published: the NUL on success, else the place that failed.
EFI_STATUS RouteConfigurations(EFI_BOOT_SERVICES *Boot, const CHAR16 *Text, bool Extract,
                               EFI_STRING *Progress, EFI_STRING *Results);

// Every driver's whole configuration, joined with '&', as a pool string.
EFI_STATUS ExportConfigurations(EFI_BOOT_SERVICES *Boot, EFI_STRING *Results);

// Text as a pool string the caller frees with FreePool.
EFI_STATUS PoolString(EFI_BOOT_SERVICES *Boot, const std::u16string &Text, EFI_STRING *Out);

} // namespace morvane::host
