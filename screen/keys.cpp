#include "screen/keys.h"

#include "core/browser_context.h"
#include "core/driver_state.h"
#include "core/hii_strings.h"
#include "data/builtin_strings.h"
#include "dialogs/browser_services.h"
#include "screen/layout.h"
#include "support/efi_globals.h"
#include "support/memory.h"

#include "support/poison.h"

EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL *TextInputEx;

namespace {

// The ids of the strings loaded at each start of a nesting and each refresh.
constexpr EFI_STRING_ID DisplayStringIds[] = {
    STRING_BROWSER_TITLE,
    STRING_HELP_TITLE,
    STRING_KEY_F1,
    STRING_KEY_F1_TEXT,
    STRING_KEY_ESC,
    STRING_KEY_ESC_TEXT,
    STRING_KEY_UP_DOWN,
    STRING_KEY_UP_DOWN_TEXT,
    STRING_KEY_LEFT_RIGHT,
    STRING_KEY_LEFT_RIGHT_TEXT,
    STRING_KEY_PLUS_MINUS,
    STRING_KEY_CHANGE_TEXT,
    STRING_KEY_ENTER,
    STRING_KEY_ENTER_TEXT,
    STRING_EXECUTE_COMMAND,
    STRING_KEY_F9,
    STRING_KEY_F9_TEXT,
    STRING_KEY_F10,
    STRING_KEY_F10_TEXT,
    STRING_ENTER_PASSWORD,
    STRING_PRESS_ENTER,
    STRING_TYPE_IN_DATA,
    STRING_EMPTY,
    STRING_NOT_ENOUGH_CHARACTERS,
    STRING_TARGET_NOT_FOUND,
    STRING_MESSAGE,
};
constexpr UINTN DisplayStringCount = sizeof(DisplayStringIds) / sizeof(DisplayStringIds[0]);
static_assert(DisplayStringCount == 26);

CHAR16 *DisplayStrings[DisplayStringCount];

} // namespace

void ResetKeyInputState() {
  TextInputEx = nullptr;
  for (CHAR16 *&Text : DisplayStrings) {
    Text = nullptr;
  }
}

void LocateExtendedInput() {
  if (TextInputEx == nullptr &&
      EFI_ERROR(BootServices->LocateProtocol(&gEfiSimpleTextInputExProtocolGuid, nullptr,
                                             reinterpret_cast<VOID **>(&TextInputEx)))) {
    TextInputEx = nullptr;
  }
}

void StoreLastKey(const EFI_KEY_DATA *Key) {
  CopyBytes(&Browser->Services->LastKey, Key, sizeof(EFI_KEY_DATA));
}

EFI_STATUS ReadKey(EFI_KEY_DATA *Key) {
  ZeroBytes(Key, sizeof(EFI_KEY_DATA));
  EFI_STATUS Status;
  EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL *Extended = TextInputEx;
  if (Extended != nullptr) {
    Status = Extended->ReadKeyStrokeEx(Extended, Key);
  } else {
    Status = SystemTable->ConIn->ReadKeyStroke(SystemTable->ConIn, &Key->Key);
  }
  if (EFI_ERROR(Status)) {
    return Status;
  }
  StoreLastKey(Key);
  // The value steppers read the step from LastKey as a character.
  EFI_KEY_DATA *Last = &Browser->Services->LastKey;
  if (Last->Key.ScanCode == SCAN_F5) {
    Last->Key.ScanCode = SCAN_NULL;
    Last->Key.UnicodeChar = u'-';
  } else if (Last->Key.ScanCode == SCAN_F6) {
    Last->Key.ScanCode = SCAN_NULL;
    Last->Key.UnicodeChar = u'+';
  }
  return Status;
}

EFI_STATUS WaitForKey(EFI_KEY_DATA *Key) {
  EFI_STATUS Status;
  while (EFI_ERROR(Status = ReadKey(Key))) {
    BootServices->Stall(KEY_POLL_MICROSECONDS);
  }
  return Status;
}

EFI_STATUS SwitchToMenuBarTab(UINT32 Index) {
  if (!HasArea(AREA_MENU_BAR)) {
    return EFI_UNSUPPORTED;
  }
  if (ListIsEmpty(&Browser->MenuBarList) || Browser->MenuBarCount == 0) {
    return EFI_NOT_FOUND;
  }
  UINT32 Position = Index % Browser->MenuBarCount;
  ListLink *Link = ListFirst(&Browser->MenuBarList);
  for (UINT32 Step = 0; Step < Position && !ListIsHead(&Browser->MenuBarList, Link); Step++) {
    Link = ListNext(&Browser->MenuBarList, Link);
  }
  if (ListIsHead(&Browser->MenuBarList, Link)) {
    return EFI_NOT_FOUND;
  }
  MenuBarEntry *Entry = MenuBarEntryFromLink(Link);
  UiSelection *Selection = Browser->Selection;
  Selection->Handle = Entry->Handle;
  Selection->FormId = 0;
  Selection->QuestionId = 0;
  Selection->Statement = nullptr;
  Selection->MenuOption = nullptr;
  Selection->FormSet = Entry->FormSet;
  Selection->Action = SELECTION_GOTO;
  if (Entry->FormSet != nullptr) {
    Selection->FormSetGuid = Entry->FormSet->FormSetGuid;
  }
  Browser->MenuBarCurrent = Position;
  return EFI_SUCCESS;
}

EFI_STATUS NextMenuBarTab() {
  if (!HasArea(AREA_MENU_BAR) || Browser->MenuBarCount == 0) {
    return EFI_UNSUPPORTED;
  }
  return SwitchToMenuBarTab((Browser->MenuBarCurrent + 1) % Browser->MenuBarCount);
}

EFI_STATUS PreviousMenuBarTab() {
  if (!HasArea(AREA_MENU_BAR) || Browser->MenuBarCount == 0) {
    return EFI_UNSUPPORTED;
  }
  UINT32 Target =
      Browser->MenuBarCurrent == 0 ? Browser->MenuBarCount - 1 : Browser->MenuBarCurrent - 1;
  return SwitchToMenuBarTab(Target);
}

void LoadDisplayStrings() {
  FreeDisplayStrings();
  for (UINTN Index = 0; Index < DisplayStringCount; Index++) {
    DisplayStrings[Index] = GetHiiString(DisplayStringIds[Index], Browser->HiiHandle);
  }
}

void FreeDisplayStrings() {
  for (CHAR16 *&Text : DisplayStrings) {
    FreePoolIfSet(Text);
    Text = nullptr;
  }
}

const CHAR16 *DisplayString(EFI_STRING_ID StringId) {
  for (UINTN Index = 0; Index < DisplayStringCount; Index++) {
    if (DisplayStringIds[Index] == StringId) {
      return DisplayStrings[Index];
    }
  }
  return nullptr;
}
