#include "screen/display_form.h"

#include "core/driver_state.h"
#include "core/hii_strings.h"
#include "data/builtin_strings.h"
#include "screen/frames.h"
#include "screen/keys.h"
#include "screen/layout.h"
#include "screen/menu_loop.h"
#include "screen/menu_option.h"
#include "screen/movement.h"
#include "screen/text_output.h"
#include "support/memory.h"
#include "support/string.h"

#include "support/poison.h"

namespace {

// The help title last printed, compared by pointer: the title is printed on every second paint
// of a form body.
const CHAR16 *LastHelpTitle;

UINT32 Height(const ScreenRect &Rect) {
  return Rect.Bottom - Rect.Top + 1;
}
UINT32 Width(const ScreenRect &Rect) {
  return Rect.Right - Rect.Left + 1;
}
INT32 AtMostZero(INT32 Value) {
  return Value < 0 ? Value : 0;
}

bool HasMargin(const Form *Shown) {
  return Shown->FormStyle == 0 || Shown->FormStyle == 2;
}

// Fits the body to the form and builds its options. Returns whether body and help share a
// frame.
bool FitBody(UiSelection *Selection) {
  const ScreenRect &Screen = Browser->ScreenDimensions;
  ScreenArea &Body = Browser->BodyArea;
  const LayoutRow *Row = Body.Row;
  UINT32 FullWidth = Screen.Right - Screen.Left + 1;
  UINT32 FullHeight = Screen.Bottom - Screen.Top + 1;

  if (Row->WidthKind == SIZE_FIT) {
    UINT16 Wanted = static_cast<UINT16>(Screen.Right - Screen.Left - 8);
    MeasureFormWidth(Selection->Handle, Selection->Form, &Wanted);
    UINT32 W = Wanted + 9u;
    if (W > FullWidth) {
      W = FullWidth;
    }
    if (Row->HorizontalAnchor == ANCHOR_CENTER) {
      Body.Frame.Left = Screen.Left + ((FullWidth - W) >> 1) - AtMostZero(Row->HorizontalOffset);
    }
    Body.Frame.Right = Body.Frame.Left + W;
  }
  ApplyFrame(Row->Flags, &Body.Frame, &Body.Client);
  if (!IsTopForm()) {
    // Room for the form's title and its rule.
    Body.Client.Top += 2;
  }
  if (HasMargin(Selection->Form)) {
    Body.Client.Top += 1;
    Body.Client.Bottom -= 1;
  }
  ScreenArea &Help = Browser->HelpArea;
  if (Help.Row != nullptr) {
    ApplyFrame(Help.Row->Flags, &Help.Frame, &Help.Client);
  }
  Browser->BodyWidth = static_cast<UINT16>(Body.Client.Right - Body.Client.Left - 6);
  Browser->PromptWidthLimit = static_cast<UINT16>((Browser->BodyWidth * 3) >> 2);
  Browser->OptionRows = BuildMenuOptions(Selection);

  UINT32 ClientHeight = Height(Body.Client);
  if (Row->HeightKind == SIZE_FIT && Browser->OptionRows != ClientHeight) {
    UINT32 TopPad = Body.Client.Top - Body.Frame.Top;
    UINT32 BottomPad = Body.Frame.Bottom - Body.Client.Bottom;
    UINT32 Rows = Browser->OptionRows;
    if (Rows + TopPad + BottomPad > FullHeight) {
      Rows = FullHeight > TopPad + BottomPad ? FullHeight - TopPad - BottomPad : 0;
    }
    if (Row->VerticalAnchor == ANCHOR_CENTER) {
      INT32 Offset = AtMostZero(Row->VerticalOffset);
      if (Rows > ClientHeight) {
        UINT32 Grow = Rows - ClientHeight;
        UINT32 FrameHeight = Height(Body.Frame);
        if (FrameHeight + Grow > FullHeight) {
          Grow = FullHeight > FrameHeight ? FullHeight - FrameHeight : 0;
        }
        UINT32 Half = (Grow >> 1) + (Grow & 1);
        if (static_cast<INT64>(Body.Frame.Top) - Half + Offset < static_cast<INT64>(Screen.Top)) {
          Body.Client.Top -= Body.Frame.Top - Screen.Top;
          Body.Frame.Top = Screen.Top;
        } else {
          Body.Frame.Top = Body.Frame.Top - Half + Offset;
          Body.Client.Top = Body.Client.Top - Half + Offset;
        }
      } else {
        UINT32 Spare = ClientHeight - Rows;
        UINT32 Half = (Spare >> 1) + (Spare & 1);
        Body.Frame.Top = Body.Frame.Top + Half + Offset;
        Body.Client.Top = Body.Client.Top + Half + Offset;
      }
    }
    Body.Client.Bottom = Body.Client.Top - 1 + Rows;
    Body.Frame.Bottom = Body.Client.Bottom + BottomPad;
  }

  if (Help.Row != nullptr && Help.Frame.Left <= Body.Frame.Right) {
    Help.Frame.Left = Body.Frame.Right;
    return true;
  }
  return false;
}

void DrawJoinedFrames() {
  const ScreenArea &Body = Browser->BodyArea;
  const ScreenArea &Help = Browser->HelpArea;
  if ((Body.Row->Flags & LAYOUT_FLAG_BOX) == 0) {
    return;
  }
  UINTN Attribute = Body.Row->Attribute[9];
  DrawBox(Body.Frame.Left, Help.Frame.Right, Body.Frame.Top, Body.Frame.Bottom, Attribute);
  DrawVertical(Body.Frame.Right, Body.Frame.Top, Height(Body.Frame), Attribute, BOXDRAW_VERTICAL,
               BOXDRAW_DOWN_HORIZONTAL, BOXDRAW_UP_HORIZONTAL);
  DrawHorizontal(Help.Frame.Left, Help.Frame.Top + 2, Width(Help.Frame), Attribute,
                 BOXDRAW_HORIZONTAL, BOXDRAW_VERTICAL_RIGHT, BOXDRAW_VERTICAL_LEFT);
}

// The title is printed on every second paint, and always when the help area was just cleared:
// a paint that skipped it then would leave the help without its title until the next one.
EFI_STATUS PaintHelpTitle(UINTN Attribute, bool AreaCleared) {
  const ScreenArea &Help = Browser->HelpArea;
  const CHAR16 *Title = DisplayString(STRING_HELP_TITLE);
  if (LastHelpTitle == Title && !AreaCleared) {
    LastHelpTitle = nullptr;
    return EFI_SUCCESS;
  }
  LastHelpTitle = Title;
  UINT32 ClientWidth = Width(Help.Client);
  CHAR16 *Text = StrDuplicate(Title != nullptr ? Title : u"");
  // Sized by characters: the cut text may hold characters of no width besides its cells.
  CHAR16 *Line = Text != nullptr ? static_cast<CHAR16 *>(AllocateZeroedPool(
                                       (ClientWidth + StrLength(Text) + 1) * sizeof(CHAR16)))
                                 : nullptr;
  if (Line == nullptr || Text == nullptr) {
    FreePoolIfSet(Line);
    FreePoolIfSet(Text);
    return EFI_OUT_OF_RESOURCES;
  }
  UINT16 TextWidth = CutToWidth(Text, static_cast<UINT16>(ClientWidth));
  UINT32 Pad = (ClientWidth - TextWidth) >> 1;
  UINT32 Length = 0;
  FillCharacters(Line, Pad, u' ');
  Length = Pad;
  for (UINTN Index = 0; Text[Index] != 0; Index++) {
    Line[Length++] = Text[Index];
  }
  for (UINT32 Cells = Pad + TextWidth; Cells < ClientWidth; Cells++) {
    Line[Length++] = u' ';
  }
  Line[Length] = 0;
  SetAttribute(Attribute);
  PrintAt(Help.Client.Left, Help.Client.Top, Line);
  FreePoolIfSet(Line);
  FreePoolIfSet(Text);
  return EFI_SUCCESS;
}

} // namespace

