// Mutated and truncated inputs for every parser of untrusted bytes. Each case must end in a
// clear status; the sanitizers catch any read outside the input. Seeds are fixed so a failure
// repeats.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "host/hii/config_string.h"
#include "host/hii/scsu_decode.h"
#include "host/kit/kit.h"
#include "tests/hii/hii_fixture.h"

namespace morvane::test {
namespace {

using kit::IfrWriter;
using kit::PackageListBuilder;
using kit::ParseGuid;
using kit::StringPackageOptions;
using kit::Strings;

constexpr size_t LIST_LENGTH_OFFSET = 16;

std::vector<uint8_t> RichList() {
  Strings Table;
  Table.Add(u"Alpha");
  Table.Add(u"Beta \u00e9");
  Table.Add(u"Alpha");
  Table.Translate("fr-FR", 2, u"B\u00eata");
  Table.Translate("x-UEFI-ns", 3, u"Key");
  StringPackageOptions Rich;
  Rich.Scsu = Rich.Runs = Rich.Duplicates = Rich.FontBlock = Rich.UnknownExtBlocks = true;
  Rich.FontId = 1;
  Rich.HeaderPadding = 3;
  IfrWriter Forms;
  Forms.FormSet(ParseGuid("01234567-89ab-cdef-0123-456789abcdef"), 1, 2, {}, true).End();
  return PackageListBuilder(ParseGuid("01234567-89ab-cdef-0123-456789abcdef"))
      .AddForms(Forms)
      .AddStrings(Table, {"en-US"}, Rich)
      .AddStrings(Table, {"fr-FR", "x-UEFI-ns"})
      .AddGuidPackage(ParseGuid("76543210-89ab-cdef-0123-456789abcdef"), {1, 2})
      .Bytes();
}

class MalformedInputTest : public HiiTest {
protected:
  // Adds the list; when it is taken, reads everything back and removes it.
  void Exercise(const std::vector<uint8_t> &List) {
    EFI_HII_HANDLE Handle = nullptr;
    EFI_STATUS Status = AddList(List, &Handle);
    if (Status != EFI_SUCCESS) {
      ASSERT_EQ(Status, EFI_INVALID_PARAMETER);
      return;
    }
    Export(Handle);
    for (const char *Language : {"en-US", "fr-FR", "x-UEFI-ns"}) {
      for (EFI_STRING_ID Id = 0; Id < 6; Id++) {
        EFI_STATUS Read = EFI_SUCCESS;
        Get(Handle, Language, Id, &Read);
        EXPECT_TRUE(Read == EFI_SUCCESS || Read == EFI_NOT_FOUND || Read == EFI_INVALID_LANGUAGE);
      }
    }
    EFI_STRING_ID Id = 0;
    EFI_STATUS Added =
        HiiString->NewString(HiiString, Handle, &Id, "en-US", u"en", u"new", nullptr);
    EXPECT_TRUE(Added == EFI_SUCCESS || Added == EFI_OUT_OF_RESOURCES);
    Export(Handle);
    EXPECT_EQ(Database->RemovePackageList(Database, Handle), EFI_SUCCESS);
  }
};

TEST_F(MalformedInputTest, MutatedListsNeverBreakTheDatabase) {
  const std::vector<uint8_t> Original = RichList();
  // Unmutated, the list is taken whole.
  EFI_HII_HANDLE Whole = Add(Original);
  EXPECT_EQ(Get(Whole, "en-US", 2), u"Beta \u00e9");
  EXPECT_EQ(Export(Whole), Original);
  EXPECT_EQ(Database->RemovePackageList(Database, Whole), EFI_SUCCESS);
  std::mt19937 Random(20240607);
  for (int Round = 0; Round < 1500; Round++) {
    std::vector<uint8_t> List = Original;
    int Flips = 1 + Random() % 4;
    for (int Flip = 0; Flip < Flips; Flip++) {
      size_t At = Random() % List.size();
      // The list length is the caller's promise of readable bytes; it stays true.
      if (At >= LIST_LENGTH_OFFSET && At < LIST_LENGTH_OFFSET + 4) {
        continue;
      }
      List[At] = static_cast<uint8_t>(Random() % 3 == 0 ? 0 : Random());
    }
    Exercise(List);
    if (HasFatalFailure()) {
      return;
    }
  }
  // Every list taken was removed again: an export of all lists is empty.
  UINTN Size = 0;
  EXPECT_EQ(Database->ExportPackageLists(Database, nullptr, &Size, nullptr), EFI_SUCCESS);
  EXPECT_EQ(Size, 0u);
}

TEST_F(MalformedInputTest, TruncatedListsAreRefused) {
  const std::vector<uint8_t> Original = RichList();
  for (size_t Size = 20; Size < Original.size(); Size++) {
    std::vector<uint8_t> List(Original.begin(), Original.begin() + Size);
    uint32_t Length = static_cast<uint32_t>(Size);
    std::memcpy(List.data() + LIST_LENGTH_OFFSET, &Length, 4);
    EFI_HII_HANDLE Handle = nullptr;
    EXPECT_EQ(AddList(List, &Handle), EFI_INVALID_PARAMETER) << Size;
  }
}

TEST(MalformedTextTest, ScsuOfRandomBytesEndsCleanly) {
  std::mt19937 Random(7);
  for (int Round = 0; Round < 3000; Round++) {
    std::vector<uint8_t> Bytes(Random() % 24);
    for (uint8_t &Byte : Bytes) {
      Byte = static_cast<uint8_t>(Random());
    }
    size_t Consumed = 0;
    std::u16string Text;
    EFI_STATUS Status = host::ScsuDecode(Bytes.data(), Bytes.size(), &Consumed, &Text);
    if (Status == EFI_SUCCESS) {
      EXPECT_LE(Consumed, Bytes.size());
    } else {
      EXPECT_EQ(Status, EFI_INVALID_PARAMETER);
    }
  }
}

TEST(MalformedTextTest, MutatedConfigStringsEndCleanly) {
  const std::u16string ORIGINAL =
      u"GUID=00112233445566778899aabbccddeeff&NAME=0053&PATH=7fff0400&OFFSET=1&WIDTH=2"
      u"&VALUE=abcd&GUID=00112233445566778899aabbccddeeff&NAME=0053&PATH=7fff0400&ALTCFG=0001"
      u"&OFFSET=3&WIDTH=1&VALUE=7";
  const char16_t ALPHABET[] = u"&=0123456789abcdefGUIDNAMEPATHOFSWVLCGX";
  std::mt19937 Random(99);
  std::vector<uint8_t> Block(8, 0);
  for (int Round = 0; Round < 3000; Round++) {
    std::u16string Text = ORIGINAL;
    for (int Edit = 0; Edit < 3; Edit++) {
      size_t At = Random() % Text.size();
      switch (Random() % 3) {
      case 0:
        Text[At] = ALPHABET[Random() % (sizeof(ALPHABET) / 2 - 1)];
        break;
      case 1:
        Text.erase(At, 1 + Random() % 6);
        break;
      default:
        Text.resize(At);
        break;
      }
      if (Text.empty()) {
        break;
      }
    }
    std::u16string Out;
    size_t Progress = 0;
    EFI_STATUS Status = host::BlockToConfigText(Text, Block.data(), Block.size(), &Out, &Progress);
    EXPECT_LE(Progress, Text.size());
    EXPECT_TRUE(Status == EFI_SUCCESS || Status == EFI_INVALID_PARAMETER);
    size_t Size = Block.size();
    Status = host::ConfigToBlockBytes(Text, Block.data(), &Size, &Progress);
    EXPECT_LE(Progress, Text.size());
    EXPECT_TRUE(Status == EFI_SUCCESS || Status == EFI_INVALID_PARAMETER ||
                Status == EFI_BUFFER_TOO_SMALL);
    Status = host::AltConfigText(Text, nullptr, nullptr, nullptr, 1, &Out);
    EXPECT_TRUE(Status == EFI_SUCCESS || Status == EFI_INVALID_PARAMETER ||
                Status == EFI_NOT_FOUND);
  }
}

} // namespace
} // namespace morvane::test
