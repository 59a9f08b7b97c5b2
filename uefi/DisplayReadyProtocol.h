// DISPLAY_READY_PROTOCOL: its presence in the handle database means that a screen can be drawn. It has no
// members and its interface pointer must not be followed.
#pragma once

#include "uefi/Base.h"

#define DISPLAY_READY_PROTOCOL_GUID                                                                          \
  EFI_GUID_INITIALIZER(0xdbc9fd21, 0xfad8, 0x45b0, 0x9e, 0x78, 0x27, 0x15, 0x88, 0x67, 0xcc, 0x93)

#ifdef __cplusplus
inline constexpr EFI_GUID mDisplayReadyProtocolGuid = DISPLAY_READY_PROTOCOL_GUID;
#endif
