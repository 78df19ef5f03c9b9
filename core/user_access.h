// The setup access level of the current user, from the platform's user manager. Load-defaults
// and the IFR security opcode depend on it; with no user manager everybody is an
// administrator.
#pragma once

#include "uefi/user_manager.h"

extern EFI_GUID UserAccessLevel;
extern EFI_USER_MANAGER_PROTOCOL *UserManager;

// Called once by the entry: the initial level, the user manager or a notification for it, and
// the profile-change event.
EFI_STATUS StartUserAccess();
// Reads the level of the current user; failures leave the level as it was.
void RefreshUserAccess();
// A pool copy of the first user information record of InfoType; Info and InfoHandle may be
// null (without Info the copy is freed). EFI_NOT_FOUND when no record has that type.
EFI_STATUS FindUserInfo(EFI_USER_PROFILE_HANDLE User, UINT8 InfoType, EFI_USER_INFO **Info,
                        EFI_USER_INFO_HANDLE *InfoHandle);
// True when the current user has the administrator's setup access.
bool UserIsAdministrator();
