#include "screen/menu_loop.h"

#include "core/beep.h"
#include "core/form_actions.h"
#include "core/form_loop.h"
#include "core/hii_strings.h"
#include "data/builtin_strings.h"
#include "dialogs/browser_services.h"
#include "dialogs/dialog.h"
#include "dialogs/message_box.h"
#include "editors/process_statement.h"
#include "screen/display_form.h"
#include "screen/keys.h"
#include "screen/layout.h"
#include "screen/menu_option.h"
#include "screen/movement.h"
#include "screen/text_output.h"
#include "storage/submit.h"
#include "support/device_path.h"
#include "support/efi_globals.h"
#include "support/guid.h"
#include "support/hex.h"
#include "support/memory.h"
#include "support/string.h"

#include "support/poison.h"

namespace {

constexpr UINT32 KeyOf(UINT16 Scan, CHAR16 Character) {
  return static_cast<UINT32>(Scan) | (static_cast<UINT32>(Character) << 16);
}

constexpr UINT32 LeftShift = EFI_SHIFT_STATE_VALID | EFI_LEFT_SHIFT_PRESSED;
constexpr UINT32 RightShift = EFI_SHIFT_STATE_VALID | EFI_RIGHT_SHIFT_PRESSED;
constexpr UINT32 LeftAlt = EFI_SHIFT_STATE_VALID | EFI_LEFT_ALT_PRESSED;
constexpr UINT32 RightAlt = EFI_SHIFT_STATE_VALID | EFI_RIGHT_ALT_PRESSED;

struct StatePair {
  UINT32 Event;
  UINT32 State;
};

constexpr StatePair StateTable[] = {
    {EVENT_NONE, STATE_NONE},
    {EVENT_DEFAULTS, STATE_DEFAULTS},
    {EVENT_SELECT, STATE_SELECT},
    {EVENT_UP, STATE_UP},
    {EVENT_DOWN, STATE_DOWN},
    {EVENT_LEFT, STATE_LEFT},
    {EVENT_RIGHT, STATE_RIGHT},
    {EVENT_ESCAPE, STATE_ESCAPE},
    {EVENT_SAVE_EXIT, STATE_SAVE_EXIT},
    {EVENT_LEAVE_FORM, STATE_LEAVE_FORM},
    {EVENT_PAGE_UP, STATE_PAGE_UP},
    {EVENT_PAGE_DOWN, STATE_PAGE_DOWN},
    {EVENT_NEXT_FIELD, STATE_NEXT_FIELD},
    {EVENT_PREVIOUS_FIELD, STATE_PREVIOUS_FIELD},
    {EVENT_CHANGE_VALUE, STATE_CHANGE_VALUE},
    {EVENT_HELP, STATE_GENERAL_HELP},
    {EVENT_HOME, STATE_HOME},
    {EVENT_END, STATE_END},
};

// The loop's local state, kept together so the states read as the table does.
struct MenuLoop {
  UiSelection *Selection;
  UINT32 State;
  UINT32 Event;
  EFI_KEY_DATA Key;
  MenuLine *Option;
};

bool IsDateOrTime(const Statement *Question) {
  return Question->Opcode == EFI_IFR_DATE_OP || Question->Opcode == EFI_IFR_TIME_OP;
}

bool IsSteppingNumeric(const Statement *Question) {
  return Question->Opcode == EFI_IFR_NUMERIC_OP && Question->Step != 0;
}

bool FiresOnKey(const Statement *Question) {
  return Question->Opcode == EFI_IFR_ACTION_OP && Question->ActionOnKey;
}

void FireAction(MenuLoop &Loop) {
  Loop.Selection->QuestionId = Loop.Option->Statement->QuestionId;
  Loop.Selection->Action = SELECTION_REFRESH_FORM;
  SaveTopRow(Loop.Selection);
  Loop.State = STATE_EXIT;
}

UINT32 NextStateFor(UINT32 Event) {
  for (const StatePair &Pair : StateTable) {
    if (Pair.Event == Event) {
      return Pair.State;
    }
  }
  return STATE_PREPARE_KEY;
}

void DispatchKey(MenuLoop &Loop) {
  Loop.State = STATE_EVENT;
  Loop.Event = EVENT_NONE;
  CHAR16 Character = Loop.Key.Key.UnicodeChar;
  if (ListIsEmpty(&Browser->OptionList) && Character != 0) {
    return;
  }
  if (Loop.Option == nullptr) {
    Loop.Event = MatchKey(&Loop.Key, 16, EmptyKeyTable);
    if (Loop.Event == EVENT_NONE) {
      Beep();
    }
    return;
  }
  Statement *Question = Loop.Option->Statement;
  UINT8 Opcode = Question->Opcode;
  if (Character != 0 && !Loop.Option->ReadOnly &&
      (Opcode == EFI_IFR_PASSWORD_OP || Opcode == EFI_IFR_STRING_OP ||
       Opcode == EFI_IFR_NUMERIC_OP)) {
    // The editor takes this key from LastKey as its first: typing starts the edit at once.
    Loop.Event = EVENT_SELECT;
    return;
  }
  for (;;) {
    Character = Loop.Key.Key.UnicodeChar;
    switch (Character) {
    case CHAR_CARRIAGE_RETURN:
      if (FiresOnKey(Question)) {
        FireAction(Loop);
      } else {
        Loop.Event = IsDateOrTime(Question) ? EVENT_NEXT_FIELD : EVENT_SELECT;
      }
      return;
    case CHAR_TAB:
      if (IsDateOrTime(Question)) {
        Loop.Event = IsShiftHeld(&Loop.Key) ? EVENT_PREVIOUS_FIELD : EVENT_NEXT_FIELD;
      }
      return;
    case u' ':
      if (Opcode == EFI_IFR_CHECKBOX_OP && !Loop.Option->GrayOut) {
        Loop.Event = EVENT_SELECT;
        return;
      }
      if (Opcode == EFI_IFR_ONE_OF_OP || IsDateOrTime(Question) || IsSteppingNumeric(Question)) {
        // The blank steps as "+" does.
        Loop.Key.Key.ScanCode = SCAN_NULL;
        Loop.Key.Key.UnicodeChar = u'+';
        StoreLastKey(&Loop.Key);
        continue;
      }
      return;
    case u'!':
      if (FiresOnKey(Question)) {
        FireAction(Loop);
      }
      return;
    default:
      break;
    }
    Loop.Event = MatchKey(&Loop.Key, 22, MainKeyTable);
    if (Loop.Event != EVENT_NONE) {
      UINT16 Scan = Loop.Key.Key.ScanCode;
      if (StyleRefusesDefaults(Loop.Selection->Form) && (Scan == SCAN_F9 || Scan == SCAN_F10)) {
        Loop.Event = EVENT_NONE;
      }
      return;
    }
    if (Loop.Key.Key.ScanCode == SCAN_DELETE) {
      if (FiresOnKey(Question)) {
        FireAction(Loop);
      }
      return;
    }
    if (IsDateOrTime(Question) || IsSteppingNumeric(Question)) {
      if (Character >= u'0' && Character <= u'9') {
        Loop.Event = EVENT_SELECT;
      } else {
        Beep();
      }
      return;
    }
    Beep();
    return;
  }
}

void ShowTargetNotFound() {
  CHAR16 *Text = GetHiiString(STRING_TARGET_NOT_FOUND, Browser->HiiHandle);
  ShowNoticeUntilEnter(u"Error", Text != nullptr ? Text : u"Target menu is not found.");
  FreePoolIfSet(Text);
}

// Every node of the path lies inside the Size bytes, the last being the end node.
bool DevicePathFits(const UINT8 *Path, UINTN Size) {
  UINTN Offset = 0;
  while (Offset + sizeof(EFI_DEVICE_PATH_PROTOCOL) <= Size) {
    const EFI_DEVICE_PATH_PROTOCOL *Node =
        reinterpret_cast<const EFI_DEVICE_PATH_PROTOCOL *>(Path + Offset);
    UINT16 Length = DevicePathNodeLength(Node);
    if (Length < sizeof(EFI_DEVICE_PATH_PROTOCOL) || Offset + Length > Size) {
      return false;
    }
    if (IsDevicePathEnd(Node)) {
      return true;
    }
    Offset += Length;
  }
  return false;
}

EFI_HII_HANDLE HandleOfDevicePathText(FormSet *Set, EFI_STRING_ID DevicePath) {
  CHAR16 *Text = GetHiiString(DevicePath, Set->HiiHandle);
  if (Text == nullptr) {
    return nullptr;
  }
  UINTN Size = StrLength(Text) / 2;
  UINT8 *Path = static_cast<UINT8 *>(AllocateZeroedPool(Size + 1));
  EFI_HII_HANDLE Found = nullptr;
  if (Path != nullptr && !EFI_ERROR(ConfigHexToBytes(Path, &Size, Text)) &&
      DevicePathFits(Path, Size)) {
    Found =
        FindHiiHandleByDevicePath(HiiDatabase, reinterpret_cast<EFI_DEVICE_PATH_PROTOCOL *>(Path));
  }
  FreePoolIfSet(Path);
  FreePoolIfSet(Text);
  return Found;
}

void FollowReference(MenuLoop &Loop, Statement *Ref) {
  UiSelection *Selection = Loop.Selection;
  if (Ref->RefDevicePath != 0) {
    Selection->Action = SELECTION_GOTO;
    EFI_HII_HANDLE Target = HandleOfDevicePathText(Selection->FormSet, Ref->RefDevicePath);
    if (Target == nullptr) {
      ShowTargetNotFound();
      Selection->Action = SELECTION_NONE;
      return;
    }
    SubmitOneForm(Selection->FormSet, Selection->Form);
    SaveTopRow(Selection);
    PushSelection(Selection);
    Selection->Handle = Target;
    Selection->FormSetGuid = Ref->RefFormSetId;
    Selection->FormId = Ref->RefFormId;
    Selection->QuestionId = Ref->RefQuestionId;
    // The form loops follow the target as for a reference by GUID.
    Loop.State = STATE_EXIT;
    return;
  }
  if (!IsNullGuid(&Ref->RefFormSetId)) {
    SaveTopRow(Selection);
    PushSelection(Selection);
    Selection->Action = SELECTION_GOTO;
    Loop.State = STATE_EXIT;
    Selection->FormSetGuid = Ref->RefFormSetId;
    Selection->FormId = Ref->RefFormId;
    Selection->QuestionId = Ref->RefQuestionId;
    return;
  }
  if (Ref->RefFormId != 0) {
    Selection->Action = SELECTION_GOTO;
    if (Selection->Form == nullptr || Ref->RefFormId != Selection->Form->FormId) {
      SaveTopRow(Selection);
      PushSelection(Selection);
    }
    Selection->FormId = Ref->RefFormId;
    Selection->QuestionId = Ref->RefQuestionId;
    return;
  }
  if (Ref->RefQuestionId != 0) {
    Selection->QuestionId = Ref->RefQuestionId;
    if ((Ref->QuestionFlags & EFI_IFR_FLAG_CALLBACK) != 0) {
      Selection->Action = SELECTION_REFRESH_FORM;
    }
    return;
  }
  ShowTargetNotFound();
  Selection->Action = SELECTION_NONE;
}

void RunActionQuestion(MenuLoop &Loop, Statement *Action) {
  UiSelection *Selection = Loop.Selection;
  CHAR16 *Config = GetHiiString(Action->QuestionConfig, Loop.Option->Handle);
  EFI_STATUS Status = Config == nullptr ? EFI_NOT_FOUND : EFI_SUCCESS;
  if (!EFI_ERROR(Status) && IsConfigRequestString(Config)) {
    EFI_HII_CONFIG_ACCESS_PROTOCOL *Access = Selection->FormSet->ConfigAccess;
    CHAR16 *Progress = nullptr;
    Status = Access == nullptr ? EFI_UNSUPPORTED : Access->RouteConfig(Access, Config, &Progress);
  }
  FreePoolIfSet(Config);
  if (EFI_ERROR(Status)) {
    return;
  }
  Selection->QuestionId = Action->QuestionId;
  Selection->Action = SELECTION_ACTION_QUESTION;
  Loop.State = STATE_EXIT;
}

void RunEditor(MenuLoop &Loop, Statement *Question) {
  UiSelection *Selection = Loop.Selection;
  SaveTopRow(Selection);
  CHAR16 *Text = nullptr;
  EFI_STATUS Status = ProcessStatement(Selection, Loop.Option, TRUE, &Text);
  FreePoolIfSet(Text);
  if (Selection->Action == SELECTION_NESTED_EXIT) {
    Loop.State = STATE_EXIT;
    return;
  }
  if (Selection->Action != SELECTION_NONE) {
    Selection->Action = SELECTION_REFRESH_FORM;
  }
  if (IsDateOrTime(Question)) {
    Selection->QuestionId = 0;
    if (EFI_ERROR(Status)) {
      // The key that ended the editor is dispatched again.
      CopyBytes(&Loop.Key, &Browser->Services->LastKey, sizeof(EFI_KEY_DATA));
      Loop.State = STATE_DISPATCH_KEY;
    } else {
      Loop.Event = EVENT_NEXT_FIELD;
      Loop.State = STATE_EVENT;
    }
  } else if (Question->Opcode == EFI_IFR_NUMERIC_OP) {
    Selection->QuestionId = 0;
    Loop.Event = EVENT_DOWN;
    Loop.State = STATE_EVENT;
  }
}

void SelectOption(MenuLoop &Loop) {
  Loop.State = STATE_CHECK_ACTION;
  UiSelection *Selection = Loop.Selection;
  Statement *Question = Loop.Option->Statement;
  if (!Loop.Option->ReadOnly) {
    Selection->QuestionId = Question->QuestionId;
    switch (Question->Opcode) {
    case EFI_IFR_ACTION_OP:
      RunActionQuestion(Loop, Question);
      break;
    case EFI_IFR_RESET_BUTTON_OP:
      Loop.State = STATE_DEFAULTS;
      break;
    case EFI_IFR_REF_OP:
      FollowReference(Loop, Question);
      break;
    default:
      RunEditor(Loop, Question);
      break;
    }
  }
  OptionStepRequested = 0;
  if (LoadDefaultsRequested) {
    LoadDefaultsRequested = 0;
    Selection->Action = SELECTION_NONE;
    Loop.State = STATE_DEFAULTS;
  }
}

void ChangeValue(MenuLoop &Loop) {
  Loop.Event = EVENT_NONE;
  Loop.State = STATE_EVENT;
  Statement *Question = Loop.Option->Statement;
  if (Question->Opcode == EFI_IFR_ONE_OF_OP) {
    OptionStepRequested = 1;
    Loop.State = STATE_SELECT;
    return;
  }
  if (IsDateOrTime(Question) || IsSteppingNumeric(Question)) {
    SaveTopRow(Loop.Selection);
    CHAR16 *Text = nullptr;
    ProcessStatement(Loop.Selection, Loop.Option, TRUE, &Text);
    FreePoolIfSet(Text);
    Loop.Event = Question->Opcode == EFI_IFR_NUMERIC_OP ? EVENT_DOWN : EVENT_NEXT_FIELD;
    if (LoadDefaultsRequested) {
      Loop.State = STATE_DEFAULTS;
      Loop.Selection->Action = SELECTION_NONE;
      LoadDefaultsRequested = 0;
    }
    return;
  }
  if (FiresOnKey(Question)) {
    FireAction(Loop);
  }
}

void ShowGeneralHelp() {
  const ScreenRect &Screen = Browser->ScreenDimensions;
  UINT32 Rect[4] = {Screen.Left + 6, Screen.Right - 6, Screen.Top + 2, Screen.Bottom - 4};
  const UINT16 Buttons[] = {STRING_CONTINUE};
  ShowMessageBoxById(Browser->HiiHandle, STRING_GENERAL_HELP_TITLE, STRING_GENERAL_HELP_TEXT, Rect,
                     0xF7, 1, 1, 0, Buttons);
}

void Move(MenuLoop &Loop) {
  SystemTable->ConOut->EnableCursor(SystemTable->ConOut, FALSE);
  Loop.Option = MoveSelection(Loop.Selection, Loop.Option, Loop.State);
  StopRefreshTimer();
  // The paint highlights the first selectable option in view when the movement left none; the
  // loop follows it, or a highlight it does not know of would never move again.
  Loop.Option = PaintOptions(Loop.Selection, Loop.Option, Loop.State);
  StartRefreshTimer();
  Loop.State = STATE_CHECK_ACTION;
}

// Waits for a key; a refresh notification that arrives meanwhile is acted on at once.
bool ReadKeyOrRefresh(MenuLoop &Loop) {
  for (;;) {
    if (HandleRefreshPending(Loop.Selection, &Loop.State) == EFI_ALREADY_STARTED) {
      return false;
    }
    if (!EFI_ERROR(ReadKey(&Loop.Key))) {
      return true;
    }
    BootServices->Stall(KEY_POLL_MICROSECONDS);
  }
}

} // namespace

