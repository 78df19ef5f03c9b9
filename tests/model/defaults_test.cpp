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

using kit::IfrWriter;
using kit::Strings;
using namespace rich;

constexpr UINT16 OtherStore = 5;
constexpr UINT16 UnknownStore = 0xF40E;

// The shared form set, loaded; its second form holds the questions without storage.
class DefaultsTest : public RichSetTest {
protected:
  void SetUp() override {
    RichSetTest::SetUp();
    LoadRich();
    Defaults = FormAt(Set, 1);
  }

  Form *Defaults = nullptr;
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
      {"a default record before a flagged option", 0x70, 0, true, EFI_SUCCESS, 0, 0, 9},
      {"the manufacturing option", 0x70, 1, true, EFI_SUCCESS, 0, 0, 3},
      {"an unknown store keeps the value", 0x70, UnknownStore, true, EFI_SUCCESS, 0, 0, Kept},
      {"the first option under load, type included", 0x71, 0, false, EFI_SUCCESS, 0, 1, 0x107},
      {"no default on a user's request", 0x71, 0, true, EFI_NOT_FOUND, 0, 0, Kept},
      {"the checkbox's manufacturing flag", 0x72, 1, true, EFI_SUCCESS, 4, 4, 1},
      {"the checkbox's standard flag is clear", 0x72, 0, true, EFI_SUCCESS, 4, 4, 0},
      {"a record of another store", 0x72, OtherStore, true, EFI_SUCCESS, 4, 4, 1},
      {"a numeric starts at its minimum", 0x73, 0, false, EFI_SUCCESS, 3, 3, 0x123456789ull},
      {"a numeric on request", 0x73, 1, true, EFI_NOT_FOUND, 3, 3, Kept},
      {"a default expression's whole result", 0x75, 0, true, EFI_SUCCESS, 0, 3, 7},
      {"a checkbox takes the truth of its expression", 0x76, 0, true, EFI_SUCCESS, 4, 4, 1},
      {"a default expression that fails", 0x77, 0, true, EFI_NOT_FOUND, 0, 0, Kept},
      {"an option's bytes under the question's type", 0x78, 1, true, EFI_SUCCESS, 1, 1, 5},
      {"a string has no fallback", 0x79, 0, false, EFI_NOT_FOUND, 7, 7, Kept},
      {"a string under an unknown store", 0x79, UnknownStore, false, EFI_SUCCESS, 7, 7, Kept},
      {"a one-of without options under load", 0x7A, 0, false, EFI_SUCCESS, 0, 0, Kept},
  };
  for (const Case &Each : Cases) {
    Statement *Question = QuestionById(Set, Each.Question);
    ASSERT_NE(Question, nullptr) << Each.Name;
    Question->Value = MakeValue(Each.StartType, Kept);
    Set->Loaded = Each.Loaded ? 1 : 0;
    EXPECT_EQ(FindQuestionDefault(Set, Defaults, Question, Each.Store), Each.Status) << Each.Name;
    EXPECT_EQ(Question->Value.Type, Each.Type) << Each.Name;
    EXPECT_EQ(NumberOf(Question->Value), Each.Value) << Each.Name;
  }
  EXPECT_EQ(FindQuestionDefault(Set, Defaults, StatementAt(Defaults, 0), 0), EFI_NOT_FOUND)
      << "a statement has no default";
}

