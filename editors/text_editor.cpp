#include "core/beep.h"
#include "core/form_loop.h"
#include "core/hii_strings.h"
#include "data/builtin_strings.h"
#include "dialogs/browser_services.h"
#include "dialogs/dialog.h"
#include "editors/editors.h"
#include "screen/keys.h"
#include "screen/text_output.h"
#include "storage/question_value.h"
#include "support/efi_globals.h"
#include "support/memory.h"

#include "support/poison.h"

namespace {

// Typing is shown in plain light grey, whatever the layout says.
constexpr UINTN TypingAttribute = 0x07;

struct TextEdit {
  CHAR16 *Text;
  UINT32 Count;
  UINT32 Low;
  UINT32 High;
  UINT32 Visible;
  UINT32 Offset;
  bool IsPassword;
  bool HadText;
  CHAR16 *Blanks;
  // The scrolled view, kept apart so that the blank line stays blank.
  CHAR16 *Window;
  UINT32 Column;
  UINT32 Row;
};

void EnableCursor(BOOLEAN Visible) {
  SystemTable->ConOut->EnableCursor(SystemTable->ConOut, Visible);
}

void SetCursor(UINT32 Column, UINT32 Row) {
  SystemTable->ConOut->SetCursorPosition(SystemTable->ConOut, Column, Row);
}

// The visible part of a scrolled string, from character From, printed over the field.
void PrintWindow(TextEdit *Edit, UINT32 From) {
  CopyBytes(Edit->Window, Edit->Text + From, Edit->Visible * sizeof(CHAR16));
  Edit->Window[Edit->Visible] = 0;
  PrintAt(Edit->Column + 1, Edit->Row, Edit->Window);
}

void AddCharacter(TextEdit *Edit, CHAR16 Character) {
  if (Edit->Count >= Edit->High) {
    return;
  }
  if (Edit->HadText && Edit->Count == 0 && Edit->Blanks[0] != 0) {
    // Wipes the old value, all but the cell where the new first character goes.
    PrintAt(Edit->Column + 2, Edit->Row, Edit->Blanks + 1);
  }
  Edit->Text[Edit->Count++] = Character;
  if (Edit->Count > Edit->Visible) {
    Edit->Offset = Edit->Count - Edit->Visible;
  }
  if (Edit->Offset == 0) {
    PutCharAt(Edit->Column + Edit->Count, Edit->Row, Edit->IsPassword ? u'*' : Character);
  } else if (!Edit->IsPassword) {
    PrintWindow(Edit, Edit->Offset);
  }
}

void RemoveCharacter(TextEdit *Edit) {
  if (Edit->Count == 0) {
    return;
  }
  if (Edit->Offset == 0) {
    PutCharAt(Edit->Column + Edit->Count, Edit->Row, u' ');
    SetCursor(Edit->Column + Edit->Count, Edit->Row);
  } else if (!Edit->IsPassword) {
    PrintWindow(Edit, Edit->Offset - 1);
  }
  Edit->Count--;
  if (Edit->Count > Edit->Visible) {
    Edit->Offset--;
  } else {
    Edit->Offset = 0;
  }
  Edit->Text[Edit->Count] = 0;
}

// A string of the wrong length is told so until the user presses Enter; a password is not.
EFI_STATUS FinishText(TextEdit *Edit) {
  if (Edit->Count >= Edit->Low && Edit->Count <= Edit->High) {
    return EFI_SUCCESS;
  }
  if (!Edit->IsPassword) {
    const CHAR16 *Empty = DisplayString(STRING_EMPTY);
    const CHAR16 *Short = DisplayString(STRING_NOT_ENOUGH_CHARACTERS);
    const CHAR16 *PressEnter = DisplayString(STRING_PRESS_ENTER);
    const CHAR16 *Lines[] = {
        Empty != nullptr ? Empty : u"",
        Short != nullptr ? Short : u"Please enter enough characters",
        PressEnter != nullptr ? PressEnter : u"Press ENTER to continue",
        Empty != nullptr ? Empty : u"",
    };
    EFI_INPUT_KEY Key;
    do {
      Key.UnicodeChar = 0;
      if (EFI_ERROR(ShowDialogLines(4, TRUE, 0, nullptr, &Key, Lines))) {
        break;
      }
    } while (Key.UnicodeChar != CHAR_CARRIAGE_RETURN);
  }
  return EFI_DEVICE_ERROR;
}

EFI_STATUS RunTextEdit(TextEdit *Edit, BOOLEAN AllowBlank) {
  EFI_KEY_DATA Key = BrowserServices.LastKey;
  for (;;) {
    CHAR16 Character = Key.Key.UnicodeChar;
    switch (Character) {
    case CHAR_NULL:
      if (Key.Key.ScanCode == SCAN_ESC) {
        return EFI_DEVICE_ERROR;
      }
      Beep();
      break;
    case CHAR_BACKSPACE:
      RemoveCharacter(Edit);
      break;
    case CHAR_TAB:
      Beep();
      break;
    case CHAR_CARRIAGE_RETURN:
      return FinishText(Edit);
    case u' ':
      if (!AllowBlank) {
        Beep();
        break;
      }
      AddCharacter(Edit, Character);
      break;
    default:
      AddCharacter(Edit, Character);
      break;
    }
    WaitForKey(&Key);
    EnableCursor(Edit->Count == Edit->High || Edit->Count >= Edit->Visible ? FALSE : TRUE);
  }
}

} // namespace

