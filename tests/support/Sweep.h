// Runs a scenario once for each pool allocation it makes, with that allocation
// failing alone and with all from it on failing.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tools/session/DriverSession.h"

struct SweepScenario {
  std::string Name;
  // Makes ready for a call, with no allocation failing.
  std::function<void()> Prepare = [] {};
  // Calls the service and returns its answer, a status or a BOOLEAN.
  std::function<UINT64()> Call;
  // What the undisturbed call answers.
  UINT64 Success;
  // What it may answer when an allocation fails; the success is always allowed.
  std::vector<UINT64> Failures = {};
  // Check and release the results of a success; check that a failure wrote nothing.
  std::function<void()> AfterSuccess = [] {};
  std::function<void()> AfterFailure = [] {};
  // 1 lets every allocation fail; more leaves some out where a call makes hundreds of them and is slow.
  UINTN Stride = 1;
};

// Expects of every run a documented answer and no block left open, and of an
// undisturbed call after it the success. Returns the number of allocations that
// were made to fail, each in both ways.
UINTN SweepAllocations(DriverSession &Session, const SweepScenario &Scenario);

// Makes Call once for each pool allocation that an undisturbed one makes, with that allocation alone failing,
// and returns the letters that it answers, in that order.
std::string LettersOfFailures(Pool &Memory, const std::function<char()> &Call);

// Makes Call, which must be refused, again and again: no block may be left of each time.
void ExpectRefusalKeepsNothing(Pool &Memory, const std::string &What, const std::function<bool()> &Call);