void ResetScreenState() {
  LastHelpTitle = nullptr;
  ResetMovementState();
  ResetMenuLoopState();
}

bool IsTopForm() {
  return Browser->SendFormDepth == 1 && ListIsEmpty(&Browser->SelectionStack);
}

EFI_STATUS DisplayForm(UiSelection *Selection) {
  const ScreenLayout *Previous = Browser->Layout;
  const ScreenLayout *Layout = FindLayoutForForm(Selection->Form);
  if (Layout == nullptr) {
    return EFI_UNSUPPORTED;
  }
  ComputeAreas(Layout);
  Browser->Layout = Layout;
  UINT32 Repaint =
      Layout != Previous || StyleRefusesDefaults(Selection->Form) ? PAINT_ALL : PAINT_CHANGED;
  PaintTitle(Selection, Repaint);
  PaintMenuBar(Selection, Repaint);
  PaintFooter(Selection, Repaint);
  return PaintFormBody(Selection, Repaint);
}

EFI_STATUS PaintFormBody(UiSelection *Selection, UINT32 Repaint) {
  ScreenArea &Body = Browser->BodyArea;
  if (Body.Row == nullptr) {
    // No form can be shown and no key read: success would have the form loop paint again at
    // once, for ever, so the failure goes up to SendForm as for a form without a layout.
    return EFI_UNSUPPORTED;
  }
  bool Joined = FitBody(Selection);
  if (EFI_ERROR(MenuOptionsBuildStatus())) {
    FreeMenuOptions();
    return MenuOptionsBuildStatus();
  }
  UINT32 Margin = HasMargin(Selection->Form) ? 1 : 0;
  UINTN FrameAttribute = Body.Row->Attribute[9];
  UINT32 Framed = (Body.Row->Flags & LAYOUT_FLAG_BOX) != 0 ? 1 : 0;
  ScreenArea &Help = Browser->HelpArea;
  bool TopForm = IsTopForm();

  if (Help.Row != nullptr && Repaint != PAINT_CHANGED) {
    ClearRect(Help.Frame.Left + ((Framed != 0 || Joined) ? 1 : 0), Help.Frame.Right - Framed,
              Help.Frame.Top + Framed, Help.Frame.Bottom - Framed, Help.Row->Attribute[0]);
  }
  CHAR16 Junction;
  if (Help.Row != nullptr) {
    Junction = TopForm ? BOXDRAW_VERTICAL_RIGHT : BOXDRAW_VERTICAL_HORIZONTAL;
  } else {
    Junction = TopForm ? BOXDRAW_VERTICAL : BOXDRAW_VERTICAL_LEFT;
  }
  if (Repaint == PAINT_ALL) {
    if (Joined) {
      DrawJoinedFrames();
    } else {
      DrawFrame(Body.Row, &Body.Frame);
      if (Help.Row != nullptr) {
        DrawFrame(Help.Row, &Help.Frame);
      }
    }
  }
  if (Help.Row != nullptr) {
    EFI_STATUS Status = PaintHelpTitle(FrameAttribute, Repaint != PAINT_CHANGED);
    if (EFI_ERROR(Status)) {
      FreeMenuOptions();
      return Status;
    }
  } else {
    LastHelpTitle = nullptr;
  }

  if (!TopForm) {
    UINT32 TitleRow = Body.Client.Top - Margin - 2;
    ClearRect(Body.Client.Left, Body.Client.Right, TitleRow, TitleRow + 1, Body.Row->Attribute[0]);
    const CHAR16 *Title = Selection->Form->FormTitleText;
    if (Title != nullptr) {
      UINT32 ClientWidth = Width(Body.Client);
      UINT16 TitleWidth = DisplayWidth(Title);
      UINT32 Column =
          Body.Client.Left + (TitleWidth < ClientWidth ? (ClientWidth - TitleWidth) >> 1 : 0);
      SetAttribute(FrameAttribute);
      PrintConstAt(Column, TitleRow, Title);
    }
    DrawHorizontal(Body.Frame.Left, TitleRow + 1, Width(Body.Frame), FrameAttribute,
                   BOXDRAW_HORIZONTAL, BOXDRAW_VERTICAL_RIGHT, Junction);
  } else if (Repaint == PAINT_CHANGED) {
    // The row that carried a sub-form's rule; these two cells put the frame back. A sub-form's
    // rule stands two rows below the frame's top border whatever the margin, so it is the
    // client's top row only for styles with a margin; without one it is the row below.
    UINT32 RuleRow = Body.Client.Top + 1 - Margin;
    SetAttribute(FrameAttribute);
    PutCharAt(Body.Frame.Left, RuleRow, BOXDRAW_VERTICAL);
    PutCharAt(Body.Frame.Right, RuleRow, Junction);
  }

  EFI_STATUS Status = RunMenuLoop(Selection);
  FreeRefreshList();
  FreeMenuOptions();
  return Status;
}

