// Boot: the boot order as an ordered list, the boot timeout on the "Timeout" EFI variable, and
// quiet boot. This driver is also the notified page: the browser tells it of discards and
// loaded defaults.
#include "sample/pages.h"

#include "dialogs/browser_services.h"

namespace morvane::sample {

namespace {

const EFI_GUID BootStoreGuid = {
    0x4d2b3c10, 0x8a61, 0x4f0e, {0x9b, 0x21, 0x6c, 0x55, 0x0e, 0x71, 0x2a, 0x04}};
constexpr EFI_VARSTORE_ID Store = 1;
constexpr EFI_VARSTORE_ID TimeoutStore = 2;

enum Offset : UINT16 {
  BootOrder = 0, // four containers
  QuietBoot = 4,
  NumLock = 5,
  StoreSize = 6,
};

enum Question : EFI_QUESTION_ID {
  BootOrderQuestion = 0x4001,
  TimeoutQuestion,
  QuietBootQuestion,
  NumLockQuestion,
};

class BootPage : public SamplePage {
public:
  explicit BootPage(const SampleServices &Services) : SamplePage(Services, gDefaultPageGuids[3]) {
    kit::Strings &S = Text();
    EFI_STRING_ID Title = S.Add(u"Boot");
    S.Translate("fr-FR", Title, u"D\u00E9marrage");
    EFI_STRING_ID FormSetHelp = S.Add(u"Boot order, timeout and start-up options.");
    EFI_STRING_ID TimeoutName = S.Add(u"Timeout");

    kit::IfrWriter W;
    W.FormSet(PageGuid, Title, FormSetHelp, {gEfiHiiPlatformSetupFormsetGuid}, true);
    W.VarStore(BootStoreGuid, Store, StoreSize, "BootSetup");
    W.VarStoreEfi(TimeoutStore, gEfiGlobalVariableGuid,
                  EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS |
                      EFI_VARIABLE_RUNTIME_ACCESS,
                  sizeof(UINT16), "Timeout");
    W.DefaultStore(S.Add(u"Standard Defaults"), EFI_HII_DEFAULT_CLASS_STANDARD);
    W.Form(1, Title, true);

    W.Subtitle(S.Add(u"Boot Configuration"), 0, 0, true).End();
    W.OrderedList(
        {S.Add(u"Boot Order"),
         S.Add(u"The devices the firmware tries, first to last. Press Enter, then move a device up "
               u"or down."),
         BootOrderQuestion, Store, BootOrder, 0},
        4, 0, true);
    W.OneOfOption(S.Add(u"Internal Hard Disk"), 0, kit::IfrValue::U8(1));
    W.OneOfOption(S.Add(u"USB Device"), 0, kit::IfrValue::U8(2));
    W.OneOfOption(S.Add(u"Network (PXE)"), 0, kit::IfrValue::U8(3));
    W.OneOfOption(S.Add(u"Optical Drive"), 0, kit::IfrValue::U8(4));
    W.End();
    W.Numeric(
        {S.Add(u"Boot Timeout (seconds)"),
         S.Add(u"Seconds the boot menu waits for a key, 0 to 60. Saved at once, in the Timeout "
               u"variable."),
         TimeoutQuestion, TimeoutStore, TimeoutName, 0},
        EFI_IFR_NUMERIC_SIZE_2 | EFI_IFR_DISPLAY_UINT_DEC, 0, 60, 1, true);
    W.Default(EFI_HII_DEFAULT_CLASS_STANDARD, kit::IfrValue::U16(5));
    W.End();
    W.Checkbox({S.Add(u"Quiet Boot"), S.Add(u"Shows a logo instead of start-up messages."),
                QuietBootQuestion, Store, QuietBoot, 0},
               EFI_IFR_CHECKBOX_DEFAULT);
    W.OneOf({S.Add(u"NumLock State"), S.Add(u"Whether Num Lock is on when the system starts."),
             NumLockQuestion, Store, NumLock, 0},
            EFI_IFR_NUMERIC_SIZE_1, 0, 1, 0, true);
    W.OneOfOption(S.Add(u"On"), EFI_IFR_OPTION_DEFAULT, kit::IfrValue::U8(0));
    W.OneOfOption(S.Add(u"Off"), 0, kit::IfrValue::U8(1));
    W.End();

    W.End(); // form
    W.End(); // form set

    std::vector<uint8_t> Defaults(StoreSize, 0);
    Defaults[BootOrder + 0] = 1;
    Defaults[BootOrder + 1] = 2;
    Defaults[BootOrder + 2] = 3;
    Defaults[BootOrder + 3] = 4;
    Defaults[QuietBoot] = 1;
    PersistentBuffer(BootStoreGuid, u"BootSetup", Defaults);

    UINT16 Timeout = 0;
    UINTN Size = sizeof(Timeout);
    if (EFI_ERROR(Services.Runtime->GetVariable(u"Timeout", &gEfiGlobalVariableGuid, nullptr, &Size,
                                                &Timeout))) {
      Timeout = 5;
      Services.Runtime->SetVariable(u"Timeout", &gEfiGlobalVariableGuid,
                                    EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS |
                                        EFI_VARIABLE_RUNTIME_ACCESS,
                                    sizeof(Timeout), &Timeout);
    }
    Driver().OnCallback = [this](EFI_BROWSER_ACTION Action, EFI_QUESTION_ID Question, UINT8 Type,
                                 EFI_IFR_TYPE_VALUE *Value, EFI_BROWSER_ACTION_REQUEST *Request) {
      return OnNotification(Action, Question);
    };
    Publish(W, Title, FormSetHelp);
  }

private:
  // The browser tells the notified page of global actions with question id 0; the code of the
  // action stands in the browser services record.
  EFI_STATUS OnNotification(EFI_BROWSER_ACTION Action, EFI_QUESTION_ID Question) {
    if (Question != 0) {
      return EFI_UNSUPPORTED;
    }
    BROWSER_SERVICES_PROTOCOL *BrowserServices = nullptr;
    if (!EFI_ERROR(Services.Boot->LocateProtocol(&gBrowserServicesProtocolGuid, nullptr,
                                                 reinterpret_cast<VOID **>(&BrowserServices)))) {
      LastNotifyCode = BrowserServices->NotifyCode;
    }
    return EFI_SUCCESS;
  }

public:
  UINT32 LastNotifyCode = 0;
};

} // namespace

std::unique_ptr<SamplePage> MakeBootPage(const SampleServices &Services) {
  return std::make_unique<BootPage>(Services);
}

} // namespace morvane::sample
