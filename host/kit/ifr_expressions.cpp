// Expression opcodes: built-ins that push a value and the operators that consume them.
#include "host/kit/byte_append.h"
#include "host/kit/ifr_writer.h"

namespace morvane::kit {

namespace {

std::vector<uint8_t> Little(uint64_t Value, size_t Width) {
  std::vector<uint8_t> Bytes;
  PutLittleEndian(Bytes, Value, Width);
  return Bytes;
}

} // namespace

IfrWriter &IfrWriter::EqIdVal(EFI_QUESTION_ID QuestionId, UINT16 Value) {
  std::vector<uint8_t> Body = Little(QuestionId, 2);
  PutU16(Body, Value);
  return Raw(EFI_IFR_EQ_ID_VAL_OP, Body);
}

IfrWriter &IfrWriter::EqIdId(EFI_QUESTION_ID QuestionId1, EFI_QUESTION_ID QuestionId2) {
  std::vector<uint8_t> Body = Little(QuestionId1, 2);
  PutU16(Body, QuestionId2);
  return Raw(EFI_IFR_EQ_ID_ID_OP, Body);
}

IfrWriter &IfrWriter::EqIdValList(EFI_QUESTION_ID QuestionId, const std::vector<UINT16> &Values) {
  std::vector<uint8_t> Body = Little(QuestionId, 2);
  PutU16(Body, Values.size());
  for (UINT16 Value : Values) {
    PutU16(Body, Value);
  }
  return Raw(EFI_IFR_EQ_ID_VAL_LIST_OP, Body);
}

IfrWriter &IfrWriter::QuestionRef1(EFI_QUESTION_ID QuestionId) {
  return Raw(EFI_IFR_QUESTION_REF1_OP, Little(QuestionId, 2));
}

IfrWriter &IfrWriter::QuestionRef2() {
  return Plain(EFI_IFR_QUESTION_REF2_OP);
}

IfrWriter &IfrWriter::QuestionRef3() {
  return Plain(EFI_IFR_QUESTION_REF3_OP);
}

IfrWriter &IfrWriter::QuestionRef3(EFI_STRING_ID DevicePath) {
  return Raw(EFI_IFR_QUESTION_REF3_OP, Little(DevicePath, 2));
}

IfrWriter &IfrWriter::QuestionRef3(EFI_STRING_ID DevicePath, const EFI_GUID &Guid) {
  std::vector<uint8_t> Body = Little(DevicePath, 2);
  PutGuid(Body, Guid);
  return Raw(EFI_IFR_QUESTION_REF3_OP, Body);
}

IfrWriter &IfrWriter::RuleRef(UINT8 RuleId) {
  return Raw(EFI_IFR_RULE_REF_OP, {RuleId});
}

IfrWriter &IfrWriter::StringRef1(EFI_STRING_ID StringId) {
  return Raw(EFI_IFR_STRING_REF1_OP, Little(StringId, 2));
}

IfrWriter &IfrWriter::StringRef2() {
  return Plain(EFI_IFR_STRING_REF2_OP);
}

IfrWriter &IfrWriter::Uint8(UINT8 Value) {
  return Raw(EFI_IFR_UINT8_OP, Little(Value, 1));
}
IfrWriter &IfrWriter::Uint16(UINT16 Value) {
  return Raw(EFI_IFR_UINT16_OP, Little(Value, 2));
}
IfrWriter &IfrWriter::Uint32(UINT32 Value) {
  return Raw(EFI_IFR_UINT32_OP, Little(Value, 4));
}
IfrWriter &IfrWriter::Uint64(UINT64 Value) {
  return Raw(EFI_IFR_UINT64_OP, Little(Value, 8));
}

IfrWriter &IfrWriter::True() {
  return Plain(EFI_IFR_TRUE_OP);
}
IfrWriter &IfrWriter::False() {
  return Plain(EFI_IFR_FALSE_OP);
}
IfrWriter &IfrWriter::Zero() {
  return Plain(EFI_IFR_ZERO_OP);
}
IfrWriter &IfrWriter::One() {
  return Plain(EFI_IFR_ONE_OP);
}
IfrWriter &IfrWriter::Ones() {
  return Plain(EFI_IFR_ONES_OP);
}
IfrWriter &IfrWriter::Undefined() {
  return Plain(EFI_IFR_UNDEFINED_OP);
}
IfrWriter &IfrWriter::Version() {
  return Plain(EFI_IFR_VERSION_OP);
}
IfrWriter &IfrWriter::This() {
  return Plain(EFI_IFR_THIS_OP);
}
IfrWriter &IfrWriter::Dup() {
  return Plain(EFI_IFR_DUP_OP);
}

IfrWriter &IfrWriter::Get(EFI_VARSTORE_ID VarStoreId, UINT16 VarStoreInfo, UINT8 VarStoreType) {
  std::vector<uint8_t> Body = Little(VarStoreId, 2);
  PutU16(Body, VarStoreInfo);
  PutU8(Body, VarStoreType);
  return Raw(EFI_IFR_GET_OP, Body);
}

IfrWriter &IfrWriter::Get() {
  return Plain(EFI_IFR_GET_OP);
}

IfrWriter &IfrWriter::Set(EFI_VARSTORE_ID VarStoreId, UINT16 VarStoreInfo, UINT8 VarStoreType) {
  std::vector<uint8_t> Body = Little(VarStoreId, 2);
  PutU16(Body, VarStoreInfo);
  PutU8(Body, VarStoreType);
  return Raw(EFI_IFR_SET_OP, Body);
}

IfrWriter &IfrWriter::Set() {
  return Plain(EFI_IFR_SET_OP);
}
IfrWriter &IfrWriter::Read() {
  return Plain(EFI_IFR_READ_OP);
}
IfrWriter &IfrWriter::Write() {
  return Plain(EFI_IFR_WRITE_OP);
}

IfrWriter &IfrWriter::Length() {
  return Plain(EFI_IFR_LENGTH_OP);
}
IfrWriter &IfrWriter::Not() {
  return Plain(EFI_IFR_NOT_OP);
}
IfrWriter &IfrWriter::BitwiseNot() {
  return Plain(EFI_IFR_BITWISE_NOT_OP);
}
IfrWriter &IfrWriter::ToBoolean() {
  return Plain(EFI_IFR_TO_BOOLEAN_OP);
}
IfrWriter &IfrWriter::ToString(UINT8 Format) {
  return Raw(EFI_IFR_TO_STRING_OP, {Format});
}
IfrWriter &IfrWriter::ToUint() {
  return Plain(EFI_IFR_TO_UINT_OP);
}
IfrWriter &IfrWriter::ToLower() {
  return Plain(EFI_IFR_TO_LOWER_OP);
}
IfrWriter &IfrWriter::ToUpper() {
  return Plain(EFI_IFR_TO_UPPER_OP);
}
IfrWriter &IfrWriter::And() {
  return Plain(EFI_IFR_AND_OP);
}
IfrWriter &IfrWriter::Or() {
  return Plain(EFI_IFR_OR_OP);
}
IfrWriter &IfrWriter::Equal() {
  return Plain(EFI_IFR_EQUAL_OP);
}
IfrWriter &IfrWriter::NotEqual() {
  return Plain(EFI_IFR_NOT_EQUAL_OP);
}
IfrWriter &IfrWriter::GreaterThan() {
  return Plain(EFI_IFR_GREATER_THAN_OP);
}
IfrWriter &IfrWriter::GreaterEqual() {
  return Plain(EFI_IFR_GREATER_EQUAL_OP);
}
IfrWriter &IfrWriter::LessThan() {
  return Plain(EFI_IFR_LESS_THAN_OP);
}
IfrWriter &IfrWriter::LessEqual() {
  return Plain(EFI_IFR_LESS_EQUAL_OP);
}
IfrWriter &IfrWriter::BitwiseAnd() {
  return Plain(EFI_IFR_BITWISE_AND_OP);
}
IfrWriter &IfrWriter::BitwiseOr() {
  return Plain(EFI_IFR_BITWISE_OR_OP);
}
IfrWriter &IfrWriter::ShiftLeft() {
  return Plain(EFI_IFR_SHIFT_LEFT_OP);
}
IfrWriter &IfrWriter::ShiftRight() {
  return Plain(EFI_IFR_SHIFT_RIGHT_OP);
}
IfrWriter &IfrWriter::Add() {
  return Plain(EFI_IFR_ADD_OP);
}
IfrWriter &IfrWriter::Subtract() {
  return Plain(EFI_IFR_SUBTRACT_OP);
}
IfrWriter &IfrWriter::Multiply() {
  return Plain(EFI_IFR_MULTIPLY_OP);
}
IfrWriter &IfrWriter::Divide() {
  return Plain(EFI_IFR_DIVIDE_OP);
}
IfrWriter &IfrWriter::Modulo() {
  return Plain(EFI_IFR_MODULO_OP);
}
IfrWriter &IfrWriter::Catenate() {
  return Plain(EFI_IFR_CATENATE_OP);
}
IfrWriter &IfrWriter::Match() {
  return Plain(EFI_IFR_MATCH_OP);
}

IfrWriter &IfrWriter::Match2(const EFI_GUID &SyntaxType) {
  std::vector<uint8_t> Body;
  PutGuid(Body, SyntaxType);
  return Raw(EFI_IFR_MATCH2_OP, Body);
}

IfrWriter &IfrWriter::Conditional() {
  return Plain(EFI_IFR_CONDITIONAL_OP);
}
IfrWriter &IfrWriter::Find(UINT8 Format) {
  return Raw(EFI_IFR_FIND_OP, {Format});
}
IfrWriter &IfrWriter::Mid() {
  return Plain(EFI_IFR_MID_OP);
}
IfrWriter &IfrWriter::Token() {
  return Plain(EFI_IFR_TOKEN_OP);
}
IfrWriter &IfrWriter::Span(UINT8 Flags) {
  return Raw(EFI_IFR_SPAN_OP, {Flags});
}
IfrWriter &IfrWriter::Map(bool Scope) {
  return Raw(EFI_IFR_MAP_OP, {}, Scope);
}

} // namespace morvane::kit
