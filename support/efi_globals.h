// The platform tables the driver keeps from its entry point: everything the driver does
// with the world goes through them.
#pragma once

#include "uefi/system_table.h"

extern EFI_SYSTEM_TABLE *SystemTable;
extern EFI_BOOT_SERVICES *BootServices;
extern EFI_RUNTIME_SERVICES *RuntimeServices;

// Keeps the three tables; the first step of the driver's entry.
void KeepSystemTables(EFI_SYSTEM_TABLE *Table);
