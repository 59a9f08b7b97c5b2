// Builds the message, carries it, and takes the answer out of one private copy:
// the handler's side may go on changing the communication buffer.
#include "driver/policy/PrivilegedExchange.h"

#include "driver/platform/Memory.h"
#include "driver/platform/Pool.h"
#include "driver/platform/Protocols.h"

namespace {

bool FillRequest(PRIV_MESSAGE &Message, UINT32 Function, UINT32 Code, const CHAR8 *Buffer, UINTN Size) {
  Message.Signature = PRIV_MESSAGE_SIGNATURE;
  Message.Function = Function;
  Message.ReturnStatus = EFI_NOT_STARTED;
  switch (Function) {
  case PRIV_FUNCTION_SEND:
    Message.Code = Code;
    BoundedCopy(Message.Data, sizeof(Message.Data), Buffer, Size);
    Message.DataSize = Size;
    return true;
  case PRIV_FUNCTION_FETCH:
    Message.DataSize = sizeof(Message.Data);
    return true;
  default:
    return false;
  }
}

// Sends Message and replaces it by the answer. Returns the status of the
// carrying alone; Message is unchanged unless that is EFI_SUCCESS.
EFI_STATUS Carry(const EFI_SMM_COMMUNICATION_PROTOCOL *Channel, PRIV_MESSAGE &Message) {
  PoolBlock<PRIV_COMMUNICATE_BUFFER> Buffer(
      static_cast<PRIV_COMMUNICATE_BUFFER *>(AllocateZeroedPool(sizeof(PRIV_COMMUNICATE_BUFFER))));
  if (!Buffer) {
    return EFI_OUT_OF_RESOURCES;
  }
  Buffer.Get()->Header.HeaderGuid = mPrivMessageGuid;
  Buffer.Get()->Header.MessageLength = sizeof(Message);
  MoveMemory(&Buffer.Get()->Message, &Message, sizeof(Message));
  UINTN Size = sizeof(PRIV_COMMUNICATE_BUFFER);
  EFI_STATUS Status = Channel->Communicate(Channel, Buffer.Get(), &Size);
  if (Status == EFI_SUCCESS) {
    MoveMemory(&Message, &Buffer.Get()->Message, sizeof(Message));
  }
  return Status;
}

} // namespace

EFI_STATUS PrivilegedExchange(UINT32 Function, UINT32 *Code, CHAR8 *Buffer, UINTN Size, UINT32 *Kind) {
  if (Buffer == nullptr || Size == 0) {
    return EFI_INVALID_PARAMETER;
  }
  EFI_SMM_COMMUNICATION_PROTOCOL *Channel;
  EFI_STATUS Status = LocateInterface(mEfiSmmCommunicationProtocolGuid, &Channel);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  if (Channel == nullptr) {
    return EFI_NOT_FOUND; // a handle may carry the GUID without an interface
  }
  PoolBlock<PRIV_MESSAGE> Message(static_cast<PRIV_MESSAGE *>(AllocateZeroedPool(sizeof(PRIV_MESSAGE))));
  if (!Message) {
    return EFI_OUT_OF_RESOURCES;
  }
  if (!FillRequest(*Message.Get(), Function, *Code, Buffer, Size)) {
    return EFI_INVALID_PARAMETER;
  }
  Status = Carry(Channel, *Message.Get());
  if (Status != EFI_SUCCESS) {
    return Status;
  }
  const PRIV_MESSAGE &Answer = *Message.Get();
  if (Function == PRIV_FUNCTION_FETCH) {
    UINTN Valid = Answer.DataSize < sizeof(Answer.Data) ? Answer.DataSize : sizeof(Answer.Data);
    BoundedCopy(Buffer, Size, Answer.Data, Valid);
    Buffer[Size - 1] = 0;
    *Code = Answer.Code;
    if (Kind != nullptr) {
      *Kind = Answer.Kind;
    }
  }
  return Answer.ReturnStatus;
}
