#include "screen/movement.h"

#include "screen/display_form.h"
#include "screen/layout.h"
#include "screen/text_output.h"
#include "storage/question_value.h"
#include "support/efi_globals.h"
#include "support/memory.h"

#include "support/poison.h"

namespace {

struct RefreshEntry {
  RefreshEntry *Next;
  MenuLine *Option;
  UiSelection *Selection;
};

RefreshEntry *RefreshList;
// The seconds of the last refresh; no real time has 60, so the first tick always refreshes.
UINT8 LastSecond;

ListLink *OptionHead() {
  return &Browser->OptionList;
}

MenuLine *FirstOption() {
  return ListIsEmpty(OptionHead()) ? nullptr : MenuLineFromLink(ListFirst(OptionHead()));
}

MenuLine *LastOption() {
  return ListIsEmpty(OptionHead()) ? nullptr : MenuLineFromLink(OptionHead()->Back);
}

bool IsLastOption(const MenuLine *Option) {
  return ListIsLast(OptionHead(), &Option->Link);
}

bool InOptionList(const MenuLine *Option) {
  LIST_FOR_EACH(Link, OptionHead()) {
    if (MenuLineFromLink(Link) == Option) {
      return true;
    }
  }
  return false;
}

UINT16 TopRow() {
  return Browser->TopOption != nullptr ? Browser->TopOption->Row : 0;
}

MenuLine *MakeCurrent(UiSelection *Selection, MenuLine *Option) {
  SetCurrentOption(Selection, Option);
  return Option;
}

// The record of the statement with that field number.
MenuLine *FieldOf(const Statement *Question, UINT32 Field) {
  LIST_FOR_EACH(Link, OptionHead()) {
    MenuLine *Candidate = MenuLineFromLink(Link);
    if (Candidate->Statement == Question && Candidate->Field == Field) {
      return Candidate;
    }
  }
  return nullptr;
}

bool IsDateOrTime(const Statement *Question) {
  return Question != nullptr &&
         (Question->Opcode == EFI_IFR_DATE_OP || Question->Opcode == EFI_IFR_TIME_OP);
}

MenuLine *MoveUp(UiSelection *Selection, MenuLine *Option) {
  MenuLine *Target = Option;
  if (Option != FirstOption()) {
    LIST_FOR_EACH(Link, OptionHead()) {
      MenuLine *Candidate = MenuLineFromLink(Link);
      if (Candidate->Statement == Selection->Statement) {
        break;
      }
      if (IsSelectable(Candidate) && Candidate->Field == 0) {
        Target = Candidate;
      }
    }
  }
  if (Target == Option) {
    // Nothing selectable above: bring the top lines into view, though they cannot be chosen.
    MenuLine *First = FirstOption();
    if (First != nullptr && !IsWithinPage(First, Browser->BottomOption)) {
      ScrollOptions(true, static_cast<UINT16>(TopRow() - First->Row));
    }
    MenuLine *InView = FirstSelectableInView();
    return InView != nullptr ? MakeCurrent(Selection, InView) : Option;
  }
  // Within a page of the bottom option counts from its first row; a bottom option of several
  // rows can put a target above the top within that page, and the page must scroll to it.
  if (Target->Row >= TopRow() && IsWithinPage(Target, Browser->BottomOption)) {
    PaintMenuOption(Selection, Option, false, 0);
    return MakeCurrent(Selection, Target);
  }
  ScrollOptions(true, static_cast<UINT16>(TopRow() - Target->Row));
  return MakeCurrent(Selection, Target);
}

MenuLine *MoveDown(UiSelection *Selection, MenuLine *Option) {
  if (IsLastOption(Option)) {
    return Option;
  }
  for (ListLink *Link = ListNext(OptionHead(), &Option->Link); !ListIsHead(OptionHead(), Link);
       Link = ListNext(OptionHead(), Link)) {
    MenuLine *Target = MenuLineFromLink(Link);
    if (Target->Statement == Selection->Statement || !IsSelectable(Target)) {
      continue;
    }
    if (IsWithinPage(Browser->TopOption, Target)) {
      PaintMenuOption(Selection, Option, false, 0);
      return MakeCurrent(Selection, Target);
    }
    ScrollOptions(false, static_cast<UINT16>(Target->Row - Option->Row));
    return MakeCurrent(Selection, Target);
  }
  if (Browser->BottomOption == LastOption()) {
    return Option;
  }
  ScrollOptions(false, Browser->TopOption != nullptr ? Browser->TopOption->Skip : 1);
  if (IsWithinPage(Browser->TopOption, Option)) {
    return Option;
  }
  return MakeCurrent(Selection, nullptr);
}

VOID EFIAPI OnRefreshTimer(EFI_EVENT Event, VOID *Context) {
  EFI_TIME Now = {};
  if (EFI_ERROR(RuntimeServices->GetTime(&Now, nullptr))) {
    return;
  }
  if (Now.Second != LastSecond) {
    LastSecond = Now.Second;
    RefreshQuestions();
  }
}

} // namespace

