// A fresh hosted platform with fresh HII services for every test, helpers for the calls most
// tests make, and hand assembly of string packages. Each test ends with the pool as it began.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "host/hii/hii_services.h"
#include "host/platform.h"
#include "tests/common/bytes.h"

namespace morvane::test {

// "14 6f00" -> 14 6F 00: bytes written as hex pairs, spaces ignored.
inline ByteVector Hex(const char *Text) {
  ByteVector Out;
  for (; *Text != 0; Text++) {
    if (*Text != ' ') {
      Out.push_back(static_cast<uint8_t>(std::stoi(std::string(Text, 2), nullptr, 16)));
      Text++;
    }
  }
  return Out;
}

inline ByteVector GuidBytes(const EFI_GUID &Guid) {
  ByteVector Out(16);
  std::memcpy(Out.data(), &Guid, 16);
  return Out;
}

// The two-call idiom of Fetch(Size, Buffer): a null buffer learns the size, one byte short is
// refused with the size and leaves the buffer alone, the exact size succeeds. Returns the bytes.
// A sizing call that fails otherwise stores its status in *Status, or fails the test.
template <typename SizeType = UINTN, typename Call>
ByteVector TwoCalls(Call Fetch, EFI_STATUS *Status = nullptr) {
  SizeType Size = 0;
  EFI_STATUS First = Fetch(&Size, nullptr);
  if (Status != nullptr) {
    *Status = First == EFI_BUFFER_TOO_SMALL ? EFI_SUCCESS : First;
  } else if (First != EFI_BUFFER_TOO_SMALL || Size == 0) {
    ADD_FAILURE() << "sizing call: " << std::hex << First;
  }
  if (First != EFI_BUFFER_TOO_SMALL || Size == 0) {
    return {};
  }
  ByteVector Buffer(Size, 0xEE);
  SizeType Short = Size - 1;
  EXPECT_EQ(Fetch(&Short, Buffer.data()), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Short, Size);
  EXPECT_EQ(Buffer, ByteVector(Size, 0xEE));
  EXPECT_EQ(Fetch(&Size, Buffer.data()), EFI_SUCCESS);
  Buffer.resize(Size);
  return Buffer;
}

// A string package: header with Language and Padding zero bytes inside HdrSize, then Blocks.
// The header's fields can be overridden (nonzero) to make it inconsistent.
struct StringPackageBytes {
  std::string Language = "en-US";
  uint32_t Padding = 0;
  uint16_t LanguageName = 0;
  ByteVector Blocks = {0x00};
  uint32_t HeaderSizeField = 0;
  uint32_t StringInfoOffsetField = 0;
  uint32_t LengthField = 0;
  uint8_t Type = EFI_HII_PACKAGE_STRINGS;

  ByteVector Bytes() const {
    uint32_t HeaderSize = static_cast<uint32_t>(46 + Language.size() + 1 + Padding);
    uint32_t Length = LengthField != 0 ? LengthField : HeaderSize + Blocks.size();
    return Join({Le32((Length & 0xFFFFFF) | (static_cast<uint32_t>(Type) << 24)),
                 Le32(HeaderSizeField != 0 ? HeaderSizeField : HeaderSize),
                 Le32(StringInfoOffsetField != 0 ? StringInfoOffsetField : HeaderSize),
                 ByteVector(32, 0), Le16(LanguageName), AsciiZ(Language), ByteVector(Padding, 0),
                 Blocks});
  }
};

inline ByteVector StringBlocks(const ByteVector &Blocks) {
  StringPackageBytes Package;
  Package.Blocks = Blocks;
  return Package.Bytes();
}

class HiiTest : public ::testing::Test {
protected:
  void TearDown() override {
    EXPECT_EQ(Host.Pool().Snapshot(), Start);
    EXPECT_EQ(Host.Pool().BadFrees(), 0u);
  }

  EFI_STATUS AddList(const ByteVector &List, EFI_HII_HANDLE *Handle, EFI_HANDLE Driver = nullptr) {
    return Database->NewPackageList(
        Database, reinterpret_cast<const EFI_HII_PACKAGE_LIST_HEADER *>(List.data()), Driver,
        Handle);
  }

  EFI_HII_HANDLE Add(const ByteVector &List, EFI_HANDLE Driver = nullptr) {
    EFI_HII_HANDLE Handle = nullptr;
    EXPECT_EQ(AddList(List, &Handle, Driver), EFI_SUCCESS);
    return Handle;
  }

  // The export of one list, or of all with null.
  ByteVector Export(EFI_HII_HANDLE Handle) {
    return TwoCalls([&](UINTN *Size, void *Buffer) {
      return Database->ExportPackageLists(Database, Handle, Size,
                                          static_cast<EFI_HII_PACKAGE_LIST_HEADER *>(Buffer));
    });
  }

  // A string's text; Status, when given, gets the failure instead of the test.
  std::u16string Get(EFI_HII_HANDLE Handle, const char *Language, EFI_STRING_ID Id,
                     EFI_STATUS *Status = nullptr) {
    ByteVector Bytes = TwoCalls(
        [&](UINTN *Size, void *Buffer) {
          return HiiString->GetString(HiiString, Language, Handle, Id,
                                      static_cast<EFI_STRING>(Buffer), Size, nullptr);
        },
        Status);
    std::u16string Text((Bytes.size() + 1) / 2, u'?');
    std::copy(Bytes.begin(), Bytes.end(), reinterpret_cast<uint8_t *>(Text.data()));
    EXPECT_TRUE(Bytes.empty() || Text.back() == 0);
    return Bytes.empty() ? u"" : Text.substr(0, Text.size() - 1);
  }

  std::string Languages(EFI_HII_HANDLE Handle) {
    ByteVector Bytes = TwoCalls([&](UINTN *Size, void *Buffer) {
      return HiiString->GetLanguages(HiiString, Handle, static_cast<CHAR8 *>(Buffer), Size);
    });
    EXPECT_TRUE(!Bytes.empty() && Bytes.back() == 0);
    return Bytes.empty() ? "" : std::string(Bytes.begin(), Bytes.end() - 1);
  }

  // The text of a pool string, which is freed.
  std::u16string Take(EFI_STRING Text) {
    std::u16string Copy(Text);
    EXPECT_EQ(Boot->FreePool(Text), EFI_SUCCESS);
    return Copy;
  }

  host::Platform Host;
  EFI_BOOT_SERVICES *Boot = Host.BootServices();
  host::HiiServices Services{Boot};
  EFI_HII_DATABASE_PROTOCOL *Database = Services.Database();
  EFI_HII_STRING_PROTOCOL *HiiString = Services.String();
  EFI_HII_CONFIG_ROUTING_PROTOCOL *Routing = Services.ConfigRouting();
  host::PoolSnapshot Start = Host.Pool().Snapshot();
};

} // namespace morvane::test
