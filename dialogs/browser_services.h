// BrowserServicesProtocol: data shared between the browser and the drivers whose Callback it
// calls (the last key, a question to go to, the reason of a global notification), and five
// functions for other drivers: the dialogs and the screen-area query. No function takes a This.
#pragma once

#include "uefi/console.h"

#define BROWSER_SERVICES_PROTOCOL_GUID                                                             \
  {                                                                                                \
    0xd617ff8a, 0x0967, 0x470d, {                                                                  \
      0x9c, 0x6f, 0xa7, 0xb4, 0x0a, 0xe4, 0x27, 0x03                                               \
    }                                                                                              \
  }
inline constexpr EFI_GUID gBrowserServicesProtocolGuid = BROWSER_SERVICES_PROTOCOL_GUID;

// NotifyCode values while the notified page is told of a global action.
#define NOTIFY_CODE_NONE 0
#define NOTIFY_CODE_DISCARDED 0xC002
#define NOTIFY_CODE_DEFAULTS_LOADED 0xE001

typedef EFI_STATUS(EFIAPI *BROWSER_SHOW_DIALOG)(UINT32 LineCount, BOOLEAN KeyMode,
                                                UINT32 MaximumLength, CHAR16 *Text,
                                                EFI_INPUT_KEY *Key, ...);
typedef UINT32(EFIAPI *BROWSER_SHOW_SIMPLE_MESSAGE_BOX)(const CHAR16 *Title, UINT32 Type,
                                                        UINT32 LineCount, const CHAR16 **Lines,
                                                        UINT32 DefaultMask, UINT32 ButtonMask);
typedef UINT32(EFIAPI *BROWSER_SHOW_OK_MESSAGE_BOX)(const CHAR16 *Title, UINT32 Type,
                                                    UINT32 LineCount, const CHAR16 **Lines);
typedef UINT32(EFIAPI *BROWSER_SHOW_CUSTOM_MESSAGE_BOX)(const CHAR16 *Title, const CHAR16 *Text,
                                                        const UINT32 *Rect, UINT32 Attribute,
                                                        UINT32 ButtonCount, UINT32 DefaultButton,
                                                        const CHAR16 **ButtonTexts);
typedef EFI_STATUS(EFIAPI *BROWSER_GET_AREA_ATTRIBUTES)(UINT32 AreaId, VOID *Row, UINT32 *Rect);

struct BROWSER_SERVICES_PROTOCOL {
  EFI_KEY_DATA LastKey;
  UINT16 NextQuestionId;
  UINT16 Reserved;
  UINT32 NotifyCode;
  BROWSER_SHOW_DIALOG ShowDialog;
  BROWSER_SHOW_SIMPLE_MESSAGE_BOX ShowSimpleMessageBox;
  BROWSER_SHOW_OK_MESSAGE_BOX ShowOkMessageBox;
  BROWSER_SHOW_CUSTOM_MESSAGE_BOX ShowCustomMessageBox;
  BROWSER_GET_AREA_ATTRIBUTES GetAreaAttributes;
};
static_assert(offsetof(BROWSER_SERVICES_PROTOCOL, LastKey) == 0);
static_assert(offsetof(BROWSER_SERVICES_PROTOCOL, NextQuestionId) == 12);
static_assert(offsetof(BROWSER_SERVICES_PROTOCOL, NotifyCode) == 16);

// The driver's static record; BrowserContext.Services points at it.
extern BROWSER_SERVICES_PROTOCOL BrowserServices;
