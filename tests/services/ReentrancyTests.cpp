// Services called by a timer notification in the middle of other services: the interrupted call and the one
// inside it both give what they give alone.
#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <set>

#include "simulator/DriverCall.h"
#include "simulator/TimerInterrupt.h"
#include "tests/services/SlotCalls.h"

namespace {

// Work on driver state that is not guarded against a second call: the answer kept by slot 5, and the random
// generator, from which the others draw. A notification must not use them.
const std::set<UINTN> mNotReentrant = {5, 25, 43, 46, 47, 50, 60, 61};

constexpr UINT64 mEvery = 11;

class ReentrancyTest : public SlotTest {
protected:
  void TearDown() override {
    Timer_.reset();
    SlotTest::TearDown();
  }

  // Boots, runs every call once, which is the library's first use, and makes the event behind the timer.
  void BootWithTimer() {
    Boot();
    for (const SlotCall &Call : SlotCalls()) {
      Expected(Call);
    }
    // The gate is entered at every interrupt: no painting there.
    SetDriverCallChecks({.PaintBytes = 0, .UpperVectors = TestsImage() && HostLeavesAvxAlone()});
    ASSERT_EQ(Firmware().BootServices()->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, Notify, this, &Event_),
              EFI_SUCCESS);
    Timer_ = std::make_unique<TimerInterrupt>(Session().Target().Code(),
                                              [this] { Firmware().BootServices()->SignalEvent(Event_); });
  }

  // Interrupts the call of Outer at every Every-th instruction from the First-th on; the notification makes
  // the calls of Inner in turn. Returns the number of instructions.
  UINT64 Interrupt(const SlotCall &Outer, const std::vector<const SlotCall *> &Inner, UINT64 First,
                   UINT64 Every) {
    Inner_ = Inner;
    const SlotOutcome Outcome =
        RunSlot(Svc(), Outer, [&](SlotStage &, const auto &Make) { Timer_->Run(Make, First, Every); });
    EXPECT_EQ(Outcome, Expected(Outer)) << Outer.Name << " with " << Inner[0]->Name << " and others inside";
    EXPECT_EQ(Firmware().TakeFaults(), std::vector<std::string>{}) << Outer.Name;
    Interrupts_ += Timer_->Interrupts();
    return Timer_->Instructions();
  }

  // The same inside up to Places of its allocations, one in each run.
  void InterruptAllocations(const SlotCall &Outer, const std::vector<const SlotCall *> &Inner, UINTN Places) {
    Inner_ = Inner;
    UINTN Allocations = 0;
    for (UINTN Place = 0; Place <= std::min(Places, Allocations); Place++) {
      const SlotOutcome Outcome = RunSlot(Svc(), Outer, [&](SlotStage &, const auto &Make) {
        const UINTN First = Memory().Calls();
        if (Place != 0) {
          const UINTN Number = 1 + (Place - 1) * Allocations / std::min(Places, Allocations);
          Memory().OnCall(Number, [this] { Firmware().BootServices()->SignalEvent(Event_); });
          Interrupts_++;
        }
        Make();
        Allocations = Place == 0 ? Memory().Calls() - First : Allocations;
      });
      EXPECT_EQ(Outcome, Expected(Outer)) << Outer.Name << ", place " << Place;
      EXPECT_EQ(Firmware().TakeFaults(), std::vector<std::string>{}) << Outer.Name << ", place " << Place;
    }
  }

  static std::vector<const SlotCall *> CallsOf(std::initializer_list<UINTN> Slots) {
    std::vector<const SlotCall *> Calls;
    for (const SlotCall &Call : SlotCalls()) {
      if (std::find(Slots.begin(), Slots.end(), Call.Slot) != Slots.end()) {
        Calls.push_back(&Call);
      }
    }
    return Calls;
  }

  UINT64 Interrupts_ = 0;

private:
  static VOID EFIAPI Notify(EFI_EVENT, VOID *Context) {
    auto &Test = *static_cast<ReentrancyTest *>(Context);
    const SlotCall &Call = *Test.Inner_[Test.Next_++ % Test.Inner_.size()];
    const SlotOutcome Outcome = RunSlot(Test.Svc(), Call);
    EXPECT_EQ(Outcome, Test.Expected(Call)) << Call.Name << " inside another call";
  }

  std::unique_ptr<TimerInterrupt> Timer_;
  EFI_EVENT Event_ = nullptr;
  std::vector<const SlotCall *> Inner_;
  UINTN Next_ = 0;
};

// Digests, MACs, ciphers and the layered transform, held up by calls of each other.
TEST_F(ReentrancyTest, InTheMiddleOfAnyInstruction) {
  BootWithTimer();
  // The instrumented build runs several times as many.
  const auto Outer = TestsImage() ? CallsOf({2, 8, 9, 12, 13, 15, 16, 17, 20, 37, 38, 39, 40, 49, 51, 52})
                                  : CallsOf({8, 9, 12, 16, 37, 38, 39});
  const auto Inner = CallsOf({2, 9, 13, 17, 21, 37, 38, 40, 49, 51, 52, 56});
  UINT64 Instructions = 0;
  for (const SlotCall *Call : Outer) {
    Instructions += Interrupt(*Call, Inner, Call->Slot % mEvery, mEvery);
  }
  EXPECT_GT(Interrupts_, Instructions / (mEvery + 1));
  std::cout << Interrupts_ << " interrupts in " << Instructions << " instructions\n";
}

// Every service that allocates, where the firmware comes out of an allocation and catches up on its timers.
TEST_F(ReentrancyTest, InTheMiddleOfAnyAllocation) {
  BootWithTimer();
  std::vector<const SlotCall *> Inner;
  for (const SlotCall &Call : SlotCalls()) {
    if (!mNotReentrant.contains(Call.Slot)) {
      Inner.push_back(&Call);
    }
  }
  for (const SlotCall &Outer : SlotCalls()) {
    InterruptAllocations(Outer, Inner, TestsImage() ? 24 : 6);
  }
  EXPECT_GT(Interrupts_, 100U);
  std::cout << Interrupts_ << " interrupts\n";
}

// What goes without the library's own tables may be called from the first moment on, also inside a first call
// of the others.
TEST_F(ReentrancyTest, PlainServicesInsideFirstUses) {
  BootWithTimer();
  const auto Inner = CallsOf({2, 9, 13, 21, 37, 38, 40, 51, 52, 53});
  UINTN Next = 0;
  for (const SlotCall *Outer : CallsOf({27, 30, 32, 33, 43, 47, 49, 56, 60})) {
    for (UINTN Number = 1; Number < 400; Number += Number / 2 + 1) {
      Reboot();
      const SlotCall &Inside = *Inner[Next++ % Inner.size()];
      EXPECT_EQ(RunSlot(Svc(), *Outer,
                        [&](SlotStage &, const auto &Make) {
                          Memory().OnCall(Number, [&] {
                            EXPECT_EQ(RunSlot(Svc(), Inside), Expected(Inside)) << Inside.Name;
                          });
                          Make();
                        }),
                Expected(*Outer))
          << Outer->Name << ", allocation " << Number << ", " << Inside.Name << " inside";
      EXPECT_EQ(Firmware().TakeFaults(), std::vector<std::string>{})
          << Outer->Name << ", allocation " << Number;
    }
  }
}

} // namespace