const KeyTableRow MainKeyTable[22] = {
    {KeyOf(SCAN_UP, 0), 0, EVENT_UP},
    {KeyOf(SCAN_DOWN, 0), 0, EVENT_DOWN},
    {KeyOf(SCAN_PAGE_UP, 0), 0, EVENT_PAGE_UP},
    {KeyOf(SCAN_PAGE_DOWN, 0), 0, EVENT_PAGE_DOWN},
    {KeyOf(SCAN_ESC, 0), 0, EVENT_ESCAPE},
    {KeyOf(SCAN_LEFT, 0), 0, EVENT_LEFT},
    {KeyOf(SCAN_RIGHT, 0), 0, EVENT_RIGHT},
    {KeyOf(SCAN_F9, 0), 0, EVENT_DEFAULTS},
    {KeyOf(SCAN_F10, 0), 0, EVENT_SAVE_EXIT},
    {KeyOf(SCAN_F1, 0), 0, EVENT_HELP},
    {KeyOf(SCAN_HOME, 0), 0, EVENT_HOME},
    {KeyOf(SCAN_END, 0), 0, EVENT_END},
    {KeyOf(0, u'+'), 0, EVENT_CHANGE_VALUE},
    {KeyOf(0, u'+'), LeftShift, EVENT_CHANGE_VALUE},
    {KeyOf(0, u'+'), RightShift, EVENT_CHANGE_VALUE},
    {KeyOf(0, u'-'), 0, EVENT_CHANGE_VALUE},
    {KeyOf(SCAN_F5, 0), 0, EVENT_CHANGE_VALUE},
    {KeyOf(SCAN_F6, 0), 0, EVENT_CHANGE_VALUE},
    {KeyOf(0, u'h'), LeftAlt, EVENT_HELP},
    {KeyOf(0, u'h'), RightAlt, EVENT_HELP},
    {KeyOf(0, u'x'), LeftAlt, EVENT_ESCAPE},
    {KeyOf(0, u'x'), RightAlt, EVENT_ESCAPE},
};