EFI_STATUS PaintHelp(UiSelection *Selection) {
  const ScreenArea &Help = Browser->HelpArea;
  Statement *Question = Selection->Statement;
  if (Help.Row == nullptr || Question == nullptr) {
    return EFI_UNSUPPORTED;
  }
  UINTN Attribute = Help.Row->Attribute[3];
  UINT32 Left = Help.Client.Left + 1;
  UINT32 Top = Help.Client.Top + 3;
  UINT32 Bottom = Help.Client.Bottom;
  UINT16 BoxWidth = static_cast<UINT16>(Help.Client.Right - Help.Client.Left);
  if (Question->Help == 0) {
    ClearRect(Left, Help.Client.Right, Top, Bottom, Attribute);
    return EFI_SUCCESS;
  }
  CHAR16 *Text = GetHiiString(Question->Help, Selection->Handle);
  if (Text == nullptr) {
    return EFI_NOT_FOUND;
  }
  UINT32 Row = Top;
  UINTN Position = 0;
  CHAR16 *Line = nullptr;
  while (Row <= Bottom && WrapLine(Text, BoxWidth, &Position, &Line) != 0) {
    CHAR16 *Padded = nullptr;
    if (!EFI_ERROR(PadToWidth(&Padded, BoxWidth, Line))) {
      SetAttribute(Attribute);
      PrintAt(Left, Row, Padded);
      FreePoolIfSet(Padded);
    }
    FreePoolIfSet(Line);
    Line = nullptr;
    Row++;
  }
  FreePoolIfSet(Text);
  if (Row <= Bottom) {
    ClearRect(Left, Help.Client.Right, Row, Bottom, Attribute);
  }
  return EFI_SUCCESS;
}

void UpdateScrollBar(UiSelection *Selection) {
  MenuLine *Top = Browser->TopOption;
  MenuLine *Bottom = Browser->BottomOption;
  if (Top == nullptr || Bottom == nullptr || Browser->BodyArea.Row == nullptr) {
    return;
  }
  UINT32 First = Top->Row;
  UINT32 Last = Bottom->Row + Bottom->Skip - 1u;
  UINT32 Total = Browser->OptionRows;
  bool IsFirst = &Top->Link == ListFirst(&Browser->OptionList);
  Browser->ScrollBarShown = (Last + 1 < Total || !IsFirst) ? 1 : 0;
  DrawScrollBar(Browser->ScrollBarShown != 0, &Browser->BodyArea.Client,
                Browser->BodyArea.Row->Attribute[3], First, Last, Total);
}
