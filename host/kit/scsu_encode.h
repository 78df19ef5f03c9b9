// A plain encoder for the Standard Compression Scheme for Unicode (UTS #6), enough to write
// string packages with SCSU blocks: it stays in single-byte mode with the initial windows.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace morvane::kit {

// ASCII and Latin-1 become one byte each (dynamic window 0 starts at U+0080), control
// characters are quoted from static window 0 and everything else is quoted as a UTF-16 unit.
// No NUL is appended.
std::vector<uint8_t> ScsuEncode(std::u16string_view Text);

} // namespace morvane::kit
