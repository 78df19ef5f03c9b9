// The five pages of the sample platform.
#pragma once

#include <memory>

#include "core/external_protocols.h"
#include "sample/sample_page.h"

namespace morvane::sample {

std::unique_ptr<SamplePage> MakeMainPage(const SampleServices &Services);
std::unique_ptr<SamplePage> MakeAdvancedPage(const SampleServices &Services);
std::unique_ptr<SamplePage> MakeSecurityPage(const SampleServices &Services);
std::unique_ptr<SamplePage> MakeBootPage(const SampleServices &Services);
std::unique_ptr<SamplePage> MakeExitPage(const SampleServices &Services);

} // namespace morvane::sample
