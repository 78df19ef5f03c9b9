// The boot and runtime service tables of the hosted platform. Every service reaches the
// platform through Platform::Current(), since UEFI function pointers carry no context.
#pragma once

#include "uefi/system_table.h"

namespace morvane::host {

EFI_BOOT_SERVICES MakeBootServices();
EFI_RUNTIME_SERVICES MakeRuntimeServices();

} // namespace morvane::host
