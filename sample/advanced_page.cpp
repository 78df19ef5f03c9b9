// Advanced: sub-forms for the processor, power management and peripherals, on one buffer
// varstore. Shows checkboxes, one-ofs, numbers with and without a step, a question greyed by
// another's value, one shown only for a choice of another, a rule checked as a choice changes and
// one checked when the settings are saved.
#include "sample/pages.h"

namespace morvane::sample {

namespace {

const EFI_GUID AdvancedStoreGuid = {
    0x4d2b3c10, 0x8a61, 0x4f0e, {0x9b, 0x21, 0x6c, 0x55, 0x0e, 0x71, 0x2a, 0x02}};
constexpr EFI_VARSTORE_ID Store = 1;

// The varstore's layout.
enum Offset : UINT16 {
  HyperThreading = 0,
  Virtualization = 1,
  PerformanceProfile = 2,
  ActiveCores = 3,
  TurboRatio = 4,
  PowerMode = 5,
  WakeOnLan = 6,
  WakeTimer = 8,
  FanMinimum = 10,
  FanMaximum = 11,
  UsbLegacy = 12,
  SerialPort = 13,
  SataMode = 14,
  StoreSize = 16,
};

enum Question : EFI_QUESTION_ID {
  CpuRef = 0x2001,
  PowerRef,
  PeripheralRef,
  HyperThreadingQuestion = 0x2101,
  VirtualizationQuestion,
  ProfileQuestion,
  CoresQuestion,
  TurboQuestion,
  PowerModeQuestion = 0x2201,
  WakeOnLanQuestion,
  WakeTimerQuestion,
  FanMinimumQuestion,
  FanMaximumQuestion,
  UsbQuestion = 0x2301,
  SerialQuestion,
  SataQuestion,
};

enum FormId : EFI_FORM_ID { TopForm = 1, CpuForm, PowerForm, PeripheralForm };

std::vector<uint8_t> Defaults() {
  std::vector<uint8_t> Bytes(StoreSize, 0);
  Bytes[HyperThreading] = 1;
  Bytes[Virtualization] = 1;
  Bytes[ActiveCores] = 2;
  Bytes[TurboRatio] = 42;
  Bytes[WakeTimer] = 30;
  Bytes[FanMinimum] = 30;
  Bytes[FanMaximum] = 80;
  Bytes[UsbLegacy] = 1;
  return Bytes;
}

class AdvancedPage : public SamplePage {
public:
  explicit AdvancedPage(const SampleServices &Services)
      : SamplePage(Services, gDefaultPageGuids[1]) {
    kit::Strings &S = Text();
    EFI_STRING_ID Title = S.Add(u"Advanced");
    S.Translate("fr-FR", Title, u"Avanc\u00E9");
    EFI_STRING_ID FormSetHelp = S.Add(u"Processor, power and peripheral settings.");

    kit::IfrWriter W;
    W.FormSet(PageGuid, Title, FormSetHelp, {gEfiHiiPlatformSetupFormsetGuid}, true);
    W.VarStore(AdvancedStoreGuid, Store, StoreSize, "AdvancedSetup");
    W.DefaultStore(S.Add(u"Standard Defaults"), EFI_HII_DEFAULT_CLASS_STANDARD);

    EFI_STRING_ID CpuTitle = S.Add(u"CPU Configuration");
    EFI_STRING_ID PowerTitle = S.Add(u"Power Management");
    EFI_STRING_ID PeripheralTitle = S.Add(u"Peripheral Configuration");
    S.Translate("fr-FR", CpuTitle, u"Configuration du processeur");
    S.Translate("fr-FR", PowerTitle, u"Gestion de l'alimentation");
    S.Translate("fr-FR", PeripheralTitle, u"Configuration des p\u00E9riph\u00E9riques");

    W.Form(TopForm, Title, true);
    W.Subtitle(S.Add(u"Advanced Settings"), 0, 0, true).End();
    W.Ref({CpuTitle, S.Add(u"Hyper-threading, virtualization and performance of the processor."),
           CpuRef, 0, 0, 0},
          CpuForm);
    W.Ref({PowerTitle, S.Add(u"Power profile, wake events and fan control."), PowerRef, 0, 0, 0},
          PowerForm);
    W.Ref({PeripheralTitle, S.Add(u"USB, serial port and storage controller settings."),
           PeripheralRef, 0, 0, 0},
          PeripheralForm);
    W.End();

    W.Form(CpuForm, CpuTitle, true);
    W.Checkbox(
        {S.Add(u"Hyper-Threading"),
         S.Add(u"Runs two threads on each core. Turn it off for workloads that are sensitive to "
               u"timing."),
         HyperThreadingQuestion, Store, HyperThreading, 0},
        EFI_IFR_CHECKBOX_DEFAULT);
    W.Checkbox({S.Add(u"Virtualization Technology"),
                S.Add(u"Lets a hypervisor use the processor's virtualization extensions."),
                VirtualizationQuestion, Store, Virtualization, EFI_IFR_FLAG_RESET_REQUIRED},
               EFI_IFR_CHECKBOX_DEFAULT);
    W.OneOf({S.Add(u"Performance Profile"),
             S.Add(u"Balanced suits most uses; Performance raises clock speeds; Power Saver lowers "
                   u"them."),
             ProfileQuestion, Store, PerformanceProfile, 0},
            EFI_IFR_NUMERIC_SIZE_1, 0, 2, 0, true);
    W.OneOfOption(S.Add(u"Balanced"), EFI_IFR_OPTION_DEFAULT, kit::IfrValue::U8(0));
    W.OneOfOption(S.Add(u"Performance"), 0, kit::IfrValue::U8(1));
    W.OneOfOption(S.Add(u"Power Saver"), 0, kit::IfrValue::U8(2));
    // Checked as the profile changes: Power Saver and a high turbo ratio contradict each other.
    W.InconsistentIf(S.Add(u"Power Saver allows a turbo ratio of at most 40."), true);
    W.EqIdVal(ProfileQuestion, 2).QuestionRef1(TurboQuestion).Uint8(40).GreaterThan().And();
    W.End();
    W.End();
    W.Numeric({S.Add(u"Active Cores"),
               S.Add(u"Number of processor cores to enable, 1 or 2. Type the number."),
               CoresQuestion, Store, ActiveCores, EFI_IFR_FLAG_RESET_REQUIRED},
              EFI_IFR_NUMERIC_SIZE_1 | EFI_IFR_DISPLAY_UINT_DEC, 1, 2, 0, true);
    W.Default(EFI_HII_DEFAULT_CLASS_STANDARD, kit::IfrValue::U8(2));
    W.End();
    W.Numeric({S.Add(u"Turbo Ratio Limit"),
               S.Add(u"The highest turbo multiplier, from 20 to 50. + and - step it by one."),
               TurboQuestion, Store, TurboRatio, 0},
              EFI_IFR_NUMERIC_SIZE_1 | EFI_IFR_DISPLAY_UINT_DEC, 20, 50, 1, true);
    W.Default(EFI_HII_DEFAULT_CLASS_STANDARD, kit::IfrValue::U8(42));
    W.End();
    W.End();

    W.Form(PowerForm, PowerTitle, true);
    W.OneOf(
        {S.Add(u"Power Mode"),
         S.Add(u"Standard and Low Power use built-in fan curves; Custom shows the fan settings."),
         PowerModeQuestion, Store, PowerMode, 0},
        EFI_IFR_NUMERIC_SIZE_1, 0, 2, 0, true);
    W.OneOfOption(S.Add(u"Standard"), EFI_IFR_OPTION_DEFAULT, kit::IfrValue::U8(0));
    W.OneOfOption(S.Add(u"Low Power"), 0, kit::IfrValue::U8(1));
    W.OneOfOption(S.Add(u"Custom"), 0, kit::IfrValue::U8(2));
    W.End();
    W.Checkbox({S.Add(u"Wake on LAN"), S.Add(u"Lets a network packet wake the system from sleep."),
                WakeOnLanQuestion, Store, WakeOnLan, 0});
    // The timer only matters with wake on LAN.
    W.GrayOutIf(true).EqIdVal(WakeOnLanQuestion, 0);
    W.Numeric(
        {S.Add(u"Wake Timer (minutes)"),
         S.Add(u"Minutes of idle time before the network wake is armed, 0 to 1440. Available with "
               u"Wake on LAN."),
         WakeTimerQuestion, Store, WakeTimer, 0},
        EFI_IFR_NUMERIC_SIZE_2 | EFI_IFR_DISPLAY_UINT_DEC, 0, 1440, 0, true);
    W.Default(EFI_HII_DEFAULT_CLASS_STANDARD, kit::IfrValue::U16(30));
    W.End();
    W.End(); // gray-out-if
    // The fan settings only show for the custom power mode.
    W.SuppressIf(true).EqIdVal(PowerModeQuestion, 2).Not();
    W.Numeric({S.Add(u"Fan Minimum Duty (%)"),
               S.Add(u"The slowest the fans run, in percent. It must not exceed the maximum."),
               FanMinimumQuestion, Store, FanMinimum, 0},
              EFI_IFR_NUMERIC_SIZE_1 | EFI_IFR_DISPLAY_UINT_DEC, 0, 100, 5, true);
    W.Default(EFI_HII_DEFAULT_CLASS_STANDARD, kit::IfrValue::U8(30));
    // Typed numbers are checked when the settings are saved.
    W.NoSubmitIf(S.Add(u"Fan minimum duty must not exceed the maximum."), true);
    W.QuestionRef1(FanMinimumQuestion).QuestionRef1(FanMaximumQuestion).GreaterThan();
    W.End();
    W.End();
    W.Numeric({S.Add(u"Fan Maximum Duty (%)"), S.Add(u"The fastest the fans run, in percent."),
               FanMaximumQuestion, Store, FanMaximum, 0},
              EFI_IFR_NUMERIC_SIZE_1 | EFI_IFR_DISPLAY_UINT_DEC, 0, 100, 5, true);
    W.Default(EFI_HII_DEFAULT_CLASS_STANDARD, kit::IfrValue::U8(80));
    W.End();
    W.End(); // suppress-if
    W.End();

    W.Form(PeripheralForm, PeripheralTitle, true);
    W.Checkbox({S.Add(u"USB Legacy Support"),
                S.Add(u"Lets programs without USB drivers use USB keyboards and storage."),
                UsbQuestion, Store, UsbLegacy, 0},
               EFI_IFR_CHECKBOX_DEFAULT);
    W.OneOf({S.Add(u"Serial Port"),
             S.Add(u"The address of the serial port, or Disabled to free its resources."),
             SerialQuestion, Store, SerialPort, 0},
            EFI_IFR_NUMERIC_SIZE_1, 0, 2, 0, true);
    W.OneOfOption(S.Add(u"COM1 (3F8h)"), EFI_IFR_OPTION_DEFAULT, kit::IfrValue::U8(0));
    W.OneOfOption(S.Add(u"COM2 (2F8h)"), 0, kit::IfrValue::U8(1));
    W.OneOfOption(S.Add(u"Disabled"), 0, kit::IfrValue::U8(2));
    W.End();
    W.OneOf({S.Add(u"SATA Mode"),
             S.Add(u"AHCI for single disks; RAID to combine disks into arrays."), SataQuestion,
             Store, SataMode, EFI_IFR_FLAG_RESET_REQUIRED},
            EFI_IFR_NUMERIC_SIZE_1, 0, 1, 0, true);
    W.OneOfOption(S.Add(u"AHCI"), EFI_IFR_OPTION_DEFAULT, kit::IfrValue::U8(0));
    W.OneOfOption(S.Add(u"RAID"), 0, kit::IfrValue::U8(1));
    W.End();
    W.End();

    W.End(); // form set
    PersistentBuffer(AdvancedStoreGuid, u"AdvancedSetup", Defaults());
    Publish(W, Title, FormSetHelp);
  }
};

} // namespace

std::unique_ptr<SamplePage> MakeAdvancedPage(const SampleServices &Services) {
  return std::make_unique<AdvancedPage>(Services);
}

} // namespace morvane::sample
