#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <memory>

#include "host/hii/config_string.h"
#include "host/kit/guid_text.h"
#include "tests/hii/hii_fixture.h"

using morvane::kit::ParseGuid;
using morvane::test::HiiTest;

namespace {

// A driver with a vendor device path and the configuration access protocol, answering
// ExtractConfig with a fixed text and recording every request.
struct TestDriver {
  EFI_HII_CONFIG_ACCESS_PROTOCOL Access; // first: This leads back to the driver
  EFI_BOOT_SERVICES *Boot = nullptr;
  std::vector<uint8_t> Path;
  std::u16string Answer;
  EFI_STATUS Failure = EFI_SUCCESS;
  size_t FailureOffset = 0;
  std::vector<std::u16string> Requests;
  EFI_HANDLE Handle = nullptr;

  static EFI_STATUS EFIAPI Extract(const EFI_HII_CONFIG_ACCESS_PROTOCOL *This,
                                   const CHAR16 *Request, EFI_STRING *Progress,
                                   EFI_STRING *Results) {
    auto *Driver = const_cast<TestDriver *>(reinterpret_cast<const TestDriver *>(This));
    Driver->Requests.push_back(Request == nullptr ? u"<null>" : Request);
    if (EFI_ERROR(Driver->Failure)) {
      *Progress = const_cast<EFI_STRING>(Request + Driver->FailureOffset);
      return Driver->Failure;
    }
    VOID *Buffer = nullptr;
    size_t Size = (Driver->Answer.size() + 1) * sizeof(CHAR16);
    Driver->Boot->AllocatePool(EfiBootServicesData, Size, &Buffer);
    std::memcpy(Buffer, Driver->Answer.c_str(), Size);
    *Results = static_cast<EFI_STRING>(Buffer);
    if (Request != nullptr) {
      *Progress = const_cast<EFI_STRING>(Request + std::u16string_view(Request).size());
    }
    return EFI_SUCCESS;
  }

  static EFI_STATUS EFIAPI Route(const EFI_HII_CONFIG_ACCESS_PROTOCOL *This,
                                 const CHAR16 *Configuration, EFI_STRING *Progress) {
    auto *Driver = const_cast<TestDriver *>(reinterpret_cast<const TestDriver *>(This));
    Driver->Requests.push_back(Configuration);
    if (EFI_ERROR(Driver->Failure)) {
      *Progress = const_cast<EFI_STRING>(Configuration + Driver->FailureOffset);
      return Driver->Failure;
    }
    *Progress = const_cast<EFI_STRING>(Configuration + std::u16string_view(Configuration).size());
    return EFI_SUCCESS;
  }
};

std::vector<uint8_t> VendorPath(uint8_t Tag) {
  std::vector<uint8_t> Path = {HARDWARE_DEVICE_PATH, HW_VENDOR_DP, 20, 0};
  char Text[40];
  std::snprintf(Text, sizeof(Text), "5a5a5a5a-0000-1111-2222-3333444455%02x", Tag);
  EFI_GUID Guid = ParseGuid(Text);
  const uint8_t *Bytes = reinterpret_cast<const uint8_t *>(&Guid);
  Path.insert(Path.end(), Bytes, Bytes + 16);
  Path.insert(Path.end(), {END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE, 4, 0});
  return Path;
}

std::u16string Header(const std::vector<uint8_t> &Path, const char16_t *Name = u"0041") {
  return u"GUID=00112233445566778899aabbccddeeff&NAME=" + std::u16string(Name) + u"&PATH=" +
         morvane::host::BytesToHexPairs(Path.data(), Path.size());
}

class ConfigRoutingTest : public HiiTest {
protected:
  TestDriver &Install(uint8_t Tag, std::u16string Answer, bool WithPath = true) {
    auto Driver = std::make_unique<TestDriver>();
    Driver->Access = {TestDriver::Extract, TestDriver::Route, nullptr};
    Driver->Boot = Boot.Table();
    Driver->Path = VendorPath(Tag);
    Driver->Answer = std::move(Answer);
    if (WithPath) {
      EXPECT_EQ(Boot.Table()->InstallProtocolInterface(&Driver->Handle, &gEfiDevicePathProtocolGuid,
                                                       EFI_NATIVE_INTERFACE, Driver->Path.data()),
                EFI_SUCCESS);
    }
    EXPECT_EQ(Boot.Table()->InstallProtocolInterface(&Driver->Handle,
                                                     &gEfiHiiConfigAccessProtocolGuid,
                                                     EFI_NATIVE_INTERFACE, &Driver->Access),
              EFI_SUCCESS);
    Drivers.push_back(std::move(Driver));
    return *Drivers.back();
  }

  // The pool string's text, freed.
  std::u16string Take(EFI_STRING Text) {
    std::u16string Copy(Text);
    EXPECT_EQ(Boot.Table()->FreePool(Text), EFI_SUCCESS);
    return Copy;
  }

