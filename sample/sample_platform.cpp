#include "sample/sample_platform.h"

#include "sample/pages.h"

namespace morvane::sample {

SamplePlatform::SamplePlatform(EFI_SYSTEM_TABLE *System) {
  SampleServices Services;
  if (!Services.Locate(System)) {
    return;
  }
  Pages.push_back(MakeMainPage(Services));
  Pages.push_back(MakeAdvancedPage(Services));
  Pages.push_back(MakeSecurityPage(Services));
  Pages.push_back(MakeBootPage(Services));
  Pages.push_back(MakeExitPage(Services));
  Ready = true;
}

SamplePlatform::~SamplePlatform() {
  // Pages go in reverse, so the handles they installed leave in the order they came.
  while (!Pages.empty()) {
    Pages.pop_back();
  }
}

std::vector<EFI_HII_HANDLE> SamplePlatform::Handles() const {
  std::vector<EFI_HII_HANDLE> Out;
  for (const std::unique_ptr<SamplePage> &Page : Pages) {
    Out.push_back(Page->Handle());
  }
  return Out;
}

} // namespace morvane::sample