// An option flagged default is no value for an ordered list: a list with a flagged option
// takes its options in order up to its containers, loaded or not; a default record gives the
// whole buffer.
TEST_F(DefaultsTest, AnOrderedListTakesItsOptionsInOrderOrAWholeRecord) {
  Statement *List = Q(0x74);
  ASSERT_EQ(Host().Pool().SizeOf(List->ValueBuffer), 2u);
  auto Containers = [&] { return std::vector<UINT8>(List->ValueBuffer, List->ValueBuffer + 2); };
  for (UINT8 Loaded : {0, 1}) {
    ZeroBytes(List->ValueBuffer, 2);
    Set->Loaded = Loaded;
    ASSERT_EQ(FindQuestionDefault(Set, Defaults, List, EFI_HII_DEFAULT_CLASS_STANDARD),
              EFI_SUCCESS);
    EXPECT_EQ(Containers(), (std::vector<UINT8>{4, 5})) << "the flagged option is not the list";
  }
  ASSERT_EQ(FindQuestionDefault(Set, Defaults, List, EFI_HII_DEFAULT_CLASS_MANUFACTURING),
            EFI_SUCCESS);
  EXPECT_EQ(Containers(), (std::vector<UINT8>{6, 4}));
}

TEST_F(DefaultsTest, TheLoadAppliedTheStandardStore) {
  // LoadFormSet applied store 0 with the form set under load.
  const std::pair<EFI_QUESTION_ID, UINT64> Loaded[] = {
      {0x70, 9}, {0x71, 0x107}, {0x73, 0x123456789ull}, {0x75, 7}, {0x76, 1}};
  for (auto [Id, Value] : Loaded) {
    EXPECT_EQ(NumberOf(Q(Id)->Value), Value) << Id;
  }
  for (size_t Index = 0; Index < 3; Index++) {
    EXPECT_EQ(FormAt(Set, Index)->Modified, 0) << Index;
  }
}

// Defaults of questions with storages, the load's order, and the driver's part in it.
using StorageDefaultsTest = RichSetTest;

TEST_F(StorageDefaultsTest, DefaultsGoFirstAndTheDriverHasTheLastWord) {
  LoadRich();
  EXPECT_TRUE(Notices.empty());
  EXPECT_EQ(EditBytes(2, 2), (std::vector<UINT8>{0xA2, 0xA3})) << "the driver's, not 9";
  EXPECT_EQ(CompareBytes(Data->StoredCopy, Data->EditCopy, 48), 0);
  EXPECT_EQ(NodeText(Names, u"Speed"), u"0042");
  // A name the driver does not give keeps its default, on both sides.
  EXPECT_EQ(NodeText(Names, u"Small"), u"0F");
  EXPECT_EQ(NodeText(Names, u"Small", true), u"0F");
  // The question itself shows its default until its value is read.
  EXPECT_EQ(NumberOf(Q(Number)->Value), 9u);
  // A variable is not written by a default.
  std::vector<UINT8> Bytes;
  EXPECT_EQ(GetVariable(u"Level", VariableGuid, &Bytes), EFI_NOT_FOUND);
  EXPECT_EQ(NumberOf(Q(Level)->Value), 0x44u);
  EXPECT_EQ(Published->Driver->ExtractCount, 2u);

  // A user's request for the manufacturing store: written into the edit sides; the Callback
  // question is asked after its default once the set is loaded.
  Set->Loaded = 1;
  Published->Driver->Calls.clear();
  ASSERT_EQ(ApplyFormDefaults(Set, Main, EFI_HII_DEFAULT_CLASS_MANUFACTURING), EFI_SUCCESS);
  EXPECT_EQ(EditBytes(2, 2), (std::vector<UINT8>{0x01, 0x00}));
  EXPECT_EQ(EditBytes(10, 1), std::vector<UINT8>{0x01});
  EXPECT_EQ(Data->StoredCopy[2], 0xA2);
  EXPECT_EQ(NodeText(Names, u"Speed"), u"0003");
  EXPECT_EQ(NodeText(Names, u"Small"), u"0F") << "no default of that store: it stays";
  EXPECT_EQ(Main->Modified, 1);
  ASSERT_EQ(Published->Driver->Calls.size(), 1u);
  const auto &Call = Published->Driver->Calls[0];
  EXPECT_EQ((std::vector<UINT64>{Call.Action, Call.QuestionId, Call.Value.b}),
            (std::vector<UINT64>{EFI_BROWSER_ACTION_RETRIEVE, Watched, 1}));
  EXPECT_EQ(NumberOf(Q(Level)->Value), 0x45u);
  EXPECT_EQ(GetVariable(u"Level", VariableGuid, &Bytes), EFI_NOT_FOUND);
}