void ResetMovementState() {
  RefreshList = nullptr;
  LastSecond = 60;
}

UINT16 PageHeight() {
  const ScreenRect &Client = Browser->BodyArea.Client;
  return static_cast<UINT16>(Client.Bottom - Client.Top + 1);
}

void SetCurrentOption(UiSelection *Selection, MenuLine *Option) {
  Selection->MenuOption = Option;
  Selection->Statement = Option != nullptr ? Option->Statement : nullptr;
}

bool IsWithinPage(const MenuLine *A, const MenuLine *B) {
  if (A == nullptr || B == nullptr || A->Row > B->Row) {
    return false;
  }
  return B->Row - A->Row < PageHeight();
}

MenuLine *FirstSelectableInView() {
  UINT16 Top = TopRow();
  LIST_FOR_EACH(Link, OptionHead()) {
    MenuLine *Candidate = MenuLineFromLink(Link);
    if (IsSelectable(Candidate) && Candidate->Row >= Top) {
      return Candidate;
    }
  }
  return nullptr;
}

MenuLine *LastSelectableFromTop() {
  UINT16 Top = TopRow();
  MenuLine *Found = nullptr;
  LIST_FOR_EACH(Link, OptionHead()) {
    MenuLine *Candidate = MenuLineFromLink(Link);
    if (Candidate->Field == 0 && Candidate->Row >= Top && IsSelectable(Candidate)) {
      Found = Candidate;
    }
  }
  return Found;
}

MenuLine *FindOptionByQuestion(EFI_QUESTION_ID QuestionId) {
  if (QuestionId == 0) {
    return nullptr;
  }
  LIST_FOR_EACH(Link, OptionHead()) {
    MenuLine *Candidate = MenuLineFromLink(Link);
    if (Candidate->Statement->QuestionId == QuestionId) {
      return Candidate;
    }
  }
  return nullptr;
}

MenuLine *FindOptionAtRow(UINT16 Row) {
  LIST_FOR_EACH(Link, OptionHead()) {
    MenuLine *Candidate = MenuLineFromLink(Link);
    if (Candidate->Row >= Row) {
      return Candidate;
    }
  }
  return nullptr;
}

MenuLine *RestoreTopOption(UiSelection *Selection) {
  UINT16 Row = Selection->TopRow;
  UINT16 Page = PageHeight();
  if (static_cast<INT32>(Browser->OptionRows) - Row < Page) {
    // On a form that fits the page this lies beyond every row, and no option is found.
    Row = static_cast<UINT16>(Browser->OptionRows - Page - 1);
  }
  Selection->TopRow = 0;
  return FindOptionAtRow(Row);
}

bool ScrollOptions(bool Up, UINT16 Rows) {
  UINT16 First = TopRow();
  UINT16 Total = Browser->OptionRows;
  UINT16 Page = PageHeight();
  if (Total != 0 && Total < Page) {
    return false;
  }
  if (!Up) {
    First = static_cast<UINT16>(First + Rows);
    if (First >= Total && Page <= Total) {
      First = static_cast<UINT16>(Total - Page);
    }
  } else {
    First = First > Rows ? static_cast<UINT16>(First - Rows) : 0;
  }
  UINT16 Last = static_cast<UINT16>(Page + First);
  if (Last > Total && Page <= Total) {
    Last = Total;
    First = static_cast<UINT16>(Total - Page);
  }
  MenuLine *NewTop = FindOptionAtRow(First);
  if (NewTop == nullptr || NewTop == Browser->TopOption) {
    return false;
  }
  Browser->TopOption = NewTop;
  MenuLine *NewBottom = FindOptionAtRow(Last);
  Browser->BottomOption = NewBottom != nullptr ? NewBottom : LastOption();
  return true;
}

