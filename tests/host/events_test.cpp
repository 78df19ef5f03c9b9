#include <string>
#include <vector>

#include "tests/host/host_test.h"

namespace morvane::host::test {
namespace {

using EventsTest = HostTest;

std::vector<std::string> Calls;

VOID EFIAPI Record(EFI_EVENT Event, VOID *Context) {
  Calls.push_back(static_cast<const char *>(Context));
}

EFI_EVENT Make(EFI_BOOT_SERVICES *Boot, UINT32 Type, EFI_TPL Tpl, const char *Name) {
  EFI_EVENT Event = nullptr;
  EXPECT_EQ(Boot->CreateEvent(Type, Tpl, Record, const_cast<char *>(Name), &Event), EFI_SUCCESS);
  return Event;
}

struct CreateCase {
  const char *Name;
  UINT32 Type;
  EFI_TPL Tpl;
  bool WithFunction;
};

class CreateEventRefusalTest : public HostTest, public ::testing::WithParamInterface<CreateCase> {};

TEST_P(CreateEventRefusalTest, RefusedWithInvalidParameter) {
  const CreateCase &Case = GetParam();
  EFI_EVENT Event = nullptr;
  EXPECT_EQ(
      Boot->CreateEvent(Case.Type, Case.Tpl, Case.WithFunction ? Record : nullptr, nullptr, &Event),
      EFI_INVALID_PARAMETER);
  EXPECT_EQ(Host.Events().OpenEvents(), 2U); // the two key-wait events of the console
}

INSTANTIATE_TEST_SUITE_P(
    Cases, CreateEventRefusalTest,
    ::testing::Values(CreateCase{"WaitAndSignal", EVT_NOTIFY_WAIT | EVT_NOTIFY_SIGNAL, TPL_CALLBACK,
                                 true},
                      CreateCase{"NoFunction", EVT_NOTIFY_SIGNAL, TPL_CALLBACK, false},
                      CreateCase{"ApplicationLevel", EVT_NOTIFY_SIGNAL, TPL_APPLICATION, true},
                      CreateCase{"AboveHighLevel", EVT_NOTIFY_SIGNAL, TPL_HIGH_LEVEL + 1, true},
                      CreateCase{"UnknownBits", 0x00000004, TPL_CALLBACK, true}),
    [](const auto &Info) { return std::string(Info.param.Name); });

TEST_F(EventsTest, CreateEventNeedsSomewhereToPutTheEvent) {
  EXPECT_EQ(Boot->CreateEvent(0, 0, nullptr, nullptr, nullptr), EFI_INVALID_PARAMETER);
}

TEST_F(EventsTest, SignalRunsTheNotificationAtOnceAtApplicationLevel) {
  Calls.clear();
  EFI_EVENT Event = Make(Boot, EVT_NOTIFY_SIGNAL, TPL_CALLBACK, "a");
  ASSERT_EQ(Boot->SignalEvent(Event), EFI_SUCCESS);
  EXPECT_EQ(Calls, std::vector<std::string>{"a"});
  EXPECT_EQ(Boot->CheckEvent(Event), EFI_INVALID_PARAMETER);
  Boot->CloseEvent(Event);
}

TEST_F(EventsTest, CheckEventConsumesTheSignalOfAPlainEvent) {
  EFI_EVENT Event = nullptr;
  ASSERT_EQ(Boot->CreateEvent(0, 0, nullptr, nullptr, &Event), EFI_SUCCESS);
  EXPECT_EQ(Boot->CheckEvent(Event), EFI_NOT_READY);
  Boot->SignalEvent(Event);
  EXPECT_EQ(Boot->CheckEvent(Event), EFI_SUCCESS);
  EXPECT_EQ(Boot->CheckEvent(Event), EFI_NOT_READY);
  Boot->CloseEvent(Event);
}

TEST_F(EventsTest, HeldNotificationsRunByPriorityThenInSignalOrder) {
  Calls.clear();
  EFI_EVENT A = Make(Boot, EVT_NOTIFY_SIGNAL, TPL_CALLBACK, "callback-1");
  EFI_EVENT B = Make(Boot, EVT_NOTIFY_SIGNAL, TPL_NOTIFY, "notify-1");
  EFI_EVENT C = Make(Boot, EVT_NOTIFY_SIGNAL, TPL_CALLBACK, "callback-2");
  EFI_EVENT D = Make(Boot, EVT_NOTIFY_SIGNAL, TPL_NOTIFY, "notify-2");
  EFI_TPL Old = Boot->RaiseTPL(TPL_HIGH_LEVEL);
  EXPECT_EQ(Old, static_cast<EFI_TPL>(TPL_APPLICATION));
  for (EFI_EVENT Event : {A, B, C, D}) {
    Boot->SignalEvent(Event);
  }
  EXPECT_TRUE(Calls.empty());
  Boot->RestoreTPL(Old);
  EXPECT_EQ(Calls, (std::vector<std::string>{"notify-1", "notify-2", "callback-1", "callback-2"}));
  for (EFI_EVENT Event : {A, B, C, D}) {
    Boot->CloseEvent(Event);
  }
}

TEST_F(EventsTest, RestoringToAMiddleLevelRunsOnlyHigherNotifications) {
  Calls.clear();
  EFI_EVENT Low = Make(Boot, EVT_NOTIFY_SIGNAL, TPL_CALLBACK, "callback");
  EFI_EVENT High = Make(Boot, EVT_NOTIFY_SIGNAL, TPL_NOTIFY, "notify");
  EFI_TPL Old = Boot->RaiseTPL(TPL_HIGH_LEVEL);
  Boot->SignalEvent(Low);
  Boot->SignalEvent(High);
  Boot->RestoreTPL(TPL_CALLBACK);
  EXPECT_EQ(Calls, std::vector<std::string>{"notify"});
  Boot->RestoreTPL(Old);
  EXPECT_EQ(Calls, (std::vector<std::string>{"notify", "callback"}));
  Boot->CloseEvent(Low);
  Boot->CloseEvent(High);
}

TEST_F(EventsTest, ClosingAnEventDropsItsPendingNotification) {
  Calls.clear();
  EFI_EVENT Event = Make(Boot, EVT_NOTIFY_SIGNAL, TPL_CALLBACK, "closed");
  EFI_TPL Old = Boot->RaiseTPL(TPL_NOTIFY);
  Boot->SignalEvent(Event);
  ASSERT_EQ(Boot->CloseEvent(Event), EFI_SUCCESS);
  Boot->RestoreTPL(Old);
  EXPECT_TRUE(Calls.empty());
  EXPECT_EQ(Boot->CloseEvent(Event), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->SignalEvent(Event), EFI_INVALID_PARAMETER);
}

TEST_F(EventsTest, SignallingOneEventOfAGroupSignalsTheWholeGroup) {
  Calls.clear();
  EFI_EVENT First = nullptr;
  EFI_EVENT Second = nullptr;
  EFI_EVENT Outsider = nullptr;
  ASSERT_EQ(
      Boot->CreateEventEx(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, Record, "first", &kProtocolA, &First),
      EFI_SUCCESS);
  ASSERT_EQ(
      Boot->CreateEventEx(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, Record, "second", &kProtocolA, &Second),
      EFI_SUCCESS);
  ASSERT_EQ(Boot->CreateEventEx(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, Record, "outsider", &kProtocolB,
                                &Outsider),
            EFI_SUCCESS);
  Boot->SignalEvent(Second);
  EXPECT_EQ(Calls, (std::vector<std::string>{"first", "second"}));
  for (EFI_EVENT Event : {First, Second, Outsider}) {
    Boot->CloseEvent(Event);
  }
}

TEST_F(EventsTest, RelativeTimerFiresOnceWhenItsTimeComes) {
  Calls.clear();
  EFI_EVENT Timer = Make(Boot, EVT_TIMER | EVT_NOTIFY_SIGNAL, TPL_CALLBACK, "tick");
  // 1 ms in 100 ns units.
  ASSERT_EQ(Boot->SetTimer(Timer, TimerRelative, 10000), EFI_SUCCESS);
  Boot->Stall(999);
  EXPECT_TRUE(Calls.empty());
  Boot->Stall(1);
  EXPECT_EQ(Calls.size(), 1U);
  Boot->Stall(5000);
  EXPECT_EQ(Calls.size(), 1U);
  Boot->CloseEvent(Timer);
}

TEST_F(EventsTest, PeriodicTimerFiresEveryPeriodUntilCancelled) {
  Calls.clear();
  EFI_EVENT Timer = Make(Boot, EVT_TIMER | EVT_NOTIFY_SIGNAL, TPL_CALLBACK, "tick");
  ASSERT_EQ(Boot->SetTimer(Timer, TimerPeriodic, 1000), EFI_SUCCESS);
  Boot->Stall(350);
  EXPECT_EQ(Calls.size(), 3U);
  ASSERT_EQ(Boot->SetTimer(Timer, TimerCancel, 0), EFI_SUCCESS);
  Boot->Stall(1000);
  EXPECT_EQ(Calls.size(), 3U);
  Boot->CloseEvent(Timer);
}

TEST_F(EventsTest, TimersDueInOneAdvanceFireInOrderOfDueTime) {
  Calls.clear();
  EFI_EVENT Late = Make(Boot, EVT_TIMER | EVT_NOTIFY_SIGNAL, TPL_CALLBACK, "late");
  EFI_EVENT Early = Make(Boot, EVT_TIMER | EVT_NOTIFY_SIGNAL, TPL_CALLBACK, "early");
  Boot->SetTimer(Late, TimerRelative, 3000);
  Boot->SetTimer(Early, TimerRelative, 2000);
  Boot->Stall(1000);
  EXPECT_EQ(Calls, (std::vector<std::string>{"early", "late"}));
  Boot->CloseEvent(Late);
  Boot->CloseEvent(Early);
}

TEST_F(EventsTest, TimerFiringUnderRaisedPriorityWaitsForRestore) {
  Calls.clear();
  EFI_EVENT Callback = Make(Boot, EVT_TIMER | EVT_NOTIFY_SIGNAL, TPL_CALLBACK, "callback");
  EFI_EVENT Notify = Make(Boot, EVT_TIMER | EVT_NOTIFY_SIGNAL, TPL_NOTIFY, "notify");
  Boot->SetTimer(Callback, TimerRelative, 10);
  Boot->SetTimer(Notify, TimerRelative, 20);
  EFI_TPL Old = Boot->RaiseTPL(TPL_CALLBACK);
  Boot->Stall(10);
  // The notify-level timer preempts the raised callback level; the other waits.
  EXPECT_EQ(Calls, std::vector<std::string>{"notify"});
  Boot->RestoreTPL(Old);
  EXPECT_EQ(Calls, (std::vector<std::string>{"notify", "callback"}));
  Boot->CloseEvent(Callback);
  Boot->CloseEvent(Notify);
}

TEST_F(EventsTest, SetTimerRefusesNonTimersAndUnknownKinds) {
  EFI_EVENT Plain = Make(Boot, EVT_NOTIFY_SIGNAL, TPL_CALLBACK, "plain");
  EXPECT_EQ(Boot->SetTimer(Plain, TimerRelative, 10), EFI_INVALID_PARAMETER);
  EFI_EVENT Timer = Make(Boot, EVT_TIMER | EVT_NOTIFY_SIGNAL, TPL_CALLBACK, "timer");
  EXPECT_EQ(Boot->SetTimer(Timer, static_cast<EFI_TIMER_DELAY>(3), 10), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->SetTimer(nullptr, TimerRelative, 10), EFI_INVALID_PARAMETER);
  Boot->CloseEvent(Plain);
  Boot->CloseEvent(Timer);
}

TEST_F(EventsTest, WaitForEventJumpsTheClockToTheTimer) {
  EFI_EVENT Timer = nullptr;
  ASSERT_EQ(Boot->CreateEvent(EVT_TIMER, 0, nullptr, nullptr, &Timer), EFI_SUCCESS);
  EFI_EVENT Idle = nullptr;
  Boot->CreateEvent(0, 0, nullptr, nullptr, &Idle);
  Boot->SetTimer(Timer, TimerRelative, 5000000);
  EFI_EVENT Waited[2] = {Idle, Timer};
  UINTN Index = 9;
  ASSERT_EQ(Boot->WaitForEvent(2, Waited, &Index), EFI_SUCCESS);
  EXPECT_EQ(Index, 1U);
  EXPECT_EQ(Host.Events().Now(), 5000000U);
  Boot->CloseEvent(Timer);
  Boot->CloseEvent(Idle);
}

TEST_F(EventsTest, WaitForEventStatuses) {
  EFI_EVENT Signal = Make(Boot, EVT_NOTIFY_SIGNAL, TPL_CALLBACK, "signal");
  UINTN Index = 0;
  EXPECT_EQ(Boot->WaitForEvent(0, &Signal, &Index), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->WaitForEvent(1, &Signal, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->WaitForEvent(1, &Signal, &Index), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Index, 0U);
  EFI_TPL Old = Boot->RaiseTPL(TPL_CALLBACK);
  EXPECT_EQ(Boot->WaitForEvent(1, &System->ConIn->WaitForKey, &Index), EFI_UNSUPPORTED);
  Boot->RestoreTPL(Old);
  Host.Keyboard().PushKey(SCAN_NULL, u'k');
  EFI_EVENT Keys[1] = {System->ConIn->WaitForKey};
  ASSERT_EQ(Boot->WaitForEvent(1, Keys, &Index), EFI_SUCCESS);
  EXPECT_EQ(Index, 0U);
  Boot->CloseEvent(Signal);
}

VOID EFIAPI CountWaitChecks(EFI_EVENT Event, VOID *Context) {
  (*static_cast<int *>(Context))++;
}

TEST_F(EventsTest, CheckingAWaitEventRunsItsNotification) {
  int Checks = 0;
  EFI_EVENT Event = nullptr;
  ASSERT_EQ(Boot->CreateEvent(EVT_NOTIFY_WAIT, TPL_NOTIFY, CountWaitChecks, &Checks, &Event),
            EFI_SUCCESS);
  EXPECT_EQ(Boot->CheckEvent(Event), EFI_NOT_READY);
  EXPECT_EQ(Boot->CheckEvent(Event), EFI_NOT_READY);
  EXPECT_EQ(Checks, 2);
  Boot->CloseEvent(Event);
}

} // namespace
} // namespace morvane::host::test
