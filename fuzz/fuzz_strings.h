// The strings every fuzz input's package list carries, so that string ids in the input resolve.
#pragma once

#include "host/kit/strings.h"

namespace morvane::fuzz {

// Ids 1 to 48 in en-US, the first half also in fr-FR.
const kit::Strings &FuzzStrings();
constexpr EFI_STRING_ID FuzzStringCount = 48;

} // namespace morvane::fuzz