MenuLine *MoveSelection(UiSelection *Selection, MenuLine *Option, UINT32 Code) {
  if (Code == MOVE_TO_QUESTION) {
    MenuLine *Old = Option;
    MenuLine *OldTop = Browser->TopOption;
    if (Selection->QuestionId != 0) {
      MenuLine *Wanted = FindOptionByQuestion(Selection->QuestionId);
      Selection->QuestionId = 0;
      if (Wanted != nullptr && IsSelectable(Wanted)) {
        SetCurrentOption(Selection, Wanted);
        Option = Wanted;
      }
    }
    MenuLine *Top = RestoreTopOption(Selection);
    if (Top != nullptr) {
      Browser->TopOption = Top;
      if (Option != nullptr) {
        if (Option->Row < Top->Row) {
          ScrollOptions(true, static_cast<UINT16>(Top->Row - Option->Row));
        } else if (!IsWithinPage(Top, Option)) {
          ScrollOptions(false, static_cast<UINT16>((Option->Row - Top->Row) - PageHeight() + 1));
        }
      }
    }
    if (!Browser->RepaintPending) {
      // The highlight is painted once the page stands where it will stay: a page that moved is
      // repainted whole by the loop, or the old page would stay on screen under a new highlight.
      if (Browser->TopOption != OldTop) {
        Browser->RepaintPending = 1;
      } else {
        if (Old != nullptr && Old != Option) {
          PaintMenuOption(Selection, Old, false, 0);
        }
        if (Option != nullptr) {
          PaintMenuOption(Selection, Option, true, 0);
        }
      }
    }
    return Option;
  }

  if (Option != nullptr && !InOptionList(Option)) {
    return nullptr;
  }
  UINT16 Page = PageHeight();
  switch (Code) {
  case MOVE_UP:
    if (Option != nullptr) {
      return MoveUp(Selection, Option);
    }
    ScrollOptions(true, 1);
    if (MenuLine *InView = FirstSelectableInView()) {
      return MakeCurrent(Selection, InView);
    }
    return nullptr;
  case MOVE_DOWN:
    if (Option != nullptr) {
      return MoveDown(Selection, Option);
    }
    ScrollOptions(false, 1);
    return nullptr;
  case MOVE_PAGE_UP: {
    ScrollOptions(true, Page);
    MenuLine *InView = FirstSelectableInView();
    if (Option != nullptr || InView != nullptr) {
      return MakeCurrent(Selection, InView);
    }
    return nullptr;
  }
  case MOVE_PAGE_DOWN: {
    bool Moved = ScrollOptions(false, Page);
    if (Option == nullptr) {
      return nullptr;
    }
    return MakeCurrent(Selection, Moved ? FirstSelectableInView() : LastSelectableFromTop());
  }
  case MOVE_HOME: {
    ScrollOptions(true, TopRow());
    MenuLine *InView = FirstSelectableInView();
    if (Option != nullptr || InView != nullptr) {
      return MakeCurrent(Selection, InView);
    }
    return nullptr;
  }
  case MOVE_END:
    ScrollOptions(false, Browser->OptionRows);
    if (Option == nullptr) {
      return nullptr;
    }
    return MakeCurrent(Selection, LastSelectableFromTop());
  case MOVE_NEXT_FIELD:
  case MOVE_PREVIOUS_FIELD: {
    Statement *Current = Selection->Statement;
    if (Current == nullptr) {
      return Option;
    }
    if (!IsDateOrTime(Current) || Option == nullptr) {
      return Option;
    }
    UINT32 Field = (Option->Field + (Code == MOVE_NEXT_FIELD ? 1 : 2)) % 3;
    MenuLine *Target = FieldOf(Current, Field);
    return Target != nullptr ? MakeCurrent(Selection, Target) : Option;
  }
  default:
    return MakeCurrent(Selection, Option);
  }
}

MenuLine *PaintOptions(UiSelection *Selection, MenuLine *Option, UINT32 Code) {
  if (Code == MOVE_FULL_REPAINT) {
    FreeRefreshList();
    Browser->BottomOption = nullptr;
  }
  const ScreenRect &Client = Browser->BodyArea.Client;
  UINTN Background = Browser->BodyArea.Row->Attribute[0];
  UINT16 Style = Selection->Form->FormStyle;
  if (Style == 0 || Style == 2) {
    ClearRect(Client.Left, Client.Right, Client.Top - 1, Client.Top - 1, Background);
    ClearRect(Client.Left, Client.Right, Client.Bottom + 1, Client.Bottom + 1, Background);
  }
  if (ListIsEmpty(OptionHead())) {
    return nullptr;
  }
  if (Browser->TopOption == nullptr) {
    Browser->TopOption = FirstOption();
  }
  UINT16 Page = PageHeight();
  UINT32 Rows = 0;
  ListLink *Link = &Browser->TopOption->Link;
  for (; !ListIsHead(OptionHead(), Link); Link = ListNext(OptionHead(), Link)) {
    MenuLine *Line = MenuLineFromLink(Link);
    if (Option == nullptr && IsSelectable(Line)) {
      Option = MakeCurrent(Selection, Line);
    }
    PaintMenuOption(Selection, Line, Line == Selection->MenuOption, Code);
    if (Code == MOVE_FULL_REPAINT) {
      AddRefreshEntry(Selection, Line);
    }
    bool DateOrTime = IsDateOrTime(Line->Statement);
    if (!DateOrTime || Line->Field == 2) {
      Rows += Line->Skip;
    }
    if (Rows >= Page) {
      Browser->BottomOption = Line;
      Link = ListNext(OptionHead(), Link);
      break;
    }
    if (IsLastOption(Line)) {
      Browser->BottomOption = Line;
      ClearRect(Client.Left, Client.Right, Client.Top + Rows, Client.Bottom, Background);
    }
  }
  if (Code == MOVE_FULL_REPAINT) {
    // Questions out of view stay on the refresh list; the refresh skips them by row.
    for (; !ListIsHead(OptionHead(), Link); Link = ListNext(OptionHead(), Link)) {
      AddRefreshEntry(Selection, MenuLineFromLink(Link));
    }
  }
  UpdateScrollBar(Selection);
  return Option;
}

