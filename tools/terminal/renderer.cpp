#include "tools/terminal/renderer.h"

#include "host/utf8.h"

namespace morvane::tools {

namespace {

// Unchanged cells this close together are rewritten rather than skipped with a cursor move,
// which costs more bytes.
constexpr unsigned GapWorthBridging = 4;

// Characters that take no cell of their own on a terminal: combining marks, which join the
// character before them, and invisible format characters. Written as they are, they would shift
// the rest of the row by one.
struct Range {
  char16_t First;
  char16_t Last;
};
constexpr Range ZeroWidth[] = {
    {0x0300, 0x036F}, {0x0483, 0x0489}, {0x0591, 0x05BD}, {0x05BF, 0x05C7}, {0x0610, 0x061A},
    {0x064B, 0x065F}, {0x0670, 0x0670}, {0x06D6, 0x06ED}, {0x0E31, 0x0E31}, {0x0E34, 0x0E3A},
    {0x0E47, 0x0E4E}, {0x1160, 0x11FF}, {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF}, {0x200B, 0x200F},
    {0x202A, 0x202E}, {0x2060, 0x2064}, {0x20D0, 0x20FF}, {0x3099, 0x309A}, {0xFE00, 0xFE0F},
    {0xFE20, 0xFE2F}, {0xFEFF, 0xFEFF},
};

// Characters the terminal cannot show as they are: controls (C0 and C1), which it would act
// on, lone surrogates, non-characters and characters of no width.
char16_t Printable(char16_t Character) {
  if (Character == 0) {
    return u' ';
  }
  if (Character < 0x20 || (Character >= 0x7F && Character <= 0x9F) ||
      (Character >= 0xD800 && Character <= 0xDFFF) || Character >= 0xFFFE) {
    return u'?';
  }
  for (const Range &Marks : ZeroWidth) {
    if (Character >= Marks.First && Character <= Marks.Last) {
      return u'?';
    }
  }
  return Character;
}

} // namespace

unsigned AnsiColour(unsigned EfiColour) {
  return ((EfiColour & 1) << 2) | (EfiColour & 2) | ((EfiColour & 4) >> 2);
}

std::string ColourSequence(uint8_t Attribute) {
  unsigned Foreground = Attribute & 0x0F;
  unsigned Background = (Attribute >> 4) & 0x07;
  unsigned ForegroundCode =
      (Foreground & 8) != 0 ? 90 + AnsiColour(Foreground & 7) : 30 + AnsiColour(Foreground);
  return "\x1b[" + std::to_string(ForegroundCode) + ";" +
         std::to_string(40 + AnsiColour(Background)) + "m";
}

std::string Renderer::EnterSequence() {
  return "\x1b[?1049h\x1b[?25l\x1b[?7l\x1b[0m\x1b[2J";
}

std::string Renderer::LeaveSequence() {
  return "\x1b[0m\x1b[?7h\x1b[?25h\x1b[?1049l";
}

void Renderer::MoveTo(std::string &Out, unsigned ToColumn, unsigned ToRow) {
  if (PositionKnown && Column == ToColumn && Row == ToRow) {
    return;
  }
  Out += "\x1b[" + std::to_string(ToRow + 1) + ";" + std::to_string(ToColumn + 1) + "H";
  Column = ToColumn;
  Row = ToRow;
  PositionKnown = true;
}

void Renderer::SetColour(std::string &Out, uint8_t Attribute) {
  if (Colour == Attribute) {
    return;
  }
  if (Colour >= 0 && ((Colour ^ Attribute) & 0x70) == 0) {
    // Only the foreground changed.
    unsigned Foreground = Attribute & 0x0F;
    unsigned Code =
        (Foreground & 8) != 0 ? 90 + AnsiColour(Foreground & 7) : 30 + AnsiColour(Foreground);
    Out += "\x1b[" + std::to_string(Code) + "m";
  } else {
    Out += ColourSequence(Attribute);
  }
  Colour = Attribute;
}

std::string Renderer::Render(const ScreenFrame &Next) {
  std::string Out;
  bool Full = !Valid || Last.Columns != Next.Columns || Last.Rows != Next.Rows;
  if (Full) {
    // Cleared first, so nothing another program wrote stays beside a smaller frame.
    Out += "\x1b[0m\x1b[2J";
    Colour = -1;
    PositionKnown = false;
  }
  for (unsigned Y = 0; Y < Next.Rows; Y++) {
    unsigned X = 0;
    while (X < Next.Columns) {
      if (!Full && Next.At(X, Y) == Last.At(X, Y)) {
        X++;
        continue;
      }
      // A run of changed cells, bridging short stretches of unchanged ones.
      unsigned End = X + 1;
      unsigned Unchanged = 0;
      for (unsigned Scan = X + 1; Scan < Next.Columns; Scan++) {
        if (Full || !(Next.At(Scan, Y) == Last.At(Scan, Y))) {
          End = Scan + 1;
          Unchanged = 0;
        } else if (++Unchanged > GapWorthBridging) {
          break;
        }
      }
      // A run that starts on the right half of a wide character starts at its left half.
      if (X > 0 && Next.At(X, Y).Continuation) {
        X--;
      }
      MoveTo(Out, X, Y);
      for (unsigned Cell = X; Cell < End; Cell++) {
        const ScreenCell &Shown = Next.At(Cell, Y);
        if (Shown.Continuation) {
          continue;
        }
        SetColour(Out, Shown.Attribute);
        host::AppendUtf8(Out, Printable(Shown.Character));
        bool Wide = Cell + 1 < Next.Columns && Next.At(Cell + 1, Y).Continuation;
        Column += Wide ? 2 : 1;
      }
      // With autowrap off the cursor stays in the last column after writing there.
      if (Column >= Next.Columns) {
        PositionKnown = false;
      }
      X = End;
    }
  }
  if (Next.CursorVisible) {
    MoveTo(Out, Next.CursorColumn, Next.CursorRow);
    if (!CursorShown || Full) {
      Out += "\x1b[?25h";
    }
  } else if (CursorShown || Full) {
    Out += "\x1b[?25l";
  }
  CursorShown = Next.CursorVisible;
  Last = Next;
  Valid = true;
  return Out;
}

} // namespace morvane::tools
