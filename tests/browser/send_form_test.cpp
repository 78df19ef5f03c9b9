// The driver's entry and SendForm as the outside world calls them: argument and screen checks,
// tabs from page providers, nesting from a Callback, the built-in strings, and what is left
// allocated afterwards.
#include <cstring>

#include "core/browser_context.h"
#include "core/external_protocols.h"
#include "core/hii_strings.h"
#include "data/builtin_strings.h"
#include "support/print.h"
#include "tests/browser/browser_fixture.h"
#include "tests/common/text.h"

namespace morvane::test {
namespace {

using host::DriverRun;
using kit::IfrWriter;
using kit::Strings;

class SendFormTest : public BrowserTest {
protected:
  // One form set with one form: a text line, and a checkbox whose Callback the test may
  // script.
  PublishedFormSet &SimpleFormSet(UINT8 Id, const char16_t *Title, bool Tab = false,
                                  const EFI_GUID &Page = gDefaultPageGuids[0]) {
    FormSetBuilder F(TestGuid(Id), Title, u"Help of the form set");
    F.BufferStore(1, "Data", std::vector<uint8_t>(4, 0)).Form();
    F.Text(F.StringId(u"A line of text"), F.StringId(u"Its help"));
    F.Checkbox(F.Question(u"Switch", u"Turns it on", 0x100, 1, 0, EFI_IFR_FLAG_CALLBACK));
    return Tab ? PublishTab(F, Page) : Publish(F);
  }

