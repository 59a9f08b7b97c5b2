// One message to the policy handler in system-management mode, and its answer
// (PI 1.7, volume 4, EFI_SMM_COMMUNICATION_PROTOCOL).
#pragma once

#include "uefi/PrivMessage.h"

// Sends (PRIV_FUNCTION_SEND) *Code and the Size bytes at Buffer, of which the
// first PRIV_MESSAGE_DATA_SIZE travel; or fetches (PRIV_FUNCTION_FETCH) the
// handler's state: *Code, the name into Buffer, never more than Size bytes and
// the last one set to zero, and *Kind unless Kind is NULL.
// Gives the handler's own status, whatever it is; a fetch has stored its answer
// then. Otherwise nothing is stored: EFI_INVALID_PARAMETER (no Buffer, Size 0,
// another Function), the status of finding the protocol, EFI_OUT_OF_RESOURCES
// before anything is sent, the status of Communicate.
[[nodiscard]] EFI_STATUS PrivilegedExchange(UINT32 Function, UINT32 *Code, CHAR8 *Buffer, UINTN Size,
                                            UINT32 *Kind);
