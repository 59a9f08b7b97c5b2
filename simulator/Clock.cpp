// The real-time clock.
#include "simulator/Clock.h"

Clock::Clock() {
  Set(2024, 5, 17, 12, 0, 0, 0);
}

EFI_STATUS Clock::Get(EFI_TIME *Time, EFI_TIME_CAPABILITIES *Capabilities) {
  const EFI_STATUS Scripted = GetTimeCalls.NextCall();
  if (Time == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (Scripted != EFI_SUCCESS) {
    return Scripted;
  }
  *Time = Now_;
  if (Capabilities != nullptr) {
    *Capabilities = {1, 50000000, FALSE};
  }
  return EFI_SUCCESS;
}

void Clock::Set(UINT16 Year, UINT8 Month, UINT8 Day, UINT8 Hour, UINT8 Minute, UINT8 Second, INT16 TimeZone) {
  Now_ = {};
  Now_.Year = Year;
  Now_.Month = Month;
  Now_.Day = Day;
  Now_.Hour = Hour;
  Now_.Minute = Minute;
  Now_.Second = Second;
  Now_.TimeZone = TimeZone;
}
