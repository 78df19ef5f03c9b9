// The question editors as a user meets them: numbers typed and stepped, dates and times field by
// field, strings and passwords, the option pop-up of one-of and ordered-list questions, and the
// stepping of a one-of.
#include <algorithm>

#include "core/browser_context.h"
#include "editors/editors.h"
#include "tests/browser/browser_fixture.h"

namespace morvane::test {
namespace {

constexpr EFI_VARSTORE_ID Store = 1;
constexpr UINT16 StoreSize = 160;

enum : EFI_QUESTION_ID {
  Limit = 0x40, // decimal, 5 to 100, typed only
  Stepper,      // decimal, 0 to 10 by 2
  Mask,         // hexadecimal, up to 0xFF
  Day,          // a date
  Clock,        // a time
  Name,         // a string of 2 to 10 characters
  Secret,       // a password the driver checks
  Choice,       // a one-of of three options, the second suppressed
  Order,        // an ordered list of three
  LongSecret,   // a password of up to 40 characters, wider than its field
  Huge,         // a 64-bit number up to the largest there is
};

// Offsets in the varstore.
enum : UINT16 {
  LimitAt = 0,
  StepperAt = 1,
  MaskAt = 2,
  DayAt = 4,
  ClockAt = 8,
  NameAt = 12,
  SecretAt = 34,
  ChoiceAt = 52,
  OrderAt = 53,
  LongSecretAt = 64,
  HugeAt = 144,
};

class EditorTest : public BrowserTest {
protected:
  PublishedFormSet *Set = nullptr;
  std::vector<std::u16string> Passwords;

  void SetUp() override {
    BrowserTest::SetUp();
    // Limit 50, Stepper 4, Mask 0x10, Day 15 April 2024 (a month of 30 days), Clock 23:59,
    // Name "old", Choice Alpha, Order 1 2 3.
    std::vector<uint8_t> Bytes(StoreSize, 0);
    auto Put = [&](UINT16 At, std::vector<uint8_t> Values) {
      std::copy(Values.begin(), Values.end(), Bytes.begin() + At);
    };
    Put(LimitAt, {50, 4, 0x10});
    Put(DayAt, {2024 & 0xFF, 2024 >> 8, 4, 15, 23, 59});
    Put(NameAt, {'o', 0, 'l', 0, 'd'});
    Put(ChoiceAt, {1, 1, 2, 3});
    FormSetBuilder F(TestGuid(1), u"Editors");
    F.BufferStore(Store, "Data", Bytes).Form();
    F.Numeric(F.Question(u"Limit", u"Five to a hundred", Limit, Store, LimitAt),
              EFI_IFR_NUMERIC_SIZE_1, 5, 100, 0);
    F.Numeric(F.Question(u"Stepper", u"By two", Stepper, Store, StepperAt), EFI_IFR_NUMERIC_SIZE_1,
              0, 10, 2);
    F.Numeric(F.Question(u"Mask", u"Hexadecimal", Mask, Store, MaskAt),
              EFI_IFR_NUMERIC_SIZE_1 | EFI_IFR_DISPLAY_UINT_HEX, 0, 0xFF, 0);
    F.Date(F.Question(u"Day", u"A date", Day, Store, DayAt));
    F.Time(F.Question(u"Clock", u"A time", Clock, Store, ClockAt));
    F.String(F.Question(u"Name", u"Two to ten characters", Name, Store, NameAt), 2, 10);
    F.Password(F.Question(u"Secret", u"Checked by the driver", Secret, Store, SecretAt,
                          EFI_IFR_FLAG_CALLBACK),
               0, 8);
    F.OneOf(F.Question(u"Choice", u"One of three", Choice, Store, ChoiceAt), EFI_IFR_NUMERIC_SIZE_1,
            0, 3, 0, true);
    F.Options({{u"Alpha", 1}});
    F.SuppressIf(true).True();
    F.Options({{u"Hidden", 2}});
    F.End();
    F.Options({{u"Gamma", 3}, {u"Delta", 4}});
    F.End();
    F.OrderedList(F.Question(u"Order", u"Three in order", Order, Store, OrderAt), 3, 0, true);
    F.Options({{u"First", 1}, {u"Second", 2}, {u"Third", 3}});
    F.End();
    F.Password(F.Question(u"Long secret", u"Up to forty", LongSecret, Store, LongSecretAt), 0, 40);
    F.Numeric(F.Question(u"Huge", u"Sixty-four bits", Huge, Store, HugeAt), EFI_IFR_NUMERIC_SIZE_8,
              0, ~0ull, 0);
    Set = &Publish(F);
    Set->Driver->OnCallback = [this](EFI_BROWSER_ACTION Action, EFI_QUESTION_ID Question, UINT8,
                                     EFI_IFR_TYPE_VALUE *Value, EFI_BROWSER_ACTION_REQUEST *) {
      if (Action == EFI_BROWSER_ACTION_CHANGED && Question == Secret && Value != nullptr) {
        Passwords.push_back(ReadString(Value->string));
      }
      return EFI_SUCCESS;
    };
    SendAndWait({Set->Handle});
  }

