#include "host/components/user_manager.h"

#include <cstring>

namespace morvane::host {
namespace {

EFI_STATUS EFIAPI Unsupported(const EFI_USER_MANAGER_PROTOCOL *, EFI_USER_PROFILE_HANDLE *) {
  return EFI_UNSUPPORTED;
}

} // namespace

UserManager::UserManager() {
  Protocol.Owner = this;
  EFI_USER_MANAGER_PROTOCOL &Interface = Protocol.Interface;
  Interface.Create = Unsupported;
  Interface.Delete = [](const EFI_USER_MANAGER_PROTOCOL *, EFI_USER_PROFILE_HANDLE) {
    return EFI_UNSUPPORTED;
  };
  Interface.GetNext = Unsupported;
  Interface.Current = Current;
  Interface.Identify = Unsupported;
  Interface.Find = [](const EFI_USER_MANAGER_PROTOCOL *, EFI_USER_PROFILE_HANDLE *,
                      EFI_USER_INFO_HANDLE *, const EFI_USER_INFO *,
                      UINTN) { return EFI_UNSUPPORTED; };
  Interface.Notify = [](const EFI_USER_MANAGER_PROTOCOL *, EFI_HANDLE) { return EFI_UNSUPPORTED; };
  Interface.GetInfo = GetInfo;
  Interface.SetInfo = [](const EFI_USER_MANAGER_PROTOCOL *, EFI_USER_PROFILE_HANDLE,
                         EFI_USER_INFO_HANDLE *, const EFI_USER_INFO *,
                         UINTN) { return EFI_UNSUPPORTED; };
  Interface.DeleteInfo = [](const EFI_USER_MANAGER_PROTOCOL *, EFI_USER_PROFILE_HANDLE,
                            EFI_USER_INFO_HANDLE) { return EFI_UNSUPPORTED; };
  Interface.GetNextInfo = GetNextInfo;
}

EFI_STATUS UserManager::Install(EFI_BOOT_SERVICES *Boot) {
  EFI_GUID Guid = gEfiUserManagerProtocolGuid;
  return Boot->InstallProtocolInterface(&Handle, &Guid, EFI_NATIVE_INTERFACE, &Protocol.Interface);
}

void UserManager::SignalProfileChanged(EFI_BOOT_SERVICES *Boot) {
  EFI_GUID Group = gEfiUserProfileChangedEventGroupGuid;
  EFI_EVENT Event = nullptr;
  if (EFI_ERROR(Boot->CreateEventEx(
          EVT_NOTIFY_SIGNAL, TPL_CALLBACK, [](EFI_EVENT, VOID *) {}, nullptr, &Group, &Event))) {
    return;
  }
  Boot->SignalEvent(Event);
  Boot->CloseEvent(Event);
}

std::vector<uint8_t> UserManager::InfoRecord(UINT8 Type, const std::vector<uint8_t> &Body) {
  std::vector<uint8_t> Bytes(sizeof(EFI_USER_INFO), 0);
  Bytes[16] = Type;
  uint32_t Size = static_cast<uint32_t>(Bytes.size() + Body.size());
  std::memcpy(Bytes.data() + 20, &Size, 4);
  Bytes.insert(Bytes.end(), Body.begin(), Body.end());
  return Bytes;
}

std::vector<uint8_t> UserManager::AccessEntry(UINT32 Type, const std::vector<uint8_t> &Data,
                                              std::optional<UINT32> Size) {
  std::vector<uint8_t> Bytes(8, 0);
  UINT32 Total = Size.value_or(static_cast<UINT32>(8 + Data.size()));
  std::memcpy(Bytes.data(), &Type, 4);
  std::memcpy(Bytes.data() + 4, &Total, 4);
  Bytes.insert(Bytes.end(), Data.begin(), Data.end());
  return Bytes;
}

std::vector<uint8_t> UserManager::SetupPolicy(const EFI_GUID &Level) {
  const uint8_t *Raw = reinterpret_cast<const uint8_t *>(&Level);
  std::vector<uint8_t> Body = AccessEntry(1, {0, 0, 0, 0});
  std::vector<uint8_t> Setup =
      AccessEntry(EFI_USER_INFO_ACCESS_SETUP, std::vector<uint8_t>(Raw, Raw + sizeof(EFI_GUID)));
  Body.insert(Body.end(), Setup.begin(), Setup.end());
  return InfoRecord(EFI_USER_INFO_ACCESS_POLICY_RECORD, Body);
}

UserManager *UserManager::Of(const EFI_USER_MANAGER_PROTOCOL *This) {
  return reinterpret_cast<const Record *>(This)->Owner;
}

EFI_STATUS EFIAPI UserManager::Current(const EFI_USER_MANAGER_PROTOCOL *This,
                                       EFI_USER_PROFILE_HANDLE *CurrentUser) {
  UserManager *Self = Of(This);
  if (CurrentUser == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (Self->CurrentFails) {
    return EFI_NOT_READY;
  }
  *CurrentUser = &Self->User;
  return EFI_SUCCESS;
}

// Record handles are the record's index plus one; a null handle asks for the first.
EFI_STATUS EFIAPI UserManager::GetNextInfo(const EFI_USER_MANAGER_PROTOCOL *This,
                                           EFI_USER_PROFILE_HANDLE User,
                                           EFI_USER_INFO_HANDLE *UserInfo) {
  UserManager *Self = Of(This);
  if (User != &Self->User || UserInfo == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  uintptr_t Next = reinterpret_cast<uintptr_t>(*UserInfo) + 1;
  if (Next > Self->Records.size()) {
    return EFI_NOT_FOUND;
  }
  *UserInfo = reinterpret_cast<EFI_USER_INFO_HANDLE>(Next);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI UserManager::GetInfo(const EFI_USER_MANAGER_PROTOCOL *This,
                                       EFI_USER_PROFILE_HANDLE User, EFI_USER_INFO_HANDLE UserInfo,
                                       EFI_USER_INFO *Info, UINTN *InfoSize) {
  UserManager *Self = Of(This);
  uintptr_t Index = reinterpret_cast<uintptr_t>(UserInfo);
  if (User != &Self->User || InfoSize == nullptr || Index == 0 || Index > Self->Records.size()) {
    return EFI_INVALID_PARAMETER;
  }
  const std::vector<uint8_t> &Bytes = Self->Records[Index - 1];
  if (Info == nullptr || *InfoSize < Bytes.size()) {
    *InfoSize = Bytes.size();
    return EFI_BUFFER_TOO_SMALL;
  }
  std::memcpy(Info, Bytes.data(), Bytes.size());
  *InfoSize = Bytes.size();
  return EFI_SUCCESS;
}

} // namespace morvane::host
