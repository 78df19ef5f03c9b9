// Builds a whole HII package list from package blocks.
#pragma once

#include <stdarg.h>

#include "uefi/hii.h"

// Each variadic argument is a const UINT8 * to a block that begins with a u32 of its whole
// length, those four bytes counted, followed by packages. The result is a pool allocation:
// the list header with Guid and the total length, the blocks' packages, and an end package.
// Null when memory runs out or a block's length is below 4.
EFI_HII_PACKAGE_LIST_HEADER *BuildPackageList(UINTN Count, const EFI_GUID *Guid, ...);
