// The highlight's moves over lines that cannot take it, on forms longer and shorter than the
// page: where the page stands and what is highlighted after each key.
#include "screen/menu_option.h"
#include "tests/common/text.h"
#include "tests/screen/screen_fixture.h"

namespace morvane::test {
namespace {

using kit::IfrWriter;
using kit::Strings;

struct Step {
  const char *Key;
  UINT32 Top;
  EFI_QUESTION_ID Highlighted;
};

class MovementTest : public ScreenTest {
protected:
  // Lines described by a string: "s" a subtitle, "c" a checkbox (question 0x10, 0x11, ...),
  // "t" a checkbox whose prompt takes eight rows.
  void PublishLines(const std::string &Lines) {
    PublishForm(
        u"Lines",
        [&](IfrWriter &W, Strings &S) {
          UINT16 Checkboxes = 0;
          for (size_t Index = 0; Index < Lines.size(); Index++) {
            std::u16string Number = FromUtf8(std::to_string(Index));
            if (Lines[Index] == 's') {
              W.Subtitle(S.Add(u"Heading " + Number), 0);
            } else {
              std::u16string Prompt = u"Setting " + Number;
              for (int Row = 1; Lines[Index] == 't' && Row < 8; Row++) {
                Prompt += u"\r\nrow " + FromUtf8(std::to_string(Row));
              }
              W.Checkbox({S.Add(Prompt), S.Add(u"A setting"),
                          static_cast<EFI_QUESTION_ID>(0x10 + Checkboxes), 1, Checkboxes, 0});
              Checkboxes++;
            }
          }
        },
        64);
    Send(Handles());
    ASSERT_TRUE(Waiting()) << ScreenText();
  }

  void Walk(std::initializer_list<Step> Steps) {
    for (const Step &Each : Steps) {
      Type(Each.Key);
      UINT32 Top = Browser->TopOption != nullptr ? Browser->TopOption->Row : 0xFFFF;
      Statement *Current = Browser->Selection->Statement;
      EXPECT_EQ(Top, Each.Top) << Each.Key << "\n" << ScreenText();
      EXPECT_EQ(Current != nullptr ? Current->QuestionId : 0, Each.Highlighted) << Each.Key;
    }
  }
};

// Two settings, rows 10 and 41 of 43, among headings: Down reaches the far one in one step by
// the rows between them; Up goes back the same way, and at the first setting brings the
// headings above it into view while the highlight stays.
TEST_F(MovementTest, AcrossLongStretchesOfHeadings) {
  PublishLines(std::string(10, 's') + "c" + std::string(30, 's') + "cs");
  Walk({
      {"Down", 26, 0x11}, // 41 - 10 rows down, cut to the last page: 43 - 17
      {"Down", 26, 0x11}, // nothing selectable below, and the page shows the last line
      {"Up", 10, 0x10},   // up by the rows from the top to the setting
      {"Up", 0, 0x10},    // the headings above come into view
      {"Up", 0, 0x10},
      {"End", 26, 0x11},
      {"Home", 0, 0x10},
  });
  EXPECT_EQ(Host().Speaker()->Beeps(), 0u);
}

// Up from a tall option at the bottom of the page to one above the page: the within-a-page
// test counts from the tall option's first row, so the page must still scroll to the target.
TEST_F(MovementTest, UpFromATallBottomOptionScrollsToTheTarget) {
  PublishLines("c" + std::string(5, 's') + "c" + std::string(15, 's') + "t");
  Walk({
      {"Down", 0, 0x11},
      {"Down", 13, 0x12}, // rows 22 to 29, the last page starts at 30 - 17
      {"Up", 6, 0x11},    // row 6 is above the page: it scrolls to the top
      {"Up", 0, 0x10},
  });
}

// A form shorter than the page never scrolls: Page Up, Page Down, Home and End only move the
// highlight to the first or the last setting, and neither end wraps.
TEST_F(MovementTest, AFormThatFitsThePageNeverScrolls) {
  PublishLines("scccccs");
  Walk({
      {"PgDn", 0, 0x14},
      {"PgUp", 0, 0x10},
      {"End", 0, 0x14},
      {"Down", 0, 0x14},
      {"Home", 0, 0x10},
      {"Up", 0, 0x10},
      {"Down", 0, 0x11},
  });
}

// Page Down on the last page cannot scroll: the highlight goes to the last setting.
TEST_F(MovementTest, PageDownOnTheLastPage) {
  PublishLines(std::string(40, 'c'));
  Walk({
      {"End", 23, 0x10 + 39},
      {"Up Up", 23, 0x10 + 37},
      {"PgDn", 23, 0x10 + 39},
      {"PgUp", 6, 0x10 + 6},
  });
}

// A time on the real-time clock refreshes once a second, but only while it is in view, and not on
// the highlighted field: out of view it stays on the refresh list and is passed over.
TEST_F(MovementTest, AClockOutOfViewIsNotPainted) {
  PublishForm(
      u"Clock",
      [&](IfrWriter &W, Strings &S) {
        for (UINT16 Index = 0; Index < 30; Index++) {
          W.Checkbox({S.Add(u"Setting " + FromUtf8(std::to_string(Index))), S.Add(u"A setting"),
                      static_cast<EFI_QUESTION_ID>(0x10 + Index), 1, Index, 0});
        }
        W.Time({S.Add(u"Now"), S.Add(u"The clock"), 0x50, 0, 0, 0}, QF_TIME_STORAGE_TIME);
      },
      64);
  Send(Handles());
  ASSERT_TRUE(Waiting());
  std::vector<std::string> Before = ScreenRows();
  Type("wait 2500");
  EXPECT_EQ(ScreenRows(), Before) << ScreenText();
  // In view, it shows the time of the last tick it was read at; highlighted, only the field
  // under the highlight is left as it is painted, the others tick on, and once the highlight
  // has gone the whole time is painted each second.
  Type("End");
  EXPECT_NE(Cells(20).find(u"[00:00:00]"), std::u16string::npos) << ScreenText();
  Type("Tab Tab wait 1000");
  EXPECT_NE(Cells(20).find(u"[00:00:00]"), std::u16string::npos) << "the seconds field is left";
  Type("Tab wait 1000");
  EXPECT_NE(Cells(20).find(u"[00:00:04]"), std::u16string::npos) << ScreenText();
  Type("Up");
  EXPECT_NE(Cells(20).find(u"[00:00:04]"), std::u16string::npos) << ScreenText();
  Type("wait 1000");
  EXPECT_NE(Cells(20).find(u"[00:00:05]"), std::u16string::npos) << ScreenText();
}

} // namespace
} // namespace morvane::test
