// The real-time clock behind GetTime (UEFI 2.10, section 8.3). It stands still: a test sets it, to impossible
// dates too, and makes it fail.
#pragma once

#include "simulator/ScriptedStatus.h"
#include "uefi/Uefi.h"

class Clock {
public:
  // 2024-05-17 12:00:00 in UTC until a test sets something else.
  Clock();

  // GetTime. EFI_INVALID_PARAMETER for a NULL place; the capabilities are optional.
  EFI_STATUS Get(EFI_TIME *Time, EFI_TIME_CAPABILITIES *Capabilities);

  // Taken as it is. TimeZone is in minutes, or EFI_UNSPECIFIED_TIMEZONE.
  void Set(const EFI_TIME &Time) { Now_ = Time; }
  void Set(UINT16 Year, UINT8 Month, UINT8 Day, UINT8 Hour = 0, UINT8 Minute = 0, UINT8 Second = 0,
           INT16 TimeZone = EFI_UNSPECIFIED_TIMEZONE);

  ScriptedStatus GetTimeCalls;

private:
  EFI_TIME Now_;
};
