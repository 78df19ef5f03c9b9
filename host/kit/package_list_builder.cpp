#include "host/kit/package_list_builder.h"

#include <stdexcept>

#include "host/kit/byte_append.h"

namespace morvane::kit {

namespace {

constexpr uint32_t PACKAGE_LENGTH_LIMIT = 0xFFFFFF;

} // namespace

std::vector<uint8_t> PackageHeaderBytes(UINT8 Type, uint32_t Length) {
  std::vector<uint8_t> Bytes;
  PutU32(Bytes, (Length & PACKAGE_LENGTH_LIMIT) | (static_cast<uint32_t>(Type) << 24));
  return Bytes;
}

PackageListBuilder &PackageListBuilder::AddForms(const IfrWriter &Forms) {
  return AddPackage(EFI_HII_PACKAGE_FORMS, Forms.Bytes());
}

PackageListBuilder &PackageListBuilder::AddForms(const std::vector<uint8_t> &OpcodeBytes) {
  return AddPackage(EFI_HII_PACKAGE_FORMS, OpcodeBytes);
}

PackageListBuilder &PackageListBuilder::AddStrings(const Strings &Table,
                                                   const std::vector<std::string> &Languages,
                                                   const StringPackageOptions &Options) {
  for (const std::string &Language : Languages.empty() ? Table.Languages() : Languages) {
    AddRawPackage(Table.Package(Language, Options));
  }
  return *this;
}

PackageListBuilder &PackageListBuilder::AddPackage(UINT8 Type, const std::vector<uint8_t> &Body) {
  if (Body.size() > PACKAGE_LENGTH_LIMIT - 4) {
    throw std::length_error("a package cannot exceed 16 MiB");
  }
  PutBytes(Packages, PackageHeaderBytes(Type, static_cast<uint32_t>(4 + Body.size())));
  PutBytes(Packages, Body);
  return *this;
}

PackageListBuilder &PackageListBuilder::AddGuidPackage(const EFI_GUID &PackageGuid,
                                                       const std::vector<uint8_t> &Data) {
  std::vector<uint8_t> Body;
  PutGuid(Body, PackageGuid);
  PutBytes(Body, Data);
  return AddPackage(EFI_HII_PACKAGE_TYPE_GUID, Body);
}

PackageListBuilder &PackageListBuilder::AddRawPackage(const std::vector<uint8_t> &Package) {
  PutBytes(Packages, Package);
  return *this;
}

std::vector<uint8_t> PackageListBuilder::Bytes() const {
  std::vector<uint8_t> List;
  PutGuid(List, Guid);
  PutU32(List, sizeof(EFI_HII_PACKAGE_LIST_HEADER) + Packages.size() + 4);
  PutBytes(List, Packages);
  PutBytes(List, PackageHeaderBytes(EFI_HII_PACKAGE_END, 4));
  return List;
}

} // namespace morvane::kit
