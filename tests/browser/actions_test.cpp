// The form-level actions as a user and a driver meet them: F9 and F10 with their questions, the
// action codes a driver's Changed Callback can return, the notified page told of global actions,
// forms whose style refuses defaults, the language kept in step on save and discard, and the
// user's setup access level from a user manager.
#include <algorithm>

#include "core/browser_context.h"
#include "core/external_protocols.h"
#include "core/form_actions.h"
#include "dialogs/browser_services.h"
#include "screen/menu_option.h"
#include "tests/browser/browser_fixture.h"
#include "host/components/user_manager.h"
#include "tests/common/bytes.h"

namespace morvane::test {
namespace {

using kit::IfrValue;

constexpr EFI_VARSTORE_ID Store = 1;

enum : EFI_QUESTION_ID {
  FanSpeed = 0x10, // numeric, standard default 5, extra-store default 9
  Turbo = 0x11,    // checkbox, standard default on
  Language = 0x12, // one-of whose driver sets the platform language
  Trigger = 0x20,  // action whose Changed Callback returns the test's request
  PageSwitch = 0x30,
};

const EFI_GUID MainGuid = TestGuid(1);
const EFI_GUID PageGuid = TestGuid(2);

class ActionTest : public BrowserTest {
protected:
  PublishedFormSet *Main = nullptr;
  PublishedFormSet *Page = nullptr;
  // What the action question's Callback answers, and on which Callback.
  EFI_BROWSER_ACTION_REQUEST NextRequest = EFI_BROWSER_ACTION_REQUEST_NONE;
  EFI_BROWSER_ACTION RequestOn = EFI_BROWSER_ACTION_CHANGED;
  // The codes the notified page's driver heard, and whether NotifyCode stood at 0 in every
  // other Callback.
  std::vector<UINT32> Notified;
  bool NotifyCodeOutsideNotification = false;

  void SetUp() override {
    BrowserTest::SetUp();
    PublishWorld();
  }

  // A main page with a numeric, a checkbox, a language question and the action question, and
  // a second tab on the notified page with a checkbox of its own storage.
  void PublishWorld(UINT16 SubClass = 0) {
    FormSetBuilder F(MainGuid, u"Main", u"The main page");
    if (SubClass != 0) {
      F.ExtensionSubclass(SubClass);
    }
    F.BufferStore(Store, "Setup", std::vector<uint8_t>(8, 0)).Form();
    F.Numeric(F.Question(u"Fan Speed", u"How fast the fan turns", FanSpeed, Store, 0),
              EFI_IFR_NUMERIC_SIZE_1, 0, 20, 1, true);
    F.Default(EFI_HII_DEFAULT_CLASS_STANDARD, IfrValue::U8(5));
    F.Default(EXTRA_DEFAULT_STORE_ID, IfrValue::U8(9));
    F.End();
    F.Checkbox(F.Question(u"Turbo", u"Runs faster", Turbo, Store, 1), EFI_IFR_CHECKBOX_DEFAULT);
    F.OneOf(F.Question(u"Language", u"The language of setup", Language, Store, 2,
                       EFI_IFR_FLAG_CALLBACK),
            EFI_IFR_NUMERIC_SIZE_1, 0, 1, 0, true);
    F.OneOfOption(F.StringId(u"English"), EFI_IFR_OPTION_DEFAULT, IfrValue::U8(0));
    F.OneOfOption(F.StringId(u"French"), 0, IfrValue::U8(1));
    F.End();
    F.ActionWithCallback(u"Run Request", u"Asks the browser for an action", Trigger);
    Main = &PublishTab(F, gDefaultPageGuids[0]);
    Main->Driver->OnCallback = [this](EFI_BROWSER_ACTION Action, EFI_QUESTION_ID Question, UINT8,
                                      EFI_IFR_TYPE_VALUE *Value,
                                      EFI_BROWSER_ACTION_REQUEST *Request) {
      NoteNotifyCode();
      if (Question == Trigger && Action == RequestOn && Request != nullptr) {
        *Request = NextRequest;
      }
      // What a language question's driver does: the variable, then a refresh request.
      if (Question == Language && Action == EFI_BROWSER_ACTION_CHANGED && Value != nullptr) {
        SetPlatformLanguage(Value->u8 == 1 ? "fr-FR" : "en-US");
        SignalRefresh();
      }
      return EFI_SUCCESS;
    };

    FormSetBuilder P(PageGuid, u"Page", u"The notified page");
    P.BufferStore(Store, "Page", std::vector<uint8_t>(2, 0)).Form();
    P.Checkbox(P.Question(u"Page Switch", u"A switch of the page", PageSwitch, Store, 0),
               EFI_IFR_CHECKBOX_DEFAULT);
    Page = &PublishTab(P, gNotifiedPageProtocolGuid);
    Page->Driver->OnCallback = [this](EFI_BROWSER_ACTION Action, EFI_QUESTION_ID Question, UINT8,
                                      EFI_IFR_TYPE_VALUE *, EFI_BROWSER_ACTION_REQUEST *) {
      if (Question == 0) {
        // A notification comes outside the usual Callback path, with action 0; a question to
        // go to that it names is never read.
        Notified.push_back(LocateServices(Boot())->NotifyCode);
        EXPECT_EQ(Action, 0u);
        EXPECT_EQ(Browser->CallbackAction, 0xFFFFFFFFu) << "no Callback is in progress";
        LocateServices(Boot())->NextQuestionId = Trigger;
      } else {
        NoteNotifyCode();
      }
      return EFI_SUCCESS;
    };
  }

