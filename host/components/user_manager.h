// A user manager with one current user and that user's information records: what a form
// browser asks of it (Current, GetNextInfo, GetInfo) works; creating, identifying and
// changing users answer EFI_UNSUPPORTED. The records hold the user's setup access level.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "uefi/system_table.h"
#include "uefi/user_manager.h"

namespace morvane::host {

class UserManager {
public:
  UserManager();
  UserManager(const UserManager &) = delete;
  UserManager &operator=(const UserManager &) = delete;

  // Installs the protocol on a new handle. The platform owns the handle from then on.
  EFI_STATUS Install(EFI_BOOT_SERVICES *Boot);

  // The current user's information records, each a whole record (header and body).
  std::vector<std::vector<uint8_t>> Records;
  // Makes Current fail, as when nobody is identified.
  bool CurrentFails = false;

  // Tells the listeners of the profile-changed event group that the current user changed.
  static void SignalProfileChanged(EFI_BOOT_SERVICES *Boot);

  // An information record: the 24-byte header of Type, then Body.
  static std::vector<uint8_t> InfoRecord(UINT8 Type, const std::vector<uint8_t> &Body);
  // An access-control entry: type, size (given, or the true one) and data.
  static std::vector<uint8_t> AccessEntry(UINT32 Type, const std::vector<uint8_t> &Data,
                                          std::optional<UINT32> Size = std::nullopt);
  // An access policy whose setup entry carries Level, behind an entry of another type.
  static std::vector<uint8_t> SetupPolicy(const EFI_GUID &Level);

private:
  struct Record {
    EFI_USER_MANAGER_PROTOCOL Interface;
    UserManager *Owner;
  };
  static UserManager *Of(const EFI_USER_MANAGER_PROTOCOL *This);
  static EFI_STATUS EFIAPI Current(const EFI_USER_MANAGER_PROTOCOL *This,
                                   EFI_USER_PROFILE_HANDLE *CurrentUser);
  static EFI_STATUS EFIAPI GetNextInfo(const EFI_USER_MANAGER_PROTOCOL *This,
                                       EFI_USER_PROFILE_HANDLE User,
                                       EFI_USER_INFO_HANDLE *UserInfo);
  static EFI_STATUS EFIAPI GetInfo(const EFI_USER_MANAGER_PROTOCOL *This,
                                   EFI_USER_PROFILE_HANDLE User, EFI_USER_INFO_HANDLE UserInfo,
                                   EFI_USER_INFO *Info, UINTN *InfoSize);

  Record Protocol{};
  EFI_HANDLE Handle = nullptr;
  // The one user; its handle only has to be distinct from null.
  UINT8 User = 0;
};

} // namespace morvane::host
