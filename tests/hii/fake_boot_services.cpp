#include "tests/hii/fake_boot_services.h"

#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace morvane::test {

namespace {

bool Same(const EFI_GUID &Left, const EFI_GUID &Right) {
  return std::memcmp(&Left, &Right, sizeof(EFI_GUID)) == 0;
}

} // namespace

FakeBootServices *FakeBootServices::Current = nullptr;

FakeBootServices::FakeBootServices() {
  if (Current != nullptr) {
    throw std::logic_error("one FakeBootServices at a time");
  }
  Current = this;
  Boot.Hdr.Signature = EFI_BOOT_SERVICES_SIGNATURE;
  Boot.InstallProtocolInterface = Install;
  Boot.UninstallProtocolInterface = Uninstall;
  Boot.HandleProtocol = HandleProtocol;
  Boot.LocateHandleBuffer = LocateHandleBuffer;
  Boot.AllocatePool = AllocatePool;
  Boot.FreePool = FreePool;
}

FakeBootServices::~FakeBootServices() {
  for (VOID *Buffer : Pool) {
    std::free(Buffer);
  }
  Current = nullptr;
}

VOID *FakeBootServices::Find(EFI_HANDLE Handle, const EFI_GUID &Protocol) const {
  for (const auto &Entries : Handles) {
    if (Entries.get() == Handle) {
      for (const Entry &Each : *Entries) {
        if (Same(Each.Guid, Protocol)) {
          return Each.Interface;
        }
      }
    }
  }
  return nullptr;
}

size_t FakeBootServices::ProtocolCount(EFI_HANDLE Handle) const {
  for (const auto &Entries : Handles) {
    if (Entries.get() == Handle) {
      return Entries->size();
    }
  }
  return 0;
}

EFI_STATUS EFIAPI FakeBootServices::Install(EFI_HANDLE *Handle, const EFI_GUID *Protocol,
                                            EFI_INTERFACE_TYPE Type, VOID *Interface) {
  if (Handle == nullptr || Protocol == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (*Handle == nullptr) {
    Current->Handles.push_back(std::make_unique<std::vector<Entry>>());
    *Handle = Current->Handles.back().get();
  }
  for (const auto &Entries : Current->Handles) {
    if (Entries.get() == *Handle) {
      if (Current->Find(*Handle, *Protocol) != nullptr) {
        return EFI_INVALID_PARAMETER;
      }
      Entries->push_back({*Protocol, Interface});
      return EFI_SUCCESS;
    }
  }
  return EFI_INVALID_PARAMETER;
}

EFI_STATUS EFIAPI FakeBootServices::Uninstall(EFI_HANDLE Handle, const EFI_GUID *Protocol,
                                              VOID *Interface) {
  for (const auto &Entries : Current->Handles) {
    if (Entries.get() != Handle) {
      continue;
    }
    for (auto Each = Entries->begin(); Each != Entries->end(); ++Each) {
      if (Same(Each->Guid, *Protocol) && Each->Interface == Interface) {
        Entries->erase(Each);
        return EFI_SUCCESS;
      }
    }
  }
  return EFI_NOT_FOUND;
}

EFI_STATUS EFIAPI FakeBootServices::HandleProtocol(EFI_HANDLE Handle, const EFI_GUID *Protocol,
                                                   VOID **Interface) {
  VOID *Found = Current->Find(Handle, *Protocol);
  if (Found == nullptr) {
    return EFI_UNSUPPORTED;
  }
  *Interface = Found;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI FakeBootServices::LocateHandleBuffer(EFI_LOCATE_SEARCH_TYPE SearchType,
                                                       const EFI_GUID *Protocol, VOID *SearchKey,
                                                       UINTN *NoHandles, EFI_HANDLE **Buffer) {
  if (SearchType != ByProtocol || Protocol == nullptr || NoHandles == nullptr ||
      Buffer == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  std::vector<EFI_HANDLE> Found;
  for (const auto &Entries : Current->Handles) {
    if (Current->Find(Entries.get(), *Protocol) != nullptr) {
      Found.push_back(Entries.get());
    }
  }
  if (Found.empty()) {
    return EFI_NOT_FOUND;
  }
  VOID *Memory = nullptr;
  AllocatePool(EfiBootServicesData, Found.size() * sizeof(EFI_HANDLE), &Memory);
  std::memcpy(Memory, Found.data(), Found.size() * sizeof(EFI_HANDLE));
  *NoHandles = Found.size();
  *Buffer = static_cast<EFI_HANDLE *>(Memory);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI FakeBootServices::AllocatePool(EFI_MEMORY_TYPE Type, UINTN Size, VOID **Buffer) {
  VOID *Memory = std::malloc(Size == 0 ? 1 : Size);
  Current->Pool.insert(Memory);
  *Buffer = Memory;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI FakeBootServices::FreePool(VOID *Buffer) {
  if (Current->Pool.erase(Buffer) == 0) {
    return EFI_INVALID_PARAMETER;
  }
  std::free(Buffer);
  return EFI_SUCCESS;
}

} // namespace morvane::test
