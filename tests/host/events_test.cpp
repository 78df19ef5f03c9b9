// Events and timers: signalling, notification order by priority level, groups, timers on the
// virtual clock, and waiting.
#include <string>
#include <vector>

#include "tests/host/host_test.h"

namespace morvane::host::test {
namespace {

std::vector<std::string> Calls;

VOID EFIAPI Record(EFI_EVENT Event, VOID *Context) {
  Calls.push_back(static_cast<const char *>(Context));
}

class EventsTest : public HostTest {
protected:
  void SetUp() override { Calls.clear(); }

  // An event that records Name when notified; closed at the end of the test.
  EFI_EVENT Make(UINT32 Type, EFI_TPL Tpl, const char *Name) {
    EFI_EVENT Event = nullptr;
    EXPECT_EQ(Boot->CreateEvent(Type, Tpl, Record, const_cast<char *>(Name), &Event), EFI_SUCCESS);
    Made.push_back(Event);
    return Event;
  }
  EFI_EVENT Timer(EFI_TPL Tpl, const char *Name) {
    return Make(EVT_TIMER | EVT_NOTIFY_SIGNAL, Tpl, Name);
  }
  void TearDown() override {
    for (EFI_EVENT Event : Made) {
      Boot->CloseEvent(Event);
    }
  }

