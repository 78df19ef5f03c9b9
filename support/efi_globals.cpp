#include "support/efi_globals.h"

#include "support/poison.h"

EFI_SYSTEM_TABLE *SystemTable;
EFI_BOOT_SERVICES *BootServices;
EFI_RUNTIME_SERVICES *RuntimeServices;

void KeepSystemTables(EFI_SYSTEM_TABLE *Table) {
  SystemTable = Table;
  BootServices = Table->BootServices;
  RuntimeServices = Table->RuntimeServices;
}
