// What earlier boot phases and the system-management handler hand over: the HOB list, and answers to events.
#include <algorithm>
#include <optional>

#include "driver/policy/PolicyRecord.h"
#include "simulator/HobList.h"
#include "simulator/SmmCommunication.h"
#include "tests/fuzz/FuzzSession.h"
#include "uefi/PolicyViolationRecord.h"

// Blocks with lengths of their own: a type, a claimed length, and a body.
void FuzzHobList(std::span<const UINT8> Input) {
  FuzzSession();
  InputParts Parts(Input);
  HobList List;
  for (int Count = 0; Count < 16; ++Count) {
    const UINT8 Kind = Parts.Byte();
    const UINT16 Length = static_cast<UINT16>(Parts.Byte() | Parts.Byte() << 8);
    std::vector<UINT8> Body = Parts.Part();
    if (Body.empty()) {
      break;
    }
    const std::optional<UINT16> Claimed = (Kind & 2) != 0 ? std::optional<UINT16>(Length) : std::nullopt;
    if ((Kind & 1) != 0) {
      List.AddGuid(mPolicyViolationHobGuid, Body, Claimed);
    } else {
      List.AddRaw(Kind, Body, Claimed);
    }
  }
  const auto *Record = static_cast<const UINT8 *>(FindPolicyRecord(List.Start()));
  // Every byte of what is found can be read.
  volatile UINT8 Sum = 0;
  for (UINTN Index = 0; Record != nullptr && Index < sizeof(POLICY_VIOLATION_RECORD); ++Index) {
    Sum = static_cast<UINT8>(Sum + Record[Index]);
  }
}

// An event code, and the handler's answer to it over the message's own bytes. A boot of its own, because an
// event that nobody takes waits for the rest of it.
void FuzzPolicyEvent(std::span<const UINT8> Input) {
  InputParts Parts(Input);
  const INT32 Code = Parts.Byte() % 10;
  const std::vector<UINT8> Data = Parts.Part();
  const std::vector<UINT8> Answer = Parts.Rest();
  SmmCommunication Handler;
  Handler.Overrule = [&Answer](PRIV_MESSAGE &Message) {
    const size_t Count = std::min(Answer.size(), sizeof(Message));
    std::copy_n(Answer.begin(), Count, reinterpret_cast<UINT8 *>(&Message));
  };
  DriverSession &Session = RestartFuzzSession();
  Session.Firmware().Handles.InstallHost(mEfiSmmCommunicationProtocolGuid, Handler.Interface());
  Session.Services().SvcReportPolicyEvent(Code, reinterpret_cast<const CHAR8 *>(Data.data()), Data.size());
  RestartFuzzSession();
}
