// The carrier checks the form of every message; the handler then answers in the buffer itself, as one behind
// a real channel does.
#include "simulator/SmmCommunication.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string>

#include "simulator/Faults.h"
#include "simulator/Guids.h"
#include "simulator/SimulatedFirmware.h"

namespace {

// What is wrong with a request, or an empty text.
std::string FormError(const PRIV_COMMUNICATE_BUFFER &Buffer, UINTN Size) {
  const PRIV_MESSAGE &Message = Buffer.Message;
  if (Size != sizeof(Buffer) || Buffer.Header.MessageLength != sizeof(Message)) {
    return "a size other than that of the message";
  }
  if (Message.Signature != PRIV_MESSAGE_SIGNATURE || Message.ReturnStatus != EFI_NOT_STARTED) {
    return "a message without its signature or its status";
  }
  if (Message.Reserved4 != 0 || Message.Reserved132 != 0 || Message.Kind != 0) {
    return "a message whose unused fields are not zero";
  }
  const UINT64 Used =
      Message.Function == PRIV_FUNCTION_SEND ? std::min<UINT64>(Message.DataSize, PRIV_MESSAGE_DATA_SIZE) : 0;
  if (std::any_of(Message.Data + Used, std::end(Message.Data), [](CHAR8 Byte) { return Byte != 0; })) {
    return "a message whose unused data are not zero";
  }
  if (Message.Function == PRIV_FUNCTION_FETCH &&
      (Message.DataSize != PRIV_MESSAGE_DATA_SIZE || Message.Code != 0)) {
    return "a fetch that does not ask as it should";
  }
  return Message.Function > PRIV_FUNCTION_FETCH ? "an unknown function" : "";
}

} // namespace

SmmCommunication::SmmCommunication() : Interface_{{Communicate}, this} {}

EFI_STATUS EFIAPI SmmCommunication::Communicate(const EFI_SMM_COMMUNICATION_PROTOCOL *This, VOID *Buffer,
                                                UINTN *Size) {
  const EventQueue &Events = SimulatedFirmware::Living().Events;
  Events.RequireAtMost("Communicate", TPL_NOTIFY);
  SmmCommunication &Self = *reinterpret_cast<const INTERFACE *>(This)->Owner;
  const EFI_STATUS Scripted = Self.CommunicateCalls.NextCall();
  if (Buffer == nullptr || Size == nullptr || *Size < sizeof(EFI_SMM_COMMUNICATE_HEADER)) {
    return EFI_INVALID_PARAMETER;
  }
  auto &Carried = *static_cast<PRIV_COMMUNICATE_BUFFER *>(Buffer);
  if (!SameGuid(Carried.Header.HeaderGuid, mPrivMessageGuid)) {
    ReportFault("Communicate: a message for a handler that is not there");
    return EFI_NOT_FOUND;
  }
  if (const std::string Why = FormError(Carried, *Size); !Why.empty()) {
    ReportFault("Communicate: " + Why);
    return EFI_INVALID_PARAMETER;
  }
  Exchange Made{Carried.Message, Carried.Message, Scripted, Events.CurrentTpl()};
  if (Scripted == EFI_SUCCESS) {
    Self.Handle(Carried.Message);
    Made.Answer = Carried.Message;
  }
  Self.Exchanges_.push_back(Made);
  if (Self.WhenExchanged) {
    Self.WhenExchanged(Made);
  }
  return Scripted;
}

void SmmCommunication::Handle(PRIV_MESSAGE &Message) {
  if (Message.Function == PRIV_FUNCTION_SEND) {
    Message.ReturnStatus = EventAnswer;
    if (KeepsEvents) {
      const UINT64 Length = std::min<UINT64>(Message.DataSize, sizeof(Message.Data));
      const std::string Name(Message.Data, strnlen(Message.Data, Length));
      Kept = PolicyViolation{static_cast<INT32>(Message.Code), 0, Name};
      Message.ReturnStatus = EFI_SECURITY_VIOLATION;
    }
  } else if (Kept) {
    const POLICY_VIOLATION_RECORD Record = Kept->Record();
    Message.ReturnStatus = EFI_SECURITY_VIOLATION;
    Message.Code = static_cast<UINT32>(Record.Reason);
    std::memcpy(Message.Data, Record.ModuleName, sizeof(Message.Data));
    Message.DataSize = std::min(strnlen(Message.Data, sizeof(Message.Data)) + 1, sizeof(Message.Data));
    Message.Kind = Record.Kind;
  } else {
    Message.ReturnStatus = NothingKept;
  }
  if (Overrule) {
    Overrule(Message);
  }
}
