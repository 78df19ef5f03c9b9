// The HII database behind the published protocols: package lists by HII handle, package
// notifications, keyboard layouts and the strings of each list. The protocol tables are thin
// shells over these members; statuses are the published ones.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "host/hii/package_list.h"
#include "uefi/hii.h"

namespace morvane::host {

class HiiDatabase {
public:
  // EFI_HII_DATABASE_PROTOCOL.
  EFI_STATUS NewPackageList(const EFI_HII_PACKAGE_LIST_HEADER *List, EFI_HANDLE DriverHandle,
                            EFI_HII_HANDLE *Handle);
  EFI_STATUS RemovePackageList(EFI_HII_HANDLE Handle);
  EFI_STATUS UpdatePackageList(EFI_HII_HANDLE Handle, const EFI_HII_PACKAGE_LIST_HEADER *List);
  EFI_STATUS ListPackageLists(UINT8 PackageType, const EFI_GUID *PackageGuid,
                              UINTN *HandleBufferLength, EFI_HII_HANDLE *Handles);
  EFI_STATUS ExportPackageLists(EFI_HII_HANDLE Handle, UINTN *BufferSize,
                                EFI_HII_PACKAGE_LIST_HEADER *Buffer);
  EFI_STATUS RegisterPackageNotify(UINT8 PackageType, const EFI_GUID *PackageGuid,
                                   EFI_HII_DATABASE_NOTIFY Function,
                                   EFI_HII_DATABASE_NOTIFY_TYPE NotifyType,
                                   EFI_HANDLE *NotifyHandle);
  EFI_STATUS UnregisterPackageNotify(EFI_HANDLE NotifyHandle);
  EFI_STATUS FindKeyboardLayouts(UINT16 *KeyGuidBufferLength, EFI_GUID *KeyGuidBuffer);
  EFI_STATUS GetKeyboardLayout(const EFI_GUID *KeyGuid, UINT16 *KeyboardLayoutLength,
                               EFI_HII_KEYBOARD_LAYOUT *KeyboardLayout);
  EFI_STATUS SetKeyboardLayout(const EFI_GUID *KeyGuid);
  EFI_STATUS GetPackageListHandle(EFI_HII_HANDLE Handle, EFI_HANDLE *DriverHandle);

  // EFI_HII_STRING_PROTOCOL.
  EFI_STATUS NewString(EFI_HII_HANDLE Handle, EFI_STRING_ID *StringId, const CHAR8 *Language,
                       const CHAR16 *LanguageName, const CHAR16 *String);
  EFI_STATUS GetString(const CHAR8 *Language, EFI_HII_HANDLE Handle, EFI_STRING_ID StringId,
                       EFI_STRING String, UINTN *StringSize, EFI_FONT_INFO **StringFontInfo);
  EFI_STATUS SetString(EFI_HII_HANDLE Handle, EFI_STRING_ID StringId, const CHAR8 *Language,
                       const CHAR16 *String);
  EFI_STATUS GetLanguages(EFI_HII_HANDLE Handle, CHAR8 *Languages, UINTN *LanguagesSize);
  EFI_STATUS GetSecondaryLanguages(EFI_HII_HANDLE Handle, const CHAR8 *PrimaryLanguage,
                                   CHAR8 *SecondaryLanguages, UINTN *SecondaryLanguagesSize);

  // The list behind an HII handle; null for an unknown or removed handle.
  std::shared_ptr<PackageListRecord> Find(EFI_HII_HANDLE Handle) const;

private:
  struct Notification {
    EFI_HANDLE Handle;
    UINT8 PackageType;
    std::optional<EFI_GUID> PackageGuid;
    EFI_HII_DATABASE_NOTIFY Function;
    EFI_HII_DATABASE_NOTIFY_TYPE Types;
  };

  // Runs the registered notifications of Type for each package, in package order and then
  // registration order, on the caller's thread. A notification unregistered by an earlier one
  // is not run.
  void Notify(EFI_HII_DATABASE_NOTIFY_TYPE Type, EFI_HII_HANDLE Handle,
              const std::vector<PackagePointer> &Packages);
  bool Matches(const Notification &Entry, const StoredPackage &Package,
               EFI_HII_DATABASE_NOTIFY_TYPE Type) const;

  // The string package of Language (compared without case on the primary language).
  static std::optional<size_t> FindStrings(const PackageListRecord &List,
                                           const std::string &Language);

  std::vector<std::shared_ptr<PackageListRecord>> Lists;
  std::vector<Notification> Notifications;
  UINTN HandleSerial = 0;
  UINTN NotifySerial = 0;
  std::optional<EFI_GUID> CurrentLayout;
};

} // namespace morvane::host
