// The configuration routing protocol: requests routed to the drivers that own them by device
// path, block conversions, alternative configurations, and running out of pool on the way.
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>

#include "host/hii/config_string.h"
#include "host/kit/guid_text.h"
#include "tests/hii/hii_fixture.h"

namespace morvane::test {
namespace {

// A driver with a vendor device path and the configuration access protocol, answering
// ExtractConfig with a fixed text (or failing at FailureOffset) and recording every request.
struct TestDriver {
  EFI_HII_CONFIG_ACCESS_PROTOCOL Access; // first: This leads back to the driver
  std::vector<uint8_t> Path;
  std::u16string Answer;
  EFI_STATUS Failure = EFI_SUCCESS;
  size_t FailureOffset = 0;
  std::vector<std::u16string> Requests;
  EFI_HANDLE Handle = nullptr;

  static TestDriver *Of(const EFI_HII_CONFIG_ACCESS_PROTOCOL *This) {
    return const_cast<TestDriver *>(reinterpret_cast<const TestDriver *>(This));
  }

  // Records Request; on failure points Progress into it, else past its end.
  EFI_STATUS Take(const CHAR16 *Request, EFI_STRING *Progress) {
    Requests.push_back(Request == nullptr ? u"<null>" : Request);
    if (Request != nullptr) {
      size_t Offset = EFI_ERROR(Failure) ? FailureOffset : std::u16string_view(Request).size();
      *Progress = const_cast<EFI_STRING>(Request + Offset);
    }
    return Failure;
  }

  static EFI_STATUS EFIAPI Extract(const EFI_HII_CONFIG_ACCESS_PROTOCOL *This,
                                   const CHAR16 *Request, EFI_STRING *Progress,
                                   EFI_STRING *Results) {
    TestDriver *Driver = Of(This);
    if (EFI_ERROR(Driver->Take(Request, Progress))) {
      return Driver->Failure;
    }
    VOID *Buffer = nullptr;
    size_t Size = (Driver->Answer.size() + 1) * sizeof(CHAR16);
    EFI_STATUS Status =
        host::Platform::Current().BootServices()->AllocatePool(EfiBootServicesData, Size, &Buffer);
    if (EFI_ERROR(Status)) {
      return Status;
    }
    std::memcpy(Buffer, Driver->Answer.c_str(), Size);
    *Results = static_cast<EFI_STRING>(Buffer);
    return EFI_SUCCESS;
  }

  static EFI_STATUS EFIAPI Route(const EFI_HII_CONFIG_ACCESS_PROTOCOL *This,
                                 const CHAR16 *Configuration, EFI_STRING *Progress) {
    return Of(This)->Take(Configuration, Progress);
  }
};

std::vector<uint8_t> VendorPath(uint8_t Tag) {
  char Text[40];
  std::snprintf(Text, sizeof(Text), "5a5a5a5a-0000-1111-2222-3333444455%02x", Tag);
  return Join({{HARDWARE_DEVICE_PATH, HW_VENDOR_DP, 20, 0},
               GuidBytes(kit::ParseGuid(Text)),
               {END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE, 4, 0}});
}

std::u16string Header(const std::vector<uint8_t> &Path, const char16_t *Name = u"0041") {
  return u"GUID=00112233445566778899aabbccddeeff&NAME=" + std::u16string(Name) + u"&PATH=" +
         host::BytesToHexPairs(Path.data(), Path.size());
}

class ConfigRoutingTest : public HiiTest {
protected:
  TestDriver &Install(uint8_t Tag, std::u16string Answer, bool WithPath = true) {
    auto Driver = std::make_unique<TestDriver>();
    Driver->Access = {TestDriver::Extract, TestDriver::Route, nullptr};
    Driver->Path = VendorPath(Tag);
    Driver->Answer = std::move(Answer);
    if (WithPath) {
      EXPECT_EQ(Boot->InstallProtocolInterface(&Driver->Handle, &gEfiDevicePathProtocolGuid,
                                               EFI_NATIVE_INTERFACE, Driver->Path.data()),
                EFI_SUCCESS);
    }
    EXPECT_EQ(Boot->InstallProtocolInterface(&Driver->Handle, &gEfiHiiConfigAccessProtocolGuid,
                                             EFI_NATIVE_INTERFACE, &Driver->Access),
              EFI_SUCCESS);
    Drivers.push_back(std::move(Driver));
    return *Drivers.back();
  }

