// Security: administrator and user passwords, which go to this driver through a Callback and
// are kept here (only a digest, in a variable of their own), and the asset tag string.
#include "sample/pages.h"

#include <cstring>

namespace morvane::sample {

namespace {

const EFI_GUID SecurityStoreGuid = {
    0x4d2b3c10, 0x8a61, 0x4f0e, {0x9b, 0x21, 0x6c, 0x55, 0x0e, 0x71, 0x2a, 0x03}};
constexpr EFI_VARSTORE_ID Store = 1;

enum Offset : UINT16 {
  AdminInstalled = 0,
  UserInstalled = 1,
  AssetTag = 2, // 20 characters
  StoreSize = 42,
};

enum Question : EFI_QUESTION_ID {
  AdminInstalledQuestion = 0x3001,
  AdminPasswordQuestion,
  UserPasswordQuestion,
  AssetTagQuestion,
};

constexpr UINT16 MinimumPasswordLength = 4;
constexpr UINT16 MaximumPasswordLength = 20;

// A digest that keeps the text itself out of the variable store; not a security measure.
uint64_t Digest(const std::u16string &Text) {
  uint64_t Hash = 1469598103934665603ull;
  for (char16_t Character : Text) {
    Hash = (Hash ^ Character) * 1099511628211ull;
  }
  return Hash;
}

class SecurityPage : public SamplePage {
public:
  explicit SecurityPage(const SampleServices &Services)
      : SamplePage(Services, gDefaultPageGuids[2]) {
    kit::Strings &S = Text();
    EFI_STRING_ID Title = S.Add(u"Security");
    S.Translate("fr-FR", Title, u"S\u00E9curit\u00E9");
    EFI_STRING_ID FormSetHelp = S.Add(u"Passwords and the asset tag.");
    NotInstalled = S.Add(u"Not Installed");
    Installed = S.Add(u"Installed");

    kit::IfrWriter W;
    W.FormSet(PageGuid, Title, FormSetHelp, {gEfiHiiPlatformSetupFormsetGuid}, true);
    W.VarStore(SecurityStoreGuid, Store, StoreSize, "SecuritySetup");
    W.DefaultStore(S.Add(u"Standard Defaults"), EFI_HII_DEFAULT_CLASS_STANDARD);
    W.Form(1, Title, true);

    W.Subtitle(S.Add(u"Passwords"), 0, 0, true).End();
    AdminStatus = S.Add(u"Not Installed");
    UserStatus = S.Add(u"Not Installed");
    W.Text(S.Add(u"Administrator Password"), S.Add(u"Whether an administrator password is set."),
           AdminStatus);
    W.Text(S.Add(u"User Password"), S.Add(u"Whether a user password is set."), UserStatus);
    // The installed flag only serves the condition below; it is never shown.
    W.SuppressIf(true).True();
    W.Checkbox({S.Add(u"Administrator Password Installed"),
                S.Add(u"Set when an administrator password exists."), AdminInstalledQuestion, Store,
                AdminInstalled, EFI_IFR_FLAG_READ_ONLY});
    W.End();
    W.Password({S.Add(u"Set Administrator Password"),
                S.Add(u"Type a password of 4 to 20 characters and press Enter. An empty password "
                      u"removes it."),
                AdminPasswordQuestion, 0, 0, EFI_IFR_FLAG_CALLBACK},
               0, MaximumPasswordLength);
    // A user password needs an administrator password first.
    W.GrayOutIf(true).EqIdVal(AdminInstalledQuestion, 0);
    W.Password(
        {S.Add(u"Set User Password"),
         S.Add(u"Type a password of 4 to 20 characters and press Enter. Needs an administrator "
               u"password."),
         UserPasswordQuestion, 0, 0, EFI_IFR_FLAG_CALLBACK},
        0, MaximumPasswordLength);
    W.End();

    W.Subtitle(S.Add(u"Identification"), 0, 0, true).End();
    W.String({S.Add(u"Asset Tag"),
              S.Add(u"A label of up to 20 characters that inventory tools read."), AssetTagQuestion,
              Store, AssetTag, 0},
             0, 20);

    W.End(); // form
    W.End(); // form set

    Buffer =
        PersistentBuffer(SecurityStoreGuid, u"SecuritySetup", std::vector<uint8_t>(StoreSize, 0));
    LoadDigests();
    Driver().OnCallback = [this](EFI_BROWSER_ACTION Action, EFI_QUESTION_ID Question, UINT8 Type,
                                 EFI_IFR_TYPE_VALUE *Value, EFI_BROWSER_ACTION_REQUEST *Request) {
      return OnCallback(Action, Question, Value);
    };
    Publish(W, Title, FormSetHelp);
    ShowStatus();
  }

private:
  struct Digests {
    uint64_t Admin;
    uint64_t User;
  };

  void LoadDigests() {
    UINTN Size = sizeof(Stored);
    if (EFI_ERROR(Services.Runtime->GetVariable(u"SecurityPasswords", &SecurityStoreGuid, nullptr,
                                                &Size, &Stored)) ||
        Size != sizeof(Stored)) {
      Stored = {};
    }
  }

  void SaveDigests() {
    Services.Runtime->SetVariable(u"SecurityPasswords", &SecurityStoreGuid, SettingsAttributes,
                                  sizeof(Stored), &Stored);
  }

  void ShowStatus() {
    (*Buffer)[AdminInstalled] = Stored.Admin != 0 ? 1 : 0;
    (*Buffer)[UserInstalled] = Stored.User != 0 ? 1 : 0;
    WriteString(AdminStatus, ReadString(Stored.Admin != 0 ? Installed : NotInstalled));
    WriteString(UserStatus, ReadString(Stored.User != 0 ? Installed : NotInstalled));
  }

  EFI_STATUS OnCallback(EFI_BROWSER_ACTION Action, EFI_QUESTION_ID Question,
                        EFI_IFR_TYPE_VALUE *Value) {
    if (Action != EFI_BROWSER_ACTION_CHANGED || Value == nullptr ||
        (Question != AdminPasswordQuestion && Question != UserPasswordQuestion)) {
      return EFI_UNSUPPORTED;
    }
    std::u16string Password = Value->string != 0 ? ReadString(Value->string) : u"";
    if (!Password.empty() && Password.size() < MinimumPasswordLength) {
      return EFI_NOT_READY;
    }
    if (Question == UserPasswordQuestion && Stored.Admin == 0) {
      return EFI_ACCESS_DENIED;
    }
    uint64_t &Slot = Question == AdminPasswordQuestion ? Stored.Admin : Stored.User;
    Slot = Password.empty() ? 0 : (Digest(Password) | 1);
    if (Question == AdminPasswordQuestion && Stored.Admin == 0) {
      // Without an administrator there is no user either.
      Stored.User = 0;
    }
    SaveDigests();
    ShowStatus();
    SaveBuffersNow();
    return EFI_SUCCESS;
  }

  void SaveBuffersNow() {
    Services.Runtime->SetVariable(u"SecuritySetup", &SecurityStoreGuid, SettingsAttributes,
                                  Buffer->size(), Buffer->data());
  }

  std::vector<uint8_t> *Buffer = nullptr;
  Digests Stored = {};
  EFI_STRING_ID NotInstalled = 0;
  EFI_STRING_ID Installed = 0;
  EFI_STRING_ID AdminStatus = 0;
  EFI_STRING_ID UserStatus = 0;
};

} // namespace

std::unique_ptr<SamplePage> MakeSecurityPage(const SampleServices &Services) {
  return std::make_unique<SecurityPage>(Services);
}

} // namespace morvane::sample
