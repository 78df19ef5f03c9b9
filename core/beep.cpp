#include "core/beep.h"

#include "core/external_protocols.h"
#include "support/efi_globals.h"

#include "support/poison.h"

namespace {
SPEAKER_INTERFACE_PROTOCOL *Speaker;
}

void ResetBeepState() {
  Speaker = nullptr;
}

EFI_STATUS Beep() {
  if (Speaker == nullptr) {
    EFI_STATUS Status = BootServices->LocateProtocol(&gSpeakerInterfaceProtocolGuid, nullptr,
                                                     reinterpret_cast<VOID **>(&Speaker));
    if (EFI_ERROR(Status)) {
      Speaker = nullptr;
      return Status;
    }
  }
  Speaker->GenerateBeep(Speaker, 1, 250000, 125000);
  return EFI_SUCCESS;
}
