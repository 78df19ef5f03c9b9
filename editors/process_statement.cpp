#include "editors/process_statement.h"

#include "core/driver_state.h"
#include "core/hii_strings.h"
#include "editors/editors.h"
#include "expression/expression.h"
#include "screen/menu_option.h"
#include "screen/text_output.h"
#include "storage/defaults.h"
#include "storage/question_value.h"
#include "support/efi_globals.h"
#include "support/memory.h"
#include "support/print.h"
#include "support/string.h"

#include "support/poison.h"

UINT8 OptionStepRequested;
UINT8 LoadDefaultsRequested;

namespace {

const EFI_GUID SystemVariableGuid = {
    0xe947fcf9, 0xdd01, 0x4965, {0xb8, 0x08, 0x32, 0xa7, 0xb6, 0x81, 0x56, 0x57}};
constexpr UINTN SystemVariableSize = 27;
constexpr UINTN HighlightByteOffset = 6;

// The row text is one zero-filled allocation: room for the value column on every screen row.
UINTN RowTextSize(UiSelection *Selection) {
  const ScreenRect &Screen = Browser->ScreenDimensions;
  return (2 * static_cast<UINTN>(Selection->Form->ValueColumnWidth) + 2) *
         (Screen.Bottom - Screen.Top + 1);
}

CHAR16 *NewRowText(UiSelection *Selection, UINTN Multiple = 1) {
  return static_cast<CHAR16 *>(AllocateZeroedPool(RowTextSize(Selection) * Multiple));
}

// Copies Text into the row text, within its size.
void PutRowText(CHAR16 *Row, UINTN RowSize, const CHAR16 *Text) {
  UINTN Room = RowSize / sizeof(CHAR16);
  UINTN Length = StrLength(Text);
  if (Room == 0) {
    return;
  }
  if (Length >= Room) {
    Length = Room - 1;
  }
  CopyBytes(Row, Text, Length * sizeof(CHAR16));
  Row[Length] = 0;
}

CHAR16 *OptionText(const QuestionOption *Option, EFI_HII_HANDLE Handle) {
  return GetHiiString(Option->Text, Handle);
}

EFI_STATUS OneOfText(UiSelection *Selection, MenuLine *Line, CHAR16 **OutText) {
  Statement *Question = Line->Statement;
  CHAR16 *Row = NewRowText(Selection);
  if (Row == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  *OutText = Row;
  QuestionOption *Found = FindOptionByValue(Question, &Question->Value);
  const QuestionOption *Shown = nullptr;
  if (Found != nullptr && !OptionIsSuppressed(Found)) {
    Shown = Found;
  } else {
    // A value that matches no visible option takes the first visible option, by being shown.
    LIST_FOR_EACH(Link, &Question->QuestionOptionList) {
      QuestionOption *Candidate = OptionFromLink(Link);
      if (!OptionIsSuppressed(Candidate)) {
        Question->Value = Candidate->Value;
        WriteQuestionValue(Selection->FormSet, Selection->Form, Question);
        Shown = Candidate;
        break;
      }
    }
    if (Shown == nullptr && Found == nullptr && !ListIsEmpty(&Question->QuestionOptionList)) {
      Shown = OptionFromLink(Question->QuestionOptionList.Back);
    }
  }
  if (Shown != nullptr) {
    CHAR16 *Text = OptionText(Shown, Line->Handle);
    if (Text != nullptr) {
      PutRowText(Row, RowTextSize(Selection), Text);
      FreePoolIfSet(Text);
    }
  }
  return EFI_SUCCESS;
}

EFI_STATUS EditOneOf(UiSelection *Selection, MenuLine *Line) {
  Statement *Question = Line->Statement;
  HiiValue Before = Question->Value;
  EFI_STATUS Status;
  if (!OptionStepRequested) {
    Browser->ModalActive = 1;
    Status = ShowOptionPopUp(Selection, Line);
    Browser->ModalActive = 0;
  } else {
    Status = StepOption(Selection, Line);
    OptionStepRequested = 0;
  }
  INTN Order = 0;
  if (EFI_ERROR(CompareHiiValues(&Before, &Question->Value, nullptr, &Order)) || Order != 0) {
    Selection->Action = SELECTION_VALUE_CHANGED;
  }
  return Status;
}

// An ordered list whose first container is 0 takes its standard default before anything else.
// The default search answers in the question's Value, which an ordered list does not show, so
// the bytes it finds there are moved into the containers; a default has at most 8 of them.
void FillOrderedListDefault(UiSelection *Selection, Statement *Question) {
  if (Question->ValueBuffer == nullptr || Question->ValueBytes == 0 ||
      Question->ValueBuffer[0] != 0) {
    return;
  }
  if (EFI_ERROR(FindQuestionDefault(Selection->FormSet, Selection->Form, Question,
                                    EFI_HII_DEFAULT_CLASS_STANDARD))) {
    return;
  }
  UINTN Count = Question->MaxContainers;
  if (Count > Question->ValueBytes) {
    Count = Question->ValueBytes;
  }
  if (Count > sizeof(Question->Value.Value)) {
    Count = sizeof(Question->Value.Value);
  }
  CopyBytes(Question->ValueBuffer, Question->Value.Value, Count);
}

EFI_STATUS OrderedListText(UiSelection *Selection, MenuLine *Line, CHAR16 **OutText) {
  Statement *Question = Line->Statement;
  UINTN Size = Question->MaxContainers * RowTextSize(Selection);
  CHAR16 *Row = NewRowText(Selection, Question->MaxContainers > 0 ? Question->MaxContainers : 1);
  if (Row == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  *OutText = Row;
  if (Question->ValueBuffer == nullptr) {
    return EFI_SUCCESS;
  }
  for (int Pass = 0; Pass < 2; Pass++) {
    bool NotFound = false;
    for (UINTN Index = 0; Index < Question->MaxContainers; Index++) {
      UINT8 Container = Question->ValueBuffer[Index];
      if (Container == 0) {
        break;
      }
      HiiValue Wanted = {};
      SetHiiValueNumber(&Wanted, EFI_IFR_TYPE_NUM_SIZE_8, Container);
      QuestionOption *Found = FindOptionByValue(Question, &Wanted);
      if (Found == nullptr) {
        NotFound = true;
        break;
      }
      if (OptionIsSuppressed(Found)) {
        continue;
      }
      CHAR16 *Text = OptionText(Found, Line->Handle);
      if (Text == nullptr) {
        continue;
      }
      UINTN Length = StrLength(Text);
      while (Length > 0 && Text[Length - 1] == u' ') {
        Text[--Length] = 0;
      }
      PutRowText(Row, Size, Text);
      FreePoolIfSet(Text);
    }
    if (!NotFound) {
      return EFI_SUCCESS;
    }
    // A container with no option: the value is rebuilt in option order and shown again.
    UINTN Index = 0;
    LIST_FOR_EACH(Link, &Question->QuestionOptionList) {
      if (Index >= Question->MaxContainers) {
        break;
      }
      Question->ValueBuffer[Index++] = OptionFromLink(Link)->Value.Value[0];
    }
    WriteQuestionValue(Selection->FormSet, Selection->Form, Question);
  }
  return EFI_SUCCESS;
}

EFI_STATUS MaskedText(UiSelection *Selection, Statement *Question, bool Password,
                      CHAR16 **OutText) {
  CHAR16 *Row = NewRowText(Selection);
  if (Row == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  *OutText = Row;
  UINTN Room = RowTextSize(Selection) / sizeof(CHAR16) - 1;
  UINTN Width = Question->Maximum < Room ? static_cast<UINTN>(Question->Maximum) : Room;
  FillCharacters(Row, Width, u' ');
  const CHAR16 *Text = Question->ValueBuffer != nullptr
                           ? reinterpret_cast<const CHAR16 *>(Question->ValueBuffer)
                           : u"";
  UINTN Length = StrLength(Text);
  if (Length > Width) {
    Length = Width;
  }
  for (UINTN Index = 0; Index < Length; Index++) {
    Row[Index] = Password ? u'*' : Text[Index];
  }
  return EFI_SUCCESS;
}

EFI_STATUS FieldText(UiSelection *Selection, MenuLine *Line, CHAR16 **OutText) {
  Statement *Question = Line->Statement;
  CHAR16 *Row = NewRowText(Selection);
  if (Row == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  *OutText = Row;
  UINTN Size = RowTextSize(Selection);
  const UINT8 *Bytes = Question->Value.Value;
  if (Question->Opcode == EFI_IFR_DATE_OP) {
    switch (Line->Field) {
    case 0:
      FormatText(Row, Size, u"%02d", Bytes[2]);
      Row[2] = 0;
      break;
    case 1:
      FormatText(Row, Size, u"%02d", Bytes[3]);
      Row[2] = 0;
      break;
    default:
      FormatText(Row, Size, u"%04d", ReadUnaligned16(Bytes));
      Row[4] = 0;
      break;
    }
  } else {
    UINT8 Field = Line->Field < 3 ? Bytes[Line->Field] : 0;
    FormatText(Row, Size, u"%02d", Field);
    Row[2] = 0;
  }
  return EFI_SUCCESS;
}

} // namespace

void ResetEditorState() {
  OptionStepRequested = 0;
  LoadDefaultsRequested = 0;
}

QuestionOption *FindOptionByValue(Statement *Question, const HiiValue *Value) {
  LIST_FOR_EACH(Link, &Question->QuestionOptionList) {
    QuestionOption *Option = OptionFromLink(Link);
    INTN Order = 1;
    if (!EFI_ERROR(CompareHiiValues(&Option->Value, Value, nullptr, &Order)) && Order == 0) {
      return Option;
    }
  }
  return nullptr;
}

UINT8 HighlightFromLayout() {
  UINT8 Data[SystemVariableSize];
  UINTN Size = sizeof(Data);
  if (EFI_ERROR(
          RuntimeServices->GetVariable(u"System", &SystemVariableGuid, nullptr, &Size, Data)) ||
      Size <= HighlightByteOffset) {
    return 0;
  }
  return Data[HighlightByteOffset];
}

UINT64 NumberLimit(const Statement *Question) {
  if (Question->Maximum != 0) {
    return Question->Maximum;
  }
  // Computed in 32 bits with the shift count taken modulo 32: 8-byte questions get 0x80000000.
  return static_cast<UINT32>(1u << ((8u * Question->ValueBytes - 1u) & 31u));
}

EFI_STATUS FormatNumber(Statement *Question, CHAR16 *Buffer, UINTN BufferSize) {
  if (BufferSize < NUMBER_TEXT_SIZE) {
    return EFI_BUFFER_TOO_SMALL;
  }
  UINT64 Limit = NumberLimit(Question);
  UINT8 Display = Question->Flags & EFI_IFR_DISPLAY;
  if (Display == EFI_IFR_DISPLAY_INT_DEC) {
    // Signed numbers are never shown with a sign: the question counts as unsigned from now on.
    Question->Flags = EFI_IFR_DISPLAY_UINT_DEC;
    Display = EFI_IFR_DISPLAY_UINT_DEC;
  }
  if (Display == EFI_IFR_DISPLAY) {
    return EFI_UNSUPPORTED;
  }
  UINTN Width;
  if (Display == EFI_IFR_DISPLAY_UINT_HEX) {
    Width = 2u * Question->ValueBytes;
  } else {
    Width = 0;
    do {
      Width++;
      Limit /= 10;
    } while (Limit != 0);
  }
  UINT64 Number = HiiValueNumber(&Question->Value);
  CHAR16 Format[16];
  if (Display == EFI_IFR_DISPLAY_UINT_HEX || (Number >> 63) == 0) {
    FormatText(Format, sizeof(Format), u"%s%d%s", u"%", static_cast<UINT32>(Width),
               Display == EFI_IFR_DISPLAY_UINT_HEX ? u"lx" : u"ld");
    FormatText(Buffer, BufferSize, Format, Number);
    return EFI_SUCCESS;
  }
  // The print engine's decimals are signed, and this number has its top bit set: it is printed
  // as its tenth in one cell less and its last digit, so that it shows unsigned and keeps its
  // low digits when the field cuts it.
  Buffer[0] = 0;
  if (Width > 1) {
    FormatText(Format, sizeof(Format), u"%s%d%s", u"%", static_cast<UINT32>(Width - 1), u"ld");
    FormatText(Buffer, BufferSize, Format, Number / 10);
  }
  CHAR16 Digit[2] = {static_cast<CHAR16>(u'0' + Number % 10), 0};
  StrAppend(Buffer, Digit);
  return EFI_SUCCESS;
}

EFI_STATUS ProcessStatement(UiSelection *Selection, MenuLine *Option, BOOLEAN Selected,
                            CHAR16 **OutText) {
  *OutText = nullptr;
  Statement *Question = Option->Statement;
  switch (Question->Opcode) {
  case EFI_IFR_ONE_OF_OP:
    if (Selected) {
      return EditOneOf(Selection, Option);
    }
    return OneOfText(Selection, Option, OutText);
  case EFI_IFR_CHECKBOX_OP: {
    if (Selected) {
      Question->Value.Value[0] = Question->Value.Value[0] != 0 ? 0 : 1;
      Selection->Action = SELECTION_VALUE_CHANGED;
    }
    CHAR16 *Row = NewRowText(Selection);
    if (Row == nullptr) {
      return EFI_OUT_OF_RESOURCES;
    }
    Row[0] = Question->Value.Value[0] != 0 ? u'X' : u' ';
    *OutText = Row;
    return EFI_SUCCESS;
  }
  case EFI_IFR_NUMERIC_OP: {
    if (Selected) {
      return EditNumber(Selection, Option);
    }
    CHAR16 *Row = NewRowText(Selection);
    if (Row == nullptr) {
      return EFI_OUT_OF_RESOURCES;
    }
    CHAR16 Number[NUMBER_TEXT_SIZE / sizeof(CHAR16)];
    if (!EFI_ERROR(FormatNumber(Question, Number, sizeof(Number)))) {
      PutRowText(Row, RowTextSize(Selection), Number);
    }
    *OutText = Row;
    return EFI_SUCCESS;
  }
  case EFI_IFR_PASSWORD_OP:
    if (Selected) {
      return EditPasswordQuestion(Selection, Option);
    }
    return MaskedText(Selection, Question, true, OutText);
  case EFI_IFR_STRING_OP:
    if (Selected) {
      return EditStringQuestion(Selection, Option);
    }
    return MaskedText(Selection, Question, false, OutText);
  case EFI_IFR_ACTION_OP: {
    if (Question->QuestionConfig == 0) {
      return EFI_NOT_FOUND;
    }
    CHAR16 *Config = GetHiiString(Question->QuestionConfig, Option->Handle);
    CHAR16 *Row = NewRowText(Selection);
    if (Row == nullptr) {
      FreePoolIfSet(Config);
      return EFI_OUT_OF_RESOURCES;
    }
    if (Config != nullptr) {
      PutRowText(Row, RowTextSize(Selection), Config);
      FreePoolIfSet(Config);
    }
    *OutText = Row;
    return EFI_SUCCESS;
  }
  case EFI_IFR_DATE_OP:
  case EFI_IFR_TIME_OP:
    if (Selected) {
      return EditNumber(Selection, Option);
    }
    return FieldText(Selection, Option, OutText);
  case EFI_IFR_ORDERED_LIST_OP: {
    FillOrderedListDefault(Selection, Question);
    if (!Selected) {
      return OrderedListText(Selection, Option, OutText);
    }
    UINT8 Before[256] = {};
    UINTN Width = Question->ValueBytes < sizeof(Before) ? Question->ValueBytes : sizeof(Before);
    if (Question->ValueBuffer != nullptr) {
      CopyBytes(Before, Question->ValueBuffer, Width);
    }
    Browser->ModalActive = 1;
    EFI_STATUS Status = ShowOptionPopUp(Selection, Option);
    Browser->ModalActive = 0;
    if (Question->ValueBuffer != nullptr &&
        CompareBytes(Before, Question->ValueBuffer, Width) != 0) {
      Selection->Action = SELECTION_VALUE_CHANGED;
    }
    return Status;
  }
  default:
    return EFI_SUCCESS;
  }
}
