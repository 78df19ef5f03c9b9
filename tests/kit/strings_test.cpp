#include <gtest/gtest.h>

#include <functional>
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
  // Length, type, header and string offsets of 52, a 32-byte language window, no name id.
  ByteVector Header = Join({{63, 0, 0, EFI_HII_PACKAGE_STRINGS, 52, 0, 0, 0, 52, 0, 0, 0},
                            ByteVector(34, 0),
                            AsciiZ("en-US")});
  EXPECT_EQ(Table.Package("en-US"), Join({Header,
                                          {EFI_HII_SIBT_STRING_UCS2},
                                          Ucs2Z(u"Hi"),
                                          {EFI_HII_SIBT_STRING_UCS2},
                                          Ucs2Z(u""),
                                          {EFI_HII_SIBT_END}}));
}

TEST(StringsTest, HeaderOptions) {
  Strings Table;
  Table.Add(u"A");
  for (uint32_t Padding : {0u, 1u, 5u}) {
    const uint32_t HeaderSize = 52 + Padding;
    ByteVector Package =
        Table.Package("en-US", {.LanguageNameId = 0x1234, .HeaderPadding = Padding});
    EXPECT_EQ(U32At(Package, 0) & 0xFFFFFF, Package.size());
    EXPECT_EQ(Package[3], EFI_HII_PACKAGE_STRINGS);
    EXPECT_EQ(U32At(Package, 4), HeaderSize);
    EXPECT_EQ(U32At(Package, 8), HeaderSize);
    EXPECT_EQ(Package[44], 0x34);
    EXPECT_EQ(Package[45], 0x12);
    EXPECT_EQ(ByteVector(Package.begin() + 46, Package.begin() + 52), AsciiZ("en-US"));
    EXPECT_EQ(ByteVector(Package.begin() + 52, Package.begin() + HeaderSize),
              ByteVector(Padding, 0));
    EXPECT_EQ(Package[HeaderSize], EFI_HII_SIBT_STRING_UCS2);
  }

  ByteVector Package = Table.Package("en-US", {.SecondaryLanguages = "fr-FR;de-DE"});
  EXPECT_EQ(U32At(Package, 4), 46u + 18u);
  EXPECT_EQ(ByteVector(Package.begin() + 46, Package.begin() + 64), AsciiZ("en-US;fr-FR;de-DE"));
}

void AbAndC(Strings &Table) {
  Table.Add(u"Ab");
  Table.Add(u"C");
}

// Three hundred English texts, and French ones for ids 3, 259, 260 and 517 only.
void SparseFrench(Strings &Table) {
  for (int Index = 0; Index < 300; Index++) {
    Table.Add(u"x");
  }
  Table.Translate("fr-FR", 3, u"Trois");
  Table.Translate("fr-FR", 259, u"Deux cent");
  Table.Translate("fr-FR", 260, u"Suivant");
  Table.Translate("fr-FR", 517, u"Loin");
}

