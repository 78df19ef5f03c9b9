#include "dialogs/dialog.h"

#include "core/hii_strings.h"
#include "data/builtin_strings.h"
#include "screen/frames.h"
#include "screen/keys.h"
#include "support/efi_globals.h"
#include "support/memory.h"
#include "support/print.h"
#include "support/string.h"

#include "support/poison.h"

namespace {

// Upper bound on the lines of one dialog; more would not fit any screen.
constexpr UINT32 MaximumDialogLines = 64;

struct DialogBox {
  UINT32 Left;
  UINT32 End;
  UINT32 Top;
  UINT32 Bottom;
  UINT32 Width;
};

DialogBox PlaceDialog(UINT32 Width, UINT32 LineCount) {
  const ScreenRect &Screen = Browser->ScreenDimensions;
  if (Screen.Right < Width + 2) {
    Width = Screen.Right >= 2 ? Screen.Right - 2 : 0;
  }
  DialogBox Box;
  Box.Width = Width;
  UINT32 Across = Screen.Right - Screen.Left;
  Box.Left = (Across > Width + 1 ? (Across - Width - 1) >> 1 : 0) + Screen.Left;
  Box.End = Box.Left + Width + 2;
  UINT32 Down = Screen.Bottom - Screen.Top;
  Box.Top = (Down > LineCount + 1 ? (Down - LineCount - 1) >> 1 : 0) + Screen.Top;
  Box.Bottom = Box.Top + LineCount + 2;
  return Box;
}

bool IsInputLine(const CHAR16 *Line) {
  return Line != nullptr && Line[0] == u' ' && Line[1] == 0;
}

const CHAR16 *EmptyLine() {
  const CHAR16 *Empty = DisplayString(STRING_EMPTY);
  return Empty != nullptr ? Empty : u"";
}

void PaintInputRow(const DialogBox &Box, UINT32 InputRow, const CHAR16 *Typed) {
  // The text is always masked. The mask grows past the box as the text does, and only its last
  // characters show once the text is wider than the screen; it never runs off the screen.
  UINT32 Blanks = Box.Width >= 1 ? Box.Width - 1 : 0;
  UINT32 TypedWidth = DisplayWidth(Typed);
  UINT32 Right = Browser->ScreenDimensions.Right;
  UINTN First = (Right >= 2 && TypedWidth > Right - 2) ? TypedWidth - Right + 2 : 0;
  UINTN Length = StrLength(Typed);
  UINTN Stars = Length > First ? Length - First : 0;
  UINTN Room = Right > Box.Left ? Right - Box.Left : 0;
  if (Stars > Room) {
    Stars = Room;
  }
  CHAR16 *Row = static_cast<CHAR16 *>(
      AllocatePoolOf(((Stars > Blanks ? Stars : Blanks) + 1) * sizeof(CHAR16)));
  if (Row == nullptr) {
    return;
  }
  SetAttribute(DIALOG_ATTRIBUTE);
  FillCharacters(Row, Blanks, u' ');
  Row[Blanks] = 0;
  PrintAt(Box.Left + 1, InputRow, Row);
  FillCharacters(Row, Stars, u'*');
  Row[Stars] = 0;
  PrintAt(Box.Left + 1, InputRow, Row);
  FreePoolIfSet(Row);
}

} // namespace