  void NoteNotifyCode() {
    if (LocateServices(Boot())->NotifyCode != 0) {
      NotifyCodeOutsideNotification = true;
    }
  }

  void SendWorld() { SendAndWait({Main->Handle, Page->Handle}); }

  // Turns Turbo on, which marks the main form modified.
  void ChangeTurbo() {
    MoveTo(Turbo);
    Type("Enter");
    ASSERT_EQ(Browser->Selection->Statement->Value.Value[0], 1) << ScreenText();
  }

  void ChooseFrench() {
    MoveTo(Language);
    Type("Enter Down Enter");
    ASSERT_STREQ(reinterpret_cast<const char *>(CurrentLanguage), "fr-FR") << ScreenText();
  }

  // Runs the action question with Request as its Changed Callback's answer.
  void Request(EFI_BROWSER_ACTION_REQUEST Code) {
    NextRequest = Code;
    MoveTo(Trigger);
    Type("Enter");
  }

  // The value text on the row of a prompt, trimmed.
  std::string ValueOf(const std::string &Prompt) {
    for (const std::string &Line : ScreenRows()) {
      size_t At = Line.find(Prompt);
      if (At == std::string::npos) {
        continue;
      }
      size_t Open = Line.find('[', At);
      size_t Close = Line.find(']', Open);
      if (Open == std::string::npos || Close == std::string::npos) {
        return "";
      }
      std::string Inner = Line.substr(Open + 1, Close - Open - 1);
      size_t First = Inner.find_first_not_of(' ');
      return First == std::string::npos ? "" : Inner.substr(First);
    }
    return "(no " + Prompt + ")";
  }

