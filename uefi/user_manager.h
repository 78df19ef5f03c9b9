// User identification: the user manager and user information records (UEFI specification
// section 36 "User Identification").
#pragma once

#include "uefi/base.h"

typedef VOID *EFI_USER_PROFILE_HANDLE;
typedef VOID *EFI_USER_INFO_HANDLE;

// The user manager interface as this browser locates it.
#define EFI_USER_MANAGER_PROTOCOL_GUID                                                             \
  {                                                                                                \
    0x74ef2296, 0xfce1, 0x4114, {                                                                  \
      0xa9, 0x9b, 0x3d, 0xff, 0x5f, 0xcb, 0x8e, 0x25                                               \
    }                                                                                              \
  }
inline constexpr EFI_GUID gEfiUserManagerProtocolGuid = EFI_USER_MANAGER_PROTOCOL_GUID;

// The event group signalled when the current user's profile changes.
#define EFI_USER_PROFILE_CHANGED_EVENT_GROUP_GUID                                                  \
  {                                                                                                \
    0xbaf1e6de, 0x209e, 0x4adb, {                                                                  \
      0x8d, 0x96, 0xfd, 0x8b, 0x71, 0xf3, 0xf6, 0x83                                               \
    }                                                                                              \
  }
inline constexpr EFI_GUID gEfiUserProfileChangedEventGroupGuid =
    EFI_USER_PROFILE_CHANGED_EVENT_GROUP_GUID;

#pragma pack(push, 1)
typedef struct {
  EFI_GUID Credential;
  UINT8 InfoType;
  UINT8 Reserved1;
  UINT16 InfoAttribs;
  UINT32 InfoSize;
} EFI_USER_INFO;

typedef struct {
  UINT32 Type;
  UINT32 Size;
} EFI_USER_INFO_ACCESS_CONTROL;
#pragma pack(pop)
static_assert(sizeof(EFI_USER_INFO) == 24);
static_assert(offsetof(EFI_USER_INFO, InfoType) == 16);
static_assert(offsetof(EFI_USER_INFO, InfoSize) == 20);

#define EFI_USER_INFO_ACCESS_POLICY_RECORD 0x0E
#define EFI_USER_INFO_ACCESS_SETUP 0x00000006

// Setup access levels carried by an access-setup entry.
#define EFI_USER_INFO_ACCESS_SETUP_ADMIN_GUID                                                      \
  {                                                                                                \
    0x85b75607, 0xf7ce, 0x471e, {                                                                  \
      0xb7, 0xe4, 0x2a, 0xea, 0x5f, 0x72, 0x32, 0xee                                               \
    }                                                                                              \
  }
#define EFI_USER_INFO_ACCESS_SETUP_NORMAL_GUID                                                     \
  {                                                                                                \
    0x1db29ae0, 0x9dcb, 0x43bc, {                                                                  \
      0x8d, 0x87, 0x5d, 0xa1, 0x49, 0x64, 0xdd, 0xe2                                               \
    }                                                                                              \
  }
#define EFI_USER_INFO_ACCESS_SETUP_RESTRICTED_GUID                                                 \
  {                                                                                                \
    0xbdb38125, 0x4d63, 0x49f4, {                                                                  \
      0x82, 0x12, 0x61, 0xcf, 0x5a, 0x19, 0x0a, 0xf8                                               \
    }                                                                                              \
  }
inline constexpr EFI_GUID gEfiUserInfoAccessSetupAdminGuid = EFI_USER_INFO_ACCESS_SETUP_ADMIN_GUID;
inline constexpr EFI_GUID gEfiUserInfoAccessSetupNormalGuid =
    EFI_USER_INFO_ACCESS_SETUP_NORMAL_GUID;
inline constexpr EFI_GUID gEfiUserInfoAccessSetupRestrictedGuid =
    EFI_USER_INFO_ACCESS_SETUP_RESTRICTED_GUID;

