// EFI_FORM_BROWSER2_PROTOCOL as this driver offers it.
#pragma once

#include "uefi/form_browser.h"

extern EFI_FORM_BROWSER2_PROTOCOL FormBrowser2Interface;

// Shows the form sets of Handles; re-entrant from a driver's Callback. Every handle is loaded
// before anything is shown; the handles a page provider names become tabs in page-list order.
EFI_STATUS EFIAPI SendForm(const EFI_FORM_BROWSER2_PROTOCOL *This, EFI_HII_HANDLE *Handles,
                           UINTN HandleCount, EFI_GUID *FormSetGuid, EFI_FORM_ID FormId,
                           const EFI_SCREEN_DESCRIPTOR *ScreenDimensions,
                           EFI_BROWSER_ACTION_REQUEST *ActionRequest);

// Lets a driver inside a Callback read or change the browser's uncommitted values of a
// varstore. ResultsData is a whole <ConfigResp>, header included, in both directions.
EFI_STATUS EFIAPI BrowserCallback(const EFI_FORM_BROWSER2_PROTOCOL *This, UINTN *ResultsDataSize,
                                  EFI_STRING ResultsData, BOOLEAN RetrieveData,
                                  const EFI_GUID *VariableGuid, const CHAR16 *VariableName);
