#include "host/kit/ifr_value.h"

#include "host/kit/byte_append.h"

namespace morvane::kit {

namespace {

IfrValue Number(UINT8 Type, uint64_t Value, size_t Width) {
  IfrValue Result{Type, {}};
  PutLittleEndian(Result.Bytes, Value, Width);
  return Result;
}

} // namespace

IfrValue IfrValue::U8(UINT8 Value) {
  return Number(EFI_IFR_TYPE_NUM_SIZE_8, Value, 1);
}
IfrValue IfrValue::U16(UINT16 Value) {
  return Number(EFI_IFR_TYPE_NUM_SIZE_16, Value, 2);
}
IfrValue IfrValue::U32(UINT32 Value) {
  return Number(EFI_IFR_TYPE_NUM_SIZE_32, Value, 4);
}
IfrValue IfrValue::U64(UINT64 Value) {
  return Number(EFI_IFR_TYPE_NUM_SIZE_64, Value, 8);
}
IfrValue IfrValue::Bool(bool Value) {
  return Number(EFI_IFR_TYPE_BOOLEAN, Value ? 1 : 0, 1);
}
IfrValue IfrValue::String(EFI_STRING_ID Id) {
  return Number(EFI_IFR_TYPE_STRING, Id, 2);
}
IfrValue IfrValue::Action(EFI_STRING_ID Id) {
  return Number(EFI_IFR_TYPE_ACTION, Id, 2);
}

IfrValue IfrValue::Time(UINT8 Hour, UINT8 Minute, UINT8 Second) {
  return IfrValue{EFI_IFR_TYPE_TIME, {Hour, Minute, Second}};
}

IfrValue IfrValue::Date(UINT16 Year, UINT8 Month, UINT8 Day) {
  IfrValue Result{EFI_IFR_TYPE_DATE, {}};
  PutU16(Result.Bytes, Year);
  PutU8(Result.Bytes, Month);
  PutU8(Result.Bytes, Day);
  return Result;
}

IfrValue IfrValue::Ref(EFI_QUESTION_ID QuestionId, EFI_FORM_ID FormId, const EFI_GUID &FormSetGuid,
                       EFI_STRING_ID DevicePath) {
  IfrValue Result{EFI_IFR_TYPE_REF, {}};
  PutU16(Result.Bytes, QuestionId);
  PutU16(Result.Bytes, FormId);
  PutGuid(Result.Bytes, FormSetGuid);
  PutU16(Result.Bytes, DevicePath);
  return Result;
}

IfrValue IfrValue::Buffer(std::vector<uint8_t> Bytes) {
  return IfrValue{EFI_IFR_TYPE_BUFFER, std::move(Bytes)};
}

IfrValue IfrValue::Raw(UINT8 Type, std::vector<uint8_t> Bytes) {
  return IfrValue{Type, std::move(Bytes)};
}

} // namespace morvane::kit
