#include "support/memory.h"

#include "support/efi_globals.h"

#include "support/poison.h"

VOID *AllocatePoolOf(UINTN Size) {
  VOID *Buffer = nullptr;
  if (EFI_ERROR(BootServices->AllocatePool(EfiBootServicesData, Size, &Buffer))) {
    return nullptr;
  }
  return Buffer;
}

VOID *AllocateZeroedPool(UINTN Size) {
  VOID *Buffer = AllocatePoolOf(Size);
  if (Buffer != nullptr) {
    ZeroBytes(Buffer, Size);
  }
  return Buffer;
}

VOID *AllocateCopy(UINTN Size, const VOID *Source) {
  VOID *Buffer = AllocatePoolOf(Size);
  if (Buffer != nullptr) {
    CopyBytes(Buffer, Source, Size);
  }
  return Buffer;
}

void FreePoolIfSet(VOID *Pointer) {
  if (Pointer != nullptr) {
    BootServices->FreePool(Pointer);
  }
}

void ZeroBytes(VOID *Buffer, UINTN Size) {
  SetBytes(Buffer, Size, 0);
}

void SetBytes(VOID *Buffer, UINTN Size, UINT8 Value) {
  UINT8 *Bytes = static_cast<UINT8 *>(Buffer);
  while (Size-- > 0) {
    *Bytes++ = Value;
  }
}

void CopyBytes(VOID *Destination, const VOID *Source, UINTN Size) {
  UINT8 *To = static_cast<UINT8 *>(Destination);
  const UINT8 *From = static_cast<const UINT8 *>(Source);
  if (To == From || Size == 0) {
    return;
  }
  if (To < From || To >= From + Size) {
    for (UINTN Index = 0; Index < Size; Index++) {
      To[Index] = From[Index];
    }
  } else {
    while (Size-- > 0) {
      To[Size] = From[Size];
    }
  }
}

INTN CompareBytes(const VOID *A, const VOID *B, UINTN Size) {
  const INT8 *Left = static_cast<const INT8 *>(A);
  const INT8 *Right = static_cast<const INT8 *>(B);
  for (UINTN Index = 0; Index < Size; Index++) {
    if (Left[Index] != Right[Index]) {
      return static_cast<INTN>(Left[Index]) - static_cast<INTN>(Right[Index]);
    }
  }
  return 0;
}
