// The CRC-32 of CalculateCrc32 and of the table headers (reflected polynomial 0xEDB88320).
#pragma once

#include "uefi/base.h"

namespace morvane::host {

UINT32 Crc32(const VOID *Data, UINTN Size);

} // namespace morvane::host
