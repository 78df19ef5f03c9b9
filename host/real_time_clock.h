// The real-time clock: a start time plus the virtual time elapsed since, so the date advances
// exactly as the timers do. SetTime moves it; the wakeup alarm is kept but never wakes anything.
#pragma once

#include <functional>

#include "uefi/system_table.h"

namespace morvane::host {

class RealTimeClock {
public:
  // Elapsed returns the virtual time in 100 ns units.
  RealTimeClock(const EFI_TIME &Start, std::function<UINT64()> Elapsed);

  EFI_STATUS GetTime(EFI_TIME *Time, EFI_TIME_CAPABILITIES *Capabilities) const;
  EFI_STATUS SetTime(const EFI_TIME *Time);
  EFI_STATUS GetWakeupTime(BOOLEAN *Enabled, BOOLEAN *Pending, EFI_TIME *Time) const;
  EFI_STATUS SetWakeupTime(BOOLEAN Enable, const EFI_TIME *Time);
  EFI_TIME Now() const;

private:
  static INT64 Seconds(const EFI_TIME &Time);
  void Anchor(const EFI_TIME &Time);

  std::function<UINT64()> Elapsed;
  // The clock read BaseSeconds (since 1970, in local fields) and BaseNanosecond when the
  // virtual clock stood at BaseUnits.
  INT64 BaseSeconds = 0;
  UINT32 BaseNanosecond = 0;
  UINT64 BaseUnits = 0;
  INT16 TimeZone = EFI_UNSPECIFIED_TIMEZONE;
  UINT8 Daylight = 0;
  bool WakeupEnabled = false;
  EFI_TIME Wakeup{};
};

} // namespace morvane::host
