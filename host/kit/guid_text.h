// GUIDs as registry-format text ("8be4df61-93ca-11d2-aa0d-00e098032b8c") and back.
#pragma once

#include <string>
#include <string_view>

#include "uefi/base.h"

namespace morvane::kit {

// Throws std::invalid_argument unless Text is 8-4-4-4-12 hex digits of either case.
EFI_GUID ParseGuid(std::string_view Text);

// Lower-case registry format.
std::string GuidText(const EFI_GUID &Guid);

bool SameGuid(const EFI_GUID &Left, const EFI_GUID &Right);

} // namespace morvane::kit