struct EFI_USER_MANAGER_PROTOCOL;

typedef EFI_STATUS(EFIAPI *EFI_USER_PROFILE_CREATE)(const EFI_USER_MANAGER_PROTOCOL *This,
                                                    EFI_USER_PROFILE_HANDLE *User);
typedef EFI_STATUS(EFIAPI *EFI_USER_PROFILE_DELETE)(const EFI_USER_MANAGER_PROTOCOL *This,
                                                    EFI_USER_PROFILE_HANDLE User);
typedef EFI_STATUS(EFIAPI *EFI_USER_PROFILE_GET_NEXT)(const EFI_USER_MANAGER_PROTOCOL *This,
                                                      EFI_USER_PROFILE_HANDLE *User);
typedef EFI_STATUS(EFIAPI *EFI_USER_PROFILE_CURRENT)(const EFI_USER_MANAGER_PROTOCOL *This,
                                                     EFI_USER_PROFILE_HANDLE *CurrentUser);
typedef EFI_STATUS(EFIAPI *EFI_USER_PROFILE_IDENTIFY)(const EFI_USER_MANAGER_PROTOCOL *This,
                                                      EFI_USER_PROFILE_HANDLE *User);
typedef EFI_STATUS(EFIAPI *EFI_USER_PROFILE_FIND)(const EFI_USER_MANAGER_PROTOCOL *This,
                                                  EFI_USER_PROFILE_HANDLE *User,
                                                  EFI_USER_INFO_HANDLE *UserInfo,
                                                  const EFI_USER_INFO *Info, UINTN InfoSize);
typedef EFI_STATUS(EFIAPI *EFI_USER_PROFILE_NOTIFY)(const EFI_USER_MANAGER_PROTOCOL *This,
                                                    EFI_HANDLE Changed);
typedef EFI_STATUS(EFIAPI *EFI_USER_PROFILE_GET_INFO)(const EFI_USER_MANAGER_PROTOCOL *This,
                                                      EFI_USER_PROFILE_HANDLE User,
                                                      EFI_USER_INFO_HANDLE UserInfo,
                                                      EFI_USER_INFO *Info, UINTN *InfoSize);
typedef EFI_STATUS(EFIAPI *EFI_USER_PROFILE_SET_INFO)(const EFI_USER_MANAGER_PROTOCOL *This,
                                                      EFI_USER_PROFILE_HANDLE User,
                                                      EFI_USER_INFO_HANDLE *UserInfo,
                                                      const EFI_USER_INFO *Info, UINTN InfoSize);
typedef EFI_STATUS(EFIAPI *EFI_USER_PROFILE_DELETE_INFO)(const EFI_USER_MANAGER_PROTOCOL *This,
                                                         EFI_USER_PROFILE_HANDLE User,
                                                         EFI_USER_INFO_HANDLE UserInfo);
typedef EFI_STATUS(EFIAPI *EFI_USER_PROFILE_GET_NEXT_INFO)(const EFI_USER_MANAGER_PROTOCOL *This,
                                                           EFI_USER_PROFILE_HANDLE User,
                                                           EFI_USER_INFO_HANDLE *UserInfo);

struct EFI_USER_MANAGER_PROTOCOL {
  EFI_USER_PROFILE_CREATE Create;
  EFI_USER_PROFILE_DELETE Delete;
  EFI_USER_PROFILE_GET_NEXT GetNext;
  EFI_USER_PROFILE_CURRENT Current;
  EFI_USER_PROFILE_IDENTIFY Identify;
  EFI_USER_PROFILE_FIND Find;
  EFI_USER_PROFILE_NOTIFY Notify;
  EFI_USER_PROFILE_GET_INFO GetInfo;
  EFI_USER_PROFILE_SET_INFO SetInfo;
  EFI_USER_PROFILE_DELETE_INFO DeleteInfo;
  EFI_USER_PROFILE_GET_NEXT_INFO GetNextInfo;
};
