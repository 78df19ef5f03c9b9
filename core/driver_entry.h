// The driver's entry point: no screen work and no parsing, only the context, the HII
// protocols, the built-in strings, the three offered protocols and two notifications.
#pragma once

#include "uefi/system_table.h"

EFI_STATUS EFIAPI BrowserDriverEntry(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *Table);
