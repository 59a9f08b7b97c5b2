// Slot 5 and the channel behind it: which events travel, what is remembered of the answers, what is deferred,
// and that no answer of the handler's side reaches further than it may.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "tests/services/PolicyBoot.h"

namespace {

class PolicyEventTest : public testing::Test {
protected:
  void Start(PolicyPlatform Platform = {}) {
    Boot_ = std::make_unique<PolicyBoot>(std::move(Platform));
    ASSERT_TRUE(Boot_->Start());
  }
  void TearDown() override {
    if (Boot_) {
      EXPECT_EQ(Boot_->Firmware().TakeFaults(), std::vector<std::string>{});
    }
  }

  PolicyBoot &Boot() { return *Boot_; }
  SmmCommunication &Smm() { return Boot_->Smm; }
  const std::vector<SmmCommunication::Exchange> &Sent() { return Smm().Exchanges(); }
  Pool &Memory() { return Boot_->Firmware().Memory; }

  EFI_STATUS Report(INT32 Code, const std::string &Data = "Module") {
    return Boot_->Session().Services().SvcReportPolicyEvent(Code, Data.data(), Data.size());
  }

  void InstallChannelProtocol() {
    Boot_->Firmware().Handles.InstallHost(mEfiSmmCommunicationProtocolGuid, Smm().Interface());
  }

