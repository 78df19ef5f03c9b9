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

struct TokenCase {
  const char *Token;
  UINT16 ScanCode;
  CHAR16 Char;
  UINT32 Shift;
};

class KeyTokenTest : public ::testing::TestWithParam<TokenCase> {};

TEST_P(KeyTokenTest, ParsesToOneKey) {
  KeyScript Script;
  KeyScriptError Error;
  ASSERT_TRUE(ParseKeyScript(GetParam().Token, &Script, &Error)) << Error.Describe();
  ASSERT_EQ(Script.Steps.size(), 1U);
  const KeyScriptStep &Step = Script.Steps[0];
  EXPECT_EQ(Step.Type, KeyScriptStep::Kind::Key);
  EXPECT_EQ(Step.Key.Key.ScanCode, GetParam().ScanCode);
  EXPECT_EQ(Step.Key.Key.UnicodeChar, GetParam().Char);
  EXPECT_EQ(Step.Key.KeyState.KeyShiftState, GetParam().Shift);
}

INSTANTIATE_TEST_SUITE_P(
    Tokens, KeyTokenTest,
    ::testing::Values(
        TokenCase{"Up", SCAN_UP, 0, 0}, TokenCase{"down", SCAN_DOWN, 0, 0},
        TokenCase{"LEFT", SCAN_LEFT, 0, 0}, TokenCase{"Right", SCAN_RIGHT, 0, 0},
        TokenCase{"Home", SCAN_HOME, 0, 0}, TokenCase{"End", SCAN_END, 0, 0},
        TokenCase{"PgUp", SCAN_PAGE_UP, 0, 0}, TokenCase{"pgdn", SCAN_PAGE_DOWN, 0, 0},
        TokenCase{"Ins", SCAN_INSERT, 0, 0}, TokenCase{"Del", SCAN_DELETE, 0, 0},
        TokenCase{"Esc", SCAN_ESC, 0, 0}, TokenCase{"Enter", SCAN_NULL, 0x0D, 0},
        TokenCase{"Tab", SCAN_NULL, 0x09, 0}, TokenCase{"BackTab", SCAN_NULL, 0x09, SHIFTED},
        TokenCase{"Space", SCAN_NULL, 0x20, 0}, TokenCase{"Backspace", SCAN_NULL, 0x08, 0},
        TokenCase{"F1", SCAN_F1, 0, 0}, TokenCase{"f10", SCAN_F10, 0, 0},
        TokenCase{"F12", SCAN_F12, 0, 0}, TokenCase{"Alt-x", SCAN_NULL, u'x', ALT},
        TokenCase{"alt-X", SCAN_NULL, u'X', ALT}, TokenCase{"Alt-#", SCAN_NULL, u'#', ALT},
        TokenCase{"\"\\\"\"", SCAN_NULL, u'"', 0}, TokenCase{"\"\\\\\"", SCAN_NULL, u'\\', 0},
        TokenCase{"\"\xC3\xA9\"", SCAN_NULL, u'\u00E9', 0}),
    [](const auto &Info) { return "Token" + std::to_string(Info.index); });

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

TEST(KeyScriptParse, AnEmptyScriptHasNoSteps) {
  KeyScript Script;
  KeyScriptError Error;
  EXPECT_TRUE(ParseKeyScript("  # only a comment\n\n", &Script, &Error));
  EXPECT_TRUE(Script.Steps.empty());
}

struct ErrorCase {
  const char *Name;
  const char *Text;
  UINT32 Line;
  UINT32 Column;
  const char *Message;
};

class KeyScriptErrorTest : public ::testing::TestWithParam<ErrorCase> {};

TEST_P(KeyScriptErrorTest, NamesLineAndColumnAndRunsNothing) {
  KeyScript Script;
  Script.Steps.resize(3);
  KeyScriptError Error;
  ASSERT_FALSE(ParseKeyScript(GetParam().Text, &Script, &Error));
  EXPECT_EQ(Error.Line, GetParam().Line);
  EXPECT_EQ(Error.Column, GetParam().Column);
  EXPECT_NE(Error.Message.find(GetParam().Message), std::string::npos) << Error.Message;
  EXPECT_EQ(Error.Describe().rfind("line " + std::to_string(GetParam().Line) + ", column " +
                                       std::to_string(GetParam().Column) + ": ",
                                   0),
            0U);
  EXPECT_TRUE(Script.Steps.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Cases, KeyScriptErrorTest,
    ::testing::Values(ErrorCase{"Unknown", "Up\n  Sideways Down", 2, 3, "unknown token 'Sideways'"},
                      ErrorCase{"Unterminated", "Enter \"abc", 1, 7, "unterminated string"},
                      ErrorCase{"StringAcrossLines", "\"ab\ncd\"", 1, 1, "unterminated string"},
                      ErrorCase{"WaitAtEnd", "Esc wait", 1, 5, "wait needs a number"},
                      ErrorCase{"WaitWord", "wait soon", 1, 1, "wait needs a number"},
                      ErrorCase{"WaitNegative", "\n\nwait -5", 3, 1, "wait needs a number"},
                      ErrorCase{"AltTwoCharacters", "Tab Alt-ab", 1, 5, "exactly one character"},
                      ErrorCase{"AltNothing", "Alt-", 1, 1, "exactly one character"},
                      ErrorCase{"BadEscape", "\"a\\nb\"", 1, 3, "unknown escape"},
                      ErrorCase{"ColumnCountsCharacters", "\"\xC3\xA9\" F13", 1, 5,
                                "unknown token 'F13'"}),
    [](const auto &Info) { return std::string(Info.param.Name); });

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
  KeyScriptOutcome Outcome = RunKeyScript(Run, Parse("\"x\" Esc \"yz\""), nullptr);
  EXPECT_EQ(Outcome.State, DriverRun::State::Finished);
  EXPECT_EQ(Outcome.KeysFed, 2U);
  EXPECT_EQ(Outcome.KeysUnused, 2U);
}

TEST_F(KeyScriptRunTest, AScriptThatEndsEarlyLeavesTheRunWaiting) {
  DriverRun Run(Host, EchoUntilEscape);
  KeyScriptOutcome Outcome = RunKeyScript(Run, Parse("\"q\""), nullptr);
  EXPECT_EQ(Outcome.State, DriverRun::State::Waiting);
  EXPECT_EQ(Host.Screen().Cell(0, 0).Char, u'q');
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
