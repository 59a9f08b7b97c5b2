// EFI_SMM_COMMUNICATION_PROTOCOL with the policy handler behind it (PI 1.7, volume 4): takes policy events,
// keeps a violation and hands it out. Honest unless a test makes it otherwise.
#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "simulator/PolicyViolation.h"
#include "simulator/ScriptedStatus.h"
#include "uefi/PrivMessage.h"
#include "uefi/Uefi.h"

class SmmCommunication {
public:
  // One message that the driver handed over, and what the handler made of it.
  struct Exchange {
    PRIV_MESSAGE Request;
    PRIV_MESSAGE Answer;
    // What Communicate returned; the answer did not travel unless it is EFI_SUCCESS.
    EFI_STATUS Status;
    EFI_TPL Tpl;
  };

  SmmCommunication();
  SmmCommunication(const SmmCommunication &) = delete;
  SmmCommunication &operator=(const SmmCommunication &) = delete;

  // The interface to install.
  EFI_SMM_COMMUNICATION_PROTOCOL *Interface() { return &Interface_.Protocol; }

  // The violation that a fetch is answered with, by EFI_SECURITY_VIOLATION.
  std::optional<PolicyViolation> Kept;

  // The answer to a fetch while nothing is kept, and to an event.
  EFI_STATUS NothingKept = EFI_NOT_FOUND;
  EFI_STATUS EventAnswer = EFI_SUCCESS;

  // Makes the handler keep each event as a violation and answer it by EFI_SECURITY_VIOLATION.
  bool KeepsEvents = false;

  // Has the last word on every answer, well formed or not. An empty function ends it.
  std::function<void(PRIV_MESSAGE &Answer)> Overrule;

  // Runs after every exchange.
  std::function<void(const Exchange &)> WhenExchanged;

  // Failures of Communicate before the handler sees the message.
  ScriptedStatus CommunicateCalls;

  // All exchanges so far. A message that does not keep to its format is a fault.
  const std::vector<Exchange> &Exchanges() const { return Exchanges_; }

private:
  // Leads from the protocol, which the driver hands back, to its owner.
  struct INTERFACE {
    EFI_SMM_COMMUNICATION_PROTOCOL Protocol;
    SmmCommunication *Owner;
  };

  static EFI_STATUS EFIAPI Communicate(const EFI_SMM_COMMUNICATION_PROTOCOL *This, VOID *Buffer, UINTN *Size);
  void Handle(PRIV_MESSAGE &Message);

  INTERFACE Interface_;
  std::vector<Exchange> Exchanges_;
};
