#include <gtest/gtest.h>

#include "host/hii/string_package.h"
#include "host/kit/strings.h"
#include "tests/hii/package_bytes.h"

using morvane::host::ReadStringPackage;
using morvane::host::StringPackage;
using morvane::host::WriteStringPackage;
using morvane::kit::StringPackageOptions;
using morvane::kit::Strings;
using morvane::test::ByteVector;
using morvane::test::Join;
using morvane::test::Le16;
using morvane::test::Le32;
using morvane::test::StringPackageBytes;
using morvane::test::Ucs2Z;

namespace {

StringPackage Read(const ByteVector &Bytes) {
  StringPackage Package;
  EXPECT_EQ(ReadStringPackage(Bytes.data(), Bytes.size(), &Package), EFI_SUCCESS);
  return Package;
}

std::map<EFI_STRING_ID, std::u16string> Texts(const StringPackage &Package) {
  std::map<EFI_STRING_ID, std::u16string> Out;
  for (const auto &[Id, Entry] : Package.Entries) {
    Out[Id] = Entry.Text;
  }
  return Out;
}

TEST(StringPackageTest, KitPackagesReadBackInTwoLanguages) {
  Strings Table;
  EFI_STRING_ID Title = Table.Add(u"Main");
  EFI_STRING_ID Help = Table.Add(u"Help text");
  EFI_STRING_ID Only = Table.Add(u"Only English");
  Table.Translate("fr-FR", Title, u"Principal");
  Table.Translate("fr-FR", Help, u"Aide");

  StringPackage English = Read(Table.Package("en-US"));
  EXPECT_EQ(English.Language, "en-US");
  EXPECT_EQ(Texts(English), (std::map<EFI_STRING_ID, std::u16string>{
                                {Title, u"Main"}, {Help, u"Help text"}, {Only, u"Only English"}}));
  EXPECT_EQ(English.NextId, 4u);

  StringPackage French = Read(Table.Package("fr-FR"));
  EXPECT_EQ(French.Language, "fr-FR");
  EXPECT_EQ(Texts(French),
            (std::map<EFI_STRING_ID, std::u16string>{{Title, u"Principal"}, {Help, u"Aide"}}));
}

TEST(StringPackageTest, KitOptionsAllReadBack) {
  Strings Table;
  Table.Add(u"Alpha");
  Table.Add(u"Beta \u00e9\u20ac");
  Table.Add(u"Alpha");
  Table.Translate("en-US", 300, u"Far");
  for (bool Scsu : {false, true}) {
    for (bool Runs : {false, true}) {
      for (bool Font : {false, true}) {
        StringPackageOptions Options;
        Options.Scsu = Scsu;
        Options.Runs = Runs;
        Options.FontBlock = Font;
        Options.UnknownExtBlocks = Font;
        Options.Duplicates = Runs;
        Options.HeaderPadding = Font ? 5 : 1;
        if (Font) {
          Options.FontId = 7;
        }
        StringPackage Package = Read(Table.Package("en-US", Options));
        EXPECT_EQ(Texts(Package),
                  (std::map<EFI_STRING_ID, std::u16string>{
                      {1, u"Alpha"}, {2, u"Beta \u00e9\u20ac"}, {3, u"Alpha"}, {300, u"Far"}}))
            << Scsu << Runs << Font;
        EXPECT_EQ(Package.NextId, 301u);
        EXPECT_EQ(Package.FontBlocks.size(), Font ? 1u : 0u);
        EXPECT_EQ(Package.Entries[300].FontId, Font ? std::optional<UINT8>(7) : std::nullopt);
      }
    }
  }
}

TEST(StringPackageTest, HandMadeBlocksOfEveryType) {
  ByteVector FontBlock =
      Join({{0x31, 0x40}, Le16(4 + 1 + 2 + 4 + 4), {0x05}, Le16(19), Le32(0), Ucs2Z(u"f")});
  StringPackageBytes Bytes;
  Bytes.Padding = 1; // 53-byte header: every block starts at an odd offset
  Bytes.Blocks = Join({
      FontBlock,
      {0x30, 0x77, 0x04, 0xEE}, // EXT1 of an unknown type, 4 bytes
      {0x32, 0x78},
      Le32(7),
      {0xEE}, // EXT4 of an unknown type, 7 bytes
      {0x14},
      Ucs2Z(u"one"), // 1
      {0x15, 0x05},
      Ucs2Z(u"two"), // 2, font 5
      {0x16},
      Le16(2),
      Ucs2Z(u"three"),
      Ucs2Z(u""), // 3, 4
      {0x17, 0x05},
      Le16(1),
      Ucs2Z(u"five"),                           // 5, font 5
      {0x10, 's', 'i', 'x', 0},                 // 6
      {0x11, 0x05, 's', 'e', 'v', 'e', 'n', 0}, // 7, font 5
      {0x12},
      Le16(2),
      {'e', 'i', 'g', 'h', 't', 0, 0x12, 0x9F, 0}, // 8, 9
      {0x13, 0x05},
      Le16(1),
      {0x0F, 0x00, 't', 0x00, 0x00}, // 10, font 5
      {0x22, 0x03},                  // 11..13 skipped
      {0x20},
      Le16(2), // 14 = 2
      {0x21},
      Le16(0x100), // 15..270 skipped
      {0x20},
      Le16(12), // 271: duplicate of a skipped id
      {0x14},
      Ucs2Z(u"last"), // 272
      {0x00},
  });
  StringPackage Package = Read(Bytes.Bytes());
  EXPECT_EQ(Texts(Package), (std::map<EFI_STRING_ID, std::u16string>{{1, u"one"},
                                                                     {2, u"two"},
                                                                     {3, u"three"},
                                                                     {4, u""},
                                                                     {5, u"five"},
                                                                     {6, u"six"},
                                                                     {7, u"seven"},
                                                                     {8, u"eight"},
                                                                     {9, u"\u041f"},
                                                                     {10, u"t"},
                                                                     {14, u"two"},
                                                                     {272, u"last"}}));
  EXPECT_EQ(Package.NextId, 273u);
  EXPECT_EQ(Package.Entries[2].FontId, std::optional<UINT8>(5));
  EXPECT_EQ(Package.Entries[14].FontId, std::optional<UINT8>(5));
  EXPECT_EQ(Package.Entries[1].FontId, std::nullopt);
  EXPECT_EQ(Package.Entries[10].FontId, std::optional<UINT8>(5));
  ASSERT_EQ(Package.FontBlocks.size(), 1u);
  EXPECT_EQ(Package.FontBlocks[0], FontBlock);
}

TEST(StringPackageTest, HeaderSizesAndLanguages) {
  struct HeaderCase {
    std::string Language;
    uint32_t Padding;
    std::string Expected;
  };
  for (const HeaderCase &Case :
       {HeaderCase{"en-US", 0, "en-US"}, HeaderCase{"en-US", 1, "en-US"},
        HeaderCase{"en-US", 5, "en-US"}, HeaderCase{"x-UEFI-abc", 3, "x-UEFI-abc"},
        HeaderCase{"fr-FR;fr-CA", 0, "fr-FR;fr-CA"}}) {
    StringPackageBytes Bytes;
    Bytes.Language = Case.Language;
    Bytes.Padding = Case.Padding;
    Bytes.LanguageName = 0x0102;
    Bytes.Blocks = Join({{0x14}, Ucs2Z(u"x"), {0x00}});
    StringPackage Package = Read(Bytes.Bytes());
    EXPECT_EQ(Package.Language, Case.Expected);
    EXPECT_EQ(Package.LanguageName, 0x0102);
    EXPECT_EQ(Texts(Package), (std::map<EFI_STRING_ID, std::u16string>{{1, u"x"}}));
  }
  EXPECT_EQ(morvane::host::PrimaryLanguage("fr-FR;fr-CA"), "fr-FR");
  EXPECT_TRUE(morvane::host::SameLanguage("en-us", "EN-US"));
  EXPECT_FALSE(morvane::host::SameLanguage("en", "en-US"));
  EXPECT_TRUE(morvane::host::IsKeywordNamespace("x-UEFI-ns"));
  EXPECT_FALSE(morvane::host::IsKeywordNamespace("x-UEF"));
}

TEST(StringPackageTest, MalformedPackagesAreRefused) {
  auto WithBlocks = [](ByteVector Blocks) {
    StringPackageBytes Bytes;
    Bytes.Blocks = std::move(Blocks);
    return Bytes;
  };
  StringPackageBytes WrongType;
  WrongType.Type = 0x02;
  StringPackageBytes LongerThanBuffer;
  LongerThanBuffer.LengthField = 60;
  StringPackageBytes HeaderPastEnd;
  HeaderPastEnd.HeaderSizeField = 54;
  StringPackageBytes HeaderTooSmall;
  HeaderTooSmall.HeaderSizeField = 51; // the language's NUL lies outside
  HeaderTooSmall.StringInfoOffsetField = 52;
  StringPackageBytes InfoBeforeHeader;
  InfoBeforeHeader.StringInfoOffsetField = 51;
  StringPackageBytes InfoPastEnd;
  InfoPastEnd.StringInfoOffsetField = 54;
  const ByteVector Plain = StringPackageBytes().Bytes();
  StringPackageBytes NoLanguage;
  NoLanguage.Language = "";
  struct BadCase {
    const char *Name;
    ByteVector Bytes;
  };
  const BadCase CASES[] = {
      {"empty", {}},
      {"shorter than the fixed header", ByteVector(Plain.begin(), Plain.begin() + 45)},
      {"not a string package", WrongType.Bytes()},
      {"length beyond the buffer", LongerThanBuffer.Bytes()},
      {"header beyond the package", HeaderPastEnd.Bytes()},
      {"language outside the header", HeaderTooSmall.Bytes()},
      {"blocks inside the header", InfoBeforeHeader.Bytes()},
      {"blocks beyond the package", InfoPastEnd.Bytes()},
      {"no language", NoLanguage.Bytes()},
      {"no END", WithBlocks(Join({{0x14}, Ucs2Z(u"x")})).Bytes()},
      {"no blocks at all", WithBlocks({}).Bytes()},
      {"unterminated UCS-2", WithBlocks({0x14, 'x', 0}).Bytes()},
      {"odd byte of UCS-2", WithBlocks({0x14, 'x', 0, 0}).Bytes()},
      {"unterminated SCSU", WithBlocks({0x10, 'x'}).Bytes()},
      {"reserved SCSU tag", WithBlocks({0x10, 0x0C, 0, 0}).Bytes()},
      {"run longer than its texts", WithBlocks(Join({{0x16}, Le16(3), Ucs2Z(u"a"), {0}})).Bytes()},
      {"font block without its font id", WithBlocks({0x15}).Bytes()},
      {"run without its count", WithBlocks({0x16, 0x01}).Bytes()},
      {"cut duplicate", WithBlocks({0x20, 0x01}).Bytes()},
      {"cut skip1", WithBlocks({0x22}).Bytes()},
      {"cut skip2", WithBlocks({0x21, 0x01}).Bytes()},
      {"ext1 shorter than its header", WithBlocks({0x30, 0x77, 0x02, 0x00}).Bytes()},
      {"ext2 beyond the package", WithBlocks(Join({{0x31, 0x40}, Le16(40), {0}})).Bytes()},
      {"ext4 of length zero", WithBlocks(Join({{0x32, 0x77}, Le32(0), {0}})).Bytes()},
      {"ext4 length overflowing", WithBlocks(Join({{0x32, 0x77}, Le32(0xFFFFFFFF), {0}})).Bytes()},
      {"unknown block type", WithBlocks({0x40, 0x00}).Bytes()},
      {"ids beyond 0xFFFF",
       WithBlocks(Join({{0x21}, Le16(0xFFFF), {0x14}, Ucs2Z(u"x"), {0}})).Bytes()},
      {"skips beyond 0xFFFF",
       WithBlocks(Join({{0x21}, Le16(0xFFFF), {0x21}, Le16(0xFFFF), {0}})).Bytes()},
  };
  for (const BadCase &Case : CASES) {
    StringPackage Package;
    Package.Language = "unchanged";
    EXPECT_EQ(ReadStringPackage(Case.Bytes.data(), Case.Bytes.size(), &Package),
              EFI_INVALID_PARAMETER)
        << Case.Name;
    EXPECT_EQ(Package.Language, "unchanged") << Case.Name;
  }
}

TEST(StringPackageTest, EveryTruncationIsRefusedCleanly) {
  Strings Table;
  Table.Add(u"Alpha");
  Table.Add(u"Beta");
  StringPackageOptions Options;
  Options.Scsu = true;
  Options.FontBlock = true;
  Options.UnknownExtBlocks = true;
  ByteVector Whole = Table.Package("en-US", Options);
  for (size_t Size = 0; Size < Whole.size(); Size++) {
    // Cut copies so the sanitizer sees every read past the cut.
    ByteVector Cut(Whole.begin(), Whole.begin() + Size);
    StringPackage Package;
    EXPECT_EQ(ReadStringPackage(Cut.data(), Cut.size(), &Package), EFI_INVALID_PARAMETER) << Size;
    if (Size >= 4) {
      // The same cut with a length field that agrees with it.
      Cut[0] = static_cast<uint8_t>(Size);
      Cut[1] = static_cast<uint8_t>(Size >> 8);
      Cut[2] = 0;
      EXPECT_EQ(ReadStringPackage(Cut.data(), Cut.size(), &Package), EFI_INVALID_PARAMETER) << Size;
    }
  }
}

TEST(StringPackageTest, WriterIsByteExactAndKeepsTrailingSkips) {
  StringPackage Package;
  Package.Language = "de-DE";
  Package.LanguageName = 3;
  Package.LanguageWindow[0] = 0x0041;
  Package.Entries[2] = {u"Zwei", std::nullopt};
  Package.Entries[3] = {u"Drei", 4};
  Package.NextId = 300;
  ByteVector Expected = Join({Le32((52 + 2 + 11 + 12 + 3 + 1) | 0x04000000),
                              Le32(52),
                              Le32(52),
                              Le16(0x41),
                              ByteVector(30, 0),
                              Le16(3),
                              {'d', 'e', '-', 'D', 'E', 0},
                              {0x22, 0x01, 0x14},
                              Ucs2Z(u"Zwei"),
                              {0x15, 0x04},
                              Ucs2Z(u"Drei"),
                              {0x21},
                              Le16(296),
                              {0x00}});
  ByteVector Written = WriteStringPackage(Package);
  EXPECT_EQ(Written, Expected);
  StringPackage Again = Read(Written);
  EXPECT_EQ(Again.NextId, 300u);
  EXPECT_EQ(Texts(Again), Texts(Package));
  EXPECT_EQ(Again.Entries[3].FontId, std::optional<UINT8>(4));
  EXPECT_EQ(Again.LanguageWindow, Package.LanguageWindow);
}

} // namespace
