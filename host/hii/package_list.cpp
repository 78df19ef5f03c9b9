#include "host/hii/package_list.h"

#include <cstring>

#include "host/hii/byte_reader.h"

namespace morvane::host {

namespace {

constexpr size_t PACKAGE_HEADER_SIZE = sizeof(EFI_HII_PACKAGE_HEADER);
constexpr size_t LIST_HEADER_SIZE = sizeof(EFI_HII_PACKAGE_LIST_HEADER);
constexpr size_t GUID_PACKAGE_MINIMUM = PACKAGE_HEADER_SIZE + sizeof(EFI_GUID);
// LayoutLength, Guid, LayoutDescriptorStringOffset, DescriptorCount.
constexpr size_t KEYBOARD_LAYOUT_MINIMUM = 2 + 16 + 4 + 1;

EFI_GUID GuidAt(const uint8_t *Bytes) {
  EFI_GUID Guid;
  std::memcpy(&Guid, Bytes, sizeof(Guid));
  return Guid;
}

} // namespace

EFI_GUID StoredPackage::PackageGuid() const {
  return Bytes.size() >= GUID_PACKAGE_MINIMUM ? GuidAt(Bytes.data() + PACKAGE_HEADER_SIZE)
                                              : EFI_GUID{};
}

size_t PackageListRecord::ExportSize() const {
  size_t Size = LIST_HEADER_SIZE + PACKAGE_HEADER_SIZE;
  for (const PackagePointer &Package : Packages) {
    Size += Package->Bytes.size();
  }
  return Size;
}

bool KeyboardLayouts(const std::vector<uint8_t> &Bytes, std::vector<KeyboardLayoutSpan> *Layouts) {
  uint16_t Count;
  if (!ReadField(Bytes.data(), Bytes.size(), PACKAGE_HEADER_SIZE, &Count)) {
    return false;
  }
  std::vector<KeyboardLayoutSpan> Found;
  size_t Offset = PACKAGE_HEADER_SIZE + 2;
  for (uint16_t Index = 0; Index < Count; Index++) {
    uint16_t Length;
    if (!ReadField(Bytes.data(), Bytes.size(), Offset, &Length) ||
        Length < KEYBOARD_LAYOUT_MINIMUM || Length > Bytes.size() - Offset) {
      return false;
    }
    Found.push_back({Offset, Length, GuidAt(Bytes.data() + Offset + 2)});
    Offset += Length;
  }
  *Layouts = std::move(Found);
  return true;
}

EFI_STATUS MakePackage(std::vector<uint8_t> Bytes, PackagePointer *Package) {
  uint32_t LengthAndType;
  if (!ReadField(Bytes.data(), Bytes.size(), 0, &LengthAndType) ||
      (LengthAndType & 0xFFFFFF) != Bytes.size() || Bytes.size() < PACKAGE_HEADER_SIZE) {
    return EFI_INVALID_PARAMETER;
  }
  auto Made = std::make_shared<StoredPackage>();
  Made->Type = static_cast<UINT8>(LengthAndType >> 24);
  switch (Made->Type) {
  case EFI_HII_PACKAGE_TYPE_ALL:
  case EFI_HII_PACKAGE_END:
    return EFI_INVALID_PARAMETER; // neither is a package to keep
  case EFI_HII_PACKAGE_STRINGS: {
    StringPackage Strings;
    EFI_STATUS Status = ReadStringPackage(Bytes.data(), Bytes.size(), &Strings);
    if (EFI_ERROR(Status)) {
      return Status;
    }
    Made->Strings = std::move(Strings);
    break;
  }
  case EFI_HII_PACKAGE_TYPE_GUID:
    if (Bytes.size() < GUID_PACKAGE_MINIMUM) {
      return EFI_INVALID_PARAMETER;
    }
    break;
  case EFI_HII_PACKAGE_KEYBOARD_LAYOUT: {
    std::vector<KeyboardLayoutSpan> Layouts;
    if (!KeyboardLayouts(Bytes, &Layouts)) {
      return EFI_INVALID_PARAMETER;
    }
    break;
  }
  default:
    break; // forms and the rest are read by their users
  }
  Made->Bytes = std::move(Bytes);
  *Package = std::move(Made);
  return EFI_SUCCESS;
}

EFI_STATUS ParsePackageList(const EFI_HII_PACKAGE_LIST_HEADER *List, EFI_GUID *Guid,
                            std::vector<PackagePointer> *Packages) {
  if (List == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  const uint8_t *Bytes = reinterpret_cast<const uint8_t *>(List);
  uint32_t ListLength;
  ReadField(Bytes, LIST_HEADER_SIZE, offsetof(EFI_HII_PACKAGE_LIST_HEADER, PackageLength),
            &ListLength);
  if (ListLength < LIST_HEADER_SIZE + PACKAGE_HEADER_SIZE) {
    return EFI_INVALID_PARAMETER;
  }
  std::vector<PackagePointer> Found;
  size_t Offset = LIST_HEADER_SIZE;
  for (;;) {
    uint32_t LengthAndType;
    if (!ReadField(Bytes, ListLength, Offset, &LengthAndType)) {
      return EFI_INVALID_PARAMETER; // no END before the list's end
    }
    size_t Length = LengthAndType & 0xFFFFFF;
    if (Length < PACKAGE_HEADER_SIZE || Length > ListLength - Offset) {
      return EFI_INVALID_PARAMETER;
    }
    if ((LengthAndType >> 24) == EFI_HII_PACKAGE_END) {
      if (Length != PACKAGE_HEADER_SIZE || Offset + Length != ListLength) {
        return EFI_INVALID_PARAMETER;
      }
      break;
    }
    PackagePointer Package;
    EFI_STATUS Status =
        MakePackage(std::vector<uint8_t>(Bytes + Offset, Bytes + Offset + Length), &Package);
    if (EFI_ERROR(Status)) {
      return Status;
    }
    Found.push_back(std::move(Package));
    Offset += Length;
  }
  *Guid = GuidAt(Bytes);
  *Packages = std::move(Found);
  return EFI_SUCCESS;
}

} // namespace morvane::host
