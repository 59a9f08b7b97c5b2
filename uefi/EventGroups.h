// Event groups of the firmware (UEFI 2.10, section 7.1.2), as far as they are used here.
#pragma once

#include "uefi/Base.h"

#define EFI_EVENT_GROUP_READY_TO_BOOT                                                                        \
  EFI_GUID_INITIALIZER(0x7ce88fb3, 0x4bd7, 0x4679, 0x87, 0xa8, 0xa8, 0xd8, 0xde, 0xe5, 0x0d, 0x2b)

#ifdef __cplusplus
inline constexpr EFI_GUID mEfiEventGroupReadyToBootGuid = EFI_EVENT_GROUP_READY_TO_BOOT;
#endif
