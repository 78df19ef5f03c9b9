// EFI_HII_CONFIG_ROUTING_PROTOCOL: routing through the boot services, and the block
// conversions of config_string.cpp with pool results.
#include <cstring>
#include <string_view>

#include "host/hii/config_routing.h"
#include "host/hii/config_string.h"
#include "host/hii/hii_services.h"

namespace morvane::host {

namespace {

// ExtractConfig: each configuration's current values from its driver.
EFI_STATUS EFIAPI ExtractConfig(const EFI_HII_CONFIG_ROUTING_PROTOCOL *This, const CHAR16 *Request,
                                EFI_STRING *Progress, EFI_STRING *Results) {
  HiiServices *Owner = HiiOwnerOf(This);
  if (Owner == nullptr || Request == nullptr || Progress == nullptr || Results == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  return RouteConfigurations(Owner->BootServices(), Request, true, Progress, Results);
}

// ExportConfig: every driver's whole configuration.
EFI_STATUS EFIAPI ExportConfig(const EFI_HII_CONFIG_ROUTING_PROTOCOL *This, EFI_STRING *Results) {
  HiiServices *Owner = HiiOwnerOf(This);
  if (Owner == nullptr || Results == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  return ExportConfigurations(Owner->BootServices(), Results);
}

// RouteConfig: each configuration's new values to its driver.
EFI_STATUS EFIAPI RouteConfig(const EFI_HII_CONFIG_ROUTING_PROTOCOL *This,
                              const CHAR16 *Configuration, EFI_STRING *Progress) {
  HiiServices *Owner = HiiOwnerOf(This);
  if (Owner == nullptr || Configuration == nullptr || Progress == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  return RouteConfigurations(Owner->BootServices(), Configuration, false, Progress, nullptr);
}

// BlockToConfig: a request's block elements answered from a buffer.
EFI_STATUS EFIAPI BlockToConfig(const EFI_HII_CONFIG_ROUTING_PROTOCOL *This,
                                const CHAR16 *ConfigRequest, const UINT8 *Block, UINTN BlockSize,
                                EFI_STRING *Config, EFI_STRING *Progress) {
  HiiServices *Owner = HiiOwnerOf(This);
  if (Owner == nullptr || ConfigRequest == nullptr || Config == nullptr || Progress == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (Block == nullptr) {
    *Progress = const_cast<EFI_STRING>(ConfigRequest);
    return EFI_INVALID_PARAMETER;
  }
  std::u16string Result;
  size_t Place = 0;
  EFI_STATUS Status = BlockToConfigText(ConfigRequest, Block, BlockSize, &Result, &Place);
  *Progress = const_cast<EFI_STRING>(ConfigRequest + Place);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  return PoolString(Owner->BootServices(), Result, Config);
}

// ConfigToBlock: a response's block elements written into a buffer.
EFI_STATUS EFIAPI ConfigToBlock(const EFI_HII_CONFIG_ROUTING_PROTOCOL *This,
                                const CHAR16 *ConfigResp, UINT8 *Block, UINTN *BlockSize,
                                EFI_STRING *Progress) {
  HiiServices *Owner = HiiOwnerOf(This);
  if (Owner == nullptr || ConfigResp == nullptr || BlockSize == nullptr || Progress == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (Block == nullptr && *BlockSize > 0) {
    *Progress = const_cast<EFI_STRING>(ConfigResp);
    return EFI_INVALID_PARAMETER;
  }
  size_t Size = *BlockSize;
  size_t Place = 0;
  EFI_STATUS Status = ConfigToBlockBytes(ConfigResp, Block, &Size, &Place);
  *Progress = const_cast<EFI_STRING>(ConfigResp + Place);
  if (Status == EFI_SUCCESS || Status == EFI_BUFFER_TOO_SMALL) {
    *BlockSize = Size;
  }
  return Status;
}

// GetAltConfig: one alternative configuration out of a response.
EFI_STATUS EFIAPI GetAltConfig(const EFI_HII_CONFIG_ROUTING_PROTOCOL *This,
                               const CHAR16 *ConfigResp, const EFI_GUID *Guid, const CHAR16 *Name,
                               const EFI_DEVICE_PATH_PROTOCOL *DevicePath, const UINT16 *AltCfgId,
                               EFI_STRING *AltCfgResp) {
  HiiServices *Owner = HiiOwnerOf(This);
  if (Owner == nullptr || ConfigResp == nullptr || AltCfgResp == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  std::u16string GuidHex;
  std::u16string NameHex;
  std::u16string PathHex;
  if (Guid != nullptr) {
    GuidHex = BytesToHexPairs(reinterpret_cast<const uint8_t *>(Guid), sizeof(EFI_GUID));
  }
  if (Name != nullptr) {
    NameHex = NameToHex(Name);
  }
  if (DevicePath != nullptr) {
    size_t Size = ConfigPathSize(DevicePath);
    if (Size == 0) {
      return EFI_INVALID_PARAMETER;
    }
    PathHex = BytesToHexPairs(reinterpret_cast<const uint8_t *>(DevicePath), Size);
  }
  std::optional<UINT16> Id;
  if (AltCfgId != nullptr) {
    Id = *AltCfgId;
  }
  std::u16string Result;
  EFI_STATUS Status = AltConfigText(ConfigResp, Guid != nullptr ? &GuidHex : nullptr,
                                    Name != nullptr ? &NameHex : nullptr,
                                    DevicePath != nullptr ? &PathHex : nullptr, Id, &Result);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  return PoolString(Owner->BootServices(), Result, AltCfgResp);
}

} // namespace

const EFI_HII_CONFIG_ROUTING_PROTOCOL HII_CONFIG_ROUTING_TABLE = {
    .ExtractConfig = ExtractConfig,
    .ExportConfig = ExportConfig,
    .RouteConfig = RouteConfig,
    .BlockToConfig = BlockToConfig,
    .ConfigToBlock = ConfigToBlock,
    .GetAltConfig = GetAltConfig,
};

} // namespace morvane::host
