#include "tests/support/Sweep.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>

namespace {

class SweepRun {
public:
  SweepRun(DriverSession &Session, const SweepScenario &Scenario)
      : Memory_(Session.Firmware().Memory), Scenario_(Scenario) {}

  // One call with nothing failing; returns the number of its allocations.
  UINTN Undisturbed(const std::string &When) {
    UINTN LiveBefore = Memory_.Figures().LiveBlocks;
    UINTN Calls = 0;
    auto Call = [this, &When, &Calls] {
      Scenario_.Prepare();
      Calls = Memory_.Calls();
      EXPECT_EQ(Scenario_.Call(), Scenario_.Success) << Scenario_.Name << ", " << When;
      Calls = Memory_.Calls() - Calls;
      Scenario_.AfterSuccess();
    };
    Call();
    if (!WarmingUp_) {
      ExpectNoLeak(LiveBefore, When, Call);
    }
    return Calls;
  }

  void Failing(UINTN Number, bool Persistently) {
    std::string When =
        (Persistently ? "allocations failing from " : "failing allocation ") + std::to_string(Number);
    UINTN LiveBefore = Memory_.Figures().LiveBlocks;
    auto Call = [this, Number, Persistently, &When] {
      Scenario_.Prepare();
      if (Persistently) {
        Memory_.FailFrom(Number);
      } else {
        Memory_.FailAt(Number);
      }
      UINT64 Answer = Scenario_.Call();
      Memory_.ClearFailures();
      if (Answer == Scenario_.Success) {
        Scenario_.AfterSuccess();
        return;
      }
      EXPECT_NE(std::find(Scenario_.Failures.begin(), Scenario_.Failures.end(), Answer),
                Scenario_.Failures.end())
          << Scenario_.Name << " answers " << std::hex << Answer << ", " << When;
      Scenario_.AfterFailure();
    };
    Call();
    ExpectNoLeak(LiveBefore, When, Call);
    Undisturbed("after " + When);
  }

  // The library keeps blocks for good when it is used for the first time.
  void WarmUp() {
    WarmingUp_ = true;
    Undisturbed("warming up");
    Undisturbed("warming up");
    WarmingUp_ = false;
  }

private:
  // A leak grows with every call. What the library keeps with its last 16 errors, or makes on first use, does
  // not.
  void ExpectNoLeak(UINTN LiveBefore, const std::string &When, const std::function<void()> &Repeat) {
    if (Memory_.Figures().LiveBlocks <= LiveBefore) {
      return;
    }
    constexpr UINTN Repeats = 40;
    UINTN Grown = Memory_.Figures().LiveBlocks;
    for (UINTN Count = 0; Count < Repeats; Count++) {
      Repeat();
    }
    EXPECT_LT(Memory_.Figures().LiveBlocks, Grown + Repeats) << Scenario_.Name << " leaks, " << When;
  }

  Pool &Memory_;
  const SweepScenario &Scenario_;
  bool WarmingUp_ = false;
};

} // namespace

UINTN SweepAllocations(DriverSession &Session, const SweepScenario &Scenario) {
  SweepRun Run(Session, Scenario);
  Run.WarmUp();
  UINTN Allocations = Run.Undisturbed("undisturbed");
  for (UINTN Number = 1; Number <= Allocations && !testing::Test::HasFailure(); Number += Scenario.Stride) {
    Run.Failing(Number, false);
    Run.Failing(Number, true);
  }
  std::cout << "swept " << Scenario.Name << ": " << Allocations << " allocations\n";
  return Allocations;
}

std::string LettersOfFailures(Pool &Memory, const std::function<char()> &Call) {
  const UINTN Before = Memory.Calls();
  Call();
  const UINTN Allocations = Memory.Calls() - Before;
  std::string Letters;
  for (UINTN Number = 1; Number <= Allocations; Number++) {
    Memory.FailAt(Number);
    Letters += Call();
    Memory.ClearFailures();
  }
  return Letters;
}

void ExpectRefusalKeepsNothing(Pool &Memory, const std::string &What, const std::function<bool()> &Call) {
  // The library keeps something with each of its last 16 errors.
  constexpr UINTN WarmUp = 20;
  constexpr UINTN Repeats = 50;
  UINTN Warm = 0;
  for (UINTN Count = 0; Count < WarmUp + Repeats; Count++) {
    EXPECT_FALSE(Call()) << What;
    if (Count + 1 == WarmUp) {
      Warm = Memory.Figures().LiveBlocks;
    }
  }
  EXPECT_LT(Memory.Figures().LiveBlocks, Warm + Repeats / 2) << What;
}
