// One valid call of every service, written once for what must hold of all of them: in every environment, in
// the middle of each other, with memory failing, and with nothing secret left behind. What a service must
// answer beyond that is pinned by the tests of its family.
#pragma once

#include <functional>
#include <optional>

#include "simulator/CmosPorts.h"
#include "simulator/ImageLayout.h"
#include "simulator/SmmCommunication.h"
#include "tests/support/DriverTest.h"

// What one call works on. Several may be in use at once, one inside another.
struct SlotStage {
  explicit SlotStage(const CRYPTO_SERVICES_PROTOCOL &Table) : Svc(Table) {}

  const CRYPTO_SERVICES_PROTOCOL &Svc;
  Bytes Context = Bytes(CRYPTO_SERVICES_AES_CONTEXT_SIZE);
  Bytes Input;
  Bytes Output = Bytes(512, 0xC7);
  UINTN Size = 512;
  UINT32 ShortSize = 0;
  VOID *Object = nullptr;
  VOID *Peer = nullptr;
  UINT8 *Made[2] = {};
};

struct SlotCall {
  UINTN Slot;
  std::string Name;
  UINT64 Success;
  // What it may answer when memory fails.
  std::vector<UINT64> Failures;
  // Makes ready; the one call; and what releases everything and leaves in Context and Output what is the same
  // after every success: of random results whether they are right.
  std::function<void(SlotStage &)> Prepare;
  std::function<UINT64(SlotStage &)> Call;
  std::function<void(SlotStage &)> Finish;
  // Keys, passwords and what follows from them; asked between the call and Finish.
  std::function<std::vector<Bytes>(const SlotStage &)> Secrets;
};

// In slot order, each slot once or more often. The generator has to be ready and the clock to show a time at
// which TestPki is valid.
const std::vector<SlotCall> &SlotCalls();

struct SlotOutcome {
  UINT64 Answer;
  Bytes Context;
  Bytes Output;
  bool operator==(const SlotOutcome &) const = default;
};

// Prepares, runs Around with the call, and finishes when the call succeeded.
using SlotWrapper = std::function<void(SlotStage &, const std::function<void()> &)>;
SlotOutcome RunSlot(
    const CRYPTO_SERVICES_PROTOCOL &Svc, const SlotCall &Call,
    const SlotWrapper &Around = [](SlotStage &, const std::function<void()> &Make) { Make(); });

// Boots a platform on which every one of the calls succeeds, with the generator ready.
class SlotTest : public DriverTest {
protected:
  SlotTest();

  // Boots with features of the processor taken away.
  void Boot(const std::vector<ProcessorScript::Feature> &Removed = {});

  // What every call gives when nothing is in its way; from a boot of its own, once for the program.
  const SlotOutcome &Expected(const SlotCall &Call);

private:
  ImageLayout Layout_;
  SmmCommunication Smm_;
  CmosPorts Ports_;
  std::vector<ProcessorScript::Feature> Removed_;
};
