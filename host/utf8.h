// UTF-8 for the host side: screen dumps out, key scripts in.
#pragma once

#include <string>

#include "uefi/base.h"

namespace morvane::host {

void AppendUtf8(std::string &Out, CHAR16 Char);
// Decodes one character of the basic multilingual plane at Text[*Offset] and moves past it;
// false for a malformed sequence or one outside the plane.
bool DecodeUtf8(const std::string &Text, size_t *Offset, CHAR16 *Char);

} // namespace morvane::host
