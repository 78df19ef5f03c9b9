// Form sets replaced while they are shown: a driver's "load previous" answer, a Callback that
// updates its own forms, nested SendForm calls that reload or release what the outer call
// shows, and the form sets a reference finds through a page provider. Run under the sanitizers,
// these catch any saved selection that outlives its records.
#include "core/browser_context.h"
#include "core/form_actions.h"
#include "tests/browser/browser_fixture.h"

namespace morvane::test {
namespace {

enum : EFI_QUESTION_ID {
  ToSecond = 0x10,       // reference from form 1 to form 2
  OpenNested = 0x11,     // action whose Changing Callback runs a nested SendForm
  ToProvider = 0x12,     // reference to the page provider's form set
  LoadPrevious = 0x20,   // action on form 2 whose Changed Callback answers "load previous"
  PackageSwitch = 0x21,  // checkbox on form 2 whose Changing Callback updates the forms
  OtherPrevious = 0x40,  // action of the other form set answering "load previous"
  ProviderSwitch = 0x50, // checkbox of the provider's form set that updates its forms
};

const EFI_GUID MainGuid = TestGuid(1);
const EFI_GUID OtherGuid = TestGuid(2);
const EFI_GUID ProviderGuid = TestGuid(3);
// A page GUID in no page list: its provider is found only by the reference.
const EFI_GUID ProviderPage = TestGuid(0x33);

class ReloadTest : public BrowserTest {
protected:
  PublishedFormSet *Main = nullptr;
  PublishedFormSet *Other = nullptr;
  PublishedFormSet *Provider = nullptr;
  // The forms each form set's Changing Callback publishes in place of its own.
  std::vector<uint8_t> MainUpdate;
  std::vector<uint8_t> ProviderUpdate;
  // The nested call the OpenNested action makes: its handle and GUID (null for none).
  EFI_HII_HANDLE NestedHandle = nullptr;
  const EFI_GUID *NestedGuid = nullptr;
  EFI_STATUS NestedStatus = EFI_NOT_STARTED;
  // What the package switch does: update the main forms in its Changing Callback, or remove the
  // provider's package list in its Changed Callback.
  bool SwitchRemovesProvider = false;

  void SetUp() override {
    BrowserTest::SetUp();
    PublishMain();
    PublishOther();
    PublishProvider();
  }

  void UpdateForms(EFI_HII_HANDLE Handle, const std::vector<uint8_t> &List) {
    EFI_HII_DATABASE_PROTOCOL *Database = Session->Hii().Database();
    EFI_STATUS Status = Database->UpdatePackageList(
        Database, Handle, reinterpret_cast<const EFI_HII_PACKAGE_LIST_HEADER *>(List.data()));
    EXPECT_EQ(Status, EFI_SUCCESS);
  }

  // Form 1: the reference to form 2, the nested call and the reference to the provider's form
  // set. Form 2: the load-previous action and the switch that updates the forms, whose prompt
  // the update changes.
  static FormSetBuilder MainForms(bool Updated) {
    FormSetBuilder F(MainGuid, u"Main", u"Main help");
    F.BufferStore(1, "Data", std::vector<uint8_t>(4, 0)).Form(1, u"First Form");
    F.Ref(F.Question(u"Go To Second", u"Opens form 2", ToSecond), 2);
    F.ActionWithCallback(u"Open Nested", u"Calls SendForm again", OpenNested);
    F.Ref3(F.Question(u"Go To Provider", u"A page provider's forms", ToProvider), 0, 0,
           ProviderPage);
    F.Form(2, u"Second Form");
    F.ActionWithCallback(u"Load Previous", u"Answers load previous", LoadPrevious);
    EFI_STRING_ID Original = F.StringId(u"Package Switch");
    EFI_STRING_ID Changed = F.StringId(u"Package Switch Updated");
    F.Checkbox({Updated ? Changed : Original, F.StringId(u"Updates the forms"), PackageSwitch, 1, 0,
                EFI_IFR_FLAG_CALLBACK});
    return F;
  }