  std::vector<std::unique_ptr<TestDriver>> Drivers;
};

TEST_F(ConfigRoutingTest, ExtractConfigRoutesEachConfigurationToItsDriver) {
  TestDriver &First = Install(1, u"first answer");
  TestDriver &Second = Install(2, u"second answer");
  Install(3, u"never asked", false);
  std::u16string One = Header(First.Path) + u"&OFFSET=0&WIDTH=1";
  std::u16string Two = Header(Second.Path) + u"&OFFSET=2&WIDTH=2";
  std::u16string Request = Two + u"&" + One;
  EFI_STRING Progress = nullptr;
  EFI_STRING Results = nullptr;
  ASSERT_EQ(Routing->ExtractConfig(Routing, Request.c_str(), &Progress, &Results), EFI_SUCCESS);
  EXPECT_EQ(Progress, Request.c_str() + Request.size());
  EXPECT_EQ(Take(Results), u"second answer&first answer");
  EXPECT_EQ(First.Requests, std::vector<std::u16string>{One});
  EXPECT_EQ(Second.Requests, std::vector<std::u16string>{Two});
  EXPECT_TRUE(Drivers[2]->Requests.empty());
}

TEST_F(ConfigRoutingTest, PathDigitsMatchInEitherCase) {
  TestDriver &Driver = Install(1, u"answer");
  std::u16string Request = Header(Driver.Path);
  for (char16_t &Unit : Request) {
    if (Unit >= u'a' && Unit <= u'f') {
      Unit = static_cast<char16_t>(Unit - 0x20);
    }
  }
  EFI_STRING Progress = nullptr;
  EFI_STRING Results = nullptr;
  ASSERT_EQ(Routing->ExtractConfig(Routing, Request.c_str(), &Progress, &Results), EFI_SUCCESS);
  EXPECT_EQ(Take(Results), u"answer");
}

TEST_F(ConfigRoutingTest, MissingDriverStopsAtItsConfiguration) {
  TestDriver &First = Install(1, u"first");
  std::u16string One = Header(First.Path);
  std::u16string Missing = Header(VendorPath(9)) + u"&OFFSET=0&WIDTH=1";
  std::u16string Request = One + u"&" + Missing;
  EFI_STRING Progress = nullptr;
  EFI_STRING Results = reinterpret_cast<EFI_STRING>(0x1);
  EXPECT_EQ(Routing->ExtractConfig(Routing, Request.c_str(), &Progress, &Results), EFI_NOT_FOUND);
  EXPECT_EQ(Progress, Request.c_str() + One.size());
  EXPECT_EQ(Results, reinterpret_cast<EFI_STRING>(0x1));
  EXPECT_EQ(Routing->RouteConfig(Routing, Request.c_str(), &Progress), EFI_NOT_FOUND);
  EXPECT_EQ(Progress, Request.c_str() + One.size());

  std::u16string First_ = Missing + u"&" + One;
  EXPECT_EQ(Routing->ExtractConfig(Routing, First_.c_str(), &Progress, &Results), EFI_NOT_FOUND);
  EXPECT_EQ(Progress, First_.c_str());

  std::u16string Malformed = One + u"&GUID=12&NAME=&PATH=";
  EXPECT_EQ(Routing->ExtractConfig(Routing, Malformed.c_str(), &Progress, &Results),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Progress, Malformed.c_str() + One.size());
  EXPECT_EQ(Routing->ExtractConfig(Routing, nullptr, &Progress, &Results), EFI_INVALID_PARAMETER);
}

TEST_F(ConfigRoutingTest, DriverProgressIsMappedIntoTheRequest) {
  TestDriver &First = Install(1, u"first");
  TestDriver &Second = Install(2, u"second");
  Second.Failure = EFI_INVALID_PARAMETER;
  Second.FailureOffset = 7;
  std::u16string One = Header(First.Path);
  std::u16string Two = Header(Second.Path) + u"&OFFSET=0&WIDTH=1";
  std::u16string Request = One + u"&" + Two;
  EFI_STRING Progress = nullptr;
  EFI_STRING Results = nullptr;
  EXPECT_EQ(Routing->ExtractConfig(Routing, Request.c_str(), &Progress, &Results),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Progress, Request.c_str() + One.size() + 1 + 7);
  EXPECT_EQ(Routing->RouteConfig(Routing, Request.c_str(), &Progress), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Progress, Request.c_str() + One.size() + 1 + 7);
}

TEST_F(ConfigRoutingTest, RouteConfigSendsEachConfiguration) {
  TestDriver &First = Install(1, u"");
  TestDriver &Second = Install(2, u"");
  std::u16string One = Header(First.Path) + u"&OFFSET=0&WIDTH=1&VALUE=01";
  std::u16string Two = Header(Second.Path, u"00420043") + u"&OFFSET=0&WIDTH=1&VALUE=02";
  std::u16string Configuration = One + u"&" + Two;
  EFI_STRING Progress = nullptr;
  EXPECT_EQ(Routing->RouteConfig(Routing, Configuration.c_str(), &Progress), EFI_SUCCESS);
  EXPECT_EQ(Progress, Configuration.c_str() + Configuration.size());
  EXPECT_EQ(First.Requests, std::vector<std::u16string>{One});
  EXPECT_EQ(Second.Requests, std::vector<std::u16string>{Two});
  EXPECT_EQ(Routing->RouteConfig(Routing, Configuration.c_str(), nullptr), EFI_INVALID_PARAMETER);
}

TEST_F(ConfigRoutingTest, ExportConfigAsksEveryDriverForEverything) {
  EFI_STRING Results = nullptr;
  EXPECT_EQ(Routing->ExportConfig(Routing, &Results), EFI_NOT_FOUND);
  TestDriver &First = Install(1, u"all of one");
  TestDriver &Second = Install(2, u"all of two", false);
  ASSERT_EQ(Routing->ExportConfig(Routing, &Results), EFI_SUCCESS);
  EXPECT_EQ(Take(Results), u"all of one&all of two");
  EXPECT_EQ(First.Requests, std::vector<std::u16string>{u"<null>"});
  EXPECT_EQ(Second.Requests, std::vector<std::u16string>{u"<null>"});
}

TEST_F(ConfigRoutingTest, BlockConversionsThroughTheProtocol) {
  const UINT8 BLOCK[4] = {0x12, 0x34, 0x56, 0x78};
  std::u16string Request = Header(VendorPath(1)) + u"&OFFSET=1&WIDTH=3";
  EFI_STRING Config = nullptr;
  EFI_STRING Progress = nullptr;
  ASSERT_EQ(
      Routing->BlockToConfig(Routing, Request.c_str(), BLOCK, sizeof(BLOCK), &Config, &Progress),
      EFI_SUCCESS);
  EXPECT_EQ(Progress, Request.c_str() + Request.size());
  std::u16string Response = Take(Config);
  EXPECT_EQ(Response, Request + u"&VALUE=785634");

  std::u16string TooFar = Request + u"&OFFSET=3&WIDTH=2";
  EXPECT_EQ(
      Routing->BlockToConfig(Routing, TooFar.c_str(), BLOCK, sizeof(BLOCK), &Config, &Progress),
      EFI_INVALID_PARAMETER);
  EXPECT_EQ(Progress, TooFar.c_str() + Request.size());
  EXPECT_EQ(Routing->BlockToConfig(Routing, Request.c_str(), nullptr, 4, &Config, &Progress),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Progress, Request.c_str());

  UINT8 Back[4] = {0, 0, 0, 0};
  UINTN Size = 0;
  EXPECT_EQ(Routing->ConfigToBlock(Routing, Response.c_str(), nullptr, &Size, &Progress),
            EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Size, 4u);
  EXPECT_EQ(Routing->ConfigToBlock(Routing, Response.c_str(), Back, &Size, &Progress), EFI_SUCCESS);
  EXPECT_EQ(Size, 3u);
  EXPECT_EQ(Progress, Response.c_str() + Response.size());
  EXPECT_EQ(std::vector<UINT8>(Back, Back + 4), (std::vector<UINT8>{0x00, 0x34, 0x56, 0x78}));
  Size = 4;
  EXPECT_EQ(Routing->ConfigToBlock(Routing, Response.c_str(), nullptr, &Size, &Progress),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Routing->ConfigToBlock(Routing, Response.c_str(), Back, nullptr, &Progress),
            EFI_INVALID_PARAMETER);
}

TEST_F(ConfigRoutingTest, GetAltConfigMatchesGuidNameAndPath) {
  const EFI_GUID GUID = ParseGuid("33221100-5544-7766-8899-aabbccddeeff");
  std::vector<uint8_t> Path = VendorPath(4);
  std::u16string Head = Header(Path);
  std::u16string Response =
      Head + u"&OFFSET=0&WIDTH=1&VALUE=01&" + Head + u"&ALTCFG=0001&OFFSET=0&WIDTH=1&VALUE=ff";
  const UINT16 MANUFACTURING = 1;
  const UINT16 SAFE = 2;
  EFI_STRING Result = nullptr;
  auto *DevicePath = reinterpret_cast<const EFI_DEVICE_PATH_PROTOCOL *>(Path.data());
  ASSERT_EQ(Routing->GetAltConfig(Routing, Response.c_str(), &GUID, u"A", DevicePath,
                                  &MANUFACTURING, &Result),
            EFI_SUCCESS);
  EXPECT_EQ(Take(Result), Head + u"&OFFSET=0&WIDTH=1&VALUE=ff");
  ASSERT_EQ(
      Routing->GetAltConfig(Routing, Response.c_str(), &GUID, u"A", DevicePath, nullptr, &Result),
      EFI_SUCCESS);
  EXPECT_EQ(Take(Result), Head + u"&OFFSET=0&WIDTH=1&VALUE=01");
  EXPECT_EQ(Routing->GetAltConfig(Routing, Response.c_str(), &GUID, u"B", DevicePath,
                                  &MANUFACTURING, &Result),
            EFI_NOT_FOUND);
  EXPECT_EQ(
      Routing->GetAltConfig(Routing, Response.c_str(), &GUID, u"A", DevicePath, &SAFE, &Result),
      EFI_NOT_FOUND);
  EXPECT_EQ(Routing->GetAltConfig(Routing, nullptr, &GUID, u"A", DevicePath, &SAFE, &Result),
            EFI_INVALID_PARAMETER);
}

} // namespace
