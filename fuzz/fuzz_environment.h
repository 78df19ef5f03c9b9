// One hosted platform with its HII services and an entered driver, shared by every input of a
// fuzz run: building them per input would leave little time for the inputs themselves. Any
// dialog the driver puts up is answered with Enter at once.
#pragma once

#include <memory>
#include <vector>

#include "host/components/config_driver.h"
#include "host/hii/hii_services.h"
#include "host/platform.h"

namespace morvane::fuzz {

class FuzzEnvironment {
public:
  FuzzEnvironment();

  host::Platform &Platform() { return *Hosted; }
  EFI_HII_DATABASE_PROTOCOL *Database() { return Hii; }
  host::ConfigDriver &Driver() { return *Config; }

  // Registers a package list on the driver's handle; null when the database refuses it.
  EFI_HII_HANDLE Register(const std::vector<uint8_t> &PackageList);
  void Unregister(EFI_HII_HANDLE Handle);

private:
  std::unique_ptr<host::Platform> Hosted;
  std::unique_ptr<host::HiiServices> Services;
  std::unique_ptr<host::ConfigDriver> Config;
  EFI_HII_DATABASE_PROTOCOL *Hii = nullptr;
};

} // namespace morvane::fuzz
