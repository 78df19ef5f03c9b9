// Which Callbacks a driver hears, in which order, as a user moves and edits: looked-at values,
// references that leave the form or only move the highlight, a refused navigation, validation
// that puts the old value back, and forms opened and closed.
#include "core/browser_context.h"
#include "tests/browser/browser_fixture.h"

namespace morvane::test {
namespace {

enum : EFI_QUESTION_ID {
  Mode = 0x10,   // one-of with storage whose third option breaks a rule
  ToTwo = 0x12,  // reference to form 2
  ToMode = 0x13, // reference to Mode on the same form
  Secret = 0x14, // password the driver hears, refused by a rule that always holds
  Two = 0x20,    // checkbox on form 2
};

// A Callback as a short word: "Changing Mode", "Close Two"...
std::string Word(const host::CallbackCall &Call) {
  static const char *const Actions[] = {"Changing", "Changed", "Retrieve", "Open", "Close"};
  static const std::pair<EFI_QUESTION_ID, const char *> Names[] = {
      {Mode, "Mode"}, {ToTwo, "ToTwo"}, {ToMode, "ToMode"}, {Two, "Two"}, {Secret, "Secret"}};
  std::string Name = "?";
  for (const auto &[Id, Text] : Names) {
    Name = Id == Call.QuestionId ? Text : Name;
  }
  return std::string(Call.Action <= 4 ? Actions[Call.Action] : "?") + " " + Name;
}

class CallbackTest : public BrowserTest {
protected:
  PublishedFormSet *Set = nullptr;
  EFI_STATUS ChangingAnswer = EFI_SUCCESS;

  void SetUp() override {
    BrowserTest::SetUp();
    FormSetBuilder F(TestGuid(1), u"Callbacks");
    F.BufferStore(1, "Data", {0, 0, 5, 0, 0, 0, 0, 0, 0, 0, 0, 0}).Form();
    F.OneOf(F.Question(u"Mode", u"One of two", Mode, 1, 0, EFI_IFR_FLAG_CALLBACK),
            EFI_IFR_NUMERIC_SIZE_1, 0, 1, 0, true);
    F.Options({{u"Off", 0}, {u"On", 1}, {u"Turbo", 2}});
    F.InconsistentIf(F.StringId(u"Turbo is not allowed"), true);
    F.EqIdVal(Mode, 2);
    F.End();
    F.End();
    F.Ref(F.Question(u"To Two", u"Form 2", ToTwo, 0, 0, EFI_IFR_FLAG_CALLBACK), 2);
    F.Ref2(F.Question(u"To Mode", u"Mode on this form", ToMode, 0, 0, EFI_IFR_FLAG_CALLBACK), 0,
           Mode);
    F.Password(F.Question(u"Secret", u"Never accepted", Secret, 1, 4, EFI_IFR_FLAG_CALLBACK), 0, 4,
               true);
    F.InconsistentIf(F.StringId(u"No password is good enough"), true).True().End();
    F.End();
    F.Form(2, u"Form Two");
    F.Checkbox(F.Question(u"Two", u"On form 2", Two, 1, 3, EFI_IFR_FLAG_CALLBACK));
    Set = &Publish(F);
    Set->Driver->OnCallback = [this](EFI_BROWSER_ACTION Action, EFI_QUESTION_ID, UINT8,
                                     EFI_IFR_TYPE_VALUE *, EFI_BROWSER_ACTION_REQUEST *) {
      return Action == EFI_BROWSER_ACTION_CHANGING ? ChangingAnswer : EFI_SUCCESS;
    };
  }

