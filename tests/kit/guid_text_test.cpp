#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>

#include "host/kit/guid_text.h"

using morvane::kit::GuidText;
using morvane::kit::ParseGuid;
using morvane::kit::SameGuid;

namespace {

// Text in the published field order: the first three fields little-endian, the rest as written.
TEST(GuidTextTest, ParsesAnyCaseAndPrintsLowerCase) {
  EFI_GUID Guid = ParseGuid("8BE4DF61-93ca-11d2-aa0d-00e098032b8c");
  const uint8_t EXPECTED[16] = {0x61, 0xdf, 0xe4, 0x8b, 0xca, 0x93, 0xd2, 0x11,
                                0xaa, 0x0d, 0x00, 0xe0, 0x98, 0x03, 0x2b, 0x8c};
  EXPECT_EQ(std::memcmp(&Guid, EXPECTED, 16), 0);
  EXPECT_TRUE(SameGuid(Guid, gEfiGlobalVariableGuid));
  EXPECT_EQ(GuidText(Guid), "8be4df61-93ca-11d2-aa0d-00e098032b8c");
}

TEST(GuidTextTest, SameGuidComparesEveryField) {
  EFI_GUID Base = ParseGuid("00000000-0000-0000-0000-000000000000");
  for (const char *Text :
       {"00000001-0000-0000-0000-000000000000", "00000000-0001-0000-0000-000000000000",
        "00000000-0000-0001-0000-000000000000", "00000000-0000-0000-0100-000000000000",
        "00000000-0000-0000-0000-000000000001"}) {
    EXPECT_FALSE(SameGuid(Base, ParseGuid(Text))) << Text;
  }
}

TEST(GuidTextTest, RefusesMalformedText) {
  for (const char *Text : {"", "8be4df61-93ca-11d2-aa0d-00e098032b8", // one digit short
                           "8be4df61-93ca-11d2-aa0d-00e098032b8c0",   // one digit over
                           "8be4df6193ca-11d2-aa0d-00e098032b8c0",    // dash missing
                           "8be4df6-193ca-11d2-aa0d-00e098032b8c",    // dash moved
                           "8be4dg61-93ca-11d2-aa0d-00e098032b8c",    // not hex
                           "8be4df61-93ca-11d2-aa0d-00e098032b8 "}) {
    EXPECT_THROW(ParseGuid(Text), std::invalid_argument) << Text;
  }
}

} // namespace
