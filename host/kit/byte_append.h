// Little-endian appends to a byte vector: every multi-byte field of an HII package is
// little-endian and unaligned, so the kit writes them one byte at a time.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "uefi/base.h"

namespace morvane::kit {

inline void PutU8(std::vector<uint8_t> &Out, uint64_t Value) {
  Out.push_back(static_cast<uint8_t>(Value));
}

inline void PutLittleEndian(std::vector<uint8_t> &Out, uint64_t Value, size_t Width) {
  for (size_t Index = 0; Index < Width; Index++) {
    Out.push_back(static_cast<uint8_t>(Value >> (8 * Index)));
  }
}

inline void PutU16(std::vector<uint8_t> &Out, uint64_t Value) {
  PutLittleEndian(Out, Value, 2);
}
inline void PutU32(std::vector<uint8_t> &Out, uint64_t Value) {
  PutLittleEndian(Out, Value, 4);
}
inline void PutU64(std::vector<uint8_t> &Out, uint64_t Value) {
  PutLittleEndian(Out, Value, 8);
}

inline void PutGuid(std::vector<uint8_t> &Out, const EFI_GUID &Guid) {
  PutU32(Out, Guid.Data1);
  PutU16(Out, Guid.Data2);
  PutU16(Out, Guid.Data3);
  Out.insert(Out.end(), Guid.Data4, Guid.Data4 + 8);
}

inline void PutBytes(std::vector<uint8_t> &Out, const std::vector<uint8_t> &Bytes) {
  Out.insert(Out.end(), Bytes.begin(), Bytes.end());
}

// ASCII text and its NUL, as in variable store names and string package languages.
inline void PutAscii(std::vector<uint8_t> &Out, std::string_view Text) {
  Out.insert(Out.end(), Text.begin(), Text.end());
  Out.push_back(0);
}

// UCS-2 text and its NUL, two bytes per unit, low byte first.
inline void PutUcs2(std::vector<uint8_t> &Out, std::u16string_view Text) {
  for (char16_t Unit : Text) {
    PutU16(Out, Unit);
  }
  PutU16(Out, 0);
}

} // namespace morvane::kit