const KeyTableRow EmptyKeyTable[16] = {
    {KeyOf(SCAN_ESC, 0), 0, EVENT_ESCAPE},      {KeyOf(SCAN_F1, 0), 0, EVENT_HELP},
    {KeyOf(SCAN_HOME, 0), 0, EVENT_HOME},       {KeyOf(SCAN_END, 0), 0, EVENT_END},
    {KeyOf(SCAN_UP, 0), 0, EVENT_UP},           {KeyOf(SCAN_DOWN, 0), 0, EVENT_DOWN},
    {KeyOf(SCAN_PAGE_UP, 0), 0, EVENT_PAGE_UP}, {KeyOf(SCAN_PAGE_DOWN, 0), 0, EVENT_PAGE_DOWN},
    {KeyOf(SCAN_LEFT, 0), 0, EVENT_LEFT},       {KeyOf(SCAN_RIGHT, 0), 0, EVENT_RIGHT},
    {KeyOf(SCAN_F9, 0), 0, EVENT_DEFAULTS},     {KeyOf(SCAN_F10, 0), 0, EVENT_SAVE_EXIT},
    {KeyOf(0, u'h'), LeftAlt, EVENT_HELP},      {KeyOf(0, u'h'), RightAlt, EVENT_HELP},
    {KeyOf(0, u'x'), LeftAlt, EVENT_ESCAPE},    {KeyOf(0, u'x'), RightAlt, EVENT_ESCAPE},
};

