#include "host/real_time_clock.h"

#include <stdexcept>

#include "host/calendar.h"

namespace morvane::host {

RealTimeClock::RealTimeClock(const EFI_TIME &Start, std::function<UINT64()> Elapsed)
    : Elapsed(std::move(Elapsed)) {
  if (!IsValidTime(Start)) {
    throw std::invalid_argument("the platform's start time is not a valid EFI_TIME");
  }
  Anchor(Start);
  Wakeup = Start;
}

INT64 RealTimeClock::Seconds(const EFI_TIME &Time) {
  return DaysFromDate(Time.Year, Time.Month, Time.Day) * 86400 + Time.Hour * 3600 +
         Time.Minute * 60 + Time.Second;
}

void RealTimeClock::Anchor(const EFI_TIME &Time) {
  BaseSeconds = Seconds(Time);
  BaseNanosecond = Time.Nanosecond;
  BaseUnits = Elapsed();
  TimeZone = Time.TimeZone;
  Daylight = Time.Daylight;
}

EFI_TIME RealTimeClock::Now() const {
  UINT64 Nanoseconds = BaseNanosecond + (Elapsed() - BaseUnits) * 100;
  INT64 Total = BaseSeconds + static_cast<INT64>(Nanoseconds / 1000000000ULL);
  INT64 Days = Total >= 0 ? Total / 86400 : (Total - 86399) / 86400;
  INT64 SecondOfDay = Total - Days * 86400;
  INT64 Year;
  UINT32 Month;
  UINT32 Day;
  DateFromDays(Days, &Year, &Month, &Day);
  EFI_TIME Time{};
  Time.Year = static_cast<UINT16>(Year);
  Time.Month = static_cast<UINT8>(Month);
  Time.Day = static_cast<UINT8>(Day);
  Time.Hour = static_cast<UINT8>(SecondOfDay / 3600);
  Time.Minute = static_cast<UINT8>(SecondOfDay / 60 % 60);
  Time.Second = static_cast<UINT8>(SecondOfDay % 60);
  Time.Nanosecond = static_cast<UINT32>(Nanoseconds % 1000000000ULL);
  Time.TimeZone = TimeZone;
  Time.Daylight = Daylight;
  return Time;
}

EFI_STATUS RealTimeClock::GetTime(EFI_TIME *Time, EFI_TIME_CAPABILITIES *Capabilities) const {
  if (Time == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *Time = Now();
  if (Capabilities != nullptr) {
    // Ticks once a second to the caller; accuracy in parts per million times a million.
    Capabilities->Resolution = 1;
    Capabilities->Accuracy = 50000000;
    Capabilities->SetsToZero = FALSE;
  }
  return EFI_SUCCESS;
}

EFI_STATUS RealTimeClock::SetTime(const EFI_TIME *Time) {
  if (Time == nullptr || !IsValidTime(*Time)) {
    return EFI_INVALID_PARAMETER;
  }
  Anchor(*Time);
  return EFI_SUCCESS;
}

EFI_STATUS RealTimeClock::GetWakeupTime(BOOLEAN *Enabled, BOOLEAN *Pending, EFI_TIME *Time) const {
  if (Enabled == nullptr || Pending == nullptr || Time == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *Enabled = WakeupEnabled ? TRUE : FALSE;
  *Pending = WakeupEnabled && Seconds(Now()) >= Seconds(Wakeup) ? TRUE : FALSE;
  *Time = Wakeup;
  return EFI_SUCCESS;
}

EFI_STATUS RealTimeClock::SetWakeupTime(BOOLEAN Enable, const EFI_TIME *Time) {
  if (Enable) {
    if (Time == nullptr || !IsValidTime(*Time)) {
      return EFI_INVALID_PARAMETER;
    }
    Wakeup = *Time;
  }
  WakeupEnabled = Enable != 0;
  return EFI_SUCCESS;
}

} // namespace morvane::host
