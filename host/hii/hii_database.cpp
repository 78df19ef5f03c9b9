// Package lists: add, remove, update, list, export, and the driver handle of each.
#include "host/hii/hii_database.h"

#include <algorithm>
#include <cstring>
#include <set>

#include "host/hii/guid_compare.h"

namespace morvane::host {

namespace {

// HII handles are serial numbers dressed as pointers: never dereferenced, never reused, so a
// handle of a removed list stays unknown instead of naming a later list.
constexpr uintptr_t HII_HANDLE_BASE = 0x48490000;
constexpr uintptr_t HANDLE_STRIDE = 0x10;

void PutU32(uint8_t *Out, uint32_t Value) {
  for (int Index = 0; Index < 4; Index++) {
    Out[Index] = static_cast<uint8_t>(Value >> (8 * Index));
  }
}

} // namespace

std::shared_ptr<PackageListRecord> HiiDatabase::Find(EFI_HII_HANDLE Handle) const {
  if (Handle == nullptr) {
    return nullptr;
  }
  for (const std::shared_ptr<PackageListRecord> &List : Lists) {
    if (List->Handle == Handle) {
      return List;
    }
  }
  return nullptr;
}

EFI_STATUS HiiDatabase::NewPackageList(const EFI_HII_PACKAGE_LIST_HEADER *List,
                                       EFI_HANDLE DriverHandle, EFI_HII_HANDLE *Handle) {
  if (List == nullptr || Handle == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  auto Record = std::make_shared<PackageListRecord>();
  EFI_STATUS Status = ParsePackageList(List, &Record->Guid, &Record->Packages);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  // A list whose GUID is already registered is still a new list with its own handle.
  HandleSerial++;
  Record->Handle = reinterpret_cast<EFI_HII_HANDLE>(HII_HANDLE_BASE + HandleSerial * HANDLE_STRIDE);
  Record->DriverHandle = DriverHandle;
  Lists.push_back(Record);
  *Handle = Record->Handle;
  Notify(EFI_HII_DATABASE_NOTIFY_NEW_PACK, Record->Handle, Record->Packages);
  return EFI_SUCCESS;
}

EFI_STATUS HiiDatabase::RemovePackageList(EFI_HII_HANDLE Handle) {
  std::shared_ptr<PackageListRecord> Record = Find(Handle);
  if (Record == nullptr) {
    return EFI_NOT_FOUND;
  }
  std::vector<PackagePointer> Packages = Record->Packages;
  Notify(EFI_HII_DATABASE_NOTIFY_REMOVE_PACK, Handle, Packages);
  // A notification may have removed the list already.
  Lists.erase(std::remove(Lists.begin(), Lists.end(), Record), Lists.end());
  return EFI_SUCCESS;
}

EFI_STATUS HiiDatabase::UpdatePackageList(EFI_HII_HANDLE Handle,
                                          const EFI_HII_PACKAGE_LIST_HEADER *List) {
  if (List == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  std::shared_ptr<PackageListRecord> Record = Find(Handle);
  if (Record == nullptr) {
    return EFI_NOT_FOUND;
  }
  EFI_GUID Guid;
  std::vector<PackagePointer> Incoming;
  EFI_STATUS Status = ParsePackageList(List, &Guid, &Incoming);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  // Every package of a type the new list carries goes; the new ones of that type come in.
  std::set<UINT8> Replaced;
  for (const PackagePointer &Package : Incoming) {
    Replaced.insert(Package->Type);
  }
  std::vector<PackagePointer> Leaving;
  std::vector<PackagePointer> Staying;
  for (const PackagePointer &Package : Record->Packages) {
    (Replaced.count(Package->Type) != 0 ? Leaving : Staying).push_back(Package);
  }
  Notify(EFI_HII_DATABASE_NOTIFY_REMOVE_PACK, Handle, Leaving);
  Staying.insert(Staying.end(), Incoming.begin(), Incoming.end());
  Record->Packages = std::move(Staying);
  Notify(EFI_HII_DATABASE_NOTIFY_ADD_PACK, Handle, Incoming);
  return EFI_SUCCESS;
}

EFI_STATUS HiiDatabase::ListPackageLists(UINT8 PackageType, const EFI_GUID *PackageGuid,
                                         UINTN *HandleBufferLength, EFI_HII_HANDLE *Handles) {
  if (HandleBufferLength == nullptr || (*HandleBufferLength > 0 && Handles == nullptr) ||
      (PackageType == EFI_HII_PACKAGE_TYPE_GUID) != (PackageGuid != nullptr)) {
    return EFI_INVALID_PARAMETER;
  }
  std::vector<EFI_HII_HANDLE> Found;
  for (const std::shared_ptr<PackageListRecord> &List : Lists) {
    bool Match = PackageType == EFI_HII_PACKAGE_TYPE_ALL;
    for (const PackagePointer &Package : List->Packages) {
      Match =
          Match || (Package->Type == PackageType &&
                    (PackageGuid == nullptr || GuidsEqual(Package->PackageGuid(), *PackageGuid)));
    }
    if (Match) {
      Found.push_back(List->Handle);
    }
  }
  if (Found.empty()) {
    return EFI_NOT_FOUND;
  }
  UINTN Needed = Found.size() * sizeof(EFI_HII_HANDLE);
  if (*HandleBufferLength < Needed) {
    *HandleBufferLength = Needed;
    return EFI_BUFFER_TOO_SMALL;
  }
  std::copy(Found.begin(), Found.end(), Handles);
  *HandleBufferLength = Needed;
  return EFI_SUCCESS;
}

EFI_STATUS HiiDatabase::ExportPackageLists(EFI_HII_HANDLE Handle, UINTN *BufferSize,
                                           EFI_HII_PACKAGE_LIST_HEADER *Buffer) {
  if (BufferSize == nullptr || (*BufferSize > 0 && Buffer == nullptr)) {
    return EFI_INVALID_PARAMETER;
  }
  std::vector<std::shared_ptr<PackageListRecord>> Chosen;
  if (Handle == nullptr) {
    Chosen = Lists;
  } else {
    std::shared_ptr<PackageListRecord> Record = Find(Handle);
    if (Record == nullptr) {
      return EFI_NOT_FOUND;
    }
    Chosen.push_back(Record);
  }
  UINTN Needed = 0;
  for (const std::shared_ptr<PackageListRecord> &List : Chosen) {
    Needed += List->ExportSize();
  }
  if (*BufferSize < Needed) {
    *BufferSize = Needed;
    return EFI_BUFFER_TOO_SMALL;
  }
  uint8_t *Out = reinterpret_cast<uint8_t *>(Buffer);
  for (const std::shared_ptr<PackageListRecord> &List : Chosen) {
    std::memcpy(Out, &List->Guid, sizeof(EFI_GUID));
    PutU32(Out + offsetof(EFI_HII_PACKAGE_LIST_HEADER, PackageLength),
           static_cast<uint32_t>(List->ExportSize()));
    Out += sizeof(EFI_HII_PACKAGE_LIST_HEADER);
    for (const PackagePointer &Package : List->Packages) {
      std::memcpy(Out, Package->Bytes.data(), Package->Bytes.size());
      Out += Package->Bytes.size();
    }
    PutU32(Out,
           sizeof(EFI_HII_PACKAGE_HEADER) | (static_cast<uint32_t>(EFI_HII_PACKAGE_END) << 24));
    Out += sizeof(EFI_HII_PACKAGE_HEADER);
  }
  *BufferSize = Needed;
  for (const std::shared_ptr<PackageListRecord> &List : Chosen) {
    Notify(EFI_HII_DATABASE_NOTIFY_EXPORT_PACK, List->Handle, List->Packages);
  }
  return EFI_SUCCESS;
}

EFI_STATUS HiiDatabase::GetPackageListHandle(EFI_HII_HANDLE Handle, EFI_HANDLE *DriverHandle) {
  std::shared_ptr<PackageListRecord> Record = Find(Handle);
  if (DriverHandle == nullptr || Record == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *DriverHandle = Record->DriverHandle;
  return EFI_SUCCESS;
}

} // namespace morvane::host
