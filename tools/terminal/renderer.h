// Draws the virtual console on a real terminal: UTF-8 and the 16 EFI colours, sending only the
// cells that changed since the last frame, in row runs, with a colour sequence only where the
// colour changes. Autowrap is off while drawing, so the terminal's last cell never scrolls it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace morvane::tools {

struct ScreenCell {
  char16_t Character = u' ';
  uint8_t Attribute = 0x07;
  // The right half of a wide character: the terminal fills it when the left half is written.
  bool Continuation = false;

  bool operator==(const ScreenCell &Other) const {
    return Character == Other.Character && Attribute == Other.Attribute &&
           Continuation == Other.Continuation;
  }
};

struct ScreenFrame {
  unsigned Columns = 0;
  unsigned Rows = 0;
  std::vector<ScreenCell> Cells;
  bool CursorVisible = false;
  unsigned CursorColumn = 0;
  unsigned CursorRow = 0;

  const ScreenCell &At(unsigned Column, unsigned Row) const {
    return Cells[Row * Columns + Column];
  }
};

class Renderer {
public:
  // The bytes that bring the terminal from the last frame to Next; the whole frame the first
  // time and after Invalidate().
  std::string Render(const ScreenFrame &Next);
  void Invalidate() { Valid = false; }

  // Alternate screen, cursor hidden, autowrap off, screen cleared; and the reverse.
  static std::string EnterSequence();
  static std::string LeaveSequence();

private:
  void MoveTo(std::string &Out, unsigned Column, unsigned Row);
  void SetColour(std::string &Out, uint8_t Attribute);

  ScreenFrame Last;
  bool Valid = false;
  int Colour = -1;
  bool PositionKnown = false;
  unsigned Column = 0;
  unsigned Row = 0;
  bool CursorShown = false;
};

// The ANSI colour number of an EFI colour: EFI has blue in bit 0, ANSI has red there.
unsigned AnsiColour(unsigned EfiColour);
// The SGR sequence that sets an EFI attribute in full.
std::string ColourSequence(uint8_t Attribute);

} // namespace morvane::tools
