// The random generator through slots 46, 47 and 50: when it is ready, what a
// refused draw leaves, how the clock is read, and that boots differ.
#include <gtest/gtest.h>

#include <set>

#include "simulator/CmosPorts.h"
#include "tests/services/CipherSupport.h"
#include "tests/support/DriverTest.h"
#include "tests/support/GuardedBuffer.h"

namespace {

using Feature = ProcessorScript::Feature;
using Source = ProcessorScript::RandomSource;

class RandomTest : public DriverTest {
protected:
  RandomTest() {
    LibraryKeepsBlocks = true;
    UseSources(nullptr, nullptr);
  }

  // A processor with these sources; NULL means that it has no such instruction.
  void UseSources(Source Rdseed, Source Rdrand, UINT64 TimeStamp = 1000) {
    Options.Prepare = [=](DriverSession &Starting) {
      ProcessorScript &Processor = Starting.Processor();
      Processor.SetFeature(Feature::Rdseed, Rdseed != nullptr);
      Processor.SetFeature(Feature::Rdrand, Rdrand != nullptr);
      if (Rdseed) {
        Processor.SetRdseed(Rdseed);
      }
      if (Rdrand) {
        Processor.SetRdrand(Rdrand);
      }
      Processor.SetTimeStamp(ProcessorScript::Counting(TimeStamp, 37));
    };
  }

  bool Seed(UINTN Size, UINT64 Which = 1) { return Svc().SvcRandomSeed(DataOf(Pattern(Size, Which)), Size); }