TEST_F(StorageDefaultsTest, AFailedExtractWarnsAndCommitsNothing) {
  PublishedFormSet &Failing = PublishRich();
  Failing.Driver->ExtractFailure = EFI_DEVICE_ERROR;
  ASSERT_EQ(LoadSet(Failing.Handle, SetGuid(), &Set), EFI_SUCCESS) << "the load goes on";
  ASSERT_EQ(Notices.size(), 2u) << "one warning for each storage";
  std::string Guid = "Formset 5A1C0E77-2B4D-4C61-8E03-71924A6DB040";
  EXPECT_NE(Notices[0].find("Failed to load storage: Data. Status: 0x80000007."), std::string::npos)
      << Notices[0];
  EXPECT_NE(Notices[0].find("Warning"), std::string::npos) << Notices[0];
  EXPECT_NE(Notices[0].find(Guid), std::string::npos) << Notices[0];
  EXPECT_NE(Notices[1].find("Failed to load storage: "), std::string::npos) << Notices[1];
  Data = StorageAt(Set, 0);
  EXPECT_EQ(EditBytes(2, 2), (std::vector<UINT8>{0x09, 0x00})) << "the defaults stay";
  const UINT8 Nothing[48] = {};
  EXPECT_EQ(CompareBytes(Data->StoredCopy, Nothing, 48), 0) << "and are not committed";
}

TEST_F(StorageDefaultsTest, FetchIgnoresAlternativeConfigurationsAndMissingAnswers) {
  Strings S;
  IfrWriter W = RichForms(S);
  ScriptedDriver Driver(Boot(), true);
  EFI_HII_HANDLE Handle = PublishOn(Driver.Handle(), W, S, SetGuid());
  Driver.NoResult = true;
  ASSERT_EQ(LoadSet(Handle, SetGuid(), &Set), EFI_SUCCESS);
  EXPECT_TRUE(Notices.empty()) << "no answer is no warning";
  Names = StorageAt(Set, 1);
  EXPECT_EQ(NodeText(Names, u"Speed", true), u"") << "and no commit";
  ASSERT_EQ(Driver.Requests.size(), 2u);
  EXPECT_EQ(Driver.Requests[1], TextOf(Names->ConfigRequest));

  Driver.NoResult = false;
  Driver.ExtractResult = TextOf(Names->ConfigHdr) + u"&Speed=0042&Small=01&" +
                         TextOf(Names->ConfigHdr) + u"&ALTCFG=0000&Speed=0099";
  StartHost();
  Set->Loaded = 1;
  ASSERT_EQ(RunDriver([&] { return FetchStorage(Set, Names); }), EFI_SUCCESS);
  EXPECT_EQ(NodeText(Names, u"Speed"), u"0042");
  EXPECT_EQ(NodeText(Names, u"Small"), u"01");

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
}

TEST_F(StorageDefaultsTest, DefaultsEverywhereMarkEveryFormOfEveryFormSet) {
  PublishedFormSet &First = PublishRich();
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
    FormSet *Each = FormSetFromLink(SetLink);
    LIST_FOR_EACH(FormLink, &Each->FormList) {
      EXPECT_EQ(FormFromLink(FormLink)->Modified, 1);
      Forms++;
    }
    if (Each->HiiHandle == Second.Handle) {
      EXPECT_EQ(NumberOf(QuestionById(Each, 0x10)->Value), 1u);
    } else {
      EXPECT_EQ(StorageAt(Each, 0)->EditCopy[2], 0x01);
    }
  }
  EXPECT_EQ(Forms, 4u) << "a form without a question that changed counts as modified too";
}

} // namespace
} // namespace morvane::test
