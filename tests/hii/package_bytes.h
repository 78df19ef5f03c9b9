// Hand assembly of string packages for the reader's tests: byte arrays as real packages are,
// unaligned and with whatever header size the case needs.
#pragma once

#include <cstdint>
#include <string>

#include "tests/common/bytes.h"

namespace morvane::test {

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
