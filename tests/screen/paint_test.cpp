// The painters of everything but the option lines: the footer's columns and gaps, the title's
// alignment and fitted size, the help title's alternation, the frame given back after a
// sub-form, and the scroll bar of small bodies.
#include "data/builtin_strings.h"
#include "host/components/pages.h"
#include "screen/display_form.h"
#include "tests/screen/screen_fixture.h"

namespace morvane::test {
namespace {

using kit::IfrWriter;
using kit::Strings;

class PaintTest : public ScreenTest {
protected:
  // A checkbox to toggle (each toggle paints the form again), Count more checkboxes, and a
  // reference to a sub-form.
  PublishedFormSet &Toggles(UINT8 Id, unsigned Count = 0, UINT16 Subclass = 0) {
    Strings S;
    IfrWriter W;
    EFI_STRING_ID Title = S.Add(u"Toggles");
    W.FormSet(TestGuid(Id), Title, S.Add(u"Help"), {}, true);
    if (Subclass != 0) {
      W.ExtensionSubclass(Subclass);
    }
    W.VarStore(TestGuid(Id), 1, 64, "Data");
    W.Form(1, Title, true);
    W.Checkbox({S.Add(u"Toggle"), S.Add(u"Each change paints the form again"), 0x10, 1, 0, 0});
    for (unsigned Index = 0; Index < Count; Index++) {
      std::u16string Prompt = u"Setting ";
      Prompt += static_cast<char16_t>(u'A' + Index);
      W.Checkbox({S.Add(Prompt), S.Add(u"Another setting"),
                  static_cast<EFI_QUESTION_ID>(0x20 + Index), 1, static_cast<UINT16>(1 + Index),
                  0});
    }
    W.Ref({S.Add(u"Deeper"), S.Add(u"A sub-form"), 0x11, 0, 0, 0}, 2);
    W.End();
    W.Form(2, S.Add(u"Deeper"), true);
    W.Checkbox({S.Add(u"Inner"), S.Add(u"On the sub-form"), 0x30, 1, 40, 0});
    W.End();
    W.End();
    return PublishForms(Id, W, S, 64);
  }

  void SetBuiltinString(EFI_STRING_ID Id, const std::u16string &Text) {
    EFI_HII_STRING_PROTOCOL *Hii = Session->Hii().String();
    ASSERT_EQ(Hii->SetString(Hii, Browser->HiiHandle, Id, "en-US", Text.c_str(), nullptr),
              EFI_SUCCESS);
  }

