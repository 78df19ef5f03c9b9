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
  const char *Call;
  std::function<void(IfrWriter &)> Write;
  ByteVector Expected;
};

// What a table row writes, and a row of the opcode tables: the call, named by its own text, and
// the bytes it must write.
#define IFR(...) [](IfrWriter &W) { W.__VA_ARGS__; }
#define OPCODE(Call, ...)                                                                          \
  OpcodeCase {                                                                                     \
#Call, IFR(Call), __VA_ARGS__                                                                  \
  }

void ExpectCases(const std::vector<OpcodeCase> &Cases) {
  for (const OpcodeCase &Case : Cases) {
    IfrWriter Writer;
    Case.Write(Writer);
    EXPECT_EQ(Writer.Bytes(), Case.Expected) << Case.Call;
  }
}

TEST(IfrWriterTest, FormsAndStatements) {
  ExpectCases({
      OPCODE(FormSet(GUID, 0x10, 0x11, {}, true), Join({{0x0E, 0x97}, G, {0x10, 0, 0x11, 0, 0}})),
      OPCODE(FormSet(GUID, 0x10, 0x11, {GUID}, true),
             Join({{0x0E, 0xA7}, G, {0x10, 0x00, 0x11, 0x00, 0x01}, G})),
      OPCODE(Form(0x1234, 5, true), {0x01, 0x86, 0x34, 0x12, 0x05, 0x00}),
      OPCODE(FormMap(7, {{0x20, GUID}}, true), Join({{0x5D, 0x96, 0x07, 0x00, 0x20, 0x00}, G})),
      OPCODE(End(), {0x29, 0x02}),
      OPCODE(Subtitle(1, 2, EFI_IFR_FLAGS_HORIZONTAL), {0x02, 0x07, 0x01, 0x00, 0x02, 0x00, 0x01}),
      OPCODE(Text(1, 2, 3), {0x03, 0x08, 0x01, 0x00, 0x02, 0x00, 0x03, 0x00}),
      OPCODE(Image(0x42), {0x04, 0x04, 0x42, 0x00}),
      OPCODE(Animation(9), {0x1F, 0x04, 0x09, 0x00}),
      OPCODE(Refresh(5), {0x1D, 0x03, 0x05}),
      OPCODE(RefreshId(GUID), Join({{0x62, 0x12}, G})),
      OPCODE(Locked(), {0x0B, 0x02}),
      OPCODE(ModalTag(), {0x61, 0x02}),
      OPCODE(Value(true), {0x5A, 0x82}),
      OPCODE(DefaultStore(0x0A, 1), {0x5C, 0x06, 0x0A, 0x00, 0x01, 0x00}),
      OPCODE(Default(0, IfrValue::U16(0x1234)), {0x5B, 0x07, 0x00, 0x00, 0x01, 0x34, 0x12}),
      OPCODE(Default2(1, EFI_IFR_TYPE_NUM_SIZE_8, true), {0x5B, 0x85, 0x01, 0x00, 0x00}),
      OPCODE(OneOfOption(0x55, EFI_IFR_OPTION_DEFAULT, IfrValue::U8(3)),
             {0x09, 0x07, 0x55, 0x00, 0x10, 0x00, 0x03}),
  });
}