  EFI_STATUS SendWithScreen(EFI_HII_HANDLE Handle, EFI_SCREEN_DESCRIPTOR Screen) {
    tools::SendFormRequest Request;
    Request.Handles = {Handle};
    Request.Screen = Screen;
    Send(Request);
    return Finished() ? Run().Status() : EFI_SUCCESS;
  }
};

TEST_F(SendFormTest, ShowsTheFormAndGivesBackWhatItTook) {
  PublishedFormSet &Set = SimpleFormSet(1, u"Simple");
  SendAndWait({Set.Handle});
  EXPECT_EQ(Row(0).find("Morvane Setup"), 33u) << ScreenText();
  EXPECT_TRUE(Shows("A line of text")) << ScreenText();
  Type("F10");
  EXPECT_TRUE(Shows("Save configuration changes and exit now?")) << ScreenText();
  SaveAndLeave();
  EXPECT_EQ(Run().Status(), EFI_SUCCESS);
  // A save asks for a reset.
  EXPECT_EQ(Session->LastActionRequest(), EFI_BROWSER_ACTION_REQUEST_RESET);
  ExpectNothingLeftSinceSend();
  EXPECT_EQ(Browser->SendFormDepth, 0u);
  EXPECT_TRUE(ListIsEmpty(&Browser->MenuBarList));
  EXPECT_TRUE(ListIsEmpty(&Browser->FormSetList));
}

TEST_F(SendFormTest, RefusesMissingArguments) {
  PublishedFormSet &Set = SimpleFormSet(1, u"Simple");
  EFI_HII_HANDLE Handle = Set.Handle;
  EFI_FORM_BROWSER2_PROTOCOL *Browser2 = FormBrowser();
  EXPECT_EQ(Browser2->SendForm(nullptr, &Handle, 1, nullptr, 0, nullptr, nullptr),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Browser2->SendForm(Browser2, nullptr, 1, nullptr, 0, nullptr, nullptr),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Browser2->SendForm(Browser2, &Handle, 0, nullptr, 0, nullptr, nullptr),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Host().Screen().Counters().OutputString, 0u) << "nothing is painted";
}

TEST_F(SendFormTest, ScreenDescriptorRules) {
  struct Case {
    EFI_SCREEN_DESCRIPTOR Screen;
    EFI_STATUS Expected;
  };
  // The console is 80 x 25; width and height count right - left + 1.
  const Case Cases[] = {
      {{0, 81, 0, 25}, EFI_INVALID_PARAMETER},  // wider than the console
      {{0, 80, 0, 26}, EFI_INVALID_PARAMETER},  // taller than the console
      {{40, 40, 0, 25}, EFI_INVALID_PARAMETER}, // right not above left
      {{0, 80, 20, 10}, EFI_INVALID_PARAMETER}, // bottom above top
      {{0, 74, 0, 25}, EFI_UNSUPPORTED},        // 75 columns
      {{0, 80, 0, 8}, EFI_UNSUPPORTED},         // 9 rows
      {{4, 78, 0, 25}, EFI_UNSUPPORTED},        // 75 columns, away from the edge
  };
  PublishedFormSet &Set = SimpleFormSet(1, u"Simple");
  for (const Case &Each : Cases) {
    EXPECT_EQ(SendWithScreen(Set.Handle, Each.Screen), Each.Expected)
        << Each.Screen.LeftColumn << "-" << Each.Screen.RightColumn << " x " << Each.Screen.TopRow
        << "-" << Each.Screen.BottomRow;
    EXPECT_EQ(Browser->SendFormDepth, 0u);
  }
  // Exactly 76 by 10 is enough.
  EXPECT_EQ(SendWithScreen(Set.Handle, {2, 77, 5, 14}), EFI_SUCCESS);
  ASSERT_TRUE(Waiting());
  EXPECT_EQ(Browser->ScreenDimensions.Left, 2u);
  EXPECT_EQ(Browser->ScreenDimensions.Right, 76u);
  EXPECT_EQ(Browser->ScreenDimensions.Top, 5u);
  EXPECT_EQ(Browser->ScreenDimensions.Bottom, 13u);
}

TEST_F(SendFormTest, ActionRequestMayBeNull) {
  PublishedFormSet &Set = SimpleFormSet(1, u"Simple");
  EFI_HII_HANDLE Handle = Set.Handle;
  EFI_FORM_BROWSER2_PROTOCOL *Browser2 = FormBrowser();
  Current = std::make_unique<DriverRun>(Host(), [&] {
    return Browser2->SendForm(Browser2, &Handle, 1, nullptr, 0, nullptr, nullptr);
  });
  Current->Resume();
  ASSERT_TRUE(Waiting());
  SaveAndLeave();
  EXPECT_EQ(Run().Status(), EFI_SUCCESS);
}

TEST_F(SendFormTest, TabsFollowThePageListWhateverTheHandleOrder) {
  PublishedFormSet &Third = SimpleFormSet(3, u"Gamma", true, gDefaultPageGuids[4]);
  PublishedFormSet &First = SimpleFormSet(1, u"Alpha", true, gDefaultPageGuids[0]);
  PublishedFormSet &Second = SimpleFormSet(2, u"Beta", true, gDefaultPageGuids[2]);
  PublishedFormSet &Untabbed = SimpleFormSet(4, u"Delta");
  SendAndWait({Untabbed.Handle, Third.Handle, Second.Handle, First.Handle});
  std::string Bar = Row(1);
  size_t Alpha = Bar.find("Alpha");
  size_t Beta = Bar.find("Beta");
  size_t Gamma = Bar.find("Gamma");
  ASSERT_NE(Alpha, std::string::npos) << Bar;
  EXPECT_LT(Alpha, Beta) << Bar;
  EXPECT_LT(Beta, Gamma) << Bar;
  EXPECT_EQ(Bar.find("Delta"), std::string::npos) << "a handle no provider names gets no tab";
  EXPECT_EQ(Browser->MenuBarCount, 3u);
  // With tabs and no GUID, the first form set shown is the first tab's, not Handles[0]'s.
  EXPECT_EQ(Browser->Selection->Handle, First.Handle);
}

TEST_F(SendFormTest, APageListReplacesTheDefaultOrder) {
  PublishedFormSet &A = SimpleFormSet(1, u"Alpha", true, TestGuid(0xA1));
  PublishedFormSet &B = SimpleFormSet(2, u"Beta", true, TestGuid(0xB2));
  host::PageList Pages(Boot(), {TestGuid(0xB2), TestGuid(0xA1)});
  SendAndWait({A.Handle, B.Handle});
  EXPECT_LT(Row(1).find("Beta"), Row(1).find("Alpha")) << Row(1);
  SaveAndLeave();
}

TEST_F(SendFormTest, WithoutTabsTheFirstHandleOrTheGuidIsShown) {
  PublishedFormSet &A = SimpleFormSet(1, u"Alpha");
  PublishedFormSet &B = SimpleFormSet(2, u"Beta");
  SendAndWait({B.Handle, A.Handle});
  EXPECT_EQ(Browser->Selection->Handle, B.Handle);
  EXPECT_TRUE(ListIsEmpty(&Browser->MenuBarList));
  SaveAndLeave();

  tools::SendFormRequest Request;
  Request.Handles = {A.Handle};
  Request.FormSetGuid = TestGuid(1);
  Send(Request);
  ASSERT_TRUE(Waiting());
  EXPECT_EQ(Browser->Selection->Handle, A.Handle);
  SaveAndLeave();

  // A form set opcode that names no class is of the platform-setup class, and that class GUID
  // finds it: the form set shows under its own GUID.
  Request.FormSetGuid = gEfiHiiPlatformSetupFormsetGuid;
  Send(Request);
  ASSERT_TRUE(Waiting()) << ScreenText();
  EXPECT_EQ(Browser->Selection->Handle, A.Handle);
  const EFI_GUID Own = TestGuid(1);
  EXPECT_EQ(std::memcmp(&Browser->Selection->FormSetGuid, &Own, sizeof(Own)), 0);
  SaveAndLeave();

  // Every handle is loaded with the GUID given: one that does not hold it fails the call,
  // silently, since its form set has no title to name.
  Request.FormSetGuid = TestGuid(1);
  Request.Handles = {B.Handle, A.Handle};
  Send(Request);
  ASSERT_TRUE(Finished()) << ScreenText();
  EXPECT_EQ(Run().Status(), EFI_NOT_FOUND);
  ExpectNothingLeftSinceSend();
}

TEST_F(SendFormTest, NestedCallFromACallbackRunsOnTheSameScreen) {
  PublishedFormSet &Outer = SimpleFormSet(1, u"Outer");
  PublishedFormSet &Inner = SimpleFormSet(2, u"Inner");
  UINT32 DepthInside = 0;
  UINTN StackedInside = 0;
  EFI_STATUS InnerStatus = EFI_NOT_STARTED;
  Outer.Driver->OnCallback = [&](EFI_BROWSER_ACTION Action, EFI_QUESTION_ID Question, UINT8,
                                 EFI_IFR_TYPE_VALUE *, EFI_BROWSER_ACTION_REQUEST *) {
    if (Action != EFI_BROWSER_ACTION_CHANGING || Question != 0x100) {
      return EFI_UNSUPPORTED;
    }
    EFI_HII_HANDLE Handle = Inner.Handle;
    EFI_BROWSER_ACTION_REQUEST Request = 0;
    InnerStatus = FormBrowser()->SendForm(FormBrowser(), &Handle, 1, nullptr, 0, nullptr, &Request);
    return EFI_SUCCESS;
  };
  Inner.Driver->OnCallback = [&](EFI_BROWSER_ACTION Action, EFI_QUESTION_ID Question, UINT8,
                                 EFI_IFR_TYPE_VALUE *, EFI_BROWSER_ACTION_REQUEST *Request) {
    // Only a Changed Callback's request is acted on.
    if (Action == EFI_BROWSER_ACTION_CHANGED && Question == 0x100) {
      DepthInside = Browser->SendFormDepth;
      UINTN Count = 0;
      LIST_FOR_EACH(Link, &Browser->SelectionStack) {
        Count++;
      }
      StackedInside = Count;
      *Request = EFI_BROWSER_ACTION_REQUEST_EXIT;
    }
    // A Changing that fails would undo the change.
    return EFI_SUCCESS;
  };
  SendAndWait({Outer.Handle});
  std::string OuterScreen = ScreenText();
  Type("Down Enter");
  ASSERT_TRUE(Waiting());
  EXPECT_TRUE(Shows("Inner")) << ScreenText();
  EXPECT_EQ(Browser->SendFormDepth, 2u);
  Type("Down Enter");
  EXPECT_EQ(DepthInside, 2u);
  EXPECT_EQ(StackedInside, 1u) << "the outer selection is pushed";
  ASSERT_TRUE(Waiting()) << ScreenText();
  EXPECT_EQ(InnerStatus, EFI_SUCCESS);
  EXPECT_EQ(Browser->SendFormDepth, 1u);
  // Back on the outer top form, which shows no form title.
  EXPECT_FALSE(Shows("Inner")) << ScreenText();
  EXPECT_EQ(Row(4).substr(0, 20), OuterScreen.substr(OuterScreen.find("│   A line"), 20));
  SaveAndLeave();
  ExpectNothingLeftSinceSend();
}

TEST_F(SendFormTest, RefusedFromARetrieveCallback) {
  PublishedFormSet &Set = SimpleFormSet(1, u"Simple");
  PublishedFormSet &Other = SimpleFormSet(2, u"Other");
  EFI_STATUS Nested = EFI_NOT_STARTED;
  Set.Driver->OnCallback = [&](EFI_BROWSER_ACTION Action, EFI_QUESTION_ID, UINT8,
                               EFI_IFR_TYPE_VALUE *, EFI_BROWSER_ACTION_REQUEST *) {
    if (Action == EFI_BROWSER_ACTION_RETRIEVE && Nested == EFI_NOT_STARTED) {
      EFI_HII_HANDLE Handle = Other.Handle;
      Nested = FormBrowser()->SendForm(FormBrowser(), &Handle, 1, nullptr, 0, nullptr, nullptr);
    }
    return EFI_SUCCESS;
  };
  SendAndWait({Set.Handle});
  EXPECT_TRUE(Shows("Can't call SendForm () in Retrieve Callback.")) << ScreenText();
  EXPECT_TRUE(Shows("Error")) << ScreenText();
  // Only Enter ends the notice.
  Type("Esc Space");
  EXPECT_TRUE(Shows("Can't call SendForm")) << ScreenText();
  Type("Enter");
  EXPECT_EQ(Nested, EFI_UNSUPPORTED);
  ASSERT_TRUE(Waiting());
  EXPECT_TRUE(Shows("A line of text")) << ScreenText();
  SaveAndLeave();
}

TEST_F(SendFormTest, ARefreshRequestBeforeTheFirstCallChangesNothing) {
  PublishedFormSet &Set = SimpleFormSet(1, u"Simple");
  Send({Set.Handle});
  std::string Plain = ScreenText();
  SaveAndLeave();
  // Installing the refresh protocol notifies the driver, which marks a refresh pending.
  SignalRefresh();
  EXPECT_EQ(Browser->RefreshPending, 1);
  SendAndWait({Set.Handle});
  EXPECT_EQ(ScreenText(), Plain);
  EXPECT_EQ(Browser->RefreshPending, 0);
}

class EntryTest : public BrowserTest {};

TEST_F(EntryTest, FailsWithoutTheImageAndFontProtocols) {
  tools::SessionOptions Options;
  Options.HiiImageAndFont = false;
  Restart(Options);
  EXPECT_TRUE(EFI_ERROR(Session->EntryStatus()));
  EXPECT_EQ(FormBrowser(), nullptr);
}

TEST_F(EntryTest, InstallsTheBrowserProtocols) {
  ASSERT_EQ(Session->EntryStatus(), EFI_SUCCESS);
  for (const EFI_GUID &Guid : {gEfiFormBrowser2ProtocolGuid, gBrowserServicesProtocolGuid}) {
    VOID *Interface = nullptr;
    EFI_GUID Copy = Guid;
    EXPECT_EQ(Boot()->HandleProtocol(Browser->DriverHandle, &Copy, &Interface), EFI_SUCCESS);
  }
  VOID *Print = nullptr;
  EFI_GUID PrintGuid = gPrintProtocolGuid;
  EXPECT_EQ(Boot()->LocateProtocol(&PrintGuid, nullptr, &Print), EFI_SUCCESS);
  EXPECT_NE(Print, nullptr);
  EXPECT_EQ(Print, Browser->Print);
  EXPECT_EQ(Browser->CallbackAction, 0xFFFFFFFFu);
  EXPECT_EQ(Browser->SendFormDepth, 0u);
}

class BuiltinStringTest : public BrowserTest {
protected:
  std::u16string Read(EFI_STRING_ID Id, const char *Language) {
    std::strcpy(reinterpret_cast<char *>(CurrentLanguage), Language);
    CHAR16 *Text = GetHiiString(Id, Browser->HiiHandle);
    std::u16string Out = U16(Text);
    if (Text != nullptr) {
      Boot()->FreePool(Text);
    }
    return Out;
  }
};

TEST_F(BuiltinStringTest, EveryIdReadsInEveryLanguage) {
  for (const char *Language : {"en-US", "fr-FR", "ja-JP", "ko-KR"}) {
    for (EFI_STRING_ID Id = 1; Id <= BUILTIN_STRING_COUNT; Id++) {
      std::u16string Text = Read(Id, Language);
      if (Id == STRING_EMPTY) {
        continue;
      }
      EXPECT_FALSE(Text.empty()) << Language << " id " << Id;
    }
    EXPECT_NE(Utf8(Read(STRING_BROWSER_TITLE, Language)).find("Morvane"), std::string::npos)
        << Language;
  }
  EXPECT_EQ(Read(STRING_BROWSER_TITLE, "en-US"), u"Morvane Setup");
  EXPECT_EQ(Read(STRING_PRESS_ENTER, "en-US"), u"Press ENTER to continue");
  EXPECT_EQ(Read(STRING_NOT_ENOUGH_CHARACTERS, "en-US"), u"Please enter enough characters");
  EXPECT_NE(Read(STRING_YES, "fr-FR"), Read(STRING_YES, "en-US"));
  EXPECT_NE(Read(STRING_YES, "ja-JP"), Read(STRING_YES, "ko-KR"));
}

// Another language falls back to English; the empty string reads as an empty string, not as a
// failure, and an unknown id as nothing.
TEST_F(BuiltinStringTest, FallbacksAndTheEmptyString) {
  EXPECT_EQ(Read(STRING_YES, "de-DE"), Read(STRING_YES, "en-US"));
  EXPECT_EQ(Read(STRING_HELP_TITLE, "xx"), u"Item Specific Help");
  std::strcpy(reinterpret_cast<char *>(CurrentLanguage), "en-US");
  CHAR16 *Text = GetHiiString(STRING_EMPTY, Browser->HiiHandle);
  ASSERT_NE(Text, nullptr);
  EXPECT_EQ(U16(Text), u"");
  Boot()->FreePool(Text);
  EXPECT_EQ(Read(BUILTIN_STRING_COUNT + 1, "en-US"), u"");
}

TEST_F(SendFormTest, TwoFormSetsInOneListOnADriverWithoutConfigAccess) {
  // The first form set answers when no GUID is given, the second by its GUID; with no config
  // access on the driver's handle both show their defaults and nothing fails.
  struct Case {
    std::optional<EFI_GUID> Guid;
    const char *Shown;
  } Cases[] = {{std::nullopt, "First switch"}, {TestGuid(0x42), "Second switch"}};
  for (const Case &Each : Cases) {
    SCOPED_TRACE(Each.Shown);
    Restart(tools::SessionOptions());
    Strings S;
    IfrWriter W;
    for (UINT8 Index : {0x41, 0x42}) {
      EFI_STRING_ID Title = S.Add(Index == 0x41 ? u"First" : u"Second");
      W.FormSet(TestGuid(Index), Title, Title, {}, true);
      W.Form(1, Title, true);
      W.Checkbox({S.Add(Index == 0x41 ? u"First switch" : u"Second switch"), Title, 0x10, 0, 0,
                  EFI_IFR_FLAG_CALLBACK},
                 EFI_IFR_CHECKBOX_DEFAULT);
      W.End().End();
    }
    EFI_HANDLE Driver = nullptr;
    EFI_GUID Marker = TestGuid(0x77);
    ASSERT_EQ(Boot()->InstallProtocolInterface(&Driver, &Marker, EFI_NATIVE_INTERFACE, nullptr),
              EFI_SUCCESS);
    EFI_HII_HANDLE Handle = Session->AddPackageList(
        kit::PackageListBuilder(TestGuid(0x40)).AddForms(W).AddStrings(S).Bytes(), Driver);
    ASSERT_NE(Handle, nullptr);
    tools::SendFormRequest Request;
    Request.Handles = {Handle};
    Request.FormSetGuid = Each.Guid;
    Send(Request);
    ASSERT_TRUE(Waiting()) << ScreenText();
    EXPECT_TRUE(Shows(Each.Shown)) << ScreenText();
    EXPECT_EQ(Browser->Selection->FormSet->ConfigAccess, nullptr);
    Statement *Switch = StatementFromLink(ListFirst(&Browser->Selection->Form->StatementList));
    EXPECT_EQ(Switch->Value.Value[0], 1) << "the default";
    Type("Enter F10 Enter");
    EXPECT_TRUE(Finished()) << ScreenText();
    EXPECT_EQ(Run().Status(), EFI_SUCCESS);
  }
}

} // namespace
} // namespace morvane::test
