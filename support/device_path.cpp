#include "support/device_path.h"

#include "support/efi_globals.h"
#include "support/hex.h"
#include "support/memory.h"
#include "support/string.h"

#include "support/poison.h"

UINT16 DevicePathNodeLength(const EFI_DEVICE_PATH_PROTOCOL *Node) {
  return ReadUnaligned16(Node->Length);
}

bool IsDevicePathEnd(const EFI_DEVICE_PATH_PROTOCOL *Node) {
  return (Node->Type & 0x7F) == END_DEVICE_PATH_TYPE &&
         Node->SubType == END_ENTIRE_DEVICE_PATH_SUBTYPE;
}

UINTN DevicePathSize(const EFI_DEVICE_PATH_PROTOCOL *Path) {
  if (Path == nullptr) {
    return 0;
  }
  const UINT8 *Start = reinterpret_cast<const UINT8 *>(Path);
  const UINT8 *Node = Start;
  for (;;) {
    const EFI_DEVICE_PATH_PROTOCOL *Header =
        reinterpret_cast<const EFI_DEVICE_PATH_PROTOCOL *>(Node);
    UINT16 Length = DevicePathNodeLength(Header);
    if (Length < sizeof(EFI_DEVICE_PATH_PROTOCOL)) {
      return 0;
    }
    Node += Length;
    if (IsDevicePathEnd(Header)) {
      return static_cast<UINTN>(Node - Start);
    }
  }
}

EFI_STATUS BuildConfigHdr(CHAR16 *Buffer, UINTN *Size, const EFI_GUID *Guid, const CHAR16 *Name,
                          EFI_HANDLE DriverHandle) {
  EFI_DEVICE_PATH_PROTOCOL *Path = nullptr;
  EFI_STATUS Status = BootServices->HandleProtocol(DriverHandle, &gEfiDevicePathProtocolGuid,
                                                   reinterpret_cast<VOID **>(&Path));
  if (EFI_ERROR(Status)) {
    return Status;
  }
  UINTN PathSize = DevicePathSize(Path);
  if (PathSize == 0) {
    return EFI_INVALID_PARAMETER;
  }
  UINTN Needed = 2 * (StrLength(Name) + 50 + 2 * PathSize);
  UINTN Offered = *Size;
  *Size = Needed;
  if (Needed > Offered) {
    return EFI_BUFFER_TOO_SMALL;
  }
  CHAR16 *Cursor = Buffer;
  StrCopy(Cursor, u"GUID=");
  Cursor += 5;
  BytesToConfigHex(Cursor, reinterpret_cast<const UINT8 *>(Guid), sizeof(EFI_GUID));
  Cursor += 2 * sizeof(EFI_GUID);
  StrCopy(Cursor, u"&NAME=");
  Cursor += 6;
  if (Name != nullptr) {
    StrCopy(Cursor, Name);
    Cursor += StrLength(Name);
  }
  StrCopy(Cursor, u"&PATH=");
  Cursor += 6;
  BytesToConfigHex(Cursor, reinterpret_cast<const UINT8 *>(Path), PathSize);
  return EFI_SUCCESS;
}

namespace {

EFI_HANDLE FindDriverHandleByDevicePath(const EFI_DEVICE_PATH_PROTOCOL *Path) {
  UINTN PathSize = DevicePathSize(Path);
  if (PathSize == 0) {
    return nullptr;
  }
  UINTN HandleCount = 0;
  EFI_HANDLE *Handles = nullptr;
  if (EFI_ERROR(BootServices->LocateHandleBuffer(ByProtocol, &gEfiDevicePathProtocolGuid, nullptr,
                                                 &HandleCount, &Handles))) {
    return nullptr;
  }
  EFI_HANDLE Found = nullptr;
  for (UINTN Index = 0; Index < HandleCount && Found == nullptr; Index++) {
    EFI_DEVICE_PATH_PROTOCOL *Candidate = nullptr;
    if (EFI_ERROR(BootServices->HandleProtocol(Handles[Index], &gEfiDevicePathProtocolGuid,
                                               reinterpret_cast<VOID **>(&Candidate)))) {
      continue;
    }
    if (DevicePathSize(Candidate) == PathSize && CompareBytes(Candidate, Path, PathSize) == 0) {
      Found = Handles[Index];
    }
  }
  FreePoolIfSet(Handles);
  return Found;
}

} // namespace

EFI_HII_HANDLE FindHiiHandleByDevicePath(const EFI_HII_DATABASE_PROTOCOL *HiiDatabase,
                                         const EFI_DEVICE_PATH_PROTOCOL *Path) {
  EFI_HANDLE DriverHandle = FindDriverHandleByDevicePath(Path);
  if (DriverHandle == nullptr) {
    return nullptr;
  }
  UINTN BufferSize = 4096;
  EFI_HII_HANDLE *HiiHandles = static_cast<EFI_HII_HANDLE *>(AllocatePoolOf(BufferSize));
  if (HiiHandles == nullptr) {
    return nullptr;
  }
  EFI_STATUS Status = HiiDatabase->ListPackageLists(HiiDatabase, EFI_HII_PACKAGE_TYPE_ALL, nullptr,
                                                    &BufferSize, HiiHandles);
  if (Status == EFI_BUFFER_TOO_SMALL) {
    FreePoolIfSet(HiiHandles);
    HiiHandles = static_cast<EFI_HII_HANDLE *>(AllocatePoolOf(BufferSize));
    if (HiiHandles == nullptr) {
      return nullptr;
    }
    Status = HiiDatabase->ListPackageLists(HiiDatabase, EFI_HII_PACKAGE_TYPE_ALL, nullptr,
                                           &BufferSize, HiiHandles);
  }
  EFI_HII_HANDLE Found = nullptr;
  if (!EFI_ERROR(Status)) {
    for (UINTN Index = 0; Index < BufferSize / sizeof(EFI_HII_HANDLE); Index++) {
      EFI_HANDLE Owner = nullptr;
      if (!EFI_ERROR(HiiDatabase->GetPackageListHandle(HiiDatabase, HiiHandles[Index], &Owner)) &&
          Owner == DriverHandle) {
        Found = HiiHandles[Index];
        break;
      }
    }
  }
  FreePoolIfSet(HiiHandles);
  return Found;
}
