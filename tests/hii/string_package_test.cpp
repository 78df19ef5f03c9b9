// String packages read and written byte by byte, and the SCSU decoder their blocks use.
#include <gtest/gtest.h>

#include "host/hii/scsu_decode.h"
#include "host/hii/string_package.h"
#include "host/kit/strings.h"
#include "tests/hii/hii_fixture.h"

namespace morvane::test {
namespace {

using host::ReadStringPackage;
using host::StringPackage;
using kit::StringPackageOptions;
using kit::Strings;
using Texts = std::map<EFI_STRING_ID, std::u16string>;

StringPackage Read(const ByteVector &Bytes) {
  StringPackage Package;
  EXPECT_EQ(ReadStringPackage(Bytes.data(), Bytes.size(), &Package), EFI_SUCCESS);
  return Package;
}

Texts TextsOf(const StringPackage &Package) {
  Texts Out;
  for (const auto &[Id, Entry] : Package.Entries) {
    Out[Id] = Entry.Text;
  }
  return Out;
}

TEST(StringPackageTest, KitPackagesReadBackWithEveryOption) {
  Strings Table;
  Table.Add(u"Alpha");
  Table.Add(u"Beta \u00e9\u20ac");
  Table.Add(u"Alpha");
  Table.Translate("en-US", 300, u"Far");
  Table.Translate("fr-FR", 2, u"B\u00eata");
  StringPackage French = Read(Table.Package("fr-FR"));
  EXPECT_EQ(French.Language, "fr-FR");
  EXPECT_EQ(TextsOf(French), (Texts{{2, u"B\u00eata"}}));
  for (int Bits = 0; Bits < 8; Bits++) {
    bool Font = Bits & 4;
    StringPackageOptions Options;
    Options.Scsu = Bits & 1;
    Options.Runs = Options.Duplicates = Bits & 2;
    Options.FontBlock = Options.UnknownExtBlocks = Font;
    Options.HeaderPadding = Font ? 5 : 1;
    if (Font) {
      Options.FontId = 7;
    }
    StringPackage Package = Read(Table.Package("en-US", Options));
    EXPECT_EQ(Package.Language, "en-US");
    EXPECT_EQ(TextsOf(Package),
              (Texts{{1, u"Alpha"}, {2, u"Beta \u00e9\u20ac"}, {3, u"Alpha"}, {300, u"Far"}}))
        << Bits;
    EXPECT_EQ(Package.NextId, 301u);
    EXPECT_EQ(Package.FontBlocks.size(), Font ? 1u : 0u);
    EXPECT_EQ(Package.Entries[300].FontId, Font ? std::optional<UINT8>(7) : std::nullopt);
  }
}

TEST(StringPackageTest, HandMadeBlocksOfEveryType) {
  ByteVector FontBlock = Join({Hex("31 40 0F00 05 1300 00000000"), Ucs2Z(u"f")});
  StringPackageBytes Bytes;
  Bytes.Padding = 1; // 53-byte header: every block starts at an odd offset
  Bytes.Blocks = Join({
      FontBlock,
      Hex("30 77 04 EE"),       // EXT1 of an unknown type, 4 bytes
      Hex("32 78 07000000 EE"), // EXT4 of an unknown type, 7 bytes
      Hex("14"),
      Ucs2Z(u"one"), // 1
      Hex("15 05"),
      Ucs2Z(u"two"), // 2, font 5
      Hex("16 0200"),
      Ucs2Z(u"three"),
      Ucs2Z(u""), // 3, 4
      Hex("17 05 0100"),
      Ucs2Z(u"five"), // 5, font 5
      Hex("10"),
      AsciiZ("six"), // 6
      Hex("11 05"),
      AsciiZ("seven"), // 7, font 5
      Hex("12 0200"),
      AsciiZ("eight"),
      Hex("12 9F 00"),                // 8, 9
      Hex("13 05 0100 0F 0074 0000"), // 10, font 5, in unicode mode
      Hex("22 03"),                   // 11..13 skipped
      Hex("20 0200"),                 // 14 = 2
      Hex("21 0001"),                 // 15..270 skipped
      Hex("20 0C00"),                 // 271: duplicate of a skipped id
      Hex("14"),
      Ucs2Z(u"last"), // 272
      Hex("00"),
  });
  StringPackage Package = Read(Bytes.Bytes());
  EXPECT_EQ(TextsOf(Package), (Texts{{1, u"one"},
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
  for (EFI_STRING_ID Id : {2, 5, 7, 10, 14}) {
    EXPECT_EQ(Package.Entries[Id].FontId, std::optional<UINT8>(5)) << Id;
  }
  EXPECT_EQ(Package.Entries[1].FontId, std::nullopt);
  EXPECT_EQ(Package.FontBlocks, std::vector<ByteVector>{FontBlock});
}

TEST(StringPackageTest, HeaderSizesAndLanguages) {
  for (const auto &[Language, Padding] : std::vector<std::pair<std::string, uint32_t>>{
           {"en-US", 0}, {"en-US", 1}, {"en-US", 5}, {"x-UEFI-abc", 3}, {"fr-FR;fr-CA", 0}}) {
    StringPackageBytes Bytes;
    Bytes.Language = Language;
    Bytes.Padding = Padding;
    Bytes.LanguageName = 0x0102;
    Bytes.Blocks = Join({Hex("14"), Ucs2Z(u"x"), Hex("00")});
    StringPackage Package = Read(Bytes.Bytes());
    EXPECT_EQ(Package.Language, Language);
    EXPECT_EQ(Package.LanguageName, 0x0102);
    EXPECT_EQ(TextsOf(Package), (Texts{{1, u"x"}}));
  }
  EXPECT_EQ(host::PrimaryLanguage("fr-FR;fr-CA"), "fr-FR");
  EXPECT_TRUE(host::SameLanguage("en-us", "EN-US"));
  EXPECT_FALSE(host::SameLanguage("en", "en-US"));
  EXPECT_TRUE(host::IsKeywordNamespace("x-UEFI-ns"));
  EXPECT_FALSE(host::IsKeywordNamespace("x-UEF"));
}

TEST(StringPackageTest, MalformedPackagesAreRefused) {
  auto With = [](auto Change) {
    StringPackageBytes Bytes;
    Change(Bytes);
    return Bytes.Bytes();
  };
  const ByteVector Plain = StringPackageBytes().Bytes();
  struct BadCase {
    const char *Name;
    ByteVector Bytes;
  };
  const BadCase CASES[] = {
      {"empty", {}},
      {"shorter than the fixed header", ByteVector(Plain.begin(), Plain.begin() + 45)},
      {"not a string package", With([](auto &P) { P.Type = 0x02; })},
      {"length beyond the buffer", With([](auto &P) { P.LengthField = 60; })},
      {"header beyond the package", With([](auto &P) { P.HeaderSizeField = 54; })},
      // The language's NUL lies outside the header.
      {"language outside the header",
       With([](auto &P) { P.HeaderSizeField = 51, P.StringInfoOffsetField = 52; })},
      {"blocks inside the header", With([](auto &P) { P.StringInfoOffsetField = 51; })},
      {"blocks beyond the package", With([](auto &P) { P.StringInfoOffsetField = 54; })},
      {"no language", With([](auto &P) { P.Language = ""; })},
      {"no END", StringBlocks(Join({Hex("14"), Ucs2Z(u"x")}))},
      {"no blocks at all", StringBlocks({})},
      {"unterminated UCS-2", StringBlocks(Hex("14 7800"))},
      {"odd byte of UCS-2", StringBlocks(Hex("14 7800 00"))},
      {"unterminated SCSU", StringBlocks(Hex("10 78"))},
      {"reserved SCSU tag", StringBlocks(Hex("10 0C 00 00"))},
      {"run longer than its texts", StringBlocks(Join({Hex("16 0300"), Ucs2Z(u"a"), Hex("00")}))},
      {"font block without its font id", StringBlocks(Hex("15"))},
      {"run without its count", StringBlocks(Hex("16 01"))},
      {"cut duplicate", StringBlocks(Hex("20 01"))},
      {"cut skip1", StringBlocks(Hex("22"))},
      {"cut skip2", StringBlocks(Hex("21 01"))},
      {"ext1 shorter than its header", StringBlocks(Hex("30 77 02 00"))},
      {"ext2 beyond the package", StringBlocks(Hex("31 40 2800 00"))},
      {"ext4 of length zero", StringBlocks(Hex("32 77 00000000 00"))},
      {"ext4 length overflowing", StringBlocks(Hex("32 77 FFFFFFFF 00"))},
      {"unknown block type", StringBlocks(Hex("40 00"))},
      {"ids beyond 0xFFFF", StringBlocks(Join({Hex("21 FFFF 14"), Ucs2Z(u"x"), Hex("00")}))},
      {"skips beyond 0xFFFF", StringBlocks(Hex("21 FFFF 21 FFFF 00"))},
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
  Options.Scsu = Options.FontBlock = Options.UnknownExtBlocks = true;
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
  ByteVector Expected =
      Join({Le32((52 + 2 + 11 + 12 + 3 + 1) | 0x04000000), Le32(52), Le32(52), Le16(0x41),
            ByteVector(30, 0), Le16(3), AsciiZ("de-DE"), Hex("22 01 14"), Ucs2Z(u"Zwei"),
            Hex("15 04"), Ucs2Z(u"Drei"), Hex("21 2801 00")});
  ByteVector Written = host::WriteStringPackage(Package);
  EXPECT_EQ(Written, Expected);
  StringPackage Again = Read(Written);
  EXPECT_EQ(Again.NextId, 300u);
  EXPECT_EQ(TextsOf(Again), TextsOf(Package));
  EXPECT_EQ(Again.Entries[3].FontId, std::optional<UINT8>(4));
  EXPECT_EQ(Again.LanguageWindow, Package.LanguageWindow);
}

TEST(ScsuDecodeTest, DecodesEveryTag) {
  struct DecodeCase {
    const char *Name;
    ByteVector Bytes;
    std::u16string Text;
    size_t Consumed = 0; // zero: all of Bytes
  };
  const DecodeCase CASES[] = {
      {"ascii", {'H', 'i', '\t', '~', 0x7F, 0}, u"Hi\t~\u007f"},
      {"latin-1 through window 0", Hex("E9 00"), u"\u00e9"},
      {"change to window 2", Hex("12 9F 41 00"), u"\u041fA"},
      {"define window 1", Hex("19 07 91 00"), u"\u0391"},
      {"define a special offset", Hex("18 F9 80 00"), u"\u00c0"},
      {"define above the gap", Hex("18 68 80 00"), u"\ue000"},
      {"quote from a static window", Hex("02 41 78 00"), u"\u00c1x"},
      {"quote from a dynamic window", Hex("01 85 00"), u"\u0085"},
      {"quote a control character", Hex("01 05 00"), u"\u0005"},
      {"quote a unit", Hex("0E 20AC 00"), u"\u20ac"},
      {"quote leaves the window", Hex("12 0E 0041 80 00"), u"A\u0400"},
      {"unicode mode and back", Hex("0F 0041 3042 E0 43 00"), u"A\u3042C"},
      {"unicode mode ends on two zero bytes", Hex("0F 0041 0000"), u"A"},
      {"unicode mode quotes a tag byte", Hex("0F F0 E001 0000"), u"\ue001"},
      {"unicode mode defines a window", Hex("0F E9 07 91 00"), u"\u0391"},
      {"unicode mode defines an extended window", Hex("0F F1 0000 81 00"), u"\U00010001"},
      {"extended window", Hex("0B 2001 80 00"), u"\U00010080"},
      {"stops at the first NUL", Hex("41 00 42 00"), u"A", 2},
      {"empty", Hex("00"), u""},
  };
  for (const DecodeCase &Case : CASES) {
    size_t Consumed = 99;
    std::u16string Text = u"unchanged";
    ASSERT_EQ(host::ScsuDecode(Case.Bytes.data(), Case.Bytes.size(), &Consumed, &Text), EFI_SUCCESS)
        << Case.Name;
    EXPECT_EQ(Text, Case.Text) << Case.Name;
    EXPECT_EQ(Consumed, Case.Consumed != 0 ? Case.Consumed : Case.Bytes.size()) << Case.Name;
  }
}

TEST(ScsuDecodeTest, RefusesReservedAndTruncatedInput) {
  for (const char *Bytes : {
           "",           // nothing
           "41",         // no NUL
           "0C 00",      // reserved tag
           "18 00 00",   // reserved window selector
           "18 A8 00",   // reserved window selector
           "18 F8 00",   // reserved window selector
           "0F F2 0000", // reserved unicode-mode tag
           "01",         // quote without its byte
           "0E 20",      // unit quote cut short
           "18",         // define without its selector
           "0B 01",      // extended define cut short
           "0F 00",      // unicode unit cut short
           "0F 0041 00", // unicode mode lacks its two-byte NUL
       }) {
    ByteVector Input = Hex(Bytes);
    size_t Consumed = 99;
    std::u16string Text = u"unchanged";
    EXPECT_EQ(host::ScsuDecode(Input.data(), Input.size(), &Consumed, &Text), EFI_INVALID_PARAMETER)
        << Bytes;
    EXPECT_EQ(Consumed, 99u);
    EXPECT_EQ(Text, u"unchanged");
  }
}

} // namespace
} // namespace morvane::test
