// The image entry point firmware calls when it starts the driver.
#include "core/driver_entry.h"

extern "C" EFI_STATUS EFIAPI EfiMain(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *Table) {
  return BrowserDriverEntry(ImageHandle, Table);
}
