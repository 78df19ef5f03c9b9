#include "core/driver_entry.h"

#include "core/browser_context.h"
#include "core/driver_state.h"
#include "core/form_browser.h"
#include "core/user_access.h"
#include "data/builtin_strings.h"
#include "dialogs/browser_services.h"
#include "screen/keys.h"
#include "support/efi_globals.h"
#include "support/memory.h"
#include "support/package_list.h"
#include "support/print.h"

#include "support/poison.h"

namespace {

EFI_EVENT RefreshNotifyEvent;
VOID *RefreshNotifyRegistration;
EFI_EVENT InputNotifyEvent;
VOID *InputNotifyRegistration;

// The device path of the handle that owns the built-in strings: a hardware vendor node whose
// first four data bytes make it unique, and an end node.
#pragma pack(push, 1)
struct StringsDevicePath {
  VENDOR_DEVICE_PATH Vendor;
  UINT8 Data[16];
  EFI_DEVICE_PATH_PROTOCOL End;
};
#pragma pack(pop)
static_assert(sizeof(StringsDevicePath) == 40);
static_assert(sizeof(VENDOR_DEVICE_PATH) + 16 == 36);

VOID EFIAPI OnRefreshNotify(EFI_EVENT Event, VOID *Context) {
  Browser->RefreshPending = 1;
}

VOID EFIAPI OnInputNotify(EFI_EVENT Event, VOID *Context) {
  LocateExtendedInput();
}

EFI_STATUS CreateContext() {
  Browser = static_cast<BrowserContext *>(AllocateZeroedPool(sizeof(BrowserContext)));
  if (Browser == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  Browser->Signature = BROWSER_CONTEXT_SIGNATURE;
  ListInit(&Browser->FormSetList);
  ListInit(&Browser->MenuBarList);
  ListInit(&Browser->SelectionStack);
  ListInit(&Browser->OptionList);
  Browser->Selection = static_cast<UiSelection *>(AllocateZeroedPool(sizeof(UiSelection)));
  if (Browser->Selection == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  Browser->Selection->Signature = UI_SELECTION_SIGNATURE;
  Browser->CallbackAction = NO_CALLBACK_ACTION;
  Browser->Services = &BrowserServices;
  Browser->FormBrowser2 = &FormBrowser2Interface;
  Browser->Print = &PrintInterface;
  return EFI_SUCCESS;
}

EFI_STATUS LocateHiiProtocols() {
  struct {
    const EFI_GUID *Guid;
    VOID **Interface;
  } const Wanted[] = {
      {&gEfiHiiDatabaseProtocolGuid, reinterpret_cast<VOID **>(&HiiDatabase)},
      {&gEfiHiiStringProtocolGuid, reinterpret_cast<VOID **>(&HiiString)},
      {&gEfiHiiConfigRoutingProtocolGuid, reinterpret_cast<VOID **>(&HiiConfigRouting)},
      {&gEfiHiiImageProtocolGuid, &HiiImage},
      {&gEfiHiiFontProtocolGuid, &HiiFont},
  };
  for (const auto &Protocol : Wanted) {
    EFI_STATUS Status = BootServices->LocateProtocol(Protocol.Guid, nullptr, Protocol.Interface);
    if (EFI_ERROR(Status)) {
      return Status;
    }
  }
  return EFI_SUCCESS;
}

EFI_STATUS RegisterBuiltinStrings() {
  StringsDevicePath Template = {};
  Template.Vendor.Header.Type = HARDWARE_DEVICE_PATH;
  Template.Vendor.Header.SubType = HW_VENDOR_DP;
  WriteUnaligned16(Template.Vendor.Header.Length, sizeof(VENDOR_DEVICE_PATH) + 16);
  Template.Vendor.Guid = gIfrVendorExtensionGuid;
  UINT64 Count = 0;
  BootServices->GetNextMonotonicCount(&Count);
  WriteUnaligned32(Template.Data, static_cast<UINT32>(Count));
  Template.End.Type = END_DEVICE_PATH_TYPE;
  Template.End.SubType = END_ENTIRE_DEVICE_PATH_SUBTYPE;
  WriteUnaligned16(Template.End.Length, sizeof(EFI_DEVICE_PATH_PROTOCOL));

  // The path lives on the handle for the driver's life.
  VOID *Path = AllocateCopy(sizeof(Template), &Template);
  if (Path == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  EFI_HANDLE StringsHandle = nullptr;
  EFI_STATUS Status = BootServices->InstallProtocolInterface(
      &StringsHandle, &gEfiDevicePathProtocolGuid, EFI_NATIVE_INTERFACE, Path);
  if (EFI_ERROR(Status)) {
    return Status;
  }

  EFI_HII_PACKAGE_LIST_HEADER *List =
      BuildPackageList(1, &gBrowserStringsPackageListGuid, BuiltinStringPackages);
  if (List == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  Status = HiiDatabase->NewPackageList(HiiDatabase, List, StringsHandle, &Browser->HiiHandle);
  FreePoolIfSet(List);
  return Status;
}

} // namespace

EFI_STATUS EFIAPI BrowserDriverEntry(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *Table) {
  ResetDriverState();
  RefreshNotifyEvent = nullptr;
  RefreshNotifyRegistration = nullptr;
  InputNotifyEvent = nullptr;
  InputNotifyRegistration = nullptr;

  KeepSystemTables(Table);

  EFI_STATUS Status = CreateContext();
  if (EFI_ERROR(Status)) {
    return Status;
  }
  Status = LocateHiiProtocols();
  if (EFI_ERROR(Status)) {
    return Status;
  }
  Status = RegisterBuiltinStrings();
  if (EFI_ERROR(Status)) {
    return Status;
  }

  Browser->DriverHandle = nullptr;
  Status = BootServices->InstallMultipleProtocolInterfaces(
      &Browser->DriverHandle, &gEfiFormBrowser2ProtocolGuid, Browser->FormBrowser2,
      &gBrowserServicesProtocolGuid, Browser->Services, &gPrintProtocolGuid, Browser->Print,
      nullptr);
  if (EFI_ERROR(Status)) {
    return Status;
  }

  StartUserAccess();

  // Neither event's creation nor the first registration stops the entry.
  BootServices->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, OnRefreshNotify, nullptr,
                            &RefreshNotifyEvent);
  BootServices->RegisterProtocolNotify(&gRefreshNotifyProtocolGuid, RefreshNotifyEvent,
                                       &RefreshNotifyRegistration);
  BootServices->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, OnInputNotify, nullptr,
                            &InputNotifyEvent);
  Status = BootServices->RegisterProtocolNotify(&gEfiSimpleTextInputExProtocolGuid,
                                                InputNotifyEvent, &InputNotifyRegistration);

  CurrentLanguage[0] = 0;
  SavedLanguage[0] = 0;
  DefaultLanguage[0] = 0;
  return Status;
}
