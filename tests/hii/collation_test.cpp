// The unicode collation protocol: wildcard matching, case-blind comparison and folding, and
// FAT names.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/common/text.h"
#include "tests/hii/hii_fixture.h"

namespace morvane::test {
namespace {

class CollationTest : public HiiTest {
protected:
  EFI_UNICODE_COLLATION_PROTOCOL *Collation = Services.Collation();

  bool Match(std::u16string String, std::u16string Pattern) {
    return Collation->MetaiMatch(Collation, String.data(), Pattern.data()) == TRUE;
  }
};

TEST_F(CollationTest, MetaiMatchWildcards) {
  EXPECT_STREQ(Collation->SupportedLanguages, "en");
  struct MatchCase {
    std::u16string String;
    std::vector<std::u16string> Matching;
    std::vector<std::u16string> Failing;
  };
  const MatchCase CASES[] = {
      {u"", {u"", u"*"}, {u"?"}},
      {u"a", {}, {u""}},
      {u"Boot0001", {u"boot*", u"BOOT????", u"*0001", u"B*t*1"}, {u"BOOT???", u"*0002", u"B*t*2"}},
      {u"abcabcabd", {u"*abd"}, {}},
      {u"aaa", {}, {u"a*a*a*a"}},
      {u"x", {u"[a-z]"}, {}},
      {u"X", {u"[a-z]"}, {}},
      {u"5", {}, {u"[a-z]"}},
      {u"-", {u"[a-]"}, {}},
      {u"m", {u"[abm-o]"}, {}},
      {u"p", {}, {u"[abm-o]"}},
      {u"file.TXT", {u"*.[tT]xt"}, {}},
      {u"c", {}, {u"[abc"}},
      {u"[", {u"[[]"}, {}},
      {u"\u00e9t\u00e9", {u"\u00c9T\u00c9"}, {}},
      {u"ab", {u"a**b"}, {}},
      {u"a?b", {u"a?b"}, {}},
  };
  for (const MatchCase &Case : CASES) {
    for (bool Matches : {true, false}) {
      for (const std::u16string &Pattern : Matches ? Case.Matching : Case.Failing) {
        EXPECT_EQ(Match(Case.String, Pattern), Matches)
            << Utf8(Case.String) << " ~ " << Utf8(Pattern);
      }
    }
  }
}

TEST_F(CollationTest, StriCollIgnoresCase) {
  struct CompareCase {
    std::u16string Left;
    std::u16string Right;
    int Sign;
  };
  for (const CompareCase &Case : {CompareCase{u"abc", u"ABC", 0}, CompareCase{u"abc", u"abd", -1},
                                  CompareCase{u"ABD", u"abc", 1}, CompareCase{u"ab", u"abc", -1},
                                  CompareCase{u"abc", u"ab", 1}, CompareCase{u"", u"", 0},
                                  CompareCase{u"\u00e0", u"\u00c0", 0}}) {
    std::u16string Left = Case.Left;
    std::u16string Right = Case.Right;
    INTN Result = Collation->StriColl(Collation, Left.data(), Right.data());
    EXPECT_EQ((Result > 0) - (Result < 0), Case.Sign)
        << Utf8(Case.Left) << " vs " << Utf8(Case.Right);
  }
}

TEST_F(CollationTest, CaseFoldingOfAsciiAndLatin1) {
  std::u16string Text = u"Hello \u00c0\u00e9\u00d7\u00f7\u00df\u00ff World 1!";
  Collation->StrUpr(Collation, Text.data());
  EXPECT_EQ(Text, u"HELLO \u00c0\u00c9\u00d7\u00f7\u00df\u0178 WORLD 1!");
  Collation->StrLwr(Collation, Text.data());
  EXPECT_EQ(Text, u"hello \u00e0\u00e9\u00d7\u00f7\u00df\u00ff world 1!");
}

TEST_F(CollationTest, FatNames) {
  CHAR8 Fat[] = {'R', 'E', 'A', 'D', 'M', 'E', '\xC9', 0, 'X'};
  CHAR16 Text[16];
  Collation->FatToStr(Collation, sizeof(Fat), Fat, Text);
  EXPECT_EQ(std::u16string(Text), u"README\u00c9");
  Collation->FatToStr(Collation, 3, Fat, Text);
  EXPECT_EQ(std::u16string(Text), u"REA");

  CHAR8 Out[12];
  std::u16string Clean = u"boot.efi";
  EXPECT_EQ(Collation->StrToFat(Collation, Clean.data(), sizeof(Out), Out), FALSE);
  EXPECT_STREQ(Out, "BOOT.EFI");
  std::u16string Dirty = u"a*b\u20acc";
  EXPECT_EQ(Collation->StrToFat(Collation, Dirty.data(), sizeof(Out), Out), TRUE);
  EXPECT_STREQ(Out, "A_B_C");
  CHAR8 Short[3] = {'#', '#', '#'};
  EXPECT_EQ(Collation->StrToFat(Collation, Clean.data(), 2, Short), FALSE);
  EXPECT_EQ(Short[0], 'B');
  EXPECT_EQ(Short[1], 'O');
  EXPECT_EQ(Short[2], '#');
}

} // namespace
} // namespace morvane::test