  // Makes the browser repaint title, menu bar and footer in full, as a language change does.
  void RefreshNotification() {
    EFI_HANDLE Handle = nullptr;
    EFI_GUID Guid = gRefreshNotifyProtocolGuid;
    ASSERT_EQ(Boot()->InstallProtocolInterface(&Handle, &Guid, EFI_NATIVE_INTERFACE, &Guid),
              EFI_SUCCESS);
    Type("wait 1");
  }
};

// The eight columns of key hints close their gaps step by step as the frame narrows, and the
// last column is cut at the frame's right edge.
TEST_F(PaintTest, FooterGapsCloseAsTheFrameNarrows) {
  struct Case {
    INT32 Width;
    std::vector<int> Starts;
    std::u16string LastFirst, LastSecond;
  };
  const std::vector<int> Normal = {3, 8, 14, 18, 31, 38, 57, 62};
  const std::vector<int> KeyGap = {3, 7, 13, 16, 29, 35, 54, 58};
  const std::vector<int> BothGaps = {3, 7, 12, 15, 27, 33, 51, 55};
  const std::vector<int> Lead = {1, 5, 10, 13, 25, 31, 49, 53};
  // English needs 76 columns from the frame's left edge; "over" is what passes the right edge.
  const Case Cases[] = {
      {80, Normal, u"Setup Defaults", u"Save and Exit"},
      {77, Normal, u"Setup Defaults", u"Save and Exit"},   // over 0
      {76, KeyGap, u"Setup Defaults", u"Save and Exit"},   // over 1
      {73, KeyGap, u"Setup Defaults", u"Save and Exit"},   // over 4
      {72, BothGaps, u"Setup Defaults", u"Save and Exit"}, // over 5
      {70, BothGaps, u"Setup Defaults", u"Save and Exit"}, // over 7
      {69, Lead, u"Setup Defaults", u"Save and Exit"},     // over 8
      {64, Lead, u"Setup Defa", u"Save and E"},            // cut to 63 - 53 cells
      {60, Lead, u"Setup ", u"Save a"},
  };
  const std::u16string Firsts[] = {u"F1",  u"Help",          u"↑↓", u"Select Item",
                                   u"+/-", u"Change Values", u"F9"};
  const std::u16string Seconds[] = {
      u"Esc", u"Exit", u"←→", u"Select Menu", u"Enter", u"Select ► Sub-Menu", u"F10"};
  for (const Case &Each : Cases) {
    std::string Name = "footer of " + std::to_string(Each.Width);
    Restart(tools::SessionOptions());
    UseLayout({DefaultTitleRow(), DefaultMenuBarRow(), DefaultBodyRow(), DefaultHelpRow(),
               CellRow(AREA_FOOTER, 0, 23, Each.Width, 2, 0x21, {0x3F, 0, 0, 0x30})});
    Toggles(1);
    Send(Handles());
    ASSERT_TRUE(Waiting()) << Name;
    for (size_t Index = 0; Index < 7; Index++) {
      EXPECT_EQ(ColumnOf(23, Firsts[Index]), Each.Starts[Index]) << Name << " column " << Index;
      EXPECT_EQ(ColumnOf(24, Seconds[Index]), Each.Starts[Index]) << Name << " column " << Index;
      UINT8 Expected = Index % 2 == 0 ? 0x3F : 0x30;
      EXPECT_EQ(AttributeAt(Each.Starts[Index], 23), Expected) << Name << " column " << Index;
    }
    UINT32 Last = static_cast<UINT32>(Each.Starts[7]);
    std::u16string Row23 = Cells(23);
    std::u16string Row24 = Cells(24);
    EXPECT_EQ(Row23.substr(Last, Each.LastFirst.size() + 1), Each.LastFirst + u" ") << Name;
    EXPECT_EQ(Row24.substr(Last, Each.LastSecond.size() + 1), Each.LastSecond + u" ") << Name;
    // The footer is cleared to its frame's right edge and no further.
    if (Each.Width < 80) {
      EXPECT_EQ(AttributeAt(Each.Width - 1, 24), 0x30) << Name;
      EXPECT_NE(AttributeAt(Each.Width, 24), 0x30) << Name;
    }
  }
}

// Built-in strings longer than their place: a long description in the last column of the footer
// closes every gap and is cut to what is left of the frame; a help title of characters of no
// width (more characters than the help's width) is centred by its cells; a title wider than the
// screen shows what fits and runs over into no other row. The strings are read at the first call
// of a nesting.
TEST_F(PaintTest, LongBuiltInStringsAreFittedToTheirPlace) {
  SetBuiltinString(STRING_KEY_F9_TEXT, u"Load the Setup Defaults Now");
  SetBuiltinString(STRING_HELP_TITLE, std::u16string(40, NARROW_CHAR) + u"Notes");
  std::u16string Long;
  for (int Index = 0; Index < 9; Index++) {
    Long += u"Title" + std::u16string(1, static_cast<char16_t>(u'0' + Index)) + u"....";
  }
  SetBuiltinString(STRING_BROWSER_TITLE, Long);
  Toggles(1);
  Send(Handles());
  ASSERT_TRUE(Waiting());
  EXPECT_EQ(ColumnOf(23, u"F1"), 1);
  EXPECT_EQ(ColumnOf(24, u"Select ► Sub-Menu"), 31);
  EXPECT_EQ(ColumnOf(24, u"F10"), 49);
  EXPECT_EQ(Cells(23).substr(53), u"Load the Setup Defaults No ");
  EXPECT_EQ(Cells(24).substr(53), u"Save and Exit" + std::u16string(14, u' '));
  EXPECT_EQ(ColumnOf(3, u"Notes"), 64) << ScreenText();
  EXPECT_EQ(Cells(0), Long.substr(0, 80));
  EXPECT_EQ(Cells(1), std::u16string(80, u' ')) << "nothing runs over into the next row";
}

// The help title is printed on the first paint after SendForm begins, skipped on the next,
// printed on the one after; a sub-form's paint counts as well.
TEST_F(PaintTest, TheHelpTitleIsPrintedOnEverySecondPaint) {
  Toggles(1);
  Send(Handles());
  ASSERT_EQ(ColumnOf(3, u"Item Specific Help"), 58) << ScreenText();
  const std::u16string Mark = u"##################";
  const bool Printed[] = {false, true, false, true};
  for (int Paint = 0; Paint < 4; Paint++) {
    Scribble(58, 3, Mark);
    Type("Enter");
    EXPECT_EQ(ColumnOf(3, Printed[Paint] ? u"Item Specific Help" : Mark), 58)
        << "paint " << Paint + 2 << "\n"
        << ScreenText();
  }
  Scribble(58, 3, Mark);
  Type("End Enter"); // to the sub-form: a paint that skips the title
  EXPECT_EQ(ColumnOf(3, Mark), 58) << ScreenText();
  Type("Esc"); // back: printed again
  EXPECT_EQ(ColumnOf(3, u"Item Specific Help"), 58) << ScreenText();
}

TEST_F(PaintTest, TheTitleStandsWhereItsAlignmentSays) {
  struct Case {
    UINT16 Alignment;
    int Column; // of the title text; -1: not painted
  };
  for (const Case &Each : {Case{0, 33}, Case{1, 0}, Case{2, 66}, Case{3, -1}}) {
    Restart(tools::SessionOptions());
    Toggles(1);
    Send(Handles());
    ASSERT_TRUE(Waiting());
    Browser->TitleAlignment = Each.Alignment;
    Scribble(0, 0, std::u16string(80, u'#'));
    RefreshNotification();
    if (Each.Column < 0) {
      EXPECT_EQ(Cells(0), std::u16string(80, u'#')) << "alignment " << Each.Alignment;
      continue;
    }
    std::u16string Expected(80, u' ');
    Expected.replace(Each.Column, 13, u"Morvane Setup");
    EXPECT_EQ(Cells(0), Expected) << "alignment " << Each.Alignment;
    EXPECT_EQ(AttributeAt(79, 0), 0x30);
  }
}

// A title row of size kind 0 is as wide as the text plus one and as high as its lines plus one,
// from the row's own left and top.
TEST_F(PaintTest, ATitleOfKindZeroFitsItsText) {
  UseLayout(
      {LayoutWords(AREA_TITLE, ANCHOR_LEFT, 10, ANCHOR_TOP, 0, SIZE_FIT, 0, SIZE_FIT, 0, 0, {0x30}),
       CellRow(AREA_BODY, 0, 3, 80, 20, LAYOUT_FLAG_BOX, BodyAttributes)});
  Toggles(1);
  Send(Handles());
  ASSERT_TRUE(Waiting());
  EXPECT_EQ(ColumnOf(0, u"Morvane Setup"), 10) << ScreenText();
  for (UINT32 Row : {0u, 1u}) {
    EXPECT_NE(AttributeAt(9, Row), 0x30) << Row;
    EXPECT_EQ(AttributeAt(10, Row), 0x30) << Row;
    EXPECT_EQ(AttributeAt(23, Row), 0x30) << Row;
    EXPECT_NE(AttributeAt(24, Row), 0x30) << Row;
  }
  EXPECT_NE(AttributeAt(10, 2), 0x30);
}

// A style without the blank margin: the row that carried the sub-form's rule lies one below
// the client top, and its frame cells are the ones given back.
TEST_F(PaintTest, BackFromASubFormOfAStyleWithoutMargin) {
  InstallLayout(LayoutGuid(5), DefaultRows());
  InstallStyleTable({{0, LayoutGuid(5)}, {2, LayoutGuid(5)}, {5, LayoutGuid(5)}});
  Toggles(1, 0, 5);
  Send(Handles());
  ASSERT_TRUE(Waiting());
  EXPECT_EQ(RowOf(u"Toggle "), 3) << "no margin: the options start on the client's first row";
  std::vector<std::string> TopForm = ScreenRows();
  Type("End Enter");
  ASSERT_EQ(RowOf(u"Inner"), 5) << ScreenText();
  EXPECT_EQ(CharAt(0, 4), u'├');
  EXPECT_EQ(CharAt(54, 4), u'┼');
  Type("Esc");
  EXPECT_EQ(CharAt(0, 3), u'│') << ScreenText();
  EXPECT_EQ(CharAt(54, 3), u'│') << "the help title's row keeps its divider";
  EXPECT_EQ(CharAt(0, 4), u'│');
  EXPECT_EQ(CharAt(54, 4), u'├') << "the help area's rule is whole again";
  Type("Home");
  EXPECT_EQ(ScreenRows(), TopForm) << ScreenText();
}

// The help title stands whenever the help area is painted: on a style without margin every
// change of value paints the help area anew.
TEST_F(PaintTest, TheHelpTitleStaysThroughValueChanges) {
  Toggles(1, 0, 1);
  Send(Handles());
  ASSERT_TRUE(Waiting());
  for (const char *Keys : {"", "Enter", "Enter", "Down", "Enter Esc"}) {
    Type(Keys);
    EXPECT_NE(ColumnOf(3, u"Item Specific Help"), -1) << "after '" << Keys << "'\n" << ScreenText();
  }
}

// With more tabs than the bar holds, "<" and ">" tell of the hidden ones, in the bar's own
// colour whatever tab was printed last, and only on the top form.
TEST_F(PaintTest, TabMarksOnTheTopFormOnly) {
  std::vector<EFI_GUID> Pages;
  for (UINT8 Index = 0; Index < 12; Index++) {
    Pages.push_back(TestGuid(static_cast<UINT8>(0x80 + Index)));
    Strings S;
    IfrWriter W;
    EFI_STRING_ID Title =
        S.Add(u"Tab" + std::u16string(1, static_cast<char16_t>(u'A' + Index)) + u"-page");
    W.FormSet(TestGuid(static_cast<UINT8>(0x10 + Index)), Title, S.Add(u"Help"), {}, true);
    W.Form(1, Title, true);
    W.Text(S.Add(u"A line"), S.Add(u"Its help"));
    W.Ref({S.Add(u"Deeper"), S.Add(u"A sub-form"), 0x11, 0, 0, 0}, 2);
    W.End();
    W.Form(2, S.Add(u"Deeper"), true);
    W.Text(S.Add(u"Inside"), S.Add(u"Its help"));
    W.End();
    W.End();
    PublishForms(static_cast<UINT8>(0x10 + Index), W, S, 0, &Pages.back(), Title);
  }
  host::PageList List(Boot(), Pages);
  Send(Handles());
  ASSERT_TRUE(Waiting());
  // Tabs of 9 + 5 cells from column 4: five fit, then the mark.
  EXPECT_EQ(CharAt(0, 1), u' ');
  EXPECT_EQ(ColumnOf(1, u"TabE-page"), 61);
  EXPECT_EQ(CharAt(77, 1), u'>');
  EXPECT_EQ(AttributeAt(77, 1), 0x17);
  // The sixth tab is current: the bar starts at the second, and the current tab is printed
  // last, just before the mark.
  Type("Right Right Right Right Right");
  ASSERT_EQ(Browser->MenuBarCurrent, 5u);
  EXPECT_EQ(ColumnOf(1, u"TabB-page"), 5) << ScreenText();
  EXPECT_EQ(AttributeAt(61, 1), 0x71);
  EXPECT_EQ(CharAt(0, 1), u'<');
  EXPECT_EQ(AttributeAt(0, 1), 0x17);
  EXPECT_EQ(CharAt(77, 1), u'>');
  EXPECT_EQ(AttributeAt(77, 1), 0x17);
  // On a sub-form the tabs stay, and the marks go.
  Type("End Enter");
  ASSERT_NE(RowOf(u"Inside"), -1) << ScreenText();
  EXPECT_EQ(CharAt(0, 1), u' ');
  EXPECT_EQ(CharAt(77, 1), u' ');
  EXPECT_EQ(AttributeAt(61, 1), 0x71);
  EXPECT_EQ(AttributeAt(5, 1), 0x11);
}

// The scroll bar needs a track of at least two cells between its arrows; a shorter body has its
// column cleared, even with more options than fit.
TEST_F(PaintTest, TheScrollBarOfSmallBodies) {
  struct Case {
    INT32 FrameHeight;
    std::u16string Column; // rows from the client top down, in the client's last column
  };
  const Case Cases[] = {
      {6, u"  "},
      {7, u"   "},
      {8, u"▲█░▼"},
      {10, u"▲██░░▼"},
  };
  for (const Case &Each : Cases) {
    Restart(tools::SessionOptions());
    UseLayout({CellRow(AREA_BODY, 0, 2, 55, Each.FrameHeight, LAYOUT_FLAG_BOX, BodyAttributes)});
    Toggles(1, 9);
    Send(Handles());
    ASSERT_TRUE(Waiting());
    std::u16string Column;
    for (UINT32 Row = 4; Row < 4 + Each.Column.size(); Row++) {
      Column += CharAt(53, Row);
      EXPECT_EQ(AttributeAt(53, Row), 0x70) << Each.FrameHeight << " row " << Row;
    }
    EXPECT_EQ(Column, Each.Column) << "frame of " << Each.FrameHeight << "\n" << ScreenText();
    EXPECT_EQ(Browser->ScrollBarShown, 1);
  }
}

} // namespace
} // namespace morvane::test
