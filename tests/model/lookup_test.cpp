// Look-ups in the model, the refresh a question look-up makes after a driver wrote into a
// storage, and the normal form of values.
#include <vector>

#include "expression/expression.h"
#include "tests/model/model_fixture.h"

namespace morvane::test {
namespace {

using kit::IfrWriter;
using kit::Strings;

const EFI_GUID BufferGuid = TestGuid(0x61);
const EFI_GUID VariableGuid = TestGuid(0x62);

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

class LookupTest : public ModelTest {
protected:
  FormSet *LoadTwoForms() {
    Strings S;
    IfrWriter W;
    W.FormSet(SetGuid(), S.Add(u"Set"), 0, {}, true);
    W.VarStore(BufferGuid, 1, 8, "Data");
    W.VarStoreEfi(2, VariableGuid, EFI_VARIABLE_BOOTSERVICE_ACCESS, 1, "Level");
    EFI_STRING_ID Level = S.Add(u"Level");
    W.Form(1, 1, true);
    W.Text(1, 0);
    W.Numeric({1, 0, 0x10, 1, 0, 0}, EFI_IFR_NUMERIC_SIZE_2, 0, 0xFFFF, 0);
    W.Numeric({1, 0, 0x11, 2, Level, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 0xFF, 0);
    W.Rule(1, true).True().End();
    W.End();
    W.Form(2, 1, true);
    W.Numeric({1, 0, 0x20, 1, 2, 0}, EFI_IFR_NUMERIC_SIZE_2, 0, 0xFFFF, 0);
    W.Numeric({1, 0, 0x10, 1, 4, 0}, EFI_IFR_NUMERIC_SIZE_2, 0, 0xFFFF, 0);
    W.End();
    W.End();
    PublishedFormSet &Published = PublishSet(W, S);
    Published.Driver->AddBufferStorage(BufferGuid, u"Data", std::vector<uint8_t>(8, 0));
    FormSet *Set = nullptr;
    EXPECT_EQ(LoadSet(Published.Handle, SetGuid(), &Set), EFI_SUCCESS);
    return Set;
  }
};

TEST_F(LookupTest, QuestionsAreFoundByIdInTheFormFirst) {
  FormSet *Set = LoadTwoForms();
  ASSERT_NE(Set, nullptr);
  Form *One = FormAt(Set, 0);
  Form *Two = FormAt(Set, 1);
  EXPECT_EQ(FindQuestionInForm(Set, One, 0), nullptr) << "the text has id 0 and is no answer";
  EXPECT_EQ(FindQuestionInFormSet(Set, One, 0), nullptr);
  EXPECT_EQ(FindQuestionInForm(Set, One, 0x20), nullptr);
  EXPECT_EQ(FindQuestionInFormSet(Set, One, 0x20), StatementAt(Two, 0));
  // Two forms with the same id: the form asked for wins, then the first in order.
  EXPECT_EQ(FindQuestionInFormSet(Set, Two, 0x10), StatementAt(Two, 1));
  EXPECT_EQ(FindQuestionInFormSet(Set, One, 0x10), StatementAt(One, 1));
  EXPECT_EQ(FindQuestionInFormSet(Set, One, 0x99), nullptr);
  EXPECT_NE(FindRule(One, 1), nullptr);
  EXPECT_EQ(FindRule(Two, 1), nullptr) << "rules are not shared between forms";
  EXPECT_EQ(FindRule(One, 2), nullptr);
  ReleaseFormSet(Set);
}

TEST_F(LookupTest, AQuestionIsReadAgainAfterADriverWroteItsStorage) {
  FormSet *Set = LoadTwoForms();
  ASSERT_NE(Set, nullptr);
  Form *One = FormAt(Set, 0);
  Statement *Buffered = StatementAt(One, 1);
  Statement *OnVariable = StatementAt(One, 2);
  Storage *Data = StorageAt(Set, 0);
  Data->EditCopy[0] = 0x34;
  Data->EditCopy[1] = 0x12;
  ASSERT_EQ(SetVariable(u"Level", VariableGuid, EFI_VARIABLE_BOOTSERVICE_ACCESS, {0x77}),
            EFI_SUCCESS);
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
    OnVariable->Value = MakeValue(EFI_IFR_TYPE_NUM_SIZE_8, 0);
    Set->Loaded = Each.Loaded;
    Set->CallbackWroteStorage = Each.Wrote;
    EXPECT_EQ(FindQuestionInForm(Set, One, 0x10), Buffered) << Each.Name;
    EXPECT_EQ(NumberOf(Buffered->Value), Each.Buffered) << Each.Name;
    // An EFI variable is read at display time, never by the look-up.
    EXPECT_EQ(FindQuestionInForm(Set, One, 0x11), OnVariable) << Each.Name;
    EXPECT_EQ(NumberOf(OnVariable->Value), 0u) << Each.Name;
  }
  // An expression that refers to the question sees the written value.
  Expression *Probe = FindRule(One, 1);
  Buffered->Value = MakeValue(EFI_IFR_TYPE_NUM_SIZE_16, 0);
  Data->EditCopy[0] = 0x35;
  ExpressionOpcode *Op = ExpressionOpcodeFromLink(ListFirst(&Probe->OpcodeList));
  Op->Opcode = EFI_IFR_QUESTION_REF1_OP;
  Op->QuestionId = 0x10;
  ASSERT_EQ(EvaluateExpression(Set, One, Probe), EFI_SUCCESS);
  EXPECT_EQ(NumberOf(Probe->Result), 0x1235u);
  ReleaseFormSet(Set);
}

} // namespace
} // namespace morvane::test
