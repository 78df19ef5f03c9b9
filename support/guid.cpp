#include "support/guid.h"

#include "support/memory.h"

#include "support/poison.h"

bool GuidIsEqual(const EFI_GUID *A, const EFI_GUID *B) {
  return CompareBytes(A, B, sizeof(EFI_GUID)) == 0;
}

bool IsNullGuid(const EFI_GUID *Guid) {
  const UINT8 *Bytes = reinterpret_cast<const UINT8 *>(Guid);
  for (UINTN Index = 0; Index < sizeof(EFI_GUID); Index++) {
    if (Bytes[Index] != 0) {
      return false;
    }
  }
  return true;
}
