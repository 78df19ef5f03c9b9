// A question's value between its Statement and where it is kept: the edit side of a buffer or
// name-value storage, an EFI variable, the clock, a value expression; the Retrieve Callback;
// and the inconsistent-if and no-submit-if checks.
#include <vector>

#include "storage/question_value.h"
#include "support/memory.h"
#include "tests/common/text.h"
#include "tests/model/model_fixture.h"

namespace morvane::test {
namespace {

using kit::IfrValue;
using kit::IfrWriter;
using kit::Strings;

const EFI_GUID BufferGuid = TestGuid(0x81);
const EFI_GUID NameValueGuid = TestGuid(0x82);
const EFI_GUID VariableGuid = TestGuid(0x83);
constexpr UINT32 VariableAttributes = EFI_VARIABLE_BOOTSERVICE_ACCESS | EFI_VARIABLE_RUNTIME_ACCESS;

// Question ids and where they sit in the 48-byte buffer.
enum : EFI_QUESTION_ID {
  Computed = 0x50, // u8 at 0, value of question Number
  Number = 0x11,   // u16 at 2
  Day = 0x12,      // date at 4
  Box = 0x10,      // checkbox at 9
  Watched = 0x60,  // checkbox at 10, Callback
  Clock = 0x13,    // time at 12, fourteen bytes
  Short = 0x14,    // string of 2 at 26
  Order = 0x15,    // ordered list of 2 at 30
  Asked = 0x61,    // string of 3 at 32, Callback
  Secret = 0x62,   // password of 2 at 38, Callback
  Speed = 0x20,    // u16 named Speed
  Small = 0x21,    // u8 named Small
  Label = 0x22,    // string of 10 named Label
  Nameless = 0x23, // u16 whose name does not read
  Level = 0x30,    // u16 in the variable Level
  RtcDate = 0x40,
  RtcTime = 0x41,
  WakeDate = 0x42,
  WakeTime = 0x43,
  Loose = 0x44, // a date bound to nothing
};

class QuestionValueTest : public ModelTest {
protected:
  void SetUp() override {
    ModelTest::SetUp();
    Strings S;
    EFI_STRING_ID SpeedName = S.Add(u"Speed");
    EFI_STRING_ID SmallName = S.Add(u"Small");
    EFI_STRING_ID LabelName = S.Add(u"Label");
    EFI_STRING_ID LevelName = S.Add(u"Level");
    TooBig = S.Add(u"Too big");
    IfrWriter W;
    W.FormSet(SetGuid(), S.Add(u"Values"), 0, {}, true);
    W.VarStore(BufferGuid, 1, 48, "Data");
    W.VarStoreNameValue(2, NameValueGuid);
    W.VarStoreEfi(3, VariableGuid, VariableAttributes, 2, "Level");
    W.Form(1, S.Add(u"Main"), true);
    W.Text(1, 0);
    W.Numeric({1, 0, Computed, 1, 0, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 0xFF, 0, true);
    W.Value(true).QuestionRef1(Number).End();
    W.End();
    W.Numeric({1, 0, Number, 1, 2, 0}, EFI_IFR_NUMERIC_SIZE_2, 0, 0xFFFF, 0, true);
    W.InconsistentIf(TooBig, true).EqIdVal(Number, 5).End();
    W.NoSubmitIf(0, true).EqIdVal(Number, 6).End();
    W.NoSubmitIf(TooBig, true).EqIdVal(0x99, 0).End();
    W.End();
    W.Date({1, 0, Day, 1, 4, 0});
    W.Checkbox({1, 0, Box, 1, 9, 0});
    W.Checkbox({1, 0, Watched, 1, 10, EFI_IFR_FLAG_CALLBACK});
    W.Time({1, 0, Clock, 1, 12, 0});
    W.String({1, 0, Short, 1, 26, 0}, 0, 2);
    W.OrderedList({1, 0, Order, 1, 30, 0}, 2, 0, true);
    W.OneOfOption(1, 0, IfrValue::U8(1)).OneOfOption(1, 0, IfrValue::U8(2));
    W.End();
    W.String({1, 0, Asked, 1, 32, EFI_IFR_FLAG_CALLBACK}, 0, 3);
    W.Password({1, 0, Secret, 1, 38, EFI_IFR_FLAG_CALLBACK}, 0, 2);
    W.Numeric({1, 0, Speed, 2, SpeedName, 0}, EFI_IFR_NUMERIC_SIZE_2, 0, 0xFFFF, 0);
    W.Numeric({1, 0, Small, 2, SmallName, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 0xFF, 0);
    W.String({1, 0, Label, 2, LabelName, 0}, 0, 10);
    W.Numeric({1, 0, Nameless, 2, 0x7777, 0}, EFI_IFR_NUMERIC_SIZE_2, 0, 0xFFFF, 0);
    W.Numeric({1, 0, Level, 3, LevelName, 0}, EFI_IFR_NUMERIC_SIZE_2, 0, 0xFFFF, 0);
    W.Date({1, 0, RtcDate, 0, 0, 0}, QF_DATE_STORAGE_TIME);
    W.Time({1, 0, RtcTime, 0, 0, 0}, QF_TIME_STORAGE_TIME);
    W.Date({1, 0, WakeDate, 0, 0, 0}, QF_DATE_STORAGE_WAKEUP);
    W.Time({1, 0, WakeTime, 0, 0, 0}, QF_TIME_STORAGE_WAKEUP);
    W.Date({1, 0, Loose, 0, 0, 0});
    W.End();
    W.End();
    Published = &PublishSet(W, S);
    std::vector<uint8_t> Bytes(48);
    for (size_t Index = 0; Index < Bytes.size(); Index++) {
      Bytes[Index] = static_cast<uint8_t>(0xA0 + Index);
    }
    Published->Driver->AddBufferStorage(BufferGuid, u"Data", Bytes);
    Published->Driver->AddNameValueStorage(NameValueGuid);
    (*Published->Driver->NameValues(NameValueGuid))[u"Speed"] = u"0042";
    (*Published->Driver->NameValues(NameValueGuid))[u"Label"] = u"Named";
    ASSERT_EQ(LoadSet(Published->Handle, SetGuid(), &Set), EFI_SUCCESS);
    ASSERT_TRUE(Notices.empty()) << Notices.front();
    Main = FormAt(Set, 0);
    Data = StorageAt(Set, 0);
    Names = StorageAt(Set, 1);
    Set->Loaded = 1;
  }

  void TearDown() override {
    ReleaseFormSet(Set);
    ModelTest::TearDown();
  }

  Statement *Q(EFI_QUESTION_ID Id) { return QuestionById(Set, Id); }
  EFI_STATUS Read(EFI_QUESTION_ID Id) { return ReadQuestionValue(Set, Main, Q(Id)); }
  EFI_STATUS Write(EFI_QUESTION_ID Id) { return WriteQuestionValue(Set, Main, Q(Id)); }
  std::u16string EditValueOf(const std::u16string &Name) { return NodeText(Names, Name); }
  std::vector<UINT8> EditBytes(size_t Offset, size_t Count) {
    return std::vector<UINT8>(Data->EditCopy + Offset, Data->EditCopy + Offset + Count);
  }

  PublishedFormSet *Published = nullptr;
  FormSet *Set = nullptr;
  Form *Main = nullptr;
  Storage *Data = nullptr;
  Storage *Names = nullptr;
  EFI_STRING_ID TooBig = 0;
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
  for (const WriteCase &Each : {WriteCase{Speed, 0x12AB, u"12AB"}, WriteCase{Small, 15, u"0F"},
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
    UINT64 Value;
    UINTN Kind;
    EFI_STATUS Status;
    bool Box;
  };
  const Case Cases[] = {
      {"inconsistent, holds", 5, RULE_KIND_INCONSISTENT, EFI_NOT_READY, true},
      {"inconsistent, does not hold", 4, RULE_KIND_INCONSISTENT, EFI_SUCCESS, false},
      {"no-submit without a message", 6, RULE_KIND_NO_SUBMIT, EFI_NOT_READY, false},
      {"no-submit whose second rule cannot run", 4, RULE_KIND_NO_SUBMIT, EFI_NOT_FOUND, false},
      {"another kind", 5, 2, EFI_UNSUPPORTED, false},
  };
  for (const Case &Each : Cases) {
    Notices.clear();
    Q(Number)->Value = MakeValue(EFI_IFR_TYPE_NUM_SIZE_16, Each.Value);
    EFI_STATUS Status =
        RunDriver([&] { return CheckQuestionRules(Set, Main, Q(Number), Each.Kind); });
    EXPECT_EQ(Status, Each.Status) << Each.Name;
    EXPECT_EQ(Notices.size(), Each.Box ? 1u : 0u) << Each.Name;
    if (Each.Box && !Notices.empty()) {
      EXPECT_NE(Notices[0].find("Too big"), std::string::npos) << Notices[0];
      EXPECT_NE(Notices[0].find("Message"), std::string::npos) << Notices[0];
      EXPECT_NE(Notices[0].find("Continue"), std::string::npos) << Notices[0];
    }
  }
  EXPECT_EQ(CheckQuestionRules(Set, Main, Q(Box), RULE_KIND_NO_SUBMIT), EFI_SUCCESS)
      << "no rules, nothing to refuse";
}

TEST_F(QuestionValueTest, LoadFormValuesReadsInOrderUntilAFailure) {
  Q(Number)->Value = MakeValue(EFI_IFR_TYPE_NUM_SIZE_16, 0);
  Q(Speed)->Value = MakeValue(EFI_IFR_TYPE_NUM_SIZE_16, 0);
  Q(Level)->Value = MakeValue(EFI_IFR_TYPE_NUM_SIZE_16, 0);
  ASSERT_EQ(SetVariable(u"Level", VariableGuid, VariableAttributes, {0xAD, 0x0B}), EFI_SUCCESS);
  // The nameless question fails, and the variable behind it is not read.
  ASSERT_EQ(RunDriver([&] { return LoadFormValues(Set, Main); }), EFI_NOT_FOUND);
  EXPECT_EQ(NumberOf(Q(Number)->Value), 0xA3A2u);
  EXPECT_EQ(NumberOf(Q(Speed)->Value), 0x42u);
  EXPECT_EQ(NumberOf(Q(Level)->Value), 0u);
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
