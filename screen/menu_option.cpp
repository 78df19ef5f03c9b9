#include "screen/menu_option.h"

#include "core/hii_strings.h"
#include "editors/process_statement.h"
#include "screen/layout.h"
#include "screen/text_output.h"
#include "support/memory.h"
#include "support/string.h"

#include "support/poison.h"

namespace {

EFI_STATUS BuildStatus;

UINT32 BodyAttribute(UINTN Slot) {
  return Browser->BodyArea.Row->Attribute[Slot];
}

bool IsDateOrTime(const Statement *Question) {
  return Question->Opcode == EFI_IFR_DATE_OP || Question->Opcode == EFI_IFR_TIME_OP;
}

UINT16 PromptWidthOf(const Statement *Question, EFI_HII_HANDLE Handle) {
  CHAR16 *Prompt = GetHiiString(Question->Prompt, Handle);
  UINT16 Width = DisplayWidth(Prompt);
  FreePoolIfSet(Prompt);
  return Width;
}

// Makes the records of one statement: three for a date or time, one otherwise. Returns the
// rows the statement takes.
UINT16 AddMenuOption(UiSelection *Selection, Statement *Question, CHAR16 *Description, UINT16 Row,
                     UINT16 Index) {
  Form *Shown = Selection->Form;
  if (IsDateOrTime(Question) && Question->Storage == nullptr && Question->RefreshInterval == 0) {
    // It shows the real-time clock, so it repaints each second.
    Question->RefreshInterval = 1;
  }
  UINT16 PromptWidth = IsPromptOnly(Question) ? Browser->BodyWidth : Shown->PromptColumnWidth;
  UINT32 Records = IsDateOrTime(Question) ? 3 : 1;
  UINT16 Skip = 0;
  for (UINT32 Field = 0; Field < Records; Field++) {
    MenuLine *Option = static_cast<MenuLine *>(AllocateZeroedPool(sizeof(MenuLine)));
    if (Option == nullptr) {
      if (Field == 0) {
        FreePoolIfSet(Description);
      }
      BuildStatus = EFI_OUT_OF_RESOURCES;
      return Skip;
    }
    Option->Signature = MENU_LINE_SIGNATURE;
    Option->Description = Description;
    Option->PromptWidth = PromptWidth;
    Option->Handle = Selection->Handle;
    Option->Statement = Question;
    Option->DisplayIndex = Index;
    Option->Row = Row;
    Option->ValueRow = Row;
    Option->Skip = CountLines(Description);
    Option->Field = Field;
    if (Question->GrayOutCondition != nullptr) {
      Option->GrayOut = HiiValueIsTrue(&Question->GrayOutCondition->Result) ? 1 : 0;
    }
    Option->ReadOnly = Question->ComputedValue != nullptr ||
                       (Question->QuestionFlags & EFI_IFR_FLAG_READ_ONLY) != 0;
    Option->Column = static_cast<UINT16>(Browser->BodyArea.Client.Left + 3);
    Option->ValueWidth = Shown->ValueColumnWidth;
    Option->ValueColumn =
        IsDateOrTime(Question)
            ? static_cast<UINT16>(Option->Column + Shown->PromptColumnWidth + Field * 3 + 3)
            : static_cast<UINT16>(Option->Column + Shown->PromptColumnWidth + 2);
    UINT16 ValueLines = 1;
    if (Question->Opcode == EFI_IFR_TEXT_OP && Question->TextTwo != 0) {
      CHAR16 *TextTwo = GetHiiString(Question->TextTwo, Option->Handle);
      if (TextTwo != nullptr) {
        ValueLines = CountLines(TextTwo);
        FreePoolIfSet(TextTwo);
      }
    }
    if (ValueLines > Option->Skip) {
      Option->Skip = ValueLines;
    }
    ListInsertTail(&Browser->OptionList, &Option->Link);
    Skip = Option->Skip;
  }
  return Skip;
}

// Prints a text of several lines (split at carriage returns) from (Column, Row), each line cut
// to Width cells; with ClearTo not 0 the rest of each row up to that column is cleared. Returns
// the width of the widest line printed.
UINT16 PrintLines(CHAR16 *Text, UINT32 Column, UINT32 Row, UINT16 Width, UINT32 LastRow,
                  UINTN Attribute, UINT32 ClearTo, UINTN Background) {
  UINT16 Written = 0;
  UINTN Position = 0;
  UINTN Length = StrLength(Text);
  for (UINT32 Line = 0; Row + Line <= LastRow; Line++) {
    UINTN End = Position;
    if (EFI_ERROR(FindLineEnd(Text, &End))) {
      // An empty text, or an empty last line: the row is cleared all the same.
      if (ClearTo != 0) {
        ClearRect(Column, ClearTo, Row + Line, Row + Line, Background);
      }
      break;
    }
    CHAR16 Saved = Text[End];
    Text[End] = 0;
    CHAR16 *Piece = StrDuplicate(Text + Position);
    Text[End] = Saved;
    if (Piece == nullptr) {
      break;
    }
    UINT16 Cells = CutToWidth(Piece, Width);
    SetAttribute(Attribute);
    PrintAt(Column, Row + Line, Piece);
    FreePoolIfSet(Piece);
    // A shorter line must not leave what stood behind it on the row.
    if (ClearTo != 0) {
      ClearRect(Column + Cells, ClearTo, Row + Line, Row + Line, Background);
    }
    if (Cells > Written) {
      Written = Cells;
    }
    if (End >= Length) {
      break;
    }
    Position = End + 2;
  }
  return Written;
}

// The cells that line Line of the option's prompt takes once cut to its width; 0 past the
// prompt's last line.
UINT16 PromptLineCells(const MenuLine *Option, UINT32 Line) {
  const CHAR16 *Text = Option->Description;
  if (Text == nullptr) {
    return 0;
  }
  UINTN Position = 0;
  for (UINT32 Index = 0;; Index++) {
    UINTN End = Position;
    if (EFI_ERROR(FindLineEnd(Text, &End))) {
      return 0;
    }
    if (Index == Line) {
      UINT16 Cells = 0;
      for (UINTN At = Position; At < End; At++) {
        CHAR16 Character = Text[At];
        UINT16 Next = Cells;
        if (Character != NARROW_CHAR && Character != WIDE_CHAR) {
          Next = static_cast<UINT16>(Cells + (IsNarrow(Character) ? 1 : 2));
        }
        if (Next > Option->PromptWidth) {
          break;
        }
        Cells = Next;
      }
      return Cells;
    }
    Position = End + 2;
  }
}

} // namespace

