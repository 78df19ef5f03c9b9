#include "host/wide_chars.h"

#include "uefi/console.h"

namespace morvane::host {

namespace {
struct Range {
  CHAR16 First;
  CHAR16 Last;
};

// The wide and fullwidth blocks of the basic multilingual plane.
constexpr Range WIDE_RANGES[] = {
    {0x1100, 0x115F}, {0x2329, 0x232A}, {0x2E80, 0x303E}, {0x3041, 0x33FF}, {0x3400, 0x4DBF},
    {0x4E00, 0x9FFF}, {0xA000, 0xA4CF}, {0xA960, 0xA97F}, {0xAC00, 0xD7A3}, {0xF900, 0xFAFF},
    {0xFE10, 0xFE19}, {0xFE30, 0xFE6F}, {0xFF00, 0xFF60}, {0xFFE0, 0xFFE6},
};
} // namespace

bool IsWideChar(CHAR16 Char) {
  for (const Range &Wide : WIDE_RANGES) {
    if (Char >= Wide.First && Char <= Wide.Last) {
      return true;
    }
  }
  return false;
}

bool IsUnprintable(CHAR16 Char) {
  if (Char == CHAR_CARRIAGE_RETURN || Char == CHAR_LINEFEED || Char == CHAR_BACKSPACE) {
    return false;
  }
  return Char < 0x20 || Char == 0x7F || (Char >= 0xD800 && Char <= 0xDFFF) || Char == 0xFFFE ||
         Char == 0xFFFF;
}

} // namespace morvane::host
