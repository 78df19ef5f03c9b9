#include <gtest/gtest.h>

#include <array>

#include "support/string.h"
#include "tests/common/text.h"

using morvane::test::U16;

namespace {

TEST(StringTest, LengthsAndSizes) {
  EXPECT_EQ(StrLength(u"abc"), 3u);
  EXPECT_EQ(StrLength(u""), 0u);
  EXPECT_EQ(StrLength(nullptr), 0u);
  EXPECT_EQ(StrSize(u"abc"), 8u);
  EXPECT_EQ(StrSize(u""), 2u);
  EXPECT_EQ(AsciiLength("abcd"), 4u);
  EXPECT_EQ(AsciiSize("abcd"), 5u);
  EXPECT_EQ(AsciiSize(nullptr), 1u);
}

TEST(StringTest, CopyAppendCompare) {
  std::array<CHAR16, 16> Buffer{};
  StrCopy(Buffer.data(), u"ab");
  StrAppend(Buffer.data(), u"cd");
  EXPECT_EQ(U16(Buffer.data()), u"abcd");
  EXPECT_EQ(StrCompare(u"abc", u"abc"), 0);
  EXPECT_LT(StrCompare(u"abc", u"abd"), 0);
  EXPECT_GT(StrCompare(u"abc", u"ab"), 0);
  // Characters compare as unsigned numbers.
  EXPECT_GT(StrCompare(u"\xFF00", u"a"), 0);
}

TEST(StringTest, CopyNCopiesPastTerminator) {
  std::array<CHAR16, 8> Buffer;
  Buffer.fill(0xAAAA);
  const CHAR16 Source[] = {u'a', 0, u'c', u'd', 0};
  StrCopyN(Buffer.data(), Source, 3);
  EXPECT_EQ(Buffer[0], u'a');
  EXPECT_EQ(Buffer[1], 0);
  EXPECT_EQ(Buffer[2], u'c');
  EXPECT_EQ(Buffer[3], 0);
  EXPECT_EQ(Buffer[4], 0xAAAA);
}

TEST(StringTest, Find) {
  const CHAR16 *Text = u"GUID=abc&NAME=x";
  EXPECT_EQ(StrFind(Text, u"&NAME="), Text + 8);
  EXPECT_EQ(StrFind(Text, u""), Text);
  EXPECT_EQ(StrFind(Text, u"PATH"), nullptr);
  EXPECT_EQ(StrFind(u"", u"a"), nullptr);
  const CHAR16 *Repeat = u"aaab";
  EXPECT_EQ(StrFind(Repeat, u"aab"), Repeat + 1);
}

TEST(StringTest, ToLowerOnlyTouchesAsciiCapitals) {
  std::array<CHAR16, 8> Buffer{};
  StrCopy(Buffer.data(), u"AbZ[\x00C9");
  StrToLower(Buffer.data());
  EXPECT_EQ(U16(Buffer.data()), u"abz[\x00C9");
}

TEST(StringTest, AsciiCopyReturnsBehindTerminator) {
  char Buffer[8] = {};
  char *End = AsciiCopy(Buffer, "xyz");
  EXPECT_EQ(End, Buffer + 4);
  EXPECT_STREQ(Buffer, "xyz");
  EXPECT_EQ(AsciiCompare("abc", "abc"), 0);
  EXPECT_LT(AsciiCompare("ab", "abc"), 0);
  EXPECT_GT(AsciiCompare("\xC0", "a"), 0);
}

} // namespace
