// SendForm as the outside world calls it: argument and screen checks, tabs, nesting, and what
// is left allocated afterwards.
#include "tests/browser/browser_fixture.h"

namespace morvane::test {
namespace {

using kit::IfrWriter;
using kit::QuestionHeader;
using kit::Strings;

class SendFormTest : public BrowserTest {
protected:
  // One form set with one form and a text line.
  PublishedFormSet &SimpleFormSet(UINT8 Id, const char16_t *Title) {
    Strings S;
    EFI_STRING_ID TitleId = S.Add(Title);
    EFI_STRING_ID Help = S.Add(u"Help of the form set");
    IfrWriter W;
    W.FormSet(TestGuid(Id), TitleId, Help, {}, true);
    W.Form(1, TitleId, true);
    W.Text(S.Add(u"A line of text"), S.Add(u"Its help"));
    W.End().End();
    return Publish(W, S, TestGuid(Id));
  }
};

TEST_F(SendFormTest, ShowsTheFormAndLeavesNothingAllocated) {
  PublishedFormSet &Set = SimpleFormSet(1, u"Simple");
  Send({Set.Handle});
  ASSERT_TRUE(Waiting()) << ScreenText();
  EXPECT_NE(ScreenText().find("A line of text"), std::string::npos) << ScreenText();
  Type("F10");
  EXPECT_NE(ScreenText().find("Save configuration changes and exit now?"), std::string::npos)
      << ScreenText();
  EXPECT_EQ(Type("Enter"), host::DriverRun::State::Finished) << ScreenText();
  EXPECT_EQ(Run().Status(), EFI_SUCCESS);
  ExpectNothingLeftSinceSend();
}

} // namespace
} // namespace morvane::test
