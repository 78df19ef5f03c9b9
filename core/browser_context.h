// BrowserContext, the driver's one private record, and UiSelection, what is shown and what is
// to happen next; with the driver-wide variables and the HII protocols held from entry.
#pragma once

#include "core/external_protocols.h"
#include "model/form_model.h"
#include "screen/screen_rect.h"
#include "uefi/form_browser.h"
#include "uefi/graphics.h"

#define BROWSER_CONTEXT_SIGNATURE Signature32('F', 'B', 'D', 'V')
#define UI_SELECTION_SIGNATURE Signature32('U', 'I', 'S', 'S')
#define MENU_BAR_ENTRY_SIGNATURE Signature32('U', 'i', 'm', 'I')

// What the UI has decided, in UiSelection.Action.
#define SELECTION_NONE 0
#define SELECTION_REFRESH_FORM 1
#define SELECTION_RELOAD_FORMSET 2
#define SELECTION_VALUE_CHANGED 3
#define SELECTION_EXIT 4
#define SELECTION_FORM_BACK 5
#define SELECTION_NESTED_EXIT 6
#define SELECTION_ACTION_QUESTION 7
#define SELECTION_GOTO 8

// CallbackAction while no Callback runs.
#define NO_CALLBACK_ACTION 0xFFFFFFFFu

struct MenuLine;
struct ScreenLayout;
struct BROWSER_SERVICES_PROTOCOL;

struct UiSelection {
  UINT32 Signature;
  ListLink Link;
  EFI_HII_HANDLE Handle;
  EFI_GUID FormSetGuid;
  EFI_FORM_ID FormId;
  EFI_QUESTION_ID QuestionId;
  UINT8 SaveExitRequested;
  UINT32 Action;
  UINT16 TopRow;
  struct FormSet *FormSet;
  struct Form *Form;
  struct Statement *Statement;
  struct MenuLine *MenuOption;
};

// One tab of the menu bar.
struct MenuBarEntry {
  UINT32 Signature;
  ListLink Link;
  EFI_HII_HANDLE Handle;
  EFI_STRING_ID TitleStringId;
  EFI_STRING_ID HelpStringId;
  UINT32 Index;
  UINT16 Column;
  UINT16 Row;
  UINT16 Width;
  CHAR16 *Title;
  struct FormSet *FormSet;
};

inline MenuBarEntry *MenuBarEntryFromLink(ListLink *Link) {
  return LIST_RECORD(Link, MenuBarEntry, Link);
}
inline UiSelection *SelectionFromLink(ListLink *Link) {
  return LIST_RECORD(Link, UiSelection, Link);
}

struct BrowserContext {
  UINT32 Signature;
  EFI_HANDLE DriverHandle;
  EFI_HII_HANDLE HiiHandle;
  ScreenRect ScreenDimensions;
  ListLink FormSetList;
  UINT32 SendFormDepth;
  const PAGE_LIST_PROTOCOL *PageListInterface;
  UiSelection *Selection;
  UINT32 CallbackAction;
  UINT8 RefreshPending;
  ListLink MenuBarList;
  UINT32 MenuBarCount;
  UINT32 MenuBarCurrent;
  UINT32 MenuBarFirstVisible;
  ScreenArea MenuBarArea;
  ListLink SelectionStack;
  ListLink OptionList;
  UINT16 OptionRows;
  UINT16 BodyWidth;
  UINT16 PromptWidthLimit;
  MenuLine *TopOption;
  MenuLine *BottomOption;
  ScreenArea BodyArea;
  UINT8 ModalActive;
  UINT8 RepaintPending;
  UINT8 ScrollBarShown;
  EFI_EVENT RefreshTimer;
  UINT8 RefreshTimerActive;
  ScreenArea HelpArea;
  CHAR16 *TitleText;
  UINT16 TitleAlignment;
  ScreenArea TitleArea;
  ScreenArea FooterArea;
  UINT32 TextMode;
  UINT32 TextColumns;
  UINT32 TextRows;
  UINT32 GraphicsMode;
  UINT32 GraphicsWidth;
  UINT32 GraphicsHeight;
  const ScreenLayout *Layout;
  const FORM_STYLE_ROW *StyleTable;
  EFI_GRAPHICS_OUTPUT_PROTOCOL *GraphicsOutput;
  BROWSER_SERVICES_PROTOCOL *Services;
  EFI_FORM_BROWSER2_PROTOCOL *FormBrowser2;
  struct PRINT_PROTOCOL *Print;
};

// The one context, allocated at entry and never freed.
extern BrowserContext *Browser;

// HII protocols located at entry; the image and font interfaces are held and never called.
extern EFI_HII_DATABASE_PROTOCOL *HiiDatabase;
extern EFI_HII_STRING_PROTOCOL *HiiString;
extern EFI_HII_CONFIG_ROUTING_PROTOCOL *HiiConfigRouting;
extern VOID *HiiImage;
extern VOID *HiiFont;

// Set when a question with the reset-required flag was processed or a save asked for it;
// SendForm turns it into the action request.
extern UINT8 ResetRequired;
// Set by the form-package notification; the form loop acts on both.
extern UINT8 FormPackageChanged;
extern EFI_HII_HANDLE FormPackageChangedHandle;

// The language of every string the browser reads, the language last saved, and the language
// that load-defaults applies. ASCII, null-terminated.
#define LANGUAGE_BUFFER_SIZE 44
extern CHAR8 CurrentLanguage[LANGUAGE_BUFFER_SIZE];
extern CHAR8 SavedLanguage[LANGUAGE_BUFFER_SIZE];
extern CHAR8 DefaultLanguage[LANGUAGE_BUFFER_SIZE];

// The package-list GUID of the built-in strings.
inline constexpr EFI_GUID gBrowserStringsPackageListGuid = {
    0xab368524, 0xb60c, 0x495b, {0xa0, 0x09, 0x12, 0xe8, 0x5b, 0x1a, 0xea, 0x32}};

// The vendor GUID of the driver handle's device path and of the vendor-extension IFR records.
inline constexpr EFI_GUID gIfrVendorExtensionGuid = {
    0x0f0b1735, 0x87a0, 0x4193, {0xb2, 0x66, 0x53, 0x8c, 0x38, 0xaf, 0x48, 0xce}};

// True while a Callback has called SendForm again.
bool IsNestedSendForm();
