// Hand assembly of string packages for the reader's tests: byte arrays as real packages are,
// unaligned and with whatever header size the case needs.
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

// A string package: header with Language and Padding zero bytes inside HdrSize, then Blocks.
// The header's fields can be overridden to make it inconsistent.
struct StringPackageBytes {
  std::string Language = "en-US";
  uint32_t Padding = 0;
  uint16_t LanguageName = 0;
  ByteVector Blocks = {0x00};
  // Zero means "computed".
  uint32_t HeaderSizeField = 0;
  uint32_t StringInfoOffsetField = 0;
  uint32_t LengthField = 0;
  uint8_t Type = 0x04;

  ByteVector Bytes() const {
    uint32_t HeaderSize = static_cast<uint32_t>(46 + Language.size() + 1 + Padding);
    uint32_t Length = static_cast<uint32_t>(HeaderSize + Blocks.size());
    ByteVector Out = Le32(((LengthField != 0 ? LengthField : Length) & 0xFFFFFF) |
                          (static_cast<uint32_t>(Type) << 24));
    Out = Join({Out, Le32(HeaderSizeField != 0 ? HeaderSizeField : HeaderSize),
                Le32(StringInfoOffsetField != 0 ? StringInfoOffsetField : HeaderSize),
                ByteVector(32, 0), Le16(LanguageName)});
    Out.insert(Out.end(), Language.begin(), Language.end());
    Out.push_back(0);
    Out.insert(Out.end(), Padding, 0);
    Out.insert(Out.end(), Blocks.begin(), Blocks.end());
    return Out;
  }
};

} // namespace morvane::test
