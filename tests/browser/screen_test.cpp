// The setup screen as it is painted: areas, frames, tabs, footer, the form body in each look,
// paging and scrolling, compared with expected screens under tests/browser/screens.
#include "core/browser_context.h"
#include "core/external_protocols.h"
#include "tests/browser/browser_fixture.h"

namespace morvane::test {
namespace {

using kit::IfrValue;
using kit::Strings;

constexpr EFI_VARSTORE_ID Store = 1;
constexpr UINT16 StoreSize = 64;

// The form sets of the screen tests: a main page with one question of every kind, a
// sub-form, and further tabs.
class ScreenTest : public BrowserTest {
protected:
  PublishedFormSet &MainPage(const char *Language = nullptr) {
    FormSetBuilder F(TestGuid(1), u"Main", u"The main page");
    F.BufferStore(Store, "Setup", std::vector<uint8_t>(StoreSize, 0));
    F.DefaultStore(F.StringId(u"Standard"), EFI_HII_DEFAULT_CLASS_STANDARD);
    F.Form();
    F.Subtitle(F.StringId(u"System Overview"), 0);
    F.Text(F.StringId(u"Firmware Version"), F.StringId(u"The version of the firmware."),
           F.StringId(u"2.7.1"));
    F.Ref(F.Question(u"Boot Options", u"Where the system starts from.", 0x10), 2);
    F.Checkbox(
        F.Question(u"Quiet Boot",
                   u"Shows the logo instead of the messages of the firmware while the system "
                   u"starts. A long help text that needs several rows of the help column.",
                   0x11, Store, 0),
        EFI_IFR_CHECKBOX_DEFAULT);
    F.Numeric(F.Question(u"Timeout", u"Seconds to wait.", 0x12, Store, 2), EFI_IFR_NUMERIC_SIZE_1,
              0, 30, 1, true);
    F.Default(EFI_HII_DEFAULT_CLASS_STANDARD, IfrValue::U8(5));
    F.End();
    F.OneOf(F.Question(u"Boot Mode", u"How the firmware starts.", 0x13, Store, 3),
            EFI_IFR_NUMERIC_SIZE_1, 0, 1, 0, true);
    F.OneOfOption(F.StringId(u"UEFI"), EFI_IFR_OPTION_DEFAULT, IfrValue::U8(0));
    F.OneOfOption(F.StringId(u"Legacy"), 0, IfrValue::U8(1));
    F.End();
    F.Date(F.Question(u"Date", u"The date.", 0x14, Store, 4));
    F.Time(F.Question(u"Time", u"The time.", 0x15, Store, 8));
    F.String(F.Question(u"Asset Tag", u"A name for the machine.", 0x16, Store, 12), 0, 10);
    F.Password(F.Question(u"Password", u"The password.", 0x17, Store, 34), 0, 8);
    F.GrayOutIf(true).True();
    F.Checkbox(F.Question(u"Greyed Option", u"Cannot be changed now.", 0x18, Store, 1));
    F.End();
    F.Checkbox(
        F.Question(u"Read-Only Option", u"Shown only.", 0x19, Store, 51, EFI_IFR_FLAG_READ_ONLY));
    F.ActionWithCallback(u"Apply", u"Applies it.", 0x1A, u"Enter");
    F.Form(2, u"Boot Options");
    F.Text(F.StringId(u"First Device"), F.StringId(u"The first device tried."),
           F.StringId(u"Disk 0"));
    F.Checkbox(F.Question(u"Network Boot", u"Starts from the network.", 0x20, Store, 52));
    if (Language != nullptr) {
      Translate(F.Strings, Language);
    }
    return PublishTab(F, gDefaultPageGuids[0]);
  }

  // Japanese for some of the main page's strings, to see wide characters in every area.
  static void Translate(Strings &S, const char *Language) {
    const std::pair<std::u16string, std::u16string> Japanese[] = {
        {u"Main", u"メイン"},
        {u"System Overview", u"システム概要"},
        {u"Firmware Version", u"ファームウェア版"},
        {u"Boot Options", u"起動オプション"},
        {u"Where the system starts from.", u"システムが起動する場所です。"},
        {u"Quiet Boot", u"静かな起動"},
    };
    for (EFI_STRING_ID Id = 1; S.Text("en-US", Id).has_value(); Id++) {
      for (const auto &[English, Translated] : Japanese) {
        if (S.Text("en-US", Id) == English) {
          S.Translate(Language, Id, Translated);
        }
      }
    }
  }

