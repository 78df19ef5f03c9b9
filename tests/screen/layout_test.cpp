// Layouts other than the default: anchors and percent sizes on other consoles, a body fitted to
// its form, layouts that lack the help area or the menu bar, separate boxes with shadows, a
// layout installed by another driver, and styles that have no layout.
#include <cstring>

#include "host/components/layouts.h"
#include "screen/layout.h"
#include "tests/screen/screen_fixture.h"

namespace morvane::test {
namespace {

using kit::IfrValue;
using kit::IfrWriter;
using kit::Strings;

struct Rect {
  UINT32 Left, Right, Top, Bottom;
};

void ExpectRect(const ScreenRect &Actual, const Rect &Expected, const std::string &What) {
  EXPECT_EQ(Actual.Left, Expected.Left) << What << " left";
  EXPECT_EQ(Actual.Right, Expected.Right) << What << " right";
  EXPECT_EQ(Actual.Top, Expected.Top) << What << " top";
  EXPECT_EQ(Actual.Bottom, Expected.Bottom) << What << " bottom";
}

// A boxed body over the whole width, where the help area would be.
std::vector<uint32_t> FullWidthBodyRow() {
  return CellRow(AREA_BODY, 0, 2, 80, 21, LAYOUT_FLAG_BOX, BodyAttributes);
}

class LayoutTest : public ScreenTest {
protected:
  // A form with help on every line (style 0): a subtitle, a one-of, a string, a checkbox, Extra
  // more checkboxes and a reference to a sub-form "More" of one checkbox.
  PublishedFormSet &Sample(UINT8 Id, unsigned Extra = 0, const EFI_GUID *Page = nullptr) {
    Strings S;
    IfrWriter W;
    EFI_STRING_ID Title = S.Add(u"Sample");
    W.FormSet(TestGuid(Id), Title, S.Add(u"Help"), {}, true);
    W.VarStore(TestGuid(Id), 1, 64, "Data");
    W.Form(1, Title, true);
    W.Subtitle(S.Add(u"Fitted body form"), 0);
    W.OneOf({S.Add(u"Mode"), S.Add(u"How fast it runs"), 0x10, 1, 0, 0}, EFI_IFR_NUMERIC_SIZE_1, 0,
            1, 0, true);
    W.OneOfOption(S.Add(u"Fast"), EFI_IFR_OPTION_DEFAULT, IfrValue::U8(0));
    W.OneOfOption(S.Add(u"Balanced"), 0, IfrValue::U8(1));
    W.End();
    W.String({S.Add(u"Name"), S.Add(u"A name for it"), 0x11, 1, 2, 0}, 0, 12);
    W.Checkbox({S.Add(u"Enabled"), S.Add(u"Turns it on"), 0x12, 1, 30, 0});
    for (unsigned Index = 0; Index < Extra; Index++) {
      std::u16string Prompt = u"Item ";
      Prompt += static_cast<char16_t>(u'0' + Index / 10);
      Prompt += static_cast<char16_t>(u'0' + Index % 10);
      W.Checkbox({S.Add(Prompt), S.Add(u"One more item"),
                  static_cast<EFI_QUESTION_ID>(0x40 + Index), 1,
                  static_cast<UINT16>(31 + Index % 30), 0});
    }
    W.Ref({S.Add(u"More"), S.Add(u"Goes deeper"), 0x13, 0, 0, 0}, 2);
    W.End();
    W.Form(2, S.Add(u"More"), true);
    W.Checkbox({S.Add(u"Deep"), S.Add(u"A setting of the sub-form"), 0x30, 1, 63, 0});
    W.End();
    W.End();
    return PublishForms(Id, W, S, 64, Page, Title);
  }
};

// Percent sizes, a centred menu bar, a help box held to the right edge and a footer held to the
// bottom edge follow the console's size.
TEST_F(LayoutTest, AnchorsAndPercentSizesFollowTheConsole) {
  struct Case {
    UINT32 Columns, Rows;
    Rect MenuBar, Body, Help, Footer;
  };
  const Case Cases[] = {
      {100, 30, {10, 89, 1, 1}, {2, 61, 3, 23}, {63, 97, 3, 23}, {0, 99, 28, 29}},
      {132, 43, {14, 118, 1, 1}, {2, 80, 3, 32}, {95, 129, 3, 32}, {0, 131, 41, 42}},
  };
  for (const Case &Each : Cases) {
    std::string Size = std::to_string(Each.Columns) + "x" + std::to_string(Each.Rows);
    tools::SessionOptions Options;
    Options.Platform.Columns = Each.Columns;
    Options.Platform.Rows = Each.Rows;
    Restart(Options);
    UseLayout({
        LayoutWords(AREA_TITLE, ANCHOR_LEFT, 0, ANCHOR_TOP, 0, SIZE_PERCENT, 100, SIZE_CELLS, 1, 0,
                    {0x30}),
        LayoutWords(AREA_MENU_BAR, ANCHOR_CENTER, 0, ANCHOR_TOP, 1, SIZE_PERCENT, 80, SIZE_CELLS, 1,
                    0, {0x17, 0x11, 0x71}),
        LayoutWords(AREA_BODY, ANCHOR_LEFT, 2, ANCHOR_TOP, 3, SIZE_PERCENT, 60, SIZE_PERCENT, 70,
                    LAYOUT_FLAG_BOX, BodyAttributes),
        LayoutWords(AREA_HELP, ANCHOR_RIGHT, -36, ANCHOR_TOP, 3, SIZE_CELLS, 35, SIZE_PERCENT, 70,
                    LAYOUT_FLAG_BOX, HelpAttributes),
        LayoutWords(AREA_FOOTER, ANCHOR_LEFT, 0, ANCHOR_BOTTOM, -1, SIZE_PERCENT, 100, SIZE_CELLS,
                    2, 0, {0x3F, 0, 0, 0x30}),
    });
    Sample(1, 0, &gDefaultPageGuids[0]);
    Send(Handles());
    ASSERT_TRUE(Waiting()) << Size << "\n" << ScreenText();
    ExpectRect(Browser->TitleArea.Frame, {0, Each.Columns - 1, 0, 0}, Size + " title");
    ExpectRect(Browser->MenuBarArea.Frame, Each.MenuBar, Size + " menu bar");
    ExpectRect(Browser->BodyArea.Frame, Each.Body, Size + " body");
    ExpectRect(Browser->HelpArea.Frame, Each.Help, Size + " help");
    ExpectRect(Browser->FooterArea.Frame, Each.Footer, Size + " footer");
    // A box, and the style's blank margin above and below the options.
    ExpectRect(Browser->BodyArea.Client,
               {Each.Body.Left + 1, Each.Body.Right - 1, Each.Body.Top + 2, Each.Body.Bottom - 2},
               Size + " body client");
    // The footer ends in the screen's last cell, and the screen did not scroll.
    EXPECT_EQ(Cells(0).find(u"Morvane Setup"), (Each.Columns - 13) / 2) << Size;
    if (Each.Columns == 100) {
      ExpectScreenFile("anchored_100x30");
    }
  }
}

// The body of width and height kind 0, centred both ways, takes the width of its widest content
// and the height of its options, within the screen.
TEST_F(LayoutTest, ABodyOfKindZeroIsFittedToItsForm) {
  struct Case {
    const char *Name;
    unsigned Extra;
    UINT32 HorizontalAnchor;
    INT32 HorizontalOffset;
    INT32 VerticalOffset;
    Rect Frame, Client;
  };
  // Content: prompt-only 16 cells ("Fitted body form"), other prompts 7, values 14 (a string of
  // 12 in brackets): the width is 16 + 14 + 9 = 39. The row asks for 10 rows from row 7.
  const Case Cases[] = {
      {"five rows in six shrink", 0, ANCHOR_CENTER, 0, 0, {20, 59, 8, 16}, {21, 58, 10, 14}},
      {"exactly six rows stay", 1, ANCHOR_CENTER, 0, 0, {20, 59, 7, 16}, {21, 58, 9, 14}},
      {"seven rows grow by one", 2, ANCHOR_CENTER, 0, 0, {20, 59, 6, 16}, {21, 58, 8, 14}},
      {"twelve rows grow both ways", 7, ANCHOR_CENTER, 0, 0, {20, 59, 4, 19}, {21, 58, 6, 17}},
      {"too many rows take the screen", 29, ANCHOR_CENTER, 0, 0, {20, 59, 0, 24}, {21, 58, 2, 22}},
      {"a negative offset counts twice when shrinking",
       0,
       ANCHOR_CENTER,
       -2,
       -1,
       {22, 61, 6, 14},
       {23, 60, 8, 12}},
      {"a positive offset counts as 0", 0, ANCHOR_CENTER, 3, 4, {20, 59, 8, 16}, {21, 58, 10, 14}},
      {"a left anchor keeps its left edge", 0, ANCHOR_LEFT, 5, 0, {5, 44, 8, 16}, {6, 43, 10, 14}},
  };
  for (const Case &Each : Cases) {
    Restart(tools::SessionOptions());
    UseLayout({LayoutWords(AREA_BODY, Each.HorizontalAnchor, Each.HorizontalOffset, ANCHOR_CENTER,
                           Each.VerticalOffset, SIZE_FIT, 40, SIZE_FIT, 10, LAYOUT_FLAG_BOX,
                           BodyAttributes)});
    Sample(1, Each.Extra);
    Send(Handles());
    ASSERT_TRUE(Waiting()) << Each.Name << "\n" << ScreenText();
    ExpectRect(Browser->BodyArea.Frame, Each.Frame, Each.Name);
    ExpectRect(Browser->BodyArea.Client, Each.Client, Each.Name);
    UINT32 ClientWidth = Each.Client.Right - Each.Client.Left + 1;
    EXPECT_EQ(Browser->BodyWidth, ClientWidth - 7) << Each.Name;
    EXPECT_EQ(Browser->PromptWidthLimit, ((ClientWidth - 7) * 3) >> 2) << Each.Name;
    // The box is drawn on the fitted frame: one column wider than the content asks.
    EXPECT_EQ(CharAt(Each.Frame.Left, Each.Frame.Top), u'┌') << Each.Name << "\n" << ScreenText();
    EXPECT_EQ(CharAt(Each.Frame.Right, Each.Frame.Bottom), u'┘') << Each.Name;
    if (Each.Extra == 0 && Each.HorizontalOffset == 0) {
      ExpectScreenFile("fitted_body_shrunk");
    }
    if (Each.Extra == 7) {
      ExpectScreenFile("fitted_body_grown");
    }
  }
}

TEST_F(LayoutTest, AFittedSubFormMakesRoomForItsTitle) {
  UseLayout({LayoutWords(AREA_BODY, ANCHOR_CENTER, 0, ANCHOR_CENTER, 0, SIZE_FIT, 40, SIZE_FIT, 10,
                         LAYOUT_FLAG_BOX, BodyAttributes)});
  Sample(1);
  Send(Handles());
  Type("End Enter");
  // "Deep" and a checkbox, whose value counts no cells: 4 + 9. The prompt column is three
  // quarters of the 5 cells left, so the prompt is cut to 3.
  ASSERT_EQ(RowOf(u"Dee "), 13) << ScreenText();
  // Border, title, rule, margin, one option, margin, border.
  ExpectRect(Browser->BodyArea.Frame, {33, 46, 9, 15}, "sub-form frame");
  ExpectRect(Browser->BodyArea.Client, {34, 45, 13, 13}, "sub-form client");
  EXPECT_EQ(ColumnOf(10, u"More"), 38) << ScreenText();
  EXPECT_EQ(CharAt(33, 11), u'├');
  EXPECT_EQ(CharAt(46, 11), u'┤') << "no help area: the rule meets the frame";
}

TEST_F(LayoutTest, WithoutAHelpRowTheBodyHasNoSharedBorder) {
  UseLayout({DefaultTitleRow(), DefaultMenuBarRow(), FullWidthBodyRow(), DefaultFooterRow()});
  Sample(1);
  Send(Handles());
  ASSERT_TRUE(Waiting());
  EXPECT_EQ(Cells(2), u"┌" + std::u16string(78, u'─') + u"┐");
  EXPECT_EQ(RowOf(u"Item Specific Help"), -1);
  EXPECT_EQ(RowOf(u"How fast"), -1) << "no help text is shown anywhere";
  UINT8 Row[LAYOUT_ROW_SIZE];
  EXPECT_EQ(GetAreaAttributes(AREA_HELP, Row, nullptr), EFI_NOT_FOUND);
  Type("End Enter");
  // On a sub-form the rule meets the right border with ┤.
  EXPECT_EQ(CharAt(0, 4), u'├') << ScreenText();
  EXPECT_EQ(CharAt(79, 4), u'┤');
  Type("Esc");
  // Back on the top form the two cells of the frame are put back.
  EXPECT_EQ(CharAt(0, 4), u'│') << ScreenText();
  EXPECT_EQ(CharAt(79, 4), u'│');
}

TEST_F(LayoutTest, WithoutAMenuBarTheTabAndHelpKeysDoNothing) {
  UseLayout({DefaultTitleRow(), DefaultBodyRow(), DefaultHelpRow(), DefaultFooterRow()});
  Sample(1, 0, &gDefaultPageGuids[0]);
  Sample(2, 0, &gDefaultPageGuids[1]);
  Send(Handles());
  ASSERT_TRUE(Waiting());
  EXPECT_EQ(Cells(1), std::u16string(80, u' ')) << "no tabs are painted";
  std::vector<std::string> Before = ScreenRows();
  Host().Speaker()->ResetBeeps();
  for (const char *Key : {"F1", "Alt-h", "Esc", "Alt-x", "Left", "Right"}) {
    Type(Key);
    ASSERT_TRUE(Waiting()) << Key;
    EXPECT_EQ(ScreenRows(), Before) << Key << "\n" << ScreenText();
    EXPECT_EQ(Browser->MenuBarCurrent, 0u) << Key;
    EXPECT_EQ(Browser->Selection->FormSet->HiiHandle, Published[0]->Handle) << Key;
  }
  EXPECT_EQ(Host().Speaker()->Beeps(), 0u);
  // Esc still leaves a sub-form.
  Type("End Enter");
  ASSERT_NE(RowOf(u"Deep"), -1) << ScreenText();
  Type("Esc");
  EXPECT_EQ(RowOf(u"Deep"), -1) << ScreenText();
  EXPECT_NE(RowOf(u"Enabled"), -1);
}

// Body and help in boxes of their own, apart, each casting a shadow: with a graphics output the
// cells under the shadows darken; the help box has a title but no rule below it.
TEST_F(LayoutTest, SeparateBoxesEachHaveAFrameAndAShadow) {
  const UINT32 BoxAndShadow = LAYOUT_FLAG_BOX | LAYOUT_FLAG_SHADOW;
  UseLayout({DefaultTitleRow(), DefaultMenuBarRow(),
             CellRow(AREA_BODY, 0, 2, 50, 19, BoxAndShadow, BodyAttributes),
             CellRow(AREA_HELP, 52, 2, 26, 19, BoxAndShadow, HelpAttributes),
             CellRow(AREA_FOOTER, 0, 21, 80, 2, 0, {0x3F, 0, 0, 0x30})});
  Sample(1);
  Send(Handles());
  ASSERT_TRUE(Waiting());
  // Two boxes: 0-49 and 52-77, rows 2-20.
  EXPECT_EQ(CharAt(49, 2), u'┐') << ScreenText();
  EXPECT_EQ(CharAt(52, 2), u'┌');
  EXPECT_EQ(CharAt(77, 20), u'┘');
  EXPECT_EQ(ColumnOf(3, u"Item Specific Help"), 56) << "centred in the help client, 53-76";
  EXPECT_EQ(CharAt(52, 4), u'│') << "no rule under the help title";
  EXPECT_EQ(CharAt(77, 4), u'│');
  // The shadows: a column right of each box from its second row, a row below each box from its
  // second column, over the footer painted before them: black ground, dark grey text.
  for (UINT32 Column : {1u, 49u, 50u, 53u, 77u, 78u}) {
    EXPECT_EQ(AttributeAt(Column, 21) & 0xF0, 0x00) << "column " << Column << " is in a shadow";
  }
  for (UINT32 Column : {0u, 51u, 52u, 79u}) {
    EXPECT_EQ(AttributeAt(Column, 21), 0x30) << "column " << Column << " is not";
  }
  ExpectScreenFile("separate_boxes_with_shadows");
}

// Another driver's layout under the default layout's GUID stands before the first call: the
// browser installs none of its own, and that layout rules style 0.
TEST_F(LayoutTest, ALayoutAlreadyInstalledWins) {
  std::vector<std::vector<uint32_t>> Rows = {
      DefaultTitleRow(), CellRow(AREA_BODY, 10, 3, 60, 18, LAYOUT_FLAG_BOX, BodyAttributes),
      DefaultFooterRow()};
  InstallLayout(gScreenLayoutProtocolGuid, Rows);
  Sample(1);
  Send(Handles());
  ASSERT_TRUE(Waiting());
  ExpectRect(Browser->BodyArea.Frame, {10, 69, 3, 20}, "body");
  EXPECT_EQ(Browser->HelpArea.Row, nullptr);
  UINTN Count = 0;
  EFI_HANDLE *Holders = nullptr;
  EFI_GUID Guid = gScreenLayoutProtocolGuid;
  ASSERT_EQ(Boot()->LocateHandleBuffer(ByProtocol, &Guid, nullptr, &Count, &Holders), EFI_SUCCESS);
  Boot()->FreePool(Holders);
  EXPECT_EQ(Count, 1u);
  EXPECT_EQ(OutstandingSinceSend().find("408 "), std::string::npos)
      << "the default block was not made: " << OutstandingSinceSend();
  Type("F10 Enter");
  ASSERT_TRUE(Finished()) << ScreenText();
  ExpectNothingLeftSinceSend();
}

// The layout is looked up at every paint: one that its driver replaces while a form is shown
// rules from the next paint on, which is a full one.
TEST_F(LayoutTest, ALayoutReplacedWhileShownTakesEffectAtTheNextPaint) {
  EFI_HANDLE Handle = InstallLayout(LayoutGuid(1), DefaultRows());
  InstallStyleTable({{0, LayoutGuid(1)}});
  Sample(1);
  Send(Handles());
  ASSERT_TRUE(Waiting());
  ExpectRect(Browser->BodyArea.Frame, {0, 54, 2, 22}, "before");
  VOID *Old = Blocks.back().data();
  Blocks.push_back(host::MakeLayoutBlock(
      {DefaultTitleRow(), DefaultMenuBarRow(), FullWidthBodyRow(), DefaultFooterRow()}));
  EFI_GUID Guid = LayoutGuid(1);
  ASSERT_EQ(Boot()->ReinstallProtocolInterface(Handle, &Guid, Old, Blocks.back().data()),
            EFI_SUCCESS);
  Type("Down");
  ExpectRect(Browser->BodyArea.Frame, {0, 54, 2, 22}, "a movement paints no form");
  Type("End Enter");
  ExpectRect(Browser->BodyArea.Frame, {0, 79, 2, 22}, "after");
  EXPECT_EQ(Browser->HelpArea.Row, nullptr);
  EXPECT_EQ(CharAt(79, 2), u'┐') << "the new frame is drawn\n" << ScreenText();
}

// A style with no row in the table, or whose row names a layout that nobody offers: the form is
// not painted and SendForm returns the failure.
TEST_F(LayoutTest, AStyleWithoutALayoutFailsSendForm) {
  struct Case {
    const char *Name;
    std::vector<std::pair<UINT16, EFI_GUID>> Table;
  };
  const Case Cases[] = {
      {"style 0 missing", {{1, gNoDefaultsLayoutGuid}, {2, gNoHelpLayoutGuid}}},
      {"no provider", {{0, LayoutGuid(0x77)}}},
  };
  for (const Case &Each : Cases) {
    Restart(tools::SessionOptions());
    InstallStyleTable(Each.Table);
    Sample(1);
    Send(Handles());
    ASSERT_TRUE(Finished()) << Each.Name << "\n" << ScreenText();
    EXPECT_EQ(Run().Status(), EFI_UNSUPPORTED) << Each.Name;
    for (UINT32 Row = 0; Row < 25; Row++) {
      EXPECT_EQ(Cells(Row), std::u16string(80, u' ')) << Each.Name << ": nothing is drawn";
    }
    ExpectNothingLeftSinceSend();
  }
}

// A layout without a body row shows no form and reads no key: SendForm does not wait for one
// that can never come, it returns the failure.
TEST_F(LayoutTest, ALayoutWithoutABodyRowEndsSendForm) {
  UseLayout({DefaultTitleRow(), DefaultMenuBarRow(), DefaultHelpRow(), DefaultFooterRow()});
  Sample(1);
  Send(Handles());
  ASSERT_TRUE(Finished()) << ScreenText();
  EXPECT_EQ(Run().Status(), EFI_UNSUPPORTED);
  ExpectNothingLeftSinceSend();
}

// Bytes behind the last whole row of a block are not a row, even when they begin like one.
TEST_F(LayoutTest, BytesBeyondTheLastWholeRowAreIgnored) {
  Sample(1);
  Send(Handles());
  std::vector<std::string> Expected = ScreenRows();

  Restart(tools::SessionOptions());
  std::vector<uint32_t> Block = host::MakeLayoutBlock(DefaultRows());
  // Half a row that would move the body: area 1, left anchor, offset 30.
  std::vector<uint32_t> Half = {AREA_BODY,  ANCHOR_LEFT, 30,         ANCHOR_TOP, 0,
                                SIZE_CELLS, 20,          SIZE_CELLS, 5,          0};
  Block.insert(Block.end(), Half.begin(), Half.end());
  Block[0] = static_cast<uint32_t>(Block.size() * sizeof(uint32_t));
  Block[1] = 5 * LAYOUT_ROW_SIZE + 40;
  InstallLayoutBlock(gScreenLayoutProtocolGuid, Block);
  Sample(1);
  Send(Handles());
  ASSERT_TRUE(Waiting());
  EXPECT_EQ(ScreenRows(), Expected) << ScreenText();
}

} // namespace
} // namespace morvane::test
