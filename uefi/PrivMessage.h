// PRIV_MESSAGE: the message that carries policy events to the handler in system-management mode and brings
// the recorded state back. Little-endian; the answer is written over the message and must be treated as
// foreign data.
#pragma once

#include "uefi/Base.h"
#include "uefi/SmmCommunication.h"

#define PRIV_MESSAGE_GUID                                                                                    \
  EFI_GUID_INITIALIZER(0xabc9b31f, 0x5a67, 0x47d1, 0x86, 0xf4, 0x56, 0xf0, 0xec, 0x3e, 0xd7, 0xd9)

// The ASCII bytes "priv", read as a little-endian number.
#define PRIV_MESSAGE_SIGNATURE 0x76697270

#define PRIV_FUNCTION_SEND 0
#define PRIV_FUNCTION_FETCH 1

#define PRIV_MESSAGE_DATA_SIZE 96

typedef struct {
  UINT32 Signature;
  UINT32 Reserved4;
  // EFI_NOT_STARTED on the way in, the handler's answer on the way back.
  EFI_STATUS ReturnStatus;
  UINT32 Function;
  // Send: the event code. Fetch: receives the recorded reason.
  UINT32 Code;
  // Send: the first bytes of the caller's data. Fetch: receives the recorded module name.
  CHAR8 Data[PRIV_MESSAGE_DATA_SIZE];
  // Send: the size of the caller's data, also where it exceeds Data. Fetch: the size of Data on the way in,
  // the number of valid bytes in it on the way back.
  UINT64 DataSize;
  // Fetch: receives the kind of the record. Zero in a send.
  UINT32 Kind;
  UINT32 Reserved132;
} PRIV_MESSAGE;

// What is handed to Communicate: HeaderGuid is PRIV_MESSAGE_GUID, MessageLength the size of the message.
typedef struct {
  EFI_SMM_COMMUNICATE_HEADER Header;
  PRIV_MESSAGE Message;
} PRIV_COMMUNICATE_BUFFER;

#ifdef __cplusplus
inline constexpr EFI_GUID mPrivMessageGuid = PRIV_MESSAGE_GUID;
#endif
