// The real-time clock on the virtual clock: reading, setting, the calendar, and the wakeup alarm.
#include "tests/host/host_test.h"

namespace morvane::host::test {
namespace {

EFI_TIME Time(UINT16 Year, UINT8 Month, UINT8 Day, UINT8 Hour, UINT8 Minute, UINT8 Second) {
  EFI_TIME Result{};
  Result.Year = Year;
  Result.Month = Month;
  Result.Day = Day;
  Result.Hour = Hour;
  Result.Minute = Minute;
  Result.Second = Second;
  Result.TimeZone = EFI_UNSPECIFIED_TIMEZONE;
  return Result;
}

void ExpectTime(const EFI_TIME &Actual, const EFI_TIME &Expected) {
  EXPECT_EQ(Actual.Year, Expected.Year);
  EXPECT_EQ(Actual.Month, Expected.Month);
  EXPECT_EQ(Actual.Day, Expected.Day);
  EXPECT_EQ(Actual.Hour, Expected.Hour);
  EXPECT_EQ(Actual.Minute, Expected.Minute);
  EXPECT_EQ(Actual.Second, Expected.Second);
}

using TimeTest = HostTest;

TEST_F(TimeTest, StartsAtTheConfiguredTimeAndFollowsTheVirtualClock) {
  EFI_TIME Now{};
  EFI_TIME_CAPABILITIES Capabilities{};
  ASSERT_EQ(Runtime->GetTime(&Now, &Capabilities), EFI_SUCCESS);
  ExpectTime(Now, Time(2026, 1, 1, 0, 0, 0));
  EXPECT_EQ(Capabilities.Resolution, 1U);
  Host.AdvanceTime(1500000);
  ASSERT_EQ(Runtime->GetTime(&Now, nullptr), EFI_SUCCESS);
  ExpectTime(Now, Time(2026, 1, 1, 0, 0, 1));
  EXPECT_EQ(Now.Nanosecond, 500000000U);
  EXPECT_EQ(Runtime->GetTime(nullptr, nullptr), EFI_INVALID_PARAMETER);
}

TEST(TimeRollover, CalendarIsCorrectAcrossMonthsYearsAndLeapDays) {
  struct RolloverCase {
    const char *Name;
    EFI_TIME Start;
    UINT64 Seconds;
    EFI_TIME Expected;
  };
  for (const RolloverCase &Case : {
           RolloverCase{"new year", Time(2026, 12, 31, 23, 59, 59), 1, Time(2027, 1, 1, 0, 0, 0)},
           RolloverCase{"leap day", Time(2028, 2, 28, 23, 59, 59), 1, Time(2028, 2, 29, 0, 0, 0)},
           RolloverCase{"no leap day", Time(2027, 2, 28, 23, 59, 59), 1, Time(2027, 3, 1, 0, 0, 0)},
           RolloverCase{"century not leap", Time(2100, 2, 28, 12, 0, 0), 86400,
                        Time(2100, 3, 1, 12, 0, 0)},
           RolloverCase{"400 years leap", Time(2000, 2, 28, 12, 0, 0), 86400,
                        Time(2000, 2, 29, 12, 0, 0)},
           RolloverCase{"30-day month", Time(2026, 4, 30, 23, 0, 0), 3600,
                        Time(2026, 5, 1, 0, 0, 0)},
       }) {
    SCOPED_TRACE(Case.Name);
    PlatformOptions Options;
    Options.StartTime = Case.Start;
    Platform Host(Options);
    Host.AdvanceTime(Case.Seconds * 1000000);
    EFI_TIME Now{};
    ASSERT_EQ(Host.RuntimeServices()->GetTime(&Now, nullptr), EFI_SUCCESS);
    ExpectTime(Now, Case.Expected);
  }
}

TEST_F(TimeTest, InvalidTimesAreRefusedAndTheClockUnchanged) {
  struct InvalidTimeCase {
    const char *Name;
    void (*Break)(EFI_TIME &Time);
  };
  for (const InvalidTimeCase &Case : {
           InvalidTimeCase{"year 1899", [](EFI_TIME &T) { T.Year = 1899; }},
           InvalidTimeCase{"month 0", [](EFI_TIME &T) { T.Month = 0; }},
           InvalidTimeCase{"month 13", [](EFI_TIME &T) { T.Month = 13; }},
           InvalidTimeCase{"June 31", [](EFI_TIME &T) { T.Day = 31; }},
           InvalidTimeCase{"February 29, not leap", [](EFI_TIME &T) { T.Month = 2, T.Day = 29; }},
           InvalidTimeCase{"day 0", [](EFI_TIME &T) { T.Day = 0; }},
           InvalidTimeCase{"hour 24", [](EFI_TIME &T) { T.Hour = 24; }},
           InvalidTimeCase{"minute 60", [](EFI_TIME &T) { T.Minute = 60; }},
           InvalidTimeCase{"second 60", [](EFI_TIME &T) { T.Second = 60; }},
           InvalidTimeCase{"nanosecond", [](EFI_TIME &T) { T.Nanosecond = 1000000000; }},
           InvalidTimeCase{"time zone", [](EFI_TIME &T) { T.TimeZone = 1441; }},
           InvalidTimeCase{"daylight", [](EFI_TIME &T) { T.Daylight = 0x04; }},
       }) {
    SCOPED_TRACE(Case.Name);
    EFI_TIME Bad = Time(2027, 6, 15, 12, 30, 0);
    Case.Break(Bad);
    EXPECT_EQ(Runtime->SetTime(&Bad), EFI_INVALID_PARAMETER);
    EXPECT_EQ(Runtime->SetWakeupTime(TRUE, &Bad), EFI_INVALID_PARAMETER);
    EFI_TIME Now{};
    Runtime->GetTime(&Now, nullptr);
    ExpectTime(Now, Time(2026, 1, 1, 0, 0, 0));
  }
}

TEST_F(TimeTest, SetTimeMovesTheClockWhichKeepsRunning) {
  EFI_TIME Set = Time(2028, 2, 29, 23, 59, 58);
  Set.TimeZone = -60;
  Set.Daylight = EFI_TIME_ADJUST_DAYLIGHT;
  ASSERT_EQ(Runtime->SetTime(&Set), EFI_SUCCESS);
  Host.AdvanceTime(3000000);
  EFI_TIME Now{};
  Runtime->GetTime(&Now, nullptr);
  ExpectTime(Now, Time(2028, 3, 1, 0, 0, 1));
  EXPECT_EQ(Now.TimeZone, -60);
  EXPECT_EQ(Now.Daylight, EFI_TIME_ADJUST_DAYLIGHT);
  EXPECT_EQ(Runtime->SetTime(nullptr), EFI_INVALID_PARAMETER);
}

TEST_F(TimeTest, WakeupAlarmIsKeptAndBecomesPending) {
  BOOLEAN Enabled = TRUE;
  BOOLEAN Pending = TRUE;
  EFI_TIME Alarm{};
  ASSERT_EQ(Runtime->GetWakeupTime(&Enabled, &Pending, &Alarm), EFI_SUCCESS);
  EXPECT_FALSE(Enabled);
  EXPECT_FALSE(Pending);
  EFI_TIME Soon = Time(2026, 1, 1, 0, 0, 10);
  ASSERT_EQ(Runtime->SetWakeupTime(TRUE, &Soon), EFI_SUCCESS);
  Runtime->GetWakeupTime(&Enabled, &Pending, &Alarm);
  EXPECT_TRUE(Enabled);
  EXPECT_FALSE(Pending);
  ExpectTime(Alarm, Soon);
  Host.AdvanceTime(10000000);
  Runtime->GetWakeupTime(&Enabled, &Pending, &Alarm);
  EXPECT_TRUE(Pending);
  ASSERT_EQ(Runtime->SetWakeupTime(FALSE, nullptr), EFI_SUCCESS);
  Runtime->GetWakeupTime(&Enabled, &Pending, &Alarm);
  EXPECT_FALSE(Enabled);
  EXPECT_EQ(Runtime->SetWakeupTime(TRUE, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Runtime->GetWakeupTime(nullptr, &Pending, &Alarm), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Runtime->GetWakeupTime(&Enabled, nullptr, &Alarm), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Runtime->GetWakeupTime(&Enabled, &Pending, nullptr), EFI_INVALID_PARAMETER);
}

TEST(PlatformOptionsTime, InvalidStartTimeIsRefused) {
  PlatformOptions Options;
  Options.StartTime.Month = 13;
  EXPECT_THROW(Platform Host(Options), std::invalid_argument);
  EXPECT_FALSE(Platform::Exists());
}

} // namespace
} // namespace morvane::host::test