  std::vector<uint8_t> &MainBytes() { return *Main->Driver->Buffer(MainGuid, u"Setup"); }
  std::vector<uint8_t> &PageBytes() { return *Page->Driver->Buffer(PageGuid, u"Page"); }
};

TEST_F(ActionTest, F9LoadsTheStandardDefaultsEverywhereAndTellsTheNotifiedPage) {
  SendWorld();
  EXPECT_EQ(ValueOf("Fan Speed"), "0");
  MoveTo(Trigger);
  Type("F9");
  ASSERT_TRUE(Shows("Load default configuration now?")) << ScreenText();
  EXPECT_TRUE(Shows("Setup Confirmation"));
  ExpectScreen("action_load_defaults_box");
  EXPECT_TRUE(Notified.empty()) << "nothing is told before the answer";
  Type("Enter");
  ASSERT_TRUE(Waiting());
  EXPECT_FALSE(Shows("Load default configuration now?")) << ScreenText();
  EXPECT_EQ(ValueOf("Fan Speed"), "5") << ScreenText();
  EXPECT_EQ(Highlighted(), FanSpeed) << "the form starts again at its first question, not at "
                                        "the question the notified page named";
  EXPECT_EQ(Notified, std::vector<UINT32>{NOTIFY_CODE_DEFAULTS_LOADED});
  EXPECT_EQ(LocateServices(Boot())->NotifyCode, 0u);
  EXPECT_EQ(PlatformLanguage(), "en-US");
  // The defaults stand in the edit copies until they are saved.
  EXPECT_EQ(MainBytes()[0], 0);
  SaveAndLeave();
  EXPECT_EQ(MainBytes()[0], 5);
  EXPECT_EQ(MainBytes()[1], 1) << "the checkbox's default flag";
  EXPECT_EQ(MainBytes()[2], 0) << "the one-of's default option";
  EXPECT_EQ(PageBytes()[0], 1) << "the other tab's form set takes its defaults too";
  EXPECT_FALSE(NotifyCodeOutsideNotification);
  ExpectNothingLeftSinceSend();
}

TEST_F(ActionTest, F9AnsweredAnythingButYesChangesNothing) {
  for (const char *Answer : {"Right Enter", "Left Enter", "Esc", "Alt-x"}) {
    Notified.clear();
    SendWorld();
    std::string Before = ScreenText();
    Type("F9");
    ASSERT_TRUE(Shows("Load default configuration now?")) << Answer;
    Type(Answer);
    ASSERT_TRUE(Waiting()) << Answer;
    EXPECT_EQ(ScreenText(), Before) << Answer;
    EXPECT_TRUE(Notified.empty()) << Answer;
    SaveAndLeave();
    EXPECT_EQ(MainBytes(), std::vector<uint8_t>(8, 0)) << Answer;
    EXPECT_EQ(PageBytes(), std::vector<uint8_t>(2, 0)) << Answer;
  }
}

TEST_F(ActionTest, F10AsksAndYesSubmitsEveryFormSetAndAsksForAReset) {
  SendWorld();
  ChangeTurbo();
  std::string Before = ScreenText();
  Type("F10");
  ASSERT_TRUE(Shows("Save configuration changes and exit now?")) << ScreenText();
  ExpectScreen("action_save_and_exit_box");
  for (const char *Refusal : {"Right Enter", "Esc"}) {
    Type(Refusal);
    ASSERT_TRUE(Waiting()) << Refusal;
    EXPECT_EQ(ScreenText(), Before) << Refusal;
    EXPECT_EQ(Main->Driver->RouteCount, 0u) << Refusal;
    Type("F10");
  }
  Type("Enter");
  ASSERT_TRUE(Finished()) << ScreenText();
  EXPECT_EQ(Run().Status(), EFI_SUCCESS);
  EXPECT_EQ(Session->LastActionRequest(), EFI_BROWSER_ACTION_REQUEST_RESET);
  EXPECT_EQ(Main->Driver->RouteCount, 1u);
  EXPECT_EQ(Page->Driver->RouteCount, 1u) << "every loaded form set is submitted";
  EXPECT_EQ(MainBytes()[1], 1);
  EXPECT_TRUE(Notified.empty()) << "a save is not a discard";
  ExpectNothingLeftSinceSend();
}

// F9 and F10 end the number editor and close the option pop-up: the value typed or highlighted
// is taken first, then the form asks. A style that refuses defaults takes the typed number and
// asks nothing; its pop-up moves the highlight up instead.
TEST_F(ActionTest, F9AndF10InsideTheNumberEditorAndThePopUp) {
  struct Case {
    const char *Name;
    UINT16 SubClass;
    EFI_QUESTION_ID Question;
    const char *Keys;
    const char *Asks; // the confirmation shown, or null for none
    const char *FanSpeed;
    const char *Language;
  };
  const char *Save = "Save configuration changes and exit now?";
  const char *Defaults = "Load default configuration now?";
  const Case Cases[] = {
      {"F10 in the number", 0, FanSpeed, "\"7\" F10", Save, "7", "English"},
      {"F9 in the number", 0, FanSpeed, "\"7\" F9", Defaults, "7", "English"},
      {"F10 in the pop-up", 0, Language, "Enter Down F10", Save, "0", "French"},
      {"F9 in the pop-up", 0, Language, "Enter Down F9", Defaults, "0", "French"},
      {"refused F10 in the number", 1, FanSpeed, "\"7\" F10", nullptr, "7", "English"},
      {"refused F9 in the number", 1, FanSpeed, "\"7\" F9", nullptr, "7", "English"},
      {"refused F9 in the pop-up", 1, Language, "Enter Down F9 Enter", nullptr, "0", "English"},
      {"refused F10 in the pop-up", 1, Language, "Enter Down F10 Enter", nullptr, "0", "English"},
  };
  for (const Case &Each : Cases) {
    Restart(tools::SessionOptions());
    PublishWorld(Each.SubClass);
    SendWorld();
    MoveTo(Each.Question);
    Type(Each.Keys);
    ASSERT_TRUE(Waiting()) << Each.Name;
    if (Each.Asks != nullptr) {
      EXPECT_TRUE(Shows(Each.Asks)) << Each.Name << "\n" << ScreenText();
      Type("Right Enter");
      EXPECT_FALSE(Shows(Each.Asks)) << Each.Name << ": asked once\n" << ScreenText();
    } else {
      EXPECT_FALSE(Shows(Save) || Shows(Defaults)) << Each.Name << "\n" << ScreenText();
    }
    EXPECT_EQ(ValueOf("Fan Speed"), Each.FanSpeed) << Each.Name << "\n" << ScreenText();
    EXPECT_EQ(ValueOf("Language"), Each.Language) << Each.Name;
  }
}

TEST_F(ActionTest, OnlyTheChangedCallbacksRequestIsActedOn) {
  RequestOn = EFI_BROWSER_ACTION_CHANGING;
  SendWorld();
  MoveTo(Trigger);
  std::string Before = ScreenText();
  Request(EFI_BROWSER_ACTION_REQUEST_RESET);
  ASSERT_TRUE(Waiting()) << "a Changing Callback's request is dropped";
  EXPECT_EQ(ScreenText(), Before);
  RequestOn = EFI_BROWSER_ACTION_CHANGED;
  Request(EFI_BROWSER_ACTION_REQUEST_RESET);
  ASSERT_TRUE(Finished()) << ScreenText();
  EXPECT_EQ(Session->LastActionRequest(), EFI_BROWSER_ACTION_REQUEST_RESET);
  EXPECT_EQ(Main->Driver->RouteCount, 0u) << "a reset request saves nothing";
  ExpectNothingLeftSinceSend();
}

TEST_F(ActionTest, SubmitRequestSendsTheCurrentFormSetOnly) {
  SendWorld();
  // A change on the other tab, then one here.
  Type("Right Enter Left");
  ASSERT_EQ(Browser->Selection->Handle, Main->Handle) << ScreenText();
  ChangeTurbo();
  Request(EFI_BROWSER_ACTION_REQUEST_SUBMIT);
  ASSERT_TRUE(Waiting());
  EXPECT_FALSE(Shows("Setup Confirmation")) << "a submit asks nothing";
  EXPECT_EQ(MainBytes()[1], 1);
  EXPECT_EQ(Main->Driver->RouteCount, 1u);
  EXPECT_EQ(Page->Driver->RouteCount, 0u);
  EXPECT_EQ(PageBytes()[0], 0);
}

TEST_F(ActionTest, ExitRequestWarnsAfterAChangeWithThreeOutcomes) {
  // With nothing modified it leaves at once and tells of the discard.
  SendWorld();
  Request(EFI_BROWSER_ACTION_REQUEST_EXIT);
  ASSERT_TRUE(Finished()) << ScreenText();
  EXPECT_EQ(Session->LastActionRequest(), EFI_BROWSER_ACTION_REQUEST_NONE);
  EXPECT_EQ(Notified, std::vector<UINT32>{NOTIFY_CODE_DISCARDED});
  EXPECT_EQ(LocateServices(Boot())->NotifyCode, 0u);

  // After a change Esc stays on the form and tells nobody.
  Notified.clear();
  SendWorld();
  ChangeTurbo();
  MoveTo(Trigger);
  std::string Before = ScreenText();
  Request(EFI_BROWSER_ACTION_REQUEST_EXIT);
  ASSERT_TRUE(Shows("Configuration has not been saved!")) << ScreenText();
  EXPECT_TRUE(Shows("Save before exiting?"));
  EXPECT_TRUE(Shows("Setup Warning"));
  ExpectScreen("action_not_saved_warning");
  Type("Esc");
  ASSERT_TRUE(Waiting());
  EXPECT_EQ(ScreenText(), Before);
  EXPECT_TRUE(Notified.empty());

  // "No" leaves without saving and tells the notified page of the discard.
  Request(EFI_BROWSER_ACTION_REQUEST_EXIT);
  Type("Right Enter");
  ASSERT_TRUE(Finished()) << ScreenText();
  EXPECT_EQ(Session->LastActionRequest(), EFI_BROWSER_ACTION_REQUEST_NONE);
  EXPECT_EQ(Main->Driver->RouteCount, 0u);
  EXPECT_EQ(MainBytes()[1], 0);
  EXPECT_EQ(Notified, std::vector<UINT32>{NOTIFY_CODE_DISCARDED});

  // "Yes" saves everything and asks for a reset; no discard is told.
  Notified.clear();
  SendWorld();
  ChangeTurbo();
  Request(EFI_BROWSER_ACTION_REQUEST_EXIT);
  Type("Enter");
  ASSERT_TRUE(Finished()) << ScreenText();
  EXPECT_EQ(Session->LastActionRequest(), EFI_BROWSER_ACTION_REQUEST_RESET);
  EXPECT_EQ(MainBytes()[1], 1);
  EXPECT_EQ(Page->Driver->RouteCount, 1u);
  EXPECT_TRUE(Notified.empty());
  ExpectNothingLeftSinceSend();
}

// The requests that ask first: Esc keeps the edit and tells nobody; Enter does the action.
TEST_F(ActionTest, RequestsThatAskFirst) {
  const std::vector<UINT32> None;
  const std::vector<UINT32> Discarded = {NOTIFY_CODE_DISCARDED};
  const std::vector<UINT32> Defaults = {NOTIFY_CODE_DEFAULTS_LOADED};
  struct Case {
    EFI_BROWSER_ACTION_REQUEST Code;
    const char *Asks;
    bool Leaves;              // the call ends, asking for a reset
    const char *FanSpeed;     // shown afterwards when the call goes on
    std::vector<UINT32> Told; // what the notified page heard
    uint8_t Turbo;            // stored once everything is saved
  };
  const Case Cases[] = {
      {ACTION_REQUEST_SAVE_AND_EXIT, "Save configuration changes and exit now?", true, "", None, 1},
      {ACTION_REQUEST_SAVE, "Save configuration changes now?", false, "0", None, 1},
      {ACTION_REQUEST_LOAD_PREVIOUS, "Load previous configuration now?", false, "0", Discarded, 0},
      {ACTION_REQUEST_LOAD_DEFAULTS, "Load default configuration now?", false, "5", Defaults, 1},
      // The extra store holds only the fan's default; the checkbox keeps what it has.
      {ACTION_REQUEST_LOAD_EXTRA_DEFAULTS, "Load default configuration now?", false, "9", Defaults,
       1},
  };
  for (const Case &Each : Cases) {
    SCOPED_TRACE(Each.Asks);
    Notified.clear();
    MainBytes().assign(8, 0);
    SendWorld();
    ChangeTurbo();
    unsigned MainRoutes = Main->Driver->RouteCount;
    Request(Each.Code);
    ASSERT_TRUE(Shows(Each.Asks)) << ScreenText();
    Type("Esc");
    ASSERT_TRUE(Waiting());
    EXPECT_TRUE(Notified.empty());
    EXPECT_EQ(Main->Driver->RouteCount, MainRoutes);
    unsigned Extracts = Main->Driver->ExtractCount;
    unsigned PageRoutes = Page->Driver->RouteCount;
    Request(Each.Code);
    Type("Enter");
    if (Each.Leaves) {
      ASSERT_TRUE(Finished()) << ScreenText();
      EXPECT_EQ(Session->LastActionRequest(), EFI_BROWSER_ACTION_REQUEST_RESET);
    } else {
      ASSERT_TRUE(Waiting()) << ScreenText();
      EXPECT_EQ(ValueOf("Fan Speed"), Each.FanSpeed) << ScreenText();
      EXPECT_EQ(Main->Driver->ExtractCount > Extracts, Each.Code == ACTION_REQUEST_LOAD_PREVIOUS)
          << "only load-previous reads the driver again";
      SaveAndLeave();
    }
    EXPECT_EQ(Notified, Each.Told);
    EXPECT_EQ(MainBytes()[1], Each.Turbo);
    EXPECT_GT(Page->Driver->RouteCount, PageRoutes) << "every form set is saved";
  }
}

TEST_F(ActionTest, AnUnknownRequestIsReportedTwiceAndChangesNothing) {
  SendWorld();
  Request(EFI_BROWSER_ACTION_REQUEST_NONE);
  std::string Before = ScreenText();
  Request(0xC004);
  ASSERT_TRUE(Shows("Requested action is not implemented.. Status: 0x80000002.")) << ScreenText();
  EXPECT_TRUE(Shows("Main FormSet, Main Form")) << ScreenText();
  Type("Esc");
  EXPECT_TRUE(Shows("Requested action is not implemented.")) << "only Enter ends the notice";
  Type("Enter");
  EXPECT_TRUE(Shows("Requested action is not implemented.")) << "it is shown a second time";
  Type("Enter");
  ASSERT_TRUE(Waiting());
  EXPECT_EQ(ScreenText(), Before);
  EXPECT_EQ(Highlighted(), Trigger);
  EXPECT_TRUE(Notified.empty());
  EXPECT_EQ(Main->Driver->RouteCount, 0u);
}

TEST_F(ActionTest, AStyleThatRefusesDefaultsIgnoresF9AndF10Quietly) {
  Published.clear();
  PublishWorld(1);
  SendWorld();
  MoveTo(Turbo);
  std::string Before = ScreenText();
  Host().Speaker()->ResetBeeps();
  Type("F9");
  EXPECT_EQ(ScreenText(), Before);
  Type("F10");
  EXPECT_EQ(ScreenText(), Before);
  EXPECT_EQ(Host().Speaker()->Beeps(), 0u);
  // An exit request leaves at once, changes or not, and saves nothing.
  ChangeTurbo();
  Request(EFI_BROWSER_ACTION_REQUEST_EXIT);
  ASSERT_TRUE(Finished()) << ScreenText();
  EXPECT_EQ(Main->Driver->RouteCount, 0u);
  EXPECT_EQ(MainBytes()[1], 0);
}

// The language question's driver sets the platform language: a discard at exit puts the saved
// one back, a saved one survives a later load-previous, and the defaults bring English back.
TEST_F(ActionTest, TheLanguageFollowsDiscardSaveAndDefaults) {
  SendWorld();
  ChooseFrench();
  EXPECT_FALSE(Shows("Select Item")) << "the browser's strings follow\n" << ScreenText();
  Request(EFI_BROWSER_ACTION_REQUEST_EXIT);
  Type("Right Enter");
  ASSERT_TRUE(Finished()) << ScreenText();
  EXPECT_STREQ(reinterpret_cast<const char *>(CurrentLanguage), "en-US");
  EXPECT_EQ(PlatformLanguage(), "en-US");

  SendWorld();
  ChooseFrench();
  Request(ACTION_REQUEST_SAVE);
  Type("Enter");
  EXPECT_STREQ(reinterpret_cast<const char *>(SavedLanguage), "fr-FR");
  Request(ACTION_REQUEST_LOAD_PREVIOUS);
  Type("Enter");
  ASSERT_TRUE(Waiting());
  EXPECT_EQ(PlatformLanguage(), "fr-FR");
  EXPECT_EQ(MainBytes()[2], 1);

  Type("F9 Enter");
  ASSERT_TRUE(Waiting());
  EXPECT_STREQ(reinterpret_cast<const char *>(CurrentLanguage), "en-US");
  EXPECT_EQ(PlatformLanguage(), "en-US");
  EXPECT_TRUE(Shows("Select Item")) << ScreenText();
}

using host::UserManager;

std::vector<uint8_t> GuidBytes(const EFI_GUID &Guid) {
  const uint8_t *Raw = reinterpret_cast<const uint8_t *>(&Guid);
  return std::vector<uint8_t>(Raw, Raw + sizeof(EFI_GUID));
}

constexpr EFI_GUID ZeroGuid = {};

enum : EFI_QUESTION_ID {
  AdminOnly = 0x50,
  AdminEdits,
  NormalOnly,
  NobodyHasLevel,
  AdminForm,
  Plain,
  OtherSetting,
};

class UserAccessTest : public BrowserTest {
protected:
  std::unique_ptr<UserManager> Manager;
  PublishedFormSet *Set = nullptr;

