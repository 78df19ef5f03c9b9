#include "host/kit/guid_text.h"

#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace morvane::kit {

namespace {

int HexValue(char Digit) {
  if (Digit >= '0' && Digit <= '9') {
    return Digit - '0';
  }
  if (Digit >= 'a' && Digit <= 'f') {
    return Digit - 'a' + 10;
  }
  if (Digit >= 'A' && Digit <= 'F') {
    return Digit - 'A' + 10;
  }
  return -1;
}

} // namespace

EFI_GUID ParseGuid(std::string_view Text) {
  static constexpr size_t DASHES[] = {8, 13, 18, 23};
  if (Text.size() != 36) {
    throw std::invalid_argument("GUID text is not 36 characters: " + std::string(Text));
  }
  // The 16 values in text order: Data1 (4 bytes), Data2 (2), Data3 (2), Data4 (8).
  uint8_t Values[16] = {};
  size_t Count = 0;
  for (size_t Index = 0; Index < Text.size(); Index++) {
    bool DashHere = false;
    for (size_t Dash : DASHES) {
      DashHere = DashHere || Dash == Index;
    }
    if (DashHere) {
      if (Text[Index] != '-') {
        throw std::invalid_argument("GUID text lacks a dash: " + std::string(Text));
      }
      continue;
    }
    int High = HexValue(Text[Index]);
    int Low = Index + 1 < Text.size() ? HexValue(Text[Index + 1]) : -1;
    if (High < 0 || Low < 0) {
      throw std::invalid_argument("GUID text has a non-hex digit: " + std::string(Text));
    }
    Values[Count++] = static_cast<uint8_t>(High * 16 + Low);
    Index++;
  }
  EFI_GUID Guid;
  Guid.Data1 = (static_cast<UINT32>(Values[0]) << 24) | (static_cast<UINT32>(Values[1]) << 16) |
               (static_cast<UINT32>(Values[2]) << 8) | Values[3];
  Guid.Data2 = static_cast<UINT16>((Values[4] << 8) | Values[5]);
  Guid.Data3 = static_cast<UINT16>((Values[6] << 8) | Values[7]);
  std::memcpy(Guid.Data4, Values + 8, 8);
  return Guid;
}

std::string GuidText(const EFI_GUID &Guid) {
  char Text[37];
  std::snprintf(Text, sizeof(Text), "%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x",
                static_cast<unsigned>(Guid.Data1), Guid.Data2, Guid.Data3, Guid.Data4[0],
                Guid.Data4[1], Guid.Data4[2], Guid.Data4[3], Guid.Data4[4], Guid.Data4[5],
                Guid.Data4[6], Guid.Data4[7]);
  return Text;
}

bool SameGuid(const EFI_GUID &Left, const EFI_GUID &Right) {
  return Left.Data1 == Right.Data1 && Left.Data2 == Right.Data2 && Left.Data3 == Right.Data3 &&
         std::memcmp(Left.Data4, Right.Data4, 8) == 0;
}

} // namespace morvane::kit
