#include <string>

#include "tests/host/host_test.h"

namespace morvane::host::test {
namespace {

class TextOutputTest : public HostTest {
protected:
  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *Out = System->ConOut;
  TextScreen &Screen = Host.Screen();

  EFI_STATUS Write(const CHAR16 *Text) { return Out->OutputString(Out, Text); }
  std::string Row(UINT32 Index) { return Screen.TextRows()[Index]; }
  std::string Trimmed(UINT32 Index) {
    std::string Line = Row(Index);
    return Line.substr(0, Line.find_last_not_of(' ') + 1);
  }
};

TEST_F(TextOutputTest, DefaultModeIsMode0Of80By25) {
  EXPECT_EQ(Out->Mode->MaxMode, 1);
  EXPECT_EQ(Out->Mode->Mode, 0);
  UINTN Columns = 0;
  UINTN Rows = 0;
  ASSERT_EQ(Out->QueryMode(Out, 0, &Columns, &Rows), EFI_SUCCESS);
  EXPECT_EQ(Columns, 80U);
  EXPECT_EQ(Rows, 25U);
  EXPECT_EQ(Out->QueryMode(Out, 1, &Columns, &Rows), EFI_UNSUPPORTED);
  EXPECT_EQ(Out->SetMode(Out, 1), EFI_UNSUPPORTED);
}

TEST(TextOutputModes, AnotherSizeIsAnExtraModeAndTheCurrentOne) {
  PlatformOptions Options;
  Options.Columns = 100;
  Options.Rows = 31;
  Platform Host(Options);
  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *Out = Host.SystemTable()->ConOut;
  EXPECT_EQ(Out->Mode->MaxMode, 3);
  EXPECT_EQ(Out->Mode->Mode, 2);
  UINTN Columns = 0;
  UINTN Rows = 0;
  EXPECT_EQ(Out->QueryMode(Out, 1, &Columns, &Rows), EFI_UNSUPPORTED);
  ASSERT_EQ(Out->QueryMode(Out, 2, &Columns, &Rows), EFI_SUCCESS);
  EXPECT_EQ(Columns, 100U);
  EXPECT_EQ(Rows, 31U);
  EXPECT_EQ(Host.Screen().Columns(), 100U);
  ASSERT_EQ(Out->SetMode(Out, 0), EFI_SUCCESS);
  EXPECT_EQ(Host.Screen().Columns(), 80U);
  EXPECT_EQ(Host.Screen().Rows(), 25U);
  EXPECT_EQ(Out->Mode->Mode, 0);
}

TEST(TextOutputModes, EightyByFiftyIsMode1) {
  PlatformOptions Options;
  Options.Rows = 50;
  Platform Host(Options);
  EXPECT_EQ(Host.SystemTable()->ConOut->Mode->MaxMode, 2);
  EXPECT_EQ(Host.SystemTable()->ConOut->Mode->Mode, 1);
}

TEST_F(TextOutputTest, CarriageReturnLineFeedAndBackspaceMoveTheCursor) {
  ASSERT_EQ(Write(u"AB\r\nCD"), EFI_SUCCESS);
  EXPECT_EQ(Trimmed(0), "AB");
  EXPECT_EQ(Trimmed(1), "CD");
  EXPECT_EQ(Out->Mode->CursorColumn, 2);
  EXPECT_EQ(Out->Mode->CursorRow, 1);
  Write(u"\b\bX");
  EXPECT_EQ(Trimmed(1), "XD");
  Write(u"\r\b");
  EXPECT_EQ(Out->Mode->CursorColumn, 0);
  // A line feed keeps the column.
  Write(u"abc\n");
  EXPECT_EQ(Out->Mode->CursorColumn, 3);
  EXPECT_EQ(Out->Mode->CursorRow, 2);
}

TEST_F(TextOutputTest, WritingTheLastCellOfARowDefersTheWrap) {
  std::u16string Full(80, u'x');
  Write(Full.c_str());
  EXPECT_EQ(Out->Mode->CursorColumn, 79);
  EXPECT_EQ(Out->Mode->CursorRow, 0);
  EXPECT_TRUE(Screen.WrapPending());
  Write(u"y");
  EXPECT_EQ(Trimmed(1), "y");
  EXPECT_EQ(Out->Mode->CursorColumn, 1);
  EXPECT_EQ(Out->Mode->CursorRow, 1);
}

TEST_F(TextOutputTest, CarriageReturnAfterTheLastCellOfTheScreenDoesNotScroll) {
  Write(u"top");
  ASSERT_EQ(Out->SetCursorPosition(Out, 79, 24), EFI_SUCCESS);
  Write(u"Z\r");
  EXPECT_EQ(Trimmed(0), "top");
  EXPECT_EQ(Out->Mode->CursorColumn, 0);
  EXPECT_EQ(Out->Mode->CursorRow, 24);
  EXPECT_EQ(Screen.Cell(79, 24).Char, u'Z');
}

TEST_F(TextOutputTest, APrintableCharacterAfterTheLastCellScrolls) {
  Write(u"top");
  Out->SetAttribute(Out, EFI_TEXT_ATTR(EFI_YELLOW, EFI_BLUE));
  Out->SetCursorPosition(Out, 79, 24);
  Write(u"ZQ");
  EXPECT_EQ(Trimmed(0), "");
  EXPECT_EQ(Screen.Cell(79, 23).Char, u'Z');
  EXPECT_EQ(Trimmed(24), "Q");
  // The row scrolled in takes the current attribute.
  EXPECT_EQ(Screen.Cell(40, 24).Attribute, EFI_TEXT_ATTR(EFI_YELLOW, EFI_BLUE));
}

TEST_F(TextOutputTest, LineFeedOnTheBottomRowScrolls) {
  Write(u"first");
  Out->SetCursorPosition(Out, 0, 24);
  Write(u"last\n");
  EXPECT_EQ(Trimmed(23), "last");
  EXPECT_EQ(Trimmed(0), "");
  EXPECT_EQ(Out->Mode->CursorRow, 24);
}

TEST_F(TextOutputTest, SetCursorPositionOutsideTheScreenIsUnsupported) {
  Out->SetCursorPosition(Out, 5, 6);
  EXPECT_EQ(Out->SetCursorPosition(Out, 80, 0), EFI_UNSUPPORTED);
  EXPECT_EQ(Out->SetCursorPosition(Out, 0, 25), EFI_UNSUPPORTED);
  EXPECT_EQ(Out->Mode->CursorColumn, 5);
  EXPECT_EQ(Out->Mode->CursorRow, 6);
  EXPECT_EQ(Out->SetCursorPosition(Out, 79, 24), EFI_SUCCESS);
}

TEST_F(TextOutputTest, ClearScreenUsesTheCurrentAttributeAndHomesTheCursor) {
  Write(u"text");
  ASSERT_EQ(Out->SetAttribute(Out, EFI_TEXT_ATTR(EFI_WHITE, EFI_RED)), EFI_SUCCESS);
  EXPECT_EQ(Out->Mode->Attribute, EFI_TEXT_ATTR(EFI_WHITE, EFI_RED));
  ASSERT_EQ(Out->ClearScreen(Out), EFI_SUCCESS);
  EXPECT_EQ(Trimmed(0), "");
  std::string Expected;
  for (int Index = 0; Index < 80; Index++) {
    Expected += "4F";
  }
  EXPECT_EQ(Screen.AttributeRows()[12], Expected);
  EXPECT_EQ(Out->Mode->CursorColumn, 0);
  EXPECT_EQ(Out->Mode->CursorRow, 0);
}

TEST_F(TextOutputTest, TheBlinkBitIsIgnoredAndWiderAttributesRefused) {
  EXPECT_EQ(Out->SetAttribute(Out, 0xF1), EFI_SUCCESS);
  EXPECT_EQ(Out->Mode->Attribute, 0x71);
  EXPECT_EQ(Out->SetAttribute(Out, 0x100), EFI_UNSUPPORTED);
  EXPECT_EQ(Out->Mode->Attribute, 0x71);
}

TEST_F(TextOutputTest, WideCharactersTakeTwoCells) {
  ASSERT_EQ(Write(u"A\u6F22B"), EFI_SUCCESS);
  EXPECT_EQ(Screen.Cell(1, 0).Char, u'\u6F22');
  EXPECT_TRUE(Screen.Cell(2, 0).Continuation);
  EXPECT_EQ(Screen.Cell(3, 0).Char, u'B');
  EXPECT_EQ(Out->Mode->CursorColumn, 4);
  EXPECT_EQ(Trimmed(0), "A\xE6\xBC\xA2"
                        "B");
}

TEST_F(TextOutputTest, AWideCharacterThatDoesNotFitWrapsWhole) {
  Out->SetCursorPosition(Out, 79, 0);
  Write(u"\uFF21");
  EXPECT_EQ(Screen.Cell(79, 0).Char, u' ');
  EXPECT_EQ(Screen.Cell(0, 1).Char, u'\uFF21');
  EXPECT_TRUE(Screen.Cell(1, 1).Continuation);
}

TEST_F(TextOutputTest, OverwritingHalfAWideCharacterBlanksTheOtherHalf) {
  Write(u"\u6F22");
  Out->SetCursorPosition(Out, 1, 0);
  Write(u"x");
  EXPECT_EQ(Screen.Cell(0, 0).Char, u' ');
  EXPECT_EQ(Screen.Cell(1, 0).Char, u'x');
  EXPECT_FALSE(Screen.Cell(1, 0).Continuation);
}

TEST_F(TextOutputTest, WidthControlsPrintNothing) {
  ASSERT_EQ(Write(u"\uFFF1a\uFFF0b"), EFI_SUCCESS);
  EXPECT_EQ(Trimmed(0), "ab");
  EXPECT_EQ(Out->Mode->CursorColumn, 2);
}

TEST_F(TextOutputTest, UnprintableCharactersWarnAndPrintNothing) {
  EXPECT_EQ(Write(u"a\x01"
                  u"b"),
            EFI_WARN_UNKNOWN_GLYPH);
  EXPECT_EQ(Trimmed(0), "ab");
  EXPECT_EQ(Out->TestString(Out, u"plain \u2500"), EFI_SUCCESS);
  EXPECT_EQ(Out->TestString(Out, u"bell\x07"), EFI_UNSUPPORTED);
}

TEST_F(TextOutputTest, CountersCountCallsAndCharacters) {
  Screen.ResetCounters();
  Write(u"ab\r\nc");
  Out->SetCursorPosition(Out, 1, 1);
  Out->SetAttribute(Out, 0x1F);
  Out->ClearScreen(Out);
  const ConsoleCounters &Counts = Screen.Counters();
  EXPECT_EQ(Counts.OutputString, 1U);
  EXPECT_EQ(Counts.Characters, 3U);
  EXPECT_EQ(Counts.SetCursorPosition, 1U);
  EXPECT_EQ(Counts.SetAttribute, 1U);
  EXPECT_EQ(Counts.ClearScreen, 1U);
  Screen.ResetCounters();
  EXPECT_EQ(Screen.Counters().OutputString, 0U);
}

TEST_F(TextOutputTest, EnableCursorAndResetKeepTheModeRecordCurrent) {
  ASSERT_EQ(Out->EnableCursor(Out, FALSE), EFI_SUCCESS);
  EXPECT_FALSE(Out->Mode->CursorVisible);
  EXPECT_FALSE(Screen.CursorVisible());
  Out->SetAttribute(Out, 0x1F);
  Write(u"abc");
  ASSERT_EQ(Out->Reset(Out, FALSE), EFI_SUCCESS);
  EXPECT_EQ(Out->Mode->Attribute, EFI_TEXT_ATTR(EFI_LIGHTGRAY, EFI_BLACK));
  EXPECT_EQ(Out->Mode->CursorColumn, 0);
  EXPECT_EQ(Trimmed(0), "");
}

TEST_F(TextOutputTest, StandardErrorIsASeparateScreen) {
  System->StdErr->OutputString(System->StdErr, u"oops");
  EXPECT_EQ(Host.ErrorScreen().TextRows()[0].substr(0, 4), "oops");
  EXPECT_EQ(Trimmed(0), "");
}

TEST_F(TextOutputTest, AttributeRowsAreTwoHexDigitsPerCell) {
  Out->SetAttribute(Out, 0x1E);
  Write(u"x");
  std::string Attributes = Screen.AttributeRows()[0];
  EXPECT_EQ(Attributes.size(), 160U);
  EXPECT_EQ(Attributes.substr(0, 4), "1E07");
}

} // namespace
} // namespace morvane::host::test
