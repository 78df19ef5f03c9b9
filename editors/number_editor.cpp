#include "core/beep.h"
#include "dialogs/browser_services.h"
#include "editors/editors.h"
#include "editors/process_statement.h"
#include "screen/keys.h"
#include "screen/layout.h"
#include "screen/text_output.h"
#include "storage/question_value.h"
#include "support/efi_globals.h"
#include "support/memory.h"
#include "support/print.h"

#include "support/poison.h"

namespace {

constexpr UINT64 FirstYear = 1998;
constexpr UINT64 LastYear = 2099;
// A 20-digit number and the value before the first digit; a digit past the last entry is
// dropped like one that makes the number too large.
constexpr UINT32 HistoryEntries = 22;

// Offsets of the fields in the date and time values.
constexpr UINTN DateYearOffset = 0;
constexpr UINTN DateMonthOffset = 2;
constexpr UINTN DateDayOffset = 3;

struct NumberEdit {
  UiSelection *Selection;
  MenuLine *Line;
  Statement *Question;
  UINT64 Work;
  UINT64 Low;
  UINT64 High;
  UINT64 Increment;
  UINT32 FieldWidth;
  UINT64 Count;
  UINT64 History[HistoryEntries];
  bool IsDateTime;
  bool IsHex;
  UINT32 Column;
  UINT32 Row;
  EFI_STATUS Result;
};

UINTN EditAttribute() {
  return Browser->BodyArea.Row->Attribute[5];
}

void SetCursor(UINT32 Column, UINT32 Row) {
  SystemTable->ConOut->SetCursorPosition(SystemTable->ConOut, Column, Row);
}

void SetBounds(NumberEdit *Edit) {
  Statement *Question = Edit->Question;
  const UINT8 *Bytes = Question->Value.Value;
  UINT32 Field = Edit->Line->Field;
  Edit->Increment = 1;
  Edit->FieldWidth = 2;
  if (Question->Opcode == EFI_IFR_DATE_OP) {
    UINT16 Year = ReadUnaligned16(Bytes + DateYearOffset);
    UINT8 Month = Bytes[DateMonthOffset];
    switch (Field) {
    case 0:
      Edit->Low = 1;
      Edit->High = 12;
      Edit->Work = Month;
      break;
    case 1:
      Edit->Low = 1;
      Edit->High = DaysInMonth(Year, Month);
      Edit->Work = Bytes[DateDayOffset];
      break;
    default:
      Edit->Low = FirstYear;
      Edit->High = LastYear;
      Edit->FieldWidth = 4;
      Edit->Work = Year;
      break;
    }
  } else if (Question->Opcode == EFI_IFR_TIME_OP) {
    Edit->Low = 0;
    Edit->High = Field == 0 ? 23 : 59;
    Edit->Work = Bytes[Field < 3 ? Field : 0];
  } else {
    Edit->Low = Question->Minimum;
    Edit->High = NumberLimit(Question);
    Edit->Increment = Question->Step;
    Edit->Work = HiiValueNumber(&Question->Value);
  }
}

// The whole number in the value column, as the row shows it.
void PaintNumber(NumberEdit *Edit) {
  WriteUnaligned64(Edit->Question->Value.Value, Edit->Work);
  CHAR16 Text[NUMBER_TEXT_SIZE / sizeof(CHAR16)];
  if (EFI_ERROR(FormatNumber(Edit->Question, Text, sizeof(Text)))) {
    return;
  }
  SetAttribute(EditAttribute());
  PrintAt(Edit->Column, Edit->Row, Text);
}

// After a step: the field as the row shows it.
void PaintStepped(NumberEdit *Edit) {
  if (!Edit->IsDateTime) {
    PaintNumber(Edit);
  } else {
    CHAR16 Text[8];
    FormatText(Text, sizeof(Text), Edit->FieldWidth == 4 ? u"%04d" : u"%02d",
               static_cast<UINT32>(Edit->Work));
    Text[Edit->FieldWidth] = 0;
    SetAttribute(EditAttribute());
    PrintAt(Edit->Line->ValueColumn, Edit->Row, Text);
  }
  SetCursor(Edit->Column, Edit->Row);
}

// After a digit or a backspace: a date or time field shows all its digits with leading zeros.
void PaintTyped(NumberEdit *Edit) {
  if (!Edit->IsDateTime) {
    PaintNumber(Edit);
    return;
  }
  CHAR16 Format[8];
  FormatText(Format, sizeof(Format), u"%s%d%s", u"%0", Edit->FieldWidth, u"d");
  CHAR16 Text[24];
  FormatText(Text, sizeof(Text), Format, static_cast<UINT32>(Edit->Work));
  Text[Edit->FieldWidth] = 0;
  SetAttribute(EditAttribute());
  PrintAt(Edit->Column, Edit->Row, Text);
}

void Step(NumberEdit *Edit, const EFI_KEY_DATA *Key) {
  CHAR16 Character = Key->Key.UnicodeChar;
  UINT16 Scan = Key->Key.ScanCode;
  if (Character == u'-' || Scan == SCAN_F5) {
    // The wrap lands on the far bound, whatever the remainder.
    Edit->Work =
        Edit->Work < Edit->Low + Edit->Increment ? Edit->High : Edit->Work - Edit->Increment;
  } else if (Character == u' ' || Character == u'+' || Scan == SCAN_F6) {
    Edit->Work =
        Edit->Work + Edit->Increment > Edit->High ? Edit->Low : Edit->Work + Edit->Increment;
  }
  PaintStepped(Edit);
}

bool DigitValue(const NumberEdit *Edit, CHAR16 Character, UINT64 *Digit) {
  if (Character >= u'0' && Character <= u'9') {
    *Digit = Character - u'0';
    return true;
  }
  if (Edit->IsHex && Character >= u'a' && Character <= u'f') {
    *Digit = Character - u'a' + 10;
    return true;
  }
  if (Edit->IsHex && Character >= u'A' && Character <= u'F') {
    *Digit = Character - u'A' + 10;
    return true;
  }
  return false;
}

void Digit(NumberEdit *Edit, CHAR16 Character) {
  UINT64 Digit = 0;
  if (!DigitValue(Edit, Character, &Digit)) {
    Beep();
    return;
  }
  if (Edit->IsDateTime && Edit->Count >= Edit->FieldWidth) {
    Edit->Count = 0;
  }
  if (Edit->Count + 1 >= HistoryEntries) {
    if (Edit->IsDateTime) {
      Beep();
    }
    return;
  }
  // A digit that would carry the number past 64 bits wraps it to a small value that may pass
  // the test against High: it counts as above High.
  constexpr UINT64 Largest = ~static_cast<UINT64>(0);
  bool Overflows = Edit->Count != 0 &&
                   (Edit->IsHex ? (Edit->Work >> 60) != 0 : Edit->Work > (Largest - Digit) / 10);
  if (Edit->Count == 0) {
    Edit->Work = Digit;
  } else if (!Overflows) {
    Edit->Work = Edit->IsHex ? (Edit->Work << 4) + Digit : Edit->Work * 10 + Digit;
  }
  if (Overflows || Edit->Work > Edit->High) {
    // A date or time field beeps; a number drops the digit silently.
    if (Edit->IsDateTime) {
      Beep();
    }
    Edit->Work = Edit->History[Edit->Count];
    return;
  }
  Edit->Count++;
  if (Edit->IsDateTime && Edit->Count == Edit->FieldWidth && Edit->Work < Edit->Low) {
    Edit->Work = Edit->Low;
    Edit->Count = 0;
  }
  Edit->History[Edit->Count] = Edit->Work;
  PaintTyped(Edit);
}

void Backspace(NumberEdit *Edit) {
  if (Edit->Count == 0) {
    return;
  }
  Edit->Count--;
  Edit->Work = Edit->Count == 0 ? 0 : Edit->History[Edit->Count];
  PaintTyped(Edit);
}

EFI_STATUS Commit(NumberEdit *Edit, BOOLEAN CursorWasVisible) {
  Statement *Question = Edit->Question;
  UiSelection *Selection = Edit->Selection;
  SystemTable->ConOut->EnableCursor(SystemTable->ConOut, CursorWasVisible);
  UINT8 *Bytes = Question->Value.Value;
  if (Edit->IsDateTime) {
    // A field out of range keeps its old value, without a word.
    if (Edit->Work >= Edit->Low && Edit->Work <= Edit->High) {
      UINT32 Field = Edit->Line->Field < 3 ? Edit->Line->Field : 0;
      if (Question->Opcode == EFI_IFR_DATE_OP) {
        if (Field == 0) {
          Bytes[DateMonthOffset] = static_cast<UINT8>(Edit->Work);
        } else if (Field == 1) {
          Bytes[DateDayOffset] = static_cast<UINT8>(Edit->Work);
        } else {
          WriteUnaligned16(Bytes + DateYearOffset, static_cast<UINT16>(Edit->Work));
        }
      } else {
        Bytes[Field] = static_cast<UINT8>(Edit->Work);
      }
    }
    EFI_STATUS Status = CheckQuestionRules(Selection->FormSet, Selection->Form, Question, 0);
    if (EFI_ERROR(Status)) {
      ReadQuestionValue(Selection->FormSet, Selection->Form, Question);
      return Status;
    }
  } else {
    UINT64 Number = HiiValueNumber(&Question->Value);
    if (Number < Edit->Low) {
      Number = Edit->Low;
    }
    if (Number > Edit->High) {
      Number = Edit->High;
    }
    WriteUnaligned64(Bytes, Number);
  }
  WriteQuestionValue(Selection->FormSet, Selection->Form, Question);
  return Edit->Result;
}

} // namespace

