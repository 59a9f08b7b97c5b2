// The namespace of the variables that the standard itself defines (UEFI 2.10, section 3.3), PlatformLang
// among them. Other vendors' variables must not use it.
#pragma once

#include "uefi/Base.h"

#define EFI_GLOBAL_VARIABLE                                                                                  \
  EFI_GUID_INITIALIZER(0x8be4df61, 0x93ca, 0x11d2, 0xaa, 0x0d, 0x00, 0xe0, 0x98, 0x03, 0x2b, 0x8c)

#ifdef __cplusplus
inline constexpr EFI_GUID mEfiGlobalVariableGuid = EFI_GLOBAL_VARIABLE;
#endif
