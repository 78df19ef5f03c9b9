#include <cstring>

#include "host/crc32.h"
#include "tests/host/host_test.h"

namespace morvane::host::test {
namespace {

using SystemTableTest = HostTest;

template <typename Table>
UINT32 RecomputedCrc(const Table *Source) {
  Table Copy = *Source;
  Copy.Hdr.CRC32 = 0;
  return Crc32(&Copy, Copy.Hdr.HeaderSize);
}

TEST_F(SystemTableTest, HeadersCarryPublishedSignaturesSizesAndCrcs) {
  EXPECT_EQ(System->Hdr.Signature, EFI_SYSTEM_TABLE_SIGNATURE);
  EXPECT_EQ(Boot->Hdr.Signature, EFI_BOOT_SERVICES_SIGNATURE);
  EXPECT_EQ(Runtime->Hdr.Signature, EFI_RUNTIME_SERVICES_SIGNATURE);
  EXPECT_EQ(System->Hdr.HeaderSize, sizeof(EFI_SYSTEM_TABLE));
  EXPECT_EQ(Boot->Hdr.HeaderSize, sizeof(EFI_BOOT_SERVICES));
  EXPECT_EQ(Runtime->Hdr.HeaderSize, sizeof(EFI_RUNTIME_SERVICES));
  EXPECT_EQ(System->Hdr.CRC32, RecomputedCrc(System));
  EXPECT_EQ(Boot->Hdr.CRC32, RecomputedCrc(Boot));
  EXPECT_EQ(Runtime->Hdr.CRC32, RecomputedCrc(Runtime));
}

TEST_F(SystemTableTest, ConsolesSitOnTheirHandles) {
  VOID *Interface = nullptr;
  ASSERT_EQ(
      Boot->HandleProtocol(System->ConsoleInHandle, &gEfiSimpleTextInProtocolGuid, &Interface),
      EFI_SUCCESS);
  EXPECT_EQ(Interface, System->ConIn);
  ASSERT_EQ(
      Boot->HandleProtocol(System->ConsoleOutHandle, &gEfiSimpleTextOutProtocolGuid, &Interface),
      EFI_SUCCESS);
  EXPECT_EQ(Interface, System->ConOut);
  ASSERT_EQ(
      Boot->HandleProtocol(System->StandardErrorHandle, &gEfiSimpleTextOutProtocolGuid, &Interface),
      EFI_SUCCESS);
  EXPECT_EQ(Interface, System->StdErr);
  EXPECT_NE(System->ConOut, System->StdErr);
  ASSERT_EQ(
      Boot->HandleProtocol(System->ConsoleInHandle, &gEfiSimpleTextInputExProtocolGuid, &Interface),
      EFI_SUCCESS);
}

TEST_F(SystemTableTest, CalculateCrc32MatchesTheKnownCheckValue) {
  char Check[] = "123456789";
  UINT32 Crc = 0;
  ASSERT_EQ(Boot->CalculateCrc32(Check, 9, &Crc), EFI_SUCCESS);
  EXPECT_EQ(Crc, 0xCBF43926U);
  EXPECT_EQ(Boot->CalculateCrc32(nullptr, 9, &Crc), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->CalculateCrc32(Check, 0, &Crc), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->CalculateCrc32(Check, 9, nullptr), EFI_INVALID_PARAMETER);
}

TEST_F(SystemTableTest, MonotonicCountOnlyIncreasesAndHighCountCarries) {
  UINT64 First = 0;
  UINT64 Second = 0;
  ASSERT_EQ(Boot->GetNextMonotonicCount(&First), EFI_SUCCESS);
  ASSERT_EQ(Boot->GetNextMonotonicCount(&Second), EFI_SUCCESS);
  EXPECT_GT(Second, First);
  EXPECT_EQ(Boot->GetNextMonotonicCount(nullptr), EFI_INVALID_PARAMETER);
  UINT32 High = 0;
  ASSERT_EQ(Runtime->GetNextHighMonotonicCount(&High), EFI_SUCCESS);
  UINT64 Third = 0;
  Boot->GetNextMonotonicCount(&Third);
  EXPECT_EQ(Third >> 32, High);
}

TEST_F(SystemTableTest, ConfigurationTablesAddReplaceAndRemove) {
  int First = 1;
  int Second = 2;
  ASSERT_EQ(Boot->InstallConfigurationTable(&kProtocolA, &First), EFI_SUCCESS);
  ASSERT_EQ(System->NumberOfTableEntries, 1U);
  ASSERT_EQ(Boot->InstallConfigurationTable(&kProtocolA, &Second), EFI_SUCCESS);
  ASSERT_EQ(System->NumberOfTableEntries, 1U);
  EXPECT_EQ(System->ConfigurationTable[0].VendorTable, &Second);
  EXPECT_EQ(System->Hdr.CRC32, RecomputedCrc(System));
  EXPECT_EQ(Boot->InstallConfigurationTable(&kProtocolB, nullptr), EFI_NOT_FOUND);
  ASSERT_EQ(Boot->InstallConfigurationTable(&kProtocolA, nullptr), EFI_SUCCESS);
  EXPECT_EQ(System->NumberOfTableEntries, 0U);
  EXPECT_EQ(Boot->InstallConfigurationTable(nullptr, &First), EFI_INVALID_PARAMETER);
}

TEST_F(SystemTableTest, ResetSystemIsRecorded) {
  EXPECT_FALSE(Host.LastReset().has_value());
  char Reason[] = "why";
  Runtime->ResetSystem(EfiResetWarm, EFI_SUCCESS, sizeof(Reason), Reason);
  ASSERT_TRUE(Host.LastReset().has_value());
  EXPECT_EQ(Host.LastReset()->Type, EfiResetWarm);
  EXPECT_EQ(Host.LastReset()->Data.size(), sizeof(Reason));
}

TEST(PlatformLifetime, OnlyOnePlatformLivesAtATime) {
  {
    Platform First;
    EXPECT_TRUE(Platform::Exists());
    EXPECT_EQ(&Platform::Current(), &First);
    EXPECT_THROW(Platform Second, std::logic_error);
  }
  EXPECT_FALSE(Platform::Exists());
}

TEST(PlatformLifetime, OutstandingPoolIsReleasedWithThePlatform) {
  // LeakSanitizer fails this test if the platform forgets a block.
  Platform Host;
  VOID *Block = nullptr;
  ASSERT_EQ(Host.BootServices()->AllocatePool(EfiBootServicesData, 123, &Block), EFI_SUCCESS);
  EXPECT_EQ(Host.Pool().Snapshot().Blocks, 1U);
}

} // namespace
} // namespace morvane::host::test
