// Configuration strings: header parsing, block to text and back, and alternative sections; every
// refusal names the element at fault through its progress.
#include <gtest/gtest.h>

#include <vector>

#include "host/hii/config_string.h"

namespace morvane::host {
namespace {

const std::u16string HEADER = u"GUID=00112233445566778899aabbccddeeff&NAME=0053&PATH=7fff0400";

TEST(ConfigStringTest, HeaderFields) {
  ConfigHeader Header; // views into the text
  const std::u16string Text = HEADER + u"&OFFSET=0";
  ASSERT_TRUE(ParseConfigHeader(Text, 0, &Header));
  EXPECT_EQ(Header.Guid, u"00112233445566778899aabbccddeeff");
  EXPECT_EQ(Header.Name, u"0053");
  EXPECT_EQ(Header.Path, u"7fff0400");
  EXPECT_EQ(Header.End, HEADER.size());
  for (const char16_t *Bad : {
           u"",
           u"GUID=0011&NAME=0053&PATH=7fff0400",
           u"GUID=00112233445566778899aabbccddeeff&PATH=7fff0400",
           u"GUID=00112233445566778899aabbccddeeff&NAME=0053&PATH=7fff040",
           u"GUID=00112233445566778899aabbccddeefg&NAME=0053&PATH=7fff0400",
           u"GUID=00112233445566778899aabbccddeeff&NAME=0053&PATH=",
           u"NAME=0053&GUID=00112233445566778899aabbccddeeff&PATH=7fff0400",
       }) {
    EXPECT_FALSE(ParseConfigHeader(Bad, 0, &Header)) << std::string(Bad, Bad + 20);
  }
  // The name as plain text, as browsers send it, and no name at all, as for name-value storage.
  ASSERT_TRUE(ParseConfigHeader(u"GUID=00112233445566778899aabbccddeeff&NAME=Setup&PATH=7fff0400",
                                0, &Header));
  EXPECT_EQ(Header.Name, u"Setup");
  ASSERT_TRUE(
      ParseConfigHeader(u"GUID=00112233445566778899aabbccddeeff&NAME=&PATH=7fff0400", 0, &Header));
  EXPECT_EQ(Header.Name, u"");
}

TEST(ConfigStringTest, BlockToConfigWritesValuesLastByteFirst) {
  const std::vector<uint8_t> BLOCK = {0x01, 0xAB, 0x00, 0xFF, 0x10, 0x20, 0x30, 0x40};
  std::u16string Config;
  size_t Progress = 99;
  // Leading zeros in the numbers are fine.
  std::u16string Request = HEADER + u"&OFFSET=0&WIDTH=2&OFFSET=3&WIDTH=4&OFFSET=0007&WIDTH=01";
  ASSERT_EQ(BlockToConfigText(Request, BLOCK.data(), BLOCK.size(), &Config, &Progress),
            EFI_SUCCESS);
  EXPECT_EQ(Config, HEADER + u"&OFFSET=0&WIDTH=2&VALUE=ab01&OFFSET=3&WIDTH=4&VALUE=302010ff"
                             u"&OFFSET=0007&WIDTH=01&VALUE=40");
  EXPECT_EQ(Progress, Request.size());
  // A header alone asks for nothing and gets the header back.
  ASSERT_EQ(BlockToConfigText(HEADER, BLOCK.data(), BLOCK.size(), &Config, &Progress), EFI_SUCCESS);
  EXPECT_EQ(Config, HEADER);
}

TEST(ConfigStringTest, BlockToConfigProgressPointsAtTheBadElement) {
  const std::vector<uint8_t> BLOCK(8, 0);
  const std::u16string GOOD = u"&OFFSET=0&WIDTH=1";
  const size_t AFTER_GOOD = HEADER.size() + GOOD.size();
  struct ProgressCase {
    const char *Name;
    std::u16string Request;
    size_t Progress;
  };
  const ProgressCase CASES[] = {
      {"bad header", u"GUID=1" + GOOD, 0},
      {"zero width", HEADER + GOOD + u"&OFFSET=1&WIDTH=0", AFTER_GOOD},
      {"one past the block", HEADER + GOOD + u"&OFFSET=7&WIDTH=2", AFTER_GOOD},
      {"offset past the block", HEADER + u"&OFFSET=8&WIDTH=1", HEADER.size()},
      {"no width", HEADER + u"&OFFSET=1" + GOOD, HEADER.size()},
      {"not hex", HEADER + GOOD + u"&OFFSET=1x&WIDTH=1", AFTER_GOOD},
      {"empty number", HEADER + u"&OFFSET=&WIDTH=1", HEADER.size()},
      {"unknown element", HEADER + GOOD + u"&LABEL=1", AFTER_GOOD},
      {"a second configuration", HEADER + GOOD + u"&" + HEADER, AFTER_GOOD},
      {"value already there", HEADER + GOOD + u"&VALUE=00", AFTER_GOOD},
      {"offset overflowing", HEADER + u"&OFFSET=10000000000000000&WIDTH=1", HEADER.size()},
      {"width wrapping", HEADER + u"&OFFSET=1&WIDTH=ffffffffffffffff", HEADER.size()},
  };
  for (const ProgressCase &Case : CASES) {
    std::u16string Config = u"unchanged";
    size_t Progress = 99;
    EXPECT_EQ(BlockToConfigText(Case.Request, BLOCK.data(), BLOCK.size(), &Config, &Progress),
              EFI_INVALID_PARAMETER)
        << Case.Name;
    EXPECT_EQ(Progress, Case.Progress) << Case.Name;
    EXPECT_EQ(Config, u"unchanged") << Case.Name;
  }
}

TEST(ConfigStringTest, ConfigToBlockWritesEachElementAndStopsAtTheNextConfiguration) {
  std::vector<uint8_t> Block(8, 0xEE);
  size_t Size = Block.size();
  size_t Progress = 99;
  const std::u16string Elements =
      u"&OFFSET=0&WIDTH=2&VALUE=AB01&OFFSET=3&WIDTH=4&VALUE=3020f&OFFSET=2&WIDTH=1&VALUE=7";
  ASSERT_EQ(ConfigToBlockBytes(HEADER + Elements, Block.data(), &Size, &Progress), EFI_SUCCESS);
  EXPECT_EQ(Block, (std::vector<uint8_t>{0x01, 0xAB, 0x07, 0x0F, 0x02, 0x03, 0x00, 0xEE}));
  EXPECT_EQ(Size, 6u); // the largest index written
  EXPECT_EQ(Progress, HEADER.size() + Elements.size());
  // What a browser hands on after cutting a driver's reply at its alternative configurations.
  for (const std::u16string &Tail : {std::u16string(u"&"), u"&" + HEADER + u"&",
                                     u"&" + HEADER + u"&ALTCFG=0000&OFFSET=0&WIDTH=1&VALUE=00"}) {
    Size = 1;
    ASSERT_EQ(ConfigToBlockBytes(HEADER + u"&OFFSET=0&WIDTH=1&VALUE=2a" + Tail, Block.data(), &Size,
                                 &Progress),
              EFI_SUCCESS);
    EXPECT_EQ(Block[0], 0x2A);
    EXPECT_EQ(Progress, HEADER.size() + 26);
  }
}

TEST(ConfigStringTest, ConfigToBlockTwoCallIdiomAndRefusals) {
  std::u16string Response = HEADER + u"&OFFSET=2&WIDTH=2&VALUE=0102&OFFSET=6&WIDTH=4&VALUE=1";
  std::vector<uint8_t> Block(6, 0xEE);
  size_t Size = Block.size();
  size_t Progress = 99;
  EXPECT_EQ(ConfigToBlockBytes(Response, Block.data(), &Size, &Progress), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Size, 10u);
  EXPECT_EQ(Progress, HEADER.size() + 28);
  EXPECT_EQ(Block, std::vector<uint8_t>(6, 0xEE));
  Size = 0;
  EXPECT_EQ(ConfigToBlockBytes(Response, nullptr, &Size, &Progress), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Size, 10u);

  const std::u16string GOOD = u"&OFFSET=0&WIDTH=1&VALUE=ff";
  struct RefusalCase {
    const char *Name;
    std::u16string Response;
    size_t Progress;
  };
  const RefusalCase CASES[] = {
      {"bad header", u"GUID=&NAME=&PATH=" + GOOD, 0},
      {"value longer than its width", HEADER + GOOD + u"&OFFSET=1&WIDTH=1&VALUE=100",
       HEADER.size() + GOOD.size()},
      {"no value", HEADER + GOOD + u"&OFFSET=1&WIDTH=1", HEADER.size() + GOOD.size()},
      {"empty value", HEADER + u"&OFFSET=1&WIDTH=1&VALUE=", HEADER.size()},
      {"value not hex", HEADER + u"&OFFSET=1&WIDTH=1&VALUE=0g", HEADER.size()},
      {"zero width", HEADER + u"&OFFSET=1&WIDTH=0&VALUE=0", HEADER.size()},
      {"elements out of order", HEADER + u"&WIDTH=1&OFFSET=0&VALUE=0", HEADER.size()},
  };
  for (const RefusalCase &Case : CASES) {
    std::vector<uint8_t> Target(4, 0xEE);
    Size = Target.size();
    EXPECT_EQ(ConfigToBlockBytes(Case.Response, Target.data(), &Size, &Progress),
              EFI_INVALID_PARAMETER)
        << Case.Name;
    EXPECT_EQ(Progress, Case.Progress) << Case.Name;
    EXPECT_EQ(Target, std::vector<uint8_t>(4, 0xEE)) << Case.Name;
  }
}

TEST(ConfigStringTest, AltConfigFindsTheSectionOfItsId) {
  const std::u16string OTHER = u"GUID=ffeeddccbbaa99887766554433221100&NAME=0053&PATH=7fff0400";
  std::u16string Response = HEADER + u"&OFFSET=0&WIDTH=1&VALUE=05&" + HEADER +
                            u"&ALTCFG=0000&OFFSET=0&WIDTH=1&VALUE=00&" + HEADER +
                            u"&ALTCFG=0001&OFFSET=0&WIDTH=1&VALUE=01&" + OTHER +
                            u"&ALTCFG=0001&OFFSET=0&WIDTH=1&VALUE=0a";
  std::u16string Guid = u"00112233445566778899AABBCCDDEEFF";
  std::u16string OtherGuid = u"ffeeddccbbaa99887766554433221100";
  std::u16string Name = u"0053";
  std::u16string OtherName = u"0054";
  std::u16string Path = u"7fff0400";
  std::u16string Result;
  ASSERT_EQ(AltConfigText(Response, &Guid, &Name, &Path, 1, &Result), EFI_SUCCESS);
  EXPECT_EQ(Result, HEADER + u"&OFFSET=0&WIDTH=1&VALUE=01");
  ASSERT_EQ(AltConfigText(Response, &Guid, &Name, &Path, 0, &Result), EFI_SUCCESS);
  EXPECT_EQ(Result, HEADER + u"&OFFSET=0&WIDTH=1&VALUE=00");
  ASSERT_EQ(AltConfigText(Response, &Guid, nullptr, nullptr, std::nullopt, &Result), EFI_SUCCESS);
  EXPECT_EQ(Result, HEADER + u"&OFFSET=0&WIDTH=1&VALUE=05");
  ASSERT_EQ(AltConfigText(Response, &OtherGuid, &Name, &Path, 1, &Result), EFI_SUCCESS);
  EXPECT_EQ(Result, OTHER + u"&OFFSET=0&WIDTH=1&VALUE=0a");
  EXPECT_EQ(AltConfigText(Response, &Guid, &Name, &Path, 2, &Result), EFI_NOT_FOUND);
  EXPECT_EQ(AltConfigText(Response, &OtherGuid, &Name, &Path, std::nullopt, &Result),
            EFI_NOT_FOUND);
  EXPECT_EQ(AltConfigText(Response, &Guid, &OtherName, &Path, 1, &Result), EFI_NOT_FOUND);
  EXPECT_EQ(AltConfigText(u"GUID=1", &Guid, &Name, &Path, 1, &Result), EFI_INVALID_PARAMETER);
}

} // namespace
} // namespace morvane::host
