// Allocation failures: in each service as the first use of the library in a boot and with the library set up,
// and on the roads of start-up and of notifications that nobody calls.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "tests/services/PolicyBoot.h"
#include "tests/services/SlotCalls.h"
#include "tests/services/TestFolder.h"
#include "tests/support/Sweep.h"

namespace {

// The streams of HMAC do not tell of a failure: the MAC is the right one, or nothing is written.
const std::set<UINTN> mSilent = {15, 16, 17};

// These write their first blocks before a later one fails.
const std::set<UINTN> mBlockwise = {49, 50};

// These say the size of their result before they ask for memory.
const std::set<UINTN> mSizeFirst = {2, 52};

class SlotSweepTest : public SlotTest {
protected:
  bool IsRight(const SlotCall &Call, const Bytes &Output) {
    const bool Unwritten = std::count(Output.begin(), Output.end(), 0xC7) == std::ssize(Output);
    return Output == Expected(Call).Output || (mSilent.contains(Call.Slot) && Unwritten);
  }
};

// Places spread over the whole call, alternately one failure and all from there on; all of them of one
// service.
TEST_F(SlotSweepTest, EveryServiceFromAColdStart) {
  UINTN Points = 0;
  Boot();
  for (const SlotCall &Call : SlotCalls()) {
    Expected(Call);
  }
  for (const SlotCall &Call : SlotCalls()) {
    UINTN Allocations = 0;
    const auto Count = [&](SlotStage &, const auto &Make) {
      Allocations = Memory().Calls();
      Make();
      Allocations = Memory().Calls() - Allocations;
    };
    Reboot();
    EXPECT_EQ(RunSlot(Svc(), Call, Count), Expected(Call)) << Call.Name;
    const UINTN Places = std::min<UINTN>(Allocations, Call.Slot == 49 ? Allocations : TestsImage() ? 12 : 4);
    for (UINTN Place = 0; Place < Places; Place++) {
      const UINTN Number = 1 + Place * Allocations / Places;
      Reboot();
      for (int Round = 0; Round < 2; Round++) {
        const SlotOutcome Outcome = RunSlot(Svc(), Call, [&](SlotStage &, const auto &Make) {
          if (Round == 0) {
            Place % 2 == 0 ? Memory().FailAt(Number) : Memory().FailFrom(Number);
          }
          Make();
          Memory().ClearFailures();
        });
        if (Outcome.Answer == Call.Success) {
          EXPECT_TRUE(IsRight(Call, Outcome.Output))
              << Call.Name << ", allocation " << Number << ", round " << Round;
        } else {
          EXPECT_EQ(std::count(Call.Failures.begin(), Call.Failures.end(), Outcome.Answer), 1)
              << Call.Name << " answers " << std::hex << Outcome.Answer << ", allocation " << std::dec
              << Number;
        }
      }
      EXPECT_EQ(Firmware().TakeFaults(), std::vector<std::string>{})
          << Call.Name << ", allocation " << Number;
      Points++;
    }
  }
  std::cout << "swept cold starts: " << Points << " points\n";
}

// When the library is set up already.
TEST_F(SlotSweepTest, EveryServiceAtEveryAllocation) {
  Boot();
  for (const SlotCall &Call : SlotCalls()) {
    Expected(Call);
    std::optional<SlotStage> Stage;
    Bytes Before;
    UINTN Size = 0;
    VOID *Object = nullptr;
    SweepScenario Scenario;
    Scenario.Name = Call.Name;
    Scenario.Stride = StrideOfBuild(17);
    Scenario.Prepare = [&] {
      Call.Prepare(Stage.emplace(Svc()));
      Before = Stage->Output;
      Size = Stage->Size;
      Object = Stage->Object;
    };
    Scenario.Call = [&] { return Call.Call(*Stage); };
    Scenario.Success = Call.Success;
    Scenario.Failures = Call.Failures;
    Scenario.AfterSuccess = [&] {
      Call.Finish(*Stage);
      EXPECT_TRUE(IsRight(Call, Stage->Output)) << Call.Name;
    };
    // A refusal writes nothing, and does not stand in the way of the same call with memory.
    Scenario.AfterFailure = [&] {
      EXPECT_TRUE(Stage->Output == Before || mBlockwise.contains(Call.Slot)) << Call.Name;
      EXPECT_TRUE(Stage->Size == Size || mSizeFirst.contains(Call.Slot)) << Call.Name;
      EXPECT_EQ(Stage->Object, Object) << Call.Name;
      EXPECT_TRUE(Stage->Made[0] == nullptr && Stage->Made[1] == nullptr) << Call.Name;
      EXPECT_EQ(Call.Call(*Stage), Call.Success) << Call.Name;
      Scenario.AfterSuccess();
    };
    SweepAllocations(Session(), Scenario);
  }
}

struct Road {
  const char *Name;
  PolicyPlatform Platform;
  bool FailsInStart;
  // What leads up to the failures, and what meets them.
  std::function<void(PolicyBoot &)> Before;
  std::function<void(PolicyBoot &)> Act;
  bool Halts;
  UINTN Allocations;
  // What else is asked, when memory is there again; afterwards the pool must be empty.
  std::function<void(PolicyBoot &)> Check = [](PolicyBoot &) {};
};

EFI_STATUS mAnswer;

void Report(PolicyBoot &Boot) {
  mAnswer = Boot.Session().Services().SvcReportPolicyEvent(2, "Module", 6);
}
void ReadyToBoot(PolicyBoot &Boot) {
  Boot.Firmware().SignalReadyToBoot();
}
void Nothing(PolicyBoot &) {}

std::vector<Road> Roads() {
  PolicyPlatform NoDisplay;
  NoDisplay.Display = DisplayTime::Never;
  PolicyPlatform WithRecord = NoDisplay;
  WithRecord.Blocks = Recorded({2, 0, "ABC"});
  PolicyPlatform NoChannel;
  NoChannel.Channel = false;
  const auto Hashes = [](PolicyBoot &Boot) {
    UINT8 Digest[32];
    UINTN Size = sizeof(Digest);
    EXPECT_EQ(Boot.Session().Services().SvcHashAll(HASH_TYPE_SHA256, "x", 1, Digest, &Size), EFI_SUCCESS);
  };
  return {
      {"start-up without a record", {}, true, Nothing, Nothing, false, 1, Hashes},
      {"start-up with a record, to ready-to-boot", WithRecord, true, Nothing, ReadyToBoot, true, 1},
      {"ready-to-boot without a violation", {}, false, Nothing, ReadyToBoot, false, 2},
      {"a display that comes late", NoDisplay, false,
       [](PolicyBoot &Boot) {
         Boot.Smm.Kept = PolicyViolation{2, 0, "ABC"};
         ReadyToBoot(Boot);
       },
       [](PolicyBoot &Boot) { AnnounceDisplay(Boot.Firmware()); }, true, 2},
      {"a report without a channel", NoChannel, false, Nothing, Report, false, 1,
       [](PolicyBoot &Boot) {
         // A copy waits for the channel, until that is there.
         EXPECT_TRUE(mAnswer == EFI_SUCCESS || mAnswer == EFI_OUT_OF_RESOURCES || mAnswer == EFI_NOT_FOUND);
         EXPECT_EQ(Boot.Firmware().Memory.Figures().LiveBlocks, mAnswer == EFI_SUCCESS ? 1U : 0U);
         Boot.Firmware().Handles.InstallHost(mEfiSmmCommunicationProtocolGuid, Boot.Smm.Interface());
         AnnounceChannel(Boot.Firmware());
       }},
      {"the report that waited", NoChannel, false,
       [](PolicyBoot &Boot) {
         Report(Boot);
         Boot.Firmware().Handles.InstallHost(mEfiSmmCommunicationProtocolGuid, Boot.Smm.Interface());
       },
       [](PolicyBoot &Boot) { AnnounceChannel(Boot.Firmware()); }, false, 2,
       [](PolicyBoot &Boot) {
         EXPECT_EQ(mAnswer, EFI_SUCCESS);
         EXPECT_LE(Boot.Smm.Exchanges().size(), 1U);
       }},
  };
}

TEST(RoadSweepTest, EveryRoadOfStartUpAndNotifications) {
  for (const Road &Row : Roads()) {
    UINTN Allocations = 0;
    for (UINTN Number = 0; Number <= Allocations; Number++) {
      for (bool Persistently : {false, true}) {
        SCOPED_TRACE(testing::Message()
                     << Row.Name << ", allocation " << Number << (Persistently ? " on" : ""));
        PolicyBoot Boot(Row.Platform);
        UINTN First = 0;
        const auto Arm = [&](SimulatedFirmware &Firmware) {
          First = Firmware.Memory.Calls();
          if (Number != 0) {
            Persistently ? Firmware.Memory.FailFrom(Number) : Firmware.Memory.FailAt(Number);
          }
        };
        ASSERT_TRUE(Boot.Start([&](DriverSession &Starting) {
          if (Row.FailsInStart) {
            Arm(Starting.Firmware());
          }
        }));
        EXPECT_EQ(Boot.Session().Outcome(), BootOutcome::Started);
        Row.Before(Boot);
        if (!Row.FailsInStart) {
          Arm(Boot.Firmware());
        }
        EXPECT_EQ(!Boot.Step([&] { Row.Act(Boot); }), Row.Halts);
        Pool &Memory = Boot.Firmware().Memory;
        if (Number == 0) {
          Allocations = Memory.Calls() - First;
          EXPECT_GE(Allocations, Row.Allocations);
        }
        Memory.ClearFailures();
        Row.Check(Boot);
        EXPECT_TRUE(Row.Halts || Memory.Figures().LiveBlocks == 0);
        EXPECT_EQ(Boot.Firmware().TakeFaults(), std::vector<std::string>{});
      }
    }
    std::cout << "swept " << Row.Name << ": " << Allocations << " allocations\n";
  }
}

} // namespace