  // Questions and a form behind the security opcode of each level, and a plain checkbox.
  void PublishGuarded() {
    FormSetBuilder F(TestGuid(5), u"Security", u"Guarded settings");
    F.BufferStore(Store, "Guarded", std::vector<uint8_t>(8, 0)).Form();
    F.Checkbox(F.Question(u"Plain Setting", u"For everybody", Plain, Store, 0),
               EFI_IFR_CHECKBOX_DEFAULT);
    F.SuppressIf(true).Security(gEfiUserInfoAccessSetupAdminGuid).Not();
    F.Checkbox(F.Question(u"Admin Only", u"Hidden from others", AdminOnly, Store, 1));
    F.Ref(F.Question(u"Admin Form", u"A form for administrators", AdminForm), 2);
    F.End();
    F.GrayOutIf(true).Security(gEfiUserInfoAccessSetupAdminGuid).Not();
    F.Checkbox(F.Question(u"Admin Edits", u"Read-only for others", AdminEdits, Store, 2));
    F.End();
    F.SuppressIf(true).Security(gEfiUserInfoAccessSetupNormalGuid).Not();
    F.Checkbox(F.Question(u"Normal Only", u"For normal users", NormalOnly, Store, 3));
    F.End();
    F.SuppressIf(true).Security(ZeroGuid).Not();
    F.Checkbox(F.Question(u"No Level", u"For users without a level", NobodyHasLevel, Store, 4));
    F.End();
    F.Checkbox(F.Question(u"Other Setting", u"For everybody too", OtherSetting, Store, 5));
    F.Form(2, u"Admin Form");
    F.Text(F.StringId(u"Inside"), F.StringId(u"Help"));
    // The tab's help is the title, not the form set's help.
    Set = &Publish(F);
    Set->Page = std::make_unique<host::PageProvider>(Boot(), gDefaultPageGuids[0], F.Title, F.Title,
                                                     Set->Handle);
  }

