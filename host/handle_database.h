// Handles and the protocol interfaces installed on them, with protocol notifications and their
// registration keys. Handles keep their creation order, which every search reports.
#pragma once

#include <deque>
#include <memory>
#include <unordered_set>
#include <vector>

#include "host/events.h"
#include "host/pool.h"
#include "uefi/system_table.h"

namespace morvane::host {

struct ProtocolPair {
  const EFI_GUID *Protocol;
  VOID *Interface;
};

class HandleDatabase {
public:
  HandleDatabase(PoolAllocator &Pool, EventService &Events);
  ~HandleDatabase();
  HandleDatabase(const HandleDatabase &) = delete;
  HandleDatabase &operator=(const HandleDatabase &) = delete;

  EFI_STATUS Install(EFI_HANDLE *Handle, const EFI_GUID *Protocol, EFI_INTERFACE_TYPE Type,
                     VOID *Interface);
  EFI_STATUS Uninstall(EFI_HANDLE Handle, const EFI_GUID *Protocol, VOID *Interface);
  EFI_STATUS Reinstall(EFI_HANDLE Handle, const EFI_GUID *Protocol, VOID *OldInterface,
                       VOID *NewInterface);
  // All or nothing; refuses a device path equal to one already installed.
  EFI_STATUS InstallMultiple(EFI_HANDLE *Handle, const std::vector<ProtocolPair> &Pairs);
  EFI_STATUS UninstallMultiple(EFI_HANDLE Handle, const std::vector<ProtocolPair> &Pairs);

  EFI_STATUS HandleProtocol(EFI_HANDLE Handle, const EFI_GUID *Protocol, VOID **Interface);
  EFI_STATUS OpenProtocol(EFI_HANDLE Handle, const EFI_GUID *Protocol, VOID **Interface,
                          EFI_HANDLE AgentHandle, EFI_HANDLE ControllerHandle, UINT32 Attributes);
  EFI_STATUS CloseProtocol(EFI_HANDLE Handle, const EFI_GUID *Protocol, EFI_HANDLE AgentHandle,
                           EFI_HANDLE ControllerHandle);
  EFI_STATUS OpenProtocolInformation(EFI_HANDLE Handle, const EFI_GUID *Protocol,
                                     EFI_OPEN_PROTOCOL_INFORMATION_ENTRY **EntryBuffer,
                                     UINTN *EntryCount);
  EFI_STATUS ProtocolsPerHandle(EFI_HANDLE Handle, EFI_GUID ***ProtocolBuffer,
                                UINTN *ProtocolBufferCount);

  EFI_STATUS LocateHandle(EFI_LOCATE_SEARCH_TYPE SearchType, const EFI_GUID *Protocol,
                          VOID *SearchKey, UINTN *BufferSize, EFI_HANDLE *Buffer);
  EFI_STATUS LocateHandleBuffer(EFI_LOCATE_SEARCH_TYPE SearchType, const EFI_GUID *Protocol,
                                VOID *SearchKey, UINTN *NoHandles, EFI_HANDLE **Buffer);
  EFI_STATUS LocateProtocol(const EFI_GUID *Protocol, VOID *Registration, VOID **Interface);
  EFI_STATUS LocateDevicePath(const EFI_GUID *Protocol, EFI_DEVICE_PATH_PROTOCOL **DevicePath,
                              EFI_HANDLE *Device);
  EFI_STATUS RegisterProtocolNotify(const EFI_GUID *Protocol, EFI_EVENT Event, VOID **Registration);

  // Drops the protocol notifications of a closed event.
  void ForgetEvent(EFI_EVENT Event);

  bool IsHandle(EFI_HANDLE Handle) const { return Live.count(Handle) != 0; }
  std::vector<EFI_HANDLE> Handles() const;

private:
  struct OpenRecord {
    EFI_HANDLE Agent;
    EFI_HANDLE Controller;
    UINT32 Attributes;
    UINT32 OpenCount;
  };
  struct ProtocolRecord {
    EFI_GUID Guid;
    VOID *Interface;
    std::vector<OpenRecord> Opens;
  };
  struct HandleRecord {
    std::vector<std::unique_ptr<ProtocolRecord>> Protocols;
  };
  struct Fresh {
    HandleRecord *Handle;
    ProtocolRecord *Protocol;
  };
  struct NotifyRecord {
    EFI_GUID Guid;
    EFI_EVENT Event;
    // Installations since the last LocateProtocol or LocateHandle with this key.
    std::deque<Fresh> NewSince;
  };

  HandleRecord *FindHandle(EFI_HANDLE Handle) const;
  static ProtocolRecord *FindProtocol(HandleRecord *Handle, const EFI_GUID *Protocol);
  NotifyRecord *FindRegistration(const VOID *Registration) const;
  void Notify(HandleRecord *Handle, ProtocolRecord *Protocol);
  void RemoveProtocol(HandleRecord *Handle, ProtocolRecord *Protocol);
  bool DevicePathInstalled(const EFI_DEVICE_PATH_PROTOCOL *Path) const;
  EFI_STATUS Search(EFI_LOCATE_SEARCH_TYPE SearchType, const EFI_GUID *Protocol, VOID *SearchKey,
                    std::vector<EFI_HANDLE> *Found, NotifyRecord **Registration) const;

  PoolAllocator &Pool;
  EventService &Events;
  std::vector<std::unique_ptr<HandleRecord>> Records;
  std::unordered_set<EFI_HANDLE> Live;
  std::vector<std::unique_ptr<NotifyRecord>> Notifications;
};

// Byte size of a device path up to and including its end node; 0 when it is malformed.
UINTN DevicePathSize(const EFI_DEVICE_PATH_PROTOCOL *Path);

} // namespace morvane::host