// The block types each option asks for, byte for byte.
TEST(StringsTest, BlockLayouts) {
  struct BlockCase {
    const char *Name;
    std::function<void(Strings &)> Fill;
    StringPackageOptions Options;
    ByteVector Blocks;
    const char *Language = "en-US";
  };
  const BlockCase CASES[] = {
      {"gaps are skipped",
       SparseFrench,
       {},
       Join({{EFI_HII_SIBT_SKIP1, 2, EFI_HII_SIBT_STRING_UCS2},
             Ucs2Z(u"Trois"),
             {EFI_HII_SIBT_SKIP1, 255, EFI_HII_SIBT_STRING_UCS2},
             Ucs2Z(u"Deux cent"),
             {EFI_HII_SIBT_STRING_UCS2},
             Ucs2Z(u"Suivant"),
             {EFI_HII_SIBT_SKIP2, 0x00, 0x01, EFI_HII_SIBT_STRING_UCS2},
             Ucs2Z(u"Loin"),
             {EFI_HII_SIBT_END}}),
       "fr-FR"},
      {"a language without texts", AbAndC, {}, {EFI_HII_SIBT_END}, "ja-JP"},
      {"ucs2 font",
       AbAndC,
       {.FontId = 2},
       Join({{EFI_HII_SIBT_STRING_UCS2_FONT, 2},
             Ucs2Z(u"Ab"),
             {EFI_HII_SIBT_STRING_UCS2_FONT, 2},
             Ucs2Z(u"C"),
             {0}})},
      {"ucs2 runs",
       AbAndC,
       {.Runs = true},
       Join({{EFI_HII_SIBT_STRINGS_UCS2, 2, 0}, Ucs2Z(u"Ab"), Ucs2Z(u"C"), {0}})},
      {"ucs2 font runs",
       AbAndC,
       {.Runs = true, .FontId = 2},
       Join({{EFI_HII_SIBT_STRINGS_UCS2_FONT, 2, 2, 0}, Ucs2Z(u"Ab"), Ucs2Z(u"C"), {0}})},
      {"scsu",
       AbAndC,
       {.Scsu = true},
       {EFI_HII_SIBT_STRING_SCSU, 'A', 'b', 0, EFI_HII_SIBT_STRING_SCSU, 'C', 0, 0}},
      {"scsu font",
       AbAndC,
       {.Scsu = true, .FontId = 2},
       {EFI_HII_SIBT_STRING_SCSU_FONT, 2, 'A', 'b', 0, EFI_HII_SIBT_STRING_SCSU_FONT, 2, 'C', 0,
        0}},
      {"scsu runs",
       AbAndC,
       {.Scsu = true, .Runs = true},
       {EFI_HII_SIBT_STRINGS_SCSU, 2, 0, 'A', 'b', 0, 'C', 0, 0}},
      {"scsu font runs",
       AbAndC,
       {.Scsu = true, .Runs = true, .FontId = 2},
       {EFI_HII_SIBT_STRINGS_SCSU_FONT, 2, 2, 0, 'A', 'b', 0, 'C', 0, 0}},
      {"runs break at gaps",
       [](Strings &Table) {
         Table.Add(u"A");
         Table.Add(u"B");
         Table.Translate("en-US", 4, u"D");
       },
       {.Runs = true},
       Join({{EFI_HII_SIBT_STRINGS_UCS2, 2, 0},
             Ucs2Z(u"A"),
             Ucs2Z(u"B"),
             {EFI_HII_SIBT_SKIP1, 1, EFI_HII_SIBT_STRINGS_UCS2, 1, 0},
             Ucs2Z(u"D"),
             {0}})},
      // Latin-1 through dynamic window 0, a control through SQ0, the euro sign through SQU.
      {"scsu quotes what single bytes cannot carry",
       [](Strings &Table) { Table.Add(u"\u00e9\u0001\u20ac\t"); },
       {.Scsu = true},
       {EFI_HII_SIBT_STRING_SCSU, 0xE9, 0x01, 0x01, 0x0E, 0x20, 0xAC, 0x09, 0x00, 0x00}},
      {"duplicates refer to the first id",
       [](Strings &Table) {
         Table.Add(u"Same");
         Table.Add(u"Other");
         Table.Add(u"Same");
       },
       {.Runs = true, .Duplicates = true},
       Join({{EFI_HII_SIBT_STRINGS_UCS2, 2, 0},
             Ucs2Z(u"Same"),
             Ucs2Z(u"Other"),
             {EFI_HII_SIBT_DUPLICATE, 1, 0, EFI_HII_SIBT_END}})},
      // Extended blocks come first, with their lengths.
      {"extended blocks",
       [](Strings &Table) { Table.Add(u"A"); },
       {.FontId = 3, .FontBlock = true, .UnknownExtBlocks = true},
       Join({{EFI_HII_SIBT_EXT2, EFI_HII_SIBT_FONT, 21, 0, 3, 19, 0, 0, 0, 0, 0},
             Ucs2Z(u"sans"),
             {EFI_HII_SIBT_EXT1, 0x50, 5, 0xAA, 0xBB},
             {EFI_HII_SIBT_EXT4, 0x51, 9, 0, 0, 0, 1, 2, 3},
             {EFI_HII_SIBT_STRING_UCS2_FONT, 3},
             Ucs2Z(u"A"),
             {0}})},
  };
  for (const BlockCase &Case : CASES) {
    Strings Table;
    Case.Fill(Table);
    EXPECT_EQ(Blocks(Table.Package(Case.Language, Case.Options)), Case.Blocks) << Case.Name;
  }
}

} // namespace
