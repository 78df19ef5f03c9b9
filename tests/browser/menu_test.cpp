// A form tree walked with the keyboard: tabs, references of every kind and the way back, the
// General Help box, Esc to the exit page, the driver's Callbacks in their order, and the keys
// that are dropped or refused.
#include "core/browser_context.h"
#include "core/external_protocols.h"
#include "dialogs/browser_services.h"
#include "screen/menu_option.h"
#include "tests/browser/browser_fixture.h"

namespace morvane::test {
namespace {

using host::CallbackCall;

constexpr EFI_VARSTORE_ID Store = 1;
constexpr UINT16 StoreSize = 16;

// Question ids of the main form set.
enum : EFI_QUESTION_ID {
  RefToSubForm = 0x10,
  RefToOtherFormSet,
  RefToSecondTab,
  RefToQuestion,
  RefToNothing,
  RefByDevicePath,
  Switch = 0x20,
  Count = 0x21,
  SubSwitch = 0x30,
};

// The main page's form set GUID, a second tab's, one reached only by reference, and the exit
// page's (which must carry the exit page GUID for Esc to reach it).
const EFI_GUID MainGuid = TestGuid(1);
const EFI_GUID SecondGuid = TestGuid(2);
const EFI_GUID OtherGuid = TestGuid(3);

class MenuTest : public BrowserTest {
protected:
  PublishedFormSet *Main = nullptr;
  PublishedFormSet *Second = nullptr;
  PublishedFormSet *Other = nullptr;
  PublishedFormSet *Exit = nullptr;

  // Main: a long top form, so that scrolling matters, with every kind of reference at its end;
  // form 2 a sub-form.
  void PublishWorld() {
    FormSetBuilder F(MainGuid, u"Main", u"The main page");
    F.BufferStore(Store, "Setup", std::vector<uint8_t>(StoreSize, 0)).Form();
    for (unsigned Index = 0; Index < 20; Index++) {
      F.Text(F.StringId(u"Line " + std::u16string(1, u'A' + Index)), F.StringId(u"A line of text"));
    }
    F.Checkbox(F.Question(u"Switch", u"A switch the driver hears of", Switch, Store, 0,
                          EFI_IFR_FLAG_CALLBACK));
    F.Numeric(F.Question(u"Count", u"A number", Count, Store, 1), EFI_IFR_NUMERIC_SIZE_1, 0, 99, 1);
    F.Ref(F.Question(u"Sub-form", u"Goes to the sub-form", RefToSubForm), 2);
    F.Ref3(F.Question(u"Other form set", u"Goes to a form set by GUID", RefToOtherFormSet), 0, 0,
           OtherGuid);
    F.Ref3(F.Question(u"Second tab", u"Goes to the second tab", RefToSecondTab), 0, 0, SecondGuid);
    F.Ref2(F.Question(u"To Count", u"Moves to the number", RefToQuestion), 0, Count);
    F.Ref2(F.Question(u"Nowhere", u"Names nothing", RefToNothing), 0, 0);
    F.Ref4(F.Question(u"By path", u"A device path no one has", RefByDevicePath), 1, 0, MainGuid,
           F.StringId(u"01041400abcdef0123456789abcdef01234567897fff0400"));
    F.Form(2, u"Sub-form");
    F.Checkbox(F.Question(u"Sub switch", u"A switch on the sub-form", SubSwitch, Store, 2));
    Main = &PublishTab(F, gDefaultPageGuids[0]);
    Main->Driver->OnCallback = [](EFI_BROWSER_ACTION, EFI_QUESTION_ID, UINT8, EFI_IFR_TYPE_VALUE *,
                                  EFI_BROWSER_ACTION_REQUEST *) { return EFI_SUCCESS; };

    Second = &SimplePage(SecondGuid, u"Second", &gDefaultPageGuids[1], u"On the second tab");
    Other = &SimplePage(OtherGuid, u"Other", nullptr, u"On the other form set");
    Exit = &SimplePage(gExitPageGuid, u"Exit", &gDefaultPageGuids[4], u"On the exit page");
  }

