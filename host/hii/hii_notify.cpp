// Package notifications: registration, and the synchronous calls during the change.
#include <algorithm>

#include "host/hii/guid_compare.h"
#include "host/hii/hii_database.h"

namespace morvane::host {

namespace {

constexpr uintptr_t NOTIFY_HANDLE_BASE = 0x4E540000;
constexpr uintptr_t HANDLE_STRIDE = 0x10;
constexpr EFI_HII_DATABASE_NOTIFY_TYPE KNOWN_NOTIFY_TYPES =
    EFI_HII_DATABASE_NOTIFY_NEW_PACK | EFI_HII_DATABASE_NOTIFY_REMOVE_PACK |
    EFI_HII_DATABASE_NOTIFY_EXPORT_PACK | EFI_HII_DATABASE_NOTIFY_ADD_PACK;

} // namespace

EFI_STATUS HiiDatabase::RegisterPackageNotify(UINT8 PackageType, const EFI_GUID *PackageGuid,
                                              EFI_HII_DATABASE_NOTIFY Function,
                                              EFI_HII_DATABASE_NOTIFY_TYPE NotifyType,
                                              EFI_HANDLE *NotifyHandle) {
  if (Function == nullptr || NotifyHandle == nullptr || NotifyType == 0 ||
      (NotifyType & ~KNOWN_NOTIFY_TYPES) != 0 ||
      (PackageType == EFI_HII_PACKAGE_TYPE_GUID) != (PackageGuid != nullptr)) {
    return EFI_INVALID_PARAMETER;
  }
  NotifySerial++;
  Notification Entry;
  Entry.Handle = reinterpret_cast<EFI_HANDLE>(NOTIFY_HANDLE_BASE + NotifySerial * HANDLE_STRIDE);
  Entry.PackageType = PackageType;
  if (PackageGuid != nullptr) {
    Entry.PackageGuid = *PackageGuid;
  }
  Entry.Function = Function;
  Entry.Types = NotifyType;
  Notifications.push_back(Entry);
  *NotifyHandle = Entry.Handle;
  return EFI_SUCCESS;
}

EFI_STATUS HiiDatabase::UnregisterPackageNotify(EFI_HANDLE NotifyHandle) {
  auto Found =
      std::find_if(Notifications.begin(), Notifications.end(),
                   [&](const Notification &Entry) { return Entry.Handle == NotifyHandle; });
  if (NotifyHandle == nullptr || Found == Notifications.end()) {
    return EFI_NOT_FOUND;
  }
  Notifications.erase(Found);
  return EFI_SUCCESS;
}

bool HiiDatabase::Matches(const Notification &Entry, const StoredPackage &Package,
                          EFI_HII_DATABASE_NOTIFY_TYPE Type) const {
  if ((Entry.Types & Type) == 0) {
    return false;
  }
  if (Entry.PackageType == EFI_HII_PACKAGE_TYPE_ALL) {
    return true;
  }
  return Entry.PackageType == Package.Type &&
         (!Entry.PackageGuid.has_value() || GuidsEqual(*Entry.PackageGuid, Package.PackageGuid()));
}

void HiiDatabase::Notify(EFI_HII_DATABASE_NOTIFY_TYPE Type, EFI_HII_HANDLE Handle,
                         const std::vector<PackagePointer> &Packages) {
  for (const PackagePointer &Package : Packages) {
    // Registrations may change under the calls: walk a copy, and check each is still there.
    std::vector<Notification> Registered = Notifications;
    for (const Notification &Entry : Registered) {
      bool StillRegistered =
          std::any_of(Notifications.begin(), Notifications.end(),
                      [&](const Notification &Live) { return Live.Handle == Entry.Handle; });
      if (!StillRegistered || !Matches(Entry, *Package, Type)) {
        continue;
      }
      EFI_GUID PackageGuid = Package->PackageGuid();
      Entry.Function(Package->Type,
                     Package->Type == EFI_HII_PACKAGE_TYPE_GUID ? &PackageGuid : nullptr,
                     Package->Header(), Handle, Type);
    }
  }
}

} // namespace morvane::host
