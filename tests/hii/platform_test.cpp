// The HII services on the hosted platform's own boot services: installed where a driver looks
// for them, routing to a driver installed the way firmware drivers install themselves, and
// leaving the platform's pool as they found it.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "host/hii/config_string.h"
#include "host/hii/hii_services.h"
#include "host/platform.h"

namespace {

using morvane::host::HiiServices;

struct VendorPath {
  VENDOR_DEVICE_PATH Node;
  EFI_DEVICE_PATH_PROTOCOL End;
};

const VendorPath PATH = {
    {{HARDWARE_DEVICE_PATH, HW_VENDOR_DP, {sizeof(VENDOR_DEVICE_PATH), 0}},
     {0x9e0b1f2a, 0x3c4d, 0x4e5f, {0x80, 0x91, 0xa2, 0xb3, 0xc4, 0xd5, 0xe6, 0xf7}}},
    {END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE, {4, 0}}};

EFI_STATUS EFIAPI AnswerExtract(const EFI_HII_CONFIG_ACCESS_PROTOCOL *This, const CHAR16 *Request,
                                EFI_STRING *Progress, EFI_STRING *Results) {
  static const char16_t ANSWER[] = u"OFFSET=0&WIDTH=1&VALUE=2a";
  EFI_BOOT_SERVICES *Boot = morvane::host::Platform::Current().BootServices();
  VOID *Buffer = nullptr;
  EFI_STATUS Status = Boot->AllocatePool(EfiBootServicesData, sizeof(ANSWER), &Buffer);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  std::memcpy(Buffer, ANSWER, sizeof(ANSWER));
  *Results = static_cast<EFI_STRING>(Buffer);
  *Progress = const_cast<EFI_STRING>(Request + std::u16string_view(Request).size());
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI AcceptRoute(const EFI_HII_CONFIG_ACCESS_PROTOCOL *This,
                              const CHAR16 *Configuration, EFI_STRING *Progress) {
  *Progress = const_cast<EFI_STRING>(Configuration + std::u16string_view(Configuration).size());
  return EFI_SUCCESS;
}

EFI_HII_CONFIG_ACCESS_PROTOCOL ACCESS = {AnswerExtract, AcceptRoute, nullptr};

class PlatformHiiTest : public ::testing::Test {
protected:
  void InstallDriver() {
    EFI_HANDLE Handle = nullptr;
    ASSERT_EQ(Boot->InstallMultipleProtocolInterfaces(
                  &Handle, &gEfiDevicePathProtocolGuid, const_cast<VendorPath *>(&PATH),
                  &gEfiHiiConfigAccessProtocolGuid, &ACCESS, nullptr),
              EFI_SUCCESS);
  }

  std::u16string Request() const {
    return u"GUID=00112233445566778899aabbccddeeff&NAME=0041&PATH=" +
           morvane::host::BytesToHexPairs(reinterpret_cast<const uint8_t *>(&PATH), sizeof(PATH));
  }

  morvane::host::Platform Host;
  EFI_BOOT_SERVICES *Boot = Host.BootServices();
};

TEST_F(PlatformHiiTest, ProtocolsAreFoundThroughTheBootServicesWhileAlive) {
  const EFI_GUID *GUIDS[] = {&gEfiHiiDatabaseProtocolGuid,      &gEfiHiiStringProtocolGuid,
                             &gEfiHiiConfigRoutingProtocolGuid, &gEfiUnicodeCollation2ProtocolGuid,
                             &gEfiHiiImageProtocolGuid,         &gEfiHiiFontProtocolGuid};
  morvane::host::PoolSnapshot Before = Host.Pool().Snapshot();
  {
    HiiServices Services(Boot);
    const VOID *EXPECTED[] = {Services.Database(),  Services.String(), Services.ConfigRouting(),
                              Services.Collation(), Services.Image(),  Services.Font()};
    for (size_t Index = 0; Index < std::size(GUIDS); Index++) {
      VOID *Interface = nullptr;
      EXPECT_EQ(Boot->LocateProtocol(GUIDS[Index], nullptr, &Interface), EFI_SUCCESS) << Index;
      EXPECT_EQ(Interface, EXPECTED[Index]) << Index;
      EXPECT_EQ(Boot->HandleProtocol(Services.Handle(), GUIDS[Index], &Interface), EFI_SUCCESS);
    }
  }
  for (const EFI_GUID *Guid : GUIDS) {
    VOID *Interface = nullptr;
    EXPECT_EQ(Boot->LocateProtocol(Guid, nullptr, &Interface), EFI_NOT_FOUND);
  }
  EXPECT_EQ(Host.Pool().Snapshot(), Before);
}

TEST_F(PlatformHiiTest, ConfigurationReachesADriverOnThePlatform) {
  HiiServices Services(Boot);
  InstallDriver();
  EFI_HII_CONFIG_ROUTING_PROTOCOL *Routing = Services.ConfigRouting();
  morvane::host::PoolSnapshot Before = Host.Pool().Snapshot();
  std::u16string Text = Request();
  EFI_STRING Progress = nullptr;
  EFI_STRING Results = nullptr;
  ASSERT_EQ(Routing->ExtractConfig(Routing, Text.c_str(), &Progress, &Results), EFI_SUCCESS);
  EXPECT_EQ(std::u16string(Results), u"OFFSET=0&WIDTH=1&VALUE=2a");
  EXPECT_EQ(Boot->FreePool(Results), EFI_SUCCESS);
  EXPECT_EQ(Routing->RouteConfig(Routing, Text.c_str(), &Progress), EFI_SUCCESS);
  EXPECT_EQ(Host.Pool().Snapshot(), Before);
  EXPECT_EQ(Host.Pool().BadFrees(), 0u);
}

TEST_F(PlatformHiiTest, RunningOutOfPoolIsReported) {
  HiiServices Services(Boot);
  InstallDriver();
  EFI_HII_CONFIG_ROUTING_PROTOCOL *Routing = Services.ConfigRouting();
  morvane::host::PoolSnapshot Before = Host.Pool().Snapshot();
  std::u16string Text = Request() + u"&OFFSET=0&WIDTH=1";
  const UINT8 BLOCK[1] = {0x2A};
  EFI_STRING Config = nullptr;
  EFI_STRING Progress = nullptr;
  Host.Pool().FailAllocation(1);
  EXPECT_EQ(Routing->BlockToConfig(Routing, Text.c_str(), BLOCK, 1, &Config, &Progress),
            EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(Config, nullptr);
  // The handle search, then the driver's answer, then the joined results.
  for (UINTN Nth = 1; Nth <= 3; Nth++) {
    Host.Pool().FailAllocation(Nth);
    EFI_STRING Results = nullptr;
    EXPECT_EQ(Routing->ExtractConfig(Routing, Text.c_str(), &Progress, &Results),
              EFI_OUT_OF_RESOURCES)
        << Nth;
    EXPECT_EQ(Results, nullptr);
    Host.Pool().ClearAllocationFailures();
  }
  EXPECT_EQ(Host.Pool().Snapshot(), Before);
}

} // namespace
