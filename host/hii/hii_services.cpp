#include "host/hii/hii_services.h"

#include <stdexcept>

namespace morvane::host {

namespace {

HiiServices *Living = nullptr;

template <typename Interface>
void Fill(HiiProtocolRecord<Interface> &Record, const Interface &Table, HiiServices *Owner) {
  Record.Protocol = Table;
  Record.Signature = HII_RECORD_SIGNATURE;
  Record.Owner = Owner;
}

} // namespace

HiiServices *HiiServices::Current() {
  return Living;
}

HiiServices::HiiServices(EFI_BOOT_SERVICES *BootServices, const HiiServicesOptions &Options)
    : Boot(BootServices), Settings(Options) {
  if (Living != nullptr) {
    throw std::logic_error("only one HiiServices lives at a time");
  }
  if (Boot == nullptr) {
    throw std::runtime_error("HiiServices needs boot services");
  }
  Fill(DatabaseRecord, HII_DATABASE_TABLE, this);
  Fill(StringRecord, HII_STRING_TABLE, this);
  Fill(RoutingRecord, HII_CONFIG_ROUTING_TABLE, this);
  Fill(CollationRecord, HII_COLLATION_TABLE, this);
  Fill(ImageRecord, HII_IMAGE_TABLE, this);
  Fill(FontRecord, HII_FONT_TABLE, this);

  std::vector<Installed> Wanted = {
      {&gEfiHiiDatabaseProtocolGuid, &DatabaseRecord.Protocol},
      {&gEfiHiiStringProtocolGuid, &StringRecord.Protocol},
      {&gEfiHiiConfigRoutingProtocolGuid, &RoutingRecord.Protocol},
      {&gEfiUnicodeCollation2ProtocolGuid, &CollationRecord.Protocol},
  };
  if (Settings.ImageAndFont) {
    Wanted.push_back({&gEfiHiiImageProtocolGuid, &ImageRecord.Protocol});
    Wanted.push_back({&gEfiHiiFontProtocolGuid, &FontRecord.Protocol});
  }
  for (const Installed &Each : Wanted) {
    EFI_STATUS Status = Boot->InstallProtocolInterface(&ServicesHandle, Each.Guid,
                                                       EFI_NATIVE_INTERFACE, Each.Interface);
    if (EFI_ERROR(Status)) {
      UninstallAll();
      throw std::runtime_error("the boot services refused an HII protocol");
    }
    InstalledProtocols.push_back(Each);
  }
  Living = this;
}

HiiServices::~HiiServices() {
  UninstallAll();
  Living = nullptr;
}

void HiiServices::UninstallAll() {
  while (!InstalledProtocols.empty()) {
    const Installed &Last = InstalledProtocols.back();
    Boot->UninstallProtocolInterface(ServicesHandle, Last.Guid, Last.Interface);
    InstalledProtocols.pop_back();
  }
}

} // namespace morvane::host
