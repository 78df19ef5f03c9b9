// Events, event groups, timers and task priority levels on a virtual clock. The clock counts
// in the 100 ns units of SetTimer and moves only when someone advances it (Stall does), so a
// test decides exactly when timers fire.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <vector>

#include "uefi/system_table.h"

namespace morvane::host {

class EventService {
public:
  EventService();
  ~EventService();
  EventService(const EventService &) = delete;
  EventService &operator=(const EventService &) = delete;

  // CreateEvent and CreateEventEx; a null Group makes a plain event.
  EFI_STATUS Create(UINT32 Type, EFI_TPL NotifyTpl, EFI_EVENT_NOTIFY NotifyFunction,
                    const VOID *NotifyContext, const EFI_GUID *Group, EFI_EVENT *Event);
  EFI_STATUS Signal(EFI_EVENT Event);
  EFI_STATUS Close(EFI_EVENT Event);
  EFI_STATUS Check(EFI_EVENT Event);
  EFI_STATUS SetTimer(EFI_EVENT Event, EFI_TIMER_DELAY Type, UINT64 TriggerTime);

  EFI_TPL RaiseTpl(EFI_TPL NewTpl);
  void RestoreTpl(EFI_TPL OldTpl);
  EFI_TPL CurrentTpl() const { return Tpl; }

  bool IsEvent(EFI_EVENT Event) const { return Find(Event) != nullptr; }
  bool IsSignalNotify(EFI_EVENT Event) const;
  UINTN OpenEvents() const { return Records.size(); }

  // Virtual time since the platform started, in 100 ns units.
  UINT64 Now() const { return Clock; }
  // Moves the clock forward, firing due timers in order of due time (arming order on a tie)
  // and running the notifications the current TPL allows.
  void Advance(UINT64 Units);
  // Whether any timer is armed, and when the earliest one is due.
  bool NextTimerDue(UINT64 *Due) const;

  // Told of every closed event, so protocol notifications die with their event.
  void SetCloseObserver(std::function<void(EFI_EVENT)> Observer) { OnClose = std::move(Observer); }

private:
  struct EventRecord;

  EventRecord *Find(EFI_EVENT Event) const;
  void MarkSignalled(EventRecord *Record);
  void Queue(EventRecord *Record);
  void Dispatch();

  std::vector<std::unique_ptr<EventRecord>> Records;
  // One FIFO of pending notifications per task priority level.
  std::deque<EventRecord *> Pending[TPL_HIGH_LEVEL + 1];
  EFI_TPL Tpl = TPL_APPLICATION;
  UINT64 Clock = 0;
  UINT64 ArmSerial = 0;
  std::function<void(EFI_EVENT)> OnClose;
};

} // namespace morvane::host
