// Whatever a load makes is given back: after a load that succeeds, and after one that fails at
// any allocation, the release leaves nothing but the driver's own stacks behind.
#include "core/browser_context.h"
#include "tests/common/text.h"
#include "tests/model/model_fixture.h"

namespace morvane::test {
namespace {

// The shared form set has something of every kind that owns memory.
using ReleaseTest = RichSetTest;

TEST_F(ReleaseTest, ALoadThatFailsAtAnyAllocationLeavesNothingBehind) {
  PublishedFormSet &Rich = PublishRich();
  StartHost();
  // A clean load first, to know how many allocations a load makes.
  UINTN Before = Host().Pool().Allocations();
  FormSet *Loaded = nullptr;
  ASSERT_EQ(LoadSet(Rich.Handle, SetGuid(), &Loaded), EFI_SUCCESS);
  UINTN LoadAllocations = Host().Pool().Allocations() - Before;
  ReleaseFormSet(Loaded);
  ASSERT_GT(LoadAllocations, 50u);

  unsigned Failed = 0;
  EFI_STATUS Status = EFI_SUCCESS;
  for (UINTN Nth = 1; Nth <= LoadAllocations + 1; Nth++) {
    Notices.clear();
    UINTN Mark = PoolMark();
    Host().Pool().FailAllocation(Nth);
    FormSet *Attempt = nullptr;
    Status = LoadSet(Rich.Handle, SetGuid(), &Attempt);
    Host().Pool().ClearAllocationFailures();
    if (EFI_ERROR(Status)) {
      Failed++;
      EXPECT_EQ(Status, EFI_OUT_OF_RESOURCES) << "allocation " << Nth;
    }
    ReleaseFormSet(Attempt);
    ASSERT_EQ(HeldSince(Mark), "")
        << "allocation " << Nth << " failed, load status 0x" << std::hex << Status;
    ASSERT_EQ(Host().Pool().BadFrees(), 0u) << "allocation " << Nth;
  }
  EXPECT_GT(Failed, 0u);
  // The last attempt's failure fell behind the load's allocations: it loaded, and was given back
  // whole.
  EXPECT_EQ(Status, EFI_SUCCESS);
  EXPECT_TRUE(Notices.empty());
}

// SendForm gives back what it loaded; when an allocation fails, in the load or in the paint,
// the menu bar or a notice, the call ends, on its own or through the keys, and gives back all
// it took.
TEST_F(ReleaseTest, SendFormGivesBackEverythingWhicheverAllocationFails) {
  PublishedFormSet &Rich = PublishRich();
  UINTN Before = Host().Pool().Allocations();
  Send({Rich.Handle});
  Type("F10 Enter");
  ASSERT_TRUE(Finished()) << ScreenText();
  EXPECT_EQ(Run().Status(), EFI_SUCCESS);
  ExpectNothingLeftSinceSend();
  UINTN CallAllocations = Host().Pool().Allocations() - Before;
  for (UINTN Nth = 1; Nth <= CallAllocations; Nth++) {
    Host().Pool().FailAllocation(Nth);
    Send({Rich.Handle});
    Host().Pool().ClearAllocationFailures();
    for (int Keys = 0; Keys < 10 && Waiting(); Keys++) {
      // A notice wants Enter; the form is left with a save.
      Type(ScreenText().find("Press ENTER") != std::string::npos ? "Enter" : "F10 Enter");
    }
    ASSERT_TRUE(Finished()) << "allocation " << Nth << "\n" << ScreenText();
    ExpectNothingLeftSinceSend();
    ASSERT_FALSE(HasFailure()) << "allocation " << Nth << " failed";
    ASSERT_EQ(Browser->SendFormDepth, 0u);
  }
}

} // namespace
} // namespace morvane::test
