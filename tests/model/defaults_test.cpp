// Defaults and the load of values: default records, option and checkbox flags, default
// expressions, the fallbacks of a form set under load, the default stores applied to forms and
// to every loaded form set, and the storages filled from their drivers.
#include <vector>

#include "core/browser_context.h"
#include "storage/defaults.h"
#include "storage/question_value.h"
#include "support/memory.h"
#include "tests/common/text.h"
#include "tests/model/model_fixture.h"

namespace morvane::test {
namespace {

using kit::IfrValue;
using kit::IfrWriter;
using kit::Strings;

const EFI_GUID BufferGuid = TestGuid(0x91);
const EFI_GUID NameValueGuid = TestGuid(0x92);
const EFI_GUID VariableGuid = TestGuid(0x93);
constexpr UINT16 OtherStore = 5;
constexpr UINT16 UnknownStore = 0xF40E;

class DefaultsTest : public ModelTest {
protected:
  void SetUp() override {
    ModelTest::SetUp();
    Strings S;
    IfrWriter W;
    W.FormSet(SetGuid(), S.Add(u"Defaults"), 0, {}, true);
    W.Form(1, 1, true);
    W.Text(1, 0);
    // A default record, and options flagged for both stores.
    W.OneOf({1, 0, 0x10, 0, 0, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 9, 1, true);
    W.OneOfOption(1, 0, IfrValue::U8(1));
    W.OneOfOption(1, EFI_IFR_OPTION_DEFAULT, IfrValue::U8(2));
    W.OneOfOption(1, EFI_IFR_OPTION_DEFAULT_MFG, IfrValue::U8(3));
    W.Default(EFI_HII_DEFAULT_CLASS_STANDARD, IfrValue::U8(9));
    W.End();
    // No default at all; the options carry another type than the question.
    W.OneOf({1, 0, 0x11, 0, 0, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 9, 1, true);
    W.OneOfOption(1, 0, IfrValue::U16(0x107));
    W.OneOfOption(1, 0, IfrValue::U16(0x108));
    W.End();
    W.Checkbox({1, 0, 0x12, 0, 0, 0}, EFI_IFR_CHECKBOX_DEFAULT_MFG, true);
    W.Default(OtherStore, IfrValue::Bool(true));
    W.End();
    W.Numeric({1, 0, 0x13, 0, 0, 0}, EFI_IFR_NUMERIC_SIZE_8, 0x123456789ull, 0xFFFFFFFFFull, 1);
    W.OrderedList({1, 0, 0x14, 0, 0, 0}, 2, 0, true);
    W.OneOfOption(1, 0, IfrValue::U8(4)).OneOfOption(1, EFI_IFR_OPTION_DEFAULT, IfrValue::U8(5));
    W.OneOfOption(1, 0, IfrValue::U8(6));
    W.Default(EFI_HII_DEFAULT_CLASS_MANUFACTURING, IfrValue::Buffer({6, 4}));
    W.End();
    W.Numeric({1, 0, 0x15, 0, 0, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 9, 1, true);
    W.Default2(EFI_HII_DEFAULT_CLASS_STANDARD, EFI_IFR_TYPE_NUM_SIZE_8, true);
    W.Value(true).Uint8(3).Uint8(4).Add().End();
    W.End();
    W.End();
    W.Checkbox({1, 0, 0x16, 0, 0, 0}, 0, true);
    W.Default2(EFI_HII_DEFAULT_CLASS_STANDARD, EFI_IFR_TYPE_BOOLEAN, true);
    W.Value(true).Uint8(2).End();
    W.End();
    W.End();
    W.Numeric({1, 0, 0x17, 0, 0, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 9, 1, true);
    W.Default2(EFI_HII_DEFAULT_CLASS_STANDARD, EFI_IFR_TYPE_NUM_SIZE_8, true);
    W.Value(true).QuestionRef1(0x99).End();
    W.End();
    W.End();
    W.OneOf({1, 0, 0x18, 0, 0, 0}, EFI_IFR_NUMERIC_SIZE_2, 0, 9, 1, true);
    W.OneOfOption(1, EFI_IFR_OPTION_DEFAULT_MFG, IfrValue::U8(5));
    W.End();
    W.String({1, 0, 0x19, 0, 0, 0}, 0, 4);
    W.OneOf({1, 0, 0x1A, 0, 0, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 9, 1);
    W.End();
    W.End();
    PublishedFormSet &Published = PublishSet(W, S);
    ASSERT_EQ(LoadSet(Published.Handle, SetGuid(), &Set), EFI_SUCCESS);
    Main = FormAt(Set, 0);
  }

  void TearDown() override {
    ReleaseFormSet(Set);
    ModelTest::TearDown();
  }

  FormSet *Set = nullptr;
  Form *Main = nullptr;
};

TEST_F(DefaultsTest, EachQuestionFindsItsDefaultInOrder) {
  struct Case {
    const char *Name;
    EFI_QUESTION_ID Question;
    UINT16 Store;
    bool Loaded;
    EFI_STATUS Status;
    UINT8 StartType;
    UINT8 Type;
    UINT64 Value;
  };
  constexpr UINT64 Kept = 0x5A;
  const Case Cases[] = {
      {"a default record before a flagged option", 0x10, 0, true, EFI_SUCCESS, 0, 0, 9},
      {"the manufacturing option", 0x10, 1, true, EFI_SUCCESS, 0, 0, 3},
      {"an unknown store keeps the value", 0x10, UnknownStore, true, EFI_SUCCESS, 0, 0, Kept},
      {"the first option under load, type included", 0x11, 0, false, EFI_SUCCESS, 0, 1, 0x107},
      {"no default on a user's request", 0x11, 0, true, EFI_NOT_FOUND, 0, 0, Kept},
      {"the checkbox's manufacturing flag", 0x12, 1, true, EFI_SUCCESS, 4, 4, 1},
      {"the checkbox's standard flag is clear", 0x12, 0, true, EFI_SUCCESS, 4, 4, 0},
      {"a record of another store", 0x12, OtherStore, true, EFI_SUCCESS, 4, 4, 1},
      {"a numeric starts at its minimum", 0x13, 0, false, EFI_SUCCESS, 3, 3, 0x123456789ull},
      {"a numeric on request", 0x13, 1, true, EFI_NOT_FOUND, 3, 3, Kept},
      {"a default expression's whole result", 0x15, 0, true, EFI_SUCCESS, 0, 3, 7},
      {"a checkbox takes the truth of its expression", 0x16, 0, true, EFI_SUCCESS, 4, 4, 1},
      {"a default expression that fails", 0x17, 0, true, EFI_NOT_FOUND, 0, 0, Kept},
      {"an option's bytes under the question's type", 0x18, 1, true, EFI_SUCCESS, 1, 1, 5},
      {"a string has no fallback", 0x19, 0, false, EFI_NOT_FOUND, 7, 7, Kept},
      {"a string under an unknown store", 0x19, UnknownStore, false, EFI_SUCCESS, 7, 7, Kept},
      {"a one-of without options under load", 0x1A, 0, false, EFI_SUCCESS, 0, 0, Kept},
  };
  for (const Case &Each : Cases) {
    Statement *Question = QuestionById(Set, Each.Question);
    ASSERT_NE(Question, nullptr) << Each.Name;
    Question->Value = MakeValue(Each.StartType, Kept);
    Set->Loaded = Each.Loaded ? 1 : 0;
    EXPECT_EQ(FindQuestionDefault(Set, Main, Question, Each.Store), Each.Status) << Each.Name;
    EXPECT_EQ(Question->Value.Type, Each.Type) << Each.Name;
    EXPECT_EQ(NumberOf(Question->Value), Each.Value) << Each.Name;
  }
  EXPECT_EQ(FindQuestionDefault(Set, Main, StatementAt(Main, 0), 0), EFI_NOT_FOUND)
      << "a statement has no default";
}

// An option flagged default is no value for an ordered list: a list with a flagged option
// takes its options in order up to its containers, loaded or not; a default record gives the
// whole buffer.
TEST_F(DefaultsTest, AnOrderedListTakesItsOptionsInOrderOrAWholeRecord) {
  Statement *List = QuestionById(Set, 0x14);
  ASSERT_EQ(Host().Pool().SizeOf(List->ValueBuffer), 2u);
  auto Containers = [&] { return std::vector<UINT8>(List->ValueBuffer, List->ValueBuffer + 2); };
  for (UINT8 Loaded : {0, 1}) {
    ZeroBytes(List->ValueBuffer, 2);
    Set->Loaded = Loaded;
    ASSERT_EQ(FindQuestionDefault(Set, Main, List, EFI_HII_DEFAULT_CLASS_STANDARD), EFI_SUCCESS);
    EXPECT_EQ(Containers(), (std::vector<UINT8>{4, 5})) << "the flagged option is not the list";
  }
  ASSERT_EQ(FindQuestionDefault(Set, Main, List, EFI_HII_DEFAULT_CLASS_MANUFACTURING), EFI_SUCCESS);
  EXPECT_EQ(Containers(), (std::vector<UINT8>{6, 4}));
}

TEST_F(DefaultsTest, TheLoadAppliedTheStandardStore) {
  // LoadFormSet applied store 0 with the form set under load.
  EXPECT_EQ(NumberOf(QuestionById(Set, 0x10)->Value), 9u);
  EXPECT_EQ(NumberOf(QuestionById(Set, 0x11)->Value), 0x107u);
  EXPECT_EQ(NumberOf(QuestionById(Set, 0x13)->Value), 0x123456789ull);
  EXPECT_EQ(NumberOf(QuestionById(Set, 0x15)->Value), 7u);
  EXPECT_EQ(NumberOf(QuestionById(Set, 0x16)->Value), 1u);
  EXPECT_EQ(Main->Modified, 0);
}

// Defaults of questions with storages, the load's order, and the driver's part in it.
class StorageDefaultsTest : public ModelTest {
protected:
  IfrWriter Forms(Strings &S) {
    EFI_STRING_ID Speed = S.Add(u"Speed");
    EFI_STRING_ID Unsent = S.Add(u"Unsent");
    EFI_STRING_ID Level = S.Add(u"Level");
    IfrWriter W;
    W.FormSet(SetGuid(), S.Add(u"Stored"), 0, {}, true);
    W.VarStore(BufferGuid, 1, 4, "Data");
    W.VarStoreNameValue(2, NameValueGuid);
    W.VarStoreEfi(3, VariableGuid, EFI_VARIABLE_BOOTSERVICE_ACCESS, 1, "Level");
    W.Form(1, 1, true);
    W.Numeric({1, 0, 0x10, 1, 0, 0}, EFI_IFR_NUMERIC_SIZE_2, 0, 0xFFFF, 1, true);
    W.Default(0, IfrValue::U16(0x0009)).Default(1, IfrValue::U16(0x0001));
    W.End();
    W.Numeric({1, 0, 0x11, 1, 2, EFI_IFR_FLAG_CALLBACK}, EFI_IFR_NUMERIC_SIZE_2, 0, 0xFFFF, 1,
              true);
    W.Default(1, IfrValue::U16(0x0002));
    W.End();
    W.Numeric({1, 0, 0x20, 2, Speed, 0}, EFI_IFR_NUMERIC_SIZE_2, 0, 0xFFFF, 1, true);
    W.Default(0, IfrValue::U16(0x12AB)).Default(1, IfrValue::U16(0x0003));
    W.End();
    W.Numeric({1, 0, 0x21, 2, Unsent, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 0xFF, 1, true);
    W.Default(0, IfrValue::U8(0x0F));
    W.End();
    W.Numeric({1, 0, 0x30, 3, Level, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 0xFF, 1, true);
    W.Default(0, IfrValue::U8(0x44)).Default(1, IfrValue::U8(0x45));
    W.End();
    W.End();
    W.Form(2, 1, true).Text(1, 0).End();
    W.End();
    return W;
  }
};

TEST_F(StorageDefaultsTest, DefaultsGoFirstAndTheDriverHasTheLastWord) {
  Strings S;
  IfrWriter W = Forms(S);
  PublishedFormSet &Published = PublishSet(W, S);
  Published.Driver->AddBufferStorage(BufferGuid, u"Data", {0x42, 0x00, 0x43, 0x00});
  Published.Driver->AddNameValueStorage(NameValueGuid);
  (*Published.Driver->NameValues(NameValueGuid))[u"Speed"] = u"0077";
  FormSet *Set = nullptr;
  ASSERT_EQ(LoadSet(Published.Handle, SetGuid(), &Set), EFI_SUCCESS);
  EXPECT_TRUE(Notices.empty());
  Storage *Data = StorageAt(Set, 0);
  Storage *Names = StorageAt(Set, 1);
  const UINT8 Driver[] = {0x42, 0x00, 0x43, 0x00};
  EXPECT_EQ(CompareBytes(Data->EditCopy, Driver, 4), 0);
  EXPECT_EQ(CompareBytes(Data->StoredCopy, Driver, 4), 0);
  EXPECT_EQ(NodeText(Names, u"Speed"), u"0077");
  // A name the driver does not give keeps its default, on both sides.
  EXPECT_EQ(NodeText(Names, u"Unsent"), u"0F");
  EXPECT_EQ(NodeText(Names, u"Unsent", true), u"0F");
  // The question itself shows its default until its value is read.
  EXPECT_EQ(NumberOf(QuestionById(Set, 0x10)->Value), 9u);
  // A variable is not written by a default.
  std::vector<UINT8> Bytes;
  EXPECT_EQ(GetVariable(u"Level", VariableGuid, &Bytes), EFI_NOT_FOUND);
  EXPECT_EQ(NumberOf(QuestionById(Set, 0x30)->Value), 0x44u);
  EXPECT_EQ(Published.Driver->ExtractCount, 2u);

  // A user's request for the manufacturing store: written into the edit sides; the Callback
  // question is asked after its default once the set is loaded.
  Set->Loaded = 1;
  Published.Driver->Calls.clear();
  Form *Main = FormAt(Set, 0);
  ASSERT_EQ(ApplyFormDefaults(Set, Main, EFI_HII_DEFAULT_CLASS_MANUFACTURING), EFI_SUCCESS);
  const UINT8 Manufacturing[] = {0x01, 0x00, 0x02, 0x00};
  EXPECT_EQ(CompareBytes(Data->EditCopy, Manufacturing, 4), 0);
  EXPECT_EQ(CompareBytes(Data->StoredCopy, Driver, 4), 0);
  EXPECT_EQ(NodeText(Names, u"Speed"), u"0003");
  EXPECT_EQ(NodeText(Names, u"Unsent"), u"0F") << "no default of that store: it stays";
  EXPECT_EQ(Main->Modified, 1);
  ASSERT_EQ(Published.Driver->Calls.size(), 1u);
  const auto &Call = Published.Driver->Calls[0];
  EXPECT_EQ((std::vector<UINT64>{Call.Action, Call.QuestionId, Call.Value.u16}),
            (std::vector<UINT64>{EFI_BROWSER_ACTION_RETRIEVE, 0x11, 2}));
  EXPECT_EQ(NumberOf(QuestionById(Set, 0x30)->Value), 0x45u);
  EXPECT_EQ(GetVariable(u"Level", VariableGuid, &Bytes), EFI_NOT_FOUND);
  ReleaseFormSet(Set);
}

TEST_F(StorageDefaultsTest, AFailedExtractWarnsAndCommitsNothing) {
  Strings S;
  IfrWriter W = Forms(S);
  PublishedFormSet &Published = PublishSet(W, S);
  Published.Driver->AddBufferStorage(BufferGuid, u"Data", {1, 2, 3, 4});
  Published.Driver->AddNameValueStorage(NameValueGuid);
  Published.Driver->ExtractFailure = EFI_DEVICE_ERROR;
  FormSet *Set = nullptr;
  ASSERT_EQ(LoadSet(Published.Handle, SetGuid(), &Set), EFI_SUCCESS) << "the load goes on";
  ASSERT_EQ(Notices.size(), 2u) << "one warning for each storage";
  std::string Guid = "Formset 5A1C0E77-2B4D-4C61-8E03-71924A6DB040";
  EXPECT_NE(Notices[0].find("Failed to load storage: Data. Status: 0x80000007."), std::string::npos)
      << Notices[0];
  EXPECT_NE(Notices[0].find("Warning"), std::string::npos) << Notices[0];
  EXPECT_NE(Notices[0].find(Guid), std::string::npos) << Notices[0];
  EXPECT_NE(Notices[1].find("Failed to load storage: "), std::string::npos) << Notices[1];
  Storage *Data = StorageAt(Set, 0);
  const UINT8 Defaults[] = {0x09, 0x00, 0x00, 0x00};
  EXPECT_EQ(CompareBytes(Data->EditCopy, Defaults, 4), 0) << "the defaults stay";
  const UINT8 Nothing[4] = {};
  EXPECT_EQ(CompareBytes(Data->StoredCopy, Nothing, 4), 0) << "and are not committed";
  ReleaseFormSet(Set);
}

TEST_F(StorageDefaultsTest, FetchIgnoresAlternativeConfigurationsAndMissingAnswers) {
  Strings S;
  IfrWriter W = Forms(S);
  ScriptedDriver Driver(Boot(), true);
  EFI_HII_HANDLE Handle = PublishOn(Driver.Handle(), W, S, SetGuid());
  Driver.NoResult = true;
  FormSet *Set = nullptr;
  ASSERT_EQ(LoadSet(Handle, SetGuid(), &Set), EFI_SUCCESS);
  EXPECT_TRUE(Notices.empty()) << "no answer is no warning";
  Storage *Names = StorageAt(Set, 1);
  EXPECT_EQ(NodeText(Names, u"Speed", true), u"") << "and no commit";
  ASSERT_EQ(Driver.Requests.size(), 2u);
  EXPECT_EQ(Driver.Requests[1], TextOf(Names->ConfigRequest));

  Driver.NoResult = false;
  Driver.ExtractResult = TextOf(Names->ConfigHdr) + u"&Speed=0042&Unsent=01&" +
                         TextOf(Names->ConfigHdr) + u"&ALTCFG=0000&Speed=0099";
  StartHost();
  Set->Loaded = 1;
  ASSERT_EQ(RunDriver([&] { return FetchStorage(Set, Names); }), EFI_SUCCESS);
  EXPECT_EQ(NodeText(Names, u"Speed"), u"0042");
  EXPECT_EQ(NodeText(Names, u"Unsent"), u"01");

  // A driver without configuration services, and a storage no question asks for.
  Storage *Variable = StorageAt(Set, 2);
  EXPECT_EQ(FetchStorage(Set, Variable), EFI_SUCCESS);
  UINT32 Elements = Names->ElementCount;
  Names->ElementCount = 0;
  size_t Before = Driver.Requests.size();
  EXPECT_EQ(FetchStorage(Set, Names), EFI_SUCCESS);
  EXPECT_EQ(Driver.Requests.size(), Before);
  Names->ElementCount = Elements;
  EFI_HII_CONFIG_ACCESS_PROTOCOL *Access = Set->ConfigAccess;
  Set->ConfigAccess = nullptr;
  EXPECT_EQ(FetchStorage(Set, Names), EFI_NOT_FOUND);
  Set->ConfigAccess = Access;
  ReleaseFormSet(Set);
}

TEST_F(StorageDefaultsTest, DefaultsEverywhereMarkEveryFormOfEveryFormSet) {
  Strings S;
  IfrWriter W = Forms(S);
  PublishedFormSet &First = PublishSet(W, S);
  First.Driver->AddBufferStorage(BufferGuid, u"Data", {0, 0, 0, 0});
  First.Driver->AddNameValueStorage(NameValueGuid);
  Strings S2;
  IfrWriter W2;
  W2.FormSet(TestGuid(0x42), S2.Add(u"Second"), 0, {}, true);
  W2.Form(1, 1, true).Checkbox({1, 0, 0x10, 0, 0, 0}, EFI_IFR_CHECKBOX_DEFAULT_MFG).End();
  W2.End();
  PublishedFormSet &Second = Publish(W2, S2, TestGuid(0x42));
  Send({First.Handle, Second.Handle});
  ASSERT_TRUE(Waiting()) << ScreenText();
  ASSERT_EQ(RunDriver([] { return ApplyDefaultsEverywhere(EFI_HII_DEFAULT_CLASS_MANUFACTURING); }),
            EFI_SUCCESS);
  unsigned Forms = 0;
  LIST_FOR_EACH(SetLink, &Browser->FormSetList) {
    FormSet *Set = FormSetFromLink(SetLink);
    LIST_FOR_EACH(FormLink, &Set->FormList) {
      EXPECT_EQ(FormFromLink(FormLink)->Modified, 1);
      Forms++;
    }
    if (Set->HiiHandle == Second.Handle) {
      EXPECT_EQ(NumberOf(QuestionById(Set, 0x10)->Value), 1u);
    } else {
      EXPECT_EQ(StorageAt(Set, 0)->EditCopy[0], 0x01);
    }
  }
  EXPECT_EQ(Forms, 3u) << "a form without a question that changed counts as modified too";
}

} // namespace
} // namespace morvane::test
