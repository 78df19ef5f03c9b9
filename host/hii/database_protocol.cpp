// EFI_HII_DATABASE_PROTOCOL over the services' database.
#include "host/hii/hii_services.h"

namespace morvane::host {

namespace {

HiiDatabase *DatabaseOf(const EFI_HII_DATABASE_PROTOCOL *This) {
  HiiServices *Owner = HiiOwnerOf(This);
  return Owner == nullptr ? nullptr : &Owner->Packages();
}

// NewPackageList: adds a validated package list under a new HII handle.
EFI_STATUS EFIAPI NewPackageList(const EFI_HII_DATABASE_PROTOCOL *This,
                                 const EFI_HII_PACKAGE_LIST_HEADER *PackageList,
                                 EFI_HANDLE DriverHandle, EFI_HII_HANDLE *Handle) {
  HiiDatabase *Database = DatabaseOf(This);
  return Database == nullptr ? EFI_INVALID_PARAMETER
                             : Database->NewPackageList(PackageList, DriverHandle, Handle);
}

// RemovePackageList: removes a list and all its packages.
EFI_STATUS EFIAPI RemovePackageList(const EFI_HII_DATABASE_PROTOCOL *This, EFI_HII_HANDLE Handle) {
  HiiDatabase *Database = DatabaseOf(This);
  return Database == nullptr ? EFI_INVALID_PARAMETER : Database->RemovePackageList(Handle);
}

// UpdatePackageList: the new list's packages replace the old ones of their types.
EFI_STATUS EFIAPI UpdatePackageList(const EFI_HII_DATABASE_PROTOCOL *This, EFI_HII_HANDLE Handle,
                                    const EFI_HII_PACKAGE_LIST_HEADER *PackageList) {
  HiiDatabase *Database = DatabaseOf(This);
  return Database == nullptr ? EFI_INVALID_PARAMETER
                             : Database->UpdatePackageList(Handle, PackageList);
}

// ListPackageLists: the handles of the lists holding a package type (or GUID package).
EFI_STATUS EFIAPI ListPackageLists(const EFI_HII_DATABASE_PROTOCOL *This, UINT8 PackageType,
                                   const EFI_GUID *PackageGuid, UINTN *HandleBufferLength,
                                   EFI_HII_HANDLE *Handle) {
  HiiDatabase *Database = DatabaseOf(This);
  return Database == nullptr
             ? EFI_INVALID_PARAMETER
             : Database->ListPackageLists(PackageType, PackageGuid, HandleBufferLength, Handle);
}

// ExportPackageLists: byte copies of one list or of all of them.
EFI_STATUS EFIAPI ExportPackageLists(const EFI_HII_DATABASE_PROTOCOL *This, EFI_HII_HANDLE Handle,
                                     UINTN *BufferSize, EFI_HII_PACKAGE_LIST_HEADER *Buffer) {
  HiiDatabase *Database = DatabaseOf(This);
  return Database == nullptr ? EFI_INVALID_PARAMETER
                             : Database->ExportPackageLists(Handle, BufferSize, Buffer);
}

// RegisterPackageNotify: calls a function when packages of a type come, go or are exported.
EFI_STATUS EFIAPI RegisterPackageNotify(const EFI_HII_DATABASE_PROTOCOL *This, UINT8 PackageType,
                                        const EFI_GUID *PackageGuid,
                                        EFI_HII_DATABASE_NOTIFY PackageNotifyFn,
                                        EFI_HII_DATABASE_NOTIFY_TYPE NotifyType,
                                        EFI_HANDLE *NotifyHandle) {
  HiiDatabase *Database = DatabaseOf(This);
  return Database == nullptr
             ? EFI_INVALID_PARAMETER
             : Database->RegisterPackageNotify(PackageType, PackageGuid, PackageNotifyFn,
                                               NotifyType, NotifyHandle);
}

// UnregisterPackageNotify: forgets a registration.
EFI_STATUS EFIAPI UnregisterPackageNotify(const EFI_HII_DATABASE_PROTOCOL *This,
                                          EFI_HANDLE NotificationHandle) {
  HiiDatabase *Database = DatabaseOf(This);
  return Database == nullptr ? EFI_INVALID_PARAMETER
                             : Database->UnregisterPackageNotify(NotificationHandle);
}

// FindKeyboardLayouts: the GUIDs of every keyboard layout.
EFI_STATUS EFIAPI FindKeyboardLayouts(const EFI_HII_DATABASE_PROTOCOL *This,
                                      UINT16 *KeyGuidBufferLength, EFI_GUID *KeyGuidBuffer) {
  HiiDatabase *Database = DatabaseOf(This);
  return Database == nullptr ? EFI_INVALID_PARAMETER
                             : Database->FindKeyboardLayouts(KeyGuidBufferLength, KeyGuidBuffer);
}

// GetKeyboardLayout: one layout, or the current one.
EFI_STATUS EFIAPI GetKeyboardLayout(const EFI_HII_DATABASE_PROTOCOL *This, const EFI_GUID *KeyGuid,
                                    UINT16 *KeyboardLayoutLength,
                                    EFI_HII_KEYBOARD_LAYOUT *KeyboardLayout) {
  HiiDatabase *Database = DatabaseOf(This);
  return Database == nullptr
             ? EFI_INVALID_PARAMETER
             : Database->GetKeyboardLayout(KeyGuid, KeyboardLayoutLength, KeyboardLayout);
}

// SetKeyboardLayout: makes a layout the current one.
EFI_STATUS EFIAPI SetKeyboardLayout(const EFI_HII_DATABASE_PROTOCOL *This,
                                    const EFI_GUID *KeyGuid) {
  HiiDatabase *Database = DatabaseOf(This);
  return Database == nullptr ? EFI_INVALID_PARAMETER : Database->SetKeyboardLayout(KeyGuid);
}

// GetPackageListHandle: the driver handle a list was added with.
EFI_STATUS EFIAPI GetPackageListHandle(const EFI_HII_DATABASE_PROTOCOL *This,
                                       EFI_HII_HANDLE PackageListHandle, EFI_HANDLE *DriverHandle) {
  HiiDatabase *Database = DatabaseOf(This);
  return Database == nullptr ? EFI_INVALID_PARAMETER
                             : Database->GetPackageListHandle(PackageListHandle, DriverHandle);
}

} // namespace

const EFI_HII_DATABASE_PROTOCOL HII_DATABASE_TABLE = {
    .NewPackageList = NewPackageList,
    .RemovePackageList = RemovePackageList,
    .UpdatePackageList = UpdatePackageList,
    .ListPackageLists = ListPackageLists,
    .ExportPackageLists = ExportPackageLists,
    .RegisterPackageNotify = RegisterPackageNotify,
    .UnregisterPackageNotify = UnregisterPackageNotify,
    .FindKeyboardLayouts = FindKeyboardLayouts,
    .GetKeyboardLayout = GetKeyboardLayout,
    .SetKeyboardLayout = SetKeyboardLayout,
    .GetPackageListHandle = GetPackageListHandle,
};

} // namespace morvane::host
