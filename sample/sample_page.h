// One page of the sample platform: a form set written with the authoring kit, registered in
// the HII database on the handle of its own driver, and offered as a tab by a page provider.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/components/config_driver.h"
#include "host/components/pages.h"
#include "host/kit/ifr_writer.h"
#include "host/kit/package_list_builder.h"
#include "host/kit/strings.h"
#include "uefi/hii.h"
#include "uefi/system_table.h"

namespace morvane::sample {

// The platform services the sample's drivers use, located once.
struct SampleServices {
  EFI_BOOT_SERVICES *Boot = nullptr;
  EFI_RUNTIME_SERVICES *Runtime = nullptr;
  EFI_HII_DATABASE_PROTOCOL *Database = nullptr;
  EFI_HII_STRING_PROTOCOL *Strings = nullptr;
  EFI_HII_CONFIG_ROUTING_PROTOCOL *Routing = nullptr;

  // False when one of the HII protocols is missing.
  bool Locate(EFI_SYSTEM_TABLE *System);
};

class SamplePage {
public:
  SamplePage(const SampleServices &Services, const EFI_GUID &Page);
  virtual ~SamplePage();
  SamplePage(const SamplePage &) = delete;
  SamplePage &operator=(const SamplePage &) = delete;

  EFI_HII_HANDLE Handle() const { return HiiHandle; }
  host::ConfigDriver &Driver() { return *Config; }
  kit::Strings &Text() { return Table; }

protected:
  // Registers the forms and the strings (every language of the table) and installs the page
  // provider with the given title and help string ids.
  void Publish(const kit::IfrWriter &Forms, EFI_STRING_ID Title, EFI_STRING_ID Help);
  // A buffer varstore whose bytes live in a non-volatile variable of the same name and GUID:
  // read at start when present and of the right size, written at each save.
  std::vector<uint8_t> *PersistentBuffer(const EFI_GUID &Guid, const std::u16string &Name,
                                         std::vector<uint8_t> Defaults);
  // The text of one of this page's strings in a language, as the HII database holds it.
  std::u16string ReadString(EFI_STRING_ID Id, const char *Language = "en-US") const;
  void WriteString(EFI_STRING_ID Id, const std::u16string &Text);

  SampleServices Services;
  EFI_GUID PageGuid;
  kit::Strings Table;
  std::unique_ptr<host::ConfigDriver> Config;
  EFI_HII_HANDLE HiiHandle = nullptr;
  std::unique_ptr<host::PageProvider> Provider;

private:
  void SaveBuffers();
  struct Persisted {
    EFI_GUID Guid;
    std::u16string Name;
  };
  std::vector<Persisted> PersistedBuffers;
};

// The attributes of the sample's stored settings.
constexpr UINT32 SettingsAttributes = EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS;

} // namespace morvane::sample