  void PublishMain() {
    Main = &PublishTab(MainForms(false), gDefaultPageGuids[0]);
    MainUpdate = kit::PackageListBuilder(MainGuid).AddForms(MainForms(true).Closed()).Bytes();
    Main->Driver->OnCallback = [this](EFI_BROWSER_ACTION Action, EFI_QUESTION_ID Question, UINT8,
                                      EFI_IFR_TYPE_VALUE *, EFI_BROWSER_ACTION_REQUEST *Request) {
      if (Action == EFI_BROWSER_ACTION_CHANGED && Question == LoadPrevious) {
        *Request = ACTION_REQUEST_LOAD_PREVIOUS;
      }
      if (Question == PackageSwitch && !SwitchRemovesProvider &&
          Action == EFI_BROWSER_ACTION_CHANGING) {
        UpdateForms(Main->Handle, MainUpdate);
      }
      if (Question == PackageSwitch && SwitchRemovesProvider &&
          Action == EFI_BROWSER_ACTION_CHANGED) {
        EFI_HII_DATABASE_PROTOCOL *Database = Session->Hii().Database();
        EXPECT_EQ(Database->RemovePackageList(Database, Provider->Handle), EFI_SUCCESS);
      }
      if (Action == EFI_BROWSER_ACTION_CHANGING && Question == OpenNested) {
        EFI_HII_HANDLE Handle = NestedHandle;
        EFI_GUID Guid = NestedGuid != nullptr ? *NestedGuid : EFI_GUID{};
        NestedStatus =
            FormBrowser()->SendForm(FormBrowser(), &Handle, 1,
                                    NestedGuid != nullptr ? &Guid : nullptr, 0, nullptr, nullptr);
      }
      return EFI_SUCCESS;
    };
  }

  // The second tab, whose action answers "load previous" too.
  void PublishOther() {
    FormSetBuilder F(OtherGuid, u"Other", u"Other help");
    F.Form(1, u"Other Form");
    F.ActionWithCallback(u"Other Load Previous", u"Answers load previous", OtherPrevious);
    Other = &PublishTab(F, gDefaultPageGuids[1]);
    Other->Driver->OnCallback = [](EFI_BROWSER_ACTION Action, EFI_QUESTION_ID Question, UINT8,
                                   EFI_IFR_TYPE_VALUE *, EFI_BROWSER_ACTION_REQUEST *Request) {
      if (Action == EFI_BROWSER_ACTION_CHANGED && Question == OtherPrevious) {
        *Request = ACTION_REQUEST_LOAD_PREVIOUS;
      }
      return EFI_SUCCESS;
    };
  }

  static FormSetBuilder ProviderForms(bool Updated) {
    FormSetBuilder F(ProviderGuid, u"Provided", u"Provided help");
    F.BufferStore(1, "Provided", std::vector<uint8_t>(2, 0)).Form(1, u"Provided Form");
    EFI_STRING_ID Original = F.StringId(u"Provided Switch");
    EFI_STRING_ID Changed = F.StringId(u"Provided Switch Updated");
    F.Checkbox({Updated ? Changed : Original, F.StringId(u"Updates the forms"), ProviderSwitch, 1,
                0, EFI_IFR_FLAG_CALLBACK});
    return F;
  }

  void PublishProvider() {
    Provider = &PublishTab(ProviderForms(false), ProviderPage);
    ProviderUpdate =
        kit::PackageListBuilder(ProviderGuid).AddForms(ProviderForms(true).Closed()).Bytes();
    Provider->Driver->OnCallback = [this](EFI_BROWSER_ACTION Action, EFI_QUESTION_ID Question,
                                          UINT8, EFI_IFR_TYPE_VALUE *,
                                          EFI_BROWSER_ACTION_REQUEST *) {
      if (Action == EFI_BROWSER_ACTION_CHANGING && Question == ProviderSwitch) {
        UpdateForms(Provider->Handle, ProviderUpdate);
      }
      return EFI_SUCCESS;
    };
  }

  void SendBoth() { SendAndWait({Main->Handle, Other->Handle}); }

  // How many Callbacks of the action the main driver heard from call From on, for the question
  // or, with 0, for any.
  size_t Heard(size_t From, EFI_BROWSER_ACTION Action, EFI_QUESTION_ID Question = 0) {
    size_t Count = 0;
    for (size_t Index = From; Index < Main->Driver->Calls.size(); Index++) {
      const host::CallbackCall &Call = Main->Driver->Calls[Index];
      Count += Call.Action == Action && (Question == 0 || Call.QuestionId == Question);
    }
    return Count;
  }
  size_t FormNotifications(size_t From) {
    return Heard(From, EFI_BROWSER_ACTION_FORM_OPEN) + Heard(From, EFI_BROWSER_ACTION_FORM_CLOSE);
  }

