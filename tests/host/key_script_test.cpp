// Key scripts: parsing tokens, strings, screens and waits with positioned errors, and feeding
// them to a driver run one key per wait.
#include <string>
#include <vector>

#include "host/driver_run.h"
#include "host/key_script.h"
#include "host/key_script_runner.h"
#include "tests/host/host_test.h"

namespace morvane::host::test {
namespace {

constexpr UINT32 SHIFTED = EFI_SHIFT_STATE_VALID | EFI_LEFT_SHIFT_PRESSED;
constexpr UINT32 ALT = EFI_SHIFT_STATE_VALID | EFI_LEFT_ALT_PRESSED;

TEST(KeyScriptParse, EachTokenIsOneKey) {
  KeyScript Script;
  KeyScriptError Error;
  ASSERT_TRUE(
      ParseKeyScript("Up down LEFT Right Home End PgUp pgdn Ins Del Esc F1 f10 F12 "
                     "Enter Tab BackTab Space Backspace Alt-x alt-X Alt-# \"\\\"\\\\\xC3\xA9\"",
                     &Script, &Error))
      << Error.Describe();
  std::vector<UINT16> Scans;
  std::u16string Chars;
  std::vector<UINT32> Shifts;
  for (const KeyScriptStep &Step : Script.Steps) {
    EXPECT_EQ(Step.Type, KeyScriptStep::Kind::Key);
    Scans.push_back(Step.Key.Key.ScanCode);
    Chars.push_back(Step.Key.Key.UnicodeChar);
    Shifts.push_back(Step.Key.KeyState.KeyShiftState);
  }
  std::vector<UINT16> ExpectedScans = {
      SCAN_UP,        SCAN_DOWN,   SCAN_LEFT,   SCAN_RIGHT, SCAN_HOME, SCAN_END, SCAN_PAGE_UP,
      SCAN_PAGE_DOWN, SCAN_INSERT, SCAN_DELETE, SCAN_ESC,   SCAN_F1,   SCAN_F10, SCAN_F12};
  ExpectedScans.resize(25, SCAN_NULL);
  EXPECT_EQ(Scans, ExpectedScans);
  EXPECT_EQ(Chars, std::u16string(14, u'\0') + u"\r\t\t \bxX#\"\\\u00e9");
  std::vector<UINT32> ExpectedShifts(25, 0);
  ExpectedShifts[16] = SHIFTED; // BackTab
  ExpectedShifts[19] = ExpectedShifts[20] = ExpectedShifts[21] = ALT;
  EXPECT_EQ(Shifts, ExpectedShifts);
}

TEST(KeyScriptParse, StringsScreensWaitsAndCommentsWithPositions) {
  KeyScript Script;
  KeyScriptError Error;
  const std::string Text = "# setup\n"
                           "Down \"a b\"  # type\n"
                           "\tscreen wait 250\n";
  ASSERT_TRUE(ParseKeyScript(Text, &Script, &Error)) << Error.Describe();
  ASSERT_EQ(Script.Steps.size(), 6U);
  EXPECT_EQ(Script.Steps[0].Key.Key.ScanCode, SCAN_DOWN);
  EXPECT_EQ(Script.Steps[0].Line, 2U);
  EXPECT_EQ(Script.Steps[0].Column, 1U);
  EXPECT_EQ(Script.Steps[1].Key.Key.UnicodeChar, u'a');
  EXPECT_EQ(Script.Steps[2].Key.Key.UnicodeChar, u' ');
  EXPECT_EQ(Script.Steps[3].Key.Key.UnicodeChar, u'b');
  EXPECT_EQ(Script.Steps[3].Column, 9U);
  EXPECT_EQ(Script.Steps[4].Type, KeyScriptStep::Kind::Screen);
  EXPECT_EQ(Script.Steps[4].Line, 3U);
  EXPECT_EQ(Script.Steps[4].Column, 2U);
  EXPECT_EQ(Script.Steps[5].Type, KeyScriptStep::Kind::Wait);
  EXPECT_EQ(Script.Steps[5].WaitMilliseconds, 250U);
}

TEST(KeyScriptParse, ErrorsNameLineAndColumnAndLeaveNoSteps) {
  KeyScript Script;
  KeyScriptError Error;
  EXPECT_TRUE(ParseKeyScript("  # only a comment\n\n", &Script, &Error));
  EXPECT_TRUE(Script.Steps.empty());
  struct ErrorCase {
    const char *Text;
    UINT32 Line;
    UINT32 Column;
    const char *Message;
  };
  for (const ErrorCase &Case : {
           ErrorCase{"Up\n  Sideways Down", 2, 3, "unknown token 'Sideways'"},
           ErrorCase{"Enter \"abc", 1, 7, "unterminated string"},
           ErrorCase{"\"ab\ncd\"", 1, 1, "unterminated string"},
           ErrorCase{"Esc wait", 1, 5, "wait needs a number"},
           ErrorCase{"wait soon", 1, 1, "wait needs a number"},
           ErrorCase{"\n\nwait -5", 3, 1, "wait needs a number"},
           ErrorCase{"Tab Alt-ab", 1, 5, "exactly one character"},
           ErrorCase{"Alt-", 1, 1, "exactly one character"},
           ErrorCase{"\"a\\nb\"", 1, 3, "unknown escape"},
           // The column counts characters, not bytes.
           ErrorCase{"\"\xC3\xA9\" F13", 1, 5, "unknown token 'F13'"},
       }) {
    Script.Steps.resize(3);
    ASSERT_FALSE(ParseKeyScript(Case.Text, &Script, &Error)) << Case.Text;
    EXPECT_EQ(Error.Line, Case.Line) << Case.Text;
    EXPECT_EQ(Error.Column, Case.Column) << Case.Text;
    EXPECT_NE(Error.Message.find(Case.Message), std::string::npos) << Error.Message;
    EXPECT_EQ(Error.Describe().rfind("line " + std::to_string(Case.Line) + ", column " +
                                         std::to_string(Case.Column) + ": ",
                                     0),
              0U);
    EXPECT_TRUE(Script.Steps.empty()) << Case.Text;
  }
}

// A tiny form: echoes each typed character until Esc; every key read starts with a drain, as a
// browser's nested calls do, so type-ahead would be lost.
EFI_STATUS EchoUntilEscape() {
  EFI_SYSTEM_TABLE *System = Platform::Current().SystemTable();
  for (;;) {
    EFI_INPUT_KEY Key{};
    while (System->ConIn->ReadKeyStroke(System->ConIn, &Key) != EFI_SUCCESS) {
      System->BootServices->Stall(100);
    }
    if (Key.ScanCode == SCAN_ESC) {
      return EFI_SUCCESS;
    }
    CHAR16 Text[2] = {Key.UnicodeChar, 0};
    System->ConOut->OutputString(System->ConOut, Text);
    EFI_INPUT_KEY Discarded{};
    while (System->ConIn->ReadKeyStroke(System->ConIn, &Discarded) == EFI_SUCCESS) {
    }
  }
}

KeyScript Parse(const char *Text) {
  KeyScript Script;
  KeyScriptError Error;
  EXPECT_TRUE(ParseKeyScript(Text, &Script, &Error)) << Error.Describe();
  return Script;
}

using KeyScriptRunTest = HostTest;

TEST_F(KeyScriptRunTest, FeedsOneKeyPerWaitAndShowsTheScreenAfterTheKeysBeforeIt) {
  DriverRun Run(Host, EchoUntilEscape);
  std::vector<std::string> Screens;
  KeyScriptOutcome Outcome = RunKeyScript(
      Run, Parse("\"abc\" screen Space \"d\" screen Esc"), [this, &Screens](const KeyScriptStep &) {
        Screens.push_back(Host.Screen().TextRows()[0].substr(0, 6));
      });
  EXPECT_EQ(Outcome.State, DriverRun::State::Finished);
  EXPECT_EQ(Outcome.Status, EFI_SUCCESS);
  EXPECT_EQ(Outcome.KeysFed, 6U);
  EXPECT_EQ(Outcome.KeysUnused, 0U);
  EXPECT_EQ(Screens, (std::vector<std::string>{"abc   ", "abc d "}));
}

TEST_F(KeyScriptRunTest, KeysAfterTheRunFinishesAreReportedUnused) {
  DriverRun Run(Host, EchoUntilEscape);
  // A script that ends early leaves the run waiting.
  KeyScriptOutcome Outcome = RunKeyScript(Run, Parse("\"x\""), nullptr);
  EXPECT_EQ(Outcome.State, DriverRun::State::Waiting);
  EXPECT_EQ(Host.Screen().Cell(0, 0).Char, u'x');
  Outcome = RunKeyScript(Run, Parse("\"y\" Esc \"yz\""), nullptr);
  EXPECT_EQ(Outcome.State, DriverRun::State::Finished);
  EXPECT_EQ(Outcome.KeysFed, 2U);
  EXPECT_EQ(Outcome.KeysUnused, 2U);
}

TEST_F(KeyScriptRunTest, WaitLetsTimeAndTimersRun) {
  int Ticks = 0;
  EFI_EVENT Timer = nullptr;
  Boot->CreateEvent(
      EVT_TIMER | EVT_NOTIFY_SIGNAL, TPL_CALLBACK,
      [](EFI_EVENT, VOID *Context) { (*static_cast<int *>(Context))++; }, &Ticks, &Timer);
  Boot->SetTimer(Timer, TimerRelative, 2000000);
  DriverRun Run(Host, EchoUntilEscape);
  RunKeyScript(Run, Parse("wait 100"), nullptr);
  EXPECT_EQ(Ticks, 0);
  KeyScriptOutcome Outcome = RunKeyScript(Run, Parse("wait 100 Esc"), nullptr);
  EXPECT_EQ(Ticks, 1);
  EXPECT_EQ(Outcome.State, DriverRun::State::Finished);
  Boot->CloseEvent(Timer);
}

} // namespace
} // namespace morvane::host::test
