#include "host/hii/config_routing.h"

#include <cstring>
#include <string>
#include <string_view>

#include "host/hii/config_string.h"

namespace morvane::host {

namespace {

// Longest device path walked; a path without an end node stops here.
constexpr size_t DEVICE_PATH_LIMIT = 0x10000;

// The handles with a protocol, copied out of the pool buffer the boot services hand back;
// none is no error, running out of pool is.
EFI_STATUS HandlesWith(EFI_BOOT_SERVICES *Boot, const EFI_GUID *Protocol,
                       std::vector<EFI_HANDLE> *Handles) {
  UINTN Count = 0;
  EFI_HANDLE *Buffer = nullptr;
  EFI_STATUS Status = Boot->LocateHandleBuffer(ByProtocol, Protocol, nullptr, &Count, &Buffer);
  if (Status == EFI_NOT_FOUND) {
    Handles->clear();
    return EFI_SUCCESS;
  }
  if (EFI_ERROR(Status)) {
    return Status;
  }
  Handles->assign(Buffer, Buffer + Count);
  Boot->FreePool(Buffer);
  return EFI_SUCCESS;
}

// Where a failure is reported: the configuration's start, or the '&' before it.
size_t FailurePlace(size_t SectionStart) {
  return SectionStart == 0 ? 0 : SectionStart - 1;
}

} // namespace

size_t ConfigPathSize(const EFI_DEVICE_PATH_PROTOCOL *Path) {
  if (Path == nullptr) {
    return 0;
  }
  const uint8_t *Bytes = reinterpret_cast<const uint8_t *>(Path);
  size_t Offset = 0;
  for (;;) {
    if (Offset + sizeof(EFI_DEVICE_PATH_PROTOCOL) > DEVICE_PATH_LIMIT) {
      return 0;
    }
    size_t Length = Bytes[Offset + 2] | (Bytes[Offset + 3] << 8);
    if (Length < sizeof(EFI_DEVICE_PATH_PROTOCOL)) {
      return 0;
    }
    bool End = Bytes[Offset] == END_DEVICE_PATH_TYPE &&
               Bytes[Offset + 1] == END_ENTIRE_DEVICE_PATH_SUBTYPE;
    Offset += Length;
    if (End) {
      return Offset;
    }
  }
}

EFI_STATUS FindConfigAccess(EFI_BOOT_SERVICES *Boot, const std::vector<uint8_t> &Path,
                            EFI_HII_CONFIG_ACCESS_PROTOCOL **Access) {
  std::vector<EFI_HANDLE> Handles;
  EFI_STATUS Status = HandlesWith(Boot, &gEfiHiiConfigAccessProtocolGuid, &Handles);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  for (EFI_HANDLE Handle : Handles) {
    VOID *DevicePath = nullptr;
    VOID *Interface = nullptr;
    if (EFI_ERROR(Boot->HandleProtocol(Handle, &gEfiDevicePathProtocolGuid, &DevicePath)) ||
        EFI_ERROR(Boot->HandleProtocol(Handle, &gEfiHiiConfigAccessProtocolGuid, &Interface))) {
      continue;
    }
    size_t Size = ConfigPathSize(static_cast<const EFI_DEVICE_PATH_PROTOCOL *>(DevicePath));
    if (Size != 0 && Size == Path.size() && std::memcmp(DevicePath, Path.data(), Size) == 0) {
      *Access = static_cast<EFI_HII_CONFIG_ACCESS_PROTOCOL *>(Interface);
      return EFI_SUCCESS;
    }
  }
  return EFI_NOT_FOUND;
}

EFI_STATUS PoolString(EFI_BOOT_SERVICES *Boot, const std::u16string &Text, EFI_STRING *Out) {
  VOID *Buffer = nullptr;
  size_t Size = (Text.size() + 1) * sizeof(CHAR16);
  EFI_STATUS Status = Boot->AllocatePool(EfiBootServicesData, Size, &Buffer);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  std::memcpy(Buffer, Text.c_str(), Size);
  *Out = static_cast<EFI_STRING>(Buffer);
  return EFI_SUCCESS;
}

EFI_STATUS RouteConfigurations(EFI_BOOT_SERVICES *Boot, const CHAR16 *Text, bool Extract,
                               EFI_STRING *Progress, EFI_STRING *Results) {
  std::u16string_view Whole(Text);
  std::vector<size_t> Starts = ConfigSections(Whole);
  std::u16string Joined;
  for (size_t Index = 0; Index < Starts.size(); Index++) {
    size_t End = Index + 1 < Starts.size() ? Starts[Index + 1] - 1 : Whole.size();
    std::u16string Section(Whole.substr(Starts[Index], End - Starts[Index]));
    ConfigHeader Header;
    std::vector<uint8_t> Path;
    if (!ParseConfigHeader(Section, 0, &Header) || !HexPairsToBytes(Header.Path, &Path)) {
      *Progress = const_cast<EFI_STRING>(Text + FailurePlace(Starts[Index]));
      return EFI_INVALID_PARAMETER;
    }
    EFI_HII_CONFIG_ACCESS_PROTOCOL *Access = nullptr;
    EFI_STATUS Status = FindConfigAccess(Boot, Path, &Access);
    if (EFI_ERROR(Status)) {
      *Progress = const_cast<EFI_STRING>(Text + FailurePlace(Starts[Index]));
      return Status;
    }
    EFI_STRING DriverProgress = nullptr;
    EFI_STRING DriverResults = nullptr;
    Status = Extract
                 ? Access->ExtractConfig(Access, Section.c_str(), &DriverProgress, &DriverResults)
                 : Access->RouteConfig(Access, Section.c_str(), &DriverProgress);
    if (EFI_ERROR(Status)) {
      // The driver's progress points into the copy it was given; map it back.
      const CHAR16 *Copy = Section.c_str();
      bool Inside = DriverProgress >= Copy && DriverProgress <= Copy + Section.size();
      *Progress = const_cast<EFI_STRING>(
          Text + (Inside ? Starts[Index] + static_cast<size_t>(DriverProgress - Copy)
                         : FailurePlace(Starts[Index])));
      return Status;
    }
    if (Extract && DriverResults != nullptr) {
      Joined += (Joined.empty() ? u"" : u"&") + std::u16string(DriverResults);
      Boot->FreePool(DriverResults);
    }
  }
  if (Extract) {
    EFI_STATUS Status = PoolString(Boot, Joined, Results);
    if (EFI_ERROR(Status)) {
      return Status;
    }
  }
  *Progress = const_cast<EFI_STRING>(Text + Whole.size());
  return EFI_SUCCESS;
}

EFI_STATUS ExportConfigurations(EFI_BOOT_SERVICES *Boot, EFI_STRING *Results) {
  std::vector<EFI_HANDLE> Handles;
  EFI_STATUS Status = HandlesWith(Boot, &gEfiHiiConfigAccessProtocolGuid, &Handles);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  if (Handles.empty()) {
    return EFI_NOT_FOUND;
  }
  std::u16string Joined;
  for (EFI_HANDLE Handle : Handles) {
    VOID *Interface = nullptr;
    if (EFI_ERROR(Boot->HandleProtocol(Handle, &gEfiHiiConfigAccessProtocolGuid, &Interface))) {
      continue;
    }
    auto *Access = static_cast<EFI_HII_CONFIG_ACCESS_PROTOCOL *>(Interface);
    EFI_STRING Progress = nullptr;
    EFI_STRING DriverResults = nullptr;
    // A driver that cannot answer leaves its part out; the others still count.
    if (EFI_ERROR(Access->ExtractConfig(Access, nullptr, &Progress, &DriverResults)) ||
        DriverResults == nullptr) {
      continue;
    }
    Joined += (Joined.empty() ? u"" : u"&") + std::u16string(DriverResults);
    Boot->FreePool(DriverResults);
  }
  return PoolString(Boot, Joined, Results);
}

} // namespace morvane::host
