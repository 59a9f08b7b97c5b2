// The library's clock over the runtime service GetTime: certificate validity
// is judged by it to the second. Time values are signed 32-bit counts of
// seconds since 1970-01-01 00:00:00.
#include <time.h>

#include "driver/core/DriverContext.h"

namespace {

constexpr INT64 SecondsPerDay = 86400;
constexpr INT32 EpochYear = 1970;

// Days before each month, by leap year and month 1 to 12; entry 13 is the year.
constexpr INT32 mCumulativeDays[2][14] = {
    {0, 0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365},
    {0, 0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335, 366},
};

bool IsLeapYear(INT32 Year) {
  return (Year % 4 == 0 && Year % 100 != 0) || Year % 400 == 0;
}

INT32 DaysOfYear(INT32 Year) {
  return mCumulativeDays[IsLeapYear(Year)][13];
}

// 0 for a reading outside what a time value holds: with that no certificate is
// valid.
time_t ToTimeValue(const EFI_TIME &Reading) {
  if (Reading.Year < EpochYear || Reading.Month < 1 || Reading.Month > 12) {
    return 0;
  }
  INT64 Days = 0;
  for (INT32 Year = EpochYear; Year < Reading.Year; Year++) {
    Days += DaysOfYear(Year);
  }
  Days += mCumulativeDays[IsLeapYear(Reading.Year)][Reading.Month];
  Days += Reading.Day == 0 ? 0 : Reading.Day - 1;
  INT64 Seconds = ((Days * 24 + Reading.Hour) * 60 + Reading.Minute) * 60 + Reading.Second;
  if (Reading.TimeZone != EFI_UNSPECIFIED_TIMEZONE) {
    Seconds += static_cast<INT64>(Reading.TimeZone) * 60;
  }
  return Seconds > INT32_MAX ? 0 : static_cast<time_t>(Seconds);
}

} // namespace

extern "C" time_t time(time_t *Place) {
  EFI_TIME Reading = {};
  time_t Value = 0;
  if (!EFI_ERROR(DriverContext.RuntimeServices->GetTime(&Reading, nullptr))) {
    Value = ToTimeValue(Reading);
  }
  if (Place != nullptr) {
    *Place = Value;
  }
  return Value;
}

extern "C" struct tm *gmtime(const time_t *Place) {
  static struct tm Result; // the library copies it at once
  INT64 Days = *Place / SecondsPerDay;
  INT64 Seconds = *Place % SecondsPerDay;
  if (Seconds < 0) {
    Seconds += SecondsPerDay;
    Days--;
  }
  Result = {};
  Result.tm_sec = static_cast<int>(Seconds % 60);
  Result.tm_min = static_cast<int>(Seconds / 60 % 60);
  Result.tm_hour = static_cast<int>(Seconds / 3600);
  Result.tm_wday = static_cast<int>(((Days + 4) % 7 + 7) % 7); // 1970-01-01 was a Thursday
  INT32 Year = EpochYear;
  for (; Days < 0; Days += DaysOfYear(Year)) {
    Year--;
  }
  for (; Days >= DaysOfYear(Year); Year++) {
    Days -= DaysOfYear(Year);
  }
  const INT32 *Row = mCumulativeDays[IsLeapYear(Year)];
  INT32 Month = 12;
  while (Month > 1 && Row[Month] > Days) {
    Month--;
  }
  Result.tm_year = Year - 1900;
  Result.tm_yday = static_cast<int>(Days);
  Result.tm_mon = Month - 1;
  Result.tm_mday = static_cast<int>(Days) - Row[Month] + 1;
  return &Result;
}