  std::vector<EFI_EVENT> Made;
};

TEST_F(EventsTest, CreateEventRefusesBadTypesLevelsAndPointers) {
  struct CreateCase {
    const char *Name;
    UINT32 Type;
    EFI_TPL Tpl;
    EFI_EVENT_NOTIFY Function;
  };
  for (const CreateCase &Case : {
           CreateCase{"wait and signal", EVT_NOTIFY_WAIT | EVT_NOTIFY_SIGNAL, TPL_CALLBACK, Record},
           CreateCase{"no function", EVT_NOTIFY_SIGNAL, TPL_CALLBACK, nullptr},
           CreateCase{"application level", EVT_NOTIFY_SIGNAL, TPL_APPLICATION, Record},
           CreateCase{"above high level", EVT_NOTIFY_SIGNAL, TPL_HIGH_LEVEL + 1, Record},
           CreateCase{"unknown bits", 0x00000004, TPL_CALLBACK, Record},
       }) {
    EFI_EVENT Event = nullptr;
    EXPECT_EQ(Boot->CreateEvent(Case.Type, Case.Tpl, Case.Function, nullptr, &Event),
              EFI_INVALID_PARAMETER)
        << Case.Name;
  }
  EXPECT_EQ(Host.Events().OpenEvents(), 2U); // the two key-wait events of the console
  EXPECT_EQ(Boot->CreateEvent(0, 0, nullptr, nullptr, nullptr), EFI_INVALID_PARAMETER);
}

TEST_F(EventsTest, SignalNotifiesAtOnceAndCheckConsumesAPlainSignal) {
  EFI_EVENT Event = Make(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, "a");
  ASSERT_EQ(Boot->SignalEvent(Event), EFI_SUCCESS);
  EXPECT_EQ(Calls, std::vector<std::string>{"a"});
  EXPECT_EQ(Boot->CheckEvent(Event), EFI_INVALID_PARAMETER);

  EFI_EVENT Plain = nullptr;
  ASSERT_EQ(Boot->CreateEvent(0, 0, nullptr, nullptr, &Plain), EFI_SUCCESS);
  Made.push_back(Plain);
  EXPECT_EQ(Boot->CheckEvent(Plain), EFI_NOT_READY);
  Boot->SignalEvent(Plain);
  EXPECT_EQ(Boot->CheckEvent(Plain), EFI_SUCCESS);
  EXPECT_EQ(Boot->CheckEvent(Plain), EFI_NOT_READY);

  // Checking a wait event runs its notification each time.
  int Checks = 0;
  EFI_EVENT Wait = Counter(&Checks, EVT_NOTIFY_WAIT, TPL_NOTIFY);
  Made.push_back(Wait);
  EXPECT_EQ(Boot->CheckEvent(Wait), EFI_NOT_READY);
  EXPECT_EQ(Boot->CheckEvent(Wait), EFI_NOT_READY);
  EXPECT_EQ(Checks, 2);
}

TEST_F(EventsTest, HeldNotificationsRunByPriorityThenInSignalOrder) {
  EFI_EVENT Events[] = {Make(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, "callback-1"),
                        Make(EVT_NOTIFY_SIGNAL, TPL_NOTIFY, "notify-1"),
                        Make(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, "callback-2"),
                        Make(EVT_NOTIFY_SIGNAL, TPL_NOTIFY, "notify-2")};
  EFI_TPL Old = Boot->RaiseTPL(TPL_HIGH_LEVEL);
  EXPECT_EQ(Old, static_cast<EFI_TPL>(TPL_APPLICATION));
  for (EFI_EVENT Event : Events) {
    Boot->SignalEvent(Event);
  }
  EXPECT_TRUE(Calls.empty());
  // Restoring to a middle level runs only the higher notifications.
  Boot->RestoreTPL(TPL_CALLBACK);
  EXPECT_EQ(Calls, (std::vector<std::string>{"notify-1", "notify-2"}));
  Boot->RestoreTPL(Old);
  EXPECT_EQ(Calls, (std::vector<std::string>{"notify-1", "notify-2", "callback-1", "callback-2"}));
}

TEST_F(EventsTest, ClosingAnEventDropsItsPendingNotification) {
  EFI_EVENT Event = nullptr;
  Boot->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, Record, const_cast<char *>("x"), &Event);
  EFI_TPL Old = Boot->RaiseTPL(TPL_NOTIFY);
  Boot->SignalEvent(Event);
  ASSERT_EQ(Boot->CloseEvent(Event), EFI_SUCCESS);
  Boot->RestoreTPL(Old);
  EXPECT_TRUE(Calls.empty());
  EXPECT_EQ(Boot->CloseEvent(Event), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->SignalEvent(Event), EFI_INVALID_PARAMETER);
}

TEST_F(EventsTest, SignallingOneEventOfAGroupSignalsTheWholeGroup) {
  struct Member {
    const char *Name;
    const EFI_GUID *Group;
  };
  EFI_EVENT Events[3] = {};
  int Index = 0;
  for (Member Each : {Member{"first", &kProtocolA}, Member{"second", &kProtocolA},
                      Member{"outsider", &kProtocolB}}) {
    ASSERT_EQ(Boot->CreateEventEx(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, Record, Each.Name, Each.Group,
                                  &Events[Index]),
              EFI_SUCCESS);
    Made.push_back(Events[Index++]);
  }
  Boot->SignalEvent(Events[1]);
  EXPECT_EQ(Calls, (std::vector<std::string>{"first", "second"}));
}

TEST_F(EventsTest, RelativeAndPeriodicTimersFireWhenTheirTimeComes) {
  EFI_EVENT Once = Timer(TPL_CALLBACK, "once");
  // 1 ms in 100 ns units.
  ASSERT_EQ(Boot->SetTimer(Once, TimerRelative, 10000), EFI_SUCCESS);
  Boot->Stall(999);
  EXPECT_TRUE(Calls.empty());
  Boot->Stall(1);
  EXPECT_EQ(Calls, std::vector<std::string>{"once"});
  Boot->Stall(5000);
  EXPECT_EQ(Calls.size(), 1U);

  Calls.clear();
  EFI_EVENT Tick = Timer(TPL_CALLBACK, "tick");
  ASSERT_EQ(Boot->SetTimer(Tick, TimerPeriodic, 1000), EFI_SUCCESS);
  Boot->Stall(350);
  EXPECT_EQ(Calls.size(), 3U);
  ASSERT_EQ(Boot->SetTimer(Tick, TimerCancel, 0), EFI_SUCCESS);
  Boot->Stall(1000);
  EXPECT_EQ(Calls.size(), 3U);

  EXPECT_EQ(Boot->SetTimer(Make(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, "plain"), TimerRelative, 10),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->SetTimer(Tick, static_cast<EFI_TIMER_DELAY>(3), 10), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->SetTimer(nullptr, TimerRelative, 10), EFI_INVALID_PARAMETER);
}

TEST_F(EventsTest, TimersDueTogetherFireInOrderOfDueTime) {
  Boot->SetTimer(Timer(TPL_CALLBACK, "late"), TimerRelative, 3000);
  Boot->SetTimer(Timer(TPL_CALLBACK, "early"), TimerRelative, 2000);
  Boot->Stall(1000);
  EXPECT_EQ(Calls, (std::vector<std::string>{"early", "late"}));
}

TEST_F(EventsTest, TimerFiringUnderRaisedPriorityWaitsForRestore) {
  Boot->SetTimer(Timer(TPL_CALLBACK, "callback"), TimerRelative, 10);
  Boot->SetTimer(Timer(TPL_NOTIFY, "notify"), TimerRelative, 20);
  EFI_TPL Old = Boot->RaiseTPL(TPL_CALLBACK);
  Boot->Stall(10);
  // The notify-level timer preempts the raised callback level; the other waits.
  EXPECT_EQ(Calls, std::vector<std::string>{"notify"});
  Boot->RestoreTPL(Old);
  EXPECT_EQ(Calls, (std::vector<std::string>{"notify", "callback"}));
}

TEST_F(EventsTest, WaitForEventJumpsTheClockToTheTimer) {
  EFI_EVENT Waited[2] = {};
  ASSERT_EQ(Boot->CreateEvent(0, 0, nullptr, nullptr, &Waited[0]), EFI_SUCCESS);
  ASSERT_EQ(Boot->CreateEvent(EVT_TIMER, 0, nullptr, nullptr, &Waited[1]), EFI_SUCCESS);
  Made.assign(Waited, Waited + 2);
  Boot->SetTimer(Waited[1], TimerRelative, 5000000);
  UINTN Index = 9;
  ASSERT_EQ(Boot->WaitForEvent(2, Waited, &Index), EFI_SUCCESS);
  EXPECT_EQ(Index, 1U);
  EXPECT_EQ(Host.Events().Now(), 5000000U);
}

TEST_F(EventsTest, WaitForEventStatuses) {
  EFI_EVENT Signal = Make(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, "signal");
  UINTN Index = 0;
  EXPECT_EQ(Boot->WaitForEvent(0, &Signal, &Index), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->WaitForEvent(1, &Signal, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->WaitForEvent(1, &Signal, &Index), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Index, 0U);
  EFI_EVENT Keys[1] = {System->ConIn->WaitForKey};
  EFI_TPL Old = Boot->RaiseTPL(TPL_CALLBACK);
  EXPECT_EQ(Boot->WaitForEvent(1, Keys, &Index), EFI_UNSUPPORTED);
  Boot->RestoreTPL(Old);
  Host.Keyboard().PushKey(SCAN_NULL, u'k');
  ASSERT_EQ(Boot->WaitForEvent(1, Keys, &Index), EFI_SUCCESS);
  EXPECT_EQ(Index, 0U);
}

} // namespace
} // namespace morvane::host::test
