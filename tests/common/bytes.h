// Byte-vector helpers for hand-assembled packages and expectations: little-endian fields and
// zero-terminated strings, as the published formats lay them out.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

namespace morvane::test {

using ByteVector = std::vector<uint8_t>;

inline ByteVector Join(std::initializer_list<ByteVector> Parts) {
  ByteVector Out;
  for (const ByteVector &Part : Parts) {
    Out.insert(Out.end(), Part.begin(), Part.end());
  }
  return Out;
}

inline ByteVector Le16(uint32_t Value) {
  return {static_cast<uint8_t>(Value), static_cast<uint8_t>(Value >> 8)};
}

inline ByteVector Le32(uint32_t Value) {
  return {static_cast<uint8_t>(Value), static_cast<uint8_t>(Value >> 8),
          static_cast<uint8_t>(Value >> 16), static_cast<uint8_t>(Value >> 24)};
}

// "Hi" -> 48 00 69 00 00 00
inline ByteVector Ucs2Z(const std::u16string &Text) {
  ByteVector Out;
  for (char16_t Unit : Text) {
    Out.push_back(static_cast<uint8_t>(Unit));
    Out.push_back(static_cast<uint8_t>(Unit >> 8));
  }
  Out.push_back(0);
  Out.push_back(0);
  return Out;
}

inline ByteVector AsciiZ(const std::string &Text) {
  ByteVector Out(Text.begin(), Text.end());
  Out.push_back(0);
  return Out;
}

} // namespace morvane::test
