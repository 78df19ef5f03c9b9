#include "tools/session/browser_session.h"

#include <cstdio>
#include <stdexcept>

#include "core/driver_entry.h"

namespace morvane::tools {

BrowserSession::BrowserSession(const SessionOptions &Options) {
  host::PlatformOptions PlatformSettings = Options.Platform;
  if (Options.ExtendedInputAfterEntry) {
    PlatformSettings.ExtendedInput = false;
  }
  Host = std::make_unique<host::Platform>(PlatformSettings);
  Services = std::make_unique<host::HiiServices>(
      Host->BootServices(), host::HiiServicesOptions{.ImageAndFont = Options.HiiImageAndFont});
  if (Options.StandardLayouts) {
    Layouts = std::make_unique<host::StandardLayouts>(Host->BootServices());
  }
  if (!Options.Language.empty()) {
    std::string Language = Options.Language;
    EFI_GUID Global = gEfiGlobalVariableGuid;
    Host->RuntimeServices()->SetVariable(
        const_cast<CHAR16 *>(u"PlatformLang"), &Global,
        EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS | EFI_VARIABLE_RUNTIME_ACCESS,
        Language.size() + 1, Language.data());
  }
  if (Options.BeforeEntry) {
    Options.BeforeEntry(Host->BootServices());
  }
  Entry = BrowserDriverEntry(Host->ImageHandle(), Host->SystemTable());
  if (!EFI_ERROR(Entry)) {
    EFI_GUID Guid = gEfiFormBrowser2ProtocolGuid;
    VOID *Interface = nullptr;
    if (!EFI_ERROR(Host->BootServices()->LocateProtocol(&Guid, nullptr, &Interface))) {
      Browser2 = static_cast<EFI_FORM_BROWSER2_PROTOCOL *>(Interface);
    }
  }
  if (Options.ExtendedInputAfterEntry && Options.Platform.ExtendedInput) {
    Host->InstallExtendedInput();
  }
}

BrowserSession::~BrowserSession() {
  // The layouts and the HII services uninstall themselves through the platform's boot
  // services, so they go before it.
  Layouts.reset();
  Services.reset();
  Host.reset();
}

std::unique_ptr<host::DriverRun> BrowserSession::StartSendForm(const SendFormRequest &Request) {
  if (Browser2 == nullptr) {
    throw std::logic_error("the driver did not enter; there is no form browser to call");
  }
  Pending = Request;
  ActionRequest = EFI_BROWSER_ACTION_REQUEST_NONE;
  return std::make_unique<host::DriverRun>(*Host, [this]() {
    EFI_GUID Guid = Pending.FormSetGuid.value_or(EFI_GUID{});
    return Browser2->SendForm(Browser2, Pending.Handles.data(), Pending.Handles.size(),
                              Pending.FormSetGuid ? &Guid : nullptr, Pending.FormId,
                              Pending.Screen ? &*Pending.Screen : nullptr, &ActionRequest);
  });
}

EFI_HII_HANDLE BrowserSession::AddPackageList(const std::vector<UINT8> &Bytes,
                                              EFI_HANDLE DriverHandle, EFI_STATUS *Status) {
  EFI_HII_HANDLE Handle = nullptr;
  EFI_STATUS Result = Services->Database()->NewPackageList(
      Services->Database(), reinterpret_cast<const EFI_HII_PACKAGE_LIST_HEADER *>(Bytes.data()),
      DriverHandle, &Handle);
  if (Status != nullptr) {
    *Status = Result;
  }
  return EFI_ERROR(Result) ? nullptr : Handle;
}

std::string StatusName(EFI_STATUS Status) {
  static const char *const Errors[] = {
      nullptr,
      "EFI_LOAD_ERROR",
      "EFI_INVALID_PARAMETER",
      "EFI_UNSUPPORTED",
      "EFI_BAD_BUFFER_SIZE",
      "EFI_BUFFER_TOO_SMALL",
      "EFI_NOT_READY",
      "EFI_DEVICE_ERROR",
      "EFI_WRITE_PROTECTED",
      "EFI_OUT_OF_RESOURCES",
      "EFI_VOLUME_CORRUPTED",
      "EFI_VOLUME_FULL",
      "EFI_NO_MEDIA",
      "EFI_MEDIA_CHANGED",
      "EFI_NOT_FOUND",
      "EFI_ACCESS_DENIED",
      "EFI_NO_RESPONSE",
      "EFI_NO_MAPPING",
      "EFI_TIMEOUT",
      "EFI_NOT_STARTED",
      "EFI_ALREADY_STARTED",
      "EFI_ABORTED",
      "EFI_ICMP_ERROR",
      "EFI_TFTP_ERROR",
      "EFI_PROTOCOL_ERROR",
      "EFI_INCOMPATIBLE_VERSION",
      "EFI_SECURITY_VIOLATION",
      "EFI_CRC_ERROR",
      "EFI_END_OF_MEDIA",
      nullptr,
      nullptr,
      "EFI_END_OF_FILE",
      "EFI_INVALID_LANGUAGE",
      "EFI_COMPROMISED_DATA",
  };
  static const char *const Warnings[] = {
      "EFI_SUCCESS",
      "EFI_WARN_UNKNOWN_GLYPH",
      "EFI_WARN_DELETE_FAILURE",
      "EFI_WARN_WRITE_FAILURE",
      "EFI_WARN_BUFFER_TOO_SMALL",
      "EFI_WARN_STALE_DATA",
  };
  if (EFI_ERROR(Status)) {
    UINTN Code = Status & ~EFI_MAX_BIT;
    if (Code < sizeof(Errors) / sizeof(Errors[0]) && Errors[Code] != nullptr) {
      return Errors[Code];
    }
  } else if (Status < sizeof(Warnings) / sizeof(Warnings[0])) {
    return Warnings[Status];
  }
  char Text[32];
  std::snprintf(Text, sizeof(Text), "0x%016llx", static_cast<unsigned long long>(Status));
  return Text;
}

} // namespace morvane::tools
