#include "dialogs/message_box.h"

#include "core/browser_context.h"
#include "core/driver_state.h"
#include "core/hii_strings.h"
#include "data/builtin_strings.h"
#include "dialogs/browser_services.h"
#include "dialogs/dialog.h"
#include "screen/frames.h"
#include "screen/keys.h"
#include "screen/text_output.h"
#include "support/efi_globals.h"
#include "support/memory.h"
#include "support/string.h"

#include "support/poison.h"

namespace {

bool MessageBoxActive;

constexpr UINT32 SelectedButtonAttribute = 0x07;

struct MaskButton {
  UINT32 Mask;
  EFI_STRING_ID StringId;
};

constexpr MaskButton MaskButtons[] = {
    {MESSAGE_BUTTON_OK, STRING_OK},         {MESSAGE_BUTTON_YES, STRING_YES},
    {MESSAGE_BUTTON_NO, STRING_NO},         {MESSAGE_BUTTON_RETRY, STRING_RETRY},
    {MESSAGE_BUTTON_CANCEL, STRING_CANCEL},
};

UINT32 Span(UINT32 From, UINT32 To) {
  return To >= From ? To - From + 1 : 0;
}

bool IsAltX(const EFI_KEY_DATA &Key) {
  UINT32 Shift = Key.KeyState.KeyShiftState;
  return Key.Key.UnicodeChar == u'x' && (Shift == (EFI_SHIFT_STATE_VALID | EFI_LEFT_ALT_PRESSED) ||
                                         Shift == (EFI_SHIFT_STATE_VALID | EFI_RIGHT_ALT_PRESSED));
}

// Paints the wrapped text from line First; returns the lines shown and the number of the last
// line in Total.
UINT32 PaintText(MessageBoxRequest *Request, UINT16 TextWidth, UINT32 First, UINT32 *Total) {
  const ScreenRect &Inner = Request->Inner;
  UINT32 Shown = 0;
  UINT32 Row = Inner.Top;
  UINT32 Index = 0;
  UINTN Position = 0;
  CHAR16 *Line = nullptr;
  while (WrapLine(Request->Text, TextWidth, &Position, &Line) != 0) {
    if (Index >= First && Row <= Inner.Bottom) {
      UINT16 Width = DisplayWidth(Line);
      UINT32 Column = Request->LeftAligned != 0 ? Inner.Left + 1
                                                : (Inner.Right + 1 + Inner.Left > Width
                                                       ? (Inner.Right + 1 + Inner.Left - Width) >> 1
                                                       : Inner.Left);
      if (Column > Inner.Left) {
        ClearRect(Inner.Left, Column - 1, Row, Row, Request->Attribute);
      }
      SetAttribute(Request->Attribute);
      PrintAt(Column, Row, Line);
      ClearRect(Column + Width, Inner.Right - 1, Row, Row, Request->Attribute);
      Row++;
      Shown++;
    }
    FreePoolIfSet(Line);
    Line = nullptr;
    Index++;
  }
  *Total = Index > 0 ? Index - 1 : 0;
  DrawScrollBar(Request->Scrolling != 0, &Inner, Request->Attribute, First,
                First + Shown > 0 ? First - 1 + Shown : 0, *Total);
  return Shown;
}

// The column of a button's "[", from the inner left edge, as PaintButtons places it; negative
// when the button would start left of the text.
INT32 ButtonOffset(UINT32 Index, UINT32 Count, UINT32 TextWidth, UINT32 ButtonWidth) {
  return static_cast<INT32>(((Index + 1) * TextWidth) / (Count + 1)) -
         static_cast<INT32>(ButtonWidth >> 1);
}

// Whether the buttons of a box of BoxWidth (right column less left column) stand inside its
// frame, each clear of the next by a blank.
bool ButtonsFit(const MessageBoxRequest *Request, UINT32 BoxWidth) {
  UINT32 InnerWidth = BoxWidth - 1;
  UINT32 TextWidth = Request->LeftAligned != 0 ? InnerWidth - 1 : InnerWidth;
  INT32 FreeFrom = 0;
  for (UINT32 Index = 0; Index < Request->ButtonCount; Index++) {
    UINT32 Width = DisplayWidth(Request->Buttons[Index].Text);
    INT32 Column = ButtonOffset(Index, Request->ButtonCount, TextWidth, Width);
    INT32 Closing = Column + 1 + static_cast<INT32>(Width);
    if (Column < FreeFrom || Closing >= static_cast<INT32>(InnerWidth)) {
      return false;
    }
    FreeFrom = Closing + 2;
  }
  return true;
}

void PaintButtons(MessageBoxRequest *Request, UINT16 TextWidth, UINT32 Current) {
  const ScreenRect &Inner = Request->Inner;
  UINT32 Count = Request->ButtonCount;
  for (UINT32 Index = 0; Index < Count; Index++) {
    MessageBoxButton &Button = Request->Buttons[Index];
    Button.Width = DisplayWidth(Button.Text);
    INT32 Offset = ButtonOffset(Index, Count, TextWidth, Button.Width);
    UINT32 Column = Offset >= 0 || Inner.Left >= static_cast<UINT32>(-Offset)
                        ? static_cast<UINT32>(static_cast<INT32>(Inner.Left) + Offset)
                        : 0;
    UINT32 Row = Inner.Bottom + 2;
    SetAttribute(Button.Attribute);
    PutCharAt(Column, Row, u'[');
    Button.Column = static_cast<UINT16>(Column);
    Button.Row = static_cast<UINT16>(Row);
    SetAttribute(Index == Current ? SelectedButtonAttribute : Button.Attribute);
    PrintConstAt(Column + 1, Row, Button.Text != nullptr ? Button.Text : u"");
    SetAttribute(Button.Attribute);
    PutCharAt(Column + 1 + Button.Width, Row, u']');
  }
}

UINT32 MessageBoxLoop(MessageBoxRequest *Request) {
  if (Request->DefaultButton >= Request->ButtonCount) {
    Request->DefaultButton = 0;
  }
  UINT32 Current = Request->DefaultButton;
  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *ConOut = SystemTable->ConOut;
  BOOLEAN KeptCursor = ConOut->Mode->CursorVisible;
  INT32 KeptAttribute = ConOut->Mode->Attribute;
  ConOut->EnableCursor(ConOut, FALSE);

  const ScreenRect &Inner = Request->Inner;
  const ScreenRect &Outer = Request->Outer;
  if (Request->Title != nullptr) {
    CHAR16 *Title = StrDuplicate(Request->Title);
    if (Title != nullptr) {
      UINT16 Width = CutToWidth(Title, static_cast<UINT16>(Span(Inner.Left, Inner.Right)));
      UINT32 Column = Inner.Right + 1 + Inner.Left > Width
                          ? (Inner.Right + 1 + Inner.Left - Width) >> 1
                          : Inner.Left;
      SetAttribute(Request->Attribute);
      PrintAt(Column, Outer.Top + 1, Title);
      FreePoolIfSet(Title);
    }
  }
  DrawHorizontal(Outer.Left, Outer.Top + 2, Span(Outer.Left, Outer.Right), Request->Attribute,
                 BOXDRAW_HORIZONTAL, BOXDRAW_VERTICAL_RIGHT, BOXDRAW_VERTICAL_LEFT);
  DrawShadow(Outer.Left, Outer.Top, Span(Outer.Left, Outer.Right), Span(Outer.Top, Outer.Bottom),
             SHADOW_ATTRIBUTE);

  // The bar takes the last column when the text scrolls; left-aligned text starts a cell in,
  // so its lines are a cell narrower to stay clear of the frame.
  UINT32 Width = Span(Inner.Left, Inner.Right);
  if (Request->Scrolling && Width > 0) {
    Width--;
  }
  if (Request->LeftAligned != 0 && Width > 0) {
    Width--;
  }
  UINT16 TextWidth = static_cast<UINT16>(Width);
  UINT32 First = 0;
  UINT32 Total = 0;
  UINT32 Shown = 0;
  bool Repaint = true;
  UINT32 Result = MESSAGE_BOX_NO_CHOICE;
  for (;;) {
    if (Repaint) {
      Shown = PaintText(Request, TextWidth, First, &Total);
      Repaint = false;
    }
    PaintButtons(Request, TextWidth, Current);
    EFI_KEY_DATA Key;
    while (EFI_ERROR(ReadKey(&Key))) {
      BootServices->Stall(KEY_POLL_MICROSECONDS);
    }
    UINT32 Before = First;
    UINT32 LastFirst = Total + 1 > Shown ? Total - Shown + 1 : 0;
    bool HasButtons = Request->ButtonCount > 0;
    switch (Key.Key.ScanCode) {
    case SCAN_UP:
      if (Request->Scrolling && First != 0) {
        First--;
      }
      break;
    case SCAN_DOWN:
      if (Request->Scrolling && First < LastFirst) {
        First++;
      }
      break;
    case SCAN_LEFT:
      if (Request->ButtonCount > 1) {
        Current = Current == 0 ? Request->ButtonCount - 1 : Current - 1;
      }
      break;
    case SCAN_RIGHT:
      if (Request->ButtonCount > 1) {
        Current = Current + 1 == Request->ButtonCount ? 0 : Current + 1;
      }
      break;
    case SCAN_HOME:
      if (Request->Scrolling && First != 0) {
        First = 0;
      }
      break;
    case SCAN_END:
      if (Request->Scrolling) {
        First = LastFirst;
      }
      break;
    case SCAN_PAGE_UP:
      if (Request->Scrolling) {
        First = First >= Shown ? First - Shown : 0;
      }
      break;
    case SCAN_PAGE_DOWN:
      if (Request->Scrolling) {
        First = First + 2 * Shown < Total ? First + Shown : LastFirst;
      }
      break;
    case SCAN_ESC:
      if (HasButtons) {
        goto Done;
      }
      break;
    default:
      if (Key.Key.UnicodeChar == CHAR_CARRIAGE_RETURN && HasButtons) {
        Result = Current;
        goto Done;
      }
      if (IsAltX(Key) && HasButtons) {
        goto Done;
      }
      break;
    }
    Repaint = First != Before;
  }
Done:
  ConOut->SetAttribute(ConOut, static_cast<UINTN>(KeptAttribute));
  ConOut->EnableCursor(ConOut, KeptCursor);
  return Result;
}

// A box in a given rectangle keeps its size, so the rectangle must lie on the screen and hold
// the frame, the title with its rule, a row of text and, with buttons, their two rows: a smaller
// one would put the text rows before the first one and paint past the box.
bool RectHoldsBox(const UINT32 *Rect, const ScreenRect &Screen, UINT32 ButtonCount) {
  UINT32 Left = Rect[0];
  UINT32 Right = Rect[1];
  UINT32 Top = Rect[2];
  UINT32 Bottom = Rect[3];
  if (Left > Right || Top > Bottom || Left < Screen.Left || Right > Screen.Right ||
      Top < Screen.Top || Bottom > Screen.Bottom) {
    return false;
  }
  UINT32 Rows = ButtonCount > 0 ? 7 : 5;
  return Bottom - Top + 1 >= Rows && Right - Left + 1 >= 4;
}

} // namespace

