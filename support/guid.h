// GUID tests.
#pragma once

#include "uefi/base.h"

// A byte-wise test of the 16 bytes.
bool GuidIsEqual(const EFI_GUID *A, const EFI_GUID *B);
// True when all 16 bytes are zero.
bool IsNullGuid(const EFI_GUID *Guid);
