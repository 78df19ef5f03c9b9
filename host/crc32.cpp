#include "host/crc32.h"

namespace morvane::host {

UINT32 Crc32(const VOID *Data, UINTN Size) {
  const UINT8 *Bytes = static_cast<const UINT8 *>(Data);
  UINT32 Crc = 0xFFFFFFFFU;
  for (UINTN Index = 0; Index < Size; Index++) {
    Crc ^= Bytes[Index];
    for (int Bit = 0; Bit < 8; Bit++) {
      Crc = (Crc >> 1) ^ (0xEDB88320U & (0U - (Crc & 1U)));
    }
  }
  return ~Crc;
}

} // namespace morvane::host
