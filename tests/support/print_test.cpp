#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

#include "support/print.h"
#include "tests/common/text.h"

using morvane::test::U16;

namespace {

constexpr CHAR16 Sentinel = 0xAAAA;

// Formats into a buffer of BufferSize bytes inside a larger, sentinel-filled array, and checks
// that nothing was written behind BufferSize.
struct Formatted {
  std::u16string Text;
  UINTN Result;
};

template <typename... Args>
Formatted Format(UINTN BufferSize, const CHAR16 *FormatString, Args... Arguments) {
  std::array<CHAR16, 256> Buffer;
  Buffer.fill(Sentinel);
  UINTN Result = FormatText(Buffer.data(), BufferSize, FormatString, Arguments...);
  for (UINTN Index = BufferSize / sizeof(CHAR16); Index < Buffer.size(); Index++) {
    EXPECT_EQ(Buffer[Index], Sentinel) << "written past BufferSize at " << Index;
  }
  return {U16(Buffer.data()), Result};
}

template <typename... Args>
std::u16string Text(const CHAR16 *FormatString, Args... Arguments) {
  return Format(200, FormatString, Arguments...).Text;
}

struct NumberCase {
  const CHAR16 *Format;
  int64_t Value;
  bool Long;
  const CHAR16 *Expected;
};

class PrintNumberTest : public testing::TestWithParam<NumberCase> {};

TEST_P(PrintNumberTest, FormatsAsExpected) {
  const NumberCase &Case = GetParam();
  std::u16string Got = Case.Long ? Text(Case.Format, static_cast<UINT64>(Case.Value))
                                 : Text(Case.Format, static_cast<UINT32>(Case.Value));
  EXPECT_EQ(Got, std::u16string(Case.Expected)) << morvane::test::Utf8(Case.Format);
}

INSTANTIATE_TEST_SUITE_P(
    Conversions, PrintNumberTest,
    testing::Values(
        NumberCase{u"%d", 42, false, u"42"}, NumberCase{u"%5d", 42, false, u"   42"},
        NumberCase{u"%05d", 42, false, u"00042"}, NumberCase{u"%-5d", 42, false, u"42"},
        NumberCase{u"%-05d", 42, false, u"42"}, NumberCase{u"%,d", 1234567, false, u"1,234,567"},
        NumberCase{u"%,d", 123, false, u"123"}, NumberCase{u"%,d", 1234, false, u"1,234"},
        NumberCase{u"%,10d", 1234567, false, u" 1,234,567"},
        NumberCase{u"%,ld", -1234567890123LL, true, u"-1,234,567,890,123"},
        // A 32-bit slot is sign-extended; an "l" number is read whole.
        NumberCase{u"%d", 0xFFFFFFFF, false, u"-1"},
        NumberCase{u"%ld", 0xFFFFFFFF, true, u"4294967295"}, NumberCase{u"%ld", -1, true, u"-1"},
        NumberCase{u"%ld", INT64_MIN, true, u"-9223372036854775808"},
        NumberCase{u"%ld", INT64_MAX, true, u"9223372036854775807"},
        NumberCase{u"%d", -42, false, u"-42"}, NumberCase{u"%5d", -42, false, u"  -42"},
        NumberCase{u"%05d", -42, false, u"-0042"},
        // Upper digits are lost when the width is too small; the sign counts.
        NumberCase{u"%3d", 12345, false, u"345"}, NumberCase{u"%3d", -12345, false, u"-45"},
        NumberCase{u"%2x", 0x1234, false, u"34"}, NumberCase{u"%x", 255, false, u"FF"},
        NumberCase{u"%x", 0, false, u"0"}, NumberCase{u"%04x", 0xA, false, u"000A"},
        NumberCase{u"%4x", 0xA, false, u"   A"}, NumberCase{u"%-8x", 255, false, u"FF"},
        NumberCase{u"%X", 255, false, u"00000000000000FF"},
        NumberCase{u"%2X", 255, false, u"00000000000000FF"},
        NumberCase{u"%lx", 0x123456789ABCDEF0LL, true, u"123456789ABCDEF0"},
        NumberCase{u"%lX", 0x1F, true, u"000000000000001F"},
        NumberCase{u"%x", 0xFFFFFFFF, false, u"FFFFFFFF"},
        // Widths are cut to 29.
        NumberCase{u"%40d", 1, false, u"                            1"},
        NumberCase{u"%040x", 1, false, u"00000000000000000000000000001"}));

TEST(PrintTest, EmptyFormatGivesEmptyStringAndOne) {
  Formatted Out = Format(200, u"");
  EXPECT_EQ(Out.Text, u"");
  EXPECT_EQ(Out.Result, 1u);
}

TEST(PrintTest, BufferOf42BytesHoldsTwentyCharactersAndTerminator) {
  Formatted Out = Format(42, u"%s", u"abcdefghijklmnopqrstuvwxyz");
  EXPECT_EQ(Out.Text, u"abcdefghijklmnopqrst");
  EXPECT_EQ(Out.Result, 21u);
}

TEST(PrintTest, LimitHoldsForEveryConversion) {
  static const EFI_GUID Guid = {
      0x8BE4DF61, 0x93CA, 0x11d2, {0xAA, 0x0D, 0x00, 0xE0, 0x98, 0x03, 0x2B, 0x8C}};
  EFI_TIME Time = {2026, 11, 22, 9, 5, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(Format(8, u"%d", 123456).Text, u"123");
  EXPECT_EQ(Format(8, u"%g", &Guid).Text, u"8BE");
  EXPECT_EQ(Format(10, u"%t", &Time).Text, u"11/2");
  EXPECT_EQ(Format(10, u"%r", EFI_NOT_FOUND).Text, u"Not ");
  EXPECT_EQ(Format(10, u"%10s", u"ab").Text, u"ab  ");
  EXPECT_EQ(Format(10, u"%a", "abcdefgh").Text, u"abcd");
  EXPECT_EQ(Format(10, u"abcdefgh").Text, u"abcd");
}

TEST(PrintTest, TinyBuffersAndNullArguments) {
  CHAR16 Buffer[4] = {Sentinel, Sentinel, Sentinel, Sentinel};
  EXPECT_EQ(FormatText(nullptr, 100, u"x"), 0u);
  EXPECT_EQ(FormatText(Buffer, 1, u"x"), 0u);
  EXPECT_EQ(Buffer[0], Sentinel);
  EXPECT_EQ(FormatText(Buffer, 2, u"xyz"), 1u);
  EXPECT_EQ(Buffer[0], 0);
  EXPECT_EQ(Buffer[1], Sentinel);
  EXPECT_EQ(FormatText(Buffer, 8, nullptr), 1u);
  EXPECT_EQ(Buffer[0], 0);
}

TEST(PrintTest, StringsPadOnTheRightAndAreNeverCut) {
  EXPECT_EQ(Text(u"[%5s]", u"ab"), u"[ab   ]");
  EXPECT_EQ(Text(u"[%5s]", u"abcdefg"), u"[abcdefg]");
  EXPECT_EQ(Text(u"[%-05s]", u"ab"), u"[ab   ]");
  EXPECT_EQ(Text(u"[%S]", u"wide"), u"[wide]");
  EXPECT_EQ(Text(u"[%s]", static_cast<const CHAR16 *>(nullptr)), u"[<null string>]");
  EXPECT_EQ(Text(u"[%4a]", "ab"), u"[ab  ]");
  EXPECT_EQ(Text(u"[%a]", static_cast<const char *>(nullptr)), u"[<null string>]");
  EXPECT_EQ(Text(u"%a", "\xe9"), std::u16string(1, static_cast<char16_t>(0xE9)));
}

TEST(PrintTest, CharacterUsesLowSixteenBits) {
  EXPECT_EQ(Text(u"%c%c", 0x41, 0x10042), u"AB");
}

TEST(PrintTest, GuidLayoutAndNullPointer) {
  static const EFI_GUID Guid = {
      0x8BE4DF61, 0x93CA, 0x11d2, {0xAA, 0x0D, 0x00, 0xE0, 0x98, 0x03, 0x2B, 0x8C}};
  EXPECT_EQ(Text(u"%g", &Guid), u"8BE4DF61-93CA-11D2-AA0D-00E098032B8C");
  static const EFI_GUID Small = {0x1, 0x2, 0x3, {0, 1, 2, 3, 4, 5, 6, 7}};
  EXPECT_EQ(Text(u"%g", &Small), u"00000001-0002-0003-0001-020304050607");
  // A null GUID prints nothing and still takes its argument.
  EXPECT_EQ(Text(u"[%g]%d", static_cast<const EFI_GUID *>(nullptr), 7), u"[]7");
}

TEST(PrintTest, TimeHasTwoBlanksBeforeTheHour) {
  EFI_TIME Time = {2026, 3, 7, 8, 9, 10, 0, 0, 0, 0, 0};
  EXPECT_EQ(Text(u"%t", &Time), u"03/07/2026  08:09");
}

TEST(PrintTest, StatusWords) {
  EXPECT_EQ(Text(u"%r", EFI_SUCCESS), u"Success");
  EXPECT_EQ(Text(u"%r", EFI_NOT_FOUND), u"Not Found");
  EXPECT_EQ(Text(u"%r", EFI_PROTOCOL_ERROR), u"Protocol Error");
  EXPECT_EQ(Text(u"%r", EFI_WARN_BUFFER_TOO_SMALL), u"Warning Buffer Too Small");
  EXPECT_EQ(Text(u"%r", EFIERR(0x64)), u"0000000080000064");
  EXPECT_EQ(Text(u"%r", static_cast<EFI_STATUS>(0x55)), u"0000000000000055");
  CHAR16 Buffer[32];
  EXPECT_EQ(PrintStatusWord(EFI_ACCESS_DENIED, Buffer, sizeof(Buffer)), 13u);
  EXPECT_EQ(U16(Buffer), u"Access Denied");
}

TEST(PrintTest, LineFeedBecomesCarriageReturnLineFeed) {
  EXPECT_EQ(Text(u"a\nb"), u"a\r\nb");
  // With room for only one more character the line feed is copied as it is.
  EXPECT_EQ(Format(6, u"a\nb").Text, u"a\n");
}

TEST(PrintTest, PercentAndUnknownConversions) {
  EXPECT_EQ(Text(u"100%%"), u"100%");
  EXPECT_EQ(Text(u"%q%z"), u"qz");
  EXPECT_EQ(Text(u"abc%"), u"abc");
  EXPECT_EQ(Text(u"abc%05"), u"abc");
}

TEST(PrintTest, StarTakesWidthFromArguments) {
  EXPECT_EQ(Text(u"%*d|%-*d", 4, 7, 4, 7), u"   7|7");
}

TEST(PrintTest, SlotArgumentsReadOneOrTwoSlots) {
  CHAR16 Buffer[64];
  // %d reads one slot and sign-extends it; %ld reads two, low half first.
  std::vector<UINT32> Slots = {0xFFFFFFFE, 0x00000001, 0x00000002, 0x2A};
  FormatToBuffer(Buffer, sizeof(Buffer), u"%d %lx %d", Slots.data());
  EXPECT_EQ(U16(Buffer), u"-2 200000001 42");

  // A pointer takes as many slots as its width.
  const CHAR16 *Word = u"hi";
  std::vector<UINT32> PointerSlots(sizeof(void *) / sizeof(UINT32) + 1);
  uintptr_t Address = reinterpret_cast<uintptr_t>(Word);
  for (size_t Index = 0; Index < sizeof(void *) / sizeof(UINT32); Index++) {
    PointerSlots[Index] = static_cast<UINT32>(Address >> (32 * Index));
  }
  PointerSlots.back() = 5;
  FormatToBuffer(Buffer, sizeof(Buffer), u"%s=%d", PointerSlots.data());
  EXPECT_EQ(U16(Buffer), u"hi=5");
}

TEST(PrintTest, ProtocolInterfaceIsTheEngine) {
  CHAR16 Buffer[16];
  UINT32 Slot = 99;
  EXPECT_EQ(PrintInterface.FormatToBuffer(Buffer, sizeof(Buffer), u"n=%d", &Slot), 5u);
  EXPECT_EQ(U16(Buffer), u"n=99");
}

TEST(PrintTest, NumberBuildersReturnLengths) {
  CHAR16 Scratch[PRINT_SCRATCH_CHARACTERS];
  EXPECT_EQ(FormatHex(Scratch, 0xBEEF, 0, 0), 4u);
  EXPECT_EQ(U16(Scratch), u"BEEF");
  EXPECT_EQ(FormatDecimal(Scratch, -7, PRINT_FLAG_ZERO_PAD, 3), 3u);
  EXPECT_EQ(U16(Scratch), u"-07");
  EXPECT_EQ(FormatDecimal(Scratch, INT64_MIN, PRINT_FLAG_COMMA, 0), 26u);
}

TEST(PrintTest, StatusCode32MovesTheErrorBit) {
  EXPECT_EQ(StatusCode32(EFI_OUT_OF_RESOURCES), 0x80000009u);
  EXPECT_EQ(StatusCode32(EFI_SUCCESS), 0u);
  EXPECT_EQ(StatusCode32(EFI_WARN_DELETE_FAILURE), 2u);
}

} // namespace