TEST(IfrWriterTest, Questions) {
  ExpectCases({
      OPCODE(OneOf(QUESTION, EFI_IFR_NUMERIC_SIZE_1, 1, 10, 1, true),
             Join({{0x05, 0x91}, Q, {0x00, 0x01, 0x0A, 0x01}})),
      OPCODE(Numeric(QUESTION, EFI_IFR_NUMERIC_SIZE_2 | EFI_IFR_DISPLAY_UINT_HEX, 0x100, 0x2000, 2),
             Join({{0x07, 0x14}, Q, {0x21, 0x00, 0x01, 0x00, 0x20, 0x02, 0x00}})),
      OPCODE(Numeric(QUESTION, EFI_IFR_NUMERIC_SIZE_4, 1, 0x12345678, 0),
             Join({{0x07, 0x1A}, Q, {0x02, 0x01, 0, 0, 0, 0x78, 0x56, 0x34, 0x12, 0, 0, 0, 0}})),
      OPCODE(Numeric(QUESTION, EFI_IFR_NUMERIC_SIZE_8, 0, ~0ULL, 5),
             Join({{0x07, 0x26},
                   Q,
                   {0x03},
                   ByteVector(8, 0),
                   ByteVector(8, 0xFF),
                   {5, 0, 0, 0, 0, 0, 0, 0}})),
      // Bounds and step are cut to the value's width.
      OPCODE(Numeric(QUESTION, EFI_IFR_NUMERIC_SIZE_1, 0x1FF, 0x2FE, 0x301),
             Join({{0x07, 0x11}, Q, {0x00, 0xFF, 0xFE, 0x01}})),
      OPCODE(Checkbox(QUESTION, EFI_IFR_CHECKBOX_DEFAULT), Join({{0x06, 0x0E}, Q, {0x01}})),
      OPCODE(Password(QUESTION, 6, 20), Join({{0x08, 0x11}, Q, {0x06, 0x00, 0x14, 0x00}})),
      OPCODE(String(QUESTION, 1, 40, EFI_IFR_STRING_MULTI_LINE),
             Join({{0x1C, 0x10}, Q, {0x01, 0x28, 0x01}})),
      OPCODE(Date(QUESTION, QF_DATE_STORAGE_TIME), Join({{0x1A, 0x0E}, Q, {0x10}})),
      OPCODE(Time(QUESTION), Join({{0x1B, 0x0E}, Q, {0x00}})),
      OPCODE(OrderedList(QUESTION, 8, EFI_IFR_UNIQUE_SET, true), Join({{0x23, 0x8F}, Q, {8, 1}})),
      OPCODE(Action(QUESTION, 0x33), Join({{0x0C, 0x0F}, Q, {0x33, 0x00}})),
      OPCODE(Action(QUESTION, std::nullopt), Join({{0x0C, 0x0D}, Q})),
      OPCODE(ResetButton(QUESTION, 1), Join({{0x0D, 0x0F}, Q, {0x01, 0x00}})),
      OPCODE(Ref(QUESTION, 2), Join({{0x0F, 0x0F}, Q, {0x02, 0x00}})),
      OPCODE(Ref2(QUESTION, 2, 0x99), Join({{0x0F, 0x11}, Q, {0x02, 0x00, 0x99, 0x00}})),
      OPCODE(Ref3(QUESTION, 2, 0x99, GUID), Join({{0x0F, 0x21}, Q, {0x02, 0x00, 0x99, 0x00}, G})),
      OPCODE(Ref4(QUESTION, 2, 0x99, GUID, 0x44),
             Join({{0x0F, 0x23}, Q, {0x02, 0x00, 0x99, 0x00}, G, {0x44, 0x00}})),
      OPCODE(Ref5(QUESTION), Join({{0x0F, 0x0D}, Q})),
  });
}