  void InstallManager(std::vector<std::vector<uint8_t>> Records, bool CurrentFails = false,
                      EFI_BOOT_SERVICES *Services = nullptr) {
    Manager = std::make_unique<UserManager>();
    Manager->Records = std::move(Records);
    Manager->CurrentFails = CurrentFails;
    ASSERT_EQ(Manager->Install(Services != nullptr ? Services : Boot()), EFI_SUCCESS);
  }

  // The questions the highlight can stand on, top to bottom.
  std::vector<EFI_QUESTION_ID> Selectable() {
    std::vector<EFI_QUESTION_ID> Seen = {Highlighted()};
    for (int Step = 0; Step < 8; Step++) {
      Type("Down");
      if (Highlighted() == Seen.back()) {
        break;
      }
      Seen.push_back(Highlighted());
    }
    Type("Home");
    return Seen;
  }
};

// The guarded questions a level shows: an administrator sees the admin questions and form,
// and loads defaults; a normal user the normal one; a user without a level the question for
// nobody's level. The grey "Admin Edits" is always shown, selectable for an administrator only.
TEST_F(UserAccessTest, QuestionsAndFormsFollowTheLevelOfTheCurrentUser) {
  enum ManagerArrives { Never, AfterEntry, BeforeEntry };
  enum Level { Admin, Normal, Restricted, NoLevel };
  struct Case {
    const char *Name;
    ManagerArrives WithManager;
    std::vector<std::vector<uint8_t>> Records;
    bool CurrentFails;
    Level Seen;
  };
  const std::vector<EFI_QUESTION_ID> SeenBy[] = {
      {Plain, AdminOnly, AdminForm, AdminEdits, OtherSetting},
      {Plain, NormalOnly, OtherSetting},
      {Plain, OtherSetting},
      {Plain, NobodyHasLevel, OtherSetting}};
  const std::pair<EFI_QUESTION_ID, const char *> Guarded[] = {{AdminOnly, "Admin Only"},
                                                              {AdminForm, "Admin Form"},
                                                              {NormalOnly, "Normal Only"},
                                                              {NobodyHasLevel, "No Level"}};
  const std::vector<uint8_t> NoSetupEntry = UserManager::InfoRecord(
      EFI_USER_INFO_ACCESS_POLICY_RECORD,
      Join({UserManager::AccessEntry(1, {0, 0, 0, 0}), UserManager::AccessEntry(3, {})}));
  const std::vector<uint8_t> ShortSetupEntry = UserManager::InfoRecord(
      EFI_USER_INFO_ACCESS_POLICY_RECORD,
      UserManager::AccessEntry(EFI_USER_INFO_ACCESS_SETUP,
                               GuidBytes(gEfiUserInfoAccessSetupAdminGuid), 20));
  // A record of another type (a user name) is passed over.
  const std::vector<uint8_t> NameRecord = UserManager::InfoRecord(0x01, {'A', 0, 0, 0});
  const std::vector<uint8_t> AdminPolicy =
      UserManager::SetupPolicy(gEfiUserInfoAccessSetupAdminGuid);
  const std::vector<uint8_t> NormalPolicy =
      UserManager::SetupPolicy(gEfiUserInfoAccessSetupNormalGuid);
  const std::vector<uint8_t> RestrictedPolicy =
      UserManager::SetupPolicy(gEfiUserInfoAccessSetupRestrictedGuid);
  const Case Cases[] = {
      {"no user manager", Never, {}, false, Admin},
      {"administrator", AfterEntry, {NameRecord, AdminPolicy}, false, Admin},
      {"normal user", AfterEntry, {NormalPolicy}, false, Normal},
      {"restricted user", AfterEntry, {RestrictedPolicy}, false, Restricted},
      {"policy without a setup entry", AfterEntry, {NoSetupEntry}, false, NoLevel},
      {"setup entry too short", AfterEntry, {ShortSetupEntry}, false, NoLevel},
      {"no access policy", AfterEntry, {NameRecord}, false, Admin},
      {"normal user, manager there before the entry", BeforeEntry, {NormalPolicy}, false, Normal},
      {"current user unreadable", AfterEntry, {NormalPolicy}, true, Admin},
  };
  for (const Case &Each : Cases) {
    SCOPED_TRACE(Each.Name);
    tools::SessionOptions Options;
    if (Each.WithManager == BeforeEntry) {
      // The browser finds it at its entry, with no notification to wait for.
      Options.BeforeEntry = [&](EFI_BOOT_SERVICES *Services) {
        InstallManager(Each.Records, Each.CurrentFails, Services);
      };
    }
    Restart(Options);
    PublishGuarded();
    if (Each.WithManager == AfterEntry) {
      // As on a platform that loads the manager after the browser.
      InstallManager(Each.Records, Each.CurrentFails);
    }
    SendAndWait({Set->Handle});
    const std::vector<EFI_QUESTION_ID> &Sees = SeenBy[Each.Seen];
    for (const auto &[Id, Prompt] : Guarded) {
      bool Shown = std::find(Sees.begin(), Sees.end(), Id) != Sees.end();
      EXPECT_EQ(Shows(Prompt), Shown) << Prompt << "\n" << ScreenText();
    }
    // A grey question is shown but cannot take the highlight.
    EXPECT_TRUE(Shows("Admin Edits"));
    EXPECT_EQ(Selectable(), Sees) << ScreenText();
    Host().Speaker()->ResetBeeps();
    std::string Before = ScreenText();
    bool LoadsDefaults = Each.Seen == Admin;
    Type("F9");
    EXPECT_EQ(Shows("Load default configuration now?"), LoadsDefaults) << ScreenText();
    EXPECT_EQ(Host().Speaker()->Beeps(), 0u);
    if (LoadsDefaults) {
      Type("Enter");
    } else {
      EXPECT_EQ(ScreenText(), Before);
    }
    SaveAndLeave();
    EXPECT_EQ((*Set->Driver->Buffer(TestGuid(5), u"Guarded"))[0], LoadsDefaults ? 1 : 0);
  }
}
TEST_F(UserAccessTest, AProfileChangeTakesEffectOnTheNextUse) {
  PublishGuarded();
  InstallManager({UserManager::SetupPolicy(gEfiUserInfoAccessSetupNormalGuid)});
  SendAndWait({Set->Handle});
  Type("F9");
  EXPECT_FALSE(Shows("Load default configuration now?")) << ScreenText();
  EXPECT_FALSE(Shows("Admin Only"));

  Manager->Records = {UserManager::SetupPolicy(gEfiUserInfoAccessSetupAdminGuid)};
  UserManager::SignalProfileChanged(Boot());
  Type("F9");
  ASSERT_TRUE(Shows("Load default configuration now?")) << ScreenText();
  Type("Enter");
  // The form is evaluated again on its next pass.
  EXPECT_TRUE(Shows("Admin Only")) << ScreenText();

  // A profile with no setup entry removes every level.
  Manager->Records = {
      UserManager::InfoRecord(EFI_USER_INFO_ACCESS_POLICY_RECORD, UserManager::AccessEntry(2, {}))};
  UserManager::SignalProfileChanged(Boot());
  Type("F9");
  EXPECT_FALSE(Shows("Load default configuration now?")) << ScreenText();
}

TEST_F(UserAccessTest, AnEntryOfSizeZeroDoesNotHoldTheBrowser) {
  PublishGuarded();
  InstallManager({UserManager::InfoRecord(
      EFI_USER_INFO_ACCESS_POLICY_RECORD,
      Join({UserManager::AccessEntry(1, {}, 0),
            UserManager::AccessEntry(EFI_USER_INFO_ACCESS_SETUP,
                                     GuidBytes(gEfiUserInfoAccessSetupAdminGuid))}))});
  Send({Set->Handle});
  EXPECT_TRUE(Waiting()) << ScreenText();
}

} // namespace
} // namespace morvane::test
