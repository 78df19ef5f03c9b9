#include <cstdint>

#include "tests/host/host_test.h"

namespace morvane::host::test {
namespace {

using PoolTest = HostTest;

TEST_F(PoolTest, AccountsForEveryOutstandingBlock) {
  PoolSnapshot Before = Host.Pool().Snapshot();
  VOID *Blocks[3] = {};
  const UINTN Sizes[3] = {1, 8, 100};
  for (int Index = 0; Index < 3; Index++) {
    ASSERT_EQ(Boot->AllocatePool(EfiBootServicesData, Sizes[Index], &Blocks[Index]), EFI_SUCCESS);
  }
  EXPECT_EQ(Host.Pool().Snapshot().Blocks, Before.Blocks + 3);
  EXPECT_EQ(Host.Pool().Snapshot().Bytes, Before.Bytes + 109);
  for (VOID *Block : Blocks) {
    EXPECT_EQ(Boot->FreePool(Block), EFI_SUCCESS);
  }
  EXPECT_EQ(Host.Pool().Snapshot(), Before);
  EXPECT_EQ(Host.Pool().BadFrees(), 0U);
}

TEST_F(PoolTest, BlocksAreEightByteAligned) {
  for (UINTN Size = 0; Size < 40; Size++) {
    VOID *Block = nullptr;
    ASSERT_EQ(Boot->AllocatePool(EfiBootServicesData, Size, &Block), EFI_SUCCESS);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(Block) % 8, 0U) << Size;
    Boot->FreePool(Block);
  }
}

TEST_F(PoolTest, FreeOfUnknownOrFreedPointerIsCountedAsBadFree) {
  int NotPool = 0;
  EXPECT_EQ(Boot->FreePool(&NotPool), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->FreePool(nullptr), EFI_INVALID_PARAMETER);
  VOID *Block = nullptr;
  ASSERT_EQ(Boot->AllocatePool(EfiBootServicesData, 16, &Block), EFI_SUCCESS);
  EXPECT_EQ(Boot->FreePool(Block), EFI_SUCCESS);
  EXPECT_EQ(Boot->FreePool(Block), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Host.Pool().BadFrees(), 3U);
}

TEST_F(PoolTest, RefusesNullBufferAndReservedTypes) {
  EXPECT_EQ(Boot->AllocatePool(EfiBootServicesData, 8, nullptr), EFI_INVALID_PARAMETER);
  VOID *Block = nullptr;
  EXPECT_EQ(Boot->AllocatePool(EfiMaxMemoryType, 8, &Block), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->AllocatePool(EfiPersistentMemory, 8, &Block), EFI_INVALID_PARAMETER);
  ASSERT_EQ(Boot->AllocatePool(EfiLoaderData, 8, &Block), EFI_SUCCESS);
  Boot->FreePool(Block);
}

struct FailureCase {
  const char *Name;
  bool OnlyNth;
  UINTN Count;
  // Outcome of the next five allocations: true = succeeds.
  bool Succeeds[5];
};

class PoolFailureTest : public HostTest, public ::testing::WithParamInterface<FailureCase> {};

TEST_P(PoolFailureTest, InjectedFailuresHitExactlyTheChosenAllocations) {
  const FailureCase &Case = GetParam();
  if (Case.OnlyNth) {
    Host.Pool().FailAllocation(Case.Count);
  } else {
    Host.Pool().FailAllocationsAfter(Case.Count);
  }
  for (int Index = 0; Index < 5; Index++) {
    VOID *Block = nullptr;
    EFI_STATUS Status = Boot->AllocatePool(EfiBootServicesData, 4, &Block);
    EXPECT_EQ(Status, Case.Succeeds[Index] ? EFI_SUCCESS : EFI_OUT_OF_RESOURCES) << Index;
    if (!EFI_ERROR(Status)) {
      Boot->FreePool(Block);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, PoolFailureTest,
    ::testing::Values(FailureCase{"First", true, 1, {false, true, true, true, true}},
                      FailureCase{"Third", true, 3, {true, true, false, true, true}},
                      FailureCase{"AfterNone", false, 0, {false, false, false, false, false}},
                      FailureCase{"AfterTwo", false, 2, {true, true, false, false, false}}),
    [](const auto &Info) { return std::string(Info.param.Name); });

TEST_F(PoolTest, ClearingFailuresRestoresAllocation) {
  Host.Pool().FailAllocationsAfter(0);
  VOID *Block = nullptr;
  EXPECT_EQ(Boot->AllocatePool(EfiBootServicesData, 4, &Block), EFI_OUT_OF_RESOURCES);
  Host.Pool().ClearAllocationFailures();
  ASSERT_EQ(Boot->AllocatePool(EfiBootServicesData, 4, &Block), EFI_SUCCESS);
  Boot->FreePool(Block);
}

TEST_F(PoolTest, FailedAllocationLeavesNoBlockBehind) {
  PoolSnapshot Before = Host.Pool().Snapshot();
  Host.Pool().FailAllocation(1);
  VOID *Block = nullptr;
  EXPECT_EQ(Boot->AllocatePool(EfiBootServicesData, 64, &Block), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(Host.Pool().Snapshot(), Before);
}

TEST_F(PoolTest, CopyMemHandlesOverlapBothWays) {
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
