// Users' own forms: binary HII package lists from files, each registered on a driver handle of
// its own with a generic config-access driver, offered as a tab in the order given, and followed
// by the program's Exit page.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/components/config_driver.h"
#include "host/components/pages.h"
#include "sample/sample_page.h"
#include "uefi/hii.h"

namespace morvane::tools {

// What a package list file holds, as far as the program needs to know it.
struct PackageListSummary {
  EFI_GUID ListGuid{};
  // Form sets found in the form packages: GUID, title and help string ids.
  struct FormSetEntry {
    EFI_GUID Guid;
    EFI_STRING_ID Title;
    EFI_STRING_ID Help;
  };
  std::vector<FormSetEntry> FormSets;
  struct BufferStore {
    EFI_GUID Guid;
    std::u16string Name;
    UINT16 Size;
  };
  std::vector<BufferStore> BufferStores;
  std::vector<EFI_GUID> NameValueStores;
};

// Checks the structure of a package list (header, every package length, the end package) and
// lists its form sets and varstores. False, with "offset N: what is wrong", when malformed.
bool InspectPackageList(const std::vector<UINT8> &Bytes, PackageListSummary *Summary,
                        std::string *Error);

// The GUIDs of the form sets in the package list of Handle, as the HII database holds it.
std::vector<EFI_GUID> FormSetGuidsOf(EFI_HII_DATABASE_PROTOCOL *Database, EFI_HII_HANDLE Handle);

class PackageFiles {
public:
  // Nothing is registered until Load.
  PackageFiles(EFI_SYSTEM_TABLE *System, EFI_HII_DATABASE_PROTOCOL *Database,
               EFI_HII_CONFIG_ROUTING_PROTOCOL *Routing);
  ~PackageFiles();
  PackageFiles(const PackageFiles &) = delete;
  PackageFiles &operator=(const PackageFiles &) = delete;

  // Reads, checks and registers each file, then installs the page list and the Exit page.
  // False with a message naming the file (and offset) at the first one that fails.
  bool Load(const std::vector<std::string> &Paths, std::string *Error);

  // The HII handles to pass to SendForm: the files' in order, then the Exit page's.
  std::vector<EFI_HII_HANDLE> Handles() const;

private:
  struct LoadedFile;
  bool LoadOne(const std::string &Path, size_t Index, std::string *Error);

  EFI_SYSTEM_TABLE *System;
  EFI_HII_DATABASE_PROTOCOL *Database;
  EFI_HII_CONFIG_ROUTING_PROTOCOL *Routing;
  std::vector<std::unique_ptr<LoadedFile>> Files;
  std::unique_ptr<host::PageList> Pages;
  std::unique_ptr<sample::SamplePage> ExitPage;
};

} // namespace morvane::tools
