#include "host/utf8.h"

namespace morvane::host {

void AppendUtf8(std::string &Out, CHAR16 Char) {
  UINT32 Code = Char;
  if (Code < 0x80) {
    Out += static_cast<char>(Code);
  } else if (Code < 0x800) {
    Out += static_cast<char>(0xC0 | (Code >> 6));
    Out += static_cast<char>(0x80 | (Code & 0x3F));
  } else {
    Out += static_cast<char>(0xE0 | (Code >> 12));
    Out += static_cast<char>(0x80 | ((Code >> 6) & 0x3F));
    Out += static_cast<char>(0x80 | (Code & 0x3F));
  }
}

bool DecodeUtf8(const std::string &Text, size_t *Offset, CHAR16 *Char) {
  size_t Index = *Offset;
  UINT32 Lead = static_cast<unsigned char>(Text[Index]);
  UINT32 Code;
  size_t Extra;
  if (Lead < 0x80) {
    Code = Lead;
    Extra = 0;
  } else if ((Lead & 0xE0) == 0xC0) {
    Code = Lead & 0x1F;
    Extra = 1;
  } else if ((Lead & 0xF0) == 0xE0) {
    Code = Lead & 0x0F;
    Extra = 2;
  } else {
    return false;
  }
  if (Index + Extra >= Text.size()) {
    return false;
  }
  for (size_t Step = 1; Step <= Extra; Step++) {
    UINT32 Next = static_cast<unsigned char>(Text[Index + Step]);
    if ((Next & 0xC0) != 0x80) {
      return false;
    }
    Code = (Code << 6) | (Next & 0x3F);
  }
  // Overlong forms and surrogates are not text.
  if ((Extra == 1 && Code < 0x80) || (Extra == 2 && Code < 0x800) ||
      (Code >= 0xD800 && Code <= 0xDFFF)) {
    return false;
  }
  *Char = static_cast<CHAR16>(Code);
  *Offset = Index + Extra + 1;
  return true;
}

} // namespace morvane::host
