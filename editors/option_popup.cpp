#include "core/beep.h"
#include "core/hii_strings.h"
#include "dialogs/browser_services.h"
#include "editors/editors.h"
#include "editors/option_order.h"
#include "editors/process_statement.h"
#include "expression/expression.h"
#include "screen/frames.h"
#include "screen/keys.h"
#include "screen/layout.h"
#include "screen/text_output.h"
#include "support/efi_globals.h"
#include "support/memory.h"

#include "support/poison.h"

namespace {

constexpr UINTN PopUpShadowAttribute = 0x08;

struct PopUpEntry {
  QuestionOption *Option;
  CHAR16 *Text;
  UINT16 Width;
};

struct PopUp {
  UiSelection *Selection;
  Statement *Question;
  bool IsOrdered;
  OptionSnapshot Snapshot;
  UINT32 ShownCount;
  UINT32 Rows;
  bool Scrolling;
  UINT16 ListWidth;
  UINT32 Highlight;
  UINT32 First;
  QuestionOption *Current;
  // The text of each shown option, read once when the list opens; an ordered list moves its
  // options, so a paint finds each option's text by the option and not by its place.
  PopUpEntry *Entries;
  ScreenRect Box;
  ScreenRect Inner;
  UINTN Attribute;
  UINTN HighlightAttribute;
};

void FreeTexts(PopUp *List) {
  if (List->Entries != nullptr) {
    for (UINT32 Index = 0; Index < List->ShownCount; Index++) {
      FreePoolIfSet(List->Entries[Index].Text);
    }
  }
  FreePoolIfSet(List->Entries);
  FreeOptionSnapshot(&List->Snapshot);
  List->Entries = nullptr;
}

const PopUpEntry *EntryOf(const PopUp *List, const QuestionOption *Option) {
  for (UINT32 Index = 0; Index < List->ShownCount; Index++) {
    if (List->Entries[Index].Option == Option) {
      return &List->Entries[Index];
    }
  }
  return nullptr;
}

EFI_STATUS ReadTexts(PopUp *List, EFI_HII_HANDLE Handle) {
  const ScreenRect &Screen = Browser->ScreenDimensions;
  UINT32 Limit = Screen.Right - Screen.Left - (List->Scrolling ? 5 : 4);
  List->Entries =
      static_cast<PopUpEntry *>(AllocateZeroedPool(List->ShownCount * sizeof(PopUpEntry)));
  if (List->Entries == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  UINT32 Index = 0;
  bool Matched = false;
  LIST_FOR_EACH(Link, &List->Question->QuestionOptionList) {
    if (Index >= List->ShownCount) {
      break;
    }
    QuestionOption *Option = OptionFromLink(Link);
    CHAR16 *Text = GetHiiString(Option->Text, Handle);
    if (Text == nullptr) {
      Text = static_cast<CHAR16 *>(AllocateZeroedPool(sizeof(CHAR16)));
      if (Text == nullptr) {
        return EFI_OUT_OF_RESOURCES;
      }
    }
    UINT16 Width = DisplayWidth(Text);
    if (Width > Limit) {
      Width = CutToWidth(Text, static_cast<UINT16>(Limit));
    }
    List->Entries[Index] = {Option, Text, Width};
    if (Width > List->ListWidth) {
      List->ListWidth = Width;
    }
    INTN Order = 1;
    if (!List->IsOrdered && !Matched &&
        !EFI_ERROR(CompareHiiValues(&Option->Value, &List->Question->Value, nullptr, &Order)) &&
        Order == 0) {
      List->Highlight = Index;
      Matched = true;
    }
    Index++;
  }
  return EFI_SUCCESS;
}

void PlaceBox(PopUp *List) {
  const ScreenRect &Screen = Browser->ScreenDimensions;
  const ScreenRect &Frame = Browser->BodyArea.Frame;
  UINT32 Width = Screen.Right - Screen.Left + 1;
  UINT32 Height = Frame.Bottom - Frame.Top + 1;
  List->Box.Left = ((Width - (List->ListWidth + 5u)) >> 1) + Screen.Left;
  List->Box.Right = List->Box.Left + List->ListWidth + 4u;
  List->Box.Top = ((Height - (List->Rows + 2u)) >> 1) + Frame.Top;
  List->Box.Bottom = List->Box.Top + List->Rows + 1u;
  List->Inner = {List->Box.Left + 1, List->Box.Right - 1, List->Box.Top + 1, List->Box.Bottom - 1};
}

void DrawBar(PopUp *List) {
  if (List->Scrolling) {
    DrawScrollBar(true, &List->Inner, List->Attribute, List->First,
                  List->First + List->Inner.Bottom - List->Inner.Top, List->ShownCount);
  }
}

void Paint(PopUp *List) {
  UINT32 Index = 0;
  LIST_FOR_EACH(Link, &List->Question->QuestionOptionList) {
    if (Index >= List->ShownCount) {
      break;
    }
    QuestionOption *Option = OptionFromLink(Link);
    const PopUpEntry *Entry = EntryOf(List, Option);
    if (Entry == nullptr) {
      break;
    }
    INT64 Row = static_cast<INT64>(List->Box.Top) + 1 + Index - List->First;
    UINT32 Column = List->Box.Left + 2;
    Option->PopUpColumn = static_cast<UINT16>(Column);
    Option->PopUpRow = static_cast<UINT16>(Row);
    Option->PopUpWidth = Entry->Width;
    Option->PopUpIndex = Index;
    if (Row > static_cast<INT64>(List->Box.Top) && Row < static_cast<INT64>(List->Box.Bottom)) {
      if (Index == List->Highlight) {
        // The highlight colours the text alone, not the blanks behind it.
        List->Current = Option;
        SetAttribute(List->HighlightAttribute);
        PrintAt(Column, static_cast<UINT32>(Row), Entry->Text);
        SetAttribute(List->Attribute);
        for (UINT32 Cell = Entry->Width; Cell < List->ListWidth + 1u; Cell++) {
          PutCharAt(Column + Cell, static_cast<UINT32>(Row), u' ');
        }
      } else {
        CHAR16 *Padded = nullptr;
        if (!EFI_ERROR(
                PadToWidth(&Padded, static_cast<UINT16>(List->ListWidth + 1), Entry->Text))) {
          SetAttribute(List->Attribute);
          PrintAt(Column, static_cast<UINT32>(Row), Padded);
        }
        FreePoolIfSet(Padded);
      }
    }
    Index++;
  }
}

// Moves the highlighted option of an ordered list one place within the shown options; from an
// end it goes round to the other end.
void CarryCurrent(PopUp *List, bool TowardsHead) {
  if (!List->IsOrdered || List->Current == nullptr) {
    return;
  }
  ListLink *Head = &List->Question->QuestionOptionList;
  ListLink *Link = &List->Current->Link;
  ListLink *FirstShown = ListFirst(Head);
  ListLink *LastShown = &ShownOptionAt(List->Question, List->ShownCount - 1)->Link;
  if (TowardsHead) {
    if (Link == FirstShown) {
      ListMoveBefore(LastShown->Forward, Link);
    } else {
      ListMoveBefore(Link->Back, Link);
    }
  } else {
    if (Link == LastShown) {
      ListMoveBefore(FirstShown, Link);
    } else {
      ListMoveBefore(Link->Forward->Forward, Link);
    }
  }
}

void MoveUp(PopUp *List) {
  if (List->Highlight > 0) {
    if (List->Scrolling && List->Current != nullptr && List->Current->PopUpRow == List->Inner.Top &&
        List->First > 0) {
      List->First--;
    }
    List->Highlight--;
  } else {
    List->Highlight = List->ShownCount - 1;
    List->First = List->ShownCount - List->Rows;
  }
  DrawBar(List);
  CarryCurrent(List, true);
}

void MoveDown(PopUp *List) {
  if (List->Highlight + 1 < List->ShownCount) {
    if (List->Scrolling && List->Current != nullptr &&
        List->Current->PopUpRow == List->Inner.Bottom) {
      List->First++;
    }
    List->Highlight++;
  } else {
    List->Highlight = 0;
    List->First = 0;
  }
  DrawBar(List);
  CarryCurrent(List, false);
}

void Commit(PopUp *List) {
  Statement *Question = List->Question;
  if (List->IsOrdered) {
    if (Question->ValueBuffer == nullptr) {
      return;
    }
    UINT32 Limit = Question->MaxContainers < Question->ValueBytes ? Question->MaxContainers
                                                                  : Question->ValueBytes;
    UINT32 Index = 0;
    LIST_FOR_EACH(Link, &Question->QuestionOptionList) {
      if (Index >= Limit) {
        break;
      }
      Question->ValueBuffer[Index++] = OptionFromLink(Link)->Value.Value[0];
    }
  } else if (List->Current != nullptr) {
    Question->Value = List->Current->Value;
  }
}

// Esc on an ordered list puts the options back into the order of the value, which never
// changed.
void RestoreOrder(PopUp *List) {
  Statement *Question = List->Question;
  if (!List->IsOrdered || Question->ValueBuffer == nullptr) {
    return;
  }
  UINT32 Limit = Question->MaxContainers < Question->ValueBytes ? Question->MaxContainers
                                                                : Question->ValueBytes;
  for (UINT32 Index = 0; Index < Limit && Question->ValueBuffer[Index] != 0; Index++) {
    HiiValue Wanted = {};
    SetHiiValueNumber(&Wanted, EFI_IFR_TYPE_NUM_SIZE_8, Question->ValueBuffer[Index]);
    QuestionOption *Option = FindOptionByValue(Question, &Wanted);
    if (Option != nullptr) {
      ListMoveBefore(&Question->QuestionOptionList, &Option->Link);
    }
  }
}

// The keys of the open list; returns when the list closes.
EFI_STATUS RunKeys(PopUp *List) {
  bool RefusesDefaults = StyleRefusesDefaults(List->Selection->Form);
  for (;;) {
    Paint(List);
    EFI_KEY_DATA Key = {};
    EFI_STATUS Status = WaitForKey(&Key);
    CHAR16 Character = Key.Key.UnicodeChar;
    UINT16 Scan = Key.Key.ScanCode;
    if (Character == u'+' || Scan == SCAN_DOWN || Scan == SCAN_F6) {
      MoveDown(List);
    } else if (Character == u'-' || Scan == SCAN_UP || Scan == SCAN_F5) {
      MoveUp(List);
    } else if (Character == CHAR_CARRIAGE_RETURN) {
      Commit(List);
      return Status;
    } else if (Scan == SCAN_F9 || Scan == SCAN_F10) {
      if (RefusesDefaults) {
        MoveUp(List);
        continue;
      }
      if (Scan == SCAN_F9) {
        LoadDefaultsRequested = 1;
      } else {
        List->Selection->SaveExitRequested = 1;
      }
      Commit(List);
      return Status;
    } else if (Scan == SCAN_ESC) {
      RestoreOrder(List);
      return EFI_DEVICE_ERROR;
    } else if (Character != CHAR_NULL || Scan != SCAN_NULL) {
      Beep();
    }
  }
}

} // namespace

EFI_STATUS ShowOptionPopUp(UiSelection *Selection, MenuLine *Line) {
  PopUp List = {};
  List.Selection = Selection;
  List.Question = Line->Statement;
  List.IsOrdered = IsOrderedList(List.Question);
  EFI_STATUS Status = TakeOptionSnapshot(List.Question, &List.Snapshot);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  Status = ReorderOptions(List.Question, &List.Snapshot, &List.ShownCount);
  if (EFI_ERROR(Status)) {
    FreeOptionSnapshot(&List.Snapshot);
    return Status;
  }
  if (List.ShownCount == 0) {
    // Every option is suppressed: there is nothing to pick, and nothing is committed.
    FreeOptionSnapshot(&List.Snapshot);
    Beep();
    return EFI_DEVICE_ERROR;
  }
  const ScreenRect &Frame = Browser->BodyArea.Frame;
  UINT32 Available = Frame.Bottom > Frame.Top ? Frame.Bottom - Frame.Top - 1 : 0;
  List.Rows = List.ShownCount < Available ? List.ShownCount : Available;
  List.Scrolling = List.ShownCount > Available;
  Status = ReadTexts(&List, Line->Handle);
  if (EFI_ERROR(Status)) {
    FreeTexts(&List);
    return Status;
  }
  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *ConOut = SystemTable->ConOut;
  UINTN SavedAttribute = static_cast<UINTN>(ConOut->Mode->Attribute);
  List.Attribute = Browser->BodyArea.Row->Attribute[6];
  List.HighlightAttribute = Browser->BodyArea.Row->Attribute[8];
  SetAttribute(List.Attribute);

  PlaceBox(&List);
  SaveScreenRecord Saved = {};
  SaveScreenRect(&Saved, static_cast<UINT16>(List.Box.Left), static_cast<UINT16>(List.Box.Top),
                 static_cast<UINT16>(List.Box.Right - List.Box.Left + 2),
                 static_cast<UINT16>(List.Box.Bottom - List.Box.Top + 2));
  ClearRect(List.Inner.Left, List.Inner.Right, List.Inner.Top, List.Inner.Bottom, List.Attribute);
  DrawBox(List.Box.Left, List.Box.Right, List.Box.Top, List.Box.Bottom, List.Attribute);
  if (List.Scrolling) {
    DrawScrollBar(true, &List.Inner, List.Attribute, 0, List.Inner.Bottom - List.Inner.Top,
                  List.ShownCount);
  }
  DrawShadow(List.Box.Left, List.Box.Top, List.Box.Right - List.Box.Left + 1,
             List.Box.Bottom - List.Box.Top + 1, PopUpShadowAttribute);
  List.First = 0;
  if (List.Rows <= List.Highlight + 1) {
    List.First = List.Highlight + 1 - List.Rows;
  }

  Status = RunKeys(&List);
  SetAttribute(SavedAttribute);
  FreeTexts(&List);
  RestoreScreenRect(&Saved);
  return Status;
}