void ResetDialogState() {
  MessageBoxActive = false;
  ZeroBytes(&BrowserServices.LastKey, sizeof(BrowserServices.LastKey));
  BrowserServices.NextQuestionId = 0;
  BrowserServices.NotifyCode = NOTIFY_CODE_NONE;
}

UINT16 CountWrappedLines(const CHAR16 *Text, UINT16 Width) {
  UINT16 Lines = 0;
  UINTN Position = 0;
  CHAR16 *Line = nullptr;
  while (WrapLine(Text, Width, &Position, &Line) != 0) {
    FreePoolIfSet(Line);
    Line = nullptr;
    if (Lines < 0xFFFF) {
      Lines++;
    }
  }
  return Lines;
}

UINT32 RunMessageBox(const UINT32 *Rect, MessageBoxRequest *Request) {
  if (MessageBoxActive) {
    return MESSAGE_BOX_NO_CHOICE;
  }
  const ScreenRect &Screen = Browser->ScreenDimensions;
  UINT32 W = Span(Screen.Left, Screen.Right);
  UINT32 H = Span(Screen.Top, Screen.Bottom);
  // A screen this small has no room for any box.
  if (W < 8 || H < 8) {
    return MESSAGE_BOX_NO_CHOICE;
  }
  if (Rect != nullptr && !RectHoldsBox(Rect, Screen, Request->ButtonCount)) {
    return MESSAGE_BOX_NO_CHOICE;
  }
  MessageBoxActive = true;
  for (UINT32 Index = 0; Index < Request->ButtonCount; Index++) {
    if (Request->Buttons[Index].Attribute == 0) {
      Request->Buttons[Index].Attribute = Request->Attribute;
    }
  }
  UINT32 Extra = Request->ButtonCount > 0 ? 5 : 3;
  if (Rect == nullptr) {
    UINT32 BoxWidth = 0;
    for (UINT32 Index = 0; Index < Request->ButtonCount; Index++) {
      BoxWidth += DisplayWidth(Request->Buttons[Index].Text);
    }
    UINT16 TitleWidth = DisplayWidth(Request->Title);
    BoxWidth = TitleWidth > BoxWidth ? TitleWidth : BoxWidth;
    CHAR16 *Copy = StrDuplicate(Request->Text != nullptr ? Request->Text : u"");
    if (Copy == nullptr) {
      MessageBoxActive = false;
      return MESSAGE_BOX_NO_CHOICE;
    }
    UINTN Position = 0;
    CHAR16 *Line = nullptr;
    while (WrapLine(Copy, static_cast<UINT16>(W - 2), &Position, &Line) != 0) {
      UINT16 LineWidth = DisplayWidth(Line);
      BoxWidth = LineWidth > BoxWidth ? LineWidth : BoxWidth;
      FreePoolIfSet(Line);
      Line = nullptr;
    }
    FreePoolIfSet(Copy);
    BoxWidth = BoxWidth + 3 > W ? W - 3 : BoxWidth + 2;
    // Sized to title and text alone, a box can put a button's bracket on its frame, or one
    // button over the next: it grows by just what its buttons need.
    while (BoxWidth + 3 <= W && !ButtonsFit(Request, BoxWidth)) {
      BoxWidth++;
    }
    UINT32 BoxHeight = CountWrappedLines(Request->Text, static_cast<UINT16>(BoxWidth)) + Extra;
    if (BoxHeight > H - 4) {
      BoxHeight = H - 4;
      Request->Scrolling = 1;
    }
    Request->Outer.Left = ((W - BoxWidth) >> 1) + Screen.Left;
    Request->Outer.Right = Request->Outer.Left + BoxWidth;
    Request->Outer.Top = ((H - BoxHeight) >> 1) + 1 + Screen.Top;
    Request->Outer.Bottom = Request->Outer.Top + BoxHeight;
  } else {
    Request->Outer = {Rect[0], Rect[1], Rect[2], Rect[3]};
    UINT32 RectWidth = Span(Rect[0], Rect[1]);
    UINT32 BoxHeight =
        CountWrappedLines(Request->Text, static_cast<UINT16>(RectWidth > 4 ? RectWidth - 4 : 1)) +
        Extra;
    // The box keeps its size; the text scrolls when it does not fit.
    if (BoxHeight > H - 4 || BoxHeight > Span(Rect[2], Rect[3])) {
      Request->Scrolling = 1;
    }
  }

  Browser->ModalActive = 1;
  // The box is drawn before its loop remembers the attribute; the caller's goes back here.
  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *ConOut = SystemTable->ConOut;
  INT32 KeptAttribute = ConOut->Mode->Attribute;
  const ScreenRect &Outer = Request->Outer;
  SaveScreenRecord Save = {};
  SaveScreenRect(&Save, static_cast<UINT16>(Outer.Left), static_cast<UINT16>(Outer.Top),
                 static_cast<UINT16>(Outer.Right - Outer.Left + 2),
                 static_cast<UINT16>(Outer.Bottom - Outer.Top + 2));
  ClearRect(Outer.Left, Outer.Right, Outer.Top, Outer.Bottom, Request->Attribute);
  DrawBox(Outer.Left, Outer.Right, Outer.Top, Outer.Bottom, Request->Attribute);
  Request->Inner = {Outer.Left + 1, Outer.Right - 1, Outer.Top + 1 + 2, Outer.Bottom - 1};
  if (Request->ButtonCount > 0) {
    Request->Inner.Bottom -= 2;
  }
  UINT32 Result = MessageBoxLoop(Request);
  RestoreScreenRect(&Save);
  ConOut->SetAttribute(ConOut, static_cast<UINTN>(KeptAttribute));
  Browser->ModalActive = 0;
  MessageBoxActive = false;
  return Result;
}