EFI_STATUS MenuOptionsBuildStatus() {
  return BuildStatus;
}

bool IsSuppressed(const Statement *Question) {
  return Question->SuppressCondition != nullptr &&
         HiiValueIsTrue(&Question->SuppressCondition->Result);
}

bool IsSelectable(const MenuLine *Option) {
  UINT8 Opcode = Option->Statement->Opcode;
  return Opcode != EFI_IFR_SUBTITLE_OP && Opcode != EFI_IFR_TEXT_OP && Option->GrayOut == 0;
}

bool IsPromptOnly(const Statement *Question) {
  switch (Question->Opcode) {
  case EFI_IFR_SUBTITLE_OP:
  case EFI_IFR_REF_OP:
    return true;
  case EFI_IFR_TEXT_OP:
    return Question->TextTwo == 0;
  case EFI_IFR_ACTION_OP:
    return Question->QuestionConfig == 0;
  default:
    return false;
  }
}

bool HasBrackets(const Statement *Question) {
  switch (Question->Opcode) {
  case EFI_IFR_ONE_OF_OP:
  case EFI_IFR_NUMERIC_OP:
  case EFI_IFR_ORDERED_LIST_OP:
  case EFI_IFR_PASSWORD_OP:
  case EFI_IFR_STRING_OP:
  case EFI_IFR_ACTION_OP:
    return true;
  default:
    return false;
  }
}

