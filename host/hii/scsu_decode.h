// Decoder of the Standard Compression Scheme for Unicode (UTS #6) as string packages use it:
// each string is compressed on its own, from the initial state, and ends at a decoded NUL.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "uefi/base.h"

namespace morvane::host {

// Decodes from Bytes up to and including the NUL that ends the string. On success Text holds
// the string (characters above U+FFFF as surrogate pairs) and Consumed the bytes read, NUL
// included. EFI_INVALID_PARAMETER for a reserved tag or window, or when the bytes run out
// before the NUL.
EFI_STATUS ScsuDecode(const uint8_t *Bytes, size_t Size, size_t *Consumed, std::u16string *Text);

} // namespace morvane::host
