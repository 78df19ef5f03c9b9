// Package lists as the database keeps them: each package's bytes, and for string packages the
// texts read out of them. Packages are never changed in place; a change makes a new record, so
// a pointer handed to a notification stays valid while the notification runs.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "host/hii/string_package.h"
#include "uefi/hii.h"

namespace morvane::host {

struct StoredPackage {
  UINT8 Type = 0;
  // The whole package, header included.
  std::vector<uint8_t> Bytes;
  // The texts of a string package.
  std::optional<StringPackage> Strings;

  const EFI_HII_PACKAGE_HEADER *Header() const {
    return reinterpret_cast<const EFI_HII_PACKAGE_HEADER *>(Bytes.data());
  }
  // The GUID of a GUID package (copied out: package bytes are unaligned).
  EFI_GUID PackageGuid() const;
};

using PackagePointer = std::shared_ptr<const StoredPackage>;

struct PackageListRecord {
  EFI_HII_HANDLE Handle = nullptr;
  EFI_GUID Guid = {};
  EFI_HANDLE DriverHandle = nullptr;
  std::vector<PackagePointer> Packages;

  // Bytes of the list as exported: header, packages, END.
  size_t ExportSize() const;
};

// Checks a whole package list and splits it into packages (the END package not kept):
// the list length equals the bytes walked, every package is at least 4 bytes and inside the
// list, an END package of 4 bytes ends exactly at the list end, and string, GUID and keyboard
// layout packages are consistent inside. EFI_INVALID_PARAMETER otherwise.
EFI_STATUS ParsePackageList(const EFI_HII_PACKAGE_LIST_HEADER *List, EFI_GUID *Guid,
                            std::vector<PackagePointer> *Packages);

// A package record of Bytes, with the texts read when it is a string package.
EFI_STATUS MakePackage(std::vector<uint8_t> Bytes, PackagePointer *Package);

// The keyboard layouts of a keyboard layout package: offset and length of each inside Bytes.
struct KeyboardLayoutSpan {
  size_t Offset;
  size_t Length;
  EFI_GUID Guid;
};
bool KeyboardLayouts(const std::vector<uint8_t> &Bytes, std::vector<KeyboardLayoutSpan> *Layouts);

} // namespace morvane::host
