// Key input: the copy of each key in LastKey, with F5 and F6 turned into "-" and "+" there
// only; the simple input service before the extended one arrives, and after.
#include <cstring>

#include "dialogs/browser_services.h"
#include "screen/keys.h"
#include "screen/menu_option.h"
#include "tests/screen/screen_fixture.h"

namespace morvane::test {
namespace {

using kit::IfrWriter;
using kit::Strings;

constexpr UINT32 LeftShift = EFI_SHIFT_STATE_VALID | EFI_LEFT_SHIFT_PRESSED;

class KeyTest : public ScreenTest {
protected:
  const EFI_KEY_DATA &LastKey() { return Browser->Services->LastKey; }

  PublishedFormSet &DateForm() {
    return PublishForm(u"Dates", [](IfrWriter &W, Strings &S) {
      W.Date({S.Add(u"Day"), S.Add(u"A date"), 0x10, 1, 0, 0});
    });
  }

  UINT32 Field() {
    MenuLine *Option = Browser->Selection->MenuOption;
    return Option != nullptr ? Option->Field : 99;
  }
};

TEST_F(KeyTest, StepKeysReachLastKeyAsCharacters) {
  struct Case {
    UINT16 Scan;
    CHAR16 Char;
    UINT16 LastScan;
    CHAR16 LastChar;
  };
  const Case Cases[] = {
      {SCAN_F5, 0, SCAN_NULL, u'-'}, {SCAN_F6, 0, SCAN_NULL, u'+'},      {SCAN_F1, 0, SCAN_F1, 0},
      {SCAN_F7, 0, SCAN_F7, 0},      {SCAN_NULL, u'a', SCAN_NULL, u'a'},
  };
  for (const Case &Each : Cases) {
    Host().Keyboard().PushKey(Each.Scan, Each.Char, LeftShift);
    EFI_KEY_DATA Key;
    std::memset(&Key, 0xAA, sizeof(Key));
    ASSERT_EQ(ReadKey(&Key), EFI_SUCCESS);
    // The key itself is as it came, so the key tables still see F5 and F6.
    EXPECT_EQ(Key.Key.ScanCode, Each.Scan);
    EXPECT_EQ(Key.Key.UnicodeChar, Each.Char);
    EXPECT_EQ(Key.KeyState.KeyShiftState, LeftShift);
    EXPECT_EQ(LastKey().Key.ScanCode, Each.LastScan) << Each.Scan;
    EXPECT_EQ(LastKey().Key.UnicodeChar, Each.LastChar) << Each.Scan;
    EXPECT_EQ(LastKey().KeyState.KeyShiftState, LeftShift);
  }
  // No key: the service's status, a zeroed key, and LastKey as it was.
  EFI_KEY_DATA Key;
  std::memset(&Key, 0xAA, sizeof(Key));
  EXPECT_EQ(ReadKey(&Key), EFI_NOT_READY);
  EXPECT_EQ(Key.Key.ScanCode, 0);
  EXPECT_EQ(Key.Key.UnicodeChar, 0);
  EXPECT_EQ(Key.KeyState.KeyShiftState, 0u);
  EXPECT_EQ(LastKey().Key.UnicodeChar, u'a');
}

// SendForm drains the keys typed before it: none reaches the form, and LastKey holds the last.
TEST_F(KeyTest, KeysTypedBeforeSendFormAreDrained) {
  DateForm();
  Host().Keyboard().PushKey(SCAN_NULL, u'7');
  Host().Keyboard().PushKey(SCAN_DOWN, 0);
  Host().Keyboard().PushKey(SCAN_F6, 0);
  Send(Handles());
  ASSERT_TRUE(Waiting());
  EXPECT_EQ(Host().Keyboard().Pending(), 0u);
  EXPECT_EQ(LastKey().Key.ScanCode, SCAN_NULL);
  EXPECT_EQ(LastKey().Key.UnicodeChar, u'+');
  EXPECT_EQ(Field(), 0u);
  EXPECT_NE(Cells(static_cast<UINT32>(RowOf(u"Day"))).find(u"[00/00/0000]"), std::u16string::npos)
      << "nothing was typed into the date\n"
      << ScreenText();
}

// With one tab, Left and Right switch to that same tab: its form is entered afresh.
TEST_F(KeyTest, OneTabOnlyIsEnteredAgain) {
  PublishForm(
      u"Only",
      [](IfrWriter &W, Strings &S) {
        W.Checkbox({S.Add(u"First"), S.Add(u"One"), 0x10, 1, 0, 0});
        W.Checkbox({S.Add(u"Second"), S.Add(u"Two"), 0x11, 1, 1, 0});
      },
      8, &gDefaultPageGuids[0]);
  Send(Handles());
  ASSERT_TRUE(Waiting());
  for (const char *Key : {"Right", "Left"}) {
    Type("Down");
    ASSERT_EQ(Browser->Selection->Statement->QuestionId, 0x11);
    Type(Key);
    ASSERT_TRUE(Waiting()) << Key;
    EXPECT_EQ(Browser->MenuBarCurrent, 0u) << Key;
    EXPECT_EQ(Browser->Selection->Statement->QuestionId, 0x10) << Key;
  }
}

// Until the extended service is there, keys come without shift state, Shift-Tab is Tab and the
// Alt keys are plain letters; once it is installed, the browser finds it between two keys.
TEST_F(KeyTest, TheExtendedServiceArrivingLater) {
  tools::SessionOptions Options;
  Options.Platform.ExtendedInput = false;
  Restart(Options);
  ASSERT_EQ(TextInputEx, nullptr);
  Host().Keyboard().PushKey(SCAN_F6, 0, LeftShift);
  EFI_KEY_DATA Key;
  std::memset(&Key, 0xAA, sizeof(Key));
  ASSERT_EQ(ReadKey(&Key), EFI_SUCCESS);
  EXPECT_EQ(Key.Key.ScanCode, SCAN_F6);
  EXPECT_EQ(Key.KeyState.KeyShiftState, 0u);
  EXPECT_EQ(Key.KeyState.KeyToggleState, 0);
  EXPECT_EQ(LastKey().Key.UnicodeChar, u'+');
  EXPECT_EQ(LastKey().KeyState.KeyShiftState, 0u);

  DateForm();
  Send(Handles());
  ASSERT_TRUE(Waiting());
  ASSERT_EQ(Field(), 0u);
  Host().Speaker()->ResetBeeps();
  Type("BackTab");
  EXPECT_EQ(Field(), 1u) << "Shift-Tab read as Tab: the next field";
  Type("Alt-h");
  EXPECT_EQ(RowOf(u"General Help"), -1);
  EXPECT_EQ(Host().Speaker()->Beeps(), 1u) << "a letter no table knows";

  ASSERT_EQ(Host().InstallExtendedInput(), EFI_SUCCESS);
  Type("wait 1");
  EXPECT_NE(TextInputEx, nullptr);
  Type("BackTab");
  EXPECT_EQ(Field(), 0u) << "the previous field";
  Type("BackTab");
  EXPECT_EQ(Field(), 2u) << "the fields wrap";
  Type("Alt-h");
  EXPECT_NE(RowOf(u"General Help"), -1) << ScreenText();
  Type("Enter");
  EXPECT_EQ(RowOf(u"General Help"), -1);
}

} // namespace
} // namespace morvane::test
