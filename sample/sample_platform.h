// The built-in sample platform: Main, Advanced, Security, Boot and Exit, each a form set with a
// driver of its own, offered as tabs under the default page list's GUIDs.
#pragma once

#include <memory>
#include <vector>

#include "sample/sample_page.h"

namespace morvane::sample {

class SamplePlatform {
public:
  // Builds and publishes the five pages; Ok() is false when the HII protocols are missing.
  explicit SamplePlatform(EFI_SYSTEM_TABLE *System);
  ~SamplePlatform();

  bool Ok() const { return Ready; }
  // The HII handles of the pages, in tab order.
  std::vector<EFI_HII_HANDLE> Handles() const;
  SamplePage &Page(size_t Index) { return *Pages[Index]; }

private:
  bool Ready = false;
  std::vector<std::unique_ptr<SamplePage>> Pages;
};

} // namespace morvane::sample
