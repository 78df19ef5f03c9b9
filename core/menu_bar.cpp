#include "core/menu_bar.h"

#include "core/browser_context.h"
#include "core/hii_strings.h"
#include "support/efi_globals.h"
#include "support/guid.h"
#include "support/memory.h"

#include "support/poison.h"

namespace {

// A page list is a platform's table; one without its terminator must not run on forever.
constexpr UINTN MaximumPages = 1024;

EFI_STATUS AddMenuBarEntry(const PAGE_PROVIDER_PROTOCOL *Provider) {
  MenuBarEntry *Entry = static_cast<MenuBarEntry *>(AllocateZeroedPool(sizeof(MenuBarEntry)));
  if (Entry == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  Entry->Signature = MENU_BAR_ENTRY_SIGNATURE;
  Entry->Handle = Provider->Handle;
  Entry->TitleStringId = Provider->TitleStringId;
  Entry->HelpStringId = Provider->HelpStringId;
  Entry->Index = Browser->MenuBarCount;
  Entry->Title = GetHiiString(Entry->TitleStringId, Entry->Handle);
  if (Entry->Title == nullptr) {
    FreePoolIfSet(Entry);
    return EFI_DEVICE_ERROR;
  }
  ListInsertTail(&Browser->MenuBarList, &Entry->Link);
  Browser->MenuBarCount++;
  return EFI_SUCCESS;
}

} // namespace

EFI_STATUS BuildMenuBar(EFI_HII_HANDLE *Handles, UINTN HandleCount) {
  EFI_HII_HANDLE *Remaining =
      static_cast<EFI_HII_HANDLE *>(AllocateCopy(HandleCount * sizeof(EFI_HII_HANDLE), Handles));
  if (Remaining == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }

  PAGE_LIST_PROTOCOL *PageList = nullptr;
  if (EFI_ERROR(BootServices->LocateProtocol(&gPageListProtocolGuid, nullptr,
                                             reinterpret_cast<VOID **>(&PageList)))) {
    PageList = nullptr;
  }
  Browser->PageListInterface = PageList;
  const EFI_GUID *Pages =
      PageList != nullptr && PageList->Pages != nullptr ? PageList->Pages : gDefaultPageGuids;

  for (UINTN Page = 0; Page < MaximumPages && !IsNullGuid(&Pages[Page]); Page++) {
    PAGE_PROVIDER_PROTOCOL *Provider = nullptr;
    if (EFI_ERROR(BootServices->LocateProtocol(&Pages[Page], nullptr,
                                               reinterpret_cast<VOID **>(&Provider))) ||
        Provider == nullptr) {
      continue;
    }
    for (UINTN Index = 0; Index < HandleCount; Index++) {
      if (Remaining[Index] == nullptr || Remaining[Index] != Provider->Handle) {
        continue;
      }
      Remaining[Index] = nullptr;
      // A failed entry is dropped and the walk goes on.
      AddMenuBarEntry(Provider);
    }
  }
  FreePoolIfSet(Remaining);
  return EFI_SUCCESS;
}

void ReleaseMenuBar() {
  while (!ListIsEmpty(&Browser->MenuBarList)) {
    ListLink *Link = ListFirst(&Browser->MenuBarList);
    MenuBarEntry *Entry = MenuBarEntryFromLink(Link);
    ListRemove(Link);
    FreePoolIfSet(Entry->Title);
    FreePoolIfSet(Entry);
  }
  Browser->MenuBarCount = 0;
}
