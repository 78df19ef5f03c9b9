#include "host/speaker.h"

#include <cstdlib>

namespace morvane::host {

namespace {
constexpr UINT64 SPEAKER_SIGNATURE = 0x524B5053544F4853ULL;

SpeakerDevice &OwnerOf(SPEAKER_INTERFACE_PROTOCOL *This) {
  auto *Record = reinterpret_cast<SpeakerDevice::PrivateRecord *>(This);
  if (Record == nullptr || Record->Signature != SPEAKER_SIGNATURE) {
    std::abort();
  }
  return *Record->Owner;
}

namespace Service {
// GenerateBeep: sounds the beeps; the durations only matter to real hardware.
EFI_STATUS EFIAPI GenerateBeep(SPEAKER_INTERFACE_PROTOCOL *This, UINTN NumberOfBeeps,
                               UINTN BeepDuration, UINTN TimeInterval) {
  return OwnerOf(This).GenerateBeep(NumberOfBeeps);
}

// SetFrequency: the tone of later beeps.
EFI_STATUS EFIAPI SetFrequency(SPEAKER_INTERFACE_PROTOCOL *This, UINT16 Frequency) {
  return OwnerOf(This).SetFrequency(Frequency);
}
} // namespace Service
} // namespace

SpeakerDevice::SpeakerDevice()
    : Record{{.GenerateBeep = Service::GenerateBeep, .SetFrequency = Service::SetFrequency},
             SPEAKER_SIGNATURE,
             this} {}

EFI_STATUS SpeakerDevice::GenerateBeep(UINTN NumberOfBeeps) {
  if (NumberOfBeeps == 0) {
    return EFI_INVALID_PARAMETER;
  }
  BeepCount += NumberOfBeeps;
  if (OnBeep) {
    OnBeep(NumberOfBeeps);
  }
  return EFI_SUCCESS;
}

EFI_STATUS SpeakerDevice::SetFrequency(UINT16 Frequency) {
  if (Frequency == 0) {
    return EFI_INVALID_PARAMETER;
  }
  Tone = Frequency;
  return EFI_SUCCESS;
}

} // namespace morvane::host