void ResetMenuLoopState() {}

UINT32 MatchKey(const EFI_KEY_DATA *Key, UINTN Rows, const KeyTableRow *Table) {
  for (UINTN Index = 0; Index < Rows; Index++) {
    const KeyTableRow &Row = Table[Index];
    if (Key->KeyState.KeyShiftState != Row.ShiftState) {
      continue;
    }
    if (Key->Key.ScanCode != 0) {
      if (Key->Key.ScanCode == (Row.Key & 0xFFFF)) {
        return Row.Event;
      }
    } else if (Key->Key.UnicodeChar != 0 && Key->Key.UnicodeChar == (Row.Key >> 16)) {
      return Row.Event;
    }
  }
  return EVENT_NONE;
}

bool IsShiftHeld(const EFI_KEY_DATA *Key) {
  UINT32 Shift = Key->KeyState.KeyShiftState;
  return TextInputEx != nullptr && (Shift & EFI_SHIFT_STATE_VALID) != 0 &&
         (Shift & (EFI_RIGHT_SHIFT_PRESSED | EFI_LEFT_SHIFT_PRESSED)) != 0;
}

void SaveTopRow(UiSelection *Selection) {
  Selection->TopRow = Browser->TopOption != nullptr ? Browser->TopOption->Row : 0;
}

