// The ordered-list pop-up as a user reorders a list: every line shows the option that stands at
// its place, Up and Down carry the highlighted option, the ends wrap, Esc puts the order back,
// suppressed options never show, and a list longer than the body scrolls.
#include "core/browser_context.h"
#include "screen/layout.h"
#include "tests/browser/browser_fixture.h"
#include "tests/common/text.h"

namespace morvane::test {
namespace {

using kit::IfrValue;

constexpr EFI_QUESTION_ID Order = 0x10;
constexpr EFI_QUESTION_ID Long = 0x11;
constexpr UINT8 LongCount = 30;

class OrderedListTest : public BrowserTest {
protected:
  PublishedFormSet *Set = nullptr;

  // Four boot entries, the fourth suppressed, and a list of thirty.
  void SetUp() override {
    BrowserTest::SetUp();
    std::vector<uint8_t> Bytes = {1, 2, 3, 4};
    for (UINT8 Index = 1; Index <= LongCount; Index++) {
      Bytes.push_back(Index);
    }
    FormSetBuilder F(TestGuid(1), u"Boot");
    F.BufferStore(1, "Boot", Bytes).Form();
    F.OrderedList(F.Question(u"Boot Order", u"The order of boot", Order, 1, 0), 4, 0, true);
    F.Options({{u"Disk", 1}, {u"Network", 2}, {u"Shell", 3}});
    F.SuppressIf(true).True();
    F.Options({{u"Hidden", 4}});
    F.End();
    F.End();
    F.OrderedList(F.Question(u"Long List", u"Thirty entries", Long, 1, 4), LongCount, 0, true);
    for (UINT8 Index = 1; Index <= LongCount; Index++) {
      F.OneOfOption(F.StringId(u"Entry " + FromUtf8(std::to_string(Index))), 0,
                    IfrValue::U8(Index));
    }
    F.End();
    Set = &Publish(F);
    SendAndWait({Set->Handle});
  }

  // The pop-up's lines, top to bottom, the highlighted one in brackets. The box's text starts
  // two cells right of its left frame line, which stands left of the help area's.
  std::string PopUp() {
    std::string Lines;
    for (UINT32 Row = 0; Row < 25; Row++) {
      std::u16string Text = FromUtf8(this->Row(Row));
      size_t Frame = Text.find(u'│', 20);
      if (Frame == std::u16string::npos || Frame > 50 || Text.size() < Frame + 3) {
        continue;
      }
      size_t End = Text.find(u' ', Frame + 2);
      std::u16string Word = Text.substr(Frame + 2, End - Frame - 2);
      if (Word.empty()) {
        continue;
      }
      if (Word == u"Entry") {
        Word += Text.substr(End, Text.find(u' ', End + 1) - End);
      }
      const host::ScreenCell &Cell = Host().Screen().Cell(static_cast<UINT32>(Frame + 2), Row);
      bool Lit = Cell.Attribute == Browser->BodyArea.Row->Attribute[8];
      Lines += (Lit ? "[" : "") + Utf8(Word) + (Lit ? "]" : "") + " ";
    }
    return Lines;
  }

  const UINT8 *Stored() { return Set->Driver->Buffer(TestGuid(1), u"Boot")->data(); }
};

TEST_F(OrderedListTest, EachLineShowsTheOptionThatStandsThere) {
  Type("Enter");
  EXPECT_EQ(PopUp(), "[Disk] Network Shell ") << ScreenText();
  Type("Down");
  EXPECT_EQ(PopUp(), "Network [Disk] Shell ") << ScreenText();
  Type("Down");
  EXPECT_EQ(PopUp(), "Network Shell [Disk] ") << ScreenText();
  // Down from the last shown place carries the option to the head; the hidden one stays last.
  Type("Down");
  EXPECT_EQ(PopUp(), "[Disk] Network Shell ") << ScreenText();
  // Up from the first place carries it to the tail.
  Type("Up");
  EXPECT_EQ(PopUp(), "Network Shell [Disk] ") << ScreenText();
  Type("Up");
  EXPECT_EQ(PopUp(), "Network [Disk] Shell ") << ScreenText();
  // Esc puts the order back: the list opens again as it was.
  Type("Esc Enter");
  EXPECT_EQ(PopUp(), "[Disk] Network Shell ") << ScreenText();
  // Enter commits the order that was shown, the hidden entry behind it.
  Type("Down Enter F10 Enter");
  ASSERT_TRUE(Finished()) << ScreenText();
  EXPECT_EQ(std::vector<uint8_t>(Stored(), Stored() + 4), (std::vector<uint8_t>{2, 1, 3, 4}));
}

TEST_F(OrderedListTest, ALongListScrollsWithTheCarriedOption) {
  Type("Down Enter");
  std::string First = PopUp();
  ASSERT_EQ(First.rfind("[Entry 1] Entry 2 ", 0), 0u) << ScreenText();
  // Up wraps: the first entry goes to the tail, and the last page comes into view with it.
  Type("Up");
  std::string Wrapped = PopUp();
  EXPECT_NE(Wrapped.find("Entry 30 [Entry 1] "), std::string::npos) << ScreenText();
  EXPECT_EQ(Wrapped.find("Entry 2 "), std::string::npos) << ScreenText();
  Type("Enter F10 Enter");
  ASSERT_TRUE(Finished()) << ScreenText();
  EXPECT_EQ(Stored()[4], 2);
  EXPECT_EQ(Stored()[4 + LongCount - 1], 1);
}

} // namespace
} // namespace morvane::test
