// Gregorian calendar arithmetic for the real-time clock.
#pragma once

#include "uefi/base.h"

namespace morvane::host {

bool IsLeapYear(UINT32 Year);
UINT32 DaysInMonth(UINT32 Year, UINT32 Month);
// Days since 1970-01-01 of a date (negative before it), and back.
INT64 DaysFromDate(INT64 Year, UINT32 Month, UINT32 Day);
void DateFromDays(INT64 Days, INT64 *Year, UINT32 *Month, UINT32 *Day);
// The published field ranges of EFI_TIME.
bool IsValidTime(const EFI_TIME &Time);

} // namespace morvane::host
