#include "screen/text_output.h"

#include "core/browser_context.h"
#include "support/efi_globals.h"
#include "support/memory.h"
#include "support/print.h"
#include "support/string.h"

#include "support/poison.h"

const EFI_GRAPHICS_OUTPUT_BLT_PIXEL ScreenColors[16] = {
    {0x00, 0x00, 0x00, 0}, {0x98, 0x00, 0x00, 0}, {0x00, 0x98, 0x00, 0}, {0x98, 0x98, 0x00, 0},
    {0x00, 0x00, 0x98, 0}, {0x98, 0x00, 0x98, 0}, {0x00, 0x98, 0x98, 0}, {0x98, 0x98, 0x98, 0},
    {0x30, 0x30, 0x30, 0}, {0xFF, 0x00, 0x00, 0}, {0x00, 0xFF, 0x00, 0}, {0xFF, 0xFF, 0x00, 0},
    {0x00, 0x00, 0xFF, 0}, {0xFF, 0x00, 0xFF, 0}, {0x00, 0xFF, 0xFF, 0}, {0xFF, 0xFF, 0xFF, 0},
};

namespace {

// The last line of the screen goes out with a carriage return behind it, so that printing its
// last cell does not scroll. The buffer takes the widest line any console mode has.
constexpr UINTN LastLineBufferLength = 1024;
CHAR16 LastLineBuffer[LastLineBufferLength + 2];

bool IsWidthControl(CHAR16 Character) {
  return Character == NARROW_CHAR || Character == WIDE_CHAR;
}

UINT16 CellsOf(CHAR16 Character) {
  if (IsWidthControl(Character)) {
    return 0;
  }
  return IsNarrow(Character) ? 1 : 2;
}

// The bound PrintAt holds text against: the console size found with the graphics output, or
// the console's own mode when there is none.
void ScreenSize(UINT32 *Columns, UINT32 *Rows) {
  if (Browser != nullptr && Browser->TextColumns != 0 && Browser->TextRows != 0) {
    *Columns = Browser->TextColumns;
    *Rows = Browser->TextRows;
    return;
  }
  UINTN ModeColumns = 0;
  UINTN ModeRows = 0;
  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *ConOut = SystemTable->ConOut;
  if (EFI_ERROR(ConOut->QueryMode(ConOut, ConOut->Mode->Mode, &ModeColumns, &ModeRows))) {
    ModeColumns = 80;
    ModeRows = 25;
  }
  *Columns = static_cast<UINT32>(ModeColumns);
  *Rows = static_cast<UINT32>(ModeRows);
}

bool SamePixelColour(const EFI_GRAPHICS_OUTPUT_BLT_PIXEL &A,
                     const EFI_GRAPHICS_OUTPUT_BLT_PIXEL &B) {
  return A.Blue == B.Blue && A.Green == B.Green && A.Red == B.Red;
}

// Moves a cell rectangle's pixels between the screen and Record->Buffer.
void TransferPixels(SaveScreenRecord *Record, bool ToScreen) {
  UINT32 X = 0;
  UINT32 Y = 0;
  UINT32 PixelWidth = 0;
  UINT32 PixelHeight = 0;
  if (Browser->GraphicsOutput == nullptr || !CellToPixel(Record->Column, Record->Row, &X, &Y) ||
      !CellsToPixels(Record->Width, Record->Height, &PixelWidth, &PixelHeight) || PixelWidth == 0 ||
      PixelHeight == 0) {
    return;
  }
  EFI_GRAPHICS_OUTPUT_PROTOCOL *Graphics = Browser->GraphicsOutput;
  if (ToScreen) {
    if (Record->Buffer != nullptr) {
      Graphics->Blt(Graphics, Record->Buffer, EfiBltBufferToVideo, 0, 0, X, Y, PixelWidth,
                    PixelHeight, 0);
    }
    return;
  }
  Record->Buffer = static_cast<EFI_GRAPHICS_OUTPUT_BLT_PIXEL *>(AllocatePoolOf(
      static_cast<UINTN>(PixelWidth) * PixelHeight * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL)));
  if (Record->Buffer == nullptr) {
    return;
  }
  if (EFI_ERROR(Graphics->Blt(Graphics, Record->Buffer, EfiBltVideoToBltBuffer, X, Y, 0, 0,
                              PixelWidth, PixelHeight, 0))) {
    // A rectangle partly off the screen is not saved rather than restored as garbage.
    FreePoolIfSet(Record->Buffer);
    Record->Buffer = nullptr;
  }
}

} // namespace

