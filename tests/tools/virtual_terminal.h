// A terminal emulator (libvterm) that the tests feed with what the program sends, to look at
// the screen a user would see: characters, colours, the cursor, and lines that scrolled away.
#pragma once

#include <string>

struct VTerm;
struct VTermScreen;

namespace morvane::test {

class VirtualTerminal {
public:
  VirtualTerminal(unsigned Columns, unsigned Rows);
  ~VirtualTerminal();
  VirtualTerminal(const VirtualTerminal &) = delete;
  VirtualTerminal &operator=(const VirtualTerminal &) = delete;

  void Feed(const std::string &Bytes);

  struct Cell {
    char32_t Character = 0; // 0 for a cell never written
    int Width = 1;          // 2 for the left half of a wide character, 0 for its right half
    int Foreground = -1;    // palette index; -1 the default colour
    int Background = -1;
  };
  Cell At(unsigned Column, unsigned Row) const;
  // The row as UTF-8, a wide character once, unwritten cells as blanks.
  std::string RowText(unsigned Row) const;
  // True when some row holds Text.
  bool Shows(const std::string &Text) const;

  bool CursorVisible() const { return CursorShown; }
  unsigned CursorColumn() const;
  unsigned CursorRow() const;
  bool AlternateScreen() const { return Alternate; }
  // Lines pushed off the top of the screen since the start.
  unsigned LinesScrolledOff() const { return ScrolledOff; }
  unsigned Bells() const { return BellCount; }

private:
  static int OnSetTermProp(int Property, void *Value, void *User);
  static int OnPushLine(int Columns, const void *Cells, void *User);
  static int OnBell(void *User);

  VTerm *Terminal = nullptr;
  VTermScreen *Screen = nullptr;
  unsigned Columns;
  unsigned Rows;
  bool CursorShown = true;
  bool Alternate = false;
  unsigned ScrolledOff = 0;
  unsigned BellCount = 0;
};

} // namespace morvane::test
