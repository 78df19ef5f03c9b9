// The speaker protocol the browser beeps through: counts beeps and can ring a front end's bell.
#pragma once

#include <functional>

#include "core/external_protocols.h"

namespace morvane::host {

class SpeakerDevice {
public:
  SpeakerDevice();
  SpeakerDevice(const SpeakerDevice &) = delete;
  SpeakerDevice &operator=(const SpeakerDevice &) = delete;

  SPEAKER_INTERFACE_PROTOCOL *Protocol() { return &Record.Protocol; }
  UINTN Beeps() const { return BeepCount; }
  UINT16 Frequency() const { return Tone; }
  void ResetBeeps() { BeepCount = 0; }
  // Called with the number of beeps of each GenerateBeep.
  void SetBeepHook(std::function<void(UINTN NumberOfBeeps)> Hook) { OnBeep = std::move(Hook); }

  EFI_STATUS GenerateBeep(UINTN NumberOfBeeps);
  EFI_STATUS SetFrequency(UINT16 Frequency);

  struct PrivateRecord {
    SPEAKER_INTERFACE_PROTOCOL Protocol;
    UINT64 Signature;
    SpeakerDevice *Owner;
  };

private:
  PrivateRecord Record;
  UINTN BeepCount = 0;
  UINT16 Tone = 440;
  std::function<void(UINTN)> OnBeep;
};

} // namespace morvane::host
