// EFI_SMM_COMMUNICATION_PROTOCOL and the header of its buffers (PI 1.7, volume 4). What a buffer
// carries behind the header belongs to the handler that the header names.
#pragma once

#include "uefi/Base.h"

#define EFI_SMM_COMMUNICATION_PROTOCOL_GUID                                                                  \
  EFI_GUID_INITIALIZER(0xc68ed8e2, 0x9dc6, 0x4cbd, 0x9d, 0x94, 0xdb, 0x65, 0xac, 0xc5, 0xc3, 0x32)

// MessageLength bytes of message follow.
typedef struct {
  EFI_GUID HeaderGuid;
  UINTN MessageLength;
} EFI_SMM_COMMUNICATE_HEADER;

typedef struct EFI_SMM_COMMUNICATION_PROTOCOL EFI_SMM_COMMUNICATION_PROTOCOL;

// CommSize counts header and message in bytes; the handler may write the buffer and the size.
typedef EFI_STATUS(EFIAPI *EFI_SMM_COMMUNICATE2)(const EFI_SMM_COMMUNICATION_PROTOCOL *This, VOID *CommBuffer,
                                                 UINTN *CommSize);

struct EFI_SMM_COMMUNICATION_PROTOCOL {
  EFI_SMM_COMMUNICATE2 Communicate;
};

#ifdef __cplusplus
inline constexpr EFI_GUID mEfiSmmCommunicationProtocolGuid = EFI_SMM_COMMUNICATION_PROTOCOL_GUID;
#endif
