// Submit and change detection over the form sets a SendForm has loaded: the no-submit-if rules
// first, then each storage to its driver, with the driver's answers deciding what counts as
// stored.
#include <vector>

#include "core/browser_context.h"
#include "core/form_set_cache.h"
#include "storage/question_value.h"
#include "storage/submit.h"
#include "support/memory.h"
#include "tests/common/text.h"
#include "tests/model/model_fixture.h"

namespace morvane::test {
namespace {

using kit::IfrValue;
using kit::IfrWriter;
using kit::Strings;

const EFI_GUID FirstGuid = TestGuid(0x40);
const EFI_GUID SecondGuid = TestGuid(0x42);
const EFI_GUID DataGuid = TestGuid(0xA1);
const EFI_GUID UnusedGuid = TestGuid(0xA2);
const EFI_GUID VariableGuid = TestGuid(0xA3);
const EFI_GUID OtherDataGuid = TestGuid(0xA4);

// First: a buffer of 4 with a u16 at 0, a buffer nobody asks for, and a variable.
IfrWriter FirstForms(Strings &S) {
  EFI_STRING_ID Level = S.Add(u"Level");
  IfrWriter W;
  W.FormSet(FirstGuid, S.Add(u"First"), 0, {}, true);
  W.VarStore(DataGuid, 1, 4, "Data");
  W.VarStore(UnusedGuid, 2, 4, "Unused");
  W.VarStoreEfi(3, VariableGuid, EFI_VARIABLE_BOOTSERVICE_ACCESS, 1, "Level");
  W.Form(1, S.Add(u"Main"), true);
  W.Numeric({S.Add(u"Number"), 0, 0x10, 1, 0, 0}, EFI_IFR_NUMERIC_SIZE_2, 0, 0xFFFF, 1);
  W.Numeric({S.Add(u"Level"), 0, 0x11, 3, Level, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 0xFF, 1);
  W.End().End();
  return W;
}

// Second: two forms, each with a question whose no-submit-if holds at 7.
IfrWriter SecondForms(Strings &S) {
  EFI_STRING_ID Refused = S.Add(u"Seven is refused");
  IfrWriter W;
  W.FormSet(SecondGuid, S.Add(u"Second"), 0, {}, true);
  W.VarStore(OtherDataGuid, 1, 2, "Other");
  W.Form(1, S.Add(u"Front"), true);
  W.Numeric({S.Add(u"Front number"), 0, 0x20, 1, 0, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 0xFF, 1, true);
  W.NoSubmitIf(Refused, true).EqIdVal(0x20, 7).End();
  W.End().End(); // the question, the form
  W.Form(2, S.Add(u"Back"), true);
  W.Numeric({S.Add(u"Back number"), 0, 0x21, 1, 1, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 0xFF, 1, true);
  W.NoSubmitIf(Refused, true).EqIdVal(0x21, 7).End();
  W.End().End().End(); // the question, the form, the form set
  return W;
}

class SubmitTest : public ModelTest {
protected:
  void SendBoth() {
    Strings S1;
    IfrWriter W1 = FirstForms(S1);
    First = &Publish(W1, S1, FirstGuid);
    First->Driver->AddBufferStorage(DataGuid, u"Data", {0x11, 0x22, 0x33, 0x44});
    First->Driver->AddBufferStorage(UnusedGuid, u"Unused", {0, 0, 0, 0});
    Strings S2;
    IfrWriter W2 = SecondForms(S2);
    Second = &Publish(W2, S2, SecondGuid);
    Second->Driver->AddBufferStorage(OtherDataGuid, u"Other", {1, 2});
    Send({First->Handle, Second->Handle});
    ASSERT_TRUE(Waiting()) << ScreenText();
    FirstSet = Loaded(First->Handle);
    SecondSet = Loaded(Second->Handle);
    ASSERT_NE(FirstSet, nullptr);
    ASSERT_NE(SecondSet, nullptr);
    // Route counts from here on.
    First->Driver->RouteCount = 0;
    Second->Driver->RouteCount = 0;
  }

  FormSet *Loaded(EFI_HII_HANDLE Handle) {
    LIST_FOR_EACH(Link, &Browser->FormSetList) {
      FormSet *Set = FormSetFromLink(Link);
      if (Set->HiiHandle == Handle) {
        return Set;
      }
    }
    return nullptr;
  }

  // An edit as the form loop makes it: a new value written into the edit side, on the form at
  // FormIndex that holds the question.
  void Edit(FormSet *Set, EFI_QUESTION_ID Id, UINT64 Value, size_t FormIndex = 0) {
    Statement *Question = QuestionById(Set, Id);
    Question->Value = MakeValue(Question->Value.Type, Value);
    ASSERT_EQ(WriteQuestionValue(Set, FormAt(Set, FormIndex), Question), EFI_SUCCESS);
  }

  // The first form set alone, on a driver whose configuration services the test scripts.
  FormSet *SendOn(ScriptedDriver &Driver) {
    Strings S;
    IfrWriter W = FirstForms(S);
    EFI_HII_HANDLE Handle = PublishOn(Driver.Handle(), W, S, FirstGuid);
    Send({Handle});
    EXPECT_TRUE(Waiting()) << ScreenText();
    return Loaded(Handle);
  }

  PublishedFormSet *First = nullptr;
  PublishedFormSet *Second = nullptr;
  FormSet *FirstSet = nullptr;
  FormSet *SecondSet = nullptr;
};

TEST_F(SubmitTest, EveryStorageThatAQuestionUsesGoesToItsDriver) {
  SendBoth();
  EXPECT_FALSE(IsAnythingModified()) << "a load is no edit";
  // A variable question is written when it changes, and takes no part in a submit.
  Edit(FirstSet, 0x11, 0x66);
  std::vector<UINT8> Bytes;
  EXPECT_EQ(GetVariable(u"Level", VariableGuid, &Bytes), EFI_SUCCESS);
  EXPECT_EQ(Bytes, std::vector<UINT8>{0x66});
  EXPECT_FALSE(IsAnythingModified());
  Edit(FirstSet, 0x10, 0xBEEF);
  EXPECT_TRUE(IsAnythingModified());
  Storage *Data = StorageAt(FirstSet, 0);
  EXPECT_EQ(Data->StoredCopy[0], 0x11);

  ASSERT_EQ(RunDriver([] { return SubmitAll(); }), EFI_SUCCESS);
  EXPECT_TRUE(Notices.empty());
  EXPECT_EQ(First->Driver->RouteCount, 1u) << "the unused buffer and the variable stay out";
  EXPECT_EQ(Second->Driver->RouteCount, 1u);
  const std::vector<uint8_t> Expected = {0xEF, 0xBE, 0x33, 0x44};
  EXPECT_EQ(*First->Driver->Buffer(DataGuid, u"Data"), Expected);
  EXPECT_EQ(CompareBytes(Data->StoredCopy, Data->EditCopy, 4), 0) << "committed";
  EXPECT_FALSE(IsAnythingModified()) << "every edit is with its driver";
}

TEST_F(SubmitTest, ANoSubmitRuleStopsEverythingAfterItsForm) {
  SendBoth();
  Edit(FirstSet, 0x10, 0x0102);
  Edit(SecondSet, 0x21, 7, 1);
  ASSERT_EQ(RunDriver([] { return SubmitAll(); }), EFI_NOT_READY);
  ASSERT_EQ(Notices.size(), 1u);
  EXPECT_NE(Notices[0].find("Seven is refused"), std::string::npos) << Notices[0];
  EXPECT_EQ(First->Driver->RouteCount, 1u) << "a form set before it has gone out already";
  EXPECT_EQ(Second->Driver->RouteCount, 0u);
  EXPECT_TRUE(IsAnythingModified());

  // One form: only its own rules count, and all storages of its form set go out.
  Notices.clear();
  Form *Front = FormAt(SecondSet, 0);
  Form *Back = FormAt(SecondSet, 1);
  ASSERT_EQ(RunDriver([&] { return SubmitOneForm(SecondSet, Front); }), EFI_SUCCESS);
  EXPECT_TRUE(Notices.empty());
  EXPECT_EQ(Second->Driver->RouteCount, 1u);
  EXPECT_EQ((*Second->Driver->Buffer(OtherDataGuid, u"Other"))[1], 7);
  ASSERT_EQ(RunDriver([&] { return SubmitOneForm(SecondSet, Back); }), EFI_NOT_READY);
  EXPECT_EQ(Second->Driver->RouteCount, 1u);
  EXPECT_EQ(RunDriver([&] { return CheckFormForSubmit(SecondSet, Back); }), EFI_NOT_READY);
  EXPECT_EQ(RunDriver([&] { return CheckFormForSubmit(SecondSet, Front); }), EFI_SUCCESS);
}

TEST_F(SubmitTest, ADriverThatRefusesIsReportedAndTheNextFormSetStillGoesOut) {
  SendBoth();
  Edit(FirstSet, 0x10, 0x0102);
  Edit(SecondSet, 0x20, 3);
  First->Driver->RouteFailure = EFI_DEVICE_ERROR;
  ASSERT_EQ(RunDriver([] { return SubmitAll(); }), EFI_SUCCESS)
      << "the result is the last form set's";
  ASSERT_EQ(Notices.size(), 1u);
  EXPECT_NE(Notices[0].find("Failed to save storage: Data. Status: 0x80000007."), std::string::npos)
      << Notices[0];
  EXPECT_NE(Notices[0].find("Formset 5A1C0E77-2B4D-4C61-8E03-71924A6DB040"), std::string::npos)
      << Notices[0];
  Storage *Data = StorageAt(FirstSet, 0);
  EXPECT_EQ(Data->StoredCopy[0], 0x11) << "nothing committed";
  EXPECT_EQ((*Second->Driver->Buffer(OtherDataGuid, u"Other"))[0], 3);
  EXPECT_TRUE(IsAnythingModified());

  Notices.clear();
  EXPECT_EQ(RunDriver([&] { return SubmitStorages(FirstSet); }), EFI_DEVICE_ERROR);
  EXPECT_EQ(Notices.size(), 1u);
}

TEST_F(SubmitTest, ANullProgressLeavesTheStorageUncommitted) {
  SendBoth();
  Edit(FirstSet, 0x10, 0x0102);
  First->Driver->NullProgress = true;
  ASSERT_EQ(RunDriver([] { return SubmitAll(); }), EFI_SUCCESS);
  EXPECT_TRUE(Notices.empty());
  EXPECT_EQ((*First->Driver->Buffer(DataGuid, u"Data"))[0], 0x02) << "the driver has the value";
  EXPECT_EQ(StorageAt(FirstSet, 0)->StoredCopy[0], 0x11) << "but it is not known to hold it";
  EXPECT_TRUE(IsAnythingModified());
}

// Discard has no undo of its own: the form sets are parsed and loaded again from their drivers.
TEST_F(SubmitTest, DiscardLoadsEveryFormSetAgain) {
  SendBoth();
  Edit(FirstSet, 0x10, 0xBEEF);
  Edit(FirstSet, 0x11, 0x66);
  Edit(SecondSet, 0x20, 9);
  ASSERT_TRUE(IsAnythingModified());
  ASSERT_EQ(RunDriver([] { return ReloadAllFormSets(Browser->Selection); }), EFI_SUCCESS);
  FormSet *Fresh = Loaded(First->Handle);
  ASSERT_NE(Fresh, nullptr);
  EXPECT_EQ(FormSetFromLink(ListFirst(&Browser->FormSetList)), Fresh) << "the order stays";
  EXPECT_EQ(Loaded(Second->Handle), FormSetFromLink(Browser->FormSetList.Back));
  EXPECT_FALSE(IsAnythingModified());
  Storage *Data = StorageAt(Fresh, 0);
  EXPECT_EQ(Data->EditCopy[0], 0x11);
  EXPECT_EQ(Data->EditCopy[1], 0x22);
  EXPECT_EQ((*First->Driver->Buffer(DataGuid, u"Data"))[0], 0x11) << "nothing was sent";
  // A variable was written when it changed, and no reload brings the old value back.
  std::vector<UINT8> Bytes;
  EXPECT_EQ(GetVariable(u"Level", VariableGuid, &Bytes), EFI_SUCCESS);
  EXPECT_EQ(Bytes, std::vector<UINT8>{0x66});
  // The menu loop that waits still points into the records replaced; it is not resumed.
}

TEST_F(SubmitTest, ADriverThatStopsPartwayIsReportedWithSuccess) {
  ScriptedDriver Driver(Boot(), true);
  Driver.NoResult = true;
  FormSet *Set = SendOn(Driver);
  ASSERT_NE(Set, nullptr);
  Edit(Set, 0x10, 0x0102);
  Driver.LeftUntaken = 5;
  ASSERT_EQ(RunDriver([] { return SubmitAll(); }), EFI_SUCCESS);
  ASSERT_EQ(Driver.Routed.size(), 1u);
  Storage *Data = StorageAt(Set, 0);
  EXPECT_EQ(Driver.Routed[0].rfind(TextOf(Data->ConfigRequest), 0), 0u)
      << "the response starts with the request's elements";
  ASSERT_EQ(Notices.size(), 1u);
  EXPECT_NE(Notices[0].find("Failed to save storage: Data. Status: 0x0."), std::string::npos)
      << Notices[0];
  EXPECT_EQ(Data->StoredCopy[0], 0) << "not committed";
  EXPECT_TRUE(IsAnythingModified());

  // A driver that takes it all.
  Notices.clear();
  Driver.LeftUntaken = 0;
  ASSERT_EQ(RunDriver([] { return SubmitAll(); }), EFI_SUCCESS);
  EXPECT_TRUE(Notices.empty());
  EXPECT_EQ(Data->StoredCopy[0], 0x02);
  EXPECT_FALSE(IsAnythingModified());
}

TEST_F(SubmitTest, AFormSetWithoutConfigurationServicesOnlyCommits) {
  ScriptedDriver Driver(Boot(), false);
  FormSet *Set = SendOn(Driver);
  ASSERT_NE(Set, nullptr);
  EXPECT_EQ(Set->ConfigAccess, nullptr);
  Edit(Set, 0x10, 0x0304);
  Storage *Data = StorageAt(Set, 0);
  EXPECT_EQ(Data->StoredCopy[0], 0);
  ASSERT_EQ(RunDriver([] { return SubmitAll(); }), EFI_SUCCESS);
  EXPECT_TRUE(Notices.empty());
  EXPECT_EQ(Data->StoredCopy[0], 0x04);
  EXPECT_EQ(Data->StoredCopy[1], 0x03);
  EXPECT_FALSE(IsAnythingModified());
}

} // namespace
} // namespace morvane::test