UINT32 ShowMessageBox(const CHAR16 *Title, const CHAR16 *Text, const UINT32 *Rect, UINT32 Attribute,
                      UINT32 LeftAligned, UINT32 ButtonCount, UINT32 DefaultButton,
                      const CHAR16 *const *ButtonTexts) {
  MessageBoxRequest Request = {};
  Request.Title = Title;
  Request.Text = Text != nullptr ? Text : u"";
  Request.Attribute = Attribute;
  Request.LeftAligned = LeftAligned;
  Request.DefaultButton = DefaultButton;
  if (ButtonCount > 0) {
    Request.Buttons =
        static_cast<MessageBoxButton *>(AllocateZeroedPool(ButtonCount * sizeof(MessageBoxButton)));
    if (Request.Buttons == nullptr) {
      return MESSAGE_BOX_NO_CHOICE;
    }
    for (UINT32 Index = 0; Index < ButtonCount; Index++) {
      Request.Buttons[Index].Text = ButtonTexts != nullptr ? ButtonTexts[Index] : nullptr;
    }
  }
  Request.ButtonCount = ButtonCount;
  UINT32 Result = RunMessageBox(Rect, &Request);
  FreePoolIfSet(Request.Buttons);
  return Result;
}

UINT32 ShowMessageBoxById(EFI_HII_HANDLE Handle, EFI_STRING_ID TitleId, EFI_STRING_ID TextId,
                          const UINT32 *Rect, UINT32 Attribute, UINT32 LeftAligned,
                          UINT32 ButtonCount, UINT32 DefaultButton, const UINT16 *ButtonIds) {
  CHAR16 **Buttons = nullptr;
  if (ButtonCount > 0) {
    Buttons = static_cast<CHAR16 **>(AllocateZeroedPool(ButtonCount * sizeof(CHAR16 *)));
    if (Buttons == nullptr) {
      return MESSAGE_BOX_NO_CHOICE;
    }
    for (UINT32 Index = 0; Index < ButtonCount; Index++) {
      Buttons[Index] = GetHiiString(ButtonIds[Index], Handle);
    }
  }
  CHAR16 *Title = GetHiiString(TitleId, Handle);
  CHAR16 *Text = GetHiiString(TextId, Handle);
  UINT32 Result = ShowMessageBox(Title, Text, Rect, Attribute, LeftAligned, ButtonCount,
                                 DefaultButton, Buttons);
  FreePoolIfSet(Title);
  FreePoolIfSet(Text);
  for (UINT32 Index = 0; Index < ButtonCount; Index++) {
    FreePoolIfSet(Buttons[Index]);
  }
  FreePoolIfSet(Buttons);
  return Result;
}

