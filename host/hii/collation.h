// Case folding and wildcard matching of the Unicode Collation protocol: ASCII and Latin-1
// letters fold, everything else compares as it is.
#pragma once

#include "uefi/base.h"

namespace morvane::host {

CHAR16 FoldUpper(CHAR16 Character);
CHAR16 FoldLower(CHAR16 Character);

// Negative, zero or positive as Left sorts before, with or after Right, without case.
INTN CompareWithoutCase(const CHAR16 *Left, const CHAR16 *Right);

// '*' any run, '?' any one character, "[abc]" and "[a-z]" one of a set; without case.
// A set without its ']' matches nothing.
bool WildcardMatch(const CHAR16 *String, const CHAR16 *Pattern);

// FAT 8.3 characters: OEM bytes to UCS-2 (up to FatSize bytes or a NUL), and UCS-2 to upper
// case OEM bytes, '_' for what FAT cannot hold (true when that happened).
void FatBytesToString(UINTN FatSize, const CHAR8 *Fat, CHAR16 *String);
bool StringToFatBytes(const CHAR16 *String, UINTN FatSize, CHAR8 *Fat);

} // namespace morvane::host
