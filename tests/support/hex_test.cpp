#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <vector>

#include "support/hex.h"
#include "tests/common/text.h"

using morvane::test::U16;

namespace {

TEST(HexTest, DigitValues) {
  struct Case {
    CHAR16 Character;
    bool Valid;
    UINT8 Value;
  };
  for (const Case &C :
       {Case{u'0', true, 0}, Case{u'9', true, 9}, Case{u'A', true, 10}, Case{u'F', true, 15},
        Case{u'a', true, 10}, Case{u'f', true, 15}, Case{u'G', false, 0}, Case{u'g', false, 0},
        Case{u'/', false, 0}, Case{u':', false, 0}, Case{u'@', false, 0}, Case{u'`', false, 0},
        Case{0, false, 0}, Case{0xFF10, false, 0}}) {
    UINT8 Value = 0xEE;
    EXPECT_EQ(HexDigitValue(&Value, C.Character), C.Valid) << static_cast<int>(C.Character);
    if (C.Valid) {
      EXPECT_EQ(Value, C.Value);
    }
  }
  EXPECT_EQ(NibbleToHexDigit(0x0B), u'B');
  EXPECT_EQ(NibbleToHexDigit(0xF3), u'3');
}

// Hex text to bytes: digits are taken from the end, byte 0 the last two; bytes the digits do
// not cover, and every byte when the buffer is too small, stay as they were.
TEST(HexTest, TextToBytes) {
  struct Case {
    const char16_t *Text;
    UINTN Room;
    EFI_STATUS Status;
    UINTN Size;   // bytes written, or needed
    UINTN Digits; // digits read, where the caller asks
    std::vector<UINT8> Buffer;
  };
  const Case Cases[] = {
      {u"ABC&rest", 4, EFI_SUCCESS, 2, 3, {0xBC, 0x0A, 0xEE, 0xEE}},
      {u"12aB", 2, EFI_SUCCESS, 2, 4, {0xAB, 0x12}},
      {u"1234567", 2, EFI_BUFFER_TOO_SMALL, 4, 7, {0xEE, 0xEE}},
      {u"&x", 1, EFI_SUCCESS, 0, 0, {0xEE}},
  };
  for (const Case &Each : Cases) {
    std::vector<UINT8> Buffer(Each.Room, 0xEE);
    UINTN Size = Each.Room;
    UINTN Digits = 99;
    EXPECT_EQ(HexTextToBytes(Buffer.data(), &Size, Each.Text, &Digits), Each.Status);
    EXPECT_EQ(Size, Each.Size);
    if (!EFI_ERROR(Each.Status)) {
      EXPECT_EQ(Digits, Each.Digits);
    }
    EXPECT_EQ(Buffer, Each.Buffer);
  }
  UINTN Size = 0;
  EXPECT_EQ(HexTextToBytes(nullptr, &Size, u"", nullptr), EFI_SUCCESS);
}

TEST(HexTest, BytesToHexTextPutsByteZeroLast) {
  const UINT8 Bytes[] = {0x12, 0xAB};
  std::array<CHAR16, 8> Text;
  Text.fill(0xAAAA);
  UINTN Size = 5;
  ASSERT_EQ(BytesToHexText(Text.data(), &Size, Bytes, 2), EFI_SUCCESS);
  EXPECT_EQ(Size, 5u);
  EXPECT_EQ(U16(Text.data()), u"AB12");
  EXPECT_EQ(Text[5], 0xAAAA);
}

TEST(HexTest, BytesToHexTextTooSmall) {
  const UINT8 Bytes[] = {0x12, 0xAB};
  CHAR16 Text[4];
  UINTN Size = 4;
  EXPECT_EQ(BytesToHexText(Text, &Size, Bytes, 2), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Size, 5u);
}

TEST(HexTest, ConfigHexIsByteZeroFirstInLowerCase) {
  const UINT8 Bytes[] = {0x12, 0xAB};
  CHAR16 Text[8];
  BytesToConfigHex(Text, Bytes, 2);
  EXPECT_EQ(U16(Text), u"12ab");

  std::vector<UINT8> Guid(16);
  for (int Index = 0; Index < 16; Index++) {
    Guid[Index] = static_cast<UINT8>(Index);
  }
  CHAR16 GuidText[40];
  BytesToConfigHex(GuidText, Guid.data(), 16);
  EXPECT_EQ(U16(GuidText), u"000102030405060708090a0b0c0d0e0f");
}

TEST(HexTest, ConfigHexRoundTrips) {
  const UINT8 Bytes[] = {0x01, 0x00, 0xFE, 0x7F, 0x80};
  CHAR16 Text[16];
  BytesToConfigHex(Text, Bytes, sizeof(Bytes));
  UINT8 Back[5] = {};
  UINTN Size = sizeof(Back);
  ASSERT_EQ(ConfigHexToBytes(Back, &Size, Text), EFI_SUCCESS);
  EXPECT_EQ(Size, sizeof(Bytes));
  EXPECT_EQ(0, std::memcmp(Back, Bytes, sizeof(Bytes)));
}

TEST(HexTest, ReverseBytes) {
  UINT8 Odd[] = {1, 2, 3};
  ReverseBytes(Odd, 3);
  EXPECT_EQ(Odd[0], 3);
  EXPECT_EQ(Odd[1], 2);
  EXPECT_EQ(Odd[2], 1);
  UINT8 Even[] = {1, 2};
  ReverseBytes(Even, 2);
  EXPECT_EQ(Even[0], 2);
  ReverseBytes(Even, 0);
  EXPECT_EQ(Even[0], 2);
}

} // namespace
