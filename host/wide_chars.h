// Character widths of the text console.
#pragma once

#include "uefi/base.h"

namespace morvane::host {

// East Asian wide and fullwidth characters take two cells.
bool IsWideChar(CHAR16 Char);
// Characters with no glyph: controls other than CR, LF and BS, lone surrogates, non-characters.
bool IsUnprintable(CHAR16 Char);

} // namespace morvane::host
