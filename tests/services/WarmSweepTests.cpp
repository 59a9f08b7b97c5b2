// Every service with each of its allocations failing, when the library is set up already.
#include <gtest/gtest.h>

#include <optional>
#include <set>

#include "tests/services/SlotCalls.h"
#include "tests/services/TestFolder.h"
#include "tests/support/Sweep.h"

namespace {

class WarmSweepTest : public SlotTest {};

// The streams of HMAC do not tell of a failure: the MAC is the right one, or nothing is written.
const std::set<UINTN> mSilent = {15, 16, 17};

TEST_F(WarmSweepTest, EveryService) {
  Boot();
  for (const SlotCall &Call : SlotCalls()) {
    const SlotOutcome Wanted = Expected(Call);
    std::optional<SlotStage> Stage;
    Bytes Before;
    SweepScenario Scenario;
    Scenario.Name = Call.Name;
    Scenario.Stride = StrideOfBuild(17);
    Scenario.Prepare = [&] {
      Call.Prepare(Stage.emplace(Svc()));
      Before = Stage->Output;
    };
    Scenario.Call = [&] { return Call.Call(*Stage); };
    Scenario.Success = Call.Success;
    Scenario.Failures = Call.Failures;
    Scenario.AfterSuccess = [&] {
      Call.Finish(*Stage);
      if (!mSilent.contains(Call.Slot) || Stage->Output != Before) {
        EXPECT_EQ(Stage->Output, Wanted.Output) << Call.Name;
      }
    };
    // A refusal writes nothing, and does not stand in the way of the same call with memory.
    Scenario.AfterFailure = [&] {
      EXPECT_EQ(Stage->Output, Before) << Call.Name;
      EXPECT_EQ(Stage->Made[0], nullptr) << Call.Name;
      EXPECT_EQ(Call.Call(*Stage), Call.Success) << Call.Name;
      Scenario.AfterSuccess();
    };
    SweepAllocations(Session(), Scenario);
  }
}

} // namespace
