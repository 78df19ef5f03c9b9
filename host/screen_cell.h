// One character cell of the virtual text screen.
#pragma once

#include "uefi/base.h"

namespace morvane::host {

struct ScreenCell {
  CHAR16 Char = u' ';
  UINT8 Attribute = 0x07;
  // The right half of a wide character; the character itself is in the cell to the left.
  bool Continuation = false;
  bool operator==(const ScreenCell &) const = default;
};

} // namespace morvane::host
