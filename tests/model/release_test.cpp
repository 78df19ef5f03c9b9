// Whatever a load makes is given back: after a load that succeeds, and after one that fails at
// any allocation, the release leaves nothing but the driver's own stacks behind.
#include <vector>

#include "core/browser_context.h"
#include "tests/common/text.h"
#include "tests/model/model_fixture.h"

namespace morvane::test {
namespace {

using kit::IfrValue;
using kit::IfrWriter;
using kit::Strings;

const EFI_GUID BufferGuid = TestGuid(0x71);
const EFI_GUID NameValueGuid = TestGuid(0x72);
const EFI_GUID VariableGuid = TestGuid(0x73);

// A form set with something of every kind that owns memory.
void WriteRichFormSet(IfrWriter &W, Strings &S) {
  EFI_STRING_ID Name = S.Add(u"Speed");
  EFI_STRING_ID Label = S.Add(u"Label");
  EFI_STRING_ID Level = S.Add(u"Level");
  W.FormSet(SetGuid(), S.Add(u"Rich"), S.Add(u"Help"), {}, true);
  W.DefaultStore(S.Add(u"Standard"), 0);
  W.VarStore(BufferGuid, 1, 16, "Data");
  W.VarStoreNameValue(2, NameValueGuid);
  W.VarStoreEfi(3, VariableGuid, EFI_VARIABLE_BOOTSERVICE_ACCESS, 1, "Level");
  W.Form(1, S.Add(u"Main"), true);
  W.Subtitle(S.Add(u"Section"), 0);
  W.Text(S.Add(u"Text"), 0);
  W.Subtitle(S.Add(u"Second section"), 0);
  W.SuppressIf(true).EqIdValList(0x10, {1, 2, 3});
  W.OneOf({1, 0, 0x10, 1, 0, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 3, 1, true);
  W.OneOfOption(1, 0, IfrValue::U8(0));
  W.OneOfOption(1, EFI_IFR_OPTION_DEFAULT, IfrValue::U8(1));
  W.InconsistentIf(S.Add(u"Bad"), true).EqIdVal(0x10, 3).End();
  W.End();
  W.End();
  W.Numeric({1, 0, 0x11, 2, Name, 0}, EFI_IFR_NUMERIC_SIZE_2, 0, 0xFFFF, 1, true);
  W.Default(0, IfrValue::U16(0x12AB));
  W.NoSubmitIf(S.Add(u"No"), true).EqIdValList(0x11, {7}).End();
  W.End();
  W.String({1, 0, 0x12, 2, Label, 0}, 0, 12);
  W.Password({1, 0, 0x13, 1, 2, 0}, 0, 4);
  W.OrderedList({1, 0, 0x14, 1, 10, 0}, 2, 0, true);
  W.OneOfOption(1, 0, IfrValue::U8(1)).OneOfOption(1, 0, IfrValue::U8(2));
  W.End();
  W.Checkbox({1, 0, 0x15, 3, Level, 0});
  W.DisableIf(true).EqIdValList(0x15, {5}).Text(1, 0).End();
  W.GrayOutIf(true).True().Date({1, 0, 0x16, 1, 12, 0}).End();
  W.End();
  W.Form(2, S.Add(u"Other"), true);
  W.Rule(1, true).StringRef1(Label).Length().End();
  W.Numeric({1, 0, 0x20, 0, 0, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 9, 1, true);
  W.Value(true).RuleRef(1).End();
  W.End();
  W.End();
  W.End();
}

class ReleaseTest : public ModelTest {
protected:
  PublishedFormSet &PublishRich() {
    Strings S;
    IfrWriter W;
    WriteRichFormSet(W, S);
    PublishedFormSet &Published = PublishSet(W, S);
    Published.Driver->AddBufferStorage(BufferGuid, u"Data", std::vector<uint8_t>(16, 0x5A));
    Published.Driver->AddNameValueStorage(NameValueGuid);
    (*Published.Driver->NameValues(NameValueGuid))[u"Speed"] = u"0042";
    (*Published.Driver->NameValues(NameValueGuid))[u"Label"] = u"Named";
    return Published;
  }
};

TEST_F(ReleaseTest, ALoadThatFailsAtAnyAllocationLeavesNothingBehind) {
  PublishedFormSet &Published = PublishRich();
  StartHost();
  // A clean load first, to know how many allocations a load makes.
  UINTN Before = Host().Pool().Allocations();
  FormSet *Set = nullptr;
  ASSERT_EQ(LoadSet(Published.Handle, SetGuid(), &Set), EFI_SUCCESS);
  UINTN LoadAllocations = Host().Pool().Allocations() - Before;
  ReleaseFormSet(Set);
  ASSERT_GT(LoadAllocations, 50u);

  unsigned Failed = 0;
  EFI_STATUS Status = EFI_SUCCESS;
  for (UINTN Nth = 1; Nth <= LoadAllocations + 1; Nth++) {
    Notices.clear();
    UINTN Mark = PoolMark();
    Host().Pool().FailAllocation(Nth);
    FormSet *Attempt = nullptr;
    Status = LoadSet(Published.Handle, SetGuid(), &Attempt);
    Host().Pool().ClearAllocationFailures();
    if (EFI_ERROR(Status)) {
      Failed++;
      EXPECT_EQ(Status, EFI_OUT_OF_RESOURCES) << "allocation " << Nth;
    }
    ReleaseFormSet(Attempt);
    ASSERT_EQ(HeldSince(Mark), "")
        << "allocation " << Nth << " failed, load status 0x" << std::hex << Status;
    ASSERT_EQ(Host().Pool().BadFrees(), 0u) << "allocation " << Nth;
  }
  EXPECT_GT(Failed, 0u);
  // The last attempt's failure fell behind the load's allocations: it loaded, and was given back
  // whole.
  EXPECT_EQ(Status, EFI_SUCCESS);
  EXPECT_TRUE(Notices.empty());
}

// SendForm gives back what it loaded; when an allocation fails, in the load or in the paint,
// the menu bar or a notice, the call ends, on its own or through the keys, and gives back all
// it took.
TEST_F(ReleaseTest, SendFormGivesBackEverythingWhicheverAllocationFails) {
  PublishedFormSet &Published = PublishRich();
  UINTN Before = Host().Pool().Allocations();
  Send({Published.Handle});
  Type("F10 Enter");
  ASSERT_TRUE(Finished()) << ScreenText();
  EXPECT_EQ(Run().Status(), EFI_SUCCESS);
  ExpectNothingLeftSinceSend();
  UINTN CallAllocations = Host().Pool().Allocations() - Before;
  for (UINTN Nth = 1; Nth <= CallAllocations; Nth++) {
    Host().Pool().FailAllocation(Nth);
    Send({Published.Handle});
    Host().Pool().ClearAllocationFailures();
    for (int Keys = 0; Keys < 10 && Waiting(); Keys++) {
      // A notice wants Enter; the form is left with a save.
      Type(ScreenText().find("Press ENTER") != std::string::npos ? "Enter" : "F10 Enter");
    }
    ASSERT_TRUE(Finished()) << "allocation " << Nth << "\n" << ScreenText();
    ExpectNothingLeftSinceSend();
    ASSERT_FALSE(HasFailure()) << "allocation " << Nth << " failed";
    ASSERT_EQ(Browser->SendFormDepth, 0u);
  }
}

} // namespace
} // namespace morvane::test