  void Leave() {
    Type("F10 Enter");
    ASSERT_TRUE(Finished()) << ScreenText();
    EXPECT_EQ(Run().Status(), EFI_SUCCESS);
    EXPECT_TRUE(ListIsEmpty(&Browser->FormSetList));
    ExpectNothingLeftSinceSend();
  }
};

TEST_F(ReloadTest, LoadPreviousOnASubFormKeepsTheWayBack) {
  SendBoth();
  Type("Enter");
  ASSERT_TRUE(Shows("Second Form")) << ScreenText();
  MoveTo(LoadPrevious);
  // The Changed Callback answers "load previous"; Yes reloads every form set, the one that the
  // way back to form 1 names among them.
  Type("Enter");
  ASSERT_TRUE(Shows("Load previous")) << ScreenText();
  Type("Enter");
  EXPECT_TRUE(Shows("Second Form")) << ScreenText();
  Type("Esc");
  EXPECT_TRUE(Shows("Go To Second")) << ScreenText();
  EXPECT_EQ(Highlighted(), ToSecond);
  Leave();
}

TEST_F(ReloadTest, AChangingCallbackThatUpdatesItsFormsReloadsOnlyTheForm) {
  SendBoth();
  Type("Enter");
  MoveTo(PackageSwitch);
  size_t Before = Main->Driver->Calls.size();
  Type("Enter");
  EXPECT_TRUE(Shows("Package Switch Updated")) << ScreenText();
  EXPECT_EQ(FormNotifications(Before), 0u) << "a reload of the form set, not of the form";
  // The user's change went through the new records: written and announced as Changed.
  EXPECT_EQ(Browser->Selection->FormSet->Loaded, 1);
  EXPECT_EQ(Highlighted(), PackageSwitch);
  EXPECT_EQ(Browser->Selection->Statement->Value.Value[0], 1) << ScreenText();
  EXPECT_EQ(Heard(Before, EFI_BROWSER_ACTION_CHANGED, PackageSwitch), 1u);
  Type("Esc");
  EXPECT_TRUE(Shows("Go To Second")) << ScreenText();
  Leave();
  EXPECT_EQ((*Main->Driver->Buffer(MainGuid, u"Data"))[0], 1);
}

TEST_F(ReloadTest, ANestedCallThatLoadsPreviousLeavesTheOuterFormWhole) {
  NestedHandle = Other->Handle;
  NestedGuid = &OtherGuid;
  SendBoth();
  MoveTo(OpenNested);
  Type("Enter");
  ASSERT_TRUE(Shows("Other Load Previous")) << ScreenText();
  EXPECT_EQ(Browser->SendFormDepth, 2u);
  // Load previous inside the nested call reloads the outer call's form set too: the copies of
  // the outer selection that the nesting keeps must follow it.
  Type("Enter Enter");
  EXPECT_TRUE(Shows("Other Load Previous")) << ScreenText();
  Type("Esc");
  EXPECT_EQ(NestedStatus, EFI_SUCCESS);
  EXPECT_EQ(Browser->SendFormDepth, 1u);
  EXPECT_TRUE(Shows("Open Nested")) << ScreenText();
  EXPECT_EQ(Highlighted(), OpenNested);
  Type("Down Up");
  EXPECT_EQ(Highlighted(), OpenNested);
  Leave();
}

TEST_F(ReloadTest, ANestedCallOnAnOuterTabsHandleGivesTheTabBack) {
  // Without a GUID the nested call loads a record of its own for the handle and shows the
  // first tab's form set; the tab of that handle must reach the outer record again afterwards.
  NestedHandle = Other->Handle;
  SendBoth();
  MoveTo(OpenNested);
  Type("Enter");
  EXPECT_EQ(Browser->SendFormDepth, 2u);
  Type("Esc");
  ASSERT_EQ(Browser->SendFormDepth, 1u);
  Type("Right");
  EXPECT_TRUE(Shows("Other Load Previous")) << ScreenText();
  Type("Left");
  EXPECT_TRUE(Shows("Open Nested")) << ScreenText();
  Leave();
}

TEST_F(ReloadTest, AProvidersFormSetReloadedByItsCallbackIsReleasedWithItsCall) {
  SendBoth();
  MoveTo(ToProvider);
  Type("Enter");
  ASSERT_TRUE(Shows("Provided Switch")) << ScreenText();
  Type("Enter");
  EXPECT_TRUE(Shows("Provided Switch Updated")) << ScreenText();
  // Still no member of the call's list: save and discard do not reach it.
  LIST_FOR_EACH(Link, &Browser->FormSetList) {
    EXPECT_NE(FormSetFromLink(Link)->HiiHandle, Provider->Handle);
  }
  Type("Esc");
  EXPECT_TRUE(Shows("Go To Second")) << ScreenText();
  Leave();
}

TEST_F(ReloadTest, RemovingAPackageListWhileShownIsNoFormChange) {
  // The notification is for added form packages: a removal in a Changed Callback must not turn
  // the pass into a reload of the form set, with its Form Close and Form Open.
  SwitchRemovesProvider = true;
  SendBoth();
  Type("Enter");
  MoveTo(PackageSwitch);
  size_t Before = Main->Driver->Calls.size();
  Type("Enter");
  ASSERT_EQ(Heard(Before, EFI_BROWSER_ACTION_CHANGED, PackageSwitch), 1u);
  EXPECT_EQ(FormNotifications(Before), 0u);
  EXPECT_TRUE(Shows("Second Form")) << ScreenText();
  Leave();
}

} // namespace
} // namespace morvane::test
