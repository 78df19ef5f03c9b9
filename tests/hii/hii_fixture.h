// A fresh set of HII services on fresh boot services for every test, with helpers for the
// calls most tests make. Each test ends with no pool left outstanding.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/hii/hii_services.h"
#include "tests/hii/fake_boot_services.h"

namespace morvane::test {

class HiiTest : public ::testing::Test {
protected:
  void TearDown() override { EXPECT_EQ(Boot.OutstandingPool(), 0u); }

  EFI_STATUS AddList(const std::vector<uint8_t> &List, EFI_HII_HANDLE *Handle,
                     EFI_HANDLE Driver = nullptr) {
    return Database->NewPackageList(
        Database, reinterpret_cast<const EFI_HII_PACKAGE_LIST_HEADER *>(List.data()), Driver,
        Handle);
  }

  EFI_HII_HANDLE Add(const std::vector<uint8_t> &List, EFI_HANDLE Driver = nullptr) {
    EFI_HII_HANDLE Handle = nullptr;
    EXPECT_EQ(AddList(List, &Handle, Driver), EFI_SUCCESS);
    return Handle;
  }

  // The export of one list (or all with null), through the two-call idiom.
  std::vector<uint8_t> Export(EFI_HII_HANDLE Handle) {
    UINTN Size = 0;
    EXPECT_EQ(Database->ExportPackageLists(Database, Handle, &Size, nullptr), EFI_BUFFER_TOO_SMALL);
    std::vector<uint8_t> Buffer(Size);
    EXPECT_EQ(Database->ExportPackageLists(
                  Database, Handle, &Size,
                  reinterpret_cast<EFI_HII_PACKAGE_LIST_HEADER *>(Buffer.data())),
              EFI_SUCCESS);
    return Buffer;
  }

  // A string through the two-call idiom; Status gets the first failing status.
  std::u16string Get(EFI_HII_HANDLE Handle, const char *Language, EFI_STRING_ID Id,
                     EFI_STATUS *Status = nullptr) {
    UINTN Size = 0;
    EFI_STATUS First =
        HiiString->GetString(HiiString, Language, Handle, Id, nullptr, &Size, nullptr);
    if (First != EFI_BUFFER_TOO_SMALL) {
      if (Status != nullptr) {
        *Status = First;
      } else {
        ADD_FAILURE() << "GetString " << Id << " in " << Language << ": " << std::hex << First;
      }
      return u"";
    }
    std::u16string Text(Size / 2, u'?');
    EFI_STATUS Second =
        HiiString->GetString(HiiString, Language, Handle, Id, Text.data(), &Size, nullptr);
    EXPECT_EQ(Second, EFI_SUCCESS);
    if (Status != nullptr) {
      *Status = Second;
    }
    Text.resize(Size / 2 - 1);
    return Text;
  }

  FakeBootServices Boot;
  host::HiiServices Services{Boot.Table()};
  EFI_HII_DATABASE_PROTOCOL *Database = Services.Database();
  EFI_HII_STRING_PROTOCOL *HiiString = Services.String();
  EFI_HII_CONFIG_ROUTING_PROTOCOL *Routing = Services.ConfigRouting();
};

} // namespace morvane::test
