#include "host/events.h"

#include <algorithm>
#include <cstring>

namespace morvane::host {

namespace {
constexpr UINT32 EVENT_TYPE_BITS = EVT_TIMER | EVT_RUNTIME | EVT_NOTIFY_WAIT | EVT_NOTIFY_SIGNAL;
} // namespace

struct EventService::EventRecord {
  UINT32 Type = 0;
  EFI_TPL NotifyTpl = 0;
  EFI_EVENT_NOTIFY NotifyFunction = nullptr;
  VOID *Context = nullptr;
  bool Signalled = false;
  bool Queued = false;
  bool InGroup = false;
  EFI_GUID Group{};
  bool Armed = false;
  bool Periodic = false;
  UINT64 Due = 0;
  UINT64 Period = 0;
  UINT64 ArmOrder = 0;
};

EventService::EventService() = default;

EventService::~EventService() = default;

EventService::EventRecord *EventService::Find(EFI_EVENT Event) const {
  if (Event == nullptr) {
    return nullptr;
  }
  for (auto &Record : Records) {
    if (Record.get() == Event) {
      return Record.get();
    }
  }
  return nullptr;
}

bool EventService::IsSignalNotify(EFI_EVENT Event) const {
  EventRecord *Record = Find(Event);
  return Record != nullptr && (Record->Type & EVT_NOTIFY_SIGNAL) != 0;
}

EFI_STATUS EventService::Create(UINT32 Type, EFI_TPL NotifyTpl, EFI_EVENT_NOTIFY NotifyFunction,
                                const VOID *NotifyContext, const EFI_GUID *Group,
                                EFI_EVENT *Event) {
  if (Event == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  // The two published special types are signal events of groups this platform never signals,
  // since it has no ExitBootServices and no virtual address change.
  bool Special = Type == EVT_SIGNAL_EXIT_BOOT_SERVICES || Type == EVT_SIGNAL_VIRTUAL_ADDRESS_CHANGE;
  if (Special && Group != nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (!Special && (Type & ~EVENT_TYPE_BITS) != 0) {
    return EFI_INVALID_PARAMETER;
  }
  if ((Type & EVT_NOTIFY_WAIT) != 0 && (Type & EVT_NOTIFY_SIGNAL) != 0) {
    return EFI_INVALID_PARAMETER;
  }
  if ((Type & (EVT_NOTIFY_WAIT | EVT_NOTIFY_SIGNAL)) != 0) {
    if (NotifyFunction == nullptr || NotifyTpl <= TPL_APPLICATION || NotifyTpl > TPL_HIGH_LEVEL) {
      return EFI_INVALID_PARAMETER;
    }
  }
  auto Record = std::make_unique<EventRecord>();
  Record->Type = Type;
  Record->NotifyTpl = NotifyTpl;
  Record->NotifyFunction = NotifyFunction;
  Record->Context = const_cast<VOID *>(NotifyContext);
  if (Group != nullptr) {
    Record->InGroup = true;
    Record->Group = *Group;
  }
  *Event = Record.get();
  Records.push_back(std::move(Record));
  return EFI_SUCCESS;
}

void EventService::Queue(EventRecord *Record) {
  if (!Record->Queued) {
    Record->Queued = true;
    Pending[Record->NotifyTpl].push_back(Record);
  }
}

void EventService::MarkSignalled(EventRecord *Record) {
  if (!Record->Signalled) {
    Record->Signalled = true;
    if ((Record->Type & EVT_NOTIFY_SIGNAL) != 0) {
      Queue(Record);
    }
  }
}

void EventService::Dispatch() {
  for (;;) {
    EFI_TPL Level = TPL_HIGH_LEVEL;
    while (Level > Tpl && Pending[Level].empty()) {
      Level--;
    }
    if (Level <= Tpl) {
      return;
    }
    EventRecord *Record = Pending[Level].front();
    Pending[Level].pop_front();
    Record->Queued = false;
    // A signal notification consumes the signal; a wait notification only tests for it.
    if ((Record->Type & EVT_NOTIFY_SIGNAL) != 0) {
      Record->Signalled = false;
    }
    EFI_TPL Saved = Tpl;
    Tpl = Level;
    Record->NotifyFunction(Record, Record->Context);
    Tpl = Saved;
  }
}

EFI_STATUS EventService::Signal(EFI_EVENT Event) {
  EventRecord *Record = Find(Event);
  if (Record == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (Record->InGroup) {
    for (auto &Member : Records) {
      if (Member->InGroup && std::memcmp(&Member->Group, &Record->Group, sizeof(EFI_GUID)) == 0) {
        MarkSignalled(Member.get());
      }
    }
  } else {
    MarkSignalled(Record);
  }
  Dispatch();
  return EFI_SUCCESS;
}

EFI_STATUS EventService::Close(EFI_EVENT Event) {
  EventRecord *Record = Find(Event);
  if (Record == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (Record->Queued) {
    auto &Level = Pending[Record->NotifyTpl];
    Level.erase(std::remove(Level.begin(), Level.end(), Record), Level.end());
  }
  Records.erase(std::find_if(Records.begin(), Records.end(),
                             [Record](const auto &Owned) { return Owned.get() == Record; }));
  if (OnClose) {
    OnClose(Event);
  }
  return EFI_SUCCESS;
}

EFI_STATUS EventService::Check(EFI_EVENT Event) {
  EventRecord *Record = Find(Event);
  if (Record == nullptr || (Record->Type & EVT_NOTIFY_SIGNAL) != 0) {
    return EFI_INVALID_PARAMETER;
  }
  if (!Record->Signalled && (Record->Type & EVT_NOTIFY_WAIT) != 0) {
    Queue(Record);
    Dispatch();
  }
  if (Record->Signalled) {
    Record->Signalled = false;
    return EFI_SUCCESS;
  }
  return EFI_NOT_READY;
}

EFI_STATUS EventService::SetTimer(EFI_EVENT Event, EFI_TIMER_DELAY Type, UINT64 TriggerTime) {
  EventRecord *Record = Find(Event);
  if (Record == nullptr || (Record->Type & EVT_TIMER) == 0) {
    return EFI_INVALID_PARAMETER;
  }
  switch (Type) {
  case TimerCancel:
    Record->Armed = false;
    return EFI_SUCCESS;
  case TimerPeriodic:
  case TimerRelative:
    Record->Armed = true;
    Record->Due = Clock + TriggerTime;
    Record->Periodic = Type == TimerPeriodic;
    Record->Period = TriggerTime;
    Record->ArmOrder = ++ArmSerial;
    return EFI_SUCCESS;
  default:
    return EFI_INVALID_PARAMETER;
  }
}

EFI_TPL EventService::RaiseTpl(EFI_TPL NewTpl) {
  EFI_TPL Old = Tpl;
  // Lowering through RaiseTPL is undefined; keep the level rather than drop below it.
  if (NewTpl > Tpl && NewTpl <= TPL_HIGH_LEVEL) {
    Tpl = NewTpl;
  }
  return Old;
}

void EventService::RestoreTpl(EFI_TPL OldTpl) {
  if (OldTpl > Tpl) {
    return;
  }
  Tpl = OldTpl;
  Dispatch();
}

bool EventService::NextTimerDue(UINT64 *Due) const {
  bool Found = false;
  for (auto &Record : Records) {
    if (Record->Armed && (!Found || Record->Due < *Due)) {
      *Due = Record->Due;
      Found = true;
    }
  }
  return Found;
}

void EventService::Advance(UINT64 Units) {
  UINT64 Target = Clock + Units;
  for (;;) {
    EventRecord *Next = nullptr;
    for (auto &Record : Records) {
      if (Record->Armed && Record->Due <= Target &&
          (Next == nullptr || Record->Due < Next->Due ||
           (Record->Due == Next->Due && Record->ArmOrder < Next->ArmOrder))) {
        Next = Record.get();
      }
    }
    if (Next == nullptr) {
      break;
    }
    Clock = std::max(Clock, Next->Due);
    if (!Next->Periodic) {
      Next->Armed = false;
    } else if (Next->Period == 0) {
      // A zero period fires on every tick; here that is once per advance.
      Next->Due = Target + 1;
    } else {
      Next->Due += Next->Period;
    }
    Next->ArmOrder = ++ArmSerial;
    MarkSignalled(Next);
    Dispatch();
  }
  Clock = Target;
}

} // namespace morvane::host