UINT32 EFIAPI ShowCustomMessageBox(const CHAR16 *Title, const CHAR16 *Text, const UINT32 *Rect,
                                   UINT32 Attribute, UINT32 ButtonCount, UINT32 DefaultButton,
                                   const CHAR16 **ButtonTexts) {
  return ShowMessageBox(Title, Text, Rect, Attribute, 0, ButtonCount, DefaultButton, ButtonTexts);
}

UINT32 EFIAPI ShowSimpleMessageBox(const CHAR16 *Title, UINT32 Type, UINT32 LineCount,
                                   const CHAR16 **Lines, UINT32 DefaultMask, UINT32 ButtonMask) {
  if (Lines == nullptr || (DefaultMask & ~ButtonMask) != 0) {
    return 0;
  }
  CHAR16 *ButtonTexts[5] = {};
  UINT32 ButtonBits[5] = {};
  UINT32 ButtonCount = 0;
  UINT32 DefaultButton = 0;
  for (const MaskButton &Candidate : MaskButtons) {
    if ((ButtonMask & Candidate.Mask) == 0) {
      continue;
    }
    if ((DefaultMask & Candidate.Mask) != 0) {
      DefaultButton = ButtonCount;
    }
    ButtonBits[ButtonCount] = Candidate.Mask;
    ButtonTexts[ButtonCount++] = GetHiiString(Candidate.StringId, Browser->HiiHandle);
  }

  UINTN Length = 0;
  for (UINT32 Index = 0; Index < LineCount; Index++) {
    Length += StrLength(Lines[Index]) + 2;
  }
  CHAR16 *Text = static_cast<CHAR16 *>(AllocateZeroedPool((Length + 1) * sizeof(CHAR16)));
  UINT32 Attribute =
      Type == MESSAGE_TYPE_WARNING ? 0xF4u : (Type == MESSAGE_TYPE_ERROR ? 0x74u : 0xF1u);
  EFI_STRING_ID TitleId = Type == MESSAGE_TYPE_WARNING
                              ? STRING_WARNING
                              : (Type == MESSAGE_TYPE_ERROR ? STRING_ERROR : STRING_NOTICE);
  CHAR16 *DefaultTitle = Title == nullptr ? GetHiiString(TitleId, Browser->HiiHandle) : nullptr;
  UINT32 Result = 0;
  if (Text != nullptr) {
    for (UINT32 Index = 0; Index < LineCount; Index++) {
      StrAppend(Text, Lines[Index] != nullptr ? Lines[Index] : u"");
      StrAppend(Text, u"\r\n");
    }
    UINT32 Chosen = ShowMessageBox(Title != nullptr ? Title : DefaultTitle, Text, nullptr,
                                   Attribute, 0, ButtonCount, DefaultButton, ButtonTexts);
    Result = Chosen < ButtonCount ? ButtonBits[Chosen] : 0;
  }
  FreePoolIfSet(Text);
  FreePoolIfSet(DefaultTitle);
  for (UINT32 Index = 0; Index < ButtonCount; Index++) {
    FreePoolIfSet(ButtonTexts[Index]);
  }
  return Result;
}

UINT32 EFIAPI ShowOkMessageBox(const CHAR16 *Title, UINT32 Type, UINT32 LineCount,
                               const CHAR16 **Lines) {
  return ShowSimpleMessageBox(Title, Type, LineCount, Lines, MESSAGE_BUTTON_OK, MESSAGE_BUTTON_OK);
}
