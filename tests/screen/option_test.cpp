// The option lines of a form body: the prompt and value columns worked out from the form's own
// content, prompts and values of several lines, the three fields of a date and a time, a form
// with nothing to select, and an option taller than what is left of the page.
#include "screen/menu_option.h"
#include "tests/common/text.h"
#include "tests/screen/screen_fixture.h"

namespace morvane::test {
namespace {

using kit::IfrValue;
using kit::IfrWriter;
using kit::Strings;

std::u16string Blanks(size_t Count) {
  return std::u16string(Count, u' ');
}

std::u16string TwoDigits(unsigned Value) {
  return {static_cast<char16_t>(u'0' + Value / 10), static_cast<char16_t>(u'0' + Value % 10)};
}

class OptionTest : public ScreenTest {
protected:
  // The client columns 1 to 52 of a row: gutter, prompt, value, up to the scroll bar.
  std::u16string Line(UINT32 Row) { return Cells(Row).substr(1, 52); }

  UINT32 TopRow() { return Browser->TopOption != nullptr ? Browser->TopOption->Row : 0xFFFF; }
};

// The widest prompt sets the prompt column, up to three quarters of the body; a wider prompt is
// cut there, a value is cut to its column, and a prompt-only line takes the whole body width.
TEST_F(OptionTest, PromptAndValueColumnsComeFromTheForm) {
  PublishForm(u"Columns", [&](IfrWriter &W, Strings &S) {
    W.Checkbox({S.Add(u"Short"), S.Add(u"A short prompt"), 0x10, 1, 0, 0});
    W.OneOf({S.Add(u"A prompt that is much wider than the prompt column"), S.Add(u"Wide"), 0x11, 1,
             1, 0},
            EFI_IFR_NUMERIC_SIZE_1, 0, 1, 0, true);
    W.OneOfOption(S.Add(u"Extremely long option text"), EFI_IFR_OPTION_DEFAULT, IfrValue::U8(0));
    W.OneOfOption(S.Add(u"B"), 0, IfrValue::U8(1));
    W.End();
    W.Subtitle(S.Add(u"A subtitle that runs on across the whole width of the body"), 0);
    W.Checkbox({S.Add(u"After"), S.Add(u"The last line"), 0x12, 1, 2, 0});
  });
  Send(Handles());
  ASSERT_TRUE(Waiting());
  EXPECT_EQ(Browser->BodyWidth, 46);
  EXPECT_EQ(Browser->PromptWidthLimit, 34);
  EXPECT_EQ(Browser->Selection->Form->PromptColumnWidth, 34);
  EXPECT_EQ(Browser->Selection->Form->ValueColumnWidth, 12);
  // Prompts from column 4, values from 4 + 34 + 2 = 40.
  EXPECT_EQ(Line(5), Blanks(3) + u"A prompt that is much wider than t" + Blanks(2) +
                         u"[Extremely ]" + Blanks(1));
  EXPECT_EQ(Line(6), Blanks(3) + u"A subtitle that runs on across the whole width" + Blanks(3));
  EXPECT_EQ(Cells(7).substr(4, 5), u"After");
  ExpectScreenFile("prompt_and_value_columns");
}

// A prompt-only line wider than the limit does not widen the prompt column.
TEST_F(OptionTest, AWidePromptOnlyLineLeavesThePromptColumnNarrow) {
  PublishForm(u"Narrow", [&](IfrWriter &W, Strings &S) {
    W.Subtitle(S.Add(u"A subtitle of more than thirty-four cells"), 0);
    W.Checkbox({S.Add(u"Tiny"), S.Add(u"Checked"), 0x10, 1, 0, 0}, EFI_IFR_CHECKBOX_DEFAULT);
    W.Text(S.Add(u"Four"), S.Add(u"Its help"), S.Add(u"text"));
  });
  Published[0]->Driver->Buffer(TestGuid(1), u"Data")->at(0) = 1;
  Send(Handles());
  ASSERT_TRUE(Waiting());
  EXPECT_EQ(Browser->Selection->Form->PromptColumnWidth, 4);
  EXPECT_EQ(Line(5), Blanks(3) + u"Tiny  X" + Blanks(42));
  EXPECT_EQ(Line(6), Blanks(3) + u"Four  text" + Blanks(39));
}

// Prompts break only at carriage returns; every line keeps its text, whatever the width of the
// last one.
TEST_F(OptionTest, APromptOfSeveralLinesKeepsEachLine) {
  PublishForm(u"Lines", [&](IfrWriter &W, Strings &S) {
    W.Checkbox({S.Add(u"A long first line\r\nab"), S.Add(u"Two lines"), 0x10, 1, 0, 0});
    W.Checkbox({S.Add(u"One\r\nTwo\r\nThree"), S.Add(u"Three lines"), 0x11, 1, 1, 0});
    W.Checkbox({S.Add(u"Below"), S.Add(u"One line"), 0x12, 1, 2, 0});
  });
  Published[0]->Driver->Buffer(TestGuid(1), u"Data")->at(0) = 1;
  Send(Handles());
  ASSERT_TRUE(Waiting());
  // The first prompt is 21 cells as a whole: the value column is 4 + 21 + 2 = 27.
  EXPECT_EQ(Line(4), Blanks(3) + u"A long first line" + Blanks(6) + u"X" + Blanks(25));
  EXPECT_EQ(Line(5), Blanks(3) + u"ab" + Blanks(47));
  EXPECT_EQ(Line(6), Blanks(3) + u"One" + Blanks(20) + u" " + Blanks(25));
  EXPECT_EQ(Line(7), Blanks(3) + u"Two" + Blanks(46));
  EXPECT_EQ(Line(8), Blanks(3) + u"Three" + Blanks(44));
  EXPECT_EQ(Line(9).substr(3, 5), u"Below");
  // The highlight covers every line of the prompt.
  EXPECT_EQ(AttributeAt(4, 4), 0x17);
  EXPECT_EQ(AttributeAt(4, 5), 0x17);
}

// A form of text lines only: nothing can be highlighted, and Up and Down scroll by one line. A
// text of two lines, prompt and value, leaves nothing behind when it moves.
TEST_F(OptionTest, AFormWithNothingToSelectScrollsByALine) {
  PublishForm(
      u"Texts",
      [&](IfrWriter &W, Strings &S) {
        for (unsigned Index = 0; Index < 30; Index++) {
          if (Index == 5) {
            W.Text(S.Add(u"Firmware\r\nversions"), S.Add(u"Two lines"), S.Add(u"AAAAAAAA\r\nB"));
            continue;
          }
          W.Text(S.Add(u"Line " + TwoDigits(Index)), S.Add(u"One line"),
                 S.Add(u"v" + TwoDigits(Index)));
        }
      },
      0);
  Send(Handles());
  ASSERT_TRUE(Waiting());
  EXPECT_EQ(Browser->OptionRows, 31);
  EXPECT_EQ(Browser->Selection->MenuOption, nullptr);
  // Rows 5 and 6 of the list on screen rows 9 and 10; the two-line prompt is 18 cells as a
  // whole, so values stand from 4 + 18 + 2 = 24.
  EXPECT_EQ(Line(9), Blanks(3) + u"Firmware" + Blanks(12) + u"AAAAAAAA" + Blanks(21));
  EXPECT_EQ(Line(10), Blanks(3) + u"versions" + Blanks(12) + u"B" + Blanks(28));
  Host().Speaker()->ResetBeeps();
  struct Step {
    const char *Key;
    UINT32 Top;
  };
  // Page Down: 2 + 17 passes 31 - 17, so the last page. End stays there; Home goes back.
  for (const Step &Each :
       {Step{"Down", 1}, Step{"Down", 2}, Step{"Down", 3}, Step{"Up", 2}, Step{"PgDn", 14},
        Step{"End", 14}, Step{"PgUp", 0}, Step{"Down", 1}, Step{"Home", 0}, Step{"Up", 0}}) {
    Type(Each.Key);
    EXPECT_EQ(TopRow(), Each.Top) << Each.Key;
    EXPECT_EQ(Browser->Selection->MenuOption, nullptr) << Each.Key;
  }
  EXPECT_EQ(Host().Speaker()->Beeps(), 0u);
  // One line down: the two-line text stands one row higher, and where its first line stood its
  // second line shows, with nothing of the first around it.
  Type("Down");
  EXPECT_EQ(Line(8), Blanks(3) + u"Firmware" + Blanks(12) + u"AAAAAAAA" + Blanks(21));
  EXPECT_EQ(Line(9), Blanks(3) + u"versions" + Blanks(12) + u"B" + Blanks(28)) << ScreenText();
  EXPECT_EQ(Line(10), Blanks(3) + u"Line 06" + Blanks(13) + u"v06" + Blanks(26));
}

// The three records of a date and of a time: fields three cells apart behind the prompt column,
// separators and brackets in the plain colour, the highlighted field alone in the highlight.
TEST_F(OptionTest, TheThreeFieldsOfADateAndATime) {
  PublishForm(
      u"Clock",
      [&](IfrWriter &W, Strings &S) {
        W.Date({S.Add(u"Date of Manufacture:"), S.Add(u"A date"), 0x10, 1, 0, 0});
        W.Time({S.Add(u"Time"), S.Add(u"A time"), 0x11, 1, 4, 0});
        W.Date({S.Add(u"Today"), S.Add(u"The clock's date"), 0x12, 0, 0, 0}, QF_DATE_STORAGE_TIME);
      },
      64);
  std::vector<uint8_t> &Data = *Published[0]->Driver->Buffer(TestGuid(1), u"Data");
  Data[0] = 2024 & 0xFF;
  Data[1] = 2024 >> 8;
  Data[2] = 4;
  Data[3] = 15;
  Data[4] = 23;
  Data[5] = 59;
  Data[6] = 7;
  Send(Handles());
  ASSERT_TRUE(Waiting());
  // Column 4, a prompt column of 20: "[" at 26, month 27, "/" 29, day 30, "/" 32, year 33.
  EXPECT_EQ(Line(4), Blanks(3) + u"Date of Manufacture:" + Blanks(2) + u"[04/15/2024]" + Blanks(15))
      << ScreenText();
  EXPECT_EQ(Line(5), Blanks(3) + u"Time" + Blanks(18) + u"[23:59:07]" + Blanks(17));
  EXPECT_EQ(Line(6).substr(25, 12), u"[01/01/2026]");
  struct Look {
    UINT32 Column;
    UINT8 OnMonth, OnDay;
  };
  const Look Looks[] = {
      {4, 0x17, 0x17},  // the prompt, highlighted with every field
      {24, 0x71, 0x71}, // the gap
      {26, 0x70, 0x70}, // "["
      {27, 0x07, 0x70}, // month
      {29, 0x70, 0x70}, // "/"
      {30, 0x70, 0x07}, // day
      {33, 0x70, 0x70}, // year
      {37, 0x70, 0x70}, // "]"
  };
  for (const Look &Each : Looks) {
    EXPECT_EQ(AttributeAt(Each.Column, 4), Each.OnMonth) << "column " << Each.Column;
  }
  Type("Tab");
  for (const Look &Each : Looks) {
    EXPECT_EQ(AttributeAt(Each.Column, 4), Each.OnDay) << "column " << Each.Column;
  }
  // A date on the real-time clock refreshes each second; one with storage does not.
  Statement *Stored = Browser->Selection->MenuOption->Statement;
  EXPECT_EQ(Stored->RefreshInterval, 0);
  MenuLine *Last = MenuLineFromLink(Browser->OptionList.Back);
  EXPECT_EQ(Last->Statement->RefreshInterval, 1);
}

// A statement whose prompt cannot be read gets no line and no place in the display order; a
// sub-form whose title cannot be read keeps its title row blank.
TEST_F(OptionTest, UnreadableStringsLeaveNoLine) {
  Strings S;
  IfrWriter W;
  EFI_STRING_ID Title = S.Add(u"Gaps");
  W.FormSet(TestGuid(1), Title, S.Add(u"Help"), {}, true);
  W.VarStore(TestGuid(1), 1, 8, "Data");
  W.Form(1, Title, true);
  W.Checkbox({S.Add(u"Before"), S.Add(u"Readable"), 0x10, 1, 0, 0});
  W.Checkbox({999, S.Add(u"No prompt"), 0x11, 1, 1, 0});
  W.Checkbox({S.Add(u"After"), S.Add(u"Readable"), 0x12, 1, 2, 0});
  W.Ref({S.Add(u"Untitled"), S.Add(u"A sub-form"), 0x13, 0, 0, 0}, 2);
  W.End();
  W.Form(2, 998, true);
  W.Checkbox({S.Add(u"Inner"), S.Add(u"Readable"), 0x20, 1, 3, 0});
  W.End();
  W.End();
  PublishForms(1, W, S, 8);
  Send(Handles());
  ASSERT_TRUE(Waiting());
  EXPECT_EQ(RowOf(u"   Before "), 4);
  EXPECT_EQ(RowOf(u"   After "), 5);
  EXPECT_EQ(RowOf(u"► Untitled"), 6);
  std::vector<UINT16> Order;
  LIST_FOR_EACH(Link, &Browser->OptionList) {
    Order.push_back(MenuLineFromLink(Link)->DisplayIndex);
  }
  EXPECT_EQ(Order, (std::vector<UINT16>{0, 1, 2}));
  Type("End Enter");
  ASSERT_EQ(RowOf(u"   Inner "), 6) << ScreenText();
  EXPECT_EQ(Line(3), Blanks(52));
  EXPECT_EQ(CharAt(0, 4), u'├');
}

// An option of several rows on the last page passes the page: what does not fit is neither
// printed nor cleared, so the frame and the footer below the body stay.
TEST_F(OptionTest, AnOptionTallerThanTheRestOfThePage) {
  auto Publish = [this](bool WithTallOption) {
    PublishForm(
        u"Tall",
        [&](IfrWriter &W, Strings &S) {
          for (unsigned Index = 0; Index < 16; Index++) {
            W.Checkbox({S.Add(u"Check " + TwoDigits(Index)), S.Add(u"One row"),
                        static_cast<EFI_QUESTION_ID>(0x10 + Index), 1, static_cast<UINT16>(Index),
                        0});
          }
          if (WithTallOption) {
            W.Checkbox(
                {S.Add(u"Tall\r\nprompt\r\nof four\r\nrows"), S.Add(u"Four rows"), 0x30, 1, 20, 0});
          }
        },
        32);
  };
  Publish(false);
  Send(Handles());
  std::vector<std::string> Expected = ScreenRows();

  Restart(tools::SessionOptions());
  Publish(true);
  Send(Handles());
  ASSERT_TRUE(Waiting());
  EXPECT_EQ(Line(20).substr(3, 4), u"Tall");
  std::vector<std::string> Rows = ScreenRows();
  for (UINT32 Row = 21; Row < 25; Row++) {
    EXPECT_EQ(Rows[Row], Expected[Row]) << "row " << Row << "\n" << ScreenText();
  }
  // End brings the whole option into view.
  Type("End");
  EXPECT_EQ(TopRow(), 3u);
  EXPECT_EQ(Line(17).substr(3, 4), u"Tall");
  EXPECT_EQ(Line(20).substr(3, 4), u"rows");
  Rows = ScreenRows();
  for (UINT32 Row = 21; Row < 25; Row++) {
    EXPECT_EQ(Rows[Row], Expected[Row]) << "row " << Row << "\n" << ScreenText();
  }
}

} // namespace
} // namespace morvane::test
