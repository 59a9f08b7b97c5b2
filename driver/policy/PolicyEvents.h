// Policy events that modules report (slot 5), and the memory of how they were
// answered.
#pragma once

#include "uefi/Uefi.h"

#include "CryptoServicesProtocol.h"

// Reports the event Code with DataSize bytes of Data to the handler in
// system-management mode. Codes 0 to 3: the result of SendPolicyEvent. Codes 4
// to 7: EFI_SUCCESS, and all others EFI_SECURITY_VIOLATION, nothing sent.
EFI_STATUS EFIAPI SvcReportPolicyEvent(INT32 Code, const CHAR8 *Data, UINTN DataSize);

// Sends an event and gives the handler's answer; EFI_SUCCESS and
// EFI_SECURITY_VIOLATION are remembered, and once there is one of them, codes
// 1, 3, 5 and 7 repeat the latest without sending. After EFI_NOT_FOUND, the
// handler's or that of a missing channel, a copy is kept and sent by
// DeferredPolicyEventNotify: the result is the status of arming that, or
// EFI_NOT_FOUND when there is no memory for the copy. Any other result of
// PrivilegedExchange is given back as it is.
[[nodiscard]] EFI_STATUS SendPolicyEvent(INT32 Code, const CHAR8 *Data, UINTN DataSize);