EFI_STATUS HandleRefreshPending(UiSelection *Selection, UINT32 *State) {
  if (!Browser->RefreshPending) {
    return EFI_SUCCESS;
  }
  Browser->RefreshPending = 0;
  FreeDisplayStrings();
  ReadPlatformLanguage(CurrentLanguage);
  LoadDisplayStrings();
  LIST_FOR_EACH(Link, &Browser->MenuBarList) {
    MenuBarEntry *Entry = MenuBarEntryFromLink(Link);
    FreePoolIfSet(Entry->Title);
    Entry->Title = GetHiiString(Entry->TitleStringId, Entry->Handle);
  }
  Browser->TitleText = const_cast<CHAR16 *>(DisplayString(STRING_BROWSER_TITLE));
  LIST_FOR_EACH(SetLink, &Browser->FormSetList) {
    FormSet *Set = FormSetFromLink(SetLink);
    LIST_FOR_EACH(FormLink, &Set->FormList) {
      Form *Owner = FormFromLink(FormLink);
      if (Owner->FormTitleText != nullptr) {
        FreePoolIfSet(Owner->FormTitleText);
        Owner->FormTitleText = GetHiiString(Owner->FormTitle, Set->HiiHandle);
      }
    }
  }
  PaintTitle(Selection, PAINT_ALL);
  PaintMenuBar(Selection, PAINT_ALL);
  PaintFooter(Selection, PAINT_ALL);
  *State = STATE_EXIT;
  Selection->Action = SELECTION_REFRESH_FORM;
  Selection->QuestionId = Selection->Statement != nullptr ? Selection->Statement->QuestionId : 0;
  return EFI_ALREADY_STARTED;
}