EFI_STATUS FindLineEnd(const CHAR16 *Text, UINTN *Position) {
  if (Text == nullptr) {
    return EFI_SUCCESS;
  }
  UINTN Length = StrLength(Text);
  if (*Position >= Length) {
    return EFI_INVALID_PARAMETER;
  }
  UINTN Index = *Position;
  while (Index < Length && Text[Index] != CHAR_CARRIAGE_RETURN) {
    Index++;
  }
  *Position = Index;
  return EFI_SUCCESS;
}

UINT16 CountLines(const CHAR16 *Text) {
  if (Text == nullptr) {
    return 0;
  }
  UINT16 Lines = 1;
  for (; *Text != 0; Text++) {
    if (*Text == CHAR_CARRIAGE_RETURN) {
      Lines++;
    }
  }
  return Lines;
}

bool IsConfigRequestString(const CHAR16 *Text) {
  return Text != nullptr && StrLength(Text) >= 37 && StrFind(Text, u"GUID=") == Text;
}

UINT16 MeasureValueWidth(Statement *Question, EFI_HII_HANDLE Handle) {
  switch (Question->Opcode) {
  case EFI_IFR_ONE_OF_OP:
  case EFI_IFR_ORDERED_LIST_OP: {
    UINT16 Widest = 0;
    LIST_FOR_EACH(Link, &Question->QuestionOptionList) {
      CHAR16 *Text = GetHiiString(OptionFromLink(Link)->Text, Handle);
      UINT16 Width = DisplayWidth(Text);
      FreePoolIfSet(Text);
      if (Width > Widest) {
        Widest = Width;
      }
    }
    return static_cast<UINT16>(Widest + 2);
  }
  case EFI_IFR_PASSWORD_OP:
  case EFI_IFR_STRING_OP:
    return static_cast<UINT16>(Question->Maximum + 2);
  case EFI_IFR_ACTION_OP: {
    CHAR16 *Config = GetHiiString(Question->QuestionConfig, Handle);
    UINT16 Width =
        IsConfigRequestString(Config) ? static_cast<UINT16>(DisplayWidth(Config) + 2) : 0;
    FreePoolIfSet(Config);
    return Width;
  }
  case EFI_IFR_DATE_OP:
    return 12;
  case EFI_IFR_TIME_OP:
    return 10;
  default:
    return 0;
  }
}

void MeasureFormWidth(EFI_HII_HANDLE Handle, Form *Shown, UINT16 *Limit) {
  UINT16 PromptOnly = 0;
  UINT16 Prompt = 0;
  UINT16 Value = 0;
  LIST_FOR_EACH(Link, &Shown->StatementList) {
    Statement *Question = StatementFromLink(Link);
    if (IsSuppressed(Question)) {
      continue;
    }
    CHAR16 *Text = GetHiiString(Question->Prompt, Handle);
    if (Text == nullptr) {
      continue;
    }
    UINT16 Width = DisplayWidth(Text);
    FreePoolIfSet(Text);
    if (IsPromptOnly(Question)) {
      PromptOnly = Width > PromptOnly ? Width : PromptOnly;
    } else {
      Prompt = Width > Prompt ? Width : Prompt;
      UINT16 ValueWidth = MeasureValueWidth(Question, Handle);
      Value = ValueWidth > Value ? ValueWidth : Value;
    }
  }
  if (Prompt < PromptOnly && static_cast<UINT32>(PromptOnly) + Value < *Limit) {
    *Limit = static_cast<UINT16>(PromptOnly + Value);
  } else if (static_cast<UINT32>(Prompt) + Value < *Limit) {
    *Limit = static_cast<UINT16>(Prompt + Value);
  }
}

