// The firmware's clock as a case wants it.
#pragma once

#include <string>

#include "tools/session/DriverSession.h"

// Sets the clock to Time, which is UTC as YYYYMMDDhhmmss. FALSE, with the clock as it was, for text of
// another form.
inline bool SetFirmwareClock(SimulatedFirmware &Firmware, const std::string &Time) {
  if (Time.size() != 14 || Time.find_first_not_of("0123456789") != std::string::npos) {
    return false;
  }
  const auto Part = [&Time](size_t Begin, size_t Length) { return std::stoi(Time.substr(Begin, Length)); };
  Firmware.RealTimeClock.Set(static_cast<UINT16>(Part(0, 4)), static_cast<UINT8>(Part(4, 2)),
                             static_cast<UINT8>(Part(6, 2)), static_cast<UINT8>(Part(8, 2)),
                             static_cast<UINT8>(Part(10, 2)), static_cast<UINT8>(Part(12, 2)));
  return true;
}