  std::vector<std::unique_ptr<TestDriver>> Drivers;
  EFI_STRING Progress = nullptr;
  EFI_STRING Results = nullptr;
};

TEST_F(ConfigRoutingTest, EachConfigurationGoesToItsDriver) {
  TestDriver &First = Install(1, u"first answer");
  TestDriver &Second = Install(2, u"second answer");
  TestDriver &NoPath = Install(3, u"never asked", false);
  std::u16string One = Header(First.Path) + u"&OFFSET=0&WIDTH=1";
  std::u16string Two = Header(Second.Path, u"00420043") + u"&OFFSET=2&WIDTH=2&VALUE=0102";
  std::u16string Request = Two + u"&" + One;
  ASSERT_EQ(Routing->ExtractConfig(Routing, Request.c_str(), &Progress, &Results), EFI_SUCCESS);
  EXPECT_EQ(Progress, Request.c_str() + Request.size());
  EXPECT_EQ(Take(Results), u"second answer&first answer");
  EXPECT_EQ(Routing->RouteConfig(Routing, Request.c_str(), &Progress), EFI_SUCCESS);
  EXPECT_EQ(Progress, Request.c_str() + Request.size());
  EXPECT_EQ(First.Requests, (std::vector<std::u16string>{One, One}));
  EXPECT_EQ(Second.Requests, (std::vector<std::u16string>{Two, Two}));
  EXPECT_TRUE(NoPath.Requests.empty());
  EXPECT_EQ(Routing->RouteConfig(Routing, Request.c_str(), nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Routing->ExtractConfig(Routing, nullptr, &Progress, &Results), EFI_INVALID_PARAMETER);

  // The path's hex digits match in either case.
  std::u16string Upper = Header(First.Path);
  for (char16_t &Unit : Upper) {
    Unit = Unit >= u'a' && Unit <= u'f' ? static_cast<char16_t>(Unit - 0x20) : Unit;
  }
  ASSERT_EQ(Routing->ExtractConfig(Routing, Upper.c_str(), &Progress, &Results), EFI_SUCCESS);
  EXPECT_EQ(Take(Results), u"first answer");
}

TEST_F(ConfigRoutingTest, MissingDriverOrMalformedRequestStopsAtItsConfiguration) {
  TestDriver &First = Install(1, u"first");
  std::u16string One = Header(First.Path);
  std::u16string Missing = Header(VendorPath(9)) + u"&OFFSET=0&WIDTH=1";
  std::u16string Request = One + u"&" + Missing;
  Results = reinterpret_cast<EFI_STRING>(0x1);
  EXPECT_EQ(Routing->ExtractConfig(Routing, Request.c_str(), &Progress, &Results), EFI_NOT_FOUND);
  EXPECT_EQ(Progress, Request.c_str() + One.size());
  EXPECT_EQ(Results, reinterpret_cast<EFI_STRING>(0x1));
  EXPECT_EQ(Routing->RouteConfig(Routing, Request.c_str(), &Progress), EFI_NOT_FOUND);
  EXPECT_EQ(Progress, Request.c_str() + One.size());
  std::u16string MissingFirst = Missing + u"&" + One;
  EXPECT_EQ(Routing->ExtractConfig(Routing, MissingFirst.c_str(), &Progress, &Results),
            EFI_NOT_FOUND);
  EXPECT_EQ(Progress, MissingFirst.c_str());
  std::u16string Malformed = One + u"&GUID=12&NAME=&PATH=";
  EXPECT_EQ(Routing->ExtractConfig(Routing, Malformed.c_str(), &Progress, &Results),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Progress, Malformed.c_str() + One.size());
}

TEST_F(ConfigRoutingTest, DriverProgressIsMappedIntoTheRequest) {
  TestDriver &First = Install(1, u"first");
  TestDriver &Second = Install(2, u"second");
  Second.Failure = EFI_INVALID_PARAMETER;
  Second.FailureOffset = 7;
  std::u16string One = Header(First.Path);
  std::u16string Request = One + u"&" + Header(Second.Path) + u"&OFFSET=0&WIDTH=1";
  EXPECT_EQ(Routing->ExtractConfig(Routing, Request.c_str(), &Progress, &Results),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Progress, Request.c_str() + One.size() + 1 + 7);
  EXPECT_EQ(Routing->RouteConfig(Routing, Request.c_str(), &Progress), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Progress, Request.c_str() + One.size() + 1 + 7);
}

TEST_F(ConfigRoutingTest, ExportConfigAsksEveryDriverForEverything) {
  EXPECT_EQ(Routing->ExportConfig(Routing, &Results), EFI_NOT_FOUND);
  TestDriver &First = Install(1, u"all of one");
  TestDriver &Second = Install(2, u"all of two", false);
  ASSERT_EQ(Routing->ExportConfig(Routing, &Results), EFI_SUCCESS);
  EXPECT_EQ(Take(Results), u"all of one&all of two");
  EXPECT_EQ(First.Requests, std::vector<std::u16string>{u"<null>"});
  EXPECT_EQ(Second.Requests, std::vector<std::u16string>{u"<null>"});
}

TEST_F(ConfigRoutingTest, RunningOutOfPoolIsReported) {
  TestDriver &Driver = Install(1, u"OFFSET=0&WIDTH=1&VALUE=2a");
  std::u16string Request = Header(Driver.Path) + u"&OFFSET=0&WIDTH=1";
  const UINT8 BLOCK[1] = {0x2A};
  Host.Pool().FailAllocation(1);
  EXPECT_EQ(Routing->BlockToConfig(Routing, Request.c_str(), BLOCK, 1, &Results, &Progress),
            EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(Results, nullptr);
  // The handle search, then the driver's answer, then the joined results.
  for (UINTN Nth = 1; Nth <= 3; Nth++) {
    Host.Pool().FailAllocation(Nth);
    EXPECT_EQ(Routing->ExtractConfig(Routing, Request.c_str(), &Progress, &Results),
              EFI_OUT_OF_RESOURCES)
        << Nth;
    EXPECT_EQ(Results, nullptr);
    Host.Pool().ClearAllocationFailures();
  }
}

TEST_F(ConfigRoutingTest, BlockConversionsThroughTheProtocol) {
  const UINT8 BLOCK[4] = {0x12, 0x34, 0x56, 0x78};
  std::u16string Request = Header(VendorPath(1)) + u"&OFFSET=1&WIDTH=3";
  ASSERT_EQ(
      Routing->BlockToConfig(Routing, Request.c_str(), BLOCK, sizeof(BLOCK), &Results, &Progress),
      EFI_SUCCESS);
  EXPECT_EQ(Progress, Request.c_str() + Request.size());
  std::u16string Response = Take(Results);
  EXPECT_EQ(Response, Request + u"&VALUE=785634");
  std::u16string TooFar = Request + u"&OFFSET=3&WIDTH=2";
  EXPECT_EQ(
      Routing->BlockToConfig(Routing, TooFar.c_str(), BLOCK, sizeof(BLOCK), &Results, &Progress),
      EFI_INVALID_PARAMETER);
  EXPECT_EQ(Progress, TooFar.c_str() + Request.size());
  EXPECT_EQ(Routing->BlockToConfig(Routing, Request.c_str(), nullptr, 4, &Results, &Progress),
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
  EXPECT_EQ(ByteVector(Back, Back + 4), Hex("00345678"));
  Size = 4;
  EXPECT_EQ(Routing->ConfigToBlock(Routing, Response.c_str(), nullptr, &Size, &Progress),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Routing->ConfigToBlock(Routing, Response.c_str(), Back, nullptr, &Progress),
            EFI_INVALID_PARAMETER);
}

TEST_F(ConfigRoutingTest, GetAltConfigMatchesGuidNameAndPath) {
  const EFI_GUID GUID = kit::ParseGuid("33221100-5544-7766-8899-aabbccddeeff");
  std::vector<uint8_t> Path = VendorPath(4);
  std::u16string Head = Header(Path);
  std::u16string Response =
      Head + u"&OFFSET=0&WIDTH=1&VALUE=01&" + Head + u"&ALTCFG=0001&OFFSET=0&WIDTH=1&VALUE=ff";
  auto *DevicePath = reinterpret_cast<const EFI_DEVICE_PATH_PROTOCOL *>(Path.data());
  auto Alt = [&](const CHAR16 *Config, const CHAR16 *Name, std::optional<UINT16> Id) {
    return Routing->GetAltConfig(Routing, Config, &GUID, Name, DevicePath, Id ? &*Id : nullptr,
                                 &Results);
  };
  ASSERT_EQ(Alt(Response.c_str(), u"A", 1), EFI_SUCCESS);
  EXPECT_EQ(Take(Results), Head + u"&OFFSET=0&WIDTH=1&VALUE=ff");
  ASSERT_EQ(Alt(Response.c_str(), u"A", std::nullopt), EFI_SUCCESS);
  EXPECT_EQ(Take(Results), Head + u"&OFFSET=0&WIDTH=1&VALUE=01");
  EXPECT_EQ(Alt(Response.c_str(), u"B", 1), EFI_NOT_FOUND);
  EXPECT_EQ(Alt(Response.c_str(), u"A", 2), EFI_NOT_FOUND);
  EXPECT_EQ(Alt(nullptr, u"A", 2), EFI_INVALID_PARAMETER);
}

} // namespace
} // namespace morvane::test
