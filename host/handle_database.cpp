#include "host/handle_database.h"

#include <algorithm>
#include <cstring>

#include "uefi/device_path.h"

namespace morvane::host {

namespace {
// No device path of this platform comes near this; it bounds a walk over a broken one.
constexpr UINTN DEVICE_PATH_LIMIT = 0x10000;

bool SameGuid(const EFI_GUID &A, const EFI_GUID &B) {
  return std::memcmp(&A, &B, sizeof(EFI_GUID)) == 0;
}

UINTN NodeLength(const EFI_DEVICE_PATH_PROTOCOL *Node) {
  return static_cast<UINTN>(Node->Length[0] | (Node->Length[1] << 8));
}

bool IsEndNode(const EFI_DEVICE_PATH_PROTOCOL *Node) {
  return Node->Type == END_DEVICE_PATH_TYPE && Node->SubType == END_ENTIRE_DEVICE_PATH_SUBTYPE;
}
} // namespace

UINTN DevicePathSize(const EFI_DEVICE_PATH_PROTOCOL *Path) {
  if (Path == nullptr) {
    return 0;
  }
  const UINT8 *Start = reinterpret_cast<const UINT8 *>(Path);
  UINTN Size = 0;
  for (;;) {
    const auto *Node = reinterpret_cast<const EFI_DEVICE_PATH_PROTOCOL *>(Start + Size);
    UINTN Length = NodeLength(Node);
    if (Length < sizeof(EFI_DEVICE_PATH_PROTOCOL) || Size + Length > DEVICE_PATH_LIMIT) {
      return 0;
    }
    Size += Length;
    if (IsEndNode(Node)) {
      return Size;
    }
  }
}

HandleDatabase::HandleDatabase(PoolAllocator &Pool, EventService &Events)
    : Pool(Pool), Events(Events) {}

HandleDatabase::~HandleDatabase() = default;

HandleDatabase::HandleRecord *HandleDatabase::FindHandle(EFI_HANDLE Handle) const {
  if (!IsHandle(Handle)) {
    return nullptr;
  }
  return static_cast<HandleRecord *>(Handle);
}

HandleDatabase::ProtocolRecord *HandleDatabase::FindProtocol(HandleRecord *Handle,
                                                             const EFI_GUID *Protocol) {
  for (auto &Record : Handle->Protocols) {
    if (SameGuid(Record->Guid, *Protocol)) {
      return Record.get();
    }
  }
  return nullptr;
}

HandleDatabase::NotifyRecord *HandleDatabase::FindRegistration(const VOID *Registration) const {
  for (auto &Record : Notifications) {
    if (Record.get() == Registration) {
      return Record.get();
    }
  }
  return nullptr;
}

std::vector<EFI_HANDLE> HandleDatabase::Handles() const {
  std::vector<EFI_HANDLE> Result;
  for (auto &Record : Records) {
    Result.push_back(Record.get());
  }
  return Result;
}

void HandleDatabase::Notify(HandleRecord *Handle, ProtocolRecord *Protocol) {
  std::vector<EFI_EVENT> ToSignal;
  for (auto &Record : Notifications) {
    if (SameGuid(Record->Guid, Protocol->Guid)) {
      Record->NewSince.push_back({Handle, Protocol});
      ToSignal.push_back(Record->Event);
    }
  }
  // A notification may close events or install more; signal only events still alive.
  for (EFI_EVENT Event : ToSignal) {
    if (Events.IsEvent(Event)) {
      Events.Signal(Event);
    }
  }
}

void HandleDatabase::RemoveProtocol(HandleRecord *Handle, ProtocolRecord *Protocol) {
  for (auto &Record : Notifications) {
    auto &Queue = Record->NewSince;
    Queue.erase(
        std::remove_if(Queue.begin(), Queue.end(),
                       [Protocol](const Fresh &Entry) { return Entry.Protocol == Protocol; }),
        Queue.end());
  }
  auto &List = Handle->Protocols;
  List.erase(std::find_if(List.begin(), List.end(),
                          [Protocol](const auto &Owned) { return Owned.get() == Protocol; }));
  if (List.empty()) {
    for (auto &Record : Notifications) {
      auto &Queue = Record->NewSince;
      Queue.erase(std::remove_if(Queue.begin(), Queue.end(),
                                 [Handle](const Fresh &Entry) { return Entry.Handle == Handle; }),
                  Queue.end());
    }
    Live.erase(Handle);
    Records.erase(std::find_if(Records.begin(), Records.end(),
                               [Handle](const auto &Owned) { return Owned.get() == Handle; }));
  }
}

EFI_STATUS HandleDatabase::Install(EFI_HANDLE *Handle, const EFI_GUID *Protocol,
                                   EFI_INTERFACE_TYPE Type, VOID *Interface) {
  if (Handle == nullptr || Protocol == nullptr || Type != EFI_NATIVE_INTERFACE) {
    return EFI_INVALID_PARAMETER;
  }
  HandleRecord *Record = nullptr;
  if (*Handle != nullptr) {
    Record = FindHandle(*Handle);
    if (Record == nullptr) {
      return EFI_INVALID_PARAMETER;
    }
    if (FindProtocol(Record, Protocol) != nullptr) {
      return EFI_INVALID_PARAMETER;
    }
  } else {
    auto Created = std::make_unique<HandleRecord>();
    Record = Created.get();
    Records.push_back(std::move(Created));
    Live.insert(Record);
    *Handle = Record;
  }
  auto Entry = std::make_unique<ProtocolRecord>();
  Entry->Guid = *Protocol;
  Entry->Interface = Interface;
  ProtocolRecord *Installed = Entry.get();
  Record->Protocols.push_back(std::move(Entry));
  Notify(Record, Installed);
  return EFI_SUCCESS;
}

EFI_STATUS HandleDatabase::Uninstall(EFI_HANDLE Handle, const EFI_GUID *Protocol, VOID *Interface) {
  HandleRecord *Record = FindHandle(Handle);
  if (Record == nullptr || Protocol == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  ProtocolRecord *Entry = FindProtocol(Record, Protocol);
  if (Entry == nullptr || Entry->Interface != Interface) {
    return EFI_NOT_FOUND;
  }
  // Nothing here can ask a driver to stop, so a protocol a driver holds stays.
  for (const OpenRecord &Open : Entry->Opens) {
    if ((Open.Attributes & (EFI_OPEN_PROTOCOL_BY_DRIVER | EFI_OPEN_PROTOCOL_EXCLUSIVE)) != 0) {
      return EFI_ACCESS_DENIED;
    }
  }
  RemoveProtocol(Record, Entry);
  return EFI_SUCCESS;
}

EFI_STATUS HandleDatabase::Reinstall(EFI_HANDLE Handle, const EFI_GUID *Protocol,
                                     VOID *OldInterface, VOID *NewInterface) {
  HandleRecord *Record = FindHandle(Handle);
  if (Record == nullptr || Protocol == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  ProtocolRecord *Entry = FindProtocol(Record, Protocol);
  if (Entry == nullptr || Entry->Interface != OldInterface) {
    return EFI_NOT_FOUND;
  }
  for (const OpenRecord &Open : Entry->Opens) {
    if ((Open.Attributes & (EFI_OPEN_PROTOCOL_BY_DRIVER | EFI_OPEN_PROTOCOL_EXCLUSIVE)) != 0) {
      return EFI_ACCESS_DENIED;
    }
  }
  Entry->Interface = NewInterface;
  Entry->Opens.clear();
  Notify(Record, Entry);
  return EFI_SUCCESS;
}

bool HandleDatabase::DevicePathInstalled(const EFI_DEVICE_PATH_PROTOCOL *Path) const {
  UINTN Size = DevicePathSize(Path);
  for (auto &Record : Records) {
    ProtocolRecord *Entry = FindProtocol(Record.get(), &gEfiDevicePathProtocolGuid);
    if (Entry == nullptr) {
      continue;
    }
    auto *Other = static_cast<const EFI_DEVICE_PATH_PROTOCOL *>(Entry->Interface);
    if (Size != 0 && DevicePathSize(Other) == Size && std::memcmp(Other, Path, Size) == 0) {
      return true;
    }
  }
  return false;
}

EFI_STATUS HandleDatabase::InstallMultiple(EFI_HANDLE *Handle,
                                           const std::vector<ProtocolPair> &Pairs) {
  if (Handle == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  // Notifications wait until the whole set is in place (or rolled back).
  EFI_TPL OldTpl = Events.RaiseTpl(TPL_NOTIFY);
  EFI_STATUS Status = EFI_SUCCESS;
  for (const ProtocolPair &Pair : Pairs) {
    if (Pair.Protocol != nullptr && SameGuid(*Pair.Protocol, gEfiDevicePathProtocolGuid) &&
        DevicePathInstalled(static_cast<const EFI_DEVICE_PATH_PROTOCOL *>(Pair.Interface))) {
      Status = EFI_ALREADY_STARTED;
    }
  }
  EFI_HANDLE Original = *Handle;
  size_t Installed = 0;
  for (; !EFI_ERROR(Status) && Installed < Pairs.size(); Installed++) {
    Status = Install(Handle, Pairs[Installed].Protocol, EFI_NATIVE_INTERFACE,
                     Pairs[Installed].Interface);
    if (EFI_ERROR(Status)) {
      break;
    }
  }
  if (EFI_ERROR(Status)) {
    while (Installed-- > 0) {
      Uninstall(*Handle, Pairs[Installed].Protocol, Pairs[Installed].Interface);
    }
    *Handle = Original;
  }
  Events.RestoreTpl(OldTpl);
  return Status;
}

EFI_STATUS HandleDatabase::UninstallMultiple(EFI_HANDLE Handle,
                                             const std::vector<ProtocolPair> &Pairs) {
  HandleRecord *Record = FindHandle(Handle);
  if (Record == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  // Check every pair first so a refusal leaves the handle exactly as it was.
  for (const ProtocolPair &Pair : Pairs) {
    if (Pair.Protocol == nullptr) {
      return EFI_INVALID_PARAMETER;
    }
    ProtocolRecord *Entry = FindProtocol(Record, Pair.Protocol);
    if (Entry == nullptr || Entry->Interface != Pair.Interface) {
      return EFI_INVALID_PARAMETER;
    }
    for (const OpenRecord &Open : Entry->Opens) {
      if ((Open.Attributes & (EFI_OPEN_PROTOCOL_BY_DRIVER | EFI_OPEN_PROTOCOL_EXCLUSIVE)) != 0) {
        return EFI_INVALID_PARAMETER;
      }
    }
  }
  for (const ProtocolPair &Pair : Pairs) {
    Uninstall(Handle, Pair.Protocol, Pair.Interface);
  }
  return EFI_SUCCESS;
}

EFI_STATUS HandleDatabase::HandleProtocol(EFI_HANDLE Handle, const EFI_GUID *Protocol,
                                          VOID **Interface) {
  return OpenProtocol(Handle, Protocol, Interface, nullptr, nullptr,
                      EFI_OPEN_PROTOCOL_BY_HANDLE_PROTOCOL);
}

EFI_STATUS HandleDatabase::OpenProtocol(EFI_HANDLE Handle, const EFI_GUID *Protocol,
                                        VOID **Interface, EFI_HANDLE AgentHandle,
                                        EFI_HANDLE ControllerHandle, UINT32 Attributes) {
  if (Protocol == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (Attributes != EFI_OPEN_PROTOCOL_TEST_PROTOCOL) {
    if (Interface == nullptr) {
      return EFI_INVALID_PARAMETER;
    }
    *Interface = nullptr;
  }
  HandleRecord *Record = FindHandle(Handle);
  if (Record == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  bool ByDriver = false;
  bool Exclusive = false;
  switch (Attributes) {
  case EFI_OPEN_PROTOCOL_BY_HANDLE_PROTOCOL:
  case EFI_OPEN_PROTOCOL_GET_PROTOCOL:
  case EFI_OPEN_PROTOCOL_TEST_PROTOCOL:
    break;
  case EFI_OPEN_PROTOCOL_BY_CHILD_CONTROLLER:
    if (!IsHandle(AgentHandle) || !IsHandle(ControllerHandle) || Handle == ControllerHandle) {
      return EFI_INVALID_PARAMETER;
    }
    break;
  case EFI_OPEN_PROTOCOL_BY_DRIVER:
  case EFI_OPEN_PROTOCOL_BY_DRIVER | EFI_OPEN_PROTOCOL_EXCLUSIVE:
    if (!IsHandle(AgentHandle) || !IsHandle(ControllerHandle)) {
      return EFI_INVALID_PARAMETER;
    }
    ByDriver = true;
    Exclusive = (Attributes & EFI_OPEN_PROTOCOL_EXCLUSIVE) != 0;
    break;
  case EFI_OPEN_PROTOCOL_EXCLUSIVE:
    if (!IsHandle(AgentHandle)) {
      return EFI_INVALID_PARAMETER;
    }
    Exclusive = true;
    break;
  default:
    return EFI_INVALID_PARAMETER;
  }
  ProtocolRecord *Entry = FindProtocol(Record, Protocol);
  if (Entry == nullptr) {
    return EFI_UNSUPPORTED;
  }
  if (Attributes == EFI_OPEN_PROTOCOL_TEST_PROTOCOL) {
    return EFI_SUCCESS;
  }
  for (const OpenRecord &Open : Entry->Opens) {
    bool Held =
        (Open.Attributes & (EFI_OPEN_PROTOCOL_BY_DRIVER | EFI_OPEN_PROTOCOL_EXCLUSIVE)) != 0;
    if (!Held || !(ByDriver || Exclusive)) {
      continue;
    }
    if (Open.Agent == AgentHandle && Open.Attributes == Attributes) {
      *Interface = Entry->Interface;
      return EFI_ALREADY_STARTED;
    }
    // Other holders would have to be asked to stop, which nothing here can do.
    return EFI_ACCESS_DENIED;
  }
  auto Same = std::find_if(Entry->Opens.begin(), Entry->Opens.end(), [&](const OpenRecord &Open) {
    return Open.Agent == AgentHandle && Open.Controller == ControllerHandle &&
           Open.Attributes == Attributes;
  });
  if (Same != Entry->Opens.end()) {
    Same->OpenCount++;
  } else {
    Entry->Opens.push_back({AgentHandle, ControllerHandle, Attributes, 1});
  }
  *Interface = Entry->Interface;
  return EFI_SUCCESS;
}

EFI_STATUS HandleDatabase::CloseProtocol(EFI_HANDLE Handle, const EFI_GUID *Protocol,
                                         EFI_HANDLE AgentHandle, EFI_HANDLE ControllerHandle) {
  HandleRecord *Record = FindHandle(Handle);
  if (Record == nullptr || Protocol == nullptr || !IsHandle(AgentHandle) ||
      (ControllerHandle != nullptr && !IsHandle(ControllerHandle))) {
    return EFI_INVALID_PARAMETER;
  }
  ProtocolRecord *Entry = FindProtocol(Record, Protocol);
  if (Entry == nullptr) {
    return EFI_NOT_FOUND;
  }
  auto &Opens = Entry->Opens;
  auto Kept = std::remove_if(Opens.begin(), Opens.end(), [&](const OpenRecord &Open) {
    return Open.Agent == AgentHandle && Open.Controller == ControllerHandle;
  });
  if (Kept == Opens.end()) {
    return EFI_NOT_FOUND;
  }
  Opens.erase(Kept, Opens.end());
  return EFI_SUCCESS;
}

EFI_STATUS
HandleDatabase::OpenProtocolInformation(EFI_HANDLE Handle, const EFI_GUID *Protocol,
                                        EFI_OPEN_PROTOCOL_INFORMATION_ENTRY **EntryBuffer,
                                        UINTN *EntryCount) {
  HandleRecord *Record = FindHandle(Handle);
  if (Record == nullptr || Protocol == nullptr || EntryBuffer == nullptr || EntryCount == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  ProtocolRecord *Entry = FindProtocol(Record, Protocol);
  if (Entry == nullptr) {
    return EFI_NOT_FOUND;
  }
  VOID *Buffer = nullptr;
  UINTN Count = Entry->Opens.size();
  if (EFI_ERROR(Pool.Allocate(EfiBootServicesData,
                              Count * sizeof(EFI_OPEN_PROTOCOL_INFORMATION_ENTRY), &Buffer))) {
    return EFI_OUT_OF_RESOURCES;
  }
  auto *Entries = static_cast<EFI_OPEN_PROTOCOL_INFORMATION_ENTRY *>(Buffer);
  for (UINTN Index = 0; Index < Count; Index++) {
    const OpenRecord &Open = Entry->Opens[Index];
    Entries[Index] = {Open.Agent, Open.Controller, Open.Attributes, Open.OpenCount};
  }
  *EntryBuffer = Entries;
  *EntryCount = Count;
  return EFI_SUCCESS;
}

EFI_STATUS HandleDatabase::ProtocolsPerHandle(EFI_HANDLE Handle, EFI_GUID ***ProtocolBuffer,
                                              UINTN *ProtocolBufferCount) {
  HandleRecord *Record = FindHandle(Handle);
  if (Record == nullptr || ProtocolBuffer == nullptr || ProtocolBufferCount == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  VOID *Buffer = nullptr;
  UINTN Count = Record->Protocols.size();
  if (EFI_ERROR(Pool.Allocate(EfiBootServicesData, Count * sizeof(EFI_GUID *), &Buffer))) {
    return EFI_OUT_OF_RESOURCES;
  }
  auto *Guids = static_cast<EFI_GUID **>(Buffer);
  for (UINTN Index = 0; Index < Count; Index++) {
    Guids[Index] = &Record->Protocols[Index]->Guid;
  }
  *ProtocolBuffer = Guids;
  *ProtocolBufferCount = Count;
  return EFI_SUCCESS;
}

EFI_STATUS HandleDatabase::Search(EFI_LOCATE_SEARCH_TYPE SearchType, const EFI_GUID *Protocol,
                                  VOID *SearchKey, std::vector<EFI_HANDLE> *Found,
                                  NotifyRecord **Registration) const {
  *Registration = nullptr;
  switch (SearchType) {
  case AllHandles:
    *Found = Handles();
    break;
  case ByProtocol:
    if (Protocol == nullptr) {
      return EFI_INVALID_PARAMETER;
    }
    for (auto &Record : Records) {
      if (FindProtocol(Record.get(), Protocol) != nullptr) {
        Found->push_back(Record.get());
      }
    }
    break;
  case ByRegisterNotify:
    *Registration = FindRegistration(SearchKey);
    if (*Registration == nullptr) {
      return EFI_INVALID_PARAMETER;
    }
    // One new handle per call, as the published service does.
    if (!(*Registration)->NewSince.empty()) {
      Found->push_back((*Registration)->NewSince.front().Handle);
    }
    break;
  default:
    return EFI_INVALID_PARAMETER;
  }
  return Found->empty() ? EFI_NOT_FOUND : EFI_SUCCESS;
}

EFI_STATUS HandleDatabase::LocateHandle(EFI_LOCATE_SEARCH_TYPE SearchType, const EFI_GUID *Protocol,
                                        VOID *SearchKey, UINTN *BufferSize, EFI_HANDLE *Buffer) {
  if (BufferSize == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  std::vector<EFI_HANDLE> Found;
  NotifyRecord *Registration = nullptr;
  EFI_STATUS Status = Search(SearchType, Protocol, SearchKey, &Found, &Registration);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  UINTN Needed = Found.size() * sizeof(EFI_HANDLE);
  if (*BufferSize < Needed) {
    *BufferSize = Needed;
    return EFI_BUFFER_TOO_SMALL;
  }
  if (Buffer == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  std::copy(Found.begin(), Found.end(), Buffer);
  *BufferSize = Needed;
  if (Registration != nullptr) {
    Registration->NewSince.pop_front();
  }
  return EFI_SUCCESS;
}

EFI_STATUS HandleDatabase::LocateHandleBuffer(EFI_LOCATE_SEARCH_TYPE SearchType,
                                              const EFI_GUID *Protocol, VOID *SearchKey,
                                              UINTN *NoHandles, EFI_HANDLE **Buffer) {
  if (NoHandles == nullptr || Buffer == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *NoHandles = 0;
  *Buffer = nullptr;
  std::vector<EFI_HANDLE> Found;
  NotifyRecord *Registration = nullptr;
  EFI_STATUS Status = Search(SearchType, Protocol, SearchKey, &Found, &Registration);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  VOID *Block = nullptr;
  if (EFI_ERROR(Pool.Allocate(EfiBootServicesData, Found.size() * sizeof(EFI_HANDLE), &Block))) {
    return EFI_OUT_OF_RESOURCES;
  }
  std::copy(Found.begin(), Found.end(), static_cast<EFI_HANDLE *>(Block));
  *Buffer = static_cast<EFI_HANDLE *>(Block);
  *NoHandles = Found.size();
  if (Registration != nullptr) {
    Registration->NewSince.pop_front();
  }
  return EFI_SUCCESS;
}

EFI_STATUS HandleDatabase::LocateProtocol(const EFI_GUID *Protocol, VOID *Registration,
                                          VOID **Interface) {
  if (Protocol == nullptr || Interface == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *Interface = nullptr;
  if (Registration != nullptr) {
    NotifyRecord *Record = FindRegistration(Registration);
    if (Record == nullptr || Record->NewSince.empty()) {
      return EFI_NOT_FOUND;
    }
    Fresh Next = Record->NewSince.front();
    Record->NewSince.pop_front();
    *Interface = Next.Protocol->Interface;
    return EFI_SUCCESS;
  }
  for (auto &Record : Records) {
    if (ProtocolRecord *Entry = FindProtocol(Record.get(), Protocol)) {
      *Interface = Entry->Interface;
      return EFI_SUCCESS;
    }
  }
  return EFI_NOT_FOUND;
}

EFI_STATUS HandleDatabase::LocateDevicePath(const EFI_GUID *Protocol,
                                            EFI_DEVICE_PATH_PROTOCOL **DevicePath,
                                            EFI_HANDLE *Device) {
  if (Protocol == nullptr || DevicePath == nullptr || *DevicePath == nullptr || Device == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  const UINT8 *Wanted = reinterpret_cast<const UINT8 *>(*DevicePath);
  UINTN WantedSize = DevicePathSize(*DevicePath);
  if (WantedSize == 0) {
    return EFI_INVALID_PARAMETER;
  }
  // Node boundaries of the wanted path: a match must end on one.
  std::vector<UINTN> Boundaries;
  for (UINTN Offset = 0; Offset < WantedSize;) {
    Boundaries.push_back(Offset);
    Offset += NodeLength(reinterpret_cast<const EFI_DEVICE_PATH_PROTOCOL *>(Wanted + Offset));
  }
  HandleRecord *Best = nullptr;
  UINTN BestSize = 0;
  for (auto &Record : Records) {
    ProtocolRecord *Path = FindProtocol(Record.get(), &gEfiDevicePathProtocolGuid);
    if (Path == nullptr || FindProtocol(Record.get(), Protocol) == nullptr) {
      continue;
    }
    UINTN Size = DevicePathSize(static_cast<EFI_DEVICE_PATH_PROTOCOL *>(Path->Interface));
    if (Size == 0) {
      continue;
    }
    UINTN Prefix = Size - sizeof(EFI_DEVICE_PATH_PROTOCOL);
    bool OnBoundary = std::find(Boundaries.begin(), Boundaries.end(), Prefix) != Boundaries.end();
    if (OnBoundary && std::memcmp(Path->Interface, Wanted, Prefix) == 0 &&
        (Best == nullptr || Prefix > BestSize)) {
      Best = Record.get();
      BestSize = Prefix;
    }
  }
  if (Best == nullptr) {
    return EFI_NOT_FOUND;
  }
  *Device = Best;
  *DevicePath =
      reinterpret_cast<EFI_DEVICE_PATH_PROTOCOL *>(const_cast<UINT8 *>(Wanted) + BestSize);
  return EFI_SUCCESS;
}

EFI_STATUS HandleDatabase::RegisterProtocolNotify(const EFI_GUID *Protocol, EFI_EVENT Event,
                                                  VOID **Registration) {
  if (Protocol == nullptr || Event == nullptr || Registration == nullptr ||
      !Events.IsEvent(Event)) {
    return EFI_INVALID_PARAMETER;
  }
  auto Record = std::make_unique<NotifyRecord>();
  Record->Guid = *Protocol;
  Record->Event = Event;
  *Registration = Record.get();
  Notifications.push_back(std::move(Record));
  return EFI_SUCCESS;
}

void HandleDatabase::ForgetEvent(EFI_EVENT Event) {
  Notifications.erase(
      std::remove_if(Notifications.begin(), Notifications.end(),
                     [Event](const auto &Record) { return Record->Event == Event; }),
      Notifications.end());
}

} // namespace morvane::host
