// What earlier boot phases and the system-management handler hand over: the HOB list, and answers to events.
#include <algorithm>
#include <optional>

#include "driver/policy/PolicyRecord.h"
#include "simulator/HobList.h"
#include "simulator/SmmCommunication.h"
#include "tests/fuzz/FuzzSession.h"
#include "uefi/PolicyViolationRecord.h"
#include "uefi/PrivChannelReadyProtocol.h"

// Blocks with lengths of their own: a type, a claimed length, and a body.
bool FuzzHobList(std::span<const UINT8> Input) {
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
  return Record != nullptr;
}

// An event with its data, and what the handler answers over the message's own bytes: to the event, to the
// same one sent again when the channel is ready, and to the question at ready-to-boot.
bool FuzzPolicyEvent(std::span<const UINT8> Input) {
  InputParts Parts(Input);
  const INT32 Code = Parts.Byte() % 10 - 1;
  const std::vector<UINT8> Data = Parts.Part();
  const std::vector<UINT8> Answers[] = {Parts.Part(), Parts.Part(), Parts.Rest()};
  SmmCommunication Handler;
  Handler.Overrule = [&](PRIV_MESSAGE &Message) {
    const std::vector<UINT8> &Answer = Answers[std::min<size_t>(Handler.Exchanges().size(), 2)];
    const size_t Count = std::min(Answer.size(), sizeof(Message));
    std::copy_n(Answer.begin(), Count, reinterpret_cast<UINT8 *>(&Message));
  };
  RunInOwnBoot([&](DriverSession &Boot) {
    HandleDatabase &Handles = Boot.Firmware().Handles;
    Handles.InstallHost(mEfiSmmCommunicationProtocolGuid, Handler.Interface());
    Boot.Services().SvcReportPolicyEvent(Code, reinterpret_cast<const CHAR8 *>(Data.data()), Data.size());
    Handles.InstallHost(mPrivChannelReadyProtocolGuid, nullptr);
    Boot.Firmware().SignalReadyToBoot();
  });
  // The event, the event again, the question.
  return Handler.Exchanges().size() == 3;
}
