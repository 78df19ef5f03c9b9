#include "data/builtin_strings.h"
#include "screen/display_form.h"
#include "screen/frames.h"
#include "screen/keys.h"
#include "screen/layout.h"
#include "screen/menu_option.h"
#include "screen/text_output.h"
#include "support/memory.h"
#include "support/print.h"
#include "support/string.h"

#include "support/poison.h"

namespace {

// A left edge plus (room - used) / 2, kept inside the room when the text is wider.
UINT32 Centered(UINT32 Left, UINT32 Room, UINT32 Used) {
  return Used >= Room ? Left : Left + ((Room - Used) >> 1);
}

struct FooterColumn {
  EFI_STRING_ID First;
  EFI_STRING_ID Second;
  bool IsKey;
};

constexpr FooterColumn FooterColumns[] = {
    {STRING_KEY_F1, STRING_KEY_ESC, true},
    {STRING_KEY_F1_TEXT, STRING_KEY_ESC_TEXT, false},
    {STRING_KEY_UP_DOWN, STRING_KEY_LEFT_RIGHT, true},
    {STRING_KEY_UP_DOWN_TEXT, STRING_KEY_LEFT_RIGHT_TEXT, false},
    {STRING_KEY_PLUS_MINUS, STRING_KEY_ENTER, true},
    {STRING_KEY_CHANGE_TEXT, STRING_KEY_ENTER_TEXT, false},
    {STRING_KEY_F9, STRING_KEY_F10, true},
    {STRING_KEY_F9_TEXT, STRING_KEY_F10_TEXT, false},
};
constexpr UINTN FooterColumnCount = sizeof(FooterColumns) / sizeof(FooterColumns[0]);

UINT16 WiderOf(const FooterColumn &Column) {
  UINT16 First = DisplayWidth(DisplayString(Column.First));
  UINT16 Second = DisplayWidth(DisplayString(Column.Second));
  return First > Second ? First : Second;
}

void PrintCut(UINT32 Column, UINT32 Row, const CHAR16 *Text, UINT32 Cells) {
  CHAR16 *Copy = StrDuplicate(Text);
  if (Copy == nullptr) {
    return;
  }
  CutToWidth(Copy, static_cast<UINT16>(Cells > 0xFFFF ? 0xFFFF : Cells));
  PrintAt(Column, Row, Copy);
  FreePoolIfSet(Copy);
}

} // namespace

EFI_STATUS PaintTitle(UiSelection *Selection, UINT32 Repaint) {
  ScreenArea &Area = Browser->TitleArea;
  if (Area.Row == nullptr || Browser->TitleAlignment > 2) {
    return EFI_UNSUPPORTED;
  }
  if (Repaint == PAINT_CHANGED) {
    return EFI_SUCCESS;
  }
  const LayoutRow *Row = Area.Row;
  UINT16 TextWidth = DisplayWidth(Browser->TitleText);
  if (Row->WidthKind == SIZE_FIT) {
    Area.Frame.Right = TextWidth + Area.Frame.Left;
  }
  if (Row->HeightKind == SIZE_FIT) {
    Area.Frame.Bottom = CountLines(Browser->TitleText) + Area.Frame.Top;
  }
  ClearRect(Area.Frame.Left, Area.Frame.Right, Area.Frame.Top, Area.Frame.Bottom,
            Row->Attribute[0]);
  ApplyFrame(Row->Flags, &Area.Frame, &Area.Client);
  DrawFrame(Row, &Area.Frame);
  UINT32 ClientWidth = Area.Client.Right - Area.Client.Left + 1;
  UINT32 Column;
  switch (Browser->TitleAlignment) {
  case 0:
    Column = Centered(Area.Client.Left, ClientWidth, TextWidth);
    break;
  case 1:
    Column = Area.Client.Left;
    break;
  default:
    Column = TextWidth > Area.Client.Right ? 0 : Area.Client.Right - TextWidth;
    break;
  }
  SetAttribute(Row->Attribute[0]);
  PrintCut(Column, Area.Client.Top, Browser->TitleText, 0xFFFF);
  return EFI_SUCCESS;
}

