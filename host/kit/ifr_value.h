// A typed value as option, default and callback records carry it: the type byte and exactly as
// many value bytes as the type needs.
#pragma once

#include <cstdint>
#include <vector>

#include "uefi/ifr.h"

namespace morvane::kit {

struct IfrValue {
  UINT8 Type = EFI_IFR_TYPE_NUM_SIZE_8;
  std::vector<uint8_t> Bytes;

  static IfrValue U8(UINT8 Value);
  static IfrValue U16(UINT16 Value);
  static IfrValue U32(UINT32 Value);
  static IfrValue U64(UINT64 Value);
  static IfrValue Bool(bool Value);
  // Three bytes: hour, minute, second.
  static IfrValue Time(UINT8 Hour, UINT8 Minute, UINT8 Second);
  // Four bytes: u16 year, month, day.
  static IfrValue Date(UINT16 Year, UINT8 Month, UINT8 Day);
  static IfrValue String(EFI_STRING_ID Id);
  // The action type carries a string id, like String.
  static IfrValue Action(EFI_STRING_ID Id);
  // Twenty-two bytes: question id, form id, form set GUID, device path string id.
  static IfrValue Ref(EFI_QUESTION_ID QuestionId, EFI_FORM_ID FormId, const EFI_GUID &FormSetGuid,
                      EFI_STRING_ID DevicePath);
  // As many bytes as given, as in ordered-list defaults.
  static IfrValue Buffer(std::vector<uint8_t> Bytes);
  // Any type with any bytes, for malformed records.
  static IfrValue Raw(UINT8 Type, std::vector<uint8_t> Bytes);
};

} // namespace morvane::kit