EFI_STATUS EditText(MenuLine *Option, CHAR16 *Text, BOOLEAN AllowBlank) {
  if (Option == nullptr || Text == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  Statement *Question = Option->Statement;
  TextEdit Edit = {};
  Edit.Text = Text;
  Edit.Low = static_cast<UINT32>(Question->Minimum);
  Edit.High = static_cast<UINT32>(Question->Maximum);
  Edit.Visible = Option->ValueWidth > 2 ? Option->ValueWidth - 2u : 0;
  Edit.IsPassword = Question->Opcode == EFI_IFR_PASSWORD_OP;
  Edit.HadText =
      Question->ValueBuffer != nullptr && Question->ValueBytes > 0 && Question->ValueBuffer[0] != 0;
  // The blank line wipes the old value: a password's Maximum cells or a string's visible ones,
  // and never more than the field shows, or a long password would wipe the frame and the help.
  // The window behind it holds the visible part of a scrolled string. One allocation for both.
  UINT32 BlankCount = Edit.IsPassword && Edit.High < Edit.Visible ? Edit.High : Edit.Visible;
  UINTN Room = static_cast<UINTN>(Edit.High > Edit.Visible ? Edit.High : Edit.Visible) + 1;
  Edit.Blanks = static_cast<CHAR16 *>(AllocateZeroedPool(2 * Room * sizeof(CHAR16)));
  if (Edit.Blanks == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  Edit.Window = Edit.Blanks + Room;
  FillCharacters(Edit.Blanks, BlankCount, u' ');
  Edit.Column = Option->ValueColumn;
  UINT32 Top = Browser->TopOption != nullptr ? Browser->TopOption->Row : 0;
  Edit.Row = Option->ValueRow - Top + Browser->BodyArea.Client.Top;

  SetCursor(Edit.Column + 1, Edit.Row);
  EnableCursor(TRUE);
  SetAttribute(TypingAttribute);
  EFI_STATUS Status = RunTextEdit(&Edit, AllowBlank);
  FreePoolIfSet(Edit.Blanks);
  EnableCursor(FALSE);
  return Status;
}

EFI_STATUS ReportPasswordChange(UiSelection *Selection, MenuLine *Option, const CHAR16 *Text) {
  FormSet *Set = Selection->FormSet;
  if (Set->ConfigAccess == nullptr) {
    return EFI_UNSUPPORTED;
  }
  Statement *Question = Option->Statement;
  EFI_STRING_ID StringId = Text != nullptr ? NewHiiString(Text, Set->HiiHandle) : 0;
  WriteUnaligned16(Question->Value.Value, StringId);
  EFI_BROWSER_ACTION_REQUEST Request = EFI_BROWSER_ACTION_REQUEST_NONE;
  EFI_STATUS Status = InvokeCallback(
      Selection, Set, EFI_BROWSER_ACTION_CHANGED, Question->QuestionId, Question->Value.Type,
      reinterpret_cast<EFI_IFR_TYPE_VALUE *>(Question->Value.Value), &Request);
  if (Request == EFI_BROWSER_ACTION_REQUEST_EXIT) {
    Selection->Action = SELECTION_NESTED_EXIT;
  } else if (!EFI_ERROR(Status)) {
    Selection->Action = SELECTION_REFRESH_FORM;
  }
  if (StringId != 0) {
    DeleteHiiString(StringId, Set->HiiHandle);
  }
  return Status;
}

namespace {

// The bytes of the entered text that go into the question's buffer: 2 x Maximum, within it.
UINTN TextBytes(const Statement *Question) {
  UINTN Bytes = 2 * static_cast<UINTN>(Question->Maximum);
  return Bytes < Question->ValueBytes ? Bytes : Question->ValueBytes;
}

CHAR16 *NewEntryBuffer(const Statement *Question) {
  return static_cast<CHAR16 *>(
      AllocateZeroedPool((static_cast<UINTN>(Question->Maximum) + 1) * sizeof(CHAR16)));
}

} // namespace

EFI_STATUS EditStringQuestion(UiSelection *Selection, MenuLine *Option) {
  Statement *Question = Option->Statement;
  CHAR16 *Text = NewEntryBuffer(Question);
  if (Text == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  EFI_STATUS Status = EditText(Option, Text, TRUE);
  if (!EFI_ERROR(Status) && Question->ValueBuffer != nullptr) {
    CopyBytes(Question->ValueBuffer, Text, TextBytes(Question));
    Selection->Action = SELECTION_VALUE_CHANGED;
  }
  FreePoolIfSet(Text);
  return Status;
}

EFI_STATUS EditPasswordQuestion(UiSelection *Selection, MenuLine *Option) {
  Statement *Question = Option->Statement;
  CHAR16 *Text = NewEntryBuffer(Question);
  if (Text == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  EFI_STATUS Status = EditText(Option, Text, FALSE);
  if (EFI_ERROR(Status) || Question->ValueBuffer == nullptr) {
    FreePoolIfSet(Text);
    return Status;
  }
  CopyBytes(Question->ValueBuffer, Text, TextBytes(Question));
  if ((Question->QuestionFlags & EFI_IFR_FLAG_CALLBACK) != 0) {
    // The driver decides what an entered password means; the browser keeps and compares none.
    ReportPasswordChange(Selection, Option, Text);
    LoadFormValues(Selection->FormSet, Selection->Form);
    Status = CheckQuestionRules(Selection->FormSet, Selection->Form, Question, 0);
    if (EFI_ERROR(Status)) {
      ZeroBytes(Question->ValueBuffer, TextBytes(Question));
    }
  }
  FreePoolIfSet(Text);
  return Status;
}
