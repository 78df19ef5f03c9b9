#include "host/driver_run.h"
#include "tests/host/host_test.h"

namespace morvane::host::test {
namespace {

using DriverRunTest = HostTest;

// The key loop of a browser: read, and stall between reads while nothing is there.
EFI_KEY_DATA WaitKey() {
  EFI_SYSTEM_TABLE *System = Platform::Current().SystemTable();
  EFI_INPUT_KEY Key{};
  while (System->ConIn->ReadKeyStroke(System->ConIn, &Key) != EFI_SUCCESS) {
    System->BootServices->Stall(100);
  }
  EFI_KEY_DATA Data{};
  Data.Key = Key;
  return Data;
}

void Drain() {
  EFI_SYSTEM_TABLE *System = Platform::Current().SystemTable();
  EFI_INPUT_KEY Key{};
  while (System->ConIn->ReadKeyStroke(System->ConIn, &Key) == EFI_SUCCESS) {
  }
}

void Print(const CHAR16 *Text) {
  EFI_SYSTEM_TABLE *System = Platform::Current().SystemTable();
  System->ConOut->OutputString(System->ConOut, Text);
}

TEST_F(DriverRunTest, ABodyThatNeverWaitsFinishesWithItsStatus) {
  DriverRun Run(Host, [] { return EFI_ABORTED; });
  EXPECT_EQ(Run.CurrentState(), DriverRun::State::NotStarted);
  EXPECT_EQ(Run.Resume(), DriverRun::State::Finished);
  EXPECT_EQ(Run.Status(), EFI_ABORTED);
  // A finished run stays finished.
  EXPECT_EQ(Run.Resume(), DriverRun::State::Finished);
}

TEST_F(DriverRunTest, WaitsForAKeyAndResumesWithIt) {
  DriverRun Run(Host, [] { return static_cast<EFI_STATUS>(WaitKey().Key.UnicodeChar); });
  ASSERT_EQ(Run.Resume(), DriverRun::State::Waiting);
  // Waiting again without a key changes nothing.
  ASSERT_EQ(Run.Resume(), DriverRun::State::Waiting);
  Host.Keyboard().PushKey(SCAN_NULL, u'k');
  ASSERT_EQ(Run.Resume(), DriverRun::State::Finished);
  EXPECT_EQ(Run.Status(), static_cast<EFI_STATUS>(u'k'));
}

TEST_F(DriverRunTest, TheDrainBeforePaintingIsNotAWait) {
  Host.Keyboard().PushKey(SCAN_NULL, u'x');
  DriverRun Run(Host, [] {
    Drain();
    Print(u"painted");
    return static_cast<EFI_STATUS>(WaitKey().Key.UnicodeChar);
  });
  ASSERT_EQ(Run.Resume(), DriverRun::State::Waiting);
  EXPECT_EQ(Host.Screen().TextRows()[0].substr(0, 7), "painted");
  EXPECT_EQ(Host.Keyboard().Pending(), 0U);
}

VOID EFIAPI CountTicks(EFI_EVENT Event, VOID *Context) {
  (*static_cast<int *>(Context))++;
}

TEST_F(DriverRunTest, WaitBudgetLetsVirtualTimePassBeforeTheNextWait) {
  int Ticks = 0;
  EFI_EVENT Timer = nullptr;
  Boot->CreateEvent(EVT_TIMER | EVT_NOTIFY_SIGNAL, TPL_CALLBACK, CountTicks, &Ticks, &Timer);
  // Every 10 ms.
  Boot->SetTimer(Timer, TimerPeriodic, 100000);
  DriverRun Run(Host, [] { return static_cast<EFI_STATUS>(WaitKey().Key.ScanCode); });
  ASSERT_EQ(Run.Resume(), DriverRun::State::Waiting);
  UINT64 Before = Host.Events().Now();
  EXPECT_EQ(Ticks, 0);
  Run.AddWaitBudget(50000);
  ASSERT_EQ(Run.Resume(), DriverRun::State::Waiting);
  EXPECT_EQ(Run.WaitBudget(), 0U);
  EXPECT_EQ(Host.Events().Now() - Before, 500000U);
  EXPECT_EQ(Ticks, 5);
  Host.Keyboard().PushKey(SCAN_ESC, 0);
  ASSERT_EQ(Run.Resume(), DriverRun::State::Finished);
  EXPECT_EQ(Run.Status(), static_cast<EFI_STATUS>(SCAN_ESC));
  Boot->CloseEvent(Timer);
}

TEST(DriverRunAbandon, AnAbandonedRunIsSafeToDestroyWithThePlatform) {
  // LeakSanitizer and AddressSanitizer fail this test if the run or the pool leaks.
  Platform Host;
  DriverRun Run(Host, [] {
    VOID *Block = nullptr;
    Platform::Current().BootServices()->AllocatePool(EfiBootServicesData, 4096, &Block);
    WaitKey();
    return EFI_SUCCESS;
  });
  ASSERT_EQ(Run.Resume(), DriverRun::State::Waiting);
  EXPECT_EQ(Host.Pool().Snapshot().Blocks, 1U);
}

TEST_F(DriverRunTest, OutsideARunStallNeverYields) {
  EFI_INPUT_KEY Key{};
  ASSERT_EQ(System->ConIn->ReadKeyStroke(System->ConIn, &Key), EFI_NOT_READY);
  UINT64 Before = Host.Events().Now();
  EXPECT_EQ(Boot->Stall(250), EFI_SUCCESS);
  EXPECT_EQ(Host.Events().Now() - Before, 2500U);
}

TEST_F(DriverRunTest, AStallThatIsNotAKeyWaitAdvancesTheClockInsideARun) {
  DriverRun Run(Host, [] {
    Platform::Current().BootServices()->Stall(1000);
    return EFI_SUCCESS;
  });
  ASSERT_EQ(Run.Resume(), DriverRun::State::Finished);
  EXPECT_EQ(Host.Events().Now(), 10000U);
}

TEST_F(DriverRunTest, ResetSystemEndsTheRunForGood) {
  DriverRun Run(Host, [] {
    Platform::Current().RuntimeServices()->ResetSystem(EfiResetCold, EFI_SUCCESS, 0, nullptr);
    return EFI_SUCCESS;
  });
  EXPECT_EQ(Run.Resume(), DriverRun::State::ResetRequested);
  ASSERT_TRUE(Host.LastReset().has_value());
  EXPECT_EQ(Host.LastReset()->Type, EfiResetCold);
  EXPECT_EQ(Run.Resume(), DriverRun::State::ResetRequested);
}

TEST_F(DriverRunTest, WaitForEventOnTheKeyboardIsAKeyWait) {
  DriverRun Run(Host, [] {
    EFI_SYSTEM_TABLE *System = Platform::Current().SystemTable();
    UINTN Index = 0;
    EFI_EVENT Events[1] = {System->ConIn->WaitForKey};
    return System->BootServices->WaitForEvent(1, Events, &Index);
  });
  ASSERT_EQ(Run.Resume(), DriverRun::State::Waiting);
  Host.Keyboard().PushKey(SCAN_NULL, u'a');
  ASSERT_EQ(Run.Resume(), DriverRun::State::Finished);
  EXPECT_EQ(Run.Status(), EFI_SUCCESS);
}

TEST_F(DriverRunTest, TheKeyWaitHookCanTypeWithoutARun) {
  UINT64 Waited = 0;
  Host.SetKeyWaitHook([this, &Waited](UINT64 Microseconds) {
    Waited += Microseconds;
    if (Waited >= 300) {
      Host.Keyboard().PushKey(SCAN_NULL, u'h');
    }
  });
  EXPECT_EQ(WaitKey().Key.UnicodeChar, u'h');
  EXPECT_EQ(Waited, 300U);
  EXPECT_EQ(Host.Events().Now(), 3000U);
}

} // namespace
} // namespace morvane::host::test
