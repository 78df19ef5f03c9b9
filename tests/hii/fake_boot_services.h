// Just the boot services the HII services use, over an in-test handle table and a pool that
// counts what is outstanding, so each test can end by checking nothing leaked.
#pragma once

#include <map>
#include <memory>
#include <set>
#include <vector>

#include "uefi/system_table.h"

namespace morvane::test {

class FakeBootServices {
public:
  FakeBootServices();
  ~FakeBootServices();
  FakeBootServices(const FakeBootServices &) = delete;
  FakeBootServices &operator=(const FakeBootServices &) = delete;

  EFI_BOOT_SERVICES *Table() { return &Boot; }
  size_t OutstandingPool() const { return Pool.size(); }
  // The interface of Protocol on Handle, or null.
  VOID *Find(EFI_HANDLE Handle, const EFI_GUID &Protocol) const;
  size_t ProtocolCount(EFI_HANDLE Handle) const;

private:
  struct Entry {
    EFI_GUID Guid;
    VOID *Interface;
  };
  static FakeBootServices *Current;
  static EFI_STATUS EFIAPI Install(EFI_HANDLE *Handle, const EFI_GUID *Protocol,
                                   EFI_INTERFACE_TYPE Type, VOID *Interface);
  static EFI_STATUS EFIAPI Uninstall(EFI_HANDLE Handle, const EFI_GUID *Protocol, VOID *Interface);
  static EFI_STATUS EFIAPI HandleProtocol(EFI_HANDLE Handle, const EFI_GUID *Protocol,
                                          VOID **Interface);
  static EFI_STATUS EFIAPI LocateHandleBuffer(EFI_LOCATE_SEARCH_TYPE SearchType,
                                              const EFI_GUID *Protocol, VOID *SearchKey,
                                              UINTN *NoHandles, EFI_HANDLE **Buffer);
  static EFI_STATUS EFIAPI AllocatePool(EFI_MEMORY_TYPE Type, UINTN Size, VOID **Buffer);
  static EFI_STATUS EFIAPI FreePool(VOID *Buffer);

  EFI_BOOT_SERVICES Boot{};
  // Handles in creation order; a handle is the address of its entry list.
  std::vector<std::unique_ptr<std::vector<Entry>>> Handles;
  std::set<VOID *> Pool;
};

} // namespace morvane::test
