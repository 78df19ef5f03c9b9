#include <gtest/gtest.h>

#include <stdexcept>

#include "host/kit/strings.h"
#include "tests/common/bytes.h"

using morvane::kit::StringPackageOptions;
using morvane::kit::Strings;
using morvane::test::AsciiZ;
using morvane::test::ByteVector;
using morvane::test::Join;
using morvane::test::Ucs2Z;

namespace {

uint32_t U32At(const ByteVector &Bytes, size_t Offset) {
  return Bytes[Offset] | (Bytes[Offset + 1] << 8) | (Bytes[Offset + 2] << 16) |
         (static_cast<uint32_t>(Bytes[Offset + 3]) << 24);
}

// The header of a package for Language with no options: 46 fixed bytes and the language.
ByteVector PlainHeader(const std::string &Language, uint32_t Length) {
  uint32_t HeaderSize = static_cast<uint32_t>(46 + Language.size() + 1);
  ByteVector Header = {static_cast<uint8_t>(Length), static_cast<uint8_t>(Length >> 8),
                       static_cast<uint8_t>(Length >> 16), EFI_HII_PACKAGE_STRINGS};
  for (uint32_t Field : {HeaderSize, HeaderSize}) {
    for (int Shift = 0; Shift < 32; Shift += 8) {
      Header.push_back(static_cast<uint8_t>(Field >> Shift));
    }
  }
  Header.insert(Header.end(), 32, 0);
  Header.push_back(0);
  Header.push_back(0);
  return Join({Header, AsciiZ(Language)});
}

// The blocks after the header.
ByteVector Blocks(const ByteVector &Package) {
  return ByteVector(Package.begin() + U32At(Package, 8), Package.end());
}

TEST(StringsTest, IdsAreHandedOutInOrderFromOne) {
  Strings Table;
  EXPECT_EQ(Table.Add(u"One"), 1);
  EXPECT_EQ(Table.Add(u"Two"), 2);
  Table.Translate("fr-FR", 9, u"Neuf");
  EXPECT_EQ(Table.Add(u"Ten"), 10);
  EXPECT_EQ(Table.Text("en-US", 2), u"Two");
  EXPECT_EQ(Table.Text("fr-FR", 2), std::nullopt);
  EXPECT_THROW(Table.Translate("fr-FR", 0, u"Zero"), std::invalid_argument);
}

TEST(StringsTest, LanguagesKeepTheirFirstOrder) {
  Strings Table("de-DE");
  Table.Add(u"Eins");
  Table.Translate("x-UEFI-ns", 1, u"Key");
  Table.Translate("en-US", 1, u"One");
  Table.Translate("x-UEFI-ns", 1, u"Key2");
  EXPECT_EQ(Table.Languages(), (std::vector<std::string>{"de-DE", "x-UEFI-ns", "en-US"}));
}

TEST(StringsTest, PlainPackageIsByteExact) {
  Strings Table;
  Table.Add(u"Hi");
  Table.Add(u"");
  ByteVector Expected = Join({PlainHeader("en-US", 52 + 7 + 3 + 1),
                              {EFI_HII_SIBT_STRING_UCS2},
                              Ucs2Z(u"Hi"),
                              {EFI_HII_SIBT_STRING_UCS2},
                              Ucs2Z(u""),
                              {EFI_HII_SIBT_END}});
  EXPECT_EQ(Table.Package("en-US"), Expected);
}

TEST(StringsTest, SparseTranslationsSkipIdsWithoutText) {
  Strings Table;
  for (int Index = 0; Index < 300; Index++) {
    Table.Add(u"x");
  }
  Table.Translate("fr-FR", 3, u"Trois");
  Table.Translate("fr-FR", 259, u"Deux cent");
  Table.Translate("fr-FR", 260, u"Suivant");
  Table.Translate("fr-FR", 517, u"Loin");
  ByteVector Expected = Join({{EFI_HII_SIBT_SKIP1, 2, EFI_HII_SIBT_STRING_UCS2},
                              Ucs2Z(u"Trois"),
                              {EFI_HII_SIBT_SKIP1, 255, EFI_HII_SIBT_STRING_UCS2},
                              Ucs2Z(u"Deux cent"),
                              {EFI_HII_SIBT_STRING_UCS2},
                              Ucs2Z(u"Suivant"),
                              {EFI_HII_SIBT_SKIP2, 0x00, 0x01, EFI_HII_SIBT_STRING_UCS2},
                              Ucs2Z(u"Loin"),
                              {EFI_HII_SIBT_END}});
  EXPECT_EQ(Blocks(Table.Package("fr-FR")), Expected);
}

TEST(StringsTest, LanguageWithoutTextsIsJustEnd) {
  Strings Table;
  Table.Add(u"One");
  EXPECT_EQ(Blocks(Table.Package("ja-JP")), ByteVector{EFI_HII_SIBT_END});
}

TEST(StringsTest, HeaderOptions) {
  Strings Table;
  Table.Add(u"A");
  struct HeaderCase {
    uint32_t Padding;
    uint32_t HeaderSize;
  };
  for (HeaderCase Case : {HeaderCase{0, 52}, HeaderCase{1, 53}, HeaderCase{5, 57}}) {
    StringPackageOptions Options;
    Options.HeaderPadding = Case.Padding;
    Options.LanguageNameId = 0x1234;
    ByteVector Package = Table.Package("en-US", Options);
    EXPECT_EQ(U32At(Package, 0) & 0xFFFFFF, Package.size());
    EXPECT_EQ(Package[3], EFI_HII_PACKAGE_STRINGS);
    EXPECT_EQ(U32At(Package, 4), Case.HeaderSize);
    EXPECT_EQ(U32At(Package, 8), Case.HeaderSize);
    EXPECT_EQ(Package[44], 0x34);
    EXPECT_EQ(Package[45], 0x12);
    EXPECT_EQ(ByteVector(Package.begin() + 46, Package.begin() + 52), AsciiZ("en-US"));
    EXPECT_EQ(ByteVector(Package.begin() + 52, Package.begin() + Case.HeaderSize),
              ByteVector(Case.Padding, 0));
    EXPECT_EQ(Package[Case.HeaderSize], EFI_HII_SIBT_STRING_UCS2);
  }

  StringPackageOptions Secondary;
  Secondary.SecondaryLanguages = "fr-FR;de-DE";
  ByteVector Package = Table.Package("en-US", Secondary);
  EXPECT_EQ(U32At(Package, 4), 46u + 18u);
  EXPECT_EQ(ByteVector(Package.begin() + 46, Package.begin() + 64), AsciiZ("en-US;fr-FR;de-DE"));
}

TEST(StringsTest, BlockTypeOptions) {
  Strings Table;
  Table.Add(u"Ab");
  Table.Add(u"C");
  StringPackageOptions Font;
  Font.FontId = 2;
  StringPackageOptions Runs;
  Runs.Runs = true;
  StringPackageOptions FontRuns = Font;
  FontRuns.Runs = true;
  StringPackageOptions Scsu;
  Scsu.Scsu = true;
  StringPackageOptions ScsuFont = Scsu;
  ScsuFont.FontId = 2;
  StringPackageOptions ScsuRuns = Scsu;
  ScsuRuns.Runs = true;
  StringPackageOptions ScsuFontRuns = ScsuFont;
  ScsuFontRuns.Runs = true;
  struct BlockCase {
    const char *Name;
    StringPackageOptions Options;
    ByteVector Blocks;
  };
  const BlockCase CASES[] = {
      {"ucs2 font", Font,
       Join({{EFI_HII_SIBT_STRING_UCS2_FONT, 2},
             Ucs2Z(u"Ab"),
             {EFI_HII_SIBT_STRING_UCS2_FONT, 2},
             Ucs2Z(u"C"),
             {0}})},
      {"ucs2 runs", Runs,
       Join({{EFI_HII_SIBT_STRINGS_UCS2, 2, 0}, Ucs2Z(u"Ab"), Ucs2Z(u"C"), {0}})},
      {"ucs2 font runs", FontRuns,
       Join({{EFI_HII_SIBT_STRINGS_UCS2_FONT, 2, 2, 0}, Ucs2Z(u"Ab"), Ucs2Z(u"C"), {0}})},
      {"scsu", Scsu, {EFI_HII_SIBT_STRING_SCSU, 'A', 'b', 0, EFI_HII_SIBT_STRING_SCSU, 'C', 0, 0}},
      {"scsu font",
       ScsuFont,
       {EFI_HII_SIBT_STRING_SCSU_FONT, 2, 'A', 'b', 0, EFI_HII_SIBT_STRING_SCSU_FONT, 2, 'C', 0,
        0}},
      {"scsu runs", ScsuRuns, {EFI_HII_SIBT_STRINGS_SCSU, 2, 0, 'A', 'b', 0, 'C', 0, 0}},
      {"scsu font runs",
       ScsuFontRuns,
       {EFI_HII_SIBT_STRINGS_SCSU_FONT, 2, 2, 0, 'A', 'b', 0, 'C', 0, 0}},
  };
  for (const BlockCase &Case : CASES) {
    EXPECT_EQ(Blocks(Table.Package("en-US", Case.Options)), Case.Blocks) << Case.Name;
  }
}

TEST(StringsTest, RunsBreakAtGaps) {
  Strings Table;
  Table.Add(u"A");
  Table.Add(u"B");
  Table.Translate("en-US", 4, u"D");
  StringPackageOptions Options;
  Options.Runs = true;
  EXPECT_EQ(Blocks(Table.Package("en-US", Options)),
            Join({{EFI_HII_SIBT_STRINGS_UCS2, 2, 0},
                  Ucs2Z(u"A"),
                  Ucs2Z(u"B"),
                  {EFI_HII_SIBT_SKIP1, 1, EFI_HII_SIBT_STRINGS_UCS2, 1, 0},
                  Ucs2Z(u"D"),
                  {0}}));
}

TEST(StringsTest, ScsuQuotesWhatSingleBytesCannotCarry) {
  Strings Table;
  Table.Add(u"\u00e9\u0001\u20ac\t");
  StringPackageOptions Options;
  Options.Scsu = true;
  // Latin-1 through dynamic window 0, a control through SQ0, the euro sign through SQU.
  EXPECT_EQ(
      Blocks(Table.Package("en-US", Options)),
      (ByteVector{EFI_HII_SIBT_STRING_SCSU, 0xE9, 0x01, 0x01, 0x0E, 0x20, 0xAC, 0x09, 0x00, 0x00}));
}

TEST(StringsTest, DuplicatesReferToTheFirstId) {
  Strings Table;
  Table.Add(u"Same");
  Table.Add(u"Other");
  Table.Add(u"Same");
  StringPackageOptions Options;
  Options.Duplicates = true;
  Options.Runs = true;
  EXPECT_EQ(Blocks(Table.Package("en-US", Options)),
            Join({{EFI_HII_SIBT_STRINGS_UCS2, 2, 0},
                  Ucs2Z(u"Same"),
                  Ucs2Z(u"Other"),
                  {EFI_HII_SIBT_DUPLICATE, 1, 0, EFI_HII_SIBT_END}}));
}

TEST(StringsTest, ExtendedBlocksComeFirstWithTheirLengths) {
  Strings Table;
  Table.Add(u"A");
  StringPackageOptions Options;
  Options.FontBlock = true;
  Options.FontId = 3;
  Options.UnknownExtBlocks = true;
  ByteVector Font =
      Join({{EFI_HII_SIBT_EXT2, EFI_HII_SIBT_FONT, 21, 0, 3, 19, 0, 0, 0, 0, 0}, Ucs2Z(u"sans")});
  ByteVector Unknown = {
      EFI_HII_SIBT_EXT1, 0x50, 5, 0xAA, 0xBB, EFI_HII_SIBT_EXT4, 0x51, 9, 0, 0, 0, 1, 2, 3};
  EXPECT_EQ(Blocks(Table.Package("en-US", Options)),
            Join({Font, Unknown, {EFI_HII_SIBT_STRING_UCS2_FONT, 3}, Ucs2Z(u"A"), {0}}));
}

} // namespace
