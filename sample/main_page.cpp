// Main: firmware and system information, the system date and time on the clock, and the
// language, which its driver writes to "PlatformLang" when it changes.
#include "sample/pages.h"

#include <cstring>

namespace morvane::sample {

namespace {

constexpr EFI_QUESTION_ID DateQuestion = 0x1001;
constexpr EFI_QUESTION_ID TimeQuestion = 0x1002;
constexpr EFI_QUESTION_ID LanguageQuestion = 0x1003;
constexpr EFI_VARSTORE_ID LanguageStore = 1;

const EFI_GUID LanguageStoreGuid = {
    0x4d2b3c10, 0x8a61, 0x4f0e, {0x9b, 0x21, 0x6c, 0x55, 0x0e, 0x71, 0x2a, 0x01}};

constexpr const char *LanguageCodes[] = {"en-US", "fr-FR", "ja-JP", "ko-KR"};

class MainPage : public SamplePage {
public:
  explicit MainPage(const SampleServices &Services) : SamplePage(Services, gDefaultPageGuids[0]) {
    kit::Strings &S = Text();
    EFI_STRING_ID Title = S.Add(u"Main");
    S.Translate("fr-FR", Title, u"Principal");
    EFI_STRING_ID FormSetHelp = S.Add(u"System information, date, time and language.");
    EFI_STRING_ID LanguageName = S.Add(u"Language");

    kit::IfrWriter W;
    W.FormSet(PageGuid, Title, FormSetHelp, {gEfiHiiPlatformSetupFormsetGuid}, true);
    W.VarStoreNameValue(LanguageStore, LanguageStoreGuid);
    W.DefaultStore(S.Add(u"Standard Defaults"), EFI_HII_DEFAULT_CLASS_STANDARD);
    W.Form(1, Title, true);

    EFI_STRING_ID Information = S.Add(u"System Information");
    S.Translate("fr-FR", Information, u"Informations syst\u00E8me");
    W.Subtitle(Information, 0, 0, true).End();
    AddInformation(W, u"Firmware Vendor", u"The maker of this firmware.",
                   u"Morvane Hosted Platform");
    AddInformation(W, u"Firmware Version", u"The version and date of this firmware build.",
                   u"1.0 (2026-11-22)");
    AddInformation(W, u"Processor", u"The processor the firmware found.",
                   u"Virtual x86-64, 2 cores");
    AddInformation(W, u"Total Memory", u"Memory available to the system.", u"24576 MB");

    EFI_STRING_ID Settings = S.Add(u"System Settings");
    S.Translate("fr-FR", Settings, u"R\u00E9glages syst\u00E8me");
    W.Subtitle(Settings, 0, 0, true).End();
    EFI_STRING_ID DatePrompt = S.Add(u"System Date");
    S.Translate("fr-FR", DatePrompt, u"Date syst\u00E8me");
    W.Date(
        {DatePrompt,
         S.Add(
             u"The date of the real-time clock, month, day and year. Tab moves between the fields; "
             u"+ and - change the one highlighted."),
         DateQuestion, 0, 0, 0},
        QF_DATE_STORAGE_TIME);
    EFI_STRING_ID TimePrompt = S.Add(u"System Time");
    S.Translate("fr-FR", TimePrompt, u"Heure syst\u00E8me");
    W.Time(
        {TimePrompt,
         S.Add(u"The time of the real-time clock, hours, minutes and seconds, on a 24-hour clock."),
         TimeQuestion, 0, 0, 0},
        QF_TIME_STORAGE_TIME);

    EFI_STRING_ID LanguagePrompt = S.Add(u"Language");
    S.Translate("fr-FR", LanguagePrompt, u"Langue");
    W.OneOf({LanguagePrompt,
             S.Add(u"The language of the setup screens. The change takes effect at once."),
             LanguageQuestion, LanguageStore, LanguageName, EFI_IFR_FLAG_CALLBACK},
            EFI_IFR_NUMERIC_SIZE_1, 0, 3, 0, true);
    W.OneOfOption(S.Add(u"English"), EFI_IFR_OPTION_DEFAULT, kit::IfrValue::U8(0));
    W.OneOfOption(S.Add(u"Fran\u00E7ais"), 0, kit::IfrValue::U8(1));
    W.OneOfOption(S.Add(u"\u65E5\u672C\u8A9E"), 0, kit::IfrValue::U8(2));
    W.OneOfOption(S.Add(u"\uD55C\uAD6D\uC5B4"), 0, kit::IfrValue::U8(3));
    W.End();

    W.End(); // form
    W.End(); // form set

    Driver().AddNameValueStorage(LanguageStoreGuid);
    Driver().OnExtract = [this] {
      (*Driver().NameValues(LanguageStoreGuid))[u"Language"] = LanguageIndexText();
    };
    Driver().OnCallback = [this](EFI_BROWSER_ACTION Action, EFI_QUESTION_ID Question, UINT8 Type,
                                 EFI_IFR_TYPE_VALUE *Value, EFI_BROWSER_ACTION_REQUEST *Request) {
      return OnCallback(Action, Question, Value);
    };
    Publish(W, Title, FormSetHelp);
  }

private:
  void AddInformation(kit::IfrWriter &W, const char16_t *Prompt, const char16_t *Help,
                      const char16_t *Value) {
    W.Text(Text().Add(Prompt), Text().Add(Help), Text().Add(Value));
  }

