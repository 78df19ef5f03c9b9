#include "host/driver_run.h"

#include <cstdlib>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>

#include "host/platform.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define MORVANE_ASAN_FIBERS 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define MORVANE_ASAN_FIBERS 1
#endif

#ifdef MORVANE_ASAN_FIBERS
#include <sanitizer/asan_interface.h>
#include <sanitizer/common_interface_defs.h>
#endif

namespace morvane::host {

namespace {
// The sanitizers make frames much larger than in the firmware build.
constexpr size_t RUN_STACK_BYTES = 8 * 1024 * 1024;

// The run whose coroutine starts next; makecontext passes no pointer portably.
DriverRun *Starting = nullptr;

void StartSwitch(void **FakeStackSave, const void *Bottom, size_t Size) {
#ifdef MORVANE_ASAN_FIBERS
  __sanitizer_start_switch_fiber(FakeStackSave, Bottom, Size);
#endif
}

void FinishSwitch(void *FakeStackSave, const void **BottomOld, size_t *SizeOld) {
#ifdef MORVANE_ASAN_FIBERS
  __sanitizer_finish_switch_fiber(FakeStackSave, BottomOld, SizeOld);
#endif
}

// A run abandoned while suspended leaves AddressSanitizer's marks of its live frames on the
// stack; the mapping may come back for the next run, which would then trip over them.
void ForgetStack(void *Stack, size_t Bytes) {
#ifdef MORVANE_ASAN_FIBERS
  __asan_unpoison_memory_region(Stack, Bytes);
#else
  (void)Stack;
  (void)Bytes;
#endif
}
} // namespace

DriverRun::DriverRun(Platform &Owner, std::function<EFI_STATUS()> Body)
    : Owner(Owner), Body(std::move(Body)) {
  size_t Page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  StackBytes = RUN_STACK_BYTES;
  void *Mapping = mmap(nullptr, StackBytes + Page, PROT_READ | PROT_WRITE,
                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (Mapping == MAP_FAILED) {
    throw std::runtime_error("cannot map a stack for the driver run");
  }
  // A guard page below the stack turns an overflow into a fault.
  mprotect(Mapping, Page, PROT_NONE);
  Stack = static_cast<char *>(Mapping) + Page;
}

DriverRun::~DriverRun() {
  size_t Page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  ForgetStack(Stack, StackBytes);
  munmap(static_cast<char *>(Stack) - Page, StackBytes + Page);
}

void DriverRun::Entry() {
  DriverRun *Run = Starting;
  Starting = nullptr;
  FinishSwitch(nullptr, &Run->OwnerStackBottom, &Run->OwnerStackSize);
  Run->Result = Run->Body();
  Run->Now = State::Finished;
  // A null save slot tells AddressSanitizer this stack is done for good.
  StartSwitch(nullptr, Run->OwnerStackBottom, Run->OwnerStackSize);
  setcontext(&Run->OwnerContext);
  std::abort();
}

DriverRun::State DriverRun::Resume() {
  if (Now == State::Finished || Now == State::ResetRequested) {
    return Now;
  }
  if (Owner.ActiveRun() != nullptr) {
    throw std::logic_error("a driver run cannot resume another");
  }
  if (Now == State::NotStarted) {
    getcontext(&RunContext);
    RunContext.uc_stack.ss_sp = Stack;
    RunContext.uc_stack.ss_size = StackBytes;
    RunContext.uc_link = nullptr;
    makecontext(&RunContext, Entry, 0);
    Starting = this;
  }
  Owner.SetActiveRun(this);
  StartSwitch(&OwnerFakeStack, Stack, StackBytes);
  swapcontext(&OwnerContext, &RunContext);
  FinishSwitch(OwnerFakeStack, nullptr, nullptr);
  Owner.SetActiveRun(nullptr);
  return Now;
}

void DriverRun::SwitchToOwner() {
  void *RunFakeStack = nullptr;
  StartSwitch(&RunFakeStack, OwnerStackBottom, OwnerStackSize);
  swapcontext(&RunContext, &OwnerContext);
  FinishSwitch(RunFakeStack, &OwnerStackBottom, &OwnerStackSize);
}

UINT64 DriverRun::ConsumeWaitBudget(UINT64 Microseconds) {
  UINT64 Used = Microseconds < Budget ? Microseconds : Budget;
  Budget -= Used;
  return Used;
}

void DriverRun::SuspendWaiting() {
  Now = State::Waiting;
  SwitchToOwner();
}

void DriverRun::StopForReset() {
  Now = State::ResetRequested;
  StartSwitch(nullptr, OwnerStackBottom, OwnerStackSize);
  setcontext(&OwnerContext);
  std::abort();
}

} // namespace morvane::host
