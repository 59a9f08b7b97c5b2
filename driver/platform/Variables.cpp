// Variables straight from the runtime services; nothing is cached.
#include "driver/platform/Variables.h"

#include "driver/core/DriverContext.h"
#include "driver/platform/SizedRead.h"

PoolBlock<UINT8> ReadVariable(const CHAR16 *Name, const EFI_GUID &Vendor) {
  UINTN Size;
  return ReadWhole(
      [&](UINTN *Length, UINT8 *Buffer) {
        return DriverContext.RuntimeServices->GetVariable(Name, &Vendor, nullptr, Length, Buffer);
      },
      1, &Size);
}