UINT16 BuildMenuOptions(UiSelection *Selection) {
  BuildStatus = EFI_SUCCESS;
  if (!ListIsEmpty(&Browser->OptionList)) {
    return 0;
  }
  Form *Shown = Selection->Form;
  FreePoolIfSet(Shown->FormTitleText);
  Shown->FormTitleText = GetHiiString(Shown->FormTitle, Selection->FormSet->HiiHandle);

  UINT16 Widest = 0;
  UINT16 Limit = Browser->PromptWidthLimit;
  LIST_FOR_EACH(Link, &Shown->StatementList) {
    Statement *Question = StatementFromLink(Link);
    if (IsSuppressed(Question)) {
      continue;
    }
    UINT16 Width = PromptWidthOf(Question, Selection->Handle);
    if (!IsPromptOnly(Question)) {
      Widest = Width > Widest ? Width : Widest;
      if (Widest >= Limit) {
        Widest = Limit;
        break;
      }
    } else if (Width > Widest && Width <= Limit) {
      Widest = Width;
    }
  }
  Shown->PromptColumnWidth = Widest;
  Shown->ValueColumnWidth = static_cast<UINT16>(Browser->BodyWidth - Widest);

  UINT16 Row = 0;
  UINT16 Index = 0;
  LIST_FOR_EACH(Link, &Shown->StatementList) {
    Statement *Question = StatementFromLink(Link);
    if (IsSuppressed(Question)) {
      continue;
    }
    CHAR16 *Description = GetHiiString(Question->Prompt, Selection->Handle);
    if (Description == nullptr) {
      continue;
    }
    Row = static_cast<UINT16>(Row + AddMenuOption(Selection, Question, Description, Row, Index));
    Index++;
    if (EFI_ERROR(BuildStatus)) {
      break;
    }
  }
  return Row;
}

void FreeMenuOptions() {
  while (!ListIsEmpty(&Browser->OptionList)) {
    ListLink *Link = ListFirst(&Browser->OptionList);
    MenuLine *Option = MenuLineFromLink(Link);
    ListRemove(Link);
    if (Option->Field == 0) {
      FreePoolIfSet(Option->Description);
    }
    FreePoolIfSet(Option);
  }
  Browser->TopOption = nullptr;
  Browser->BottomOption = nullptr;
}

UINTN PromptAttribute(bool Highlight) {
  if (!Highlight) {
    return BodyAttribute(0);
  }
  return HighlightFromLayout() != 0 ? BodyAttribute(2) : 0x17;
}

UINTN ValueAttribute(const MenuLine *Option, bool Highlight) {
  UINT8 Opcode = Option->Statement->Opcode;
  if (Opcode == EFI_IFR_PASSWORD_OP) {
    return Highlight ? 0x07 : 0x17;
  }
  if (Opcode == EFI_IFR_STRING_OP && Highlight) {
    return 0x07;
  }
  if (Option->GrayOut) {
    return BodyAttribute(4);
  }
  return Highlight ? BodyAttribute(5) : BodyAttribute(3);
}

