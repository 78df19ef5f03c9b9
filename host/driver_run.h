// Runs driver code (a SendForm call, say) as a coroutine on its own stack until it finishes or
// waits for a key, so a test can type between the waits. A key wait is seen in Stall: the most
// recent key read found the queue empty and no wait budget is left.
#pragma once

#include <functional>
#include <ucontext.h>

#include "uefi/base.h"

namespace morvane::host {

class Platform;

class DriverRun {
public:
  enum class State { NotStarted, Waiting, Finished, ResetRequested };

  DriverRun(Platform &Owner, std::function<EFI_STATUS()> Body);
  // Safe at any state: a run abandoned while waiting just loses its stack; the platform frees
  // the pool it allocated.
  ~DriverRun();
  DriverRun(const DriverRun &) = delete;
  DriverRun &operator=(const DriverRun &) = delete;

  // Runs until the body returns or waits for a key. A finished run stays finished.
  State Resume();
  State CurrentState() const { return Now; }
  bool Finished() const { return Now == State::Finished; }
  // The body's status once Finished.
  EFI_STATUS Status() const { return Result; }

  // The next key-wait stalls consume this much virtual time before Waiting is reported again.
  void AddWaitBudget(UINT64 Microseconds) { Budget += Microseconds; }
  UINT64 WaitBudget() const { return Budget; }

  // Called from the platform on the run's own stack.
  UINT64 ConsumeWaitBudget(UINT64 Microseconds);
  void SuspendWaiting();
  // ResetSystem: the run never continues.
  [[noreturn]] void StopForReset();

private:
  static void Entry();
  void SwitchToOwner();

  Platform &Owner;
  std::function<EFI_STATUS()> Body;
  State Now = State::NotStarted;
  EFI_STATUS Result = EFI_NOT_STARTED;
  UINT64 Budget = 0;
  ucontext_t OwnerContext{};
  ucontext_t RunContext{};
  void *Stack = nullptr;
  size_t StackBytes = 0;
  // The owner's stack as AddressSanitizer knows it, for switching back.
  const void *OwnerStackBottom = nullptr;
  size_t OwnerStackSize = 0;
  void *OwnerFakeStack = nullptr;
};

} // namespace morvane::host