void DrawDialog(UINT32 Width, UINT32 LineCount, const CHAR16 *const *Lines,
                SaveScreenRecord *Save) {
  DialogBox Box = PlaceDialog(Width, LineCount);
  if (Save != nullptr) {
    SaveScreenRect(Save, static_cast<UINT16>(Box.Left), static_cast<UINT16>(Box.Top),
                   static_cast<UINT16>(Box.End - Box.Left + 1),
                   static_cast<UINT16>(Box.Bottom - Box.Top + 1));
  }
  UINT32 FrameWidth = Box.End - Box.Left;
  DrawHorizontal(Box.Left, Box.Top, FrameWidth, DIALOG_ATTRIBUTE, BOXDRAW_HORIZONTAL,
                 BOXDRAW_DOWN_RIGHT, BOXDRAW_DOWN_LEFT);
  UINT32 Row = Box.Top + 1;
  for (UINT32 Index = 0; Index < LineCount && Row < Box.Bottom - 1; Index++, Row++) {
    const CHAR16 *Line = Lines[Index] != nullptr ? Lines[Index] : u"";
    UINT16 LineWidth = DisplayWidth(Line);
    if (LineWidth > 1) {
      ClearRect(Box.Left, Box.End - 1, Row, Row, DIALOG_ATTRIBUTE);
    } else if (IsInputLine(Line)) {
      ClearRect(Box.Left + 1, Box.End - 1, Row, Row, DIALOG_INPUT_ATTRIBUTE);
    } else if (Line[0] == 0) {
      ClearRect(Box.Left, Box.End - 1, Row, Row, DIALOG_ATTRIBUTE);
    }
    if (LineWidth > 1) {
      UINT32 Span = Box.End - Box.Left + 1;
      UINT32 Column = (Span > LineWidth ? (Span - LineWidth) >> 1 : 0) + Box.Left;
      SetAttribute(DIALOG_ATTRIBUTE);
      PrintConstAt(Column, Row, Line);
    }
    SetAttribute(DIALOG_ATTRIBUTE);
    PutCharAt(Box.Left, Row, BOXDRAW_VERTICAL);
    PutCharAt(Box.End - 1, Row, BOXDRAW_VERTICAL);
  }
  DrawHorizontal(Box.Left, Box.Bottom - 1, FrameWidth, DIALOG_ATTRIBUTE, BOXDRAW_HORIZONTAL,
                 BOXDRAW_UP_RIGHT, BOXDRAW_UP_LEFT);
  DrawShadow(Box.Left, Box.Top, Box.End - Box.Left, Box.Bottom - Box.Top, SHADOW_ATTRIBUTE);
}

EFI_STATUS ShowDialogLines(UINT32 LineCount, BOOLEAN KeyMode, UINT32 MaximumLength, CHAR16 *Text,
                           EFI_INPUT_KEY *Key, const CHAR16 *const *Lines) {
  if ((KeyMode && Key == nullptr) || (!KeyMode && Text == nullptr) ||
      LineCount > MaximumDialogLines) {
    return EFI_INVALID_PARAMETER;
  }
  // Lines and frame must all stand on the screen: cut off, a box would lose its frame, and an
  // input line below the screen would take text no one sees.
  const ScreenRect &Screen = Browser->ScreenDimensions;
  if (LineCount + 2 > Screen.Bottom - Screen.Top + 1) {
    return EFI_INVALID_PARAMETER;
  }
  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *ConOut = SystemTable->ConOut;
  INT32 KeptAttribute = ConOut->Mode->Attribute;
  BOOLEAN KeptCursor = ConOut->Mode->CursorVisible;
  if (Text != nullptr) {
    ZeroBytes(Text, (static_cast<UINTN>(MaximumLength) + 1) * sizeof(CHAR16));
  }
  ConOut->EnableCursor(ConOut, FALSE);

  UINT32 Width = 0;
  UINT32 InputIndex = 0;
  for (UINT32 Index = 0; Index < LineCount; Index++) {
    UINT16 LineWidth = DisplayWidth(Lines[Index]);
    Width = LineWidth > Width ? LineWidth : Width;
    if (Lines[Index] != nullptr && Lines[Index][0] == u' ') {
      InputIndex = Index;
    }
  }

  Browser->ModalActive = 1;
  SaveScreenRecord Save = {};
  DrawDialog(Width, LineCount, Lines, &Save);
  DialogBox Box = PlaceDialog(Width, LineCount);

  EFI_STATUS Status = EFI_SUCCESS;
  EFI_KEY_DATA Read;
  if (KeyMode) {
    WaitForKey(&Read);
    *Key = Read.Key;
  } else {
    // The mask can grow past the box to the screen's edge: the rest of its row is saved too,
    // so that closing the box leaves nothing of it behind.
    UINT32 InputRow = Box.Top + 1 + InputIndex;
    UINT32 ScreenRight = Browser->ScreenDimensions.Right;
    SaveScreenRecord Beyond = {};
    if (Box.End + 1 <= ScreenRight) {
      SaveScreenRect(&Beyond, static_cast<UINT16>(Box.End + 1), static_cast<UINT16>(InputRow),
                     static_cast<UINT16>(ScreenRight - Box.End), 1);
    }
    UINTN Length = 0;
    for (;;) {
      WaitForKey(&Read);
      CHAR16 Character = Read.Key.UnicodeChar;
      if (Character == CHAR_NULL) {
        if (Read.Key.ScanCode == SCAN_ESC) {
          Status = EFI_DEVICE_ERROR;
          break;
        }
        continue;
      }
      if (Character == CHAR_CARRIAGE_RETURN) {
        break;
      }
      if (Character == CHAR_BACKSPACE) {
        if (Length > 0) {
          Text[--Length] = 0;
        }
      } else if (DisplayWidth(Text) < MaximumLength && Length < MaximumLength) {
        // A full text ignores the key without a beep; control characters are taken too.
        Text[Length++] = Character;
        Text[Length] = 0;
      }
      PaintInputRow(Box, InputRow, Text);
    }
    RestoreScreenRect(&Beyond);
  }

  ConOut->SetAttribute(ConOut, static_cast<UINTN>(KeptAttribute));
  ConOut->EnableCursor(ConOut, KeptCursor);
  RestoreScreenRect(&Save);
  Browser->ModalActive = 0;
  return Status;
}

