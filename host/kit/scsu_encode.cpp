#include "host/kit/scsu_encode.h"

namespace morvane::kit {

namespace {

constexpr uint8_t SQ0 = 0x01;
constexpr uint8_t SQU = 0x0E;

bool PassesThrough(char16_t Unit) {
  return Unit == 0x09 || Unit == 0x0A || Unit == 0x0D || (Unit >= 0x20 && Unit <= 0x7F);
}

} // namespace

std::vector<uint8_t> ScsuEncode(std::u16string_view Text) {
  std::vector<uint8_t> Bytes;
  for (char16_t Unit : Text) {
    if (PassesThrough(Unit) || (Unit >= 0x80 && Unit <= 0xFF)) {
      Bytes.push_back(static_cast<uint8_t>(Unit));
    } else if (Unit < 0x20) {
      Bytes.push_back(SQ0);
      Bytes.push_back(static_cast<uint8_t>(Unit));
    } else {
      Bytes.push_back(SQU);
      Bytes.push_back(static_cast<uint8_t>(Unit >> 8));
      Bytes.push_back(static_cast<uint8_t>(Unit));
    }
  }
  return Bytes;
}

} // namespace morvane::kit
