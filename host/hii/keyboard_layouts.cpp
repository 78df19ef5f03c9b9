// Keyboard layouts: found in the keyboard layout packages of every list.
#include <cstring>

#include "host/hii/guid_compare.h"
#include "host/hii/hii_database.h"

namespace morvane::host {

EFI_STATUS HiiDatabase::FindKeyboardLayouts(UINT16 *KeyGuidBufferLength, EFI_GUID *KeyGuidBuffer) {
  if (KeyGuidBufferLength == nullptr || (*KeyGuidBufferLength > 0 && KeyGuidBuffer == nullptr)) {
    return EFI_INVALID_PARAMETER;
  }
  std::vector<EFI_GUID> Found;
  for (const std::shared_ptr<PackageListRecord> &List : Lists) {
    for (const PackagePointer &Package : List->Packages) {
      std::vector<KeyboardLayoutSpan> Layouts;
      if (Package->Type != EFI_HII_PACKAGE_KEYBOARD_LAYOUT ||
          !KeyboardLayouts(Package->Bytes, &Layouts)) {
        continue;
      }
      for (const KeyboardLayoutSpan &Layout : Layouts) {
        bool Seen = false;
        for (const EFI_GUID &Guid : Found) {
          Seen = Seen || GuidsEqual(Guid, Layout.Guid);
        }
        if (!Seen) {
          Found.push_back(Layout.Guid);
        }
      }
    }
  }
  if (Found.empty()) {
    return EFI_NOT_FOUND;
  }
  size_t Needed = Found.size() * sizeof(EFI_GUID);
  if (Needed > 0xFFFF) {
    return EFI_OUT_OF_RESOURCES;
  }
  if (*KeyGuidBufferLength < Needed) {
    *KeyGuidBufferLength = static_cast<UINT16>(Needed);
    return EFI_BUFFER_TOO_SMALL;
  }
  std::memcpy(KeyGuidBuffer, Found.data(), Needed);
  *KeyGuidBufferLength = static_cast<UINT16>(Needed);
  return EFI_SUCCESS;
}

EFI_STATUS HiiDatabase::GetKeyboardLayout(const EFI_GUID *KeyGuid, UINT16 *KeyboardLayoutLength,
                                          EFI_HII_KEYBOARD_LAYOUT *KeyboardLayout) {
  if (KeyboardLayoutLength == nullptr || (*KeyboardLayoutLength > 0 && KeyboardLayout == nullptr)) {
    return EFI_INVALID_PARAMETER;
  }
  // No GUID asks for the current layout.
  if (KeyGuid == nullptr) {
    if (!CurrentLayout.has_value()) {
      return EFI_NOT_FOUND;
    }
    KeyGuid = &*CurrentLayout;
  }
  for (const std::shared_ptr<PackageListRecord> &List : Lists) {
    for (const PackagePointer &Package : List->Packages) {
      std::vector<KeyboardLayoutSpan> Layouts;
      if (Package->Type != EFI_HII_PACKAGE_KEYBOARD_LAYOUT ||
          !KeyboardLayouts(Package->Bytes, &Layouts)) {
        continue;
      }
      for (const KeyboardLayoutSpan &Layout : Layouts) {
        if (!GuidsEqual(Layout.Guid, *KeyGuid)) {
          continue;
        }
        if (*KeyboardLayoutLength < Layout.Length) {
          *KeyboardLayoutLength = static_cast<UINT16>(Layout.Length);
          return EFI_BUFFER_TOO_SMALL;
        }
        std::memcpy(KeyboardLayout, Package->Bytes.data() + Layout.Offset, Layout.Length);
        *KeyboardLayoutLength = static_cast<UINT16>(Layout.Length);
        return EFI_SUCCESS;
      }
    }
  }
  return EFI_NOT_FOUND;
}

EFI_STATUS HiiDatabase::SetKeyboardLayout(const EFI_GUID *KeyGuid) {
  if (KeyGuid == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  UINT16 Length = 0;
  EFI_STATUS Status = GetKeyboardLayout(KeyGuid, &Length, nullptr);
  if (Status != EFI_BUFFER_TOO_SMALL) {
    return Status;
  }
  CurrentLayout = *KeyGuid;
  return EFI_SUCCESS;
}

} // namespace morvane::host
