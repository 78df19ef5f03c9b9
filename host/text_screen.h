// The virtual text screen behind a text output protocol: cells of character and attribute,
// the text modes, the cursor with its deferred wrap, and counts of the calls made to it.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/screen_cell.h"
#include "uefi/console.h"

namespace morvane::host {

struct ConsoleCounters {
  UINTN OutputString = 0;
  UINTN SetCursorPosition = 0;
  UINTN SetAttribute = 0;
  UINTN ClearScreen = 0;
  // Printable characters written to cells.
  UINTN Characters = 0;
};

class TextScreen {
public:
  // Mode 0 is 80x25; another configured size is an extra mode and the current one.
  TextScreen(UINT32 Columns, UINT32 Rows);

  UINT32 Columns() const { return Width; }
  UINT32 Rows() const { return Height; }
  // The Mode record of the protocol, kept current after every call.
  SIMPLE_TEXT_OUTPUT_MODE *ModeRecord() { return &State; }

  EFI_STATUS QueryMode(UINTN ModeNumber, UINTN *Columns, UINTN *Rows) const;
  EFI_STATUS SetMode(UINTN ModeNumber);
  EFI_STATUS SetAttribute(UINTN Attribute);
  EFI_STATUS ClearScreen();
  EFI_STATUS SetCursorPosition(UINTN Column, UINTN Row);
  EFI_STATUS EnableCursor(BOOLEAN Visible);
  EFI_STATUS OutputString(const CHAR16 *String);
  EFI_STATUS TestString(const CHAR16 *String) const;
  EFI_STATUS Reset();

  const ScreenCell &Cell(UINT32 Column, UINT32 Row) const { return Cells[Row * Width + Column]; }
  // Replaces a cell without telling the observer: the graphics output decoding its pixels.
  void StoreDecodedCell(UINT32 Column, UINT32 Row, const ScreenCell &Cell) {
    Cells[Row * Width + Column] = Cell;
  }
  UINT32 CursorColumn() const { return static_cast<UINT32>(State.CursorColumn); }
  UINT32 CursorRow() const { return static_cast<UINT32>(State.CursorRow); }
  bool CursorVisible() const { return State.CursorVisible != 0; }
  // Set after the last cell of a row is written, until the next printable character wraps.
  bool WrapPending() const { return Pending; }

  // The rows as UTF-8, a wide character once for its two cells.
  std::vector<std::string> TextRows() const;
  // The rows of attributes, two upper-case hex digits per cell.
  std::vector<std::string> AttributeRows() const;
  // The text rows with trailing blanks removed, joined by newlines.
  std::string Text() const;

  const ConsoleCounters &Counters() const { return Counts; }
  void ResetCounters() { Counts = ConsoleCounters(); }

  // Told of each cell that changed, and of changes to the whole screen (scroll, clear, mode).
  void SetObserver(std::function<void(UINT32 Column, UINT32 Row)> CellChanged,
                   std::function<void()> ScreenChanged) {
    OnCell = std::move(CellChanged);
    OnScreen = std::move(ScreenChanged);
  }

private:
  struct ModeSize {
    UINT32 Columns;
    UINT32 Rows;
  };

  void Resize(UINT32 Columns, UINT32 Rows);
  void Fill();
  void NewLine();
  void Store(UINT32 Column, UINT32 Row, const ScreenCell &Cell);
  void PutChar(CHAR16 Char);
  void CellChanged(UINT32 Column, UINT32 Row) {
    if (OnCell) {
      OnCell(Column, Row);
    }
  }
  void ScreenChanged() {
    if (OnScreen) {
      OnScreen();
    }
  }

  // A mode of 0 columns is one this console does not support.
  std::vector<ModeSize> Modes;
  UINT32 Width = 0;
  UINT32 Height = 0;
  std::vector<ScreenCell> Cells;
  SIMPLE_TEXT_OUTPUT_MODE State{};
  bool Pending = false;
  ConsoleCounters Counts;
  std::function<void(UINT32, UINT32)> OnCell;
  std::function<void()> OnScreen;
};

} // namespace morvane::host
