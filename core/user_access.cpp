#include "core/user_access.h"

#include "core/driver_state.h"
#include "support/efi_globals.h"
#include "support/guid.h"
#include "support/memory.h"
#include "uefi/system_table.h"

#include "support/poison.h"

EFI_GUID UserAccessLevel;
EFI_USER_MANAGER_PROTOCOL *UserManager;

namespace {

EFI_EVENT UserManagerEvent;
VOID *UserManagerRegistration;
EFI_EVENT ProfileChangedEvent;

// A setup-access entry holds its type, its size and a GUID at byte 8.
constexpr UINT32 SetupEntryMinimumSize = sizeof(EFI_USER_INFO_ACCESS_CONTROL) + sizeof(EFI_GUID);

VOID EFIAPI OnUserManagerInstalled(EFI_EVENT Event, VOID *Context) {
  if (UserManager == nullptr &&
      EFI_ERROR(BootServices->LocateProtocol(&gEfiUserManagerProtocolGuid, nullptr,
                                             reinterpret_cast<VOID **>(&UserManager)))) {
    UserManager = nullptr;
    return;
  }
  RefreshUserAccess();
}

VOID EFIAPI OnProfileChanged(EFI_EVENT Event, VOID *Context) {
  RefreshUserAccess();
}

} // namespace

void ResetUserAccessState() {
  ZeroBytes(&UserAccessLevel, sizeof(UserAccessLevel));
  UserManager = nullptr;
  UserManagerEvent = nullptr;
  UserManagerRegistration = nullptr;
  ProfileChangedEvent = nullptr;
}

bool UserIsAdministrator() {
  return GuidIsEqual(&UserAccessLevel, &gEfiUserInfoAccessSetupAdminGuid);
}

EFI_STATUS StartUserAccess() {
  UserAccessLevel = gEfiUserInfoAccessSetupAdminGuid;
  EFI_STATUS Status = BootServices->LocateProtocol(&gEfiUserManagerProtocolGuid, nullptr,
                                                   reinterpret_cast<VOID **>(&UserManager));
  if (!EFI_ERROR(Status)) {
    RefreshUserAccess();
  } else {
    UserManager = nullptr;
    Status = BootServices->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, OnUserManagerInstalled,
                                       nullptr, &UserManagerEvent);
    if (!EFI_ERROR(Status)) {
      Status = BootServices->RegisterProtocolNotify(&gEfiUserManagerProtocolGuid, UserManagerEvent,
                                                    &UserManagerRegistration);
    }
  }
  return BootServices->CreateEventEx(EVT_NOTIFY_SIGNAL, TPL_NOTIFY, OnProfileChanged, nullptr,
                                     &gEfiUserProfileChangedEventGroupGuid, &ProfileChangedEvent);
}

EFI_STATUS FindUserInfo(EFI_USER_PROFILE_HANDLE User, UINT8 InfoType, EFI_USER_INFO **Info,
                        EFI_USER_INFO_HANDLE *InfoHandle) {
  EFI_USER_INFO_HANDLE Handle = nullptr;
  // A user manager that hands out the same record forever must not hold the browser.
  for (UINTN Records = 0; Records < 4096; Records++) {
    if (EFI_ERROR(UserManager->GetNextInfo(UserManager, User, &Handle)) || Handle == nullptr) {
      return EFI_NOT_FOUND;
    }
    UINTN Size = 0;
    EFI_STATUS Status = UserManager->GetInfo(UserManager, User, Handle, nullptr, &Size);
    if (Status != EFI_BUFFER_TOO_SMALL || Size < sizeof(EFI_USER_INFO)) {
      continue;
    }
    EFI_USER_INFO *Record = static_cast<EFI_USER_INFO *>(AllocatePoolOf(Size));
    if (Record == nullptr) {
      return EFI_OUT_OF_RESOURCES;
    }
    Status = UserManager->GetInfo(UserManager, User, Handle, Record, &Size);
    if (!EFI_ERROR(Status) && ReadUnaligned32(&Record->InfoSize) > Size) {
      // Readers walk the record by its own size; keep that inside what was copied.
      WriteUnaligned32(&Record->InfoSize, static_cast<UINT32>(Size));
    }
    if (!EFI_ERROR(Status) && Record->InfoType == InfoType) {
      if (InfoHandle != nullptr) {
        *InfoHandle = Handle;
      }
      if (Info != nullptr) {
        *Info = Record;
      } else {
        FreePoolIfSet(Record);
      }
      return EFI_SUCCESS;
    }
    FreePoolIfSet(Record);
  }
  return EFI_NOT_FOUND;
}

void RefreshUserAccess() {
  if (UserManager == nullptr) {
    return;
  }
  EFI_USER_PROFILE_HANDLE User = nullptr;
  if (EFI_ERROR(UserManager->Current(UserManager, &User)) || User == nullptr) {
    return;
  }
  EFI_USER_INFO *Policy = nullptr;
  if (EFI_ERROR(FindUserInfo(User, EFI_USER_INFO_ACCESS_POLICY_RECORD, &Policy, nullptr))) {
    return;
  }
  const UINT8 *Record = reinterpret_cast<const UINT8 *>(Policy);
  UINT32 RecordSize = ReadUnaligned32(&Policy->InfoSize);
  EFI_GUID Level = {};
  UINT32 Offset = sizeof(EFI_USER_INFO);
  while (Offset + sizeof(EFI_USER_INFO_ACCESS_CONTROL) <= RecordSize) {
    UINT32 EntryType = ReadUnaligned32(Record + Offset);
    UINT32 EntrySize = ReadUnaligned32(Record + Offset + 4);
    if (EntryType == EFI_USER_INFO_ACCESS_SETUP) {
      if (EntrySize >= SetupEntryMinimumSize && Offset + SetupEntryMinimumSize <= RecordSize) {
        CopyBytes(&Level, Record + Offset + sizeof(EFI_USER_INFO_ACCESS_CONTROL), sizeof(Level));
      }
      break;
    }
    // An entry of size 0 would hold the walk in place; it ends the chain.
    if (EntrySize < sizeof(EFI_USER_INFO_ACCESS_CONTROL)) {
      break;
    }
    Offset += EntrySize;
  }
  UserAccessLevel = Level;
  FreePoolIfSet(Policy);
}
