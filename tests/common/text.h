// Conversions between the driver's UCS-2 text and the test's std::u16string / UTF-8.
#pragma once

#include <string>

#include "uefi/base.h"

namespace morvane::test {

inline std::u16string U16(const CHAR16 *Text) {
  return Text == nullptr ? std::u16string() : std::u16string(Text);
}

std::string Utf8(const std::u16string &Text);
std::u16string FromUtf8(const std::string &Text);

} // namespace morvane::test