UINT8 DaysInMonth(UINT16 Year, UINT8 Month) {
  static constexpr UINT8 Days[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (Month < 1 || Month > 12) {
    // A stored month that no calendar has: the day field takes the longest month's range.
    return 31;
  }
  bool Leap = (Year % 400 == 0) || (Year % 4 == 0 && Year % 100 != 0);
  return Month == 2 && Leap ? 29 : Days[Month - 1];
}

EFI_STATUS EditNumber(UiSelection *Selection, MenuLine *Line) {
  EFI_KEY_DATA Key = BrowserServices.LastKey;
  if (Key.Key.UnicodeChar == CHAR_CARRIAGE_RETURN) {
    return EFI_SUCCESS;
  }
  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *ConOut = SystemTable->ConOut;
  BOOLEAN CursorWasVisible = ConOut->Mode->CursorVisible;
  ConOut->EnableCursor(ConOut, FALSE);

  NumberEdit Edit = {};
  Edit.Selection = Selection;
  Edit.Line = Line;
  Edit.Question = Line->Statement;
  UINT8 Opcode = Edit.Question->Opcode;
  Edit.IsDateTime = Opcode == EFI_IFR_DATE_OP || Opcode == EFI_IFR_TIME_OP;
  Edit.IsHex = Opcode == EFI_IFR_NUMERIC_OP &&
               (Edit.Question->Flags & EFI_IFR_DISPLAY) == EFI_IFR_DISPLAY_UINT_HEX;
  Edit.Result = EFI_SUCCESS;
  SetBounds(&Edit);
  Edit.History[0] = HiiValueNumber(&Edit.Question->Value);

  UINT32 Top = Browser->TopOption != nullptr ? Browser->TopOption->Row : 0;
  Edit.Row = Line->ValueRow - Top + Browser->BodyArea.Client.Top;
  SetAttribute(EditAttribute());
  if (Edit.IsDateTime) {
    Edit.Column = Line->ValueColumn;
    CHAR16 Blanks[8];
    FillCharacters(Blanks, Edit.FieldWidth, u' ');
    Blanks[Edit.FieldWidth] = 0;
    PrintAt(Edit.Column, Edit.Row, Blanks);
  } else {
    Edit.Column = Line->ValueColumn + 1u;
  }
  SetCursor(Edit.Column, Edit.Row);

  bool RefusesDefaults = StyleRefusesDefaults(Selection->Form);
  for (bool First = true;; First = false) {
    if (!First) {
      Edit.Result = WaitForKey(&Key);
    }
    switch (Key.Key.UnicodeChar) {
    case CHAR_NULL:
    case u' ':
    case u'+':
    case u'-':
      break;
    case CHAR_BACKSPACE:
      Backspace(&Edit);
      continue;
    case CHAR_TAB:
      return Commit(&Edit, CursorWasVisible);
    case CHAR_CARRIAGE_RETURN:
      Edit.Result = EFI_SUCCESS;
      return Commit(&Edit, CursorWasVisible);
    default:
      Digit(&Edit, Key.Key.UnicodeChar);
      continue;
    }
    switch (Key.Key.ScanCode) {
    case SCAN_NULL:
    case SCAN_F5:
    case SCAN_F6:
      Step(&Edit, &Key);
      break;
    case SCAN_UP:
    case SCAN_DOWN:
    case SCAN_LEFT:
    case SCAN_RIGHT:
    case SCAN_ESC:
      Edit.Result = EFI_ABORTED;
      return Commit(&Edit, CursorWasVisible);
    case SCAN_F9:
      if (!RefusesDefaults) {
        LoadDefaultsRequested = 1;
      } else {
        Edit.Result = EFI_ABORTED;
      }
      return Commit(&Edit, CursorWasVisible);
    case SCAN_F10:
      if (!RefusesDefaults) {
        Selection->SaveExitRequested = 1;
      } else {
        Edit.Result = EFI_ABORTED;
      }
      return Commit(&Edit, CursorWasVisible);
    default:
      Beep();
      break;
    }
  }
}
