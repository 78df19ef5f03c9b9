// The text primitives: cell widths, cutting, blanking, and printing at a cell, above all the
// print that ends in the screen's last cell; and what is left of saving and shadowing when the
// platform has no graphics output.
#include "screen/text_output.h"
#include "tests/common/text.h"
#include "tests/screen/screen_fixture.h"

namespace morvane::test {
namespace {

using kit::IfrValue;
using kit::IfrWriter;
using kit::Strings;

size_t StrLen(const std::u16string &Text) {
  return U16(Text.c_str()).size();
}

class TextOutputTest : public ScreenTest {
protected:
  PublishedFormSet &SmallForm() {
    return PublishForm(u"Small", [](IfrWriter &W, Strings &S) {
      W.OneOf({S.Add(u"Choice"), S.Add(u"Pick one"), 0x10, 1, 0, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 2,
              0, true);
      W.OneOfOption(S.Add(u"First"), EFI_IFR_OPTION_DEFAULT, IfrValue::U8(0));
      W.OneOfOption(S.Add(u"Second"), 0, IfrValue::U8(1));
      W.End();
    });
  }

  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *ConOut() { return Host().SystemTable()->ConOut; }
};

TEST_F(TextOutputTest, WidthsInCells) {
  struct Case {
    CHAR16 Character;
    bool Narrow;
  };
  const Case Cases[] = {
      {u'A', true},    {0x024F, true}, {0x0250, false}, {0x03B1, false}, // Greek alpha
      {0x0416, false},                                                   // Cyrillic Zhe
      {0x218F, false}, {0x2190, true}, {0x21FF, true},  {0x2200, false}, {0x24FF, false},
      {0x2500, true},  {0x259F, true}, {0x25A0, true},  {0x25FF, true},  {0x2600, false},
      {0x2C5F, false}, {0x2C60, true}, {0x2C7F, true},  {0x2C80, false}, {0xA71F, false},
      {0xA720, true},  {0xA7FF, true}, {0xA800, false}, {0x65E5, false}, // CJK
  };
  for (const Case &Each : Cases) {
    EXPECT_EQ(IsNarrow(Each.Character), Each.Narrow)
        << std::hex << static_cast<unsigned>(Each.Character);
  }
  struct Width {
    const char16_t *Text;
    UINT16 Cells;
  };
  for (const Width &Each : {Width{u"", 0}, Width{u"abc", 3}, Width{u"日本", 4},
                            Width{u"a\uFFF1日\uFFF0b", 4}, Width{u"├─┤", 3}, Width{u"αβ", 4}}) {
    EXPECT_EQ(DisplayWidth(Each.Text), Each.Cells) << Utf8(Each.Text);
  }
  EXPECT_EQ(DisplayWidth(nullptr), 0);
}

TEST_F(TextOutputTest, CutToWidthRemovesWholeCharactersFromTheEnd) {
  struct Case {
    const char16_t *Text;
    UINT16 Cells;
    const char16_t *Left;
    UINT16 Width;
  };
  const Case Cases[] = {
      {u"abc", 2, u"ab", 2},          {u"abc", 3, u"abc", 3}, {u"ab日", 3, u"ab", 2},
      {u"ab日", 4, u"ab日", 4},       {u"日本", 1, u"", 0},   {u"abc", 0, u"", 0},
      {u"a\uFFF0", 1, u"a\uFFF0", 1},
  };
  for (const Case &Each : Cases) {
    std::u16string Text = Each.Text;
    EXPECT_EQ(CutToWidth(Text.data(), Each.Cells), Each.Width) << Utf8(Each.Text);
    EXPECT_EQ(U16(Text.c_str()), std::u16string(Each.Left)) << Utf8(Each.Text);
  }
}

TEST_F(TextOutputTest, ClearRectBlanksAndKeepsTheAttribute) {
  SmallForm();
  Send(Handles());
  ASSERT_TRUE(Waiting());
  Scribble(0, 10, u"abcdefghij");
  ClearRect(2, 4, 10, 11, 0x4E);
  EXPECT_EQ(Cells(10).substr(0, 10), u"ab   fghij");
  EXPECT_EQ(AttributeAt(2, 11), 0x4E);
  EXPECT_EQ(ConOut()->Mode->Attribute, 0x4E);
  // Nothing for a right edge at or past a million, or a left edge past the right.
  Scribble(0, 10, u"abcdefghij");
  ClearRect(2, 1000000, 10, 10, 0x07);
  ClearRect(5, 4, 10, 10, 0x07);
  EXPECT_EQ(Cells(10).substr(0, 10), u"abcdefghij");
}

// A text that ends in the screen's last cell goes out with a carriage return behind it: the
// cursor is back at the row's start, so nothing printed after it scrolls the screen. The last
// line passes through a buffer of the driver's; on a wide console a long text must still go out
// whole.
TEST_F(TextOutputTest, PrintingIntoTheLastCellDoesNotScroll) {
  std::u16string Alphabets;
  for (int Index = 0; Index < 150; Index++) {
    Alphabets += static_cast<char16_t>(u'a' + Index % 26);
  }
  struct Case {
    UINT32 Column, Row;
    std::u16string Text;
    std::u16string Printed; // what is left of the caller's text
    bool BackAtRowStart;
    UINT32 Columns = 80, Rows = 25;
  };
  const Case Cases[] = {
      {70, 24, u"0123456789", u"0123456789", true},
      {75, 24, u"0123456789", u"01234", true},
      // A wide character that would pass the edge is cut, and the text ends a cell short.
      {77, 24, u"ab日", u"ab", false},
      // Only the last row's last cell asks for it.
      {70, 23, u"0123456789", u"0123456789", false},
      {50, 39, Alphabets, Alphabets, true, 200, 40},
  };
  for (const Case &Each : Cases) {
    tools::SessionOptions Options;
    Options.Platform.Columns = Each.Columns;
    Options.Platform.Rows = Each.Rows;
    Restart(Options);
    SmallForm();
    Send(Handles());
    ASSERT_TRUE(Waiting());
    ASSERT_EQ(Browser->TextColumns, Each.Columns);
    std::u16string FirstRow = Cells(0);
    std::u16string Text = Each.Text;
    PrintAt(Each.Column, Each.Row, Text.data());
    EXPECT_EQ(U16(Text.c_str()), Each.Printed) << Utf8(Each.Text);
    EXPECT_EQ(Cells(Each.Row).substr(Each.Column, StrLen(Text)), U16(Text.c_str()));
    const host::TextScreen &Screen = Host().Screen();
    if (Each.BackAtRowStart) {
      EXPECT_EQ(Screen.CursorColumn(), 0u) << Utf8(Each.Text);
      EXPECT_EQ(Screen.CursorRow(), Each.Row);
      EXPECT_FALSE(Screen.WrapPending());
      // The next character written goes to the row's start, not below the screen.
      ConOut()->OutputString(ConOut(), const_cast<CHAR16 *>(u"Z"));
      EXPECT_EQ(CharAt(0, Each.Row), u'Z');
      EXPECT_EQ(Cells(0), FirstRow) << "the screen scrolled\n" << ScreenText();
    } else {
      EXPECT_NE(Screen.CursorColumn(), 0u) << Utf8(Each.Text);
    }
  }
}

// A shadow over cells of different grounds keeps each one's text legible: every cell's own
// first pixel is its ground, not the first pixel of the cell row, which would turn a cell of
// another ground into a solid block of ink.
TEST_F(TextOutputTest, AShadowKeepsTheTextOfEachCellLegible) {
  SmallForm();
  Send(Handles());
  ASSERT_TRUE(Waiting());
  SetAttribute(EFI_WHITE | EFI_BACKGROUND_BLUE);
  PrintConstAt(10, 5, u"A");
  SetAttribute(EFI_BLACK | EFI_BACKGROUND_LIGHTGRAY);
  PrintConstAt(11, 5, u"B");
  RecolorCells(10, 12, 5, 6, EFI_DARKGRAY);
  for (UINT32 Column : {10u, 11u}) {
    EXPECT_EQ(CharAt(Column, 5), Column == 10 ? u'A' : u'B') << Column;
    EXPECT_EQ(AttributeAt(Column, 5), EFI_DARKGRAY) << "dark grey ink on black, column " << Column;
  }
}

// Without a graphics output the console's own mode bounds the text; nothing is saved, nothing
// shadowed, and the browser runs as before.
TEST_F(TextOutputTest, WithoutGraphicsOutput) {
  tools::SessionOptions Options;
  Options.Platform.GraphicsOutput = false;
  Options.Platform.Columns = 100;
  Options.Platform.Rows = 31;
  Restart(Options);
  SmallForm();
  Send(Handles());
  ASSERT_TRUE(Waiting()) << ScreenText();
  EXPECT_EQ(Browser->GraphicsOutput, nullptr);
  EXPECT_EQ(Browser->TextColumns, 0u);

  std::u16string FirstRow = Cells(0);
  std::u16string Text = u"0123456789";
  PrintAt(95, 30, Text.data());
  EXPECT_EQ(U16(Text.c_str()), u"01234") << "held against the mode's 100 columns";
  EXPECT_EQ(Cells(30).substr(95), u"01234");
  EXPECT_EQ(Host().Screen().CursorColumn(), 0u);
  ConOut()->OutputString(ConOut(), const_cast<CHAR16 *>(u"Z"));
  EXPECT_EQ(Cells(0), FirstRow) << "the screen scrolled";

  UINT32 X = 7;
  UINT32 Y = 7;
  EXPECT_FALSE(CellToPixel(0, 0, &X, &Y));
  EXPECT_FALSE(CellsToPixels(1, 1, &X, &Y));
  SaveScreenRecord Record = {};
  SaveScreenRect(&Record, 10, 5, 20, 6);
  EXPECT_EQ(Record.Buffer, nullptr);
  RestoreScreenRect(&Record);
  RestoreScreenRect(nullptr);
  SaveScreenRect(nullptr, 0, 0, 1, 1);
  std::vector<std::string> Attributes = AttributeRows();
  DrawShadow(10, 5, 20, 6, EFI_DARKGRAY);
  EXPECT_EQ(AttributeRows(), Attributes) << "no shadow without pixels";

  // The option pop-up opens and closes; what it covered is not given back, but the browser
  // goes on and leaves cleanly.
  Type("Enter");
  EXPECT_NE(RowOf(u"Second"), -1) << ScreenText();
  Type("Down Enter");
  EXPECT_NE(Cells(static_cast<UINT32>(RowOf(u"Choice"))).find(u"[Second]"), std::u16string::npos)
      << ScreenText();
  Type("F10 Enter");
  ASSERT_TRUE(Finished()) << ScreenText();
  EXPECT_EQ(Run().Status(), EFI_SUCCESS);
  ExpectNothingLeftSinceSend();
}

} // namespace
} // namespace morvane::test
