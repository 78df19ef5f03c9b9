#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

#include "host/kit/guid_text.h"
#include "host/kit/ifr_writer.h"
#include "uefi/hii.h"
#include "tests/common/bytes.h"

using morvane::kit::IfrValue;
using morvane::kit::IfrWriter;
using morvane::kit::ParseGuid;
using morvane::kit::QuestionHeader;
using morvane::test::ByteVector;
using morvane::test::Join;

namespace {

const QuestionHeader QUESTION = {0x0102, 0x0304, 0x0506, 0x0708, 0x090A, 0x0B};
const ByteVector Q = {0x02, 0x01, 0x04, 0x03, 0x06, 0x05, 0x08, 0x07, 0x0A, 0x09, 0x0B};

const EFI_GUID GUID = ParseGuid("8be4df61-93ca-11d2-aa0d-00e098032b8c");
const ByteVector G = {0x61, 0xdf, 0xe4, 0x8b, 0xca, 0x93, 0xd2, 0x11,
                      0xaa, 0x0d, 0x00, 0xe0, 0x98, 0x03, 0x2b, 0x8c};
const ByteVector VENDOR_G = {0x35, 0x17, 0x0b, 0x0f, 0xa0, 0x87, 0x93, 0x41,
                             0xb2, 0x66, 0x53, 0x8c, 0x38, 0xaf, 0x48, 0xce};

struct OpcodeCase {
  const char *Name;
  std::function<void(IfrWriter &)> Write;
  ByteVector Expected;
};

void ExpectCases(const std::vector<OpcodeCase> &Cases) {
  for (const OpcodeCase &Case : Cases) {
    IfrWriter Writer;
    Case.Write(Writer);
    EXPECT_EQ(Writer.Bytes(), Case.Expected) << Case.Name;
  }
}

TEST(IfrWriterTest, FormsAndStatements) {
  ExpectCases({
      {"form set", [](IfrWriter &W) { W.FormSet(GUID, 0x10, 0x11, {}, true); },
       Join({{0x0E, 0x97}, G, {0x10, 0x00, 0x11, 0x00, 0x00}})},
      {"form set with a class GUID",
       [](IfrWriter &W) { W.FormSet(GUID, 0x10, 0x11, {GUID}, true); },
       Join({{0x0E, 0xA7}, G, {0x10, 0x00, 0x11, 0x00, 0x01}, G})},
      {"form", [](IfrWriter &W) { W.Form(0x1234, 5, true); }, {0x01, 0x86, 0x34, 0x12, 0x05, 0x00}},
      {"form map",
       [](IfrWriter &W) {
         W.FormMap(7, {{0x20, GUID}}, true);
       },
       Join({{0x5D, 0x96, 0x07, 0x00, 0x20, 0x00}, G})},
      {"end", [](IfrWriter &W) { W.End(); }, {0x29, 0x02}},
      {"subtitle",
       [](IfrWriter &W) { W.Subtitle(1, 2, EFI_IFR_FLAGS_HORIZONTAL); },
       {0x02, 0x07, 0x01, 0x00, 0x02, 0x00, 0x01}},
      {"text",
       [](IfrWriter &W) { W.Text(1, 2, 3); },
       {0x03, 0x08, 0x01, 0x00, 0x02, 0x00, 0x03, 0x00}},
      {"image", [](IfrWriter &W) { W.Image(0x42); }, {0x04, 0x04, 0x42, 0x00}},
      {"animation", [](IfrWriter &W) { W.Animation(9); }, {0x1F, 0x04, 0x09, 0x00}},
      {"refresh", [](IfrWriter &W) { W.Refresh(5); }, {0x1D, 0x03, 0x05}},
      {"refresh id", [](IfrWriter &W) { W.RefreshId(GUID); }, Join({{0x62, 0x12}, G})},
      {"locked", [](IfrWriter &W) { W.Locked(); }, {0x0B, 0x02}},
      {"modal tag", [](IfrWriter &W) { W.ModalTag(); }, {0x61, 0x02}},
      {"value", [](IfrWriter &W) { W.Value(true); }, {0x5A, 0x82}},
      {"default store",
       [](IfrWriter &W) { W.DefaultStore(0x0A, 1); },
       {0x5C, 0x06, 0x0A, 0x00, 0x01, 0x00}},
      {"default",
       [](IfrWriter &W) { W.Default(0, IfrValue::U16(0x1234)); },
       {0x5B, 0x07, 0x00, 0x00, 0x01, 0x34, 0x12}},
      {"default from an expression",
       [](IfrWriter &W) { W.Default2(1, EFI_IFR_TYPE_NUM_SIZE_8, true); },
       {0x5B, 0x85, 0x01, 0x00, 0x00}},
      {"one-of option",
       [](IfrWriter &W) { W.OneOfOption(0x55, EFI_IFR_OPTION_DEFAULT, IfrValue::U8(3)); },
       {0x09, 0x07, 0x55, 0x00, 0x10, 0x00, 0x03}},
  });
}

TEST(IfrWriterTest, Questions) {
  ExpectCases({
      {"one-of of one byte",
       [](IfrWriter &W) { W.OneOf(QUESTION, EFI_IFR_NUMERIC_SIZE_1, 1, 10, 1, true); },
       Join({{0x05, 0x91}, Q, {0x00, 0x01, 0x0A, 0x01}})},
      {"numeric of two bytes",
       [](IfrWriter &W) {
         W.Numeric(QUESTION, EFI_IFR_NUMERIC_SIZE_2 | EFI_IFR_DISPLAY_UINT_HEX, 0x100, 0x2000, 2);
       },
       Join({{0x07, 0x14}, Q, {0x21, 0x00, 0x01, 0x00, 0x20, 0x02, 0x00}})},
      {"numeric of four bytes",
       [](IfrWriter &W) { W.Numeric(QUESTION, EFI_IFR_NUMERIC_SIZE_4, 1, 0x12345678, 0); },
       Join({{0x07, 0x1A}, Q, {0x02, 0x01, 0, 0, 0, 0x78, 0x56, 0x34, 0x12, 0, 0, 0, 0}})},
      {"numeric of eight bytes",
       [](IfrWriter &W) { W.Numeric(QUESTION, EFI_IFR_NUMERIC_SIZE_8, 0, ~0ULL, 5); },
       Join({{0x07, 0x26},
             Q,
             {0x03},
             ByteVector(8, 0x00),
             ByteVector(8, 0xFF),
             {0x05, 0, 0, 0, 0, 0, 0, 0}})},
      {"numeric truncates to its width",
       [](IfrWriter &W) { W.Numeric(QUESTION, EFI_IFR_NUMERIC_SIZE_1, 0x1FF, 0x2FE, 0x301); },
       Join({{0x07, 0x11}, Q, {0x00, 0xFF, 0xFE, 0x01}})},
      {"checkbox", [](IfrWriter &W) { W.Checkbox(QUESTION, EFI_IFR_CHECKBOX_DEFAULT); },
       Join({{0x06, 0x0E}, Q, {0x01}})},
      {"password", [](IfrWriter &W) { W.Password(QUESTION, 6, 20); },
       Join({{0x08, 0x11}, Q, {0x06, 0x00, 0x14, 0x00}})},
      {"string", [](IfrWriter &W) { W.String(QUESTION, 1, 40, EFI_IFR_STRING_MULTI_LINE); },
       Join({{0x1C, 0x10}, Q, {0x01, 0x28, 0x01}})},
      {"date", [](IfrWriter &W) { W.Date(QUESTION, QF_DATE_STORAGE_TIME); },
       Join({{0x1A, 0x0E}, Q, {0x10}})},
      {"time", [](IfrWriter &W) { W.Time(QUESTION); }, Join({{0x1B, 0x0E}, Q, {0x00}})},
      {"ordered list", [](IfrWriter &W) { W.OrderedList(QUESTION, 8, EFI_IFR_UNIQUE_SET, true); },
       Join({{0x23, 0x8F}, Q, {0x08, 0x01}})},
      {"action with configuration", [](IfrWriter &W) { W.Action(QUESTION, 0x33); },
       Join({{0x0C, 0x0F}, Q, {0x33, 0x00}})},
      {"action without configuration", [](IfrWriter &W) { W.Action(QUESTION, std::nullopt); },
       Join({{0x0C, 0x0D}, Q})},
      {"reset button", [](IfrWriter &W) { W.ResetButton(QUESTION, 1); },
       Join({{0x0D, 0x0F}, Q, {0x01, 0x00}})},
      {"ref", [](IfrWriter &W) { W.Ref(QUESTION, 2); }, Join({{0x0F, 0x0F}, Q, {0x02, 0x00}})},
      {"ref2", [](IfrWriter &W) { W.Ref2(QUESTION, 2, 0x99); },
       Join({{0x0F, 0x11}, Q, {0x02, 0x00, 0x99, 0x00}})},
      {"ref3", [](IfrWriter &W) { W.Ref3(QUESTION, 2, 0x99, GUID); },
       Join({{0x0F, 0x21}, Q, {0x02, 0x00, 0x99, 0x00}, G})},
      {"ref4", [](IfrWriter &W) { W.Ref4(QUESTION, 2, 0x99, GUID, 0x44); },
       Join({{0x0F, 0x23}, Q, {0x02, 0x00, 0x99, 0x00}, G, {0x44, 0x00}})},
      {"ref5", [](IfrWriter &W) { W.Ref5(QUESTION); }, Join({{0x0F, 0x0D}, Q})},
  });
}

TEST(IfrWriterTest, StoresConditionsAndGuidOpcodes) {
  ExpectCases({
      {"buffer store", [](IfrWriter &W) { W.VarStore(GUID, 1, 0x20, "Setup"); },
       Join({{0x24, 0x1C}, G, {0x01, 0x00, 0x20, 0x00, 'S', 'e', 't', 'u', 'p', 0x00}})},
      {"name/value store", [](IfrWriter &W) { W.VarStoreNameValue(2, GUID); },
       Join({{0x25, 0x14, 0x02, 0x00}, G})},
      {"variable store", [](IfrWriter &W) { W.VarStoreEfi(3, GUID, 7, 0x10, "Var"); },
       Join({{0x26, 0x1E, 0x03, 0x00}, G, {0x07, 0, 0, 0, 0x10, 0x00, 'V', 'a', 'r', 0x00}})},
      {"device store", [](IfrWriter &W) { W.VarStoreDevice(0x66); }, {0x27, 0x04, 0x66, 0x00}},
      {"suppress if", [](IfrWriter &W) { W.SuppressIf(true); }, {0x0A, 0x82}},
      {"gray out if", [](IfrWriter &W) { W.GrayOutIf(true); }, {0x19, 0x82}},
      {"disable if", [](IfrWriter &W) { W.DisableIf(true); }, {0x1E, 0x82}},
      {"no submit if", [](IfrWriter &W) { W.NoSubmitIf(0x77, true); }, {0x10, 0x84, 0x77, 0x00}},
      {"inconsistent if",
       [](IfrWriter &W) { W.InconsistentIf(0x77, true); },
       {0x11, 0x84, 0x77, 0x00}},
      {"warning if",
       [](IfrWriter &W) { W.WarningIf(0x77, 3, true); },
       {0x63, 0x85, 0x77, 0x00, 0x03}},
      {"rule", [](IfrWriter &W) { W.Rule(4, true); }, {0x18, 0x83, 0x04}},
      {"guid with data",
       [](IfrWriter &W) {
         W.Guid(GUID, {1, 2});
       },
       Join({{0x5F, 0x14}, G, {0x01, 0x02}})},
      {"class", [](IfrWriter &W) { W.ExtensionClass(1); },
       Join({{0x5F, 0x15}, VENDOR_G, {0x03, 0x01, 0x00}})},
      {"subclass", [](IfrWriter &W) { W.ExtensionSubclass(2); },
       Join({{0x5F, 0x15}, VENDOR_G, {0x04, 0x02, 0x00}})},
      {"label", [](IfrWriter &W) { W.ExtensionLabel(0x1000); },
       Join({{0x5F, 0x15}, VENDOR_G, {0x00, 0x00, 0x10}})},
      {"action keys begin",
       [](IfrWriter &W) { W.ActionKeyBegin(); },
       {0x5F, 0x12, 0x8a, 0x4d, 0x62, 0xef, 0x5d, 0xff, 0xae, 0x41, 0xb7, 0xb6, 0x76, 0x8a, 0xd1,
        0x84, 0x24, 0xb8}},
      {"action keys end",
       [](IfrWriter &W) { W.ActionKeyEnd(); },
       {0x5F, 0x12, 0x8d, 0x74, 0x37, 0x48, 0x92, 0x6d, 0xbf, 0x48, 0x8e, 0xac, 0x5d, 0xab, 0x6c,
        0xa6, 0x20, 0x84}},
      {"security", [](IfrWriter &W) { W.Security(GUID); }, Join({{0x60, 0x12}, G})},
  });
}

TEST(IfrWriterTest, ExpressionsWithOperands) {
  ExpectCases({
      {"eq id val",
       [](IfrWriter &W) { W.EqIdVal(0x10, 0x20); },
       {0x12, 0x06, 0x10, 0x00, 0x20, 0x00}},
      {"eq id id", [](IfrWriter &W) { W.EqIdId(1, 2); }, {0x13, 0x06, 0x01, 0x00, 0x02, 0x00}},
      {"eq id val list",
       [](IfrWriter &W) {
         W.EqIdValList(5, {1, 2, 3});
       },
       {0x14, 0x0C, 0x05, 0x00, 0x03, 0x00, 0x01, 0x00, 0x02, 0x00, 0x03, 0x00}},
      {"question ref1", [](IfrWriter &W) { W.QuestionRef1(7); }, {0x40, 0x04, 0x07, 0x00}},
      {"question ref2", [](IfrWriter &W) { W.QuestionRef2(); }, {0x41, 0x02}},
      {"question ref3", [](IfrWriter &W) { W.QuestionRef3(); }, {0x51, 0x02}},
      {"question ref3 with a path",
       [](IfrWriter &W) { W.QuestionRef3(0x22); },
       {0x51, 0x04, 0x22, 0x00}},
      {"question ref3 with a path and GUID", [](IfrWriter &W) { W.QuestionRef3(0x22, GUID); },
       Join({{0x51, 0x14, 0x22, 0x00}, G})},
      {"rule ref", [](IfrWriter &W) { W.RuleRef(4); }, {0x3F, 0x03, 0x04}},
      {"string ref1", [](IfrWriter &W) { W.StringRef1(0x30); }, {0x4E, 0x04, 0x30, 0x00}},
      {"uint8", [](IfrWriter &W) { W.Uint8(0xAB); }, {0x42, 0x03, 0xAB}},
      {"uint16", [](IfrWriter &W) { W.Uint16(0xABCD); }, {0x43, 0x04, 0xCD, 0xAB}},
      {"uint32", [](IfrWriter &W) { W.Uint32(0x01020304); }, {0x44, 0x06, 0x04, 0x03, 0x02, 0x01}},
      {"uint64",
       [](IfrWriter &W) { W.Uint64(0x0102030405060708); },
       {0x45, 0x0A, 0x08, 0x07, 0x06, 0x05, 0x04, 0x03, 0x02, 0x01}},
      {"get with its store",
       [](IfrWriter &W) { W.Get(1, 0x10, EFI_IFR_TYPE_NUM_SIZE_16); },
       {0x2B, 0x07, 0x01, 0x00, 0x10, 0x00, 0x01}},
      {"set with its store",
       [](IfrWriter &W) { W.Set(2, 0x20, EFI_IFR_TYPE_NUM_SIZE_32); },
       {0x2C, 0x07, 0x02, 0x00, 0x20, 0x00, 0x02}},
      {"to string",
       [](IfrWriter &W) { W.ToString(EFI_IFR_STRING_LOWERCASE_HEX); },
       {0x49, 0x03, 0x02}},
      {"find", [](IfrWriter &W) { W.Find(EFI_IFR_FF_CASE_INSENSITIVE); }, {0x4C, 0x03, 0x01}},
      {"span", [](IfrWriter &W) { W.Span(EFI_IFR_FLAGS_FIRST_NON_MATCHING); }, {0x59, 0x03, 0x01}},
      {"match2", [](IfrWriter &W) { W.Match2(GUID); }, Join({{0x64, 0x12}, G})},
      {"map", [](IfrWriter &W) { W.Map(true); }, {0x22, 0x82}},
  });
}

TEST(IfrWriterTest, PlainExpressionOpcodes) {
  using Method = IfrWriter &(IfrWriter::*)();
  struct PlainCase {
    const char *Name;
    Method Write;
    UINT8 Opcode;
  };
  const PlainCase CASES[] = {
      {"string ref2", &IfrWriter::StringRef2, 0x4F},
      {"true", &IfrWriter::True, 0x46},
      {"false", &IfrWriter::False, 0x47},
      {"zero", &IfrWriter::Zero, 0x52},
      {"one", &IfrWriter::One, 0x53},
      {"ones", &IfrWriter::Ones, 0x54},
      {"undefined", &IfrWriter::Undefined, 0x55},
      {"version", &IfrWriter::Version, 0x28},
      {"this", &IfrWriter::This, 0x58},
      {"dup", &IfrWriter::Dup, 0x57},
      {"get", &IfrWriter::Get, 0x2B},
      {"set", &IfrWriter::Set, 0x2C},
      {"read", &IfrWriter::Read, 0x2D},
      {"write", &IfrWriter::Write, 0x2E},
      {"length", &IfrWriter::Length, 0x56},
      {"not", &IfrWriter::Not, 0x17},
      {"bitwise not", &IfrWriter::BitwiseNot, 0x37},
      {"to boolean", &IfrWriter::ToBoolean, 0x4A},
      {"to uint", &IfrWriter::ToUint, 0x48},
      {"to lower", &IfrWriter::ToLower, 0x20},
      {"to upper", &IfrWriter::ToUpper, 0x21},
      {"and", &IfrWriter::And, 0x15},
      {"or", &IfrWriter::Or, 0x16},
      {"equal", &IfrWriter::Equal, 0x2F},
      {"not equal", &IfrWriter::NotEqual, 0x30},
      {"greater", &IfrWriter::GreaterThan, 0x31},
      {"greater or equal", &IfrWriter::GreaterEqual, 0x32},
      {"less", &IfrWriter::LessThan, 0x33},
      {"less or equal", &IfrWriter::LessEqual, 0x34},
      {"bitwise and", &IfrWriter::BitwiseAnd, 0x35},
      {"bitwise or", &IfrWriter::BitwiseOr, 0x36},
      {"shift left", &IfrWriter::ShiftLeft, 0x38},
      {"shift right", &IfrWriter::ShiftRight, 0x39},
      {"add", &IfrWriter::Add, 0x3A},
      {"subtract", &IfrWriter::Subtract, 0x3B},
      {"multiply", &IfrWriter::Multiply, 0x3C},
      {"divide", &IfrWriter::Divide, 0x3D},
      {"modulo", &IfrWriter::Modulo, 0x3E},
      {"catenate", &IfrWriter::Catenate, 0x5E},
      {"match", &IfrWriter::Match, 0x2A},
      {"conditional", &IfrWriter::Conditional, 0x50},
      {"mid", &IfrWriter::Mid, 0x4B},
      {"token", &IfrWriter::Token, 0x4D},
  };
  for (const PlainCase &Case : CASES) {
    IfrWriter Writer;
    (Writer.*Case.Write)();
    EXPECT_EQ(Writer.Bytes(), (ByteVector{Case.Opcode, 0x02})) << Case.Name;
  }
}

TEST(IfrWriterTest, OptionAndDefaultCarryTheValueWidthOfTheirType) {
  struct WidthCase {
    const char *Name;
    IfrValue Value;
    UINT8 Type;
    ByteVector Bytes;
  };
  const WidthCase CASES[] = {
      {"u8", IfrValue::U8(0x12), EFI_IFR_TYPE_NUM_SIZE_8, {0x12}},
      {"u16", IfrValue::U16(0x1234), EFI_IFR_TYPE_NUM_SIZE_16, {0x34, 0x12}},
      {"u32", IfrValue::U32(0x12345678), EFI_IFR_TYPE_NUM_SIZE_32, {0x78, 0x56, 0x34, 0x12}},
      {"u64",
       IfrValue::U64(0x0102030405060708),
       EFI_IFR_TYPE_NUM_SIZE_64,
       {0x08, 0x07, 0x06, 0x05, 0x04, 0x03, 0x02, 0x01}},
      {"boolean", IfrValue::Bool(true), EFI_IFR_TYPE_BOOLEAN, {0x01}},
      {"time", IfrValue::Time(23, 59, 58), EFI_IFR_TYPE_TIME, {23, 59, 58}},
      {"date", IfrValue::Date(2024, 2, 29), EFI_IFR_TYPE_DATE, {0xE8, 0x07, 2, 29}},
      {"string", IfrValue::String(0x0102), EFI_IFR_TYPE_STRING, {0x02, 0x01}},
      {"action", IfrValue::Action(0x0304), EFI_IFR_TYPE_ACTION, {0x04, 0x03}},
      {"ref", IfrValue::Ref(0x11, 0x22, GUID, 0x33), EFI_IFR_TYPE_REF,
       Join({{0x11, 0x00, 0x22, 0x00}, G, {0x33, 0x00}})},
      {"buffer", IfrValue::Buffer({1, 2, 3, 4, 5}), EFI_IFR_TYPE_BUFFER, {1, 2, 3, 4, 5}},
      {"raw", IfrValue::Raw(0x7F, {}), 0x7F, {}},
  };
  for (const WidthCase &Case : CASES) {
    IfrWriter Option;
    Option.OneOfOption(0x0A, 0, Case.Value);
    EXPECT_EQ(Option.Bytes(), Join({{0x09, static_cast<uint8_t>(6 + Case.Bytes.size()), 0x0A, 0x00,
                                     0x00, Case.Type},
                                    Case.Bytes}))
        << Case.Name;
    IfrWriter Default;
    Default.Default(1, Case.Value);
    EXPECT_EQ(Default.Bytes(),
              Join({{0x5B, static_cast<uint8_t>(5 + Case.Bytes.size()), 0x01, 0x00, Case.Type},
                    Case.Bytes}))
        << Case.Name;
  }
}

TEST(IfrWriterTest, RawWritesAnyOpcodeUpToTheLengthLimit) {
  IfrWriter Writer;
  Writer.Raw(0x7E, {0x01}, true).RawBytes({0x01, 0x00});
  EXPECT_EQ(Writer.Bytes(), (ByteVector{0x7E, 0x83, 0x01, 0x01, 0x00}));

  IfrWriter Longest;
  Longest.Raw(EFI_IFR_GUID_OP, ByteVector(125, 0xAB));
  ASSERT_EQ(Longest.Bytes().size(), 127u);
  EXPECT_EQ(Longest.Bytes()[1], 0x7F);

  IfrWriter TooLong;
  EXPECT_THROW(TooLong.Raw(EFI_IFR_GUID_OP, ByteVector(126, 0xAB)), std::length_error);
  EXPECT_TRUE(TooLong.Bytes().empty());
  EXPECT_THROW(TooLong.FormSet(GUID, 1, 2, {GUID, GUID, GUID, GUID}), std::length_error);
}

TEST(IfrWriterTest, PackageHasTheFormHeader) {
  IfrWriter Writer;
  Writer.Form(1, 2, true).End();
  EXPECT_EQ(Writer.Package(), Join({{0x0C, 0x00, 0x00, EFI_HII_PACKAGE_FORMS}, Writer.Bytes()}));
}

TEST(IfrWriterTest, BalancedFollowsScopes) {
  struct BalanceCase {
    const char *Name;
    std::function<void(IfrWriter &)> Write;
    bool Balanced;
  };
  const BalanceCase CASES[] = {
      {"empty", [](IfrWriter &) {}, true},
      {"closed nest",
       [](IfrWriter &W) {
         W.FormSet(GUID, 1, 2, {}, true).Form(1, 3, true).Text(4, 5).End().End();
       },
       true},
      {"unclosed scope",
       [](IfrWriter &W) { W.FormSet(GUID, 1, 2, {}, true).Form(1, 3, true).End(); }, false},
      {"end without scope", [](IfrWriter &W) { W.Text(4, 5).End(); }, false},
      {"zero length",
       [](IfrWriter &W) {
         W.RawBytes({0x03, 0x00});
       },
       false},
      {"one length",
       [](IfrWriter &W) {
         W.RawBytes({0x03, 0x01});
       },
       false},
      {"truncated",
       [](IfrWriter &W) {
         W.RawBytes({0x03, 0x08, 0x01, 0x00});
       },
       false},
      {"lone byte", [](IfrWriter &W) { W.Text(4, 5).RawBytes({0x29}); }, false},
  };
  for (const BalanceCase &Case : CASES) {
    IfrWriter Writer;
    Case.Write(Writer);
    EXPECT_EQ(Writer.Balanced(), Case.Balanced) << Case.Name;
  }
}

} // namespace
