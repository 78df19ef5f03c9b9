// IFR that cannot be read: every opcode cut short, lengths that would hold the walk or run past
// the data, scopes that do not balance, conditions that do not evaluate. Each is refused with
// its status and the parse-failure notice, and what was made is released.
#include <cstdio>
#include <functional>
#include <vector>

#include "model/ifr_parser.h"
#include "support/memory.h"
#include "tests/common/text.h"
#include "tests/model/model_fixture.h"

namespace morvane::test {
namespace {

using kit::IfrValue;
using kit::IfrWriter;
using kit::Strings;

std::string OpcodeNotice(UINT8 Opcode) {
  char Text[48];
  snprintf(Text, sizeof(Text), "Failed to parse OpCode: 0x%X", Opcode);
  return Text;
}

class ParserFailureTest : public ModelTest {
protected:
  struct Outcome {
    EFI_STATUS Status;
    std::string Held;
  };

  // Loads the form set, releases what the load made, and tells what stayed allocated.
  Outcome LoadAndRelease(const IfrWriter &W, const Strings &S) {
    PublishedFormSet &Published = PublishSet(W, S);
    StartHost();
    Notices.clear();
    UINTN Mark = PoolMark();
    FormSet *Set = nullptr;
    EFI_STATUS Status = LoadSet(Published.Handle, SetGuid(), &Set);
    ReleaseFormSet(Set);
    return {Status, HeldSince(Mark)};
  }
};

// Opcodes one byte shorter than the fields the parser reads from them.
struct ShortCase {
  UINT8 Opcode;
  UINT8 Length;
  bool InExpression;
};

TEST_F(ParserFailureTest, OpcodesShorterThanTheirFieldsAreRefused) {
  const ShortCase Cases[] = {
      {EFI_IFR_FORM_OP, 5, false},          {EFI_IFR_SUBTITLE_OP, 6, false},
      {EFI_IFR_TEXT_OP, 7, false},          {EFI_IFR_ACTION_OP, 12, false},
      {EFI_IFR_ACTION_OP, 14, false},       {EFI_IFR_RESET_BUTTON_OP, 14, false},
      {EFI_IFR_REF_OP, 12, false},          {EFI_IFR_ONE_OF_OP, 16, false},
      {EFI_IFR_NUMERIC_OP, 16, false},      {EFI_IFR_CHECKBOX_OP, 13, false},
      {EFI_IFR_PASSWORD_OP, 16, false},     {EFI_IFR_STRING_OP, 15, false},
      {EFI_IFR_ORDERED_LIST_OP, 14, false}, {EFI_IFR_DATE_OP, 13, false},
      {EFI_IFR_TIME_OP, 13, false},         {EFI_IFR_REFRESH_OP, 2, false},
      {EFI_IFR_ONE_OF_OPTION_OP, 5, false}, {EFI_IFR_DEFAULT_OP, 4, false},
      {EFI_IFR_VARSTORE_OP, 22, false},     {EFI_IFR_VARSTORE_NAME_VALUE_OP, 19, false},
      {EFI_IFR_VARSTORE_EFI_OP, 23, false}, {EFI_IFR_DEFAULTSTORE_OP, 5, false},
      {EFI_IFR_IMAGE_OP, 3, false},         {EFI_IFR_RULE_OP, 2, false},
      {EFI_IFR_NO_SUBMIT_IF_OP, 3, false},  {EFI_IFR_INCONSISTENT_IF_OP, 3, false},
      {EFI_IFR_GUID_OP, 17, false},         {EFI_IFR_EQ_ID_VAL_OP, 5, true},
      {EFI_IFR_EQ_ID_ID_OP, 5, true},       {EFI_IFR_EQ_ID_VAL_LIST_OP, 5, true},
      {EFI_IFR_UINT8_OP, 2, true},          {EFI_IFR_UINT16_OP, 3, true},
      {EFI_IFR_UINT32_OP, 5, true},         {EFI_IFR_UINT64_OP, 9, true},
      {EFI_IFR_RULE_REF_OP, 2, true},       {EFI_IFR_QUESTION_REF1_OP, 3, true},
      {EFI_IFR_STRING_REF1_OP, 3, true},    {EFI_IFR_TO_STRING_OP, 2, true},
      {EFI_IFR_FIND_OP, 2, true},           {EFI_IFR_SPAN_OP, 2, true},
      {EFI_IFR_SECURITY_OP, 17, true},
  };
  for (const ShortCase &Each : Cases) {
    Renew();
    Strings S;
    IfrWriter W;
    W.FormSet(SetGuid(), S.Add(u"Short"), 0, {}, true);
    W.Form(1, S.Add(u"Page"), true);
    // A statement before, for the opcodes that refer to one.
    W.Checkbox({1, 0, 0x10, 0, 0, 0});
    if (Each.InExpression) {
      W.Rule(1, true);
    }
    std::vector<uint8_t> Body(Each.Length - 2, 0);
    if (Each.Opcode == EFI_IFR_NUMERIC_OP) {
      // Eight-byte fields: 38 bytes are needed, and 16 is short of them.
      Body[11] = EFI_IFR_NUMERIC_SIZE_8;
    }
    W.Raw(Each.Opcode, Body);
    if (Each.InExpression) {
      W.End();
    }
    W.End().End();
    Outcome Result = LoadAndRelease(W, S);
    std::string Name = OpcodeNotice(Each.Opcode) + " of " + std::to_string(Each.Length);
    EXPECT_EQ(Result.Status, EFI_INVALID_PARAMETER) << Name;
    EXPECT_EQ(Notices.size(), 2u) << Name << ": the notice is shown twice";
    EXPECT_TRUE(NoticeShowed(OpcodeNotice(Each.Opcode))) << Name;
    EXPECT_TRUE(NoticeShowed("Short FormSet, Page Form")) << Name;
    EXPECT_EQ(Result.Held, "") << Name;
  }
}

TEST_F(ParserFailureTest, ANumericReadsTheWidthItsFlagsName) {
  // The same 20 bytes are enough for two-byte fields and too short for four-byte ones.
  for (UINT8 Size : {EFI_IFR_NUMERIC_SIZE_2, EFI_IFR_NUMERIC_SIZE_4}) {
    Renew();
    Strings S;
    IfrWriter W;
    W.FormSet(SetGuid(), S.Add(u"Set"), 0, {}, true).Form(1, 1, true);
    std::vector<uint8_t> Body(18, 0);
    Body[11] = Size;
    W.Raw(EFI_IFR_NUMERIC_OP, Body).End().End();
    Outcome Result = LoadAndRelease(W, S);
    EXPECT_EQ(Result.Status, Size == EFI_IFR_NUMERIC_SIZE_2 ? EFI_SUCCESS : EFI_INVALID_PARAMETER)
        << static_cast<int>(Size);
    EXPECT_EQ(Result.Held, "");
  }
}

TEST_F(ParserFailureTest, BrokenStructureIsRefused) {
  const struct {
    const char *Name;
    std::function<void(IfrWriter &)> Write; // inside form 1 of a scoped form set
    bool CloseScopes;
    EFI_STATUS Status;
    UINT8 Opcode; // of the notice, none when 0
  } Cases[] = {
      {"length 0", IFR(RawBytes({EFI_IFR_TEXT_OP, 0x00, 1, 0, 2, 0})), true, EFI_INVALID_PARAMETER,
       EFI_IFR_TEXT_OP},
      {"length 0 with the scope bit", IFR(RawBytes({EFI_IFR_TEXT_OP, 0x80, 1, 0, 2, 0})), true,
       EFI_INVALID_PARAMETER, EFI_IFR_TEXT_OP},
      {"length 1", IFR(RawBytes({EFI_IFR_TEXT_OP, 0x01, 1, 0, 2, 0})), true, EFI_INVALID_PARAMETER,
       EFI_IFR_TEXT_OP},
      {"an opcode past the end of the data",
       IFR(RawBytes({EFI_IFR_TEXT_OP, 0x10, 1, 0, 2, 0, 3, 0})), false, EFI_INVALID_PARAMETER,
       EFI_IFR_TEXT_OP},
      {"one byte left at the end", IFR(RawBytes({EFI_IFR_SUBTITLE_OP})), false,
       EFI_INVALID_PARAMETER, EFI_IFR_SUBTITLE_OP},
      {"a statement outside a form", IFR(End().Text(1, 2)), false, EFI_INVALID_PARAMETER,
       EFI_IFR_TEXT_OP},
      {"a question outside a form", IFR(End().Checkbox({1, 2, 3, 0, 0, 0})), false,
       EFI_INVALID_PARAMETER, EFI_IFR_CHECKBOX_OP},
      {"a suppress-if outside a form", IFR(End().SuppressIf(true).True()), false,
       EFI_INVALID_PARAMETER, EFI_IFR_SUPPRESS_IF_OP},
      {"an option before any statement", IFR(OneOfOption(1, 0, IfrValue::U8(0))), true,
       EFI_INVALID_PARAMETER, EFI_IFR_ONE_OF_OPTION_OP},
      {"a default before any statement", IFR(Default(0, IfrValue::U8(0))), true,
       EFI_INVALID_PARAMETER, EFI_IFR_DEFAULT_OP},
      {"a no-submit-if before any statement", IFR(NoSubmitIf(1, true).True()), true,
       EFI_INVALID_PARAMETER, EFI_IFR_NO_SUBMIT_IF_OP},
      {"THIS before any statement", IFR(Rule(1, true).This().End()), true, EFI_INVALID_PARAMETER,
       EFI_IFR_THIS_OP},
      {"a question on a store declared nowhere", IFR(Checkbox({1, 2, 3, 9, 0, 0})), true,
       EFI_INVALID_PARAMETER, EFI_IFR_CHECKBOX_OP},
      {"a value list longer than its opcode",
       IFR(Rule(1, true).Raw(EFI_IFR_EQ_ID_VAL_LIST_OP, {1, 0, 3, 0, 1, 0, 2, 0}).End()), true,
       EFI_INVALID_PARAMETER, EFI_IFR_EQ_ID_VAL_LIST_OP},
      {"a disable-if that gives a number", IFR(DisableIf(true).Uint8(1).Text(1, 2).End()), true,
       EFI_INVALID_PARAMETER, EFI_IFR_UINT8_OP},
      {"a disable-if that gives undefined", IFR(DisableIf(true).Undefined().Text(1, 2).End()), true,
       EFI_INVALID_PARAMETER, EFI_IFR_UNDEFINED_OP},
      {"a disable-if on a question that does not exist",
       IFR(DisableIf(true).EqIdVal(0x4444, 1).Text(1, 2).End()), true, EFI_NOT_FOUND,
       EFI_IFR_EQ_ID_VAL_OP},
      {"a longer disable-if whose END finds too little on the stack",
       IFR(DisableIf(true).Raw(EFI_IFR_TRUE_OP, {}, true).And().End().Text(1, 2).End()), true,
       EFI_ACCESS_DENIED, EFI_IFR_END_OP},
      // Skipping has nothing to pop when the disable-if opened no scope: no notice then.
      {"an END that finds nothing to pop while skipping",
       IFR(DisableIf(false).True().Text(1, 2).End().End().End()), false, EFI_ACCESS_DENIED, 0},
  };
  for (const auto &Each : Cases) {
    Renew();
    Strings S;
    IfrWriter W;
    W.FormSet(SetGuid(), S.Add(u"Broken"), 0, {}, true);
    W.Form(1, S.Add(u"Page"), true);
    Each.Write(W);
    if (Each.CloseScopes) {
      W.End().End();
    }
    Outcome Result = LoadAndRelease(W, S);
    EXPECT_EQ(Result.Status, Each.Status) << Each.Name;
    EXPECT_EQ(Notices.size(), Each.Opcode != 0 ? 2u : 0u) << Each.Name;
    if (Each.Opcode != 0) {
      EXPECT_TRUE(NoticeShowed(OpcodeNotice(Each.Opcode))) << Each.Name << "\n"
                                                           << (Notices.empty() ? "" : Notices[0]);
    }
    EXPECT_EQ(Result.Held, "") << Each.Name;
  }
}

// Operators with no expression open, as compilers put a warning-if inside a question, are kept
// apart and released when the scope around them ends: the form set opens, nothing is left
// allocated, and what follows is read as usual.
TEST_F(ParserFailureTest, OperatorsWithNothingOpenAreKeptApart) {
  const struct {
    const char *Name;
    std::function<void(IfrWriter &)> Write;
  } Cases[] = {
      {"an operator on the form", IFR(True())},
      {"a warning-if inside a numeric",
       [](IfrWriter &W) {
         W.Numeric({1, 2, 0x20, 0, 0, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 9, 1, true);
         W.WarningIf(3, 0, true).EqIdVal(0x20, 5).Not().End().End();
       }},
      {"a scoped operator inside a warning-if",
       [](IfrWriter &W) {
         W.Numeric({1, 2, 0x20, 0, 0, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 9, 1, true);
         W.WarningIf(3, 0, true).Raw(EFI_IFR_TRUE_OP, {}, true).End().False().And().End().End();
       }},
  };
  for (const auto &Each : Cases) {
    Renew();
    Strings S;
    PublishedFormSet &Published = PublishSet(OneForm(S,
                                                     [&](IfrWriter &W) {
                                                       Each.Write(W);
                                                       W.SuppressIf(true).True().Text(1, 2).End();
                                                     }),
                                             S);
    StartHost();
    UINTN Mark = PoolMark();
    FormSet *Set = nullptr;
    ASSERT_EQ(LoadSet(Published.Handle, SetGuid(), &Set), EFI_SUCCESS) << Each.Name;
    EXPECT_TRUE(Notices.empty()) << Each.Name;
    Form *Page = FormAt(Set, 0);
    Statement *Last = StatementAt(Page, CountOf(&Page->StatementList) - 1);
    ASSERT_NE(Last->SuppressCondition, nullptr) << Each.Name;
    EXPECT_EQ(CountOf(&Last->SuppressCondition->OpcodeList), 1u)
        << Each.Name << ": the suppress-if holds its own operator only";
    ReleaseFormSet(Set);
    EXPECT_EQ(HeldSince(Mark), "") << Each.Name;
  }
}

TEST_F(ParserFailureTest, AnEndWithNothingOpenIsRefused) {
  Strings S;
  IfrWriter W;
  // A form set without a scope: its form's END leaves nothing for the next one.
  W.FormSet(SetGuid(), S.Add(u"Flat"), 0, {}, false);
  W.Form(1, S.Add(u"Page"), true).Text(1, 2).End();
  W.End();
  W.Text(3, 4);
  Outcome Result = LoadAndRelease(W, S);
  EXPECT_EQ(Result.Status, EFI_ACCESS_DENIED);
  EXPECT_EQ(Notices.size(), 2u);
  EXPECT_TRUE(NoticeShowed("Flat FormSet"));
  EXPECT_TRUE(NoticeShowed(OpcodeNotice(EFI_IFR_END_OP) + ". Status: 0x8000000F."));
  EXPECT_EQ(Result.Held, "");
}

TEST_F(ParserFailureTest, AFormSetOfAnotherGuidIsRefused) {
  Strings S;
  IfrWriter W;
  W.FormSet(SetGuid(), S.Add(u"Other"), 0, {}, true).Form(1, 1, true).End().End();
  PublishedFormSet &Published = PublishSet(W, S);
  StartHost();
  UINTN Mark = PoolMark();
  FormSet *Set = static_cast<FormSet *>(AllocateZeroedPool(sizeof(FormSet)));
  ASSERT_NE(Set, nullptr);
  Set->HiiHandle = Published.Handle;
  Set->DriverHandle = Published.Driver->Handle();
  Set->FormSetGuid = TestGuid(0x41);
  Set->IfrLength = static_cast<UINT32>(W.Bytes().size());
  Set->IfrData = static_cast<UINT8 *>(AllocateCopy(Set->IfrLength, W.Bytes().data()));
  EXPECT_EQ(RunDriver([&] { return ReadFormSetOpcodes(Set); }), EFI_INVALID_PARAMETER);
  // The title was never read, so the notice has nothing to name and is not shown.
  EXPECT_TRUE(Notices.empty());
  EXPECT_EQ(CountOf(&Set->FormList), 0u);
  ReleaseFormSet(Set);
  EXPECT_EQ(HeldSince(Mark), "");
}

TEST_F(ParserFailureTest, SendFormReportsTheFormSetThatFailedAndGivesBackEverything) {
  Strings S;
  IfrWriter W;
  W.FormSet(SetGuid(), S.Add(u"Unreadable"), 0, {}, true);
  W.Form(1, S.Add(u"Main"), true);
  W.Text(1, 2);
  W.RawBytes({EFI_IFR_CHECKBOX_OP, 0x05, 0, 0, 0});
  W.End().End();
  PublishedFormSet &Published = PublishSet(W, S);
  Send({Published.Handle});
  std::vector<std::string> Screens;
  for (int Presses = 0; Presses < 8 && Waiting(); Presses++) {
    Screens.push_back(ScreenText());
    Type("Enter");
  }
  ASSERT_TRUE(Finished()) << ScreenText();
  EXPECT_EQ(Run().Status(), EFI_INVALID_PARAMETER);
  ASSERT_EQ(Screens.size(), 4u) << "two presses for the parse, two for the form set";
  EXPECT_NE(Screens[0].find("Unreadable FormSet, Main Form"), std::string::npos) << Screens[0];
  EXPECT_NE(Screens[1].find("Failed to parse OpCode: 0x6. Status: 0x80000002."), std::string::npos)
      << Screens[1];
  EXPECT_NE(Screens[2].find("Failed to initialize FormSet. Status: 0x80000002."), std::string::npos)
      << Screens[2];
  EXPECT_EQ(Screens[3].find("Main Form"), std::string::npos) << "no form is named then";
  ExpectNothingLeftSinceSend();
  EXPECT_EQ(Browser->SendFormDepth, 0u);
}

} // namespace
} // namespace morvane::test
