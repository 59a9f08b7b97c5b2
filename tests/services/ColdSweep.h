// Allocation failures from a cold start of the crypto library, whose own set-up
// is then what fails.
#pragma once

#include <algorithm>
#include <iostream>

#include "tests/support/DriverTest.h"
#include "tests/support/Sweep.h"

// For each allocation of a first call ever: it fails in a fresh boot, and that
// call and the next answer as documented. The library's set-up is not always
// made up for later, so the next call may fail as well. Boot starts afresh and
// returns the session; Scenario makes the calls on it.
template <typename BOOT> void SweepColdStart(BOOT Boot, const SweepScenario &Scenario) {
  UINTN Calls = Boot().Firmware().Memory.Calls();
  EXPECT_EQ(Scenario.Call(), Scenario.Success);
  Calls = SimulatedFirmware::Living().Memory.Calls() - Calls;
  Scenario.AfterSuccess();
  for (UINTN Number = 1; Number <= Calls && !testing::Test::HasFailure(); Number += TestsImage() ? 5 : 1) {
    Pool &Memory = Boot().Firmware().Memory;
    Memory.FailAt(Number);
    for (int Call = 0; Call < 2; Call++) {
      const UINT64 Answer = Scenario.Call();
      Memory.ClearFailures();
      if (Answer == Scenario.Success) {
        Scenario.AfterSuccess();
      } else {
        EXPECT_NE(std::find(Scenario.Failures.begin(), Scenario.Failures.end(), Answer), Scenario.Failures.end())
            << Scenario.Name << " answers " << std::hex << Answer << ", allocation " << std::dec << Number;
        Scenario.AfterFailure();
      }
    }
  }
  std::cout << "swept the cold start of " << Scenario.Name << ": " << Calls << " allocations\n";
}
