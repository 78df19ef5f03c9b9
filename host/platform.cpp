#include "host/platform.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "host/crc32.h"
#include "host/driver_run.h"
#include "host/services.h"

namespace morvane::host {

namespace {
Platform *CurrentInstance = nullptr;

// The protocol that marks the image handle handed to the driver.
constexpr EFI_GUID HOST_IMAGE_GUID = {
    0x2b7c5e1a, 0x8f3d, 0x4c6e, {0xa9, 0x12, 0x6e, 0x0b, 0x47, 0xd3, 0x95, 0x21}};

template <typename Table>
void SetCrc(Table &Target) {
  Target.Hdr.CRC32 = 0;
  Target.Hdr.CRC32 = Crc32(&Target, Target.Hdr.HeaderSize);
}
} // namespace

Platform::Platform(const PlatformOptions &Options) : Settings(Options) {
  if (CurrentInstance != nullptr) {
    throw std::logic_error("only one Platform may live at a time");
  }
  if (Options.Columns == 0 || Options.Rows == 0) {
    throw std::invalid_argument("the console needs at least one column and one row");
  }
  Memory = std::make_unique<PoolAllocator>();
  EventQueue = std::make_unique<EventService>();
  Database = std::make_unique<HandleDatabase>(*Memory, *EventQueue);
  EventQueue->SetCloseObserver([this](EFI_EVENT Event) { Database->ForgetEvent(Event); });
  Store = std::make_unique<VariableStore>(Options.VariableStoreFile);
  TimeOfDay =
      std::make_unique<RealTimeClock>(Options.StartTime, [this]() { return EventQueue->Now(); });
  ConsoleScreen = std::make_unique<TextScreen>(Options.Columns, Options.Rows);
  ErrorOutputScreen = std::make_unique<TextScreen>(Options.Columns, Options.Rows);
  ConsoleOutput = std::make_unique<TextOutput>(*ConsoleScreen);
  ErrorOutput = std::make_unique<TextOutput>(*ErrorOutputScreen);
  Input = std::make_unique<KeyboardInput>(*EventQueue);
  if (Options.GraphicsOutput) {
    Video =
        std::make_unique<GraphicsOutput>(*ConsoleScreen, *Memory, Options.Columns, Options.Rows);
    GraphicsOutput *Display = Video.get();
    ConsoleScreen->SetObserver(
        [Display](UINT32 Column, UINT32 Row) { Display->DrawCell(Column, Row); },
        [Display]() { Display->DrawAll(); });
  }
  if (Options.Speaker) {
    Beeper = std::make_unique<SpeakerDevice>();
  }
  BuildTables();
  InstallConsoles();
  RefreshTableCrcs();
  CurrentInstance = this;
}

Platform::~Platform() {
  // Components go in reverse order of creation; the pool, last, frees what the driver left.
  ConsoleScreen->SetObserver(nullptr, nullptr);
  CurrentInstance = nullptr;
}

Platform &Platform::Current() {
  if (CurrentInstance == nullptr) {
    std::fprintf(stderr, "morvane host: a UEFI service was called with no Platform alive\n");
    std::abort();
  }
  return *CurrentInstance;
}

bool Platform::Exists() {
  return CurrentInstance != nullptr;
}

void Platform::BuildTables() {
  Boot = MakeBootServices();
  Runtime = MakeRuntimeServices();
  System.Hdr = {EFI_SYSTEM_TABLE_SIGNATURE, (2U << 16) | 70U, sizeof(EFI_SYSTEM_TABLE), 0, 0};
  System.FirmwareVendor = Vendor.data();
  System.FirmwareRevision = 0x00010000;
  System.ConIn = Input->SimpleProtocol();
  System.ConOut = ConsoleOutput->Protocol();
  System.StdErr = ErrorOutput->Protocol();
  System.RuntimeServices = &Runtime;
  System.BootServices = &Boot;
  System.NumberOfTableEntries = 0;
  System.ConfigurationTable = nullptr;
}

void Platform::InstallConsoles() {
  Database->Install(&Image, &HOST_IMAGE_GUID, EFI_NATIVE_INTERFACE, this);
  EFI_HANDLE Handle = nullptr;
  Database->Install(&Handle, &gEfiSimpleTextInProtocolGuid, EFI_NATIVE_INTERFACE,
                    Input->SimpleProtocol());
  System.ConsoleInHandle = Handle;
  if (Settings.ExtendedInput) {
    InstallExtendedInput();
  }
  Handle = nullptr;
  Database->Install(&Handle, &gEfiSimpleTextOutProtocolGuid, EFI_NATIVE_INTERFACE,
                    ConsoleOutput->Protocol());
  System.ConsoleOutHandle = Handle;
  Handle = nullptr;
  Database->Install(&Handle, &gEfiSimpleTextOutProtocolGuid, EFI_NATIVE_INTERFACE,
                    ErrorOutput->Protocol());
  System.StandardErrorHandle = Handle;
  if (Video) {
    Database->InstallMultiple(&GraphicsOutputHandle,
                              {{&gEfiGraphicsOutputProtocolGuid, Video->Protocol()},
                               {&gEfiDevicePathProtocolGuid, Video->DevicePath()}});
  }
  if (Beeper) {
    Handle = nullptr;
    Database->Install(&Handle, &gSpeakerInterfaceProtocolGuid, EFI_NATIVE_INTERFACE,
                      Beeper->Protocol());
  }
}

void Platform::RefreshTableCrcs() {
  SetCrc(Boot);
  SetCrc(Runtime);
  SetCrc(System);
}

EFI_STATUS Platform::InstallExtendedInput() {
  if (ExtendedInputInstalled) {
    return EFI_ALREADY_STARTED;
  }
  EFI_HANDLE Handle = System.ConsoleInHandle;
  EFI_STATUS Status = Database->Install(&Handle, &gEfiSimpleTextInputExProtocolGuid,
                                        EFI_NATIVE_INTERFACE, Input->ExtendedProtocol());
  ExtendedInputInstalled = !EFI_ERROR(Status);
  return Status;
}

void Platform::AdvanceTime(UINT64 Microseconds) {
  EventQueue->Advance(Microseconds * 10);
}

EFI_STATUS Platform::Stall(UINTN Microseconds) {
  if (Input->LastReadFoundEmpty()) {
    if (Active != nullptr && Active->WaitBudget() > 0) {
      Active->ConsumeWaitBudget(Microseconds);
      AdvanceTime(Microseconds);
      return EFI_SUCCESS;
    }
    if (KeyWaitHook) {
      KeyWaitHook(Microseconds);
      AdvanceTime(Microseconds);
      return EFI_SUCCESS;
    }
    if (Active != nullptr) {
      // Time stands still while the test decides what to type.
      Active->SuspendWaiting();
      return EFI_SUCCESS;
    }
  }
  AdvanceTime(Microseconds);
  return EFI_SUCCESS;
}

UINT32 Platform::NextHighMonotonicCount() {
  UINT32 High = static_cast<UINT32>(MonotonicCount >> 32) + 1;
  MonotonicCount = static_cast<UINT64>(High) << 32;
  return High;
}

void Platform::RecordReset(EFI_RESET_TYPE Type, EFI_STATUS Status, UINTN DataSize,
                           const VOID *Data) {
  ResetRequest Request{Type, Status, {}};
  if (Data != nullptr && DataSize != 0) {
    const UINT8 *Bytes = static_cast<const UINT8 *>(Data);
    Request.Data.assign(Bytes, Bytes + DataSize);
  }
  Reset = std::move(Request);
  if (Active != nullptr) {
    Active->StopForReset();
  }
}

EFI_STATUS Platform::InstallConfigurationTable(const EFI_GUID *Guid, VOID *Table) {
  if (Guid == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  for (size_t Index = 0; Index < ConfigurationTables.size(); Index++) {
    if (std::memcmp(&ConfigurationTables[Index].VendorGuid, Guid, sizeof(EFI_GUID)) == 0) {
      if (Table == nullptr) {
        ConfigurationTables.erase(ConfigurationTables.begin() + static_cast<std::ptrdiff_t>(Index));
      } else {
        ConfigurationTables[Index].VendorTable = Table;
      }
      System.NumberOfTableEntries = ConfigurationTables.size();
      System.ConfigurationTable =
          ConfigurationTables.empty() ? nullptr : ConfigurationTables.data();
      RefreshTableCrcs();
      return EFI_SUCCESS;
    }
  }
  if (Table == nullptr) {
    return EFI_NOT_FOUND;
  }
  ConfigurationTables.push_back({*Guid, Table});
  System.NumberOfTableEntries = ConfigurationTables.size();
  System.ConfigurationTable = ConfigurationTables.data();
  RefreshTableCrcs();
  return EFI_SUCCESS;
}

} // namespace morvane::host
