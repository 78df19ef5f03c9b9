// Form Browser2 Protocol (UEFI specification section 35.6).
#pragma once

#include "uefi/hii.h"

#define EFI_FORM_BROWSER2_PROTOCOL_GUID                                                            \
  {                                                                                                \
    0xb9d4c360, 0xbcfb, 0x4f9b, {                                                                  \
      0x92, 0x98, 0x53, 0xc1, 0x36, 0x98, 0x22, 0x58                                               \
    }                                                                                              \
  }
inline constexpr EFI_GUID gEfiFormBrowser2ProtocolGuid = EFI_FORM_BROWSER2_PROTOCOL_GUID;

typedef struct {
  UINTN LeftColumn;
  UINTN RightColumn;
  UINTN TopRow;
  UINTN BottomRow;
} EFI_SCREEN_DESCRIPTOR;

struct EFI_FORM_BROWSER2_PROTOCOL;

typedef EFI_STATUS(EFIAPI *EFI_SEND_FORM2)(const EFI_FORM_BROWSER2_PROTOCOL *This,
                                           EFI_HII_HANDLE *Handle, UINTN HandleCount,
                                           EFI_GUID *FormSetGuid, EFI_FORM_ID FormId,
                                           const EFI_SCREEN_DESCRIPTOR *ScreenDimensions,
                                           EFI_BROWSER_ACTION_REQUEST *ActionRequest);
typedef EFI_STATUS(EFIAPI *EFI_BROWSER_CALLBACK2)(const EFI_FORM_BROWSER2_PROTOCOL *This,
                                                  UINTN *ResultsDataSize, EFI_STRING ResultsData,
                                                  BOOLEAN RetrieveData,
                                                  const EFI_GUID *VariableGuid,
                                                  const CHAR16 *VariableName);

struct EFI_FORM_BROWSER2_PROTOCOL {
  EFI_SEND_FORM2 SendForm;
  EFI_BROWSER_CALLBACK2 BrowserCallback;
};