void AddRefreshEntry(UiSelection *Selection, MenuLine *Option) {
  if (Option->Statement->RefreshInterval == 0) {
    return;
  }
  RefreshEntry *Entry = static_cast<RefreshEntry *>(AllocateZeroedPool(sizeof(RefreshEntry)));
  if (Entry == nullptr) {
    return;
  }
  Entry->Option = Option;
  Entry->Selection = Selection;
  EFI_TPL Old = BootServices->RaiseTPL(TPL_NOTIFY);
  RefreshEntry **Tail = &RefreshList;
  while (*Tail != nullptr) {
    Tail = &(*Tail)->Next;
  }
  *Tail = Entry;
  BootServices->RestoreTPL(Old);
}

void FreeRefreshList() {
  EFI_TPL Old = BootServices->RaiseTPL(TPL_NOTIFY);
  RefreshEntry *Entry = RefreshList;
  RefreshList = nullptr;
  BootServices->RestoreTPL(Old);
  while (Entry != nullptr) {
    RefreshEntry *Next = Entry->Next;
    FreePoolIfSet(Entry);
    Entry = Next;
  }
}

EFI_STATUS StartRefreshTimer() {
  if (Browser->RefreshTimerActive) {
    return EFI_SUCCESS;
  }
  if (RefreshList == nullptr) {
    return EFI_NOT_FOUND;
  }
  EFI_STATUS Status = BootServices->CreateEvent(EVT_TIMER | EVT_NOTIFY_SIGNAL, TPL_CALLBACK,
                                                OnRefreshTimer, nullptr, &Browser->RefreshTimer);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  Status = BootServices->SetTimer(Browser->RefreshTimer, TimerPeriodic, REFRESH_TIMER_PERIOD);
  Browser->RefreshTimerActive = 1;
  return Status;
}

EFI_STATUS StopRefreshTimer() {
  if (!Browser->RefreshTimerActive) {
    return EFI_SUCCESS;
  }
  BootServices->SetTimer(Browser->RefreshTimer, TimerCancel, 0);
  BootServices->CloseEvent(Browser->RefreshTimer);
  Browser->RefreshTimer = nullptr;
  Browser->RefreshTimerActive = 0;
  return EFI_SUCCESS;
}

void RefreshQuestions() {
  if (Browser->ModalActive || RefreshList == nullptr || Browser->TopOption == nullptr ||
      Browser->BottomOption == nullptr) {
    return;
  }
  // The main path may stand between placing the cursor and printing; put both back.
  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *ConOut = SystemTable->ConOut;
  INT32 Column = ConOut->Mode->CursorColumn;
  INT32 Row = ConOut->Mode->CursorRow;
  INT32 Attribute = ConOut->Mode->Attribute;
  UINT16 First = Browser->TopOption->Row;
  UINT16 Last = Browser->BottomOption->Row;
  for (RefreshEntry *Entry = RefreshList; Entry != nullptr; Entry = Entry->Next) {
    MenuLine *Option = Entry->Option;
    if (Option->Row < First || Option->Row > Last) {
      continue;
    }
    UiSelection *Selection = Entry->Selection;
    Statement *Question = Option->Statement;
    if (EFI_ERROR(ReadQuestionValue(Selection->FormSet, Selection->Form, Question))) {
      break;
    }
    // Only the highlighted line is left to its editor: the other fields of a date or time
    // keep ticking.
    if (Selection->MenuOption == Option &&
        (Question->QuestionFlags & EFI_IFR_FLAG_READ_ONLY) == 0) {
      continue;
    }
    if (Option->ValueRow >= First && Option->ValueRow <= Last) {
      PaintMenuOption(Selection, Option, false, 0);
    }
  }
  ConOut->SetAttribute(ConOut, static_cast<UINTN>(Attribute));
  if (Column >= 0 && Row >= 0) {
    ConOut->SetCursorPosition(ConOut, static_cast<UINTN>(Column), static_cast<UINTN>(Row));
  }
}
