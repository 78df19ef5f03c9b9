// The browser's two dialogs over a form, opened from a driver's Callback as other drivers open
// them: the button message box (its size, text, buttons and keys, scrolling) and the small
// modal dialog that reads one key or a masked line, with the notice that waits for Enter.
#include <functional>

#include "core/browser_context.h"
#include "dialogs/dialog.h"
#include "dialogs/message_box.h"
#include "tests/browser/browser_fixture.h"
#include "tests/common/text.h"

namespace morvane::test {
namespace {

constexpr EFI_QUESTION_ID Open = 0x60;

// The screen as text and attributes, for "given back as it was".
struct Snapshot {
  std::vector<std::string> Text;
  std::vector<std::string> Attributes;
  INT32 Attribute;
  BOOLEAN CursorVisible;
  bool operator==(const Snapshot &) const = default;
};

class DialogTest : public BrowserTest {
protected:
  PublishedFormSet *Set = nullptr;
  // Run once by the next Changing Callback of the Open action.
  std::function<void()> Inside;
  Snapshot Before{};
  Snapshot After{};
  bool Returned = false;

  void SetUp() override {
    BrowserTest::SetUp();
    FormSetBuilder F(TestGuid(1), u"Dialogs");
    F.Form();
    F.ActionWithCallback(u"Open Dialog", u"Puts a dialog over the form", Open);
    for (char16_t Letter = u'A'; Letter <= u'P'; Letter++) {
      F.Text(F.StringId(std::u16string(u"Background line ") + Letter),
             F.StringId(u"Text under the dialog"));
    }
    Set = &Publish(F);
    Set->Driver->OnCallback = [this](EFI_BROWSER_ACTION Action, EFI_QUESTION_ID Question, UINT8,
                                     EFI_IFR_TYPE_VALUE *, EFI_BROWSER_ACTION_REQUEST *) {
      if (Action == EFI_BROWSER_ACTION_CHANGING && Question == Open && Inside) {
        std::function<void()> Body = std::move(Inside);
        Inside = nullptr;
        Before = Take();
        Body();
        After = Take();
        Returned = true;
      }
      return EFI_SUCCESS;
    };
    SendAndWait({Set->Handle});
  }

  Snapshot Take() {
    EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *ConOut = Host().SystemTable()->ConOut;
    return {ScreenRows(), AttributeRows(), ConOut->Mode->Attribute, ConOut->Mode->CursorVisible};
  }

  // Opens the dialog that Body shows and runs the browser to the dialog's first key wait.
  void Show(std::function<void()> Body) {
    Returned = false;
    Inside = std::move(Body);
    Type("Enter");
    ASSERT_TRUE(Waiting()) << ScreenText();
  }

  // Types keys into the dialog; expects it to have closed and given the screen back.
  void Close(const std::string &Keys) {
    Type(Keys);
    ASSERT_TRUE(Returned) << Keys << "\n" << ScreenText();
    EXPECT_EQ(After, Before) << "the screen under the dialog comes back after " << Keys;
    EXPECT_EQ(Browser->ModalActive, 0);
  }

  char16_t At(UINT32 Column, UINT32 Row) { return Host().Screen().Cell(Column, Row).Char; }
  UINT8 AttributeAt(UINT32 Column, UINT32 Row) {
    return Host().Screen().Cell(Column, Row).Attribute;
  }

  // The column of Text on a row, or -1.
  int ColumnOf(UINT32 Row, const std::string &Text) {
    std::u16string Line = FromUtf8(this->Row(Row));
    size_t At = Line.find(FromUtf8(Text));
    return At == std::u16string::npos ? -1 : static_cast<int>(At);
  }

