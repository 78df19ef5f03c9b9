#include <gtest/gtest.h>

#include <vector>

#include "host/hii/scsu_decode.h"

using morvane::host::ScsuDecode;

namespace {

struct DecodeCase {
  const char *Name;
  std::vector<uint8_t> Bytes;
  std::u16string Text;
  size_t Consumed;
};

TEST(ScsuDecodeTest, DecodesEveryTag) {
  const DecodeCase CASES[] = {
      {"ascii", {'H', 'i', '\t', '~', 0x7F, 0}, u"Hi\t~\u007f", 6},
      {"latin-1 through window 0", {0xE9, 0}, u"\u00e9", 2},
      {"change to window 2", {0x12, 0x9F, 0x41, 0}, u"\u041fA", 4},
      {"define window 1", {0x19, 0x07, 0x91, 0}, u"\u0391", 4},
      {"define a special offset", {0x18, 0xF9, 0x80, 0}, u"\u00c0", 4},
      {"define above the gap", {0x18, 0x68, 0x80, 0}, u"\ue000", 4},
      {"quote from a static window", {0x02, 0x41, 'x', 0}, u"\u00c1x", 4},
      {"quote from a dynamic window", {0x01, 0x85, 0}, u"\u0085", 3},
      {"quote a control character", {0x01, 0x05, 0}, u"\u0005", 3},
      {"quote a unit", {0x0E, 0x20, 0xAC, 0}, u"\u20ac", 4},
      {"quote leaves the window", {0x12, 0x0E, 0x00, 0x41, 0x80, 0}, u"A\u0400", 6},
      {"unicode mode and back", {0x0F, 0x00, 0x41, 0x30, 0x42, 0xE0, 0x43, 0}, u"A\u3042C", 8},
      {"unicode mode ends on two zero bytes", {0x0F, 0x00, 0x41, 0x00, 0x00}, u"A", 5},
      {"unicode mode quotes a tag byte", {0x0F, 0xF0, 0xE0, 0x01, 0x00, 0x00}, u"\ue001", 6},
      {"unicode mode defines a window", {0x0F, 0xE9, 0x07, 0x91, 0}, u"\u0391", 5},
      {"unicode mode defines an extended window",
       {0x0F, 0xF1, 0x00, 0x00, 0x81, 0},
       u"\U00010001",
       6},
      {"extended window", {0x0B, 0x20, 0x01, 0x80, 0}, u"\U00010080", 5},
      {"stops at the first NUL", {'A', 0, 'B', 0}, u"A", 2},
      {"empty", {0}, u"", 1},
  };
  for (const DecodeCase &Case : CASES) {
    size_t Consumed = 99;
    std::u16string Text = u"unchanged";
    ASSERT_EQ(ScsuDecode(Case.Bytes.data(), Case.Bytes.size(), &Consumed, &Text), EFI_SUCCESS)
        << Case.Name;
    EXPECT_EQ(Text, Case.Text) << Case.Name;
    EXPECT_EQ(Consumed, Case.Consumed) << Case.Name;
  }
}

TEST(ScsuDecodeTest, RefusesReservedAndTruncatedInput) {
  const std::vector<std::vector<uint8_t>> CASES = {
      {},                       // nothing
      {'A'},                    // no NUL
      {0x0C, 0},                // reserved tag
      {0x18, 0x00, 0},          // reserved window selector
      {0x18, 0xA8, 0},          // reserved window selector
      {0x18, 0xF8, 0},          // reserved window selector
      {0x0F, 0xF2, 0, 0},       // reserved unicode-mode tag
      {0x01},                   // quote without its byte
      {0x0E, 0x20},             // unit quote cut short
      {0x18},                   // define without its selector
      {0x0B, 0x01},             // extended define cut short
      {0x0F, 0x00},             // unicode unit cut short
      {0x0F, 0x00, 0x41, 0x00}, // unicode mode lacks its two-byte NUL
  };
  for (const std::vector<uint8_t> &Bytes : CASES) {
    size_t Consumed = 99;
    std::u16string Text = u"unchanged";
    EXPECT_EQ(ScsuDecode(Bytes.data(), Bytes.size(), &Consumed, &Text), EFI_INVALID_PARAMETER)
        << ::testing::PrintToString(Bytes);
    EXPECT_EQ(Consumed, 99u);
    EXPECT_EQ(Text, u"unchanged");
  }
}

} // namespace