  // Open watches, those for the channel included.
  UINTN Watches() { return Boot_->Firmware().Handles.OpenWatches().size(); }

private:
  std::unique_ptr<PolicyBoot> Boot_;
};

TEST_F(PolicyEventTest, CodesThatTravelAndCodesThatDoNot) {
  Start();
  Smm().EventAnswer = EFI_ABORTED;
  for (INT32 Code : {INT32_MIN, -1, 0, 1, 2, 3, 4, 7, 8, INT32_MAX}) {
    const size_t Before = Sent().size();
    const bool Travels = Code >= 0 && Code <= 3;
    const EFI_STATUS Unsent = Code >= 4 && Code <= 7 ? EFI_SUCCESS : EFI_SECURITY_VIOLATION;
    EXPECT_EQ(Report(Code), Travels ? EFI_ABORTED : Unsent) << Code;
    EXPECT_EQ(Sent().size(), Before + (Travels ? 1 : 0)) << Code;
  }
  EXPECT_EQ(Boot().Session().Services().SvcReportPolicyEvent(2, nullptr, 5), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot().Session().Services().SvcReportPolicyEvent(2, "x", 0), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Sent().size(), 4U);
}

TEST_F(PolicyEventTest, TheMessageCarriesTheFirstBytesAndTheWholeSize) {
  Start();
  for (UINTN Size : {UINTN{1}, UINTN{95}, UINTN{96}, UINTN{97}, UINTN{200}}) {
    const Bytes Data = Pattern(Size, Size);
    EXPECT_EQ(Report(2, std::string(Data.begin(), Data.end())), EFI_SUCCESS);
    const PRIV_MESSAGE &Request = Sent().back().Request;
    EXPECT_EQ(Request.Function, UINT32{PRIV_FUNCTION_SEND});
    EXPECT_EQ(Request.Code, 2U);
    EXPECT_EQ(Request.DataSize, Size);
    EXPECT_EQ(std::memcmp(Request.Data, Data.data(), std::min<UINTN>(Size, 96)), 0);
    EXPECT_EQ(Memory().Figures().LiveBlocks, 0U);
  }
}

// Random events and answers against the rule in its shortest form.
TEST_F(PolicyEventTest, TheCacheFollowsTheLatestAnswer) {
  Start();
  std::mt19937 Random(7);
  const EFI_STATUS Answers[] = {EFI_SUCCESS, EFI_SECURITY_VIOLATION, EFI_ACCESS_DENIED, EFI_WARN_STALE_DATA,
                                EFI_NOT_STARTED};
  std::optional<EFI_STATUS> Remembered;
  for (int Step = 0; Step < 2000; Step++) {
    const auto Code = static_cast<INT32>(Random() % 10) - 1;
    const size_t Before = Sent().size();
    Smm().EventAnswer = Answers[Random() % std::size(Answers)];
    const bool Failing = Random() % 8 == 0;
    Smm().CommunicateCalls.Clear();
    if (Failing) {
      Smm().CommunicateCalls.FailFrom(1, EFI_DEVICE_ERROR);
    }
    EFI_STATUS Wanted = Code >= 4 && Code <= 7 ? EFI_SUCCESS : EFI_SECURITY_VIOLATION;
    bool Travels = false;
    if (Code >= 0 && Code <= 3) {
      Travels = Code % 2 == 0 || !Remembered;
      Wanted = !Travels ? *Remembered : Failing ? EFI_DEVICE_ERROR : Smm().EventAnswer;
      if (Travels && (Wanted == EFI_SUCCESS || Wanted == EFI_SECURITY_VIOLATION)) {
        Remembered = Wanted;
      }
    }
    ASSERT_EQ(Report(Code), Wanted) << "step " << Step << ", code " << Code;
    ASSERT_EQ(Sent().size(), Before + (Travels ? 1 : 0)) << "step " << Step << ", code " << Code;
    // Settled by the cache before the arguments are looked at.
    if (Remembered) {
      ASSERT_EQ(Boot().Session().Services().SvcReportPolicyEvent(1, nullptr, 0), *Remembered);
    }
  }
  EXPECT_EQ(Memory().Figures().LiveBlocks, 0U);
}

TEST_F(PolicyEventTest, DeferredEventsTravelOnceAsTexts) {
  PolicyPlatform Platform;
  Platform.Channel = false;
  Start(Platform);
  const UINTN WatchesBefore = Watches();
  EXPECT_EQ(Report(2, "Module"), EFI_SUCCESS);
  EXPECT_EQ(Report(0, std::string("cut\0here", 8)), EFI_SUCCESS);
  EXPECT_EQ(Report(3, std::string(200, 'x')), EFI_SUCCESS);
  EXPECT_EQ(Report(1, std::string("\0x", 2)), EFI_SUCCESS);
  EXPECT_EQ(Memory().Figures().LiveBlocks, 4U);
  EXPECT_EQ(Memory().Figures().LiveBytes, 4U * 104);
  EXPECT_EQ(Watches(), WatchesBefore + 4);

  InstallChannelProtocol();
  EXPECT_TRUE(Sent().empty()) << "the carrier alone releases nothing";
  Smm().EventAnswer = EFI_ABORTED;
  AnnounceChannel(Boot().Firmware());
  struct Row {
    UINT32 Code;
    std::string Data;
  };
  // The event without a text is refused on its way and never sent.
  const Row Rows[] = {{2, "Module"}, {0, "cut"}, {3, std::string(96, 'x')}};
  ASSERT_EQ(Sent().size(), std::size(Rows));
  for (size_t Index = 0; Index < std::size(Rows); Index++) {
    const SmmCommunication::Exchange &Made = Sent()[Index];
    EXPECT_EQ(Made.Request.Code, Rows[Index].Code);
    EXPECT_EQ(Made.Request.DataSize, Rows[Index].Data.size());
    EXPECT_EQ(std::memcmp(Made.Request.Data, Rows[Index].Data.data(), Rows[Index].Data.size()), 0);
    EXPECT_EQ(Made.Tpl, TPL_CALLBACK);
  }
  EXPECT_EQ(Memory().Figures().LiveBlocks, 0U);
  EXPECT_EQ(Watches(), WatchesBefore);
  AnnounceChannel(Boot().Firmware());
  EXPECT_EQ(Sent().size(), std::size(Rows)) << "each event travels once";
}

TEST_F(PolicyEventTest, AChannelWithoutInterfaceIsNone) {
  PolicyPlatform Platform;
  Platform.Channel = false;
  Start(Platform);
  const EFI_HANDLE Empty = Boot().Firmware().Handles.InstallHost(mEfiSmmCommunicationProtocolGuid, nullptr);
  EXPECT_EQ(Report(2), EFI_SUCCESS);
  EXPECT_EQ(Memory().Figures().LiveBlocks, 1U) << "deferred";
  EXPECT_TRUE(Boot().Step([&] { Boot().Firmware().SignalReadyToBoot(); }));
  Boot().Firmware().Handles.UninstallHost(Empty, mEfiSmmCommunicationProtocolGuid);
  InstallChannelProtocol();
  AnnounceChannel(Boot().Firmware());
  EXPECT_EQ(Sent().size(), 1U);
}

TEST_F(PolicyEventTest, AnAnswerToADeferredEventIsRemembered) {
  PolicyPlatform Platform;
  Platform.Channel = false;
  Start(Platform);
  EXPECT_EQ(Report(1), EFI_SUCCESS);
  EXPECT_EQ(Report(1), EFI_SUCCESS);
  InstallChannelProtocol();
  Smm().EventAnswer = EFI_SECURITY_VIOLATION;
  AnnounceChannel(Boot().Firmware());
  EXPECT_EQ(Sent().size(), 1U) << "the second is answered from memory";
  EXPECT_EQ(Report(3), EFI_SECURITY_VIOLATION);
  EXPECT_EQ(Sent().size(), 1U);
}

TEST_F(PolicyEventTest, AHandlerThatIsNotThereDefersAgainAndAgain) {
  Start();
  Smm().EventAnswer = EFI_NOT_FOUND;
  const UINTN WatchesBefore = Watches();
  EXPECT_EQ(Report(2), EFI_SUCCESS);
  for (UINTN Round = 1; Round <= 3; Round++) {
    EXPECT_EQ(Sent().size(), Round);
    EXPECT_EQ(Memory().Figures().LiveBlocks, 1U);
    EXPECT_EQ(Watches(), WatchesBefore + 1);
    AnnounceChannel(Boot().Firmware());
  }
  Smm().EventAnswer = EFI_SUCCESS;
  AnnounceChannel(Boot().Firmware());
  EXPECT_EQ(Memory().Figures().LiveBlocks, 0U);
  EXPECT_EQ(Watches(), WatchesBefore);
}

TEST_F(PolicyEventTest, DeferralThatCannotBeArmedAnswersWhy) {
  PolicyPlatform Platform;
  Platform.Channel = false;
  Start(Platform);
  Memory().FailAt(1);
  EXPECT_EQ(Report(2), EFI_NOT_FOUND);
  Boot().Firmware().Events.CreateEventCalls.FailAt(1, EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(Report(2), EFI_OUT_OF_RESOURCES);
  Boot().Firmware().Handles.RegisterProtocolNotifyCalls.FailAt(1, EFI_ACCESS_DENIED);
  EXPECT_EQ(Report(2), EFI_ACCESS_DENIED);
  EXPECT_EQ(Memory().Figures().LiveBlocks, 0U);
  for (const EventQueue::Event *Event : Boot().Firmware().Events.OpenEvents()) {
    EXPECT_TRUE(Event->Group || Event->Context == nullptr) << "the event of a failed watch stayed open";
  }
}

TEST_F(PolicyEventTest, ASendThatFailsLeavesTheMemoryOfAnswers) {
  Start();
  Smm().EventAnswer = EFI_SECURITY_VIOLATION;
  EXPECT_EQ(Report(2), EFI_SECURITY_VIOLATION);
  Smm().EventAnswer = EFI_SUCCESS;
  for (UINTN Number : {1, 2}) {
    Memory().FailAt(Number);
    EXPECT_EQ(Report(2), EFI_OUT_OF_RESOURCES);
    EXPECT_EQ(Report(1), EFI_SECURITY_VIOLATION);
  }
}

// One boot up to ready-to-boot with a handler that answers as it likes.
PolicyOutcome Fetch(const std::function<void(PRIV_MESSAGE &)> &Overrule,
                    const PolicyBoot::Preparation &Prepare = {}) {
  PolicyBoot Boot({});
  Boot.Smm.Overrule = Overrule;
  const PolicyOutcome Outcome = Boot.Run(Prepare);
  EXPECT_LE(Boot.Smm.Exchanges().size(), 1U);
  for (const SmmCommunication::Exchange &Made : Boot.Smm.Exchanges()) {
    EXPECT_EQ(Made.Tpl, TPL_NOTIFY);
  }
  return Outcome;
}

PolicyOutcome StoppedWith(const PolicyViolation &Violation) {
  return {PolicyEnd::ReadyToBoot, FullScreen(Violation)};
}

TEST(PolicyFetchTest, OnlyOneStatusStopsTheBoot) {
  std::vector<EFI_STATUS> Statuses = {26, ~0ULL, 1ULL << 63, EFI_SECURITY_VIOLATION ^ (1ULL << 62)};
  for (UINT64 Code = 0; Code <= 40; Code++) {
    Statuses.push_back(EFI_ERROR_STATUS(Code));
    Statuses.push_back(Code);
  }
  for (EFI_STATUS Status : Statuses) {
    const PolicyOutcome Outcome = Fetch([Status](PRIV_MESSAGE &Answer) { Answer.ReturnStatus = Status; });
    const PolicyOutcome GoesOn = {PolicyEnd::GoesOn, {}};
    EXPECT_EQ(Outcome, Status == EFI_SECURITY_VIOLATION ? StoppedWith({0, 0, ""}) : GoesOn) << Status;
  }
}

TEST(PolicyFetchTest, TheAnswerIsTakenWithinItsBounds) {
  struct Row {
    UINT64 DataSize;
    const char *Name;
  };
  const std::string Full(95, 'n');
  const Row Rows[] = {
      {0, ""},
      {1, "n"},
      {5, "nnnnn"},
      {95, Full.c_str()},
      {96, Full.c_str()},
      {97, Full.c_str()},
      {1ULL << 32, Full.c_str()},
      {~0ULL, Full.c_str()},
  };
  for (const Row &Case : Rows) {
    const PolicyOutcome Outcome = Fetch([&](PRIV_MESSAGE &Answer) {
      // No NUL, nothing as it was sent, and all unused fields scribbled over.
      std::memset(&Answer, 'n', sizeof(Answer));
      Answer.ReturnStatus = EFI_SECURITY_VIOLATION;
      Answer.Code = 0xFFFFFFFF;
      Answer.DataSize = Case.DataSize;
    });
    EXPECT_EQ(Outcome, StoppedWith({-1, 0, Case.Name})) << Case.DataSize;
  }
}

TEST(PolicyFetchTest, EveryFieldReachesTheScreen) {
  for (const PolicyViolation &Violation :
       {PolicyViolation{0, 0, "A"}, {7, 1, "B"}, {8, 0, ""}, {3, 2, "caf\xE9"}, {INT32_MIN, 0, "C"}}) {
    PolicyBoot Boot({});
    Boot.Smm.Kept = Violation;
    EXPECT_EQ(Boot.Run(), StoppedWith(Violation));
  }
}

// The carrier itself refuses: nothing came back, so nothing is known of the violation.
TEST(PolicyFetchTest, ACarrierThatSaysViolationShowsAnEmptyRecord) {
  PolicyBoot Boot({});
  Boot.Smm.CommunicateCalls.FailFrom(1, EFI_SECURITY_VIOLATION);
  EXPECT_EQ(Boot.Run(), StoppedWith({0, 0, ""}));
}

// A failed allocation of the question lets the boot go on; later ones only cost texts.
TEST(PolicyFetchTest, SweepOfAKeptViolation) {
  UINTN Allocations = 0;
  for (UINTN Number = 0; Number <= Allocations; Number++) {
    for (bool Persistently : {false, true}) {
      PolicyBoot Boot({});
      Boot.Smm.Kept = PolicyViolation{2, 0, "ABC"};
      ASSERT_TRUE(Boot.Start());
      Pool &Memory = Boot.Firmware().Memory;
      const UINTN Before = Memory.Calls();
      if (Number != 0) {
        Persistently ? Memory.FailFrom(Number) : Memory.FailAt(Number);
      }
      AnnounceDisplay(Boot.Firmware());
      const bool Halted = !Boot.Step([&] { Boot.Firmware().SignalReadyToBoot(); });
      EXPECT_EQ(Halted, Number == 0 || Number > 2) << "allocation " << Number;
      EXPECT_EQ(Memory.Figures().LiveBlocks, 0U) << "allocation " << Number;
      if (Number == 0) {
        Allocations = Memory.Calls() - Before;
      }
    }
  }
  std::cout << "swept " << Allocations << " allocations\n";
}

// Events that modules report and what the handler makes of them meet at ready-to-boot.
TEST_F(PolicyEventTest, AnEventThatTheHandlerKeepsStopsTheBoot) {
  Start();
  Smm().KeepsEvents = true;
  EXPECT_EQ(Report(2, "TestModule"), EFI_SECURITY_VIOLATION);
  EXPECT_FALSE(Boot().Step([&] { Boot().Firmware().SignalReadyToBoot(); }));
  ASSERT_EQ(Boot().Dialog.Shown().size(), 1U);
  EXPECT_EQ(Boot().Dialog.Shown()[0], FullScreen({2, 0, "TestModule"}));
}

// Every ready-to-boot asks anew.
TEST_F(PolicyEventTest, EachReadyToBootAsks) {
  Start();
  EXPECT_TRUE(Boot().Step([&] { Boot().Firmware().SignalReadyToBoot(); }));
  Smm().Kept = PolicyViolation{4, 0, "Late"};
  EXPECT_FALSE(Boot().Step([&] { Boot().Firmware().SignalReadyToBoot(); }));
  EXPECT_EQ(Sent().size(), 2U);
}

} // namespace
