// A question's value between its Statement and where it is kept: the edit side of a buffer or
// name-value storage, an EFI variable, the clock, a value expression; the Retrieve Callback;
// the inconsistent-if and no-submit-if checks; look-ups in the model, with the refresh a
// question look-up makes after a driver wrote into a storage; and the normal form of values.
#include <vector>

#include "expression/expression.h"
#include "storage/question_value.h"
#include "support/memory.h"
#include "tests/common/text.h"
#include "tests/model/model_fixture.h"

namespace morvane::test {
namespace {

using kit::IfrWriter;
using kit::Strings;

using namespace rich;

class QuestionValueTest : public RichSetTest {
protected:
  void SetUp() override {
    RichSetTest::SetUp();
    LoadRich();
    ASSERT_TRUE(Notices.empty()) << Notices.front();
    Set->Loaded = 1;
  }

  EFI_STATUS Read(EFI_QUESTION_ID Id) { return ReadQuestionValue(Set, Main, Q(Id)); }
  EFI_STATUS Write(EFI_QUESTION_ID Id) { return WriteQuestionValue(Set, Main, Q(Id)); }
  std::u16string EditValueOf(const std::u16string &Name) { return NodeText(Names, Name); }
};

TEST_F(QuestionValueTest, BufferQuestionsReadTheirWidthAtTheirOffset) {
  // The driver's bytes arrived in the edit side, those that were asked for, and were committed.
  EXPECT_EQ(EditBytes(0, 3), (std::vector<UINT8>{0xA0, 0, 0xA2})) << "no question asks for byte 1";
  EXPECT_EQ(CompareBytes(Data->StoredCopy, Data->EditCopy, 48), 0);

  Q(Box)->Value = MakeValue(EFI_IFR_TYPE_BOOLEAN, 0x7766554433221100ull);
  const struct {
    EFI_QUESTION_ID Id;
    UINT8 Type;
    UINT64 Value;
  } Reads[] = {
      {Box, EFI_IFR_TYPE_BOOLEAN, 0x77665544332211A9ull}, // one byte read, seven kept
      {Number, EFI_IFR_TYPE_NUM_SIZE_16, 0xA3A2},
      {Day, EFI_IFR_TYPE_DATE, 0xA7A6A5A4},
      {Clock, EFI_IFR_TYPE_TIME, 0xAEADAC}, // hour, minute, second; no more
  };
  for (const auto &Each : Reads) {
    ASSERT_EQ(Read(Each.Id), EFI_SUCCESS);
    EXPECT_EQ(Q(Each.Id)->Value.Type, Each.Type) << Each.Id;
    EXPECT_EQ(NumberOf(Q(Each.Id)->Value), Each.Value) << Each.Id;
  }
  ASSERT_EQ(Read(Short), EFI_SUCCESS);
  EXPECT_EQ(std::vector<UINT8>(Q(Short)->ValueBuffer, Q(Short)->ValueBuffer + 4),
            (std::vector<UINT8>{0xBA, 0xBB, 0xBC, 0xBD}));
  ASSERT_EQ(Read(Order), EFI_SUCCESS);
  EXPECT_EQ(std::vector<UINT8>(Q(Order)->ValueBuffer, Q(Order)->ValueBuffer + 2),
            (std::vector<UINT8>{0xBE, 0xBF}));

  // Writes touch their bytes only, and mark the form.
  Main->Modified = 0;
  Q(Number)->Value = MakeValue(EFI_IFR_TYPE_NUM_SIZE_16, 0x1234);
  ASSERT_EQ(Write(Number), EFI_SUCCESS);
  EXPECT_EQ(EditBytes(1, 4), (std::vector<UINT8>{0, 0x34, 0x12, 0xA4}));
  EXPECT_EQ(Data->StoredCopy[2], 0xA2) << "the stored side waits for a submit";
  EXPECT_EQ(Main->Modified, 1);
  Q(Order)->ValueBuffer[0] = 2;
  Q(Order)->ValueBuffer[1] = 1;
  ASSERT_EQ(Write(Order), EFI_SUCCESS);
  EXPECT_EQ(EditBytes(30, 2), (std::vector<UINT8>{2, 1}));
  // A time keeps the bytes its storage holds beyond its fields.
  Q(Clock)->Value = MakeValue(EFI_IFR_TYPE_TIME, 0x030201);
  ASSERT_EQ(Write(Clock), EFI_SUCCESS);
  EXPECT_EQ(EditBytes(12, 5), (std::vector<UINT8>{1, 2, 3, 0xAF, 0xB0}));
  EXPECT_EQ(EditBytes(25, 1), (std::vector<UINT8>{0xB9}));
  EXPECT_EQ(Q(Clock)->ValueBuffer, nullptr);

  // A form set under load never counts as modified.
  Main->Modified = 0;
  Set->Loaded = 0;
  ASSERT_EQ(Write(Box), EFI_SUCCESS);
  EXPECT_EQ(Main->Modified, 0);
}

TEST_F(QuestionValueTest, NameValueQuestionsKeepValueDigitsOrPlainText) {
  // The load brought the driver's texts.
  EXPECT_EQ(EditValueOf(u"Speed"), u"0042");
  ASSERT_EQ(Read(Speed), EFI_SUCCESS);
  EXPECT_EQ(NumberOf(Q(Speed)->Value), 0x42u);
  ASSERT_EQ(Read(Label), EFI_SUCCESS);
  EXPECT_EQ(TextOf(reinterpret_cast<CHAR16 *>(Q(Label)->ValueBuffer)), u"Named");

  struct WriteCase {
    EFI_QUESTION_ID Question;
    UINT64 Value;
    std::u16string Text;
  };
  for (const WriteCase &Each : {WriteCase{Speed, 0x12AB, u"12AB"}, WriteCase{Small, 0x1E, u"1E"},
                                WriteCase{Speed, 0, u"0000"}}) {
    Q(Each.Question)->Value = MakeValue(Q(Each.Question)->Value.Type, Each.Value);
    ASSERT_EQ(Write(Each.Question), EFI_SUCCESS);
    EXPECT_EQ(EditValueOf(Each.Question == Speed ? u"Speed" : u"Small"), Each.Text);
  }
  std::u16string Plain = u"x=1&y";
  CopyBytes(Q(Label)->ValueBuffer, Plain.c_str(), (Plain.size() + 1) * 2);
  ASSERT_EQ(Write(Label), EFI_SUCCESS);
  EXPECT_EQ(EditValueOf(u"Label"), u"x=1&y");

  struct ReadCase {
    std::u16string Text;
    UINT64 Before;
    EFI_STATUS Status;
    UINT64 After;
  };
  const ReadCase Reads[] = {
      {u"abc", 0, EFI_SUCCESS, 0x0ABC},
      {u"ABCD", 0, EFI_SUCCESS, 0xABCD},
      // Only the bytes the digits cover are written.
      {u"F", 0x1234, EFI_SUCCESS, 0x120F},
      {u"12&rest", 0xFFFF, EFI_SUCCESS, 0xFF12},
      {u"", 0x1234, EFI_SUCCESS, 0x1234},
      {u"1234567", 0x1234, EFI_BUFFER_TOO_SMALL, 0x1234},
  };
  for (const ReadCase &Each : Reads) {
    ASSERT_EQ(WriteNamedValue(Names, u"Speed", Each.Text.c_str()), EFI_SUCCESS);
    Q(Speed)->Value = MakeValue(EFI_IFR_TYPE_NUM_SIZE_16, Each.Before);
    EXPECT_EQ(Read(Speed), Each.Status) << Utf8(Each.Text);
    EXPECT_EQ(NumberOf(Q(Speed)->Value), Each.After) << Utf8(Each.Text);
  }
  // A text longer than the question's room is cut to it.
  ASSERT_EQ(WriteNamedValue(Names, u"Label", u"ABCDEFGHIJKLMN"), EFI_SUCCESS);
  ASSERT_EQ(Read(Label), EFI_SUCCESS);
  EXPECT_EQ(TextOf(reinterpret_cast<CHAR16 *>(Q(Label)->ValueBuffer)), u"ABCDEFGHIJ");

  // A name that did not read has no node to match.
  EXPECT_EQ(Q(Nameless)->ItemName, nullptr);
  EXPECT_EQ(Read(Nameless), EFI_NOT_FOUND);
  EXPECT_EQ(Write(Nameless), EFI_NOT_FOUND);
}

TEST_F(QuestionValueTest, VariableQuestionsGoStraightToTheVariable) {
  Q(Level)->Value = MakeValue(EFI_IFR_TYPE_NUM_SIZE_16, 0x5555);
  ASSERT_EQ(Read(Level), EFI_SUCCESS) << "a variable that does not exist is no failure";
  EXPECT_EQ(NumberOf(Q(Level)->Value), 0x5555u);
  ASSERT_EQ(SetVariable(u"Level", VariableGuid, VariableAttributes, {0xAD, 0x0B}), EFI_SUCCESS);
  ASSERT_EQ(Read(Level), EFI_SUCCESS);
  EXPECT_EQ(NumberOf(Q(Level)->Value), 0x0BADu);

  Main->Modified = 0;
  Q(Level)->Value = MakeValue(EFI_IFR_TYPE_NUM_SIZE_16, 0x0C0D);
  ASSERT_EQ(Write(Level), EFI_SUCCESS);
  std::vector<UINT8> Bytes;
  UINT32 Attributes = 0;
  ASSERT_EQ(GetVariable(u"Level", VariableGuid, &Bytes, &Attributes), EFI_SUCCESS);
  EXPECT_EQ(Bytes, (std::vector<UINT8>{0x0D, 0x0C}));
  EXPECT_EQ(Attributes, VariableAttributes);
  EXPECT_EQ(Main->Modified, 0) << "a variable takes effect at once; nothing waits for a submit";
}

TEST_F(QuestionValueTest, ClockQuestionsReadAndWriteTheirHalfOfTheTime) {
  EFI_RUNTIME_SERVICES *Runtime = Host().RuntimeServices();
  EFI_TIME Start = {2024, 5, 6, 7, 8, 9, 0, 0, EFI_UNSPECIFIED_TIMEZONE, 0, 0};
  ASSERT_EQ(Runtime->SetTime(&Start), EFI_SUCCESS);
  EFI_TIME Alarm = {2025, 1, 2, 3, 4, 5, 0, 0, EFI_UNSPECIFIED_TIMEZONE, 0, 0};
  ASSERT_EQ(Runtime->SetWakeupTime(TRUE, &Alarm), EFI_SUCCESS);
  const std::pair<EFI_QUESTION_ID, UINT64> Reads[] = {
      {RtcDate, 0x060507E8}, {RtcTime, 0x090807}, {WakeDate, 0x020107E9}, {WakeTime, 0x050403}};
  for (auto [Id, Value] : Reads) {
    ASSERT_EQ(Read(Id), EFI_SUCCESS);
    EXPECT_EQ(NumberOf(Q(Id)->Value), Value) << Id;
  }

  // Each write keeps the other half: the time of a date, the date of a time.
  Q(RtcDate)->Value = MakeValue(EFI_IFR_TYPE_DATE, 0x1F0C07EEu); // 2030-12-31
  ASSERT_EQ(Write(RtcDate), EFI_SUCCESS);
  EFI_TIME Now = {};
  ASSERT_EQ(Runtime->GetTime(&Now, nullptr), EFI_SUCCESS);
  EXPECT_EQ((std::vector<int>{Now.Year, Now.Month, Now.Day, Now.Hour, Now.Minute}),
            (std::vector<int>{2030, 12, 31, 7, 8}));
  Q(WakeTime)->Value = MakeValue(EFI_IFR_TYPE_TIME, 0x1E1716u); // 22:23:30
  ASSERT_EQ(Write(WakeTime), EFI_SUCCESS);
  BOOLEAN Enabled = FALSE;
  BOOLEAN Pending = FALSE;
  EFI_TIME Wake = {};
  ASSERT_EQ(Runtime->GetWakeupTime(&Enabled, &Pending, &Wake), EFI_SUCCESS);
  EXPECT_TRUE(Enabled);
  EXPECT_EQ((std::vector<int>{Wake.Year, Wake.Hour, Wake.Minute, Wake.Second}),
            (std::vector<int>{2025, 22, 23, 30}));

  // A service that refuses is the result.
  Q(RtcDate)->Value = MakeValue(EFI_IFR_TYPE_DATE, 0x1F0207EEu); // February 31st
  EXPECT_TRUE(EFI_ERROR(Write(RtcDate)));

  // A date bound to nothing keeps its value both ways.
  Q(Loose)->Value = MakeValue(EFI_IFR_TYPE_DATE, 0x01010800u);
  EXPECT_EQ(Read(Loose), EFI_SUCCESS);
  EXPECT_EQ(Write(Loose), EFI_SUCCESS);
  EXPECT_EQ(NumberOf(Q(Loose)->Value), 0x01010800u);
}

TEST_F(QuestionValueTest, StatementsAndComputedQuestionsAreNeverStored) {
  Statement *Text = StatementAt(Main, 0);
  EXPECT_EQ(ReadQuestionValue(Set, Main, Text), EFI_SUCCESS);
  EXPECT_EQ(WriteQuestionValue(Set, Main, Text), EFI_SUCCESS);

  Q(Number)->Value = MakeValue(EFI_IFR_TYPE_NUM_SIZE_16, 0x0102);
  ASSERT_EQ(Read(Computed), EFI_SUCCESS);
  EXPECT_EQ(Q(Computed)->Value.Type, EFI_IFR_TYPE_NUM_SIZE_16) << "the result's type comes along";
  EXPECT_EQ(NumberOf(Q(Computed)->Value), 0x0102u);
  Q(Number)->Value = MakeValue(EFI_IFR_TYPE_NUM_SIZE_16, 0x0304);
  ASSERT_EQ(Read(Computed), EFI_SUCCESS);
  EXPECT_EQ(NumberOf(Q(Computed)->Value), 0x0304u) << "it follows on each read";
  Main->Modified = 0;
  ASSERT_EQ(Write(Computed), EFI_SUCCESS);
  EXPECT_EQ(Data->EditCopy[0], 0xA0) << "its storage byte is never written";
  EXPECT_EQ(Main->Modified, 0);
}

TEST_F(QuestionValueTest, RetrieveLetsTheDriverSupplyACallbackQuestionsValue) {
  host::ConfigDriver &Driver = *Published->Driver;
  std::u16string SeenText;
  EFI_BROWSER_ACTION_REQUEST Answer = EFI_BROWSER_ACTION_REQUEST_NONE;
  EFI_STATUS Reply = EFI_SUCCESS;
  Driver.OnCallback = [&](EFI_BROWSER_ACTION Action, EFI_QUESTION_ID Question, UINT8 Type,
                          EFI_IFR_TYPE_VALUE *Value, EFI_BROWSER_ACTION_REQUEST *Request) {
    if (Action != EFI_BROWSER_ACTION_RETRIEVE) {
      return EFI_UNSUPPORTED;
    }
    if (Type == EFI_IFR_TYPE_STRING) {
      SeenText = StringOf(Set, Value->string);
    } else if (Question == Watched) {
      Value->b = TRUE;
    }
    *Request = Answer;
    return Reply;
  };
  Driver.Calls.clear();
  ASSERT_EQ(Read(Watched), EFI_SUCCESS);
  ASSERT_EQ(Driver.Calls.size(), 1u);
  EXPECT_EQ(Driver.Calls[0].QuestionId, Watched);
  EXPECT_EQ(Driver.Calls[0].Type, EFI_IFR_TYPE_BOOLEAN);
  EXPECT_EQ(Driver.Calls[0].Value.b, 0xAA) << "the driver sees the value read from storage";
  EXPECT_EQ(NumberOf(Q(Watched)->Value), 1u) << "and the browser takes the driver's";

  // A string goes to the driver as a string of the package, which is emptied afterwards.
  std::u16string Text = u"AB";
  CopyBytes(Data->EditCopy + 32, Text.c_str(), 6);
  ASSERT_EQ(Read(Asked), EFI_SUCCESS);
  EXPECT_EQ(SeenText, u"AB");
  ASSERT_EQ(Driver.Calls.back().Type, EFI_IFR_TYPE_STRING);
  EXPECT_EQ(StringOf(Set, Driver.Calls.back().Value.string), u"");

  // The exit request aborts the read, and the value is taken all the same.
  Answer = EFI_BROWSER_ACTION_REQUEST_EXIT;
  Data->EditCopy[10] = 0;
  EXPECT_EQ(Read(Watched), EFI_ABORTED);
  EXPECT_EQ(NumberOf(Q(Watched)->Value), 1u);

  // A driver that does not answer leaves the stored value; one that fails is the result.
  Answer = EFI_BROWSER_ACTION_REQUEST_NONE;
  Reply = EFI_UNSUPPORTED;
  EXPECT_EQ(Read(Watched), EFI_SUCCESS);
  EXPECT_EQ(NumberOf(Q(Watched)->Value), 0u);
  Reply = EFI_DEVICE_ERROR;
  EXPECT_EQ(Read(Watched), EFI_DEVICE_ERROR);

  // Questions without the Callback flag, and passwords, are not asked.
  size_t Calls = Driver.Calls.size();
  EXPECT_EQ(Read(Box), EFI_SUCCESS);
  EXPECT_EQ(Read(Secret), EFI_SUCCESS);
  EXPECT_EQ(RetrieveCallback(Set, Q(Secret)), EFI_SUCCESS);
  EXPECT_EQ(Driver.Calls.size(), Calls);
}

TEST_F(QuestionValueTest, RulesOfAQuestion) {
  struct Case {
    const char *Name;
    EFI_QUESTION_ID Question;
    UINT64 Value;
    UINTN Kind;
    EFI_STATUS Status;
    bool Box;
  };
  const Case Cases[] = {
      {"inconsistent, holds", Number, 5, RULE_KIND_INCONSISTENT, EFI_NOT_READY, true},
      {"inconsistent, does not hold", Number, 4, RULE_KIND_INCONSISTENT, EFI_SUCCESS, false},
      {"no-submit without a message", Number, 6, RULE_KIND_NO_SUBMIT, EFI_NOT_READY, false},
      {"no-submit, does not hold", Number, 4, RULE_KIND_NO_SUBMIT, EFI_SUCCESS, false},
      {"a rule that cannot run", Nameless, 4, RULE_KIND_INCONSISTENT, EFI_NOT_FOUND, false},
      {"another kind", Number, 5, 2, EFI_UNSUPPORTED, false},
      {"no rules, nothing to refuse", Box, 1, RULE_KIND_NO_SUBMIT, EFI_SUCCESS, false},
  };
  for (const Case &Each : Cases) {
    Notices.clear();
    Statement *Question = Q(Each.Question);
    Question->Value = MakeValue(Question->Value.Type, Each.Value);
    EFI_STATUS Status =
        RunDriver([&] { return CheckQuestionRules(Set, Main, Question, Each.Kind); });
    EXPECT_EQ(Status, Each.Status) << Each.Name;
    EXPECT_EQ(Notices.size(), Each.Box ? 1u : 0u) << Each.Name;
    if (Each.Box && !Notices.empty()) {
      EXPECT_NE(Notices[0].find("Too big"), std::string::npos) << Notices[0];
      EXPECT_NE(Notices[0].find("Message"), std::string::npos) << Notices[0];
      EXPECT_NE(Notices[0].find("Continue"), std::string::npos) << Notices[0];
    }
  }
}

TEST_F(QuestionValueTest, LoadFormValuesReadsInOrderUntilAFailure) {
  for (EFI_QUESTION_ID Id : {Number, Speed, Level, Late}) {
    Q(Id)->Value = MakeValue(EFI_IFR_TYPE_NUM_SIZE_16, 0);
  }
  ASSERT_EQ(SetVariable(u"Level", VariableGuid, VariableAttributes, {0xAD, 0x0B}), EFI_SUCCESS);
  ASSERT_EQ(RunDriver([&] { return LoadFormValues(Set, Main); }), EFI_SUCCESS);
  EXPECT_EQ(NumberOf(Q(Number)->Value), 0xA3A2u);
  EXPECT_EQ(NumberOf(Q(Speed)->Value), 0x42u);
  EXPECT_EQ(NumberOf(Q(Level)->Value), 0x0BADu);
  // The nameless question fails, and the variable question behind it is not read.
  ASSERT_EQ(RunDriver([&] { return LoadFormValues(Set, FormAt(Set, 2)); }), EFI_NOT_FOUND);
  EXPECT_EQ(NumberOf(Q(Late)->Value), 0u);
}

TEST_F(QuestionValueTest, QuestionsAreFoundByIdInTheFormFirst) {
  Form *Two = FormAt(Set, 1);
  Statement *InTwo = QuestionById(Set, 0x70);
  EXPECT_EQ(FindQuestionInForm(Set, Main, 0), nullptr) << "the text has id 0 and is no answer";
  EXPECT_EQ(FindQuestionInFormSet(Set, Main, 0), nullptr);
  EXPECT_EQ(FindQuestionInForm(Set, Main, 0x70), nullptr);
  EXPECT_EQ(FindQuestionInFormSet(Set, Main, 0x70), InTwo);
  // Two forms with the same id: the form asked for wins, then the first in order.
  EXPECT_EQ(FindQuestionInFormSet(Set, Two, Twin), StatementAt(Two, 1));
  EXPECT_EQ(FindQuestionInFormSet(Set, FormAt(Set, 2), Number), Q(Number));
  EXPECT_EQ(FindQuestionInFormSet(Set, Main, 0x99), nullptr);
  EXPECT_NE(FindRule(Main, 1), nullptr);
  EXPECT_EQ(FindRule(Two, 1), nullptr) << "rules are not shared between forms";
  EXPECT_EQ(FindRule(Main, 2), nullptr);
}

TEST_F(QuestionValueTest, AQuestionIsReadAgainAfterADriverWroteItsStorage) {
  Statement *Buffered = Q(Number);
  Statement *OnVariable = Q(Level);
  Data->EditCopy[2] = 0x34;
  Data->EditCopy[3] = 0x12;
  ASSERT_EQ(SetVariable(u"Level", VariableGuid, VariableAttributes, {0x77, 0}), EFI_SUCCESS);
  struct Case {
    const char *Name;
    UINT8 Loaded;
    UINT8 Wrote;
    UINT64 Buffered;
  };
  const Case Cases[] = {
      {"a set under load is left alone", 0, 1, 0},
      {"no write, no refresh", 1, 0, 0},
      {"a write since the Callback began", 1, 1, 0x1234},
  };
  for (const Case &Each : Cases) {
    Buffered->Value = MakeValue(EFI_IFR_TYPE_NUM_SIZE_16, 0);
    OnVariable->Value = MakeValue(EFI_IFR_TYPE_NUM_SIZE_16, 0);
    Set->Loaded = Each.Loaded;
    Set->CallbackWroteStorage = Each.Wrote;
    EXPECT_EQ(FindQuestionInForm(Set, Main, Number), Buffered) << Each.Name;
    EXPECT_EQ(NumberOf(Buffered->Value), Each.Buffered) << Each.Name;
    // An EFI variable is read at display time, never by the look-up.
    EXPECT_EQ(FindQuestionInForm(Set, Main, Level), OnVariable) << Each.Name;
    EXPECT_EQ(NumberOf(OnVariable->Value), 0u) << Each.Name;
  }
  // An expression that refers to the question sees the written value.
  Expression *Probe = FindRule(Main, 1);
  Buffered->Value = MakeValue(EFI_IFR_TYPE_NUM_SIZE_16, 0);
  Data->EditCopy[2] = 0x35;
  ExpressionOpcode *Op = ExpressionOpcodeFromLink(ListFirst(&Probe->OpcodeList));
  Op->Opcode = EFI_IFR_QUESTION_REF1_OP;
  Op->QuestionId = Number;
  ASSERT_EQ(EvaluateExpression(Set, Main, Probe), EFI_SUCCESS);
  EXPECT_EQ(NumberOf(Probe->Result), 0x1235u);
}

TEST(NormalizeHiiValueTest, ClearsTheBytesAboveTheTypesWidth) {
  struct Case {
    UINT8 Type;
    UINT64 Kept;
  };
  const Case Cases[] = {{EFI_IFR_TYPE_NUM_SIZE_8, 0xF1},
                        {EFI_IFR_TYPE_BOOLEAN, 0xF1},
                        {EFI_IFR_TYPE_NUM_SIZE_16, 0xF2F1},
                        {EFI_IFR_TYPE_TIME, 0xF3F2F1},
                        {EFI_IFR_TYPE_NUM_SIZE_32, 0xF4F3F2F1},
                        {EFI_IFR_TYPE_DATE, 0xF4F3F2F1},
                        {EFI_IFR_TYPE_NUM_SIZE_64, 0xF8F7F6F5F4F3F2F1},
                        {EFI_IFR_TYPE_STRING, 0xF8F7F6F5F4F3F2F1},
                        {EFI_IFR_TYPE_OTHER, 0xF8F7F6F5F4F3F2F1},
                        {EFI_IFR_TYPE_BUFFER, 0xF8F7F6F5F4F3F2F1}};
  for (const Case &Each : Cases) {
    HiiValue Value = MakeValue(Each.Type, 0xF8F7F6F5F4F3F2F1);
    NormalizeHiiValue(&Value);
    EXPECT_EQ(Value.Type, Each.Type);
    EXPECT_EQ(NumberOf(Value), Each.Kept) << static_cast<int>(Each.Type);
  }
}

class QuestionValueEdgeTest : public ModelTest {};

TEST_F(QuestionValueEdgeTest, AQuestionPastTheEndOfItsBufferIsRefused) {
  Strings S;
  IfrWriter W;
  W.FormSet(SetGuid(), S.Add(u"Edge"), 0, {}, true);
  W.VarStore(BufferGuid, 1, 4, "Tiny");
  W.Form(1, 1, true);
  W.Numeric({1, 0, 0x10, 1, 3, 0}, EFI_IFR_NUMERIC_SIZE_2, 0, 0xFFFF, 0);
  W.Numeric({1, 0, 0x11, 1, 0, 0}, EFI_IFR_NUMERIC_SIZE_2, 0, 0xFFFF, 0);
  W.End().End();
  PublishedFormSet &Published = PublishSet(W, S);
  Published.Driver->AddBufferStorage(BufferGuid, u"Tiny", {1, 2, 3, 4, 5, 6});
  FormSet *Set = nullptr;
  ASSERT_EQ(LoadSet(Published.Handle, SetGuid(), &Set), EFI_SUCCESS);
  Form *Main = FormAt(Set, 0);
  Statement *Over = QuestionById(Set, 0x10);
  Over->Value = MakeValue(EFI_IFR_TYPE_NUM_SIZE_16, 0x7777);
  EXPECT_EQ(ReadQuestionValue(Set, Main, Over), EFI_INVALID_PARAMETER);
  EXPECT_EQ(WriteQuestionValue(Set, Main, Over), EFI_INVALID_PARAMETER);
  EXPECT_EQ(NumberOf(Over->Value), 0x7777u);
  // The walk over the form stops at the first failure.
  EXPECT_EQ(RunDriver([&] { return LoadFormValues(Set, Main); }), EFI_INVALID_PARAMETER);
  ReleaseFormSet(Set);
}

} // namespace
} // namespace morvane::test
