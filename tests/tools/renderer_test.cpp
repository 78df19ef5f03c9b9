// The renderer's bytes fed into a terminal emulator: the screen a user sees must be the frame,
// cell for cell and colour for colour, and a small change must cost few bytes.
#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "tests/tools/virtual_terminal.h"
#include "tools/terminal/renderer.h"

using morvane::test::VirtualTerminal;
using morvane::tools::Renderer;
using morvane::tools::ScreenCell;
using morvane::tools::ScreenFrame;

namespace {

// The palette index a terminal uses for each EFI colour: EFI counts blue as bit 0, ANSI counts
// red as bit 0; the bright half follows at 8.
constexpr int AnsiOfEfi[16] = {0, 4, 2, 6, 1, 5, 3, 7, 8, 12, 10, 14, 9, 13, 11, 15};

int AnsiIndex(unsigned Efi) {
  return AnsiOfEfi[Efi & 0x0F];
}

ScreenFrame BlankFrame(unsigned Columns, unsigned Rows, uint8_t Attribute = 0x1F) {
  ScreenFrame Frame;
  Frame.Columns = Columns;
  Frame.Rows = Rows;
  Frame.Cells.assign(static_cast<size_t>(Columns) * Rows, ScreenCell{u' ', Attribute, false});
  return Frame;
}

ScreenCell &CellOf(ScreenFrame &Frame, unsigned Column, unsigned Row) {
  return Frame.Cells[Row * Frame.Columns + Column];
}

void PutText(ScreenFrame &Frame, unsigned Column, unsigned Row, const std::u16string &Text,
             uint8_t Attribute) {
  for (char16_t Character : Text) {
    CellOf(Frame, Column++, Row) = {Character, Attribute, false};
  }
}

void PutWide(ScreenFrame &Frame, unsigned Column, unsigned Row, char16_t Character,
             uint8_t Attribute) {
  CellOf(Frame, Column, Row) = {Character, Attribute, false};
  CellOf(Frame, Column + 1, Row) = {u' ', Attribute, true};
}

// Every cell of a frame of every colour pair and of narrow, box, accented and wide characters,
// with a character in the very last cell.
ScreenFrame BusyFrame(unsigned Columns, unsigned Rows) {
  ScreenFrame Frame = BlankFrame(Columns, Rows);
  const std::u16string Narrow = u"Aa0 ~\u2500\u2502\u250C\u00E9\u00E7\u25BA\u2191";
  for (unsigned Row = 0; Row < Rows; Row++) {
    for (unsigned Column = 0; Column < Columns; Column++) {
      ScreenCell &Cell = CellOf(Frame, Column, Row);
      Cell.Attribute = static_cast<uint8_t>((Row * Columns + Column) % 128);
      Cell.Character = Narrow[(Row + Column) % Narrow.size()];
    }
    if (Row % 3 == 1) {
      // Wide characters, one of them in the last two columns.
      PutWide(Frame, 10, Row, u'\u65E5', 0x1E);
      PutWide(Frame, 12, Row, u'\uD55C', 0x2F);
      PutWide(Frame, Columns - 2, Row, u'\u8A9E', 0x4E);
    }
  }
  CellOf(Frame, Columns - 1, Rows - 1) = {u'Z', 0x70, false};
  return Frame;
}

char32_t Expected(char16_t Character) {
  return Character == 0 ? U' ' : Character;
}

// Compares every cell the emulator shows with the frame.
void ExpectShows(const VirtualTerminal &Terminal, const ScreenFrame &Frame,
                 const std::string &Context) {
  unsigned Mismatches = 0;
  for (unsigned Row = 0; Row < Frame.Rows && Mismatches < 10; Row++) {
    for (unsigned Column = 0; Column < Frame.Columns && Mismatches < 10; Column++) {
      const ScreenCell &Want = Frame.At(Column, Row);
      VirtualTerminal::Cell Shown = Terminal.At(Column, Row);
      std::string Where =
          Context + " at column " + std::to_string(Column) + ", row " + std::to_string(Row);
      if (Want.Continuation) {
        if (Shown.Width != 0) {
          ADD_FAILURE() << Where << ": not the right half of a wide character";
          Mismatches++;
        }
        continue;
      }
      bool Same = Shown.Character == Expected(Want.Character) &&
                  Shown.Foreground == AnsiIndex(Want.Attribute) &&
                  Shown.Background == AnsiIndex((Want.Attribute >> 4) & 0x07);
      if (!Same) {
        ADD_FAILURE() << Where << ": shows U+" << std::hex << static_cast<unsigned>(Shown.Character)
                      << " in " << std::dec << Shown.Foreground << " on " << Shown.Background
                      << ", the frame has U+" << std::hex << static_cast<unsigned>(Want.Character)
                      << " in attribute 0x" << static_cast<unsigned>(Want.Attribute);
        Mismatches++;
      }
    }
  }
}

// SGR sequences ("ESC [ ... m") in the bytes.
size_t ColourSequences(const std::string &Bytes) {
  static const std::regex Sgr("\x1b\\[[0-9;]*m");
  return static_cast<size_t>(
      std::distance(std::sregex_iterator(Bytes.begin(), Bytes.end(), Sgr), std::sregex_iterator()));
}

// Cursor positioning sequences ("ESC [ row ; column H").
size_t CursorMoves(const std::string &Bytes) {
  static const std::regex Move("\x1b\\[[0-9]*;?[0-9]*H");
  return static_cast<size_t>(std::distance(std::sregex_iterator(Bytes.begin(), Bytes.end(), Move),
                                           std::sregex_iterator()));
}

class RendererTest : public ::testing::Test {
protected:
  // Enters the terminal as the program does and draws Frame.
  void Start(const ScreenFrame &Frame) {
    Terminal = std::make_unique<VirtualTerminal>(Frame.Columns, Frame.Rows);
    Terminal->Feed(Renderer::EnterSequence());
    Draw(Frame);
  }
  std::string Draw(const ScreenFrame &Frame) {
    std::string Bytes = Screen.Render(Frame);
    Terminal->Feed(Bytes);
    return Bytes;
  }

