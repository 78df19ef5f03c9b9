#include "host/calendar.h"

namespace morvane::host {

bool IsLeapYear(UINT32 Year) {
  return (Year % 4 == 0 && Year % 100 != 0) || Year % 400 == 0;
}

UINT32 DaysInMonth(UINT32 Year, UINT32 Month) {
  static constexpr UINT8 DAYS[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (Month < 1 || Month > 12) {
    return 0;
  }
  return Month == 2 && IsLeapYear(Year) ? 29 : DAYS[Month - 1];
}

// Counts in 400-year eras starting on March 1st, so the leap day ends each year.
INT64 DaysFromDate(INT64 Year, UINT32 Month, UINT32 Day) {
  Year -= Month <= 2 ? 1 : 0;
  INT64 Era = (Year >= 0 ? Year : Year - 399) / 400;
  INT64 YearOfEra = Year - Era * 400;
  INT64 ShiftedMonth = Month > 2 ? Month - 3 : Month + 9;
  INT64 DayOfYear = (153 * ShiftedMonth + 2) / 5 + Day - 1;
  INT64 DayOfEra = YearOfEra * 365 + YearOfEra / 4 - YearOfEra / 100 + DayOfYear;
  return Era * 146097 + DayOfEra - 719468;
}

void DateFromDays(INT64 Days, INT64 *Year, UINT32 *Month, UINT32 *Day) {
  Days += 719468;
  INT64 Era = (Days >= 0 ? Days : Days - 146096) / 146097;
  INT64 DayOfEra = Days - Era * 146097;
  INT64 YearOfEra = (DayOfEra - DayOfEra / 1460 + DayOfEra / 36524 - DayOfEra / 146096) / 365;
  INT64 DayOfYear = DayOfEra - (365 * YearOfEra + YearOfEra / 4 - YearOfEra / 100);
  INT64 ShiftedMonth = (5 * DayOfYear + 2) / 153;
  *Day = static_cast<UINT32>(DayOfYear - (153 * ShiftedMonth + 2) / 5 + 1);
  *Month = static_cast<UINT32>(ShiftedMonth < 10 ? ShiftedMonth + 3 : ShiftedMonth - 9);
  *Year = YearOfEra + Era * 400 + (*Month <= 2 ? 1 : 0);
}

bool IsValidTime(const EFI_TIME &Time) {
  if (Time.Year < 1900 || Time.Year > 9999 || Time.Month < 1 || Time.Month > 12) {
    return false;
  }
  if (Time.Day < 1 || Time.Day > DaysInMonth(Time.Year, Time.Month)) {
    return false;
  }
  if (Time.Hour > 23 || Time.Minute > 59 || Time.Second > 59 || Time.Nanosecond > 999999999) {
    return false;
  }
  if (Time.TimeZone != EFI_UNSPECIFIED_TIMEZONE &&
      (Time.TimeZone < -1440 || Time.TimeZone > 1440)) {
    return false;
  }
  return (Time.Daylight & ~(EFI_TIME_ADJUST_DAYLIGHT | EFI_TIME_IN_DAYLIGHT)) == 0;
}

} // namespace morvane::host