  // 32 bytes, or nothing when the draw is refused, which then wrote nothing.
  Bytes Draw() {
    GuardedBuffer Output(32);
    if (!Svc().SvcRandomBytes(Output.Get(), 32)) {
      EXPECT_TRUE(Output.Untouched());
      return {};
    }
    EXPECT_TRUE(Output.OnlyWritten(32));
    return Output.Content();
  }
};

TEST_F(RandomTest, ReadyAfter32BytesOfSeedWithoutAProcessorSource) {
  struct Row {
    const char *Name;
    Source Rdseed, Rdrand;
  };
  const Row Rows[] = {
      {"no source", nullptr, nullptr},
      {"failing sources", ProcessorScript::Failing(), ProcessorScript::Failing()},
      {"a stuck source", nullptr, ProcessorScript::Stuck(0x123456789)},
      {"stuck at zero and at ones", ProcessorScript::Stuck(0), ProcessorScript::Stuck(~UINT64{0})},
      {"a source that runs dry", ProcessorScript::Sequence({1, 2, 3}), nullptr},
  };
  for (const Row &Case : Rows) {
    SCOPED_TRACE(Case.Name);
    UseSources(Case.Rdseed, Case.Rdrand);
    Reboot();
    EXPECT_EQ(Draw(), Bytes());
    EXPECT_FALSE(Seed(0));
    EXPECT_FALSE(Seed(31));
    EXPECT_EQ(Draw(), Bytes());
    EXPECT_TRUE(Seed(1));
    EXPECT_TRUE(Seed(0));
    EXPECT_NE(Draw(), Bytes());

    Reboot();
    EXPECT_TRUE(Svc().SvcRandomSeed(nullptr, 0)) << "the default text is seed enough";
    EXPECT_NE(Draw(), Bytes());
  }
}

TEST_F(RandomTest, ReadyAtOnceWithAProcessorSourceAndForGoodAfterwards) {
  for (bool UseRdseed : {true, false}) {
    // Good for the first draws, then dead.
    UINTN Left = 400;
    Source Dying = [Left, Good = ProcessorScript::PseudoRandom(5)]() mutable -> std::optional<UINT64> {
      return Left == 0 ? std::nullopt : (Left--, Good());
    };
    UseSources(UseRdseed ? Dying : nullptr, UseRdseed ? ProcessorScript::Failing() : Dying);
    Reboot();
    std::set<Bytes> Seen;
    for (int Round = 0; Round < 300; Round++) {
      const Bytes Drawn = Draw();
      ASSERT_NE(Drawn, Bytes()) << "draw " << Round;
      EXPECT_TRUE(Seen.insert(Drawn).second) << "draw " << Round << " repeats an earlier one";
      ASSERT_TRUE(Seed(8, 1)) << "a reseed asks the dead source again";
    }
  }
}

TEST_F(RandomTest, NothingRepeatsFromBootToBoot) {
  std::set<Bytes> Seen;
  auto DrawSome = [&](const std::string &Where) {
    Reboot();
    for (int Round = 0; Round < 20; Round++) {
      const Bytes Drawn = Draw();
      EXPECT_TRUE(!Drawn.empty() && Seen.insert(Drawn).second) << Where << ", draw " << Round;
    }
  };
  // With the same time stamps a source alone makes boots differ; so do time stamps alone, and seeds alone.
  for (UINT64 Boot = 1; Boot <= 3; Boot++) {
    UseSources(ProcessorScript::PseudoRandom(Boot), nullptr);
    DrawSome("rdseed");
    UseSources(nullptr, ProcessorScript::PseudoRandom(Boot + 10));
    DrawSome("rdrand");
  }
  for (UINT64 Boot = 1; Boot <= 3; Boot++) {
    UseSources(ProcessorScript::Stuck(7), nullptr, Boot * 1000000);
    Reboot();
    ASSERT_TRUE(Seed(32, 77));
    EXPECT_TRUE(Seen.insert(Draw()).second);
    UseSources(nullptr, nullptr, 5);
    Reboot();
    ASSERT_TRUE(Seed(32, Boot));
    EXPECT_TRUE(Seen.insert(Draw()).second);
  }
  // And the host's own processor.
  if (ProcessorScript::NativelyPresent(Feature::Rdrand) ||
      ProcessorScript::NativelyPresent(Feature::Rdseed)) {
    Options.Prepare = {};
    DrawSome("native");
    DrawSome("native");
  }
}

TEST_F(RandomTest, RefusalsWriteAndSeedNothing) {
  UINT8 Byte = 0;
  EXPECT_FALSE(Svc().SvcRandomSeed(&Byte, 0x80000000));
  EXPECT_FALSE(Svc().SvcRandomSeed(nullptr, 0x80000000));
  EXPECT_FALSE(Svc().SvcRandomSeed(nullptr, ~UINTN{0}));
  EXPECT_EQ(Draw(), Bytes()) << "a refused seed does not count";
  ASSERT_TRUE(Seed(32));
  GuardedBuffer Output(32);
  EXPECT_FALSE(Svc().SvcRandomBytes(nullptr, 32));
  EXPECT_FALSE(Svc().SvcRandomBytes(Output.Get(), 0x80000000));
  EXPECT_FALSE(Svc().SvcRandomBytes(Output.Get(), 0x100000020));
  EXPECT_TRUE(Svc().SvcRandomBytes(Output.Get(), 0));
  EXPECT_TRUE(Output.Untouched());
  EXPECT_EQ(Svc().SvcRandomFillClockSeeded(nullptr, 32), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Svc().SvcRandomFillClockSeeded(Output.Get(), 0), EFI_INVALID_PARAMETER);
  EXPECT_TRUE(Output.Untouched());
}

// Through the driver's own table: a million checked calls would take minutes.
TEST_F(RandomTest, StaysReadyOverAMillionDraws) {
  for (bool WithSource : {false, true}) {
    UseSources(WithSource ? ProcessorScript::PseudoRandom(9) : nullptr, nullptr);
    Reboot();
    const auto *Raw = Session().Raw();
    ASSERT_TRUE(Seed(32));
    UINT64 Last = 0;
    for (int Round = 0; Round < 500000; Round++) {
      UINT64 Word = 0;
      ASSERT_TRUE(Raw->SvcRandomBytes(reinterpret_cast<UINT8 *>(&Word), sizeof(Word))) << "draw " << Round;
      ASSERT_NE(Word, Last) << "draw " << Round;
      Last = Word;
    }
    EXPECT_TRUE(Seed(1));
  }
}

// Without memory SHA-1 is not registered, which comes before the seeding.
TEST_F(RandomTest, ASeedThatIsRefusedForMemorySeedsNothing) {
  EXPECT_FALSE(Seed(0));
  Memory().FailFrom(1);
  EXPECT_FALSE(Seed(32));
  EXPECT_FALSE(Svc().SvcRandomSeed(nullptr, 0));
  Memory().ClearFailures();
  EXPECT_EQ(Draw(), Bytes());
}

TEST_F(RandomTest, ClockSeededFillWritesItsBytesAndNoMore) {
  CmosPorts Ports;
  UseSources(ProcessorScript::PseudoRandom(3), nullptr);
  Reboot();
  for (UINTN Size : {1, 31, 32, 33, 63, 64, 65, 200}) {
    Ports.ClearLog();
    GuardedBuffer Output(Size + 40);
    EXPECT_EQ(Svc().SvcRandomFillClockSeeded(Output.Get(), Size), EFI_SUCCESS);
    EXPECT_TRUE(Output.OnlyWritten(Size));
    std::vector<CmosPorts::Access> Expected;
    for (UINT8 Register : {0x00, 0x02, 0x04, 0x07, 0x08, 0x09}) {
      Expected.push_back({0x70, true, Register});
      Expected.push_back({0x71, false, Ports.Cell(Register)});
    }
    EXPECT_EQ(Ports.Log(), Expected) << "the clock is read once, in its order";
  }
}

// Without any source the first seed of the fill makes the generator ready.
TEST_F(RandomTest, ClockSeededFillSeedsTheGenerator) {
  CmosPorts Ports;
  EXPECT_EQ(Draw(), Bytes());
  Bytes Output(32);
  EXPECT_EQ(Svc().SvcRandomFillClockSeeded(Output.data(), 32), EFI_SUCCESS);
  EXPECT_NE(Output, Bytes(32));
  EXPECT_NE(Draw(), Bytes());
}

} // namespace