  Renderer Screen;
  std::unique_ptr<VirtualTerminal> Terminal;
};

TEST(RendererColourTest, EachEfiColourHasItsAnsiNumber) {
  for (unsigned Efi = 0; Efi < 8; Efi++) {
    EXPECT_EQ(morvane::tools::AnsiColour(Efi), static_cast<unsigned>(AnsiOfEfi[Efi])) << Efi;
  }
}

TEST_F(RendererTest, FullFrameShowsEveryCell) {
  for (auto [Columns, Rows] : {std::pair{80u, 25u}, std::pair{132u, 43u}}) {
    ScreenFrame Frame = BusyFrame(Columns, Rows);
    Start(Frame);
    ExpectShows(*Terminal, Frame, std::to_string(Columns) + "x" + std::to_string(Rows));
    EXPECT_EQ(Terminal->LinesScrolledOff(), 0u) << "the last cell scrolled the screen";
    EXPECT_TRUE(Terminal->AlternateScreen());
    EXPECT_FALSE(Terminal->CursorVisible());
  }
}

// Every colour pair in turn, foreground and background changing independently.
TEST_F(RendererTest, EveryAttributeAsForegroundAndBackgroundChange) {
  ScreenFrame Frame = BlankFrame(80, 25, 0x07);
  Start(Frame);
  for (unsigned Attribute = 0; Attribute < 0x80; Attribute++) {
    CellOf(Frame, Attribute % 80, 2 + Attribute / 80 * 2) = {u'#', static_cast<uint8_t>(Attribute),
                                                             false};
  }
  Draw(Frame);
  ExpectShows(*Terminal, Frame, "attributes");
}

// Nothing changed sends nothing, one changed cell a few bytes, and changes close together go
// out in one run.
TEST_F(RendererTest, ChangesCostFewBytes) {
  ScreenFrame Frame = BusyFrame(80, 25);
  Start(Frame);
  EXPECT_EQ(Draw(Frame), "");
  CellOf(Frame, 40, 12).Character = u'Q';
  std::string Bytes = Draw(Frame);
  ExpectShows(*Terminal, Frame, "one cell");
  EXPECT_LE(Bytes.size(), 24u) << "sent " << Bytes.size() << " bytes for one cell";
  EXPECT_EQ(CursorMoves(Bytes), 1u);
  CellOf(Frame, 10, 5).Character = u'x';
  CellOf(Frame, 13, 5).Character = u'y';
  CellOf(Frame, 60, 5).Character = u'z';
  Bytes = Draw(Frame);
  ExpectShows(*Terminal, Frame, "runs");
  EXPECT_EQ(CursorMoves(Bytes), 2u);
}

TEST_F(RendererTest, OnlyColourChanges) {
  ScreenFrame Frame = BlankFrame(80, 25, 0x1F);
  PutText(Frame, 5, 7, u"Boot Order", 0x1F);
  Start(Frame);
  // The highlight moves onto the row: the same characters in another colour.
  for (unsigned Column = 5; Column < 15; Column++) {
    CellOf(Frame, Column, 7).Attribute = 0x70;
  }
  std::string Bytes = Draw(Frame);
  ExpectShows(*Terminal, Frame, "highlight");
  EXPECT_EQ(CursorMoves(Bytes), 1u);
  EXPECT_EQ(ColourSequences(Bytes), 1u) << "one colour for one run";
  EXPECT_LE(Bytes.size(), 40u);
}

// A colour sequence where the colour changes along the written cells, and nowhere else.
TEST_F(RendererTest, ColourSequencesOnlyWhereTheColourChanges) {
  ScreenFrame Frame = BlankFrame(80, 25, 0x1F);
  PutText(Frame, 0, 3, u"aaaabbbbaaaa", 0x1F);
  for (unsigned Column = 4; Column < 8; Column++) {
    CellOf(Frame, Column, 3).Attribute = 0x4E;
  }
  PutText(Frame, 0, 4, u"cccc", 0x1E);
  VirtualTerminal Fresh(80, 25);
  std::string Bytes = Screen.Render(Frame);
  Fresh.Feed(Renderer::EnterSequence() + Bytes);
  ExpectShows(Fresh, Frame, "changes");
  // The reset, the frame's colour, red, back, yellow on blue, back: six.
  EXPECT_EQ(ColourSequences(Bytes), 6u);
}

TEST_F(RendererTest, WideCharactersReplacedEitherWay) {
  ScreenFrame Frame = BlankFrame(80, 25, 0x1F);
  PutText(Frame, 20, 4, u"abcdef", 0x1F);
  PutWide(Frame, 0, 6, u'\u65E5', 0x1F);
  Start(Frame);
  // Narrow to wide, and a wide character written from its right half's change alone.
  PutWide(Frame, 21, 4, u'\u672C', 0x1F);
  PutWide(Frame, 24, 4, u'\u8A9E', 0x1F);
  CellOf(Frame, 1, 6).Attribute = 0x1E;
  CellOf(Frame, 0, 6).Attribute = 0x1E;
  Draw(Frame);
  ExpectShows(*Terminal, Frame, "to wide");
  // And back to narrow.
  PutText(Frame, 20, 4, u"ABCDEF", 0x1F);
  PutText(Frame, 0, 6, u"xy", 0x1F);
  Draw(Frame);
  ExpectShows(*Terminal, Frame, "to narrow");
}

TEST_F(RendererTest, TheLastCellNeverScrolls) {
  ScreenFrame Frame = BlankFrame(80, 25, 0x1F);
  PutText(Frame, 0, 0, u"top row", 0x1F);
  PutText(Frame, 75, 24, u"abcde", 0x1F);
  Start(Frame);
  CellOf(Frame, 79, 24).Character = u'!';
  Draw(Frame);
  PutWide(Frame, 78, 24, u'\u65E5', 0x4F);
  Draw(Frame);
  ExpectShows(*Terminal, Frame, "last cell");
  EXPECT_EQ(Terminal->LinesScrolledOff(), 0u);
}

// Characters that would act on the terminal or take no cell are shown as one visible cell.
TEST_F(RendererTest, ControlAndZeroWidthCharactersTakeOneCell) {
  ScreenFrame Frame = BlankFrame(80, 25, 0x1F);
  Start(Frame);
  const char16_t Hostile[] = {0x0000, 0x0007, 0x001B, 0x007F, 0x009B, 0x0085,
                              0x0301, 0x200B, 0xD800, 0xFEFF, 0xFFFF};
  unsigned Column = 2;
  for (char16_t Character : Hostile) {
    CellOf(Frame, Column, 3) = {Character, 0x1F, false};
    CellOf(Frame, Column + 1, 3) = {u'|', 0x1F, false};
    Column += 2;
  }
  PutText(Frame, 0, 4, u"[2J", 0x1F);
  std::string Bytes = Draw(Frame);
  EXPECT_EQ(Terminal->Bells(), 0u);
  for (unsigned Index = 0; Index < std::size(Hostile); Index++) {
    VirtualTerminal::Cell Shown = Terminal->At(2 + 2 * Index, 3);
    EXPECT_EQ(Shown.Width, 1) << "U+" << std::hex << static_cast<unsigned>(Hostile[Index]);
    EXPECT_EQ(Terminal->At(3 + 2 * Index, 3).Character, U'|')
        << "after U+" << std::hex << static_cast<unsigned>(Hostile[Index]);
  }
  EXPECT_EQ(Terminal->RowText(4).substr(0, 3), "[2J");
}

TEST_F(RendererTest, CursorShownWhereTheFrameHasIt) {
  ScreenFrame Frame = BusyFrame(80, 25);
  Start(Frame);
  EXPECT_FALSE(Terminal->CursorVisible());
  Frame.CursorVisible = true;
  Frame.CursorColumn = 33;
  Frame.CursorRow = 9;
  Draw(Frame);
  EXPECT_TRUE(Terminal->CursorVisible());
  EXPECT_EQ(Terminal->CursorColumn(), 33u);
  EXPECT_EQ(Terminal->CursorRow(), 9u);
  // A change elsewhere leaves the cursor where the frame has it.
  CellOf(Frame, 70, 20).Character = u'k';
  Draw(Frame);
  EXPECT_TRUE(Terminal->CursorVisible());
  EXPECT_EQ(Terminal->CursorColumn(), 33u);
  EXPECT_EQ(Terminal->CursorRow(), 9u);
  Frame.CursorVisible = false;
  Draw(Frame);
  EXPECT_FALSE(Terminal->CursorVisible());
  ExpectShows(*Terminal, Frame, "cursor");
}

// A redraw (Ctrl-L, SIGCONT) repaints what something else wrote over, outside the frame too.
TEST_F(RendererTest, RedrawRepaintsOverForeignOutput) {
  ScreenFrame Frame = BusyFrame(80, 25);
  Terminal = std::make_unique<VirtualTerminal>(100, 30);
  Terminal->Feed(Renderer::EnterSequence());
  Terminal->Feed(Screen.Render(Frame));
  Terminal->Feed("\x1b[0m\x1b[12;30Hsomeone wrote here\x1b[28;85Hand here\x1b[44m\x1b[5;1H  ");
  Screen.Invalidate();
  Terminal->Feed(Screen.Render(Frame));
  ExpectShows(*Terminal, Frame, "after redraw");
  EXPECT_FALSE(Terminal->Shows("and here"));
}

TEST_F(RendererTest, LeaveSequenceGivesTheTerminalBack) {
  ScreenFrame Frame = BusyFrame(80, 25);
  Start(Frame);
  Terminal->Feed(Renderer::LeaveSequence());
  EXPECT_FALSE(Terminal->AlternateScreen());
  EXPECT_TRUE(Terminal->CursorVisible());
  // Autowrap is back: a long line continues on the next row.
  Terminal->Feed("\x1b[1;1H" + std::string(85, 'w'));
  EXPECT_EQ(Terminal->At(4, 1).Character, U'w');
}

} // namespace
