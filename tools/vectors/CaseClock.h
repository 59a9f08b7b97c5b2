// The firmware's clock as a case wants it.
#pragma once

#include <chrono>
#include <string>

#include "tools/session/DriverSession.h"

// Sets the clock to Time, which is UTC as YYYYMMDDhhmmss. FALSE, with the clock as it was, for text of
// another form or a time that does not exist.
inline bool SetFirmwareClock(SimulatedFirmware &Firmware, const std::string &Time) {
  if (Time.size() != 14 || Time.find_first_not_of("0123456789") != std::string::npos) {
    return false;
  }
  const auto Part = [&Time](size_t Begin, size_t Length) {
    return static_cast<unsigned>(std::stoi(Time.substr(Begin, Length)));
  };
  const auto Year = static_cast<UINT16>(Part(0, 4));
  const std::chrono::year_month_day Date(std::chrono::year{Year}, std::chrono::month{Part(4, 2)},
                                         std::chrono::day{Part(6, 2)});
  if (!Date.ok() || Part(8, 2) > 23 || Part(10, 2) > 59 || Part(12, 2) > 59) {
    return false;
  }
  Firmware.RealTimeClock.Set(Year, static_cast<UINT8>(Part(4, 2)), static_cast<UINT8>(Part(6, 2)),
                             static_cast<UINT8>(Part(8, 2)), static_cast<UINT8>(Part(10, 2)),
                             static_cast<UINT8>(Part(12, 2)));
  return true;
}
