#include "fuzz/fuzz_environment.h"

#include <cstdio>
#include <cstdlib>

#include "core/driver_entry.h"

namespace morvane::fuzz {

FuzzEnvironment::FuzzEnvironment() {
  host::PlatformOptions Options;
  Hosted = std::make_unique<host::Platform>(Options);
  Services = std::make_unique<host::HiiServices>(Hosted->BootServices());
  EFI_HII_CONFIG_ROUTING_PROTOCOL *Routing = nullptr;
  Hosted->BootServices()->LocateProtocol(&gEfiHiiDatabaseProtocolGuid, nullptr,
                                         reinterpret_cast<VOID **>(&Hii));
  Hosted->BootServices()->LocateProtocol(&gEfiHiiConfigRoutingProtocolGuid, nullptr,
                                         reinterpret_cast<VOID **>(&Routing));
  Config = std::make_unique<host::ConfigDriver>(Hosted->BootServices(), Routing);
  if (EFI_ERROR(BrowserDriverEntry(Hosted->ImageHandle(), Hosted->SystemTable()))) {
    std::fprintf(stderr, "the driver did not enter\n");
    std::abort();
  }
  // Every notice and message box the driver shows is closed at once.
  Hosted->SetKeyWaitHook(
      [this](UINT64) { Hosted->Keyboard().PushKey(SCAN_NULL, CHAR_CARRIAGE_RETURN); });
}

EFI_HII_HANDLE FuzzEnvironment::Register(const std::vector<uint8_t> &PackageList) {
  EFI_HII_HANDLE Handle = nullptr;
  if (EFI_ERROR(Hii->NewPackageList(
          Hii, reinterpret_cast<const EFI_HII_PACKAGE_LIST_HEADER *>(PackageList.data()),
          Config->Handle(), &Handle))) {
    return nullptr;
  }
  return Handle;
}

void FuzzEnvironment::Unregister(EFI_HII_HANDLE Handle) {
  Hii->RemovePackageList(Hii, Handle);
}

} // namespace morvane::fuzz
