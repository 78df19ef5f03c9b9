// The platform itself: its tables and their CRCs, consoles, configuration tables, counters,
// reset, lifetime, and the pool with its accounting and injected failures.
#include <cstdint>
#include <cstring>

#include "host/crc32.h"
#include "tests/host/host_test.h"

namespace morvane::host::test {
namespace {

using PlatformTest = HostTest;

template <typename Table>
UINT32 RecomputedCrc(const Table *Source) {
  Table Copy = *Source;
  Copy.Hdr.CRC32 = 0;
  return Crc32(&Copy, Copy.Hdr.HeaderSize);
}

TEST_F(PlatformTest, HeadersCarryPublishedSignaturesSizesAndCrcs) {
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

TEST_F(PlatformTest, ConsolesSitOnTheirHandles) {
  EXPECT_EQ(Find(System->ConsoleInHandle, gEfiSimpleTextInProtocolGuid), System->ConIn);
  EXPECT_NE(Find(System->ConsoleInHandle, gEfiSimpleTextInputExProtocolGuid), nullptr);
  EXPECT_EQ(Find(System->ConsoleOutHandle, gEfiSimpleTextOutProtocolGuid), System->ConOut);
  EXPECT_EQ(Find(System->StandardErrorHandle, gEfiSimpleTextOutProtocolGuid), System->StdErr);
  EXPECT_NE(System->ConOut, System->StdErr);
}

TEST_F(PlatformTest, CrcMonotonicCountsAndResetServices) {
  char Check[] = "123456789";
  UINT32 Crc = 0;
  ASSERT_EQ(Boot->CalculateCrc32(Check, 9, &Crc), EFI_SUCCESS);
  EXPECT_EQ(Crc, 0xCBF43926U); // the known check value
  EXPECT_EQ(Boot->CalculateCrc32(nullptr, 9, &Crc), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->CalculateCrc32(Check, 0, &Crc), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->CalculateCrc32(Check, 9, nullptr), EFI_INVALID_PARAMETER);

  UINT64 First = 0;
  UINT64 Second = 0;
  ASSERT_EQ(Boot->GetNextMonotonicCount(&First), EFI_SUCCESS);
  ASSERT_EQ(Boot->GetNextMonotonicCount(&Second), EFI_SUCCESS);
  EXPECT_GT(Second, First);
  EXPECT_EQ(Boot->GetNextMonotonicCount(nullptr), EFI_INVALID_PARAMETER);
  // The high count carries into the monotonic count's upper half.
  UINT32 High = 0;
  ASSERT_EQ(Runtime->GetNextHighMonotonicCount(&High), EFI_SUCCESS);
  Boot->GetNextMonotonicCount(&First);
  EXPECT_EQ(First >> 32, High);

  EXPECT_FALSE(Host.LastReset().has_value());
  char Reason[] = "why";
  Runtime->ResetSystem(EfiResetWarm, EFI_SUCCESS, sizeof(Reason), Reason);
  ASSERT_TRUE(Host.LastReset().has_value());
  EXPECT_EQ(Host.LastReset()->Type, EfiResetWarm);
  EXPECT_EQ(Host.LastReset()->Data.size(), sizeof(Reason));
}

TEST_F(PlatformTest, ConfigurationTablesAddReplaceAndRemove) {
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

TEST(PlatformLifetime, OnePlatformAtATimeReleasingItsPool) {
  {
    Platform First;
    EXPECT_TRUE(Platform::Exists());
    EXPECT_EQ(&Platform::Current(), &First);
    EXPECT_THROW(Platform Second, std::logic_error);
    // LeakSanitizer fails this test if the platform forgets an outstanding block.
    VOID *Block = nullptr;
    ASSERT_EQ(First.BootServices()->AllocatePool(EfiBootServicesData, 123, &Block), EFI_SUCCESS);
    EXPECT_EQ(First.Pool().Snapshot().Blocks, 1U);
  }
  EXPECT_FALSE(Platform::Exists());
}

TEST_F(PlatformTest, PoolAccountsForEveryBlockAndRefusesBadFrees) {
  PoolSnapshot Before = Host.Pool().Snapshot();
  std::vector<VOID *> Blocks;
  // Blocks of every small size, each eight-byte aligned.
  for (UINTN Size = 0; Size < 40; Size++) {
    VOID *Block = nullptr;
    ASSERT_EQ(Boot->AllocatePool(EfiBootServicesData, Size, &Block), EFI_SUCCESS);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(Block) % 8, 0U) << Size;
    Blocks.push_back(Block);
  }
  EXPECT_EQ(Host.Pool().Snapshot().Blocks, Before.Blocks + 40);
  EXPECT_EQ(Host.Pool().Snapshot().Bytes, Before.Bytes + 39 * 40 / 2);
  for (VOID *Block : Blocks) {
    EXPECT_EQ(Boot->FreePool(Block), EFI_SUCCESS);
  }
  EXPECT_EQ(Host.Pool().Snapshot(), Before);
  EXPECT_EQ(Host.Pool().BadFrees(), 0U);
  // An unknown pointer, null, and a block freed twice.
  int NotPool = 0;
  EXPECT_EQ(Boot->FreePool(&NotPool), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->FreePool(nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->FreePool(Blocks[0]), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Host.Pool().BadFrees(), 3U);

  VOID *Block = nullptr;
  EXPECT_EQ(Boot->AllocatePool(EfiBootServicesData, 8, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->AllocatePool(EfiMaxMemoryType, 8, &Block), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->AllocatePool(EfiPersistentMemory, 8, &Block), EFI_INVALID_PARAMETER);
  ASSERT_EQ(Boot->AllocatePool(EfiLoaderData, 8, &Block), EFI_SUCCESS);
  Boot->FreePool(Block);
}

TEST_F(PlatformTest, InjectedFailuresHitExactlyTheChosenAllocations) {
  struct FailureCase {
    const char *Name;
    bool OnlyNth;
    UINTN Count;
    const char *Outcomes; // of the next five allocations: 'y' succeeds, 'n' fails
  };
  PoolSnapshot Before = Host.Pool().Snapshot();
  for (const FailureCase &Case :
       {FailureCase{"first", true, 1, "nyyyy"}, FailureCase{"third", true, 3, "yynyy"},
        FailureCase{"after none", false, 0, "nnnnn"},
        FailureCase{"after two", false, 2, "yynnn"}}) {
    if (Case.OnlyNth) {
      Host.Pool().FailAllocation(Case.Count);
    } else {
      Host.Pool().FailAllocationsAfter(Case.Count);
    }
    for (int Index = 0; Index < 5; Index++) {
      VOID *Block = nullptr;
      EFI_STATUS Status = Boot->AllocatePool(EfiBootServicesData, 4, &Block);
      EXPECT_EQ(Status, Case.Outcomes[Index] == 'y' ? EFI_SUCCESS : EFI_OUT_OF_RESOURCES)
          << Case.Name << " " << Index;
      if (!EFI_ERROR(Status)) {
        Boot->FreePool(Block);
      }
    }
    // A failed allocation leaves no block behind, and clearing restores allocation.
    EXPECT_EQ(Host.Pool().Snapshot(), Before);
    Host.Pool().ClearAllocationFailures();
  }
  VOID *Block = nullptr;
  ASSERT_EQ(Boot->AllocatePool(EfiBootServicesData, 4, &Block), EFI_SUCCESS);
  Boot->FreePool(Block);
}

TEST_F(PlatformTest, CopyMemHandlesOverlapBothWays) {
  char Forward[] = "abcdefgh";
  Boot->CopyMem(Forward + 2, Forward, 5);
  EXPECT_STREQ(Forward, "ababcdeh");
  char Backward[] = "abcdefgh";
  Boot->CopyMem(Backward, Backward + 2, 5);
  EXPECT_STREQ(Backward, "cdefgfgh");
  char Filled[5] = "xxxx";
  Boot->SetMem(Filled, 3, 'z');
  EXPECT_STREQ(Filled, "zzzx");
}

} // namespace
} // namespace morvane::host::test
