// Values on their way between questions and the places they are kept, as a driver sees them:
// replies with alternative configurations, passwords a driver checks itself, name-value texts,
// and questions on EFI variables carried from one SendForm to the next.
#include <cstring>
#include <functional>
#include <map>

#include "core/browser_context.h"
#include "tests/browser/browser_fixture.h"

namespace morvane::test {
namespace {

using kit::IfrValue;

const EFI_GUID SetGuid = TestGuid(1);
const EFI_GUID VariableGuid = TestGuid(0x21);

enum : EFI_QUESTION_ID {
  Speed = 0x10,
  Secret = 0x11,
  Wide = 0x12,
  Flag = 0x13,
  Mode = 0x14,
};

class StorageTest : public BrowserTest {
protected:
  PublishedFormSet *Set = nullptr;

  // A form set whose one form Body writes, on a name/value store 1 that holds Values.
  std::map<std::u16string, std::u16string> &
  PublishNamed(const std::function<void(FormSetBuilder &)> &Body,
               std::map<std::u16string, std::u16string> Values) {
    FormSetBuilder F(SetGuid, u"Named");
    F.VarStoreNameValue(1, SetGuid);
    F.Form();
    Body(F);
    Set = &Publish(F);
    Set->Driver->AddNameValueStorage(SetGuid);
    *Set->Driver->NameValues(SetGuid) = std::move(Values);
    return *Set->Driver->NameValues(SetGuid);
  }
};

TEST_F(StorageTest, AReplyWithAlternativeConfigurationsFillsABufferStorage) {
  FormSetBuilder F(SetGuid, u"Buffer");
  F.BufferStore(1, "Setup", {42, 0}).Form();
  F.Numeric(F.Question(u"Speed", u"A number", Speed, 1, 0), EFI_IFR_NUMERIC_SIZE_1, 0, 99, 1, true);
  F.Default(EFI_HII_DEFAULT_CLASS_STANDARD, IfrValue::U8(4));
  F.End();
  Set = &Publish(F);
  Set->Driver->WithAltConfig = true;
  SendAndWait({Set->Handle});
  EXPECT_FALSE(Shows("Failed to load storage")) << ScreenText();
  EXPECT_EQ(Question(Speed)->Value.Value[0], 42) << "the driver's value, not the default";
  // Saving writes back what the driver gave, not the default over it.
  SaveAndLeave();
  EXPECT_EQ((*Set->Driver->Buffer(SetGuid, u"Setup"))[0], 42);
}

TEST_F(StorageTest, NameValueTextsReachTheirQuestionsAndOnlyTheirsGoBack) {
  // A password that its driver checks never travels through the storage; a 64-bit number whose
  // default is a string id still reads its text as value digits.
  std::map<std::u16string, std::u16string> &Values = PublishNamed(
      [](FormSetBuilder &F) {
        F.Numeric(F.NamedQuestion(u"Speed", u"A number", Speed, 1, u"SpeedName"),
                  EFI_IFR_NUMERIC_SIZE_1, 0, 99, 1);
        F.Password(F.NamedQuestion(u"Secret", u"Checked by the driver", Secret, 1, u"SecretName",
                                   EFI_IFR_FLAG_CALLBACK),
                   0, 8);
        F.Numeric(F.NamedQuestion(u"Wide", u"Eight bytes", Wide, 1, u"WideName"),
                  EFI_IFR_NUMERIC_SIZE_8, 0, 0xFFFF, 0, true);
        F.Default(EFI_HII_DEFAULT_CLASS_STANDARD, IfrValue::String(F.Title));
        F.End();
      },
      {{u"SpeedName", u"07"}, {u"WideName", u"0010"}});
  SendAndWait({Set->Handle});
  UINT64 WideValue = 0;
  std::memcpy(&WideValue, Question(Wide)->Value.Value, sizeof(WideValue));
  EXPECT_EQ(WideValue, 0x10u);
  Type("\"12\" Enter");
  SaveAndLeave();
  EXPECT_EQ(Values[u"SpeedName"], u"0C");
  EXPECT_EQ(Values.count(u"SecretName"), 0u) << "the password was sent through the storage";
}

// A refreshing question on name/value storage is read again each second: its text in the
// storage, then the driver's Retrieve answer, which is what shows.
TEST_F(StorageTest, ARefreshingNameValueQuestionShowsWhatTheDriverRetrieves) {
  PublishNamed(
      [](FormSetBuilder &F) {
        F.Text(F.StringId(u"A line"), F.StringId(u"Not a question"));
        F.Numeric(F.NamedQuestion(u"Fan", u"Turns", Speed, 1, u"FanName", EFI_IFR_FLAG_CALLBACK),
                  EFI_IFR_NUMERIC_SIZE_1, 0, 99, 1, true);
        F.Refresh(1).End();
        F.Checkbox(F.NamedQuestion(u"Quiet", u"Takes the highlight", Wide, 1, u"QuietName"));
      },
      {{u"FanName", u"05"}, {u"QuietName", u"00"}});
  UINT8 Turns = 40;
  Set->Driver->OnCallback = [&](EFI_BROWSER_ACTION Action, EFI_QUESTION_ID, UINT8,
                                EFI_IFR_TYPE_VALUE *Value, EFI_BROWSER_ACTION_REQUEST *) {
    if (Action == EFI_BROWSER_ACTION_RETRIEVE && Value != nullptr) {
      EXPECT_EQ(Value->u8, 5) << "the storage's text is read first";
      Value->u8 = Turns++;
    }
    return EFI_SUCCESS;
  };
  SendAndWait({Set->Handle});
  Type("Down wait 1000");
  UINT8 Shown = Turns - 1;
  EXPECT_TRUE(Shows("[" + std::to_string(Shown) + "]")) << Shown << "\n" << ScreenText();
  Type("wait 1000");
  EXPECT_TRUE(Shows("[" + std::to_string(Shown + 1) + "]")) << ScreenText();
  Type("Esc");
}

TEST_F(StorageTest, QuestionsOnEfiVariablesAreWrittenWhateverTheirType) {
  FormSetBuilder F(SetGuid, u"Variables");
  F.VarStoreEfi(1, VariableGuid, EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS, 1,
                "Settings");
  F.Form();
  F.Checkbox(F.NamedQuestion(u"Flag", u"A checkbox", Flag, 1, u"FlagVar"));
  F.OneOf(F.NamedQuestion(u"Mode", u"A one-of", Mode, 1, u"ModeVar"), EFI_IFR_NUMERIC_SIZE_1, 0, 2,
          0, true);
  F.Options({{u"Low", 0}, {u"High", 1}});
  F.End();
  F.Numeric(F.NamedQuestion(u"Speed", u"A number", Speed, 1, u"SpeedVar"), EFI_IFR_NUMERIC_SIZE_1,
            0, 99, 1);
  F.End().End();
  Set = &Publish(F);
  SendAndWait({Set->Handle});
  Type("Enter Down \"+\" Down \"33\" Enter");
  SaveAndLeave();

  auto Variable = [&](const char16_t *Name) {
    UINT8 Byte = 0xEE;
    UINTN Size = sizeof(Byte);
    EFI_GUID Guid = VariableGuid;
    EFI_STATUS Status = Host().RuntimeServices()->GetVariable(const_cast<CHAR16 *>(Name), &Guid,
                                                              nullptr, &Size, &Byte);
    return EFI_ERROR(Status) ? -1 : Byte;
  };
  EXPECT_EQ(Variable(u"FlagVar"), 1);
  EXPECT_EQ(Variable(u"ModeVar"), 1);
  EXPECT_EQ(Variable(u"SpeedVar"), 33);

  // The next call reads them back.
  SendAndWait({Set->Handle});
  EXPECT_EQ(Question(Flag)->Value.Value[0], 1);
  EXPECT_EQ(Question(Mode)->Value.Value[0], 1);
  EXPECT_EQ(Question(Speed)->Value.Value[0], 33);
  SaveAndLeave();
}

} // namespace
} // namespace morvane::test
