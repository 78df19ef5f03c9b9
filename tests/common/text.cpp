#include "tests/common/text.h"

namespace morvane::test {

std::string Utf8(const std::u16string &Text) {
  std::string Out;
  for (char16_t Unit : Text) {
    uint32_t Code = Unit;
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
  return Out;
}

std::u16string FromUtf8(const std::string &Text) {
  std::u16string Out;
  for (size_t Index = 0; Index < Text.size();) {
    unsigned char Lead = static_cast<unsigned char>(Text[Index]);
    uint32_t Code;
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
      Code = Lead & 0x07;
      Extra = 3;
    }
    Index++;
    for (size_t Step = 0; Step < Extra && Index < Text.size(); Step++, Index++) {
      Code = (Code << 6) | (static_cast<unsigned char>(Text[Index]) & 0x3F);
    }
    Out += static_cast<char16_t>(Code > 0xFFFF ? 0xFFFD : Code);
  }
  return Out;
}

} // namespace morvane::test
