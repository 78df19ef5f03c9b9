// Page providers and the page list: how a platform names the form sets that become tabs.
#pragma once

#include <vector>

#include "core/external_protocols.h"
#include "uefi/system_table.h"

namespace morvane::host {

// Installs a page provider record under the page's GUID on a handle of its own.
class PageProvider {
public:
  PageProvider(EFI_BOOT_SERVICES *BootServices, const EFI_GUID &Page, EFI_STRING_ID Title,
               EFI_STRING_ID Help, EFI_HII_HANDLE Handle);
  ~PageProvider();
  PageProvider(const PageProvider &) = delete;
  PageProvider &operator=(const PageProvider &) = delete;

  const EFI_GUID &Page() const { return Page_; }
  PAGE_PROVIDER_PROTOCOL &Record() { return Record_; }

private:
  EFI_BOOT_SERVICES *BootServices;
  EFI_GUID Page_;
  PAGE_PROVIDER_PROTOCOL Record_;
  EFI_HANDLE Handle_ = nullptr;
};

// Replaces the browser's default page list.
class PageList {
public:
  PageList(EFI_BOOT_SERVICES *BootServices, std::vector<EFI_GUID> Pages);
  ~PageList();
  PageList(const PageList &) = delete;
  PageList &operator=(const PageList &) = delete;

private:
  EFI_BOOT_SERVICES *BootServices;
  std::vector<EFI_GUID> Pages;
  PAGE_LIST_PROTOCOL Interface;
  EFI_HANDLE Handle_ = nullptr;
};

} // namespace morvane::host
