// The hosted UEFI platform: one object that owns the system table, the boot and runtime
// services, the consoles, the variable store and the clocks a driver sees. UEFI function
// pointers carry no context, so the services reach their state through Platform::Current();
// only one Platform lives at a time.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/events.h"
#include "host/graphics_output.h"
#include "host/handle_database.h"
#include "host/pool.h"
#include "host/real_time_clock.h"
#include "host/speaker.h"
#include "host/text_input.h"
#include "host/text_output.h"
#include "host/text_screen.h"
#include "host/variable_store.h"
#include "uefi/system_table.h"

namespace morvane::host {

struct PlatformOptions {
  UINT32 Columns = 80;
  UINT32 Rows = 25;
  bool GraphicsOutput = true;
  // False leaves the extended input protocol out until InstallExtendedInput().
  bool ExtendedInput = true;
  bool Speaker = true;
  // Empty keeps the variables in memory only.
  std::string VariableStoreFile;
  EFI_TIME StartTime = {2026, 1, 1, 0, 0, 0, 0, 0, EFI_UNSPECIFIED_TIMEZONE, 0, 0};
};

// What a ResetSystem call asked for.
struct ResetRequest {
  EFI_RESET_TYPE Type;
  EFI_STATUS Status;
  std::vector<UINT8> Data;
};

class DriverRun;

class Platform {
public:
  explicit Platform(const PlatformOptions &Options = PlatformOptions());
  ~Platform();
  Platform(const Platform &) = delete;
  Platform &operator=(const Platform &) = delete;

  // The living platform; aborts when there is none.
  static Platform &Current();
  static bool Exists();

  const PlatformOptions &Options() const { return Settings; }

  EFI_SYSTEM_TABLE *SystemTable() { return &System; }
  EFI_BOOT_SERVICES *BootServices() { return &Boot; }
  EFI_RUNTIME_SERVICES *RuntimeServices() { return &Runtime; }
  // A handle to pass as the driver's image handle.
  EFI_HANDLE ImageHandle() const { return Image; }
  EFI_HANDLE ConsoleInHandle() const { return System.ConsoleInHandle; }
  EFI_HANDLE ConsoleOutHandle() const { return System.ConsoleOutHandle; }
  // The handle of the graphics output and its device path; null when omitted.
  EFI_HANDLE GraphicsHandle() const { return GraphicsOutputHandle; }

  PoolAllocator &Pool() { return *Memory; }
  EventService &Events() { return *EventQueue; }
  HandleDatabase &Handles() { return *Database; }
  VariableStore &Variables() { return *Store; }
  RealTimeClock &Clock() { return *TimeOfDay; }
  TextScreen &Screen() { return *ConsoleScreen; }
  TextScreen &ErrorScreen() { return *ErrorOutputScreen; }
  KeyboardInput &Keyboard() { return *Input; }
  // Null when the options leave it out.
  GraphicsOutput *Graphics() { return Video.get(); }
  SpeakerDevice *Speaker() { return Beeper.get(); }

  // Installs the extended text input protocol on the console-in handle (once).
  EFI_STATUS InstallExtendedInput();

  // Moves the virtual clock forward, firing due timers; never yields.
  void AdvanceTime(UINT64 Microseconds);
  // The boot service Stall: advances the clock, or inside a DriverRun waiting for a key
  // consumes the wait budget, calls the key-wait hook or yields to the run's owner.
  EFI_STATUS Stall(UINTN Microseconds);
  // Called from Stall while the driver waits for a key, for a front end that blocks on real
  // input there; the clock advances by the stall afterwards.
  void SetKeyWaitHook(std::function<void(UINT64 Microseconds)> Hook) {
    KeyWaitHook = std::move(Hook);
  }
  // True while the most recent key read found the queue empty.
  bool WaitingForKey() const { return Input->LastReadFoundEmpty(); }
  // Whether a key wait can end: a run to yield from or a hook to block in.
  bool CanWaitForKeys() const { return Active != nullptr || static_cast<bool>(KeyWaitHook); }

  UINT64 NextMonotonicCount() { return ++MonotonicCount; }
  UINT32 NextHighMonotonicCount();

  void RecordReset(EFI_RESET_TYPE Type, EFI_STATUS Status, UINTN DataSize, const VOID *Data);
  const std::optional<ResetRequest> &LastReset() const { return Reset; }

  // The run whose coroutine is executing now, if any; set by DriverRun.
  DriverRun *ActiveRun() const { return Active; }
  void SetActiveRun(DriverRun *Run) { Active = Run; }

  EFI_STATUS InstallConfigurationTable(const EFI_GUID *Guid, VOID *Table);

private:
  void BuildTables();
  void InstallConsoles();
  void RefreshTableCrcs();

  PlatformOptions Settings;
  EFI_SYSTEM_TABLE System{};
  EFI_BOOT_SERVICES Boot{};
  EFI_RUNTIME_SERVICES Runtime{};
  std::u16string Vendor = u"Morvane hosted platform";
  std::vector<EFI_CONFIGURATION_TABLE> ConfigurationTables;

  std::unique_ptr<PoolAllocator> Memory;
  std::unique_ptr<EventService> EventQueue;
  std::unique_ptr<HandleDatabase> Database;
  std::unique_ptr<VariableStore> Store;
  std::unique_ptr<RealTimeClock> TimeOfDay;
  std::unique_ptr<TextScreen> ConsoleScreen;
  std::unique_ptr<TextScreen> ErrorOutputScreen;
  std::unique_ptr<TextOutput> ConsoleOutput;
  std::unique_ptr<TextOutput> ErrorOutput;
  std::unique_ptr<KeyboardInput> Input;
  std::unique_ptr<GraphicsOutput> Video;
  std::unique_ptr<SpeakerDevice> Beeper;

  EFI_HANDLE Image = nullptr;
  EFI_HANDLE GraphicsOutputHandle = nullptr;
  bool ExtendedInputInstalled = false;
  UINT64 MonotonicCount = 0;
  std::optional<ResetRequest> Reset;
  DriverRun *Active = nullptr;
  std::function<void(UINT64)> KeyWaitHook;
};

} // namespace morvane::host
