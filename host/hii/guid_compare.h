// GUID equality for the services (EFI_GUID has no operator).
#pragma once

#include <cstring>

#include "uefi/base.h"

namespace morvane::host {

inline bool GuidsEqual(const EFI_GUID &Left, const EFI_GUID &Right) {
  return std::memcmp(&Left, &Right, sizeof(EFI_GUID)) == 0;
}

} // namespace morvane::host