  std::u16string ReadString(EFI_STRING_ID Id) {
    EFI_HII_STRING_PROTOCOL *Strings = Session->Hii().String();
    CHAR16 Text[64] = {};
    UINTN Size = sizeof(Text);
    if (Id == 0 ||
        EFI_ERROR(Strings->GetString(Strings, "en-US", Set->Handle, Id, Text, &Size, nullptr))) {
      return u"<none>";
    }
    return Text;
  }

  UINT64 Number(EFI_QUESTION_ID Id) { return HiiValueNumber(&Question(Id)->Value); }
  // The screen row that holds the prompt.
  std::string RowOf(const std::string &Prompt) {
    for (const std::string &Line : ScreenRows()) {
      if (Line.find("   " + Prompt + " ") != std::string::npos) {
        return Line;
      }
    }
    return "";
  }
  bool RowShows(const std::string &Prompt, const std::string &Text) {
    return RowOf(Prompt).find(Text) != std::string::npos;
  }
  UINTN Beeps() { return Host().Speaker()->Beeps(); }
  UINT8 Stored(UINT16 Offset) { return (*Set->Driver->Buffer(TestGuid(1), u"Data"))[Offset]; }
};

TEST_F(EditorTest, NumbersTypedDigitByDigit) {
  MoveTo(Limit);
  // "1", "0", "1": the last digit would pass 100 and is dropped without a beep.
  Host().Speaker()->ResetBeeps();
  Type("\"101\"");
  EXPECT_TRUE(RowShows("Limit", "[ 10]")) << ScreenText();
  EXPECT_EQ(Beeps(), 0u);
  Type("Enter");
  EXPECT_EQ(Number(Limit), 10u);
  EXPECT_EQ(Highlighted(), Stepper) << "the highlight moves down after an entry";

  // Below the minimum: Enter clamps up to it.
  MoveTo(Limit);
  Type("\"1\" Enter");
  EXPECT_EQ(Number(Limit), 5u);

  // Backspace over every digit shows 0, and leaving clamps to the minimum.
  MoveTo(Limit);
  Type("\"42\" Backspace");
  EXPECT_TRUE(RowShows("Limit", "[  4]")) << ScreenText();
  Type("Backspace");
  EXPECT_TRUE(RowShows("Limit", "[  0]")) << ScreenText();
  Type("Enter");
  EXPECT_EQ(Number(Limit), 5u);

  // Esc keeps what was typed: only the status differs from Enter.
  MoveTo(Limit);
  Type("\"77\" Esc");
  EXPECT_EQ(Number(Limit), 77u);

  // Digits past the largest 64-bit number are dropped, not wrapped around; leading zeros stop
  // at 21 digits.
  MoveTo(Huge);
  Type("\"" + std::string(25, '9') + "\" Enter");
  EXPECT_EQ(Number(Huge), 9999999999999999999ull);
  MoveTo(Huge);
  Type("\"" + std::string(25, '0') + "7\" Enter");
  EXPECT_EQ(Number(Huge), 0u);
}

TEST_F(EditorTest, HexadecimalNumbers) {
  MoveTo(Mask);
  Type("\"aF\"");
  EXPECT_TRUE(RowShows("Mask", "[AF]")) << ScreenText();
  Type("\"1\"");
  EXPECT_TRUE(RowShows("Mask", "[AF]")) << "a third digit passes 0xFF and is dropped";
  Host().Speaker()->ResetBeeps();
  Type("\"g\"");
  EXPECT_EQ(Beeps(), 1u) << "not a hexadecimal digit";
  Type("Enter");
  EXPECT_EQ(Number(Mask), 0xAFu);
}

TEST_F(EditorTest, NumbersStepWithWrapAround) {
  MoveTo(Stepper);
  // A step opens the editor, which steps on until a key ends it.
  Type("\"+\"");
  EXPECT_EQ(Number(Stepper), 6u);
  Type("F6 F6");
  EXPECT_EQ(Number(Stepper), 10u);
  Type("F6");
  EXPECT_EQ(Number(Stepper), 0u) << "10 + 2 wraps to the minimum";
  Type("F5");
  EXPECT_EQ(Number(Stepper), 10u) << "0 - 2 wraps to the maximum";
  EXPECT_EQ(Highlighted(), Stepper);
  Type("Enter");
  EXPECT_EQ(Highlighted(), Mask) << "the highlight moves down when the edit ends";
  // F5 and F6 on a number without a step do nothing, and do not beep.
  Host().Speaker()->ResetBeeps();
  Type("F5 F6");
  EXPECT_EQ(Number(Mask), 0x10u);
  EXPECT_EQ(Beeps(), 0u);
}

TEST_F(EditorTest, DateFieldsTypedAndStepped) {
  MoveTo(Day);
  Host().Speaker()->ResetBeeps();
  // Month: 1 then 3 is 13, too large: a beep, and the field stays at 01.
  Type("\"13\"");
  EXPECT_EQ(Beeps(), 1u);
  EXPECT_TRUE(RowShows("Day", "[01/")) << ScreenText();
  // Enter ends the field and goes to the day.
  Type("Enter");
  EXPECT_EQ(Question(Day)->Value.Value[2], 1);
  // The day's limit comes from the month as it was when the field was entered: January.
  Type("\"31\" Enter");
  EXPECT_EQ(Question(Day)->Value.Value[3], 31);
  // Year: 1, 9, 9, 7 completes 1997, below 1998, so the field becomes 1998.
  Type("\"1997\"");
  EXPECT_TRUE(RowShows("Day", "/1998]")) << ScreenText();
  Type("Enter");
  EXPECT_EQ(ReadUnaligned16(Question(Day)->Value.Value), 1998);
}

TEST_F(EditorTest, DayOfAThirtyDayMonthAndTheYearBeyondRange) {
  MoveTo(Day);
  Type("Tab"); // the day field of 15 April
  Host().Speaker()->ResetBeeps();
  Type("\"35\"");
  EXPECT_EQ(Beeps(), 1u);
  Type("\"0\"");
  EXPECT_TRUE(RowShows("Day", "/30/")) << ScreenText();
  Type("Enter");
  EXPECT_EQ(Question(Day)->Value.Value[3], 30);
  // Year 2, 1, 0, 0: the last digit beeps and the field shows 0210, which leaving drops.
  Type("\"2100\"");
  EXPECT_TRUE(RowShows("Day", "/0210]")) << ScreenText();
  Type("Enter");
  EXPECT_EQ(ReadUnaligned16(Question(Day)->Value.Value), 2024);
}

TEST_F(EditorTest, MonthZeroZeroBecomesJanuary) {
  MoveTo(Day);
  Type("\"00\"");
  EXPECT_TRUE(RowShows("Day", "[01/")) << ScreenText();
  Type("\"1\"");
  EXPECT_TRUE(RowShows("Day", "[01/")) << "the next digit starts afresh";
}

TEST_F(EditorTest, TimeFieldsWrapWhenStepped) {
  MoveTo(Clock);
  // Hour 23 stepped up gives 00; Enter stores it and goes on to the minutes.
  Type("\"+\" Enter");
  EXPECT_EQ(Question(Clock)->Value.Value[0], 0);
  // Tab twice wraps round the fields to the hour, which steps down from 00 to 23.
  Type("Tab Tab \"-\" Enter");
  EXPECT_EQ(Question(Clock)->Value.Value[0], 23);
  // The minute field: 59 up is 00.
  Type("\"+\" Enter");
  EXPECT_EQ(Question(Clock)->Value.Value[1], 0);
}

TEST_F(EditorTest, DaysInMonthTable) {
  struct Case {
    UINT16 Year;
    UINT8 Month;
    UINT8 Days;
  };
  for (const Case &Each :
       {Case{2023, 2, 28}, Case{2024, 2, 29}, Case{1900, 2, 28}, Case{2000, 2, 29},
        Case{2024, 4, 30}, Case{2024, 12, 31}, Case{2024, 0, 31}, Case{2024, 13, 31}}) {
    EXPECT_EQ(DaysInMonth(Each.Year, Each.Month), Each.Days) << Each.Year << "-" << +Each.Month;
  }
}

TEST_F(EditorTest, StringsReplaceTheOldTextFromTheFirstKey) {
  MoveTo(Name);
  EXPECT_TRUE(RowShows("Name", "[old       ]")) << ScreenText();
  Type("\"n\"");
  // The old value is blanked at once, across the field's whole width.
  EXPECT_TRUE(RowShows("Name", "[n    ")) << ScreenText();
  EXPECT_FALSE(RowShows("Name", "old")) << ScreenText();
  Type("\"ew\" Enter");
  EXPECT_EQ(std::u16string(reinterpret_cast<const char16_t *>(Question(Name)->ValueBuffer)),
            u"new");
  EXPECT_TRUE(RowShows("Name", "[new       ]")) << ScreenText();
}

TEST_F(EditorTest, AStringTooShortIsRefusedWithANotice) {
  MoveTo(Name);
  Type("\"x\" Enter");
  EXPECT_TRUE(Shows("Please enter enough characters")) << ScreenText();
  Type("Esc");
  EXPECT_TRUE(Shows("Please enter enough characters")) << "only Enter ends the notice";
  Type("Enter");
  EXPECT_TRUE(RowShows("Name", "[old       ]")) << ScreenText();
  // Esc leaves the string as it was.
  Type("\"abc\" Esc");
  EXPECT_TRUE(RowShows("Name", "[old       ]")) << ScreenText();
}

TEST_F(EditorTest, APasswordGoesToTheDriverAndStaysMasked) {
  MoveTo(Secret);
  Host().Speaker()->ResetBeeps();
  Type("Space");
  EXPECT_EQ(Beeps(), 1u) << "a blank is no password character";
  Type("\"pw1\"");
  EXPECT_TRUE(RowShows("Secret", "[***     ]")) << ScreenText();
  Type("Enter");
  ASSERT_EQ(Passwords.size(), 1u);
  EXPECT_EQ(Passwords[0], u"pw1");
  EXPECT_FALSE(Shows("pw1")) << ScreenText();
  // The temporary string is gone from the form set's package.
  EXPECT_NE(ReadString(Question(Secret)->Value.Value[0] | Question(Secret)->Value.Value[1] << 8),
            u"pw1");
}

// A password of up to forty characters in a narrower field: each entry, the second one
// included, blanks only the field, never the frame or the help beside it.
TEST_F(EditorTest, APasswordTypedAgainBlanksOnlyItsField) {
  MoveTo(LongSecret);
  std::vector<std::string> Before = ScreenRows();
  // The first entry, the second, and a new password over the old one.
  for (const char *Keys : {"Enter \"first\" Enter", "\"first\"", "Enter Enter \"x\""}) {
    Type(Keys);
    std::vector<std::string> Now = ScreenRows();
    for (size_t Row = 0; Row < Now.size(); Row++) {
      // The field's text is ASCII in both, so its closing bracket stands at the same byte.
      size_t From = Now[Row].find("Long secret") == std::string::npos ? 0 : Before[Row].rfind(']');
      EXPECT_EQ(Now[Row].substr(std::min(From, Now[Row].size())), Before[Row].substr(From)) << Keys;
    }
  }
  Type("Esc");
}

TEST_F(EditorTest, OneOfPopUpPicksAShownOption) {
  MoveTo(Choice);
  Type("Enter");
  std::string Screen = ScreenText();
  EXPECT_NE(Screen.find("Alpha"), std::string::npos) << Screen;
  EXPECT_NE(Screen.find("Gamma"), std::string::npos);
  EXPECT_EQ(Screen.find("Hidden"), std::string::npos) << "a suppressed option never shows";
  // Down twice from Alpha is Delta; Enter takes it.
  Type("Down Down Enter");
  EXPECT_EQ(Number(Choice), 4u);
  EXPECT_TRUE(RowShows("Choice", "[Delta]")) << ScreenText();
  // Up on the first wraps to the last; Esc leaves the value.
  Type("Enter Home Up Up Up Esc");
  EXPECT_EQ(Number(Choice), 4u);
  Type("Enter Up Enter");
  EXPECT_EQ(Number(Choice), 3u) << "Gamma stands above Delta";
}

TEST_F(EditorTest, ThePopUpCastsAShadowAndGivesTheScreenBack) {
  MoveTo(Choice);
  std::vector<std::string> Text = ScreenRows();
  std::vector<std::string> Attributes = AttributeRows();
  Type("Enter");
  // The box's top right corner, and the cell that its shadow covers below and to its right.
  const host::TextScreen &Screen = Host().Screen();
  UINT32 Corner = 0;
  UINT32 Top = 0;
  for (UINT32 Row = 0; Row < Screen.Rows() && Corner == 0; Row++) {
    for (UINT32 Column = 0; Column < Screen.Columns(); Column++) {
      if (Screen.Cell(Column, Row).Char == u'┐' && Row > 2) {
        Corner = Column;
        Top = Row;
        break;
      }
    }
  }
  ASSERT_NE(Corner, 0u) << ScreenText();
  // The shadow darkens what lies under it: a black ground (the blank cell keeps no ink).
  EXPECT_EQ(Screen.Cell(Corner + 1, Top + 1).Attribute & 0xF0, 0x00) << ScreenText();
  EXPECT_NE(Attributes[Top + 1].substr(2 * (Corner + 1), 1), "0") << "it was not black before";
  EXPECT_EQ(Screen.Cell(Corner + 1, Top).Attribute,
            std::stoi(Attributes[Top].substr(2 * (Corner + 1), 2), nullptr, 16))
      << "the shadow starts one row down";
  Type("Esc");
  EXPECT_EQ(ScreenRows(), Text);
  EXPECT_EQ(AttributeRows(), Attributes);
}

TEST_F(EditorTest, OneOfStepsSkipSuppressedOptionsAndChangesReachTheDriverOnSave) {
  MoveTo(Choice);
  Type("\"+\"");
  EXPECT_EQ(Number(Choice), 3u) << "Alpha to Gamma, past the hidden option";
  Type("\"+\" \"+\"");
  EXPECT_EQ(Number(Choice), 1u) << "Delta wraps to Alpha";
  Type("\"-\"");
  EXPECT_EQ(Number(Choice), 4u);
  EXPECT_EQ(Highlighted(), Choice) << "stepping a one-of keeps the highlight";
  // The changes reach the driver on save.
  MoveTo(Limit);
  Type("\"64\" Enter");
  SaveAndLeave();
  EXPECT_EQ(Stored(LimitAt), 64);
  EXPECT_EQ(Stored(ChoiceAt), 4);
  ExpectNothingLeftSinceSend();
}

} // namespace
} // namespace morvane::test
