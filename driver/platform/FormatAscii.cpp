// The one conversion is "%ld"; every other character stands for itself.
#include "driver/platform/FormatAscii.h"

namespace {

struct DECIMAL {
  CHAR8 Digits[20]; // a sign and 19 digits
  UINTN Length;
};

DECIMAL ToDecimal(INT64 Value) {
  DECIMAL Result = {};
  UINT64 Magnitude = Value < 0 ? 0 - static_cast<UINT64>(Value) : static_cast<UINT64>(Value);
  CHAR8 Reversed[20];
  UINTN Count = 0;
  do {
    Reversed[Count++] = static_cast<CHAR8>('0' + Magnitude % 10);
    Magnitude /= 10;
  } while (Magnitude != 0);
  if (Value < 0) {
    Reversed[Count++] = '-';
  }
  while (Count != 0) {
    Result.Digits[Result.Length++] = Reversed[--Count];
  }
  return Result;
}

} // namespace

void FormatAscii(CHAR8 *Buffer, UINTN Size, const CHAR8 *Format, INT64 Value) {
  if (Size == 0) {
    return;
  }
  UINTN Used = 0;
  bool Converted = false;
  while (*Format != '\0' && Used < Size - 1) {
    if (!Converted && Format[0] == '%' && Format[1] == 'l' && Format[2] == 'd') {
      DECIMAL Number = ToDecimal(Value);
      for (UINTN Index = 0; Index < Number.Length && Used < Size - 1; Index++) {
        Buffer[Used++] = Number.Digits[Index];
      }
      Converted = true;
      Format += 3;
    } else {
      Buffer[Used++] = *Format++;
    }
  }
  Buffer[Used] = '\0';
}
