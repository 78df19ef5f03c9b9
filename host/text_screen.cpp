#include "host/text_screen.h"

#include <cstdio>

#include "host/utf8.h"
#include "host/wide_chars.h"

namespace morvane::host {

namespace {
constexpr UINT8 DEFAULT_ATTRIBUTE = EFI_TEXT_ATTR(EFI_LIGHTGRAY, EFI_BLACK);

bool IsWidthControl(CHAR16 Char) {
  return Char == WIDE_CHAR || Char == NARROW_CHAR;
}
} // namespace

TextScreen::TextScreen(UINT32 Columns, UINT32 Rows) {
  // Mode 1 is 80x50 when offered; a size of any other shape is an extra mode past it.
  Modes.push_back({80, 25});
  if (Columns == 80 && Rows == 50) {
    Modes.push_back({80, 50});
  } else if (Columns != 80 || Rows != 25) {
    Modes.push_back({0, 0});
    Modes.push_back({Columns, Rows});
  }
  State.MaxMode = static_cast<INT32>(Modes.size());
  State.Mode = static_cast<INT32>(Modes.size() - 1);
  State.Attribute = DEFAULT_ATTRIBUTE;
  State.CursorVisible = TRUE;
  Resize(Columns, Rows);
}

void TextScreen::Resize(UINT32 Columns, UINT32 Rows) {
  Width = Columns;
  Height = Rows;
  Cells.assign(static_cast<size_t>(Width) * Height, ScreenCell());
  Fill();
}

void TextScreen::Fill() {
  ScreenCell Blank;
  Blank.Attribute = static_cast<UINT8>(State.Attribute);
  for (ScreenCell &Cell : Cells) {
    Cell = Blank;
  }
  State.CursorColumn = 0;
  State.CursorRow = 0;
  Pending = false;
  ScreenChanged();
}

EFI_STATUS TextScreen::QueryMode(UINTN ModeNumber, UINTN *Columns, UINTN *Rows) const {
  if (Columns == nullptr || Rows == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (ModeNumber >= Modes.size() || Modes[ModeNumber].Columns == 0) {
    return EFI_UNSUPPORTED;
  }
  *Columns = Modes[ModeNumber].Columns;
  *Rows = Modes[ModeNumber].Rows;
  return EFI_SUCCESS;
}

EFI_STATUS TextScreen::SetMode(UINTN ModeNumber) {
  if (ModeNumber >= Modes.size() || Modes[ModeNumber].Columns == 0) {
    return EFI_UNSUPPORTED;
  }
  State.Mode = static_cast<INT32>(ModeNumber);
  Resize(Modes[ModeNumber].Columns, Modes[ModeNumber].Rows);
  return EFI_SUCCESS;
}

EFI_STATUS TextScreen::SetAttribute(UINTN Attribute) {
  Counts.SetAttribute++;
  // Bits above the byte are undefined. Bit 7 is the blink bit of PC text consoles, which this
  // console, like most firmware consoles, ignores: dialogs ask for 0xF1 and mean 0x71.
  if (Attribute > 0xFF) {
    return EFI_UNSUPPORTED;
  }
  State.Attribute = static_cast<INT32>(Attribute & 0x7F);
  return EFI_SUCCESS;
}

EFI_STATUS TextScreen::ClearScreen() {
  Counts.ClearScreen++;
  Fill();
  return EFI_SUCCESS;
}

EFI_STATUS TextScreen::SetCursorPosition(UINTN Column, UINTN Row) {
  Counts.SetCursorPosition++;
  if (Column >= Width || Row >= Height) {
    return EFI_UNSUPPORTED;
  }
  State.CursorColumn = static_cast<INT32>(Column);
  State.CursorRow = static_cast<INT32>(Row);
  Pending = false;
  return EFI_SUCCESS;
}

EFI_STATUS TextScreen::EnableCursor(BOOLEAN Visible) {
  State.CursorVisible = Visible ? TRUE : FALSE;
  return EFI_SUCCESS;
}

EFI_STATUS TextScreen::Reset() {
  State.Attribute = DEFAULT_ATTRIBUTE;
  Fill();
  return EFI_SUCCESS;
}

void TextScreen::NewLine() {
  if (static_cast<UINT32>(State.CursorRow) + 1 < Height) {
    State.CursorRow++;
    return;
  }
  // Scroll up one row; the new bottom row takes the current attribute.
  for (UINT32 Row = 1; Row < Height; Row++) {
    for (UINT32 Column = 0; Column < Width; Column++) {
      Cells[(Row - 1) * Width + Column] = Cells[Row * Width + Column];
    }
  }
  ScreenCell Blank;
  Blank.Attribute = static_cast<UINT8>(State.Attribute);
  for (UINT32 Column = 0; Column < Width; Column++) {
    Cells[(Height - 1) * Width + Column] = Blank;
  }
  ScreenChanged();
}

void TextScreen::Store(UINT32 Column, UINT32 Row, const ScreenCell &Cell) {
  ScreenCell &Old = Cells[Row * Width + Column];
  // Overwriting half of a wide character blanks the other half.
  if (Old.Continuation && !Cell.Continuation && Column > 0) {
    ScreenCell &Left = Cells[Row * Width + Column - 1];
    Left.Char = u' ';
    CellChanged(Column - 1, Row);
  }
  bool NewIsWide = !Cell.Continuation && IsWideChar(Cell.Char);
  if (!Old.Continuation && !NewIsWide && Column + 1 < Width &&
      Cells[Row * Width + Column + 1].Continuation) {
    ScreenCell &Right = Cells[Row * Width + Column + 1];
    Right.Char = u' ';
    Right.Continuation = false;
    CellChanged(Column + 1, Row);
  }
  Old = Cell;
  CellChanged(Column, Row);
}

void TextScreen::PutChar(CHAR16 Char) {
  switch (Char) {
  case CHAR_CARRIAGE_RETURN:
    State.CursorColumn = 0;
    Pending = false;
    return;
  case CHAR_LINEFEED:
    NewLine();
    Pending = false;
    return;
  case CHAR_BACKSPACE:
    // A pending wrap means the cursor is logically one past the last column.
    if (Pending) {
      Pending = false;
    } else if (State.CursorColumn > 0) {
      State.CursorColumn--;
    }
    return;
  default:
    break;
  }
  UINT32 CharWidth = IsWideChar(Char) ? 2 : 1;
  if (Pending || static_cast<UINT32>(State.CursorColumn) + CharWidth > Width) {
    State.CursorColumn = 0;
    NewLine();
    Pending = false;
  }
  UINT32 Column = static_cast<UINT32>(State.CursorColumn);
  UINT32 Row = static_cast<UINT32>(State.CursorRow);
  ScreenCell Cell;
  Cell.Char = Char;
  Cell.Attribute = static_cast<UINT8>(State.Attribute);
  Store(Column, Row, Cell);
  if (CharWidth == 2) {
    Cell.Continuation = true;
    Store(Column + 1, Row, Cell);
  }
  Counts.Characters++;
  if (Column + CharWidth >= Width) {
    State.CursorColumn = static_cast<INT32>(Width - 1);
    Pending = true;
  } else {
    State.CursorColumn = static_cast<INT32>(Column + CharWidth);
  }
}

EFI_STATUS TextScreen::OutputString(const CHAR16 *String) {
  Counts.OutputString++;
  if (String == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  EFI_STATUS Status = EFI_SUCCESS;
  for (; *String != 0; String++) {
    if (IsWidthControl(*String)) {
      continue;
    }
    if (IsUnprintable(*String) || (Width < 2 && IsWideChar(*String))) {
      Status = EFI_WARN_UNKNOWN_GLYPH;
      continue;
    }
    PutChar(*String);
  }
  return Status;
}

EFI_STATUS TextScreen::TestString(const CHAR16 *String) const {
  if (String == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  for (; *String != 0; String++) {
    if (IsUnprintable(*String)) {
      return EFI_UNSUPPORTED;
    }
  }
  return EFI_SUCCESS;
}

std::vector<std::string> TextScreen::TextRows() const {
  std::vector<std::string> Rows;
  for (UINT32 Row = 0; Row < Height; Row++) {
    std::string Line;
    for (UINT32 Column = 0; Column < Width; Column++) {
      const ScreenCell &Cell = this->Cell(Column, Row);
      if (!Cell.Continuation) {
        AppendUtf8(Line, Cell.Char == 0 ? u' ' : Cell.Char);
      }
    }
    Rows.push_back(std::move(Line));
  }
  return Rows;
}

std::vector<std::string> TextScreen::AttributeRows() const {
  std::vector<std::string> Rows;
  for (UINT32 Row = 0; Row < Height; Row++) {
    std::string Line;
    for (UINT32 Column = 0; Column < Width; Column++) {
      char Hex[3];
      std::snprintf(Hex, sizeof(Hex), "%02X", this->Cell(Column, Row).Attribute);
      Line += Hex;
    }
    Rows.push_back(std::move(Line));
  }
  return Rows;
}

std::string TextScreen::Text() const {
  std::string Out;
  for (std::string &Line : TextRows()) {
    size_t End = Line.find_last_not_of(' ');
    Out += End == std::string::npos ? std::string() : Line.substr(0, End + 1);
    Out += '\n';
  }
  return Out;
}

} // namespace morvane::host