void PaintMenuOption(UiSelection *Selection, MenuLine *Option, bool Highlight, UINT32 Mode) {
  const ScreenRect &Client = Browser->BodyArea.Client;
  Statement *Question = Option->Statement;
  UINT32 Top = Browser->TopOption != nullptr ? Browser->TopOption->Row : 0;
  // A line out of view has no place on the screen: below the body lie the frame and the footer.
  if (Option->Row < Top || Option->Row - Top > Client.Bottom - Client.Top) {
    return;
  }
  UINT32 ScreenRow = Option->Row - Top + Client.Top;
  UINT16 Inner = HasBrackets(Question) ? 2 : 0;
  UINTN Background = BodyAttribute(0);
  UINT16 Written = 0;
  // An option of several rows on the last page may pass the body's last row: what lies below it
  // belongs to the frame and the footer, so it is neither printed nor cleared.
  UINT32 LastRow = ScreenRow + Option->Skip - 1;
  if (LastRow > Client.Bottom) {
    LastRow = Client.Bottom;
  }
  UINT32 RightEdge = Client.Right - 1;

  if (Option->Field == 0) {
    ClearRect(Client.Left, Client.Left + 2, ScreenRow, LastRow, Background);
    bool SameStatement =
        Selection->MenuOption != nullptr && Selection->MenuOption->Statement == Question;
    UINTN Attribute = PromptAttribute(SameStatement || Highlight);
    if (Question->Opcode == EFI_IFR_REF_OP) {
      SetAttribute(Attribute);
      PutCharAt(Option->Column - 2, ScreenRow, GEOMETRICSHAPE_RIGHT_TRIANGLE);
    }
    UINTN Position = 0;
    for (UINT16 Line = 0; Line < Option->Skip && ScreenRow + Line <= Client.Bottom; Line++) {
      UINT32 Row = ScreenRow + Line;
      UINTN End = Position;
      if (EFI_ERROR(FindLineEnd(Option->Description, &End))) {
        ClearRect(Option->Column, RightEdge, Row, Row, Background);
        break;
      }
      CHAR16 *Text =
          static_cast<CHAR16 *>(AllocateZeroedPool((End - Position + 1) * sizeof(CHAR16)));
      if (Text == nullptr) {
        break;
      }
      CopyBytes(Text, Option->Description + Position, (End - Position) * sizeof(CHAR16));
      // A carriage return and the line feed behind it.
      Position = End + 2;
      Written = CutToWidth(Text, Option->PromptWidth);
      SetAttribute(Attribute);
      PrintAt(Option->Column, Row, Text);
      FreePoolIfSet(Text);
      if (IsPromptOnly(Question)) {
        ClearRect(Option->Column + Written, RightEdge, Row, Row, Background);
      }
    }
    if (IsPromptOnly(Question)) {
      return;
    }
  }

  CHAR16 *Value = nullptr;
  if (Question->Opcode == EFI_IFR_TEXT_OP && Question->TextTwo != 0) {
    Value = GetHiiString(Question->TextTwo, Option->Handle);
  } else {
    ProcessStatement(Selection, Option, FALSE, &Value);
  }
  // Each row is cleared from the end of its own prompt line: the lines of a prompt differ in
  // width, and a row below the last one has none.
  bool OwnsPrompt = Option->Field == 0;
  if (Value == nullptr) {
    for (UINT32 Row = ScreenRow; Row <= LastRow; Row++) {
      UINT16 Cells = OwnsPrompt ? PromptLineCells(Option, Row - ScreenRow) : Written;
      ClearRect(Option->Column + Cells, RightEdge, Row, Row, Background);
    }
    return;
  }
  bool DateOrTime = IsDateOrTime(Question);
  UINT32 ValueLines = DateOrTime ? 1 : CountLines(Value);
  if (OwnsPrompt) {
    UINT32 GapEnd = DateOrTime ? Option->ValueColumn - 2u : Option->ValueColumn - 1u;
    for (UINT32 Row = ScreenRow; Row <= LastRow; Row++) {
      UINT32 Line = Row - ScreenRow;
      // A row the value does not reach is cleared to the end.
      ClearRect(Option->Column + PromptLineCells(Option, Line),
                Line < ValueLines ? GapEnd : RightEdge, Row, Row, Background);
    }
  }
  UINT32 ValueScreenRow = Option->ValueRow - Top + Client.Top;
  UINT32 Column = Option->ValueColumn + (HasBrackets(Question) ? 1 : 0);
  UINT16 Room = Option->ValueWidth > Inner ? static_cast<UINT16>(Option->ValueWidth - Inner) : 0;
  Written = PrintLines(Value, Column, ValueScreenRow, Room, LastRow,
                       ValueAttribute(Option, Highlight), DateOrTime ? 0 : RightEdge, Background);

  UINTN Plain = ValueAttribute(Option, false);
  if (ValueScreenRow > LastRow) {
    FreePoolIfSet(Value);
    return;
  }
  if (DateOrTime) {
    CHAR16 Separator = Question->Opcode == EFI_IFR_DATE_OP ? u'/' : u':';
    SetAttribute(Plain);
    if (Option->Field == 0) {
      PutCharAt(Column - 1, ValueScreenRow, u'[');
    } else {
      PutCharAt(Column - 1, ValueScreenRow, Separator);
    }
    if (Option->Field == 2) {
      PutCharAt(Column + Written, ValueScreenRow, u']');
      ClearRect(Column + Written + 1, RightEdge, ValueScreenRow, ValueScreenRow, Background);
    }
  }
  if (HasBrackets(Question)) {
    SetAttribute(Plain);
    PutCharAt(Column - 1, ValueScreenRow, u'[');
    PutCharAt(Column + Written, ValueScreenRow, u']');
  }
  FreePoolIfSet(Value);
}