  // A tab with one form of Count checkboxes.
  PublishedFormSet &ListPage(UINT8 Id, const EFI_GUID &Page, const std::u16string &Name,
                             unsigned Count) {
    FormSetBuilder F(TestGuid(Id), Name, u"A page of settings");
    F.BufferStore(Store, "List", std::vector<uint8_t>(StoreSize, 0)).Form();
    for (unsigned Index = 0; Index < Count; Index++) {
      std::u16string Prompt =
          u"Setting " + std::u16string(1, u'A' + Index % 26) + std::u16string(1, u'0' + Index / 26);
      F.Checkbox(F.Question(Prompt, u"Turns the setting on.",
                            static_cast<EFI_QUESTION_ID>(0x100 + Index), Store,
                            static_cast<UINT16>(Index % StoreSize)));
    }
    return PublishTab(F, Page);
  }

  std::vector<EFI_HII_HANDLE> Handles() {
    std::vector<EFI_HII_HANDLE> Out;
    for (const auto &Set : Published) {
      Out.push_back(Set->Handle);
    }
    return Out;
  }
};

TEST_F(ScreenTest, TopFormAt80x25) {
  MainPage();
  ListPage(2, gDefaultPageGuids[1], u"Advanced", 3);
  ListPage(3, gDefaultPageGuids[4], u"Exit", 2);
  Send(Handles());
  ASSERT_TRUE(Waiting());
  ExpectScreen("top_form_80x25");
  // The help of a question wraps over the help column's rows.
  Type("Down");
  ExpectScreen("top_form_wrapped_help");
}

TEST_F(ScreenTest, TheSystemVariableLetsTheLayoutColourTheHighlight) {
  const EFI_GUID SystemGuid = {
      0xe947fcf9, 0xdd01, 0x4965, {0xb8, 0x08, 0x32, 0xa7, 0xb6, 0x81, 0x56, 0x57}};
  struct Case {
    size_t Size;
    UINT8 Byte6;
    UINT8 Expected;
  };
  // Byte 6 not 0: the body row's own colour for a highlighted prompt; 0, a variable too long
  // for the 27 bytes read, or none at all: the fixed 0x17.
  for (const Case &Each :
       {Case{27, 1, 0x7F}, Case{27, 0, 0x17}, Case{28, 1, 0x17}, Case{0, 0, 0x17}}) {
    SetUp();
    MainPage();
    if (Each.Size != 0) {
      std::vector<UINT8> Data(Each.Size, 0);
      Data[6] = Each.Byte6;
      EFI_GUID Guid = SystemGuid;
      ASSERT_EQ(Host().RuntimeServices()->SetVariable(const_cast<CHAR16 *>(u"System"), &Guid,
                                                      EFI_VARIABLE_BOOTSERVICE_ACCESS, Data.size(),
                                                      Data.data()),
                EFI_SUCCESS);
    }
    Send(Handles());
    // "Boot Options", the first selectable line, holds the highlight.
    EXPECT_EQ(Host().Screen().Cell(4, 6).Attribute, Each.Expected)
        << Each.Size << " bytes, byte 6 = " << +Each.Byte6 << "\n"
        << ScreenText();
  }
}

TEST_F(ScreenTest, SubFormTitleAndRuleThenBack) {
  MainPage();
  Send(Handles());
  Type("Enter");
  ExpectScreen("sub_form_80x25");
  // Back on the top form the rule's row is given back to the options and the frame.
  Type("Esc");
  ExpectScreen("back_to_top_form");
  EXPECT_EQ(Row(4).substr(0, 3), "│");
}

TEST_F(ScreenTest, LongFormPagesAndScrollsWithItsBar) {
  ListPage(2, gDefaultPageGuids[0], u"Long", 40);
  Send(Handles());
  ExpectScreen("long_form_first_page");
  Type("PgDn");
  ExpectScreen("long_form_second_page");
  Type("End");
  ExpectScreen("long_form_end");
  Type("Home Up");
  // There is no wrap-around: Up on the first option stays.
  ExpectScreen("long_form_up_on_first_stays");
}

TEST_F(ScreenTest, AFormWithoutHelpTakesTheWholeWidth) {
  FormSetBuilder F(TestGuid(4), u"Plain", std::nullopt);
  F.Form();
  // Help strings that are there but empty; a help id of 0 names no string at all.
  EFI_STRING_ID NoHelp = F.StringId(u"");
  F.Text(F.StringId(u"A line without help"), NoHelp);
  F.Text(F.StringId(u"Another line without help"), NoHelp, F.StringId(u"and a value"));
  PublishedFormSet &Set = Publish(F);
  SendAndWait({Set.Handle});
  ExpectScreen("no_help_style");
}

TEST_F(ScreenTest, WithoutTheNoHelpLayoutOnlyFormsWithHelpCanBeShown) {
  // Empty help strings ask for the no-help layout, which is missing here. A help id of 0 names
  // no string: unreadable help, which keeps the help area (style 0), so that form shows.
  for (bool HelpIdZero : {false, true}) {
    SCOPED_TRACE(HelpIdZero ? "help id 0" : "empty help");
    tools::SessionOptions Options;
    Options.StandardLayouts = false;
    Restart(Options);
    FormSetBuilder F(TestGuid(4), u"Plain", std::nullopt);
    F.Form();
    F.Text(F.StringId(u"Empty help"), F.StringId(u""));
    F.Text(F.StringId(u"Perhaps no help string"), HelpIdZero ? 0 : F.StringId(u""));
    PublishedFormSet &Set = Publish(F);
    Send({Set.Handle});
    if (HelpIdZero) {
      ASSERT_TRUE(Waiting()) << ScreenText();
      EXPECT_EQ(Browser->Selection->Form->FormStyle, 0);
      Type("F10 Enter");
    }
    ASSERT_TRUE(Finished()) << ScreenText();
    EXPECT_EQ(Run().Status(), HelpIdZero ? EFI_SUCCESS : EFI_UNSUPPORTED);
    ExpectNothingLeftSinceSend();
  }
}

TEST_F(ScreenTest, TabsBeyondTheBarScroll) {
  std::vector<EFI_GUID> Pages;
  for (UINT8 Index = 0; Index < 30; Index++) {
    EFI_GUID Page = TestGuid(static_cast<UINT8>(0x80 + Index));
    Pages.push_back(Page);
    ListPage(static_cast<UINT8>(0x10 + Index), Page,
             u"Tab" + std::u16string(1, u'A' + Index % 26) + (Index >= 26 ? u"2" : u""), 1);
  }
  host::PageList List(Boot(), Pages);
  Send(Handles());
  ExpectScreen("many_tabs_first");
  Type("Right Right Right Right Right Right Right Right Right Right Right Right");
  ExpectScreen("many_tabs_scrolled");
  EXPECT_EQ(Browser->MenuBarCurrent, 12u);
  // Left from the first tab wraps to the last.
  Type("Home");
  for (int Step = 0; Step < 13; Step++) {
    Type("Left");
  }
  EXPECT_EQ(Browser->MenuBarCurrent, 29u);
  ExpectScreen("many_tabs_last");
}

TEST_F(ScreenTest, ClockQuestionsRepaintOncePerSecond) {
  FormSetBuilder F(TestGuid(5), u"Clock");
  F.Form();
  F.Text(F.StringId(u"The time of the real-time clock"), F.StringId(u"Help"));
  // Bound to the real-time clock these have no storage, and refresh by themselves.
  F.Date(F.Question(u"Date", u"Today", 0x50), QF_DATE_STORAGE_TIME);
  F.Time(F.Question(u"Time", u"Now", 0x51), QF_TIME_STORAGE_TIME);
  PublishedFormSet &Set = Publish(F);
  SendAndWait({Set.Handle});
  EXPECT_TRUE(Shows("[01/01/2026]")) << ScreenText();
  EXPECT_TRUE(Shows("[00:00:00]")) << ScreenText();
  UINTN Writes = Host().Screen().Counters().OutputString;
  Type("wait 400");
  EXPECT_TRUE(Shows("[00:00:00]")) << "not a second yet";
  Type("wait 700");
  EXPECT_TRUE(Shows("[00:00:01]")) << ScreenText();
  Type("wait 60000");
  EXPECT_TRUE(Shows("[00:01:01]")) << ScreenText();
  // A minute of ticks every 50 ms repaints the time about sixty times, not twelve hundred.
  UINTN Repaints = Host().Screen().Counters().OutputString - Writes;
  EXPECT_LT(Repaints, 61u * 20u) << Repaints;
}

TEST_F(ScreenTest, WideCharactersTakeTwoCells) {
  tools::SessionOptions Options;
  Options.Language = "ja-JP";
  Restart(Options);
  MainPage("ja-JP");
  Send(Handles());
  ASSERT_TRUE(Waiting());
  ExpectScreen("japanese_top_form");
}

TEST_F(ScreenTest, ALargerConsoleKeepsTheDefaultAreas) {
  tools::SessionOptions Options;
  Options.Platform.Columns = 100;
  Options.Platform.Rows = 31;
  Restart(Options);
  MainPage();
  Send(Handles());
  ASSERT_TRUE(Waiting());
  ExpectScreen("top_form_100x31");
}

} // namespace
} // namespace morvane::test
