#include "tests/common/text.h"

#include "host/utf8.h"

namespace morvane::test {

std::string Utf8(const std::u16string &Text) {
  std::string Out;
  for (char16_t Unit : Text) {
    host::AppendUtf8(Out, Unit);
  }
  return Out;
}

std::u16string FromUtf8(const std::string &Text) {
  std::u16string Out;
  for (size_t Index = 0; Index < Text.size();) {
    CHAR16 Char = 0;
    if (host::DecodeUtf8(Text, &Index, &Char)) {
      Out += Char;
    } else {
      // What the screen cannot hold (outside the basic plane, or malformed) stands as one
      // replacement character per byte.
      Out += u'\uFFFD';
      Index++;
    }
  }
  return Out;
}

} // namespace morvane::test