  unsigned CurrentLanguageIndex() const {
    char Code[44] = {};
    UINTN Size = sizeof(Code) - 1;
    if (!EFI_ERROR(Services.Runtime->GetVariable(u"PlatformLang", &gEfiGlobalVariableGuid, nullptr,
                                                 &Size, Code))) {
      for (unsigned Index = 0; Index < 4; Index++) {
        if (std::strncmp(Code, LanguageCodes[Index], 5) == 0) {
          return Index;
        }
      }
    }
    return 0;
  }

  // The value digits of a one-byte number.
  std::u16string LanguageIndexText() const {
    return std::u16string(u"0") + static_cast<char16_t>(u'0' + CurrentLanguageIndex());
  }

  EFI_STATUS OnCallback(EFI_BROWSER_ACTION Action, EFI_QUESTION_ID Question,
                        EFI_IFR_TYPE_VALUE *Value) {
    if (Question != LanguageQuestion) {
      return EFI_UNSUPPORTED;
    }
    // Any language of the list is accepted as it changes; the Changed Callback applies it.
    if (Action != EFI_BROWSER_ACTION_CHANGED || Value == nullptr || Value->u8 > 3) {
      return Value != nullptr && Value->u8 > 3 ? EFI_INVALID_PARAMETER : EFI_SUCCESS;
    }
    const char *Code = LanguageCodes[Value->u8];
    Services.Runtime->SetVariable(u"PlatformLang", &gEfiGlobalVariableGuid,
                                  EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS |
                                      EFI_VARIABLE_RUNTIME_ACCESS,
                                  std::strlen(Code) + 1, Code);
    // Asks the browser to read its strings again in the new language.
    if (RefreshHandle == nullptr) {
      Services.Boot->InstallProtocolInterface(&RefreshHandle, &gRefreshNotifyProtocolGuid,
                                              EFI_NATIVE_INTERFACE, &RefreshMarker);
    } else {
      Services.Boot->ReinstallProtocolInterface(RefreshHandle, &gRefreshNotifyProtocolGuid,
                                                &RefreshMarker, &RefreshMarker);
    }
    return EFI_SUCCESS;
  }

public:
  ~MainPage() override {
    if (RefreshHandle != nullptr) {
      Services.Boot->UninstallProtocolInterface(RefreshHandle, &gRefreshNotifyProtocolGuid,
                                                &RefreshMarker);
    }
  }

private:
  EFI_HANDLE RefreshHandle = nullptr;
  UINT32 RefreshMarker = 0;
};

} // namespace

std::unique_ptr<SamplePage> MakeMainPage(const SampleServices &Services) {
  return std::make_unique<MainPage>(Services);
}

} // namespace morvane::sample