EFI_STATUS RunMenuLoop(UiSelection *Selection) {
  FreeRefreshList();
  Selection->Statement = nullptr;
  Browser->RepaintPending = 1;
  Browser->TopOption = nullptr;
  MenuLoop Loop = {};
  Loop.Selection = Selection;
  Selection->Action = SELECTION_NONE;
  Loop.State = STATE_START;
  const ScreenRect &Client = Browser->BodyArea.Client;
  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *ConOut = SystemTable->ConOut;

  for (;;) {
    switch (Loop.State) {
    case STATE_START:
      Loop.State = ListIsEmpty(&Browser->OptionList) ? STATE_READ_KEY : STATE_CHECK_ACTION;
      break;
    case STATE_CHECK_ACTION:
      if (Selection->QuestionId != 0 && Selection->Action == SELECTION_NONE) {
        Loop.Option = MoveSelection(Selection, Loop.Option, MOVE_TO_QUESTION);
      }
      Loop.State = Selection->Action != SELECTION_NONE ? STATE_EXIT : STATE_REPAINT;
      break;
    case STATE_REPAINT:
      if (Browser->RepaintPending) {
        Browser->RepaintPending = 0;
        StopRefreshTimer();
        Loop.Option = PaintOptions(Selection, Loop.Option, MOVE_FULL_REPAINT);
        StartRefreshTimer();
      }
      Loop.State = STATE_PAINT_HELP;
      break;
    case STATE_PAINT_HELP:
      PaintHelp(Selection);
      if (Selection->SaveExitRequested) {
        Loop.Event = EVENT_NONE;
        Loop.State = STATE_SAVE_EXIT;
      } else {
        Loop.State = STATE_PREPARE_KEY;
      }
      break;
    case STATE_PREPARE_KEY:
      Loop.Event = EVENT_NONE;
      if (Loop.Option != nullptr) {
        UINT8 Opcode = Loop.Option->Statement->Opcode;
        if ((Opcode == EFI_IFR_PASSWORD_OP || Opcode == EFI_IFR_STRING_OP) &&
            !Loop.Option->ReadOnly && Browser->TopOption != nullptr) {
          ConOut->SetCursorPosition(ConOut, Loop.Option->ValueColumn + 1,
                                    Loop.Option->Row + Client.Top - Browser->TopOption->Row);
          ConOut->EnableCursor(ConOut, TRUE);
          SetAttribute(EFI_LIGHTGRAY);
        } else {
          ConOut->EnableCursor(ConOut, FALSE);
        }
      }
      Loop.State = STATE_READ_KEY;
      break;
    case STATE_READ_KEY:
      if (ReadKeyOrRefresh(Loop)) {
        Loop.State = STATE_DISPATCH_KEY;
      }
      break;
    case STATE_DISPATCH_KEY:
      DispatchKey(Loop);
      break;
    case STATE_EVENT:
      if (ListIsEmpty(&Browser->OptionList) && Loop.Event != EVENT_HELP &&
          Loop.Event != EVENT_LEAVE_FORM && Loop.Event != EVENT_ESCAPE &&
          Loop.Event != EVENT_LEFT && Loop.Event != EVENT_RIGHT) {
        Loop.State = STATE_READ_KEY;
      } else {
        Loop.State = NextStateFor(Loop.Event);
      }
      break;
    case STATE_LEAVE_FORM:
      Selection->Action = IsNestedSendForm() ? SELECTION_NESTED_EXIT : SELECTION_FORM_BACK;
      Loop.State = STATE_EXIT;
      break;
    case STATE_SELECT:
      SelectOption(Loop);
      break;
    case STATE_ESCAPE:
      Loop.State = STATE_CHECK_ACTION;
      if (Selection->Action == SELECTION_RELOAD_FORMSET) {
        break;
      }
      if (!IsTopForm()) {
        Loop.Event = EVENT_LEAVE_FORM;
        Loop.State = STATE_EVENT;
      } else if (HasArea(AREA_MENU_BAR)) {
        Selection->FormSetGuid = gExitPageGuid;
        Selection->FormId = 0;
        Selection->QuestionId = 0;
        Loop.State = STATE_EXIT;
      }
      break;
    case STATE_RIGHT:
    case STATE_LEFT: {
      bool Right = Loop.State == STATE_RIGHT;
      Loop.State = STATE_CHECK_ACTION;
      if (IsTopForm() && !EFI_ERROR(Right ? NextMenuBarTab() : PreviousMenuBarTab())) {
        Loop.State = STATE_EXIT;
      }
      break;
    }
    case STATE_UP:
    case STATE_PAGE_UP:
    case STATE_PAGE_DOWN:
    case STATE_DOWN:
    case STATE_NEXT_FIELD:
    case STATE_PREVIOUS_FIELD:
    case STATE_HOME:
    case STATE_END:
      Move(Loop);
      break;
    case STATE_SAVE_EXIT:
      SaveChangesAndExit(Selection);
      Loop.State = STATE_CHECK_ACTION;
      break;
    case STATE_DEFAULTS:
      if (LoadDefaults(Selection, EFI_HII_DEFAULT_CLASS_STANDARD)) {
        UINT32 Ignored = 0;
        HandleRefreshPending(Selection, &Ignored);
        Selection->Action = SELECTION_GOTO;
        Loop.State = STATE_EXIT;
      } else {
        Loop.State = STATE_CHECK_ACTION;
      }
      break;
    case STATE_CHANGE_VALUE:
      ChangeValue(Loop);
      break;
    case STATE_GENERAL_HELP:
      if (!HasArea(AREA_MENU_BAR)) {
        Loop.State = STATE_READ_KEY;
      } else {
        ShowGeneralHelp();
        Loop.State = STATE_REPAINT;
      }
      break;
    case STATE_NONE:
      Loop.State = STATE_CHECK_ACTION;
      break;
    case STATE_EXIT:
      if (Selection->Action != SELECTION_FORM_BACK && Selection->Action != SELECTION_NESTED_EXIT &&
          Selection->Action != SELECTION_EXIT) {
        SaveTopRow(Selection);
      }
      Selection->MenuOption = nullptr;
      StopRefreshTimer();
      return EFI_SUCCESS;
    default:
      Loop.State = STATE_PREPARE_KEY;
      break;
    }
  }
}