TEST(IfrWriterTest, StoresConditionsAndGuidOpcodes) {
  ExpectCases({
      OPCODE(VarStore(GUID, 1, 0x20, "Setup"),
             Join({{0x24, 0x1C}, G, {0x01, 0x00, 0x20, 0x00, 'S', 'e', 't', 'u', 'p', 0x00}})),
      OPCODE(VarStoreNameValue(2, GUID), Join({{0x25, 0x14, 0x02, 0x00}, G})),
      OPCODE(VarStoreEfi(3, GUID, 7, 0x10, "Var"),
             Join({{0x26, 0x1E, 0x03, 0x00}, G, {0x07, 0, 0, 0, 0x10, 0x00, 'V', 'a', 'r', 0x00}})),
      OPCODE(VarStoreDevice(0x66), {0x27, 0x04, 0x66, 0x00}),
      OPCODE(SuppressIf(true), {0x0A, 0x82}),
      OPCODE(GrayOutIf(true), {0x19, 0x82}),
      OPCODE(DisableIf(true), {0x1E, 0x82}),
      OPCODE(NoSubmitIf(0x77, true), {0x10, 0x84, 0x77, 0x00}),
      OPCODE(InconsistentIf(0x77, true), {0x11, 0x84, 0x77, 0x00}),
      OPCODE(WarningIf(0x77, 3, true), {0x63, 0x85, 0x77, 0x00, 0x03}),
      OPCODE(Rule(4, true), {0x18, 0x83, 0x04}),
      OPCODE(Guid(GUID, {1, 2}), Join({{0x5F, 0x14}, G, {0x01, 0x02}})),
      OPCODE(ExtensionClass(1), Join({{0x5F, 0x15}, VENDOR_G, {0x03, 0x01, 0x00}})),
      OPCODE(ExtensionSubclass(2), Join({{0x5F, 0x15}, VENDOR_G, {0x04, 0x02, 0x00}})),
      OPCODE(ExtensionLabel(0x1000), Join({{0x5F, 0x15}, VENDOR_G, {0x00, 0x00, 0x10}})),
      OPCODE(ActionKeyBegin(), {0x5F, 0x12, 0x8a, 0x4d, 0x62, 0xef, 0x5d, 0xff, 0xae, 0x41, 0xb7,
                                0xb6, 0x76, 0x8a, 0xd1, 0x84, 0x24, 0xb8}),
      OPCODE(ActionKeyEnd(), {0x5F, 0x12, 0x8d, 0x74, 0x37, 0x48, 0x92, 0x6d, 0xbf, 0x48, 0x8e,
                              0xac, 0x5d, 0xab, 0x6c, 0xa6, 0x20, 0x84}),
      OPCODE(Security(GUID), Join({{0x60, 0x12}, G})),
  });
}

TEST(IfrWriterTest, ExpressionsWithOperands) {
  ExpectCases({
      OPCODE(EqIdVal(0x10, 0x20), {0x12, 0x06, 0x10, 0x00, 0x20, 0x00}),
      OPCODE(EqIdId(1, 2), {0x13, 0x06, 0x01, 0x00, 0x02, 0x00}),
      OPCODE(EqIdValList(5, {1, 2, 3}),
             {0x14, 0x0C, 0x05, 0x00, 0x03, 0x00, 0x01, 0x00, 0x02, 0x00, 0x03, 0x00}),
      OPCODE(QuestionRef1(7), {0x40, 0x04, 0x07, 0x00}),
      OPCODE(QuestionRef3(0x22), {0x51, 0x04, 0x22, 0x00}),
      OPCODE(QuestionRef3(0x22, GUID), Join({{0x51, 0x14, 0x22, 0x00}, G})),
      OPCODE(RuleRef(4), {0x3F, 0x03, 0x04}),
      OPCODE(StringRef1(0x30), {0x4E, 0x04, 0x30, 0x00}),
      OPCODE(Uint8(0xAB), {0x42, 0x03, 0xAB}),
      OPCODE(Uint16(0xABCD), {0x43, 0x04, 0xCD, 0xAB}),
      OPCODE(Uint32(0x01020304), {0x44, 0x06, 0x04, 0x03, 0x02, 0x01}),
      OPCODE(Uint64(0x0102030405060708), {0x45, 0x0A, 8, 7, 6, 5, 4, 3, 2, 1}),
      OPCODE(Get(1, 0x10, EFI_IFR_TYPE_NUM_SIZE_16), {0x2B, 0x07, 0x01, 0x00, 0x10, 0x00, 0x01}),
      OPCODE(Set(2, 0x20, EFI_IFR_TYPE_NUM_SIZE_32), {0x2C, 0x07, 0x02, 0x00, 0x20, 0x00, 0x02}),
      OPCODE(ToString(EFI_IFR_STRING_LOWERCASE_HEX), {0x49, 0x03, 0x02}),
      OPCODE(Find(EFI_IFR_FF_CASE_INSENSITIVE), {0x4C, 0x03, 0x01}),
      OPCODE(Span(EFI_IFR_FLAGS_FIRST_NON_MATCHING), {0x59, 0x03, 0x01}),
      OPCODE(Match2(GUID), Join({{0x64, 0x12}, G})),
      OPCODE(Map(true), {0x22, 0x82}),
  });
}

