// A fresh platform for every test, and the tables as the driver sees them.
#pragma once

#include <gtest/gtest.h>

#include "host/platform.h"

namespace morvane::host::test {

class HostTest : public ::testing::Test {
protected:
  Platform Host;
  EFI_SYSTEM_TABLE *System = Host.SystemTable();
  EFI_BOOT_SERVICES *Boot = Host.BootServices();
  EFI_RUNTIME_SERVICES *Runtime = Host.RuntimeServices();
};

// Protocol GUIDs that belong to no one, for installing test interfaces.
inline constexpr EFI_GUID kProtocolA = {0x11111111, 0x2222, 0x3333, {1, 2, 3, 4, 5, 6, 7, 8}};
inline constexpr EFI_GUID kProtocolB = {0x11111111, 0x2222, 0x3333, {1, 2, 3, 4, 5, 6, 7, 9}};
inline constexpr EFI_GUID kProtocolC = {0x11111111, 0x2222, 0x3333, {1, 2, 3, 4, 5, 6, 7, 10}};

} // namespace morvane::host::test
