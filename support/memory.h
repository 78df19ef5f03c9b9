// Pool memory and byte helpers. Every allocation of the driver goes through AllocatePool of
// the boot services as EfiBootServicesData.
#pragma once

#include "uefi/base.h"

VOID *AllocatePoolOf(UINTN Size);
VOID *AllocateZeroedPool(UINTN Size);
VOID *AllocateCopy(UINTN Size, const VOID *Source);
// FreePool; a null pointer is ignored.
void FreePoolIfSet(VOID *Pointer);

void ZeroBytes(VOID *Buffer, UINTN Size);
void SetBytes(VOID *Buffer, UINTN Size, UINT8 Value);
// Copies Size bytes; the areas may overlap.
void CopyBytes(VOID *Destination, const VOID *Source, UINTN Size);
// 0 when equal, otherwise the difference of the first unequal bytes taken as signed bytes.
INTN CompareBytes(const VOID *A, const VOID *B, UINTN Size);

// Reads of unaligned little-endian fields.
inline UINT16 ReadUnaligned16(const VOID *Pointer) {
  const UINT8 *Bytes = static_cast<const UINT8 *>(Pointer);
  return static_cast<UINT16>(Bytes[0] | (Bytes[1] << 8));
}
inline UINT32 ReadUnaligned32(const VOID *Pointer) {
  const UINT8 *Bytes = static_cast<const UINT8 *>(Pointer);
  return static_cast<UINT32>(Bytes[0]) | (static_cast<UINT32>(Bytes[1]) << 8) |
         (static_cast<UINT32>(Bytes[2]) << 16) | (static_cast<UINT32>(Bytes[3]) << 24);
}
inline UINT64 ReadUnaligned64(const VOID *Pointer) {
  const UINT8 *Bytes = static_cast<const UINT8 *>(Pointer);
  return static_cast<UINT64>(ReadUnaligned32(Bytes)) |
         (static_cast<UINT64>(ReadUnaligned32(Bytes + 4)) << 32);
}
inline void WriteUnaligned16(VOID *Pointer, UINT16 Value) {
  UINT8 *Bytes = static_cast<UINT8 *>(Pointer);
  Bytes[0] = static_cast<UINT8>(Value);
  Bytes[1] = static_cast<UINT8>(Value >> 8);
}
inline void WriteUnaligned32(VOID *Pointer, UINT32 Value) {
  UINT8 *Bytes = static_cast<UINT8 *>(Pointer);
  for (int Index = 0; Index < 4; Index++) {
    Bytes[Index] = static_cast<UINT8>(Value >> (8 * Index));
  }
}
inline void WriteUnaligned64(VOID *Pointer, UINT64 Value) {
  UINT8 *Bytes = static_cast<UINT8 *>(Pointer);
  WriteUnaligned32(Bytes, static_cast<UINT32>(Value));
  WriteUnaligned32(Bytes + 4, static_cast<UINT32>(Value >> 32));
}
