// How the rows of SlotCalls are written down. In CALL and STEP, s is the stage; IN gives a buffer as address
// and size, OUT the stage's output buffer and its size variable.
#pragma once

#include "tests/services/SlotCalls.h"

#define IN(Buffer) (Buffer).data(), (Buffer).size()
#define OUT s.Output.data(), &s.Size
#define CALL(Service) [=](SlotStage &s) -> UINT64 { return s.Svc.Service; }
#define RELEASE(Service) [=](SlotStage &s) -> UINT64 { return s.Svc.Service, 0; }
#define STEP(...) [=](SlotStage &s) { __VA_ARGS__; }
#define SECRETS(...) [=]([[maybe_unused]] const SlotStage &s) { return std::vector<Bytes>{__VA_ARGS__}; }

struct SlotRest {
  const char *Variant = "";
  std::function<void(SlotStage &)> Prepare = [](SlotStage &) {};
  std::function<void(SlotStage &)> Finish = [](SlotStage &) {};
  std::function<std::vector<Bytes>(const SlotStage &)> Secrets = SECRETS();
  // Where they are not those of the slot's kind: success, and memory alone as the reason of a failure.
  std::optional<UINT64> Success = {};
  std::vector<UINT64> Failures = {};
};

void AddCall(UINTN Slot, std::function<UINT64(SlotStage &)> Call, SlotRest Rest = {});

// RSA, certificates, PKCS#7, Diffie-Hellman and signed data, into the same table.
void AddPublicKeyCalls();

// The message of most calls; and the first Size bytes of a buffer.
const Bytes &SlotMessage();
Bytes FirstOf(const Bytes &Buffer, UINTN Size);

// Moves what the call made to Output.
void TakeMade(SlotStage &s, UINTN Size, UINTN Which = 0);
