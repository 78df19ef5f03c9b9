// A whole package list: the 20-byte list header, the packages in the order added, and the END
// package.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/kit/ifr_writer.h"
#include "host/kit/strings.h"
#include "uefi/hii.h"

namespace morvane::kit {

class PackageListBuilder {
public:
  explicit PackageListBuilder(const EFI_GUID &Guid) : Guid(Guid) {}

  // A form package of the writer's opcodes, or of opcode bytes as given.
  PackageListBuilder &AddForms(const IfrWriter &Forms);
  PackageListBuilder &AddForms(const std::vector<uint8_t> &OpcodeBytes);
  // One string package per language, in the order given (all of Table's languages when empty).
  PackageListBuilder &AddStrings(const Strings &Table,
                                 const std::vector<std::string> &Languages = {},
                                 const StringPackageOptions &Options = {});
  // A package of any type: the 4-byte header is written in front of Body.
  PackageListBuilder &AddPackage(UINT8 Type, const std::vector<uint8_t> &Body);
  // A GUID package: the GUID, then Data.
  PackageListBuilder &AddGuidPackage(const EFI_GUID &PackageGuid, const std::vector<uint8_t> &Data);
  // Bytes taken as a whole package, header included and unchecked.
  PackageListBuilder &AddRawPackage(const std::vector<uint8_t> &Package);

  std::vector<uint8_t> Bytes() const;

private:
  EFI_GUID Guid;
  std::vector<uint8_t> Packages;
};

// List bytes as NewPackageList and UpdatePackageList take them; Bytes must outlive the use.
inline const EFI_HII_PACKAGE_LIST_HEADER *AsPackageList(const std::vector<uint8_t> &Bytes) {
  return reinterpret_cast<const EFI_HII_PACKAGE_LIST_HEADER *>(Bytes.data());
}

// The 4-byte package header for a package of Length bytes (header included).
std::vector<uint8_t> PackageHeaderBytes(UINT8 Type, uint32_t Length);

} // namespace morvane::kit
