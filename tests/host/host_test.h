// A fresh platform for every test, the tables as the driver sees them, and helpers for the
// calls most tests make.
#pragma once

#include <gtest/gtest.h>

#include "host/platform.h"

namespace morvane::host::test {

// Protocol GUIDs that belong to no one, for installing test interfaces.
inline constexpr EFI_GUID kProtocolA = {0x11111111, 0x2222, 0x3333, {1, 2, 3, 4, 5, 6, 7, 8}};
inline constexpr EFI_GUID kProtocolB = {0x11111111, 0x2222, 0x3333, {1, 2, 3, 4, 5, 6, 7, 9}};
inline constexpr EFI_GUID kProtocolC = {0x11111111, 0x2222, 0x3333, {1, 2, 3, 4, 5, 6, 7, 10}};

// A notification function that counts its calls in the int its context points at.
inline VOID EFIAPI CountCalls(EFI_EVENT Event, VOID *Context) {
  (*static_cast<int *>(Context))++;
}

class HostTest : public ::testing::Test {
protected:
  // Installs Interface as Protocol on Handle (a new handle when null) and returns the handle.
  EFI_HANDLE Install(const EFI_GUID &Protocol, VOID *Interface, EFI_HANDLE Handle = nullptr) {
    EXPECT_EQ(Boot->InstallProtocolInterface(&Handle, &Protocol, EFI_NATIVE_INTERFACE, Interface),
              EFI_SUCCESS);
    return Handle;
  }

  // Protocol's interface on Handle, or null.
  VOID *Find(EFI_HANDLE Handle, const EFI_GUID &Protocol) {
    VOID *Interface = nullptr;
    return Boot->HandleProtocol(Handle, &Protocol, &Interface) == EFI_SUCCESS ? Interface : nullptr;
  }

  // A signal event whose notification counts into *Counter.
  EFI_EVENT Counter(int *Count, UINT32 Type = EVT_NOTIFY_SIGNAL, EFI_TPL Tpl = TPL_CALLBACK) {
    EFI_EVENT Event = nullptr;
    EXPECT_EQ(Boot->CreateEvent(Type, Tpl, CountCalls, Count, &Event), EFI_SUCCESS);
    return Event;
  }

  Platform Host;
  EFI_SYSTEM_TABLE *System = Host.SystemTable();
  EFI_BOOT_SERVICES *Boot = Host.BootServices();
  EFI_RUNTIME_SERVICES *Runtime = Host.RuntimeServices();
};

} // namespace morvane::host::test
