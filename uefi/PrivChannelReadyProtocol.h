// PRIV_CHANNEL_READY_PROTOCOL: its presence in the handle database means that messages can reach the handler
// in system-management mode. It has no members and its interface pointer must not be followed.
#pragma once

#include "uefi/Base.h"

#define PRIV_CHANNEL_READY_PROTOCOL_GUID                                                                     \
  EFI_GUID_INITIALIZER(0xcbfd932a, 0xb0a1, 0x43a4, 0x89, 0x45, 0x06, 0x04, 0x04, 0x8e, 0x67, 0x4a)

#ifdef __cplusplus
inline constexpr EFI_GUID mPrivChannelReadyProtocolGuid = PRIV_CHANNEL_READY_PROTOCOL_GUID;
#endif