EFI_STATUS PaintMenuBar(UiSelection *Selection, UINT32 Repaint) {
  ScreenArea &Area = Browser->MenuBarArea;
  if (Area.Row == nullptr) {
    return EFI_UNSUPPORTED;
  }
  const LayoutRow *Row = Area.Row;
  if (Repaint == PAINT_ALL) {
    ClearRect(Area.Frame.Left, Area.Frame.Right, Area.Frame.Top, Area.Frame.Bottom,
              Row->Attribute[0]);
  }
  ApplyFrame(Row->Flags, &Area.Frame, &Area.Client);
  DrawFrame(Row, &Area.Frame);
  if (ListIsEmpty(&Browser->MenuBarList)) {
    return EFI_SUCCESS;
  }
  UINT32 ClientWidth = Area.Client.Right - Area.Client.Left + 1;
  bool TopForm = IsTopForm();

  // Used: the tab widths up to and including the current tab; Hidden: those of them that lie
  // before the first visible tab.
  UINT32 Used = 0;
  UINT32 Hidden = 0;
  MenuBarEntry *Current = nullptr;
  UINT32 Step = 0;
  LIST_FOR_EACH(Link, &Browser->MenuBarList) {
    MenuBarEntry *Entry = MenuBarEntryFromLink(Link);
    UINT32 TabStep = DisplayWidth(Entry->Title) + 5;
    Used += TabStep;
    if (Entry->Index < Browser->MenuBarFirstVisible) {
      Hidden += TabStep;
    }
    if (Step++ == Browser->MenuBarCurrent) {
      Current = Entry;
      break;
    }
  }
  // Tabs are printed from five cells into the client and stop at the client width, so the
  // rescroll starts as soon as the tabs up to the current one would not all be printed.
  UINT32 FirstColumn = Area.Client.Left + 5;
  if (Current != nullptr && Current->Index < Browser->MenuBarFirstVisible) {
    Browser->MenuBarFirstVisible = Current->Index;
  } else if (FirstColumn + Used - Hidden > ClientWidth) {
    // The first tab from which the tabs up to the current one fit, so the highlight always
    // stands on a painted tab.
    UINT32 Before = 0;
    LIST_FOR_EACH(Link, &Browser->MenuBarList) {
      MenuBarEntry *Entry = MenuBarEntryFromLink(Link);
      if (FirstColumn + Used - Before <= ClientWidth || Entry == Current) {
        Browser->MenuBarFirstVisible = Entry->Index;
        break;
      }
      Before += DisplayWidth(Entry->Title) + 5;
    }
  }

  // Tabs leave two cells of gap unpainted and may have scrolled since the last paint, which
  // need not have cleared the bar: the row is blanked before the tabs go on it.
  ClearRect(Area.Client.Left, Area.Client.Right, Area.Client.Top, Area.Client.Top,
            Row->Attribute[0]);
  if (Browser->MenuBarFirstVisible != 0 && TopForm) {
    PutCharAt(Area.Client.Left, Area.Client.Top, u'<');
  }
  UINT32 Column = FirstColumn;
  bool More = false;
  LIST_FOR_EACH(Link, &Browser->MenuBarList) {
    MenuBarEntry *Entry = MenuBarEntryFromLink(Link);
    if (Entry->Index < Browser->MenuBarFirstVisible) {
      continue;
    }
    UINT32 TabStep = DisplayWidth(Entry->Title) + 5;
    if (Column + TabStep > ClientWidth) {
      More = true;
      break;
    }
    UINTN Attribute =
        Entry == Current ? Row->Attribute[2] : (TopForm ? Row->Attribute[0] : Row->Attribute[1]);
    CHAR16 Scratch[100];
    FormatText(Scratch, sizeof(Scratch), u" %s  ", Entry->Title);
    SetAttribute(Attribute);
    PrintAt(Column - 1, Area.Client.Top, Scratch);
    Entry->Column = static_cast<UINT16>(Column - 1);
    Entry->Row = static_cast<UINT16>(Area.Client.Top);
    Entry->Width = static_cast<UINT16>(TabStep);
    Column += TabStep;
  }
  if (More && TopForm) {
    // The tab printed last may be the current one, in its own colour.
    SetAttribute(Row->Attribute[0]);
    PutCharAt(Area.Client.Right - 2, Area.Client.Top, u'>');
  }
  return EFI_SUCCESS;
}

EFI_STATUS PaintFooter(UiSelection *Selection, UINT32 Repaint) {
  ScreenArea &Area = Browser->FooterArea;
  if (Area.Row == nullptr) {
    return EFI_UNSUPPORTED;
  }
  if (Repaint == PAINT_CHANGED) {
    return EFI_SUCCESS;
  }
  const LayoutRow *Row = Area.Row;
  const ScreenRect &Frame = Area.Frame;
  ClearRect(Frame.Left, Frame.Right, Frame.Top, Frame.Bottom, Row->Attribute[3]);

  UINT32 KeyGap = 2;
  UINT32 TextGap = 2;
  UINT32 Lead = 3;
  UINT32 Need = Frame.Left + 3;
  for (UINTN Index = 0; Index < FooterColumnCount; Index++) {
    Need += WiderOf(FooterColumns[Index]) + (Index + 1 < FooterColumnCount ? 2 : 0);
  }
  if (Need > Frame.Right) {
    UINT32 Over = Need - Frame.Right;
    KeyGap = 1;
    if (Over >= 5) {
      TextGap = 1;
    }
    if (Over > 7) {
      Lead = 1;
    }
  }

  UINT32 Column = Frame.Left + Lead;
  for (UINTN Index = 0; Index < FooterColumnCount; Index++) {
    const FooterColumn &Hint = FooterColumns[Index];
    SetAttribute(Hint.IsKey ? Row->Attribute[0] : Row->Attribute[3]);
    bool Last = Index + 1 == FooterColumnCount;
    UINT32 Cells = Last ? (Frame.Right > Column ? Frame.Right - Column : 0) : 0xFFFF;
    if (DisplayString(Hint.First) != nullptr) {
      PrintCut(Column, Frame.Top, DisplayString(Hint.First), Cells);
    }
    if (DisplayString(Hint.Second) != nullptr) {
      PrintCut(Column, Frame.Top + 1, DisplayString(Hint.Second), Cells);
    }
    Column += WiderOf(Hint) + (Hint.IsKey ? KeyGap : TextGap);
  }
  return EFI_SUCCESS;
}
