// VALIDATION_POLICY_PROTOCOL: a platform module's verdict on a firmware image whose signature has been
// verified. What the operations mean is that module's business; a caller must not read more into them than
// the two answers.
#pragma once

#include "uefi/Base.h"

#define VALIDATION_POLICY_PROTOCOL_GUID                                                                      \
  EFI_GUID_INITIALIZER(0x2303a642, 0x7ccc, 0x4ac4, 0xba, 0x62, 0x85, 0x5f, 0xd4, 0x42, 0xfd, 0x39)

// Operation 0 is asked without a buffer (NULL, 0), operation 1 with the image and its size in bytes.
typedef BOOLEAN(EFIAPI *VALIDATION_POLICY_QUERY)(UINTN Operation, VOID *Buffer, UINTN Size);

// No interface pointer is passed: the routine belongs to the one provider of the boot.
typedef struct {
  VALIDATION_POLICY_QUERY QueryPolicy;
} VALIDATION_POLICY_PROTOCOL;

#ifdef __cplusplus
inline constexpr EFI_GUID mValidationPolicyProtocolGuid = VALIDATION_POLICY_PROTOCOL_GUID;
#endif