  // The Callbacks since From as words; of the Retrieves, that of a reference alone.
  std::string Heard(size_t From) {
    std::string Out;
    for (size_t Index = From; Index < Set->Driver->Calls.size(); Index++) {
      const host::CallbackCall &Call = Set->Driver->Calls[Index];
      if (Call.Action != EFI_BROWSER_ACTION_RETRIEVE || Call.QuestionId == ToMode) {
        Out += (Out.empty() ? "" : ", ") + Word(Set->Driver->Calls[Index]);
      }
    }
    return Out;
  }
};

TEST_F(CallbackTest, WhatTheDriverHears) {
  const std::string FormOneCloses = "Close Mode, Close ToTwo, Close ToMode, Close Secret";
  struct Case {
    const char *Name;
    EFI_STATUS ChangingAnswer;
    const char *Keys;
    std::string Expected;
    EFI_QUESTION_ID HighlightAfter;
  } Cases[] = {
      {"a value only looked at", EFI_SUCCESS, "Enter Esc", "", Mode},
      {"a value chosen", EFI_SUCCESS, "Enter Down Enter", "Changing Mode, Changed Mode", Mode},
      {"a reference that leaves the form", EFI_SUCCESS, "Down Enter", FormOneCloses + ", Open Two",
       Two},
      // The accepted one is followed by a Retrieve; the refused one, with no way back on the
      // stack, leaves the selection as it was.
      {"a reference to a question of the form", EFI_SUCCESS, "Down Down Enter",
       "Changing ToMode, Retrieve ToMode", Mode},
      {"a refused reference", EFI_ACCESS_DENIED, "Down Down Enter", "Changing ToMode", Mode},
      // Mode stands at On since the second case saved it: Down reaches Turbo.
      {"a value that breaks a rule", EFI_SUCCESS, "Enter Down Enter Enter", "Changing Mode", Mode},
  };
  for (const Case &Each : Cases) {
    SCOPED_TRACE(Each.Name);
    ChangingAnswer = Each.ChangingAnswer;
    SendAndWait({Set->Handle});
    size_t Before = Set->Driver->Calls.size();
    Type(Each.Keys);
    EXPECT_EQ(Heard(Before), Each.Expected) << ScreenText();
    EXPECT_EQ(Highlighted(), Each.HighlightAfter) << ScreenText();
    Type("F10 Enter");
    ASSERT_TRUE(Finished()) << ScreenText();
  }
  // A password goes to the driver before its rules are checked; refused, it is wiped.
  Send({Set->Handle});
  size_t Before = Set->Driver->Calls.size();
  Type("Down Down Down \"pw\" Enter");
  EXPECT_EQ(Heard(Before), "Changed Secret");
  EXPECT_TRUE(Shows("No password is good enough")) << ScreenText();
  Type("Enter");
  EXPECT_EQ(Highlighted(), Secret);
  Statement *Password = Question(Secret);
  EXPECT_EQ(std::vector<UINT8>(Password->ValueBuffer, Password->ValueBuffer + 8),
            std::vector<UINT8>(8, 0));
  Type("F10 Enter");
  ASSERT_TRUE(Finished()) << ScreenText();
  // The rule put the old value back, and the save that ended the last case stored it.
  EXPECT_EQ((*Set->Driver->Buffer(TestGuid(1), u"Data"))[0], 1);
}

TEST_F(CallbackTest, GoingBackIsNoFormChangeAndAnUnknownFormIsNotFound) {
  Send({Set->Handle});
  Type("Down Enter");
  size_t Before = Set->Driver->Calls.size();
  Type("Esc");
  // The way back is a pass of the same form loop: form 2 is not closed, form 1 not opened.
  EXPECT_EQ(Heard(Before), "");
  EXPECT_EQ(Highlighted(), ToTwo);
  Type("F10 Enter");
  ASSERT_TRUE(Finished());

  tools::SendFormRequest Request;
  Request.Handles = {Set->Handle};
  Request.FormId = 7;
  Send(Request);
  ASSERT_TRUE(Finished()) << ScreenText();
  EXPECT_EQ(Run().Status(), EFI_NOT_FOUND);
  ExpectNothingLeftSinceSend();
}

} // namespace
} // namespace morvane::test
