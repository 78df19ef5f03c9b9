// The layouts other drivers offer beside the browser's default: one under the no-defaults GUID
// with the default geometry, and one for forms without help text (style 2), with no help area
// and the body across the screen. Without them such forms cannot be shown at all.
#pragma once

#include <cstdint>
#include <vector>

#include "uefi/system_table.h"

namespace morvane::host {

class StandardLayouts {
public:
  // Installs both layouts on a new handle.
  explicit StandardLayouts(EFI_BOOT_SERVICES *BootServices);
  ~StandardLayouts();
  StandardLayouts(const StandardLayouts &) = delete;
  StandardLayouts &operator=(const StandardLayouts &) = delete;

  EFI_HANDLE Handle() const { return Handle_; }

  // The blocks as installed: total size, body size, then 80-byte rows.
  const std::vector<uint32_t> &NoDefaultsBlock() const { return NoDefaults; }
  const std::vector<uint32_t> &NoHelpBlock() const { return NoHelp; }

private:
  EFI_BOOT_SERVICES *BootServices;
  EFI_HANDLE Handle_ = nullptr;
  std::vector<uint32_t> NoDefaults;
  std::vector<uint32_t> NoHelp;
};

// A layout block built from rows of twenty words each.
std::vector<uint32_t> MakeLayoutBlock(const std::vector<std::vector<uint32_t>> &Rows);

} // namespace morvane::host