  // The four corners of a frame.
  void ExpectFrame(UINT32 Left, UINT32 Right, UINT32 Top, UINT32 Bottom) {
    EXPECT_EQ(At(Left, Top), u'┌') << ScreenText();
    EXPECT_EQ(At(Right, Top), u'┐') << ScreenText();
    EXPECT_EQ(At(Left, Bottom), u'└') << ScreenText();
    EXPECT_EQ(At(Right, Bottom), u'┘') << ScreenText();
  }
};

const CHAR16 *const YesNo[] = {u"Yes", u"No"};
const CHAR16 *const ThreeButtons[] = {u"Save", u"Discard", u"Cancel"};
// Wide enough to space three buttons out.
const CHAR16 *const LongQuestion = u"  The settings have changed. What should happen to them?  ";

TEST_F(DialogTest, AOneButtonBoxIsSizedToTitleAndTextAndWidenedOnlyForItsButton) {
  // The validation message: title "Message", one "Continue" button. Sized to title and text,
  // a box of a short text would put "]" on its frame: it grows by just what the button needs.
  const CHAR16 *const Continue[] = {u"Continue"};
  struct Case {
    const CHAR16 *Text;
    UINT32 Left, Right, Top, Bottom, ButtonColumn;
  } Cases[] = {
      {u"Too big", 34, 46, 10, 16, 36},
      {u"Value out of range", 30, 50, 10, 16, 36},
      {u"First line\r\nSecond line", 33, 46, 10, 17, 36},
  };
  for (const Case &Each : Cases) {
    SCOPED_TRACE(Utf8(U16(Each.Text)));
    Show([&] { ShowMessageBox(u"Message", Each.Text, nullptr, 0xF4, 0, 1, 0, Continue); });
    ExpectFrame(Each.Left, Each.Right, Each.Top, Each.Bottom);
    EXPECT_EQ(ColumnOf(Each.Bottom - 1, "[Continue]"), static_cast<int>(Each.ButtonColumn));
    Close("Enter");
  }
}

TEST_F(DialogTest, AShortMessageBoxIsSizedToItsTextAndCentred) {
  UINT32 Choice = 0;
  Show([&] {
    Choice = ShowMessageBox(u"Notice", u"The disk is not ready.", nullptr, 0xF1, 0, 2, 0, YesNo);
  });
  // 22 cells of text and 2 of margin, centred on 80 columns; six rows from row 10 (one row
  // below the middle).
  ExpectFrame(28, 52, 10, 16);
  EXPECT_EQ(At(28, 12), u'├');
  EXPECT_EQ(At(52, 12), u'┤');
  EXPECT_EQ(ColumnOf(11, "Notice"), 37);
  EXPECT_EQ(ColumnOf(13, "The disk is not ready."), 29);
  EXPECT_EQ(ColumnOf(15, "[Yes]"), 35);
  EXPECT_EQ(ColumnOf(15, "[No]"), 43);
  EXPECT_EQ(AttributeAt(36, 15), 0x07) << "the default button is highlighted";
  EXPECT_EQ(AttributeAt(44, 15), 0x71);
  EXPECT_EQ(Browser->ModalActive, 1);
  ExpectScreen("dialog_message_box_short");
  Close("Enter");
  EXPECT_EQ(Choice, 0u);
}

TEST_F(DialogTest, ALongLineMakesABoxThreeColumnsNarrowerThanTheScreen) {
  // A device path has no blank to break at: it is cut at the width.
  const CHAR16 *Text = u"Boot device not found: PciRoot(0x0)/Pci(0x1C,0x4)/Pci(0x0,0x0)/"
                       u"NVMe(0x1,8C-E3-8E-10-00-21-5A-7F)/"
                       u"HD(1,GPT,3F2504E0-4F89-11D3-9A0C-0305E82C3301,0x800,0x100000)";
  Show([&] { ShowMessageBox(u"Error", Text, nullptr, 0xF1, 0, 1, 0, YesNo); });
  // Wrapped at 78 columns the path is the widest line: the box is 77 columns wide, with three
  // lines of text.
  ExpectFrame(1, 78, 9, 17);
  EXPECT_GE(ColumnOf(12, "Boot device not found:"), 2) << ScreenText();
  EXPECT_EQ(ColumnOf(13, "PciRoot(0x0)"), 2) << "the cut line fills the box\n" << ScreenText();
  EXPECT_GE(ColumnOf(14, "0x100000)"), 2) << ScreenText();
  Close("Enter");
}

TEST_F(DialogTest, TextIsCentredLineByLineOrLeftAligned) {
  struct Case {
    UINT32 LeftAligned;
    int First;
    int Second;
  };
  // The title makes the box 27 columns wide (inner 28 to 52); each line is centred, or starts
  // one cell inside the inner edge.
  const Case Cases[] = {{0, 31, 36}, {1, 29, 29}};
  for (const Case &Each : Cases) {
    Show([&] {
      ShowMessageBox(u"Two lines of the message", u"A longer line here\r\nShort one", nullptr, 0xF1,
                     Each.LeftAligned, 1, 0, YesNo);
    });
    ExpectFrame(27, 53, 10, 17);
    EXPECT_EQ(ColumnOf(13, "A longer line here"), Each.First) << ScreenText();
    EXPECT_EQ(ColumnOf(14, "Short one"), Each.Second) << ScreenText();
    Close("Esc");
  }
}

TEST_F(DialogTest, ButtonsAnswerLeftRightEnterEscAndAltX) {
  struct Case {
    UINT32 ButtonCount;
    UINT32 DefaultButton;
    const char *Keys;
    UINT32 Expected;
  };
  const CHAR16 *const One[] = {u"OK"};
  const Case Cases[] = {
      {1, 0, "Right Left Right Enter", 0},    // one button: Left and Right do nothing
      {2, 0, "Right Enter", 1},               //
      {2, 0, "Right Right Enter", 0},         // Right wraps from the last to the first
      {2, 0, "Left Enter", 1},                // Left wraps from the first to the last
      {2, 0, "Tab Space \"x\" Up Enter", 0},  // other keys do nothing
      {2, 1, "Esc", MESSAGE_BOX_NO_CHOICE},   //
      {2, 1, "Alt-x", MESSAGE_BOX_NO_CHOICE}, //
      {3, 2, "Enter", 2},                     // the default button is the first choice
      {3, 2, "Right Enter", 0},               //
      {3, 2, "Left Left Enter", 0},           //
      {3, 7, "Enter", 0},                     // a default past the buttons is the first
  };
  for (const Case &Each : Cases) {
    UINT32 Choice = 1234;
    Show([&] {
      Choice = ShowMessageBox(u"Choose", LongQuestion, nullptr, 0xF1, 0, Each.ButtonCount,
                              Each.DefaultButton, Each.ButtonCount == 1 ? One : ThreeButtons);
    });
    Close(Each.Keys);
    EXPECT_EQ(Choice, Each.Expected) << Each.ButtonCount << " buttons, " << Each.Keys;
  }
}

TEST_F(DialogTest, TheHighlightFollowsTheCurrentButton) {
  Show([&] { ShowMessageBox(u"Choose", LongQuestion, nullptr, 0xF1, 0, 3, 1, ThreeButtons); });
  UINT32 ButtonRow = 0;
  for (UINT32 Candidate = 0; Candidate < 25 && ButtonRow == 0; Candidate++) {
    ButtonRow = ColumnOf(Candidate, "[Save]") >= 0 ? Candidate : 0;
  }
  ASSERT_GT(ButtonRow, 0u) << ScreenText();
  int Columns[] = {ColumnOf(ButtonRow, "[Save]"), ColumnOf(ButtonRow, "[Discard]"),
                   ColumnOf(ButtonRow, "[Cancel]")};
  ASSERT_LT(Columns[0], Columns[1]);
  ASSERT_LT(Columns[1], Columns[2]);
  for (UINT32 Current : {1u, 2u, 0u}) {
    for (UINT32 Index = 0; Index < 3; Index++) {
      // The text inside the brackets carries the highlight; the brackets do not.
      EXPECT_EQ(AttributeAt(Columns[Index] + 1, ButtonRow), Index == Current ? 0x07 : 0x71)
          << "button " << Index << " with " << Current << " current\n"
          << ScreenText();
      EXPECT_EQ(AttributeAt(Columns[Index], ButtonRow), 0x71);
    }
    Type("Right");
  }
  Close("Esc");
}

TEST_F(DialogTest, AShortTextStillGivesEveryButtonItsPlace) {
  const CHAR16 *const Five[] = {u"OK", u"Yes", u"No", u"Retry", u"Cancel"};
  for (UINT32 Count : {3u, 5u}) {
    Show([&] {
      ShowMessageBox(u"Choose", u"What now?", nullptr, 0xF1, 0, Count, 0,
                     Count == 3 ? ThreeButtons : Five);
    });
    std::string Screen = ScreenText();
    for (UINT32 Index = 0; Index < Count; Index++) {
      std::string Text = "[" + Utf8(Count == 3 ? ThreeButtons[Index] : Five[Index]) + "]";
      EXPECT_NE(Screen.find(Text), std::string::npos) << Text << "\n" << Screen;
    }
    Close("Esc");
  }
}

TEST_F(DialogTest, ABoxWithoutButtonsIgnoresEveryKey) {
  Show([&] { ShowMessageBox(u"Busy", u"Please wait.", nullptr, 0xF1, 0, 0, 0, nullptr); });
  // Three rows of frame and title around one line of text.
  ExpectFrame(33, 47, 11, 15);
  EXPECT_EQ(ColumnOf(14, "Please wait."), 34) << ScreenText();
  Type("Enter Esc Alt-x Space");
  EXPECT_FALSE(Returned);
  EXPECT_TRUE(Shows("Please wait.")) << ScreenText();
  for (UINT32 Below = 14; Below <= 17; Below++) {
    EXPECT_EQ(ColumnOf(Below, "["), -1) << "no button row";
  }
  // The run never returns; the fixture abandons it.
}

// What a timer's notification got from a second box while the first waited for a key.
UINT32 NestedChoice = 0;
UINT32 NestedMask = 0;

VOID EFIAPI AskWhileABoxIsUp(EFI_EVENT, VOID *) {
  NestedChoice = ShowMessageBox(u"Second", u"A second box", nullptr, 0xF1, 0, 2, 0, YesNo);
  const CHAR16 *Lines[] = {u"A third box"};
  NestedMask = ShowSimpleMessageBox(nullptr, 0, 1, Lines, 0, MESSAGE_BUTTON_OK);
}

TEST_F(DialogTest, OneBoxAtATime) {
  EFI_EVENT Timer = nullptr;
  ASSERT_EQ(Boot()->CreateEvent(EVT_TIMER | EVT_NOTIFY_SIGNAL, TPL_CALLBACK, AskWhileABoxIsUp,
                                nullptr, &Timer),
            EFI_SUCCESS);
  NestedChoice = 1234;
  NestedMask = 1234;
  UINT32 Choice = 1234;
  Show([&] { Choice = ShowMessageBox(u"First", u"The first box", nullptr, 0xF1, 0, 2, 1, YesNo); });
  std::string Shown = ScreenText();
  // The box polls for keys with stalls, and the timer fires during one of them.
  ASSERT_EQ(Boot()->SetTimer(Timer, TimerRelative, 10000), EFI_SUCCESS);
  Type("wait 5");
  EXPECT_EQ(NestedChoice, MESSAGE_BOX_NO_CHOICE) << "the second box is refused at once";
  EXPECT_EQ(NestedMask, 0u);
  EXPECT_EQ(ScreenText(), Shown);
  Close("Enter");
  EXPECT_EQ(Choice, 1u) << "the first box goes on as before";
  Boot()->CloseEvent(Timer);
}

TEST_F(DialogTest, ATallTextScrollsInsideTheBox) {
  std::u16string Text;
  for (int Line = 1; Line <= 40; Line++) {
    Text += u"Entry " + FromUtf8((Line < 10 ? "0" : "") + std::to_string(Line)) +
            u" of the event log" + (Line < 40 ? u"\r\n" : u"");
  }
  // The title sets the width, so the entries keep to one line each beside the scroll bar.
  Show([&] {
    ShowMessageBox(u"System Event Log (most recent last)", Text.c_str(), nullptr, 0xF1, 0, 1, 0,
                   YesNo);
  });
  // Cut to 21 rows (the screen less four); the text has rows 6 to 21.
  ExpectFrame(21, 58, 3, 24);
  // The number of the entry on a row of the text.
  auto EntryOn = [&](UINT32 Index) {
    std::string Line = Row(Index);
    size_t At = Line.find("Entry ");
    return At == std::string::npos ? std::string("?") : Line.substr(At + 6, 2);
  };
  EXPECT_EQ(EntryOn(6), "01") << ScreenText();
  EXPECT_EQ(EntryOn(21), "16") << ScreenText();
  struct Step {
    const char *Key;
    const char *First;
  };
  const Step Steps[] = {
      {"Up", "01"},   {"Down", "02"}, {"Home", "01"}, {"PgDn", "17"}, {"PgDn", "25"},
      {"Down", "25"}, {"PgUp", "09"}, {"PgUp", "01"}, {"End", "25"},
  };
  for (const Step &Each : Steps) {
    Type(Each.Key);
    EXPECT_EQ(EntryOn(6), Each.First) << Each.Key << "\n" << ScreenText();
  }
  EXPECT_EQ(EntryOn(21), "40");
  ExpectScreen("dialog_message_box_scrolled");
  Close("Enter");
}

TEST_F(DialogTest, ABoxInAGivenRectangleKeepsItsSize) {
  const UINT32 Rect[] = {10, 69, 4, 12};
  std::u16string Text;
  for (int Line = 1; Line <= 12; Line++) {
    Text += u"Line " + FromUtf8(std::to_string(Line)) + u"\r\n";
  }
  Show([&] { ShowMessageBox(u"Placed", Text.c_str(), Rect, 0xF1, 1, 1, 0, YesNo); });
  ExpectFrame(10, 69, 4, 12);
  EXPECT_EQ(ColumnOf(7, "Line 1"), 12) << ScreenText();
  EXPECT_EQ(ColumnOf(9, "Line 3"), 12) << "three rows of text fit" << ScreenText();
  EXPECT_EQ(ColumnOf(10, "Line 4"), -1) << ScreenText();
  Type("Down");
  EXPECT_EQ(ColumnOf(7, "Line 2"), 12) << "the rest scrolls\n" << ScreenText();
  Close("Enter");
}

TEST_F(DialogTest, KeyModeReturnsTheKeyPressed) {
  struct Case {
    const char *Keys;
    UINT16 ScanCode;
    CHAR16 Character;
  };
  const Case Cases[] = {
      {"\"a\"", SCAN_NULL, u'a'},
      {"Enter", SCAN_NULL, CHAR_CARRIAGE_RETURN},
      {"F3", SCAN_F3, 0},
      {"Esc", SCAN_ESC, 0},
  };
  for (const Case &Each : Cases) {
    EFI_INPUT_KEY Key = {0xFFFF, 0xFFFF};
    EFI_STATUS Status = EFI_NOT_STARTED;
    Show([&] { Status = ShowDialog(3, TRUE, 0, nullptr, &Key, u"", u"Press any key", u""); });
    // Three lines and the frame, centred.
    ExpectFrame(32, 46, 10, 14);
    EXPECT_EQ(ColumnOf(12, "Press any key"), 33);
    EXPECT_EQ(Browser->ModalActive, 1);
    Close(Each.Keys);
    EXPECT_EQ(Status, EFI_SUCCESS) << Each.Keys;
    EXPECT_EQ(Key.ScanCode, Each.ScanCode) << Each.Keys;
    EXPECT_EQ(Key.UnicodeChar, Each.Character) << Each.Keys;
  }
}

// A missing pointer, or more lines than the screen holds with the frame (24 of 25 rows).
TEST_F(DialogTest, WhatCannotBeShownIsRefusedBeforeAnythingIsDrawn) {
  CHAR16 Text[8];
  EFI_INPUT_KEY Key;
  std::vector<const CHAR16 *> Tall(24, u"A line of a tall dialog");
  std::vector<EFI_STATUS> Statuses;
  Show([&] {
    Statuses.push_back(ShowDialog(1, TRUE, 0, Text, nullptr, u"Press a key"));
    Statuses.push_back(ShowDialog(1, FALSE, 7, nullptr, nullptr, u"Type"));
    Statuses.push_back(ShowDialogLines(24, TRUE, 0, nullptr, &Key, Tall.data()));
  });
  ASSERT_TRUE(Returned) << "none waits for a key";
  EXPECT_EQ(Statuses, std::vector<EFI_STATUS>(3, EFI_INVALID_PARAMETER));
  EXPECT_EQ(After, Before);
}

TEST_F(DialogTest, LineModeMasksWhatIsTyped) {
  CHAR16 Text[11];
  EFI_STATUS Status = EFI_NOT_STARTED;
  Show([&] { Status = ShowDialog(2, FALSE, 10, Text, nullptr, u"Enter the code", u" "); });
  // The box is as wide as its widest line; the blank line is the input field, black at first.
  ExpectFrame(32, 47, 10, 13);
  EXPECT_EQ(ColumnOf(11, "Enter the code"), 33);
  EXPECT_EQ(AttributeAt(33, 12), 0x07);
  EXPECT_EQ(AttributeAt(46, 12), 0x07);
  Type("\"abc\"");
  EXPECT_EQ(ColumnOf(12, "***"), 33) << ScreenText();
  EXPECT_EQ(ColumnOf(12, "****"), -1);
  EXPECT_EQ(ColumnOf(11, "abc"), -1);
  ExpectScreen("dialog_string_typed");
  // Backspace drops the last character; other scan codes do nothing.
  Type("Backspace Up F1");
  EXPECT_EQ(ColumnOf(12, "**"), 33);
  EXPECT_EQ(ColumnOf(12, "***"), -1);
  Close("Enter");
  EXPECT_EQ(Status, EFI_SUCCESS);
  EXPECT_EQ(U16(Text), u"ab");
}

TEST_F(DialogTest, LineModeEditsAndLimits) {
  struct Case {
    UINT32 MaximumLength;
    const char *Keys;
    EFI_STATUS Status;
    std::u16string Text;
  };
  const Case Cases[] = {
      {10, "\"xy\" Esc", EFI_DEVICE_ERROR, u"xy"},   // Esc keeps what was typed
      {4, "\"abcdef\" Enter", EFI_SUCCESS, u"abcd"}, // a full text takes no more
      {4, "\"abcd\" Backspace \"z\" Enter", EFI_SUCCESS, u"abcz"},
      {4, "Backspace Backspace \"q\" Enter", EFI_SUCCESS, u"q"}, // nothing to drop
      {4, "\"a\" Tab Enter", EFI_SUCCESS, u"a\t"},               // control characters are taken
      {4, "Enter", EFI_SUCCESS, u""},
  };
  for (const Case &Each : Cases) {
    CHAR16 Text[16];
    for (CHAR16 &Character : Text) {
      Character = u'#';
    }
    EFI_STATUS Status = EFI_NOT_STARTED;
    Show([&] { Status = ShowDialog(2, FALSE, Each.MaximumLength, Text, nullptr, u"Name", u" "); });
    Close(Each.Keys);
    EXPECT_EQ(Status, Each.Status) << Each.Keys;
    EXPECT_EQ(U16(Text), Each.Text) << Each.Keys;
  }
}

TEST_F(DialogTest, TheMaskGrowsPastTheBoxToTheScreenEdgeAndLeavesNothingBehind) {
  CHAR16 Text[101];
  Show([&] { ShowDialog(2, FALSE, 100, Text, nullptr, u"Code", u" "); });
  auto Stars = [&] {
    std::string Found;
    for (UINT32 Column = 0; Column < 80; Column++) {
      Found += At(Column, 12) == u'*' ? '*' : '.';
    }
    return Found;
  };
  // The box takes columns 37 to 42; ten characters run the mask on from column 38.
  Type("\"abcdefghij\"");
  EXPECT_EQ(Stars(), std::string(38, '.') + std::string(10, '*') + std::string(32, '.'));
  // Wider than the screen, only the last characters show, up to the last column, and nothing
  // spills onto the next row.
  std::string Keys = "\"";
  for (int Count = 10; Count < 90; Count++) {
    Keys += static_cast<char>('a' + Count % 26);
  }
  Type(Keys + "\"");
  EXPECT_EQ(Stars(), std::string(38, '.') + std::string(42, '*'));
  EXPECT_NE(At(0, 13), u'*');
  Close("Enter");
  EXPECT_EQ(U16(Text).size(), 90u);
}

TEST_F(DialogTest, ALineWiderThanTheScreenCutsTheBoxAndTwentyThreeLinesFillIt) {
  std::u16string Wide(100, u'w');
  EFI_INPUT_KEY Key;
  Show([&] { ShowDialog(1, TRUE, 0, nullptr, &Key, Wide.c_str()); });
  // 77 columns of text and the frame, from the left edge.
  ExpectFrame(0, 78, 11, 13);
  Close("Enter");
  std::vector<const CHAR16 *> Tall(23, u"A line of a tall dialog");
  EFI_STATUS Status = EFI_NOT_STARTED;
  Show([&] { Status = ShowDialogLines(23, TRUE, 0, nullptr, &Key, Tall.data()); });
  EXPECT_NE(Row(0).find("┌"), std::string::npos) << ScreenText();
  EXPECT_NE(Row(24).find("┘"), std::string::npos) << ScreenText();
  Close("Enter");
  EXPECT_EQ(Status, EFI_SUCCESS);
}

TEST_F(DialogTest, ANoticeStaysUntilEnter) {
  Show([&] { ShowNoticeUntilEnter(u"The battery is low.", u"Plug in the charger."); });
  // Seven lines take nine rows.
  ExpectFrame(27, 51, 8, 16);
  EXPECT_EQ(ColumnOf(9, "The battery is low."), -1) << "an empty line opens the box";
  EXPECT_GE(ColumnOf(10, "The battery is low."), 0) << ScreenText();
  EXPECT_GE(ColumnOf(12, "Plug in the charger."), 0) << ScreenText();
  EXPECT_GE(ColumnOf(14, "Press ENTER to continue"), 0) << ScreenText();
  std::string Shown = ScreenText();
  for (const char *Key : {"Esc", "Space", "\"x\"", "F10", "Down"}) {
    Type(Key);
    EXPECT_FALSE(Returned) << Key;
    EXPECT_EQ(ScreenText(), Shown) << Key;
  }
  Close("Enter");
}

} // namespace
} // namespace morvane::test