bool IsNarrow(CHAR16 Character) {
  return Character < 0x0250 || (Character >= 0x2190 && Character <= 0x21FF) ||
         (Character >= 0x2500 && Character <= 0x259F) ||
         (Character >= 0x25A0 && Character <= 0x25FF) ||
         (Character >= 0x2C60 && Character <= 0x2C7F) ||
         (Character >= 0xA720 && Character <= 0xA7FF);
}

UINT16 DisplayWidth(const CHAR16 *Text) {
  UINT32 Width = 0;
  if (Text != nullptr) {
    for (; *Text != 0; Text++) {
      Width += CellsOf(*Text);
    }
  }
  return static_cast<UINT16>(Width > 0xFFFF ? 0xFFFF : Width);
}

UINT16 CutToWidth(CHAR16 *Text, UINT16 Cells) {
  UINTN Length = StrLength(Text);
  UINT32 Width = DisplayWidth(Text);
  while (Width > Cells && Length > 0) {
    Length--;
    Width -= CellsOf(Text[Length]);
    Text[Length] = 0;
  }
  return static_cast<UINT16>(Width);
}

void FillCharacters(CHAR16 *Buffer, UINTN Count, CHAR16 Character) {
  for (UINTN Index = 0; Index < Count; Index++) {
    Buffer[Index] = Character;
  }
}

UINTN WrapLine(const CHAR16 *Text, UINT16 Width, UINTN *Position, CHAR16 **Line) {
  if (Text == nullptr || Position == nullptr || Line == nullptr || Width == 0 || Text[0] == 0) {
    return 0;
  }
  UINTN TextLength = StrLength(Text);
  if (*Position >= TextLength) {
    return 0;
  }
  CHAR16 *Copy =
      static_cast<CHAR16 *>(AllocateZeroedPool((static_cast<UINTN>(Width) + 1) * sizeof(CHAR16)));
  if (Copy == nullptr) {
    return 0;
  }
  UINTN Copied = 0;
  while (Copied < Width && Text[*Position + Copied] != 0) {
    Copy[Copied] = Text[*Position + Copied];
    Copied++;
  }
  bool Empty = false;
  for (UINTN Index = 0; Index < Copied; Index++) {
    if (Copy[Index] == CHAR_CARRIAGE_RETURN || Copy[Index] == CHAR_LINEFEED) {
      Copy[Index] = 0;
      Empty = Index == 0;
      break;
    }
  }
  UINT16 Cells = CutToWidth(Copy, Width);
  UINTN Count = StrLength(Copy) + (Empty ? 2 : 0);
  UINTN Next = *Position + Count;
  // A lone line feed at the very end must not carry the walk past the terminator.
  if (Next > TextLength) {
    Next = TextLength;
  }
  // A line that fills the width exactly and ends there, at the end of the text or of its line,
  // ended by itself: breaking it at a blank, or leaving its line break for an empty line of its
  // own, would add a line that is not in the text.
  bool EndsHere = Text[Next] == 0 || Text[Next] == CHAR_CARRIAGE_RETURN;
  if (Cells != Width || EndsHere) {
    if (Text[Next] == CHAR_CARRIAGE_RETURN) {
      Next++;
      if (Text[Next] == CHAR_LINEFEED) {
        Next++;
      }
    }
  } else if (Next > 0 && IsNarrow(Text[Next - 1]) && IsNarrow(Text[Next])) {
    // Break after the last blank or wide character, but never before the first character.
    UINTN Length = StrLength(Copy);
    for (UINTN Index = Length >= 2 ? Length - 2 : 0; Index >= 1 && Length >= 2; Index--) {
      if (Copy[Index] == u' ' || !IsNarrow(Copy[Index])) {
        Copy[Index + 1] = 0;
        Next = *Position + Index + 1;
        Count = Index + 1;
        break;
      }
    }
  }
  *Position = Next;
  *Line = Copy;
  return Count;
}

