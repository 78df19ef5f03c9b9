#include "host/components/pages.h"

namespace morvane::host {

PageProvider::PageProvider(EFI_BOOT_SERVICES *Services, const EFI_GUID &Page, EFI_STRING_ID Title,
                           EFI_STRING_ID Help, EFI_HII_HANDLE Handle)
    : BootServices(Services), Page_(Page), Record_{1, Title, Help, Handle} {
  BootServices->InstallProtocolInterface(&Handle_, &Page_, EFI_NATIVE_INTERFACE, &Record_);
}

PageProvider::~PageProvider() {
  if (Handle_ != nullptr) {
    BootServices->UninstallProtocolInterface(Handle_, &Page_, &Record_);
  }
}

PageList::PageList(EFI_BOOT_SERVICES *Services, std::vector<EFI_GUID> List)
    : BootServices(Services), Pages(std::move(List)) {
  Pages.push_back(EFI_GUID{});
  Interface.Pages = Pages.data();
  BootServices->InstallProtocolInterface(&Handle_, &gPageListProtocolGuid, EFI_NATIVE_INTERFACE,
                                         &Interface);
}

PageList::~PageList() {
  if (Handle_ != nullptr) {
    BootServices->UninstallProtocolInterface(Handle_, &gPageListProtocolGuid, &Interface);
  }
}

} // namespace morvane::host
