// Bounded little-endian reads of untrusted bytes: packages are unaligned and may lie about
// their lengths, so every field is read byte by byte after a bounds check.
#pragma once

#include <cstddef>
#include <cstdint>

namespace morvane::host {

// True and Value set when Width bytes at Offset lie inside Size.
inline bool ReadLittleEndian(const uint8_t *Bytes, size_t Size, size_t Offset, size_t Width,
                             uint64_t *Value) {
  if (Offset > Size || Width > Size - Offset) {
    return false;
  }
  uint64_t Result = 0;
  for (size_t Index = 0; Index < Width; Index++) {
    Result |= static_cast<uint64_t>(Bytes[Offset + Index]) << (8 * Index);
  }
  *Value = Result;
  return true;
}

template <typename Integer>
bool ReadField(const uint8_t *Bytes, size_t Size, size_t Offset, Integer *Value) {
  uint64_t Wide = 0;
  if (!ReadLittleEndian(Bytes, Size, Offset, sizeof(Integer), &Wide)) {
    return false;
  }
  *Value = static_cast<Integer>(Wide);
  return true;
}

} // namespace morvane::host
