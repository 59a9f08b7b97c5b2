// Reading of UEFI variables (UEFI 2.10, section 8.2). The driver writes none.
#pragma once

#include "driver/platform/Pool.h"

// The value of the variable Name of Vendor with one zero byte behind it, in a
// pool block of the caller's; empty when there is no such variable, its size
// cannot be asked, or the pool refuses.
[[nodiscard]] PoolBlock<UINT8> ReadVariable(const CHAR16 *Name, const EFI_GUID &Vendor);
