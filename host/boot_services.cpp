#include <cstdarg>
#include <cstring>

#include "host/crc32.h"
#include "host/platform.h"
#include "host/services.h"

namespace morvane::host {

namespace {
// How far a wait on the keyboard advances the clock between two looks at the key queue.
constexpr UINTN KEY_WAIT_STEP_MICROSECONDS = 1000;

Platform &Host() {
  return Platform::Current();
}

// RaiseTPL: raises the task priority level, returning the previous one.
EFI_TPL EFIAPI RaiseTPL(EFI_TPL NewTpl) {
  return Host().Events().RaiseTpl(NewTpl);
}

// RestoreTPL: lowers the level and runs the notifications it was holding back.
VOID EFIAPI RestoreTPL(EFI_TPL OldTpl) {
  Host().Events().RestoreTpl(OldTpl);
}

// AllocatePages: the driver allocates only pool, and pages need an address map nothing here
// keeps.
EFI_STATUS EFIAPI AllocatePages(EFI_ALLOCATE_TYPE Type, EFI_MEMORY_TYPE MemoryType, UINTN Pages,
                                EFI_PHYSICAL_ADDRESS *Memory) {
  return EFI_UNSUPPORTED;
}

// FreePages: see AllocatePages.
EFI_STATUS EFIAPI FreePages(EFI_PHYSICAL_ADDRESS Memory, UINTN Pages) {
  return EFI_UNSUPPORTED;
}

// GetMemoryMap: a hosted process has no physical memory map to report.
EFI_STATUS EFIAPI GetMemoryMap(UINTN *MemoryMapSize, EFI_MEMORY_DESCRIPTOR *MemoryMap,
                               UINTN *MapKey, UINTN *DescriptorSize, UINT32 *DescriptorVersion) {
  return EFI_UNSUPPORTED;
}

// AllocatePool: one accounted block of Size bytes.
EFI_STATUS EFIAPI AllocatePool(EFI_MEMORY_TYPE PoolType, UINTN Size, VOID **Buffer) {
  return Host().Pool().Allocate(PoolType, Size, Buffer);
}

// FreePool: returns a block from AllocatePool.
EFI_STATUS EFIAPI FreePool(VOID *Buffer) {
  return Host().Pool().Free(Buffer);
}

// CreateEvent: an event, timer or notification.
EFI_STATUS EFIAPI CreateEvent(UINT32 Type, EFI_TPL NotifyTpl, EFI_EVENT_NOTIFY NotifyFunction,
                              VOID *NotifyContext, EFI_EVENT *Event) {
  return Host().Events().Create(Type, NotifyTpl, NotifyFunction, NotifyContext, nullptr, Event);
}

// CreateEventEx: an event that may belong to an event group.
EFI_STATUS EFIAPI CreateEventEx(UINT32 Type, EFI_TPL NotifyTpl, EFI_EVENT_NOTIFY NotifyFunction,
                                const VOID *NotifyContext, const EFI_GUID *EventGroup,
                                EFI_EVENT *Event) {
  return Host().Events().Create(Type, NotifyTpl, NotifyFunction, NotifyContext, EventGroup, Event);
}

// SetTimer: arms, re-arms or cancels a timer, in 100 ns units of the virtual clock.
EFI_STATUS EFIAPI SetTimer(EFI_EVENT Event, EFI_TIMER_DELAY Type, UINT64 TriggerTime) {
  return Host().Events().SetTimer(Event, Type, TriggerTime);
}

// WaitForEvent: waits until one of the events is signalled. A wait on the keyboard is a key
// wait like a polling loop's; otherwise the clock jumps to the next timer. With neither there
// is nothing that could ever end the wait, so it reports EFI_NOT_READY instead of hanging.
EFI_STATUS EFIAPI WaitForEvent(UINTN NumberOfEvents, EFI_EVENT *Event, UINTN *Index) {
  if (NumberOfEvents == 0 || Event == nullptr || Index == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  Platform &Owner = Host();
  if (Owner.Events().CurrentTpl() != TPL_APPLICATION) {
    return EFI_UNSUPPORTED;
  }
  for (;;) {
    bool OnKeyboard = false;
    for (UINTN Position = 0; Position < NumberOfEvents; Position++) {
      EFI_STATUS Status = Owner.Events().Check(Event[Position]);
      if (Status != EFI_NOT_READY) {
        *Index = Position;
        return Status;
      }
      OnKeyboard = OnKeyboard || Owner.Keyboard().IsKeyWaitEvent(Event[Position]);
    }
    if (OnKeyboard && Owner.CanWaitForKeys()) {
      Owner.Stall(KEY_WAIT_STEP_MICROSECONDS);
      continue;
    }
    UINT64 Due = 0;
    if (!Owner.Events().NextTimerDue(&Due)) {
      return EFI_NOT_READY;
    }
    UINT64 Now = Owner.Events().Now();
    Owner.Events().Advance(Due > Now ? Due - Now : 0);
  }
}

// SignalEvent: signals an event, or every event of its group.
EFI_STATUS EFIAPI SignalEvent(EFI_EVENT Event) {
  return Host().Events().Signal(Event);
}

// CloseEvent: closes an event and drops its protocol notifications.
EFI_STATUS EFIAPI CloseEvent(EFI_EVENT Event) {
  return Host().Events().Close(Event);
}

// CheckEvent: whether an event is signalled, clearing the signal.
EFI_STATUS EFIAPI CheckEvent(EFI_EVENT Event) {
  return Host().Events().Check(Event);
}

// InstallProtocolInterface: installs one interface, creating the handle when *Handle is null.
EFI_STATUS EFIAPI InstallProtocolInterface(EFI_HANDLE *Handle, const EFI_GUID *Protocol,
                                           EFI_INTERFACE_TYPE InterfaceType, VOID *Interface) {
  return Host().Handles().Install(Handle, Protocol, InterfaceType, Interface);
}

// ReinstallProtocolInterface: replaces an interface and notifies as for an installation.
EFI_STATUS EFIAPI ReinstallProtocolInterface(EFI_HANDLE Handle, const EFI_GUID *Protocol,
                                             VOID *OldInterface, VOID *NewInterface) {
  return Host().Handles().Reinstall(Handle, Protocol, OldInterface, NewInterface);
}

// UninstallProtocolInterface: removes one interface; an empty handle goes away.
EFI_STATUS EFIAPI UninstallProtocolInterface(EFI_HANDLE Handle, const EFI_GUID *Protocol,
                                             VOID *Interface) {
  return Host().Handles().Uninstall(Handle, Protocol, Interface);
}

// HandleProtocol: the interface of a protocol on a handle.
EFI_STATUS EFIAPI HandleProtocol(EFI_HANDLE Handle, const EFI_GUID *Protocol, VOID **Interface) {
  return Host().Handles().HandleProtocol(Handle, Protocol, Interface);
}

// RegisterProtocolNotify: signals an event at each later installation of a protocol.
EFI_STATUS EFIAPI RegisterProtocolNotify(const EFI_GUID *Protocol, EFI_EVENT Event,
                                         VOID **Registration) {
  return Host().Handles().RegisterProtocolNotify(Protocol, Event, Registration);
}

// LocateHandle: handles into the caller's buffer, with the two-call size idiom.
EFI_STATUS EFIAPI LocateHandle(EFI_LOCATE_SEARCH_TYPE SearchType, const EFI_GUID *Protocol,
                               VOID *SearchKey, UINTN *BufferSize, EFI_HANDLE *Buffer) {
  return Host().Handles().LocateHandle(SearchType, Protocol, SearchKey, BufferSize, Buffer);
}

// LocateDevicePath: the handle whose device path is the longest prefix of the given one.
EFI_STATUS EFIAPI LocateDevicePath(const EFI_GUID *Protocol, EFI_DEVICE_PATH_PROTOCOL **DevicePath,
                                   EFI_HANDLE *Device) {
  return Host().Handles().LocateDevicePath(Protocol, DevicePath, Device);
}

// InstallConfigurationTable: adds, replaces or (with a null table) removes a table entry.
EFI_STATUS EFIAPI InstallConfigurationTable(const EFI_GUID *Guid, VOID *Table) {
  return Host().InstallConfigurationTable(Guid, Table);
}

// LoadImage: the driver is linked into the host program; there are no images to load.
EFI_STATUS EFIAPI LoadImage(BOOLEAN BootPolicy, EFI_HANDLE ParentImageHandle,
                            EFI_DEVICE_PATH_PROTOCOL *DevicePath, VOID *SourceBuffer,
                            UINTN SourceSize, EFI_HANDLE *ImageHandle) {
  return EFI_UNSUPPORTED;
}

// StartImage: see LoadImage.
EFI_STATUS EFIAPI StartImage(EFI_HANDLE ImageHandle, UINTN *ExitDataSize, CHAR16 **ExitData) {
  return EFI_UNSUPPORTED;
}

// Exit: see LoadImage.
EFI_STATUS EFIAPI Exit(EFI_HANDLE ImageHandle, EFI_STATUS ExitStatus, UINTN ExitDataSize,
                       CHAR16 *ExitData) {
  return EFI_UNSUPPORTED;
}

// UnloadImage: see LoadImage.
EFI_STATUS EFIAPI UnloadImage(EFI_HANDLE ImageHandle) {
  return EFI_UNSUPPORTED;
}

// ExitBootServices: a boot-service driver never ends boot services.
EFI_STATUS EFIAPI ExitBootServices(EFI_HANDLE ImageHandle, UINTN MapKey) {
  return EFI_UNSUPPORTED;
}

// GetNextMonotonicCount: a count that only goes up.
EFI_STATUS EFIAPI GetNextMonotonicCount(UINT64 *Count) {
  if (Count == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *Count = Host().NextMonotonicCount();
  return EFI_SUCCESS;
}

// Stall: advances the virtual clock; see Platform::Stall for key waits.
EFI_STATUS EFIAPI Stall(UINTN Microseconds) {
  return Host().Stall(Microseconds);
}

// SetWatchdogTimer: nothing here resets the machine, so any watchdog setting is accepted.
EFI_STATUS EFIAPI SetWatchdogTimer(UINTN Timeout, UINT64 WatchdogCode, UINTN DataSize,
                                   CHAR16 *WatchdogData) {
  return EFI_SUCCESS;
}

// ConnectController: no driver binding runs here, so there is nothing to connect.
EFI_STATUS EFIAPI ConnectController(EFI_HANDLE ControllerHandle, EFI_HANDLE *DriverImageHandle,
                                    EFI_DEVICE_PATH_PROTOCOL *RemainingDevicePath,
                                    BOOLEAN Recursive) {
  return EFI_UNSUPPORTED;
}

// DisconnectController: see ConnectController.
EFI_STATUS EFIAPI DisconnectController(EFI_HANDLE ControllerHandle, EFI_HANDLE DriverImageHandle,
                                       EFI_HANDLE ChildHandle) {
  return EFI_UNSUPPORTED;
}

// OpenProtocol: an interface with the open recorded against an agent.
EFI_STATUS EFIAPI OpenProtocol(EFI_HANDLE Handle, const EFI_GUID *Protocol, VOID **Interface,
                               EFI_HANDLE AgentHandle, EFI_HANDLE ControllerHandle,
                               UINT32 Attributes) {
  return Host().Handles().OpenProtocol(Handle, Protocol, Interface, AgentHandle, ControllerHandle,
                                       Attributes);
}

// CloseProtocol: ends the opens of an agent on a protocol.
EFI_STATUS EFIAPI CloseProtocol(EFI_HANDLE Handle, const EFI_GUID *Protocol, EFI_HANDLE AgentHandle,
                                EFI_HANDLE ControllerHandle) {
  return Host().Handles().CloseProtocol(Handle, Protocol, AgentHandle, ControllerHandle);
}

// OpenProtocolInformation: the opens of a protocol, in pool the caller frees.
EFI_STATUS EFIAPI OpenProtocolInformation(EFI_HANDLE Handle, const EFI_GUID *Protocol,
                                          EFI_OPEN_PROTOCOL_INFORMATION_ENTRY **EntryBuffer,
                                          UINTN *EntryCount) {
  return Host().Handles().OpenProtocolInformation(Handle, Protocol, EntryBuffer, EntryCount);
}

// ProtocolsPerHandle: the protocol GUIDs of a handle, in pool the caller frees.
EFI_STATUS EFIAPI ProtocolsPerHandle(EFI_HANDLE Handle, EFI_GUID ***ProtocolBuffer,
                                     UINTN *ProtocolBufferCount) {
  return Host().Handles().ProtocolsPerHandle(Handle, ProtocolBuffer, ProtocolBufferCount);
}

// LocateHandleBuffer: handles in pool the caller frees.
EFI_STATUS EFIAPI LocateHandleBuffer(EFI_LOCATE_SEARCH_TYPE SearchType, const EFI_GUID *Protocol,
                                     VOID *SearchKey, UINTN *NoHandles, EFI_HANDLE **Buffer) {
  return Host().Handles().LocateHandleBuffer(SearchType, Protocol, SearchKey, NoHandles, Buffer);
}

// LocateProtocol: the first interface of a protocol, or the next new one for a registration.
EFI_STATUS EFIAPI LocateProtocol(const EFI_GUID *Protocol, VOID *Registration, VOID **Interface) {
  return Host().Handles().LocateProtocol(Protocol, Registration, Interface);
}

std::vector<ProtocolPair> CollectPairs(va_list Arguments) {
  std::vector<ProtocolPair> Pairs;
  for (;;) {
    const EFI_GUID *Protocol = va_arg(Arguments, const EFI_GUID *);
    if (Protocol == nullptr) {
      return Pairs;
    }
    Pairs.push_back({Protocol, va_arg(Arguments, VOID *)});
  }
}

// InstallMultipleProtocolInterfaces: GUID and interface pairs ended by NULL, all or nothing.
EFI_STATUS EFIAPI InstallMultipleProtocolInterfaces(EFI_HANDLE *Handle, ...) {
  va_list Arguments;
  va_start(Arguments, Handle);
  std::vector<ProtocolPair> Pairs = CollectPairs(Arguments);
  va_end(Arguments);
  return Host().Handles().InstallMultiple(Handle, Pairs);
}

// UninstallMultipleProtocolInterfaces: GUID and interface pairs ended by NULL, all or nothing.
EFI_STATUS EFIAPI UninstallMultipleProtocolInterfaces(EFI_HANDLE Handle, ...) {
  va_list Arguments;
  va_start(Arguments, Handle);
  std::vector<ProtocolPair> Pairs = CollectPairs(Arguments);
  va_end(Arguments);
  return Host().Handles().UninstallMultiple(Handle, Pairs);
}

// CalculateCrc32: the CRC-32 of a buffer.
EFI_STATUS EFIAPI CalculateCrc32(VOID *Data, UINTN DataSize, UINT32 *Crc32Out) {
  if (Data == nullptr || DataSize == 0 || Crc32Out == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *Crc32Out = Crc32(Data, DataSize);
  return EFI_SUCCESS;
}

// CopyMem: copies bytes; the areas may overlap.
VOID EFIAPI CopyMem(VOID *Destination, const VOID *Source, UINTN Length) {
  if (Length != 0) {
    std::memmove(Destination, Source, Length);
  }
}

// SetMem: fills bytes with a value.
VOID EFIAPI SetMem(VOID *Buffer, UINTN Size, UINT8 Value) {
  if (Size != 0) {
    std::memset(Buffer, Value, Size);
  }
}
} // namespace

EFI_BOOT_SERVICES MakeBootServices() {
  return {
      .Hdr = {EFI_BOOT_SERVICES_SIGNATURE, (2U << 16) | 70U, sizeof(EFI_BOOT_SERVICES), 0, 0},
      .RaiseTPL = RaiseTPL,
      .RestoreTPL = RestoreTPL,
      .AllocatePages = AllocatePages,
      .FreePages = FreePages,
      .GetMemoryMap = GetMemoryMap,
      .AllocatePool = AllocatePool,
      .FreePool = FreePool,
      .CreateEvent = CreateEvent,
      .SetTimer = SetTimer,
      .WaitForEvent = WaitForEvent,
      .SignalEvent = SignalEvent,
      .CloseEvent = CloseEvent,
      .CheckEvent = CheckEvent,
      .InstallProtocolInterface = InstallProtocolInterface,
      .ReinstallProtocolInterface = ReinstallProtocolInterface,
      .UninstallProtocolInterface = UninstallProtocolInterface,
      .HandleProtocol = HandleProtocol,
      .Reserved = nullptr,
      .RegisterProtocolNotify = RegisterProtocolNotify,
      .LocateHandle = LocateHandle,
      .LocateDevicePath = LocateDevicePath,
      .InstallConfigurationTable = InstallConfigurationTable,
      .LoadImage = LoadImage,
      .StartImage = StartImage,
      .Exit = Exit,
      .UnloadImage = UnloadImage,
      .ExitBootServices = ExitBootServices,
      .GetNextMonotonicCount = GetNextMonotonicCount,
      .Stall = Stall,
      .SetWatchdogTimer = SetWatchdogTimer,
      .ConnectController = ConnectController,
      .DisconnectController = DisconnectController,
      .OpenProtocol = OpenProtocol,
      .CloseProtocol = CloseProtocol,
      .OpenProtocolInformation = OpenProtocolInformation,
      .ProtocolsPerHandle = ProtocolsPerHandle,
      .LocateHandleBuffer = LocateHandleBuffer,
      .LocateProtocol = LocateProtocol,
      .InstallMultipleProtocolInterfaces = InstallMultipleProtocolInterfaces,
      .UninstallMultipleProtocolInterfaces = UninstallMultipleProtocolInterfaces,
      .CalculateCrc32 = CalculateCrc32,
      .CopyMem = CopyMem,
      .SetMem = SetMem,
      .CreateEventEx = CreateEventEx,
  };
}

} // namespace morvane::host
