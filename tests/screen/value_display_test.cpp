// The text of a value as the value column shows it: numbers in their field, a one-of whose
// value no visible option matches, ordered lists, action questions; and the widths a fitted
// body measures values by.
#include "editors/process_statement.h"
#include "screen/menu_option.h"
#include "storage/storage.h"
#include "tests/common/text.h"
#include "tests/screen/screen_fixture.h"

namespace morvane::test {
namespace {

using kit::IfrValue;
using kit::IfrWriter;
using kit::Strings;

class ValueDisplayTest : public ScreenTest {
protected:
  Statement *Question(EFI_QUESTION_ID Id) {
    LIST_FOR_EACH(Link, &Browser->Selection->Form->StatementList) {
      Statement *Each = StatementFromLink(Link);
      if (Each->QuestionId == Id) {
        return Each;
      }
    }
    return nullptr;
  }

  // The value column of the row whose prompt is Prompt, up to the scroll bar.
  std::u16string ValueOf(const std::u16string &Prompt, UINT32 Column) {
    int Row = RowOf(u"   " + Prompt + u" ");
    if (Row < 0) {
      return u"<no row>";
    }
    std::u16string Text = Cells(static_cast<UINT32>(Row)).substr(Column, 53 - Column);
    return Text.substr(0, Text.find_last_not_of(u' ') + 1);
  }
};

TEST(FormatNumberTest, LimitsAndWidths) {
  struct Case {
    UINT16 Bytes;
    UINT8 Flags;
    UINT64 Maximum;
    UINT64 Value;
    const char16_t *Text;
  };
  const Case Cases[] = {
      {1, 0x10, 255, 7, u"  7"},
      // Maximum 0: one shifted left by 8 x bytes - 1, in 32 bits with the count modulo 32.
      {1, 0x10, 0, 5, u"  5"},                 // 0x80: 3 digits
      {2, 0x10, 0, 5, u"    5"},               // 0x8000: 5 digits
      {4, 0x10, 0, 5, u"         5"},          // 0x80000000: 10 digits
      {8, 0x10, 0, 5, u"         5"},          // 0x80000000 again, not 2 to the 63rd
      {4, 0x10, 0, 0xFFFFFFFF, u"4294967295"}, // all 32 bits, unsigned
      {1, 0x10, 99, 1234, u"34"},              // more digits than the field: the low ones
      {2, 0x20, 0, 0x2A, u"  2A"},             // hexadecimal: two digits a byte
      {1, 0x20, 0xFF, 0xFF, u"FF"},
      {8, 0x20, 0, 0xFEDCBA9876543210, u"FEDCBA9876543210"},
      // The whole 64 bits, never with a sign.
      {8, 0x10, 0xFFFFFFFFFFFFFFFF, 0xFFFFFFFFFFFFFFFF, u"18446744073709551615"},
      {8, 0x10, 0, 0x8000000000000001, u"6854775809"},
      {8, 0x10, 0xFFFFFFFFFFFFFFFF, 0x8000000000000000, u" 9223372036854775808"},
      // Signed display is shown as unsigned decimal.
      {1, 0x00, 255, 0xFF, u"255"},
  };
  for (const Case &Each : Cases) {
    Statement Question = {};
    Question.Opcode = EFI_IFR_NUMERIC_OP;
    Question.ValueBytes = Each.Bytes;
    Question.Flags = Each.Flags;
    Question.Maximum = Each.Maximum;
    SetHiiValueNumber(&Question.Value, EFI_IFR_TYPE_NUM_SIZE_64, Each.Value);
    CHAR16 Text[NUMBER_TEXT_SIZE / sizeof(CHAR16)] = {};
    ASSERT_EQ(FormatNumber(&Question, Text, sizeof(Text)), EFI_SUCCESS) << Utf8(Each.Text);
    EXPECT_EQ(U16(Text), std::u16string(Each.Text))
        << Each.Bytes << " bytes, flags " << +Each.Flags << ", value " << Each.Value;
  }
}

TEST(FormatNumberTest, FlagsAndBufferSize) {
  Statement Question = {};
  Question.Opcode = EFI_IFR_NUMERIC_OP;
  Question.ValueBytes = 8;
  Question.Flags = EFI_IFR_NUMERIC_SIZE_8 | EFI_IFR_DISPLAY_INT_DEC;
  CHAR16 Text[32] = {};
  EXPECT_EQ(FormatNumber(&Question, Text, 41), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Question.Flags, EFI_IFR_NUMERIC_SIZE_8) << "a refused call changes nothing";
  EXPECT_EQ(FormatNumber(&Question, Text, 42), EFI_SUCCESS);
  EXPECT_EQ(Question.Flags, EFI_IFR_DISPLAY_UINT_DEC) << "the whole byte is replaced";
  Question.Flags = EFI_IFR_DISPLAY;
  EXPECT_EQ(FormatNumber(&Question, Text, 42), EFI_UNSUPPORTED);
}

// A one-of shows the option its value matches; a value that matches no visible option takes the
// first visible one as it is shown, in the edit copy of the storage only.
TEST_F(ValueDisplayTest, AOneOfRepairsAValueNoVisibleOptionMatches) {
  // Up to three options, Ann = 1, Bob = 2 and Cyd = 3, each of them visible or suppressed.
  const char16_t *Names[] = {u"Ann", u"Bob", u"Cyd"};
  struct Case {
    const char16_t *Prompt;
    std::vector<bool> Suppressed;
    UINT8 Stored;
    const char16_t *Shown;
    UINT8 Value;
  };
  const Case Cases[] = {
      {u"Visible match", {false, false, false}, 3, u"[Cyd]", 3},
      {u"Hidden match", {false, true, false}, 2, u"[Ann]", 1},
      {u"First hidden", {true, false, false}, 1, u"[Bob]", 2},
      {u"No match", {false, false}, 7, u"[Ann]", 1},
      {u"All hidden, found", {true, true}, 2, u"[]", 2},
      {u"All hidden, lost", {true, true}, 9, u"[Bob]", 9},
      {u"No options", {}, 4, u"[]", 4},
  };
  PublishForm(
      u"One-of",
      [&](IfrWriter &W, Strings &S) {
        UINT16 Offset = 0;
        for (const Case &Each : Cases) {
          W.OneOf({S.Add(Each.Prompt), S.Add(u"A choice"),
                   static_cast<EFI_QUESTION_ID>(0x10 + Offset), 1, Offset, 0},
                  EFI_IFR_NUMERIC_SIZE_1, 0, 9, 0, true);
          for (UINT8 Option = 0; Option < Each.Suppressed.size(); Option++) {
            if (Each.Suppressed[Option]) {
              W.SuppressIf(true).True();
            }
            W.OneOfOption(S.Add(Names[Option]), 0, IfrValue::U8(Option + 1));
            if (Each.Suppressed[Option]) {
              W.End();
            }
          }
          W.End();
          Offset++;
        }
      },
      16);
  std::vector<uint8_t> &Driver = *Published[0]->Driver->Buffer(TestGuid(1), u"Data");
  for (size_t Index = 0; Index < std::size(Cases); Index++) {
    Driver[Index] = Cases[Index].Stored;
  }
  Send(Handles());
  ASSERT_TRUE(Waiting());
  // The widest prompt is 17 cells: values from column 4 + 17 + 2 = 23.
  for (size_t Index = 0; Index < std::size(Cases); Index++) {
    const Case &Each = Cases[Index];
    Statement *One = Question(static_cast<EFI_QUESTION_ID>(0x10 + Index));
    ASSERT_NE(One, nullptr);
    EXPECT_EQ(ValueOf(Each.Prompt, 23), std::u16string(Each.Shown)) << Utf8(Each.Prompt);
    EXPECT_EQ(One->Value.Value[0], Each.Value) << Utf8(Each.Prompt);
    EXPECT_EQ(One->Storage->EditCopy[Index], Each.Value) << Utf8(Each.Prompt);
    EXPECT_EQ(One->Storage->StoredCopy[Index], Each.Stored) << Utf8(Each.Prompt);
    EXPECT_EQ(Driver[Index], Each.Stored) << "the driver hears of nothing yet";
  }
  // With every option suppressed the pop-up and the steps have nothing to choose: the value
  // stays, and nothing is read past the list.
  Type("Down Down Down Down");
  Statement *Hidden = Question(0x14);
  ASSERT_EQ(Browser->Selection->Statement, Hidden) << ScreenText();
  for (const char *Keys : {"Enter Enter", "Enter Down Enter", "Enter Esc", "\"+\"", "\"-\""}) {
    Type(Keys);
    ASSERT_TRUE(Waiting()) << Keys;
    EXPECT_EQ(Hidden->Value.Value[0], 2) << Keys;
    EXPECT_EQ(ValueOf(u"All hidden, found", 23), u"[]") << Keys << "\n" << ScreenText();
  }
}

// An ordered list shows the text of its last container that is not suppressed; an empty list
// takes its default first; a container no option has makes the list over in option order.
TEST_F(ValueDisplayTest, OrderedListRows) {
  Strings S;
  IfrWriter W;
  EFI_STRING_ID Title = S.Add(u"Lists");
  W.FormSet(TestGuid(1), Title, S.Add(u"Help"), {}, true);
  W.VarStore(TestGuid(1), 1, 20, "Data");
  W.DefaultStore(S.Add(u"Standard"), EFI_HII_DEFAULT_CLASS_STANDARD);
  W.Form(1, Title, true);
  auto Three = [&](bool HideSecond) {
    W.OneOfOption(S.Add(u"First"), 0, IfrValue::U8(1));
    if (HideSecond) {
      W.SuppressIf(true).True();
    }
    W.OneOfOption(S.Add(u"Second"), 0, IfrValue::U8(2));
    if (HideSecond) {
      W.End();
    }
    W.OneOfOption(S.Add(u"Third"), 0, IfrValue::U8(3));
  };
  W.OrderedList({S.Add(u"Last shown"), S.Add(u"A list"), 0x10, 1, 0, 0}, 3, 0, true);
  Three(true);
  W.End();
  W.OrderedList({S.Add(u"Unknown item"), S.Add(u"A list"), 0x11, 1, 3, 0}, 3, 0, true);
  Three(false);
  W.End();
  W.OrderedList({S.Add(u"Defaulted"), S.Add(u"A list"), 0x12, 1, 6, 0}, 3, 0, true);
  Three(false);
  W.Default(EFI_HII_DEFAULT_CLASS_STANDARD, IfrValue::Buffer({2, 3, 1}));
  W.End();
  W.OrderedList({S.Add(u"Empty"), S.Add(u"A list"), 0x13, 1, 9, 0}, 3, 0, true);
  Three(false);
  W.End();
  W.OrderedList({S.Add(u"Trimmed"), S.Add(u"A list"), 0x14, 1, 12, 0}, 2, 0, true);
  W.OneOfOption(S.Add(u"Padded   "), 0, IfrValue::U8(5));
  W.OneOfOption(S.Add(u"Other"), 0, IfrValue::U8(6));
  W.End();
  // Options of 16-bit values still take one byte a container.
  W.OrderedList({S.Add(u"Wide values"), S.Add(u"A list"), 0x16, 1, 17, 0}, 3, 0, true);
  W.OneOfOption(S.Add(u"Uno"), 0, IfrValue::U16(1));
  W.OneOfOption(S.Add(u"Dos"), 0, IfrValue::U16(2));
  W.OneOfOption(S.Add(u"Tres"), 0, IfrValue::U16(3));
  W.End();
  W.End().End();
  PublishForms(1, W, S, 20);
  std::vector<uint8_t> &Driver = *Published[0]->Driver->Buffer(TestGuid(1), u"Data");
  const uint8_t Stored[] = {1, 3, 2, 1, 9, 2, 0, 0, 0, 0, 0, 0, 6, 5, 0, 0, 0, 3, 1, 2};
  std::copy(std::begin(Stored), std::end(Stored), Driver.begin());
  Send(Handles());
  ASSERT_TRUE(Waiting());
  // Values from 4 + 12 + 2 = 18.
  EXPECT_EQ(ValueOf(u"Last shown", 18), u"[Third]");
  EXPECT_EQ(ValueOf(u"Unknown item", 18), u"[Third]");
  EXPECT_EQ(ValueOf(u"Defaulted", 18), u"[First]");
  EXPECT_EQ(ValueOf(u"Empty", 18), u"[]");
  EXPECT_EQ(ValueOf(u"Trimmed", 18), u"[Padded]");
  EXPECT_EQ(ValueOf(u"Wide values", 18), u"[Dos]");
  struct Buffer {
    EFI_QUESTION_ID Id;
    std::vector<UINT8> Value;
  };
  for (const Buffer &Each : {Buffer{0x10, {1, 3, 2}}, Buffer{0x11, {1, 2, 3}},
                             Buffer{0x12, {2, 3, 1}}, Buffer{0x13, {0, 0, 0}}}) {
    Statement *List = Question(Each.Id);
    ASSERT_NE(List, nullptr);
    EXPECT_EQ(std::vector<UINT8>(List->ValueBuffer, List->ValueBuffer + Each.Value.size()),
              Each.Value)
        << std::hex << Each.Id;
  }
  // The list made over is written to the edit copy.
  Statement *Remade = Question(0x11);
  EXPECT_EQ(std::vector<UINT8>(Remade->Storage->EditCopy + 3, Remade->Storage->EditCopy + 6),
            (std::vector<UINT8>{1, 2, 3}));
}

// An action question shows its configuration text in brackets; without one it is a prompt-only
// line. Only a configuration request counts towards a fitted body's width.
TEST_F(ValueDisplayTest, ActionQuestionsAndValueWidths) {
  const std::u16string Request =
      u"GUID=0123456789abcdef0123456789abcdef&NAME=0041&PATH=00"; // a <ConfigHdr>
  PublishForm(
      u"Actions",
      [&](IfrWriter &W, Strings &S) {
        W.Action({S.Add(u"Run"), S.Add(u"Runs"), 0x10, 0, 0, EFI_IFR_FLAG_CALLBACK},
                 S.Add(u"Run now"));
        W.Action({S.Add(u"Plain"), S.Add(u"Nothing to show"), 0x11, 0, 0, EFI_IFR_FLAG_CALLBACK},
                 std::nullopt);
        W.Action({S.Add(u"Request"), S.Add(u"Sends a request"), 0x12, 0, 0, EFI_IFR_FLAG_CALLBACK},
                 S.Add(Request));
        W.OneOf({S.Add(u"Choice"), S.Add(u"Options"), 0x13, 1, 0, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 2,
                0, true);
        W.OneOfOption(S.Add(u"Short"), 0, IfrValue::U8(0));
        W.OneOfOption(S.Add(u"日本語"), 0, IfrValue::U8(1));
        W.End();
        W.String({S.Add(u"Name"), S.Add(u"A name"), 0x14, 1, 2, 0}, 0, 12);
        W.Password({S.Add(u"Secret"), S.Add(u"A password"), 0x15, 1, 28, 0}, 0, 8);
        W.Date({S.Add(u"Day"), S.Add(u"A date"), 0x16, 1, 46, 0});
        W.Time({S.Add(u"Clock"), S.Add(u"A time"), 0x17, 1, 50, 0});
        W.Checkbox({S.Add(u"Flag"), S.Add(u"A flag"), 0x18, 1, 53, 0});
        W.Numeric({S.Add(u"Count"), S.Add(u"A number"), 0x19, 1, 54, 0}, EFI_IFR_NUMERIC_SIZE_1, 0,
                  99, 0);
      },
      64);
  Send(Handles());
  ASSERT_TRUE(Waiting());
  // Values from 4 + 7 + 2 = 13.
  EXPECT_EQ(ValueOf(u"Run", 13), u"[Run now]");
  EXPECT_EQ(Cells(static_cast<UINT32>(RowOf(u"   Plain"))).substr(1, 52),
            u"   Plain" + std::u16string(44, u' '));

  struct Width {
    EFI_QUESTION_ID Id;
    UINT16 Cells;
  };
  const Width Widths[] = {
      {0x10, 0},  {0x11, 0},  {0x12, static_cast<UINT16>(Request.size() + 2)},
      {0x13, 8}, // the widest option, 6 cells, and its brackets
      {0x14, 14}, {0x15, 10}, {0x16, 12},
      {0x17, 10}, {0x18, 0},  {0x19, 0},
  };
  for (const Width &Each : Widths) {
    EXPECT_EQ(MeasureValueWidth(Question(Each.Id), Browser->Selection->Handle), Each.Cells)
        << std::hex << Each.Id;
  }
  // The form: prompts of 7 cells, values of up to 57, no prompt-only line wider than a prompt.
  UINT16 Limit = 100;
  MeasureFormWidth(Browser->Selection->Handle, Browser->Selection->Form, &Limit);
  EXPECT_EQ(Limit, 7 + Request.size() + 2);
  Limit = 40;
  MeasureFormWidth(Browser->Selection->Handle, Browser->Selection->Form, &Limit);
  EXPECT_EQ(Limit, 40) << "a limit below the need stands";
}

TEST(LineTextTest, LinesAndConfigurationRequests) {
  EXPECT_EQ(CountLines(nullptr), 0);
  EXPECT_EQ(CountLines(u""), 1);
  EXPECT_EQ(CountLines(u"a\r\nb"), 2);
  EXPECT_EQ(CountLines(u"a\rb\r"), 3);
  struct End {
    const char16_t *Text;
    UINTN From;
    EFI_STATUS Status;
    UINTN To;
  };
  for (const End &Each : {End{u"ab\rc", 0, EFI_SUCCESS, 2}, End{u"ab\rc", 3, EFI_SUCCESS, 4},
                          End{u"ab\rc", 2, EFI_SUCCESS, 2}, End{u"ab", 2, EFI_INVALID_PARAMETER, 2},
                          End{u"", 0, EFI_INVALID_PARAMETER, 0}}) {
    UINTN Position = Each.From;
    EXPECT_EQ(FindLineEnd(Each.Text, &Position), Each.Status) << Utf8(Each.Text) << Each.From;
    EXPECT_EQ(Position, Each.To) << Utf8(Each.Text) << Each.From;
  }
  UINTN Position = 5;
  EXPECT_EQ(FindLineEnd(nullptr, &Position), EFI_SUCCESS);
  EXPECT_EQ(Position, 5u);
  const std::u16string Hex32 = u"0123456789abcdef0123456789abcdef";
  EXPECT_TRUE(IsConfigRequestString((u"GUID=" + Hex32).c_str()));
  EXPECT_FALSE(IsConfigRequestString((u"GUID=" + Hex32.substr(1)).c_str()));
  EXPECT_FALSE(IsConfigRequestString((u"xGUID=" + Hex32).c_str()));
  EXPECT_FALSE(IsConfigRequestString(nullptr));
}

} // namespace
} // namespace morvane::test