EFI_STATUS EFIAPI ShowDialog(UINT32 LineCount, BOOLEAN KeyMode, UINT32 MaximumLength, CHAR16 *Text,
                             EFI_INPUT_KEY *Key, ...) {
  if (LineCount > MaximumDialogLines) {
    return EFI_INVALID_PARAMETER;
  }
  const CHAR16 *Lines[MaximumDialogLines];
  va_list Arguments;
  va_start(Arguments, Key);
  for (UINT32 Index = 0; Index < LineCount; Index++) {
    Lines[Index] = va_arg(Arguments, const CHAR16 *);
  }
  va_end(Arguments);
  return ShowDialogLines(LineCount, KeyMode, MaximumLength, Text, Key, Lines);
}

void ShowNoticeUntilEnter(const CHAR16 *Line1, const CHAR16 *Line2) {
  const CHAR16 *PressEnter = DisplayString(STRING_PRESS_ENTER);
  const CHAR16 *Lines[] = {
      EmptyLine(), Line1,       EmptyLine(),
      Line2,       EmptyLine(), PressEnter != nullptr ? PressEnter : u"Press ENTER to continue",
      EmptyLine()};
  EFI_INPUT_KEY Key;
  do {
    Key.UnicodeChar = 0;
    if (EFI_ERROR(ShowDialogLines(7, TRUE, 0, nullptr, &Key, Lines))) {
      return;
    }
  } while (Key.UnicodeChar != CHAR_CARRIAGE_RETURN);
}

void ReportFormError(FormSet *Set, Form *Shown, const CHAR16 *Message, EFI_STATUS Status) {
  if (Set == nullptr || Message == nullptr) {
    return;
  }
  UINTN SecondSize = 2 * StrLength(Message) + 256;
  CHAR16 *First = static_cast<CHAR16 *>(AllocateZeroedPool(1024));
  CHAR16 *Second = static_cast<CHAR16 *>(AllocateZeroedPool(SecondSize));
  CHAR16 *SetTitle = GetHiiString(Set->FormSetTitle, Set->HiiHandle);
  CHAR16 *FormTitle = Shown != nullptr ? GetHiiString(Shown->FormTitle, Set->HiiHandle) : nullptr;
  bool Readable = SetTitle != nullptr && (Shown == nullptr || FormTitle != nullptr);
  if (First != nullptr && Second != nullptr && Readable) {
    if (Shown != nullptr) {
      FormatText(First, 1024, u"%s FormSet, %s Form", SetTitle, FormTitle);
    } else {
      FormatText(First, 1024, u"%s FormSet", SetTitle);
    }
    if (Status == EFI_SUCCESS) {
      FormatText(Second, SecondSize, u"%s", Message);
    } else {
      FormatText(Second, SecondSize, u"%s. Status: 0x%x.", Message, StatusCode32(Status));
    }
    ShowNoticeUntilEnter(First, Second);
    ShowNoticeUntilEnter(First, Second);
  }
  FreePoolIfSet(SetTitle);
  FreePoolIfSet(FormTitle);
  FreePoolIfSet(First);
  FreePoolIfSet(Second);
}