EFI_STATUS PadToWidth(CHAR16 **Line, UINT16 Width, const CHAR16 *Text) {
  UINTN Room = static_cast<UINTN>(Width) + 1;
  CHAR16 *Padded = static_cast<CHAR16 *>(AllocateZeroedPool(Room * sizeof(CHAR16)));
  if (Padded == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  FormatText(Padded, Room * sizeof(CHAR16), u"%s", Text);
  UINT16 Cells = DisplayWidth(Padded);
  UINTN Length = StrLength(Padded);
  while (Cells < Width && Length + 1 < Room) {
    Padded[Length++] = u' ';
    Cells++;
  }
  Padded[Length] = 0;
  *Line = Padded;
  return EFI_SUCCESS;
}

void SetAttribute(UINTN Attribute) {
  SystemTable->ConOut->SetAttribute(SystemTable->ConOut, Attribute);
}

void PrintAt(UINT32 Column, UINT32 Row, CHAR16 *Text) {
  if (Text == nullptr) {
    return;
  }
  UINT32 Columns = 0;
  UINT32 Rows = 0;
  ScreenSize(&Columns, &Rows);
  // The console refuses a cursor below its last row and would print at the old cursor.
  if (Row >= Rows) {
    return;
  }
  UINT32 Width = DisplayWidth(Text);
  if (Column + Width > Columns) {
    Width = CutToWidth(Text, static_cast<UINT16>(Column < Columns ? Columns - Column : 0));
  }
  UINTN Length = StrLength(Text);
  if (Length == 0) {
    return;
  }
  const CHAR16 *Output = Text;
  if (Row + 1 == Rows && Column + Width == Columns && Length <= LastLineBufferLength) {
    CopyBytes(LastLineBuffer, Text, Length * sizeof(CHAR16));
    LastLineBuffer[Length] = CHAR_CARRIAGE_RETURN;
    LastLineBuffer[Length + 1] = 0;
    Output = LastLineBuffer;
  }
  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *ConOut = SystemTable->ConOut;
  ConOut->SetCursorPosition(ConOut, Column, Row);
  ConOut->OutputString(ConOut, Output);
}

void PrintConstAt(UINT32 Column, UINT32 Row, const CHAR16 *Text) {
  CHAR16 *Copy = StrDuplicate(Text);
  if (Copy != nullptr) {
    PrintAt(Column, Row, Copy);
    FreePoolIfSet(Copy);
  }
}

void PutCharAt(UINT32 Column, UINT32 Row, CHAR16 Character) {
  CHAR16 Text[2] = {Character, 0};
  PrintAt(Column, Row, Text);
}

void ClearRect(UINT32 Left, UINT32 Right, UINT32 Top, UINT32 Bottom, UINTN Attribute) {
  if (Right >= 1000000 || Left > Right) {
    return;
  }
  UINTN Length = static_cast<UINTN>(Right) - Left + 1;
  CHAR16 *Blanks = static_cast<CHAR16 *>(AllocatePoolOf((Length + 1) * sizeof(CHAR16)));
  if (Blanks == nullptr) {
    return;
  }
  FillCharacters(Blanks, Length, u' ');
  Blanks[Length] = 0;
  SetAttribute(Attribute);
  for (UINT32 Row = Top; Row <= Bottom; Row++) {
    PrintAt(Left, Row, Blanks);
  }
  FreePoolIfSet(Blanks);
}

bool CellsToPixels(UINT32 Width, UINT32 Height, UINT32 *PixelWidth, UINT32 *PixelHeight) {
  if (Width >= Browser->GraphicsWidth || Height >= Browser->GraphicsHeight ||
      Browser->TextColumns == 0 || Browser->TextRows == 0) {
    return false;
  }
  *PixelWidth = (Browser->GraphicsWidth / Browser->TextColumns) * Width;
  *PixelHeight = (Browser->GraphicsHeight / Browser->TextRows) * Height;
  return true;
}

bool CellToPixel(UINT32 Column, UINT32 Row, UINT32 *X, UINT32 *Y) {
  if (Column >= Browser->TextColumns || Row >= Browser->TextRows) {
    return false;
  }
  UINT16 MarginX =
      static_cast<UINT16>((Browser->GraphicsWidth - Browser->TextColumns * CELL_PIXEL_WIDTH) >> 1);
  UINT16 MarginY =
      static_cast<UINT16>((Browser->GraphicsHeight - Browser->TextRows * CELL_PIXEL_HEIGHT) >> 1);
  *X = (Browser->GraphicsWidth / Browser->TextColumns) * Column + MarginX;
  *Y = (Browser->GraphicsHeight / Browser->TextRows) * Row + MarginY;
  return true;
}

void SaveScreenRect(SaveScreenRecord *Record, UINT16 Column, UINT16 Row, UINT16 Width,
                    UINT16 Height) {
  if (Record == nullptr || Record->Buffer != nullptr) {
    return;
  }
  const ScreenRect &Screen = Browser->ScreenDimensions;
  UINT32 ScreenWidth = Screen.Right - Screen.Left + 1;
  UINT32 ScreenHeight = Screen.Bottom - Screen.Top + 1;
  Record->Column = Column;
  Record->Row = Row;
  Record->Width = static_cast<UINT16>(
      Column >= ScreenWidth ? 0 : (Width < ScreenWidth - Column ? Width : ScreenWidth - Column));
  Record->Height = static_cast<UINT16>(
      Row >= ScreenHeight ? 0 : (Height < ScreenHeight - Row ? Height : ScreenHeight - Row));
  TransferPixels(Record, false);
}

void RestoreScreenRect(SaveScreenRecord *Record) {
  if (Record == nullptr) {
    return;
  }
  TransferPixels(Record, true);
  FreePoolIfSet(Record->Buffer);
  Record->Buffer = nullptr;
}

void RecolorCells(UINT32 Left, UINT32 Right, UINT32 Top, UINT32 Bottom, UINTN Attribute) {
  if (Right <= Left || Bottom <= Top) {
    return;
  }
  SaveScreenRecord Record = {};
  Record.Column = static_cast<UINT16>(Left);
  Record.Row = static_cast<UINT16>(Top);
  Record.Width = static_cast<UINT16>(Right - Left);
  Record.Height = static_cast<UINT16>(Bottom - Top);
  TransferPixels(&Record, false);
  if (Record.Buffer == nullptr) {
    return;
  }
  UINT32 PixelWidth = 0;
  UINT32 PixelHeight = 0;
  CellsToPixels(Record.Width, Record.Height, &PixelWidth, &PixelHeight);
  UINT32 CellWidth = Browser->GraphicsWidth / Browser->TextColumns;
  UINT32 CellHeight = Browser->GraphicsHeight / Browser->TextRows;
  const EFI_GRAPHICS_OUTPUT_BLT_PIXEL &Ground = ScreenColors[(Attribute & 0x7F) >> 4];
  const EFI_GRAPHICS_OUTPUT_BLT_PIXEL &Ink = ScreenColors[8];
  for (UINT32 CellRow = 0; CellRow < Record.Height; CellRow++) {
    for (UINT32 Cell = 0; Cell < Record.Width; Cell++) {
      // The first pixel of each cell is the background of what stands there. The first pixel of
      // the cell row would not do: a cell of another ground would turn to a block of ink.
      EFI_GRAPHICS_OUTPUT_BLT_PIXEL Background =
          Record.Buffer[static_cast<UINTN>(CellRow * CellHeight) * PixelWidth + Cell * CellWidth];
      for (UINT32 Y = 0; Y < CellHeight; Y++) {
        for (UINT32 X = 0; X < CellWidth; X++) {
          EFI_GRAPHICS_OUTPUT_BLT_PIXEL &Pixel =
              Record.Buffer[static_cast<UINTN>(CellRow * CellHeight + Y) * PixelWidth +
                            Cell * CellWidth + X];
          Pixel = SamePixelColour(Pixel, Background) ? Ground : Ink;
        }
      }
    }
  }
  TransferPixels(&Record, true);
  FreePoolIfSet(Record.Buffer);
}

void DrawShadow(UINT32 Left, UINT32 Top, UINT32 Width, UINT32 Height, UINTN Attribute) {
  RecolorCells(Left + Width, Left + Width + 1, Top + 1, Top + Height + 1, Attribute);
  RecolorCells(Left + 1, Left + Width, Top + Height, Top + Height + 1, Attribute);
}
