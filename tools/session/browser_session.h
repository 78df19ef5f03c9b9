// One browser on the hosted platform, put together as firmware would: the platform, the HII
// services, the layouts other drivers offer, the driver entered, and the extended input
// protocol arriving after the entry. The morvane program and the scenario tests both run the
// browser through it; nothing of one session outlives it.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/components/layouts.h"
#include "host/driver_run.h"
#include "host/hii/hii_services.h"
#include "host/platform.h"
#include "uefi/form_browser.h"

namespace morvane::tools {

struct SessionOptions {
  host::PlatformOptions Platform;
  // The layouts for the no-defaults and no-help styles; tests of their absence turn this off.
  bool StandardLayouts = true;
  // The HII image and font protocols, without which the driver does not enter.
  bool HiiImageAndFont = true;
  // Installs the extended input protocol once the driver has entered.
  bool ExtendedInputAfterEntry = true;
  // Written to "PlatformLang" before the entry when not empty.
  std::string Language;
  // Runs on the assembled platform just before the driver's entry: for components that a
  // platform loads before the browser.
  std::function<void(EFI_BOOT_SERVICES *)> BeforeEntry;
};

struct SendFormRequest {
  std::vector<EFI_HII_HANDLE> Handles;
  std::optional<EFI_GUID> FormSetGuid;
  EFI_FORM_ID FormId = 0;
  std::optional<EFI_SCREEN_DESCRIPTOR> Screen;
};

class BrowserSession {
public:
  explicit BrowserSession(const SessionOptions &Options = SessionOptions());
  ~BrowserSession();
  BrowserSession(const BrowserSession &) = delete;
  BrowserSession &operator=(const BrowserSession &) = delete;

  // The driver entry's status; the form browser is null unless it succeeded.
  EFI_STATUS EntryStatus() const { return Entry; }
  host::Platform &Platform() { return *Host; }
  host::HiiServices &Hii() { return *Services; }
  EFI_FORM_BROWSER2_PROTOCOL *FormBrowser() const { return Browser2; }

  // Starts SendForm on a coroutine of its own; resume it to run the browser to its first key
  // wait. The action request it writes is read with LastActionRequest once it has finished.
  std::unique_ptr<host::DriverRun> StartSendForm(const SendFormRequest &Request);
  EFI_BROWSER_ACTION_REQUEST LastActionRequest() const { return ActionRequest; }

  // Registers a package list in the HII database on a driver handle; null on failure.
  EFI_HII_HANDLE AddPackageList(const std::vector<UINT8> &Bytes, EFI_HANDLE DriverHandle,
                                EFI_STATUS *Status = nullptr);

private:
  std::unique_ptr<host::Platform> Host;
  std::unique_ptr<host::HiiServices> Services;
  std::unique_ptr<host::StandardLayouts> Layouts;
  EFI_STATUS Entry = EFI_NOT_STARTED;
  EFI_FORM_BROWSER2_PROTOCOL *Browser2 = nullptr;
  SendFormRequest Pending;
  EFI_BROWSER_ACTION_REQUEST ActionRequest = EFI_BROWSER_ACTION_REQUEST_NONE;
};

// The status as its published name ("EFI_SUCCESS", "EFI_NOT_FOUND", ...), or hexadecimal.
std::string StatusName(EFI_STATUS Status);

} // namespace morvane::tools
