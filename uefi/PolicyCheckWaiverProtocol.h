// POLICY_CHECK_WAIVER_PROTOCOL: a platform module that can waive the policy check after an image's signature
// has been verified. It must never stand in for the signature check itself.
#pragma once

#include "uefi/Base.h"

#define POLICY_CHECK_WAIVER_PROTOCOL_GUID                                                                    \
  EFI_GUID_INITIALIZER(0x7ec26682, 0x7fbc, 0x4e1b, 0xa2, 0xfd, 0x8f, 0x91, 0x31, 0xaf, 0xe4, 0x2e)

// TRUE waives the check.
typedef BOOLEAN(EFIAPI *POLICY_CHECK_WAIVER_IS_WAIVED)(VOID);

// No interface pointer is passed.
typedef struct {
  POLICY_CHECK_WAIVER_IS_WAIVED IsWaived;
} POLICY_CHECK_WAIVER_PROTOCOL;

#ifdef __cplusplus
inline constexpr EFI_GUID mPolicyCheckWaiverProtocolGuid = POLICY_CHECK_WAIVER_PROTOCOL_GUID;
#endif
