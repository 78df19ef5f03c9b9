// The HII services of the hosted platform: a database, string, configuration routing and
// Unicode collation protocol (and the image and font protocols a browser looks for) installed
// on one new handle through the boot services they are given, as a firmware driver would.
#pragma once

#include "host/hii/hii_database.h"
#include "uefi/hii.h"
#include "uefi/system_table.h"
#include "uefi/unicode_collation.h"

namespace morvane::host {

struct HiiServicesOptions {
  // Installs the image and font protocols too (they answer EFI_UNSUPPORTED).
  bool ImageAndFont = true;
};

class HiiServices;

// Each protocol sits at the start of a record that leads back to its services, so a service
// function finds its state from This alone.
inline constexpr UINT32 HII_RECORD_SIGNATURE = 0x52494948; // "HIIR"

template <typename Interface>
struct HiiProtocolRecord {
  Interface Protocol;
  UINT32 Signature;
  HiiServices *Owner;
};

// The services behind This; null for a null or foreign interface.
template <typename Interface>
HiiServices *HiiOwnerOf(const Interface *This) {
  if (This == nullptr) {
    return nullptr;
  }
  const auto *Record = reinterpret_cast<const HiiProtocolRecord<Interface> *>(This);
  return Record->Signature == HII_RECORD_SIGNATURE ? Record->Owner : nullptr;
}

class HiiServices {
public:
  // Installs the protocols on a new handle; throws std::runtime_error when the boot services
  // refuse, std::logic_error while another instance lives. The boot services must outlive
  // this object.
  explicit HiiServices(EFI_BOOT_SERVICES *BootServices,
                       const HiiServicesOptions &Options = HiiServicesOptions());
  // Uninstalls the protocols.
  ~HiiServices();
  HiiServices(const HiiServices &) = delete;
  HiiServices &operator=(const HiiServices &) = delete;

  // The living instance, or null.
  static HiiServices *Current();

  EFI_HANDLE Handle() const { return ServicesHandle; }
  EFI_BOOT_SERVICES *BootServices() const { return Boot; }
  HiiDatabase &Packages() { return State; }

  EFI_HII_DATABASE_PROTOCOL *Database() { return &DatabaseRecord.Protocol; }
  EFI_HII_STRING_PROTOCOL *String() { return &StringRecord.Protocol; }
  EFI_HII_CONFIG_ROUTING_PROTOCOL *ConfigRouting() { return &RoutingRecord.Protocol; }
  EFI_UNICODE_COLLATION_PROTOCOL *Collation() { return &CollationRecord.Protocol; }
  // Null when the options leave them out.
  EFI_HII_IMAGE_PROTOCOL *Image() {
    return Settings.ImageAndFont ? &ImageRecord.Protocol : nullptr;
  }
  EFI_HII_FONT_PROTOCOL *Font() { return Settings.ImageAndFont ? &FontRecord.Protocol : nullptr; }

private:
  struct Installed {
    const EFI_GUID *Guid;
    VOID *Interface;
  };
  void UninstallAll();

  EFI_BOOT_SERVICES *Boot;
  HiiServicesOptions Settings;
  EFI_HANDLE ServicesHandle = nullptr;
  HiiDatabase State;
  HiiProtocolRecord<EFI_HII_DATABASE_PROTOCOL> DatabaseRecord;
  HiiProtocolRecord<EFI_HII_STRING_PROTOCOL> StringRecord;
  HiiProtocolRecord<EFI_HII_CONFIG_ROUTING_PROTOCOL> RoutingRecord;
  HiiProtocolRecord<EFI_UNICODE_COLLATION_PROTOCOL> CollationRecord;
  HiiProtocolRecord<EFI_HII_IMAGE_PROTOCOL> ImageRecord;
  HiiProtocolRecord<EFI_HII_FONT_PROTOCOL> FontRecord;
  std::vector<Installed> InstalledProtocols;
};

// The published tables, one per protocol file.
extern const EFI_HII_DATABASE_PROTOCOL HII_DATABASE_TABLE;
extern const EFI_HII_STRING_PROTOCOL HII_STRING_TABLE;
extern const EFI_HII_CONFIG_ROUTING_PROTOCOL HII_CONFIG_ROUTING_TABLE;
extern const EFI_UNICODE_COLLATION_PROTOCOL HII_COLLATION_TABLE;
extern const EFI_HII_IMAGE_PROTOCOL HII_IMAGE_TABLE;
extern const EFI_HII_FONT_PROTOCOL HII_FONT_TABLE;

} // namespace morvane::host