  PublishedFormSet &SimplePage(const EFI_GUID &Guid, const char16_t *Name, const EFI_GUID *Page,
                               const char16_t *Line) {
    FormSetBuilder F(Guid, Name, u"A page");
    F.Form();
    F.Text(F.StringId(Line), F.StringId(u"Its help"));
    return Page != nullptr ? PublishTab(F, *Page) : Publish(F);
  }

  // Publishes the world unless the test has, and sends it.
  void SendWorld() {
    if (Main == nullptr) {
      PublishWorld();
    }
    SendAndWait({Main->Handle, Second->Handle, Other->Handle, Exit->Handle});
  }

  UINT32 TopRow() { return Browser->TopOption != nullptr ? Browser->TopOption->Row : 0; }

  void Leave() {
    Type("F10 Enter");
    ASSERT_TRUE(Finished()) << ScreenText();
    ExpectNothingLeftSinceSend();
  }
};

TEST_F(MenuTest, TabsWithLeftAndRightAndTheirWrapAndEscToTheExitPage) {
  SendWorld();
  EXPECT_EQ(Browser->MenuBarCurrent, 0u);
  Type("Right");
  EXPECT_EQ(Browser->MenuBarCurrent, 1u);
  EXPECT_TRUE(Shows("On the second tab")) << ScreenText();
  Type("Right Right");
  EXPECT_EQ(Browser->MenuBarCurrent, 0u) << "Right on the last tab wraps to the first";
  Type("Left");
  EXPECT_EQ(Browser->MenuBarCurrent, 2u) << "Left on the first tab wraps to the last";
  EXPECT_TRUE(Shows("On the exit page")) << ScreenText();
  // Esc on a top form goes to the exit page.
  Type("Right Esc");
  EXPECT_EQ(Browser->MenuBarCurrent, 2u);
  EXPECT_TRUE(Shows("On the exit page")) << ScreenText();
  EXPECT_TRUE(Waiting());
  Leave();
}

// Tabs are printed from five cells into the bar: when the tabs up to the current one take 76
// to 80 cells they no longer all fit, and the bar must scroll to keep the current tab painted.
TEST_F(MenuTest, TheCurrentTabIsPaintedWhenTheTabsJustOverfillTheBar) {
  const char16_t *Titles[] = {u"First tab of the bar.", u"Second tab of the bar",
                              u"Third tab of the bar."};
  std::vector<EFI_HII_HANDLE> Handles;
  for (unsigned Index = 0; Index < 3; Index++) {
    Handles.push_back(
        SimplePage(TestGuid(10 + Index), Titles[Index], &gDefaultPageGuids[Index], u"A line")
            .Handle);
  }
  Send(Handles);
  ASSERT_TRUE(Waiting());
  Type("Right Right");
  ASSERT_EQ(Browser->MenuBarCurrent, 2u);
  std::string Bar = Row(Browser->MenuBarArea.Client.Top);
  EXPECT_NE(Bar.find("Third tab of the bar."), std::string::npos) << Bar;
  EXPECT_EQ(Bar.find("First tab"), std::string::npos) << "the bar has scrolled: " << Bar;
  EXPECT_EQ(Bar.front(), '<') << Bar;
}

TEST_F(MenuTest, ASubFormAndBackAtTheSameScrollRow) {
  SendWorld();
  MoveTo(RefToSubForm);
  UINT32 Top = TopRow();
  EXPECT_GT(Top, 0u) << "the form has scrolled";
  Type("Enter");
  EXPECT_TRUE(Shows("Sub switch")) << ScreenText();
  // Left and Right do nothing on a sub-form.
  Type("Right");
  EXPECT_EQ(Browser->MenuBarCurrent, 0u);
  EXPECT_TRUE(Shows("Sub switch"));
  Type("Esc");
  EXPECT_TRUE(Shows("Line T")) << ScreenText();
  EXPECT_EQ(TopRow(), Top);
  EXPECT_EQ(Highlighted(), RefToSubForm);
  Leave();
}

TEST_F(MenuTest, ReferencesToAnotherFormSetAQuestionAndATabsFormSet) {
  SendWorld();
  MoveTo(RefToOtherFormSet);
  Type("Enter");
  EXPECT_TRUE(Shows("On the other form set")) << ScreenText();
  EXPECT_EQ(Browser->MenuBarCurrent, 0u);
  Type("Esc");
  EXPECT_EQ(Highlighted(), RefToOtherFormSet) << ScreenText();
  // A reference with only a question moves the highlight.
  MoveTo(RefToQuestion);
  Type("Enter");
  EXPECT_EQ(Highlighted(), Count) << ScreenText();
  // A reference to a tab's form set switches the tab.
  MoveTo(RefToSecondTab);
  Type("Enter");
  EXPECT_EQ(Browser->MenuBarCurrent, 1u);
  EXPECT_TRUE(Shows("On the second tab")) << ScreenText();
  Leave();
}

// A reference that names a question on its own form, out of view and in view: the page
// scrolls to it, is painted whole, and nothing is drawn beyond the body.
TEST_F(MenuTest, AReferenceToAQuestionOutOfViewScrollsThePage) {
  FormSetBuilder F(MainGuid, u"Jumps");
  F.BufferStore(Store, "Setup", std::vector<uint8_t>(StoreSize, 0)).Form();
  F.Checkbox(F.Question(u"Early", u"At the top", Switch, Store, 0));
  for (unsigned Index = 0; Index < 25; Index++) {
    F.Text(F.StringId(u"Filler " + std::u16string(1, u'A' + Index)), F.StringId(u"A line of text"));
  }
  F.Checkbox(F.Question(u"Late", u"Near the end", SubSwitch, Store, 1));
  F.Ref2(F.Question(u"To Early", u"Back to the top", RefToQuestion), 0, Switch);
  F.Ref2(F.Question(u"To Late", u"Just above", RefToSubForm), 0, SubSwitch);
  PublishedFormSet &Set = Publish(F);
  SendAndWait({Set.Handle});
  MoveTo(RefToQuestion);
  Type("Enter");
  EXPECT_EQ(Highlighted(), Switch);
  ExpectScreen("reference_out_of_view");
  Type("End");
  MoveTo(RefToSubForm);
  Type("Enter");
  EXPECT_EQ(Highlighted(), SubSwitch);
  ExpectScreen("reference_in_view");
}

TEST_F(MenuTest, AReferenceToNothingOrToAnUnknownPathIsNotFound) {
  SendWorld();
  for (EFI_QUESTION_ID Ref : {RefToNothing, RefByDevicePath}) {
    MoveTo(Ref);
    std::string Before = ScreenText();
    Type("Enter");
    EXPECT_TRUE(Shows("Target menu is not found.")) << ScreenText();
    EXPECT_TRUE(Shows("Error"));
    Type("Esc");
    EXPECT_TRUE(Shows("Target menu is not found.")) << "only Enter ends the notice";
    Type("Enter");
    EXPECT_FALSE(Shows("Target menu is not found.")) << ScreenText();
    EXPECT_EQ(Highlighted(), Ref);
  }
  Leave();
}

// Alt-H reaches the browser only through the extended input protocol, which the session
// installs after the entry: the driver finds it through its notification.
TEST_F(MenuTest, GeneralHelpBoxWithF1AndAltH) {
  SendWorld();
  std::string Before = ScreenText();
  for (const char *Key : {"F1", "Alt-h"}) {
    Type(Key);
    ASSERT_TRUE(Shows("General Help")) << Key << "\n" << ScreenText();
    // The box stands at columns 6 to 73, rows 2 to 20.
    EXPECT_EQ(Host().Screen().Cell(6, 2).Char, u'┌') << ScreenText();
    EXPECT_EQ(Host().Screen().Cell(73, 2).Char, u'┐');
    EXPECT_EQ(Host().Screen().Cell(6, 20).Char, u'└');
    EXPECT_EQ(Host().Screen().Cell(73, 20).Char, u'┘');
    EXPECT_TRUE(Shows("Continue"));
    Type("Enter");
    EXPECT_EQ(ScreenText(), Before) << "the screen under the box is given back";
  }
  Leave();
}

// The order of the Callbacks is checked in callback_test; here what they carry.
TEST_F(MenuTest, TheCallbacksOfAChangeCarryTheNewValueAndAFailedChangingUndoesIt) {
  PublishWorld();
  EFI_STATUS ChangingAnswer = EFI_SUCCESS;
  Main->Driver->OnCallback = [&](EFI_BROWSER_ACTION Action, EFI_QUESTION_ID, UINT8,
                                 EFI_IFR_TYPE_VALUE *, EFI_BROWSER_ACTION_REQUEST *) {
    return Action == EFI_BROWSER_ACTION_CHANGING ? ChangingAnswer : EFI_SUCCESS;
  };
  SendWorld();
  // Form open tells the driver of each question with a Callback flag, with no value.
  ASSERT_FALSE(Main->Driver->Calls.empty());
  const CallbackCall &Open = Main->Driver->Calls.front();
  EXPECT_EQ(Open.Action, EFI_BROWSER_ACTION_FORM_OPEN);
  EXPECT_EQ(Open.QuestionId, Switch);
  EXPECT_FALSE(Open.HasValue);

  MoveTo(Switch);
  size_t Before = Main->Driver->Calls.size();
  Type("Enter");
  std::vector<CallbackCall> Calls(Main->Driver->Calls.begin() + Before, Main->Driver->Calls.end());
  ASSERT_GE(Calls.size(), 2u);
  EXPECT_EQ(Calls[1].Action, EFI_BROWSER_ACTION_CHANGED);
  for (int Index : {0, 1}) {
    EXPECT_EQ(Calls[Index].QuestionId, Switch);
    EXPECT_EQ(Calls[Index].Type, EFI_IFR_TYPE_BOOLEAN);
    EXPECT_TRUE(Calls[Index].HasValue);
    EXPECT_EQ(Calls[Index].Value.b, 1);
  }
  // The value reached the edit side of the storage, not yet the driver's.
  EXPECT_EQ((*Main->Driver->Buffer(MainGuid, u"Setup"))[0], 0);

  ChangingAnswer = EFI_ACCESS_DENIED;
  Before = Main->Driver->Calls.size();
  Type("Enter");
  for (size_t Index = Before; Index < Main->Driver->Calls.size(); Index++) {
    EXPECT_NE(Main->Driver->Calls[Index].Action, EFI_BROWSER_ACTION_CHANGED);
  }
  EXPECT_EQ(Browser->Selection->Statement->Value.Value[0], 1);
  Type("F10 Enter");
  EXPECT_EQ((*Main->Driver->Buffer(MainGuid, u"Setup"))[0], 1);
  ExpectNothingLeftSinceSend();
}

TEST_F(MenuTest, ANestedSendFormFromAChangingCallbackReturnsToTheSameRow) {
  PublishWorld();
  UINT32 NestedDepth = 0;
  EFI_STATUS NestedStatus = EFI_NOT_STARTED;
  Main->Driver->OnCallback = [&](EFI_BROWSER_ACTION Action, EFI_QUESTION_ID Question, UINT8,
                                 EFI_IFR_TYPE_VALUE *, EFI_BROWSER_ACTION_REQUEST *) {
    if (Action == EFI_BROWSER_ACTION_CHANGING && Question == Switch) {
      // With tabs on the screen a call without a GUID would show the first tab's form set.
      EFI_HII_HANDLE Handle = Other->Handle;
      EFI_GUID Guid = OtherGuid;
      NestedStatus = FormBrowser()->SendForm(FormBrowser(), &Handle, 1, &Guid, 0, nullptr, nullptr);
    }
    return EFI_SUCCESS;
  };
  SendWorld();
  MoveTo(Switch);
  UINT32 Top = TopRow();
  ASSERT_GT(Top, 0u);
  Type("Enter");
  ASSERT_TRUE(Shows("On the other form set")) << ScreenText();
  NestedDepth = Browser->SendFormDepth;
  // The nested call's form is no top form: Esc ends the call.
  Type("Esc");
  EXPECT_EQ(NestedDepth, 2u);
  EXPECT_EQ(NestedStatus, EFI_SUCCESS);
  EXPECT_EQ(Browser->SendFormDepth, 1u);
  EXPECT_EQ(TopRow(), Top) << ScreenText();
  EXPECT_EQ(Highlighted(), Switch);
  EXPECT_EQ(Browser->Selection->Statement->Value.Value[0], 1) << "the outer change went on";
  Leave();
}

TEST_F(MenuTest, ARefreshDuringAKeyWaitRepaintsInTheNewLanguage) {
  SendWorld();
  MoveTo(Count);
  EXPECT_TRUE(Shows("Select Item"));
  SetPlatformLanguage("fr-FR");
  SignalRefresh();
  Type("wait 1");
  EXPECT_FALSE(Shows("Select Item")) << ScreenText();
  EXPECT_EQ(Highlighted(), Count) << "the form comes back on the same question";
  Leave();
}

TEST_F(MenuTest, KeysThatAreDroppedAndKeysThatBeep) {
  SendWorld();
  MoveTo(Switch);
  host::SpeakerDevice &Speaker = *Host().Speaker();
  struct Case {
    const char *Keys;
    UINTN Beeps;
  };
  const Case Cases[] = {
      {"\"x\"", 1},             // a character no table knows
      {"\"5\"", 1},             // a digit on a checkbox
      {"Tab", 0},               // Tab on anything but a date or time
      {"F5", 0},                // step keys on a checkbox do nothing
      {"\"+\"", 0}, {"Ins", 1}, // a scan code no table knows
  };
  for (const Case &Each : Cases) {
    Speaker.ResetBeeps();
    std::string Before = ScreenText();
    Type(Each.Keys);
    EXPECT_EQ(Speaker.Beeps(), Each.Beeps) << Each.Keys;
    EXPECT_EQ(ScreenText(), Before) << Each.Keys;
    EXPECT_EQ(Highlighted(), Switch) << Each.Keys;
  }
  Leave();
}

TEST_F(MenuTest, AFormWithNoOptionsDropsCharactersQuietly) {
  FormSetBuilder F(TestGuid(9), u"Empty");
  F.Form();
  PublishedFormSet &Set = Publish(F);
  SendAndWait({Set.Handle});
  Host().Speaker()->ResetBeeps();
  Type("\"abc\" Enter");
  EXPECT_EQ(Host().Speaker()->Beeps(), 0u);
  Type("Ins");
  EXPECT_EQ(Host().Speaker()->Beeps(), 1u) << "an unknown scan code beeps";
  // F10 is dropped too: a form with no options leaves only through Esc and the tabs.
  Type("F10");
  EXPECT_FALSE(Shows("Save configuration changes")) << ScreenText();
}

TEST_F(MenuTest, AParseFailureIsShownTwiceAndEndsTheCall) {
  FormSetBuilder F(TestGuid(8), u"Broken");
  F.Form();
  // A checkbox cut short: too few bytes for its question header.
  F.RawBytes({EFI_IFR_CHECKBOX_OP, 6, 1, 0, 2, 0});
  PublishedFormSet &Set = Publish(F);
  SendAndWait({Set.Handle});
  EXPECT_TRUE(Shows("Failed to parse OpCode: 0x6")) << ScreenText();
  EXPECT_TRUE(Shows("Broken FormSet")) << ScreenText();
  Type("Enter");
  EXPECT_TRUE(Waiting()) << "the notice is shown a second time";
  EXPECT_TRUE(Shows("Failed to parse OpCode: 0x6")) << ScreenText();
  // Then SendForm names the form set it could not load, twice as well.
  Type("Enter");
  EXPECT_TRUE(Shows("Failed to initialize FormSet. Status: 0x80000002.")) << ScreenText();
  Type("Enter");
  EXPECT_TRUE(Shows("Failed to initialize FormSet")) << ScreenText();
  Type("Enter");
  ASSERT_TRUE(Finished()) << ScreenText();
  EXPECT_TRUE(EFI_ERROR(Run().Status()));
  ExpectNothingLeftSinceSend();
}

} // namespace
} // namespace morvane::test