// The opcodes of a bare two-byte header.
TEST(IfrWriterTest, PlainExpressionOpcodes) {
  ExpectCases({
      OPCODE(QuestionRef2(), {0x41, 2}), OPCODE(QuestionRef3(), {0x51, 2}),
      OPCODE(StringRef2(), {0x4F, 2}),   OPCODE(True(), {0x46, 2}),
      OPCODE(False(), {0x47, 2}),        OPCODE(Zero(), {0x52, 2}),
      OPCODE(One(), {0x53, 2}),          OPCODE(Ones(), {0x54, 2}),
      OPCODE(Undefined(), {0x55, 2}),    OPCODE(Version(), {0x28, 2}),
      OPCODE(This(), {0x58, 2}),         OPCODE(Dup(), {0x57, 2}),
      OPCODE(Get(), {0x2B, 2}),          OPCODE(Set(), {0x2C, 2}),
      OPCODE(Read(), {0x2D, 2}),         OPCODE(Write(), {0x2E, 2}),
      OPCODE(Length(), {0x56, 2}),       OPCODE(Not(), {0x17, 2}),
      OPCODE(BitwiseNot(), {0x37, 2}),   OPCODE(ToBoolean(), {0x4A, 2}),
      OPCODE(ToUint(), {0x48, 2}),       OPCODE(ToLower(), {0x20, 2}),
      OPCODE(ToUpper(), {0x21, 2}),      OPCODE(And(), {0x15, 2}),
      OPCODE(Or(), {0x16, 2}),           OPCODE(Equal(), {0x2F, 2}),
      OPCODE(NotEqual(), {0x30, 2}),     OPCODE(GreaterThan(), {0x31, 2}),
      OPCODE(GreaterEqual(), {0x32, 2}), OPCODE(LessThan(), {0x33, 2}),
      OPCODE(LessEqual(), {0x34, 2}),    OPCODE(BitwiseAnd(), {0x35, 2}),
      OPCODE(BitwiseOr(), {0x36, 2}),    OPCODE(ShiftLeft(), {0x38, 2}),
      OPCODE(ShiftRight(), {0x39, 2}),   OPCODE(Add(), {0x3A, 2}),
      OPCODE(Subtract(), {0x3B, 2}),     OPCODE(Multiply(), {0x3C, 2}),
      OPCODE(Divide(), {0x3D, 2}),       OPCODE(Modulo(), {0x3E, 2}),
      OPCODE(Catenate(), {0x5E, 2}),     OPCODE(Match(), {0x2A, 2}),
      OPCODE(Conditional(), {0x50, 2}),  OPCODE(Mid(), {0x4B, 2}),
      OPCODE(Token(), {0x4D, 2}),
  });
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
       {8, 7, 6, 5, 4, 3, 2, 1}},
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
    const uint8_t Size = static_cast<uint8_t>(Case.Bytes.size());
    IfrWriter Option;
    Option.OneOfOption(0x0A, 0, Case.Value);
    EXPECT_EQ(Option.Bytes(), Join({{0x09, uint8_t(6 + Size), 0x0A, 0, 0, Case.Type}, Case.Bytes}))
        << Case.Name;
    IfrWriter Default;
    Default.Default(1, Case.Value);
    EXPECT_EQ(Default.Bytes(), Join({{0x5B, uint8_t(5 + Size), 0x01, 0x00, Case.Type}, Case.Bytes}))
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
      {"closed nest", IFR(FormSet(GUID, 1, 2, {}, true).Form(1, 3, true).Text(4, 5).End().End()),
       true},
      {"unclosed scope", IFR(FormSet(GUID, 1, 2, {}, true).Form(1, 3, true).End()), false},
      {"end without scope", IFR(Text(4, 5).End()), false},
      {"zero length", IFR(RawBytes({0x03, 0x00})), false},
      {"one length", IFR(RawBytes({0x03, 0x01})), false},
      {"truncated", IFR(RawBytes({0x03, 0x08, 0x01, 0x00})), false},
      {"lone byte", IFR(Text(4, 5).RawBytes({0x29})), false},
  };
  for (const BalanceCase &Case : CASES) {
    IfrWriter Writer;
    Case.Write(Writer);
    EXPECT_EQ(Writer.Balanced(), Case.Balanced) << Case.Name;
  }
}

} // namespace
